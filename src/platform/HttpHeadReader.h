#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/HttpStream.h"

namespace tidemark {

/// Puts the head of an answer together from its lines and refuses what a client must not trust: more than 256 KiB or
/// 1,000 fields for one exchange in all, and a Content-Length that is repeated or no number.
class HttpHeadReader
{
public:
    static constexpr std::size_t maximumBytes = 256 * 1024;
    static constexpr std::size_t maximumFields = 1000;

    enum class Outcome
    {
        more,
        headComplete,
        tooLarge,
        malformed
    };

    /// A line with its line end. A status line begins a new head (interim answers, answers that libcurl replies to by
    /// itself); lines after the head's end (trailers) count against the limits and are dropped.
    Outcome take(std::string_view line);

    const HttpResponseHead& head() const { return head_; }
    bool isComplete() const { return complete_; }

private:
    Outcome begin(std::string_view line);
    Outcome addField(std::string_view line);
    void continueField(std::string_view line);

    HttpResponseHead head_;
    std::string lastName_;
    std::size_t bytes_ = 0;
    std::size_t fields_ = 0;
    bool complete_ = false;
};

} // namespace tidemark
