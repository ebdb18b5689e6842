// The service as a process: signals, changes that other commands make, and what it says of itself.

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>

#include <gmock/gmock.h>

#include "app/StatusSocket.h"
#include "platform/Dates.h"
#include "tests/service/ServiceWorld.h"
#include "tests/support/Process.h"

namespace tidemark::test {
namespace {

using nlohmann::json;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;
namespace fault = devserver::fault;

class ServiceProcess : public ServiceWorld
{
protected:
    using ServiceWorld::ServiceWorld;

    void set(const char* key, const char* value)
    {
        ASSERT_EQ(tidemark({"settings", "set", key, value}), 0) << messages;
    }
    /// The next uploads go no further than their headers.
    void holdUploads(int count)
    {
        server.addFault(
            {.method = "PUT", .effect = fault::Stall{fault::StallPlace::BeforeReadingBody, 0}, .count = count});
    }
    json configuration(const std::string& name) const
    {
        const auto now = status();
        for (const auto& found : now["configurations"])
            if (found["name"] == name) return found;
        return nullptr;
    }
};

TEST_F(ServiceProcess, SyncsAtTheStartAndItsDownloadsCauseNoFurtherTransfer)
{
    remote.make({{"sync/a.txt", file("a", at(0))}, {"sync/d/b.txt", file("b", at(0))}, {"sync/d/e/f", folder()}});
    for (int i = 0; i < 50; ++i)
        remote.write("sync/many/" + std::to_string(i), std::to_string(i), at(i));
    create();
    set("BXSYNC_SYNC_ON_STARTUP", "yes");
    start();
    ASSERT_TRUE(service->waitUntil([this] { return runsEnded() > 0; }));
    EXPECT_TRUE(inStep());
    EXPECT_THAT(asked("GET"), SizeIs(52));

    // What the downloads had left to do would go with this.
    local.write("d/mine.txt", "m", at(0));
    EXPECT_TRUE(runsUntil([this] { return inStep(); })) << service->messages();
    EXPECT_THAT(asked("GET"), SizeIs(52));
    EXPECT_THAT(asked("PUT"), ElementsAre("/dav/sync/d/mine.txt"));
    EXPECT_THAT(asked("MKCOL"), SizeIs(0));
    EXPECT_THAT(asked("DELETE"), SizeIs(0));
    EXPECT_EQ(stop(), 0);
}

TEST_F(ServiceProcess, TerminationInTheMiddleOfATransferIsFollowedByTheExitSync)
{
    local.make({{"big.bin", file(std::string(1'000'000, 'b'), at(0))}, {"small.txt", file("s", at(0))}});
    create();
    set("BXSYNC_SYNC_ON_STARTUP", "yes");
    set("BXSYNC_SYNC_ON_EXIT", "yes");
    holdUploads(1);
    start();
    ASSERT_TRUE(server.waitForFaults(1));
    EXPECT_EQ(stop(), 0);
    EXPECT_TRUE(inStep()) << service->messages();
    EXPECT_THAT(service->messages(), AllOf(HasSubstr("work: cancelled"), HasSubstr("ending after a last sync")));
    EXPECT_THAT(service->messages(), ::testing::EndsWith("work: done\n"));
    EXPECT_TRUE(status().is_null()) << "the socket is gone with the service";
}

TEST_F(ServiceProcess, TerminationWithoutExitSyncEndsTheTransferOnly)
{
    local.write("big.bin", std::string(1'000'000, 'b'), at(0));
    create();
    set("BXSYNC_SYNC_ON_STARTUP", "yes");
    holdUploads(1);
    start();
    ASSERT_TRUE(server.waitForFaults(1));
    EXPECT_EQ(stop(), 0);
    EXPECT_FALSE(remote.exists("sync/big.bin"));
    EXPECT_EQ(tidemark({"sync"}), 0) << messages;
    EXPECT_TRUE(inStep());
}

TEST_F(ServiceProcess, ASecondTerminationEndsItAtOnce)
{
    local.write("big.bin", std::string(1'000'000, 'b'), at(0));
    create();
    set("BXSYNC_SYNC_ON_EXIT", "yes");
    holdUploads(devserver::Fault::forever);
    start();
    service->signal(SIGTERM);
    ASSERT_TRUE(server.waitForFaults(1)) << "the exit sync itself hangs";
    EXPECT_EQ(stop(), 6);
    server.clearFaults();
    EXPECT_EQ(tidemark({"sync"}), 0) << "the lock of the dead is in nobody's way: " << messages;
    start();
    EXPECT_EQ(status()["processId"], service->processId()) << "nor is its socket";
    EXPECT_TRUE(inStep());
}

TEST_F(ServiceProcess, TakesUpWhatOtherCommandsChange)
{
    const TempTree other;
    create();
    start();

    create("other", other.root());
    ASSERT_TRUE(watcherBecomes("other", "watching"));
    testing::writeFile(other.path("o.txt"), "o");
    EXPECT_TRUE(runsUntil([this] { return remote.exists("sync/o.txt"); })) << service->messages();

    ASSERT_EQ(tidemark({"config", "set", "other", "--disable"}), 0) << messages;
    ASSERT_TRUE(watcherBecomes("other", "off"));
    ASSERT_EQ(tidemark({"config", "set", "work", "--autosync", "no"}), 0) << messages;
    ASSERT_TRUE(watcherBecomes("work", "off"));
    EXPECT_EQ(configuration("work")["enabled"], true);

    ASSERT_EQ(tidemark({"config", "set", "other", "--enable"}), 0) << messages;
    ASSERT_TRUE(watcherBecomes("other", "watching"));
    ASSERT_EQ(tidemark({"config", "rename", "other", "new name"}), 0) << messages;
    ASSERT_TRUE(watcherBecomes("new name", "watching"));
    EXPECT_TRUE(configuration("other").is_null());
    testing::writeFile(other.path("p.txt"), "p");
    EXPECT_TRUE(runsUntil([this] { return remote.exists("sync/p.txt"); })) << service->messages();
    EXPECT_THAT(service->messages(), HasSubstr("new name: done"));

    ASSERT_EQ(tidemark({"config", "delete", "new name", "--yes"}), 0) << messages;
    EXPECT_TRUE(statusBecomes([](const json& status) { return status["configurations"].size() == 1; }));
    EXPECT_EQ(stop(), 0);
}

TEST_F(ServiceProcess, HangUpLoadsWhatCannotBeSeenToHaveChanged)
{
    local.make({{"one", folder()}, {"two", folder()}});
    create("work", local.path("one"));
    start();
    const auto stored = state.path("config/work.xml");
    struct stat before
    {
    };
    ASSERT_EQ(::stat(stored.c_str(), &before), 0);
    const auto place = testing::readFile(stored).find(local.path("one"));
    ASSERT_NE(place, std::string::npos);
    const auto two = local.path("two");
    const int handle = ::open(stored.c_str(), O_WRONLY);
    EXPECT_EQ(::pwrite(handle, two.data(), two.size(), static_cast<off_t>(place)), static_cast<ssize_t>(two.size()));
    const timespec times[] = {before.st_atim, before.st_mtim};
    EXPECT_EQ(::futimens(handle, times), 0);
    ::close(handle);

    service->signal(SIGHUP);
    ASSERT_TRUE(service->waitFor("loaded again"));
    local.write("two/new.txt", "n");
    EXPECT_TRUE(runsUntil([this] { return remote.exists("sync/new.txt"); })) << service->messages();
    EXPECT_EQ(stop(), 0);
}

class ScheduledService : public ServiceProcess
{
protected:
    ScheduledService()
        : ServiceProcess([](devserver::Options& options) {
              options.auth = devserver::AuthScheme::Basic;
              options.user = "kim";
              options.password = "open-sesame";
          })
    {
    }

