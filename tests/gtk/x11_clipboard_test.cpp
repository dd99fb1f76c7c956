#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "capture/clipboard_snapshot.h"
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

// Whether the count moved, once every change made so far has reached us: the sync brings in
// what X sent before it, and the main loop dispatches it.
bool changedSince(const X11Clipboard& clipboard, int64_t count) {
    gdk_display_sync(gdk_display_get_default());
    main_loop::runPending();
    return clipboard.changeCount() != count;
}

// What another program reads from the clipboard.
std::string readByOther(const char* target) {
    ChildProcess reader({BRISEL_OTHER_APP, "read", target});
    auto [output, succeeded] = reader.readToEnd();
    EXPECT_TRUE(succeeded) << target;
    return output;
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
    ASSERT_TRUE(changedSince(clipboard, count));

    const auto snapshot = KindleClipboardSnapshot::take(clipboard);
    ASSERT_TRUE(snapshot);
    EXPECT_TRUE(snapshot->items.empty());
    EXPECT_FALSE(clipboard.plainText());

    count = clipboard.changeCount();
    auto copier = otherOwner({"copy", "Kindle's copy"});
    ASSERT_TRUE(changedSince(clipboard, count));
    ASSERT_TRUE(snapshot->restore(clipboard, clipboard.changeCount()));
    EXPECT_TRUE(copier->exits());
    EXPECT_TRUE(clipboard.items().empty());
}

TEST(X11Clipboard, AnotherProgramsClipboardIsKeptWholeAndPutBack) {
    X11Clipboard clipboard;
    int64_t count = clipboard.changeCount();
    auto owner = otherOwner({"own"});
    ASSERT_TRUE(changedSince(clipboard, count));

    const auto snapshot = KindleClipboardSnapshot::take(clipboard);
    ASSERT_TRUE(snapshot);
    const PasteboardItem expected{{"UTF8_STRING", PasteboardData(other_app::text)},
                                  {"text/html", PasteboardData(other_app::html)},
                                  {"image/png", PasteboardData(other_app::png)}};
    EXPECT_EQ(snapshot->items, std::vector<PasteboardItem>{expected});
    EXPECT_EQ(clipboard.plainText(), other_app::text);

    count = clipboard.changeCount();
    auto copier = otherOwner({"copy", "Kindle's copy"});
    ASSERT_TRUE(changedSince(clipboard, count));
    EXPECT_EQ(clipboard.plainText(), "Kindle's copy");
    ASSERT_TRUE(snapshot->restore(clipboard, clipboard.changeCount()));
    EXPECT_TRUE(copier->exits());

    std::istringstream targets(readByOther("TARGETS"));
    std::vector<std::string> offered;
    for (std::string target; std::getline(targets, target);) offered.push_back(target);
    for (const char* type : {"UTF8_STRING", "text/html", "image/png"}) {
        EXPECT_NE(std::find(offered.begin(), offered.end(), type), offered.end()) << type;
    }
    EXPECT_EQ(readByOther("UTF8_STRING"), other_app::text);
    EXPECT_EQ(readByOther("text/html"), other_app::html);
    EXPECT_EQ(readByOther("image/png"), other_app::png);
}

TEST(X11Clipboard, TypesThatCannotBeKeptAreAbsentAndSpoilTheSnapshot) {
    X11Clipboard clipboard;
    const int64_t count = clipboard.changeCount();
    auto owner = otherOwner({"own", "odd"});
    ASSERT_TRUE(changedSince(clipboard, count));

    const auto items = clipboard.items();
    ASSERT_EQ(items.size(), 1u);
    ASSERT_EQ(items[0].size(), 5u);
    EXPECT_EQ(items[0][2].data, PasteboardData(other_app::png));
    EXPECT_EQ(items[0][3].type, other_app::promisedType);
    EXPECT_FALSE(items[0][3].data);
    EXPECT_EQ(items[0][4].type, other_app::longsType);
    EXPECT_FALSE(items[0][4].data);
    EXPECT_FALSE(KindleClipboardSnapshot::take(clipboard));
}

TEST(X11Clipboard, OurOwnWriteMovesTheChangeCountAtOnce) {
    X11Clipboard clipboard;
    const int64_t count = clipboard.changeCount();
    ASSERT_TRUE(clipboard.write({{{"text/plain;charset=utf-8", PasteboardData("ours")}}}));
    EXPECT_GT(clipboard.changeCount(), count);
    EXPECT_EQ(clipboard.plainText(), "ours");
    // X has one item per selection.
    EXPECT_FALSE(clipboard.write({{{"text/plain", PasteboardData("a")}}, {{"text/plain", PasteboardData("b")}}}));
}

}  // namespace
}  // namespace brisel::gtk
