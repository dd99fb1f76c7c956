#pragma once

#include <string>

namespace brisel {

// The desktop around the panel: the handlers of URLs and the running applications.
class WorkspacePort {
public:
    virtual ~WorkspacePort() = default;
    // Hands the URL to the system: web addresses go to the user's browser, the system settings
    // address of the Accessibility privacy pane to the settings (the Linux shell translates it).
    virtual void openURL(const std::string& url) = 0;
    virtual std::string frontmostBundleID() const = 0;  // empty when unknown
};

}  // namespace brisel
