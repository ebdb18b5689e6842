#pragma once

#include <map>
#include <string>

#include "platform/Url.h"

namespace tidemark {

/// How a server spells names that it does not hold in NFC. Pathnames are keys in NFC on both sides, but a server that
/// compares bytes knows an entry only by its own spelling.
class BXSyncServerSpellings
{
public:
    /// `url` is the entry as the server lists it.
    void note(const std::string& pathname, const Url& url) { urls_.insert_or_assign(pathname, url); }
    void clear() { urls_.clear(); }

    /// The entry's URL; as much of the way to it as the server is known to spell otherwise is spelled so.
    Url urlOf(const Url& root, const std::string& pathname) const;

private:
    std::map<std::string, Url> urls_;
};

} // namespace tidemark
