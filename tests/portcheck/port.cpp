#include "port.h"

#include <algorithm>
#include <cstring>
#include <pthread.h>
#include <unistd.h>

namespace mcadapt::test {

namespace {

constexpr uint32_t kProxy = 2;
constexpr uint8_t kIgmpReport = 0x16;
constexpr uint8_t kIgmpLeave = 0x17;
constexpr uint8_t kMldReport = 131;
constexpr uint8_t kMldDone = 132;

using Lock = std::lock_guard<std::mutex>;

uint32_t word_at(const uint8_t *at)
{
    return static_cast<uint32_t>(at[0]) << 24 | static_cast<uint32_t>(at[1] << 16 | at[2] << 8 | at[3]);
}

// The first of a membership installs it, the last removes it; the engine is not locked meanwhile.
void change(const GoodPort::Membership &membership, bool join)
{
    GoodPort &engine = good();
    const auto &[vlan, group, mld] = membership;
    {
        const Lock lock(engine.lock);
        if (join ? !engine.members.insert(membership).second : engine.members.erase(membership) == 0)
            return;
    }
    const mcGroupRecord record = group_record(vlan, group, mld);
    mcForwardingCallback const add = mld ? engine.mld_add : engine.igmp_add;
    mcForwardingCallback const remove = mld ? engine.mld_remove : engine.igmp_remove;
    mcForwardingCallback const callback = join ? add : remove;
    if (callback != nullptr)
        callback(&record);
}

void drop_members(const std::function<bool(const GoodPort::Membership &)> &belongs)
{
    std::vector<GoodPort::Membership> dropped;
    {
        const Lock lock(good().lock);
        std::copy_if(good().members.begin(), good().members.end(), std::back_inserter(dropped), belongs);
    }
    for (const GoodPort::Membership &membership : dropped)
        change(membership, false);
}

void report_upstream(const uint8_t *packet, uint32_t length, uint32_t vlan)
{
    mcTagDescriptor tag = {0x8100, static_cast<uint16_t>(vlan), 0};
    mcSendPacketCallback const send = good().igmp_send;
    if (good().mode == kProxy && send != nullptr)
        send(packet, 0xFFFF, &tag, length);
}

// A packet is read only as far as a report goes, which any receive buffer holds.
int32_t take_igmp(const uint8_t *ip, uint32_t length, uint32_t, uint32_t vlan)
{
    const uint32_t header = (ip[0] & 0x0Fu) * 4;
    if (length != header + 8)
        return 1;
    const uint8_t type = ip[header];
    if (type != kIgmpReport && type != kIgmpLeave)
        return 1;
    change({vlan, word_at(ip + header + 4), false}, type == kIgmpReport);
    if (type == kIgmpReport)
        report_upstream(ip, length, vlan);
    return 0;
}

int32_t take_mld(const uint8_t *ip, uint32_t length, uint32_t, uint32_t vlan, uint16_t *)
{
    if (length != 72)
        return 1;
    const uint8_t type = ip[48];
    if (type != kMldReport && type != kMldDone)
        return 1;
    change({vlan, word_at(ip + 48 + 20), true}, type == kMldReport);
    return 0;
}

int32_t gather_groups(uint32_t, uint32_t length, void *buffer)
{
    const Lock lock(good().lock);
    auto *at = static_cast<uint8_t *>(buffer);
    uint32_t count = 0;
    for (const auto &[vlan, group, mld] : good().members) {
        if (mld || 4 + (count + 1) * MC_ENGINE_GROUP_BYTES > length)
            continue;
        uint8_t *record = at + 4 + count++ * MC_ENGINE_GROUP_BYTES;
        const auto short_vlan = static_cast<uint16_t>(vlan);
        memcpy(record, &short_vlan, 2);
        memcpy(record + 6, &group, 4);
    }
    memcpy(at, &count, 4);
    return static_cast<int32_t>(4 + count * MC_ENGINE_GROUP_BYTES);
}

int32_t gather_counters(uint32_t, uint32_t, void *buffer)
{
    static constexpr uint32_t kCounters[4] = {1, 2, 3, 4};
    memcpy(buffer, kCounters, sizeof(kCounters));
    return 1;
}

int32_t read_frame(uint8_t *frame, uint8_t *in_port, uint32_t *length)
{
    const Lock lock(good().lock);
    if (good().frames.empty())
        return 1;
    const FedFrame next = good().frames.front();
    good().frames.pop_front();
    const std::size_t size = std::min<std::size_t>(next.bytes.size(), 2048);
    memcpy(frame, next.bytes.data(), size);
    *in_port = next.port;
    *length = static_cast<uint32_t>(size);
    return 0;
}

void *run_entry(void *entry)
{
    reinterpret_cast<palTaskEntry>(entry)();
    return nullptr;
}

template <class Callback> auto keep(Callback GoodPort::*slot)
{
    return [slot](Callback callback) {
        good().*slot = callback;
        return 0;
    };
}

} // namespace

Port &port()
{
    static Port the_port;
    return the_port;
}

GoodPort &good()
{
    static GoodPort the_port;
    return the_port;
}

mcGroupRecord group_record(uint32_t vlan, uint32_t group, bool mld)
{
    mcGroupRecord record = {};
    record.vlan = static_cast<uint16_t>(vlan);
    if (!mld) {
        record.ipv4Group = group;
        return record;
    }
    for (uint32_t i = 0; i < 4; ++i)
        record.ipv6GroupTail[i] = static_cast<uint8_t>(group >> (24 - 8 * i));
    return record;
}

int32_t create_task(uint32_t stack_bytes, palTaskEntry entry)
{
    pthread_attr_t attributes;
    pthread_t thread;
    pthread_attr_init(&attributes);
    const auto least = static_cast<std::size_t>(sysconf(_SC_THREAD_STACK_MIN)); // more than 51200 on some processors
    pthread_attr_setstacksize(&attributes, std::max<std::size_t>(stack_bytes, least));
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    const int refused = pthread_create(&thread, &attributes, run_entry, reinterpret_cast<void *>(entry));
    pthread_attr_destroy(&attributes);
    return refused == 0 ? 0 : -1;
}

void use_good_port()
{
    Port &calls = port();
    calls.igmp_data_init = [] { return 0; };
    calls.igmp_task_init = [](int32_t, int32_t) { return 0; };
    calls.register_igmp_send = keep(&GoodPort::igmp_send);
    calls.register_igmp_add = keep(&GoodPort::igmp_add);
    calls.register_igmp_remove = keep(&GoodPort::igmp_remove);
    calls.register_mld_send = keep(&GoodPort::mld_send);
    calls.register_mld_add = keep(&GoodPort::mld_add);
    calls.register_mld_remove = keep(&GoodPort::mld_remove);
    calls.igmp_time_now = [](void *time) {
        memset(time, 1, 8);
        return 0;
    };
    calls.igmp_pkt_recv = take_igmp;
    calls.mld_pkt_recv = take_mld;
    calls.igmp_mode_switch_globle = [](uint32_t mode) {
        good().mode = mode;
        return 0;
    };
    calls.igmp_vlan_add = [](uint32_t) { return 0; };
    calls.igmp_version_globle_set = [](uint32_t) { return 0; };
    calls.igmp_ssm_map_change = [](const uint32_t *) { return 0; };
    calls.igmp_oam_control_2 = [](uint32_t, uint32_t, uint32_t, const uint8_t *) { return 0; };
    calls.igmp_if_add_auth_group_cfg = [](uint32_t, uintptr_t, uintptr_t) { return 0; };
    calls.auth_group_delete_all_api = [] { return 0; };
    calls.igmp_gather_grp_info = gather_groups;
    calls.igmp_if_gather_if_status = gather_counters;
    calls.L2_multicast_init = [] { return 0; };
    calls.L2_multicast_read_msg = read_frame;
    calls.L2_multicast_send_msg = [](const uint8_t *, uint32_t, uint32_t) { return 0; };
    calls.L2_multicast_set_port_iptv_entry = [](int32_t, const uint8_t *, uint32_t) { return 0; };
    calls.L2_multicast_remove_port_iptv_entry = [](int32_t, const uint8_t *, uint32_t) { return 0; };
    calls.l2_multicast_set_flood = [](uint32_t, uint32_t) { return 0; };
    calls.pal_task_create = [](uint32_t *id, const char *, uint32_t stack_bytes, palTaskEntry entry) {
        *id = 1;
        return create_task(stack_bytes, entry);
    };
    calls.get_mac_addr = [](const char *, uint8_t *mac, uint32_t) {
        static constexpr uint8_t kMac[6] = {0x02, 0, 0, 0, 0, 1};
        memcpy(mac, kMac, sizeof(kMac));
        return 0;
    };
    calls.vx_ploam_onuid_get = [](uint8_t *id) {
        *id = 5;
        return 0;
    };
    calls.vx_hal_nni_upmode_get = [](uint32_t *mode) {
        *mode = 1;
        return 0;
    };
    good().members.clear();
    good().frames.clear();
    good().mode = 1;
}

} // namespace mcadapt::test

