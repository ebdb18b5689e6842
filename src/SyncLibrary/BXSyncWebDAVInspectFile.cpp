#include "SyncLibrary/BXSyncWebDAVInspectFile.h"

#include <algorithm>

#include "Logger/LogFacade.h"
#include "SyncLibrary/BXSyncMultistatusReader.h"
#include "SyncLibrary/BXSyncUtils.h"
#include "davclient/ASWDCmdPropBase.h"
#include "platform/FileSystem.h"
#include "platform/RunLoop.h"
#include "platform/Unicode.h"

namespace tidemark {

namespace {

constexpr int multiStatus = 207;
constexpr int notFound = 404;

/// Answers to the form of a URL that a server does not take: redirections, Bad Request (a "/" behind a file's name),
/// Method Not Allowed, Conflict.
bool refusesForm(int status)
{
    return (status >= 301 && status <= 308) || status == 400 || status == 405 || status == 409;
}

/// The canonical form without "/" at its end, in which items' URLs begin.
std::string canonicalBase(const std::string& url)
{
    const auto parsed = Url::parse(url);
    return parsed ? parsed->withoutTrailingSlash().absoluteString() : url;
}

std::uint64_t memoryOf(const BXSyncWebDAVFileItem& item)
{
    return sizeof(BXSyncFileDataInfo) + 2 * item.path.size();
}

bool isFolder(const BXSyncWebDAVFileItem& item)
{
    return item.isFolder;
}

/// Counts a level of folders for as long as it lives.
class Level
{
public:
    explicit Level(int& depth) : depth_(depth) { ++depth_; }
    ~Level() { --depth_; }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

private:
    int& depth_;
};

} // namespace

BXSyncWebDAVInspectFile::BXSyncWebDAVInspectFile(BXSyncServerAccess server, std::shared_ptr<LogFacade> logger)
    : BXSyncInspectFile(std::move(logger)), server_(std::move(server))
{
}

BXSyncWebDAVInspectFile::~BXSyncWebDAVInspectFile() = default;

void BXSyncWebDAVInspectFile::setCancel(bool value)
{
    cancel_ = value;
    std::lock_guard lock(loopMutex_);
    if (value && loop_) loop_->wake();
}

std::optional<BXSyncWebDAVInspectFile::Items> BXSyncWebDAVInspectFile::createWebDAVFileItems(const std::string& url,
                                                                                             bool includeSelf)
{
    const auto parsed = Url::parse(url);
    if (!parsed) {
        logger()->error("{}", parsed.error().description());
        return std::nullopt;
    }
    const auto answer = includeSelf ? requestEither(*parsed) : requestListing(parsed->withTrailingSlash(), false);
    if (!answer) {
        logger()->error("{}", answer.error().value(BXSyncCommandRunning::logKey));
        return std::nullopt;
    }
    return itemsOfAnswer(*parsed, *answer, includeSelf);
}

/// A path that may be a folder or a file: asked for in the form in which it is given; the other form where the server
/// does not take that one, and before a path that was synchronised is taken for gone.
Result<BXSyncWebDAVInspectFile::Answer> BXSyncWebDAVInspectFile::requestEither(const Url& url)
{
    auto answer = requestListing(url, true);
    if (!answer || answer->statusCode == multiStatus) return answer;
    const bool isFolderForm = url == url.withTrailingSlash();
    if (answer->statusCode == notFound && !isSynchronised(url)) return answer;
    return requestListing(isFolderForm ? url.withoutTrailingSlash() : url.withTrailingSlash(), false);
}

bool BXSyncWebDAVInspectFile::isSynchronised(const Url& url) const
{
    BXSyncFileItem item;
    item.path = url.withoutTrailingSlash().absoluteString();
    return getFileUpdate(pathnameOf(item, root_)) != nullptr;
}

Result<BXSyncWebDAVInspectFile::Answer> BXSyncWebDAVInspectFile::requestListing(const Url& url, bool probing)
{
    if (ahead_ && ahead_->remoteURL() != url) settleAhead();
    if (early_ && early_->first == url && !probing) return std::exchange(early_, std::nullopt)->second;
    auto answer = receive(url, probing);
    const auto next = std::exchange(next_, std::nullopt);
    if (answer && next && !early_ && !cancel()) sendAhead(next->withTrailingSlash());
    return answer;
}

Result<BXSyncWebDAVInspectFile::Answer> BXSyncWebDAVInspectFile::receive(const Url& url, bool probing)
{
    std::shared_ptr<ASWDCmdPropFind> command;
    const auto make = [&]() -> std::shared_ptr<ASWDCmd> {
        command = ahead_ ? std::exchange(ahead_, nullptr) : makeListing(url);
        return command;
    };
    const auto accept = [&](ASWDCmd&, int status) {
        return status == multiStatus || status == notFound || (probing && refusesForm(status));
    };
    const auto executed = server_.runner.davConnect(make, accept);
    if (!executed) return failure(executed.error());
    return Answer{command->statusCode(), command->responseBody()};
}

std::shared_ptr<ASWDCmdPropFind> BXSyncWebDAVInspectFile::makeListing(const Url& url) const
{
    auto command = std::make_shared<ASWDCmdPropFind>(url, server_.connectInfo);
    command->setRequestBody(BXSyncMultistatusReader::requestBody());
    return command;
}

/// A request that fails is not looked at here: whoever asks for the folder finds out.
void BXSyncWebDAVInspectFile::sendAhead(const Url& url)
{
    auto command = makeListing(url);
    if (!command->execute()) return;
    ahead_ = command;
    const auto isOut = [&] {
        const auto connection = command->connection();
        return command->executedHandler() || cancel() ||
               connection->processedRequestBodyBytes().value_or(0) >= command->requestBody().size();
    };
    RunLoop::current()->runUntil(isOut);
}

/// One connection serves the scan: another request waits until the one ahead has its answer.
void BXSyncWebDAVInspectFile::settleAhead()
{
    const auto url = ahead_->remoteURL();
    early_.emplace(url, receive(url, false));
}

std::optional<BXSyncWebDAVInspectFile::Items>
BXSyncWebDAVInspectFile::itemsOfAnswer(const Url& url, const Answer& answer, bool includeSelf)
{
    if (answer.statusCode == notFound) {
        if (includeSelf) return Items{};
        logger()->error("The folder is not on the server. path:{}", url.absoluteString());
        return std::nullopt;
    }
    auto listing = BXSyncMultistatusReader(url, server_.marlockVersion).read(answer.body, includeSelf);
    if (!listing) {
        logger()->error("{}", listing.error().description());
        return std::nullopt;
    }
    for (const auto& remark : listing->remarks)
        logger()->error("{}", remark);
    return admit(url, std::move(listing->items));
}

/// Refuses what would exhaust memory.
std::optional<BXSyncWebDAVInspectFile::Items> BXSyncWebDAVInspectFile::admit(const Url& url, Items items)
{
    for (const auto& item : items)
        listedBytes_ += memoryOf(item);
    if (listedBytes_ <= maximumListing) return items;
    logger()->error("The server lists more entries than can be held. path:{}", url.absoluteString());
    return std::nullopt;
}

std::int64_t BXSyncWebDAVInspectFile::checkSyncInfo(const std::string& root, bool isAllUpdate)
{
    startScan(root);
    const auto count = BXSyncInspectFile::checkSyncInfo(root_, isAllUpdate);
    endScan();
    return count;
}

void BXSyncWebDAVInspectFile::endScan()
{
    next_.reset();
    ahead_.reset();
    early_.reset();
}

void BXSyncWebDAVInspectFile::startScan(const std::string& root)
{
    root_ = canonicalBase(root);
    listedBytes_ = 0;
    spellings_.clear();
    std::lock_guard lock(loopMutex_);
    loop_ = RunLoop::current();
}

std::int64_t BXSyncWebDAVInspectFile::searchFile(const std::string& folder, const std::string& basepath)
{
    if (cancel()) return 0;
    const Level level(depth_);
    if (depth_ > maximumDepth) {
        logger()->error("The server's folders are nested too deeply. path:{}", folder);
        return -1;
    }
    auto items = createWebDAVFileItems(folder);
    if (!items) return -1;
    if (server_.progress != nullptr) server_.progress->addListUpFiles(static_cast<std::int64_t>(items->size()));
    const auto base = canonicalBase(basepath);
    std::int64_t count = 0;
    for (auto item = items->begin(); item != items->end(); ++item) {
        reportExamined();
        if (item->isFolder) expectNext(std::find_if(item + 1, items->end(), isFolder), items->end());
        const auto own = checkItem(*item, base, true);
        if (own < 0) return -1;
        count += own;
    }
    return count;
}

void BXSyncWebDAVInspectFile::expectNext(Items::const_iterator next, Items::const_iterator end)
{
    next_.reset();
    if (next == end) return;
    if (auto url = Url::parse(next->path)) next_ = std::move(*url);
}

void BXSyncWebDAVInspectFile::reportExamined()
{
    if (server_.progress == nullptr) return;
    server_.progress->setListUpFiles();
    server_.progress->update();
}

std::int64_t BXSyncWebDAVInspectFile::checkItem(BXSyncWebDAVFileItem& item, const std::string& base,
                                                bool checkRecursive)
{
    nameItem(item, base);
    if (item.pathname.size() > maximumPathname) {
        logger()->error("The server lists a path that is too long. path:{}", item.path);
        return -1;
    }
    if (item.isFolder) return checkDirItem(item, base, checkRecursive);
    return checkFileItem(item, base) ? 1 : 0;
}

void BXSyncWebDAVInspectFile::nameItem(BXSyncWebDAVFileItem& item, const std::string& base)
{
    item.pathname = pathnameOf(item, base);
    const auto ownName = BXSyncUtils::stringByDecodingURLFormat(fs::lastPathComponent(item.path));
    if (!ownName || *ownName == fs::lastPathComponent(item.pathname)) return;
    if (const auto url = Url::parse(item.path)) spellings_.note(item.pathname, *url);
}

std::string BXSyncWebDAVInspectFile::pathnameOf(const BXSyncFileItem& item, const std::string& base)
{
    const auto below = std::string_view(item.path).substr(std::min(base.size(), item.path.size()));
    auto pathname = toNfc(BXSyncUtils::stringByDecodingURLFormat(below).value_or(std::string(below)));
    return pathname.starts_with('/') ? pathname : "/" + pathname;
}

} // namespace tidemark
