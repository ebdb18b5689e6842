#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/SecretScrubber.h"
#include "platform/Result.h"

namespace tidemark {

class BXSyncConfigManager;
class BXSyncGlobalConf;

/// What a person sends along with a question: versions, settings and the ends of the logs, without any secret. Made
/// and saved on a thread that may wait for the disk.
class SupportReport
{
public:
    /// Of a log file the end counts; this much of it at most.
    static constexpr std::int64_t longestLog = 8 * 1024 * 1024;
    /// Daily files of each log.
    static constexpr std::size_t filesPerLog = 7;

    struct Outside
    {
        BXSyncConfigManager& store;
        const BXSyncGlobalConf& settings;
        /// Name and version of what the program around it adds.
        std::vector<std::pair<std::string, std::string>> versions;
    };

    struct Entry
    {
        /// Path in the archive.
        std::string name;
        /// Bytes, before secrets are taken out.
        std::int64_t size = 0;
    };

    /// Looks at the settings and the log folders as they are at this moment; log files are read when they are needed.
    explicit SupportReport(const Outside& outside);

    std::vector<Entry> entries() const;
    /// The beginning of an entry as it will be saved.
    std::string preview(std::size_t entry, std::size_t longest = 64 * 1024) const;
    /// `cancelled` may come true on any thread. A report that is not saved whole leaves nothing behind.
    Status save(const std::string& path, const std::function<bool()>& cancelled = {}) const;

private:
    struct Source;

    void addText(std::string name, std::string text);
    void addLogs(BXSyncConfigManager& store);

    std::shared_ptr<const SecretScrubber> scrubber_;
    std::vector<std::shared_ptr<const Source>> sources_;
};

} // namespace tidemark