    /// "hourly" at the minute that the clock shows so many seconds from this moment.
    static std::string hourlyIn(int seconds)
    {
        const auto fields = dates::localFields(std::chrono::system_clock::now() + std::chrono::seconds(seconds));
        return "hourly :" + std::to_string(fields.minute);
    }
};

TEST_F(ScheduledService, RunsInFullAtAScheduleThatIsAddedMeanwhileAndTransfersNothingTwice)
{
    local.make(
        {{"stays.txt", file("s", at(0))}, {"goes/with/all.txt", file("g", at(0))}, {"here.txt", file("h", at(0))}});
    create({"--user", "kim", "--password-stdin"});
    ASSERT_EQ(tidemark({"sync"}), 0) << messages;
    start();
    remote.remove("sync/goes");
    world.writeOnServer("comes/along.txt", "c", at(0));
    world.writeOnServer("here.txt", "there", at(100));
    server.clearRequests();

    // Two, lest the first one's minute be over when the service looks.
    for (const int seconds : {0, 60})
        ASSERT_EQ(tidemark({"config", "schedule", "work", "add", hourlyIn(seconds)}), 0) << messages;
    EXPECT_TRUE(runsUntil([this] { return inStep(); })) << service->messages();
    EXPECT_TRUE(configuration("work")["nextSchedule"].is_string());
    EXPECT_THAT(asked("GET"), SizeIs(2));

    local.write("mine.txt", "m", at(0));
    EXPECT_TRUE(runsUntil([this] { return inStep(); })) << service->messages();
    EXPECT_THAT(asked("PUT"), ElementsAre("/dav/sync/mine.txt"));
    EXPECT_THAT(asked("GET"), SizeIs(2));
    EXPECT_THAT(asked("DELETE"), SizeIs(0));
    EXPECT_EQ(stop(), 0);
}

TEST_F(ServiceProcess, SaysWhatItDoes)
{
    EXPECT_EQ(tidemark({"status"}), 4);
    EXPECT_THAT(messages, HasSubstr("no service runs"));
    create();
    state.makeFolder("off");
    create("off", state.path("off"), {"--disable"});
    start();
    EXPECT_EQ(status()["state"], "idle");
    EXPECT_EQ(configuration("work")["lastResult"], nullptr);

    holdUploads(1);
    local.write("new.txt", "n");
    ASSERT_TRUE(server.waitForFaults(1));
    EXPECT_EQ(status()["state"], "running");
    EXPECT_EQ(status()["running"], "work");
    ASSERT_EQ(tidemark({"status"}), 0);
    EXPECT_THAT(output, AllOf(HasSubstr("tidemark run (process " + std::to_string(service->processId())),
                              HasSubstr("synchronising work"), HasSubstr("off (disabled)"), HasSubstr("watching")));
    server.releaseStalls();
    ASSERT_TRUE(statusBecomes([](const json& status) { return status["state"] == "idle"; }));
    ASSERT_EQ(tidemark({"status", "--json"}), 0);
    EXPECT_EQ(json::parse(output), status());
    const auto shown = configuration("work");
    EXPECT_EQ(shown["lastResult"], "some items failed");
    EXPECT_TRUE(dates::parseIsoDate(shown["lastTime"].get<std::string>()));

    struct stat socket
    {
    };
    const auto path = statusSocketPath(state.path("config"));
    ASSERT_EQ(::stat(path.c_str(), &socket), 0);
    EXPECT_TRUE(S_ISSOCK(socket.st_mode));
    EXPECT_EQ(socket.st_mode & 07777, 0600U);
    ASSERT_EQ(::stat(std::filesystem::path(path).parent_path().c_str(), &socket), 0);
    EXPECT_EQ(socket.st_mode & 0077, 0U);
}

TEST_F(ServiceProcess, AsksNobodyNotEvenAtATerminal)
{
    local.make({{"a.txt", file("a", at(0))}, {"b.txt", file("b", at(0))}});
    create();
    ASSERT_EQ(tidemark({"sync"}), 0) << messages;
    ASSERT_EQ(tidemark({"config", "set", "work", "--on-local-delete", "confirm"}), 0) << messages;
    service = std::make_unique<ProgramRun>(withConfig({"run"}), state.root(), std::string{},
                                           ProgramRun::Connection::terminal);
    ASSERT_TRUE(watcherBecomes("work", "watching"));
    local.remove("a.txt");
    EXPECT_TRUE(service->waitFor("work: cancelled"));
    EXPECT_TRUE(remote.exists("sync/a.txt"));
    EXPECT_EQ(stop(), 0);

    start({"--on-delete", "delete"});
    local.remove("b.txt");
    EXPECT_TRUE(runsUntil([this] { return !remote.exists("sync/b.txt"); })) << service->messages();
}

TEST_F(ServiceProcess, ASecondOneIsRefusedAndToldWhoServes)
{
    create();
    start();
    EXPECT_EQ(tidemark({"run"}), 7);
    EXPECT_THAT(messages, HasSubstr("tidemark run (process " + std::to_string(service->processId()) + ")"));
    EXPECT_EQ(status()["processId"], service->processId()) << "the first one answers on";
    EXPECT_EQ(stop(), 0);
}

TEST_F(ServiceProcess, OneRunOfAConfigurationAtATime)
{
    create();
    start();
    holdUploads(1);
    local.write("mine.txt", "m");
    ASSERT_TRUE(server.waitForFaults(1));
    EXPECT_EQ(tidemark({"sync"}), 7);
    for (const auto* command : {"reset", "download-all", "upload-all"})
        EXPECT_EQ(tidemark({command, "--yes"}), 7) << command;
    EXPECT_TRUE(local.exists("mine.txt"));
    server.releaseStalls();
    ASSERT_TRUE(service->waitUntil([this] { return runsEnded() == 1; }));

    // The other way round the service waits for the command and then does its own.
    holdUploads(1);
    ProgramRun command(withConfig({"sync"}), state.root());
    ASSERT_TRUE(server.waitForFaults(2));
    local.write("of the service.txt", "2", at(0));
    server.releaseStalls();
    EXPECT_EQ(command.finish(), 1);
    EXPECT_TRUE(runsUntil([this] { return remote.exists("sync/of the service.txt"); })) << service->messages();
    EXPECT_THAT(service->messages(), Not(HasSubstr("another run was under way")));
}

} // namespace
} // namespace tidemark::test
