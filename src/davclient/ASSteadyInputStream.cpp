#include "davclient/ASSteadyInputStream.h"

namespace tidemark {

bool ASSteadyInputStream::open()
{
    begin();
    return source_->open();
}

bool ASSteadyInputStream::rewind()
{
    begin();
    return source_->rewind();
}

void ASSteadyInputStream::begin()
{
    const auto present = fs::attributes(path_);
    if (!before_ && present) before_ = *present;
    count_ = 0;
    changed_ = length_ > 0 && present && !isUnchanged();
}

std::int64_t ASSteadyInputStream::read(std::span<std::byte> buffer)
{
    const std::int64_t read = changed_ ? -1 : source_->read(buffer);
    if (read <= 0) return read;
    count_ += static_cast<std::uint64_t>(read);
    changed_ = count_ >= length_ && !isUnchanged();
    return changed_ ? -1 : read;
}

bool ASSteadyInputStream::isUnchanged() const
{
    const auto present = fs::attributes(path_);
    return before_ && present && present->size == fileLength_ && present->size == before_->size &&
           present->modified == before_->modified;
}

} // namespace tidemark
