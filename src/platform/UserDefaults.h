#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "platform/PropertyList.h"

namespace tidemark {

/// The per-user preferences: a property list of keys. Reads see what other processes have written; writes are durable
/// and keep keys that others wrote meanwhile. Any thread.
class UserDefaults
{
public:
    /// The store of this user at Places::defaultsFile(); it follows when that place changes.
    static UserDefaults& standard();

    explicit UserDefaults(std::string path);

    std::optional<PropertyList> object(const std::string& key);
    /// Nothing removes the key. Failures are reported by synchronize().
    void setObject(const std::string& key, std::optional<PropertyList> value);
    std::map<std::string, PropertyList> all();
    /// What the last write said that failed since the last call.
    Status synchronize();
    /// Points the store elsewhere.
    void setPath(std::string path);

private:
    Status refresh();
    Status change(const std::string& key, std::optional<PropertyList> value);
    Status store();

    std::mutex mutex_; // guards all below
    std::string path_;
    std::map<std::string, PropertyList> values_;
    /// Which file values_ came from; a replaced file has another one.
    std::string seenVersion_;
    Status failedWrite_;
};

} // namespace tidemark
