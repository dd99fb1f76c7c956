#pragma once

#include <string>

namespace brisel {

// The desktop around the panel: the user's browser and the running applications.
class WorkspacePort {
public:
    virtual ~WorkspacePort() = default;
    virtual void openInBrowser(const std::string& url) = 0;
    virtual std::string frontmostBundleID() const = 0;  // empty when unknown
};

}  // namespace brisel
