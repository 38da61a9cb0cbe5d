/**
 * Frames from two classic pcap files, merged by time: what arrived at the user port and what arrived at the uplink.
 *
 * A real port has nothing of this file. There, the switch hands trapped frames to the processor through a ring of
 * descriptors, a packet socket or a vendor's call, each with the port on which it arrived.
 */
#include <stdio.h>
#include <string.h>

#include "port.h"

enum { FILE_HEADER = 24, RECORD_HEADER = 16, LONGEST = 65535, LINKTYPE_ETHERNET = 1 };

struct capture {
    const char *name;
    FILE *file;
    uint8_t port;
    bool little_endian;
    double fraction; /* of a second, one unit of the second time word */
    bool pending;    /* a frame has been read and not yet been handed out */
    double time;
    uint32_t length;
    uint8_t bytes[LONGEST];
};

static struct capture captures[2];
static double first_time;
static bool damaged;

static uint32_t word(const struct capture *capture, const uint8_t *p)
{
    if (capture->little_endian)
        return (uint32_t)p[3] << 24 | (uint32_t)p[2] << 16 | (uint32_t)p[1] << 8 | p[0];
    return be32(p);
}

static bool read_next(struct capture *capture)
{
    uint8_t header[RECORD_HEADER];
    capture->pending = false;
    const size_t got = fread(header, 1, sizeof header, capture->file);
    if (got == 0)
        return true; /* the end */
    capture->length = word(capture, header + 8);
    if (got < sizeof header || capture->length > LONGEST ||
        fread(capture->bytes, 1, capture->length, capture->file) < capture->length) {
        fprintf(stderr, "minimal-port: %s: cut short or damaged\n", capture->name);
        damaged = true;
        return false;
    }
    capture->time = word(capture, header) + word(capture, header + 4) * capture->fraction;
    capture->pending = true;
    return true;
}

static bool open_one(struct capture *capture, const char *name, uint8_t port)
{
    uint8_t header[FILE_HEADER];
    capture->name = name;
    capture->port = port;
    capture->file = fopen(name, "rb");
    if (capture->file == NULL) {
        perror(name);
        return false;
    }
    if (fread(header, 1, sizeof header, capture->file) < sizeof header) {
        fprintf(stderr, "minimal-port: %s: too short for a capture\n", name);
        return false;
    }
    capture->little_endian = header[0] == 0xD4 || header[0] == 0x4D;
    const uint32_t magic = word(capture, header);
    if ((magic != 0xA1B2C3D4u && magic != 0xA1B23C4Du) || word(capture, header + 20) != LINKTYPE_ETHERNET) {
        fprintf(stderr, "minimal-port: %s: not a classic pcap file of Ethernet frames\n", name);
        return false;
    }
    capture->fraction = magic == 0xA1B2C3D4u ? 1e-6 : 1e-9;
    return read_next(capture);
}

static struct capture *earliest(void)
{
    struct capture *user = &captures[0], *uplink = &captures[1];
    if (!user->pending || !uplink->pending)
        return user->pending ? user : uplink;
    return uplink->time < user->time ? uplink : user;
}

bool frames_open(const char *user_capture, const char *uplink_capture)
{
    if (!open_one(&captures[0], user_capture, USER_PORT) || !open_one(&captures[1], uplink_capture, UPLINK_PORT))
        return false;
    first_time = earliest()->time;
    return true;
}

bool frames_next(struct frame *frame)
{
    static uint8_t handed_out[LONGEST];
    struct capture *capture = earliest();
    if (!capture->pending)
        return false;
    memcpy(handed_out, capture->bytes, capture->length);
    frame->seconds = capture->time - first_time;
    frame->port = capture->port;
    frame->length = capture->length;
    frame->bytes = handed_out;
    read_next(capture); /* what is wrong with the one behind it does not take this one away */
    return true;
}

bool frames_were_damaged(void) { return damaged; }
