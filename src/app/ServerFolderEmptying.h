#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "config/BXSyncConf.h"
#include "platform/Url.h"

namespace tidemark {

class ASWDCmd;

/// Deletes all that a configuration's server folder holds on its top level, but hidden entries. Runs on a thread of its
/// own; its questions go through BXTidemarkUtils to the main thread.
class ServerFolderEmptying
{
public:
    /// Forgets the sync state of the configuration; called once the server has let us in.
    using ForgetState = std::function<bool()>;

    ServerFolderEmptying(std::shared_ptr<BXSyncConf> conf, BXSyncConf::LoginHandler loginHandler,
                         ForgetState forgetState);

    /// False when the operation is to stop.
    bool run();
    /// Ends the run without a further question. Any thread.
    void cancel();

private:
    int execute(const std::shared_ptr<ASWDCmd>& command);
    bool isCancelled();
    bool login();
    std::optional<std::vector<Url>> list();
    bool deleteEntries(const std::vector<Url>& entries);

    std::shared_ptr<BXSyncConf> conf_;
    BXSyncConf::LoginHandler loginHandler_;
    ForgetState forgetState_;
    std::mutex mutex_; // guards both below
    bool cancelled_ = false;
    std::shared_ptr<ASWDCmd> running_;
};

} // namespace tidemark
