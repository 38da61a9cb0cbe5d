/*
 * Runs the receive task on a painted stack of the size that the library asks for, and tells how much of the paint the
 * task wore off: every protocol mode, both families, both directions, log closed and open.
 *
 * The stand-in platform takes next to no stack of its own, so what is seen belongs to the library and to libc beneath
 * it. In place of a thread, at whose upper end libc keeps data of its own, the task gets a context.
 */
#define _XOPEN_SOURCE 700

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <ucontext.h>
#include <unistd.h>

#include "mcadapt/mcadapt.h"
#include "platform/protocol_engine.h"
#include "platform/switch_driver.h"
#include "platform/unit_services.h"

enum {
    STACK_BYTES = 51200, /* As the library asks of pal_task_create. */
    PAINT = 0xA5,
    LONGEST = 128,
    USER_PORT = 0,
    UPLINK = 29
};

struct frame {
    const char *name;
    uint8_t port;
    uint16_t ethertype;
    const char *destination; /* Six bytes. */
    const uint8_t *packet;
    uint32_t length;
};

static const uint8_t igmp_report[] = {0x46, 0, 0, 32, 0,   0, 0, 0, 1,    2, 0, 0, 10,  1, 1, 1,
                                      225,  1, 2, 3,  148, 4, 0, 0, 0x16, 0, 0, 0, 225, 1, 2, 3};
static const uint8_t igmp_query[] = {0x46, 0, 0, 32, 0,   0, 0, 0, 1,    2,  0, 0, 10, 0, 0, 1,
                                     224,  0, 0, 1,  148, 4, 0, 0, 0x11, 10, 0, 0, 0,  0, 0, 0};
#define MLD_ADDRESSES(last, group)                                                                                     \
    0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, last, 0xff, group, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1
#define MLD_OPTIONS 58, 0, 5, 2, 0, 0, 1, 0
static const uint8_t mld_report[] = {0x60,        0,    0, 0, 0, 32, 0, 1, MLD_ADDRESSES(2, 0x1e),
                                     MLD_OPTIONS, 131,  0, 0, 0, 0,  0, 0, 0,
                                     0xff,        0x1e, 0, 0, 0, 0,  0, 0, 0,
                                     0,           0,    0, 0, 0, 0,  1};
static const uint8_t mld_query[] = {
    0x60, 0, 0, 0, 0, 32, 0, 1, MLD_ADDRESSES(1, 0x02), MLD_OPTIONS, 130, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0,    0, 0, 0, 0, 0,  0, 0};

static const struct frame frames[] = {
    {"IGMP report", USER_PORT, 0x0800, "\x01\x00\x5e\x01\x02\x03", igmp_report, sizeof igmp_report},
    {"IGMP query", UPLINK, 0x0800, "\x01\x00\x5e\x00\x00\x01", igmp_query, sizeof igmp_query},
    {"MLD report", USER_PORT, 0x86DD, "\x33\x33\x00\x00\x00\x01", mld_report, sizeof mld_report},
    {"MLD query", UPLINK, 0x86DD, "\x33\x33\x00\x00\x00\x01", mld_query, sizeof mld_query},
};

static ucontext_t outside, task;
static union {
    long double alignment;
    uint8_t bytes[STACK_BYTES];
} stack;
static palTaskEntry receive_task;
static mcSendPacketCallback send_igmp, send_mld;
static mcForwardingCallback add_igmp, add_mld;

static const struct frame *next_frame;
static uint32_t next_tag;  /* 0: none */
static int engine_packets; /* That the engine was given. */
static int sent_frames;

/* --- The platform, as far as it matters here */

int32_t pal_task_create(uint32_t *taskId, const char *name, int32_t priority, uint32_t options, uint32_t stackSize,
                        palTaskEntry entry)
{
    (void)name, (void)priority, (void)options;
    *taskId = 1;
    receive_task = entry;
    return stackSize == STACK_BYTES ? 0 : -1;
}

int32_t L2_multicast_read_msg(uint8_t *frame, uint8_t *port, uint32_t *length)
{
    uint32_t at = 12;
    if (next_frame == NULL)
        return 1;
    memcpy(frame, next_frame->destination, 6);
    memcpy(frame + 6, "\x02\x11\x22\x33\x44\x55", 6);
    if (next_tag != 0) {
        frame[at++] = 0x81;
        frame[at++] = 0;
        frame[at++] = (uint8_t)(next_tag >> 8);
        frame[at++] = (uint8_t)next_tag;
    }
    frame[at++] = (uint8_t)(next_frame->ethertype >> 8);
    frame[at++] = (uint8_t)next_frame->ethertype;
    memcpy(frame + at, next_frame->packet, next_frame->length);
    *port = next_frame->port;
    *length = at + next_frame->length;
    next_frame = NULL;
    return 0;
}

/* In place of libc's: the task has nothing left to do. */
unsigned sleep(unsigned seconds)
{
    (void)seconds;
    swapcontext(&task, &outside);
    return 0;
}

int32_t L2_multicast_send_msg(const uint8_t *frame, uint32_t ifindex, uint32_t length, uint32_t srcPort, uint32_t vlan)
{
    (void)frame, (void)ifindex, (void)length, (void)srcPort, (void)vlan;
    sent_frames++;
    return -1; /* A refusal is printed where it happens. */
}

