#include <algorithm>
#include <chrono>
#include <fstream>
#include <regex>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Logger/BXFileLogger.h"
#include "Logger/BXFileLoggerManager.h"
#include "Logger/BXLogFomatter.h"
#include "Logger/BXLogger.h"
#include "platform/FileSystem.h"
#include "support/ManualClock.h"
#include "support/TempTree.h"

namespace tidemark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using Days = std::chrono::duration<std::int64_t, std::ratio<86400>>;

std::vector<std::string> namesIn(const test::TempTree& tree)
{
    std::vector<std::string> names;
    for (const auto& [name, entry] : tree.read())
        names.push_back(name);
    return names;
}

std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::size_t from = 0;
    for (auto at = text.find('\n'); at != std::string::npos; at = text.find('\n', from)) {
        lines.push_back(text.substr(from, at - from));
        from = at + 1;
    }
    EXPECT_EQ(from, text.size()) << "the last line has no end";
    return lines;
}

/// Catches what facades show to the front end.
class Observed
{
public:
    Observed()
    {
        LogFacade::setObserver([this](LogLevel level, std::string_view text) {
            if (level == LogLevel::error) errors.emplace_back(text);
        });
    }
    ~Observed() { LogFacade::setObserver(nullptr); }

    std::vector<std::string> errors;
};

struct LoggerTest : ::testing::Test
{
    test::TempTree tree;
    testing::ManualClock clock;

    LoggerTest() { clock.setWall(std::chrono::system_clock::now()); }

    std::string onlyContent() const
    {
        const auto names = namesIn(tree);
        EXPECT_THAT(names, SizeIs(1));
        return names.size() == 1 ? tree.content(names.front()) : std::string{};
    }
};

void logFromHere(LogFacade& logger)
{
    [&] { logger.warning("Copy {} to {}", "a\nb", 7); }();
}

TEST_F(LoggerTest, ALineNamesTimeThreadLevelPlaceAndMessage)
{
    const auto logger = BXLogger::getLogger(tree.root(), "form.log");
    logFromHere(*logger);
    logger->flush();
    const auto lines = linesOf(onlyContent());
    ASSERT_THAT(lines, SizeIs(1));
    const std::regex form(R"(\d{4}/\d\d/\d\d \d\d:\d\d:\d\d\.\d{3} \(\d+\) WARN  )"
                          R"(\[\S*LoggerTest\((\d+)\) logFromHere\] Copy a\\x0Ab to 7)",
                          std::regex::icase);
    EXPECT_TRUE(std::regex_match(lines[0], form)) << lines[0];
}

TEST_F(LoggerTest, LevelsHaveTheirNamesAndAreSwitched)
{
    struct Levels
    {
        ~Levels() { LogFacade::setLevels(7); }
    } restore;
    const auto logger = BXLogger::getLogger(tree.root(), "levels.log");
    LogFacade::setLevels(7);
    logger->debug("hidden");
    LogFacade::setLevels(31);
    for (auto level : {LogLevel::error, LogLevel::warning, LogLevel::info, LogLevel::debug, LogLevel::verbose})
        logger->message(level, "shown");
    logger->flush();
    std::vector<std::string> names;
    for (const auto& line : linesOf(onlyContent()))
        names.push_back(line.substr(line.find(") ") + 2, 6));
    EXPECT_THAT(names, ElementsAre("ERROR ", "WARN  ", "INFO  ", "DEBUG ", "VERBO "));
}

TEST(LogFomatterTest, TagsAreBelowTheSourceRoot)
{
    EXPECT_EQ(BXLogFomatter::fileTag("/home/x/src/tidemark/src/SyncLibrary/BXSyncManager.cpp"),
              "SyncLibrary/BXSyncManager");
    EXPECT_EQ(BXLogFomatter::fileTag("../../src/Logger/BXLogger.cpp"), "Logger/BXLogger");
    EXPECT_EQ(BXLogFomatter::fileTag("src/Logger/BXLogger.cpp"), "Logger/BXLogger");
    EXPECT_EQ(BXLogFomatter::fileTag("dir.d/file"), "dir.d/file");
}

