#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Dates.h"
#include "platform/Result.h"

namespace tidemark {

/// What several parts of the sync share: dates of the protocol, message texts, hrefs, digests of file ranges, property
/// bodies, suspend marks. Without state; any thread.
class BXSyncUtils
{
public:
    BXSyncUtils() = delete;

    /// Extended attribute that marks a partly downloaded file.
    static constexpr const char* suspendAttribute = "marlock.tidemark.suspend";
    /// Extended attribute beside it: of which version of the server's file the part is. The probe compares the part's
    /// end only, and a file may have changed at its beginning.
    static constexpr const char* partVersionAttribute = "marlock.tidemark.suspend.version";
    /// Namespace of the server product's properties.
    static constexpr const char* propertyNamespace = "http://www.marlock.example/ns/webdav";
    /// Table of messages looked up without a table of their own.
    static constexpr const char* defaultTable = "bxsync";

    /// "EEE, dd MMM yyyy HH:mm:ss ZZZ" with the zone that the text names.
    static std::optional<dates::Time> parseLastmodifiedDate(std::string_view text);
    /// The same format in GMT.
    static std::string lastmodifiedDateStringFromDate(dates::Time date);
    /// "yyyy-MM-dd'T'HH:mm:ss'Z'".
    static std::optional<dates::Time> dateFromDateISO(std::string_view text);
    /// For people, in the user's zone.
    static std::string getStringForShow(dates::Time date, std::string_view format = "yyyy/MM/dd HH:mm:ss");
    /// 1 (Sunday) to 7 in the user's zone.
    static std::int64_t weekday(dates::Time date);

    /// Placeholder name to text.
    using ReplaceMap = std::map<std::string, std::string>;

    /// The text of the key with each "${name}" replaced by the map's value, and by nothing where the map has none.
    static std::string localizeAndReplacementMessage(const std::string& key, const ReplaceMap& map = {});
    static std::string localizeAndReplacementMessage(const std::string& key, const std::string& table,
                                                     const ReplaceMap& map);

    /// Equal but for "/" at the end. Both are decoded texts.
    static bool isEqualHref(std::string_view a, std::string_view b);

    /// 32 lower-case hexadecimal digits of the bytes from `start` up to `end`; 0 stands for the end of the file. Blocks
    /// of 1 MiB.
    static Result<std::string> getMD5FromLocalFile(const std::string& path, std::uint64_t start, std::uint64_t end);

    /// Property name to its value; nothing removes the property. Values are plain text that needs no escape.
    using PropertyMap = std::map<std::string, std::optional<std::string>>;
    /// Body of a PROPPATCH in the product's namespace; nothing for an empty map.
    static std::optional<std::string> createProppatchXML(const PropertyMap& properties);

    /// Marks a file as partly transferred; the mark holds until the file's time changes. False when it could not be
    /// set.
    static bool addSuspendFlag(const std::string& path);
    /// Takes a stale mark away.
    static bool isSuspendedFile(const std::string& path);
    static void removeSuspendFlag(const std::string& path);

    /// "+" to blank, then percent escapes as UTF-8; nothing where an escape is malformed.
    static std::optional<std::string> stringByDecodingURLFormat(std::string_view text);
    /// Percent escapes as UTF-8 all that may not stand in a URL and leaves its reserved characters; `all` escapes ":"
    /// too.
    static std::string stringByEncodingURLFormat(std::string_view text, bool all = false);
};

} // namespace tidemark
