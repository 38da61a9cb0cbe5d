#include "cases.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <new>
#include <type_traits>

#include "floor.h"
#include "mcadapt/mcadapt.h"
#include "platform.h"
#include "report.h"

namespace mcadapt::bench {
namespace {

constexpr int kRepetitions = 21;
constexpr double kSecondsPerRepetition = 0.02;

constexpr uint32_t kUserPort = 0;
constexpr uint32_t kUplink = 29;
constexpr uint16_t kFrameVlan = 100;

constexpr uint32_t kIpv4PacketBytes = 32; // header with router alert, and an IGMPv2 message
constexpr uint32_t kIpv6PacketBytes = 72; // header, hop-by-hop header, and an MLDv1 message
constexpr uint32_t kIpv4FrameBytes = 60;
constexpr uint32_t kIpv6FrameBytes = 18 + kIpv6PacketBytes;

/** What a case works on; every pass leaves it as it found it. */
struct Input {
    alignas(64) uint8_t bytes[2048]; // a frame in the receive buffer, or a packet of the engine
    uint32_t length;
    uint32_t port;
    mcTagDescriptor tag;
};

// --- Frames

void put_ethernet(Input &input, const uint8_t (&destination)[6], uint16_t type)
{
    static constexpr uint8_t kHost[6] = {0x00, 0x1B, 0x21, 0xAA, 0xBB, 0xCC};
    const uint8_t tag_and_type[6] = {
        0x81, 0x00, 0x00, kFrameVlan, static_cast<uint8_t>(type >> 8), static_cast<uint8_t>(type & 0xFF)};
    memcpy(input.bytes, destination, 6);
    memcpy(input.bytes + 6, kHost, 6);
    memcpy(input.bytes + 12, tag_and_type, 6);
}

void put_ipv4_packet(uint8_t *packet)
{
    static constexpr uint8_t kPacket[kIpv4PacketBytes] = {
        0x46, 0xC0, 0x00, 32, 0,    0,    0x40, 0, 1,    2, 0x94, 0x26, 10,  0, 0, 9, // protocol 2 at offset 9
        239,  1,    2,    3,  0x94, 0x04, 0,    0, 0x16, 0, 0xF8, 0xFA, 239, 1, 2, 3,
    };
    memcpy(packet, kPacket, sizeof(kPacket));
}

void put_ipv6_packet(uint8_t *packet)
{
    static constexpr uint8_t kHeader[8] = {0x60, 0, 0, 0, 0, kIpv6PacketBytes - 40, 0, 1};
    static constexpr uint8_t kGroup[16] = {0xFF, 0x1E, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3};
    memset(packet, 0, kIpv6PacketBytes);
    memcpy(packet, kHeader, sizeof(kHeader));
    memcpy(packet + 24, kGroup, sizeof(kGroup));
}

struct Igmp {
    static constexpr const char *kName = "IGMP";
    static void put_frame(Input &input)
    {
        put_ethernet(input, {0x01, 0x00, 0x5E, 0x01, 0x02, 0x03}, 0x0800);
        put_ipv4_packet(input.bytes + 18);
        input.length = kIpv4FrameBytes;
    }
    static void put_packet(Input &input)
    {
        put_ipv4_packet(input.bytes);
        input.length = kIpv4PacketBytes;
    }
    static vlanCfgNode (&rules())[MC_LOGIC_PORTS][MC_RULES_PER_PORT] { return PortVlanCfg; }
    static int32_t (&rule_counts())[MC_LOGIC_PORTS] { return setVlanCfgNumber; }

