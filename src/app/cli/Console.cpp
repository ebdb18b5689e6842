#include "app/cli/Console.h"

#include <utility>

#include "app/cli/Terminal.h"
#include "platform/Unicode.h"

namespace tidemark::cli {

namespace {

constexpr std::string_view red = "\033[31m";
constexpr std::string_view yellow = "\033[33m";
constexpr std::string_view plain = "\033[0m";
constexpr std::string_view startOfEmptyLine = "\r\033[K";
constexpr std::string_view wrapOff = "\033[?7l";
constexpr std::string_view wrapOn = "\033[?7h";

} // namespace

Console::Console(std::ostream& data, std::ostream& messages, const Terminal& terminal)
    : data_(data), messages_(messages), terminal_(terminal)
{
}

void Console::data(std::string_view line)
{
    std::lock_guard lock(mutex_);
    hideProgress();
    data_ << escapeControls(line) << '\n' << std::flush;
}

void Console::document(std::string_view text)
{
    std::lock_guard lock(mutex_);
    hideProgress();
    data_ << text << '\n' << std::flush;
}

void Console::notice(std::string_view text)
{
    if (verbosity_ != Verbosity::quiet) message("", "", text);
}

void Console::detail(std::string_view text)
{
    if (verbosity_ == Verbosity::verbose) message("", "", text);
}

void Console::warning(std::string_view text)
{
    if (verbosity_ != Verbosity::quiet) message("warning: ", yellow, text);
}

void Console::error(std::string_view text)
{
    message("tidemark: ", red, text);
}

void Console::question(std::string_view text)
{
    message("", "", text);
}

void Console::prompt(std::string_view text)
{
    std::lock_guard lock(mutex_);
    hideProgress();
    isPrompting_ = true;
    messages_ << escapeControls(text) << ' ' << std::flush;
}

void Console::endPrompt(bool endsLine)
{
    std::lock_guard lock(mutex_);
    isPrompting_ = false;
    if (endsLine) messages_ << '\n' << std::flush;
}

void Console::progress(const std::string& line)
{
    if (verbosity_ == Verbosity::quiet || !terminal_.showsProgress()) return;
    std::lock_guard lock(mutex_);
    if (isPrompting_ || line == shownProgress_) return;
    // A line with wide characters may be longer than counted: it is cut by the terminal, never wrapped.
    messages_ << startOfEmptyLine << wrapOff << line << wrapOn << std::flush;
    shownProgress_ = line;
}

void Console::message(std::string_view label, std::string_view colour, std::string_view text)
{
    std::lock_guard lock(mutex_);
    hideProgress();
    if (!colour.empty() && terminal_.showsColours())
        messages_ << colour << label << plain;
    else
        messages_ << label;
    messages_ << escapeControls(text) << '\n' << std::flush;
}

void Console::hideProgress()
{
    if (!std::exchange(shownProgress_, {}).empty()) messages_ << startOfEmptyLine;
}

} // namespace tidemark::cli
