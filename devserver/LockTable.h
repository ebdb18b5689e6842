#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace devserver {

struct Lock
{
    std::string token; // "opaquelocktoken:…"
    std::string path;  // of a resource, as in Resource
    bool deep = false;
    bool exclusive = true;
    std::string owner; // XML
    std::chrono::seconds timeout{0};
    std::chrono::steady_clock::time_point expiry;
};

// The write locks. Thread-safe. `tokens` is the text of an If header: a lock is held by who names its token there.
class LockTable
{
public:
    // Nothing when another lock forbids it. Token and expiry are filled in.
    std::optional<Lock> acquire(Lock lock);
    std::optional<Lock> refresh(std::string_view path, std::string_view tokens, std::chrono::seconds timeout);
    bool release(std::string_view path, std::string_view token);

    // Whether the resource may be changed; `withMembers` includes all that is below it.
    bool permits(std::string_view path, std::string_view tokens, bool withMembers = false) const;
    std::vector<Lock> covering(std::string_view path) const;
    // To be called when the resource and all below it are gone.
    void removed(std::string_view path);

private:
    std::vector<Lock> valid() const;

    mutable std::mutex mutex_;
    std::vector<Lock> locks_; // guarded by mutex_
};

} // namespace devserver
