#include "shortcuts/shortcut_settings.h"

#include <gtest/gtest.h>

#include "core/shortcut_fakes.h"
#include "shortcuts/shortcut_settings_form.h"
#include "shortcuts/shortcut_texts.h"

namespace brisel {
namespace {

using Action = BriselShortcutAction;
using Calls = std::vector<std::string>;
namespace texts = shortcut_texts;

constexpr uint64_t command = event_modifier::command;
const BriselShortcutBindings custom{{38, 0x1100}, {15, 0x0100}, {53, 0}};
const std::string savedAndStored = std::string(texts::saved) + " stored";

// The settings over a fake store; the owner's callbacks write one log.
class ShortcutSettingsTest : public ::testing::Test {
protected:
    ShortcutSettingsTest() {
        settings.onApply = [this](const BriselShortcutBindings& candidate) -> std::optional<std::string> {
            calls.push_back(settings.bindings() == candidate ? "asked after publishing" : "asked");
            return veto;
        };
        settings.onChange = [this] {  // told only once the store holds what is published
            calls.push_back(settings.message() + (decodeShortcutBindings(store.values.at(settings.storageKey)) == settings.bindings() ? " stored" : ""));
        };
        settings.onRecordingChange = [this](bool on) { calls.push_back(on ? "recording" : "idle"); };
    }

    testing::FakeKeyValueStore store;
    BriselShortcutSettings settings{store};
    std::optional<std::string> veto;
    Calls calls;
};

TEST_F(ShortcutSettingsTest, ApplyAndRestoreValidateThenLetTheOwnerVetoThenStorePublishAndTell) {
    const auto tried = [&](const BriselShortcutBindings& bindings) { return settings.apply(bindings) ? "applied" : settings.message(); };
    EXPECT_EQ(tried({{40, 0x0100}, {36, 0x0100}, {53, 0}}), texts::captureNeedsSecondModifier);
    veto = "taken";
    EXPECT_EQ(tried(custom), "taken");
    veto.reset();
    store.writesFail = true;
    EXPECT_EQ(tried(custom), texts::saveFailed);
    EXPECT_EQ(settings.bindings(), BriselShortcutBindings{});
    store.writesFail = false;
    EXPECT_EQ(tried(custom), "applied");
    EXPECT_EQ(settings.bindings(), custom);
    settings.begin(Action::capture);
    veto = "vetoed";
    settings.restore();
    veto.reset();
    settings.restore();
    EXPECT_EQ(settings.bindings(), BriselShortcutBindings{});
    EXPECT_EQ(calls, (Calls{"asked", "asked", "asked", savedAndStored, "recording", "asked", "asked", savedAndStored, "idle"}))
        << "recording ends only once the defaults took effect";
}

TEST_F(ShortcutSettingsTest, ARecordedKeyIsTriedUntilOneIsTaken) {
    settings.setMessage("an old line");
    settings.begin(Action::capture);
    EXPECT_EQ(settings.message(), "");
    settings.accept({40, command});
    EXPECT_EQ(settings.message(), texts::captureNeedsSecondModifier) << "refused, still recording";
    settings.begin(Action::returnToReading);
    EXPECT_EQ(settings.message(), "") << "another row clears the line";
    settings.accept({36, command});
    EXPECT_EQ(settings.message(), texts::duplicateBinding) << "⌘Enter saves already";
    settings.accept({15, command, true});  // auto-repeat: ignored
    settings.accept({15, event_modifier::control | event_modifier::option | event_modifier::shift | command | 1u << 16});
    settings.accept({15, event_modifier::control});  // idle again: ignored
    EXPECT_EQ(settings.bindings().returnToReading, BriselKeyBinding({15, 0x1B00})) << "the four modifiers, Caps Lock dropped";
    EXPECT_EQ(calls, (Calls{"recording", "recording", "asked", savedAndStored, "idle"}));
}

TEST_F(ShortcutSettingsTest, TheFormShowsTheRecordingRowAndEscapeOrTabCancelsLeavingTheMessage) {
    const auto layout = testing::FakeKeyboardLayout::us();
    for (const auto event : std::initializer_list<BriselKeyEvent>{{53}, {48}, {48, event_modifier::shift}, {53, command}}) {
        SCOPED_TRACE(event.keyCode);
        settings.begin(Action::saveAndReturn);
        settings.accept({0, command});  // ⌘A: refused, leaves a message
        auto form = shortcutSettingsForm(settings, layout);
        EXPECT_EQ(form.rows[1].caption, texts::pressKeys);
        EXPECT_EQ(form.rows[1].accessibilityValue, texts::waitingForKeys);
        EXPECT_TRUE(form.showsCancel && form.rows[1].recording && !form.rows[0].recording && !form.rows[2].recording);
        settings.accept(event);
        form = shortcutSettingsForm(settings, layout);
        EXPECT_FALSE(settings.recording() || form.showsCancel || form.rows[1].recording);
        EXPECT_EQ(form.message, texts::reservedByMac);
    }
    settings.cancel();
    EXPECT_EQ(calls, (Calls{"recording", "idle", "recording", "idle", "recording", "idle", "recording", "idle"}));
}

}  // namespace
}  // namespace brisel
