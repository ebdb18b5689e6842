#include "davclient/ASHttpConnectInfo.h"

#include <gtest/gtest.h>

namespace tidemark {
namespace {

void setCookies(ASHttpConnectInfo& info, std::initializer_list<std::string> values)
{
    HttpHeader header;
    for (const auto& value : values)
        header.add("Set-Cookie", value);
    info.setCookie(header, Url());
}

TEST(ASHttpConnectInfo, CookiesOfOneNameReplaceOneAnother)
{
    ASHttpConnectInfo info;
    EXPECT_EQ(info.cookieValue(), std::nullopt);
    setCookies(info, {"a=1; Expires=Thu, 01 Jan 1970 00:00:00 GMT", " b = x=y ; path=/dav; Domain=elsewhere"});
    setCookies(info, {"a=2; PATH=/root/; Path=relative"});
    EXPECT_EQ(info.cookieValue(), "a=2; b=x=y");
    EXPECT_EQ(info.myCookies().at("a").path, "/root/");
    EXPECT_EQ(info.myCookies().at("b").path, "/dav");
    setCookies(info, {"c=", "plain", "=1", "d=\x01"});
    EXPECT_EQ(info.cookieValue(), "a=2; b=x=y; c=");
    EXPECT_EQ(info.myCookies().at("c").path, "/");
}

TEST(ASHttpConnectInfo, TheJarIsBounded)
{
    ASHttpConnectInfo info;
    setCookies(info, {"huge=" + std::string(5000, 'x')});
    for (int i = 0; i < 1000; ++i)
        setCookies(info, {"n" + std::to_string(i) + "=1"});
    EXPECT_EQ(info.myCookies().size(), 100U);
    setCookies(info, {"n5=2"});
    EXPECT_EQ(info.myCookies().at("n5").value, "2");
}

TEST(ASHttpConnectInfo, SendsOnlyWhatIsSwitchedOn)
{
    ASHttpConnectInfo info;
    info.setUsername("u");
    info.setAuthenticationScheme(HttpAuthenticationScheme::digest);
    EXPECT_EQ(info.credentials().scheme, HttpAuthenticationScheme::none);
    info.setIsUseAuthorization(true);
    EXPECT_EQ(info.credentials().scheme, HttpAuthenticationScheme::digest);

    info.setProxyHost("p");
    info.setProxyPort(0);
    info.setIsUseProxy(true);
    EXPECT_FALSE(info.proxy());
    info.setProxyPort(3128);
    info.setProxyAuthenticationScheme(HttpAuthenticationScheme::basic);
    EXPECT_EQ(info.proxy()->credentials.scheme, HttpAuthenticationScheme::none);
    info.setIsUseProxyAuthorization(true);
    EXPECT_EQ(info.proxy()->credentials.scheme, HttpAuthenticationScheme::basic);
    EXPECT_TRUE(info.tls().validatesCertificate);
}

} // namespace
} // namespace tidemark
