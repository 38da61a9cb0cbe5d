/**
 * @file
 * How the arguments of a recorded platform call read.
 */
#ifndef MCADAPT_TESTS_CALL_TEXT_H
#define MCADAPT_TESTS_CALL_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include "mcadapt/engine_types.h"
#include "platform/unit_services.h"

namespace mcadapt::test {

/** A buffer, written as lower-case hex pairs without blanks. */
struct HexBytes {
    const void *data;
    std::size_t size;
};

/** A six-byte address, written as 01:00:5e:01:02:03. */
struct MacBytes {
    const uint8_t *data;
};

/** 32-bit words, written as [1, 2, 3]. */
struct Words {
    const uint32_t *data;
    std::size_t count;
};

template <class T> std::enable_if_t<std::is_integral_v<T>, std::string> call_text(T value)
{
    return std::to_string(value);
}

std::string call_text(const char *text);
std::string call_text(HexBytes bytes);
std::string call_text(MacBytes mac);
std::string call_text(Words words);

/** Callbacks read as the name of the library's function, "null", or "unknown". */
std::string call_text(mcSendPacketCallback callback);
std::string call_text(mcForwardingCallback callback);
std::string call_text(palTaskEntry entry);

/** The whole call: `name(first, second)`. */
template <class... Args> std::string call_line(const char *name, const Args &...args)
{
    std::string list;
    ((list += (list.empty() ? "" : ", ") + call_text(args)), ...);
    return std::string(name) + "(" + list + ")";
}

} // namespace mcadapt::test

#endif
