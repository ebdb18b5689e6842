#include "devserver/ServedFolder.h"

#include <curl/curl.h>
#include <thread>

namespace devserver::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class FaultsTest : public ServedFolder
{
protected:
    FaultsTest() { writeFile(folder / "a.txt", "0123456789"); }
};

TEST_F(FaultsTest, StrikeByMethodPatternCountAndSkip)
{
    server().addFault({"GET", "/*.txt", fault::Status{503, {{"Retry-After", "1"}}, "later"}, 2, 1});
    EXPECT_EQ(send("GET", "/a.txt").status, 200);
    EXPECT_EQ(send("HEAD", "/a.txt").status, 200);
    EXPECT_EQ(send("GET", "/none").status, 404);
    const Reply struck = send("GET", "/a.txt");
    EXPECT_EQ(struck.status, 503);
    EXPECT_EQ(struck.body, "later");
    EXPECT_EQ(struck.header("Retry-After"), "1");
    EXPECT_EQ(send("GET", "/a.txt").status, 503);
    EXPECT_EQ(send("GET", "/a.txt").status, 200);
    EXPECT_EQ(server().faultsStruck(), 2U);
    addFault(fault::Status{500, {}, {}}, "*", "*", Fault::forever);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(send("GET", "/a.txt").status, 500);
    server().clearFaults();
    EXPECT_EQ(send("GET", "/a.txt").status, 200);
}

TEST_F(FaultsTest, ACutUploadLeavesTheOldFile)
{
    for (const std::uint64_t bytes : {0, 1, 500, 1000}) {
        addFault(fault::CutRequest{bytes}, "PUT");
        EXPECT_NE(send("PUT", "/a.txt", {}, std::string(1000, 'x')).error, CURLE_OK) << bytes;
        EXPECT_TRUE(server().waitUntilIdle());
        EXPECT_EQ(readFile(folder / "a.txt"), "0123456789") << bytes;
        EXPECT_EQ(server().requests().back().requestBodyBytes, bytes);
        EXPECT_EQ(server().requests().back().responseStatus, 0);
    }
    std::size_t files = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder.path()))
        ++files;
    EXPECT_EQ(files, 1U) << "no partial file is left";
}

