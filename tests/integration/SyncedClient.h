#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "SyncLibrary/BXSyncConfirmInfo.h"
#include "SyncLibrary/BXSyncRunReport.h"
#include "config/BXSyncConf.h"
#include "support/ApacheServer.h"
#include "support/TempTree.h"

namespace tidemark::testing {

/// Answers every question with one code, or gives no answer.
class FixedAnswer : public BXSyncConfirmDelegate
{
public:
    explicit FixedAnswer(std::optional<std::int64_t> code) : code_(code) {}

    std::optional<BXSyncConfirmResult> confirm(const BXSyncConfirmInfo& info) override;
    /// The message keys of the questions, in their order.
    const std::vector<std::string>& questions() const { return questions_; }

private:
    std::optional<std::int64_t> code_;
    std::vector<std::string> questions_;
};

struct SyncRun
{
    BXSyncRunOutcome outcome = BXSyncRunOutcome::running;
    /// The listed changes: pathname and state.
    std::map<std::string, std::int64_t> items;
};

/// A person's side: a local folder, a configuration for a folder of the server, and the state between runs.
class SyncedClient
{
public:
    /// `folder` is the server folder's path, with "/" at both ends.
    SyncedClient(const ApacheServer& server, const std::string& folder);

    test::TempTree& local() { return local_; }
    BXSyncConf& conf() { return *conf_; }

    /// Signs in and synchronises. A failing file is skipped; without a delegate nobody is asked.
    SyncRun run(BXSyncConfirmDelegate* delegate = nullptr);
    /// The recorded times by pathname.
    std::map<std::string, double> records() const;

private:
    bool login();

    test::TempTree local_;
    test::TempTree state_;
    std::shared_ptr<BXSyncConf> conf_;
};

/// A server folder seen from outside, changed as another client changes it.
class ServerFolder
{
public:
    /// Makes the folder "/name/".
    ServerFolder(const ApacheServer& server, const std::string& name);

    const std::string& path() const { return path_; }
    /// With the time that other clients take for the file's.
    void write(const std::string& relative, const std::string& content, double time) const;
    /// A file, or with "/" at the end a folder.
    void remove(const std::string& relative) const;
    void makeFolder(const std::string& relative) const;
    /// Without what the server keeps for itself.
    test::Tree tree() const;

private:
    const ApacheServer& server_;
    std::string path_;
    std::shared_ptr<ASHttpConnectInfo> info_;
};

} // namespace tidemark::testing
