#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <limits>
#include <set>

#include "platform/Dates.h"
#include "platform/Digest.h"
#include "platform/Unicode.h"

using namespace tidemark;

namespace {

constexpr double leapDay = 1709210096; // 29 February 2024 12:34:56 GMT

std::string parsedHttp(const std::string& text)
{
    auto time = dates::parseHttpDate(text);
    return time ? dates::formatIsoDate(*time) : "none";
}

std::span<const std::byte> bytesOf(std::string_view text)
{
    return std::as_bytes(std::span(text));
}

} // namespace

TEST(Dates, HttpDatesOfAllZones)
{
    for (const char* zone : {"GMT", "UTC", "+0000", "-0000", "gmt"})
        EXPECT_EQ(parsedHttp(std::string("Thu, 29 Feb 2024 12:34:56 ") + zone), "2024-02-29T12:34:56Z") << zone;
    EXPECT_EQ(parsedHttp("Fri, 1 Mar 2024 01:34:56 +0900"), "2024-02-29T16:34:56Z");
    EXPECT_EQ(parsedHttp("thu, 29 feb 2024 23:34:56 -01:30"), "2024-03-01T01:04:56Z");
    EXPECT_EQ(parsedHttp("Wed, 31 Dec 1969 23:59:59 GMT"), "1969-12-31T23:59:59Z");
}

TEST(Dates, OtherTextsAreNoDates)
{
    for (const char* text :
         {"", "Thu, 29 Feb 2024 12:34:56", "Thu, 30 Feb 2024 12:34:56 GMT", "Thu, 29 Feb 2023 12:34:56 GMT",
          "Thu, 29 Feb 2024 24:00:00 GMT", "Thu, 29 Feb 2024 12:60:00 GMT", "Thu, 29 Feb 2024 12:34:56 GMT ",
          "Thu, 29 Feb 99999 12:34:56 GMT", "Xxx, 29 Feb 2024 12:34:56 GMT", "Thu, 29 Feb 2024 12:34:56 PST",
          "Thu, 29 Feb 2024 12:34:56 +2500", "Fri, 31 Dec 9999 23:59:59 GMT", "Sat, 01 Jan 0001 00:00:00 GMT",
          "Thu,29 Feb 2024 12:34:56 GMT", "Thu, -1 Feb 2024 12:34:56 GMT"})
        EXPECT_EQ(parsedHttp(text), "none") << text;
    for (const char* text : {"2024-02-29T12:34:56", "2024-02-29 12:34:56Z", "2024-2-29T12:34:56Z",
                             "2024-02-29T12:34:56.5Z", "2023-02-29T12:34:56Z"})
        EXPECT_FALSE(dates::parseIsoDate(text)) << text;
}

