/**
 * A protocol engine, platform/protocol_engine.h, as small as an honest one can be: a table of which host on which port
 * listens to which group. It only snoops. It asks no queries, has no timers, keeps no sources, and so a channel ends
 * when its last host says so, and never by itself.
 *
 * A real port brings the unit's engine here, usually by a thin layer over its own calls. What this one cannot do it
 * refuses with NOT_SUPPORTED, and the library passes that on to the agent that asked.
 */
#include "platform/protocol_engine.h"

#include <arpa/inet.h>
#include <inttypes.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>

#include "mcadapt/engine_types.h"
#include "port.h"

/* Bring-up and configuration come call by call, with what the library hands over: worth watching in a new port. */
#define TELL(...) (printf("  engine: " __VA_ARGS__), putchar('\n'))
#define NOT_SUPPORTED(...) (TELL(__VA_ARGS__), printf("    not part of this engine\n"), -1)

enum { MEMBERS = 64, LONGEST_PACKET = 1500, VLAN_IDS = 4096, ADDRESS_BYTES = 16 };
enum { IGMP = 0, MLD = 1, HALVES = 2 };

/** One host that listens to one group. IPv4 addresses take the first four bytes. */
struct member {
    bool used;
    bool by_source; /* joined for some sources only: blocking them ends the membership */
    int half;
    uint16_t vlan;
    uint16_t port;
    uint8_t group[ADDRESS_BYTES];
    uint8_t host[ADDRESS_BYTES];
};

/* Packets come on the receive task, settings on the agents' threads. The callbacks may be called with the lock held:
   the library calls nothing of the engine from inside them. */
static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static struct member members[MEMBERS];
static bool serves[HALVES][VLAN_IDS];
static uint32_t joins;

/* What the library registers: the way back from the engine to the switch. A full engine also sends with `send` its
   queries, and in proxy mode its reports. */
static struct {
    mcSendPacketCallback send;
    mcForwardingCallback add, remove;
} callbacks[HALVES];

/* --- Bring-up: clear, start, register, declare the ports */

static int32_t clear_half(int half)
{
    pthread_mutex_lock(&lock);
    for (struct member *member = members; member < members + MEMBERS; ++member)
        if (member->half == half)
            member->used = false;
    memset(serves[half], 0, sizeof serves[half]);
    pthread_mutex_unlock(&lock);
    return 0;
}

int32_t igmp_data_init(void) { return TELL("igmp_data_init"), clear_half(IGMP); }
int32_t mld_data_init(void) { return TELL("mld_data_init"), clear_half(MLD); }

/* A full engine starts its timer task here. The callbacks come later: it must not call one before it has it. */
int32_t igmp_task_init(int32_t priority, int32_t engineArg)
{
    return TELL("igmp_task_init(%" PRId32 ", %" PRId32 ")", priority, engineArg), 0;
}
int32_t mld_task_init(int32_t priority) { return TELL("mld_task_init(%" PRId32 ")", priority), 0; }

int32_t igmp_register_switch_send_pkt(mcSendPacketCallback send)
{
    callbacks[IGMP].send = send;
    return TELL("igmp_register_switch_send_pkt"), 0;
}
int32_t igmp_register_switch_add_table(mcForwardingCallback add)
{
    callbacks[IGMP].add = add;
    return TELL("igmp_register_switch_add_table"), 0;
}
int32_t igmp_register_switch_del_table(mcForwardingCallback remove)
{
    callbacks[IGMP].remove = remove;
    return TELL("igmp_register_switch_del_table"), 0;
}
int32_t mld_register_switch_send_pkt(mcSendPacketCallback send)
{
    callbacks[MLD].send = send;
    return TELL("mld_register_switch_send_pkt"), 0;
}
int32_t mld_register_switch_add_table(mcForwardingCallback add)
{
    callbacks[MLD].add = add;
    return TELL("mld_register_switch_add_table"), 0;
}
int32_t mld_register_switch_del_table(mcForwardingCallback remove)
{
    callbacks[MLD].remove = remove;
    return TELL("mld_register_switch_del_table"), 0;
}

