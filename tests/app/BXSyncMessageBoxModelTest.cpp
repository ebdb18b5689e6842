#include "app/BXSyncMessageBoxModel.h"

#include <gmock/gmock.h>

#include "SyncLibrary/BXSyncQuestions.h"

namespace tidemark {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Model = BXSyncMessageBoxModel;
using Seconds = std::chrono::duration<double>;

std::int64_t code(const Model& model, std::int64_t index)
{
    const auto result = model.result(index, false);
    return result ? result->result : -1;
}

TEST(BXSyncMessageBoxModelTest, ShowsAQuestionWithItsNamesAndGivesTheChosenCode)
{
    const Model model("DELETE_CONFIRMATION", BXSyncQuestions::deleteOnServer({}, "a\n\033b.txt", SyncMode::twoWay));
    EXPECT_EQ(model.title(), "Confirm Deletion");
    EXPECT_THAT(model.body(), HasSubstr("b.txt”"));
    EXPECT_EQ(model.body().find_first_of("\n\033"), std::string::npos);
    EXPECT_THAT(model.buttons(), ElementsAre("Cancel", "Download", "Delete"));
    EXPECT_EQ(code(model, 0), 3);
    EXPECT_EQ(code(model, 1), 0);
    EXPECT_EQ(code(model, 2), 1);
    EXPECT_EQ(code(model, 3), -1);
    EXPECT_EQ(code(model, Model::noIndex), -1);
    EXPECT_TRUE(model.result(2, true)->persistence);
    EXPECT_FALSE(model.result(2, false)->persistence);
    EXPECT_FALSE(model.hasCountdown());
}

TEST(BXSyncMessageBoxModelTest, ATickThatWasNotOfferedCountsForNothing)
{
    const Model model("ERROR", BXSyncQuestions::unusableName("/a?"));
    EXPECT_FALSE(model.hasCheckBox());
    EXPECT_FALSE(model.result(1, true)->persistence);
}

TEST(BXSyncMessageBoxModelTest, LeavesOutTheChoicesThatDoNotFit)
{
    auto info = BXSyncQuestions::conflict({}, "a.txt", {});
    EXPECT_THAT(Model("ERROR", info).buttons(), ElementsAre("Keep the Newer One", "Upload", "Download"));
    EXPECT_EQ(code(Model("ERROR", info), 3), -1);
    EXPECT_EQ(code(Model("ERROR", info, 4), 3), 3);
}

TEST(BXSyncMessageBoxModelTest, CancellingIsWhatClosingTheWindowMeans)
{
    const auto closed = [](const BXSyncConfirmInfo& info) {
        const Model model("ERROR", info, 4);
        return code(model, model.dismissIndex());
    };
    EXPECT_EQ(closed(BXSyncQuestions::conflict({}, "a", {})), 3);
    EXPECT_EQ(closed(BXSyncQuestions::reconnect(5)), 1);
    EXPECT_EQ(closed(BXSyncQuestions::fatalError("")), 0);
    BXSyncConfirmInfo open;
    open.choices = {{"UPLOAD", 1}, {"DOWNLOAD", 2}};
    EXPECT_EQ(closed(open), -1);
}

TEST(BXSyncMessageBoxModelTest, CountsDownToTheAnswerThatTheQuestionNames)
{
    const Model model("ERROR", BXSyncQuestions::reconnect(10));
    EXPECT_EQ(model.title(), "Connection Lost");
    ASSERT_TRUE(model.hasCountdown());
    const auto begin = model.countdown(Seconds(0));
    EXPECT_EQ(begin.remainingSeconds, 10);
    EXPECT_EQ(begin.fraction, 0);
    const auto late = model.countdown(Seconds(7.6));
    EXPECT_EQ(late.remainingSeconds, 2);
    EXPECT_NEAR(late.fraction, 0.76, 1e-9);
    EXPECT_FALSE(late.ended);
    EXPECT_THAT(late.label, HasSubstr(" 2 "));
    EXPECT_FALSE(model.countdown(Seconds(9.99)).ended);
    EXPECT_TRUE(model.countdown(Seconds(10)).ended);
    // The machine slept, or its clock was set back.
    EXPECT_EQ(model.countdown(Seconds(5000)).remainingSeconds, 0);
    EXPECT_EQ(model.countdown(Seconds(5000)).fraction, 1);
    EXPECT_EQ(model.countdown(Seconds(-3)).remainingSeconds, 10);
    EXPECT_EQ(code(model, model.timeoutIndex()), BXSyncQuestions::reconnectCode);
    EXPECT_EQ(model.defaultIndex(), model.timeoutIndex());
}

TEST(BXSyncMessageBoxModelTest, ACountdownAnswerIsAnIndexNotACode)
{
    BXSyncConfirmInfo info;
    info.message = "RECONNECT_MESSAGE";
    info.choices = {{"CANCEL", 7}, {"RECONNECT_NOW", 9}};
    info.timeout = 1;
    EXPECT_EQ(code(Model("ERROR", info), Model("ERROR", info).timeoutIndex()), -1);
    info.otherInfo[BXSyncConfirmInfo::timeoutReturnKey] = 1;
    EXPECT_EQ(code(Model("ERROR", info), Model("ERROR", info).timeoutIndex()), 9);
    info.otherInfo[BXSyncConfirmInfo::timeoutReturnKey] = 9;
    EXPECT_EQ(code(Model("ERROR", info), Model("ERROR", info).timeoutIndex()), -1);
    EXPECT_EQ(Model("ERROR", info).defaultIndex(), 0);
}

} // namespace
} // namespace tidemark
