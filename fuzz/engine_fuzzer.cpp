// The engine: packets of all versions, right and wrong, while timers run and agents change what it was told.
#include <memory>

#include "fuzz/engine_packets.h"
#include "fuzz/engine_world.h"
#include "fuzz/fuzzer.h"
#include "fuzz/input.h"
#include "mcadapt/engine_types.h"
#include "platform/protocol_engine.h"

using namespace mcadapt::fuzz;
using mcadapt::host::Duration;
using mcadapt::host::Family;
using mcadapt::host::Limits;

namespace {

void step(EngineWorld &world, Input &input);

uint32_t take_port(Input &input)
{
    static constexpr uint32_t kPorts[] = {0, 0, 1, 29, 0xFFFF, 7, 30, 255};
    const uint8_t byte = input.byte();
    return byte < 0xF0 ? kPorts[byte % 8] : input.number();
}

uint32_t take_vlan(Input &input)
{
    static constexpr uint32_t kVlans[] = {100, 100, 200, 4088, 0, 4095, 65535, 300};
    const uint8_t byte = input.byte();
    return byte < 0xF0 ? kVlans[byte % 8] : input.number();
}

// --- Orders of the agents, through the calls that the library makes

void mode(Input &input)
{
    const uint32_t mode = input.byte() % 5u;
    if (input.flag())
        mld_proxy_snoop_set_globle(mode);
    else
        igmp_mode_switch_globle(mode);
}

void timers(Input &input)
{
    switch (input.byte() % 8) {
    case 0: {
        uint32_t value[6];
        for (uint32_t &one : value)
            one = input.number();
        igmp_para_globle_set(value[0], value[1], value[2], value[3], value[4], value[5]);
        return;
    }
    case 1:
        igmp_para_lmqc_globle_set(input.number());
        return;
    case 2:
        igmp_para_lmqi_globle_set(input.number());
        return;
    case 3:
        igmp_para_qri_globle_set(input.number());
        return;
    case 4:
        igmp_para_qi_globle_set(input.number());
        return;
    case 5:
        igmp_para_rv_globle_set(input.number());
        return;
    case 6:
        igmp_version_globle_set(input.byte() % 5u);
        return;
    default:
        igmp_globle_proxyip_set(input.number());
        return;
    }
}

void vlans(Input &input)
{
    const uint32_t vlan = take_vlan(input);
    switch (input.byte() % 8) {
    case 0:
        igmp_vlan_add(vlan);
        return;
    case 1:
        igmp_vlan_del(vlan);
        return;
    case 2:
        mld_pack_set_mc_vlan(1, vlan);
        return;
    case 3:
        mld_pack_set_mc_vlan(0, vlan);
        return;
    case 4:
        igmp_default_vid_set(vlan);
        return;
    case 5:
        mld_api_set_default_vlan(vlan);
        return;
    case 6:
        igmp_vlan_learning_set(input.byte() & 1u);
        return;
    default:
        igmp_vlan_del_all();
        return;
    }
}

void ports(Input &input)
{
    const uint32_t port = take_port(input);
    switch (input.byte() % 8) {
    case 0:
        igmp_fast_leave_enable_globle(input.byte() & 1u);
        return;
    case 1:
        igmp_if_fast_leave_enable(port, input.byte() & 1u);
        return;
    case 2:
        igmp_if_max_group_num_set(port, static_cast<int32_t>(input.number()));
        return;
    case 3: {
        const uint32_t enable = input.byte() & 1u;
        const uint32_t limit = input.number();
        igmp_if_max_bandwidth_set(port, enable, limit, take_vlan(input));
        return;
    }
    case 4:
        igmp_port_add_all_vlan(port);
        return;
    case 5:
        mld_port_conf_set(port);
        return;
    case 6: {
        uint32_t words[5];
        for (uint32_t &word : words)
            word = input.number();
        igmp_ssm_map_change(words);
        return;
    }
    default: {
        const uint32_t network = input.number();
        igmp_ssm_ip_globle_set(network, input.number());
        return;
    }
    }
}

void groups(Input &input)
{
    const uint32_t port = take_port(input);
    const uint32_t vlan = take_vlan(input);
    switch (input.byte() % 8) {
    case 0:
    case 1:
        igmp_if_static_group_source_add(port, vlan, input.number(), 0, 1);
        return;
    case 2:
        igmp_if_static_group_source_del(port, vlan, input.number(), 0, 1);
        return;
    case 3: {
        const uint32_t kind = input.byte() % 3u;
        igmp_set_multicast_control(port, kind, vlan, input.number());
        return;
    }
    case 4:
    case 5: {
        const uint32_t action = input.byte() % 3u;
        igmp_oam_control_2(action, port, vlan, input.bytes(6).data());
        return;
    }
    case 6:
        igmp_del_all_group();
        return;
    default:
        igmp_del_all_group_except_static_group();
        return;
    }
}

void ranges(Input &input)
{
    const uint32_t port = take_port(input);
    const uint32_t vlan = take_vlan(input);
    const unsigned what = input.byte() % 8;
    const uint32_t first = input.number();
    const uint32_t last = input.number();
    switch (what) {
    case 0:
        igmp_if_add_auth_group_cfg(port, first, last, input.number(), vlan);
        return;
    case 1:
        igmp_if_delete_auth_group_cfg(port, first, last, 0, vlan);
        return;
    case 2:
        igmp_if_delete_auth_group_cfg_all(port, vlan);
        return;
    case 3:
        igmp_if_grp_range_auth_enable(port, first & 1);
        return;
    case 4:
        add_to_auth_group_api(first, vlan);
        return;
    case 5:
        auth_group_delete_api(first, vlan);
        return;
    case 6:
        auth_group_delete_all_api();
        return;
    default: {
        const std::vector<uint8_t> start = input.bytes(4);
        const std::vector<uint8_t> end = input.bytes(4);
        igmp_chile_grp_limit_func_set(first & 1);
        if (sizeof(uintptr_t) > 4) // where a group value cannot be an address
            igmp_if_add_auth_group_cfg(0, reinterpret_cast<uintptr_t>(start.data()),
                                       reinterpret_cast<uintptr_t>(end.data()), 0, 65535);
        return;
    }
    }
}

void queries(EngineWorld &world, Input &input)
{
    const uint32_t port = take_port(input);
    const uint32_t length = input.number() % 20000;
    const auto buffer = std::make_unique<uint8_t[]>(length);
    const int32_t groups = igmp_gather_grp_info(port, length, buffer.get());
    FUZZ_EXPECT(groups >= 0 && static_cast<uint32_t>(groups) <= length, "what is gathered fits");
    world.digest().bytes(buffer.get(), static_cast<uint32_t>(groups));
    const int32_t counters = igmp_if_gather_if_status(port, length, buffer.get());
    FUZZ_EXPECT(counters >= 0 && static_cast<uint32_t>(counters) <= length, "what is gathered fits");
    world.engine().share_status(input.flag());
}

void order(EngineWorld &world, Input &input)
{
    switch (input.byte() % 8) {
    case 0:
        return mode(input);
    case 1:
        return timers(input);
    case 2:
        return vlans(input);
    case 3:
        return ports(input);
    case 4:
    case 5:
        return groups(input);
    case 6:
        return ranges(input);
    default:
        return queries(world, input);
    }
}

// --- Packets and time

void packet(EngineWorld &world, Input &input)
{
    const uint8_t how = input.byte();
    const Family family = (how & 1) != 0 ? Family::kMld : Family::kIgmp;
    const uint32_t port = take_port(input);
    const uint32_t vlan = take_vlan(input);
    world.give(family, take_packet(input, family), port, vlan, (how & 2) != 0);
}

void time(EngineWorld &world, Input &input)
{
    static constexpr int64_t kMilliseconds[] = {0, 1, 100, 1000, 10000, 60000, 3600000};
    const uint8_t how = input.byte();
    const Duration time = std::chrono::milliseconds(kMilliseconds[how % 7] * (1 + (how >> 4)));
    const Duration until_next = world.engine().next_timer() - world.clock().now();
    if ((how & 8) != 0 && world.engine().next_timer() != mcadapt::host::kNever && until_next >= Duration(0))
        world.pass(until_next - Duration(how >> 7), true);
    else
        world.pass(time, input.flag());
}

void step_inside_callback(EngineWorld &world, Input &input)
{
    Input part = input.part(input.byte());
    world.in_next_callback([&world, part]() mutable { step(world, part); });
}

void step(EngineWorld &world, Input &input)
{
    switch (input.byte() % 16) {
    case 0:
    case 1:
    case 2:
    case 3:
        return order(world, input);
    case 4:
    case 5:
    case 6:
        return time(world, input);
    case 7:
        return world.refuse_entries(input.flag());
    case 8:
        return step_inside_callback(world, input);
    default:
        return packet(world, input);
    }
}

// --- Runs

Limits take_limits(Input &input)
{
    static constexpr Limits kLimits[] = {{6, 4}, {4096, 64}, {1, 1}, {64, 64}};
    return kLimits[input.byte() % 4];
}

void start(Input &input)
{
    igmp_data_init();
    mld_data_init();
    const uint8_t how = input.byte();
    for (const uint32_t port : {0u, 1u, 0xFFFFu})
        igmp_port_add_all_vlan(port);
    for (const uint32_t port : {0u, 1u, 29u})
        mld_port_conf_set(port);
    igmp_globle_proxyip_set(0x0A190E14);
    igmp_vlan_add(100);
    mld_pack_set_mc_vlan(1, 100);
    igmp_mode_switch_globle(how & 3);
    mld_proxy_snoop_set_globle(how >> 2 & 3);
    igmp_fast_leave_enable_globle(how >> 4 & 1);
    igmp_vlan_learning_set(how >> 5 & 1);
}

uint64_t run(const uint8_t *data, size_t size, uint8_t stack)
{
    constexpr int kMostSteps = 200;
    fill_stack(stack);
    Input input(data, size);
    EngineWorld world(take_limits(input));
    start(input);
    for (int i = 0; i < kMostSteps && input.more(); ++i) {
        step(world, input);
        world.check();
    }
    world.in_next_callback(nullptr);
    world.check_end();
    return world.digest().value();
}

} // namespace

int LLVMFuzzerInitialize(int *, char ***) { return 0; }

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const uint64_t first = run(data, size, 0x5A);
    FUZZ_EXPECT(first == run(data, size, 0xA5), "equal inputs do the same");
    return 0;
}
