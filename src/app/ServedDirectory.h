#pragma once

#include <memory>
#include <string>

#include "app/ServiceStatus.h"
#include "app/StatusSocket.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"

namespace tidemark {

class BXSyncConfigManager;

/// A configuration directory taken by one program that runs by itself, the service or the desktop application; what it
/// does is told to whoever asks through the status socket. begin() belongs to the main thread, the rest to any.
class ServedDirectory
{
public:
    /// `program` is what a second one is told. Both references outlive this.
    ServedDirectory(BXSyncConfigManager& store, const Clock& clock, std::string program);

    /// Takes the directory for this process and opens the status socket; "" or why not.
    std::string begin();
    /// Closes the status socket; the directory stays taken as long as this lives.
    void end();

    RunHistory& history() { return history_; }
    std::string statusJson() const;

private:
    BXSyncConfigManager& store_;
    const Clock& clock_;
    const std::string program_;
    RunHistory history_;
    std::unique_ptr<fs::FileLock> lock_;
    std::unique_ptr<StatusServer> statusServer_;
};

} // namespace tidemark
