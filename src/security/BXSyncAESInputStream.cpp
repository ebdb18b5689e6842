#include "security/BXSyncAESInputStream.h"

#include <algorithm>
#include <cstring>

namespace tidemark {

namespace {

constexpr std::size_t keyBytes = 32;

std::size_t roundUp(std::size_t bytes)
{
    return (bytes + AesCipher::blockSize - 1) / AesCipher::blockSize * AesCipher::blockSize;
}

} // namespace

BXSyncAESInputStream::BXSyncAESInputStream(std::string path, std::string encryptKey, bool modeDecrypt)
    : is_(makeFileInputStream(std::move(path))), encryptKey_(std::move(encryptKey)),
      mode_(modeDecrypt ? AesCipher::Direction::decrypt : AesCipher::Direction::encrypt)
{
}

std::int64_t BXSyncAESInputStream::encryptedLength(std::int64_t plainLength)
{
    constexpr std::int64_t block = AesCipher::blockSize;
    return block * (plainLength / block + 1);
}

void BXSyncAESInputStream::startCipher()
{
    cryptor_ = AesCipher::cbc(AesCipher::paddedKey(encryptKey_, keyBytes), mode_);
    cacheBegin_ = cacheEnd_ = 0;
    failed_ = false;
}

bool BXSyncAESInputStream::open()
{
    if (!is_->open()) return false;
    startCipher();
    return true;
}

std::int64_t BXSyncAESInputStream::read(std::span<std::byte> buffer)
{
    std::size_t filled = takeCached(buffer);
    while (filled < buffer.size() && cryptor_) {
        if (!transformPiece(std::min(roundUp(buffer.size() - filled), pieceLimit))) return -1;
        const auto taken = takeCached(buffer.subspan(filled));
        filled += taken;
        if (taken > 0) break;
    }
    return filled > 0 ? static_cast<std::int64_t>(filled) : -1;
}

std::size_t BXSyncAESInputStream::takeCached(std::span<std::byte> buffer)
{
    const auto count = std::min(buffer.size(), cacheEnd_ - cacheBegin_);
    if (count > 0) std::memcpy(buffer.data(), outCacheData_.data() + cacheBegin_, count);
    cacheBegin_ += count;
    return count;
}

/// Refills the empty cache from one read of the file; after the last one the cipher is finished and gone.
bool BXSyncAESInputStream::transformPiece(std::size_t wanted)
{
    piece_.resize(std::max(piece_.size(), wanted));
    outCacheData_.resize(piece_.size() + 2 * AesCipher::slack);
    cacheBegin_ = cacheEnd_ = 0;
    const auto got = is_->read(std::span(piece_).first(wanted));
    if (got < 0) {
        // Finishing would make a shortened file look like a whole one.
        cryptor_.reset();
        failed_ = true;
        return false;
    }
    if (got > 0)
        cacheEnd_ = cryptor_->update(std::span(piece_).first(static_cast<std::size_t>(got)), outCacheData_).value_or(0);
    if (got == 0 || !is_->hasBytesAvailable()) finishCipher();
    return true;
}

void BXSyncAESInputStream::finishCipher()
{
    cacheEnd_ += cryptor_->finish(std::span(outCacheData_).subspan(cacheEnd_)).value_or(0);
    cryptor_.reset();
}

bool BXSyncAESInputStream::hasBytesAvailable()
{
    return cryptor_.has_value() || cacheBegin_ < cacheEnd_;
}

StreamStatus BXSyncAESInputStream::streamStatus() const
{
    if (failed_) return StreamStatus::error;
    const auto status = is_->streamStatus();
    const bool left = cryptor_.has_value() || cacheBegin_ < cacheEnd_;
    return status == StreamStatus::atEnd && left ? StreamStatus::open : status;
}

void BXSyncAESInputStream::close()
{
    is_->close();
    cryptor_.reset();
    cacheBegin_ = cacheEnd_ = 0;
}

bool BXSyncAESInputStream::rewind()
{
    if (!is_->rewind()) return false;
    startCipher();
    return true;
}

} // namespace tidemark
