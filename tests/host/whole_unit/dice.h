/**
 * @file
 * Random choices that are the same everywhere for the same seed.
 */
#ifndef MCADAPT_TESTS_HOST_WHOLE_UNIT_DICE_H
#define MCADAPT_TESTS_HOST_WHOLE_UNIT_DICE_H

#include <cstddef>
#include <cstdint>
#include <random>

namespace mcadapt::host::test {

class Dice {
public:
    explicit Dice(uint64_t seed) : generator_(seed) {}

    uint64_t next() { return generator_(); }
    uint32_t below(uint32_t end) { return static_cast<uint32_t>(generator_() % end); }
    bool percent(uint32_t chance) { return below(100) < chance; }

    template <class T, std::size_t N> const T &one_of(const T (&values)[N])
    {
        return values[below(static_cast<uint32_t>(N))];
    }

private:
    std::mt19937_64 generator_; // its numbers are fixed by the standard, those of distributions are not
};

} // namespace mcadapt::host::test

#endif
