#include <X11/Xatom.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "capture/clipboard_snapshot.h"
#include "capture/kindle_capture.h"
#include "gtk/child_process.h"
#include "gtk/main_loop.h"
#include "gtk/other_app.h"
#include "gtk/other_x_client.h"
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

// What another program reads from the clipboard ("read"), or the type it reads it in
// ("read-type").
std::string readByOther(const char* target, const char* how = "read") {
    ChildProcess reader({BRISEL_OTHER_APP, how, target});
    auto [output, succeeded] = reader.readToEnd(std::chrono::seconds(30));
    EXPECT_TRUE(succeeded) << target;
    return output;
}

// Runs the main loop until `done`, noting the longest time between two of its turns: a read
// that blocked the loop would show here as a gap as long as the read.
class MainLoopWatch {
public:
    bool runUntil(const std::function<bool()>& done, guint limitMs) {
        last_ = Clock::now();
        const guint ticker = g_timeout_add(1, +[](gpointer self) -> gboolean {
            static_cast<MainLoopWatch*>(self)->turn();
            return G_SOURCE_CONTINUE;
        }, this);
        const bool finished = main_loop::runUntil(done, limitMs);
        g_source_remove(ticker);
        turn();
        return finished;
    }
    Duration longestGap() const { return longest_; }

private:
    void turn() {
        const auto now = Clock::now();
        longest_ = std::max(longest_, std::chrono::duration_cast<Duration>(now - last_));
        last_ = now;
    }
    Clock::time_point last_;
    Duration longest_{0};
};

struct Taken {
    std::optional<KindleClipboardSnapshot> snapshot;
    Duration took{0};
    Duration longestGap{0};
};

// A snapshot as the capture takes it, within the capture's own time limit.
Taken takeSnapshot(X11Clipboard& clipboard) {
    Taken taken;
    bool completed = false;
    const auto start = Clock::now();
    KindleClipboardSnapshot::take(clipboard, start + BriselKindleCapture::snapshotTimeLimit,
                                  [&](std::optional<KindleClipboardSnapshot> snapshot) {
                                      taken.snapshot = std::move(snapshot);
                                      taken.took = std::chrono::duration_cast<Duration>(Clock::now() - start);
                                      completed = true;
                                  });
    MainLoopWatch watch;
    EXPECT_TRUE(watch.runUntil([&] { return completed; }, 10000));
    taken.longestGap = watch.longestGap();
    return taken;
}

std::optional<std::string> readText(X11Clipboard& clipboard) {
    std::optional<std::string> text;
    bool completed = false;
    clipboard.readPlainText(Clock::now() + Duration(2000), [&](std::optional<std::string> read) {
        text = std::move(read);
        completed = true;
    });
    EXPECT_TRUE(main_loop::runUntil([&] { return completed; }, 5000));
    return text;
}

// The count moves once the owner changes, whether or not the main loop has run since.
bool changedSince(const X11Clipboard& clipboard, int64_t count) { return clipboard.changeCount() != count; }

void expectOffered(const std::vector<std::string>& types) {
    std::istringstream targets(readByOther("TARGETS"));
    std::vector<std::string> offered;
    for (std::string target; std::getline(targets, target);) offered.push_back(target);
    for (const std::string& type : types) EXPECT_NE(std::find(offered.begin(), offered.end(), type), offered.end()) << type;
}

// First, before GTK has ever owned the clipboard in this process: from then on
// gtk_clipboard_clear empties the selection whoever owns it, which would hide a clear() that
// relies on it.
TEST(X11Clipboard, AnEmptyClipboardIsPutBackEmptyOverAnotherProgramsCopy) {
    X11Clipboard clipboard;
    int64_t count = clipboard.changeCount();
    auto owner = otherOwner({"own"});
    ASSERT_TRUE(changedSince(clipboard, count));
    count = clipboard.changeCount();
    owner->stop();  // the selection goes with its owner
    ASSERT_TRUE(main_loop::runUntil([&] { return changedSince(clipboard, count); }));

    const auto snapshot = takeSnapshot(clipboard).snapshot;
    ASSERT_TRUE(snapshot);
    EXPECT_TRUE(snapshot->items.empty());
    EXPECT_FALSE(readText(clipboard));

    auto copier = otherOwner({"copy", "Kindle's copy"});
    ASSERT_TRUE(snapshot->restore(clipboard, clipboard.changeCount()));
    EXPECT_TRUE(copier->exits());
    EXPECT_TRUE(takeSnapshot(clipboard).snapshot->items.empty());
}

