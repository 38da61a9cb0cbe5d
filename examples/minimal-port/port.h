/**
 * What the parts of this port tell each other. The library knows none of it: it calls what the headers of platform/
 * declare.
 */
#ifndef MINIMAL_PORT_H
#define MINIMAL_PORT_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

enum { USER_PORT = 0, UPLINK_PORT = 29, SWITCH_PORTS = 30 };

/* frames.c: two captures, merged by time; in a real port the switch's packet interface. */

/** One frame, as it arrived. */
struct frame {
    double seconds; /* since the first frame of both captures */
    uint8_t port;
    uint32_t length;
    const uint8_t *bytes;
};

/** Opens the captures; tells what is wrong with them and returns false if anything is. */
bool frames_open(const char *user_capture, const char *uplink_capture);

/** The next frame, valid until the next call; false at the end of both captures. */
bool frames_next(struct frame *frame);

/** Whether a capture ended otherwise than at its end. */
bool frames_were_damaged(void);

/* switch.c: the switch driver. */

/** Plugs the line in: from now on frames arrive. */
void switch_start(void);

/** Returns when all frames have been handled. */
void switch_wait_until_idle(void);

/** Prints what the switch did with the frames that are none of the library's. */
void switch_print_counts(void);

/* Both byte orders appear: the network's in frames, the machine's in the library's arguments. */

static inline uint16_t be16(const uint8_t *p) { return (uint16_t)(p[0] << 8 | p[1]); }
static inline uint32_t be32(const uint8_t *p) { return (uint32_t)be16(p) << 16 | be16(p + 2); }

#endif
