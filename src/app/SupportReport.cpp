#include "app/SupportReport.h"

#include <sys/utsname.h>

#include <algorithm>
#include <fstream>

#include "app/LogFiles.h"
#include "app/ZipArchive.h"
#include "config/BXSyncConfigManager.h"
#include "config/BXSyncGlobalConf.h"
#include "platform/FileSystem.h"

namespace tidemark {

/// Where an entry's content comes from: a text, or the end of a file.
struct SupportReport::Source
{
    std::string name;
    std::string text;
    std::string path;
    std::int64_t from = 0;
    std::int64_t size = 0;
};

namespace {

std::string line(std::string_view key, const std::string& value)
{
    return std::string(key) + ": " + value + "\n";
}

std::string line(std::string_view key, bool value)
{
    return line(key, std::string(value ? "yes" : "no"));
}

std::string line(std::string_view key, std::uint64_t value)
{
    return line(key, std::to_string(value));
}

/// Of what is nobody's business: whether it is there is worth knowing, not what it is.
std::string presenceLine(const BXSyncConf& conf)
{
    const auto& info = *conf.info();
    std::string names;
    for (const auto& [name, value] :
         {std::pair("username", info.username()), std::pair("password", info.password()),
          std::pair("proxyUsername", info.proxyUsername()), std::pair("proxyPassword", info.proxyPassword()),
          std::pair("encryptKey", conf.encryptKey()), std::pair("certificateId", conf.certificateId())})
        if (!value.empty()) names += (names.empty() ? "" : ", ") + std::string(name);
    return line("not shown", names.empty() ? "nothing" : names);
}

std::string systemName()
{
    std::ifstream release("/etc/os-release");
    for (std::string text; std::getline(release, text);)
        if (text.starts_with("PRETTY_NAME=")) {
            std::erase(text, '"');
            return text.substr(text.find('=') + 1);
        }
    return "unknown";
}

std::string versionsText(const std::vector<std::pair<std::string, std::string>>& versions)
{
    std::string text = line("Tidemark", std::string(TIDEMARK_VERSION));
    for (const auto& [name, version] : versions)
        text += line(name, version);
    text += line("System", systemName());
    utsname kernel{};
    if (::uname(&kernel) == 0)
        text += line("Kernel", std::string(kernel.sysname) + " " + kernel.release + " " + kernel.machine);
    return text;
}

std::string settingsText(const BXSyncGlobalConf& settings)
{
    return line("optionsTimeout", settings.optionsTimeout()) + line("propfindTimeout", settings.propfindTimeout()) +
           line("timeout", settings.timeout()) + line("reconnect", settings.reconnect()) +
           line("reconnectInterval", settings.reconnectInterval()) + line("reconnectLimit", settings.reconnectLimit()) +
           line("syncOnStartUp", settings.syncOnStartUp()) + line("syncOnExit", settings.syncOnExit()) +
           line("hideProgress", settings.hideProgress());
}

/// An address without what may stand before its host, or after its path: both can carry a secret. Of a text that is no
/// URL everything up to the last "@" counts as such.
std::string publicAddress(const std::string& address)
{
    auto text = address;
    if (const auto sign = text.rfind('@'); sign != std::string::npos && !Url::parse(text)) text.erase(0, sign + 1);
    return text.substr(0, text.find_first_of("?#"));
}

std::string connectionText(const ASHttpConnectInfo& info)
{
    return line("isUseAuthorization", info.isUseAuthorization()) + line("isUseProxy", info.isUseProxy()) +
           line("proxyHost", publicAddress(info.proxyHost())) +
           line("proxyPort", static_cast<std::uint64_t>(std::max(info.proxyPort().value_or(0), 0))) +
           line("isUseProxyAuthorization", info.isUseProxyAuthorization());
}

std::string configurationText(const BXSyncConf& conf)
{
    std::string text =
        line("name", conf.name()) + line("enable", conf.enable()) + line("serverURL", publicAddress(conf.serverURL())) +
        line("localPath", conf.localPath()) + line("syncmode", std::to_string(static_cast<int>(conf.mode()))) +
        line("autosync", conf.autosync()) + line("serverDelete", conf.serverDelete()) +
        line("localDelete", conf.localDelete()) + line("conflict", conf.conflict()) +
        line("syncLogPath", conf.syncLogPath()) + line("logKeepDays", std::to_string(conf.logKeepDays()));
    for (const auto& schedule : conf.syncSchedules())
        text += line("syncSchedule", schedule.saveString());
    return text + line("ignoreServerCert", conf.ignoreServerCert()) + connectionText(*conf.info()) + presenceLine(conf);
}

std::string scrubbed(const SecretScrubber& scrubber, const std::string& text)
{
    std::string clean;
    for (std::size_t at = 0; at < text.size();) {
        const auto end = std::min(text.find('\n', at), text.size() - 1);
        clean += scrubber.scrub(std::string_view(text).substr(at, end - at)) + "\n";
        at = end + 1;
    }
    return clean;
}

/// The lines of a file from an offset on, without their secrets. The rest of an overlong line is dropped: cut in two,
/// it could hide a secret.
class LogContent
{
public:
    LogContent(const std::string& path, std::int64_t from, std::int64_t size,
               std::shared_ptr<const SecretScrubber> scrubber)
        : file_(path, std::ios::binary), left_(size), scrubber_(std::move(scrubber))
    {
        file_.seekg(from);
        if (from == 0) return;
        (void)nextLine();
        head_ = "… (the beginning of this file is left out)\n";
    }

