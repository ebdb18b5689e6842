#include "devserver/RequestLog.h"

#include "devserver/Text.h"

#include <nlohmann/json.hpp>
#include <stdexcept>

namespace devserver {

namespace {

bool isSecret(std::string_view header)
{
    return equalIgnoringCase(header, "Authorization") || equalIgnoringCase(header, "Cookie");
}

} // namespace

std::string jsonOf(const RequestRecord& record)
{
    nlohmann::ordered_json json;
    json["connection"] = record.connectionId;
    json["method"] = record.method;
    json["target"] = record.target;
    json["path"] = record.path;
    json["headers"] = nlohmann::ordered_json::array();
    for (const auto& [name, value] : record.headers)
        json["headers"].push_back({name, isSecret(name) ? "***" : value});
    json["requestBodyBytes"] = record.requestBodyBytes;
    json["status"] = record.responseStatus;
    json["responseBodyBytes"] = record.responseBodyBytes;
    return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

RequestLog::RequestLog(const std::filesystem::path& file)
{
    if (file.empty()) return;
    file_.open(file, std::ios::app);
    if (!file_) throw std::runtime_error("cannot write the log file " + file.string());
}

RequestLog::Id RequestLog::begin(RequestRecord record)
{
    const std::lock_guard lock(mutex_);
    records_.emplace(++last_, std::move(record));
    ++underWay_;
    changed_.notify_all();
    return last_;
}

void RequestLog::update(Id id, const std::function<void(RequestRecord&)>& change)
{
    const std::lock_guard lock(mutex_);
    if (const auto found = records_.find(id); found != records_.end()) change(found->second);
}

void RequestLog::finish(Id id)
{
    const std::lock_guard lock(mutex_);
    --underWay_;
    changed_.notify_all();
    const auto found = records_.find(id);
    if (found == records_.end()) return;
    found->second.finished = true;
    if (file_.is_open()) file_ << jsonOf(found->second) << std::endl;
}

std::vector<RequestRecord> RequestLog::records() const
{
    const std::lock_guard lock(mutex_);
    std::vector<RequestRecord> result;
    result.reserve(records_.size());
    for (const auto& [id, record] : records_)
        result.push_back(record);
    return result;
}

void RequestLog::clear()
{
    const std::lock_guard lock(mutex_);
    records_.clear();
}

bool RequestLog::waitUntilIdle(std::chrono::seconds limit) const
{
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, limit, [&] { return underWay_ == 0; });
}

} // namespace devserver
