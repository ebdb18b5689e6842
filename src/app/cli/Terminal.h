#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace tidemark::cli {

class Cancellation;

/// What a person sits at: questions are shown on standard error and answered on standard input.
class Terminal
{
public:
    virtual ~Terminal() = default;

    /// A person can be asked: standard input and standard error are terminals.
    virtual bool isInteractive() const = 0;
    /// Standard error is a terminal that shows lines which are written over again.
    virtual bool showsProgress() const = 0;
    /// Colours are wanted on standard error.
    virtual bool showsColours() const = 0;
    virtual std::size_t columns() const = 0;

    /// A line without its end; nothing at the end of input and on a cancellation.
    virtual std::optional<std::string> readLine() = 0;
    /// The same without showing what is typed; calls `showPrompt` once nothing is shown any more.
    virtual std::optional<std::string> readSecret(const std::function<void()>& showPrompt) = 0;

    enum class Wait
    {
        elapsed,
        answered,
        cancelled
    };
    /// Waits for Return, for the time to pass, or for a cancellation.
    virtual Wait waitForReturn(std::chrono::milliseconds limit) = 0;
};

/// The process's own terminal. A cancellation ends every wait.
class SystemTerminal : public Terminal
{
public:
    explicit SystemTerminal(const Cancellation& cancellation) : cancellation_(cancellation) {}

    bool isInteractive() const override;
    bool showsProgress() const override;
    bool showsColours() const override;
    std::size_t columns() const override;
    std::optional<std::string> readLine() override;
    std::optional<std::string> readSecret(const std::function<void()>& showPrompt) override;
    Wait waitForReturn(std::chrono::milliseconds limit) override;

    /// Gives the terminal its echo back, for a process that ends in the middle of readSecret(). Any thread.
    static void restoreEcho();

private:
    const Cancellation& cancellation_;
    std::string pending_;
    bool atEnd_ = false;
};

} // namespace tidemark::cli
