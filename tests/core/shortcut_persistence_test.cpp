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

TEST(ShortcutPersistence, DecodesOnlyTheWholeShapeOrNothing) {
    const struct { std::string text; std::optional<BriselShortcutBindings> expected; const char* why; } rows[] = {
        {stored, custom(), "the stored example"},
        {encodeShortcutBindings(custom()), custom(), "what it encodes"},
        {patched({{"capture", {{"label", "⌃⌘J"}}}, {"version", 2}}), custom(), "unknown keys are ignored"},
        {patched({{"capture", {{"modifiers", 256}}}}), custom({38, 0x0100}), "decoding does not validate"},
        {patched({{"capture", {{"keyCode", 4294967295u}}}}), custom({4294967295u, 0x1100}), "the largest 32-bit value"},
        {patched({{"capture", {{"keyCode", 4294967296u}}}}), std::nullopt, "one past 32 bits"},
        {patched({{"capture", {{"modifiers", -1}}}}), std::nullopt, "negative"},
        {patched({{"returnToReading", nullptr}}), std::nullopt, "a missing action"},
        {patched({{"saveAndReturn", {{"keyCode", "15"}}}}), std::nullopt, "a string"},
        {patched({{"saveAndReturn", {{"keyCode", 15.0}}}}), std::nullopt, "a fraction, even a whole one"},
        {"not json", std::nullopt, "not JSON"},
        {"[]", std::nullopt, "an array"},
    };
    for (const auto& row : rows) EXPECT_EQ(decodeShortcutBindings(row.text), row.expected) << row.why;
}

TEST(ShortcutPersistence, AnythingButAValidStoredSetLoadsAsTheWholeDefaultSetAndStays) {
    const struct { std::optional<std::string> value; BriselShortcutBindings expected; const char* why; } rows[] = {
        {std::nullopt, {}, "nothing stored"},
        {stored, custom(), "a valid set"},
        {patched({{"capture", {{"modifiers", 256}}}}), {}, "⌘K for capture breaks a rule; the others go too"},
        {patched({{"saveAndReturn", {{"keyCode", 38}, {"modifiers", 4352}}}}), {}, "a duplicate"},
    };
    for (const auto& row : rows) {
        testing::FakeKeyValueStore store;
        if (row.value) store.values[BriselShortcutSettings::storageKey] = *row.value;
        const BriselShortcutSettings settings(store);
        EXPECT_EQ(settings.bindings(), row.expected) << row.why;
        EXPECT_TRUE(settings.message().empty() && store.writes == 0) << row.why;
    }
}

}  // namespace
}  // namespace brisel
