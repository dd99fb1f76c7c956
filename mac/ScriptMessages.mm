#include "ScriptMessages.h"

#include <cmath>

#include "Conversions.h"

namespace brisel::mac {

namespace {

using nlohmann::json;

json numberOf(NSNumber* number) {
    if (CFGetTypeID((__bridge CFTypeRef)number) == CFBooleanGetTypeID()) return number.boolValue;
    if (!CFNumberIsFloatType((__bridge CFNumberRef)number)) return number.longLongValue;
    // WebKit hands every JavaScript number over as a double; JSON.stringify writes 3 for 3.0.
    const double value = number.doubleValue;
    const bool whole = std::isfinite(value) && std::trunc(value) == value && std::fabs(value) < 0x1p63;
    return whole ? json(static_cast<int64_t>(value)) : json(value);
}

// Values that JSON cannot carry (dates, for one) arrive as null, which core rejects as malformed.
json jsonOf(id value) {
    if ([value isKindOfClass:NSString.class]) return stdString(value);
    if ([value isKindOfClass:NSNumber.class]) return numberOf(value);
    if ([value isKindOfClass:NSArray.class]) {
        json array = json::array();
        for (id element in static_cast<NSArray*>(value)) array.push_back(jsonOf(element));
        return array;
    }
    if ([value isKindOfClass:NSDictionary.class]) {
        json object = json::object();
        NSDictionary* dictionary = value;
        for (id key in dictionary) {
            if ([key isKindOfClass:NSString.class]) object[stdString(key)] = jsonOf(dictionary[key]);
        }
        return object;
    }
    return nullptr;
}

}  // namespace

ScriptMessage scriptMessageOf(WKScriptMessage* message) {
    WKFrameInfo* frame = message.frameInfo;
    WKSecurityOrigin* origin = frame.securityOrigin;
    ScriptMessage result;
    result.body = jsonOf(message.body);
    result.isMainFrame = frame.mainFrame;
    result.origin = {stdString(origin.protocol), stdString(origin.host), static_cast<int64_t>(origin.port)};
    result.webView = (__bridge const void*)message.webView;
    return result;
}

}  // namespace brisel::mac
