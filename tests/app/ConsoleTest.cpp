#include "app/cli/Console.h"

#include <sstream>

#include <gtest/gtest.h>

#include "tests/app/FakeTerminal.h"

namespace tidemark::cli {
namespace {

struct ConsoleTest : ::testing::Test
{
    testing::FakeTerminal terminal;
    std::ostringstream data;
    std::ostringstream messages;
    Console console{data, messages, terminal};
};

TEST_F(ConsoleTest, NamesCannotSteerTheTerminal)
{
    console.data("a\033[2J\nb");
    console.error("c\rd\x9b"
                  "e");
    EXPECT_EQ(data.str(), "a\\x1B[2J\\x0Ab\n");
    EXPECT_EQ(messages.str(), "tidemark: c\\x0Dd\\x9Be\n");
}

TEST_F(ConsoleTest, VerbosityDecidesWhatIsShownAndDataIsAlways)
{
    const auto shown = [&](Verbosity verbosity) {
        messages.str("");
        data.str("");
        console.setVerbosity(verbosity);
        console.data("D");
        console.detail("v");
        console.notice("n");
        console.warning("w");
        console.error("e");
        return data.str() + messages.str();
    };
    EXPECT_EQ(shown(Verbosity::quiet), "D\ntidemark: e\n");
    EXPECT_EQ(shown(Verbosity::normal), "D\nn\nwarning: w\ntidemark: e\n");
    EXPECT_EQ(shown(Verbosity::verbose), "D\nv\nn\nwarning: w\ntidemark: e\n");
}

TEST_F(ConsoleTest, ColoursOnlyWhereWanted)
{
    terminal.colours = true;
    console.error("e");
    EXPECT_EQ(messages.str(), "\033[31mtidemark: \033[0me\n");
}

TEST_F(ConsoleTest, ProgressLineGivesWayToMessages)
{
    terminal.progress = true;
    console.progress("10%");
    console.notice("n");
    EXPECT_EQ(messages.str(), "\r\033[K\033[?7l10%\033[?7h\r\033[Kn\n");
    messages.str("");
    console.prompt("why?");
    console.progress("20%");
    EXPECT_EQ(messages.str(), "why? ") << "no progress over a question";
    console.endPrompt(false);
    console.progress("30%");
    EXPECT_NE(messages.str(), "why? ");
}

TEST_F(ConsoleTest, NoProgressLineWithoutATerminalOrWhenQuiet)
{
    console.progress("10%");
    terminal.progress = true;
    console.setVerbosity(Verbosity::quiet);
    console.progress("10%");
    EXPECT_EQ(messages.str(), "");
}

} // namespace
} // namespace tidemark::cli
