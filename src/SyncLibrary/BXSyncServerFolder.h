#pragma once

#include <memory>
#include <string>

#include "SyncLibrary/BXSyncCommandRunning.h"
#include "SyncLibrary/BXSyncServerSpellings.h"
#include "SyncLibrary/BXSyncUtils.h"
#include "config/BXSyncConf.h"
#include "platform/Url.h"

namespace tidemark {

/// The server folder while a run changes it: requests about single entries that transfer no file. Errors carry a
/// message key and a text for the log.
class BXSyncServerFolder
{
public:
    enum class Kind
    {
        missing,
        file,
        folder
    };

    /// All outlive this; without a listing of the server `spellings` is null.
    BXSyncServerFolder(const BXSyncConf& conf, BXSyncCommandRunning& runner, const BXSyncServerSpellings* spellings)
        : conf_(conf), runner_(runner), spellings_(spellings)
    {
    }

    Url urlOf(const std::string& pathname) const;
    /// Asks what the entry is; `folderExpected` asks in the form for folders.
    Result<Kind> probe(const Url& url, bool folderExpected) const;
    /// With the folders above, where the server says that they are missing.
    Status makeFolder(const std::string& pathname) const;
    /// The folders above an entry, after the server has refused the entry for want of them.
    Status makeParents(const std::string& pathname) const;
    /// How servers say that the folder above an entry is missing.
    static constexpr int parentMissing = 409;
    /// A folder goes with all it holds.
    Status remove(const Url& url, bool isFolder) const;
    Status setProperties(const Url& url, const BXSyncUtils::PropertyMap& properties) const;

private:
    Result<std::shared_ptr<ASWDCmd>> askKind(const Url& url, bool acceptsOtherForm) const;

    const BXSyncConf& conf_;
    BXSyncCommandRunning& runner_;
    const BXSyncServerSpellings* const spellings_;
};

} // namespace tidemark
