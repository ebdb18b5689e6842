#include <gmock/gmock.h>

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
                // A percentage is no field.
                auto plain = std::regex_replace(text, std::regex("\\$\\{[a-z]+\\}(( |\u00a0)?%)?|%@|%ld"), "");
                EXPECT_FALSE(text.empty()) << table << " " << key;
                EXPECT_EQ(plain.find_first_of("${}%"), std::string::npos) << table << " " << key;
            }
}

TEST(Localization, EveryLanguageHasTheKeysOfEnglish)
{
    ASSERT_THAT(Localization::languages(), ::testing::ElementsAre("de", "en"));
    for (const auto& language : Localization::languages())
        for (const auto& table : Localization::tables())
            EXPECT_EQ(Localization::keys(language, table), Localization::keys("en", table)) << language << " " << table;
}

TEST(Localization, EveryLanguageFillsTheFieldsOfEnglish)
{
    // Another language may put the named fields into another order; the others are filled one by one.
    const auto namedFirst = [](Fields fields) {
        const auto named = [](const std::string& field) { return field.starts_with("${"); };
        std::sort(fields.begin(), std::stable_partition(fields.begin(), fields.end(), named));
        return fields;
    };
    for (const auto& language : Localization::languages())
        for (const auto& table : Localization::tables())
            for (const auto& key : Localization::keys(language, table))
                EXPECT_EQ(namedFirst(fieldsOf(Localization::text(language, table, key))),
                          namedFirst(fieldsOf(Localization::text("en", table, key))))
                    << language << " " << table << " " << key;
}

TEST(Localization, WhatAKeyReachesInEnglishOneReachesInEveryLanguage)
{
    const auto mnemonics = [](const std::string& text) {
        static const std::regex mnemonic("&[^& ]");
        return std::distance(std::sregex_iterator(text.begin(), text.end(), mnemonic), {});
    };
    for (const auto& language : Localization::languages())
        for (const auto& table : Localization::tables())
            for (const auto& key : Localization::keys(language, table))
                EXPECT_EQ(mnemonics(Localization::text(language, table, key)),
                          mnemonics(Localization::text("en", table, key)))
                    << language << " " << table << " " << key;
}

TEST(Localization, BothMessageTablesSayTheSame)
{
    auto keys = Localization::keys("en", "bxsync");
    EXPECT_GT(keys.size(), 40u);
    for (const auto& language : Localization::languages())
        for (const auto& key : keys)
            EXPECT_EQ(Localization::text(language, "bxsync", key),
                      Localization::text(language, "TidemarkResource", key))
                << language << " " << key;
}

TEST(Localization, TheEnvironmentChoosesTheLanguage)
{
    using Localization::languageFor;
    EXPECT_EQ(languageFor({}), "en");
    EXPECT_EQ(languageFor({.lang = "de_DE.UTF-8"}), "de");
    EXPECT_EQ(languageFor({.lang = "de"}), "de");
    EXPECT_EQ(languageFor({.lang = "de@euro"}), "de");
    EXPECT_EQ(languageFor({.lang = "fr_FR.UTF-8"}), "en");
    EXPECT_EQ(languageFor({.lang = "den_CA"}), "en") << "another language that begins like it";

    EXPECT_EQ(languageFor({.lcMessages = "de_AT", .lang = "en_GB"}), "de");
    EXPECT_EQ(languageFor({.lcAll = "en_GB", .lcMessages = "de_AT", .lang = "de_AT"}), "en");
    EXPECT_EQ(languageFor({.lcAll = "C", .lang = "de_DE"}), "en");

    EXPECT_EQ(languageFor({.lang = "en_US", .language = "fr:de_AT:en"}), "de");
    EXPECT_EQ(languageFor({.lang = "de_DE", .language = "en_GB:de"}), "en");
    EXPECT_EQ(languageFor({.lang = "de_DE", .language = "fr"}), "en");
    EXPECT_EQ(languageFor({.lang = "de_DE", .language = ":"}), "en");
    for (const char* untranslated : {"", "C", "C.UTF-8", "POSIX"})
        EXPECT_EQ(languageFor({.lang = untranslated, .language = "de"}), "en") << untranslated;
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
    const auto before = Localization::language();
    Localization::setLanguage("xx");
    EXPECT_EQ(Localization::text("TidemarkResource", "CANCEL"), "Cancel");
    EXPECT_EQ(Localization::text("xx", "TidemarkResource", "CANCEL"), "");
    EXPECT_EQ(Localization::text("TidemarkResource", "NO_SUCH_KEY"), "");
    EXPECT_EQ(Localization::text("NoSuchTable", "CANCEL"), "");
    Localization::setLanguage(before);
}
