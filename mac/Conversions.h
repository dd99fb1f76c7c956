#pragma once

#import <AppKit/AppKit.h>

#include <optional>
#include <string>

#include "platform/geometry.h"
#include "platform/web_view_port.h"

// Values crossing between core and Cocoa. Core keeps AppKit's coordinates (origin bottom left,
// y up), so rectangles pass through unchanged.
namespace brisel::mac {

// Core's texts are UTF-8; anything else becomes the empty string rather than nil.
inline NSString* nsString(const std::string& text) {
    NSString* string = [[NSString alloc] initWithBytes:text.data() length:text.size() encoding:NSUTF8StringEncoding];
    return string ? string : @"";
}

inline std::string stdString(NSString* text) {
    const char* utf8 = text.UTF8String;
    return utf8 ? utf8 : "";
}

inline std::optional<std::string> optionalString(NSString* text) {
    if (!text) return std::nullopt;
    return stdString(text);
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
