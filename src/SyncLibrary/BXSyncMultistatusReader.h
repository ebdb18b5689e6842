#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "SyncLibrary/BXSyncWebDAVFileItem.h"
#include "platform/Result.h"
#include "platform/Url.h"

namespace tidemark {

class ASXMLDomNode;

/// Turns the answer to the listing request of one folder into items. Trusts nothing in it: an item's URL is always that
/// of a direct child of the folder, made from a name that is one plain path component.
class BXSyncMultistatusReader
{
public:
    /// The body that asks for what the reader reads.
    static std::string requestBody();

    struct Listing
    {
        /// In document order, names unique in NFC; `pathname` is empty.
        std::vector<BXSyncWebDAVFileItem> items;
        /// Lines for the error log about entries that were left out.
        std::vector<std::string> remarks;
    };

    /// `marlockVersion` is the version the server told, empty for one that tells none: it decides which of two times
    /// counts and whether "+" in an href is a blank.
    BXSyncMultistatusReader(Url folder, std::string marlockVersion);

    /// `includeSelf`: the folder's own entry, whose path is the folder's URL without "/" at its end, comes too.
    /// Fails on what is not a well-formed document, on an absolute href of another host, and on an entry that the
    /// server refuses to show.
    Result<Listing> read(std::string_view body, bool includeSelf) const;

private:
    struct Href;
    Status readResponse(const ASXMLDomNode& response, bool includeSelf, Listing& listing) const;
    Result<Href> readHref(std::string_view text) const;
    std::optional<std::string> decode(std::string_view text) const;
    BXSyncWebDAVFileItem readProperties(const ASXMLDomNode& response) const;

    Url folder_;
    std::string folderPath_;
    bool knownVersion_;
};

} // namespace tidemark
