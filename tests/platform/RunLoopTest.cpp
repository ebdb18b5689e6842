#include "platform/RunLoop.h"

#include <atomic>
#include <future>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/ManualClock.h"

namespace tidemark {
namespace {

using namespace std::chrono_literals;

/// Runs a test's body on a thread of its own, so that it has a loop of its own.
template <class Body>
void onFreshThread(Body body)
{
    std::thread(body).join();
}

TEST(RunLoop, RunsPostedWorkInOrderFromAnyThread)
{
    onFreshThread([] {
        const auto loop = RunLoop::current();
        std::vector<int> order;
        std::thread poster([&] {
            for (int i = 0; i < 1000; ++i)
                loop->post([&order, i] { order.push_back(i); });
            loop->post([loop] { loop->stop(); });
        });
        loop->run();
        poster.join();
        ASSERT_EQ(order.size(), 1000U);
        EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
    });
}

TEST(RunLoop, AStopBeforeRunEndsTheNextRunOnly)
{
    onFreshThread([] {
        const auto loop = RunLoop::current();
        loop->stop();
        loop->run();
        EXPECT_FALSE(loop->runFor(1ms));
    });
}

TEST(RunLoop, StopEndsTheInnermostRun)
{
    onFreshThread([] {
        const auto loop = RunLoop::current();
        std::vector<std::string> events;
        loop->post([&] {
            loop->post([loop] { loop->stop(); });
            loop->run();
            events.push_back("inner ended");
        });
        loop->post([&] { events.push_back("served inside"); });
        EXPECT_FALSE(loop->runFor(1ms));
        EXPECT_EQ(events, (std::vector<std::string>{"served inside", "inner ended"}));
    });
}

TEST(RunLoop, AWakeHasConditionsLookedAtAgain)
{
    onFreshThread([] {
        const auto loop = RunLoop::current();
        std::atomic<bool> flag = false;
        std::promise<void> looked;
        bool first = true;
        std::thread waker([&] {
            looked.get_future().wait();
            flag = true;
            loop->wake();
        });
        loop->runUntil([&] {
            if (std::exchange(first, false)) looked.set_value();
            return flag.load();
        });
        waker.join();
        EXPECT_TRUE(flag);
    });
}

TEST(RunLoop, TimersFollowTheClockGivenByHand)
{
    testing::ManualClock clock;
    onFreshThread([&] {
        const auto loop = RunLoop::current();
        clock.attach(loop);
        int once = 0;
        int repeated = 0;
        loop->addTimer(5s, false, [&] { ++once; });
        RunLoop::TimerId repeating = 0;
        repeating = loop->addTimer(5s, true, [&] {
            if (++repeated == 3) loop->removeTimer(repeating);
        });
        const auto serve = [&] {
            bool served = false;
            loop->post([&] { served = true; });
            loop->runUntil([&] { return served; });
        };

        clock.advance(4999ms);
        serve();
        EXPECT_EQ(once + repeated, 0);
        clock.advance(1ms);
        serve();
        EXPECT_EQ(once, 1);
        EXPECT_EQ(repeated, 1);
        // A long step counts once, and the rhythm is kept.
        clock.advance(12s);
        serve();
        EXPECT_EQ(repeated, 2);
        clock.advance(3s);
        serve();
        EXPECT_EQ(repeated, 3);
        clock.advance(60s);
        serve();
        EXPECT_EQ(repeated, 3);
        EXPECT_EQ(once, 1);
    });
}

TEST(RunLoop, TimersOfRealTimeEndAWait)
{
    onFreshThread([] {
        const auto loop = RunLoop::current();
        loop->addTimer(1ms, false, [loop] { loop->stop(); });
        loop->run();
    });
}

TEST(RunLoop, WorkPostedAfterItsThreadIsDropped)
{
    std::shared_ptr<RunLoop> loop;
    onFreshThread([&] { loop = RunLoop::current(); });
    const auto token = std::make_shared<int>(1);
    loop->post([token] { FAIL(); });
    loop->wake();
    EXPECT_EQ(token.use_count(), 1);
    EXPECT_FALSE(isCurrent(*loop));
}

} // namespace
} // namespace tidemark
