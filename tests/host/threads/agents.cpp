#include "tests/host/threads/agents.h"

#include <climits>
#include <thread>

#include "mcadapt/records.h"

namespace mcadapt::host::test {

namespace {

constexpr std::size_t kFrames = 4096;

int32_t hostile_count(Dice &dice)
{
    constexpr int32_t kEdges[] = {INT_MIN, -1, 0, 1, 2, 15, 16, 17, 31, 32, 33, 511, 512, 513, INT_MAX};
    return dice.percent(70) ? dice.one_of(kEdges) : static_cast<int32_t>(dice.next());
}

template <class Count> void poke(Count &count, Dice &dice)
{
    __atomic_store_n(&count, static_cast<Count>(hostile_count(dice)), __ATOMIC_RELAXED);
}

void break_one_count(Dice &dice)
{
    const uint32_t port = dice.below(MC_LOGIC_PORTS);
    switch (dice.below(7)) {
    case 0:
        return poke(setVlanCfgNumber[port], dice);
    case 1:
        return poke(setVlanNumber, dice);
    case 2:
        return poke(g_static_grp_num[port], dice);
    case 3:
        return poke(mldInitParams.mldSetVlanCfgNumber[port], dice);
    case 4:
        return poke(mldInitParams.setVlanNumber, dice);
    case 5:
        if (grp_info *status = __atomic_load_n(&mc_status_global, __ATOMIC_ACQUIRE))
            poke(status->std_cnt, dice);
        return;
    default: // the counts as they ought to be: what lies behind them is reached again
        for (int32_t *count : {&setVlanCfgNumber[port], &setVlanNumber, &mldInitParams.setVlanNumber})
            __atomic_store_n(count, static_cast<int32_t>(dice.below(3)), __ATOMIC_RELAXED);
    }
}

} // namespace

uint64_t feed(LiveUnit &unit, uint64_t seed, const std::atomic<bool> &stop)
{
    Dice dice(seed);
    const std::vector<ArrivingFrame> traffic = make_traffic(dice, kFrames);
    uint64_t frames = 0;
    while (!stop && unit.arrive(traffic[dice.below(kFrames)]))
        ++frames;
    return frames;
}

void Agent::run(uint64_t seed, const std::atomic<bool> &stop)
{
    Dice dice(seed);
    for (std::size_t i = 0; i < calls_.size(); ++i)
        call((i + seed) % calls_.size(), dice);
    while (!stop)
        call(chooser_.draw(dice), dice);
}

void Agent::call(std::size_t choice, Dice &dice)
{
    const Choice &chosen = chooser_.all()[choice];
    const Values values(chosen.operation->arguments, random_words(*chosen.operation, Range::kAny, dice));
    std::unique_lock<std::mutex> one_at_a_time;
    if (tables_ != nullptr && chosen.changes_tables)
        one_at_a_time = std::unique_lock<std::mutex>(*tables_);
    chosen.operation->call(values);
    ++calls_[choice];
}

// Now and then a pause, so that counts are also used as they are.
uint64_t break_counts(uint64_t seed, const std::atomic<bool> &stop)
{
    Dice dice(seed);
    uint64_t broken = 0;
    do {
        break_one_count(dice);
        if (++broken % 64 == 0)
            std::this_thread::yield();
    } while (!stop);
    return broken;
}

void mend_counts()
{
    for (int32_t &count : g_static_grp_num)
        count = 0;
}

} // namespace mcadapt::host::test
