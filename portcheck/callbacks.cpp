#include "portcheck/callbacks.h"

#include <atomic>
#include <cstring>

#include "portcheck/lent_memory.h"
#include "portcheck/packets.h"
#include "portcheck/report.h"
#include "portcheck/watch.h"

namespace mcadapt::portcheck {

namespace {

constexpr uint32_t kEngineUplink = 0xFFFF;
constexpr uint32_t kHeaderBytes = 18; // two addresses, a tag and the EtherType
constexpr uint32_t kLongestPacket = kReceiveBytes - kHeaderBytes;
// The first calls of the driver from callbacks get memory of their own; an engine may call for ever.
constexpr uint32_t kLentCalls = 6;

std::atomic<uint32_t> calls[6];
std::atomic<uint32_t> driver_calls{0};

void count(Callback callback) { ++calls[static_cast<int>(callback)]; }

bool takes_lent_memory() { return driver_calls.fetch_add(1) < kLentCalls; }

/** What is told apart in the two families. */
struct Sender {
    Callback callback;
    Call registration;
    uint32_t least_bytes;
    uint8_t version;
};
constexpr Sender kIgmpSender = {Callback::kIgmpSend, Call::igmp_register_switch_send_pkt, 20, 4};
constexpr Sender kMldSender = {Callback::kMldSend, Call::mld_register_switch_send_pkt, 40, 6};

bool takes_packet(const Sender &sender, const uint8_t *packet, uint32_t port, uint32_t length)
{
    const char *registration = name(sender.registration);
    if (packet == nullptr || length < sender.least_bytes || packet[0] >> 4 != sender.version) {
        fault(
            "The callback of %s was handed something else than an IPv%u packet of at least %u bytes; the library needs "
            "one, because it reads the header for the frame's addresses.",
            registration, sender.version, sender.least_bytes);
        return false;
    }
    if (port > kUplinkPort && port != kEngineUplink) {
        fault("The callback of %s was handed port %u; the library needs 0 to 29, or 65535 for the uplink, because it "
              "drops a packet for any other.",
              registration, port);
        return false;
    }
    if (length > kLongestPacket) {
        fault("The callback of %s was handed a packet of %u bytes; the library needs at most %u, because it does not "
              "send one that does not fit its frame.",
              registration, length, kLongestPacket);
        return false;
    }
    return true;
}

void send_to_driver(const uint8_t *frame, uint32_t length, uint32_t port)
{
    if (takes_lent_memory()) {
        LentInput lent(Call::L2_multicast_send_msg, "frame", frame, length);
        CALL_JUDGED(L2_multicast_send_msg)(lent.bytes(), port, length, kUserPort, kVlan);
    } else {
        CALL_JUDGED(L2_multicast_send_msg)(frame, port, length, kUserPort, kVlan);
    }
}

void send_packet(const Sender &sender, const uint8_t *packet, uint32_t port, uint32_t length)
{
    uint8_t frame[kReceiveBytes] = {0x02, 0, 0, 0, 0, 1, 0x02, 0, 0, 0, 0, 2, 0x81, 0, 0, kVlan};
    frame[16] = sender.version == 4 ? 0x08 : 0x86;
    frame[17] = sender.version == 4 ? 0x00 : 0xDD;
    memcpy(frame + kHeaderBytes, packet, length);
    send_to_driver(frame, kHeaderBytes + length, port == kEngineUplink ? kUplinkPort : port);
}

int32_t driver_port(const mcGroupRecord &group) { return static_cast<int16_t>(group.port); }

template <class Driver> int32_t ask_driver(Call call, Driver driver, const mcGroupRecord &group, const uint8_t *mac)
{
    const int32_t port = driver_port(group);
    int32_t result;
    if (takes_lent_memory()) {
        LentInput lent(call, "mac", mac, 6);
        result = PortCall(call, driver)(port, lent.bytes(), group.vlan);
    } else {
        result = PortCall(call, driver)(port, mac, group.vlan);
    }
    judge(call, result);
    return result;
}

int32_t set_entry(const mcGroupRecord &group, const uint8_t *mac)
{
    return ask_driver(Call::L2_multicast_set_port_iptv_entry, L2_multicast_set_port_iptv_entry, group, mac);
}

int32_t remove_entry(const mcGroupRecord &group, const uint8_t *mac)
{
    return ask_driver(Call::L2_multicast_remove_port_iptv_entry, L2_multicast_remove_port_iptv_entry, group, mac);
}

bool takes_group(Call registration, const mcGroupRecord *group)
{
    if (group != nullptr)
        return true;
    fault("The callback of %s was handed no record; the library needs one, because it reads group, VLAN and port from "
          "it.",
          name(registration));
    return false;
}

constexpr uint32_t swapped(uint32_t value)
{
    return value >> 24 | (value >> 8 & 0xFF00) | (value & 0xFF00) << 8 | value << 24;
}

// The engine was told of one user port and one VLAN; an entry of the uplink is its own affair.
void check_place(Call registration, const mcGroupRecord &group)
{
    const bool uplink = group.port == kUplinkPort || group.port == kEngineUplink;
    if ((group.port != kUserPort && !uplink) || group.vlan != kVlan)
        fault("The callback of %s was handed port %u and VLAN %u for a group of port 0 in VLAN 100; the library needs "
              "the VLAN at byte 52 and the port at byte 54 of the record, because it makes the forwarding entry of "
              "them.",
              name(registration), group.port, group.vlan);
}

void check_igmp_group(Call registration, const mcGroupRecord &group)
{
    check_place(registration, group);
    if (group.ipv4Group == swapped(kGroup))
        fault("The callback of %s was handed 239.1.2.3 in network byte order; the library needs it in host byte order, "
              "because it makes the MAC address of the forwarding entry of it.",
              name(registration));
}

void check_mld_group(Call registration, const mcGroupRecord &group)
{
    check_place(registration, group);
    if (memcmp(group.ipv6GroupTail, kGroupTail, sizeof(kGroupTail)) != 0)
        fault("The callback of %s was handed a record that ends in %02x%02x:%02x%02x for ff1e::ef01:203; the library "
              "needs the last four bytes of the address in network order at byte 20, because it makes the MAC address "
              "of the forwarding entry of them.",
              name(registration), group.ipv6GroupTail[0], group.ipv6GroupTail[1], group.ipv6GroupTail[2],
              group.ipv6GroupTail[3]);
}

/** The MAC addresses of a record's two groups. */
struct GroupMac {
    uint8_t bytes[6];
};

GroupMac ipv4_mac(const mcGroupRecord &group)
{
    const uint32_t address = group.ipv4Group;
    return {{0x01, 0x00, 0x5E, static_cast<uint8_t>(address >> 16 & 0x7F), static_cast<uint8_t>(address >> 8),
             static_cast<uint8_t>(address)}};
}

GroupMac ipv6_mac(const mcGroupRecord &group)
{
    const uint8_t(&tail)[4] = group.ipv6GroupTail;
    return {{0x33, 0x33, tail[0], tail[1], tail[2], tail[3]}};
}

} // namespace

int32_t send_igmp(const uint8_t *packet, uint32_t port, mcTagDescriptor *tag, uint32_t length)
{
    const InCallback callback;
    if (!takes_packet(kIgmpSender, packet, port, length))
        return 0;
    if (tag == nullptr) {
        fault("The callback of igmp_register_switch_send_pkt was handed no tag; the library needs one, because it "
              "writes the tag of the frame from it and the VLAN back into it.");
        return 0;
    }
    send_packet(kIgmpSender, packet, port, length);
    count(Callback::kIgmpSend);
    return 0;
}

int32_t send_mld(const uint8_t *packet, uint32_t port, mcTagDescriptor *, uint32_t length)
{
    const InCallback callback;
    if (!takes_packet(kMldSender, packet, port, length))
        return 0;
    send_packet(kMldSender, packet, port, length);
    count(Callback::kMldSend);
    return 0;
}

int32_t add_igmp(const mcGroupRecord *group)
{
    const InCallback callback;
    if (!takes_group(Call::igmp_register_switch_add_table, group))
        return 0;
    check_igmp_group(Call::igmp_register_switch_add_table, *group);
    const int32_t result = set_entry(*group, ipv4_mac(*group).bytes);
    count(Callback::kIgmpAdd);
    return result;
}

int32_t remove_igmp(const mcGroupRecord *group)
{
    const InCallback callback;
    if (!takes_group(Call::igmp_register_switch_del_table, group))
        return 0;
    check_igmp_group(Call::igmp_register_switch_del_table, *group);
    const int32_t result = remove_entry(*group, ipv4_mac(*group).bytes);
    count(Callback::kIgmpRemove);
    return result;
}

int32_t add_mld(const mcGroupRecord *group)
{
    const InCallback callback;
    if (!takes_group(Call::mld_register_switch_add_table, group))
        return 0;
    check_mld_group(Call::mld_register_switch_add_table, *group);
    const int32_t result = set_entry(*group, ipv6_mac(*group).bytes);
    count(Callback::kMldAdd);
    return result;
}

int32_t remove_mld(const mcGroupRecord *group)
{
    const InCallback callback;
    if (!takes_group(Call::mld_register_switch_del_table, group))
        return 0;
    check_mld_group(Call::mld_register_switch_del_table, *group);
    const int32_t result = remove_entry(*group, ipv6_mac(*group).bytes);
    count(Callback::kMldRemove);
    return result;
}

uint32_t times_called(Callback callback) { return calls[static_cast<int>(callback)]; }

bool wait_for(Callback callback, uint32_t times)
{
    const uint32_t start = now_ms();
    while (times_called(callback) <= times) {
        if (now_ms() - start >= options().waitMs)
            return false;
        pause_ms(2);
    }
    return true;
}

void start_callbacks()
{
    for (std::atomic<uint32_t> &each : calls)
        each = 0;
    driver_calls = 0;
}

} // namespace mcadapt::portcheck
