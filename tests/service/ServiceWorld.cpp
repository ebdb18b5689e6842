#include "tests/service/ServiceWorld.h"

#include <csignal>
#include <sched.h>

#include "app/StatusSocket.h"
#include "platform/Places.h"

namespace tidemark::test {

namespace {

constexpr const char* configFolder = "config";
/// Turns of a wait that has nothing to be woken by.
constexpr int mostLooks = 1'000'000;

} // namespace

ServiceWorld::ServiceWorld(const std::function<void(devserver::Options&)>& adjust)
    : world(devserver::Mode::Product, adjust)
{
    Places::setRoot(state.path(configFolder));
}

std::vector<std::string> ServiceWorld::withConfig(std::vector<std::string> arguments) const
{
    arguments.push_back("--config-dir");
    arguments.push_back(state.path(configFolder));
    return arguments;
}

int ServiceWorld::tidemark(std::vector<std::string> arguments, const std::string& input)
{
    ProgramRun program(withConfig(std::move(arguments)), state.root(), input);
    const int status = program.finish();
    output = program.output();
    messages = program.messages();
    return status;
}

void ServiceWorld::create(const std::string& name, const std::string& localPath, std::vector<std::string> more)
{
    std::vector<std::string> arguments{"config",
                                       "create",
                                       name,
                                       "--url",
                                       server.url("sync"),
                                       "--local",
                                       localPath,
                                       "--autosync",
                                       "yes",
                                       "--on-server-delete",
                                       "delete",
                                       "--on-local-delete",
                                       "delete",
                                       "--on-conflict",
                                       "upload"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    ASSERT_EQ(tidemark(arguments, "open-sesame\n"), 0) << messages;
    // A transfer that a test breaks stays broken.
    ASSERT_EQ(tidemark({"settings", "set", "BXSYNC_HTTP_RECONNECTION", "no"}), 0) << messages;
}

void ServiceWorld::start(std::vector<std::string> more)
{
    std::vector<std::string> arguments{"run"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    service = std::make_unique<ProgramRun>(withConfig(arguments), state.root());
    ASSERT_TRUE(service->waitFor("serving "));
    ASSERT_TRUE(statusBecomes([](const nlohmann::json& status) {
        for (const auto& configuration : status["configurations"])
            if (configuration["enabled"] == true && configuration["watcher"] == "off") return false;
        return true;
    }));
}

int ServiceWorld::stop()
{
    service->signal(SIGTERM);
    return service->finish();
}

std::size_t ServiceWorld::runsEnded() const
{
    std::size_t count = 0;
    for (const auto* ending : {": done\n", ": some items failed\n", ": listing failed\n", ": cancelled\n",
                               ": sign-in failed\n", ": another run was under way\n"})
        for (auto at = service->messages().find(ending); at != std::string::npos;
             at = service->messages().find(ending, at + 1))
            ++count;
    return count;
}

bool ServiceWorld::runsUntil(const std::function<bool()>& condition)
{
    auto seen = runsEnded();
    return service->waitUntil([&] {
        if (runsEnded() == seen) return false;
        seen = runsEnded();
        return condition();
    });
}

bool ServiceWorld::statusBecomes(const std::function<bool(const nlohmann::json&)>& condition) const
{
    for (int look = 0; look < mostLooks; ++look) {
        const auto now = status();
        if (!now.is_null() && condition(now)) return true;
        ::sched_yield();
    }
    ADD_FAILURE() << "the status stays " << status().dump(2);
    return false;
}

bool ServiceWorld::watcherBecomes(const std::string& name, const std::string& words) const
{
    return statusBecomes([&](const nlohmann::json& status) {
        for (const auto& configuration : status["configurations"])
            if (configuration["name"] == name) return configuration["watcher"] == words;
        return false;
    });
}

nlohmann::json ServiceWorld::status() const
{
    const auto text = readStatus(statusSocketPath(state.path(configFolder)));
    return text ? nlohmann::json::parse(*text, nullptr, false) : nlohmann::json();
}

bool ServiceWorld::inStep() const
{
    return local.read() == readTree(remote.path("sync"));
}

std::vector<std::string> ServiceWorld::asked(const std::string& method) const
{
    std::vector<std::string> paths;
    for (const auto& request : server.requests())
        if (request.method == method) paths.push_back(request.path);
    return paths;
}

} // namespace tidemark::test
