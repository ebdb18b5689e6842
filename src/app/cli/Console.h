#pragma once

#include <mutex>
#include <ostream>
#include <string>
#include <string_view>

namespace tidemark::cli {

class Terminal;

enum class Verbosity
{
    quiet,
    normal,
    verbose
};

/// Where a command writes: data on one stream, messages for people on the other, with one progress line at the end of
/// the latter. Texts are shown with their control characters escaped, so that a name cannot steer the terminal. Any
/// thread.
class Console
{
public:
    Console(std::ostream& data, std::ostream& messages, const Terminal& terminal);

    void setVerbosity(Verbosity verbosity) { verbosity_ = verbosity; }
    Verbosity verbosity() const { return verbosity_; }

    /// A line of data.
    void data(std::string_view line);
    /// Data as it is, for a JSON document.
    void document(std::string_view text);

    /// What went well; not shown when quiet.
    void notice(std::string_view text);
    /// Only shown when verbose.
    void detail(std::string_view text);
    void warning(std::string_view text);
    /// Shown even when quiet.
    void error(std::string_view text);
    /// What a question is about; shown even when quiet.
    void question(std::string_view text);
    /// A question, without an end of line; there is no progress line until it is answered.
    void prompt(std::string_view text);
    /// The question is answered; `endsLine` where the answer has not ended its line.
    void endPrompt(bool endsLine);

    /// Replaces the progress line; "" takes it away. Not shown when quiet or where there is no terminal.
    void progress(const std::string& line);

private:
    void message(std::string_view label, std::string_view colour, std::string_view text);
    void hideProgress();

    std::ostream& data_;
    std::ostream& messages_;
    const Terminal& terminal_;
    Verbosity verbosity_ = Verbosity::normal;
    std::mutex mutex_; // guards the streams and all below
    bool isPrompting_ = false;
    std::string shownProgress_;
};

} // namespace tidemark::cli
