#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "app/cli/Cancellation.h"
#include "app/cli/CommandContext.h"
#include "app/cli/Console.h"
#include "config/BXSyncConfigManager.h"
#include "platform/UserDefaults.h"
#include "security/BXSyncPasswordManager.h"
#include "tests/app/FakeTerminal.h"

namespace tidemark::cli::testing {

/// A folder that is gone with this object.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "tidemark-app-XXXXXX").string();
        if (!::mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
        path_ = std::filesystem::canonical(name);
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string path(const std::string& name = {}) const
    {
        return name.empty() ? path_.string() : (path_ / name).string();
    }
    std::string makeFolder(const std::string& name) const
    {
        std::filesystem::create_directories(path_ / name);
        return path(name);
    }
    std::string write(const std::string& name, const std::string& text) const
    {
        std::filesystem::create_directories((path_ / name).parent_path());
        std::ofstream(path_ / name, std::ios::binary) << text;
        return path(name);
    }

private:
    std::filesystem::path path_;
};

inline std::string contentOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Commands in this process: a scripted terminal, streams that are kept, a store in a temporary folder.
struct CommandWorld : ::testing::Test
{
    CommandWorld() { BXSyncConf::setPasswordDelegate(&passwords); }
    ~CommandWorld() override { BXSyncConf::setPasswordDelegate(nullptr); }

    std::string takeData() { return std::exchange(data, std::ostringstream{}).str(); }
    std::string takeMessages() { return std::exchange(messages, std::ostringstream{}).str(); }

    BXSyncPasswordManager passwords;
    TemporaryFolder folder;
    std::string configDirectory = folder.makeFolder("config");
    FakeTerminal terminal;
    Cancellation cancellation;
    std::ostringstream data;
    std::ostringstream messages;
    Console console{data, messages, terminal};
    CommandContext context{console, terminal, cancellation, Clock::system(), folder.path()};
    BXSyncConfigManager store{configDirectory};
};

} // namespace tidemark::cli::testing
