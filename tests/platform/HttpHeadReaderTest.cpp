#include "platform/HttpHeadReader.h"

#include <gtest/gtest.h>

namespace tidemark {
namespace {

using Outcome = HttpHeadReader::Outcome;

Outcome feed(HttpHeadReader& reader, std::initializer_list<std::string_view> lines)
{
    Outcome last = Outcome::more;
    for (const auto line : lines)
        if ((last = reader.take(line)) != Outcome::more) return last;
    return last;
}

TEST(HttpHeadReader, KeepsOrderSpellingAndRepetitions)
{
    HttpHeadReader reader;
    EXPECT_EQ(feed(reader, {"HTTP/1.1 207 Multi-Status\r\n", "Set-Cookie: a=1\r\n", "dav:1\r\n", "SET-cookie: b=2\r\n",
                            "Folded: one\r\n", "\ttwo\r\n", "no field\r\n", "\r\n"}),
              Outcome::headComplete);
    const auto& head = reader.head();
    EXPECT_EQ(head.statusCode, 207);
    EXPECT_EQ(head.statusLine, "HTTP/1.1 207 Multi-Status");
    EXPECT_EQ(head.header.value("set-cookie"), "a=1, b=2");
    EXPECT_EQ(head.header.values("Set-Cookie"), (std::vector<std::string>{"a=1", "b=2"}));
    EXPECT_EQ(head.header.value("DAV"), "1");
    EXPECT_EQ(head.header.value("folded"), "one two");
    EXPECT_EQ(head.header.fields().size(), 4U);
}

TEST(HttpHeadReader, ANewStatusLineBeginsAnew)
{
    HttpHeadReader reader;
    feed(reader, {"HTTP/1.1 100 Continue\r\n", "X: 1\r\n", "\r\n"});
    feed(reader, {"HTTP/1.1 200 OK\r\n", "Y: 2\r\n"});
    EXPECT_FALSE(reader.isComplete());
    EXPECT_EQ(reader.take("\r\n"), Outcome::headComplete);
    EXPECT_FALSE(reader.head().header.contains("X"));
    EXPECT_EQ(reader.take("Trailer: 1\r\n"), Outcome::more);
    EXPECT_FALSE(reader.head().header.contains("Trailer"));
}

TEST(HttpHeadReader, RefusesUnclearLengths)
{
    for (const auto* second : {"Content-Length: 5\r\n", "content-length: 6\r\n"}) {
        HttpHeadReader reader;
        EXPECT_EQ(feed(reader, {"HTTP/1.1 200 OK\r\n", "Content-Length: 5\r\n", second}), Outcome::malformed);
    }
    for (const auto* line :
         {"Content-Length: -1\r\n", "Content-Length: 5, 5\r\n", "Content-Length: 0x5\r\n", "Content-Length:\r\n"}) {
        HttpHeadReader reader;
        EXPECT_EQ(feed(reader, {"HTTP/1.1 200 OK\r\n", line}), Outcome::malformed) << line;
    }
}

TEST(HttpHeadReader, LimitsHoldForTheWholeExchange)
{
    HttpHeadReader bytes;
    const std::string line = "X: " + std::string(1019, 'x') + "\r\n";
    int taken = 0;
    while (taken < 1000 && bytes.take(taken % 50 == 0 ? "HTTP/1.1 100 Continue\r\n" : line) == Outcome::more)
        ++taken;
    EXPECT_GT(taken, 250);
    EXPECT_LT(taken, 270);

    HttpHeadReader fields;
    taken = 0;
    while (taken < 2000 && fields.take("A: 1\r\n") == Outcome::more)
        ++taken;
    EXPECT_EQ(taken, 1000);
}

TEST(HttpHeader, SetReplacesEveryFieldOfTheName)
{
    HttpHeader header;
    header.add("A", "1");
    header.add("B", "2");
    header.add("a", "3");
    header.set("A", "4");
    EXPECT_EQ(header.value("a"), "4");
    EXPECT_EQ(header.fields().size(), 2U);
    header.remove("b");
    EXPECT_FALSE(header.contains("B"));
    EXPECT_FALSE(header.value("C").has_value());
}

} // namespace
} // namespace tidemark
