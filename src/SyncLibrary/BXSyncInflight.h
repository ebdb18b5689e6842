#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "SyncLibrary/BXSyncInflightRecord.h"
#include "platform/Dates.h"
#include "platform/Result.h"
#include "platform/Streams.h"

namespace tidemark {

/// The record of the download that is under way, beside the sync-info file, by which a later run tells a half file from
/// a changed one when this process dies.
///
/// Invariant: at every moment at which a target's content may be neither what it was before its download nor the whole
/// new one, and the target is not marked as suspended, its path is on record together with what the target was before
/// (size and time, or absent).
///
/// A flush for every file would cost more than the file, so paths are put on record in batches, flushed before the
/// first target of the batch is opened; that a download of the batch begins or ends is then appended without a flush.
/// What was downloaded is flushed before its batch leaves the record and before the sync info names it. The appended
/// lines survive the process but not a loss of power, therefore the record names the system start that it was
/// written under: under the same one exactly the download that began last and did not end is suspect; under another one
/// every path of the batch is whose file is not what it was before and was not changed since that start.
class BXSyncInflight
{
public:
    using Locate = std::function<Result<std::string>(const std::string& pathname)>;

    static constexpr std::size_t batchSize = 1024;

    /// `folder` is the local folder, `locate` tells where a pathname lies in it. `systemStart` names the present start
    /// of the system, "" where it is not known.
    BXSyncInflight(const std::string& syncinfoPath, std::string folder, Locate locate,
                   std::string systemStart = currentSystemStart());
    /// A record without a download under way goes; one with stays.
    ~BXSyncInflight();
    BXSyncInflight(const BXSyncInflight&) = delete;
    BXSyncInflight& operator=(const BXSyncInflight&) = delete;

    /// The pathnames that the run may download, in the order in which it will.
    void plan(std::vector<std::string> pathnames);
    /// Once this has succeeded the target may be opened for writing. `version` names the server's file, so that a part
    /// that a dying process leaves is gone on with only where that is still the same.
    Status begin(const std::string& pathname, const std::string& version = {});
    /// The download has ended. Fails where the target is neither whole, which `isWhole` tells, nor marked, gone or as
    /// it was before: it stays on record, and nothing else may be downloaded.
    Status end(bool isWhole);
    /// Brings what was downloaded so far to the disk.
    Status flush();

    /// Marks what a process that died has left half done, or deletes it where it cannot be marked, and does away with
    /// the record; what is deleted is forgotten in the sync info, so that it does not pass for deleted by a person. The
    /// pathnames that were so treated. After a failure nothing may be listed. `startTime`: of the system; what was
    /// changed later, under another start than the record's, is a person's work.
    static Result<std::vector<std::string>> recover(const std::string& syncinfoPath, const Locate& locate,
                                                    const std::string& systemStart = currentSystemStart(),
                                                    dates::Seconds startTime = currentSystemStartTime());

    static std::string pathFor(const std::string& syncinfoPath) { return syncinfoPath + ".inflight"; }
    static std::string currentSystemStart();
    static dates::Seconds currentSystemStartTime();

private:
    using Entry = BXSyncInflightRecord::Entry;

    bool isNextInBatch(const std::string& pathname) const;
    Result<std::vector<Entry>> nextBatch(const std::string& pathname);
    Status writeBatch(std::vector<Entry> batch);
    Status append(char what, std::size_t index, const std::string& version = {});

    const std::string path_;
    const std::string folder_;
    const Locate locate_;
    const std::string systemStart_;
    std::vector<std::string> planned_;
    std::size_t nextPlanned_ = 0;
    std::vector<Entry> batch_;
    std::size_t nextInBatch_ = 0;
    bool underWay_ = false;
    bool unflushed_ = false;
    std::unique_ptr<OutputStream> record_;
};

} // namespace tidemark
