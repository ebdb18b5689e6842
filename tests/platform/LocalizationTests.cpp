#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include "platform/Localization.h"

using namespace tidemark;

namespace {

/// "${name}", "%@" and "%ld" of a text, in order.
std::vector<std::string> fieldsOf(const std::string& text)
{
    static const std::regex field(R"(\$\{[a-z]+\}|%@|%ld)");
    return {std::sregex_token_iterator(text.begin(), text.end(), field), std::sregex_token_iterator()};
}

using Fields = std::vector<std::string>;

} // namespace

TEST(Localization, EveryTextIsWellFormed)
{
    for (const auto& language : Localization::languages())
        for (const auto& table : Localization::tables())
            for (const auto& key : Localization::keys(language, table)) {
                auto text = Localization::text(language, table, key);
                auto plain = std::regex_replace(text, std::regex(R"(\$\{[a-z]+\}|%@|%ld)"), "");
                EXPECT_FALSE(text.empty()) << table << " " << key;
                EXPECT_EQ(plain.find_first_of("${}%"), std::string::npos) << table << " " << key;
            }
}

TEST(Localization, EveryLanguageFillsTheFieldsOfEnglish)
{
    for (const auto& language : Localization::languages())
        for (const auto& table : Localization::tables())
            for (const auto& key : Localization::keys(language, table)) {
                auto own = fieldsOf(Localization::text(language, table, key));
                auto english = fieldsOf(Localization::text("en", table, key));
                std::sort(own.begin(), own.end());
                std::sort(english.begin(), english.end());
                EXPECT_EQ(own, english) << language << " " << table << " " << key;
            }
}

TEST(Localization, BothMessageTablesSayTheSame)
{
    auto keys = Localization::keys("en", "bxsync");
    EXPECT_GT(keys.size(), 40u);
    for (const auto& key : keys)
        EXPECT_EQ(Localization::text("bxsync", key), Localization::text("TidemarkResource", key)) << key;
}

TEST(Localization, TextsTakeWhatTheProgramFillsIn)
{
    auto fields = [](const char* key) { return fieldsOf(Localization::text("TidemarkResource", key)); };
    EXPECT_EQ(fields("FILE_CONFILCT"), (Fields{"${type}", "${filename}"}));
    EXPECT_EQ(fields("SYNCFILE_FAILURE"), (Fields{"${filename}", "${error}"}));
    EXPECT_EQ(fields("SYNC_ERROR_DETAIL"), Fields{"${errordetail}"});
    EXPECT_EQ(fields("UPLOAD_UNUSABLE_NAME"), Fields{"${localpath}"});
    EXPECT_EQ(fields("RECONNECT_REMAININGSECOND"), Fields{"${second}"});
    EXPECT_EQ(fields("PROGRESS_CURRENT"), (Fields{"%@", "%@", "%@"}));
    EXPECT_EQ(fieldsOf(Localization::text("Schedule", "OCLOCK")), Fields{"%ld"});
}

TEST(Localization, AnotherLanguageFallsBackKeyByKey)
{
    auto before = Localization::language();
    Localization::setLanguage("xx");
    EXPECT_EQ(Localization::text("TidemarkResource", "CANCEL"), "Cancel");
    EXPECT_EQ(Localization::text("xx", "TidemarkResource", "CANCEL"), "");
    EXPECT_EQ(Localization::text("TidemarkResource", "NO_SUCH_KEY"), "");
    EXPECT_EQ(Localization::text("NoSuchTable", "CANCEL"), "");
    Localization::setLanguage(before);
}
