#include "Logger/BXLogFomatter.h"

#include <iterator>

#include <spdlog/details/log_msg.h>
#include <spdlog/fmt/fmt.h>

#include "platform/Dates.h"

namespace tidemark {

namespace {

std::string_view levelName(spdlog::level::level_enum level)
{
    switch (level) {
    case spdlog::level::critical:
    case spdlog::level::err:
        return "ERROR";
    case spdlog::level::warn:
        return "WARN ";
    case spdlog::level::info:
        return "INFO ";
    case spdlog::level::debug:
        return "DEBUG";
    case spdlog::level::trace:
    case spdlog::level::off:
    case spdlog::level::n_levels:
        return "VERBO";
    }
    return "VERBO";
}

/// Where the name that ends at `end` begins: after the last blank, ":", "*" or "&" outside "<>".
std::size_t nameBegin(std::string_view signature, std::size_t end)
{
    int depth = 0;
    for (std::size_t i = end; i > 0; --i) {
        const char c = signature[i - 1];
        if (c == '>') ++depth;
        if (c == '<') --depth;
        if (depth == 0 && (c == ' ' || c == ':' || c == '*' || c == '&')) return i;
    }
    return 0;
}

/// Where the parameter list begins: the first "(" outside "<>" that follows a name.
std::size_t parameterList(std::string_view signature)
{
    int depth = 0;
    for (std::size_t i = 0; i < signature.size(); ++i) {
        if (signature[i] == '<') ++depth;
        if (signature[i] == '>') --depth;
        // "{anonymous}" and "(anonymous namespace)" are parts of a qualified name, not parameter lists.
        const bool afterName = i > 0 && signature[i - 1] != ' ' && signature[i - 1] != ':';
        if (signature[i] == '(' && depth == 0 && afterName) return i;
    }
    return std::string_view::npos;
}

} // namespace

std::string_view BXLogFomatter::fileTag(std::string_view path)
{
    constexpr std::string_view root = "src/";
    if (const auto at = path.rfind("/src/"); at != std::string_view::npos)
        path.remove_prefix(at + 1 + root.size());
    else if (path.starts_with(root))
        path.remove_prefix(root.size());
    const auto dot = path.rfind('.');
    const auto slash = path.rfind('/');
    if (dot != std::string_view::npos && (slash == std::string_view::npos || dot > slash)) path = path.substr(0, dot);
    return path;
}

std::string_view BXLogFomatter::functionName(std::string_view signature)
{
    const auto end = parameterList(signature);
    if (end == std::string_view::npos) return signature;
    const auto begin = nameBegin(signature, end);
    auto name = signature.substr(begin, end - begin);
    return name.empty() ? signature : name;
}

std::string_view BXLogFomatter::secondText(std::chrono::system_clock::time_point time)
{
    const auto second = std::chrono::floor<std::chrono::seconds>(time);
    if (secondText_.empty() || second != second_) {
        secondText_ = dates::formatLocal(second, "yyyy/MM/dd HH:mm:ss");
        second_ = second;
    }
    return secondText_;
}

void BXLogFomatter::format(const spdlog::details::log_msg& message, spdlog::memory_buf_t& line)
{
    const auto second = std::chrono::floor<std::chrono::seconds>(message.time);
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(message.time - second).count();
    const std::string_view file = message.source.filename ? message.source.filename : "";
    const std::string_view function = message.source.funcname ? message.source.funcname : "";
    fmt::format_to(std::back_inserter(line), "{}.{:03} ({}) {} [{}({}) {}] ", secondText(message.time), milliseconds,
                   message.thread_id, levelName(message.level), fileTag(file), message.source.line,
                   functionName(function));
    line.append(message.payload.begin(), message.payload.end());
    line.push_back('\n');
}

std::unique_ptr<spdlog::formatter> BXLogFomatter::clone() const
{
    return std::make_unique<BXLogFomatter>();
}

} // namespace tidemark
