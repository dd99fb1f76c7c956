#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "platform/accessibility_port.h"

namespace brisel::testing {

struct FakeAXNode;
using FakeAXNodePtr = std::shared_ptr<FakeAXNode>;

// A value of some other kind (an AXValue, an array of strings...).
struct FakeAXOther {};

using FakeAXValue = std::variant<std::string, double, FakeAXNodePtr, std::vector<FakeAXNodePtr>, FakeAXOther>;

// One element of a fake tree. Its attributes are read as they are at the time of the read.
struct FakeAXNode {
    std::string name;  // for failure messages only
    std::map<std::string, FakeAXValue> attributes;
    std::set<std::string> failing;  // reads of these fail outright
    int32_t pressResult = 0;
    std::function<int32_t()> onPress;  // replaces `pressResult` when set

    void add(FakeAXNodePtr child) {
        auto& value = attributes["AXChildren"];
        if (!std::holds_alternative<std::vector<FakeAXNodePtr>>(value)) value = std::vector<FakeAXNodePtr>{};
        std::get<std::vector<FakeAXNodePtr>>(value).push_back(std::move(child));
    }
    void setEnabled(bool enabled) { attributes["AXEnabled"] = enabled ? 1.0 : 0.0; }
};

inline FakeAXNodePtr axNode(const std::string& role, const std::string& name = "") {
    auto node = std::make_shared<FakeAXNode>();
    node->name = name.empty() ? role : name;
    node->attributes["AXRole"] = role;
    return node;
}

// A control with a title, enabled.
inline FakeAXNodePtr axControl(const std::string& role, const std::string& title) {
    auto node = axNode(role, title);
    node->attributes["AXTitle"] = title;
    node->setEnabled(true);
    return node;
}

inline FakeAXNodePtr axNodeOf(const AccessibilityElement& element) {
    return std::static_pointer_cast<FakeAXNode>(std::const_pointer_cast<void>(element.handle()));
}

inline AccessibilityElement axElement(const FakeAXNodePtr& node) { return AccessibilityElement(node); }

// The accessibility interface over fake trees, one per process. Safe to read from a
// background thread while the test thread waits; every read is counted.
class FakeAccessibility final : public AccessibilityPort {
public:
    std::map<int32_t, FakeAXNodePtr> applications;
    bool trusted = true;
    std::function<void()> onRead;  // runs at every attribute read (a slow Kindle, say)
    std::function<void()> onApplicationLookup;  // runs when an application element is asked for

    bool isProcessTrusted(bool prompt) override {
        std::lock_guard guard(mutex_);
        trustChecks_.push_back(prompt);
        return trusted;
    }

    AccessibilityElement applicationElement(int32_t processID) override {
        if (onApplicationLookup) onApplicationLookup();
        const auto found = applications.find(processID);
        // Like AXUIElementCreateApplication, any process identifier gives an element.
        return axElement(found == applications.end() ? std::make_shared<FakeAXNode>() : found->second);
    }

    void setMessagingTimeout(const AccessibilityElement& element, Duration timeout) override {
        std::lock_guard guard(mutex_);
        timeouts_.push_back({axNodeOf(element).get(), timeout});
    }

    std::optional<std::string> stringAttribute(const AccessibilityElement& element, const std::string& name) override {
        const auto value = read(element, name);
        if (!value || !std::holds_alternative<std::string>(*value)) return std::nullopt;
        return std::get<std::string>(*value);
    }

    std::optional<AccessibilityElement> elementAttribute(const AccessibilityElement& element,
                                                         const std::string& name) override {
        const auto value = read(element, name);
        if (!value || !std::holds_alternative<FakeAXNodePtr>(*value)) return std::nullopt;
        return axElement(std::get<FakeAXNodePtr>(*value));
    }

    std::optional<std::vector<AccessibilityElement>> elementsAttribute(const AccessibilityElement& element,
                                                                       const std::string& name) override {
        const auto value = read(element, name);
        if (!value || !std::holds_alternative<std::vector<FakeAXNodePtr>>(*value)) return std::nullopt;
        std::vector<AccessibilityElement> elements;
        for (const auto& node : std::get<std::vector<FakeAXNodePtr>>(*value)) elements.push_back(axElement(node));
        return elements;
    }

    std::optional<double> numberAttribute(const AccessibilityElement& element, const std::string& name) override {
        const auto value = read(element, name);
        if (!value || !std::holds_alternative<double>(*value)) return std::nullopt;
        return std::get<double>(*value);
    }

    int32_t performAction(const AccessibilityElement& element, const std::string& action) override {
        const auto node = axNodeOf(element);
        {
            std::lock_guard guard(mutex_);
            actions_.push_back(node->name + " " + action);
        }
        return node->onPress ? node->onPress() : node->pressResult;
    }

