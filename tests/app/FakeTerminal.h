#pragma once

#include <deque>

#include "app/cli/Cancellation.h"
#include "app/cli/Terminal.h"

namespace tidemark::cli::testing {

/// A terminal whose answers are scripted. Without a line left it is at the end of its input.
class FakeTerminal : public Terminal
{
public:
    bool isInteractive() const override { return interactive; }
    bool showsProgress() const override { return progress; }
    bool showsColours() const override { return colours; }
    std::size_t columns() const override { return 80; }
    std::optional<std::string> readLine() override { return next(lines); }
    std::optional<std::string> readSecret(const std::function<void()>& showPrompt) override
    {
        showPrompt();
        return next(secrets);
    }
    Wait waitForReturn(std::chrono::milliseconds limit) override
    {
        waits.push_back(limit);
        return waitResult;
    }

    bool interactive = true;
    bool progress = false;
    bool colours = false;
    std::deque<std::string> lines;
    std::deque<std::string> secrets;
    std::deque<std::chrono::milliseconds> waits;
    Wait waitResult = Wait::elapsed;

private:
    static std::optional<std::string> next(std::deque<std::string>& script)
    {
        if (script.empty()) return std::nullopt;
        auto line = std::move(script.front());
        script.pop_front();
        return line;
    }
};

} // namespace tidemark::cli::testing