TEST_F(FaultsTest, ACutDownloadSendsExactlyItsBytes)
{
    const std::string large(1'000'000, 'x');
    writeFile(folder / "large", large);
    for (const std::size_t bytes : {0, 3, 65536, 999'999}) {
        addFault(fault::CutResponse{bytes}, "GET");
        const Reply reply = send("GET", "/large");
        EXPECT_EQ(reply.error, CURLE_PARTIAL_FILE) << bytes;
        EXPECT_EQ(reply.body.size(), bytes);
        EXPECT_EQ(reply.header("Content-Length"), "1000000");
    }
    EXPECT_EQ(send("GET", "/large").body, large);
}

TEST_F(FaultsTest, AnAnswerMayBeLostAfterTheDeed)
{
    addFault(fault::DropResponse{}, "PUT");
    EXPECT_EQ(send("PUT", "/b", {}, "done").error, CURLE_GOT_NOTHING);
    EXPECT_EQ(readFile(folder / "b"), "done");
    addFault(fault::CloseAfter{}, "GET");
    EXPECT_EQ(send("GET", "/b").body, "done");
    EXPECT_EQ(send("GET", "/b").body, "done");
    EXPECT_GE(server().connectionCount(), 3U);
}

TEST_F(FaultsTest, LengthsMayLieOrBeMissing)
{
    addFault(fault::WrongContentLength{20}, "GET");
    addFault(fault::CloseAfter{}, "GET");
    EXPECT_EQ(send("GET", "/a.txt").error, CURLE_PARTIAL_FILE);
    // What is left over must not meet the next request.
    addFault(fault::WrongContentLength{4}, "GET");
    EXPECT_EQ(send("GET", "/a.txt", {"Connection: close"}).body, "0123");
    addFault(fault::NoContentLength{}, "GET");
    const Reply open = send("GET", "/a.txt");
    EXPECT_EQ(open.error, CURLE_OK);
    EXPECT_EQ(open.header("Content-Length"), "");
    EXPECT_EQ(open.body, "0123456789");
    addFault(fault::BrokenChunks{}, "GET");
    EXPECT_NE(send("GET", "/a.txt").error, CURLE_OK);
    addFault(fault::Header{"Content-Length", "3", false}, "GET");
    EXPECT_EQ(send("GET", "/a.txt").body, "012") << "a header that is given is not overruled";
}

TEST_F(FaultsTest, StallsLastUntilTheyAreReleased)
{
    const fault::Stall places[] = {{fault::StallPlace::BeforeReadingBody, 0},
                                   {fault::StallPlace::BeforeResponse, 0},
                                   {fault::StallPlace::InResponseHeader, 0},
                                   {fault::StallPlace::InResponseBody, 4}};
    std::size_t struck = 0;
    for (const auto& place : places) {
        addFault(place, "GET");
        Reply reply;
        std::thread waiting([&] { reply = Client(server()).send("GET", "/a.txt"); });
        ASSERT_TRUE(server().waitForFaults(++struck));
        server().releaseStalls();
        waiting.join();
        EXPECT_EQ(reply.header("ETag").empty(), place.place != fault::StallPlace::InResponseBody);
        EXPECT_EQ(reply.body, place.place == fault::StallPlace::InResponseBody ? "0123" : "");
    }
}

TEST_F(FaultsTest, ConnectionsMayCloseAtOnce)
{
    addFault(fault::OnConnect{fault::ConnectAction::Close});
    EXPECT_NE(send("GET", "/a.txt").error, CURLE_OK);
    EXPECT_EQ(send("GET", "/a.txt").status, 200);
    EXPECT_EQ(server().requests().size(), 1U);
}

TEST_F(FaultsTest, BodiesMayBeReplacedTruncatedAndEndless)
{
    addFault(fault::ReplaceBody{"<D:multistatus"}, "PROPFIND");
    EXPECT_EQ(send("PROPFIND", "/", {"Depth: 1"}).body, "<D:multistatus");
    addFault(fault::TruncateBody{30}, "PROPFIND");
    const Reply truncated = send("PROPFIND", "/", {"Depth: 1"});
    EXPECT_EQ(truncated.error, CURLE_OK);
    EXPECT_EQ(truncated.body.size(), 30U);
    addFault(fault::EndlessBody{"abc", 3'000'000}, "GET");
    const Reply endless = send("GET", "/a.txt");
    EXPECT_EQ(endless.body.size(), 3'000'010U);
    EXPECT_TRUE(endless.body.starts_with("0123456789abcabc"));
}

TEST_F(FaultsTest, HeadersMayBeAnything)
{
    addFault(fault::Header{"Last-Modified", "never"}, "GET");
    EXPECT_EQ(send("GET", "/a.txt").header("Last-Modified"), "never");
    addFault(fault::HugeHeader{10, 1000}, "GET");
    EXPECT_GE(send("GET", "/a.txt").headers.size(), 1000U);
    addFault(fault::RawHeader{"HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n"}, "GET");
    addFault(fault::CloseAfter{}, "GET");
    EXPECT_EQ(send("GET", "/a.txt").body, "01");
    addFault(fault::RawHeader{"SSH-2.0-nonsense\r\n\r\n"}, "GET");
    addFault(fault::CloseAfter{}, "GET");
    EXPECT_NE(send("GET", "/a.txt").error, CURLE_OK);
}

TEST_F(FaultsTest, ListingsMayHoldAnyHref)
{
    addFault(fault::ReplaceHref{"a.txt", "http://elsewhere/..%2F<&"}, "PROPFIND");
    addFault(fault::AddEntry{"/../evil/", true, 0}, "PROPFIND");
    const Reply reply = send("PROPFIND", "/", {"Depth: 1"});
    EXPECT_THAT(reply.body, HasSubstr("<D:href>http://elsewhere/..%2F&lt;&amp;</D:href>"));
    EXPECT_THAT(reply.body, HasSubstr("<D:href>/../evil/</D:href>"));
    EXPECT_THAT(reply.body, Not(HasSubstr("/a.txt")));
    EXPECT_THAT(send("PROPFIND", "/", {"Depth: 1"}).body, HasSubstr("<D:href>/a.txt</D:href>"));
}

TEST_F(FaultsTest, ACallSeesTheMiddleOfAnUpload)
{
    std::string during = "not called";
    addFault(fault::Call{[&] { during = readFile(folder / "a.txt"); }, 500}, "PUT");
    EXPECT_EQ(send("PUT", "/a.txt", {}, std::string(1000, 'x')).status, 204);
    EXPECT_EQ(during, "0123456789");
}

TEST_F(FaultsTest, TextsBecomeFaults)
{
    std::string problem;
    const auto fault = parseFault("PUT:/a%3Ab*:*+2:header=X-A: b:c", problem);
    ASSERT_TRUE(fault) << problem;
    EXPECT_EQ(fault->method, "PUT");
    EXPECT_EQ(fault->pattern, "/a:b*");
    EXPECT_EQ(fault->count, Fault::forever);
    EXPECT_EQ(fault->skip, 2);
    EXPECT_EQ(std::get<fault::Header>(fault->effect).value, "b:c");
    EXPECT_EQ(std::get<fault::Stall>(parseFault("*:*:1:stall=body@7", problem)->effect).afterBytes, 7U);
    EXPECT_EQ(std::get<fault::RawHeader>(parseFault("*:*:1:raw-header=a\\r\\n\\\\", problem)->effect).text, "a\r\n\\");
    EXPECT_TRUE(std::get<fault::AddEntry>(parseFault("*:*:1:entry=/x/", problem)->effect).folder);
    for (const char* text : {"", "GET:*:1", "GET:*:x:status=500", "GET:*:1:status=abc", "GET:*:1:unknown=1",
                             "GET:*:1:stall=nowhere", "GET:*:1:header=none", "GET:*:1:endless="}) {
        problem.clear();
        EXPECT_FALSE(parseFault(text, problem)) << text;
        EXPECT_NE(problem, "") << text;
    }
}

TEST_F(FaultsTest, TheControlEndpointIsThereOnRequestOnly)
{
    EXPECT_EQ(send("POST", "/.devserver/fault", {}, "GET:*:1:status=500").status, 501);
    options.control = true;
    options.auth = AuthScheme::Basic;
    options.user = "u";
    const Server controlled(options);
    Client other(controlled);
    EXPECT_EQ(other.send("POST", "/.devserver/fault", {}, "GET:*:1:status=500\nGET:*:1+1:status=503\n").status, 204);
    EXPECT_EQ(other.send("POST", "/.devserver/fault", {}, "nonsense").status, 400);
    EXPECT_EQ(other.send("GET", "/a.txt").status, 500);
    EXPECT_EQ(other.send("GET", "/a.txt", {"Authorization: Basic c2VjcmV0"}).status, 503);
    const std::string lines = other.send("GET", "/.devserver/requests").body;
    EXPECT_THAT(lines, HasSubstr("\"status\":503"));
    EXPECT_THAT(lines, Not(HasSubstr("c2VjcmV0")));
    EXPECT_EQ(controlled.requests().size(), 2U);
}

} // namespace
} // namespace devserver::test
