/** The protocol engine's calls. */
#include <algorithm>
#include <cstring>

#include "platform/protocol_engine.h"
#include "support/platform_double.h"

using mcadapt::test::EnginePacket;
using mcadapt::test::HexBytes;
using mcadapt::test::MacBytes;
using mcadapt::test::platform;
using mcadapt::test::Words;

namespace {

bool clock_was_read = false;

/** A packet may claim more bytes than there are: only its first ones are written down. */
constexpr std::size_t kPacketStart = 8;

/** Room that the library promises behind the pointer of `igmp_time_now`. */
constexpr std::size_t kTimeRecord = 64;

void keep_as_given(mcadapt::test::ByteVector &kept, const void *buffer, std::size_t length)
{
    const auto *bytes = static_cast<const uint8_t *>(buffer);
    kept.assign(bytes, bytes + length);
}

/** Answers with what is there once the test's action has run; as much of it as fits. */
template <class Gathered>
int32_t answer_gathered(const char *name, uint32_t port, uint32_t length, void *buffer, Gathered gathered)
{
    static constexpr int32_t kUnscripted = INT32_MIN;
    const int32_t scripted = platform().called_or(kUnscripted, name, port, length);
    const mcadapt::test::ByteVector bytes = gathered();
    if (!bytes.empty())
        std::memcpy(buffer, bytes.data(), std::min<std::size_t>(length, bytes.size()));
    return scripted == kUnscripted ? static_cast<int32_t>(bytes.size()) : scripted;
}

} // namespace

bool mcadapt::test::engine_clock_was_read() { return clock_was_read; }

int32_t igmp_data_init(void) { return platform().called("igmp_data_init"); }
int32_t mld_data_init(void) { return platform().called("mld_data_init"); }
int32_t igmp_task_init(int32_t priority, int32_t engineArg)
{
    return platform().called("igmp_task_init", priority, engineArg);
}
int32_t mld_task_init(int32_t priority) { return platform().called("mld_task_init", priority); }
int32_t igmp_vlan_del_all(void) { return platform().called("igmp_vlan_del_all"); }

int32_t igmp_register_switch_send_pkt(mcSendPacketCallback send)
{
    platform().igmp_callbacks.send = send;
    return platform().called("igmp_register_switch_send_pkt", send);
}
int32_t igmp_register_switch_add_table(mcForwardingCallback add)
{
    platform().igmp_callbacks.add = add;
    return platform().called("igmp_register_switch_add_table", add);
}
int32_t igmp_register_switch_del_table(mcForwardingCallback remove)
{
    platform().igmp_callbacks.remove = remove;
    return platform().called("igmp_register_switch_del_table", remove);
}
int32_t igmp_port_add_all_vlan(uint32_t port) { return platform().called("igmp_port_add_all_vlan", port); }
int32_t mld_register_switch_send_pkt(mcSendPacketCallback send)
{
    platform().mld_callbacks.send = send;
    return platform().called("mld_register_switch_send_pkt", send);
}
int32_t mld_register_switch_add_table(mcForwardingCallback add)
{
    platform().mld_callbacks.add = add;
    return platform().called("mld_register_switch_add_table", add);
}
int32_t mld_register_switch_del_table(mcForwardingCallback remove)
{
    platform().mld_callbacks.remove = remove;
    return platform().called("mld_register_switch_del_table", remove);
}
int32_t mld_port_conf_set(uint32_t port) { return platform().called("mld_port_conf_set", port); }
int32_t mld_proxy_snoop_set_globle(uint32_t mode) { return platform().called("mld_proxy_snoop_set_globle", mode); }
int32_t igmp_globle_proxyip_set(uint32_t address) { return platform().called("igmp_globle_proxyip_set", address); }

int32_t igmp_time_now(void *time)
{
    clock_was_read = true;
    keep_as_given(platform().time_record, time, kTimeRecord);
    std::memset(time, 0xEE, kTimeRecord);
    return platform().called("igmp_time_now");
}

int32_t igmp_pkt_recv(const uint8_t *ipHeader, uint32_t length, uint32_t port, uint32_t vlan, uint32_t options)
{
    platform().engine_packets.push_back(EnginePacket{false, ipHeader, length, port, vlan, options});
    return platform().called("igmp_pkt_recv", HexBytes{ipHeader, kPacketStart}, length, port, vlan, options);
}

int32_t mld_pkt_recv(const uint8_t *ipHeader, uint32_t length, uint32_t port, uint32_t vlan, uint16_t *scratch)
{
    platform().engine_packets.push_back(EnginePacket{true, ipHeader, length, port, vlan, *scratch});
    return platform().called("mld_pkt_recv", HexBytes{ipHeader, kPacketStart}, length, port, vlan, *scratch);
}

