#include <gtest/gtest.h>

#include <X11/Xlib.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "capture/clipboard_snapshot.h"
#include "capture/kindle_capture.h"
#include "gtk/child_process.h"
#include "gtk/main_loop.h"
#include "gtk/other_app.h"
#include "x11_clipboard.h"

namespace brisel::gtk {
namespace {

using testing::ChildProcess;

// Another program taking the clipboard, once X has made it the owner.
std::unique_ptr<ChildProcess> otherOwner(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), BRISEL_OTHER_APP);
    auto owner = std::make_unique<ChildProcess>(arguments);
    EXPECT_EQ(owner->readLine(), "owned");
    return owner;
}

// What another program reads from the clipboard: the type it comes in, on a line, then the data.
std::optional<std::string> readByOther(const char* target) {
    return ChildProcess({BRISEL_OTHER_APP, "read", target}).readToEnd(std::chrono::seconds(30));
}

struct Taken {
    std::optional<KindleClipboardSnapshot> snapshot;
    Duration took{0};
    Duration longestGap{0};  // between two turns of the main loop: a blocking read would show here
};

// A snapshot as the capture takes it, within the capture's own time limit.
Taken takeSnapshot(X11Clipboard& clipboard) {
    Taken taken;
    bool completed = false;
    const auto start = Clock::now();
    auto last = start;
    KindleClipboardSnapshot::take(clipboard, start + BriselKindleCapture::snapshotTimeLimit,
                                  [&](std::optional<KindleClipboardSnapshot> snapshot) {
                                      taken.snapshot = std::move(snapshot);
                                      taken.took = std::chrono::duration_cast<Duration>(Clock::now() - start);
                                      completed = true;
                                  });
    EXPECT_TRUE(main_loop::runUntil([&] {
        taken.longestGap = std::max(taken.longestGap, std::chrono::duration_cast<Duration>(Clock::now() - last));
        last = Clock::now();
        return completed;
    }, 10000));
    return taken;
}

// Kindle's copy over the snapshot's clipboard, then the snapshot put back over it.
void restoreOverKindlesCopy(X11Clipboard& clipboard, const KindleClipboardSnapshot& snapshot) {
    auto copier = otherOwner({"copy", "Kindle's copy"});
    ASSERT_TRUE(snapshot.restore(clipboard, clipboard.changeCount()));
    EXPECT_TRUE(copier->exits());
}

// First, before GTK has ever owned the clipboard in this process: from then on
// gtk_clipboard_clear empties the selection whoever owns it, which would hide a clear() that
// relies on it.
TEST(X11Clipboard, AnEmptyClipboardIsPutBackEmptyOverAnotherProgramsCopy) {
    X11Clipboard clipboard;
    auto owner = otherOwner({"own"});
    const int64_t count = clipboard.changeCount();
    owner->stop();  // the selection goes with its owner
    ASSERT_TRUE(main_loop::runUntil([&] { return clipboard.changeCount() != count; }));

    const auto snapshot = takeSnapshot(clipboard).snapshot;
    ASSERT_TRUE(snapshot);
    EXPECT_TRUE(snapshot->items.empty());
    restoreOverKindlesCopy(clipboard, *snapshot);
    EXPECT_TRUE(takeSnapshot(clipboard).snapshot->items.empty());
}

TEST(X11Clipboard, FiftyMegabytesComeInIncrementsWithinTheTimeLimitAndGoBackWhole) {
    X11Clipboard clipboard;
    auto owner = otherOwner({"own-large", "50"});
    const Taken taken = takeSnapshot(clipboard);
    ASSERT_TRUE(taken.snapshot);
    EXPECT_LT(taken.longestGap * 4, taken.took);
    restoreOverKindlesCopy(clipboard, *taken.snapshot);
    // Compared whole, not printed.
    EXPECT_TRUE(readByOther("image/png") == "image/png\n" + std::string(size_t{50} << 20, other_app::largeByte));
}

// Whatever the owner does, the snapshot ends by its time limit with the main loop turning all
// along, and the owner keeps the clipboard.
TEST(X11Clipboard, AnOwnerThatHangsRefusesOrGarblesFailsTheSnapshotAndKeepsItsClipboard) {
    for (const std::vector<std::string> how : std::vector<std::vector<std::string>>{
             {"hostile", "hang"}, {"hostile", "refuse"}, {"hostile", "garbage"}, {"hostile", "bad-atoms"},
             {"hostile", "truncated"}, {"hostile", "vanish"},
             {"own", "odd"}}) {  // a type it never produces, and one in 32-bit units
        SCOPED_TRACE(how.back());
        X11Clipboard clipboard;
        auto owner = otherOwner(how);
        const Taken taken = takeSnapshot(clipboard);
        EXPECT_FALSE(taken.snapshot);
        EXPECT_LE(taken.took, BriselKindleCapture::snapshotTimeLimit + Duration(500));
        EXPECT_LT(taken.longestGap, Duration(100));
        if (how.back() != "vanish") EXPECT_FALSE(owner->exits(std::chrono::milliseconds(0)));
    }
}

// Another program's write after Kindle's is counted before the main loop has seen it, and one
// landing between the last look at the count and the restore is kept by the server itself.
TEST(X11Clipboard, AWriteByAnyoneAfterKindleIsNeverRestoredOver) {
    X11Clipboard clipboard;
    auto owner = otherOwner({"own"});
    const auto snapshot = takeSnapshot(clipboard).snapshot;
    ASSERT_TRUE(snapshot);
    auto copier = otherOwner({"copy", "Kindle's copy"});
    const int64_t afterKindle = clipboard.changeCount();
    Display* editor = XOpenDisplay(nullptr);  // another X client
    XSetSelectionOwner(editor, XInternAtom(editor, "CLIPBOARD", False),
                       XCreateSimpleWindow(editor, DefaultRootWindow(editor), 0, 0, 1, 1, 0, 0, 0), CurrentTime);
    XSync(editor, False);
    EXPECT_NE(clipboard.changeCount(), afterKindle);
    EXPECT_FALSE(snapshot->restore(clipboard, afterKindle));

    clipboard.changeCount();
    auto another = otherOwner({"copy", "another copy"});
    clipboard.clear();
    EXPECT_FALSE(clipboard.write(snapshot->items));
    EXPECT_EQ(readByOther("UTF8_STRING"), "UTF8_STRING\nanother copy");
    XCloseDisplay(editor);
}

// What we put back outlives us where a clipboard manager runs: it takes over every target.
TEST(X11Clipboard, PutBackDataIsHandedToTheClipboardManagerAtExit) {
    X11Clipboard clipboard;
    ASSERT_TRUE(clipboard.write({{{"text/html", PasteboardData(other_app::html)}, {"image/png", PasteboardData(other_app::png)}}}));
    EXPECT_FALSE(clipboard.handOverToClipboardManager(Duration(3000))) << "without a manager";
    ChildProcess manager({BRISEL_OTHER_APP, "manager"});
    ASSERT_EQ(manager.readLine(), "managing");
    EXPECT_TRUE(clipboard.handOverToClipboardManager(Duration(3000)));
    EXPECT_EQ(manager.readLine(), "owned");
    EXPECT_FALSE(clipboard.handOverToClipboardManager(Duration(3000))) << "nothing of ours is left to hand over";
    EXPECT_EQ(readByOther("text/html"), "text/html\n" + other_app::html);
    EXPECT_EQ(readByOther("image/png"), "image/png\n" + other_app::png);
}

}  // namespace
}  // namespace brisel::gtk
