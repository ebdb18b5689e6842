#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "config/BXSyncSchedule.h"
#include "davclient/ASHttpConnectInfo.h"
#include "platform/Dates.h"
#include "platform/PropertyList.h"
#include "platform/Url.h"
#include "security/PasswordDelegate.h"

namespace tidemark {

class ASWDCmd;
class LoginAttempt;

/// Which way a configuration synchronises.
enum class SyncMode : int
{
    twoWay = 0,
    uploadOnly = 1,
    downloadOnly = 2
};

/// Why a login did not succeed.
enum class LoginReason
{
    serverAuthentication = 1,
    proxyAuthentication = 2,
    untrustedServerCertificate = 3,
    connectionFailed = 4,
};

enum class ServerOS
{
    unknown = 0,
    windows = 1,
    other = 2
};
/// How the server treats encrypted files, as far as it says.
enum class ServerCryptoFile
{
    unknown = 0,
    other = 1,
    version2 = 2
};

/// One named sync configuration: a local folder, a server folder, direction and policies, and how to reach the server.
/// Text fields are "" for none. Made by std::make_shared. Whoever changes it does so while no run uses it; login()
/// writes the server-derived fields on the thread that logs in.
class BXSyncConf : public std::enable_shared_from_this<BXSyncConf>
{
public:
    BXSyncConf();
    explicit BXSyncConf(std::shared_ptr<ASHttpConnectInfo> connectInfo);
    /// The keys that are present; an absent key, and one whose value cannot be what it should, keeps the new value.
    explicit BXSyncConf(const PropertyList::Dictionary& dictionary);

    /// Writes the fields into `dictionary`, which may hold other keys. Without `all` the name and the connection's
    /// keys are not touched. Secrets go through the password delegate, and are left out without one.
    void updateDictinary(PropertyList::Dictionary& dictionary, bool all) const;

    /// The process-wide transformer of stored secrets; not owned, null for none. Set before configurations are made.
    static void setPasswordDelegate(const PasswordDelegate* delegate);

    /// Operation codes: 0 ask, 2 delete, 3 upload, 4 download, 6 do nothing.
    int serverDeleteOperate() const { return getOprate(serverDelete_); }
    int localDeleteOperate() const { return getOprate(localDelete_); }
    int conflictOperate() const { return getOprate(conflict_); }
    static int getOprate(std::string_view policy);

    /// Asks the server whether its folder can be used: nothing when it can, else "CANNOT_USE_ROOT_FOLDER",
    /// "CONNECTION_ERROR", "DENIED_ACCESS_FOLDER" or "SERVER_NOT_FOLDER". Runs the calling thread's RunLoop until the
    /// answer has come; never on the main thread.
    std::optional<std::string> checkFolderURL();

    /// Asked after a failed attempt; true, with what was wrong mended in info(), tries again.
    using LoginHandler = std::function<bool(BXSyncConf&, LoginReason)>;
    using SuccessHandler = std::function<void()>;
    /// True where nobody was asked: there is no login handler, or a request could not be started.
    using FailureHandler = std::function<void(bool)>;
    /// Signs in with OPTIONS and learns what the server is. Exactly one of `success` and `failure` runs, on the calling
    /// thread: `failure` at once where the request cannot be started, all else from its RunLoop.
    void login(LoginHandler loginHandler, SuccessHandler success, FailureHandler failure);
    /// Ends a login or folder check under way: the login's failure handler runs with false and nobody is asked, the
    /// check answers "CONNECTION_ERROR". Holds until the next login or check begins. Any thread.
    void cancelRequests();
    /// Why the last attempt of a login came to a reason: the request's error, or domain loginStatusDomain with the
    /// status that was answered as its code. Nothing before, and after a login that succeeded. The login's thread.
    const std::optional<Error>& loginError() const { return loginError_; }
    static constexpr const char* loginStatusDomain = "HTTPStatus";

    const std::shared_ptr<ASHttpConnectInfo>& info() const { return info_; }

