#pragma once

#include <optional>
#include <string>

#include "app/cli/CommandContext.h"
#include "config/BXSyncConf.h"

namespace tidemark::cli {

/// What a sign-in that was refused leads to: on a terminal the person is asked for what was wrong and the sign-in is
/// tried again with it, for this run only; elsewhere it has failed. Used on the thread that signs in.
class TerminalLogin
{
public:
    explicit TerminalLogin(CommandContext& context) : context_(context) {}

    /// BXSyncConf's login handler.
    bool mend(BXSyncConf& conf, LoginReason reason);

    /// Why the sign-in failed, in words.
    std::string failure(const BXSyncConf& conf) const;

private:
    bool ask(BXSyncConf& conf, LoginReason reason);
    bool askServerCredentials(BXSyncConf& conf);
    bool askProxyCredentials(BXSyncConf& conf);
    bool askTrust(BXSyncConf& conf);
    void showCertificate(const ServerCertificate& certificate);

    CommandContext& context_;
    std::optional<LoginReason> reason_;
};

} // namespace tidemark::cli
