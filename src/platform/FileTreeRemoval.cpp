#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/FileDescriptor.h"
#include "platform/FileSystem.h"

namespace tidemark::fs {

namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

/// A folder on the way down, and the folders in it that are still to be removed.
struct Level
{
    std::string name;
    dev_t device = 0;
    ino_t inode = 0;
    std::vector<std::string> folders;
};

/// Removes what a folder holds, depth first. One folder is open at a time, however deep the tree is, and every step
/// goes from an open folder to an entry of it without following links, so that somebody who moves or replaces
/// entries meanwhile cannot lead it out of the tree.
class TreeRemoval
{
public:
    TreeRemoval(std::string path, FileDescriptor top) : path_(std::move(path)), current_(std::move(top)) {}

    Status run()
    {
        if (auto entered = enter(""); !entered) return entered;
        while (levels_.size() > 1 || !levels_.back().folders.empty()) {
            auto step = levels_.back().folders.empty() ? leave() : descend();
            if (!step) return step;
        }
        return {};
    }

private:
    /// Takes the folder that is open as the innermost level and removes everything in it but folders.
    Status enter(std::string name)
    {
        struct stat status
        {
        };
        if (::fstat(current_.get(), &status) != 0) return fail();
        levels_.push_back({std::move(name), status.st_dev, status.st_ino, {}});
        OpenFolder entries(::fdopendir(::dup(current_.get())));
        if (!entries) return fail();
        for (errno = 0; const auto* entry = ::readdir(entries.get()); errno = 0) {
            std::string_view found = entry->d_name;
            if (found == "." || found == ".." || ::unlinkat(current_.get(), entry->d_name, 0) == 0) continue;
            if (errno == EISDIR)
                levels_.back().folders.emplace_back(found);
            else if (errno != ENOENT)
                return fail(entry->d_name);
        }
        return errno == 0 ? Status{} : fail();
    }

    Status descend()
    {
        auto name = std::move(levels_.back().folders.back());
        levels_.back().folders.pop_back();
        FileDescriptor child(::openat(current_.get(), name.c_str(), folderFlags));
        if (!child) return fail(name);
        current_ = std::move(child);
        return enter(std::move(name));
    }

    Status leave()
    {
        FileDescriptor parent(::openat(current_.get(), "..", folderFlags));
        struct stat status
        {
        };
        if (!parent || ::fstat(parent.get(), &status) != 0) return fail();
        auto name = std::move(levels_.back().name);
        levels_.pop_back();
        current_ = std::move(parent);
        if (status.st_dev != levels_.back().device || status.st_ino != levels_.back().inode) {
            errno = ESTALE;
            return fail();
        }
        return ::unlinkat(current_.get(), name.c_str(), AT_REMOVEDIR) == 0 ? Status{} : fail(name);
    }

    tl::unexpected<Error> fail(std::string_view name = {})
    {
        auto error = errno;
        auto path = path_;
        for (const auto& level : levels_)
            path = level.name.empty() ? path : joinPath(path, level.name);
        return posixFailure(error, name.empty() ? path : joinPath(path, name));
    }

    std::string path_;
    FileDescriptor current_;
    std::vector<Level> levels_;
};

} // namespace

Status removeTree(const std::string& path)
{
    if (::unlink(path.c_str()) == 0) return {};
    if (errno != EISDIR) return posixFailure(errno, path);
    FileDescriptor top(::open(path.c_str(), folderFlags));
    if (!top) return posixFailure(errno, path);
    if (auto emptied = TreeRemoval(path, std::move(top)).run(); !emptied) return emptied;
    if (::rmdir(path.c_str()) != 0) return posixFailure(errno, path);
    return {};
}

} // namespace tidemark::fs