    /// Stable identifier.
    const std::string& identity() const { return identity_; }
    void setIdentity(std::string value) { identity_ = std::move(value); }
    const std::string& name() const { return name_; }
    void setName(std::string value) { name_ = std::move(value); }
    bool enable() const { return enable_; }
    void setEnable(bool value) { enable_ = value; }
    /// Canonical text of the server folder's URL; a text that is no URL is kept as it is.
    const std::string& serverURL() const { return serverURL_; }
    void setServerURL(const std::string& value);
    /// Empty where serverURL() is none.
    const Url& url() const { return url_; }
    const std::string& localPath() const { return localPath_; }
    void setLocalPath(std::string value) { localPath_ = std::move(value); }
    SyncMode mode() const { return static_cast<SyncMode>(mode_); }
    void setMode(SyncMode value) { mode_ = static_cast<std::int64_t>(value); }
    bool autosync() const { return autosync_; }
    void setAutosync(bool value) { autosync_ = value; }
    /// Policies: "confirm", "delete", "upload", "download", "none".
    const std::string& serverDelete() const { return serverDelete_; }
    void setServerDelete(std::string value) { serverDelete_ = std::move(value); }
    const std::string& localDelete() const { return localDelete_; }
    void setLocalDelete(std::string value) { localDelete_ = std::move(value); }
    const std::string& conflict() const { return conflict_; }
    void setConflict(std::string value) { conflict_ = std::move(value); }
    const std::string& syncLogPath() const { return syncLogPath_; }
    void setSyncLogPath(std::string value) { syncLogPath_ = std::move(value); }
    std::int64_t logKeepDays() const { return logKeepDays_; }
    void setLogKeepDays(std::int64_t value) { logKeepDays_ = value; }
    /// "" means no encryption.
    const std::string& encryptKey() const { return encryptKey_; }
    void setEncryptKey(std::string value) { encryptKey_ = std::move(value); }
    /// Sorted. The mutable form is for marking entries as executed.
    const std::vector<BXSyncSchedule>& syncSchedules() const { return syncSchedules_; }
    std::vector<BXSyncSchedule>& syncSchedules() { return syncSchedules_; }
    void setSyncSchedules(std::vector<BXSyncSchedule> value);
    bool ignoreServerCert() const { return ignoreServerCert_; }
    void setIgnoreServerCert(bool value) { ignoreServerCert_ = value; }
    const std::string& certificateId() const { return certificateId_; }
    void setCertificateId(std::string value) { certificateId_ = std::move(value); }

    // From the server, by login().
    /// "" for a server without the product's extensions.
    const std::string& marlockVersion() const { return marlockVersion_; }
    void setMarlockVersion(std::string value) { marlockVersion_ = std::move(value); }
    bool readonly() const { return readonly_; }
    void setReadonly(bool value) { readonly_ = value; }
    const std::string& serverUser() const { return serverUser_; }
    void setServerUser(std::string value) { serverUser_ = std::move(value); }
    const std::string& primary() const { return primary_; }
    void setPrimary(std::string value) { primary_ = std::move(value); }
    ServerOS serverOS() const { return serverOS_; }
    void setServerOS(ServerOS value) { serverOS_ = value; }
    ServerCryptoFile servercryptofile() const { return servercryptofile_; }
    void setServercryptofile(ServerCryptoFile value) { servercryptofile_ = value; }

    // From the store.
    const std::optional<dates::Time>& creationDate() const { return creationDate_; }
    void setCreationDate(std::optional<dates::Time> value) { creationDate_ = value; }
    const std::string& syncinfoPath() const { return syncinfoPath_; }
    void setSyncinfoPath(std::string value) { syncinfoPath_ = std::move(value); }
    const std::string& logname() const { return logname_; }
    void setLogname(std::string value) { logname_ = std::move(value); }
    /// The sync-info file is to be thrown away by the next save.
    bool discardPsi() const { return discardPsi_; }
    void setDiscardPsi(bool value) { discardPsi_ = value; }

private:
    friend class LoginAttempt;

    void readDictionary(const PropertyList::Dictionary& dictionary);
    void readConnection(const PropertyList::Dictionary& dictionary);
    void updateConnection(PropertyList::Dictionary& dictionary) const;
    /// Makes `command` the one that cancelRequests() ends, null when it is done; false when called off already.
    bool setRunningCommand(const std::shared_ptr<ASWDCmd>& command);
    bool requestsCancelled();
    void allowRequests();

    std::shared_ptr<ASHttpConnectInfo> info_;
    std::string identity_;
    std::string name_;
    bool enable_ = true;
    std::string serverURL_;
    Url url_;
    std::string localPath_;
    std::int64_t mode_ = 0;
    bool autosync_ = false;
    std::string serverDelete_ = "confirm";
    std::string localDelete_ = "confirm";
    std::string conflict_ = "confirm";
    std::string syncLogPath_;
    std::int64_t logKeepDays_ = 1;
    std::string encryptKey_;
    std::vector<BXSyncSchedule> syncSchedules_;
    bool ignoreServerCert_ = false;
    std::string certificateId_;
    std::string marlockVersion_;
    bool readonly_ = false;
    std::string serverUser_;
    std::string primary_;
    ServerOS serverOS_ = ServerOS::unknown;
    ServerCryptoFile servercryptofile_ = ServerCryptoFile::unknown;
    std::optional<dates::Time> creationDate_;
    std::string syncinfoPath_;
    std::string logname_;
    bool discardPsi_ = false;
    std::optional<Error> loginError_;

    std::mutex runningMutex_; // guards the two below
    std::weak_ptr<ASWDCmd> running_;
    bool requestsCancelled_ = false;
};

} // namespace tidemark
