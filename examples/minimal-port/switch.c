/**
 * The switch driver, platform/switch_driver.h: traps membership frames, forwards multicast data by the entries that
 * the library sets, and sends what the library hands it.
 *
 * In a real port all tables here are registers of the switch, and each call is a write to them.
 */
#include "platform/switch_driver.h"

#include <inttypes.h>
#include <pthread.h>
#include <semaphore.h>
#include <stdio.h>
#include <string.h>

#include "port.h"

enum { READ_BUFFER = 2048, ENTRIES = 64, MAC_BYTES = 6, TAG_BYTES = 4, ETHERNET_BYTES = 14 };
enum { FAMILY_IPV4 = 0, FAMILY_IPV6 = 1, FAMILIES = 2 };

struct entry {
    bool used;
    uint8_t mac[MAC_BYTES];
    uint16_t vlan;
    int32_t port;
};

/* Entries are changed on the engine's threads and on the receive task. The library takes no lock: a driver whose
   registers need one takes its own. */
static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static struct entry entries[ENTRIES];
static bool trapping[FAMILIES];
static bool flooding[FAMILIES];
static bool line_up;
static sem_t idle;
static uint32_t forwarded, dropped;

/* --- Bring-up */

/* A real port resets the switch's multicast tables here and opens the interface on which trapped frames come. */
int32_t L2_multicast_init(void)
{
    printf("  switch: L2_multicast_init\n");
    memset(entries, 0, sizeof entries);
    return sem_init(&idle, 0, 0) == 0 ? 0 : -1;
}

/* Method 2 looks entries up by VLAN and MAC address; that is the only way this switch knows. */
int32_t L2_multicast_set_filter_method(uint32_t method)
{
    printf("  switch: L2_multicast_set_filter_method(%" PRIu32 ")\n", method);
    return method == 2 ? 0 : -1;
}

/* A real port sets the trap of IGMP, or of MLD, in the switch's classifier. */
int32_t l2_multicast_set_trap(uint32_t selector, uint32_t enable)
{
    printf("  switch: l2_multicast_set_trap(%" PRIu32 ", %" PRIu32 ")\n", selector, enable);
    if (selector >= FAMILIES)
        return -1;
    pthread_mutex_lock(&lock);
    trapping[selector] = enable != 0;
    pthread_mutex_unlock(&lock);
    return 0;
}

/* With it, multicast data without an entry goes to every port. */
int32_t l2_multicast_set_flood(uint32_t selector, uint32_t enable)
{
    printf("  switch: l2_multicast_set_flood(%" PRIu32 ", %" PRIu32 ")\n", selector, enable);
    if (selector >= FAMILIES)
        return -1;
    pthread_mutex_lock(&lock);
    flooding[selector] = enable != 0;
    pthread_mutex_unlock(&lock);
    return 0;
}

/* --- Forwarding entries */

static struct entry *find(const uint8_t *mac, uint32_t vlan, int32_t port)
{
    for (struct entry *entry = entries; entry < entries + ENTRIES; ++entry)
        if (entry->used && entry->vlan == vlan && entry->port == port && memcmp(entry->mac, mac, MAC_BYTES) == 0)
            return entry;
    return NULL;
}

static int32_t add(const uint8_t *mac, uint32_t vlan, int32_t port)
{
    if (find(mac, vlan, port) != NULL)
        return 0; /* groups that share a MAC address share an entry */
    for (struct entry *entry = entries; entry < entries + ENTRIES; ++entry) {
        if (entry->used)
            continue;
        entry->used = true;
        entry->vlan = (uint16_t)vlan;
        entry->port = port;
        memcpy(entry->mac, mac, MAC_BYTES);
        return 0;
    }
    return -1; /* full: the library tells the engine */
}

static void print_entry(const char *what, const uint8_t *mac, uint32_t vlan, int32_t port)
{
    printf("    switch: entry %02x:%02x:%02x:%02x:%02x:%02x in VLAN %" PRIu32 " to port %" PRId32 " %s\n", mac[0],
           mac[1], mac[2], mac[3], mac[4], mac[5], vlan, port, what);
}

int32_t L2_multicast_set_port_iptv_entry(int32_t port, const uint8_t *mac, uint32_t vlan)
{
    pthread_mutex_lock(&lock);
    const int32_t result = add(mac, vlan, port);
    pthread_mutex_unlock(&lock);
    print_entry(result == 0 ? "added" : "refused, the table is full", mac, vlan, port);
    return result;
}

int32_t L2_multicast_remove_port_iptv_entry(int32_t port, const uint8_t *mac, uint32_t vlan)
{
    pthread_mutex_lock(&lock);
    struct entry *entry = find(mac, vlan, port);
    if (entry != NULL)
        entry->used = false;
    pthread_mutex_unlock(&lock);
    print_entry(entry != NULL ? "removed" : "was not there", mac, vlan, port);
    return entry != NULL ? 0 : -1;
}

/* --- Frames */

