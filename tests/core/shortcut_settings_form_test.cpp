#include "shortcuts/shortcut_settings_form.h"

#include <gtest/gtest.h>

#include "core/shortcut_fakes.h"

namespace brisel {
namespace {

using Action = BriselShortcutAction;
using testing::FakeKeyboardLayout;
using testing::FakeKeyValueStore;

class ShortcutSettingsFormTest : public ::testing::Test {
protected:
    ShortcutSettingsForm form() const { return shortcutSettingsForm(settings, layout); }

    FakeKeyValueStore store;
    FakeKeyboardLayout layout = FakeKeyboardLayout::us();
    BriselShortcutSettings settings{store};
};

TEST_F(ShortcutSettingsFormTest, ShowsTheThreeActionsWithTheirLabelsWhileIdle) {
    const auto f = form();
    EXPECT_EQ(f.sectionTitle, "ショートカット");
    ASSERT_EQ(f.rows.size(), 3u);
    EXPECT_EQ(f.rows[0].action, Action::capture);
    EXPECT_EQ(f.rows[0].title, "Kindleの選択文を取り込む");
    EXPECT_EQ(f.rows[0].help, "ほかのアプリからも使えます");
    EXPECT_EQ(f.rows[0].caption, "⌥⌘K");
    EXPECT_EQ(f.rows[0].accessibilityLabel, "Kindleの選択文を取り込むのショートカット");
    EXPECT_EQ(f.rows[0].accessibilityValue, "⌥⌘K");
    EXPECT_EQ(f.rows[0].tooltip, "クリックして変更。Escでキャンセル。");
    EXPECT_EQ(f.rows[1].caption, "⌘Enter");
    EXPECT_EQ(f.rows[2].caption, "Esc");
    EXPECT_EQ(f.rows[2].accessibilityLabel, "読書に戻るのショートカット");
    EXPECT_EQ(f.explanation,
              "キーの表示をクリックして、新しい組み合わせを押してください。Escで入力をキャンセルできます。変更はこのMacに保存されます。");
    EXPECT_EQ(f.message, "");
    EXPECT_FALSE(f.showsCancel);
    EXPECT_EQ(f.restoreTitle, "標準に戻す");
}

TEST_F(ShortcutSettingsFormTest, OnlyTheRecordingRowWaitsForKeys) {
    settings.begin(Action::saveAndReturn);
    const auto f = form();
    EXPECT_EQ(f.rows[0].caption, "⌥⌘K");
    EXPECT_EQ(f.rows[1].caption, "キーを押してください…");
    EXPECT_EQ(f.rows[1].accessibilityValue, "キー入力を待っています");
    EXPECT_TRUE(f.rows[1].recording);
    EXPECT_FALSE(f.rows[0].recording);
    EXPECT_EQ(f.rows[2].caption, "Esc");
    EXPECT_TRUE(f.showsCancel);
    EXPECT_EQ(f.cancelTitle, "入力をキャンセル");
}

TEST_F(ShortcutSettingsFormTest, ARejectedKeyKeepsTheRowWaitingWithTheMessageBelow) {
    settings.begin(Action::capture);
    settings.accept({40, event_modifier::command, false});
    const auto f = form();
    EXPECT_EQ(f.rows[0].caption, "キーを押してください…");
    EXPECT_EQ(f.message, "取り込みには、⌘または⌃に⌥・⇧などを加えてください。ほかのアプリの操作と重なりにくくできます。");
}

TEST_F(ShortcutSettingsFormTest, ClickingAnotherRowSwitchesRecordingAndClearsTheStatusLine) {
    settings.begin(Action::capture);
    settings.accept({40, event_modifier::command, false});
    settings.begin(Action::returnToReading);
    const auto f = form();
    EXPECT_EQ(f.rows[0].caption, "⌥⌘K");
    EXPECT_EQ(f.rows[2].caption, "キーを押してください…");
    EXPECT_EQ(f.message, "");
}

TEST_F(ShortcutSettingsFormTest, LabelsFollowTheLayout) {
    settings.begin(Action::capture);
    settings.accept({12, event_modifier::command | event_modifier::option, false});
    EXPECT_EQ(form().rows[0].caption, "⌥⌘Q");
    layout = FakeKeyboardLayout::frenchAzerty();
    EXPECT_EQ(form().rows[0].caption, "⌥⌘A");
    EXPECT_EQ(form().message, "変更を保存しました。");
}

}  // namespace
}  // namespace brisel
