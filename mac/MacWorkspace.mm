#include "MacWorkspace.h"

#import <AppKit/AppKit.h>

#include "Conversions.h"

namespace brisel::mac {

void MacWorkspace::openURL(const std::string& url) {
    if (NSURL* address = [NSURL URLWithString:nsString(url)]) [NSWorkspace.sharedWorkspace openURL:address];
}

std::string MacWorkspace::frontmostBundleID() const {
    return stdString(NSWorkspace.sharedWorkspace.frontmostApplication.bundleIdentifier);
}

}  // namespace brisel::mac
