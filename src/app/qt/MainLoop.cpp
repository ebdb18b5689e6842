#include "app/qt/MainLoop.h"

#include <QEventLoop>

#include "platform/MainThread.h"

namespace tidemark::qt {

MainLoop::MainLoop()
{
    MainThread::adopt([this](std::function<void()> work) { post(std::move(work)); });
}

void MainLoop::post(std::function<void()> work)
{
    QMetaObject::invokeMethod(this, std::move(work), Qt::QueuedConnection);
}

void MainLoop::runUntil(const std::function<bool()>& done)
{
    QEventLoop loop;
    ++depth_;
    while (!done())
        loop.processEvents(QEventLoop::WaitForMoreEvents);
    --depth_;
}

void MainLoop::wake()
{
    post([] {});
}

} // namespace tidemark::qt
