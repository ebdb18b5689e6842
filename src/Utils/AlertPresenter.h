#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tidemark {

enum class AlertStyle
{
    warning,
    informational,
    critical
};

/// A modal question; all texts are localised and filled.
struct Alert
{
    AlertStyle style = AlertStyle::warning;
    std::string title;
    std::string message;
    /// One button each, in order; at least one.
    std::vector<std::string> choices;
};

/// How a front end shows what the engine's helpers have to say. Called on the main thread only, one call at a time.
class AlertPresenter
{
public:
    virtual ~AlertPresenter() = default;
    /// The index of the chosen button.
    virtual int showAlert(const Alert& alert) = 0;
    /// Lets the user choose one folder, beginning at `startPath`; nothing when dismissed.
    virtual std::optional<std::string> selectDirectory(const std::string& startPath, const std::string& message) = 0;
};

} // namespace tidemark
