#include "capture/clipboard_snapshot.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fakes/fake_pasteboard.h"

namespace brisel {
namespace {

using testing::FakePasteboard;
using testing::FakePasteboardContents;

const std::string pngBytes("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\xff\xfe", 18);

// Two items, several types each, binary data with NULs, an empty type and a non-UTF-8 one.
FakePasteboardContents richClipboard() {
    return {{{"public.utf8-plain-text", std::string("note")},
             {"public.html", std::string("<b>note</b>")},
             {"org.example.empty", std::string()}},
            {{"public.png", pngBytes}, {"org.example.latin1", std::string("caf\xe9", 4)}}};
}

// The fake answers at once, so the snapshot is complete when `take` returns.
std::optional<KindleClipboardSnapshot> takeNow(FakePasteboard& pasteboard) {
    std::optional<KindleClipboardSnapshot> taken;
    KindleClipboardSnapshot::take(pasteboard, Clock::time_point{}, [&](auto snapshot) { taken = std::move(snapshot); });
    return taken;
}

FakePasteboardContents contentsOf(const std::vector<PasteboardItem>& items) {
    FakePasteboardContents contents;
    for (const auto& item : items) {
        auto& stored = contents.emplace_back();
        for (const auto& entry : item) stored.push_back({entry.type, std::string(entry.data.bytes())});
    }
    return contents;
}

TEST(ClipboardSnapshotTest, HoldsEveryItemAndEveryTypeByteForByteInOrder) {
    FakePasteboard pasteboard;
    pasteboard.contents = richClipboard();
    pasteboard.count = 41;
    const auto snapshot = takeNow(pasteboard);
    ASSERT_TRUE(snapshot);
    EXPECT_EQ(snapshot->changeCount, 41);
    EXPECT_EQ(contentsOf(snapshot->items), richClipboard());
    EXPECT_EQ(snapshot->items[1][0].data.size(), 18u);
}

TEST(ClipboardSnapshotTest, AnEmptyClipboardHasNoItems) {
    FakePasteboard pasteboard;
    const auto snapshot = takeNow(pasteboard);
    ASSERT_TRUE(snapshot);
    EXPECT_TRUE(snapshot->items.empty());
}

TEST(ClipboardSnapshotTest, ATypeWhoseDataCannotBeProducedFailsTheSnapshot) {
    FakePasteboard pasteboard;
    pasteboard.contents = richClipboard();
    pasteboard.contents[1].push_back({"com.example.promised", std::nullopt});
    EXPECT_FALSE(takeNow(pasteboard));
}

TEST(ClipboardSnapshotTest, AnOwnerThatDoesNotSayWhatItHoldsFailsTheSnapshot) {
    FakePasteboard pasteboard;
    pasteboard.contents = richClipboard();
    pasteboard.ownerRefuses = true;
    EXPECT_FALSE(takeNow(pasteboard));
}

TEST(ClipboardSnapshotTest, AChangeWhileReadingFailsTheSnapshot) {
    FakePasteboard pasteboard;
    pasteboard.contents = richClipboard();
    pasteboard.beforeRead = [&](const std::string& read) {
        if (read == "items") pasteboard.replace(testing::plainTextContents("other"), "other");
    };
    EXPECT_FALSE(takeNow(pasteboard));
}

TEST(ClipboardSnapshotTest, CopiesOfTheSnapshotShareItsBytes) {
    FakePasteboard pasteboard;
    pasteboard.contents = richClipboard();
    const auto snapshot = takeNow(pasteboard);
    ASSERT_TRUE(snapshot);
    const KindleClipboardSnapshot copy = *snapshot;
    EXPECT_EQ(copy.items[1][0].data.bytes().data(), snapshot->items[1][0].data.bytes().data());
}

TEST(ClipboardSnapshotTest, RestorePutsEveryItemBackInOneWrite) {
    FakePasteboard pasteboard;
    pasteboard.contents = richClipboard();
    const auto snapshot = takeNow(pasteboard);
    ASSERT_TRUE(snapshot);
    pasteboard.replace(testing::plainTextContents("Kindle's copy"), "kindle");

    EXPECT_TRUE(snapshot->restore(pasteboard, pasteboard.count));
    EXPECT_EQ(pasteboard.contents, richClipboard());
    EXPECT_EQ(pasteboard.clears, 1);
    ASSERT_EQ(pasteboard.writes.size(), 1u);
    EXPECT_EQ(pasteboard.writes[0].size(), 2u);
}

TEST(ClipboardSnapshotTest, AnEmptyClipboardIsRestoredAsEmpty) {
    FakePasteboard pasteboard;
    const auto snapshot = takeNow(pasteboard);
    ASSERT_TRUE(snapshot);
    pasteboard.replace(testing::plainTextContents("Kindle's copy"), "kindle");
    const int64_t before = pasteboard.count;

    EXPECT_TRUE(snapshot->restore(pasteboard, before));
    EXPECT_TRUE(pasteboard.contents.empty());
    EXPECT_GT(pasteboard.count, before);
    EXPECT_TRUE(pasteboard.writes.empty());
}

TEST(ClipboardSnapshotTest, RestoreLeavesAnotherProgramsWriteAlone) {
    FakePasteboard pasteboard;
    pasteboard.contents = richClipboard();
    const auto snapshot = takeNow(pasteboard);
    ASSERT_TRUE(snapshot);
    pasteboard.replace(testing::plainTextContents("Kindle's copy"), "kindle");
    const int64_t afterKindle = pasteboard.count;
    pasteboard.replace(testing::plainTextContents("the editor's copy"), "other");

    EXPECT_FALSE(snapshot->restore(pasteboard, afterKindle));
    EXPECT_EQ(pasteboard.contents, testing::plainTextContents("the editor's copy"));
    EXPECT_EQ(pasteboard.clears, 0);
    EXPECT_TRUE(pasteboard.writes.empty());
}

TEST(ClipboardSnapshotTest, RestoreReportsAWriteThatFailed) {
    FakePasteboard pasteboard;
    pasteboard.contents = richClipboard();
    const auto snapshot = takeNow(pasteboard);
    ASSERT_TRUE(snapshot);
    pasteboard.writeFails = true;
    EXPECT_FALSE(snapshot->restore(pasteboard, pasteboard.count));
    EXPECT_EQ(pasteboard.writes.size(), 1u);
}

TEST(ClipboardSnapshotTest, PasteboardDataTakesAMovedStringWithoutCopying) {
    std::string bytes(1 << 20, 'x');
    const char* storage = bytes.data();
    const PasteboardData data(std::move(bytes));
    EXPECT_EQ(data.bytes().data(), storage);
    EXPECT_EQ(data.size(), size_t{1} << 20);
}

}  // namespace
}  // namespace brisel
