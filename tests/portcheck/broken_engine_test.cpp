// Faults of the engine: callbacks that do not come, and what they are handed.
#include <cstring>

#include "broken_ports.h"

namespace mcadapt::test {
namespace {

int32_t forget(mcForwardingCallback) { return 0; }

// Calls a callback in the place of the good engine's answer to the first report.
template <class CallBack> void on_report(Port &port, CallBack call_back)
{
    const auto receive = port.igmp_pkt_recv;
    port.igmp_pkt_recv = [receive, call_back](const uint8_t *ip, uint32_t length, uint32_t from, uint32_t vlan) {
        call_back(ip, length);
        return receive(ip, length, from, vlan);
    };
}

uint32_t swapped(uint32_t value) { return value >> 24 | (value >> 8 & 0xFF00) | (value & 0xFF00) << 8 | value << 24; }

// An engine that changes the record on its way to the add callback.
template <class Change> void hand_over(Port &port, mcForwardingCallback GoodPort::*slot, Change change)
{
    static mcForwardingCallback registered = nullptr;
    static Change how = change;
    auto &call = slot == &GoodPort::igmp_add ? port.register_igmp_add : port.register_mld_add;
    call = [slot](mcForwardingCallback add) {
        registered = add;
        good().*slot = [](const mcGroupRecord *record) { return how(registered, *record); };
        return 0;
    };
}

const BrokenPort kCallbacks[] = {
    {"an_add_that_is_forgotten",
     [](Port &port) {
         good().igmp_add = nullptr;
         port.register_igmp_add = forget;
     },
     "The callback of igmp_register_switch_add_table was not called within 50 ms after a host on port 0 joined "
     "239.1.2.3 in VLAN 100; the library needs the engine to keep and use what it registers, because nothing else "
     "tells "
     "it."},
    {"a_removal_that_is_forgotten",
     [](Port &port) {
         good().igmp_remove = nullptr;
         port.register_igmp_remove = forget;
     },
     "The callback of igmp_register_switch_del_table was not called within 50 ms after the only host left 239.1.2.3, "
     "with fast leave on; the library needs the engine to keep and use what it registers, because nothing else tells "
     "it."},
    {"a_send_that_is_forgotten",
     [](Port &port) {
         good().igmp_send = nullptr;
         port.register_igmp_send = [](mcSendPacketCallback) { return 0; };
     },
     "The callback of igmp_register_switch_send_pkt was not called within 50 ms after a host joined 239.1.2.3 in proxy "
     "mode; the library needs the engine to keep and use what it registers, because nothing else tells it."},
    {"an_mld_add_that_is_forgotten",
     [](Port &port) {
         good().mld_add = nullptr;
         port.register_mld_add = forget;
     },
     "The callback of mld_register_switch_add_table was not called within 50 ms after a host on port 0 joined "
     "ff1e::ef01:203 in VLAN 100; the library needs the engine to keep and use what it registers, because nothing else "
     "tells it."},
    {"an_mld_removal_that_is_forgotten",
     [](Port &port) {
         good().mld_remove = nullptr;
         port.register_mld_remove = forget;
     },
     "The callback of mld_register_switch_del_table was not called within 50 ms after the only host left "
     "ff1e::ef01:203, with fast leave on; the library needs the engine to keep and use what it registers, because "
     "nothing else tells it."},
    {"a_group_in_network_byte_order",
     [](Port &port) {
         hand_over(port, &GoodPort::igmp_add, [](mcForwardingCallback add, mcGroupRecord record) {
             if (record.ipv4Group == 0xEF010203)
                 record.ipv4Group = swapped(record.ipv4Group);
             return add(&record);
         });
     },
     "The callback of igmp_register_switch_add_table was handed 239.1.2.3 in network byte order; the library needs it "
     "in host byte order, because it makes the MAC address of the forwarding entry of it."},
    {"an_mld_group_from_its_front",
     [](Port &port) {
         hand_over(port, &GoodPort::mld_add, [](mcForwardingCallback add, mcGroupRecord record) {
             const uint8_t front[4] = {0xFF, 0x1E, 0, 0};
             memcpy(record.ipv6GroupTail, front, sizeof(front));
             return add(&record);
         });
     },
     "The callback of mld_register_switch_add_table was handed a record that ends in ff1e:0000 for ff1e::ef01:203; the "
     "library needs the last four bytes of the address in network order at byte 20, because it makes the MAC address "
     "of the forwarding entry of them."},
    {"a_record_with_port_and_vlan_exchanged",
     [](Port &port) {
         hand_over(port, &GoodPort::igmp_add, [](mcForwardingCallback add, mcGroupRecord record) {
             std::swap(record.vlan, record.port);
             return add(&record);
         });
     },
     "The callback of igmp_register_switch_add_table was handed port 100 and VLAN 0 for a group of port 0 in VLAN 100; "
     "the library needs the VLAN at byte 52 and the port at byte 54 of the record, because it makes the forwarding "
     "entry of them."},
    {"a_record_of_another_vlan",
     [](Port &port) {
         hand_over(port, &GoodPort::igmp_add, [](mcForwardingCallback add, mcGroupRecord record) {
             record.vlan = 4088;
             return add(&record);
         });
     },
     "The callback of igmp_register_switch_add_table was handed port 0 and VLAN 4088 for a group of port 0 in VLAN "
     "100; "
     "the library needs the VLAN at byte 52 and the port at byte 54 of the record, because it makes the forwarding "
     "entry of them."},
    {"no_record", [](Port &port) { on_report(port, [](const uint8_t *, uint32_t) { good().igmp_add(nullptr); }); },
     "The callback of igmp_register_switch_add_table was handed no record; the library needs one, because it reads "
     "group, VLAN and port from it."},
    {"no_tag",
     [](Port &port) {
         on_report(port, [](const uint8_t *ip, uint32_t length) {
             if (length == 32)
                 good().igmp_send(ip, 0, nullptr, length);
         });
     },
     "The callback of igmp_register_switch_send_pkt was handed no tag; the library needs one, because it writes the "
     "tag "
     "of the frame from it and the VLAN back into it."},
    {"a_packet_that_fits_no_frame",
     [](Port &port) {
         on_report(port, [](const uint8_t *ip, uint32_t) {
             mcTagDescriptor tag = {0x8100, 100, 0};
             good().igmp_send(ip, 0, &tag, 2031);
         });
     },
     "The callback of igmp_register_switch_send_pkt was handed a packet of 2031 bytes; the library needs at most 2030, "
     "because it does not send one that does not fit its frame."},
    {"a_port_that_is_none",
     [](Port &port) {
         on_report(port, [](const uint8_t *ip, uint32_t) {
             mcTagDescriptor tag = {0x8100, 100, 0};
             good().igmp_send(ip, 30, &tag, 32);
         });
     },
     "The callback of igmp_register_switch_send_pkt was handed port 30; the library needs 0 to 29, or 65535 for the "
     "uplink, because it drops a packet for any other."},
    {"a_frame_for_a_packet",
     [](Port &port) {
         on_report(port, [](const uint8_t *ip, uint32_t) {
             mcTagDescriptor tag = {0x8100, 100, 0};
             good().igmp_send(ip - 18, 0, &tag, 50);
         });
     },
     "The callback of igmp_register_switch_send_pkt was handed something else than an IPv4 packet of at least 20 "
     "bytes; "
     "the library needs one, because it reads the header for the frame's addresses."},
};

class ACallback : public FaultTest {};
TEST_P(ACallback, is_told) { expect_found(); }
INSTANTIATE_TEST_SUITE_P(With, ACallback, ::testing::ValuesIn(kCallbacks), broken_name);

// --- Packets

int32_t sum_all(const uint8_t *ip, uint32_t length)
{
    volatile uint32_t sum = 0;
    for (uint32_t i = 0; i < length; ++i)
        sum = sum + ip[i];
    return 0;
}

const BrokenPort kPackets[] = {
    {"an_igmp_packet_read_as_far_as_it_claims",
     [](Port &port) { on_report(port, [](const uint8_t *ip, uint32_t length) { sum_all(ip, length); }); },
     "igmp_pkt_recv reached behind the end of `ipHeader`; the library needs it to keep to what it was given, because "
     "what lies behind is not part of it and may not even be memory."},
    {"an_mld_packet_read_as_far_as_it_claims",
     [](Port &port) {
         const auto receive = port.mld_pkt_recv;
         port.mld_pkt_recv = [receive](const uint8_t *ip, uint32_t length, uint32_t from, uint32_t vlan,
                                       uint16_t *scratch) {
             sum_all(ip, length);
             return receive(ip, length, from, vlan, scratch);
         };
     },
     "mld_pkt_recv reached behind the end of `ipHeader`; the library needs it to keep to what it was given, because "
     "what lies behind is not part of it and may not even be memory."},
    {"a_packet_that_is_written",
     [](Port &port) { on_report(port, [](const uint8_t *ip, uint32_t) { const_cast<uint8_t *>(ip)[8] = 0; }); },
     "igmp_pkt_recv wrote into its argument `ipHeader` (byte 26 was 01 and is now 00); the library needs it unchanged, "
     "because it goes on using it: the same bytes are sent to further ports or are its own configuration."},
    {"a_scratch_of_4_bytes",
     [](Port &port) {
         const auto receive = port.mld_pkt_recv;
         port.mld_pkt_recv = [receive](const uint8_t *ip, uint32_t length, uint32_t from, uint32_t vlan,
                                       uint16_t *scratch) {
             static const uint8_t kWord[4] = {};
             memcpy(static_cast<void *>(scratch), kWord, sizeof(kWord));
             return receive(ip, length, from, vlan, scratch);
         };
     },
     "mld_pkt_recv wrote up to 2 bytes behind the 2 of `scratch`; the library needs it to stop there, because its own "
     "variables lie behind them, on the stack or in its records."},
};

class APacket : public FaultTest {};
TEST_P(APacket, is_told) { expect_found(); }
INSTANTIATE_TEST_SUITE_P(Is, APacket, ::testing::ValuesIn(kPackets), broken_name);

// --- Gathered groups

template <class Change> void change_groups(Port &port, Change change)
{
    const auto gather = port.igmp_gather_grp_info;
    port.igmp_gather_grp_info = [gather, change](uint32_t of_port, uint32_t length, void *buffer) {
        const int32_t result = gather(of_port, length, buffer);
        change(static_cast<uint8_t *>(buffer));
        return result;
    };
}

void put_count(uint8_t *answer, uint32_t count) { memcpy(answer, &count, sizeof(count)); }

const BrokenPort kGroups[] = {
    {"missing", [](Port &port) { change_groups(port, [](uint8_t *answer) { put_count(answer, 0); }); },
     "igmp_gather_grp_info told 0 groups, and not 239.1.2.3 in VLAN 100 on port 0, which was joined; the library needs "
     "packed records of 25 bytes in host byte order (VLAN at byte 0, group at byte 6, port at byte 24), because the "
     "status that agents read is made of them."},
    {"in_network_byte_order",
     [](Port &port) { change_groups(port, [](uint8_t *answer) { std::swap(answer[4], answer[5]); }); },
     "igmp_gather_grp_info told 1 group, and not 239.1.2.3 in VLAN 100 on port 0, which was joined; the library needs "
     "packed records of 25 bytes in host byte order (VLAN at byte 0, group at byte 6, port at byte 24), because the "
     "status that agents read is made of them."},
    {"with_a_count_of_too_many",
     [](Port &port) { change_groups(port, [](uint8_t *answer) { put_count(answer, 513); }); },
     "igmp_gather_grp_info told a count of 513 groups; the library needs at most 512 in host byte order, because the "
     "buffer holds no more and it takes the rest of it for groups."},
    {"with_a_swapped_count",
     [](Port &port) { change_groups(port, [](uint8_t *answer) { put_count(answer, 0x01000000); }); },
     "igmp_gather_grp_info told a count of 16777216 groups, byte-swapped; the library needs at most 512 in host byte "
     "order, because the buffer holds no more and it takes the rest of it for groups."},
};

class GatheredGroups : public FaultTest {};
TEST_P(GatheredGroups, are_told) { expect_found(); }
INSTANTIATE_TEST_SUITE_P(Are, GatheredGroups, ::testing::ValuesIn(kGroups), broken_name);

} // namespace
} // namespace mcadapt::test
