#include "app/qt/settings/Autostart.h"

#include <QCoreApplication>
#include <QStandardPaths>

#include "app/qt/Texts.h"
#include "platform/FileSystem.h"

namespace tidemark::qt::Autostart {

namespace {

std::string filePath()
{
    const auto config = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    return toUtf8(config) + "/autostart/com.marlock.tidemark.desktop";
}

/// As the entry's grammar wants it: in quotation marks, with its special characters escaped.
std::string quoted(const std::string& path)
{
    std::string text = "\"";
    for (const char c : path) {
        if (c == '"' || c == '`' || c == '$' || c == '\\') text += "\\\\";
        text += c;
        if (c == '%') text += '%';
    }
    return text + "\"";
}

} // namespace

bool isOn()
{
    return fs::exists(filePath());
}

Status set(bool on)
{
    const auto path = filePath();
    if (!on) return fs::exists(path) ? fs::removeFile(path) : Status();
    if (auto made = fs::createFolders(fs::parentPath(path)); !made) return made;
    const auto program = toUtf8(QCoreApplication::applicationFilePath());
    return fs::replaceFile(path,
                           "[Desktop Entry]\nType=Application\nName=Tidemark\nIcon=tidemark\nExec=" + quoted(program) +
                               "\nX-GNOME-Autostart-enabled=true\n",
                           0644);
}

} // namespace tidemark::qt::Autostart
