#include <gtest/gtest.h>

#include "platform/Url.h"

using tidemark::Url;

namespace {

std::string canonical(const std::string& text)
{
    auto url = Url::parse(text);
    return url ? url->absoluteString() : "refused";
}

Url parsed(const std::string& text)
{
    return Url::parse(text).value();
}

} // namespace

TEST(Url, EqualResourcesHaveEqualTexts)
{
    EXPECT_EQ(canonical("HTTP://Files.Example:80/a b/%7eme/%c3%a9#top"), "http://files.example/a%20b/~me/%C3%A9");
    EXPECT_EQ(canonical("https://files.example:443"), "https://files.example/");
    EXPECT_EQ(canonical("http://h:8080/a+b/ü/c'd"), "http://h:8080/a%2Bb/%C3%BC/c%27d");
    EXPECT_EQ(canonical("http://user:secret@h/x/"), "http://h/x/");
    EXPECT_EQ(canonical("http://[::1]:8080/x"), "http://[::1]:8080/x");
    EXPECT_EQ(canonical("http://h/a%2Fb/c"), "http://h/a%2Fb/c");
    EXPECT_EQ(canonical("http://h/a/?q=1 2"), "http://h/a/?q=1%202");
}

TEST(Url, DotSegmentsAreTakenOutHoweverTheyAreWritten)
{
    EXPECT_EQ(canonical("http://h/a/./b/../c"), "http://h/a/c");
    EXPECT_EQ(canonical("http://h/a/%2e%2E/%2e/b"), "http://h/b");
    EXPECT_EQ(canonical("http://h/../../x"), "http://h/x");
    EXPECT_EQ(canonical("http://h/a/b/.."), "http://h/a/");
}

TEST(Url, OnlyAbsoluteHttpIsTaken)
{
    for (const char* text : {"", "files/x", "/x", "ftp://h/x", "file:///etc/passwd", "http:", "http://", "http:///x",
                             "http:/h/x", "http://h:0/", "http://h:99999/", "http://a b/", "http://h/%zz", "http://h/%",
                             "http://h/%ff", "//h/x", "http://h/a\nb"})
        EXPECT_EQ(canonical(text), "refused") << text;
    EXPECT_EQ(canonical(std::string("http://h/a\0b", 12)), "refused");
    auto error = Url::parse("ftp://user:secret@h/").error();
    EXPECT_EQ(error.domain, "Url");
    EXPECT_EQ(error.description().find("secret"), std::string::npos);
}

TEST(Url, PartsOfAnAddress)
{
    auto url = parsed("https://[fe80::1]:8443/a%20b/c%2Fd/");
    EXPECT_EQ(url.scheme(), "https");
    EXPECT_EQ(url.host(), "fe80::1");
    EXPECT_EQ(url.port(), 8443);
    EXPECT_EQ(url.encodedPath(), "/a%20b/c%2Fd/");
    EXPECT_EQ(url.path(), "/a b/c/d");
    EXPECT_EQ(url.lastPathComponent(), "c/d");
    EXPECT_EQ(parsed("http://h").port(), 80);
    EXPECT_EQ(parsed("http://h/").path(), "/");
    EXPECT_EQ(parsed("http://h/").lastPathComponent(), "");
    EXPECT_EQ(parsed("http://h/a%0Ab").displayString(), "http://h/a\\x0Ab");
}

TEST(Url, OriginIsSchemeHostAndPort)
{
    auto url = parsed("http://h/a");
    EXPECT_TRUE(url.hasSameOrigin(parsed("http://H:80/b")));
    EXPECT_FALSE(url.hasSameOrigin(parsed("https://h/a")));
    EXPECT_FALSE(url.hasSameOrigin(parsed("http://h:81/a")));
    EXPECT_FALSE(url.hasSameOrigin(parsed("http://h.example/a")));
}

TEST(Url, NamesBecomeComponents)
{
    auto folder = parsed("http://h/base/?q");
    EXPECT_EQ(folder.appendingPathComponent("100% a+b/c?#").absoluteString(), "http://h/base/100%25%20a%2Bb%2Fc%3F%23");
    EXPECT_EQ(folder.appendingPathComponent("..").deletingLastPathComponent().absoluteString(), "http://h/base");
    EXPECT_EQ(folder.appendingPath("/x//ü/").absoluteString(), "http://h/base/x/%C3%BC");
    EXPECT_EQ(folder.withoutTrailingSlash().absoluteString(), "http://h/base?q");
    EXPECT_EQ(parsed("http://h/a").withTrailingSlash().absoluteString(), "http://h/a/");
    EXPECT_EQ(parsed("http://h").withoutTrailingSlash().absoluteString(), "http://h/");
    EXPECT_EQ(parsed("http://h/a/b/").deletingLastPathComponent().absoluteString(), "http://h/a");
    EXPECT_EQ(parsed("http://h/a").deletingLastPathComponent().absoluteString(), "http://h/");
    EXPECT_TRUE(Url().appendingPathComponent("x").empty());
}

TEST(Url, ReferencesAreMadeAbsolute)
{
    auto base = parsed("http://h:8080/a/b?q");
    EXPECT_EQ(base.resolve("/x y").value().absoluteString(), "http://h:8080/x%20y");
    EXPECT_EQ(base.resolve("c/d").value().absoluteString(), "http://h:8080/a/c/d");
    EXPECT_EQ(base.resolve("../../../etc").value().absoluteString(), "http://h:8080/etc");
    EXPECT_EQ(base.resolve("//other/x").value().absoluteString(), "http://other/x");
    EXPECT_EQ(base.resolve("https://other/x").value().absoluteString(), "https://other/x");
    EXPECT_EQ(base.resolve("#part").value(), base);
    EXPECT_FALSE(base.resolve("javascript:alert(1)"));
    EXPECT_FALSE(base.resolve("/%ff"));
}
