#include "host/engine/timers.h"

#include <algorithm>
#include <deque>
#include <random>

#include <gtest/gtest.h>

namespace mcadapt::host {
namespace {

using namespace std::chrono_literals;

struct Timers : testing::Test {
    Timer &timer(std::size_t i)
    {
        while (timers.size() <= i)
            timers.emplace_back(TimerKind::kPortGroup);
        return timers[i];
    }
    std::deque<Timer> timers;
    TimerQueue queue;
};

TEST_F(Timers, an_empty_queue_is_never_due)
{
    EXPECT_EQ(queue.next(), kNever);
    EXPECT_EQ(queue.take_due(kNever), nullptr);
}

TEST_F(Timers, timers_come_by_due_time_then_by_the_order_in_which_they_were_set)
{
    queue.set(timer(0), 3s);
    queue.set(timer(1), 1s);
    queue.set(timer(2), 3s);
    queue.set(timer(3), 2s);
    EXPECT_EQ(queue.next(), 1s);
    EXPECT_EQ(queue.take_due(999ms), nullptr);
    for (const std::size_t expected : {1u, 3u, 0u, 2u})
        EXPECT_EQ(queue.take_due(3s), &timer(expected));
    EXPECT_EQ(queue.take_due(3s), nullptr);
}

TEST_F(Timers, setting_a_timer_anew_moves_it)
{
    queue.set(timer(0), 5s);
    queue.set(timer(1), 4s);
    queue.set(timer(0), 1s);
    EXPECT_EQ(queue.due(timer(0)), 1s);
    queue.set(timer(0), 9s);
    EXPECT_EQ(queue.take_due(9s), &timer(1));
    EXPECT_EQ(queue.take_due(9s), &timer(0));
}

TEST_F(Timers, set_not_later_only_brings_a_timer_forward)
{
    queue.set_not_later(timer(0), 5s);
    queue.set_not_later(timer(0), 7s);
    EXPECT_EQ(queue.due(timer(0)), 5s);
    queue.set_not_later(timer(0), 3s);
    EXPECT_EQ(queue.due(timer(0)), 3s);
    queue.set_not_later(timer(1), kNever);
    EXPECT_FALSE(timer(1).running());
}

TEST_F(Timers, a_cancelled_timer_does_not_come)
{
    queue.set(timer(0), 1s);
    queue.set(timer(1), 2s);
    queue.cancel(timer(0));
    queue.cancel(timer(0));
    EXPECT_FALSE(timer(0).running());
    EXPECT_EQ(queue.take_due(5s), &timer(1));
    queue.set(timer(2), 3s);
    queue.set(timer(2), kNever);
    EXPECT_EQ(queue.next(), kNever);
}

TEST_F(Timers, any_sequence_of_calls_agrees_with_a_sorted_list)
{
    struct Expected {
        Time due;
        uint64_t order;
        std::size_t index;
    };
    std::mt19937 random(1);
    uint64_t order = 0;
    for (int round = 0; round < 500; ++round) {
        std::vector<Expected> expected;
        for (int step = 0; step < 80; ++step) {
            const std::size_t i = random() % 50;
            const auto same = [&](const Expected &e) { return e.index == i; };
            expected.erase(std::remove_if(expected.begin(), expected.end(), same), expected.end());
            const Time due(random() % 100);
            if (random() % 3 == 0) {
                queue.cancel(timer(i));
            } else {
                queue.set(timer(i), due);
                expected.push_back({due, order++, i});
            }
        }
        std::sort(expected.begin(), expected.end(), [](const Expected &a, const Expected &b) {
            return a.due != b.due ? a.due < b.due : a.order < b.order;
        });
        for (const Expected &e : expected) {
            ASSERT_EQ(queue.next(), e.due);
            ASSERT_EQ(queue.take_due(e.due), &timer(e.index));
        }
        ASSERT_EQ(queue.next(), kNever);
    }
}

} // namespace
} // namespace mcadapt::host