/* The IGMP half hears 0xFFFF for the uplink, the MLD half 29. This engine takes packets of any port. */
int32_t igmp_port_add_all_vlan(uint32_t port) { return TELL("igmp_port_add_all_vlan(%" PRIu32 ")", port), 0; }
int32_t mld_port_conf_set(uint32_t port) { return TELL("mld_port_conf_set(%" PRIu32 ")", port), 0; }

/* --- Multicast VLANs: packets of others are refused */

static int32_t serve(int half, uint32_t vlan, bool on)
{
    if (vlan >= VLAN_IDS)
        return -1;
    pthread_mutex_lock(&lock);
    serves[half][vlan] = on;
    pthread_mutex_unlock(&lock);
    return 0;
}

int32_t igmp_vlan_add(uint32_t vlan) { return TELL("igmp_vlan_add(%" PRIu32 ")", vlan), serve(IGMP, vlan, true); }
int32_t igmp_vlan_del(uint32_t vlan) { return TELL("igmp_vlan_del(%" PRIu32 ")", vlan), serve(IGMP, vlan, false); }
int32_t igmp_vlan_del_all(void)
{
    TELL("igmp_vlan_del_all");
    pthread_mutex_lock(&lock);
    memset(serves[IGMP], 0, sizeof serves[IGMP]);
    pthread_mutex_unlock(&lock);
    return 0;
}
int32_t mld_pack_set_mc_vlan(uint32_t add, uint32_t vlan)
{
    return TELL("mld_pack_set_mc_vlan(%" PRIu32 ", %" PRIu32 ")", add, vlan), serve(MLD, vlan, add != 0);
}

/* An engine with queries asks them in the default VLAN too; this one has none to ask. */
int32_t igmp_default_vid_set(uint32_t vlan) { return TELL("igmp_default_vid_set(%" PRIu32 ")", vlan), 0; }
int32_t mld_api_set_default_vlan(uint32_t vlan) { return TELL("mld_api_set_default_vlan(%" PRIu32 ")", vlan), 0; }

/* --- Members */

static bool same(const struct member *a, const struct member *b)
{
    return a->half == b->half && a->vlan == b->vlan && a->port == b->port &&
           memcmp(a->group, b->group, ADDRESS_BYTES) == 0;
}

static struct member *find(const struct member *wanted, bool any_host)
{
    for (struct member *member = members; member < members + MEMBERS; ++member)
        if (member->used && same(member, wanted) &&
            (any_host || memcmp(member->host, wanted->host, ADDRESS_BYTES) == 0))
            return member;
    return NULL;
}

static void print_member(const char *what, const struct member *member)
{
    char group[INET6_ADDRSTRLEN], host[INET6_ADDRSTRLEN];
    const int family = member->half == MLD ? AF_INET6 : AF_INET;
    inet_ntop(family, member->group, group, sizeof group);
    inet_ntop(family, member->host, host, sizeof host);
    printf("    engine: %s %s %s in VLAN %d on port %d\n", host, what, group, member->vlan, member->port);
}

/* The record that the library reads four fields of; a real engine hands over its own, laid out like that. */
static int32_t tell_switch(mcForwardingCallback callback, const struct member *member)
{
    mcGroupRecord record;
    memset(&record, 0, sizeof record);
    record.vlan = member->vlan;
    record.port = member->port;
    if (member->half == MLD)
        memcpy(record.ipv6GroupTail, member->group + 12, sizeof record.ipv6GroupTail);
    else
        record.ipv4Group = be32(member->group);
    return callback != NULL ? callback(&record) : -1;
}

