#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include <spdlog/formatter.h>

namespace tidemark {

/// "yyyy/MM/dd HH:mm:ss.SSS (thread) LEVEL [file(line) function] message" and a line break.
class BXLogFomatter : public spdlog::formatter
{
public:
    void format(const spdlog::details::log_msg& message, spdlog::memory_buf_t& line) override;
    std::unique_ptr<spdlog::formatter> clone() const override;

    /// The path below the source root without extension: "SyncLibrary/BXSyncManager".
    static std::string_view fileTag(std::string_view path);
    /// The bare name out of a function's signature; a lambda counts as the function it stands in.
    static std::string_view functionName(std::string_view signature);

private:
    std::string_view secondText(std::chrono::system_clock::time_point time);

    std::chrono::sys_seconds second_{};
    std::string secondText_;
};

} // namespace tidemark
