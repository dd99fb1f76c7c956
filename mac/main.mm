// Brisel on macOS: the portable core hosted in AppKit and WebKit.
#import <AppKit/AppKit.h>

#include <unistd.h>

#include <filesystem>

#import "Companion.h"
#include "server/posix_process_launcher.h"

namespace {

// The application delegate is held weakly by NSApp; this keeps it for the life of the process.
Companion* companion;

brisel::CompanionSettings processSettings() {
    brisel::CompanionSettings settings;
    settings.localURL = brisel::productLocalURL;
    if (NSString* resources = NSBundle.mainBundle.resourcePath) {
        settings.resources = std::filesystem::path(resources.fileSystemRepresentation);
    }
    settings.cloudBackend = brisel::readCloudBackend(settings.resources);
    settings.logFolder = std::filesystem::path(NSHomeDirectory().fileSystemRepresentation) / "Library/Logs/Brisel";
    settings.environment = brisel::currentEnvironment();
    settings.processID = static_cast<int64_t>(::getpid());
    return settings;
}

}  // namespace

int main() {
    @autoreleasepool {
        const brisel::CompanionSettings settings = processSettings();
        NSApplication* application = NSApplication.sharedApplication;
        companion = [[Companion alloc] initWithSettings:settings];
        application.delegate = companion;
        [application setActivationPolicy:NSApplicationActivationPolicyRegular];
        [application run];
    }
    return 0;
}