static void join(const struct member *wanted)
{
    struct member *free_place = members;
    struct member *known = find(wanted, false);
    if (known != NULL) {
        known->by_source = known->by_source && wanted->by_source;
        return;
    }
    while (free_place < members + MEMBERS && free_place->used)
        ++free_place;
    if (free_place == members + MEMBERS) {
        print_member("finds no room to join", wanted);
        return;
    }
    const bool first_host = find(wanted, true) == NULL;
    print_member("joins", wanted);
    if (first_host && tell_switch(callbacks[wanted->half].add, wanted) != 0)
        return; /* not remembered: the host's next report tries again */
    *free_place = *wanted;
    free_place->used = true;
    ++joins;
}

/* A full engine asks once more whether anybody listens, and removes the entry when nobody answers in time; this one
   knows its hosts by their reports and believes them. */
static void leave(const struct member *wanted)
{
    struct member *known = find(wanted, false);
    if (known == NULL)
        return;
    known->used = false;
    print_member("leaves", wanted);
    if (find(wanted, true) == NULL)
        tell_switch(callbacks[wanted->half].remove, wanted);
}

static void drop_all(int half)
{
    pthread_mutex_lock(&lock);
    for (struct member *member = members; member < members + MEMBERS; ++member)
        if (member->used && member->half == half)
            leave(member);
    pthread_mutex_unlock(&lock);
}

int32_t igmp_del_all_group(void) { return TELL("igmp_del_all_group"), drop_all(IGMP), 0; }
int32_t igmp_del_all_group_except_static_group(void)
{
    return TELL("igmp_del_all_group_except_static_group"), drop_all(IGMP), 0; /* there are no static ones */
}

/* --- Packets */

/* Groups of the link itself are for everybody: switches forward them always. */
static bool is_link_local(const struct member *member)
{
    if (member->half == MLD)
        return (member->group[1] & 0x0F) <= 2;
    return member->group[0] == 224 && member->group[1] == 0 && member->group[2] == 0;
}

static void apply(struct member *member, const uint8_t *group, bool listens)
{
    memcpy(member->group, group, member->half == MLD ? 16 : 4);
    if (is_link_local(member))
        return;
    if (listens)
        join(member);
    else
        leave(member);
}

/* A group record of IGMPv3 or MLDv2. Without kept sources, a host that blocks some of many is taken to leave. */
static void apply_record(struct member *member, const uint8_t *group, uint8_t type, bool sources)
{
    enum { IS_IN = 1, IS_EX, TO_IN, TO_EX, ALLOW, BLOCK };
    const struct member *known;
    switch (type) {
    case IS_EX:
    case TO_EX:
        member->by_source = false;
        apply(member, group, true);
        return;
    case IS_IN:
    case TO_IN:
        member->by_source = true;
        apply(member, group, sources);
        return;
    case ALLOW:
        member->by_source = true;
        apply(member, group, true);
        return;
    case BLOCK:
        memcpy(member->group, group, member->half == MLD ? 16 : 4);
        known = find(member, false);
        if (known != NULL && known->by_source)
            leave(member);
        return;
    default:
        return;
    }
}

/* Both families lay a report out alike but for the size of an address. */
static void apply_records(struct member *member, const uint8_t *report, const uint8_t *end)
{
    const size_t address = member->half == MLD ? 16 : 4;
    const uint8_t *record = report + 8;
    for (uint16_t left = be16(report + 6); left > 0; --left) {
        if ((size_t)(end - record) < 4 + address)
            return;
        const size_t size = 4 + address + be16(record + 2) * address + record[1] * 4u;
        if ((size_t)(end - record) < size)
            return;
        apply_record(member, record + 4, record[0], be16(record + 2) > 0);
        record += size;
    }
}

static bool is_served(int half, uint32_t vlan)
{
    pthread_mutex_lock(&lock);
    const bool served = vlan < VLAN_IDS && serves[half][vlan];
    pthread_mutex_unlock(&lock);
    return served;
}

/* The length is the packet's own claim, and nothing else has been checked: believe nothing that was not compared. The
   memory ends with the receive buffer of 2048 bytes, so a packet that claims more than a frame can hold goes first.
   (A full engine also checks checksum, hop limit and router alert.) */
