#pragma once

#include <functional>

#include <QObject>

class QSocketNotifier;

namespace tidemark::qt {

/// Turns SIGINT and SIGTERM into calls on the main thread; a third one ends the process at once. One per process.
class Terminations : public QObject
{
public:
    explicit Terminations(std::function<void()> asked);
    ~Terminations() override;

private:
    void read();

    const std::function<void()> asked_;
    int ends_[2] = {-1, -1};
    int count_ = 0;
    QSocketNotifier* notifier_ = nullptr;
};

} // namespace tidemark::qt
