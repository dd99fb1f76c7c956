// The macOS normaliser (Foundation's); nfkc_icu.cpp serves every other platform.
#if defined(__APPLE__)

#include "util/nfkc.h"

#include <CoreFoundation/CoreFoundation.h>

#include <limits>

namespace brisel {

bool normalizeToNFKC(std::u16string& text) {
    if (text.size() > static_cast<size_t>(std::numeric_limits<CFIndex>::max())) return false;
    CFMutableStringRef string = CFStringCreateMutable(kCFAllocatorDefault, 0);
    if (string == nullptr) return false;
    CFStringAppendCharacters(string, reinterpret_cast<const UniChar*>(text.data()), static_cast<CFIndex>(text.size()));
    CFStringNormalize(string, kCFStringNormalizationFormKC);
    const CFIndex length = CFStringGetLength(string);
    text.resize(static_cast<size_t>(length));
    CFStringGetCharacters(string, CFRangeMake(0, length), reinterpret_cast<UniChar*>(text.data()));
    CFRelease(string);
    return true;
}

}  // namespace brisel

#endif