int32_t igmp_pkt_recv(const uint8_t *ipHeader, uint32_t length, uint32_t port, uint32_t vlan, uint32_t options)
{
    enum { V1_REPORT = 0x12, V2_REPORT = 0x16, V2_LEAVE = 0x17, V3_REPORT = 0x22 };
    (void)options;
    const uint32_t header = (ipHeader[0] & 0x0Fu) * 4;
    if (length > LONGEST_PACKET || header < 20 || length < header + 8 || !is_served(IGMP, vlan))
        return -1;
    const uint8_t *message = ipHeader + header;
    struct member member = {.half = IGMP, .vlan = (uint16_t)vlan, .port = (uint16_t)port};
    memcpy(member.host, ipHeader + 12, 4);

    pthread_mutex_lock(&lock);
    if (message[0] == V3_REPORT)
        apply_records(&member, message, ipHeader + length);
    else if (message[0] == V1_REPORT || message[0] == V2_REPORT)
        apply(&member, message + 4, true);
    else if (message[0] == V2_LEAVE)
        apply(&member, message + 4, false);
    pthread_mutex_unlock(&lock);
    return 0; /* becomes the result of the frame's intake */
}

/* That the packet carries MLD has not been checked either. */
int32_t mld_pkt_recv(const uint8_t *ipHeader, uint32_t length, uint32_t port, uint32_t vlan, uint16_t *scratch)
{
    enum { V1_REPORT = 131, V1_DONE = 132, V2_REPORT = 143, HOP_BY_HOP = 0, ICMPV6 = 58, IPV6_BYTES = 40 };
    (void)scratch;
    if (length > LONGEST_PACKET || length < IPV6_BYTES + 8 || !is_served(MLD, vlan))
        return -1;
    const uint32_t headers = IPV6_BYTES + (ipHeader[IPV6_BYTES + 1] + 1u) * 8;
    if (ipHeader[6] != HOP_BY_HOP || ipHeader[IPV6_BYTES] != ICMPV6 || length < headers + 8)
        return -1;
    const uint8_t *message = ipHeader + headers;
    const bool has_group = length >= headers + 24;
    struct member member = {.half = MLD, .vlan = (uint16_t)vlan, .port = (uint16_t)port};
    memcpy(member.host, ipHeader + 8, ADDRESS_BYTES);

    pthread_mutex_lock(&lock);
    if (message[0] == V2_REPORT)
        apply_records(&member, message, ipHeader + length);
    else if ((message[0] == V1_REPORT || message[0] == V1_DONE) && has_group)
        apply(&member, message + 8, message[0] == V1_REPORT);
    pthread_mutex_unlock(&lock);
    return 0;
}

/* Called once for each family; only that it returns matters. */
int32_t igmp_time_now(void *time)
{
    (void)time;
    return 0;
}

/* --- Status: what the agents' lists and counters are made of */

int32_t igmp_gather_grp_info(uint32_t port, uint32_t length, void *buffer)
{
    enum { ANY_PORT = 255, COUNT_BYTES = 4 };
    uint32_t count = 0;
    uint8_t *record = (uint8_t *)buffer + COUNT_BYTES;
    pthread_mutex_lock(&lock);
    for (const struct member *member = members; member < members + MEMBERS; ++member) {
        if (!member->used || member->half != IGMP || (port != ANY_PORT && port != member->port) ||
            find(member, true) != member || COUNT_BYTES + (count + 1) * MC_ENGINE_GROUP_BYTES > length)
            continue; /* a group with several hosts is told once, by the first */
        const uint32_t group = be32(member->group);
        memcpy(record, &member->vlan, sizeof member->vlan); /* packed, in the machine's byte order */
        memcpy(record + 6, &group, sizeof group);
        record[24] = (uint8_t)member->port;
        record += MC_ENGINE_GROUP_BYTES;
        ++count;
    }
    pthread_mutex_unlock(&lock);
    memcpy(buffer, &count, sizeof count);
    return 1; /* above 0: gathered */
}

