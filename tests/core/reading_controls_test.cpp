#include <gtest/gtest.h>

#include "app/texts.h"
#include "reading/reading_controls_model.h"
#include "reading/reading_controls_presentation.h"

namespace brisel {
namespace {

using nlohmann::json;
using Model = BriselReadingControlsModel;

json status(const std::string& id = "note-1", int64_t attempt = 0, bool draft = true, bool pending = false,
            bool saving = false, bool visible = true) {
    return {{"action", "readingControls"}, {"visible", visible}, {"controlId", id}, {"draft", draft},
            {"pending", pending}, {"saving", saving}, {"returningAfterSave", false}, {"saveAttempt", attempt}};
}

TEST(ReadingControls, TakesOnlyAStatusOfExactlyTheEightKeysWithExactTypes) {
    const struct { const char* key; json value; bool taken; const char* why; } rows[] = {
        {"controlId", "\u30ce\u30fc\u30c8", true, "a well-formed status"},
        {"controlId", std::string(128, 'a'), true, "128 UTF-16 units"},
        {"controlId", std::string(129, 'a'), false, "129 UTF-16 units"},
        {"controlId", std::string(64, 'a') + "\U0001F4DA" + std::string(63, 'a'), false, "129 units with a surrogate pair"},
        {"controlId", "   ", false, "blank while visible"},
        {"controlId", "a\tb", false, "a control character"},
        {"controlId", "a\u200Bb", false, "a format character"},
        {"extra", 1, false, "a ninth key"},
        {"saveAttempt", json(json::value_t::discarded), false, "seven keys"},
        {"action", "readingcontrols", false, "another action"},
        {"visible", 1, false, "a number for a boolean"},
        {"saveAttempt", 9007199254740991LL, true, "the largest safe integer"},
        {"saveAttempt", 9007199254740992ULL, false, "one past it"},
        {"saveAttempt", 9007199254740992.0, false, "one past it as a double"},
        {"saveAttempt", 3.0, true, "a whole double, as JavaScript sends it"},
        {"saveAttempt", 1.5, false, "a fraction"},
        {"saveAttempt", -1, false, "negative"},
        {"saveAttempt", true, false, "a boolean"},
    };
    for (const auto& row : rows) {
        json message = status();
        row.value.is_discarded() ? void(message.erase(row.key)) : void(message[row.key] = row.value);
        Model model;
        EXPECT_EQ(model.update(message), row.taken) << row.why;
        EXPECT_EQ(model.visible, row.taken) << row.why;
    }
}

TEST(ReadingControls, ASaveRequestLastsUntilThePageTakesItUpWithANewAttempt) {
    Model model;
    std::vector<std::string> actions;
    model.onAction = [&](const std::string& action, const std::string& id) { actions.push_back(action + " " + id); };
    ASSERT_TRUE(model.update(status("note-1", 4)));
    EXPECT_TRUE(model.perform(Model::saveAndReturnRequested, "note-1"));
    EXPECT_FALSE(model.perform(Model::saveAndReturnRequested, "note-1")) << "already requested";
    EXPECT_TRUE(model.update(status("note-1", 4)) && model.saveRequested) << "the same attempt: still busy";
    EXPECT_FALSE(model.update(status("note-1", 3))) << "stale";
    EXPECT_TRUE(model.perform(Model::returnRequested, "note-1")) << "returning is allowed while saving";
    EXPECT_FALSE(model.perform(Model::returnRequested, "note-0")) << "a button of an earlier session";
    EXPECT_FALSE(model.perform("deleteNote", "note-1"));
    EXPECT_TRUE(model.update(status("note-1", 5)) && !model.saveRequested) << "a new attempt takes the request up";
    EXPECT_EQ(actions, (std::vector<std::string>{"saveAndReturnRequested note-1", "returnRequested note-1"}));

    ASSERT_TRUE(model.perform(Model::saveAndReturnRequested, "note-1"));
    EXPECT_TRUE(model.update(status("", 0, false, false, false, false))) << "a hide, even with an empty id";
    EXPECT_FALSE(model.visible || model.saveRequested || model.perform(Model::returnRequested, ""));
    EXPECT_TRUE(model.update(status("note-1", 0))) << "the hide forgot the last attempt";
    model.onAction = nullptr;
    EXPECT_FALSE(model.perform(Model::returnRequested, "note-1")) << "nobody to hand the action to";
}

TEST(ReadingControls, TheStripShowsWhatTheStateAllows) {
    using namespace texts;
    // Flags: S the save button shows, E it is enabled, B it looks busy.
    const struct { json status; bool requestSave; const char *flags, *save, *close, *line; } rows[] = {
        {status("n", 0, false, true), false, "---", saveToKnowledgeAndReturn, returnWithoutSaving, noteBeingWritten},
        {status("n", 0, true), false, "SE-", saveToKnowledgeAndReturn, returnWithoutSaving, savedNotesInDictionary},
        {status("n", 0, true), true, "S-B", savingToKnowledge, returnToReading, saveContinuesWhenClosed},
        {status("n", 0, true, false, true), false, "S-B", savingToKnowledge, returnToReading, saveContinuesWhenClosed},
        {status("n", 0, false), false, "---", saveToKnowledgeAndReturn, returnToReading, savedNotesInDictionary},
    };
    for (const auto& row : rows) {
        Model model;
        model.onAction = [](const std::string&, const std::string&) {};
        ASSERT_TRUE(model.update(row.status) && (!row.requestSave || model.perform(Model::saveAndReturnRequested, "n")));
        const auto shown = presentReadingControls(model);
        const std::string flags{shown.visible ? 'V' : '-', shown.showsSave ? 'S' : '-', shown.saveEnabled ? 'E' : '-', shown.saveBusy ? 'B' : '-'};
        EXPECT_EQ((std::vector<std::string>{flags, shown.saveTitle, shown.closeTitle, shown.status}),
                  (std::vector<std::string>{std::string("V") + row.flags, row.save, row.close, row.line})) << row.status.dump();
    }
}

}  // namespace
}  // namespace brisel
