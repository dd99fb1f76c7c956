#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "core/shortcut_fakes.h"
#include "shortcuts/shortcut_bindings.h"
#include "shortcuts/shortcut_settings.h"

namespace brisel {
namespace {

using nlohmann::json;

const std::string stored =
    R"({"capture":{"keyCode":38,"modifiers":4352},"saveAndReturn":{"keyCode":15,"modifiers":256},"returnToReading":{"keyCode":36,"modifiers":4096}})";

BriselShortcutBindings custom(BriselKeyBinding capture = {38, 0x1100}) { return {capture, {15, 0x0100}, {36, 0x1000}}; }

// The stored example with `change` merged in (a null removes a key), as JSON text.
std::string patched(const json& change) {
    json document = json::parse(stored);
    document.merge_patch(change);
    return document.dump();
}

TEST(ShortcutPersistence, DecodesOnlyTheWholeShapeAndLoadsOnlyAValidSet) {
    const struct { std::string text; std::optional<BriselShortcutBindings> decoded; bool loads; const char* why; } rows[] = {
        {stored, custom(), true, "the stored example"},
        {patched({{"capture", {{"label", "⌃⌘J"}}}, {"version", 2}}), custom(), true, "unknown keys are ignored"},
        {patched({{"capture", {{"modifiers", 256}}}}), custom({38, 0x0100}), false, "⌘K for capture decodes, breaks a rule"},
        {patched({{"capture", {{"keyCode", 4294967295u}}}}), custom({4294967295u, 0x1100}), false, "the largest 32-bit value"},
        {patched({{"capture", {{"keyCode", 4294967296u}}}}), std::nullopt, false, "one past 32 bits"},
        {patched({{"capture", {{"modifiers", -1}}}}), std::nullopt, false, "negative"},
        {patched({{"returnToReading", nullptr}}), std::nullopt, false, "a missing action"},
        {patched({{"saveAndReturn", {{"keyCode", 15.0}}}}), std::nullopt, false, "a fraction, even a whole one, is no integer"},
        {"not json", std::nullopt, false, "not JSON"},
        {"[]", std::nullopt, false, "an array"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(decodeShortcutBindings(row.text), row.decoded);
        testing::FakeKeyValueStore store;
        store.values[BriselShortcutSettings::storageKey] = row.text;
        const BriselShortcutSettings settings(store);
        EXPECT_EQ(settings.bindings(), row.loads ? *row.decoded : BriselShortcutBindings{});
        EXPECT_TRUE(settings.message().empty() && store.writes == 0);
    }
}

}  // namespace
}  // namespace brisel
