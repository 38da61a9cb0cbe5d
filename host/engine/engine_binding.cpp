#include "host/engine/engine_binding.h"

#include <cstring>

#include "host/engine/address.h"
#include "platform/protocol_engine.h"

namespace {

using mcadapt::host::Engine;
using mcadapt::host::Family;
using mcadapt::host::Mode;
using mcadapt::host::Result;

Engine *the_engine = nullptr;

template <class... Parameters, class... Arguments>
int32_t call(int32_t (Engine::*method)(Parameters...), Arguments... arguments)
{
    return the_engine ? (the_engine->*method)(arguments...) : static_cast<int32_t>(Result::kNoEngine);
}

constexpr int32_t kInvalid = static_cast<int32_t>(Result::kInvalid);

// The range calls take group values of a port, and addresses of 4-byte groups (network order) of the whole unit. A
// management agent may ask for port 0 and any VLAN too: no address lies where a group value does.
bool is_address(uintptr_t word) { return sizeof(word) == 4 || word > UINT32_MAX; }

uint32_t group_at(uintptr_t word)
{
    if (!is_address(word))
        return static_cast<uint32_t>(word);
    uint8_t bytes[4];
    std::memcpy(bytes, reinterpret_cast<const void *>(word), sizeof bytes);
    return mcadapt::host::load32(bytes);
}

bool whole_unit(uint32_t port, uintptr_t start, uintptr_t end, uint32_t vlan)
{
    return port == 0 && vlan == mcadapt::host::kAnyVlan && is_address(start) && is_address(end);
}

} // namespace

namespace mcadapt::host {

void install(Engine *engine) { the_engine = engine; }

Engine *installed_engine() { return the_engine; }

} // namespace mcadapt::host

// --- Start-up

int32_t igmp_data_init(void) { return call(&Engine::reset, Family::kIgmp); }

int32_t mld_data_init(void) { return call(&Engine::reset, Family::kMld); }

int32_t igmp_task_init(int32_t, int32_t) { return call(&Engine::start, Family::kIgmp); }

int32_t mld_task_init(int32_t) { return call(&Engine::start, Family::kMld); }

int32_t igmp_vlan_del_all(void) { return call(&Engine::remove_all_vlans, Family::kIgmp); }

int32_t igmp_register_switch_send_pkt(mcSendPacketCallback send)
{
    return call(&Engine::register_send, Family::kIgmp, send);
}

int32_t igmp_register_switch_add_table(mcForwardingCallback add)
{
    return call(&Engine::register_add, Family::kIgmp, add);
}

int32_t igmp_register_switch_del_table(mcForwardingCallback remove)
{
    return call(&Engine::register_remove, Family::kIgmp, remove);
}

int32_t igmp_port_add_all_vlan(uint32_t port) { return call(&Engine::declare_port, Family::kIgmp, port); }

int32_t mld_register_switch_send_pkt(mcSendPacketCallback send)
{
    return call(&Engine::register_send, Family::kMld, send);
}

int32_t mld_register_switch_add_table(mcForwardingCallback add)
{
    return call(&Engine::register_add, Family::kMld, add);
}

int32_t mld_register_switch_del_table(mcForwardingCallback remove)
{
    return call(&Engine::register_remove, Family::kMld, remove);
}

int32_t mld_port_conf_set(uint32_t port) { return call(&Engine::declare_port, Family::kMld, port); }

// The MLD side has numbers of its own: 2 is snooping there, 3 control; what is left, 1, is proxy.
int32_t mld_proxy_snoop_set_globle(uint32_t mode)
{
    switch (mode) {
    case 1:
        return call(&Engine::set_mode, Family::kMld, Mode::kProxy);
    case 2:
        return call(&Engine::set_mode, Family::kMld, Mode::kSnooping);
    case 3:
        return call(&Engine::set_mode, Family::kMld, Mode::kControl);
    default:
        return kInvalid;
    }
}

int32_t igmp_globle_proxyip_set(uint32_t address) { return call(&Engine::set_proxy_source, address); }

// --- Packets

int32_t igmp_time_now(void *) { return 0; }

int32_t igmp_pkt_recv(const uint8_t *ipHeader, uint32_t length, uint32_t port, uint32_t vlan, uint32_t)
{
    return call(&Engine::receive, Family::kIgmp, ipHeader, length, port, vlan);
}

int32_t mld_pkt_recv(const uint8_t *ipHeader, uint32_t length, uint32_t port, uint32_t vlan, uint16_t *)
{
    return call(&Engine::receive, Family::kMld, ipHeader, length, port, vlan);
}

// --- Mode and global parameters

int32_t igmp_mode_switch_globle(uint32_t mode)
{
    if (mode < 1 || mode > 3)
        return kInvalid;
    return call(&Engine::set_mode, Family::kIgmp, static_cast<Mode>(mode));
}

int32_t igmp_default_vid_set(uint32_t vlan) { return call(&Engine::set_default_vlan, Family::kIgmp, vlan); }

int32_t mld_api_set_default_vlan(uint32_t vlan) { return call(&Engine::set_default_vlan, Family::kMld, vlan); }

int32_t igmp_para_globle_set(uint32_t robustness, uint32_t queryInterval, uint32_t queryResponseInterval,
                             uint32_t lastMemberQueryInterval, uint32_t lastMemberQueryCount, uint32_t ageEnable)
{
    return call(&Engine::set_timers, robustness, queryInterval, queryResponseInterval, lastMemberQueryInterval,
                lastMemberQueryCount, ageEnable);
}

