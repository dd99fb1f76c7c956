#include "MacRunningApplications.h"

#import <AppKit/AppKit.h>

#include "Conversions.h"

namespace brisel::mac {

namespace {

RunningApplication applicationOf(NSRunningApplication* application) {
    return {application.processIdentifier, optionalString(application.bundleIdentifier)};
}

NSRunningApplication* runningApplication(const RunningApplication& application) {
    return [NSRunningApplication runningApplicationWithProcessIdentifier:application.processID];
}

}  // namespace

std::optional<RunningApplication> MacRunningApplications::frontmostApplication() const {
    NSRunningApplication* frontmost = NSWorkspace.sharedWorkspace.frontmostApplication;
    if (!frontmost) return std::nullopt;
    return applicationOf(frontmost);
}

std::vector<RunningApplication> MacRunningApplications::runningApplications(const std::string& bundleID) const {
    std::vector<RunningApplication> applications;
    for (NSRunningApplication* application in
         [NSRunningApplication runningApplicationsWithBundleIdentifier:nsString(bundleID)]) {
        applications.push_back(applicationOf(application));
    }
    return applications;
}

bool MacRunningApplications::isTerminated(const RunningApplication& application) const {
    NSRunningApplication* running = runningApplication(application);
    // A reused process identifier belongs to another application, so the one we knew has ended.
    return !running || running.terminated || optionalString(running.bundleIdentifier) != application.bundleID;
}

void MacRunningApplications::activate(const RunningApplication& application) {
    NSRunningApplication* running = runningApplication(application);
    if (!running) return;
    // Since macOS 14 activation is cooperative: this application hands it over, then asks.
    if (@available(macOS 14.0, *)) {
        [NSApplication.sharedApplication yieldActivationToApplication:running];
        [running activateFromApplication:NSRunningApplication.currentApplication options:0];
    } else {
        [running activateWithOptions:0];
    }
}

std::optional<std::string> MacRunningApplications::ownBundleID() const {
    return optionalString(NSBundle.mainBundle.bundleIdentifier);
}

}  // namespace brisel::mac
