#include "support/Process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include <arpa/inet.h>
#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace tidemark::testing {

namespace {

struct CloseFile
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

std::system_error systemError(const std::string& what)
{
    return std::system_error(errno, std::generic_category(), what);
}

std::string findProgram(const std::string& name)
{
    if (name.find('/') != std::string::npos) return name;
    const char* path = std::getenv("PATH");
    std::istringstream folders(std::string(path ? path : "") + ":/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin");
    for (std::string folder; std::getline(folders, folder, ':');)
        if (const std::string program = folder + "/" + name; access(program.c_str(), X_OK) == 0) return program;
    throw std::runtime_error("The tests need the program " + name + "; scripts/install-packages test installs it.");
}

/// The user that servers run as where the tests run as root.
struct ServerUser
{
    uid_t user;
    gid_t group;
};

std::optional<ServerUser> serverUser()
{
    if (geteuid() != 0) return std::nullopt;
    for (const char* name : {"www-data", "nobody"})
        if (const passwd* entry = getpwnam(name)) return ServerUser{entry->pw_uid, entry->pw_gid};
    throw std::runtime_error("There is no user to run servers as.");
}

struct Launch
{
    int in, out, err;
    bool ownGroup = false;
    std::optional<ServerUser> user;
};

/// Only calls that are allowed between fork and exec.
[[noreturn]] void becomeProgram(const Launch& launch, const char* program, char* const* arguments)
{
    if (launch.ownGroup) setpgid(0, 0);
    if (launch.user &&
        (setgroups(0, nullptr) != 0 || setgid(launch.user->group) != 0 || setuid(launch.user->user) != 0))
        _exit(126);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(launch.in, STDIN_FILENO);
    dup2(launch.out, STDOUT_FILENO);
    dup2(launch.err, STDERR_FILENO);
    syscall(SYS_close_range, 3U, ~0U, 0U);
    execv(program, arguments);
    _exit(127);
}

pid_t launchProgram(const std::vector<std::string>& arguments, const Launch& launch)
{
    const std::string program = findProgram(arguments.at(0));
    std::vector<char*> pointers;
    for (const std::string& argument : arguments)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);

    const pid_t pid = fork();
    if (pid < 0) throw systemError("fork");
    if (pid == 0) becomeProgram(launch, program.c_str(), pointers.data());
    return pid;
}

int waitForStatus(pid_t pid)
{
    int status = 0;
    while (waitpid(pid, &status, 0) < 0)
        if (errno != EINTR) throw systemError("waitpid");
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

File temporaryFile(const std::string& content = {})
{
    File file(std::tmpfile());
    if (!file) throw systemError("tmpfile");
    std::fwrite(content.data(), 1, content.size(), file.get());
    std::rewind(file.get());
    return file;
}

std::string contentOf(std::FILE* file)
{
    std::string content;
    std::array<char, 65536> buffer;
    std::rewind(file);
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), file))
        content.append(buffer.data(), count);
    return content;
}

sockaddr_in loopback(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

bool accepts(std::uint16_t port)
{
    const int handle = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(port);
    const bool connected = connect(handle, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(handle);
    return connected;
}

} // namespace

CommandOutput runCommand(const std::vector<std::string>& arguments, const std::string& input)
{
    const File in = temporaryFile(input), out = temporaryFile(), err = temporaryFile();
    const pid_t pid = launchProgram(arguments, {fileno(in.get()), fileno(out.get()), fileno(err.get()), false, {}});
    const int status = waitForStatus(pid);
    return {status, contentOf(out.get()), contentOf(err.get())};
}

std::string requireCommand(const std::vector<std::string>& arguments, const std::string& input)
{
    CommandOutput output = runCommand(arguments, input);
    if (output.status != 0)
        throw std::runtime_error(arguments.at(0) + " ended with status " + std::to_string(output.status) + ": " +
                                 output.err + output.out);
    return std::move(output.out);
}

std::uint16_t freePort()
{
    const int handle = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    const bool bound = bind(handle, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                       getsockname(handle, reinterpret_cast<sockaddr*>(&address), &length) == 0;
    close(handle);
    if (!bound) throw systemError("bind");
    return ntohs(address.sin_port);
}

std::string readFile(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void writeFile(const fs::path& file, std::string_view content)
{
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!stream.flush()) throw systemError(file.string());
}

ServerDirectory::ServerDirectory()
{
    std::string name = (fs::temp_directory_path() / "tidemark-server-XXXXXX").string();
    if (!mkdtemp(name.data())) throw systemError("mkdtemp");
    path_ = name;
    handOver();
}

ServerDirectory::~ServerDirectory()
{
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

fs::path ServerDirectory::makeFolder(const std::string& name) const
{
    const fs::path folder = path_ / name;
    fs::create_directories(folder);
    return folder;
}

void ServerDirectory::handOver(const fs::path& tree)
{
    const std::optional<ServerUser> user = serverUser();
    if (!user) return;
    const auto give = [&](const fs::path& path) {
        if (lchown(path.c_str(), user->user, user->group) != 0) throw systemError("lchown " + path.string());
    };
    give(tree);
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(tree))
        give(entry.path());
}

ServerProcess::ServerProcess(const std::vector<std::string>& arguments, const fs::path& messages)
{
    const File in = temporaryFile();
    const File out(std::fopen(messages.c_str(), "a"));
    if (!out) throw systemError(messages.string());
    pid_ = launchProgram(arguments, {fileno(in.get()), fileno(out.get()), fileno(out.get()), true, serverUser()});
    pidFd_ = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0U));
    if (pidFd_ < 0) throw systemError("pidfd_open");
}

ServerProcess::~ServerProcess()
{
    stop();
}

bool ServerProcess::waitForEnd(int milliseconds) const
{
    pollfd ended{pidFd_, POLLIN, 0};
    return poll(&ended, 1, milliseconds) == 1;
}

bool ServerProcess::waitForPort(std::uint16_t port) const
{
    for (int attempt = 0; attempt < 3000; ++attempt) {
        if (accepts(port)) return true;
        if (waitForEnd(10)) return false;
    }
    return false;
}

void ServerProcess::end(int signal)
{
    if (pid_ < 0) return;
    ::kill(pid_, signal);
    if (!waitForEnd(10000)) ::kill(pid_, SIGKILL);
    // Its own children, where it left any. The group's name is free only after the wait below.
    ::kill(-pid_, SIGKILL);
    waitForStatus(pid_);
    close(pidFd_);
    pid_ = pidFd_ = -1;
}

} // namespace tidemark::testing
