#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/main_queue.h"

namespace brisel {

// An element of another application's accessibility tree (an AXUIElementRef on macOS). The
// handle keeps the element alive; copies share it and compare by identity.
class AccessibilityElement {
public:
    AccessibilityElement() = default;
    explicit AccessibilityElement(std::shared_ptr<const void> handle) : handle_(std::move(handle)) {}

    const void* get() const { return handle_.get(); }
    const std::shared_ptr<const void>& handle() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }
    bool operator==(const AccessibilityElement& other) const { return handle_ == other.handle_; }

private:
    std::shared_ptr<const void> handle_;
};

// Results of an action, as AXError has them.
namespace accessibility_error {
inline constexpr int32_t success = 0;
inline constexpr int32_t cannotComplete = -25204;  // sent, but the answer never came
}  // namespace accessibility_error

// The accessibility interface to other applications (ApplicationServices on macOS). Attribute
// and action names are core's; a read that fails, or finds a value of another kind, is absent.
// Everything but the trust check may be called from the background search as well as from
// the main thread.
class AccessibilityPort {
public:
    virtual ~AccessibilityPort() = default;

    // Whether this process may use the interface; with `prompt` the system may ask the user.
    virtual bool isProcessTrusted(bool prompt) = 0;

    virtual AccessibilityElement applicationElement(int32_t processID) = 0;

    // Caps every later call on `element` (and on elements read through it).
    virtual void setMessagingTimeout(const AccessibilityElement& element, Duration timeout) = 0;

    // The attribute when it is a string.
    virtual std::optional<std::string> stringAttribute(const AccessibilityElement& element,
                                                       const std::string& name) = 0;
    // The attribute when it is an element.
    virtual std::optional<AccessibilityElement> elementAttribute(const AccessibilityElement& element,
                                                                 const std::string& name) = 0;
    // The attribute when it is an array made only of elements, in the order reported.
    virtual std::optional<std::vector<AccessibilityElement>> elementsAttribute(const AccessibilityElement& element,
                                                                               const std::string& name) = 0;
    // The attribute when it is a number; a boolean reads as 1 or 0.
    virtual std::optional<double> numberAttribute(const AccessibilityElement& element,
                                                  const std::string& name) = 0;

    // Performs the action and returns the AXError.
    virtual int32_t performAction(const AccessibilityElement& element, const std::string& action) = 0;
};

}  // namespace brisel
