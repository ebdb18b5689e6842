#include "devserver/LockTable.h"

#include "devserver/Crypto.h"

#include <algorithm>

namespace devserver {

namespace {

using Clock = std::chrono::steady_clock;

bool isBelow(std::string_view path, std::string_view folder)
{
    if (folder == "/") return path != "/";
    return path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/';
}

bool covers(const Lock& lock, std::string_view path)
{
    return lock.path == path || (lock.deep && isBelow(path, lock.path));
}

bool isHeld(const Lock& lock, std::string_view tokens)
{
    return tokens.find("<" + lock.token + ">") != std::string_view::npos;
}

} // namespace

std::vector<Lock> LockTable::valid() const
{
    std::vector<Lock> result;
    const auto now = Clock::now();
    std::ranges::copy_if(locks_, std::back_inserter(result), [&](const Lock& lock) { return lock.expiry > now; });
    return result;
}

std::optional<Lock> LockTable::acquire(Lock lock)
{
    const std::lock_guard guard(mutex_);
    locks_ = valid();
    for (const Lock& other : locks_) {
        const bool meet = covers(other, lock.path) || (lock.deep && isBelow(other.path, lock.path));
        if (meet && (lock.exclusive || other.exclusive)) return {};
    }
    lock.token = "opaquelocktoken:" + randomHex(16);
    lock.expiry = Clock::now() + lock.timeout;
    locks_.push_back(lock);
    return lock;
}

std::optional<Lock> LockTable::refresh(std::string_view path, std::string_view tokens, std::chrono::seconds timeout)
{
    const std::lock_guard guard(mutex_);
    locks_ = valid();
    for (Lock& lock : locks_) {
        if (!covers(lock, path) || !isHeld(lock, tokens)) continue;
        lock.timeout = timeout;
        lock.expiry = Clock::now() + timeout;
        return lock;
    }
    return {};
}

bool LockTable::release(std::string_view path, std::string_view token)
{
    const std::lock_guard guard(mutex_);
    return std::erase_if(locks_, [&](const Lock& lock) { return lock.token == token && covers(lock, path); }) > 0;
}

bool LockTable::permits(std::string_view path, std::string_view tokens, bool withMembers) const
{
    const std::lock_guard guard(mutex_);
    bool locked = false;
    bool held = false;
    for (const Lock& lock : valid()) {
        if (covers(lock, path)) {
            locked = true;
            held = held || isHeld(lock, tokens);
        } else if (withMembers && isBelow(lock.path, path) && !isHeld(lock, tokens)) {
            return false;
        }
    }
    return !locked || held;
}

std::vector<Lock> LockTable::covering(std::string_view path) const
{
    const std::lock_guard guard(mutex_);
    std::vector<Lock> result = valid();
    std::erase_if(result, [&](const Lock& lock) { return !covers(lock, path); });
    return result;
}

void LockTable::removed(std::string_view path)
{
    const std::lock_guard guard(mutex_);
    std::erase_if(locks_, [&](const Lock& lock) { return lock.path == path || isBelow(lock.path, path); });
}

} // namespace devserver
