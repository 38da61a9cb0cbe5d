/**
 * @file
 * The log: every message goes to standard output, gated by one bit of its family's mask.
 *
 * A call site holds the whole message after the family's prefix, line end included:
 *
 *     LOG_ERROR(Igmp, "\n port(%d) is invalid!", port);   // prints "\r\n[MC_DBG_ERR]: \n port(%d) is invalid!"
 *
 * The compiler checks each format. A closed gate costs a load and a branch; arguments are then not computed.
 */
#ifndef MCADAPT_CORE_LOG_H
#define MCADAPT_CORE_LOG_H

#include <cstdint>
#include <cstdio>

#include "mcadapt/diagnostics.h"

namespace mcadapt {

// Inlined even when optimising for size, where a call would cost more than the test.
[[gnu::always_inline]] inline bool on(const uint32_t &mask, uint32_t bit)
{
    return __builtin_expect((__atomic_load_n(&mask, __ATOMIC_RELAXED) & bit) != 0, false);
}

} // namespace mcadapt

#define LOG_TRACE(F, ...) LOG_GATED_(F, MC_DEBUG_TRACE, "DBG", __VA_ARGS__)
#define LOG_ERROR(F, ...) LOG_GATED_(F, MC_DEBUG_ERROR, "ERR", __VA_ARGS__)
#define LOG_CONFIG(F, ...) LOG_GATED_(F, MC_DEBUG_CONFIG, "CFG", __VA_ARGS__)

#define LOG_GATED_(F, bit, cls, ...)                                                                                   \
    do {                                                                                                               \
        if (mcadapt::on(F::debug(), bit)) {                                                                            \
            if constexpr (F::kMld)                                                                                     \
                printf("\r\n[MC_MLD_DBG_" cls "]: " __VA_ARGS__);                                                      \
            else                                                                                                       \
                printf("\r\n[MC_DBG_" cls "]: " __VA_ARGS__);                                                          \
        }                                                                                                              \
    } while (0)

#endif
