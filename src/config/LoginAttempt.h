#pragma once

#include <memory>
#include <optional>

#include "config/BXSyncConf.h"
#include "platform/HttpStream.h"
#include "platform/Result.h"

namespace tidemark {

class ASWDCmdOptions;

/// One login: OPTIONS to the server folder, again for as long as the login handler wants. Keeps itself alive while a
/// request is under way.
class LoginAttempt : public std::enable_shared_from_this<LoginAttempt>
{
public:
    LoginAttempt(std::shared_ptr<BXSyncConf> conf, BXSyncConf::LoginHandler loginHandler,
                 BXSyncConf::SuccessHandler success, BXSyncConf::FailureHandler failure);

    void start();

    /// Nothing for an answer that ends the login well or without a reason (status 200).
    static std::optional<LoginReason> reasonFor(const std::optional<Error>& error, int statusCode,
                                                bool validatesCertificate);
    /// Puts what the answer's header says into `conf`; true for a WebDAV server.
    static bool learn(const HttpHeader& header, BXSyncConf& conf);

private:
    void finished();
    void retry(LoginReason reason);
    void fail(bool nobodyAsked);

    const std::shared_ptr<BXSyncConf> conf_;
    BXSyncConf::LoginHandler loginHandler_;
    BXSyncConf::SuccessHandler success_;
    BXSyncConf::FailureHandler failure_;
    std::shared_ptr<ASWDCmdOptions> command_;
};

} // namespace tidemark
