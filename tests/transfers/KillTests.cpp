// The program is killed at random points of its runs: the next run converges, and no half file is taken for a whole.

#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <random>
#include <sched.h>
#include <set>

#include <gtest/gtest.h>

#include "tests/support/Process.h"
#include "tests/transfers/Material.h"

namespace tidemark::test {
namespace {

using devserver::Fault;
namespace fault = devserver::fault;

/// `tidemark sync` in a process of its own. kill() may come from any thread.
class KillableRun
{
public:
    explicit KillableRun(const std::string& configDirectory)
    {
        const std::string names[] = {TIDEMARK_PROGRAM, "sync", "work", "--quiet", "--config-dir", configDirectory};
        std::vector<char*> arguments;
        for (const auto& name : names)
            arguments.push_back(const_cast<char*>(name.c_str()));
        arguments.push_back(nullptr);
        ::posix_spawn_file_actions_t quiet;
        ::posix_spawn_file_actions_init(&quiet);
        for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
            ::posix_spawn_file_actions_addopen(&quiet, stream, "/dev/null", O_WRONLY, 0);
        EXPECT_EQ(::posix_spawn(&pid_, TIDEMARK_PROGRAM, &quiet, nullptr, arguments.data(), environ), 0);
        ::posix_spawn_file_actions_destroy(&quiet);
        handle_ = static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0));
    }
    ~KillableRun()
    {
        finish();
        ::close(handle_);
    }
    KillableRun(const KillableRun&) = delete;
    KillableRun& operator=(const KillableRun&) = delete;

    void kill() const { ::syscall(SYS_pidfd_send_signal, handle_, SIGKILL, nullptr, 0); }
    bool hasEnded()
    {
        siginfo_t ended{};
        return ::waitid(P_PID, static_cast<id_t>(pid_), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 && ended.si_pid != 0;
    }
    /// The exit status, or -1 after a kill.
    int finish()
    {
        int status = 0;
        if (!finished_) ::waitpid(pid_, &status, 0);
        finished_ = true;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t pid_ = -1;
    /// Unlike a number it never comes to name another process.
    int handle_ = -1;
    bool finished_ = false;
};

constexpr const char* smallFiles[] = {"a.txt", "b.txt", "d/c.txt", "d/d.txt", "e/f/g.txt", "h.txt"};
constexpr const char* bigFiles[] = {"big.bin", "d/huge.bin"};

/// What is to happen to files that both sides changed, and to those that one side deleted.
struct Policies
{
    bool localWins;
    bool deletes;
};

constexpr Policies policySets[] = {{true, true}, {false, false}, {true, false}, {false, true}};

class Kills : public ::testing::TestWithParam<Kind>
{
protected:
    Kills() : world(GetParam()), random(20'261'122)
    {
        create();
        for (const auto* path : smallFiles)
            change(path, true);
        for (const auto* path : bigFiles)
            change(path, false);
    }

    void create()
    {
        std::vector<std::string> arguments{
            TIDEMARK_PROGRAM,          "config",       "create", "work", "--url", world.server->url("sync"), "--local",
            world.client.local.root(), "--config-dir", config()};
        if (!world.key().empty()) arguments.push_back("--key-stdin");
        testing::requireCommand(arguments, world.key() + "\n");
    }
    void setPolicies(const Policies& wanted)
    {
        policies = wanted;
        testing::requireCommand({TIDEMARK_PROGRAM, "config", "set", "work", "--config-dir", config(), "--on-conflict",
                                 wanted.localWins ? "upload" : "download", "--on-server-delete",
                                 wanted.deletes ? "delete" : "upload", "--on-local-delete",
                                 wanted.deletes ? "delete" : "download"});
    }
    std::string config() const { return state.path("config"); }
    std::size_t below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random); }

