#pragma once

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

namespace tidemark::testing {

struct CommandOutput
{
    int status = 0; // the exit status; 128 + signal for a killed program
    std::string out;
    std::string err;
};

/// Runs a program of PATH or of the system's folders to its end. Throws std::runtime_error where there is none.
CommandOutput runCommand(const std::vector<std::string>& arguments, const std::string& input = {});
/// Standard output of a run that must succeed; throws std::runtime_error with its messages otherwise.
std::string requireCommand(const std::vector<std::string>& arguments, const std::string& input = {});

/// A port of 127.0.0.1 that nobody listens on.
std::uint16_t freePort();

std::string readFile(const std::filesystem::path& file);
void writeFile(const std::filesystem::path& file, std::string_view content);

/// A temporary folder for a server's files. Servers run without root's rights: where the tests have them, handOver()
/// gives a tree to the user that servers run as. Removed with its content by the destructor.
class ServerDirectory
{
public:
    ServerDirectory();
    ~ServerDirectory();
    ServerDirectory(const ServerDirectory&) = delete;
    ServerDirectory& operator=(const ServerDirectory&) = delete;

    const std::filesystem::path& path() const { return path_; }
    /// Makes a folder below this one.
    std::filesystem::path makeFolder(const std::string& name) const;
    void handOver() const { handOver(path_); }
    static void handOver(const std::filesystem::path& tree);

private:
    std::filesystem::path path_;
};

/// A server program in the foreground, in a process group of its own, ended by the destructor or with the test.
class ServerProcess
{
public:
    /// Its messages go to `messages`.
    ServerProcess(const std::vector<std::string>& arguments, const std::filesystem::path& messages);
    ~ServerProcess();
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    /// Tries to connect until somebody accepts; false when the program has ended or the tries are used up.
    bool waitForPort(std::uint16_t port) const;
    /// Asks it to end, and makes it end where it does not.
    void stop() { end(SIGTERM); }
    /// Ends it at once.
    void kill() { end(SIGKILL); }

private:
    void end(int signal);
    bool waitForEnd(int milliseconds) const;

    pid_t pid_ = -1;
    int pidFd_ = -1;
};

} // namespace tidemark::testing
