#include "platform/HttpHeadReader.h"

#include <algorithm>
#include <charconv>
#include <strings.h>

namespace tidemark {

namespace {

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\n";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// At most 18 digits, so that it is one for libcurl too.
bool isLength(std::string_view text)
{
    return !text.empty() && text.size() <= 18 &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

int statusOf(std::string_view statusLine)
{
    const auto blank = statusLine.find(' ');
    if (blank == std::string_view::npos) return 0;
    const auto digits = statusLine.substr(blank + 1, 3);
    int status = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), status);
    return status;
}

} // namespace

HttpHeadReader::Outcome HttpHeadReader::take(std::string_view line)
{
    bytes_ += line.size();
    if (bytes_ > maximumBytes || ++fields_ > maximumFields) return Outcome::tooLarge;
    if (line.starts_with("HTTP/")) return begin(line);
    if (complete_) return Outcome::more;
    if (trimmed(line).empty()) {
        complete_ = true;
        return Outcome::headComplete;
    }
    return addField(line);
}

HttpHeadReader::Outcome HttpHeadReader::begin(std::string_view line)
{
    head_ = {};
    complete_ = false;
    lastName_.clear();
    head_.statusLine = trimmed(line);
    head_.statusCode = statusOf(line);
    return Outcome::more;
}

HttpHeadReader::Outcome HttpHeadReader::addField(std::string_view line)
{
    if (line.front() == ' ' || line.front() == '\t') {
        continueField(line);
        return Outcome::more;
    }
    const auto colon = line.find(':');
    if (colon == std::string_view::npos) return Outcome::more;
    lastName_ = trimmed(line.substr(0, colon));
    const auto value = trimmed(line.substr(colon + 1));
    if (strcasecmp(lastName_.c_str(), "content-length") == 0 && (!isLength(value) || head_.header.contains(lastName_)))
        return Outcome::malformed;
    head_.header.add(lastName_, std::string(value));
    return Outcome::more;
}

void HttpHeadReader::continueField(std::string_view line)
{
    if (lastName_.empty()) return;
    head_.header.extendLast(" " + std::string(trimmed(line)));
}

} // namespace tidemark
