#include "core/log.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace mcadapt {

static constexpr std::size_t kLongestPrefix = sizeof("\r\n[MC_MLD_DBG_ERR]: ");

template <class F, uint32_t log_class> static constexpr const char *prefix()
{
    switch (log_class) {
    case MC_DEBUG_ERROR:
        return F::kMld ? "\r\n[MC_MLD_DBG_ERR]: " : "\r\n[MC_DBG_ERR]: ";
    case MC_DEBUG_CONFIG:
        return F::kMld ? "\r\n[MC_MLD_DBG_CFG]: " : "\r\n[MC_DBG_CFG]: ";
    default:
        return F::kMld ? "\r\n[MC_MLD_DBG_DBG]: " : "\r\n[MC_DBG_DBG]: ";
    }
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral" // each format is checked where it stands

// One call for the whole message: standard output's own lock keeps it together, and is let go of even by a thread that
// is cancelled while it prints.
[[gnu::format(printf, 2, 0)]] static void print(const char *prefix, const char *format, va_list arguments)
{
    char whole[kLongestPrefix + kLongestFormat];
    stpcpy(stpcpy(whole, prefix), format);
    vfprintf(stdout, whole, arguments);
}

#pragma GCC diagnostic pop

template <class F, uint32_t log_class> void print_message(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    print(prefix<F, log_class>(), format, arguments);
    va_end(arguments);
}

template void print_message<Igmp, MC_DEBUG_TRACE>(const char *format, ...);
template void print_message<Igmp, MC_DEBUG_ERROR>(const char *format, ...);
template void print_message<Igmp, MC_DEBUG_CONFIG>(const char *format, ...);
template void print_message<Mld, MC_DEBUG_TRACE>(const char *format, ...);
template void print_message<Mld, MC_DEBUG_ERROR>(const char *format, ...);
template void print_message<Mld, MC_DEBUG_CONFIG>(const char *format, ...);

} // namespace mcadapt
