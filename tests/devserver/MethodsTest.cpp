#include "devserver/ServedFolder.h"

#include <atomic>
#include <curl/curl.h>
#include <thread>

namespace devserver::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class MethodsTest : public ServedFolder
{
};

TEST_F(MethodsTest, OptionsOffersBothClassesAndNothingOfTheProduct)
{
    const Reply reply = send("OPTIONS", "/");
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.header("DAV"), "1,2");
    EXPECT_THAT(reply.header("Allow"), HasSubstr("PROPPATCH"));
    for (const auto& [name, value] : reply.headers)
        EXPECT_THAT(name, Not(StartsWith("X-BX"))) << value;
    EXPECT_EQ(reply.header("Set-Cookie"), "");
}

TEST_F(MethodsTest, PutCreatesAndReplacesWholeFiles)
{
    EXPECT_EQ(send("PUT", "/a%20b%2Bc%25.txt", {}, "first, longer").status, 201);
    EXPECT_EQ(readFile(folder / "a b+c%.txt"), "first, longer");
    EXPECT_EQ(send("PUT", "/a%20b%2Bc%25.txt", {}, "second").status, 204);
    EXPECT_EQ(readFile(folder / "a b+c%.txt"), "second");
    EXPECT_EQ(send("PUT", "/empty", {}, "").status, 201);
    EXPECT_EQ(std::filesystem::file_size(folder / "empty"), 0U);
    EXPECT_EQ(send("PUT", "/missing/a", {}, "x").status, 409);
    EXPECT_EQ(send("PUT", "/chunked", {"Transfer-Encoding: chunked"}, "in chunks").status, 201);
    EXPECT_EQ(readFile(folder / "chunked"), "in chunks");
}

TEST_F(MethodsTest, PutWithContentRangeToAPlainServerKeepsTheOldTail)
{
    writeFile(folder / "a", "0123456789");
    EXPECT_EQ(send("PUT", "/a", {"Content-Range: bytes 0-3/4"}, "abcd").status, 204);
    EXPECT_EQ(readFile(folder / "a"), "abcd456789");
    EXPECT_EQ(send("PUT", "/a", {"Content-Range: nonsense"}, "abcd").status, 400);
}

TEST_F(MethodsTest, PutWithContentRangeMayBeRefusedInstead)
{
    options.partialPut = PartialPut::NotImplemented;
    EXPECT_EQ(send("PUT", "/a", {"Content-Range: bytes 0-3/4"}, "abcd").status, 501);
    EXPECT_FALSE(std::filesystem::exists(folder / "a"));
}

TEST_F(MethodsTest, GetSendsWholeFilesAndRanges)
{
    writeFile(folder / "a.txt", "0123456789");
    const Reply whole = send("GET", "/a.txt");
    EXPECT_EQ(whole.status, 200);
    EXPECT_EQ(whole.body, "0123456789");
    EXPECT_THAT(whole.header("Last-Modified"), ::testing::EndsWith(" GMT"));

    struct Case
    {
        const char* range;
        int status;
        const char* body;
        const char* contentRange;
    };
    const Case cases[] = {
        {"bytes=2-4", 206, "234", "bytes 2-4/10"},
        {"bytes=7-", 206, "789", "bytes 7-9/10"},
        {"bytes=-3", 206, "789", "bytes 7-9/10"},
        {"bytes=8-100", 206, "89", "bytes 8-9/10"},
        {"bytes=10-", 416, "416 Range Not Satisfiable\n", "bytes */10"},
        {"bytes=5-3", 200, "0123456789", ""},
        {"bytes 7-", 200, "0123456789", ""},
        {"bytes=0-1,3-4", 200, "0123456789", ""},
    };
    for (const Case& c : cases) {
        const Reply reply = send("GET", "/a.txt", {std::string("Range: ") + c.range});
        EXPECT_EQ(reply.status, c.status) << c.range;
        EXPECT_EQ(reply.body, c.body) << c.range;
        EXPECT_EQ(reply.header("Content-Range"), c.contentRange) << c.range;
    }
}

