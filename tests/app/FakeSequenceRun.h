#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "app/SequenceRun.h"
#include "config/BXSyncTask.h"

namespace tidemark::test {

/// What every run of a sequence under test did, and what it is to do.
class RunScript
{
public:
    struct Step
    {
        /// Reason of a login that fails unless its handler mends it.
        std::optional<LoginReason> refusal;
        /// Ends only by release() or cancel.
        bool held = false;
        bool throws = false;
    };

    void set(const std::string& name, Step step)
    {
        std::lock_guard lock(mutex_);
        steps_[name] = step;
    }
    Step step(const std::string& name)
    {
        std::lock_guard lock(mutex_);
        return steps_[name];
    }
    void note(const std::string& event)
    {
        std::lock_guard lock(mutex_);
        events_.push_back(event);
        changed_.notify_all();
    }
    std::vector<std::string> events()
    {
        std::lock_guard lock(mutex_);
        return events_;
    }
    /// Returns once `event` has been noted.
    void waitFor(const std::string& event)
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return std::find(events_.begin(), events_.end(), event) != events_.end(); });
    }
    void release()
    {
        std::lock_guard lock(mutex_);
        released_ = true;
        changed_.notify_all();
    }
    bool waitForRelease(const std::function<bool()>& cancelled, std::chrono::nanoseconds limit)
    {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, limit, [&] { return released_ || cancelled(); });
    }
    void wake() { changed_.notify_all(); }

private:
    std::mutex mutex_; // guards all below
    std::condition_variable changed_;
    std::map<std::string, Step> steps_;
    std::vector<std::string> events_;
    bool released_ = false;
};

/// A run without a server that follows a script.
class FakeSequenceRun final : public SequenceRun
{
public:
    FakeSequenceRun(RunScript& script, const BXSyncTask& task)
        : script_(script), name_(task.name), kind_(task.autoSync       ? "auto "
                                                   : task.scheduleSync ? "scheduled "
                                                   : task.listup       ? "list "
                                                                       : "sync "),
          conf_(task.conf), step_(script.step(task.name))
    {
    }

    bool login(const BXSyncConf::LoginHandler& handler) override
    {
        if (step_.throws) throw std::runtime_error("a fault inside a task");
        if (!step_.refusal) return true;
        const bool mended = handler(*conf_, *step_.refusal);
        script_.note((mended ? "mended " : "refused ") + name_);
        return mended;
    }
    void start() override { script_.note(kind_ + name_); }
    bool waitUntilFinished(std::chrono::nanoseconds step) override
    {
        return !step_.held || script_.waitForRelease([this] { return isCancelled(); }, step);
    }
    void cancel() override
    {
        cancelled_ = true;
        script_.wake();
    }
    bool isCancelled() const override { return cancelled_; }
    SequenceOutcome outcome() const override { return cancelled_ ? SequenceOutcome::cancelled : SequenceOutcome::done; }
    std::vector<BXSyncFileDataInfo*> modifiedItems() const override { return {}; }

private:
    RunScript& script_;
    const std::string name_;
    const std::string kind_;
    const std::shared_ptr<BXSyncConf> conf_;
    const RunScript::Step step_;
    std::atomic<bool> cancelled_ = false;
};

} // namespace tidemark::test
