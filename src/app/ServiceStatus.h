#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "app/SequenceRun.h"
#include "platform/Dates.h"

namespace tidemark {

/// What a running service is doing, and how each configuration fared.
struct ServiceStatus
{
    struct Configuration
    {
        std::string name;
        bool enabled = true;
        /// "done", "items failed", …; empty before the first run.
        std::string lastResult;
        std::optional<dates::Time> lastTime;
        std::optional<dates::Time> nextSchedule;
        /// "off", "watching", or why changes are not noticed.
        std::string watcher;
    };

    /// Which program serves the configuration directory.
    std::string program;
    int processId = 0;
    /// The configuration that is being synchronised; empty while idle.
    std::string running;
    /// Oldest first.
    std::vector<Configuration> configurations;

    std::string toJson() const;
    /// Nothing where `json` is none of ours.
    static std::optional<ServiceStatus> fromJson(const std::string& json);
};

/// The words of an outcome in a status.
std::string outcomeWords(SequenceOutcome outcome);

/// How the runs of a process ended. Any thread.
class RunHistory
{
public:
    struct Entry
    {
        SequenceOutcome outcome = SequenceOutcome::done;
        dates::Time time;
    };

    void begin(const std::string& name);
    void end(const std::string& name, SequenceOutcome outcome, dates::Time time);
    /// Empty while nothing runs.
    std::string running() const;
    std::optional<Entry> last(const std::string& name) const;

private:
    mutable std::mutex mutex_; // guards both below
    std::string running_;
    std::map<std::string, Entry> last_;
};

} // namespace tidemark
