#include "SyncLibrary/BXSyncResume.h"

#include <charconv>

#include "SyncLibrary/BXSyncUtils.h"
#include "davclient/ASWDCmdSimple.h"
#include "platform/FileSystem.h"

namespace tidemark {

namespace {

constexpr std::int64_t probedLength = 1024 * 1024;
constexpr std::int64_t fromTheBeginning = 0;
constexpr std::int64_t notPossible = -1;

std::optional<std::int64_t> lengthOf(const std::string& text)
{
    std::int64_t value = 0;
    const auto* end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, value);
    return parsed.ec == std::errc() && parsed.ptr == end && value >= 0 ? std::optional(value) : std::nullopt;
}

} // namespace

/// What the server says about its bytes from the start of the probed range on.
struct BXSyncResume::Probe
{
    /// Empty: nothing to compare with.
    std::string digest;
    std::int64_t end = 0;
};

std::int64_t BXSyncResume::resumeCheck(const Url& url, const std::string& localpath, bool isUpload) const
{
    if (conf_.marlockVersion().empty() || !conf_.encryptKey().empty() || isUpload ||
        conf_.servercryptofile() == ServerCryptoFile::other)
        return notPossible;
    const auto local = fs::attributes(localpath);
    if (!local || local->kind != fs::FileKind::file || local->size == 0 || !BXSyncUtils::isSuspendedFile(localpath))
        return fromTheBeginning;
    const auto start = local->size < probedLength ? 0 : local->size - probedLength;
    const auto probed = probe(url, start, local->size);
    if (!probed) {
        logger_.error("{}", probed.error().value(BXSyncCommandRunning::logKey));
        return fromTheBeginning;
    }
    if (probed->digest.empty() || probed->end <= start || probed->end > local->size) return fromTheBeginning;
    const auto digest = BXSyncUtils::getMD5FromLocalFile(localpath, static_cast<std::uint64_t>(start),
                                                         static_cast<std::uint64_t>(probed->end));
    if (!digest || *digest != probed->digest) return fromTheBeginning;
    return cut(localpath, probed->end, local->size);
}

Result<BXSyncResume::Probe> BXSyncResume::probe(const Url& url, std::int64_t start, std::int64_t size) const
{
    const auto answer = runner_.davConnect(
        [&] {
            auto command = std::make_shared<ASWDCmdHead>(url, conf_.info());
            command->requestHeader().set("X-BX-Partial-MD5",
                                         "bytes=" + std::to_string(start) + "-" + std::to_string(size - 1));
            return command;
        },
        [](ASWDCmd&, int status) { return status == 200 || status == 404; });
    if (!answer) return failure(answer.error());
    if ((*answer)->statusCode() == 404) return Probe{};
    const auto& header = (*answer)->responseHeader()->header;
    Probe probed{header.value("X-BX-Partial-MD5").value_or(""), size};
    if (const auto length = header.value("X-BX-Partial-Length")) {
        const auto value = lengthOf(*length);
        if (!value || *value > size - start) return Probe{};
        probed.end = start + *value;
    }
    return probed;
}

/// The mark is put back, since cutting the file makes it stale.
std::int64_t BXSyncResume::cut(const std::string& localpath, std::int64_t end, std::int64_t size) const
{
    if (conf_.servercryptofile() == ServerCryptoFile::version2) end &= ~(probedLength - 1);
    if (end == size || end == 0) return end;
    if (!fs::truncate(localpath, end)) return fromTheBeginning;
    static_cast<void>(BXSyncUtils::addSuspendFlag(localpath));
    return end;
}

} // namespace tidemark
