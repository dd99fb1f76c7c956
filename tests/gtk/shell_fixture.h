#pragma once
// Google Test first: Xlib defines None, which Google Test uses as a name.
#include <gtest/gtest.h>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <gdk/gdkx.h>

#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "fakes/temp_dir.h"
#include "gtk/main_loop.h"
#include "physical_key_codes.h"
#include "shell.h"

// The whole Linux shell in the test's process.
namespace brisel::gtk::testing {

using nlohmann::json;

// A port the system just handed out, free again for the page server.
inline int freePort() {
    GSocketListener* listener = g_socket_listener_new();
    const guint16 port = g_socket_listener_add_any_inet_port(listener, nullptr, nullptr);
    g_object_unref(listener);
    return port;
}

// A key combination typed on the X server's keyboard, as the user would type it.
inline void typeOnKeyboard(std::initializer_list<KeySym> modifiers, uint32_t macKeyCode) {
    Display* display = GDK_DISPLAY_XDISPLAY(gdk_display_get_default());
    for (KeySym modifier : modifiers) XTestFakeKeyEvent(display, XKeysymToKeycode(display, modifier), True, 0);
    const unsigned key = *x11KeyCode(macKeyCode);
    XTestFakeKeyEvent(display, key, True, 0);
    XTestFakeKeyEvent(display, key, False, 0);
    for (KeySym modifier : modifiers) XTestFakeKeyEvent(display, XKeysymToKeycode(display, modifier), False, 0);
    XFlush(display);
}

// The shell of the product on `localURL`, its state and settings in a folder of the test's own.
class ShellTest : public ::testing::Test {
protected:
    explicit ShellTest(const std::string& localURL, Duration pageLoadTimeout = CompanionSettings().pageLoadTimeout)
        : shell(localURL, {BRISEL_BUNDLE_RESOURCES, home / "state", home / "config"}, pageLoadTimeout) {
        shell.companion().applicationDidFinishLaunching();
    }
    ~ShellTest() override { shell.companion().applicationWillTerminate(); }

    // Runs `expression` in the page and returns its value through JSON.
    json page(const std::string& expression) {
        std::optional<ScriptResult> answer;
        shell.webView().evaluate("JSON.stringify(" + expression + ")", [&](ScriptResult result) { answer = std::move(result); });
        main_loop::runUntil([&] { return answer.has_value(); });
        return answer && answer->stringValue ? json::parse(*answer->stringValue, nullptr, false) : json();
    }
    // The start-up log's lines for `event`.
    std::vector<json> logged(const std::string& event) {
        std::ifstream log(home / "state/startup.log");
        std::vector<json> found;
        for (std::string line; std::getline(log, line);) {
            if (json entry = json::parse(line, nullptr, false); entry.value("event", "") == event) found.push_back(entry);
        }
        return found;
    }

    brisel::testing::TempDir home;
    Shell shell;
};

// The shell with the bridge console the companion serves from the bundle, and what the page got.
class ShellEndToEnd : public ShellTest {
protected:
    ShellEndToEnd() : ShellTest("http://127.0.0.1:" + std::to_string(freePort())) {
        EXPECT_TRUE(main_loop::runUntil([&] { return shell.companion().pageReady() && page("!!window.briselConsole") == true; }, 30000))
            << "the console page did not load";
    }

    void click(const std::string& id) {
        ASSERT_EQ(page("(() => { const e = document.getElementById('" + id + "'); e?.click(); return !!e; })()"), true) << id;
    }
    // The details of the events named `name` the page received, of `type` when given.
    json received(const std::string& name, const std::string& type = "") {
        return page("window.briselConsole.events.filter(e => e.name === '" + name + "'" +
                    (type.empty() ? "" : " && e.detail?.type === '" + type + "'") + ").map(e => e.detail)");
    }
    std::vector<std::string> statusErrors() {
        return page("window.briselConsole.events.filter(e => e.detail?.type === 'status' && 'error' in e.detail)"
                    ".map(e => e.detail.error)");
    }
};

}  // namespace brisel::gtk::testing
