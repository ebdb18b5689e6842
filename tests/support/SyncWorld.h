#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "SyncLibrary/BXSyncManager.h"
#include "config/BXSyncConf.h"
#include "devserver/Server.h"
#include "tests/support/TempTree.h"

namespace tidemark::test {

/// Answers by message key and keeps what was asked. A key without an answer is answered by nothing.
class ScriptedDelegate : public BXSyncConfirmDelegate
{
public:
    std::optional<BXSyncConfirmResult> confirm(const BXSyncConfirmInfo& info) override;
    /// Message keys in the order asked.
    std::vector<std::string> keys() const;
    std::size_t count(const std::string& key) const;

    std::map<std::string, BXSyncConfirmResult> answers;
    /// Called before the answer.
    std::function<void(const BXSyncConfirmInfo&)> onAsked;
    std::vector<BXSyncConfirmInfo> asked;
};

/// The messages of a run, each as one line.
class RecordingProgress : public BXSyncProgressDelegate
{
public:
    void setTotalFiles(std::int64_t files, std::int64_t deletions, std::int64_t bytes, bool reset) override;
    void setFileName(const std::string& source, const std::string& dest, std::int64_t size) override;
    void setDeleteFileName(const std::string& path) override;
    void addTotalFileSize(std::int64_t bytes) override;
    void setThread(const std::shared_ptr<ASWDCmd>& command) override;
    void finish() override { lines.push_back("finish"); }
    void updatedFile(const BXSyncFileDataInfo& item) override;

    std::vector<std::string> lines;
    std::function<void(const BXSyncFileDataInfo&)> onUpdatedFile;
};

/// A local folder with a configuration for a server's folder.
class SyncClient
{
public:
    explicit SyncClient(const std::string& serverUrl);

    TempTree local;
    std::shared_ptr<BXSyncConf> conf;
    ScriptedDelegate delegate;
    /// Whether runs have somebody to ask.
    bool asks = false;
    bool errorskip = false;
    BXSyncProgressDelegate* progress = nullptr;
    BXSyncReconnectRule reconnect{true, 3, 0};
    std::shared_ptr<BXSyncFileWatcher> watcher;

    /// Signs in and makes the manager of a run; the one before is thrown away.
    BXSyncManager& prepare();
    BXSyncRunOutcome sync();
    /// Lists only.
    BXSyncRunOutcome list();
    BXSyncManager& manager() { return *manager_; }

    /// Pathname to time.
    std::map<std::string, double> syncInfo() const;
    std::string statePath(const std::string& name) const { return state_.path(name); }
    /// "down /a.txt" and so on, as the last listup found it.
    std::vector<std::string> items() const;

    /// Log lines of all runs so far.
    std::vector<std::string> log;
    bool hasLogged(const std::string& text) const;

private:
    void signIn();
    BXSyncRunOutcome finish(const std::shared_ptr<NamedThread>& thread);

    TempTree state_;
    std::unique_ptr<BXSyncManager> manager_;
};

/// A server in this process over a folder of its own, and clients of it.
class SyncWorld
{
public:
    explicit SyncWorld(devserver::Mode mode, const std::function<void(devserver::Options&)>& adjust = {});

    TempTree remote;
    std::unique_ptr<devserver::Server> server;
    SyncClient client;

    bool isProduct() const { return mode_ == devserver::Mode::Product; }
    /// Like somebody else's upload: content and the time that counts.
    void writeOnServer(const std::string& path, const std::string& content, double time);
    /// Requests of a method since the last call of clear.
    std::size_t requests(const std::string& method) const { return server->requestCount(method); }

    /// Local folder, server folder and sync-info are the same, and the next run does nothing but list.
    void expectSettled(SyncClient& who);
    void expectSettled() { expectSettled(client); }
    /// The next run has nothing to do and costs one listing per folder.
    void expectQuiet(SyncClient& who);

private:
    devserver::Mode mode_;
};

/// A time well in the past, `seconds` later.
double at(int seconds);

} // namespace tidemark::test
