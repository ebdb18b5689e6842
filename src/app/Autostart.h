#pragma once

#include <string>

#include "platform/Result.h"

namespace tidemark {

/// Whether the desktop starts the program with the session: a desktop file in the folder where desktops look for them.
class Autostart
{
public:
    /// `folder` is usually userFolder(); `program` the absolute path of what is started.
    Autostart(std::string folder, std::string program);

    /// $XDG_CONFIG_HOME/autostart
    static std::string userFolder();

    bool isOn() const;
    /// An existing file that is on stays as it is: a person may have changed it.
    Status setOn(bool on);

    /// `path` as the value of "Exec" that starts it, whatever characters it holds.
    static std::string quoted(const std::string& path);

private:
    std::string content() const;

    const std::string path_;
    const std::string program_;
};

} // namespace tidemark
