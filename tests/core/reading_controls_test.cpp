#include <gtest/gtest.h>

#include "app/texts.h"
#include "reading/reading_controls_model.h"
#include "reading/reading_controls_presentation.h"

namespace brisel {
namespace {

using nlohmann::json;

json status(const std::string& id = "note-1", int64_t attempt = 0, bool draft = true, bool pending = false,
            bool saving = false, bool visible = true) {
    return {{"action", "readingControls"}, {"visible", visible}, {"controlId", id}, {"draft", draft},
            {"pending", pending}, {"saving", saving}, {"returningAfterSave", false}, {"saveAttempt", attempt}};
}

class ReadingControlsTest : public ::testing::Test {
protected:
    void SetUp() override {
        model.onAction = [this](const std::string& action, const std::string& id) { actions.push_back(action + ":" + id); };
    }
    BriselReadingControlsModel model;
    std::vector<std::string> actions;
};

TEST_F(ReadingControlsTest, AcceptsExactlyTheEightKeysWithTheirExactTypes) {
    EXPECT_TRUE(model.update(status()));
    EXPECT_TRUE(model.visible);
    EXPECT_EQ(model.controlId, "note-1");

    auto ninth = status();
    ninth["extra"] = 1;
    auto seventh = status();
    seventh.erase("saveAttempt");
    auto numericVisible = status();
    numericVisible["visible"] = 1;
    auto wrongAction = status();
    wrongAction["action"] = "readingcontrols";
    for (const json& rejected : {ninth, seventh, numericVisible, wrongAction, json::array(), json("readingControls")}) {
        BriselReadingControlsModel fresh;
        EXPECT_FALSE(fresh.update(rejected)) << rejected.dump();
        EXPECT_FALSE(fresh.visible);
    }
}

TEST_F(ReadingControlsTest, SaveAttemptMustBeAWholeSafeNonNegativeNumber) {
    for (const json& attempt : {json(1.5), json(-1), json(true), json(9007199254740992ULL), json("1"),
                                json(std::numeric_limits<double>::infinity()), json(9007199254740992.0)}) {
        auto message = status();
        message["saveAttempt"] = attempt;
        EXPECT_FALSE(model.update(message)) << attempt.dump();
    }
    auto largest = status();
    largest["saveAttempt"] = 9007199254740991LL;
    EXPECT_TRUE(model.update(largest));
    EXPECT_EQ(model.saveAttempt, 9007199254740991LL);
    auto wholeFloat = status("note-2");
    wholeFloat["saveAttempt"] = 3.0;  // JavaScript has only one kind of number
    EXPECT_TRUE(model.update(wholeFloat));
    EXPECT_EQ(model.saveAttempt, 3);
}

TEST_F(ReadingControlsTest, ControlIdsAreShortPrintableAndNotBlankWhileVisible) {
    EXPECT_FALSE(model.update(status("   ")));
    EXPECT_FALSE(model.update(status(std::string(129, 'a'))));
    EXPECT_TRUE(model.update(status(std::string(128, 'a'))));
    EXPECT_FALSE(model.update(status(std::string(64, 'a') + "\U0001F4DA"  + std::string(63, 'a')))) << "129 UTF-16 units";
    EXPECT_FALSE(model.update(status("a\tb")));
    EXPECT_FALSE(model.update(status("a\nb")));
    EXPECT_FALSE(model.update(status("a\u200Bb"))) << "a format character";
    EXPECT_TRUE(model.update(status("\u30ce\u30fc\u30c8")));
}

TEST_F(ReadingControlsTest, AHideResetsEverythingEvenWithAnEmptyId) {
    ASSERT_TRUE(model.update(status()));
    ASSERT_TRUE(model.perform(BriselReadingControlsModel::saveAndReturnRequested, "note-1"));
    EXPECT_TRUE(model.update(status("", 0, false, false, false, false)));
    EXPECT_FALSE(model.visible);
    EXPECT_FALSE(model.saveRequested);
    EXPECT_EQ(model.controlId, "");
    EXPECT_TRUE(model.update(status("note-1", 0)));
    EXPECT_FALSE(model.saveRequested) << "the hide forgot the last state";
}

TEST_F(ReadingControlsTest, SaveRequestsLastUntilThePageTakesThemUpWithANewAttempt) {
    ASSERT_TRUE(model.update(status("note-1", 4)));
    EXPECT_TRUE(model.perform(BriselReadingControlsModel::saveAndReturnRequested, "note-1"));
    EXPECT_FALSE(model.perform(BriselReadingControlsModel::saveAndReturnRequested, "note-1")) << "already requested";
    EXPECT_EQ(actions, std::vector<std::string>{"saveAndReturnRequested:note-1"});

    EXPECT_TRUE(model.update(status("note-1", 4)));
    EXPECT_TRUE(model.saveRequested) << "same attempt: still busy";
    EXPECT_FALSE(model.update(status("note-1", 3))) << "stale";
    EXPECT_TRUE(model.saveRequested);
    EXPECT_TRUE(model.update(status("note-1", 5, true, false, true)));
    EXPECT_FALSE(model.saveRequested);
    EXPECT_TRUE(model.saving);

    EXPECT_TRUE(model.update(status("note-2", 0)));
    EXPECT_EQ(model.controlId, "note-2") << "a lower attempt in a new session is not stale";
}

TEST_F(ReadingControlsTest, ActionsNeedTheCurrentSessionAndAllowReturningWhileSaving) {
    EXPECT_FALSE(model.perform(BriselReadingControlsModel::returnRequested, "note-1")) << "hidden";
    ASSERT_TRUE(model.update(status("note-1", 0, true, false, true)));
    EXPECT_FALSE(model.perform(BriselReadingControlsModel::saveAndReturnRequested, "note-1")) << "saving";
    EXPECT_FALSE(model.perform(BriselReadingControlsModel::returnRequested, "note-0")) << "an old session's button";
    EXPECT_FALSE(model.perform("deleteNote", "note-1"));
    EXPECT_TRUE(model.perform(BriselReadingControlsModel::returnRequested, "note-1"));
    EXPECT_EQ(actions, std::vector<std::string>{"returnRequested:note-1"});
    model.onAction = nullptr;
    EXPECT_FALSE(model.perform(BriselReadingControlsModel::returnRequested, "note-1"));
}

TEST_F(ReadingControlsTest, ThePresentationFollowsTheState) {
    ASSERT_TRUE(model.update(status("n", 0, false, true)));
    auto shown = presentReadingControls(model);
    EXPECT_FALSE(shown.showsSave);
    EXPECT_EQ(shown.closeTitle, texts::returnWithoutSaving);
    EXPECT_EQ(shown.status, texts::noteBeingWritten);

    ASSERT_TRUE(model.update(status("n", 0, true, false)));
    shown = presentReadingControls(model);
    EXPECT_TRUE(shown.showsSave && shown.saveEnabled && !shown.saveBusy);
    EXPECT_EQ(shown.saveTitle, texts::saveToKnowledgeAndReturn);
    EXPECT_EQ(shown.status, texts::savedNotesInDictionary);
    EXPECT_EQ(presentReadingControls(model, true).saveTitle, texts::saveToKnowledgeShort);

    ASSERT_TRUE(model.perform(BriselReadingControlsModel::saveAndReturnRequested, "n"));
    shown = presentReadingControls(model);
    EXPECT_TRUE(shown.saveBusy);
    EXPECT_FALSE(shown.saveEnabled);
    EXPECT_EQ(shown.saveTitle, texts::savingToKnowledge);
    EXPECT_EQ(shown.closeTitle, texts::returnToReading);
    EXPECT_EQ(presentReadingControls(model, true).closeTitle, texts::close);
    EXPECT_EQ(shown.status, texts::saveContinuesWhenClosed);

    ASSERT_TRUE(model.update(status("n", 0, false, false, false, false)));
    EXPECT_FALSE(presentReadingControls(model).visible);
}

TEST(ReadingControlsLook, GlassOnlyOnMacOS26WithoutReducedTransparency) {
    EXPECT_TRUE(readingControlsUseGlass(26, false, false));
    EXPECT_FALSE(readingControlsUseGlass(26, true, false));
    EXPECT_FALSE(readingControlsUseGlass(26, false, true));
    EXPECT_FALSE(readingControlsUseGlass(15, false, false));
}

}  // namespace
}  // namespace brisel
