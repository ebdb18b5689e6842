#include "Utils/BXTidemarkUtils.h"

#include <algorithm>
#include <mutex>

#include "Logger/BXLogger.h"
#include "platform/FileSystem.h"
#include "platform/MainThread.h"
#include "platform/Places.h"
#include "platform/Unicode.h"

namespace tidemark {

namespace {

constexpr const char* resourceTable = "TidemarkResource";

std::mutex presenterMutex;
std::shared_ptr<AlertPresenter> presenter;

std::shared_ptr<AlertPresenter> currentPresenter()
{
    std::lock_guard lock(presenterMutex);
    return presenter;
}

Alert makeAlert(const std::string& message, const std::string& title, const std::vector<std::string>& choices,
                AlertStyle style, const std::string& table, const ReplaceMap& replaceMap)
{
    Alert alert{style, localizeAndFill(title, table, {}), localizeAndFill(message, table, replaceMap), {}};
    for (const auto& choice : choices)
        alert.choices.push_back(localizeAndFill(choice, table, {}));
    return alert;
}

} // namespace

std::string BXTidemarkUtils::configDirectory()
{
    auto path = Places::configurationDirectory();
    if (!fs::exists(path))
        (void)fs::createFolders(path, 0700);
    else if (!fs::isFolder(path))
        BXLogger::globalError("The directory can not be created, because the file exists.:" + path);
    return path;
}

void BXTidemarkUtils::execMainThread(const std::function<void()>& block)
{
    MainThread::execute(block);
}

void BXTidemarkUtils::showErrorAlert(const std::string& message)
{
    showSelectAlert(message, "ERROR", {"OK"}, AlertStyle::critical, {});
}

int BXTidemarkUtils::showSelectAlert(const std::string& message, const std::string& title,
                                     const std::vector<std::string>& choices)
{
    return showSelectAlert(message, title, choices, AlertStyle::warning, {});
}

int BXTidemarkUtils::showSelectAlert(const std::string& message, const std::string& title,
                                     const std::vector<std::string>& choices, AlertStyle style,
                                     const ReplaceMap& replaceMap)
{
    return showSelectAlert(message, title, choices, style, resourceTable, replaceMap);
}

int BXTidemarkUtils::showSelectAlert(const std::string& message, const std::string& title,
                                     const std::vector<std::string>& choices, AlertStyle style,
                                     const std::string& table, const ReplaceMap& replaceMap)
{
    const auto alert = makeAlert(message, title, choices, style, table, replaceMap);
    const auto shower = currentPresenter();
    if (!shower) {
        BXLogger::globalError(alert.title + ": " + alert.message);
        return 0;
    }
    int answer = 0;
    execMainThread([&] { answer = shower->showAlert(alert); });
    return answer;
}

std::optional<std::string> BXTidemarkUtils::directorySelect(const std::string& path, const std::string& message)
{
    const auto shower = currentPresenter();
    std::optional<std::string> chosen;
    if (shower)
        execMainThread([&] { chosen = shower->selectDirectory(path, localizeAndFill(message, resourceTable, {})); });
    return chosen;
}

void BXTidemarkUtils::setAlertPresenter(std::shared_ptr<AlertPresenter> newPresenter)
{
    std::lock_guard lock(presenterMutex);
    presenter = std::move(newPresenter);
}

bool BXTidemarkUtils::checkNumber(std::string_view text)
{
    const bool digits = std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    return !text.empty() && digits && checkAllHalfLetter(text);
}

bool BXTidemarkUtils::checkAllHalfLetter(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

} // namespace tidemark
