#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tidemark::cli::testing {

/// The real program in a process of its own, with an environment of nothing but a home folder.
class ProgramRun
{
public:
    enum class Connection
    {
        pipes,
        terminal
    };

    /// Starts it. `input` is all of its standard input where it has pipes.
    ProgramRun(std::vector<std::string> arguments, const std::string& home, const std::string& input = {},
               Connection connection = Connection::pipes);
    /// Ends it where it still runs.
    ~ProgramRun();
    ProgramRun(const ProgramRun&) = delete;
    ProgramRun& operator=(const ProgramRun&) = delete;

    /// Reads until `text` has been written; false where the program, or the patience for it, has ended before.
    bool waitFor(const std::string& text);
    /// The same for any condition; it is asked at once and after whatever is written.
    bool waitUntil(const std::function<bool()>& condition);
    /// What a person types.
    void type(const std::string& text);
    void signal(int number);
    pid_t processId() const { return pid_; }
    /// Reads the rest; the exit status, or -1 where a signal ended it.
    int finish();

    /// Standard output; on a terminal all that is shown.
    const std::string& output() const { return output_; }
    const std::string& messages() const { return messages_; }
    /// Its command line as every process can see it.
    std::string visibleCommandLine() const;

private:
    void startWithPipes(std::vector<char*> arguments, std::vector<char*> environment, const std::string& input);
    void startOnTerminal(std::vector<char*> arguments, std::vector<char*> environment);
    bool readSome();

    pid_t pid_ = -1;
    int input_ = -1;
    int outputEnd_ = -1;
    int messagesEnd_ = -1;
    std::string output_;
    std::string messages_;
};

} // namespace tidemark::cli::testing
