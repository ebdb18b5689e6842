#include "app/cli/CommandLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tidemark::cli {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

template <class T>
T commandOf(std::vector<std::string> arguments)
{
    auto parsed = parseCommandLine(std::move(arguments));
    if (auto* answer = std::get_if<CommandLineAnswer>(&parsed)) throw std::runtime_error(answer->message);
    return std::get<T>(std::get<ParsedCommandLine>(parsed).command);
}

CommandLineAnswer answerTo(std::vector<std::string> arguments)
{
    auto parsed = parseCommandLine(std::move(arguments));
    auto* answer = std::get_if<CommandLineAnswer>(&parsed);
    return answer ? *answer : CommandLineAnswer{ExitStatus::busy, "a command", {}};
}

TEST(CommandLine, NamesAreNamesEvenWhereACommandIsCalledAlike)
{
    EXPECT_THAT(commandOf<Sync>({"sync", "list", "config", "sync"}).names, ElementsAre("list", "config", "sync"));
    EXPECT_EQ(commandOf<ConfigShow>({"config", "show", "show"}).name, "show");
    EXPECT_EQ(commandOf<ConfigRename>({"config", "rename", "settings", "list"}).newName, "list");
    EXPECT_THAT(commandOf<List>({"list", "--", "-odd"}).names, ElementsAre("-odd"));
    EXPECT_THAT(commandOf<Sync>({"sync"}).names, IsEmpty());
}

TEST(CommandLine, ConfigurationOptionsKeepWhatWasNotGivenApart)
{
    const auto created = commandOf<ConfigCreate>({"config",     "create",
                                                  "work",       "--url",
                                                  "http://h/x", "--local",
                                                  "/l",         "--mode",
                                                  "upload",     "--user",
                                                  "kim",        "--password-file",
                                                  "/p",         "--on-conflict",
                                                  "none",       "--on-server-delete",
                                                  "upload",     "--on-local-delete",
                                                  "download",   "--log-dir",
                                                  "/log",       "--log-days",
                                                  "7",          "--disable"});
    const auto& options = created.options;
    EXPECT_EQ(created.name, "work");
    EXPECT_EQ(options.url, "http://h/x");
    EXPECT_EQ(options.local, "/l");
    EXPECT_EQ(options.mode, "upload");
    EXPECT_EQ(options.user, "kim");
    EXPECT_EQ(options.passwordSource, PasswordSource::file);
    EXPECT_EQ(options.passwordFile, "/p");
    EXPECT_EQ(options.onConflict, "none");
    EXPECT_EQ(options.onServerDelete, "upload");
    EXPECT_EQ(options.onLocalDelete, "download");
    EXPECT_EQ(options.logDirectory, "/log");
    EXPECT_EQ(options.logDays, 7);
    EXPECT_EQ(options.enabled, false);

    const auto set =
        commandOf<ConfigSet>({"config", "set", "work", "--user", "", "--enable", "--password-stdin"}).options;
    EXPECT_EQ(set.user, "");
    EXPECT_EQ(set.enabled, true);
    EXPECT_EQ(set.passwordSource, PasswordSource::standardInput);
    EXPECT_FALSE(set.url || set.local || set.mode || set.onConflict || set.logDirectory || set.logDays);
}

TEST(CommandLine, SyncAnswers)
{
    const auto sync =
        commandOf<Sync>({"sync", "--on-delete", "restore", "--on-conflict", "recent", "--skip-errors", "--json", "a"});
    EXPECT_EQ(sync.onDelete, DeleteAnswer::restore);
    EXPECT_EQ(sync.onConflict, ConflictAnswer::recent);
    EXPECT_TRUE(sync.skipErrors && sync.json);
    EXPECT_EQ(commandOf<Sync>({"sync"}).onDelete, std::nullopt);
}

TEST(CommandLine, GlobalOptionsAreTakenOnEitherSideOfTheCommand)
{
    for (const auto& line : {std::vector<std::string>{"--config-dir", "/c", "-v", "config", "show", "a"},
                             std::vector<std::string>{"config", "show", "a", "--verbose", "--config-dir=/c"}}) {
        const auto parsed = std::get<ParsedCommandLine>(parseCommandLine(line));
        EXPECT_EQ(parsed.global.configDirectory, "/c");
        EXPECT_EQ(parsed.global.verbosity, Verbosity::verbose);
    }
}

TEST(CommandLine, HelpAndVersionAreAnsweredEverywhere)
{
    for (const auto& line : {std::vector<std::string>{"--help"},
                             {"config", "-h"},
                             {"config", "create", "--help"},
                             {"sync", "a", "--help"},
                             {"list", "--help"},
                             {"settings", "set", "--help"},
                             {"config", "set", "--help"}}) {
        const auto answer = answerTo(line);
        EXPECT_EQ(answer.status, ExitStatus::done);
        EXPECT_THAT(answer.output, HasSubstr("--help"));
        EXPECT_THAT(answer.output, HasSubstr("--config-dir"));
    }
    EXPECT_THAT(answerTo({"sync", "--version"}).output, testing::StartsWith("tidemark "));
    EXPECT_THAT(answerTo({"sync", "--help"}).output, HasSubstr("7  a run of that configuration is under way"));
}

TEST(CommandLine, WrongUsageIsNamed)
{
    const std::pair<std::vector<std::string>, const char*> lines[] = {
        {{}, "a command is required"},
        {{"bogus"}, "unknown command 'bogus'"},
        {{"config", "bogus"}, "unknown command 'bogus'"},
        {{"config", "create", "a", "--local", "/l"}, "--url is required"},
        {{"config", "create", "a", "--url", "http://h/", "--local", "/l", "--mode", "both"}, "--mode"},
        {{"config", "create", "a", "--url", "http://h/", "--local", "/l", "--on-conflict", "delete"}, "--on-conflict"},
        {{"config", "set", "a", "--on-server-delete", "download"}, "--on-server-delete"},
        {{"config", "set", "a", "--on-local-delete", "upload"}, "--on-local-delete"},
        {{"config", "set", "a", "--log-days", "0"}, "--log-days"},
        {{"config", "set", "a", "--log-days", "many"}, "--log-days"},
        {{"config", "set", "a", "--password-stdin", "--password-file", "/p"}, "--password-file"},
        {{"config", "set", "a", "--enable", "--disable"}, "excludes"},
        {{"config", "set", "a", "--password", "secret"}, "not expected"},
        {{"config", "list", "extra"}, "not expected"},
        {{"sync", "--on-delete", "upload"}, "--on-delete"},
        {{"sync", "--on-conflict", "delete"}, "--on-conflict"},
        {{"sync", "--quiet", "--verbose"}, "excludes"},
        {{"settings", "set", "KEY"}, "VALUE is required"},
        {{"config", "rename", "a"}, "NEW is required"},
    };
    for (const auto& [line, complaint] : lines) {
        const auto answer = answerTo(line);
        EXPECT_EQ(answer.status, ExitStatus::usage) << complaint;
        EXPECT_THAT(answer.message, HasSubstr(complaint));
    }
}

} // namespace
} // namespace tidemark::cli