TEST_F(MethodsTest, HeadTellsTheLengthWithoutABody)
{
    writeFile(folder / "a", "0123456789");
    const Reply reply = send("HEAD", "/a");
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.header("Content-Length"), "10");
    EXPECT_EQ(send("HEAD", "/b").status, 404);
    EXPECT_EQ(send("GET", "/a").body, "0123456789") << "the connection is in step";
}

TEST_F(MethodsTest, MkcolAndDelete)
{
    EXPECT_EQ(send("MKCOL", "/d/").status, 201);
    EXPECT_TRUE(std::filesystem::is_directory(folder / "d"));
    EXPECT_EQ(send("MKCOL", "/d/").status, 405);
    EXPECT_EQ(send("MKCOL", "/x/y/").status, 409);
    EXPECT_EQ(send("PUT", "/d/a", {}, "1").status, 201);
    EXPECT_EQ(send("DELETE", "/d/").status, 204);
    EXPECT_FALSE(std::filesystem::exists(folder / "d"));
    EXPECT_EQ(send("DELETE", "/d/").status, 404);
    EXPECT_EQ(send("DELETE", "/").status, 403);
}

TEST_F(MethodsTest, CopyAndMoveTakePathsAndUrls)
{
    send("MKCOL", "/d/");
    send("PUT", "/d/a:b", {}, "1");
    EXPECT_EQ(send("COPY", "/d/", {"Destination: /e"}).status, 201);
    EXPECT_EQ(readFile(folder / "e/a:b"), "1");
    EXPECT_EQ(send("MOVE", "/d/a:b", {"Destination: " + server().url("e/c:d")}).status, 201);
    EXPECT_EQ(readFile(folder / "e/c:d"), "1");
    EXPECT_FALSE(std::filesystem::exists(folder / "d/a:b"));
    EXPECT_EQ(send("COPY", "/e/c:d", {"Destination: /e/a%3Ab", "Overwrite: F"}).status, 412);
    EXPECT_EQ(send("COPY", "/e/c:d", {"Destination: /e/a%3Ab"}).status, 204);
    EXPECT_EQ(send("MOVE", "/e/", {"Destination: /e/inside"}).status, 403);
    EXPECT_EQ(send("MOVE", "/e/", {"Destination: http://elsewhere.example/e"}).status, 502);
    EXPECT_EQ(send("MOVE", "/e/").status, 400);
}

TEST_F(MethodsTest, LocksAreHeldByTheirToken)
{
    const std::string body = R"(<D:lockinfo xmlns:D="DAV:"><D:lockscope><D:exclusive/></D:lockscope>)"
                             R"(<D:locktype><D:write/></D:locktype><D:owner>me</D:owner></D:lockinfo>)";
    writeFile(folder / "a", "old");
    const Reply locked = send("LOCK", "/a", {"Timeout: Second-600"}, body);
    EXPECT_EQ(locked.status, 200);
    EXPECT_THAT(locked.body, HasSubstr("Second-600"));
    const std::string token = locked.header("Lock-Token");
    EXPECT_EQ(send("LOCK", "/a", {}, body).status, 423);
    EXPECT_EQ(send("PUT", "/a", {}, "new").status, 423);
    EXPECT_EQ(send("DELETE", "/a").status, 423);
    EXPECT_EQ(readFile(folder / "a"), "old");
    EXPECT_EQ(send("PUT", "/a", {"If: (" + token + ")"}, "new").status, 204);
    EXPECT_EQ(send("LOCK", "/a", {"If: (" + token + ")"}).status, 200);
    EXPECT_EQ(send("UNLOCK", "/a", {"Lock-Token: <opaquelocktoken:other>"}).status, 409);
    EXPECT_EQ(send("UNLOCK", "/a", {"Lock-Token: " + token}).status, 204);
    EXPECT_EQ(send("PUT", "/a", {}, "newer").status, 204);

    EXPECT_EQ(send("LOCK", "/new", {}, body).status, 201) << "reserves the name";
    EXPECT_EQ(send("LOCK", "/a", {}, "<lockinfo xmlns:D=\"DAV:\"><d:lockscope></loclinfo>").status, 400);
}

