#pragma once

#include <memory>

#include "Logger/LogFacade.h"
#include "SyncLibrary/BXSyncCommandRunner.h"
#include "SyncLibrary/BXSyncConfirmer.h"
#include "SyncLibrary/BXSyncInflight.h"
#include "SyncLibrary/BXSyncLocalFolder.h"
#include "SyncLibrary/BXSyncProgressDelegate.h"
#include "SyncLibrary/BXSyncServerFolder.h"

namespace tidemark {

class BXSyncFileWatcher;

/// What the parts that carry a run out share. Everything outlives them.
struct BXSyncRunContext
{
    const BXSyncConf& conf;
    BXSyncCommandRunner& runner;
    const BXSyncLocalFolder& local;
    const BXSyncServerFolder& server;
    BXSyncInflight& inflight;
    BXSyncConfirmer& confirmer;
    BXSyncProgressDelegate& progress;
    LogFacade& logger;
    /// May be null.
    BXSyncFileWatcher* fileWatcher;
};

} // namespace tidemark
