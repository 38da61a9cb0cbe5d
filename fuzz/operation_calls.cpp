#include "fuzz/operation_calls.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace mcadapt::fuzz {

namespace {

constexpr std::size_t kAddressBufferBytes = 14;
constexpr std::size_t kControlEntryBytes = 10;
constexpr uint32_t kMostChannels = 64;

Digest &digest() { return platform().digest(); }

void note(int32_t result) { digest().number(static_cast<uint32_t>(result)); }

/** Memory of just this size, at an odd address: what is read or written beside it is an error. */
class OddBuffer {
public:
    explicit OddBuffer(std::size_t size) : size_(size), memory_(std::make_unique<uint8_t[]>(size + 1)) {}
    explicit OddBuffer(const ByteVector &bytes) : OddBuffer(bytes.size())
    {
        std::copy(bytes.begin(), bytes.end(), data());
    }
    uint8_t *data() { return memory_.get() + 1; }
    void note_content() { digest().bytes(data(), size_); }

private:
    std::size_t size_;
    std::unique_ptr<uint8_t[]> memory_;
};

/** One number on the heap, so that what lies beside it is watched. */
template <class T> class Out {
public:
    T *get() { return number_.get(); }
    ~Out() { digest().number(*number_); }

private:
    std::unique_ptr<T> number_ = std::make_unique<T>();
};

using Table = std::unique_ptr<vlanCfgNode[][MC_RULES_PER_PORT]>;

// Rules of the input, and cleared ones when it ends.
Table take_table(Input &input)
{
    constexpr vlanCfgNode kCleared = {0xFF, 4, 0xFFFF, 0xFFFF, 4, 0xFFFF, 0xFFFF, 4, 0xFFFF, 0xFFFF, 0};
    Table table = std::make_unique<vlanCfgNode[][MC_RULES_PER_PORT]>(MC_LOGIC_PORTS);
    for (std::size_t port = 0; port < MC_LOGIC_PORTS; ++port)
        for (vlanCfgNode &rule : table[port])
            rule = input.more() && input.flag() ? take_rule(input) : kCleared;
    return table;
}

void note_rule(const vlanCfgNode &rule)
{
    for (const unsigned field : {unsigned{rule.portNO}, unsigned{rule.in_up_vlan}, unsigned{rule.in_data_vlan}})
        digest().number(field);
}

} // namespace

vlanCfgNode take_rule(Input &input)
{
    vlanCfgNode rule = {};
    rule.portNO = input.number8();
    rule.prouptagmode = input.number8();
    rule.in_up_vlan = input.number16();
    rule.out_up_vlan = input.number16();
    rule.prodntagmode = input.number8();
    rule.in_dn_vlan = input.number16();
    rule.out_dn_vlan = input.number16();
    rule.datedntagmode = input.number8();
    rule.in_data_vlan = input.number16();
    rule.out_data_vlan = input.number16();
    return rule;
}

// --- Packet path

void run_receive_task(Input &input) { platform().receive(take_frame(input)); }

void intake(Input &input, int32_t (*operation)(uint8_t *, uint32_t, uint32_t))
{
    const Delivery frame = take_frame(input);
    const uint32_t port = input.flag() ? input.number() : frame.port;
    platform().hand_over(frame, [&](uint8_t *bytes) { note(operation(bytes, frame.length, port)); });
}

void handler(Input &input, void (*operation)(uint8_t *, uint32_t, uint32_t, uint32_t))
{
    Delivery frame = take_frame(input);
    frame.length = std::min(frame.length, kReceiveBufferBytes);
    const uint32_t vlan = input.number() & 0xFFF;
    platform().hand_over(frame, [&](uint8_t *bytes) { operation(bytes, frame.port, frame.length, vlan); });
}

void send_frame(Input &input, int32_t (*operation)(const uint8_t *, uint16_t, uint16_t))
{
    const uint16_t port = input.number16();
    const auto length = static_cast<uint16_t>(input.word() % (2 * kReceiveBufferBytes));
    OddBuffer frame(input.bytes(length));
    platform().as_engine([&] { note(operation(frame.data(), length, port)); });
}

void send_packet(Input &input, mcSendPacketCallback operation, std::size_t header_bytes)
{
    const uint32_t port = input.number();
    const auto tag = std::make_unique<mcTagDescriptor>();
    tag->tpid = input.number16();
    tag->vid = input.number16();
    tag->pri = input.number8() & 7;
    const uint32_t length = input.word() % (2 * kReceiveBufferBytes);
    OddBuffer packet(input.bytes(std::max<std::size_t>(length, header_bytes)));
    platform().as_engine([&] { note(operation(packet.data(), port, tag.get(), length)); });
    digest().number(tag->vid);
}

void forwarding_entry(Input &input, mcForwardingCallback operation)
{
    const auto group = std::make_unique<mcGroupRecord>();
    group->ipv4Group = input.number();
    for (uint8_t &byte : group->ipv6GroupTail)
        byte = input.byte();
    group->vlan = input.number16();
    group->port = input.number16();
    platform().as_engine([&] { note(operation(group.get())); });
}

// --- Rules and tables

void install_or_remove(Input &input, int32_t (*operation)(const vlanCfgNode *))
{
    const auto rule = std::make_unique<vlanCfgNode>(take_rule(input));
    note(operation(rule.get()));
}

void install_or_remove(Input &input, int32_t (*operation)(vlanCfgNode *))
{
    const auto rule = std::make_unique<vlanCfgNode>(take_rule(input));
    note(operation(rule.get()));
    note_rule(*rule);
}

