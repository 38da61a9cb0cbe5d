/**
 * @file
 * The log: every message goes to standard output, gated by one bit of its family's mask.
 *
 * A call site holds the whole message after the family's prefix, line end included:
 *
 *     LOG_ERROR(Igmp, "\n port(%d) is invalid!", port);   // prints "\r\n[MC_DBG_ERR]: \n port(%d) is invalid!"
 *
 * The compiler checks each format. A closed gate costs a load and a branch; arguments are then not computed. The
 * families' messages differ by their prefix alone, so a message that both print is kept once.
 */
#ifndef MCADAPT_CORE_LOG_H
#define MCADAPT_CORE_LOG_H

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "core/families.h"
#include "mcadapt/diagnostics.h"

namespace mcadapt {

// Inlined even when optimising for size, where a call would cost more than the test.
[[gnu::always_inline]] inline bool on(uint32_t mask, uint32_t bit)
{
    return __builtin_expect((mask & bit) != 0, false);
}

/** Bytes of the longest message before its arguments are put in, without the prefix. */
constexpr std::size_t kLongestFormat = 192;

/** Prints a message of a family and a log class (one of `MC_DEBUG_...`) behind its prefix. */
template <class F, uint32_t log_class>
[[gnu::cold, gnu::format(printf, 1, 2)]] void print_message(const char *format, ...);

} // namespace mcadapt

#define LOG_TRACE(F, ...) LOG_GATED_(F, MC_DEBUG_TRACE, __VA_ARGS__)
#define LOG_ERROR(F, ...) LOG_GATED_(F, MC_DEBUG_ERROR, __VA_ARGS__)
#define LOG_CONFIG(F, ...) LOG_GATED_(F, MC_DEBUG_CONFIG, __VA_ARGS__)

#define LOG_GATED_(F, log_class, ...)                                                                                  \
    do {                                                                                                               \
        static_assert(sizeof(LOG_FORMAT_(__VA_ARGS__, 0)) <= mcadapt::kLongestFormat);                                 \
        if (mcadapt::on(F::debug(), log_class))                                                                        \
            mcadapt::print_message<F, log_class>(__VA_ARGS__);                                                         \
    } while (0)

#define LOG_FORMAT_(format, ...) "" format // a literal, or it does not compile

#endif
