#include "app/ServiceStatus.h"

#include <nlohmann/json.hpp>

namespace tidemark {

namespace {

using Json = nlohmann::ordered_json;

Json timeOrNull(const std::optional<dates::Time>& time)
{
    return time ? Json(dates::formatIsoDate(*time)) : Json(nullptr);
}

std::optional<dates::Time> timeAt(const Json& object, const char* key)
{
    const auto& value = object.at(key);
    return value.is_string() ? dates::parseIsoDate(value.get<std::string>()) : std::nullopt;
}

Json configurationJson(const ServiceStatus::Configuration& configuration)
{
    return {{"name", configuration.name},
            {"enabled", configuration.enabled},
            {"lastResult", configuration.lastResult.empty() ? Json(nullptr) : Json(configuration.lastResult)},
            {"lastTime", timeOrNull(configuration.lastTime)},
            {"nextSchedule", timeOrNull(configuration.nextSchedule)},
            {"watcher", configuration.watcher}};
}

ServiceStatus::Configuration configurationFrom(const Json& object)
{
    ServiceStatus::Configuration configuration;
    configuration.name = object.at("name").get<std::string>();
    configuration.enabled = object.at("enabled").get<bool>();
    if (object.at("lastResult").is_string()) configuration.lastResult = object.at("lastResult").get<std::string>();
    configuration.lastTime = timeAt(object, "lastTime");
    configuration.nextSchedule = timeAt(object, "nextSchedule");
    configuration.watcher = object.at("watcher").get<std::string>();
    return configuration;
}

} // namespace

std::string ServiceStatus::toJson() const
{
    Json list = Json::array();
    for (const auto& configuration : configurations)
        list.push_back(configurationJson(configuration));
    const Json document = {{"program", program},
                           {"processId", processId},
                           {"state", running.empty() ? "idle" : "running"},
                           {"running", running.empty() ? Json(nullptr) : Json(running)},
                           {"configurations", std::move(list)}};
    return document.dump(2, ' ', false, Json::error_handler_t::replace);
}

std::optional<ServiceStatus> ServiceStatus::fromJson(const std::string& json)
{
    try {
        const auto document = Json::parse(json);
        ServiceStatus status;
        status.program = document.at("program").get<std::string>();
        status.processId = document.at("processId").get<int>();
        if (document.at("running").is_string()) status.running = document.at("running").get<std::string>();
        for (const auto& object : document.at("configurations"))
            status.configurations.push_back(configurationFrom(object));
        return status;
    } catch (const Json::exception&) {
        return std::nullopt;
    }
}

std::string outcomeWords(SequenceOutcome outcome)
{
    switch (outcome) {
    case SequenceOutcome::done:
        return "done";
    case SequenceOutcome::someItemsFailed:
        return "some items failed";
    case SequenceOutcome::listupFailed:
        return "listing failed";
    case SequenceOutcome::cancelled:
        return "cancelled";
    case SequenceOutcome::loginFailed:
        return "sign-in failed";
    case SequenceOutcome::refusedAlreadyRunning:
        return "another run was under way";
    }
    return {};
}

void RunHistory::begin(const std::string& name)
{
    std::lock_guard lock(mutex_);
    running_ = name;
}

void RunHistory::end(const std::string& name, SequenceOutcome outcome, dates::Time time)
{
    std::lock_guard lock(mutex_);
    running_.clear();
    last_[name] = {outcome, time};
}

std::string RunHistory::running() const
{
    std::lock_guard lock(mutex_);
    return running_;
}

std::optional<RunHistory::Entry> RunHistory::last(const std::string& name) const
{
    std::lock_guard lock(mutex_);
    const auto found = last_.find(name);
    if (found == last_.end()) return std::nullopt;
    return found->second;
}

} // namespace tidemark
