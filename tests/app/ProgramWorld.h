#pragma once

#include <string>
#include <vector>

#include "tests/app/CommandWorld.h"
#include "tests/app/ProgramRun.h"

namespace tidemark::cli::testing {

/// Runs of the real program with the configurations of a temporary folder.
struct ProgramWorld : ::testing::Test
{
    std::vector<std::string> withConfig(std::vector<std::string> arguments) const
    {
        arguments.push_back("--config-dir");
        arguments.push_back(folder.path("config"));
        return arguments;
    }
    /// Runs to the end without a terminal and keeps what was written.
    int tidemark(std::vector<std::string> arguments, const std::string& input = {})
    {
        ProgramRun program(withConfig(std::move(arguments)), folder.path(), input);
        const int status = program.finish();
        output = program.output();
        messages = program.messages();
        everything += output + messages;
        return status;
    }

    TemporaryFolder folder;
    std::string output;
    std::string messages;
    std::string everything;
};

} // namespace tidemark::cli::testing
