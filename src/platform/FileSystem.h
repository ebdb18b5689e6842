#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Dates.h"
#include "platform/Result.h"

/// Files and folders of the local disk. Paths are UTF-8 text with "/" between components. Every failure is an Error of
/// domain "POSIX" whose description names the path. Any thread.
namespace tidemark::fs {

enum class FileKind
{
    file,
    folder,
    other
};

struct Attributes
{
    FileKind kind = FileKind::file;
    std::int64_t size = 0;
    /// Modification time, full resolution of the file system.
    dates::Seconds modified = 0;
    /// The entry itself is a symbolic link; the other fields are its target's.
    bool isLink = false;
};

/// Follows links; fails on a dangling one.
Result<Attributes> attributes(const std::string& path);
bool exists(const std::string& path);
bool isFolder(const std::string& path);

struct Entry
{
    /// As the disk spells it.
    std::string name;
    Attributes attributes;
};

/// All entries but "." and "..", in the folder's own order; dangling links and entries that vanish meanwhile are left
/// out. One pass over the folder.
Result<std::vector<Entry>> listFolder(const std::string& path);

Status setModified(const std::string& path, dates::Seconds time);
/// Birth time, where the file system has one.
std::optional<dates::Seconds> birthTime(const std::string& path);

/// With intermediate folders; an existing folder is no failure.
Status createFolders(const std::string& path, unsigned mode = 0777);
/// A file, a link (never its target), or a folder with all it holds; links inside are removed, not followed.
Status removeTree(const std::string& path);
Status removeFile(const std::string& path);
Status rename(const std::string& from, const std::string& to);
Status truncate(const std::string& path, std::int64_t size);

/// Whole content; fails above `limit` bytes.
Result<std::string> readFile(const std::string& path, std::int64_t limit = 64 * 1024 * 1024);

/// Replaces a file whole: what is written goes to a file beside the target, is flushed, renamed over the target, and
/// the folder is flushed. Until commit() has succeeded the target is untouched; a replacement that is destroyed
/// uncommitted leaves nothing behind.
class DurableReplacement
{
public:
    /// The new file gets `mode`, whatever the umask.
    static Result<DurableReplacement> begin(const std::string& target, unsigned mode = 0600);
    DurableReplacement(DurableReplacement&&) noexcept;
    DurableReplacement& operator=(DurableReplacement&&) noexcept;
    ~DurableReplacement();

    Status write(std::string_view bytes);
    Status commit();

private:
    struct State;
    explicit DurableReplacement(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

Status replaceFile(const std::string& path, std::string_view content, unsigned mode = 0600);

/// Brings all that was written below the folder's file system to the disk: one flush for any number of files.
Status flushFileSystem(const std::string& folder);

/// An exclusive lock on a file, made when missing, held until destroyed; a lock whose owner died is free.
class FileLock
{
public:
    /// Null when somebody else (another process, or another FileLock of this one) holds it.
    static Result<std::unique_ptr<FileLock>> tryAcquire(const std::string& path);
    /// Waits for its turn; for locks that are held for moments only.
    static Result<std::unique_ptr<FileLock>> acquire(const std::string& path);
    ~FileLock();

private:
    explicit FileLock(int descriptor, std::string path);
    int descriptor_;
    std::string path_;
};

/// Extended attributes; `name` without the name space of the system ("marlock.tidemark.suspend").
std::optional<std::string> extendedAttribute(const std::string& path, std::string_view name);
Status setExtendedAttribute(const std::string& path, std::string_view name, std::string_view value);
/// An absent attribute is no failure.
Status removeExtendedAttribute(const std::string& path, std::string_view name);

/// Where the entry that `root` + `pathname` names in NFC lies on a disk that may hold decomposed names: each component
/// is taken as it is where it exists, else the entry whose NFC form is equal, else (for what is to be made) as it is.
/// `pathname` begins with "/". The result never leaves `root`: a component "..", "." or "" is refused, and so is a way
/// through a link (a link as the last component is fine).
///
/// Another spelling is looked for by reading the folder; `mayHoldOtherSpellings` tells, by its path, whether a folder
/// has to be read.
using MayHoldOtherSpellings = std::function<bool(const std::string& folder)>;
Result<std::string> resolve(const std::string& root, std::string_view pathname,
                            const MayHoldOtherSpellings& mayHoldOtherSpellings = {});

std::string parentPath(std::string_view path);
std::string lastPathComponent(std::string_view path);
/// One "/" between the two.
std::string joinPath(std::string_view folder, std::string_view name);

} // namespace tidemark::fs
