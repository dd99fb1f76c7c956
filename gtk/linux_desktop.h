#pragma once

#include <gtk/gtk.h>

#include <vector>

#include "app/main_menu.h"
#include "platform/application_port.h"
#include "platform/running_applications_port.h"
#include "platform/workspace_port.h"

namespace brisel::gtk {

// This application and the desktop around it, as core sees them on Linux.
class LinuxDesktop final : public ApplicationPort, public WorkspacePort {
public:
    static constexpr const char* applicationID = "app.brisel.Brisel";

    void setApplications(const RunningApplicationsPort& applications) { applications_ = &applications; }
    const std::vector<Menu>& menus() const { return menus_; }

    // The menu is kept here and shown by the panel as its header-bar menu.
    void installMainMenu(const std::vector<Menu>& menus) override { menus_ = menus; }
    // Showing a window (the panel, the settings window) already asked the window manager for the
    // focus, as activating does on macOS; raising the panel here would cover the window just shown.
    void activateIgnoringOtherApps() override {}
    bool isActive() const override;
    bool isHidden() const override { return false; }
    void terminate() override { gtk_main_quit(); }

    void openURL(const std::string& url) override;
    std::string frontmostBundleID() const override;

private:
    std::vector<Menu> menus_;
    const RunningApplicationsPort* applications_ = nullptr;
};

}  // namespace brisel::gtk
