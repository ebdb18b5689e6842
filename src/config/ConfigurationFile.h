#pragma once

#include <optional>
#include <string>

#include "platform/Dates.h"
#include "platform/PropertyList.h"
#include "platform/Result.h"

/// One configuration on disk: a property list of mode 0600, replaced whole, with the configuration's creation date
/// beside it as an extended attribute, since a replaced file has a birth time of its own.
namespace tidemark::ConfigurationFile {

inline constexpr const char* errorDomain = "Configuration";
enum Code
{
    invalidName = 1,
    notConfiguration = 2,
    notStorable = 3
};

/// Domain "POSIX" where the file cannot be read, `notConfiguration` where it holds something else.
Result<PropertyList::Dictionary> read(const std::string& path);
/// `notStorable` for values that do not survive being written and read (text with NUL); nothing is
/// written then.
Status write(const std::string& path, const PropertyList::Dictionary& dictionary,
             std::optional<dates::Time> creationDate);
/// The recorded date, else the file's birth time, else its time.
std::optional<dates::Time> creationDate(const std::string& path);

} // namespace tidemark::ConfigurationFile
