#include "security/BXSyncAESOutputStream.h"

#include <algorithm>

namespace tidemark {

namespace {

constexpr std::size_t keyBytes = 32;
constexpr std::size_t pieceLimit = 256 * 1024;

} // namespace

BXSyncAESOutputStream::BXSyncAESOutputStream(std::string path, std::string encryptKey, bool modeDecrypt)
    : os_(makeBufferedFileOutputStream(std::move(path), false)), encryptKey_(std::move(encryptKey)),
      mode_(modeDecrypt ? AesCipher::Direction::decrypt : AesCipher::Direction::encrypt)
{
}

BXSyncAESOutputStream::~BXSyncAESOutputStream() = default;

bool BXSyncAESOutputStream::open()
{
    if (!os_->open()) return false;
    cryptor_ = AesCipher::cbc(AesCipher::paddedKey(encryptKey_, keyBytes), mode_);
    return true;
}

bool BXSyncAESOutputStream::write(std::span<const std::byte> bytes)
{
    if (!cryptor_) return false;
    while (!bytes.empty()) {
        const auto piece = bytes.first(std::min(bytes.size(), pieceLimit));
        if (!writePiece(piece)) return false;
        bytes = bytes.subspan(piece.size());
    }
    return true;
}

bool BXSyncAESOutputStream::writePiece(std::span<const std::byte> bytes)
{
    transformed_.resize(std::max(transformed_.size(), bytes.size() + AesCipher::slack));
    const auto count = cryptor_->update(bytes, transformed_).value_or(0);
    return count == 0 || os_->write(std::span(transformed_).first(count));
}

bool BXSyncAESOutputStream::close()
{
    bool written = true;
    if (cryptor_) {
        transformed_.resize(std::max(transformed_.size(), AesCipher::slack));
        const auto count = cryptor_->finish(transformed_).value_or(0);
        written = count == 0 || os_->write(std::span(transformed_).first(count));
        cryptor_.reset();
    }
    return os_->close() && written;
}

StreamStatus BXSyncAESOutputStream::streamStatus() const
{
    return os_->streamStatus();
}

const Error* BXSyncAESOutputStream::streamError() const
{
    return os_->streamError();
}

} // namespace tidemark
