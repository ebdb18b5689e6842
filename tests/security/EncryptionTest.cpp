#include <array>
#include <cstdio>
#include <map>
#include <random>

#include <gtest/gtest.h>

#include "platform/Digest.h"
#include "security/AdditionCrypto.h"
#include "security/BXSyncAESInputStream.h"
#include "security/BXSyncAESOutputStream.h"
#include "security/BXSyncAESTool.h"
#include "security/BXSyncPasswordManager.h"
#include "support/TempTree.h"

namespace tidemark {
namespace {

std::string bytesOfLength(std::size_t length)
{
    std::mt19937 random(static_cast<unsigned>(length) + 1);
    std::string bytes(length, '\0');
    for (auto& byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

std::string hex(const std::string& bytes)
{
    return hexLower(std::as_bytes(std::span(bytes)));
}

/// What a key text becomes, spelled out by hand.
std::string keyBytes(std::string key, std::size_t length)
{
    key.resize(length, '\0');
    return key;
}

struct EncryptionTest : ::testing::Test
{
    test::TempTree tree;

    /// Runs `openssl` with `arguments` over `input`.
    std::string openssl(const std::string& arguments, const std::string& input)
    {
        tree.write("openssl.in", input);
        const auto command =
            "openssl " + arguments + " < '" + tree.path("openssl.in") + "' > '" + tree.path("openssl.out") + "'";
        EXPECT_EQ(std::system(command.c_str()), 0) << command;
        return tree.content("openssl.out");
    }

    std::string opensslCbc(const std::string& key, const std::string& input)
    {
        const auto bits = key.size() == 16 ? "128" : "256";
        return openssl("enc -aes-" + std::string(bits) + "-cbc -K " + hex(key) + " -iv " + hex(key.substr(0, 16)),
                       input);
    }

    std::string readThrough(const std::string& content, const std::string& key, bool decrypt, std::size_t piece)
    {
        tree.write("source", content);
        BXSyncAESInputStream stream(tree.path("source"), key, decrypt);
        EXPECT_TRUE(stream.open());
        std::string result;
        std::vector<std::byte> buffer(piece);
        while (stream.hasBytesAvailable()) {
            const auto count = stream.read(buffer);
            if (count < 0) break;
            EXPECT_GT(count, 0);
            result.append(reinterpret_cast<const char*>(buffer.data()), static_cast<std::size_t>(count));
        }
        EXPECT_EQ(stream.read(buffer), -1);
        return result;
    }

    std::string writeThrough(const std::string& content, const std::string& key, bool decrypt, std::size_t piece)
    {
        BXSyncAESOutputStream stream(tree.path("target"), key, decrypt);
        EXPECT_TRUE(stream.open());
        for (std::size_t at = 0; at < content.size(); at += piece)
            EXPECT_TRUE(
                stream.write(std::as_bytes(std::span(content)).subspan(at, std::min(piece, content.size() - at))));
        EXPECT_TRUE(stream.close());
        return tree.content("target");
    }
};

TEST_F(EncryptionTest, FilesAreWhatOpensslMakesOfThem)
{
    const std::string keys[] = {"",
                                "short",
                                "sixteen bytes...",
                                "a key of thirty-two bytes, nomor",
                                "a key of more than thirty-two bytes of text",
                                "ключ 鍵 schlüssel und noch mehr"};
    for (const auto& key : keys) {
        const auto padded = keyBytes(key, 32);
        for (std::size_t length : {0U, 1U, 15U, 16U, 17U, 32U, 4095U, 4096U, (1U << 20U) + 3U}) {
            SCOPED_TRACE("key " + key + ", length " + std::to_string(length));
            const auto plain = bytesOfLength(length);
            const auto expected = opensslCbc(padded, plain);
            EXPECT_EQ(static_cast<std::int64_t>(expected.size()), BXSyncAESInputStream::encryptedLength(length));
            EXPECT_TRUE(readThrough(plain, key, false, 32768) == expected);
            EXPECT_TRUE(writeThrough(plain, key, false, 32768) == expected);
            EXPECT_TRUE(readThrough(expected, key, true, 32768) == plain);
            EXPECT_TRUE(writeThrough(expected, key, true, 32768) == plain);
        }
    }
}

TEST_F(EncryptionTest, TheSizeOfPiecesDoesNotShow)
{
    for (std::size_t length : {0U, 16U, 33U, 257U}) {
        const auto plain = bytesOfLength(length);
        const auto encrypted = opensslCbc(keyBytes("key", 32), plain);
        for (std::size_t piece = 1; piece <= 70; ++piece) {
            SCOPED_TRACE("length " + std::to_string(length) + ", piece " + std::to_string(piece));
            EXPECT_EQ(readThrough(plain, "key", false, piece), encrypted);
            EXPECT_EQ(readThrough(encrypted, "key", true, piece), plain);
            EXPECT_EQ(writeThrough(plain, "key", false, piece), encrypted);
            EXPECT_EQ(writeThrough(encrypted, "key", true, piece), plain);
        }
    }
}

TEST_F(EncryptionTest, AWrongKeyIsNotNoticed)
{
    const auto encrypted = opensslCbc(keyBytes("right", 32), bytesOfLength(1000));
    EXPECT_NE(writeThrough(encrypted, "wrong", true, 100), bytesOfLength(1000));
    const auto cut = encrypted.substr(0, encrypted.size() - 16);
    EXPECT_EQ(writeThrough(cut, "right", true, 100), bytesOfLength(1000).substr(0, cut.size() - 16));
}

TEST_F(EncryptionTest, AnInputStreamStartsOver)
{
    tree.write("source", bytesOfLength(100));
    BXSyncAESInputStream stream(tree.path("source"), "key", false);
    EXPECT_EQ(stream.streamStatus(), StreamStatus::notOpen);
    ASSERT_TRUE(stream.open());
    std::array<std::byte, 7> some{};
    std::array<std::byte, 112> all{};
    ASSERT_EQ(stream.read(some), 7);
    ASSERT_TRUE(stream.rewind());
    std::string again;
    for (auto count = stream.read(all); count > 0; count = stream.read(all))
        again.append(reinterpret_cast<const char*>(all.data()), static_cast<std::size_t>(count));
    EXPECT_EQ(again, opensslCbc(keyBytes("key", 32), bytesOfLength(100)));
    stream.close();
    EXPECT_EQ(stream.streamStatus(), StreamStatus::closed);
}

TEST_F(EncryptionTest, FilesThatCannotBeOpenedOrWrittenAreReported)
{
    BXSyncAESInputStream missing(tree.path("missing"), "key", false);
    EXPECT_FALSE(missing.open());
    BXSyncAESOutputStream blocked(tree.path("missing/target"), "key", true);
    EXPECT_FALSE(blocked.open());
    EXPECT_NE(blocked.streamError(), nullptr);
    BXSyncAESInputStream folder(tree.root(), "key", false);
    EXPECT_FALSE(folder.open());
}

TEST_F(EncryptionTest, DataHelpersAreEcbUnderAPaddedKey)
{
    for (std::size_t length : {0U, 5U, 16U, 40U}) {
        const auto data = bytesOfLength(length);
        for (const std::string key :
             {"k", "exactly thirty-two bytes of key!", "more than thirty-two bytes of a key text"}) {
            const auto encrypted = AdditionCrypto::AES256EncryptWithKey(data, key);
            ASSERT_TRUE(encrypted);
            EXPECT_EQ(*encrypted, openssl("enc -aes-256-ecb -K " + hex(keyBytes(key, 32)), data));
            EXPECT_EQ(AdditionCrypto::AES256DecryptWithKey(*encrypted, key), data);
        }
    }
    EXPECT_EQ(AdditionCrypto::AES256DecryptWithKey("fifteen bytes..", "k"), std::nullopt);
}

TEST_F(EncryptionTest, StringsAndTheKeyCheckValueFollowTheirSteps)
{
    for (const std::string text : {"", "secret", "длинный секретный текст", "text whose code has marks ?>?>?>~~~"}) {
        auto expected = openssl("base64 -A", opensslCbc(keyBytes("Vantorx KX4491 Probe", 16), text));
        for (auto& c : expected)
            c = c == '/' ? '_' : c == '+' ? '-' : c;
        EXPECT_EQ(BXSyncAESTool::stringEncrypt(text, "Vantorx KX4491 Probe"), expected);
        const auto digest = openssl("dgst -sha256 -binary", expected);
        EXPECT_EQ(BXSyncAESTool::keyCheckValue(text), openssl("base64 -A", digest));
    }
}

TEST_F(EncryptionTest, StoredPasswordsComeBack)
{
    const BXSyncPasswordManager manager;
    for (const std::string plain : {"p", "sixteen bytes...", "пароль mit Umlaut ü", "with \"quotes\" & <marks>"}) {
        const auto stored = manager.encrypt(plain);
        EXPECT_EQ(stored, openssl("base64 -A",
                                  openssl("enc -aes-256-ecb -K " + hex(keyBytes("QWZRTPLMKSVHXJDNCGUA", 32)), plain)));
        EXPECT_EQ(manager.decrypt(stored), plain);
    }
    EXPECT_EQ(manager.encrypt(""), "");
    for (const char* broken : {"", "no base64!", "AAAA", "AAAAAAAAAAAAAAAAAAAAAA=="})
        EXPECT_EQ(manager.decrypt(broken), "");
}

} // namespace
} // namespace tidemark
