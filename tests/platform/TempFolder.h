#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace tidemark::test {

/// A folder of its own for one test, gone afterwards.
class TempFolder
{
public:
    TempFolder()
    {
        auto pattern = (std::filesystem::temp_directory_path() / "tidemark-test-XXXXXX").string();
        if (!::mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
        path_ = pattern;
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::string& path() const { return path_; }
    std::string path(const std::string& name) const { return path_ + "/" + name; }

    void write(const std::string& name, const std::string& content) const
    {
        // A new file: some file systems flush a file that is cut and written again.
        std::filesystem::remove(path(name));
        std::ofstream(path(name), std::ios::binary) << content;
    }

    std::string read(const std::string& name) const
    {
        std::ostringstream content;
        content << std::ifstream(path(name), std::ios::binary).rdbuf();
        return content.str();
    }

    std::size_t entryCount() const
    {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(path_), {}));
    }

private:
    std::string path_;
};

} // namespace tidemark::test
