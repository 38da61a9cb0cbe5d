#include "core/log.h"

#include <cstdarg>
#include <cstdio>

namespace mcadapt {

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

// One message at a time: another thread's must not stand between the prefix and the rest.
[[gnu::format(printf, 2, 0)]] static void print(const char *prefix, const char *format, va_list arguments)
{
    flockfile(stdout);
    fputs(prefix, stdout);
    vfprintf(stdout, format, arguments);
    funlockfile(stdout);
}

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
