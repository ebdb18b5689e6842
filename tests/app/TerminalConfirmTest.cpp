#include "app/cli/TerminalConfirm.h"

#include <gmock/gmock.h>

#include "tests/app/CommandWorld.h"

namespace tidemark::cli {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

BXSyncConfirmInfo deletion(bool hasRestore)
{
    BXSyncConfirmInfo info;
    info.type = BXSyncConfirmType::deletion;
    info.message = "DELETE_SERVER";
    info.choices = {{"CANCEL", 3},
                    hasRestore ? BXSyncConfirmChoice{"DOWNLOAD", 0} : BXSyncConfirmChoice{"DO_NOTHING", 2},
                    {"DELETE", 1}};
    info.askPersistence = true;
    info.replaceStrings = {{"filename", "a\033[2J.txt"}, {"type", "File"}};
    return info;
}

BXSyncConfirmInfo conflict()
{
    BXSyncConfirmInfo info;
    info.type = BXSyncConfirmType::conflict;
    info.message = "FILE_CONFILCT";
    info.choices = {{"RECENT_FILE", 0}, {"UPLOAD", 1}, {"DOWNLOAD", 2}, {"CANCEL", 3}};
    info.askPersistence = true;
    info.replaceStrings = {{"filename", "a.txt"}, {"type", "File"}};
    info.otherInfo[BXSyncConfirmInfo::serverDateKey] = dates::fromSeconds(1'700'000'000);
    info.otherInfo[BXSyncConfirmInfo::localDateKey] = dates::fromSeconds(1'700'000'100);
    info.otherInfo[BXSyncConfirmInfo::localSizeKey] = std::int64_t(1234);
    info.otherInfo[BXSyncConfirmInfo::serverSizeKey] = std::int64_t(5);
    return info;
}

BXSyncConfirmInfo fileFailure()
{
    BXSyncConfirmInfo info;
    info.type = BXSyncConfirmType::fileError;
    info.message = "SYNCFILE_FAILURE";
    info.choices = {{"CANCEL", 1}, {"SKIP", 0}};
    info.replaceStrings = {{"filename", "a.txt"}, {"error", "Locked."}};
    return info;
}

BXSyncConfirmInfo lostConnection()
{
    BXSyncConfirmInfo info;
    info.type = BXSyncConfirmType::message;
    info.message = "RECONNECT_MESSAGE";
    info.choices = {{"RECONNECT_NOW", 0}, {"CANCEL", 1}};
    info.timeout = 10;
    return info;
}

struct TerminalConfirmTest : testing::CommandWorld
{
    /// Return code and persistence.
    std::pair<std::int64_t, bool> answer(TerminalConfirm& confirm, const BXSyncConfirmInfo& info)
    {
        const auto result = confirm.confirm(info);
        return result ? std::pair(result->result, result->persistence) : std::pair<std::int64_t, bool>(-1, false);
    }
    std::pair<std::int64_t, bool> answer(ConfirmOptions options, const BXSyncConfirmInfo& info)
    {
        TerminalConfirm confirm(context, options);
        return answer(confirm, info);
    }
};

TEST_F(TerminalConfirmTest, OptionsAnswerOnceAndForAll)
{
    const std::pair<DeleteAnswer, int> deletions[] = {
        {DeleteAnswer::cancel, 3}, {DeleteAnswer::restore, 0}, {DeleteAnswer::remove, 1}, {DeleteAnswer::nothing, 2}};
    for (const auto& [option, code] : deletions)
        EXPECT_EQ(answer({.onDelete = option}, deletion(true)), std::pair(std::int64_t(code), true));
    const std::pair<ConflictAnswer, int> conflicts[] = {{ConflictAnswer::recent, 0},
                                                        {ConflictAnswer::upload, 1},
                                                        {ConflictAnswer::download, 2},
                                                        {ConflictAnswer::cancel, 3}};
    for (const auto& [option, code] : conflicts)
        EXPECT_EQ(answer({.onConflict = option}, conflict()), std::pair(std::int64_t(code), true));
}

TEST_F(TerminalConfirmTest, WithoutATerminalTheCancelChoiceIsTakenAndSaid)
{
    terminal.interactive = false;
    for (const auto& info : {deletion(true), deletion(false), conflict()}) {
        TerminalConfirm confirm(context, {});
        EXPECT_EQ(answer(confirm, info).first, 3);
        EXPECT_FALSE(confirm.personCancelled());
        EXPECT_THAT(takeMessages(), HasSubstr("--on-"));
    }
}

TEST_F(TerminalConfirmTest, RestoringWhatCannotBeRestoredNeedsAnotherAnswer)
{
    terminal.interactive = false;
    TerminalConfirm confirm(context, {.onDelete = DeleteAnswer::restore});
    EXPECT_EQ(answer(confirm, deletion(false)).first, 3);
}

TEST_F(TerminalConfirmTest, WithoutATerminalAFailedFileIsSkippedAndReported)
{
    terminal.interactive = false;
    TerminalConfirm confirm(context, {});
    EXPECT_EQ(answer(confirm, fileFailure()).first, 0);
    EXPECT_NE(takeMessages(), "");
}

TEST_F(TerminalConfirmTest, OnATerminalAPersonChoosesByNumber)
{
    terminal.lines = {"nonsense", "9", "", "2"};
    EXPECT_EQ(answer(ConfirmOptions{}, conflict()), std::pair(std::int64_t(1), false));
    EXPECT_TRUE(terminal.lines.empty()) << "asked again after what is no choice";
    terminal.lines = {"3!"};
    takeMessages();
    EXPECT_EQ(answer(ConfirmOptions{}, conflict()), std::pair(std::int64_t(2), true));
    EXPECT_THAT(takeMessages(), AllOf(HasSubstr(", 1234 bytes; server "), HasSubstr(", 5 bytes")));
    terminal.lines = {"2"};
    EXPECT_EQ(answer(ConfirmOptions{}, fileFailure()).first, 0);
    terminal.lines = {"2!", "1"};
    EXPECT_EQ(answer(ConfirmOptions{}, fileFailure()).first, 1) << "no answer for all where none is offered";
}

TEST_F(TerminalConfirmTest, CancelAndTheEndOfInputAreAPersonsCancel)
{
    for (const auto& lines : {std::deque<std::string>{"1"}, std::deque<std::string>{}}) {
        terminal.lines = lines;
        TerminalConfirm confirm(context, {});
        EXPECT_EQ(answer(confirm, deletion(true)).first, 3);
        EXPECT_TRUE(confirm.personCancelled());
    }
}

TEST_F(TerminalConfirmTest, NamesInQuestionsCannotSteerTheTerminal)
{
    terminal.lines = {"1"};
    answer(ConfirmOptions{}, deletion(true));
    EXPECT_THAT(takeMessages(), Not(HasSubstr("\033")));
}

TEST_F(TerminalConfirmTest, LostConnectionWaitsItsIntervalUnlessReturnIsPressed)
{
    for (const auto& [wait, code] : {std::pair(Terminal::Wait::elapsed, 0), std::pair(Terminal::Wait::answered, 0),
                                     std::pair(Terminal::Wait::cancelled, 1)}) {
        terminal.waitResult = wait;
        EXPECT_EQ(answer(ConfirmOptions{}, lostConnection()).first, code);
        EXPECT_EQ(terminal.waits.back(), std::chrono::seconds(10));
    }
    terminal.interactive = false;
    cancellation.request();
    EXPECT_EQ(answer(ConfirmOptions{}, lostConnection()).first, 1) << "the wait ends at once";
}

} // namespace
} // namespace tidemark::cli
