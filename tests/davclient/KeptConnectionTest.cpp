#include "davclient/ASWDCmdSimple.h"
#include "davclient/ASWDCmdUpload.h"

#include "WireFixture.h"

namespace tidemark::testing {

namespace {

class KeptConnection : public WireFixture
{
protected:
    std::shared_ptr<ASWDCmdPut> upload()
    {
        auto put = make<ASWDCmdPut>("/file");
        put->setRequestBody(std::string(8 * 1024 * 1024, 'x'));
        run(*put);
        return put;
    }
};

} // namespace

TEST_F(KeptConnection, AnUploadThatFindsItsConnectionGoneIsSentOnANewOne)
{
    serve(httpAnswer(201, ""));
    run(*make<ASWDCmdOptions>());
    server_->hangUpOnBodies(0);
    const auto put = upload();
    EXPECT_FALSE(put->error());
    EXPECT_EQ(put->statusCode(), 201);
    EXPECT_EQ(server_->connections(), 2);
    EXPECT_EQ(server_->requests().back().body.size(), 8U * 1024 * 1024);
}

TEST_F(KeptConnection, AServerThatBreaksOffANewConnectionIsNotTriedAgain)
{
    serve(httpAnswer(201, ""));
    run(*make<ASWDCmdOptions>());
    server_->hangUpOnBodies(1000);
    EXPECT_TRUE(upload()->error());
    EXPECT_LE(server_->connections(), 2);
    const int before = server_->connections();
    EXPECT_TRUE(upload()->error());
    EXPECT_EQ(server_->connections(), before + 1);
}

} // namespace tidemark::testing
