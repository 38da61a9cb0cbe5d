#include "packet/frame.h"

#include <cstdio>

namespace mcadapt {

// Out of line: where the compiler sees that a length is bounded it copies in place, slower than the C library does.
void copy_bytes(uint8_t *to, const uint8_t *from, uint32_t length) { memcpy(to, from, length); }

static void print_rule() { printf("\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n"); }

void dump_frame(const uint8_t *frame, uint32_t length)
{
    if (frame == nullptr)
        return;
    print_rule();
    for (uint32_t i = 0; i < length; ++i) {
        printf("%02x ", frame[i]);
        if (i % 16 == 15 && i + 1 < length)
            printf("\r\n");
    }
    print_rule();
}

} // namespace mcadapt
