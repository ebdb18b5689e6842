#include "tests/transfers/Material.h"

#include <gtest/gtest.h>

#include "platform/Digest.h"
#include "tests/support/Process.h"

namespace tidemark::test {

std::string bytes(std::size_t count, unsigned seed)
{
    std::string text(count, '\0');
    for (auto& c : text) {
        seed = seed * 1664525 + 1013904223;
        c = static_cast<char>(seed >> 24);
    }
    return text;
}

std::string cipherOf(const std::string& plain, const std::string& key)
{
    if (key.empty()) return plain;
    auto padded = key;
    padded.resize(32, '\0');
    const auto hex = hexLower(std::as_bytes(std::span(padded)));
    const TempTree folder;
    testing::writeFile(folder.path("plain"), plain);
    testing::requireCommand({"openssl", "enc", "-aes-256-cbc", "-K", hex, "-iv", hex.substr(0, 32), "-in",
                             folder.path("plain"), "-out", folder.path("cipher")});
    return folder.content("cipher");
}

std::size_t downloadedBytes(const SyncWorld& world)
{
    std::size_t sum = 0;
    for (const auto& request : world.server->requests())
        if (request.method == "GET" && request.responseStatus / 100 == 2) sum += request.responseBodyBytes;
    return sum;
}

devserver::RequestRecord firstRequest(const SyncWorld& world, const std::string& method)
{
    for (const auto& request : world.server->requests())
        if (request.method == method) return request;
    ADD_FAILURE() << "no " << method;
    return {};
}

KindWorld::KindWorld(const Kind& kind, const std::function<void(devserver::Options&)>& adjust)
    : SyncWorld(kind.mode, adjust), key_(kind.key)
{
    client.conf->setEncryptKey(key_);
    client.reconnect.reconnect = false;
}

void KindWorld::putOnServer(const std::string& path, const std::string& plain, double time)
{
    writeOnServer(path, cipherOf(plain, key_), time);
}

void KindWorld::expectOnServer(const std::string& path, const std::string& plain) const
{
    ASSERT_TRUE(remote.exists("sync/" + path)) << path;
    // Not compared by a matcher, which would print megabytes.
    EXPECT_TRUE(remote.content("sync/" + path) == cipherOf(plain, key_)) << path;
}

void KindWorld::expectBoth(const std::map<std::string, std::string>& files)
{
    EXPECT_EQ(client.local.read().size(), files.size());
    EXPECT_EQ(readTree(remote.path("sync")).size(), files.size());
    for (const auto& [path, plain] : files) {
        EXPECT_TRUE(client.local.content(path) == plain) << path;
        expectOnServer(path, plain);
    }
    expectQuiet(client);
}

} // namespace tidemark::test
