#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Logger/BXLogger.h"
#include "Utils/BXTidemarkUtils.h"
#include "platform/FileSystem.h"
#include "platform/Places.h"
#include "support/TempTree.h"

#include <sys/stat.h>

namespace tidemark {
namespace {

TEST(MessageTemplateTest, PlaceholdersAreFilledInTheMapsOrderAndTheRestDeleted)
{
    struct Case
    {
        const char* text;
        ReplaceMap map;
        const char* filled;
    };
    const Case cases[] = {
        {"plain } text", {{"plain", "x"}}, "plain } text"},
        {"${a}${b}", {{"a", "1"}}, "1"},
        {"${a} and ${a}", {{"a", "${a}"}}, " and "},
        {"${a}", {{"a", "${b}"}, {"b", "late"}}, "late"},
        {"${b}", {{"a", "early"}, {"b", "${a}"}}, ""},
        {"x ${open", {}, "x ${open"},
        {"${a ${b}}", {}, "}"},
        {"${one\n${two} tail", {}, "${one\n tail"},
        {"$ {a} {a} $${a}", {{"a", "1"}}, "$ {a} {a} $1"},
    };
    for (const auto& [text, map, filled] : cases)
        EXPECT_EQ(fillPlaceholders(text, map), filled) << text;
}

TEST(TidemarkUtilsTest, NumbersAreDigitsOfOneByte)
{
    for (const char* text : {"0", "0012", "99999999999999999999"})
        EXPECT_TRUE(BXTidemarkUtils::checkNumber(text));
    for (const char* text : {"", "-1", "1 ", "1.5", "１２", "1\n"})
        EXPECT_FALSE(BXTidemarkUtils::checkNumber(text));
    EXPECT_TRUE(BXTidemarkUtils::checkAllHalfLetter("a/\x7f"));
    EXPECT_FALSE(BXTidemarkUtils::checkAllHalfLetter("aé"));
}

struct Presenter : AlertPresenter
{
    std::vector<Alert> alerts;
    std::vector<std::thread::id> threads;
    int answer = 0;

    int showAlert(const Alert& alert) override
    {
        alerts.push_back(alert);
        threads.push_back(std::this_thread::get_id());
        return answer;
    }
    std::optional<std::string> selectDirectory(const std::string& path, const std::string&) override { return path; }
};

struct AlertTest : ::testing::Test
{
    std::shared_ptr<Presenter> presenter = std::make_shared<Presenter>();

    void SetUp() override { BXTidemarkUtils::setAlertPresenter(presenter); }
    void TearDown() override { BXTidemarkUtils::setAlertPresenter(nullptr); }
};

TEST_F(AlertTest, ChoicesAreShownInOrderAndTheAnswerComesBack)
{
    presenter->answer = 1;
    EXPECT_EQ(BXTidemarkUtils::showSelectAlert("RESET_SYNC_INFO_CONFIRM_MESSAGE", "RESET_SYNC_INFO", {"NO", "YES"}), 1);
    ASSERT_EQ(presenter->alerts.size(), 1U);
    EXPECT_EQ(presenter->alerts[0].choices.size(), 2U);
    BXTidemarkUtils::showErrorAlert("CONFIG_SAVE_FAILURE");
    ASSERT_EQ(presenter->alerts.size(), 2U);
    EXPECT_EQ(presenter->alerts[1].choices.size(), 1U);
    EXPECT_EQ(BXTidemarkUtils::directorySelect("/start", "X"), "/start");
}

TEST_F(AlertTest, WithoutAPresenterTheFirstChoiceIsTheAnswer)
{
    BXTidemarkUtils::setAlertPresenter(nullptr);
    EXPECT_EQ(BXTidemarkUtils::showSelectAlert("M", "T", {"NO", "YES"}), 0);
    EXPECT_EQ(BXTidemarkUtils::directorySelect("/start", "X"), std::nullopt);
}

TEST(ConfigDirectoryTest, IsMadePrivateAndAFileInItsPlaceIsLogged)
{
    const test::TempTree tree;
    std::vector<std::string> errors;
    LogFacade::setObserver([&](LogLevel, std::string_view text) { errors.emplace_back(text); });
    Places::setRoot(tree.path("made/here"));
    const auto directory = BXTidemarkUtils::configDirectory();
    struct stat status
    {
    };
    ASSERT_EQ(::stat(directory.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
    EXPECT_TRUE(errors.empty());

    ASSERT_TRUE(fs::removeTree(directory));
    {
        auto replaced = fs::replaceFile(directory, "x");
        ASSERT_TRUE(replaced);
    }
    EXPECT_EQ(BXTidemarkUtils::configDirectory(), directory);
    LogFacade::setObserver(nullptr);
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_EQ(errors[0], "The directory can not be created, because the file exists.:" + directory);
}

} // namespace
} // namespace tidemark
