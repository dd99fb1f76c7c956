#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "shortcuts/shortcut_bindings.h"

namespace brisel {
namespace {

using nlohmann::json;

const char* const stored =
    R"({"capture":{"keyCode":38,"modifiers":4352},"saveAndReturn":{"keyCode":15,"modifiers":256},"returnToReading":{"keyCode":36,"modifiers":4096}})";

BriselShortcutBindings custom() {
    BriselShortcutBindings bindings;
    bindings.capture = {38, 0x1100};
    bindings.saveAndReturn = {15, 0x0100};
    bindings.returnToReading = {36, 0x1000};
    return bindings;
}

// The stored example with one value replaced, as JSON text.
std::string with(const std::string& action, const std::string& field, const json& value) {
    json document = json::parse(stored);
    document[action][field] = value;
    return document.dump();
}

std::string without(const std::string& action, const std::string& field = "") {
    json document = json::parse(stored);
    if (field.empty()) {
        document.erase(action);
    } else {
        document[action].erase(field);
    }
    return document.dump();
}

TEST(ShortcutPersistence, EncodesTheThreeActionsWithKeyCodeAndModifiers) {
    const json encoded = json::parse(encodeShortcutBindings(BriselShortcutBindings{}));
    EXPECT_EQ(encoded, json::parse(R"({"capture":{"keyCode":40,"modifiers":2304},"saveAndReturn":{"keyCode":36,"modifiers":256},
                                     "returnToReading":{"keyCode":53,"modifiers":0}})"));
    EXPECT_TRUE(encoded["capture"]["keyCode"].is_number_unsigned());
}

TEST(ShortcutPersistence, DecodesWhatItEncodesInAnyKeyOrder) {
    EXPECT_EQ(decodeShortcutBindings(stored), custom());
    EXPECT_EQ(decodeShortcutBindings(encodeShortcutBindings(custom())), custom());
    EXPECT_EQ(decodeShortcutBindings(
                  R"( {"returnToReading":{"modifiers":4096,"keyCode":36},"capture":{"modifiers":4352,"keyCode":38},
                      "saveAndReturn":{"modifiers":256,"keyCode":15}} )"),
              custom());
}

TEST(ShortcutPersistence, DecodingDoesNotValidate) {
    // The refusal rules are the loader's business; the decoder only reads the shape.
    const auto decoded = decodeShortcutBindings(with("capture", "modifiers", 0x0100));
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->capture, BriselKeyBinding({38, 0x0100}));
}

TEST(ShortcutPersistence, AMissingActionOrFieldFailsTheWholeDecode) {
    for (const char* action : {"capture", "saveAndReturn", "returnToReading"}) {
        EXPECT_EQ(decodeShortcutBindings(without(action)), std::nullopt) << action;
        EXPECT_EQ(decodeShortcutBindings(without(action, "keyCode")), std::nullopt) << action;
        EXPECT_EQ(decodeShortcutBindings(without(action, "modifiers")), std::nullopt) << action;
    }
    EXPECT_EQ(decodeShortcutBindings("{}"), std::nullopt);
}

TEST(ShortcutPersistence, AWrongTypeFailsTheWholeDecode) {
    EXPECT_EQ(decodeShortcutBindings(with("saveAndReturn", "keyCode", "15")), std::nullopt);
    EXPECT_EQ(decodeShortcutBindings(with("saveAndReturn", "keyCode", 15.0)), std::nullopt);
    EXPECT_EQ(decodeShortcutBindings(with("saveAndReturn", "keyCode", 15.5)), std::nullopt);
    EXPECT_EQ(decodeShortcutBindings(with("returnToReading", "modifiers", 0.0)), std::nullopt) << "even a zero fraction";
    EXPECT_EQ(decodeShortcutBindings(with("saveAndReturn", "modifiers", true)), std::nullopt);
    EXPECT_EQ(decodeShortcutBindings(with("saveAndReturn", "modifiers", false)), std::nullopt);
    EXPECT_EQ(decodeShortcutBindings(with("saveAndReturn", "modifiers", nullptr)), std::nullopt);
    EXPECT_EQ(decodeShortcutBindings(with("saveAndReturn", "modifiers", json::array({256}))), std::nullopt);
    EXPECT_EQ(decodeShortcutBindings(R"({"capture":[38,4352],"saveAndReturn":{"keyCode":15,"modifiers":256},
                                        "returnToReading":{"keyCode":36,"modifiers":4096}})"),
              std::nullopt);
    EXPECT_EQ(decodeShortcutBindings(R"({"capture":{"keyCode":38,"modifiers":4352},"saveAndReturn":{"keyCode":15,"modifiers":256},
                                        "returnToReading":null})"),
              std::nullopt);
    EXPECT_EQ(decodeShortcutBindings(R"({"capture":{"keyCode":38,"modifiers":4.352e3},"saveAndReturn":{"keyCode":15,"modifiers":256},
                                        "returnToReading":{"keyCode":36,"modifiers":4096}})"),
              std::nullopt) << "an exponent makes a fraction";
}

TEST(ShortcutPersistence, ValuesMustFitInThirtyTwoUnsignedBits) {
    EXPECT_EQ(decodeShortcutBindings(with("capture", "keyCode", 4294967295u))->capture.keyCode, 4294967295u);
    EXPECT_EQ(decodeShortcutBindings(with("capture", "keyCode", 4294967296u)), std::nullopt);
    EXPECT_EQ(decodeShortcutBindings(with("capture", "modifiers", -1)), std::nullopt);
    EXPECT_EQ(decodeShortcutBindings(with("capture", "keyCode", -4294967296LL)), std::nullopt);
    EXPECT_EQ(decodeShortcutBindings(R"({"capture":{"keyCode":38,"modifiers":-0},"saveAndReturn":{"keyCode":15,"modifiers":256},
                                        "returnToReading":{"keyCode":36,"modifiers":4096}})")
                  ->capture.modifiers,
              0u)
        << "-0 is a whole number and in range";
    EXPECT_EQ(decodeShortcutBindings(R"({"capture":{"keyCode":38,"modifiers":18446744073709551616},
                                        "saveAndReturn":{"keyCode":15,"modifiers":256},"returnToReading":{"keyCode":36,"modifiers":4096}})"),
              std::nullopt);
}

TEST(ShortcutPersistence, UnknownKeysAreIgnored) {
    json document = json::parse(stored);
    document["version"] = 2;
    document["capture"]["label"] = "⌃⌘J";
    document["futureAction"] = {{"keyCode", "x"}};
    EXPECT_EQ(decodeShortcutBindings(document.dump()), custom());
}

TEST(ShortcutPersistence, AnythingButAJSONObjectFails) {
    EXPECT_EQ(decodeShortcutBindings(""), std::nullopt);
    EXPECT_EQ(decodeShortcutBindings("not json"), std::nullopt);
    EXPECT_EQ(decodeShortcutBindings(std::string(stored).substr(0, 40)), std::nullopt);
    EXPECT_EQ(decodeShortcutBindings(std::string(stored) + "}"), std::nullopt);
    EXPECT_EQ(decodeShortcutBindings("[]"), std::nullopt);
    EXPECT_EQ(decodeShortcutBindings("null"), std::nullopt);
    EXPECT_EQ(decodeShortcutBindings("\"{}\""), std::nullopt);
    EXPECT_EQ(decodeShortcutBindings(std::string("{\"capture\":\"\xff\"}")), std::nullopt);
}

}  // namespace
}  // namespace brisel
