#pragma once

#include <cstdint>
#include <string>

#include "devserver/Server.h"
#include "tests/support/SyncWorld.h"

namespace tidemark::test {

constexpr std::size_t kibibyte = 1024;
constexpr std::size_t mebibyte = 1024 * kibibyte;

/// Bytes of which no two places and no two seeds look alike.
std::string bytes(std::size_t count, unsigned seed = 1);

/// What the server is to hold of a plain text, made by the openssl program: AES-256, CBC, the key's first 32 bytes
/// filled up with zero bytes, of which the first 16 are the IV. The text itself for an empty key.
std::string cipherOf(const std::string& plain, const std::string& key);

/// Body bytes of successful downloads since the last call of clearRequests().
std::size_t downloadedBytes(const SyncWorld& world);
/// The first request of the method; fails the test where there is none.
devserver::RequestRecord firstRequest(const SyncWorld& world, const std::string& method);

struct Kind
{
    const char* name;
    devserver::Mode mode;
    std::string key;
};

inline const Kind kinds[] = {{"Plain", devserver::Mode::Plain, ""},
                             {"PlainEncrypted", devserver::Mode::Plain, "a key"},
                             {"Product", devserver::Mode::Product, ""},
                             {"ProductEncrypted", devserver::Mode::Product, "a key"}};

/// A server and a client of one kind; what people put on the server goes there as the client's key makes it.
class KindWorld : public SyncWorld
{
public:
    explicit KindWorld(const Kind& kind, const std::function<void(devserver::Options&)>& adjust = {});

    void putOnServer(const std::string& path, const std::string& plain, double time);
    /// The file on the server is the whole of `plain` and nothing else.
    void expectOnServer(const std::string& path, const std::string& plain) const;
    /// Both folders hold exactly these files, and the next run only lists.
    void expectBoth(const std::map<std::string, std::string>& files);
    const std::string& key() const { return key_; }

private:
    std::string key_;
};

} // namespace tidemark::test
