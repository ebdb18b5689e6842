#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/Result.h"

namespace tidemark {

/// A keyed archive (binary property list with an object table) whose root is an array of objects of one class, each
/// with a text under "name" and a number under "mod": the form of a sync-info file. Neither direction holds the
/// document twice; time is linear in the number of records.
namespace KeyedArchive {

struct Record
{
    std::string_view name;
    double mod = 0;
};

/// Writes a file whole (DurableReplacement, mode 0600). `next` fills the record and answers true until there is none
/// left; `count` is the number of records it will give.
Status write(const std::string& path, std::string_view className, std::size_t count,
             const std::function<bool(Record&)>& next);

/// Calls `take` for each record in array order; the text is valid during the call. Any altered, truncated or foreign
/// document is an error of domain "KeyedArchive" that names the file, found before or after some records were taken.
/// Tables in any order, shared texts, dates and extra keys are understood. Each record's class or one that it derives
/// from must be `className` ("": any); a file that cannot be opened is an error of domain "POSIX".
Status read(const std::string& path, const std::function<void(const Record&)>& take, std::string_view className = {});

} // namespace KeyedArchive

} // namespace tidemark
