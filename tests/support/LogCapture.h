#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "Logger/LogFacade.h"

namespace tidemark::test {

/// Collects what is logged while it lives. One at a time.
class LogCapture
{
public:
    LogCapture()
    {
        LogFacade::setObserver([this](LogLevel level, std::string_view text) {
            const std::lock_guard lock(mutex_);
            lines_.push_back({level, std::string(text)});
        });
    }
    ~LogCapture() { LogFacade::setObserver({}); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// Lines of `level` that contain `part`.
    int count(LogLevel level, std::string_view part) const
    {
        const std::lock_guard lock(mutex_);
        int found = 0;
        for (const auto& line : lines_)
            if (line.level == level && line.text.find(part) != std::string::npos) ++found;
        return found;
    }

private:
    struct Line
    {
        LogLevel level;
        std::string text;
    };
    mutable std::mutex mutex_;
    std::vector<Line> lines_;
};

} // namespace tidemark::test
