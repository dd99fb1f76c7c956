#include "MacUserDefaults.h"

#import <Foundation/Foundation.h>

#include "Conversions.h"

namespace brisel::mac {

std::optional<std::string> MacUserDefaults::get(const std::string& key) const {
    // Nil for a missing key and for a value of another type.
    NSData* data = [NSUserDefaults.standardUserDefaults dataForKey:nsString(key)];
    if (!data) return std::nullopt;
    return std::string(static_cast<const char*>(data.bytes), data.length);
}

// The defaults take every property-list value and report no failure of their own.
bool MacUserDefaults::set(const std::string& key, std::string_view bytes) {
    [NSUserDefaults.standardUserDefaults setObject:[NSData dataWithBytes:bytes.data() length:bytes.size()]
                                            forKey:nsString(key)];
    return true;
}

}  // namespace brisel::mac
