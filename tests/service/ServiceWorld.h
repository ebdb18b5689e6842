#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/app/ProgramRun.h"
#include "tests/support/SyncWorld.h"

namespace tidemark::test {

using ProgramRun = cli::testing::ProgramRun;

/// A server in this process, a configuration directory, and the real program over both.
class ServiceWorld : public ::testing::Test
{
protected:
    explicit ServiceWorld(const std::function<void(devserver::Options&)>& adjust = {});

    std::vector<std::string> withConfig(std::vector<std::string> arguments) const;
    /// Runs the program to its end without a terminal; what it wrote is kept in `output` and `messages`.
    int tidemark(std::vector<std::string> arguments, const std::string& input = {});
    /// Watches `local` and never asks, whatever `more` does not say otherwise.
    void create(const std::string& name, const std::string& localPath, std::vector<std::string> more = {});
    void create(std::vector<std::string> more = {}) { create("work", local.root(), std::move(more)); }

    /// Starts the service and waits until it watches; `more` are further options.
    void start(std::vector<std::string> more = {});
    /// Asks it to end; its exit status.
    int stop();
    /// Waits until `condition` holds after the end of a run; false where it did not come to that.
    bool runsUntil(const std::function<bool()>& condition);
    /// Waits until the service's status is as `condition` wants it; false where it never came to be.
    bool statusBecomes(const std::function<bool(const nlohmann::json&)>& condition) const;
    /// What the service said of the configuration's watcher.
    bool watcherBecomes(const std::string& name, const std::string& words) const;
    nlohmann::json status() const;
    /// How many runs of the service have ended.
    std::size_t runsEnded() const;
    /// Both folders hold the same; also false while the server still holds what is half written.
    bool inStep() const;

    /// Decoded paths that a request of the method named, in order.
    std::vector<std::string> asked(const std::string& method) const;

    SyncWorld world;
    devserver::Server& server = *world.server;
    TempTree& remote = world.remote;
    TempTree& local = world.client.local;
    TempTree state;
    std::unique_ptr<ProgramRun> service;
    std::string output;
    std::string messages;
};

} // namespace tidemark::test
