#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/accessibility_port.h"

namespace brisel::testing {

struct FakeAXNode;
using FakeAXNodePtr = std::shared_ptr<FakeAXNode>;
using FakeAXValue = std::variant<std::string, double, FakeAXNodePtr, std::vector<FakeAXNodePtr>>;

// One element of a fake tree, named for the call log; an absent attribute is a failed read.
struct FakeAXNode {
    std::string name;
    std::map<std::string, FakeAXValue> attributes;
    std::function<int32_t()> press = [] { return 0; };
};

inline FakeAXNodePtr axNode(std::string name, std::map<std::string, FakeAXValue> attributes,
                            std::vector<FakeAXNodePtr> children = {}) {
    if (!children.empty()) attributes["AXChildren"] = std::move(children);
    return std::make_shared<FakeAXNode>(FakeAXNode{std::move(name), std::move(attributes)});
}
// An enabled button or menu item.
inline FakeAXNodePtr axControl(std::string name, std::string role, std::string title) {
    return axNode(std::move(name), {{"AXRole", std::move(role)}, {"AXTitle", std::move(title)}, {"AXEnabled", 1.0}});
}
inline AccessibilityElement axElement(const FakeAXNodePtr& node) { return AccessibilityElement(node); }

// Every call lands in `calls` ("trusted?", "application 501", "timeout Kindle 150", "window.AXRole",
// "menu copy AXPress"...); `onCall` sees it first, to make Kindle slow or note the clipboard then.
// Only the applications given exist.
class FakeAccessibility final : public AccessibilityPort {
public:
    std::map<int32_t, FakeAXNodePtr> applications;
    bool trusted = true;
    std::vector<std::string> calls;
    std::function<void(const std::string& call)> onCall;

    bool isProcessTrusted(bool prompt) override {
        log(prompt ? "trusted? prompt" : "trusted?");
        return trusted;
    }
    AccessibilityElement applicationElement(int32_t processID) override {
        log("application " + std::to_string(processID));
        return axElement(applications.at(processID));
    }
    void setMessagingTimeout(const AccessibilityElement& element, Duration timeout) override {
        log("timeout " + node(element).name + " " + std::to_string(timeout.count()));
    }
    std::optional<std::string> stringAttribute(const AccessibilityElement& of, const std::string& name) override {
        return read<std::string>(of, name);
    }
    std::optional<double> numberAttribute(const AccessibilityElement& of, const std::string& name) override {
        return read<double>(of, name);
    }
    std::optional<AccessibilityElement> elementAttribute(const AccessibilityElement& of, const std::string& name) override {
        const auto node = read<FakeAXNodePtr>(of, name);
        return node ? std::optional(axElement(*node)) : std::nullopt;
    }
    std::optional<std::vector<AccessibilityElement>> elementsAttribute(const AccessibilityElement& of,
                                                                       const std::string& name) override {
        const auto nodes = read<std::vector<FakeAXNodePtr>>(of, name);
        return nodes ? std::optional(std::vector<AccessibilityElement>(nodes->begin(), nodes->end())) : std::nullopt;
    }
    int32_t performAction(const AccessibilityElement& element, const std::string& action) override {
        log(node(element).name + " " + action);
        return node(element).press();
    }

private:
    static FakeAXNode& node(const AccessibilityElement& element) {
        return *static_cast<FakeAXNode*>(const_cast<void*>(element.get()));
    }
    void log(std::string call) {
        if (onCall) onCall(call);
        calls.push_back(std::move(call));
    }
    template <typename T>
    std::optional<T> read(const AccessibilityElement& element, const std::string& name) {
        log(node(element).name + "." + name);
        const auto& attributes = node(element).attributes;
        const auto found = attributes.find(name);
        if (found == attributes.end() || !std::holds_alternative<T>(found->second)) return std::nullopt;
        return std::get<T>(found->second);
    }
};

// Kindle as a capture meets it: a book window with a toolbar, and Copy in the Edit menu of the
// menu bar; `addToolbarCopy` puts a Copy button in the toolbar.
struct FakeKindle {
    FakeAXNodePtr menuCopy = axControl("menu copy", "AXMenuItem", "コピー");
    FakeAXNodePtr toolbarCopy = axControl("toolbar copy", "AXButton", "コピー");
    FakeAXNodePtr toolbar = axNode("toolbar", {}, {axControl("highlight", "AXButton", "ハイライト")});
    FakeAXNodePtr editMenu = axNode("edit menu", {}, {axControl("undo", "AXMenuItem", "取り消す"), menuCopy});
    FakeAXNodePtr application = axNode(
        "Kindle", {{"AXFocusedWindow", axNode("window", {}, {toolbar})}, {"AXMenuBar", axNode("menu bar", {}, {editMenu})}});

    void addToolbarCopy() {
        std::get<std::vector<FakeAXNodePtr>>(toolbar->attributes["AXChildren"]).push_back(toolbarCopy);
    }
};

}  // namespace brisel::testing
