#include "host/unit/timer_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <thread>

namespace mcadapt::host::test {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;

TEST(TimerThread, calls_again_and_again_on_a_thread_of_its_own)
{
    std::promise<std::thread::id> third;
    int calls = 0;
    const TimerThread timers(
        [&] {
            if (++calls == 3)
                third.set_value(std::this_thread::get_id());
        },
        milliseconds(1));
    EXPECT_NE(third.get_future().get(), std::this_thread::get_id());
}

TEST(TimerThread, ends_at_once_however_long_its_tick)
{
    std::atomic<int> calls{0};
    {
        const TimerThread timers([&] { ++calls; }, hours(1));
    }
    EXPECT_EQ(calls, 0);
}

TEST(TimerThread, waits_at_its_end_for_the_call_under_way)
{
    std::promise<void> begun;
    std::promise<void> may_end;
    std::atomic<bool> ended{false};
    auto timers = std::make_unique<TimerThread>(
        [&] {
            if (ended)
                return; // one call is enough
            begun.set_value();
            may_end.get_future().wait();
            ended = true;
        },
        milliseconds(1));
    begun.get_future().wait();
    std::thread end([&] { timers.reset(); });
    may_end.set_value();
    end.join();
    EXPECT_TRUE(ended);
}

} // namespace
} // namespace mcadapt::host::test
