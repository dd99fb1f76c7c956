#pragma once

#include "platform/workspace_port.h"

namespace brisel::mac {

class MacWorkspace final : public WorkspacePort {
public:
    void openURL(const std::string& url) override;
    std::string frontmostBundleID() const override;
};

}  // namespace brisel::mac
