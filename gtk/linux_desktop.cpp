#include "linux_desktop.h"

#include <gio/gio.h>

#include "application_activation.h"

namespace brisel::gtk {

bool LinuxDesktop::isActive() const {
    return applicationHasFocus();
}

void LinuxDesktop::openURL(const std::string& url) {
    GError* error = nullptr;
    if (!g_app_info_launch_default_for_uri(url.c_str(), nullptr, &error)) {
        g_warning("Brisel could not open the browser: %s", error ? error->message : "unknown error");
        g_clear_error(&error);
    }
}

std::string LinuxDesktop::frontmostBundleID() const {
    const auto frontmost = applications_ ? applications_->frontmostApplication() : std::nullopt;
    return frontmost ? frontmost->bundleID.value_or("") : "";
}

}  // namespace brisel::gtk
