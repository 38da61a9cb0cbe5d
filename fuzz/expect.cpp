#include "fuzz/expect.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace mcadapt::fuzz {

void report_violation(const char *what, const char *file, int line)
{
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, what);
    std::abort();
}

void Digest::bytes(const void *data, std::size_t size)
{
    const auto *at = static_cast<const uint8_t *>(data);
    mix(size);
    for (; size >= sizeof(uint64_t); size -= sizeof(uint64_t), at += sizeof(uint64_t)) {
        uint64_t value;
        std::memcpy(&value, at, sizeof(value));
        mix(value);
    }
    uint64_t rest = 0;
    std::memcpy(&rest, at, size);
    mix(rest);
}

[[gnu::noinline]] void fill_stack(uint8_t value)
{
    constexpr std::size_t kBytes = 64 * 1024;
    uint8_t room[kBytes];
    std::memset(room, value, sizeof(room));
    asm volatile("" : : "r"(room) : "memory"); // not to be optimised away
}

} // namespace mcadapt::fuzz
