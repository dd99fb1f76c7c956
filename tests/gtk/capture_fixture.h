#pragma once
// Google Test first: Xlib defines None, which Google Test uses as a name.
#include "gtk/shell_fixture.h"

#include <X11/keysym.h>

#include <map>
#include <memory>
#include <string>

#include "app/product.h"
#include "desktop_applications.h"
#include "gtk/child_process.h"
#include "gtk/eventually.h"
#include "gtk/kindle_stand_in.h"
#include "gtk/other_app.h"

// Captures in the real shell on a real desktop: a window manager that activates windows, an
// accessibility bus, the X clipboard held by another program, and the Kindle stand-in.
namespace brisel::gtk::testing {

// What a capture ended with on the page: a "selection" event or a status error.
struct CaptureOutcome {
    std::optional<json> selection;
    std::optional<std::string> error;
};

// The clipboard as other programs read it: every target its owner lists, with its bytes.
using ClipboardContents = std::map<std::string, std::string>;

class CaptureEndToEnd : public ShellEndToEnd {
protected:
    static void SetUpTestSuite() {
        ShellEndToEnd::SetUpTestSuite();
        ASSERT_TRUE(eventually([] { return windowManagerRuns(); })) << "no window manager on this display";
        g_unsetenv("NO_AT_BRIDGE");
        ASSERT_EQ(usersClipboard().at("image/png"), other_app::png);
        kindle = std::make_unique<ChildProcess>(std::vector<std::string>{BRISEL_KINDLE_STAND_IN});
        ASSERT_EQ(kindle->readLine(), "active");
    }
    static void TearDownTestSuite() { kindle.reset(); }

    CaptureEndToEnd() {
        tell("reset");
        holdUserClipboard("own");
    }

    static bool windowManagerRuns() {
        Display* display = GDK_DISPLAY_XDISPLAY(gdk_display_get_default());
        Atom type = None;
        int format = 0;
        unsigned long count = 0, remaining = 0;
        unsigned char* data = nullptr;
        XGetWindowProperty(display, DefaultRootWindow(display), XInternAtom(display, "_NET_SUPPORTING_WM_CHECK", False),
                           0, 1, False, AnyPropertyType, &type, &format, &count, &remaining, &data);
        if (data) XFree(data);
        return count == 1;
    }

    // One line to the stand-in; it answers "ok".
    void tell(const std::string& line) {
        kindle->writeLine(line);
        EXPECT_EQ(lineFromKindle("ok"), "ok") << line;
    }
    // The stand-in's next line starting with `prefix`; the others ("active") are passed over.
    std::string lineFromKindle(const std::string& prefix) {
        for (std::string line; !(line = kindle->readLine()).empty();) {
            if (line.starts_with(prefix) || line.starts_with("unknown")) return line;
        }
        return {};
    }

    // The user's clipboard, held by another program: "own" (text, HTML and an image), or
    // "hostile hang", "hostile refuse", "hostile vanish".
    void holdUserClipboard(const std::string& how) {
        std::vector<std::string> command{BRISEL_OTHER_APP};
        for (size_t start = 0, end; start <= how.size(); start = end + 1) {
            end = std::min(how.find(' ', start), how.size());
            command.push_back(how.substr(start, end - start));
        }
        auto previous = std::move(userClipboard);
        userClipboard = std::make_unique<ChildProcess>(command);
        ASSERT_EQ(userClipboard->readLine(), "owned");
        // The previous owner ends by itself once it has lost the clipboard.
        if (previous) EXPECT_TRUE(previous->exits());
    }

    static Window clipboardOwner() {
        Display* display = GDK_DISPLAY_XDISPLAY(gdk_display_get_default());
        return XGetSelectionOwner(display, XInternAtom(display, "CLIPBOARD", False));
    }
    // Read by another program, as the user's next paste would.
    static std::optional<std::string> clipboardTarget(const std::string& target) {
        auto [bytes, read] = ChildProcess({BRISEL_OTHER_APP, "read", target}).readToEnd();
        if (!read) return std::nullopt;
        return bytes;
    }
    static ClipboardContents clipboard() {
        ClipboardContents contents;
        const auto targets = clipboardTarget("TARGETS");
        if (!targets) return contents;
        std::istringstream names(*targets);
        for (std::string target; std::getline(names, target);) {
            if (target == "TARGETS" || target == "TIMESTAMP" || target == "MULTIPLE" || target == "SAVE_TARGETS") continue;
            contents[target] = clipboardTarget(target).value_or("(refused)");
        }
        return contents;
    }
    // The user's clipboard as its owner ("own") serves it: text, HTML, an image, and the
    // targets the toolkit adds.
    static const ClipboardContents& usersClipboard() {
        static const ClipboardContents held = [] {
            ChildProcess owner({BRISEL_OTHER_APP, "own"});
            EXPECT_EQ(owner.readLine(), "owned");
            return clipboard();
        }();
        return held;
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
    bool bringKindleForward() { return bringForward(kindle->pid(), kindleBundleID); }
    bool bringPanelForward() { return bringForward(getpid(), LinuxDesktop::applicationID); }

    void pressCaptureKey() { typeOnKeyboard({XK_Control_L, XK_Alt_L}, 40); }

    // Native events the page received after the first `from` of them.
    json nativeEventsFrom(size_t from) {
        return page("window.briselConsole.events.filter(e => e.name === 'omvane:native').slice(" +
                    std::to_string(from) + ").map(e => e.detail)");
    }
    size_t nativeEventCount() {
        return page("window.briselConsole.events.filter(e => e.name === 'omvane:native').length").get<size_t>();
    }
    static std::vector<CaptureOutcome> outcomesIn(const json& events) {
        std::vector<CaptureOutcome> outcomes;
        for (const auto& event : events) {
            if (event["type"] == "selection") outcomes.push_back({event, std::nullopt});
            if (event["type"] == "status" && event.contains("error")) {
                outcomes.push_back({std::nullopt, event["error"].get<std::string>()});
            }
        }
        return outcomes;
    }
    // The outcome of the capture whose events follow the first `from`, waited for (on events)
    // for at most ten seconds; absent when none came.
    std::optional<CaptureOutcome> outcomeAfter(size_t from) {
        std::vector<CaptureOutcome> outcomes;
        main_loop::runUntil([&] { return !(outcomes = outcomesIn(nativeEventsFrom(from))).empty(); }, 10000);
        if (outcomes.empty()) return std::nullopt;
        EXPECT_TRUE(main_loop::runUntil([&] { return !shell.companion().capture().captureInFlight(); }));
        return outcomes.front();
    }

    static std::string kindleCopy(const std::string& passage, const std::string& citation) {
        return passage + "\n\n" + citation;
    }

    static inline std::unique_ptr<ChildProcess> kindle;
    std::unique_ptr<ChildProcess> userClipboard;
};

}  // namespace brisel::gtk::testing
