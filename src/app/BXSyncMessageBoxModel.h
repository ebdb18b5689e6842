#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "SyncLibrary/BXSyncConfirmInfo.h"

namespace tidemark {

/// What a question of a run shows, and what comes of the way it ended. Without a window and without a clock; one
/// thread.
class BXSyncMessageBoxModel
{
public:
    /// Buttons of the general message box.
    static constexpr std::size_t mostButtons = 3;
    /// A question that ended without a button.
    static constexpr std::int64_t noIndex = -1;

    /// `titleKey` stands where the question brings no title of its own. Of the choices no more than `most` are shown.
    BXSyncMessageBoxModel(const std::string& titleKey, BXSyncConfirmInfo info, std::size_t most = mostButtons);

    // All texts are localised. ----------------------------------------------------------------------------------------

    const std::string& title() const { return title_; }
    /// Filled; control characters of names in it are escaped.
    const std::string& body() const { return body_; }
    /// In the order in which they are shown; a button's place here is its index.
    const std::vector<std::string>& buttons() const { return buttons_; }
    bool hasCheckBox() const { return info_.askPersistence; }
    std::string checkBoxText() const;

    // What may be pressed unread. -------------------------------------------------------------------------------------

    /// The button that stands for closing the window: the one that cancels, or the only one there is; otherwise
    /// noIndex.
    std::int64_t dismissIndex() const;
    /// The button for Return: what happens anyway when the countdown ends, otherwise the one for closing the window.
    std::int64_t defaultIndex() const;

    // The countdown. --------------------------------------------------------------------------------------------------

    struct Countdown
    {
        /// 0 to 1 of the time is over.
        double fraction = 0;
        /// The rest, rounded down; never negative.
        std::int64_t remainingSeconds = 0;
        /// The question ends with timeoutIndex().
        bool ended = false;
        std::string label;
    };

    bool hasCountdown() const { return info_.timeout >= 1; }
    /// `elapsed`: since the question was shown. Only with a countdown.
    Countdown countdown(std::chrono::duration<double> elapsed) const;
    /// The index that the question names for this case, otherwise noIndex.
    std::int64_t timeoutIndex() const;

    // The answer. -----------------------------------------------------------------------------------------------------

    /// `index`: a button's, or noIndex. Nothing for an index without a button.
    std::optional<BXSyncConfirmResult> result(std::int64_t index, bool checked) const;

private:
    bool isButton(std::int64_t index) const;

    BXSyncConfirmInfo info_;
    std::string title_;
    std::string body_;
    std::vector<std::string> buttons_;
};

} // namespace tidemark
