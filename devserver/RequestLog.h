#pragma once

#include "devserver/RequestRecord.h"

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <mutex>
#include <vector>

namespace devserver {

// Keeps the records, and writes finished ones to a file as JSON lines (without the values of Authorization and
// Cookie). Thread-safe.
class RequestLog
{
public:
    using Id = std::uint64_t;

    // Throws std::runtime_error when the file cannot be opened. An empty path: no file.
    explicit RequestLog(const std::filesystem::path& file);

    Id begin(RequestRecord record);
    void update(Id id, const std::function<void(RequestRecord&)>& change);
    void finish(Id id);

    std::vector<RequestRecord> records() const;
    // Forgets all, those under way too.
    void clear();
    bool waitUntilIdle(std::chrono::seconds limit) const;

private:
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::map<Id, RequestRecord> records_; // guarded by mutex_, as is all below
    std::size_t underWay_ = 0;
    Id last_ = 0;
    std::ofstream file_;
};

// One line, without its end.
std::string jsonOf(const RequestRecord& record);

} // namespace devserver