/* Skips the tags; gives the VLAN of the outermost one, 0 without any, and where the EtherType is. */
static size_t after_tags(const uint8_t *frame, uint32_t length, uint32_t *vlan)
{
    size_t at = ETHERNET_BYTES - 2;
    *vlan = 0;
    while (at + TAG_BYTES + 2 <= length && (be16(frame + at) == 0x8100 || be16(frame + at) == 0x88A8)) {
        if (*vlan == 0)
            *vlan = be16(frame + at + 2) & 0x0FFFu;
        at += TAG_BYTES;
    }
    return at;
}

/* What the switch's classifier does: IGMP by the IPv4 protocol, MLD by hop-by-hop options before one of its types. */
static bool is_membership(const uint8_t *frame, size_t type_at, uint32_t length, int *family)
{
    const uint8_t *ip = frame + type_at + 2;
    const size_t left = length - (type_at + 2);
    *family = be16(frame + type_at) == 0x86DD ? FAMILY_IPV6 : FAMILY_IPV4;
    if (be16(frame + type_at) == 0x0800)
        return left >= 20 && ip[9] == 2;
    if (*family != FAMILY_IPV6 || left < 49 || ip[6] != 0 || ip[40] != 58)
        return false;
    const uint8_t type = ip[48];
    return (type >= 130 && type <= 132) || type == 143;
}

static bool is_trapped(const uint8_t *frame, size_t type_at, uint32_t length)
{
    int family;
    if (!is_membership(frame, type_at, length, &family))
        return false;
    pthread_mutex_lock(&lock);
    const bool trapped = trapping[family];
    pthread_mutex_unlock(&lock);
    return trapped;
}

/* Multicast data goes its way in the switch; the library sees nothing of it. */
static void forward_in_hardware(const struct frame *frame, uint16_t type, uint32_t vlan)
{
    if (frame->port != UPLINK_PORT || (frame->bytes[0] & 1) == 0)
        return;
    pthread_mutex_lock(&lock);
    if (find(frame->bytes, vlan, USER_PORT) != NULL || flooding[type == 0x86DD ? FAMILY_IPV6 : FAMILY_IPV4])
        ++forwarded;
    else
        ++dropped;
    pthread_mutex_unlock(&lock);
}

static bool is_line_up(void)
{
    pthread_mutex_lock(&lock);
    const bool up = line_up;
    pthread_mutex_unlock(&lock);
    return up;
}

/* Never waits: a code other than 0 says that nothing is there, and the receive task comes again a second later. */
int32_t L2_multicast_read_msg(uint8_t *buffer, uint8_t *port, uint32_t *length)
{
    struct frame frame;
    if (!is_line_up())
        return -1;
    while (frames_next(&frame)) {
        uint32_t vlan;
        const bool whole = frame.length >= ETHERNET_BYTES;
        const size_t type_at = whole ? after_tags(frame.bytes, frame.length, &vlan) : 0;
        if (!whole || frame.length > READ_BUFFER)
            continue; /* the buffer has 2048 bytes, whatever the frame has */
        if (!is_trapped(frame.bytes, type_at, frame.length)) {
            forward_in_hardware(&frame, be16(frame.bytes + type_at), vlan);
            continue;
        }
        printf("%11.6f port %u: %" PRIu32 " bytes, VLAN %" PRIu32 "\n", frame.seconds, frame.port, frame.length, vlan);
        memcpy(buffer, frame.bytes, frame.length);
        *port = frame.port;
        *length = frame.length;
        return 0;
    }
    sem_post(&idle);
    return -1;
}

/* The frame's memory is the library's: a real port copies it, or waits until the hardware has fetched it. */
int32_t L2_multicast_send_msg(const uint8_t *frame, uint32_t ifindex, uint32_t length, uint32_t srcPort,
                              uint32_t ponVlan)
{
    flockfile(stdout); /* frames are sent on several threads, and a line is printed piece by piece */
    printf("    switch: %" PRIu32 " bytes sent to port %" PRIu32, length, ifindex);
    for (size_t at = ETHERNET_BYTES - 2; at + TAG_BYTES + 2 <= length && be16(frame + at) == 0x8100; at += TAG_BYTES)
        printf(", tag VLAN %d priority %d", be16(frame + at + 2) & 0x0FFF, be16(frame + at + 2) >> 13);
    printf(" (from port %" PRIu32 ", multicast VLAN %" PRIu32 ")\n", srcPort, ponVlan);
    funlockfile(stdout);
    return ifindex < SWITCH_PORTS ? 0 : -1;
}

void switch_start(void)
{
    pthread_mutex_lock(&lock);
    line_up = true;
    pthread_mutex_unlock(&lock);
}

void switch_wait_until_idle(void)
{
    while (sem_wait(&idle) != 0) {
    }
}

void switch_print_counts(void)
{
    uint32_t left = 0;
    pthread_mutex_lock(&lock);
    for (const struct entry *entry = entries; entry < entries + ENTRIES; ++entry)
        left += entry->used;
    printf("multicast data from the uplink: %" PRIu32 " frames forwarded, %" PRIu32 " dropped\n", forwarded, dropped);
    printf("forwarding entries left: %" PRIu32 "\n", left);
    pthread_mutex_unlock(&lock);
}
