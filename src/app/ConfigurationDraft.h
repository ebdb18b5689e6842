#pragma once

#include <memory>
#include <string>
#include <vector>

#include "config/BXSyncConf.h"
#include "config/BXSyncSchedule.h"
#include "platform/Result.h"

namespace tidemark {

class BXSyncConfigManager;

/// A configuration while a person edits it: every field as it was typed. Nothing is checked before problems() is
/// asked, and nothing reaches the store before save().
struct ConfigurationDraft
{
    enum class Field
    {
        name,
        url,
        localPath,
        user,
        proxyHost,
        proxyPort,
        proxyUser,
        key,
        repeatedKey,
        logFolder,
        logDays
    };
    static constexpr const char* errorDomain = "ConfigurationDraft";
    /// Codes of that domain.
    enum class Fault
    {
        /// A run of the configuration is under way.
        runUnderWay = 1,
        /// The configuration is not in the store any more.
        gone,
        /// The store could not write it.
        notWritten
    };

    /// What is wrong with a field; `key` is one of the table "Settings".
    struct Problem
    {
        Field field;
        std::string key;

        bool operator==(const Problem&) const = default;
    };

    std::string name;
    bool enabled = true;
    std::string url;
    std::string localPath;
    SyncMode mode = SyncMode::twoWay;
    std::string conflict = "confirm";
    std::string serverDelete = "confirm";
    std::string localDelete = "confirm";
    bool autosync = false;
    std::vector<BXSyncSchedule> schedules;
    /// "" for a server that wants no sign-in.
    std::string user;
    std::string password;
    bool usesProxy = false;
    std::string proxyHost;
    std::string proxyPort;
    std::string proxyUser;
    std::string proxyPassword;
    std::string certificateId;
    bool ignoreServerCert = false;
    bool encrypts = false;
    std::string key;
    std::string repeatedKey;
    /// "" for no log files.
    std::string logFolder;
    std::string logDays = "1";

    static ConfigurationDraft of(const BXSyncConf& conf);

    /// Those of the fields that say how the server is reached, in their order.
    std::vector<Problem> serverProblems() const;

    /// In the order of the fields. `formerName` is the name in the store, "" for a new configuration.
    std::vector<Problem> problems(const BXSyncConfigManager& store, const std::string& formerName) const;

    /// Writes the fields into `conf`, the folders as pairFolders() does.
    void apply(BXSyncConf& conf) const;

    /// What was synchronised before stays on the server as it is.
    bool changesKeyOf(const BXSyncConf& conf) const;

    /// Into the store, under the draft's name; a former name goes. Without problems only. Fails with one of the faults,
    /// or with what the system says.
    Status save(BXSyncConfigManager& store, const std::string& formerName) const;

    /// Out of the store; the files of both folders stay. Fails like save().
    static Status remove(BXSyncConfigManager& store, const std::string& name);
};

} // namespace tidemark
