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

// The stored example with one field replaced (or removed, for a discarded value), as JSON text.
std::string with(const std::string& action, const std::string& field, const json& value) {
    json document = json::parse(stored);
    json& place = field.empty() ? document : document[action];
    if (value.is_discarded()) {
        place.erase(field.empty() ? action : field);
    } else {
        place[field.empty() ? action : field] = value;
    }
    return document.dump();
}

const json removed = json(json::value_t::discarded);

TEST(ShortcutPersistence, DecodesOnlyTheWholeShapeOrNothing) {
    const struct { std::string text; std::optional<BriselShortcutBindings> expected; const char* why; } rows[] = {
        {stored, custom(), "the stored example"},
        {encodeShortcutBindings(custom()), custom(), "what it encodes"},
        {R"({"returnToReading":{"modifiers":4096,"keyCode":36},"saveAndReturn":{"modifiers":256,"keyCode":15},
            "capture":{"modifiers":4352,"keyCode":38}})", custom(), "key order is free"},
        {with("capture", "label", "⌃⌘J"), custom(), "unknown keys are ignored"},
        {with("capture", "modifiers", 256), custom({38, 0x0100}), "decoding does not validate"},
        {with("capture", "keyCode", 4294967295u), custom({4294967295u, 0x1100}), "the largest 32-bit value"},
        {with("capture", "keyCode", 4294967296u), std::nullopt, "one past 32 bits"},
        {with("capture", "modifiers", -1), std::nullopt, "negative"},
        {with("capture", "modifiers", json::parse("18446744073709551616")), std::nullopt, "beyond 64 bits"},
        {with("capture", "", removed), std::nullopt, "a missing action"},
        {with("saveAndReturn", "keyCode", removed), std::nullopt, "a missing key code"},
        {with("returnToReading", "modifiers", removed), std::nullopt, "missing modifiers"},
        {with("saveAndReturn", "keyCode", "15"), std::nullopt, "a string"},
        {with("saveAndReturn", "keyCode", 15.0), std::nullopt, "a fraction, even a whole one"},
        {with("saveAndReturn", "modifiers", true), std::nullopt, "a boolean"},
        {with("capture", "", {38, 4352}), std::nullopt, "an array for an action"},
        {with("returnToReading", "", nullptr), std::nullopt, "null for an action"},
        {"not json", std::nullopt, "not JSON"},
        {stored.substr(0, 40), std::nullopt, "cut short"},
        {"[]", std::nullopt, "an array"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(decodeShortcutBindings(row.text), row.expected);
    }
}

TEST(ShortcutPersistence, AnythingButAValidStoredSetLoadsAsTheWholeDefaultSet) {
    const struct { std::optional<std::string> value; BriselShortcutBindings expected; const char* why; } rows[] = {
        {std::nullopt, {}, "nothing stored"},
        {stored, custom(), "a valid set"},
        {with("capture", "modifiers", 256), {}, "⌘K for capture breaks a rule; the others are not kept either"},
        {with("returnToReading", "", removed), {}, "two of three actions"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        testing::FakeKeyValueStore store;
        if (row.value) store.values[BriselShortcutSettings::storageKey] = *row.value;
        const BriselShortcutSettings settings(store);
        EXPECT_EQ(settings.bindings(), row.expected);
        EXPECT_EQ(settings.message(), "");
        EXPECT_EQ(store.writes, 0) << "a bad value stays until the next apply";
    }
}

}  // namespace
}  // namespace brisel