int32_t igmp_para_lmqc_globle_set(uint32_t count) { return call(&Engine::set_last_member_count, count); }

int32_t igmp_para_lmqi_globle_set(uint32_t interval) { return call(&Engine::set_last_member_interval, interval); }

int32_t igmp_para_qri_globle_set(uint32_t interval) { return call(&Engine::set_response_interval, interval); }

int32_t igmp_para_qi_globle_set(uint32_t interval) { return call(&Engine::set_query_interval, interval); }

int32_t igmp_para_rv_globle_set(uint32_t robustness) { return call(&Engine::set_robustness, robustness); }

int32_t igmp_version_globle_set(uint32_t version) { return call(&Engine::set_version, version); }

int32_t igmp_ssm_ip_globle_set(uint32_t first, uint32_t second) { return call(&Engine::set_ssm_range, first, second); }

int32_t igmp_ssm_map_change(const uint32_t *words) { return call(&Engine::set_ssm_map, words); }

int32_t igmp_fast_leave_enable_globle(uint32_t enable) { return call(&Engine::set_fast_leave, enable); }

int32_t igmp_vlan_learning_set(uint32_t enable) { return call(&Engine::set_vlan_learning, enable); }

// --- Multicast VLANs

int32_t igmp_vlan_add(uint32_t vlan) { return call(&Engine::add_vlan, Family::kIgmp, vlan); }

int32_t igmp_vlan_del(uint32_t vlan) { return call(&Engine::remove_vlan, Family::kIgmp, vlan); }

int32_t mld_pack_set_mc_vlan(uint32_t add, uint32_t vlan)
{
    return call(add != 0 ? &Engine::add_vlan : &Engine::remove_vlan, Family::kMld, vlan);
}

// --- Ports

int32_t igmp_if_max_group_num_set(uint32_t port, int32_t limit) { return call(&Engine::set_group_limit, port, limit); }

int32_t igmp_if_fast_leave_enable(uint32_t port, uint32_t enable)
{
    return call(&Engine::set_port_fast_leave, port, enable);
}

int32_t igmp_if_max_bandwidth_set(uint32_t port, uint32_t enable, uint32_t maxBandwidth, uint32_t vlan)
{
    return call(&Engine::set_bandwidth_limit, port, enable, maxBandwidth, vlan);
}

int32_t igmp_set_multicast_control(uint32_t port, uint32_t kind, uint32_t vlan, uint32_t index)
{
    return call(&Engine::control_channel, port, kind, vlan, index);
}

int32_t igmp_oam_control_2(uint32_t action, uint32_t port, uint32_t vlan, const uint8_t *address)
{
    return call(&Engine::control_mac, action, port, vlan, address);
}

// --- Authorised and static groups

int32_t igmp_chile_grp_limit_func_set(uint32_t enable) { return call(&Engine::set_white_list, enable); }

int32_t igmp_if_add_auth_group_cfg(uint32_t port, uintptr_t start, uintptr_t end, uint32_t arg4, uint32_t vlan)
{
    if (whole_unit(port, start, end, vlan))
        return call(&Engine::add_unit_range, group_at(start), group_at(end));
    if (start > UINT32_MAX || end > UINT32_MAX)
        return kInvalid;
    return call(&Engine::add_port_range, port, static_cast<uint32_t>(start), static_cast<uint32_t>(end), arg4, vlan);
}

int32_t igmp_if_delete_auth_group_cfg(uint32_t port, uintptr_t start, uintptr_t end, uint32_t, uint32_t vlan)
{
    if (start > UINT32_MAX || end > UINT32_MAX)
        return kInvalid;
    return call(&Engine::remove_port_range, port, static_cast<uint32_t>(start), static_cast<uint32_t>(end), vlan);
}

int32_t igmp_if_delete_auth_group_cfg_all(uint32_t port, uint32_t vlan)
{
    return call(&Engine::remove_ranges, port, vlan);
}

int32_t igmp_if_grp_range_auth_enable(uint32_t port, uint32_t enable)
{
    return call(&Engine::set_range_authorisation, port, enable);
}

int32_t add_to_auth_group_api(uint32_t group, uint32_t vlan) { return call(&Engine::add_private, group, vlan); }

int32_t auth_group_delete_api(uint32_t group, uint32_t vlan) { return call(&Engine::remove_private, group, vlan); }

int32_t auth_group_delete_all_api(void) { return call(&Engine::clear_private); }

int32_t igmp_del_all_group(void) { return call(&Engine::remove_all_groups, false); }

int32_t igmp_del_all_group_except_static_group(void) { return call(&Engine::remove_all_groups, true); }

int32_t igmp_if_static_group_source_add(uint32_t port, uint32_t vlan, uint32_t group, uint32_t arg4, uint32_t)
{
    return call(&Engine::add_static, port, vlan, group, arg4);
}

int32_t igmp_if_static_group_source_del(uint32_t port, uint32_t vlan, uint32_t group, uint32_t arg4, uint32_t)
{
    return call(&Engine::remove_static, port, vlan, group, arg4);
}

// --- Status

int32_t igmp_gather_grp_info(uint32_t port, uint32_t length, void *buffer)
{
    return the_engine ? the_engine->gather_groups(port, length, buffer) : 0;
}

int32_t igmp_if_gather_if_status(uint32_t port, uint32_t length, void *buffer)
{
    return the_engine ? the_engine->gather_interface(port, length, buffer) : 0;
}