    static void receive(Input &input) { igmpL2PktProc(input.bytes, input.length, input.port); }
    static void send(Input &input) { send_pkt_igmp(input.bytes, input.port, &input.tag, input.length); }
    template <uint32_t kSends> static void floor_in_place(Input &input)
    {
        floor_igmp_in_place(input.bytes, input.length, kSends);
    }
    template <int32_t kGrowth> static void floor_copied(Input &input)
    {
        floor_igmp_copied(input.bytes, input.length, kGrowth);
    }
    static void floor_packet(Input &input) { floor_igmp_packet(input.bytes, input.length); }
};

struct Mld {
    static constexpr const char *kName = "MLD";
    static void put_frame(Input &input)
    {
        put_ethernet(input, {0x33, 0x33, 0x00, 0x01, 0x02, 0x03}, 0x86DD);
        put_ipv6_packet(input.bytes + 18);
        input.length = kIpv6FrameBytes;
    }
    static void put_packet(Input &input)
    {
        put_ipv6_packet(input.bytes);
        input.length = kIpv6PacketBytes;
    }
    static vlanCfgNode (&rules())[MC_LOGIC_PORTS][MC_RULES_PER_PORT] { return mldInitParams.mldPortVlanCfg; }
    static int32_t (&rule_counts())[MC_LOGIC_PORTS] { return mldInitParams.mldSetVlanCfgNumber; }

