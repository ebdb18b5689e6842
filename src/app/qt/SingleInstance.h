#pragma once

#include <functional>
#include <string>

#include <QLocalServer>

namespace tidemark::qt {

/// One application per configuration directory: a second start asks the first one to show its settings. Main thread.
class SingleInstance
{
public:
    /// Whether a running application has taken the request.
    static bool askFirst(const std::string& directory);

    /// `asked` is called for each later start.
    SingleInstance(const std::string& directory, std::function<void()> asked);

private:
    QLocalServer server_;
};

} // namespace tidemark::qt