TEST(X11Clipboard, AnotherProgramsClipboardIsKeptWholeAndPutBack) {
    X11Clipboard clipboard;
    auto owner = otherOwner({"own"});

    const Taken taken = takeSnapshot(clipboard);
    ASSERT_TRUE(taken.snapshot);
    ::testing::Test::RecordProperty("snapshotMilliseconds", static_cast<int>(taken.took.count()));
    const PasteboardItem expected{{"UTF8_STRING", PasteboardData(other_app::text)},
                                  {"text/html", PasteboardData(other_app::html)},
                                  {"image/png", PasteboardData(other_app::png)},
                                  {"TEXT", PasteboardData(other_app::text)}};
    EXPECT_EQ(taken.snapshot->items, std::vector<PasteboardItem>{expected});
    EXPECT_EQ(readText(clipboard), other_app::text);

    const int64_t count = clipboard.changeCount();
    auto copier = otherOwner({"copy", "Kindle's copy"});
    ASSERT_TRUE(changedSince(clipboard, count));
    EXPECT_EQ(readText(clipboard), "Kindle's copy");
    ASSERT_TRUE(taken.snapshot->restore(clipboard, clipboard.changeCount()));
    EXPECT_TRUE(copier->exits());

    expectOffered({"UTF8_STRING", "text/html", "image/png", "TEXT"});
    EXPECT_EQ(readByOther("UTF8_STRING"), other_app::text);
    EXPECT_EQ(readByOther("text/html"), other_app::html);
    EXPECT_EQ(readByOther("image/png"), other_app::png);
    EXPECT_EQ(readByOther("TEXT"), other_app::text);
    EXPECT_EQ(readByOther("TEXT", "read-type"), "UTF8_STRING");
    EXPECT_EQ(readByOther("text/html", "read-type"), "text/html");
}

TEST(X11Clipboard, FiftyMegabytesComeInIncrementsWithinTheTimeLimitAndGoBackWhole) {
    X11Clipboard clipboard;
    auto owner = otherOwner({"own-large", "50"});

    const Taken taken = takeSnapshot(clipboard);
    ASSERT_TRUE(taken.snapshot);
    ::testing::Test::RecordProperty("snapshotMilliseconds", static_cast<int>(taken.took.count()));
    ::testing::Test::RecordProperty("longestMainLoopGapMilliseconds", static_cast<int>(taken.longestGap.count()));
    ASSERT_EQ(taken.snapshot->items.size(), 1u);
    const PasteboardItem& item = taken.snapshot->items[0];
    ASSERT_EQ(item.size(), 2u);
    EXPECT_EQ(item[1].type, "image/png");
    EXPECT_EQ(item[1].data.size(), size_t{50} << 20);
    EXPECT_EQ(std::count(item[1].data.bytes().begin(), item[1].data.bytes().end(), other_app::largeByte),
              static_cast<std::ptrdiff_t>(item[1].data.size()));

    auto copier = otherOwner({"copy", "Kindle's copy"});
    ASSERT_TRUE(taken.snapshot->restore(clipboard, clipboard.changeCount()));
    EXPECT_TRUE(copier->exits());
    const std::string image = readByOther("image/png");
    EXPECT_EQ(image.size(), size_t{50} << 20);
    EXPECT_EQ(std::count(image.begin(), image.end(), other_app::largeByte), static_cast<std::ptrdiff_t>(image.size()));
}

// Whatever the owner does, the snapshot ends by its time limit with the main loop turning all
// along, and the owner keeps the clipboard.
TEST(X11Clipboard, AnOwnerThatHangsRefusesOrGarblesFailsTheSnapshotAndKeepsItsClipboard) {
    for (const char* how : {"hang", "refuse", "garbage", "bad-atoms", "truncated", "vanish"}) {
        X11Clipboard clipboard;
        auto owner = otherOwner({"hostile", how});
        const Taken taken = takeSnapshot(clipboard);
        EXPECT_FALSE(taken.snapshot) << how;
        EXPECT_LE(taken.took, BriselKindleCapture::snapshotTimeLimit + Duration(500)) << how;
        // A long wait for the owner kept the main loop turning all along.
        if (taken.took > Duration(100)) EXPECT_LT(taken.longestGap * 4, taken.took) << how;
        ::testing::Test::RecordProperty(std::string(how) + "LongestMainLoopGapMilliseconds",
                                        static_cast<int>(taken.longestGap.count()));
        if (std::string(how) != "vanish") {
            EXPECT_FALSE(owner->exits(std::chrono::milliseconds(0))) << how << " lost the clipboard";
        }
    }
}

TEST(X11Clipboard, TypesThatCannotBeKeptSpoilTheSnapshot) {
    X11Clipboard clipboard;
    auto owner = otherOwner({"own", "odd"});
    EXPECT_FALSE(takeSnapshot(clipboard).snapshot);
    EXPECT_FALSE(owner->exits(std::chrono::milliseconds(0)));
}

