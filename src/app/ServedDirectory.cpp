#include "app/ServedDirectory.h"

#include <unistd.h>

#include "SyncLibrary/BXSyncFileWatcher.h"
#include "app/NextSchedule.h"
#include "config/BXSyncConfigManager.h"

namespace tidemark {

namespace {

constexpr const char* lockName = "service.lock";

std::string watcherWords(const BXSyncFileWatcher* watcher)
{
    if (!watcher || !watcher->on()) return "off";
    const auto failure = watcher->watchFailure();
    return failure ? failure->text : "watching";
}

} // namespace

ServedDirectory::ServedDirectory(BXSyncConfigManager& store, const Clock& clock, std::string program)
    : store_(store), clock_(clock), program_(std::move(program))
{
}

std::string ServedDirectory::begin()
{
    const auto& directory = store_.directory();
    auto lock = fs::FileLock::tryAcquire(fs::joinPath(directory, lockName));
    if (!lock) return lock.error().description();
    const auto socket = statusSocketPath(directory);
    if (!*lock) {
        const auto running = readStatus(socket);
        const auto status = running ? ServiceStatus::fromJson(*running) : std::nullopt;
        return status ? status->program + " (process " + std::to_string(status->processId) +
                            ") serves this configuration directory already"
                      : "another program serves this configuration directory already";
    }
    lock_ = std::move(*lock);
    auto server = StatusServer::start(socket, [this] { return statusJson(); });
    if (!server) return server.error().description();
    statusServer_ = std::move(*server);
    return {};
}

void ServedDirectory::end()
{
    statusServer_.reset();
}

std::string ServedDirectory::statusJson() const
{
    ServiceStatus status;
    status.program = program_;
    status.processId = ::getpid();
    status.running = history_.running();
    for (const auto& name : store_.configNames()) {
        const auto conf = store_.get(name, true);
        if (!conf) continue;
        ServiceStatus::Configuration configuration;
        configuration.name = name;
        configuration.enabled = conf->enable();
        if (const auto last = history_.last(name)) {
            configuration.lastResult = outcomeWords(last->outcome);
            configuration.lastTime = last->time;
        }
        if (conf->enable() && conf->info()->isUseAuthorization())
            configuration.nextSchedule = nextSchedule(conf->syncSchedules(), clock_.wallNow());
        configuration.watcher = watcherWords(store_.fileWatcher(name).get());
        status.configurations.push_back(std::move(configuration));
    }
    return status.toJson();
}

} // namespace tidemark