    /// A new content of a length that no other has.
    void change(const std::string& path, bool here)
    {
        ++version;
        const std::size_t length = (path.ends_with(".bin") ? mebibyte : 100) + 16 * version;
        const auto plain = bytes(length, static_cast<unsigned>(version));
        const auto cipher = cipherOf(plain, world.key());
        const auto time = at(static_cast<int>(version) * 10);
        if (here)
            world.client.local.write(path, plain, time);
        else
            world.writeOnServer(path, cipher, time);
        expectedHere[path] = plain;
        expectedThere[path] = cipher;
        wholes[path].insert(cipher);
    }
    void remove(const std::string& path, bool here)
    {
        if (here)
            world.client.local.remove(path);
        else
            world.remote.remove("sync/" + path);
        if (!policies.deletes) return;
        expectedHere.erase(path);
        expectedThere.erase(path);
    }
    /// The side that wins comes last: its content is what is expected.
    void changeOnBothSides(const std::string& path)
    {
        change(path, !policies.localWins);
        change(path, policies.localWins);
    }
    /// Whatever happens to a file, the policies leave exactly one result that is right.
    void changeSome()
    {
        for (const auto* path : smallFiles) {
            const auto dice = below(8);
            if (dice < 4)
                change(path, dice % 2 == 0);
            else if (dice == 4 && expectedHere.contains(path))
                remove(path, below(2) == 0);
            else if (dice == 5)
                changeOnBothSides(path);
        }
        for (const auto* path : bigFiles)
            if (below(3) != 0) change(path, below(2) == 0);
    }

    /// Starts a run and kills it: when the n-th request has come in, when so much of a body has gone over the wire, or
    /// a while after one of these.
    void runAndKill()
    {
        KillableRun run(config());
        std::atomic<bool> struck = false;
        const auto place = 1 + below(mebibyte);
        const auto delay = below(3) == 0 ? below(3000) : 0;
        const auto strike = [&] {
            if (delay == 0) run.kill();
            struck = true;
        };
        std::size_t wantedBytes = 0;
        std::size_t requests = below(14);
        switch (below(4)) {
        case 0:
            world.server->addFault({"PUT", "*.bin", fault::Call{strike, place}, 1, static_cast<int>(below(2))});
            requests += 6;
            break;
        case 1:
            wantedBytes = place;
            requests += 6;
            break;
        default:
            break;
        }
        world.server->addFault({"*", "*", fault::Call{strike, 0}, 1, static_cast<int>(requests)});
        for (std::size_t turn = 0; !struck && !run.hasEnded(); ++turn) {
            if (wantedBytes > 0 && turn % 16 == 0 && downloadedBytes(world) >= wantedBytes) break;
            ::sched_yield();
        }
        for (std::size_t turn = 0; turn < delay && !run.hasEnded(); ++turn)
            ::sched_yield();
        if (!run.hasEnded()) run.kill();
        killed += run.finish() == -1 ? 1 : 0;
        world.server->clearFaults();
        ASSERT_TRUE(world.server->waitUntilIdle());
        world.server->clearRequests();
    }

    void expectNoHalfFileOnTheServer()
    {
        for (const auto& [path, entry] : readTree(world.remote.path("sync")))
            EXPECT_TRUE(entry.isFolder || wholes[path].contains(entry.content)) << path;
    }
    void expectConvergence()
    {
        KillableRun run(config());
        EXPECT_EQ(run.finish(), 0);
        expectNoHalfFileOnTheServer();
        // Not compared by a matcher, which would print megabytes.
        EXPECT_TRUE(filesOf(world.client.local.read()) == expectedHere);
        EXPECT_TRUE(filesOf(readTree(world.remote.path("sync"))) == expectedThere);
        for (const auto& request : world.server->requests())
            EXPECT_TRUE(request.method != "PUT" || request.responseStatus / 100 == 2) << request.path;
        world.server->clearRequests();
    }
    static std::map<std::string, std::string> filesOf(const Tree& tree)
    {
        std::map<std::string, std::string> files;
        for (const auto& [path, entry] : tree)
            if (!entry.isFolder) files[path] = entry.content;
        return files;
    }

    KindWorld world;
    TempTree state;
    std::mt19937 random;
    std::size_t version = 0;
    std::size_t killed = 0;
    Policies policies = policySets[0];
    std::map<std::string, std::string> expectedHere;
    std::map<std::string, std::string> expectedThere;
    /// What each path has ever held, as servers hold it.
    std::map<std::string, std::set<std::string>> wholes;
};

INSTANTIATE_TEST_SUITE_P(Servers, Kills, ::testing::ValuesIn(kinds),
                         [](const auto& parameter) { return parameter.param.name; });

TEST_P(Kills, leaveNothingThatTheNextRunDoesNotPutRight)
{
    constexpr std::size_t wanted = 50;
    expectConvergence();
    for (std::size_t round = 0; killed < wanted && round < 3 * wanted && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        setPolicies(policySets[round % std::size(policySets)]);
        changeSome();
        runAndKill();
        expectNoHalfFileOnTheServer();
        // What was half put right is left again.
        if (below(3) == 0) runAndKill();
        expectConvergence();
    }
    EXPECT_GE(killed, wanted);
}

} // namespace
} // namespace tidemark::test