TEST_F(MethodsTest, NothingOutsideTheRootIsReached)
{
    TemporaryFolder outside;
    writeFile(outside / "secret", "secret");
    std::filesystem::create_directory_symlink(outside.path(), folder / "link");
    std::filesystem::create_symlink(outside / "secret", folder / "file");
    const std::string name = outside.path().filename().string();
    for (const std::string& target : {"/../" + name + "/secret", "/%2e%2e/" + name + "/secret",
                                      "/..%2F" + name + "/secret", std::string("/link/secret"), std::string("/file")})
        EXPECT_EQ(send("GET", target).status, 404) << target;
    EXPECT_EQ(send("PUT", "/link/new", {}, "x").status, 404);
    EXPECT_EQ(send("PUT", "/file", {}, "x").status, 404);
    EXPECT_EQ(send("GET", "/a%00b").status, 404);
    EXPECT_EQ(send("GET", "/a%zz").status, 400);
    EXPECT_EQ(send("MOVE", "/x", {"Destination: /../x"}).status, 404);
    EXPECT_EQ(readFile(outside / "secret"), "secret");
}

TEST_F(MethodsTest, AFolderMayInsistOnItsSlash)
{
    options.folderWithoutSlash = FolderWithoutSlash::Conflict;
    EXPECT_EQ(send("MKCOL", "/d").status, 409);
    EXPECT_EQ(send("MKCOL", "/d/").status, 201);
    EXPECT_EQ(send("PROPFIND", "/d", {"Depth: 1"}).status, 409);
    EXPECT_EQ(send("DELETE", "/d").status, 409);
    EXPECT_EQ(send("DELETE", "/d/").status, 204);
}

TEST_F(MethodsTest, AMountIsTheBeginningOfEveryPath)
{
    options.mount = "/dav/files";
    writeFile(folder / "a", "1");
    EXPECT_EQ(send("GET", "/dav/files/a").body, "1");
    EXPECT_EQ(send("GET", "/a").status, 404);
    EXPECT_THAT(send("PROPFIND", "/dav/files/", {"Depth: 1"}).body, HasSubstr("<D:href>/dav/files/a</D:href>"));
    EXPECT_THAT(server().url("a b"), ::testing::EndsWith("/dav/files/a%20b"));
}

TEST_F(MethodsTest, RequestsShareAConnectionAndAreRecorded)
{
    for (int i = 0; i < 200; ++i)
        ASSERT_EQ(send("PUT", "/f" + std::to_string(i), {}, "content").status, 201);
    ASSERT_EQ(send("PROPFIND", "/", {"Depth: 1", "X-Test: yes"}, "").status, 207);
    EXPECT_EQ(server().connectionCount(), 1U);
    EXPECT_EQ(server().requestCount("PUT"), 200U);
    const RequestRecord last = server().requests().back();
    EXPECT_EQ(last.header("x-test"), "yes");
    EXPECT_EQ(last.responseStatus, 207);
    EXPECT_EQ(server().requests().front().requestBodyBytes, 7U);
}

TEST_F(MethodsTest, ManyClientsAtOnceAndStopInTheMiddle)
{
    server();
    std::vector<std::thread> threads;
    std::atomic<int> failures = 0;
    for (int t = 0; t < 6; ++t)
        threads.emplace_back([this, t, &failures] {
            Client own(server());
            for (int i = 0; i < 40; ++i) {
                const std::string target = "/t" + std::to_string(t) + "-" + std::to_string(i % 5);
                if (own.send("PUT", target, {}, std::string(10000, 'x')).status / 100 != 2) ++failures;
                if (own.send("GET", target).body.size() != 10000) ++failures;
                if (own.send("PROPFIND", "/", {"Depth: 1"}).status != 207) ++failures;
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);

    addFault(fault::Stall{}, "GET");
    std::thread stalled([this] {
        Client own(server());
        EXPECT_NE(own.send("GET", "/t0-0").error, CURLE_OK);
    });
    EXPECT_TRUE(server().waitForFaults(1));
    server().stop();
    stalled.join();
    EXPECT_EQ(Client(server()).send("GET", "/").error, CURLE_COULDNT_CONNECT);
}

} // namespace
} // namespace devserver::test
