#pragma once

#include <functional>
#include <string>

#include "app/SequenceRun.h"
#include "app/qt/Notice.h"

class QDialog;

namespace tidemark {
struct DirectoryWatchFailure;
} // namespace tidemark

namespace tidemark::qt {

/// What a person is told who is not looking, and what a click on it opens. Main thread.
class Notices
{
public:
    struct Outside
    {
        std::function<void(const Notice& notice)> tell;
        std::function<void(const std::string& configuration)> showLog;
        std::function<void(const std::string& configuration)> showSettings;
    };

    explicit Notices(Outside outside) : outside_(std::move(outside)) {}

    /// Told where it failed without anybody having started it; a click opens the log.
    void runEnded(const std::string& configuration, SequenceOutcome outcome, bool inBackground) const;
    /// A click opens the configuration's settings.
    void watchFailed(const std::string& configuration, const DirectoryWatchFailure& failure) const;
    /// Somebody's answer is waited for while nobody looks at the question; a click brings it to the front.
    void questionUnseen(QDialog& question) const;

private:
    const Outside outside_;
};

} // namespace tidemark::qt
