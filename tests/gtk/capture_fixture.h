#pragma once
// Google Test first: Xlib defines None, which Google Test uses as a name.
#include "gtk/shell_fixture.h"

#include <X11/keysym.h>

#include <map>
#include <memory>
#include <string>
#include <utility>

#include "app/product.h"
#include "desktop_applications.h"
#include "gtk/child_process.h"
#include "gtk/kindle_stand_in.h"
#include "gtk/other_app.h"

// Captures in the real shell on a desktop with a window manager and an accessibility bus, the
// Kindle stand-in and the user's clipboard held by another program; they end with the program.
namespace brisel::gtk::testing {

class CaptureEndToEnd : public ShellEndToEnd {
protected:
    static void SetUpTestSuite() {
        g_unsetenv("NO_AT_BRIDGE");
        // Another Kindle, started first, on another desktop: never the one to bring forward.
        otherDesktop = std::make_unique<brisel::testing::TempDir>();
        std::filesystem::copy_file("/bin/sleep", *otherDesktop / kindleBundleID);
        kindleElsewhere = std::make_unique<ChildProcess>(
            std::vector<std::string>{"env", "DISPLAY=:65535", (*otherDesktop / kindleBundleID).string(), "600"});
        kindle = std::make_unique<ChildProcess>(std::vector<std::string>{BRISEL_KINDLE_STAND_IN});
        // Once the window manager runs, it brings the stand-in forward.
        ASSERT_TRUE(main_loop::runUntil(bringKindleForward, 10000));
    }

    CaptureEndToEnd() {
        setKindle("");
        holdUserClipboard({"own"});
    }

    // The stand-in's knobs, those not named at their first values.
    void setKindle(const std::string& knobs) {
        kindle->writeLine(knobs);
        EXPECT_EQ(lineFromKindle("ok"), "ok") << knobs;
    }
    // The stand-in's next line starting with `prefix`, passing over the others.
    std::string lineFromKindle(const std::string& prefix) {
        for (std::string line; !(line = kindle->readLine()).empty();) {
            if (line.starts_with(prefix) || line.starts_with("unknown")) return line;
        }
        return {};
    }

    // The user's clipboard, held by another program: {"own"} (text, HTML and an image) or a
    // hostile owner ({"hostile", "hang"}), which the previous one ends on losing it to.
    void holdUserClipboard(std::vector<std::string> how) {
        how.insert(how.begin(), BRISEL_OTHER_APP);
        auto previous = std::exchange(userClipboard, std::make_unique<ChildProcess>(how));
        ASSERT_EQ(userClipboard->readLine(), "owned");
        if (previous) EXPECT_TRUE(previous->exits());
    }
    static Window clipboardOwner() {
        Display* display = GDK_DISPLAY_XDISPLAY(gdk_display_get_default());
        return XGetSelectionOwner(display, XInternAtom(display, "CLIPBOARD", False));
    }
    // Read by another program, as the user's next paste would: the type it comes in, on a line, then the data.
    static std::optional<std::string> clipboardTarget(const std::string& target) {
        return ChildProcess({BRISEL_OTHER_APP, "read", target}).readToEnd();
    }
    // The user's clipboard as its owner ("own") serves it, and the clipboard now, read for the same targets.
    static std::map<std::string, std::string> usersClipboard() {
        return {{"UTF8_STRING", "UTF8_STRING\n" + other_app::text}, {"TEXT", "UTF8_STRING\n" + other_app::text},
                {"text/html", "text/html\n" + other_app::html}, {"image/png", "image/png\n" + other_app::png}};
    }
    static std::map<std::string, std::string> clipboard() {
        auto contents = usersClipboard();
        for (auto& [target, read] : contents) read = clipboardTarget(target).value_or("(refused)");
        return contents;
    }

    static int32_t frontmostProcess() {
        const auto frontmost = DesktopApplications().frontmostApplication();
        return frontmost ? frontmost->processID : 0;
    }
    // Activated through the window manager, as a click on its window would.
    static bool bringForward(int32_t processID, const char* identity) {
        DesktopApplications().activate({processID, identity});
        return main_loop::runUntil([&] { return frontmostProcess() == processID; });
    }
    static bool bringKindleForward() { return bringForward(kindle->pid(), kindleBundleID); }
    bool bringPanelForward() { return bringForward(getpid(), LinuxDesktop::applicationID); }

    void pressCaptureKey() { typeOnKeyboard({XK_Control_L, XK_Alt_L}, 40); }

    // The outcomes of captures (selections, statuses with an error) among the page's native events after the first `from`.
    json outcomesFrom(size_t from) {
        return page("window.briselConsole.events.filter(e => e.name === 'omvane:native').slice(" + std::to_string(from) +
                    ").map(e => e.detail).filter(e => e.type === 'selection' || 'error' in e)");
    }
    size_t nativeEventCount() { return received("omvane:native").size(); }
    // The first outcome after the first `from` events, waited for (on events) ten seconds at most; null when none came.
    json outcomeAfter(size_t from) {
        json outcomes;
        main_loop::runUntil([&] { return !(outcomes = outcomesFrom(from)).empty(); }, 10000);
        EXPECT_TRUE(main_loop::runUntil([&] { return !shell.companion().capture().captureInFlight(); }));
        return outcomes.empty() ? json() : outcomes.front();
    }
    static inline std::unique_ptr<brisel::testing::TempDir> otherDesktop;
    static inline std::unique_ptr<ChildProcess> kindleElsewhere, kindle;
    std::unique_ptr<ChildProcess> userClipboard;
};

}  // namespace brisel::gtk::testing
