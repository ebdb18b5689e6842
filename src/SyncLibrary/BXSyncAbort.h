#pragma once

#include <exception>
#include <string>
#include <utility>

#include "platform/Result.h"

namespace tidemark {

/// Ends a run from inside an item; caught once, by the run.
class BXSyncAbort : public std::exception
{
public:
    /// The user's cancel.
    static constexpr const char* cancel = "synccancel";
    /// A failed local deletion.
    static constexpr const char* error = "syncerror";

    explicit BXSyncAbort(std::string reason, Error cause = {}) : reason_(std::move(reason)), cause_(std::move(cause)) {}

    const std::string& reason() const { return reason_; }
    /// What the file system said; empty after a cancel.
    const Error& cause() const { return cause_; }
    const char* what() const noexcept override { return reason_.c_str(); }

private:
    std::string reason_;
    Error cause_;
};

} // namespace tidemark
