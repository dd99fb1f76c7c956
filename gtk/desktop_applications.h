#pragma once

#include <gdk/gdk.h>

#include "platform/running_applications_port.h"

namespace brisel::gtk {

// The applications on an X11 desktop, as core knows them on macOS. What stands for a bundle
// identifier is, in this order: our own application ID for this process; the desktop ID the
// process was launched under, when GIO's launcher recorded it for that very process; the file
// name of its executable. Linux has no identity that every process declares, and these are the
// names a user or a desktop file would give the program.
class DesktopApplications final : public RunningApplicationsPort {
public:
    // The application whose window the window manager reports active (_NET_ACTIVE_WINDOW), by
    // the window's _NET_WM_PID.
    std::optional<RunningApplication> frontmostApplication() const override;
    // Every process of this desktop (started on our display) with that identity, by ascending
    // process ID.
    std::vector<RunningApplication> runningApplications(const std::string& bundleID) const override;
    bool isTerminated(const RunningApplication& application) const override;
    // Asks the window manager to activate the application's topmost window; an application
    // without a managed window has nothing to bring forward, and nothing happens.
    void activate(const RunningApplication& application) override;
    std::optional<std::string> ownBundleID() const override;
};

// The identity above; absent for a process that has ended or cannot be read.
std::optional<std::string> applicationIdentity(int32_t processID);

}  // namespace brisel::gtk
