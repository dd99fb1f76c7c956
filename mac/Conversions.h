#pragma once

#import <AppKit/AppKit.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "platform/geometry.h"
#include "platform/web_view_port.h"
#include "util/text.h"

// Values crossing between core and Cocoa. Core keeps AppKit's coordinates (origin bottom left,
// y up), so rectangles pass through unchanged.
namespace brisel::mac {

static_assert(sizeof(unichar) == sizeof(char16_t));

// Text crosses as the string's own UTF-16 units, converted by core's rule, so every NSString
// survives the trip: U+0000 inside it, and unpaired surrogates too (core holds those in a form it
// never takes for UTF-8). Bytes from core that are not UTF-8 arrive as U+FFFD.
inline NSString* nsString(std::string_view text) {
    const std::u16string units = utf16FromWTF8(text);
    return [NSString stringWithCharacters:reinterpret_cast<const unichar*>(units.data())
                                   length:units.size()];
}

inline std::string stdString(NSString* text) {
    std::u16string units(text.length, u'\0');
    [text getCharacters:reinterpret_cast<unichar*>(units.data()) range:NSMakeRange(0, units.size())];
    return wtf8FromUTF16(units);
}

inline std::optional<std::string> optionalString(NSString* text) {
    if (!text) return std::nullopt;
    return stdString(text);
}

// A script argument as WebKit takes it: objects and strings, all the web view port allows. Anything else is a programming error in core.
inline ::id foundationObject(const nlohmann::json& value) {
    switch (value.type()) {
    case nlohmann::json::value_t::object: {
        NSMutableDictionary<NSString*, ::id>* members = [NSMutableDictionary dictionaryWithCapacity:value.size()];
        for (const auto& [key, member] : value.items()) members[nsString(key)] = foundationObject(member);
        return members;
    }
    case nlohmann::json::value_t::string:
        return nsString(value.get_ref<const std::string&>());
    default:
        std::abort();
    }
}

inline Rect rectOf(NSRect rect) {
    return {rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
}

inline NSRect nsRect(const Rect& rect) {
    return NSMakeRect(rect.x, rect.y, rect.width, rect.height);
}

inline Screen screenOf(NSScreen* screen) {
    return {rectOf(screen.frame), rectOf(screen.visibleFrame)};
}

inline WebError webErrorOf(NSError* error) {
    return {stdString(error.domain), static_cast<long long>(error.code)};
}

}  // namespace brisel::mac
