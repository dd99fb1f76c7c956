#pragma once

#include <gio/gio.h>

#include <mutex>

#include "platform/accessibility_port.h"

namespace brisel::gtk {

// Other applications' accessibility trees over AT-SPI 2, spoken on the accessibility bus with a
// GDBus connection of our own rather than through libatspi. libatspi keeps one process-wide
// D-Bus connection, shared with GTK's accessibility bridge in this very process and dispatched
// by the main loop, so core's background search would race the main thread inside it (no lock
// of ours covers the main loop's dispatch), and its time-out is global. A GDBus connection is
// safe to call from any thread and takes a time-out per call; the mutex only guards the
// connection, and whether its registry answered.
//
// Core's names map onto AT-SPI as follows: AXRole from the role (push button is AXButton, the
// menu item roles are AXMenuItem), AXTitle the name, AXDescription the description, AXChildren
// the children, AXEnabled the "enabled" state, AXFocusedWindow the application's active
// window, AXMenuBar the first menu bar in that window (menus live in windows here), and
// AXPress the element's first action, which is "click" or "press" in the toolkits.
class AtspiAccessibility final : public AccessibilityPort {
public:
    AtspiAccessibility() = default;
    ~AtspiAccessibility() override;

    AtspiAccessibility(const AtspiAccessibility&) = delete;
    AtspiAccessibility& operator=(const AtspiAccessibility&) = delete;

    // Whether the accessibility bus and its registry answer; once the registry has, for as long
    // as the connection stays open (asked on every status event, the registry would hold up
    // the main thread each time). There is no permission to ask for on Linux, so `prompt`
    // changes nothing.
    bool isProcessTrusted(bool prompt) override;
    // Empty when no application of that process is on the bus.
    AccessibilityElement applicationElement(int32_t processID) override;
    void setMessagingTimeout(const AccessibilityElement& element, Duration timeout) override;
    std::optional<std::string> stringAttribute(const AccessibilityElement& element, const std::string& name) override;
    std::optional<AccessibilityElement> elementAttribute(const AccessibilityElement& element,
                                                         const std::string& name) override;
    std::optional<std::vector<AccessibilityElement>> elementsAttribute(const AccessibilityElement& element,
                                                                       const std::string& name) override;
    std::optional<double> numberAttribute(const AccessibilityElement& element, const std::string& name) override;
    // 0, -25204 when the application did not answer in time, -25200 for any other failure.
    int32_t performAction(const AccessibilityElement& element, const std::string& action) override;

private:
    // A new reference to the bus connection, connecting first when there is none or it closed.
    GDBusConnection* connection();

    std::mutex mutex_;
    GDBusConnection* bus_ = nullptr;
    bool registryAnswered_ = false;  // on `bus_`
};

}  // namespace brisel::gtk