    std::optional<std::string> next()
    {
        constexpr std::size_t pieceSize = 64 * 1024;
        std::string piece = std::exchange(head_, {});
        while (piece.size() < pieceSize) {
            const auto text = nextLine();
            if (!text) break;
            piece += scrubber_->scrub(*text) + "\n";
        }
        return piece.empty() ? std::nullopt : std::optional(std::move(piece));
    }

private:
    /// The file may grow meanwhile; what is new is not looked at.
    std::optional<std::string> nextLine()
    {
        if (left_ <= 0 || !file_) return std::nullopt;
        std::string text;
        auto* bytes = file_.rdbuf();
        while (left_ > 0) {
            const auto byte = bytes->sbumpc();
            if (byte == std::char_traits<char>::eof()) {
                left_ = 0;
                break;
            }
            --left_;
            if (byte == '\n') return text;
            if (text.size() < LogFileReader::longestLine) text += static_cast<char>(byte);
        }
        return text.empty() ? std::nullopt : std::optional(std::move(text));
    }

    std::ifstream file_;
    std::int64_t left_;
    const std::shared_ptr<const SecretScrubber> scrubber_;
    std::string head_;
};

zip::PieceSource textPieces(std::string text)
{
    return [rest = std::optional(std::move(text))]() mutable { return std::exchange(rest, std::nullopt); };
}

zip::PieceSource logPieces(const std::string& path, std::int64_t from, std::int64_t size,
                           const std::shared_ptr<const SecretScrubber>& scrubber)
{
    auto content = std::make_shared<LogContent>(path, from, size, scrubber);
    return [content] { return content->next(); };
}

} // namespace

SupportReport::SupportReport(const Outside& outside)
{
    auto scrubber = std::make_shared<SecretScrubber>();
    for (const auto& [name, conf] : outside.store.configs())
        scrubber->addSecretsOf(*conf);
    scrubber_ = std::move(scrubber);
    addText("versions.txt", versionsText(outside.versions));
    addText("settings.txt", settingsText(outside.settings));
    for (const auto& name : outside.store.configNames())
        if (const auto conf = outside.store.get(name, true))
            addText("configurations/" + name + ".txt", configurationText(*conf));
    addLogs(outside.store);
}

void SupportReport::addText(std::string name, std::string text)
{
    text = scrubbed(*scrubber_, text);
    const auto size = static_cast<std::int64_t>(text.size());
    sources_.push_back(std::make_shared<Source>(Source{std::move(name), std::move(text), {}, 0, size}));
}

void SupportReport::addLogs(BXSyncConfigManager& store)
{
    for (const auto& log : logSources(store)) {
        auto files = log.files();
        files.resize(std::min(files.size(), filesPerLog));
        for (const auto& path : files) {
            const auto attributes = fs::attributes(path);
            if (!attributes) continue;
            const auto size = std::min(attributes->size, longestLog);
            sources_.push_back(std::make_shared<Source>(
                Source{"logs/" + fs::lastPathComponent(path), {}, path, attributes->size - size, size}));
        }
    }
}

std::vector<SupportReport::Entry> SupportReport::entries() const
{
    std::vector<Entry> entries;
    for (const auto& source : sources_)
        entries.push_back({source->name, source->size});
    return entries;
}

std::string SupportReport::preview(std::size_t entry, std::size_t longest) const
{
    const auto& source = *sources_.at(entry);
    auto text = source.text;
    if (!source.path.empty())
        text = logPieces(source.path, source.from, source.size, scrubber_)().value_or(std::string{});
    if (text.size() <= longest) return text;
    // Whole lines only.
    text.resize(longest);
    text.resize(text.rfind('\n') == std::string::npos ? 0 : text.rfind('\n') + 1);
    return text + "…\n";
}

Status SupportReport::save(const std::string& path, const std::function<bool()>& cancelled) const
{
    std::vector<zip::Entry> entries;
    for (const auto& source : sources_)
        entries.push_back({source->name, [source, scrubber = scrubber_] {
                               return source->path.empty()
                                          ? textPieces(source->text)
                                          : logPieces(source->path, source->from, source->size, scrubber);
                           }});
    return zip::writeArchive(path, entries, cancelled);
}

} // namespace tidemark