int32_t igmp_if_gather_if_status(uint32_t port, uint32_t length, void *buffer)
{
    const uint32_t counters[4] = {0, port == USER_PORT ? joins : 0, 0, 0};
    if (length < sizeof counters)
        return 0;
    memcpy(buffer, counters, sizeof counters);
    return 1;
}

/* --- Modes and parameters */

/* What start-up sets must be accepted. Timers and versions rule the queries that a full engine asks. */
int32_t igmp_mode_switch_globle(uint32_t mode)
{
    return TELL("igmp_mode_switch_globle(%" PRIu32 ")", mode), mode == 1 ? 0 : -1; /* snooping only */
}
int32_t mld_proxy_snoop_set_globle(uint32_t mode)
{
    return TELL("mld_proxy_snoop_set_globle(%" PRIu32 ")", mode), mode == 2 ? 0 : -1; /* the same, in MLD's numbers */
}
int32_t igmp_globle_proxyip_set(uint32_t address)
{
    return TELL("igmp_globle_proxyip_set(0x%08" PRIx32 ")", address), 0; /* for the reports of a proxy */
}
int32_t igmp_para_globle_set(uint32_t robustness, uint32_t queryInterval, uint32_t queryResponseInterval,
                             uint32_t lastMemberQueryInterval, uint32_t lastMemberQueryCount, uint32_t ageEnable)
{
    TELL("igmp_para_globle_set(%" PRIu32 ", %" PRIu32 ", %" PRIu32 ", %" PRIu32 ", %" PRIu32 ", %" PRIu32 ")",
         robustness, queryInterval, queryResponseInterval, lastMemberQueryInterval, lastMemberQueryCount, ageEnable);
    return 0;
}
int32_t igmp_fast_leave_enable_globle(uint32_t enable)
{
    return TELL("igmp_fast_leave_enable_globle(%" PRIu32 ")", enable), 0; /* every leave is fast here */
}
int32_t igmp_if_fast_leave_enable(uint32_t port, uint32_t enable)
{
    return TELL("igmp_if_fast_leave_enable(%" PRIu32 ", %" PRIu32 ")", port, enable), 0;
}
int32_t igmp_vlan_learning_set(uint32_t enable) { return TELL("igmp_vlan_learning_set(%" PRIu32 ")", enable), 0; }

int32_t igmp_para_lmqc_globle_set(uint32_t count)
{
    return NOT_SUPPORTED("igmp_para_lmqc_globle_set(%" PRIu32 ")", count);
}
int32_t igmp_para_lmqi_globle_set(uint32_t interval)
{
    return NOT_SUPPORTED("igmp_para_lmqi_globle_set(%" PRIu32 ")", interval);
}
int32_t igmp_para_qri_globle_set(uint32_t interval)
{
    return NOT_SUPPORTED("igmp_para_qri_globle_set(%" PRIu32 ")", interval);
}
int32_t igmp_para_qi_globle_set(uint32_t interval)
{
    return NOT_SUPPORTED("igmp_para_qi_globle_set(%" PRIu32 ")", interval);
}
int32_t igmp_para_rv_globle_set(uint32_t robustness)
{
    return NOT_SUPPORTED("igmp_para_rv_globle_set(%" PRIu32 ")", robustness);
}
int32_t igmp_version_globle_set(uint32_t version)
{
    return NOT_SUPPORTED("igmp_version_globle_set(%" PRIu32 ")", version);
}
int32_t igmp_ssm_ip_globle_set(uint32_t first, uint32_t second)
{
    return NOT_SUPPORTED("igmp_ssm_ip_globle_set(%" PRIu32 ", %" PRIu32 ")", first, second);
}
int32_t igmp_ssm_map_change(const uint32_t *words)
{
    return NOT_SUPPORTED("igmp_ssm_map_change(%" PRIu32 ", ...)", words[0]);
}