TEST(Dates, FormatsOfOneMoment)
{
    auto time = dates::fromSeconds(leapDay + 0.75);
    EXPECT_EQ(dates::formatHttpDate(time), "Thu, 29 Feb 2024 12:34:56 +0000");
    EXPECT_EQ(dates::formatGmt(time, "yyyy/MM/dd 'at' HH:mm:ss.SSS ''"), "2024/02/29 at 12:34:56.750 '");
    EXPECT_EQ(dates::formatHttpDate(dates::fromSeconds(-0.25)), "Wed, 31 Dec 1969 23:59:59 +0000");
    EXPECT_EQ(dates::parseHttpDate(dates::formatHttpDate(time)), dates::fromSeconds(leapDay));
    EXPECT_EQ(dates::toSeconds(time), leapDay + 0.75);
    EXPECT_EQ(dates::toSeconds(dates::fromSeconds(-1.25)), -1.25);
    for (double extreme : {1e300, -1e300, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_LT(std::abs(dates::toSeconds(dates::fromSeconds(extreme))), 1e10);
}

TEST(Dates, TheUsersZoneHasSummerTime)
{
    ::setenv("TZ", "Europe/Berlin", 1);
    auto fields = dates::localFields(dates::parseIsoDate("2024-06-30T22:30:00Z").value());
    EXPECT_EQ(fields.month, 7);
    EXPECT_EQ(fields.day, 1);
    EXPECT_EQ(fields.weekday, 2);
    EXPECT_EQ(fields.hour, 0);
    EXPECT_EQ(dates::formatLocal(dates::parseIsoDate("2024-01-01T00:00:00Z").value(), "HH:mm"), "01:00");
    ::setenv("TZ", "UTC", 1);
    EXPECT_EQ(dates::localFields(dates::Time{}).weekday, 5);
    ::unsetenv("TZ");
}

TEST(Unicode, Composition)
{
    EXPECT_EQ(toNfc("cafe\xCC\x81"), "caf\xC3\xA9");
    EXPECT_EQ(toNfc("\xE3\x81\x8B\xE3\x82\x99"), "\xE3\x81\x8C"); // ka and voicing mark
    EXPECT_EQ(toNfc("\xE1\x84\x80\xE1\x85\xA1"), "\xEA\xB0\x80"); // Hangul syllable
    EXPECT_EQ(toNfc("\xEA\xB0\x80\xE1\x86\xA8"), "\xEA\xB0\x81"); // syllable and its tail
    EXPECT_EQ(toNfc("a\xCC\xA3\xCC\x82"), "\xE1\xBA\xAD");        // two marks
    EXPECT_EQ(toNfc("\xff"
                    "e\xCC\x81"),
              "\xff"
              "e\xCC\x81");
    EXPECT_EQ(toNfc(std::string("e\0\xCC\x81", 4)).size(), 4u);
    EXPECT_EQ(caseFold("STRASSE \xC3\x89"), caseFold("stra\xC3\x9F"
                                                     "e e\xCC\x81"));
}

TEST(Unicode, LengthsAndPrefixes)
{
    EXPECT_EQ(codePointCount("a\xC3\xA9\xF0\x9F\x8C\x8A\xff"), 4u);
    EXPECT_EQ(utf8Prefix("a\xC3\xA9z", 2), "a");
    EXPECT_EQ(utf8Prefix("a\xC3\xA9z", 3), "a\xC3\xA9");
    EXPECT_EQ(utf8Prefix("\xF0\x9F\x8C\x8A", 3), "");
    EXPECT_EQ(utf8Prefix("ab", 5), "ab");
    EXPECT_EQ(utf8Prefix("\x80\x80\x80\x80\x80\x80", 5).size(), 5u);
    for (const char* invalid : {"\xff", "\xC3", "\xED\xA0\x80", "\xC0\x80", "a\xE2\x82"})
        EXPECT_FALSE(isUtf8(invalid));
    EXPECT_TRUE(isUtf8("\xF0\x9F\x8C\x8A"));
    EXPECT_EQ(escapeControls("a\n\x7f\xC2\x85\xff\xC3\xA9"), "a\\x0A\\x7F\\x85\\xFF\xC3\xA9");
}

TEST(Digest, KnownValues)
{
    Md5 md5;
    md5.update(bytesOf("message "));
    md5.update(bytesOf("digest"));
    EXPECT_EQ(hexLower(md5.finish()), "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_EQ(hexLower(Md5().finish()), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(hexLower(sha256("abc")), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(Digest, Base64)
{
    const std::array<std::pair<std::string, std::string>, 5> pairs{
        {{"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {std::string("\0\xff", 2), "AP8="}}};
    for (const auto& [plain, encoded] : pairs) {
        EXPECT_EQ(base64Encode(bytesOf(plain)), encoded);
        EXPECT_EQ(base64Decode(encoded), plain);
    }
    for (const char* text : {"Zg", "Zg=", "Z===", "====", "Zm9v\n", " Zm9", "Zg==Zg==", "Zm9-"})
        EXPECT_EQ(base64Decode(text), std::nullopt) << text;
}

TEST(Digest, IdentifiersDiffer)
{
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        auto uuid = makeUuid();
        EXPECT_EQ(uuid.find_first_not_of("0123456789ABCDEF-"), std::string::npos);
        EXPECT_EQ(uuid.size(), 36u);
        EXPECT_EQ(uuid[14], '4');
        seen.insert(uuid);
    }
    EXPECT_EQ(seen.size(), 100u);
}
