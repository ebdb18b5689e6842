#pragma once

#include <functional>
#include <memory>

#include "platform/Result.h"

namespace tidemark {

class ASWDCmd;

/// Runs server requests one at a time, again after a lost connection where the settings allow it. Blocks the calling
/// thread, whose run loop serves the request.
class BXSyncCommandRunning
{
public:
    /// Makes a fresh command; null when it cannot be made. Called once per attempt. A command that has been executed on
    /// this thread already, in order to be under way early, is not executed again.
    using CommandFactory = std::function<std::shared_ptr<ASWDCmd>()>;
    /// Whether `status` of the executed command means success for this request. Called at most once; never for 0, 500
    /// and 503.
    using AcceptStatus = std::function<bool(ASWDCmd& command, int status)>;

    /// Domain of the errors of davConnect; their code is -1.
    static constexpr const char* errorDomain = "BXSyncManagerError";
    /// Key of userInfo: a message key of the localisation table.
    static constexpr const char* messageKey = "message";
    /// Key of userInfo: an English text for the log.
    static constexpr const char* logKey = "log";

    virtual ~BXSyncCommandRunning() = default;

    /// The executed command whose status was accepted, or the reason why there is none.
    virtual Result<std::shared_ptr<ASWDCmd>> davConnect(const CommandFactory& factory, const AcceptStatus& accept) = 0;
};

} // namespace tidemark