// Another program's write after Kindle's counts before the main loop has seen it, so the
// restore leaves it alone.
TEST(X11Clipboard, AWriteByAnyoneIsCountedAtOnceAndNeverRestoredOver) {
    X11Clipboard clipboard;
    auto owner = otherOwner({"own"});
    const auto snapshot = takeSnapshot(clipboard).snapshot;
    ASSERT_TRUE(snapshot);
    auto copier = otherOwner({"copy", "Kindle's copy"});
    const int64_t afterKindle = clipboard.changeCount();

    testing::OtherXClient editor;
    const Window window = XCreateSimpleWindow(editor.display(), editor.root(), 0, 0, 1, 1, 0, 0, 0);
    XSetSelectionOwner(editor.display(), editor.atom("CLIPBOARD"), window, CurrentTime);
    XSync(editor.display(), False);
    EXPECT_NE(clipboard.changeCount(), afterKindle);
    EXPECT_FALSE(snapshot->restore(clipboard, afterKindle));
    EXPECT_EQ(XGetSelectionOwner(editor.display(), editor.atom("CLIPBOARD")), window);
}

// A write landing between the last look at the count and the restore itself: the server
// refuses to empty the clipboard, and nothing is written over it.
TEST(X11Clipboard, AWriteRightBeforeTheRestoreIsNotUndone) {
    X11Clipboard clipboard;
    auto owner = otherOwner({"own"});
    const auto snapshot = takeSnapshot(clipboard).snapshot;
    ASSERT_TRUE(snapshot);
    auto copier = otherOwner({"copy", "Kindle's copy"});
    ASSERT_NE(clipboard.changeCount(), snapshot->changeCount);

    // The editor copies at a time the server tells apart from Kindle's (its clock counts
    // milliseconds).
    testing::OtherXClient editor;
    const Window window = XCreateSimpleWindow(editor.display(), editor.root(), 0, 0, 1, 1, 0, 0, 0);
    XSelectInput(editor.display(), window, PropertyChangeMask);
    const auto serverTime = [&] {
        XChangeProperty(editor.display(), window, XA_WM_NAME, XA_STRING, 8, PropModeAppend, nullptr, 0);
        XEvent event;
        XWindowEvent(editor.display(), window, PropertyChangeMask, &event);
        return event.xproperty.time;
    };
    const Time afterKindle = serverTime();
    Time now;
    while ((now = serverTime()) == afterKindle) {
    }
    XSetSelectionOwner(editor.display(), editor.atom("CLIPBOARD"), window, now);
    XSync(editor.display(), False);
    clipboard.clear();
    EXPECT_FALSE(clipboard.write(snapshot->items));
    EXPECT_EQ(XGetSelectionOwner(editor.display(), editor.atom("CLIPBOARD")), window);
}

TEST(X11Clipboard, OurOwnWriteMovesTheChangeCountAtOnce) {
    X11Clipboard clipboard;
    const int64_t count = clipboard.changeCount();
    ASSERT_TRUE(clipboard.write({{{"text/plain;charset=utf-8", PasteboardData("ours")}}}));
    EXPECT_GT(clipboard.changeCount(), count);
    EXPECT_EQ(readText(clipboard), "ours");
    // X has one item per selection.
    EXPECT_FALSE(clipboard.write({{{"text/plain", PasteboardData("a")}}, {{"text/plain", PasteboardData("b")}}}));
}

// What we put back outlives us where a clipboard manager runs: it takes over every target.
TEST(X11Clipboard, PutBackDataIsHandedToTheClipboardManagerAtExit) {
    ChildProcess manager({BRISEL_OTHER_APP, "manager"});
    ASSERT_EQ(manager.readLine(), "managing");
    {
        X11Clipboard clipboard;
        auto owner = otherOwner({"own"});
        const auto snapshot = takeSnapshot(clipboard).snapshot;
        ASSERT_TRUE(snapshot);
        auto copier = otherOwner({"copy", "Kindle's copy"});
        ASSERT_TRUE(snapshot->restore(clipboard, clipboard.changeCount()));
        owner->stop();
        EXPECT_TRUE(clipboard.handOverToClipboardManager(Duration(3000)));
        EXPECT_EQ(manager.readLine(), "saved");
        // Nothing of ours is left to hand over.
        EXPECT_FALSE(clipboard.handOverToClipboardManager(Duration(3000)));
    }
    expectOffered({"UTF8_STRING", "text/html", "image/png"});
    EXPECT_EQ(readByOther("text/html"), other_app::html);
    EXPECT_EQ(readByOther("image/png"), other_app::png);
}

TEST(X11Clipboard, WithoutAClipboardManagerNothingIsHandedOver) {
    X11Clipboard clipboard;
    ASSERT_TRUE(clipboard.write({{{"UTF8_STRING", PasteboardData("ours")}}}));
    EXPECT_FALSE(clipboard.handOverToClipboardManager(Duration(3000)));
}

}  // namespace
}  // namespace brisel::gtk