// --- The platform calls

using mcadapt::test::good;
using mcadapt::test::port;

int32_t igmp_data_init() { return port().igmp_data_init(); }
int32_t mld_data_init() { return 0; }
int32_t igmp_task_init(int32_t priority, int32_t argument) { return port().igmp_task_init(priority, argument); }
int32_t mld_task_init(int32_t) { return 0; }
int32_t igmp_vlan_del_all() { return 0; }
int32_t igmp_register_switch_send_pkt(mcSendPacketCallback send) { return port().register_igmp_send(send); }
int32_t igmp_register_switch_add_table(mcForwardingCallback add) { return port().register_igmp_add(add); }
int32_t igmp_register_switch_del_table(mcForwardingCallback remove) { return port().register_igmp_remove(remove); }
int32_t igmp_port_add_all_vlan(uint32_t) { return 0; }
int32_t mld_register_switch_send_pkt(mcSendPacketCallback send) { return port().register_mld_send(send); }
int32_t mld_register_switch_add_table(mcForwardingCallback add) { return port().register_mld_add(add); }
int32_t mld_register_switch_del_table(mcForwardingCallback remove) { return port().register_mld_remove(remove); }
int32_t mld_port_conf_set(uint32_t) { return 0; }
int32_t mld_proxy_snoop_set_globle(uint32_t) { return 0; }
int32_t igmp_globle_proxyip_set(uint32_t) { return 0; }
int32_t igmp_time_now(void *time) { return port().igmp_time_now(time); }
int32_t igmp_pkt_recv(const uint8_t *ip, uint32_t length, uint32_t from, uint32_t vlan, uint32_t)
{
    return port().igmp_pkt_recv(ip, length, from, vlan);
}
int32_t mld_pkt_recv(const uint8_t *ip, uint32_t length, uint32_t from, uint32_t vlan, uint16_t *scratch)
{
    return port().mld_pkt_recv(ip, length, from, vlan, scratch);
}
int32_t igmp_mode_switch_globle(uint32_t mode) { return port().igmp_mode_switch_globle(mode); }
int32_t igmp_default_vid_set(uint32_t) { return 0; }
int32_t mld_api_set_default_vlan(uint32_t) { return 0; }
int32_t igmp_para_globle_set(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) { return 0; }
int32_t igmp_para_lmqc_globle_set(uint32_t) { return 0; }
int32_t igmp_para_lmqi_globle_set(uint32_t) { return 0; }
int32_t igmp_para_qri_globle_set(uint32_t) { return 0; }
int32_t igmp_para_qi_globle_set(uint32_t) { return 0; }
int32_t igmp_para_rv_globle_set(uint32_t) { return 0; }
int32_t igmp_version_globle_set(uint32_t version) { return port().igmp_version_globle_set(version); }
int32_t igmp_ssm_ip_globle_set(uint32_t, uint32_t) { return 0; }
int32_t igmp_ssm_map_change(const uint32_t *words) { return port().igmp_ssm_map_change(words); }
int32_t igmp_fast_leave_enable_globle(uint32_t) { return 0; }
int32_t igmp_vlan_learning_set(uint32_t) { return 0; }
int32_t igmp_vlan_add(uint32_t vlan) { return port().igmp_vlan_add(vlan); }
int32_t igmp_vlan_del(uint32_t) { return 0; }
int32_t mld_pack_set_mc_vlan(uint32_t, uint32_t) { return 0; }
int32_t igmp_if_max_group_num_set(uint32_t, int32_t) { return 0; }
int32_t igmp_if_fast_leave_enable(uint32_t, uint32_t) { return 0; }
int32_t igmp_if_max_bandwidth_set(uint32_t, uint32_t, uint32_t, uint32_t) { return 0; }
int32_t igmp_set_multicast_control(uint32_t, uint32_t, uint32_t, uint32_t) { return 0; }
int32_t igmp_oam_control_2(uint32_t action, uint32_t user_port, uint32_t vlan, const uint8_t *address)
{
    return port().igmp_oam_control_2(action, user_port, vlan, address);
}
int32_t igmp_chile_grp_limit_func_set(uint32_t) { return 0; }
int32_t igmp_if_add_auth_group_cfg(uint32_t user_port, uintptr_t start, uintptr_t end, uint32_t, uint32_t)
{
    return port().igmp_if_add_auth_group_cfg(user_port, start, end);
}
int32_t igmp_if_delete_auth_group_cfg(uint32_t, uintptr_t, uintptr_t, uint32_t, uint32_t) { return 0; }
int32_t igmp_if_delete_auth_group_cfg_all(uint32_t, uint32_t) { return 0; }
int32_t igmp_if_grp_range_auth_enable(uint32_t, uint32_t) { return 0; }
int32_t add_to_auth_group_api(uint32_t, uint32_t) { return 0; }
int32_t auth_group_delete_api(uint32_t, uint32_t) { return 0; }
int32_t auth_group_delete_all_api() { return port().auth_group_delete_all_api(); }
int32_t igmp_del_all_group()
{
    mcadapt::test::drop_members([](const auto &membership) { return !std::get<2>(membership); });
    return 0;
}
int32_t igmp_del_all_group_except_static_group() { return 0; }
int32_t igmp_if_static_group_source_add(uint32_t, uint32_t vlan, uint32_t group, uint32_t, uint32_t)
{
    mcadapt::test::change({vlan, 0xEF010100 + group, false}, true);
    return 0;
}
int32_t igmp_if_static_group_source_del(uint32_t, uint32_t vlan, uint32_t group, uint32_t, uint32_t)
{
    mcadapt::test::change({vlan, 0xEF010100 + group, false}, false);
    return 0;
}
int32_t igmp_gather_grp_info(uint32_t of_port, uint32_t length, void *buffer)
{
    return port().igmp_gather_grp_info(of_port, length, buffer);
}
int32_t igmp_if_gather_if_status(uint32_t of_port, uint32_t length, void *buffer)
{
    return port().igmp_if_gather_if_status(of_port, length, buffer);
}
int32_t L2_multicast_init() { return port().L2_multicast_init(); }
int32_t L2_multicast_set_filter_method(uint32_t) { return 0; }
int32_t L2_multicast_read_msg(uint8_t *frame, uint8_t *from, uint32_t *length)
{
    return port().L2_multicast_read_msg(frame, from, length);
}
int32_t L2_multicast_send_msg(const uint8_t *frame, uint32_t to, uint32_t length, uint32_t, uint32_t)
{
    return port().L2_multicast_send_msg(frame, to, length);
}
int32_t L2_multicast_set_port_iptv_entry(int32_t to, const uint8_t *mac, uint32_t vlan)
{
    return port().L2_multicast_set_port_iptv_entry(to, mac, vlan);
}
int32_t L2_multicast_remove_port_iptv_entry(int32_t to, const uint8_t *mac, uint32_t vlan)
{
    return port().L2_multicast_remove_port_iptv_entry(to, mac, vlan);
}
int32_t l2_multicast_set_trap(uint32_t, uint32_t) { return 0; }
int32_t l2_multicast_set_flood(uint32_t selector, uint32_t enable)
{
    return port().l2_multicast_set_flood(selector, enable);
}
int32_t pal_task_create(uint32_t *id, const char *name, int32_t, uint32_t, uint32_t stack_bytes, palTaskEntry entry)
{
    return port().pal_task_create(id, name, stack_bytes, entry);
}
int32_t get_mac_addr(const char *setting, uint8_t *mac, uint32_t length)
{
    return port().get_mac_addr(setting, mac, length);
}
int32_t vx_ploam_onuid_get(uint8_t *id) { return port().vx_ploam_onuid_get(id); }
int32_t vx_hal_nni_upmode_get(uint32_t *mode) { return port().vx_hal_nni_upmode_get(mode); }