int32_t vx_ploam_onuid_get(uint8_t *onuId)
{
    *onuId = 7;
    return 0;
}

int32_t vx_hal_nni_upmode_get(uint32_t *upMode)
{
    *upMode = 1;
    return 0;
}

int32_t igmp_register_switch_send_pkt(mcSendPacketCallback send)
{
    send_igmp = send;
    return 0;
}

int32_t igmp_register_switch_add_table(mcForwardingCallback add)
{
    add_igmp = add;
    return 0;
}

int32_t mld_register_switch_send_pkt(mcSendPacketCallback send)
{
    send_mld = send;
    return 0;
}

int32_t mld_register_switch_add_table(mcForwardingCallback add)
{
    add_mld = add;
    return 0;
}

/* The engine answers a packet at once: it has an entry installed and sends a packet to either side. */
static int32_t answer_packet(const uint8_t *packet, uint32_t length, mcSendPacketCallback send,
                             mcForwardingCallback add)
{
    static mcGroupRecord group;
    static mcTagDescriptor tag;
    engine_packets++;
    add(&group);
    send(packet, USER_PORT, &tag, length);
    send(packet, 0xFFFF, &tag, length);
    return -1;
}

int32_t igmp_pkt_recv(const uint8_t *packet, uint32_t length, uint32_t port, uint32_t vlan, uint32_t options)
{
    (void)port, (void)vlan, (void)options;
    return answer_packet(packet, length, send_igmp, add_igmp);
}

int32_t mld_pkt_recv(const uint8_t *packet, uint32_t length, uint32_t port, uint32_t vlan, uint16_t *scratch)
{
    (void)port, (void)vlan, (void)scratch;
    return answer_packet(packet, length, send_mld, add_mld);
}

/* --- The measurement */

static void on_painted_stack(void) { receive_task(); }

/* Runs the task with one frame. Returns how many bytes of its stack were written. */
static unsigned stack_worn(const struct frame *frame, uint32_t tag)
{
    unsigned untouched = 0;
    memset(stack.bytes, PAINT, sizeof stack.bytes);
    next_frame = frame;
    next_tag = tag;
    if (getcontext(&task) != 0)
        abort();
    task.uc_stack.ss_sp = stack.bytes;
    task.uc_stack.ss_size = sizeof stack.bytes;
    task.uc_link = NULL;
    makecontext(&task, on_painted_stack, 0);
    if (swapcontext(&outside, &task) != 0)
        abort();
    while (untouched < sizeof stack.bytes && stack.bytes[untouched] == PAINT)
        untouched++;
    return (unsigned)sizeof stack.bytes - untouched;
}

static void set_up_rules(void)
{
    static vlanCfgNode rules[] = {
        {USER_PORT, 2, 100, 200, 2, 200, 100, 2, 200, 100, 0},
        {USER_PORT, 1, 0xFFFF, 300, 1, 300, 0xFFFF, 1, 300, 0xFFFF, 0},
        {UPLINK, 2, 100, 200, 2, 200, 100, 2, 200, 100, 0},
    };
    for (unsigned i = 0; i < sizeof rules / sizeof rules[0]; i++)
        std_omci_set_multicast_vlan_onu(&rules[i]);
}

/* The deepest stack of a mode, told on a line of its own. */
static unsigned measure_mode(FILE *report, uint32_t mode, int logged)
{
    static const uint32_t tags[] = {0, 0x6064, 0x60C8, 0x6123};
    unsigned deepest = 0;
    const char *name = "";
    mc_debug = mld_debug = logged ? 0xFFFFFFFF : 0;
    for (unsigned f = 0; f < sizeof frames / sizeof frames[0]; f++) {
        for (unsigned t = 0; t < sizeof tags / sizeof tags[0]; t++) {
            const unsigned worn = stack_worn(&frames[f], tags[t]);
            if (worn > deepest) {
                deepest = worn;
                name = frames[f].name;
            }
        }
    }
    fprintf(report, "mode %u, log %s: %u bytes, %s\n", (unsigned)mode, logged ? "open" : "closed", deepest, name);
    return deepest;
}

int main(void)
{
    unsigned deepest = 0;
    FILE *report = fdopen(dup(STDOUT_FILENO), "w");
    if (report == NULL || freopen("/dev/null", "w", stdout) == NULL)
        return EXIT_FAILURE;

    mc_igmp_init(100, 0);
    if (receive_task == NULL) {
        fputs("stack_paint: start-up created no receive task\n", stderr);
        return EXIT_FAILURE;
    }
    set_up_rules();
    for (uint32_t mode = 1; mode <= 3; mode++) {
        omci_set_multicast_mode((int32_t)mode);
        for (int logged = 0; logged <= 1; logged++) {
            const unsigned worn = measure_mode(report, mode, logged);
            if (worn > deepest)
                deepest = worn;
        }
    }
    fprintf(report, "engine packets %d, sent frames %d\n", engine_packets, sent_frames);
    fprintf(report, "deepest %u of %d\n", deepest, (int)STACK_BYTES);
    return fclose(report) == 0 && engine_packets > 0 && sent_frames > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
