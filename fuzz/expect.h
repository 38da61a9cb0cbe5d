/**
 * @file
 * What a fuzzer holds to be true: when it is not, the process ends, and the fuzzer keeps the input.
 */
#ifndef MCADAPT_FUZZ_EXPECT_H
#define MCADAPT_FUZZ_EXPECT_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace mcadapt::fuzz {

[[noreturn]] void report_violation(const char *what, const char *file, int line);

/** What happened in a run, as a number: equal inputs give equal ones. Whoever adds bytes to it reads each of them. */
class Digest {
public:
    void bytes(const void *data, std::size_t size);
    void number(uint64_t value) { mix(value); }
    void text(std::string_view text) { bytes(text.data(), text.size()); }
    uint64_t value() const { return value_; }

private:
    void mix(uint64_t value)
    {
        value_ = (value_ ^ value) * 0x9E3779B97F4A7C15u;
        value_ ^= value_ >> 29;
    }

    uint64_t value_ = 0;
};

/** Fills the stack below: what a run takes from there without having written it differs from one run to the next. */
void fill_stack(uint8_t value);

} // namespace mcadapt::fuzz

/** Ends the process unless the condition holds; `what` says what must hold. */
#define FUZZ_EXPECT(condition, what)                                                                                   \
    do {                                                                                                               \
        if (!(condition))                                                                                              \
            mcadapt::fuzz::report_violation(what, __FILE__, __LINE__);                                                 \
    } while (0)

#endif
