#include "Logger/BXFileLoggerManager.h"

#include <algorithm>
#include <cctype>

#include "platform/FileSystem.h"

namespace tidemark {

namespace {

constexpr std::string_view logExtension = ".log";
constexpr std::string_view datePattern = "yyyy'-'MM'-'dd";
constexpr int defaultMaximum = 90;

/// "_yyyy-MM-dd" in digits.
bool isDateSuffix(std::string_view text)
{
    constexpr std::string_view form = "_dddd-dd-dd";
    if (text.size() != form.size()) return false;
    for (std::size_t i = 0; i < form.size(); ++i) {
        const bool digit = std::isdigit(static_cast<unsigned char>(text[i])) != 0;
        if (form[i] == 'd' ? !digit : text[i] != form[i]) return false;
    }
    return true;
}

} // namespace

BXFileLoggerManager::BXFileLoggerManager(const std::string& logPath, std::optional<int> maxLogFiles)
    : logsDirectory_(fs::parentPath(logPath)), logname_(fs::lastPathComponent(logPath)), base_(logname_),
      maxLogFiles_(maxLogFiles)
{
    if (!logname_.ends_with(logExtension)) return;
    base_ = logname_.substr(0, logname_.size() - logExtension.size());
    extension_ = logExtension;
}

int BXFileLoggerManager::maximumNumberOfLogFiles() const
{
    return maxLogFiles_.value_or(defaultMaximum);
}

std::string BXFileLoggerManager::newLogFileName(dates::Time now) const
{
    return base_ + "_" + dates::formatGmt(now, datePattern) + extension_;
}

bool BXFileLoggerManager::isLogFile(std::string_view fileName) const
{
    if (!extension_.empty()) return fileName.starts_with(base_) && fileName.ends_with(logExtension);
    return logname_.starts_with(fileName);
}

bool BXFileLoggerManager::isDailyFile(std::string_view fileName) const
{
    if (!fileName.starts_with(base_) || !fileName.ends_with(extension_)) return false;
    if (fileName.size() < base_.size() + extension_.size()) return false;
    return isDateSuffix(fileName.substr(base_.size(), fileName.size() - base_.size() - extension_.size()));
}

std::vector<std::string> BXFileLoggerManager::logFiles() const
{
    std::vector<std::string> names;
    const auto entries = fs::listFolder(logsDirectory_);
    if (!entries) return names;
    for (const auto& entry : *entries)
        if (entry.attributes.kind == fs::FileKind::file && isDailyFile(entry.name)) names.push_back(entry.name);
    // The date in the name, and so the name, sorts by age.
    std::sort(names.begin(), names.end(), std::greater<>());
    return names;
}

void BXFileLoggerManager::deleteOldLogFiles() const
{
    const auto names = logFiles();
    const auto keep = static_cast<std::size_t>(std::max(maximumNumberOfLogFiles(), 1));
    for (std::size_t i = keep; i < names.size(); ++i)
        (void)fs::removeFile(fs::joinPath(logsDirectory_, names[i]));
}

} // namespace tidemark