    static void receive(Input &input) { mldL2PktProc(input.bytes, input.length, input.port); }
    static void send(Input &input) { send_pkt_mld(input.bytes, input.port, nullptr, input.length); }
    template <uint32_t kSends> static void floor_in_place(Input &input)
    {
        floor_mld_in_place(input.bytes, input.length, kSends);
    }
    template <int32_t kGrowth> static void floor_copied(Input &input)
    {
        floor_mld_copied(input.bytes, input.length, kGrowth);
    }
    static void floor_packet(Input &input) { floor_mld_packet(input.bytes, input.length); }
};

// --- Configurations

vlanCfgNode rule(uint16_t in_vlan, uint16_t out_vlan)
{
    return {static_cast<uint8_t>(kUserPort), 2, in_vlan, out_vlan, 2, in_vlan, out_vlan, 2, in_vlan, out_vlan, 0};
}

// A tag control with the frame's own VLAN, so that a frame changed in place matches again in the next pass.
constexpr uint16_t with_priority(int priority) { return static_cast<uint16_t>(priority << 13 | kFrameVlan); }

// The user port's rules in both tables (MLD looks into both), the VLAN among the template VLANs.
void put_rules(const std::vector<vlanCfgNode> &rules)
{
    for (std::size_t i = 0; i < rules.size(); ++i) {
        Igmp::rules()[0][i] = rules[i];
        Mld::rules()[0][i] = rules[i];
    }
    Igmp::rule_counts()[0] = Mld::rule_counts()[0] = static_cast<int32_t>(rules.size());
    PortVlan[0] = kFrameVlan;
    mldInitParams.mldVlanList[0] = kFrameVlan;
    setVlanNumber = mldInitParams.setVlanNumber = 1;
}

std::vector<vlanCfgNode> last_matches(uint16_t count)
{
    std::vector<vlanCfgNode> rules;
    for (uint16_t i = 1; i < count; ++i)
        rules.push_back(rule(static_cast<uint16_t>(kFrameVlan + i), kFrameVlan));
    rules.push_back(rule(kFrameVlan, with_priority(3)));
    return rules;
}

std::vector<vlanCfgNode> all_match(int count)
{
    std::vector<vlanCfgNode> rules;
    for (int i = 1; i <= count; ++i)
        rules.push_back(rule(kFrameVlan, with_priority(i)));
    return rules;
}

void snooping() { proxy_adapt_mode = 1, mldInitParams.multiMode = 2; }
void control() { proxy_adapt_mode = 3, mldInitParams.multiMode = 3; }

void snooping_one_rule() { snooping(), put_rules(last_matches(1)); }
void snooping_sixteen_rules() { snooping(), put_rules(last_matches(16)); }
void snooping_four_matches() { snooping(), put_rules(all_match(4)); }
void snooping_strip() { snooping(), put_rules({rule(kFrameVlan, 0)}); }
// Its VLAN as it was, so that the engine's tag matches again in the next pass.
void engine_sixteen_rules()
{
    put_rules(last_matches(16));
    Igmp::rules()[0][15].out_dn_vlan = Mld::rules()[0][15].out_dn_vlan = kFrameVlan;
}
void control_epon() { control(), put_rules(last_matches(1)), uplink_mode = 0; }
void control_gpon() { control(), put_rules(last_matches(1)), uplink_mode = 1; }

// --- Measuring

using Configure = void (*)();
using Put = void (*)(Input &);

struct Case {
    std::string title;
    Configure configure;
    Put put_input;
    uint32_t port;
    uint32_t frames = 1; /**< Sent by each pass. */
};

// A pass that did not send what the case is about would be quick for nothing.
template <auto kPass> bool sends_its_frames(Input &input, const Case &c)
{
    for (int pass = 0; pass < 3; ++pass) {
        const uint32_t before = frames_sent;
        kPass(input);
        if (frames_sent - before != c.frames)
            return false;
    }
    return true;
}

// Each repetition places the input elsewhere within a page: where input and stack happen to share the low bits of
// their addresses, copies are slow for reasons that are no case's own.
Input &next_input()
{
    static constexpr std::size_t kPage = 4096;
    static constexpr std::size_t kStep = 192;
    alignas(kPage) static uint8_t room[kPage + sizeof(Input)];
    static std::size_t offset = 0;
    offset = (offset + kStep) % kPage;
    return *new (room + offset) Input();
}

template <auto kPass> void measure(benchmark::State &state, const Case &c)
{
    Input &input = next_input();
    c.configure();
    c.put_input(input);
    input.port = c.port;
    input.tag = {0x8100, kFrameVlan, 5};
    mldInitParams.outerTag = {0x8100, kFrameVlan, 5};
    if (!sends_its_frames<kPass>(input, c)) {
        state.SkipWithError("does not send its frames");
        return;
    }
    for (auto _ : state) {
        kPass(input);
        benchmark::ClobberMemory();
    }
}

template <auto kPass> void register_one(const std::string &name, const Case &c)
{
    benchmark::RegisterBenchmark(name.c_str(), [c](benchmark::State &state) { measure<kPass>(state, c); })
        ->Repetitions(kRepetitions)
        ->MinTime(kSecondsPerRepetition);
}

template <auto kLibrary, auto kFloor> void add(std::vector<std::string> &titles, const Case &c)
{
    register_one<kLibrary>(library_name(c.title), c);
    register_one<kFloor>(floor_name(c.title), c);
    titles.push_back(c.title);
}

template <class F> void add_family(std::vector<std::string> &titles)
{
    const std::string name = std::string(F::kName) + " ";
    add<F::receive, F::template floor_in_place<1>>(
        titles, {name + "report upstream, snooping, 1 rule", snooping_one_rule, F::put_frame, kUserPort});
    add<F::receive, F::template floor_in_place<1>>(titles, {name + "report upstream, snooping, last of 16 rules",
                                                            snooping_sixteen_rules, F::put_frame, kUserPort});
    add<F::receive, F::template floor_in_place<1>>(
        titles, {name + "query downstream, 1 match", snooping_one_rule, F::put_frame, kUplink});
    add<F::receive, F::template floor_in_place<4>>(
        titles, {name + "query downstream, 4 matches", snooping_four_matches, F::put_frame, kUplink, 4});
    add<F::receive, F::template floor_copied<-4>>(
        titles, {name + "query downstream, tag taken out", snooping_strip, F::put_frame, kUplink});
    if constexpr (std::is_same_v<F, Igmp>)
        add<F::receive, F::template floor_copied<0>>(
            titles, {name + "report upstream, control, one tag", control_epon, F::put_frame, kUserPort});
    add<F::receive, F::template floor_copied<4>>(
        titles, {name + "report upstream, control, two tags", control_gpon, F::put_frame, kUserPort});
    add<F::send, F::floor_packet>(titles,
                                  {name + "engine packet to the uplink", snooping_one_rule, F::put_packet, kUplink});
    add<F::send, F::floor_packet>(
        titles, {name + "engine packet, last of 16 rules", engine_sixteen_rules, F::put_packet, kUserPort});
}

} // namespace

std::vector<std::string> register_cases()
{
    std::vector<std::string> titles;
    add_family<Igmp>(titles);
    add_family<Mld>(titles);
    return titles;
}

} // namespace mcadapt::bench
