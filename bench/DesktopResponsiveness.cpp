// The desktop application with a second thread that asks its main loop for an answer every millisecond. On standard
// output at its end, in milliseconds: "answers N median M percentile99 P worst W at T", T after the loop's first turn.
//     bench_desktop [the options of tidemark-tray]

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <semaphore>
#include <thread>
#include <vector>

#include <QCoreApplication>
#include <QTimer>

#include "app/qt/TrayProgram.h"

namespace {

using SteadyClock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

struct Answer
{
    double asked;
    double took;
};

double since(SteadyClock::time_point begin)
{
    return Milliseconds(SteadyClock::now() - begin).count();
}

/// Asks from the loop's first turn to the end of the application.
class Questions
{
public:
    Questions() : thread_([this] { ask(); })
    {
        QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, [this] { end(); });
    }
    ~Questions() { end(); }
    Questions(const Questions&) = delete;
    Questions& operator=(const Questions&) = delete;

    /// Once the application has ended.
    void print()
    {
        if (answers_.empty()) return;
        std::ranges::sort(answers_, {}, &Answer::took);
        const auto at = [this](double part) {
            return answers_[static_cast<std::size_t>(part * (answers_.size() - 1))];
        };
        std::printf("answers %zu median %.3f percentile99 %.3f worst %.3f at %.0f\n", answers_.size(), at(0.5).took,
                    at(0.99).took, at(1).took, at(1).asked);
    }

private:
    void ask()
    {
        while (!ended_) {
            const auto asked = since(begin_);
            QMetaObject::invokeMethod(
                &ear_, [this] { answered_.release(); }, Qt::QueuedConnection);
            answered_.acquire();
            if (!ended_) answers_.push_back({asked, since(begin_) - asked});
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    void end()
    {
        ended_ = true;
        answered_.release();
        if (thread_.joinable()) thread_.join();
    }

    const SteadyClock::time_point begin_ = SteadyClock::now();
    QObject ear_;
    std::atomic<bool> ended_ = false;
    std::counting_semaphore<> answered_{0};
    std::vector<Answer> answers_;
    std::thread thread_; // last: it uses all above
};

std::unique_ptr<Questions> questions;

void askFromFirstTurn()
{
    QTimer::singleShot(0, QCoreApplication::instance(), [] { questions = std::make_unique<Questions>(); });
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(askFromFirstTurn)

int main(int argc, char** argv)
{
    const int status = tidemark::qt::runTrayProgram(argc, argv);
    if (questions) questions->print();
    return status;
}
