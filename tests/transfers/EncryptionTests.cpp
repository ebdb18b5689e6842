// Configurations with an encryption key: what servers get to hold and what comes back.

#include <gtest/gtest.h>

#include "SyncLibrary/BXSyncUtils.h"
#include "davclient/ASWDCmdPropBase.h"
#include "platform/FileSystem.h"
#include "security/BXSyncAESInputStream.h"
#include "tests/integration/Wire.h"
#include "tests/transfers/Material.h"

namespace tidemark::test {
namespace {

const std::string clientKey = "thirty-two bytes of a shared key and what follows";

/// A server whose folder "sync" the test can look into.
struct Remote
{
    virtual ~Remote() = default;
    virtual std::string url() const = 0;
    virtual std::string folder() const = 0;
};

struct DevRemote : Remote
{
    explicit DevRemote(devserver::Mode mode) : world(mode) {}
    std::string url() const override { return world.server->url("sync"); }
    std::string folder() const override { return world.remote.path("sync"); }
    SyncWorld world;
};

struct ApacheRemote : Remote
{
    ApacheRemote()
    {
        std::filesystem::create_directory(server.root() / "sync");
        server.handOver();
    }
    std::string url() const override { return server.url("/sync"); }
    std::string folder() const override { return (server.root() / "sync").string(); }
    testing::ApacheServer server;
};

struct RemoteKind
{
    const char* name;
    std::function<std::unique_ptr<Remote>()> make;
};

const RemoteKind remotes[] = {
    {"Plain", [] { return std::make_unique<DevRemote>(devserver::Mode::Plain); }},
    {"Product", [] { return std::make_unique<DevRemote>(devserver::Mode::Product); }},
    {"Apache", [] { return std::make_unique<ApacheRemote>(); }},
};

/// As the server tells it to whoever asks.
std::string propertiesOf(const std::string& url)
{
    const auto parsed = Url::parse(url);
    auto command = std::make_shared<ASWDCmdPropFind>(*parsed, std::make_shared<ASHttpConnectInfo>());
    testing::carryOut(command);
    EXPECT_EQ(command->statusCode(), 207);
    return command->responseBody();
}

/// Step by step, by the openssl program; hex of the first 16 bytes of the check's fixed key.
std::string keyCheckValueByOpenssl(const std::string& key)
{
    const std::string fixed = "56616e746f7278204b58343439312050";
    const auto script = "openssl enc -aes-128-cbc -K " + fixed + " -iv " + fixed +
                        " | openssl base64 -A | tr '/+' '_-' | openssl dgst -sha256 -binary | openssl base64 -A";
    return testing::requireCommand({"sh", "-c", script}, key);
}

Tree sampleTree()
{
    return complete({{"empty", file("")},
                     {"one", file("1")},
                     {"fifteen", file(bytes(15))},
                     {"block", file(bytes(16))},
                     {"d/seventeen", file(bytes(17))},
                     {"d/e/pieces", file(bytes(4 * 32768 + 5))},
                     {"d/e/big", file(bytes(3 * mebibyte + 16))}});
}

class EncryptedFolder : public ::testing::TestWithParam<RemoteKind>
{
protected:
    EncryptedFolder() : remote(GetParam().make()), first(remote->url()) { first.conf->setEncryptKey(clientKey); }
    void expectSame(const Tree& a, const Tree& b) { EXPECT_TRUE(a == b); }

    std::unique_ptr<Remote> remote;
    SyncClient first;
};

INSTANTIATE_TEST_SUITE_P(Servers, EncryptedFolder, ::testing::ValuesIn(remotes),
                         [](const auto& parameter) { return parameter.param.name; });

TEST_P(EncryptedFolder, theServerHoldsCiphertextAndTheTreeComesBack)
{
    const auto tree = sampleTree();
    first.local.make(tree);
    ASSERT_EQ(first.sync(), BXSyncRunOutcome::finished);
    auto held = readTree(remote->folder());
    // Where Apache keeps properties.
    std::erase_if(held, [](const auto& entry) { return entry.first.find(".DAV") != std::string::npos; });
    EXPECT_EQ(held.size(), tree.size());
    for (const auto& [path, entry] : tree) {
        if (entry.isFolder) continue;
        ASSERT_TRUE(held.contains(path)) << path;
        EXPECT_TRUE(held.at(path).content == cipherOf(entry.content, clientKey.substr(0, 32))) << path;
        EXPECT_EQ(held.at(path).content.size(), 16 * (entry.content.size() / 16 + 1)) << path;
        EXPECT_NE(propertiesOf(remote->url() + "/" + path).find(">" + keyCheckValueByOpenssl(clientKey) + "<"),
                  std::string::npos)
            << path;
    }
    // What this client knew is lost, then another takes part whose key agrees as far as it counts.
    first.local.remove("d");
    for (const auto* path : {"empty", "one", "fifteen", "block"})
        first.local.remove(path);
    ASSERT_TRUE(fs::removeFile(first.conf->syncinfoPath()));
    EXPECT_EQ(first.sync(), BXSyncRunOutcome::finished);
    expectSame(first.local.read(), tree);
    SyncClient second(remote->url());
    second.conf->setEncryptKey(clientKey.substr(0, 32));
    EXPECT_EQ(second.sync(), BXSyncRunOutcome::finished);
    expectSame(second.local.read(), tree);
    for (auto* who : {&first, &second}) {
        EXPECT_EQ(who->sync(), BXSyncRunOutcome::finished);
        EXPECT_EQ(who->items(), std::vector<std::string>());
    }
}

TEST_P(EncryptedFolder, aChangeTravelsBothWays)
{
    first.local.write("f.bin", bytes(100'000, 1), at(0));
    ASSERT_EQ(first.sync(), BXSyncRunOutcome::finished);
    SyncClient second(remote->url());
    second.conf->setEncryptKey(clientKey);
    ASSERT_EQ(second.sync(), BXSyncRunOutcome::finished);
    // Shorter than before: nothing of the old ciphertext may stay behind.
    second.local.write("f.bin", bytes(33, 2), at(1000));
    ASSERT_EQ(second.sync(), BXSyncRunOutcome::finished);
    EXPECT_EQ(first.sync(), BXSyncRunOutcome::finished);
    EXPECT_EQ(first.local.content("f.bin"), bytes(33, 2));
}

} // namespace
} // namespace tidemark::test
