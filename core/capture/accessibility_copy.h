#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "platform/accessibility_port.h"
#include "platform/main_queue.h"

namespace brisel {

// Finding Kindle's own Copy control through the accessibility interface. Every failed call
// counts as an absent attribute: the search never reports an error, it only finds nothing.
namespace accessibility_copy {

inline constexpr const char* focusedWindow = "AXFocusedWindow";
inline constexpr const char* menuBar = "AXMenuBar";
inline constexpr const char* children = "AXChildren";
inline constexpr const char* role = "AXRole";
inline constexpr const char* title = "AXTitle";
inline constexpr const char* description = "AXDescription";
inline constexpr const char* enabled = "AXEnabled";
inline constexpr const char* press = "AXPress";

inline constexpr Duration messagingTimeout{150};   // per round trip to Kindle
inline constexpr Duration searchTimeLimit{1800};   // the whole search, window and menu bar
inline constexpr int expandedDepthLimit = 12;      // elements this deep are examined, not expanded
inline constexpr size_t childrenPerElement = 60;
inline constexpr size_t elementsPerSearch = 240;

}  // namespace accessibility_copy

using NowFunction = std::function<Clock::time_point()>;

// The attribute when it is a string that is not blank, unchanged.
std::optional<std::string> textAttribute(AccessibilityPort& accessibility, const AccessibilityElement& element,
                                         const std::string& name);
std::optional<AccessibilityElement> elementAttribute(AccessibilityPort& accessibility,
                                                     const AccessibilityElement& element, const std::string& name);

// A button or menu item labelled exactly "コピー" or "Copy", in its description or its title.
bool isCopyControl(AccessibilityPort& accessibility, const AccessibilityElement& element);
// ... whose "AXEnabled" is a true number.
bool isEnabledCopyControl(AccessibilityPort& accessibility, const AccessibilityElement& element);

// Breadth first under `root` until `deadline`, within the depth, children and element limits.
std::optional<AccessibilityElement> findCopyControl(AccessibilityPort& accessibility, const AccessibilityElement& root,
                                                    Clock::time_point deadline, const NowFunction& now);

// The background half of a capture: Kindle's focused window first (a toolbar or context
// button), then its menu bar (Edit > Copy), all within one time limit. Runs off the main thread.
std::optional<AccessibilityElement> searchKindleForCopyControl(AccessibilityPort& accessibility, int32_t processID,
                                                               const NowFunction& now);

}  // namespace brisel