int32_t igmp_mode_switch_globle(uint32_t mode) { return platform().called("igmp_mode_switch_globle", mode); }
int32_t igmp_default_vid_set(uint32_t vlan) { return platform().called("igmp_default_vid_set", vlan); }
int32_t mld_api_set_default_vlan(uint32_t vlan) { return platform().called("mld_api_set_default_vlan", vlan); }
int32_t igmp_para_globle_set(uint32_t robustness, uint32_t queryInterval, uint32_t queryResponseInterval,
                             uint32_t lastMemberQueryInterval, uint32_t lastMemberQueryCount, uint32_t ageEnable)
{
    return platform().called("igmp_para_globle_set", robustness, queryInterval, queryResponseInterval,
                             lastMemberQueryInterval, lastMemberQueryCount, ageEnable);
}
int32_t igmp_para_lmqc_globle_set(uint32_t count) { return platform().called("igmp_para_lmqc_globle_set", count); }
int32_t igmp_para_lmqi_globle_set(uint32_t interval)
{
    return platform().called("igmp_para_lmqi_globle_set", interval);
}
int32_t igmp_para_qri_globle_set(uint32_t interval) { return platform().called("igmp_para_qri_globle_set", interval); }
int32_t igmp_para_qi_globle_set(uint32_t interval) { return platform().called("igmp_para_qi_globle_set", interval); }
int32_t igmp_para_rv_globle_set(uint32_t robustness)
{
    return platform().called("igmp_para_rv_globle_set", robustness);
}
int32_t igmp_version_globle_set(uint32_t version) { return platform().called("igmp_version_globle_set", version); }
int32_t igmp_ssm_ip_globle_set(uint32_t first, uint32_t second)
{
    return platform().called("igmp_ssm_ip_globle_set", first, second);
}
int32_t igmp_ssm_map_change(const uint32_t *words)
{
    platform().ssm_map = words;
    return platform().called("igmp_ssm_map_change", Words{words, 5});
}
int32_t igmp_fast_leave_enable_globle(uint32_t enable)
{
    return platform().called("igmp_fast_leave_enable_globle", enable);
}
int32_t igmp_vlan_learning_set(uint32_t enable) { return platform().called("igmp_vlan_learning_set", enable); }

int32_t igmp_vlan_add(uint32_t vlan) { return platform().called("igmp_vlan_add", vlan); }
int32_t igmp_vlan_del(uint32_t vlan) { return platform().called("igmp_vlan_del", vlan); }
int32_t mld_pack_set_mc_vlan(uint32_t add, uint32_t vlan)
{
    return platform().called("mld_pack_set_mc_vlan", add, vlan);
}

int32_t igmp_if_max_group_num_set(uint32_t port, int32_t limit)
{
    return platform().called("igmp_if_max_group_num_set", port, limit);
}
int32_t igmp_if_fast_leave_enable(uint32_t port, uint32_t enable)
{
    return platform().called("igmp_if_fast_leave_enable", port, enable);
}
int32_t igmp_if_max_bandwidth_set(uint32_t port, uint32_t enable, uint32_t maxBandwidth, uint32_t vlan)
{
    return platform().called("igmp_if_max_bandwidth_set", port, enable, maxBandwidth, vlan);
}
int32_t igmp_set_multicast_control(uint32_t port, uint32_t kind, uint32_t vlan, uint32_t index)
{
    return platform().called("igmp_set_multicast_control", port, kind, vlan, index);
}
int32_t igmp_oam_control_2(uint32_t action, uint32_t port, uint32_t vlan, const uint8_t *address)
{
    return platform().called("igmp_oam_control_2", action, port, vlan, MacBytes{address});
}

int32_t igmp_chile_grp_limit_func_set(uint32_t enable)
{
    return platform().called("igmp_chile_grp_limit_func_set", enable);
}
int32_t igmp_if_add_auth_group_cfg(uint32_t port, uintptr_t start, uintptr_t end, uint32_t arg4, uint32_t vlan)
{
    return platform().called("igmp_if_add_auth_group_cfg", port, start, end, arg4, vlan);
}
int32_t igmp_if_delete_auth_group_cfg(uint32_t port, uintptr_t start, uintptr_t end, uint32_t arg4, uint32_t vlan)
{
    return platform().called("igmp_if_delete_auth_group_cfg", port, start, end, arg4, vlan);
}
int32_t igmp_if_delete_auth_group_cfg_all(uint32_t port, uint32_t vlan)
{
    return platform().called("igmp_if_delete_auth_group_cfg_all", port, vlan);
}
int32_t igmp_if_grp_range_auth_enable(uint32_t port, uint32_t enable)
{
    return platform().called("igmp_if_grp_range_auth_enable", port, enable);
}
int32_t add_to_auth_group_api(uint32_t group, uint32_t vlan)
{
    return platform().called("add_to_auth_group_api", group, vlan);
}
int32_t auth_group_delete_api(uint32_t group, uint32_t vlan)
{
    return platform().called("auth_group_delete_api", group, vlan);
}
int32_t auth_group_delete_all_api(void) { return platform().called("auth_group_delete_all_api"); }
int32_t igmp_del_all_group(void) { return platform().called("igmp_del_all_group"); }
int32_t igmp_del_all_group_except_static_group(void)
{
    return platform().called("igmp_del_all_group_except_static_group");
}
int32_t igmp_if_static_group_source_add(uint32_t port, uint32_t vlan, uint32_t group, uint32_t arg4, uint32_t arg5)
{
    return platform().called("igmp_if_static_group_source_add", port, vlan, group, arg4, arg5);
}
int32_t igmp_if_static_group_source_del(uint32_t port, uint32_t vlan, uint32_t group, uint32_t arg4, uint32_t arg5)
{
    return platform().called("igmp_if_static_group_source_del", port, vlan, group, arg4, arg5);
}

int32_t igmp_gather_grp_info(uint32_t port, uint32_t length, void *buffer)
{
    keep_as_given(platform().gather_buffer, buffer, length);
    return answer_gathered("igmp_gather_grp_info", port, length, buffer, [] { return platform().gathered_groups; });
}

int32_t igmp_if_gather_if_status(uint32_t port, uint32_t length, void *buffer)
{
    keep_as_given(platform().gather_buffer, buffer, length);
    return answer_gathered("igmp_if_gather_if_status", port, length, buffer, [] {
        const auto &counters = platform().gathered_counters;
        mcadapt::test::ByteVector bytes(counters.size() * sizeof(uint32_t));
        if (!bytes.empty())
            std::memcpy(bytes.data(), counters.data(), bytes.size());
        return bytes;
    });
}