    // Elements whose role was read, in order: the elements a search examined.
    std::vector<std::string> examined() const {
        std::lock_guard guard(mutex_);
        return examined_;
    }
    std::vector<std::string> reads() const {
        std::lock_guard guard(mutex_);
        return reads_;
    }
    std::vector<std::string> actions() const {
        std::lock_guard guard(mutex_);
        return actions_;
    }
    std::vector<bool> trustChecks() const {
        std::lock_guard guard(mutex_);
        return trustChecks_;
    }
    std::vector<std::pair<const FakeAXNode*, Duration>> timeouts() const {
        std::lock_guard guard(mutex_);
        return timeouts_;
    }
    void forgetReads() {
        std::lock_guard guard(mutex_);
        examined_.clear();
        reads_.clear();
    }

private:
    std::optional<FakeAXValue> read(const AccessibilityElement& element, const std::string& name) {
        if (onRead) onRead();
        const auto node = axNodeOf(element);
        {
            std::lock_guard guard(mutex_);
            reads_.push_back(node->name + "." + name);
            if (name == "AXRole") examined_.push_back(node->name);
        }
        if (node->failing.count(name)) return std::nullopt;
        const auto found = node->attributes.find(name);
        if (found == node->attributes.end()) return std::nullopt;
        return found->second;
    }

    mutable std::mutex mutex_;
    std::vector<std::string> examined_;
    std::vector<std::string> reads_;
    std::vector<std::string> actions_;
    std::vector<bool> trustChecks_;
    std::vector<std::pair<const FakeAXNode*, Duration>> timeouts_;
};

// Kindle's accessibility tree as the capture meets it: a book window with a toolbar and the
// page, and a menu bar whose Edit menu holds Copy.
struct FakeKindleTree {
    FakeAXNodePtr application;
    FakeAXNodePtr window;
    FakeAXNodePtr toolbar;
    FakeAXNodePtr menuBar;
    FakeAXNodePtr editMenu;
    FakeAXNodePtr toolbarCopy;  // absent unless asked for
    FakeAXNodePtr menuCopy;     // absent when the menu has none

    struct Options {
        bool toolbarCopy = false;
        bool menuCopy = true;
        std::string copyLabel = "コピー";
    };

    static FakeKindleTree make(const Options& options) {
        FakeKindleTree tree;
        tree.application = axNode("AXApplication", "Kindle");
        tree.application->attributes["AXTitle"] = std::string("Kindle");

        tree.window = axNode("AXWindow", "window");
        tree.window->attributes["AXTitle"] = std::string("A Title");
        tree.toolbar = axNode("AXToolbar", "toolbar");
        for (const char* title : {"ライブラリ", "ハイライト", "メモ"}) tree.toolbar->add(axControl("AXButton", title));
        if (options.toolbarCopy) {
            tree.toolbarCopy = axControl("AXButton", "toolbar copy");
            tree.toolbarCopy->attributes.erase("AXTitle");
            tree.toolbarCopy->attributes["AXDescription"] = options.copyLabel;
            tree.toolbar->add(tree.toolbarCopy);
        }
        tree.window->add(tree.toolbar);
        auto page = axNode("AXScrollArea", "page");
        auto text = axNode("AXTextArea", "text");
        text->attributes["AXValue"] = std::string("Some passage.");
        page->add(text);
        tree.window->add(page);
        tree.application->attributes["AXFocusedWindow"] = tree.window;

        tree.menuBar = axNode("AXMenuBar", "menu bar");
        for (const char* title : {"Apple", "Kindle", "ファイル"}) {
            auto menuItem = axControl("AXMenuBarItem", title);
            auto menu = axNode("AXMenu", std::string(title) + " menu");
            menu->add(axControl("AXMenuItem", std::string(title) + " item"));
            menuItem->add(menu);
            tree.menuBar->add(menuItem);
        }
        auto edit = axControl("AXMenuBarItem", "編集");
        tree.editMenu = axNode("AXMenu", "編集 menu");
        tree.editMenu->add(axControl("AXMenuItem", "取り消す"));
        if (options.menuCopy) {
            tree.menuCopy = axControl("AXMenuItem", options.copyLabel);
            tree.menuCopy->name = "menu copy";
            tree.editMenu->add(tree.menuCopy);
        }
        tree.editMenu->add(axControl("AXMenuItem", "すべてを選択"));
        edit->add(tree.editMenu);
        tree.menuBar->add(edit);
        tree.application->attributes["AXMenuBar"] = tree.menuBar;
        return tree;
    }

    // The control a capture presses: the toolbar's when there is one, else the menu's.
    FakeAXNodePtr copyControl() const { return toolbarCopy ? toolbarCopy : menuCopy; }
};

}  // namespace brisel::testing
