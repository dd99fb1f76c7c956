#include "capture/accessibility_copy.h"

#include <algorithm>
#include <deque>
#include <utility>

#include "util/text.h"

namespace brisel {

namespace names = accessibility_copy;

std::optional<std::string> textAttribute(AccessibilityPort& accessibility, const AccessibilityElement& element,
                                         const std::string& name) {
    auto text = accessibility.stringAttribute(element, name);
    if (!text || trimWhitespaceAndNewlines(*text).empty()) return std::nullopt;
    return text;
}

std::optional<AccessibilityElement> elementAttribute(AccessibilityPort& accessibility,
                                                     const AccessibilityElement& element, const std::string& name) {
    return accessibility.elementAttribute(element, name);
}

bool isCopyControl(AccessibilityPort& accessibility, const AccessibilityElement& element) {
    const auto role = textAttribute(accessibility, element, names::role);
    if (role != "AXButton" && role != "AXMenuItem") return false;
    // Exact labels only: "Copy…" or " Copy" is some other command.
    for (const char* name : {names::description, names::title}) {
        const auto label = textAttribute(accessibility, element, name);
        if (label == "コピー" || label == "Copy") return true;
    }
    return false;
}

bool isEnabledCopyControl(AccessibilityPort& accessibility, const AccessibilityElement& element) {
    if (!isCopyControl(accessibility, element)) return false;
    const auto enabled = accessibility.numberAttribute(element, names::enabled);
    return enabled && *enabled != 0;
}

std::optional<AccessibilityElement> findCopyControl(AccessibilityPort& accessibility, const AccessibilityElement& root,
                                                    Clock::time_point deadline, const NowFunction& now) {
    std::deque<std::pair<AccessibilityElement, int>> queue{{root, 0}};
    size_t examined = 0;
    while (!queue.empty() && examined < names::elementsPerSearch && now() < deadline) {
        auto [element, depth] = std::move(queue.front());
        queue.pop_front();
        ++examined;
        if (isCopyControl(accessibility, element)) return element;
        // Children of the last element allowed would never be examined: not worth a round trip.
        if (depth >= names::expandedDepthLimit || examined == names::elementsPerSearch) continue;
        const auto children = accessibility.elementsAttribute(element, names::children);
        if (!children) continue;
        const size_t taken = std::min(children->size(), names::childrenPerElement);
        for (size_t i = 0; i < taken; ++i) queue.emplace_back((*children)[i], depth + 1);
    }
    return std::nullopt;
}

std::optional<AccessibilityElement> searchKindleForCopyControl(AccessibilityPort& accessibility, int32_t processID,
                                                               const NowFunction& now) {
    // Finding Kindle's application may itself take round trips (AT-SPI lists the applications
    // on its bus): they count against the same time limit.
    const Clock::time_point deadline = now() + names::searchTimeLimit;
    const AccessibilityElement application = accessibility.applicationElement(processID);
    if (now() >= deadline) return std::nullopt;
    accessibility.setMessagingTimeout(application, names::messagingTimeout);
    if (const auto window = elementAttribute(accessibility, application, names::focusedWindow)) {
        if (auto control = findCopyControl(accessibility, *window, deadline, now)) return control;
    }
    if (now() >= deadline) return std::nullopt;
    if (const auto menuBar = elementAttribute(accessibility, application, names::menuBar)) {
        return findCopyControl(accessibility, *menuBar, deadline, now);
    }
    return std::nullopt;
}

}  // namespace brisel
