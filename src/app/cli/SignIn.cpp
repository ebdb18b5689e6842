#include "app/cli/SignIn.h"

#include <atomic>
#include <exception>

#include "app/cli/Cancellation.h"
#include "app/cli/Console.h"
#include "app/cli/TerminalLogin.h"
#include "platform/RunLoop.h"
#include "platform/Threads.h"

namespace tidemark::cli {

namespace {

constexpr auto lookInterval = std::chrono::milliseconds(200);

/// Whether the server let us in.
bool isLetIn(const std::shared_ptr<BXSyncConf>& conf, TerminalLogin& login, Cancellation& cancellation)
{
    bool ended = false;
    bool succeeded = false;
    const Cancellation::Handler cancelling(cancellation, [conf] { conf->cancelRequests(); });
    conf->login([&](BXSyncConf& refused,
                    LoginReason reason) { return !cancellation.isRequested() && login.mend(refused, reason); },
                [&] { ended = succeeded = true; }, [&](bool) { ended = true; });
    // A request that came between the two was for no login yet.
    if (cancellation.isRequested()) conf->cancelRequests();
    RunLoop::current()->runUntil([&] { return ended; });
    return succeeded;
}

} // namespace

ExitStatus signIn(const std::shared_ptr<BXSyncConf>& conf, CommandContext& context)
{
    TerminalLogin login(context);
    if (isLetIn(conf, login, context.cancellation)) return ExitStatus::done;
    if (context.cancellation.isRequested()) return ExitStatus::cancelled;
    context.console.error(conf->name() + ": " + login.failure(*conf));
    return ExitStatus::connection;
}

void runBeside(std::function<void()> work, std::function<void()> look)
{
    const auto loop = RunLoop::current();
    std::atomic<bool> ended = false;
    std::exception_ptr failure;
    const auto timer = loop->addTimer(lookInterval, true, std::move(look));
    NamedThread thread("SyncThread", [&] {
        try {
            work();
        } catch (...) {
            failure = std::current_exception();
        }
        ended = true;
        loop->wake();
    });
    loop->runUntil([&] { return ended.load(); });
    thread.join();
    loop->removeTimer(timer);
    if (failure) std::rethrow_exception(failure);
}

} // namespace tidemark::cli
