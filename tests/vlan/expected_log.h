/**
 * @file
 * The trace that an operation is expected to leave: its messages, each with the mask bit that gates it, and the
 * platform calls between them.
 *
 *     EXPECT_EQ(seen.trace, log_of({cfg("temp_var = %d\n", 105), called("igmp_vlan_add(105)"), err("Fail")}));
 */
#ifndef MCADAPT_TESTS_VLAN_EXPECTED_LOG_H
#define MCADAPT_TESTS_VLAN_EXPECTED_LOG_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "mcadapt/records.h"

namespace mcadapt::test {

enum class LogFamily { kIgmp, kMld };

struct LogPart {
    std::string text;
    uint32_t bit; /**< Of the family's mask; 0 when nothing gates the part. */
    LogFamily family;
};
using Log = std::vector<LogPart>;

[[gnu::format(printf, 1, 0)]] inline std::string formatted(const char *format, va_list args)
{
    va_list again;
    va_copy(again, args);
    const int length = vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string text(static_cast<std::size_t>(length), '\0');
    vsnprintf(text.data(), text.size() + 1, format, args);
    return text;
}

/** Defines a part with the prefix of its class, written like `printf`. */
#define MCADAPT_LOG_PART(name, prefix, bit, family)                                                                    \
    [[gnu::format(printf, 1, 2)]] inline LogPart name(const char *format, ...)                                         \
    {                                                                                                                  \
        va_list args;                                                                                                  \
        va_start(args, format);                                                                                        \
        const std::string text = formatted(format, args);                                                              \
        va_end(args);                                                                                                  \
        return {prefix + text, bit, family};                                                                           \
    }
MCADAPT_LOG_PART(dbg, "\r\n[MC_DBG_DBG]: ", 0x01u, LogFamily::kIgmp)
MCADAPT_LOG_PART(err, "\r\n[MC_DBG_ERR]: ", 0x04u, LogFamily::kIgmp)
MCADAPT_LOG_PART(cfg, "\r\n[MC_DBG_CFG]: ", 0x20u, LogFamily::kIgmp)
MCADAPT_LOG_PART(mld_dbg, "\r\n[MC_MLD_DBG_DBG]: ", 0x01u, LogFamily::kMld)
MCADAPT_LOG_PART(mld_err, "\r\n[MC_MLD_DBG_ERR]: ", 0x04u, LogFamily::kMld)
MCADAPT_LOG_PART(mld_cfg, "\r\n[MC_MLD_DBG_CFG]: ", 0x20u, LogFamily::kMld)
/** Printed whatever the masks hold. */
MCADAPT_LOG_PART(ungated, "", 0u, LogFamily::kIgmp)
#undef MCADAPT_LOG_PART

/** A text that is printed whatever the masks hold. */
inline LogPart dump_of(std::string text) { return {std::move(text), 0, LogFamily::kIgmp}; }

/** A platform call, as `Observation::trace` shows it. */
inline LogPart called(const std::string &call) { return {"<" + call + ">\n", 0, LogFamily::kIgmp}; }

/** The trace under the masks as they are now. */
inline std::string log_of(const Log &parts)
{
    std::string trace;
    for (const LogPart &part : parts) {
        const uint32_t mask = part.family == LogFamily::kMld ? mld_debug : mc_debug;
        if (part.bit == 0 || (mask & part.bit) != 0)
            trace += part.text;
    }
    return trace;
}

inline Log operator+(Log first, const Log &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/** Every combination of the three class bits in both masks, and masks in which all other bits are set. */
inline std::vector<std::pair<uint32_t, uint32_t>> all_log_masks()
{
    const uint32_t masks[] = {0, 0x01, 0x04, 0x05, 0x20, 0x21, 0x24, 0x25, 0xFFFFFFDA};
    std::vector<std::pair<uint32_t, uint32_t>> pairs;
    for (const uint32_t igmp : masks)
        for (const uint32_t mld : masks)
            pairs.emplace_back(igmp, mld);
    return pairs;
}

} // namespace mcadapt::test

#endif
