#pragma once

#include <functional>
#include <memory>
#include <thread>

#include <QString>

#include "app/ConnectionCheck.h"

namespace tidemark::qt {

/// Signs in to a draft's server and looks whether its folder can be used, on a thread of its own. Main thread.
class ServerCheck
{
public:
    /// What came of it; on the main thread.
    using Finished = std::function<void(const ConnectionVerdict&)>;

    ServerCheck(const ConfigurationDraft& draft, Finished finished);
    /// Calls it off without waiting for it; `finished` is not called any more.
    ~ServerCheck();
    ServerCheck(const ServerCheck&) = delete;
    ServerCheck& operator=(const ServerCheck&) = delete;

    /// What came of a check of `draft`, in words.
    static QString answer(const ConnectionVerdict& verdict, const ConfigurationDraft& draft);

private:
    struct State;
    class Ending;
    const std::shared_ptr<State> state_;
    std::thread thread_;
};

} // namespace tidemark::qt
