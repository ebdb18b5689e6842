#include "app/cli/JsonOutput.h"

#include "app/cli/ScheduleText.h"

#include <nlohmann/json.hpp>

#include "app/cli/ConfigurationWords.h"
#include "config/BXSyncConf.h"
#include "davclient/ASHttpConnectInfo.h"

namespace tidemark::cli::json {

namespace {

using Json = nlohmann::ordered_json;

/// JSON leaves DEL and the C1 controls as they are, which a terminal does not.
std::string withEscapedControls(const std::string& document)
{
    std::string text;
    text.reserve(document.size());
    for (std::size_t i = 0; i < document.size(); ++i) {
        const auto byte = static_cast<unsigned char>(document[i]);
        const auto next = i + 1 < document.size() ? static_cast<unsigned char>(document[i + 1]) : 0U;
        const bool isC1 = byte == 0xC2 && next >= 0x80 && next < 0xA0;
        if (byte != 0x7F && !isC1) {
            text += document[i];
            continue;
        }
        char escaped[8];
        std::snprintf(escaped, sizeof escaped, "\\u%04x", isC1 ? next : byte);
        text += escaped;
        if (isC1) ++i;
    }
    return text;
}

std::string documentText(const Json& document)
{
    return withEscapedControls(document.dump(2, ' ', false, Json::error_handler_t::replace));
}

Json timeValue(const std::optional<dates::Seconds>& time)
{
    return time ? Json(dates::formatIsoDate(dates::fromSeconds(*time))) : Json(nullptr);
}

Json textOrNull(const std::string& text)
{
    return text.empty() ? Json(nullptr) : Json(text);
}

Json itemValue(const SyncItem& item)
{
    return Json{{"path", item.path},
                {"direction", word(item.direction)},
                {"kind", word(item.change)},
                {"folder", item.folder},
                {"size", item.size},
                {"localTime", timeValue(item.localTime)},
                {"serverTime", timeValue(item.serverTime)},
                {"finished", item.finished},
                {"error", textOrNull(item.error)}};
}

Json outcomeValue(const Outcome& outcome)
{
    auto items = Json::array();
    for (const auto& item : outcome.items)
        items.push_back(itemValue(item));
    return Json{{"name", outcome.name}, {"status", statusWord(outcome.status)}, {"items", std::move(items)}};
}

Json proxyJson(const ASHttpConnectInfo& info)
{
    if (!info.isUseProxy()) return nullptr;
    return Json{{"host", info.proxyHost()},
                {"port", info.proxyPort().value_or(0)},
                {"user", info.isUseProxyAuthorization() ? Json(info.proxyUsername()) : Json(nullptr)}};
}

Json schedulesJson(const BXSyncConf& conf)
{
    auto list = Json::array();
    for (const auto& schedule : conf.syncSchedules())
        list.push_back(scheduleText(schedule));
    return list;
}

Json configurationValue(const BXSyncConf& conf)
{
    const auto& info = *conf.info();
    const auto created = conf.creationDate();
    return Json{{"name", conf.name()},
                {"enabled", conf.enable()},
                {"autosync", conf.autosync()},
                {"schedules", schedulesJson(conf)},
                {"url", conf.serverURL()},
                {"local", conf.localPath()},
                {"mode", modeWord(conf.mode())},
                {"user", info.isUseAuthorization() ? Json(info.username()) : Json(nullptr)},
                {"hasPassword", info.isUseAuthorization() && !info.password().empty()},
                {"proxy", proxyJson(info)},
                {"identity", textOrNull(conf.certificateId())},
                {"checksServerCertificate", !conf.ignoreServerCert()},
                {"encrypted", !conf.encryptKey().empty()},
                {"onConflict", conf.conflict()},
                {"onServerDelete", conf.serverDelete()},
                {"onLocalDelete", conf.localDelete()},
                {"logDir", textOrNull(conf.syncLogPath())},
                {"logDays", conf.logKeepDays()},
                {"created", created ? Json(dates::formatIsoDate(*created)) : Json(nullptr)}};
}

} // namespace

std::string outcomes(const std::vector<Outcome>& outcomes)
{
    auto list = Json::array();
    for (const auto& outcome : outcomes)
        list.push_back(outcomeValue(outcome));
    return documentText(Json{{"configurations", std::move(list)}});
}

std::string configuration(const BXSyncConf& conf)
{
    return documentText(configurationValue(conf));
}

std::string configurations(const std::vector<std::shared_ptr<BXSyncConf>>& confs)
{
    auto list = Json::array();
    for (const auto& conf : confs)
        list.push_back(configurationValue(*conf));
    return documentText(Json{{"configurations", std::move(list)}});
}

} // namespace tidemark::cli::json
