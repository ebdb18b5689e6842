#pragma once

#include <memory>
#include <optional>
#include <string>

#include "SyncLibrary/BXSyncResume.h"
#include "SyncLibrary/BXSyncRunContext.h"

namespace tidemark {

/// What has become of an upload.
struct BXSyncUpload
{
    /// The server has the file as it is on the disk.
    bool done = false;
    /// What to record as the file's time, where something has reached the server: the time that was sent with it. Of a
    /// file that changed meanwhile a time by which the server's copy counts as known and the file as changed.
    std::optional<dates::Seconds> recordedTime;
};

/// Transfers single files. Failures are logged, reported and asked about; a run that is to end leaves as BXSyncAbort.
class BXSyncTransfer
{
public:
    explicit BXSyncTransfer(const BXSyncRunContext& context);

    BXSyncUpload uploadsub(const std::string& pathname);
    /// `serverRecord` is what the listing said about the file, or null. True when the file is there.
    bool downloadsub(const std::string& pathname, const BXSyncFileDataInfo* serverRecord);

    /// Names that no file of a Windows server can have.
    static bool isUnusableOnWindows(const std::string& name);

private:
    struct Source;
    bool isUsableName(const std::string& pathname);
    Result<BXSyncUpload> send(const std::string& pathname, const Url& url);
    Status store(const std::string& pathname, const Url& url, Source& source);
    /// The status: one of success, or the one of a missing folder.
    Result<int> put(const Url& url, Source& source);
    void updateProperties(const Url& url, const Source& source);

    Status fetch(const std::string& pathname, const Url& url, const BXSyncFileDataInfo* serverRecord);
    Status fetchInto(const std::string& target, const std::string& pathname, const Url& url,
                     const BXSyncFileDataInfo* serverRecord, bool& isTheirs);
    Status checkTarget(const std::string& target, const std::string& pathname, const ASWDCmd& before) const;
    std::shared_ptr<ASWDCmd> makeDownload(const Url& url, const std::string& target, const ASWDCmd* before,
                                          const BXSyncFileDataInfo* serverRecord);
    bool isWhole(const ASWDCmd& command, const std::string& target, const BXSyncFileDataInfo* serverRecord) const;
    void settleTime(const std::string& target, const BXSyncFileDataInfo& serverRecord) const;
    void showCommand(const std::shared_ptr<ASWDCmd>& command);
    void finishProgress();

    const BXSyncRunContext& run_;
    BXSyncResume resume_;
};

} // namespace tidemark
