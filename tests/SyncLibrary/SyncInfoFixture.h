#pragma once

#include <map>
#include <string>
#include <vector>

#include "SyncLibrary/BXSyncInspectFile.h"
#include "platform/KeyedArchive.h"
#include "support/TempTree.h"

namespace tidemark::test {

/// Pathname to stored time.
using StoredTimes = std::map<std::string, double>;

/// A sync-info file in a folder of its own.
class SyncInfoFile
{
public:
    SyncInfoFile() = default;
    explicit SyncInfoFile(const StoredTimes& times)
    {
        auto next = times.begin();
        const auto written =
            KeyedArchive::write(path(), "BXSyncFileData", times.size(), [&](KeyedArchive::Record& record) {
                if (next == times.end()) return false;
                record = {next->first, next->second};
                ++next;
                return true;
            });
        if (!written) throw std::runtime_error(written.error().description());
    }

    std::string path() const { return folder_.path("state/work.psi"); }
    TempTree& folder() { return folder_; }

    StoredTimes read() const
    {
        StoredTimes times;
        const auto status = KeyedArchive::read(
            path(), [&](const KeyedArchive::Record& record) { times[std::string(record.name)] = record.mod; });
        if (!status) throw std::runtime_error(status.error().description());
        return times;
    }

private:
    TempTree folder_{{{"state", test::folder()}}};
};

/// Pathnames of items in their order.
inline std::vector<std::string> namesOf(const std::vector<BXSyncFileDataInfo*>& items)
{
    std::vector<std::string> names;
    for (const auto* item : items)
        names.push_back(item->fileData.fileName);
    return names;
}

/// State of every record of an inspector by pathname.
inline std::map<std::string, std::int64_t> statesOf(const BXSyncInspectFile& inspector)
{
    std::map<std::string, std::int64_t> states;
    for (const auto& record : inspector.fileUpdate())
        states[record.fileData.fileName] = record.state;
    return states;
}

} // namespace tidemark::test
