#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "SyncLibrary/BXSyncCommandRunning.h"
#include "SyncLibrary/BXSyncInspectFile.h"
#include "SyncLibrary/BXSyncProgressDelegate.h"
#include "SyncLibrary/BXSyncServerSpellings.h"
#include "SyncLibrary/BXSyncWebDAVFileItem.h"
#include "platform/Url.h"

namespace tidemark {

class ASHttpConnectInfo;
class ASWDCmdPropFind;
class RunLoop;

/// The server of a configuration as an inspector needs it.
struct BXSyncServerAccess
{
    std::shared_ptr<ASHttpConnectInfo> connectInfo;
    /// The version the server told at sign-in; empty when it told none.
    std::string marlockVersion;
    /// Runs the requests; outlives the inspector.
    BXSyncCommandRunning& runner;
    /// May be null; outlives the inspector.
    BXSyncProgressDelegate* progress = nullptr;
};

/// Classifies the server folder, which it lists with one request per folder. Roots and folders are URL texts.
class BXSyncWebDAVInspectFile : public BXSyncInspectFile
{
public:
    /// A tree nested deeper, or a pathname of more bytes, fails the scan.
    static constexpr int maximumDepth = 256;
    static constexpr std::size_t maximumPathname = 4096;
    /// Memory that the entries of one scan may take, roughly in bytes; more fails the scan.
    static constexpr std::uint64_t maximumListing = 2ULL << 30;

    using Items = std::vector<BXSyncWebDAVFileItem>;

    BXSyncWebDAVInspectFile(BXSyncServerAccess server, std::shared_ptr<LogFacade> logger);
    ~BXSyncWebDAVInspectFile() override;

    /// Once set, folders not yet listed are not listed and count 0. Any thread.
    bool cancel() const { return cancel_; }
    void setCancel(bool value);

    /// The entries of one folder; nothing after a failure, which has been logged. With includeSelf the folder's own
    /// entry comes too, a single file may be asked for, and a path that is not there gives an empty list.
    std::optional<Items> createWebDAVFileItems(const std::string& url, bool includeSelf = false);

    std::int64_t checkSyncInfo(const std::string& root, bool isAllUpdate = false) override;
    /// Of what the last scan has listed.
    const BXSyncServerSpellings& spellings() const { return spellings_; }

    using BXSyncInspectFile::searchFile;
    std::int64_t searchFile(const std::string& folder, const std::string& basepath) override;

protected:
    /// How the server answered a listing request.
    struct Answer
    {
        int statusCode = 0;
        std::string body;
    };

    /// Sends one listing request. Statuses beside 207 and 404 are failures; with `probing` those by which servers
    /// refuse the wrong one of the two forms of a URL (with "/" at its end or without) are answers too. The error's
    /// userInfo holds the text for the log.
    virtual Result<Answer> requestListing(const Url& url, bool probing);
    /// `path` of the item below `base`, decoded, in NFC, beginning with "/".
    static std::string pathnameOf(const BXSyncFileItem& item, const std::string& base);
    /// Sets the item's pathname and classifies it; -1 for a failure.
    std::int64_t checkItem(BXSyncWebDAVFileItem& item, const std::string& base, bool checkRecursive);
    /// Sets the item's pathname, and keeps the server's spelling of it where that is another.
    void nameItem(BXSyncWebDAVFileItem& item, const std::string& base);
    /// Begins a scan below `root`.
    void startScan(const std::string& root);
    /// On the scan's thread, which serves what is still under way.
    void endScan();
    /// The root of the scan as items' URLs begin.
    const std::string& root() const { return root_; }
    Url urlOf(const Url& base, const std::string& pathname) const { return spellings_.urlOf(base, pathname); }

private:
    std::optional<Items> itemsOfAnswer(const Url& url, const Answer& answer, bool includeSelf);
    std::optional<Items> admit(const Url& url, Items items);
    Result<Answer> requestEither(const Url& url);
    Result<Answer> receive(const Url& url, bool probing);
    std::shared_ptr<ASWDCmdPropFind> makeListing(const Url& url) const;
    void sendAhead(const Url& url);
    void settleAhead();
    void expectNext(Items::const_iterator next, Items::const_iterator end);
    bool isSynchronised(const Url& url) const;
    void reportExamined();

    BXSyncServerAccess server_;
    std::atomic<bool> cancel_ = false;
    std::string root_;
    BXSyncServerSpellings spellings_;
    std::uint64_t listedBytes_ = 0;
    /// The folder that is likely to be listed next. Its request goes out before the answer at hand is read, so that
    /// the server works meanwhile; one at a time.
    std::optional<Url> next_;
    std::shared_ptr<ASWDCmdPropFind> ahead_;
    /// What came of it, where another folder had to be listed before.
    std::optional<std::pair<Url, Result<Answer>>> early_;
    std::mutex loopMutex_; // guards loop_
    std::shared_ptr<RunLoop> loop_;
    int depth_ = 0;
};

} // namespace tidemark
