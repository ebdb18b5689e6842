#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Utils/AlertPresenter.h"
#include "Utils/MessageTemplate.h"

namespace tidemark {

/// What the configuration store and the front ends share. Any thread; alerts run on the main thread and block the
/// caller until they are answered.
class BXTidemarkUtils
{
public:
    /// The configuration directory, made (mode 0700) when missing. Errors are not reported, except that a file in its
    /// place is logged.
    static std::string configDirectory();

    /// Runs `block` on the main thread and returns after it has finished; at once on the main thread itself.
    static void execMainThread(const std::function<void()>& block);

    /// Title "ERROR", the localised message, one button "OK".
    static void showErrorAlert(const std::string& message);
    /// `message`, `title` and `choices` are keys of `table`; the index of the chosen button. Without a presenter the
    /// message goes to the global log and the answer is the first choice, so the first choice is the harmless one.
    static int showSelectAlert(const std::string& message, const std::string& title,
                               const std::vector<std::string>& choices);
    static int showSelectAlert(const std::string& message, const std::string& title,
                               const std::vector<std::string>& choices, AlertStyle style, const ReplaceMap& replaceMap);
    static int showSelectAlert(const std::string& message, const std::string& title,
                               const std::vector<std::string>& choices, AlertStyle style, const std::string& table,
                               const ReplaceMap& replaceMap);
    /// Lets the user choose one folder; `message` is a key of "TidemarkResource".
    static std::optional<std::string> directorySelect(const std::string& path, const std::string& message);

    /// The front end's way of showing alerts; null for none.
    static void setAlertPresenter(std::shared_ptr<AlertPresenter> presenter);

    /// One or more of the digits 0 to 9 and nothing else.
    static bool checkNumber(std::string_view text);
    /// Every character is a single byte of UTF-8.
    static bool checkAllHalfLetter(std::string_view text);
};

} // namespace tidemark
