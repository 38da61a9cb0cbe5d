/**
 * @file
 * The threads that work on a live unit: what feeds it frames, its management agents, and one that breaks its counts.
 */
#ifndef MCADAPT_TESTS_HOST_THREADS_AGENTS_H
#define MCADAPT_TESTS_HOST_THREADS_AGENTS_H

#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include "tests/host/threads/live_unit.h"
#include "tests/host/whole_unit/random_operations.h"

namespace mcadapt::host::test {

/** Lets frames arrive as fast as the unit takes them, until told to stop. @return How many. */
uint64_t feed(LiveUnit &unit, uint64_t seed, const std::atomic<bool> &stop);

/** A management agent. */
class Agent {
public:
    /** @param tables  Held during operations that change tables, of all agents alike; null: not. */
    Agent(const Chooser &chooser, std::mutex *tables) : chooser_(chooser), tables_(tables), calls_(chooser.all().size())
    {
    }

    /** Calls every operation once, and then random ones until told to stop. */
    void run(uint64_t seed, const std::atomic<bool> &stop);
    /** Calls of each operation, in the order of `Chooser::all`. */
    const std::vector<uint64_t> &calls() const { return calls_; }

private:
    void call(std::size_t choice, Dice &dice);

    const Chooser &chooser_;
    std::mutex *tables_;
    std::vector<uint64_t> calls_;
};

/** Writes hostile values into every count that the library exports, until told to stop. @return How many. */
uint64_t break_counts(uint64_t seed, const std::atomic<bool> &stop);

/** Puts the counts right that no start-up touches; nothing else may run. */
void mend_counts();

} // namespace mcadapt::host::test

#endif
