#include "MacConfiguration.h"

#import <Foundation/Foundation.h>

#include "Conversions.h"

namespace brisel::mac {

namespace {

nlohmann::json jsonOf(::id value) {
    if ([value isKindOfClass:NSString.class]) return stdString(value);
    if ([value isKindOfClass:NSNumber.class]) {
        NSNumber* number = value;
        // A plist <true/> is an NSNumber too; only its Core Foundation type tells it apart from 1.
        if (CFGetTypeID((__bridge CFTypeRef)number) == CFBooleanGetTypeID()) return static_cast<bool>(number.boolValue);
        if (CFNumberIsFloatType((__bridge CFNumberRef)number)) return number.doubleValue;
        return number.longLongValue;
    }
    if ([value isKindOfClass:NSArray.class]) {
        nlohmann::json array = nlohmann::json::array();
        for (::id element in static_cast<NSArray*>(value)) array.push_back(jsonOf(element));
        return array;
    }
    if ([value isKindOfClass:NSDictionary.class]) {
        nlohmann::json object = nlohmann::json::object();
        NSDictionary* dictionary = value;
        for (::id key in dictionary) {
            if ([key isKindOfClass:NSString.class]) object[stdString(key)] = jsonOf(dictionary[key]);
        }
        return object;
    }
    // Data and dates have no JSON kind.
    return nullptr;
}

}  // namespace

std::optional<nlohmann::json> MacConfiguration::value(std::string_view key) const {
    NSString* name = [[NSString alloc] initWithBytes:key.data() length:key.size() encoding:NSUTF8StringEncoding];
    ::id value = name ? NSBundle.mainBundle.infoDictionary[name] : nil;
    if (!value) return std::nullopt;
    return jsonOf(value);
}

}  // namespace brisel::mac
