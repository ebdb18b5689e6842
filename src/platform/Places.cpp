#include "platform/Places.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "platform/FileSystem.h"

namespace tidemark::Places {

namespace {

std::string& chosenRoot()
{
    static std::string root;
    return root;
}

std::string environment(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::string absolutePath(const std::string& path)
{
    std::error_code error;
    auto absolute = std::filesystem::absolute(path, error);
    return error ? path : absolute.lexically_normal().string();
}

std::string root()
{
    if (!chosenRoot().empty()) return chosenRoot();
    auto folder = environment("TIDEMARK_CONFIG_DIR");
    return folder.empty() ? folder : absolutePath(folder);
}

std::string homeDirectory()
{
    auto home = environment("HOME");
    if (!home.empty()) return home;
    const passwd* user = ::getpwuid(::getuid());
    return user && user->pw_dir ? user->pw_dir : "/";
}

/// A base directory that is not absolute does not count.
std::string baseDirectory(const char* variable, const char* belowHome)
{
    auto value = environment(variable);
    if (value.starts_with('/')) return value;
    return fs::joinPath(homeDirectory(), belowHome);
}

} // namespace

void setRoot(std::string folder)
{
    chosenRoot() = folder.empty() ? folder : absolutePath(folder);
}

std::string configurationDirectory()
{
    if (auto folder = root(); !folder.empty()) return folder;
    return fs::joinPath(baseDirectory("XDG_DATA_HOME", ".local/share"), applicationIdentifier);
}

std::string defaultsFile()
{
    if (auto folder = root(); !folder.empty()) return fs::joinPath(folder, "defaults.plist");
    auto folder = fs::joinPath(baseDirectory("XDG_CONFIG_HOME", ".config"), applicationIdentifier);
    return fs::joinPath(folder, "defaults.plist");
}

std::string runtimeDirectory()
{
    auto base = environment("XDG_RUNTIME_DIR");
    if (root().empty() && base.starts_with('/')) return fs::joinPath(base, applicationIdentifier);
    return fs::joinPath(configurationDirectory(), "run");
}

} // namespace tidemark::Places
