#include "app/Autostart.h"

#include <cstdlib>
#include <sstream>

#include "platform/FileSystem.h"
#include "platform/Places.h"

namespace tidemark {

namespace {

constexpr std::int64_t largestFile = 64 * 1024;
constexpr unsigned sharedFile = 0644;
constexpr unsigned ownersFolder = 0700;

std::string environment(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

bool isOff(std::string_view line)
{
    return line == "Hidden=true" || line == "X-GNOME-Autostart-enabled=false";
}

} // namespace

Autostart::Autostart(std::string folder, std::string program)
    : path_(fs::joinPath(folder, Places::applicationIdentifier + std::string(".desktop"))), program_(std::move(program))
{
}

std::string Autostart::userFolder()
{
    const auto home = environment("XDG_CONFIG_HOME");
    const auto base = home.starts_with('/') ? home : fs::joinPath(environment("HOME"), ".config");
    return fs::joinPath(base, "autostart");
}

bool Autostart::isOn() const
{
    const auto text = fs::readFile(path_, largestFile);
    if (!text) return false;
    std::istringstream lines(*text);
    for (std::string line; std::getline(lines, line);)
        if (isOff(line)) return false;
    return true;
}

Status Autostart::setOn(bool on)
{
    if (on == isOn()) return {};
    if (!on) return fs::removeFile(path_);
    if (auto made = fs::createFolders(fs::parentPath(path_), ownersFolder); !made) return made;
    return fs::replaceFile(path_, content(), sharedFile);
}

std::string Autostart::quoted(const std::string& path)
{
    std::string text = "\"";
    for (const char c : path) {
        // Once for the quotes of the argument, once more for the value's own escapes.
        if (c == '\\')
            text += "\\\\\\\\";
        else if (c == '"' || c == '`' || c == '$')
            text += std::string("\\\\") + c;
        else if (c == '%')
            text += "%%";
        else
            text += c;
    }
    return text + "\"";
}

std::string Autostart::content() const
{
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Tidemark\n"
           "Icon=tidemark\n"
           "Exec=" +
           quoted(program_) +
           "\n"
           "Terminal=false\n"
           "StartupNotify=false\n";
}

} // namespace tidemark
