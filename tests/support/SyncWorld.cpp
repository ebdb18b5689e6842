#include "tests/support/SyncWorld.h"

#include <algorithm>
#include <mutex>

#include <gtest/gtest.h>

#include "Logger/LogFacade.h"
#include "SyncLibrary/BXSyncInspectFile.h"
#include "davclient/ASWDCmd.h"
#include "platform/RunLoop.h"

namespace tidemark::test {

std::optional<BXSyncConfirmResult> ScriptedDelegate::confirm(const BXSyncConfirmInfo& info)
{
    asked.push_back(info);
    if (onAsked) onAsked(info);
    const auto found = answers.find(info.message);
    if (found == answers.end()) return std::nullopt;
    return found->second;
}

std::vector<std::string> ScriptedDelegate::keys() const
{
    std::vector<std::string> result;
    for (const auto& info : asked)
        result.push_back(info.message);
    return result;
}

std::size_t ScriptedDelegate::count(const std::string& key) const
{
    const auto all = keys();
    return static_cast<std::size_t>(std::count(all.begin(), all.end(), key));
}

void RecordingProgress::setTotalFiles(std::int64_t files, std::int64_t deletions, std::int64_t bytes, bool reset)
{
    lines.push_back("total " + std::to_string(files) + " " + std::to_string(deletions) + " " + std::to_string(bytes) +
                    (reset ? " reset" : ""));
}

void RecordingProgress::setFileName(const std::string& source, const std::string& dest, std::int64_t size)
{
    lines.push_back((source.starts_with("http") ? "down " : "up ") + fs::lastPathComponent(dest) + " " +
                    std::to_string(size));
}

void RecordingProgress::setDeleteFileName(const std::string& path)
{
    lines.push_back("delete " + fs::lastPathComponent(path));
}

void RecordingProgress::addTotalFileSize(std::int64_t bytes)
{
    lines.push_back("add " + std::to_string(bytes));
}

void RecordingProgress::setThread(const std::shared_ptr<ASWDCmd>& command)
{
    lines.push_back(command->protocol());
}

void RecordingProgress::updatedFile(const BXSyncFileDataInfo& item)
{
    lines.push_back((item.operateFinished ? "done " : "open ") + item.fileData.fileName);
    if (onUpdatedFile) onUpdatedFile(item);
}

SyncClient::SyncClient(const std::string& serverUrl) : conf(std::make_shared<BXSyncConf>())
{
    conf->setName("test");
    conf->setServerURL(serverUrl);
    conf->setLocalPath(local.root());
    conf->setSyncinfoPath(state_.path("test.psi"));
    conf->setSyncLogPath(state_.root());
    conf->setLogname("test.log");
}

void SyncClient::signIn()
{
    std::optional<bool> signedIn;
    conf->login(
        nullptr, [&] { signedIn = true; }, [&](bool) { signedIn = false; });
    RunLoop::current()->runUntil([&] { return signedIn.has_value(); });
    ASSERT_TRUE(*signedIn);
}

BXSyncManager& SyncClient::prepare()
{
    signIn();
    manager_ = std::make_unique<BXSyncManager>(conf, errorskip,
                                               BXSyncManager::Surroundings{watcher, [this] { return reconnect; }});
    if (asks) manager_->setConfirmDelegate(&delegate);
    manager_->setProgressDelegate(progress);
    return *manager_;
}

BXSyncRunOutcome SyncClient::finish(const std::shared_ptr<NamedThread>& thread)
{
    thread->join();
    LogFacade::setObserver(nullptr);
    return manager_->outcome();
}

BXSyncRunOutcome SyncClient::sync()
{
    prepare();
    LogFacade::setObserver([this](LogLevel, std::string_view text) { log.emplace_back(text); });
    return finish(manager_->startSync());
}

BXSyncRunOutcome SyncClient::list()
{
    prepare();
    LogFacade::setObserver([this](LogLevel, std::string_view text) { log.emplace_back(text); });
    return finish(manager_->startListup(false));
}

std::map<std::string, double> SyncClient::syncInfo() const
{
    std::map<std::string, double> records;
    BXSyncInspectFile stored;
    const auto read = stored.readSyncInfo(conf->syncinfoPath());
    EXPECT_TRUE(read);
    for (const auto& record : stored.fileUpdate())
        records[record.fileData.fileName] = record.fileData.dateLastModified;
    return records;
}

std::vector<std::string> SyncClient::items() const
{
    std::vector<std::string> result;
    for (const auto* item : manager_->modifiedItems())
        result.push_back(BXSyncListup::describe(*item));
    return result;
}

bool SyncClient::hasLogged(const std::string& text) const
{
    return std::any_of(log.begin(), log.end(),
                       [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

namespace {

devserver::Options optionsOf(const TempTree& root, devserver::Mode mode,
                             const std::function<void(devserver::Options&)>& adjust)
{
    devserver::Options options;
    options.root = root.root();
    options.mount = "/dav";
    options.mode = mode;
    if (adjust) adjust(options);
    return options;
}

std::vector<std::string> missingIn(const Tree& tree, const std::map<std::string, double>& records)
{
    std::vector<std::string> missing;
    for (const auto& [path, entry] : tree)
        if (!records.contains("/" + path)) missing.push_back(path);
    return missing;
}

} // namespace

SyncWorld::SyncWorld(devserver::Mode mode, const std::function<void(devserver::Options&)>& adjust)
    : server((remote.makeFolder("sync"), std::make_unique<devserver::Server>(optionsOf(remote, mode, adjust)))),
      client(server->url("sync")), mode_(mode)
{
}

void SyncWorld::writeOnServer(const std::string& path, const std::string& content, double time)
{
    // A new file has none of the old one's properties.
    remote.remove("sync/" + path);
    remote.write("sync/" + path, content, time);
}

void SyncWorld::expectSettled(SyncClient& who)
{
    const auto local = who.local.read();
    EXPECT_EQ(local, readTree(remote.path("sync")));
    const auto records = who.syncInfo();
    EXPECT_EQ(missingIn(local, records), std::vector<std::string>());
    EXPECT_EQ(records.size(), local.size());
    for (const auto& [path, entry] : local) {
        if (entry.isFolder || !records.contains("/" + path)) continue;
        EXPECT_NEAR(records.at("/" + path), who.local.time(path), BXSyncInspectFile::timeTolerance) << path;
    }
    expectQuiet(who);
}

void SyncWorld::expectQuiet(SyncClient& who)
{
    server->clearRequests();
    EXPECT_EQ(who.sync(), BXSyncRunOutcome::finished);
    EXPECT_EQ(who.items(), std::vector<std::string>());
    const auto folders = who.conf->mode() == SyncMode::uploadOnly ? 0 : [&] {
        const auto tree = readTree(remote.path("sync"));
        return 1 + std::count_if(tree.begin(), tree.end(), [](const auto& entry) { return entry.second.isFolder; });
    }();
    EXPECT_EQ(server->requestCount("OPTIONS"), 1U);
    EXPECT_EQ(server->requestCount("PROPFIND"), static_cast<std::size_t>(folders));
    EXPECT_EQ(server->requests().size(), static_cast<std::size_t>(folders) + 1);
}

double at(int seconds)
{
    return 1'600'000'000.0 + seconds;
}

} // namespace tidemark::test
