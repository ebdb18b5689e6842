#include "devserver/ServedFolder.h"

namespace devserver::test {
namespace {

using ::testing::HasSubstr;

class ProductTest : public ServedFolder
{
protected:
    ProductTest() { options.mode = Mode::Product; }
};

TEST_F(ProductTest, OptionsAnnouncesWhatIsConfigured)
{
    options.mount = "/dav";
    options.auth = AuthScheme::None;
    options.user = "jo hn";
    options.product.primary = "primär";
    options.product.platform = "w";
    options.product.cryptoFile = "2";
    options.product.readonlyEnable = true;
    const Reply reply = send("OPTIONS", "/dav/");
    EXPECT_EQ(reply.header("X-BX-Marlock-Version"), options.product.version);
    EXPECT_EQ(reply.header("X-BX-User"), "jo%20hn");
    EXPECT_EQ(reply.header("X-BX-Primary"), "prim%C3%A4r");
    EXPECT_EQ(reply.header("X-BX-Platform"), "w");
    EXPECT_EQ(reply.header("X-BX-CryptoFile-Enable"), "2");
    EXPECT_NE(reply.header("X-BX-Readonly-Enable"), "");
    EXPECT_THAT(reply.header("Set-Cookie"), ::testing::EndsWith("; Path=/dav/"));
    EXPECT_EQ(send("OPTIONS", "/dav/", {"Cookie: MARLOCKSESSION=1"}).header("Set-Cookie"), "");
}

TEST_F(ProductTest, UploadDatesBecomeTheFilesDates)
{
    send("PUT", "/a",
         {"X-BX-LastModified: Sun, 06 Nov 1994 09:49:37 +0100", "X-BX-CreationDate: Sat, 06 Nov 1993 08:49:37 +0000"},
         "1");
    const Reply reply = send("GET", "/a");
    EXPECT_EQ(reply.header("Last-Modified"), "Sun, 06 Nov 1994 08:49:37 GMT");
    EXPECT_EQ(reply.header("X-BX-CreationDate"), "1993-11-06T08:49:37Z");
    EXPECT_THAT(send("PROPFIND", "/a", {"Depth: 0"}).body,
                HasSubstr("<D:getlastmodified>Sun, 06 Nov 1994 08:49:37 GMT</D:getlastmodified>"));
}

TEST_F(ProductTest, RangedPutsReplaceOrContinue)
{
    writeFile(folder / "a", "0123456789");
    EXPECT_EQ(send("PUT", "/a", {"Content-Range: bytes 0-3/4"}, "abcd").status, 204);
    EXPECT_EQ(readFile(folder / "a"), "abcd") << "a range from 0 is the whole file";
    EXPECT_EQ(send("PUT", "/a", {"Content-Range: bytes 2-5/6", "X-BX-ENABLE-RESUME;"}, "WXYZ").status, 204);
    EXPECT_EQ(readFile(folder / "a"), "abWXYZ");
    EXPECT_EQ(send("PUT", "/a", {"Content-Range: bytes 9-9/10", "X-BX-ENABLE-RESUME;"}, "x").status, 416);
    EXPECT_EQ(send("PUT", "/a", {"Content-Range: bytes 2-5/6"}, "WXYZ").status, 400) << "no leave to continue";
    EXPECT_EQ(send("PUT", "/a", {"Content-Range: bytes 0-9/10"}, "short").status, 400);
    EXPECT_EQ(readFile(folder / "a"), "abWXYZ");
}

TEST_F(ProductTest, TheProbeAnswersWithTheRangesChecksum)
{
    options.product.probeLimit = 8;
    writeFile(folder / "a", "0123456789");
    const Reply exact = send("HEAD", "/a", {"X-BX-Partial-MD5: bytes=0-4"});
    EXPECT_EQ(exact.header("X-BX-Partial-MD5"), "4100c4d44da9177247e44a5fc1546778"); // of "01234"
    EXPECT_EQ(exact.header("X-BX-Partial-Length"), "");
    const Reply shorter = send("HEAD", "/a", {"X-BX-Partial-MD5: bytes=8-20"});
    EXPECT_EQ(shorter.header("X-BX-Partial-MD5"), "7647966b7343c29048673252e490f736"); // of "89"
    EXPECT_EQ(shorter.header("X-BX-Partial-Length"), "2");
    EXPECT_EQ(send("HEAD", "/a", {"X-BX-Partial-MD5: bytes=0-9"}).header("X-BX-Partial-Length"), "8");
    EXPECT_EQ(send("HEAD", "/a", {"X-BX-Partial-MD5: bytes=10-20"}).header("X-BX-Partial-MD5"), "");
    EXPECT_EQ(send("HEAD", "/none", {"X-BX-Partial-MD5: bytes=0-4"}).status, 404);
}

TEST_F(ProductTest, ARangeMayBeAskedForWithABlank)
{
    writeFile(folder / "a", "0123456789");
    const Reply reply = send("GET", "/a", {"Range: bytes 7-"});
    EXPECT_EQ(reply.status, 206);
    EXPECT_EQ(reply.body, "789");
    EXPECT_EQ(send("GET", "/a", {"Range: bytes 10-"}).status, 416);
}

TEST_F(ProductTest, RulesRefuseNamesAndSizes)
{
    for (const char* rule : {"403x:*.exe", "403:*.dll", "415:*virus*", "423:*.locked", "413:*.big:5", "507:*.full:3"})
        options.refusals.push_back(*parseRefusalRule(rule));
    const Reply extension = send("PUT", "/a.EXE", {}, "1");
    EXPECT_EQ(extension.status, 403);
    EXPECT_NE(extension.header("X-BX-REFUSAL-EXTENSION"), "");
    EXPECT_EQ(send("PUT", "/a.dll", {}, "1").header("X-BX-REFUSAL-EXTENSION"), "");
    EXPECT_EQ(send("PUT", "/some-virus.txt", {}, "1").status, 415);
    EXPECT_EQ(send("PUT", "/a.locked", {}, "1").status, 423);
    EXPECT_EQ(send("PUT", "/a.big", {}, "1234").status, 201);
    EXPECT_EQ(send("PUT", "/a.big", {}, "12345").status, 413);
    EXPECT_EQ(send("PUT", "/a.full", {"Transfer-Encoding: chunked"}, "123").status, 507);
    EXPECT_EQ(readFile(folder / "a.big"), "1234");
    EXPECT_FALSE(std::filesystem::exists(folder / "a.full"));
    for (const char* text : {"403", "x:*", "200:*", "413:*:many", "403:"})
        EXPECT_FALSE(parseRefusalRule(text)) << text;
}

TEST(PlainModeTest, KnowsNothingOfTheProduct)
{
    TemporaryFolder folder;
    writeFile(folder / "a", "0123456789");
    Options options;
    options.root = folder.path();
    options.product.platform = "w";
    const Server server(options);
    Client client(server);
    EXPECT_EQ(client.send("OPTIONS", "/").header("X-BX-Platform"), "");
    EXPECT_EQ(client.send("HEAD", "/a", {"X-BX-Partial-MD5: bytes=0-4"}).header("X-BX-Partial-MD5"), "");
    client.send("PUT", "/a", {"X-BX-LastModified: Sun, 06 Nov 1994 08:49:37 +0000"}, "1");
    const Reply reply = client.send("GET", "/a");
    EXPECT_NE(reply.header("Last-Modified"), "Sun, 06 Nov 1994 08:49:37 GMT");
    EXPECT_EQ(reply.header("X-BX-CreationDate"), "");
}

} // namespace
} // namespace devserver::test
