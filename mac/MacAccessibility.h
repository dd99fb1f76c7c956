#pragma once

#include "platform/accessibility_port.h"

namespace brisel::mac {

// The accessibility API of ApplicationServices. Elements are AXUIElementRefs that the handle
// releases. Everything but the trust check is safe from the background search too.
class MacAccessibility final : public AccessibilityPort {
public:
    bool isProcessTrusted(bool prompt) override;
    AccessibilityElement applicationElement(int32_t processID) override;
    void setMessagingTimeout(const AccessibilityElement& element, Duration timeout) override;
    std::optional<std::string> stringAttribute(const AccessibilityElement& element, const std::string& name) override;
    std::optional<AccessibilityElement> elementAttribute(const AccessibilityElement& element,
                                                         const std::string& name) override;
    std::optional<std::vector<AccessibilityElement>> elementsAttribute(const AccessibilityElement& element,
                                                                       const std::string& name) override;
    std::optional<double> numberAttribute(const AccessibilityElement& element, const std::string& name) override;
    int32_t performAction(const AccessibilityElement& element, const std::string& action) override;
};

}  // namespace brisel::mac
