#pragma once

#include <map>
#include <optional>
#include <ostream>
#include <string>

namespace tidemark::test {

/// What one path of a tree is to hold.
struct TreeEntry
{
    bool isFolder = false;
    std::string content;
    /// Seconds since 1970; not set or not compared when empty.
    std::optional<double> time;

    /// Times are compared only where both have one; whole seconds count.
    friend bool operator==(const TreeEntry& a, const TreeEntry& b);
};

std::ostream& operator<<(std::ostream& out, const TreeEntry& entry);

TreeEntry file(std::string content, std::optional<double> time = {});
TreeEntry folder();

/// Paths below a root, without "/" at either end. Folders on the way to an entry need no entry of their own.
using Tree = std::map<std::string, TreeEntry>;

/// The tree with an entry for every folder on the way.
Tree complete(Tree tree);

/// A folder of its own below the system's temporary folder, removed with all it holds.
class TempTree
{
public:
    TempTree();
    explicit TempTree(const Tree& tree);
    ~TempTree();
    TempTree(const TempTree&) = delete;
    TempTree& operator=(const TempTree&) = delete;

    /// Without "/" at its end.
    const std::string& root() const { return root_; }
    /// Absolute path of `relative`; the root for "".
    std::string path(const std::string& relative) const;

    /// Makes the entries, with folders on the way; replaces files.
    void make(const Tree& tree);
    void write(const std::string& relative, const std::string& content, std::optional<double> time = {});
    void makeFolder(const std::string& relative);
    /// A file or a folder with all it holds; nothing there is no failure.
    void remove(const std::string& relative);
    void move(const std::string& from, const std::string& to);
    void touch(const std::string& relative, double time);
    void link(const std::string& target, const std::string& relative);

    std::string content(const std::string& relative) const;
    double time(const std::string& relative) const;
    bool exists(const std::string& relative) const;
    /// Files and folders with contents and, where asked, times. Links are left out.
    Tree read(bool withTimes = false) const;

private:
    std::string root_;
};

/// What `folder` holds, as TempTree::read() tells it; for comparing any two folders.
Tree readTree(const std::string& folder, bool withTimes = false);

} // namespace tidemark::test
