// Frames, timers and agents on a live unit at the same time: on its own a test of bounds, and under ThreadSanitizer of
// races. MCADAPT_STRESS_SECONDS says how long, MCADAPT_STRESS_SEED which random sequences.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <mutex>
#include <numeric>
#include <thread>

#include "tests/host/threads/agents.h"
#include "tests/host/whole_unit/silence.h"
#include "tests/host/whole_unit/table_invariants.h"

namespace mcadapt::host::test {
namespace {

constexpr std::size_t kAgents = 3;

uint64_t number_from(const char *variable, uint64_t otherwise)
{
    const char *text = std::getenv(variable);
    return text != nullptr ? std::strtoull(text, nullptr, 0) : otherwise;
}

enum class Manners : uint8_t {
    kOneAtATime, /**< Agents change tables one at a time, as the library asks for. */
    kHostile     /**< They do not, and somebody breaks the counts. */
};

struct Deeds {
    std::chrono::milliseconds time{0};
    uint64_t arrived = 0;
    uint64_t handled = 0;
    uint64_t packets = 0;
    uint64_t joins = 0;
    uint64_t entries = 0;
    uint64_t sent = 0;
    uint64_t timer_calls = 0;
    uint64_t broken_counts = 0;
    std::vector<uint64_t> calls; /**< Of each operation. */
};

class Stress : public ::testing::Test {
protected:
    const Chooser chooser_;
    const uint64_t seconds_ = number_from("MCADAPT_STRESS_SECONDS", 1);
    const uint64_t seed_ = number_from("MCADAPT_STRESS_SEED", 1);

    Deeds run(Manners manners);
    void tell(const Deeds &deeds) const;
    void expect_that_all_happened(const Deeds &deeds) const;
};

// On a machine that is busy otherwise it takes longer until something happened.
constexpr std::chrono::seconds kMostPatience{60};

bool something_happened(const LiveUnit &unit)
{
    const LiveCounts &counts = unit.counts();
    return unit.frames_handled() > 0 && counts.packets > 0 && counts.joins > 0 && counts.entries_added > 0 &&
           counts.frames_sent > 0 && counts.timer_calls > 0;
}

std::chrono::milliseconds let_run(const LiveUnit &unit, std::chrono::seconds time)
{
    using std::chrono::steady_clock;
    const auto start = steady_clock::now();
    const auto passed = [start] { return steady_clock::now() - start; };
    while (passed() < time || (!something_happened(unit) && passed() < kMostPatience))
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return std::chrono::duration_cast<std::chrono::milliseconds>(passed());
}

Deeds Stress::run(Manners manners)
{
    const Silence silence;
    const bool hostile = manners == Manners::kHostile;
    Deeds deeds;
    std::mutex tables;
    std::atomic<bool> stop{false};
    std::vector<Agent> agents(kAgents, Agent(chooser_, hostile ? nullptr : &tables));
    LiveUnit unit;
    std::vector<std::thread> threads;
    threads.emplace_back([&] { deeds.arrived = feed(unit, seed_, stop); });
    for (std::size_t i = 0; i < kAgents; ++i)
        threads.emplace_back([&, i] { agents[i].run(seed_ * 1000 + i, stop); });
    if (hostile)
        threads.emplace_back([&] { deeds.broken_counts = break_counts(seed_, stop); });
    // What is out of bounds shows soon.
    deeds.time = let_run(unit, std::chrono::seconds(hostile ? (seconds_ + 3) / 4 : seconds_));
    stop = true;
    for (std::thread &thread : threads)
        thread.join();
    unit.end();

    deeds.handled = unit.frames_handled();
    deeds.packets = unit.counts().packets;
    deeds.joins = unit.counts().joins;
    deeds.entries = unit.counts().entries_added;
    deeds.sent = unit.counts().frames_sent;
    deeds.timer_calls = unit.counts().timer_calls;
    deeds.calls.resize(chooser_.all().size());
    for (const Agent &agent : agents)
        for (std::size_t i = 0; i < deeds.calls.size(); ++i)
            deeds.calls[i] += agent.calls()[i];
    return deeds;
}

void Stress::tell(const Deeds &deeds) const
{
    const uint64_t operations = std::accumulate(deeds.calls.begin(), deeds.calls.end(), uint64_t{0});
    fmt::print("stress: {:.1f} s, seed {}: {} frames arrived, {} handled by the library, {} packets to the engine, {} "
               "joins, {} entries, {} frames sent, {} callbacks on the timers' thread, {} operations of {} kinds, {} "
               "counts broken\n",
               static_cast<double>(deeds.time.count()) / 1000, seed_, deeds.arrived, deeds.handled, deeds.packets,
               deeds.joins, deeds.entries, deeds.sent, deeds.timer_calls, operations,
               deeds.calls.size() - static_cast<std::size_t>(std::count(deeds.calls.begin(), deeds.calls.end(), 0u)),
               deeds.broken_counts);
}

void Stress::expect_that_all_happened(const Deeds &deeds) const
{
    EXPECT_GT(deeds.handled, 0u);
    EXPECT_GT(deeds.packets, 0u);
    EXPECT_GT(deeds.joins, 0u);
    EXPECT_GT(deeds.entries, 0u);
    EXPECT_GT(deeds.sent, 0u);
    EXPECT_GT(deeds.timer_calls, 0u);
    for (std::size_t i = 0; i < deeds.calls.size(); ++i)
        EXPECT_GE(deeds.calls[i], kAgents) << chooser_.all()[i].operation->name;
}

TEST_F(Stress, frames_timers_and_three_agents_share_the_unit)
{
    const Deeds deeds = run(Manners::kOneAtATime);
    tell(deeds);
    expect_that_all_happened(deeds);
    EXPECT_EQ(broken_tables(), "");
}

TEST_F(Stress, loops_over_broken_counts_stay_inside_their_tables)
{
    const Deeds deeds = run(Manners::kHostile);
    tell(deeds);
    expect_that_all_happened(deeds);
    EXPECT_GT(deeds.broken_counts, 0u);
    mend_counts();
}

} // namespace
} // namespace mcadapt::host::test
