#include "app/cli/Cancellation.h"

#include <csignal>
#include <future>

#include <gtest/gtest.h>

#include "app/cli/Interrupts.h"

namespace tidemark::cli {
namespace {

using namespace std::chrono_literals;

TEST(Cancellation, EndsAWaitAndStays)
{
    Cancellation cancellation;
    EXPECT_FALSE(cancellation.waitFor(0ms));
    auto waiting = std::async(std::launch::async, [&] { return cancellation.waitFor(1h); });
    cancellation.request();
    EXPECT_TRUE(waiting.get());
    EXPECT_TRUE(cancellation.waitFor(1h));
    EXPECT_TRUE(cancellation.isRequested());
}

TEST(Cancellation, CallsTheInnermostHandlerOnce)
{
    Cancellation cancellation;
    int outer = 0;
    int inner = 0;
    const Cancellation::Handler first(cancellation, [&] { ++outer; });
    {
        const Cancellation::Handler second(cancellation, [&] { ++inner; });
        cancellation.request();
        cancellation.request();
    }
    EXPECT_EQ(inner, 1);
    EXPECT_EQ(outer, 0);
    int late = 0;
    const Cancellation::Handler third(cancellation, [&] { ++late; });
    EXPECT_EQ(late, 1) << "a request that came before counts";
}

TEST(Interrupts, FirstAndLaterSignalsAreToldApart)
{
    std::promise<void> first;
    std::promise<void> second;
    std::promise<void> hangUp;
    {
        const Interrupts interrupts([&] { first.set_value(); }, [&] { second.set_value(); },
                                    [&] {
                                        hangUp.set_value();
                                        return false;
                                    });
        std::raise(SIGHUP);
        ASSERT_EQ(hangUp.get_future().wait_for(30s), std::future_status::ready);
        std::raise(SIGINT);
        ASSERT_EQ(first.get_future().wait_for(30s), std::future_status::ready);
        std::raise(SIGTERM);
        ASSERT_EQ(second.get_future().wait_for(30s), std::future_status::ready);
    }
    struct sigaction action = {};
    ::sigaction(SIGINT, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
}

} // namespace
} // namespace tidemark::cli
