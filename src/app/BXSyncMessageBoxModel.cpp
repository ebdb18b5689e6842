#include "app/BXSyncMessageBoxModel.h"

#include <algorithm>

#include "SyncLibrary/BXSyncUtils.h"
#include "platform/Unicode.h"

namespace tidemark {

namespace {

constexpr const char* table = "TidemarkResource";
constexpr const char* cancelKey = "CANCEL";

/// A key without a text stands for itself, so that nothing is asked with an empty window.
std::string localized(const std::string& key, const BXSyncUtils::ReplaceMap& map = {})
{
    auto text = BXSyncUtils::localizeAndReplacementMessage(key, table, map);
    return text.empty() ? key : text;
}

std::string titleText(const std::string& titleKey, const BXSyncConfirmInfo& info)
{
    const auto own = info.otherInfo.find(BXSyncConfirmInfo::titleKey);
    return localized(own == info.otherInfo.end() ? titleKey : own->second.stringValue());
}

std::string bodyText(const BXSyncConfirmInfo& info)
{
    BXSyncUtils::ReplaceMap escaped;
    for (const auto& [name, value] : info.replaceStrings)
        escaped[name] = escapeControls(value);
    return localized(info.message, escaped);
}

} // namespace

BXSyncMessageBoxModel::BXSyncMessageBoxModel(const std::string& titleKey, BXSyncConfirmInfo info, std::size_t most)
    : info_(std::move(info)), title_(titleText(titleKey, info_)), body_(bodyText(info_))
{
    info_.choices.resize(std::min(info_.choices.size(), most));
    for (const auto& choice : info_.choices)
        buttons_.push_back(localized(choice.title));
}

std::string BXSyncMessageBoxModel::checkBoxText() const
{
    return localized("PERSISTENCE");
}

std::int64_t BXSyncMessageBoxModel::dismissIndex() const
{
    const auto cancel = std::ranges::find(info_.choices, cancelKey, &BXSyncConfirmChoice::title);
    if (cancel != info_.choices.end()) return cancel - info_.choices.begin();
    return info_.choices.size() == 1 ? 0 : noIndex;
}

std::int64_t BXSyncMessageBoxModel::defaultIndex() const
{
    return hasCountdown() && isButton(timeoutIndex()) ? timeoutIndex() : dismissIndex();
}

BXSyncMessageBoxModel::Countdown BXSyncMessageBoxModel::countdown(std::chrono::duration<double> elapsed) const
{
    const auto whole = static_cast<double>(info_.timeout);
    const auto over = std::clamp(elapsed.count(), 0.0, whole);
    Countdown state;
    state.fraction = over / whole;
    state.remainingSeconds = static_cast<std::int64_t>(whole - over);
    state.ended = elapsed.count() >= whole;
    state.label = localized("RECONNECT_REMAININGSECOND", {{"second", std::to_string(state.remainingSeconds)}});
    return state;
}

std::int64_t BXSyncMessageBoxModel::timeoutIndex() const
{
    const auto named = info_.otherInfo.find(BXSyncConfirmInfo::timeoutReturnKey);
    return named == info_.otherInfo.end() ? noIndex : named->second.integerValue();
}

std::optional<BXSyncConfirmResult> BXSyncMessageBoxModel::result(std::int64_t index, bool checked) const
{
    if (!isButton(index)) return std::nullopt;
    const auto& choice = info_.choices[static_cast<std::size_t>(index)];
    return BXSyncConfirmResult{choice.returnCode, checked && info_.askPersistence};
}

bool BXSyncMessageBoxModel::isButton(std::int64_t index) const
{
    return index >= 0 && static_cast<std::size_t>(index) < info_.choices.size();
}

} // namespace tidemark