TEST(LogFomatterTest, FunctionsAreBareNames)
{
    const std::pair<const char*, const char*> cases[] = {
        {"bool tidemark::BXSyncManager::listup(bool)", "listup"},
        {"int main()", "main"},
        {"tidemark::A::A(int)", "A"},
        {"std::function<void(int)> tidemark::f(std::map<int, int>)", "f"},
        {"void {anonymous}::run()::<lambda(int)>", "run"},
        {"void tidemark::(anonymous namespace)::g(int)", "g"},
        {"T* tidemark::pick(T) [with T = int]", "pick"},
        {"", ""},
    };
    for (const auto& [signature, name] : cases)
        EXPECT_EQ(BXLogFomatter::functionName(signature), name);
}

TEST_F(LoggerTest, AFacadeIsSharedByFolderAndName)
{
    const auto first = BXLogger::getLogger(tree.root(), "a.log", 3);
    EXPECT_EQ(first, BXLogger::getLogger(tree.root(), "a.log", 5));
    EXPECT_NE(first, BXLogger::getLogger(tree.root(), "b.log", 3));
    EXPECT_NE(BXLogger::getLogger(tree.path("sub")), BXLogger::getLogger());
    EXPECT_EQ(BXLogger::getLogger(), BXLogger::getLogger("", "ignored.log"));
}

TEST_F(LoggerTest, ADayHasItsFileAndOldOnesGo)
{
    const auto logger = BXLogger::getLogger(tree.root(), "marlock_tidemark_Work.log", 3, clock);
    std::vector<std::string> expected;
    for (int day = 0; day < 5; ++day) {
        expected.push_back("marlock_tidemark_Work_" + dates::formatGmt(clock.wallNow(), "yyyy-MM-dd") + ".log");
        logger->info("first of day {}", day);
        clock.advance(std::chrono::seconds(1));
        logger->info("second of day {}", day);
        logger->flush();
        clock.advance(Days(1) - std::chrono::seconds(1));
    }
    EXPECT_EQ(namesIn(tree), std::vector<std::string>(expected.end() - 3, expected.end()));
    const auto lines = linesOf(tree.content(expected.back()));
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_TRUE(lines[0].ends_with("first of day 4"));
    EXPECT_TRUE(lines[1].ends_with("second of day 4"));
}

TEST_F(LoggerTest, ARestartGoesOnWithTheFileOfTheDay)
{
    for (int start = 0; start < 2; ++start) {
        const auto sink = BXLogger::createFileLogger(tree.path("r.log"), {}, clock);
        spdlog::details::log_msg message({}, "t", spdlog::level::info, "line");
        sink->log(message);
        EXPECT_EQ(sink->logFileManager().maximumNumberOfLogFiles(), 90);
    }
    EXPECT_THAT(linesOf(onlyContent()), SizeIs(2));
}

TEST_F(LoggerTest, RetentionLeavesOtherLogsAlone)
{
    const BXFileLoggerManager work(tree.path("Work.log"), 1);
    for (const char* name : {"Work_2026-01-01.log", "Work_2026-01-03.log", "Work_2026-01-02.log",
                             "Work2_2026-01-01.log", "Work_notes.log", "Work_2026-01-01.log.gz", "Other.txt"})
        tree.write(name, "x");
    EXPECT_THAT(work.logFiles(), ElementsAre("Work_2026-01-03.log", "Work_2026-01-02.log", "Work_2026-01-01.log"));
    work.deleteOldLogFiles();
    EXPECT_THAT(namesIn(tree), ElementsAre("Other.txt", "Work2_2026-01-01.log", "Work_2026-01-01.log.gz",
                                           "Work_2026-01-03.log", "Work_notes.log"));
    BXFileLoggerManager(tree.path("Work.log"), 0).deleteOldLogFiles();
    EXPECT_TRUE(tree.exists("Work_2026-01-03.log"));
}