void compact_rules(Input &input, mcRuleTable (*operation)(mcConstRuleTable, uint32_t))
{
    const uint32_t port = input.number();
    const Table table = take_table(input);
    auto *const packed = operation(table.get(), port);
    digest().number(packed != nullptr);
    for (std::size_t i = 0; packed != nullptr && i < MC_LOGIC_PORTS; ++i)
        for (const vlanCfgNode &rule : packed[i])
            note_rule(rule);
}

void compact_list(Input &input, uint16_t *(*operation)(const uint16_t *))
{
    const auto list = std::make_unique<uint16_t[]>(MC_TEMPLATE_VLANS);
    for (std::size_t i = 0; i < MC_TEMPLATE_VLANS; ++i)
        list[i] = input.number16();
    const uint16_t *packed = operation(list.get());
    digest().bytes(packed, MC_TEMPLATE_VLANS * sizeof(*packed));
    const uint16_t *used = std::find(packed, packed + MC_TEMPLATE_VLANS, 0);
    FUZZ_EXPECT(std::all_of(used, packed + MC_TEMPLATE_VLANS, [](uint16_t vlan) { return vlan == 0; }),
                "a packed list has no holes");
}

void is_vlan_used(Input &input)
{
    const uint32_t port = input.number();
    const uint16_t vlan = input.number16();
    const Table table = take_table(input);
    note(IsSameVlanExist(table.get(), port, vlan));
}

// --- Management

void set_ssm_map(Input &input)
{
    igmpSsmMapEntry entry = {};
    for (uint32_t &word : entry.word)
        word = input.number();
    note(omci_igmp_ssm_map_globle_set(entry));
}

// A list up to 0xFFFFFFFF never ends, by intention; a long one only takes long.
void set_channels(Input &input)
{
    const uint32_t port = input.number();
    const uint32_t option = input.number();
    const uint32_t vlan = input.number();
    const uint32_t first = std::min(input.number(), UINT32_MAX - kMostChannels - 1);
    const uint32_t count = input.number() % kMostChannels;
    const uint32_t last = input.flag() ? input.number() % (first + 1) : first + count;
    if (last != UINT32_MAX)
        note(omci_set_port_to_control_multicast_list_table(port, option, vlan, first, last));
}

void set_white_list(Input &input)
{
    OddBuffer start(input.bytes(4));
    OddBuffer end(input.bytes(4));
    note(omci_set_multi_white_list_entry(start.data(), end.data()));
}

void static_groups(Input &input, int32_t (*operation)(uint32_t, const uint8_t *, const uint8_t *, uint32_t, uint16_t))
{
    const uint32_t port = input.number();
    OddBuffer start(kAddressBufferBytes);
    OddBuffer end(kAddressBufferBytes);
    start.data()[kAddressBufferBytes - 1] = input.byte();
    end.data()[kAddressBufferBytes - 1] = input.byte();
    const uint16_t vlan = input.number16();
    note(operation(port, start.data(), end.data(), 0, vlan));
}

// As many entries as the buffer says are there; the length given apart may say anything.
void set_oam_control(Input &input)
{
    const uint32_t action = input.number();
    const uint32_t length = input.number();
    const uint8_t type = input.byte();
    const uint8_t count = input.byte();
    ByteVector bytes = input.bytes(count * kControlEntryBytes);
    bytes.insert(bytes.begin(), {type, count});
    OddBuffer buffer(bytes);
    note(mc_oam_set_multicast_control(action, length, buffer.data()));
}

void get_oam_control(Input &)
{
    OddBuffer buffer(2 + 255 * kControlEntryBytes);
    Out<uint16_t> length;
    note(mc_oam_get_multicast_control(length.get(), buffer.data()));
    FUZZ_EXPECT(*length.get() == 2 + buffer.data()[1] * kControlEntryBytes, "the length is that of the entries");
    buffer.note_content();
}

void list_groups(Input &, int32_t (*operation)(uint32_t *, uint8_t *), std::size_t entry_bytes)
{
    OddBuffer buffer(MC_STATUS_GROUPS * entry_bytes);
    Out<uint32_t> count;
    note(operation(count.get(), buffer.data()));
    FUZZ_EXPECT(*count.get() <= MC_STATUS_GROUPS, "at most 512 groups are listed");
    buffer.note_content();
}

void get_status_para(Input &)
{
    OddBuffer out(5);
    note(GetIgmpStatusPara(out.data()));
    out.note_content();
}

void get_counters(Input &input)
{
    Out<uint32_t> counters[4];
    note(std_omci_get_port_igmp_count(input.number(), counters[0].get(), counters[1].get(), counters[2].get(),
                                      counters[3].get()));
}

void get_group_limit(Input &input)
{
    Out<uint16_t> limit;
    note(omci_get_port_igmpgroup_limit(input.number(), limit.get()));
}

void get_byte(Input &, int32_t (*operation)(uint8_t *))
{
    Out<uint8_t> out;
    note(operation(out.get()));
}

void get_number(Input &, int32_t (*operation)(uint32_t *))
{
    Out<uint32_t> out;
    note(operation(out.get()));
}

void get_records(Input &)
{
    FUZZ_EXPECT(getIgmpGlobleParmeter() == &globle_parm, "the accessor gives the record");
    FUZZ_EXPECT(getPortVlanConfigNumber() == setVlanCfgNumber, "the accessor gives the counts");
    FUZZ_EXPECT(mldgetPortVlanConfigNumber() == mldInitParams.mldSetVlanCfgNumber, "the accessor gives the counts");
}

} // namespace mcadapt::fuzz
