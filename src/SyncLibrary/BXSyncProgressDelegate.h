#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tidemark {

class ASWDCmd;
struct BXSyncFileDataInfo;

/// Follows a run. All messages come from the run's threads, one at a time, and block the run while they are handled.
class BXSyncProgressDelegate
{
public:
    virtual ~BXSyncProgressDelegate() = default;

    /// The totals of a run: files, deletions among them, bytes. `progressReset` starts the bar over.
    virtual void setTotalFiles(std::int64_t /*totalFiles*/, std::int64_t /*deleteFiles*/, std::int64_t /*totalBytes*/,
                               bool /*progressReset*/)
    {
    }
    /// `count` more entries are to be examined.
    virtual void addListUpFiles(std::int64_t /*count*/) {}
    /// One more entry has been examined.
    virtual void setListUpFiles() {}
    /// What the messages before have changed may be shown.
    virtual void update() {}

    /// The items of the run in the order in which they will be worked on; valid until finish of the run.
    virtual void addSyncList(const std::vector<BXSyncFileDataInfo*>& /*items*/) {}
    /// The item's state has changed.
    virtual void updatedFile(const BXSyncFileDataInfo& /*item*/) {}

    /// A transfer begins. One of the two is a decoded URL, the other a local path; `size` in bytes.
    virtual void setFileName(const std::string& /*source*/, const std::string& /*dest*/, std::int64_t /*size*/) {}
    /// A deletion begins.
    virtual void setDeleteFileName(const std::string& /*path*/) {}
    /// Work that the totals did not hold.
    virtual void addTotalFileSize(std::int64_t /*bytes*/) {}
    /// The command of the transfer that began has been made; its time counts from here.
    virtual void setThread(const std::shared_ptr<ASWDCmd>& /*command*/) {}
    /// The transfer that began has ended.
    virtual void finish() {}
};

} // namespace tidemark