TEST(FileLoggerManagerTest, NamesWithAndWithoutExtension)
{
    const auto day = *dates::parseIsoDate("2026-11-15T23:59:59Z");
    const BXFileLoggerManager with("/logs/Work.log", {});
    EXPECT_EQ(with.logsDirectory(), "/logs");
    EXPECT_EQ(with.newLogFileName(day), "Work_2026-11-15.log");
    EXPECT_TRUE(with.isLogFile("Work_2026-11-15.log"));
    EXPECT_TRUE(with.isLogFile("Worker.log"));
    EXPECT_FALSE(with.isLogFile("Work_2026-11-15"));
    const BXFileLoggerManager without("/logs/Work", {});
    EXPECT_EQ(without.newLogFileName(day), "Work_2026-11-15");
    EXPECT_TRUE(without.isLogFile("Wo"));
    EXPECT_FALSE(without.isLogFile("Work_2026-11-15"));
}

TEST_F(LoggerTest, AFolderThatCannotBeWrittenIsReportedOnceAndTriedAgain)
{
    tree.write("blocked", "a file where the folder should be");
    const Observed observed;
    const auto logger = BXLogger::getLogger(tree.path("blocked"), "w.log", {}, clock);
    for (int i = 0; i < 100; ++i)
        logger->info("lost");
    ASSERT_THAT(observed.errors, SizeIs(1));
    EXPECT_NE(observed.errors[0].find("blocked"), std::string::npos);
    tree.remove("blocked");
    logger->info("still lost");
    clock.advance(std::chrono::minutes(2));
    logger->info("written");
    logger->flush();
    EXPECT_THAT(observed.errors, SizeIs(1));
    const auto names = namesIn(tree);
    ASSERT_THAT(names, SizeIs(2));
    EXPECT_THAT(linesOf(tree.content(names[1])), SizeIs(1));
}

TEST_F(LoggerTest, TheGlobalLogTakesErrorsWithTheirTraceAndNoDebugMessages)
{
    BXLogger::setGlobalLogger(tree.path("global.log"));
    BXLogger::globalDebug("nothing", "of this");
    EXPECT_THAT(namesIn(tree), IsEmpty());
    BXLogger::globalError("text", "trace");
    BXLogger::globalErrorException(std::runtime_error("what happened"));
    BXLogger::setGlobalLogger({});
    const auto lines = linesOf(onlyContent());
    ASSERT_THAT(lines, SizeIs(4));
    EXPECT_TRUE(lines[0].ends_with("] text"));
    EXPECT_TRUE(lines[1].ends_with("] trace"));
    EXPECT_TRUE(lines[2].ends_with("std::runtime_error: what happened"));
}

TEST_F(LoggerTest, AGlobalLogThatCannotBeWrittenDoesNotLock)
{
    tree.write("blocked", "");
    const Observed observed;
    BXLogger::setGlobalLogger(tree.path("blocked/global.log"));
    BXLogger::globalError("text");
    BXLogger::setGlobalLogger({});
    EXPECT_THAT(observed.errors, SizeIs(2)) << "the failure and the text";
}

TEST_F(LoggerTest, LinesOfManyThreadsStayWhole)
{
    constexpr int threads = 4;
    constexpr int messages = 500;
    const auto logger = BXLogger::getLogger(tree.root(), "threads.log");
    {
        std::vector<std::jthread> writers;
        for (int t = 0; t < threads; ++t)
            writers.emplace_back([&, t] {
                for (int i = 0; i < messages; ++i)
                    logger->info("thread {} message {} end", t, i);
                BXLogger::flushAll();
            });
    }
    BXLogger::flushAll();
    const auto lines = linesOf(onlyContent());
    EXPECT_THAT(lines, SizeIs(threads * messages));
    for (const auto& line : lines)
        EXPECT_TRUE(line.ends_with(" end")) << line;
}

} // namespace
} // namespace tidemark
