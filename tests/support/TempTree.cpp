#include "support/TempTree.h"

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "platform/FileSystem.h"

namespace tidemark::test {

namespace {

namespace stdfs = std::filesystem;

std::string makeUniqueFolder()
{
    auto name = (stdfs::temp_directory_path() / "tidemark-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder: " + name);
    return stdfs::canonical(name).string();
}

std::string readAll(const stdfs::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

double timeOf(const std::string& path)
{
    const auto attributes = fs::attributes(path);
    if (!attributes) throw std::runtime_error(attributes.error().description());
    return attributes->modified;
}

} // namespace

bool operator==(const TreeEntry& a, const TreeEntry& b)
{
    const bool sameTime = !a.time || !b.time || std::floor(*a.time) == std::floor(*b.time);
    return a.isFolder == b.isFolder && a.content == b.content && sameTime;
}

std::ostream& operator<<(std::ostream& out, const TreeEntry& entry)
{
    if (entry.isFolder) return out << "folder";
    out << "file \"" << entry.content.substr(0, 60) << "\" of " << entry.content.size() << " bytes";
    if (entry.time) out << " at " << static_cast<long long>(*entry.time);
    return out;
}

TreeEntry file(std::string content, std::optional<double> time)
{
    return {false, std::move(content), time};
}

TreeEntry folder()
{
    return {true, {}, {}};
}

Tree complete(Tree tree)
{
    Tree folders;
    for (const auto& [path, entry] : tree)
        for (auto slash = path.find('/'); slash != std::string::npos; slash = path.find('/', slash + 1))
            folders.emplace(path.substr(0, slash), folder());
    tree.merge(folders);
    return tree;
}

TempTree::TempTree() : root_(makeUniqueFolder()) {}

TempTree::TempTree(const Tree& tree) : TempTree()
{
    make(tree);
}

TempTree::~TempTree()
{
    std::error_code ignored;
    stdfs::remove_all(root_, ignored);
}

std::string TempTree::path(const std::string& relative) const
{
    return relative.empty() ? root_ : root_ + "/" + relative;
}

void TempTree::make(const Tree& tree)
{
    for (const auto& [relative, entry] : tree) {
        if (entry.isFolder)
            makeFolder(relative);
        else
            write(relative, entry.content, entry.time);
    }
}

void TempTree::write(const std::string& relative, const std::string& content, std::optional<double> time)
{
    const stdfs::path target = path(relative);
    stdfs::create_directories(target.parent_path());
    std::ofstream stream(target, std::ios::binary | std::ios::trunc);
    stream << content;
    stream.close();
    if (!stream) throw std::runtime_error("cannot write " + target.string());
    if (time) touch(relative, *time);
}

void TempTree::makeFolder(const std::string& relative)
{
    stdfs::create_directories(path(relative));
}

void TempTree::remove(const std::string& relative)
{
    stdfs::remove_all(path(relative));
}

void TempTree::move(const std::string& from, const std::string& to)
{
    stdfs::rename(path(from), path(to));
}

void TempTree::touch(const std::string& relative, double time)
{
    const auto set = fs::setModified(path(relative), time);
    if (!set) throw std::runtime_error(set.error().description());
}

void TempTree::link(const std::string& target, const std::string& relative)
{
    stdfs::create_symlink(target, path(relative));
}

std::string TempTree::content(const std::string& relative) const
{
    return readAll(path(relative));
}

double TempTree::time(const std::string& relative) const
{
    return timeOf(path(relative));
}

bool TempTree::exists(const std::string& relative) const
{
    return stdfs::exists(path(relative));
}

Tree TempTree::read(bool withTimes) const
{
    return readTree(root_, withTimes);
}

Tree readTree(const std::string& root, bool withTimes)
{
    Tree tree;
    for (const auto& entry : stdfs::recursive_directory_iterator(root)) {
        if (entry.is_symlink()) continue;
        const auto relative = entry.path().string().substr(root.size() + 1);
        auto& read = tree[relative];
        read = entry.is_directory() ? folder() : file(readAll(entry.path()));
        if (withTimes && !read.isFolder) read.time = timeOf(entry.path().string());
    }
    return tree;
}

} // namespace tidemark::test
