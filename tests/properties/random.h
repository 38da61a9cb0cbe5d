/**
 * @file
 * Random numbers that are the same on every machine: a seed names a sequence for good.
 */
#ifndef MCADAPT_TESTS_RANDOM_H
#define MCADAPT_TESTS_RANDOM_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace mcadapt::test {

/** splitmix64. */
class Random {
public:
    explicit Random(uint64_t seed) : state_(seed) {}

    uint64_t next()
    {
        state_ += 0x9E3779B97F4A7C15u;
        uint64_t mixed = state_;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9u;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
        return mixed ^ (mixed >> 31);
    }

    /** 0 to `bound` - 1. */
    uint32_t below(uint32_t bound) { return static_cast<uint32_t>(next() % bound); }

    bool percent(uint32_t chance) { return below(100) < chance; }

    template <class T, std::size_t N> T one_of(const std::array<T, N> &values)
    {
        return values[below(static_cast<uint32_t>(N))];
    }

private:
    uint64_t state_;
};

} // namespace mcadapt::test

#endif
