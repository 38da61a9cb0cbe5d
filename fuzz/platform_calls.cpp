// The calls of platform/ and those of libc that the fuzzing platform takes over.
#include <sys/shm.h>

#include <cstring>
#include <utility>

#include "fuzz/platform.h"
#include "platform/protocol_engine.h"
#include "platform/switch_driver.h"
#include "platform/unit_services.h"

using mcadapt::fuzz::Platform;
using mcadapt::fuzz::platform;

namespace {

template <class... Numbers> int32_t call(const char *name, Numbers... numbers)
{
    (platform().digest().number(static_cast<uint64_t>(numbers)), ...);
    return platform().called(name);
}

int32_t entry_call(const char *name, int32_t port, const uint8_t *mac, uint32_t vlan)
{
    FUZZ_EXPECT(port >= INT16_MIN && port <= INT16_MAX && vlan <= UINT16_MAX, "an entry is one of 16-bit numbers");
    FUZZ_EXPECT((mac[0] == 0x01 && mac[1] == 0x00 && mac[2] == 0x5E && mac[3] < 0x80) ||
                    (mac[0] == 0x33 && mac[1] == 0x33),
                "an entry is that of a multicast address");
    platform().digest().bytes(mac, 6);
    return call(name, port, vlan);
}

// Ranges of the unit come as addresses of 4-byte groups, those of a port as the values: no address is that low.
int32_t range_call(const char *name, uint32_t port, uintptr_t start, uintptr_t end, uint32_t arg4, uint32_t vlan)
{
    constexpr uintptr_t kHighestValue = UINT32_MAX;
    const bool addresses = sizeof(uintptr_t) > 4 && start > kHighestValue && end > kHighestValue;
    if (addresses) {
        platform().digest().bytes(reinterpret_cast<const void *>(start), 4);
        platform().digest().bytes(reinterpret_cast<const void *>(end), 4);
    } else if (sizeof(uintptr_t) > 4) {
        FUZZ_EXPECT(start <= kHighestValue && end <= kHighestValue, "a range is of two addresses or of two values");
        return call(name, port, start, end, arg4, vlan);
    }
    return call(name, port, arg4, vlan);
}

} // namespace

#define CALL_0(name)                                                                                                   \
    int32_t name(void) { return call(#name); }
#define CALL_1(name)                                                                                                   \
    int32_t name(uint32_t a) { return call(#name, a); }
#define CALL_2(name)                                                                                                   \
    int32_t name(uint32_t a, uint32_t b) { return call(#name, a, b); }
#define CALL_4(name)                                                                                                   \
    int32_t name(uint32_t a, uint32_t b, uint32_t c, uint32_t d) { return call(#name, a, b, c, d); }
#define CALL_5(name)                                                                                                   \
    int32_t name(uint32_t a, uint32_t b, uint32_t c, uint32_t d, uint32_t e) { return call(#name, a, b, c, d, e); }
#define CALL_6(name)                                                                                                   \
    int32_t name(uint32_t a, uint32_t b, uint32_t c, uint32_t d, uint32_t e, uint32_t f)                               \
    {                                                                                                                  \
        return call(#name, a, b, c, d, e, f);                                                                          \
    }
#define CALL_CALLBACK(name, type)                                                                                      \
    int32_t name(type callback) { return call(#name, callback != nullptr); }

// --- The protocol engine

CALL_0(igmp_data_init)
CALL_0(mld_data_init)
int32_t igmp_task_init(int32_t priority, int32_t engineArg) { return call("igmp_task_init", priority, engineArg); }
int32_t mld_task_init(int32_t priority) { return call("mld_task_init", priority); }
CALL_0(igmp_vlan_del_all)
CALL_CALLBACK(igmp_register_switch_send_pkt, mcSendPacketCallback)
CALL_CALLBACK(igmp_register_switch_add_table, mcForwardingCallback)
CALL_CALLBACK(igmp_register_switch_del_table, mcForwardingCallback)
CALL_1(igmp_port_add_all_vlan)
CALL_CALLBACK(mld_register_switch_send_pkt, mcSendPacketCallback)
CALL_CALLBACK(mld_register_switch_add_table, mcForwardingCallback)
CALL_CALLBACK(mld_register_switch_del_table, mcForwardingCallback)
CALL_1(mld_port_conf_set)
CALL_1(mld_proxy_snoop_set_globle)
CALL_1(igmp_globle_proxyip_set)

// Called once in the life of a process: not of the run.
int32_t igmp_time_now(void *time)
{
    std::memset(time, 0x5A, 64);
    return 0;
}

int32_t igmp_pkt_recv(const uint8_t *ipHeader, uint32_t length, uint32_t port, uint32_t vlan, uint32_t options)
{
    FUZZ_EXPECT(options == 0, "there are no options");
    platform().engine_packet(false, ipHeader, length, port, vlan);
    return platform().called("igmp_pkt_recv");
}

int32_t mld_pkt_recv(const uint8_t *ipHeader, uint32_t length, uint32_t port, uint32_t vlan, uint16_t *scratch)
{
    platform().digest().number(*scratch);
    *scratch = 0xA5A5;
    platform().engine_packet(true, ipHeader, length, port, vlan);
    return platform().called("mld_pkt_recv");
}

CALL_1(igmp_mode_switch_globle)
CALL_1(igmp_default_vid_set)
CALL_1(mld_api_set_default_vlan)
CALL_6(igmp_para_globle_set)
CALL_1(igmp_para_lmqc_globle_set)
CALL_1(igmp_para_lmqi_globle_set)
CALL_1(igmp_para_qri_globle_set)
CALL_1(igmp_para_qi_globle_set)
CALL_1(igmp_para_rv_globle_set)
CALL_1(igmp_version_globle_set)
CALL_2(igmp_ssm_ip_globle_set)
int32_t igmp_ssm_map_change(const uint32_t *words)
{
    platform().digest().bytes(words, 5 * sizeof(*words));
    return platform().called("igmp_ssm_map_change");
}
CALL_1(igmp_fast_leave_enable_globle)
CALL_1(igmp_vlan_learning_set)
CALL_1(igmp_vlan_add)
CALL_1(igmp_vlan_del)
CALL_2(mld_pack_set_mc_vlan)
int32_t igmp_if_max_group_num_set(uint32_t port, int32_t limit)
{
    return call("igmp_if_max_group_num_set", port, limit);
}
CALL_2(igmp_if_fast_leave_enable)
CALL_4(igmp_if_max_bandwidth_set)
CALL_4(igmp_set_multicast_control)
int32_t igmp_oam_control_2(uint32_t action, uint32_t port, uint32_t vlan, const uint8_t *address)
{
    FUZZ_EXPECT(action != 2 && port <= UINT16_MAX && vlan <= UINT16_MAX, "a control entry is what its buffer can hold");
    platform().digest().bytes(address, 6);
    return call("igmp_oam_control_2", action, port, vlan);
}
CALL_1(igmp_chile_grp_limit_func_set)
int32_t igmp_if_add_auth_group_cfg(uint32_t port, uintptr_t start, uintptr_t end, uint32_t arg4, uint32_t vlan)
{
    return range_call("igmp_if_add_auth_group_cfg", port, start, end, arg4, vlan);
}
int32_t igmp_if_delete_auth_group_cfg(uint32_t port, uintptr_t start, uintptr_t end, uint32_t arg4, uint32_t vlan)
{
    return range_call("igmp_if_delete_auth_group_cfg", port, start, end, arg4, vlan);
}
CALL_2(igmp_if_delete_auth_group_cfg_all)
CALL_2(igmp_if_grp_range_auth_enable)
CALL_2(add_to_auth_group_api)
CALL_2(auth_group_delete_api)
CALL_0(auth_group_delete_all_api)
CALL_0(igmp_del_all_group)
CALL_0(igmp_del_all_group_except_static_group)
CALL_5(igmp_if_static_group_source_add)
CALL_5(igmp_if_static_group_source_del)

int32_t igmp_gather_grp_info(uint32_t port, uint32_t length, void *buffer)
{
    call("igmp_gather_grp_info", port);
    return platform().gather(length, buffer, MC_ENGINE_GROUP_BUFFER_BYTES);
}
int32_t igmp_if_gather_if_status(uint32_t port, uint32_t length, void *buffer)
{
    call("igmp_if_gather_if_status", port);
    return platform().gather(length, buffer, sizeof(ifStatus));
}

// --- The switch driver

CALL_0(L2_multicast_init)
CALL_1(L2_multicast_set_filter_method)
int32_t L2_multicast_read_msg(uint8_t *frame, uint8_t *port, uint32_t *length)
{
    return platform().read_message(frame, port, length);
}
int32_t L2_multicast_send_msg(const uint8_t *frame, uint32_t ifindex, uint32_t length, uint32_t source, uint32_t vlan)
{
    platform().sent(frame, ifindex, length, source, vlan);
    return platform().called("L2_multicast_send_msg");
}
int32_t L2_multicast_set_port_iptv_entry(int32_t port, const uint8_t *mac, uint32_t vlan)
{
    return entry_call("L2_multicast_set_port_iptv_entry", port, mac, vlan);
}
int32_t L2_multicast_remove_port_iptv_entry(int32_t port, const uint8_t *mac, uint32_t vlan)
{
    return entry_call("L2_multicast_remove_port_iptv_entry", port, mac, vlan);
}
CALL_2(l2_multicast_set_trap)
CALL_2(l2_multicast_set_flood)

// --- Unit services

int32_t pal_task_create(uint32_t *taskId, const char *name, int32_t priority, uint32_t options, uint32_t stackSize,
                        palTaskEntry entry)
{
    FUZZ_EXPECT(*taskId == 0 && entry == igmp_adapt_pkt_recv_task, "the task created is the receive task");
    *taskId = 1;
    platform().digest().text(name);
    return call("pal_task_create", priority, options, stackSize);
}
int32_t get_mac_addr(const char *setting, uint8_t *mac, uint32_t length)
{
    static constexpr uint8_t kMac[6] = {0x02, 0x19, 0xC6, 0x01, 0x02, 0x03};
    FUZZ_EXPECT(length == sizeof(kMac), "a MAC address has 6 bytes");
    platform().digest().text(setting);
    std::memcpy(mac, kMac, sizeof(kMac));
    return call("get_mac_addr");
}
int32_t vx_ploam_onuid_get(uint8_t *onuId)
{
    *onuId = platform().onu_id();
    return call("vx_ploam_onuid_get");
}
int32_t vx_hal_nni_upmode_get(uint32_t *upMode)
{
    *upMode = platform().epon() ? 0 : 1;
    return call("vx_hal_nni_upmode_get");
}

// --- libc

extern "C" {

int shmget(key_t key, size_t size, int flags) noexcept { return call("shmget", key, size, flags) == 0 ? 5 : -1; }

void *shmat(int id, const void *, int flags) noexcept
{
    const bool attached = call("shmat", id, flags) == 0 && platform().segment() != nullptr;
    return attached ? const_cast<uint8_t *>(platform().segment()) : reinterpret_cast<void *>(intptr_t{-1});
}

// The fuzzers are linked with --wrap=calloc,--wrap=sleep: libFuzzer has threads that sleep, too.
void *__real_calloc(size_t count, size_t size);
void *__wrap_calloc(size_t count, size_t size);
void *__wrap_calloc(size_t count, size_t size)
{
    return Platform::runs_here() ? platform().take_memory(count, size) : __real_calloc(count, size);
}

unsigned int __real_sleep(unsigned int seconds);
unsigned int __wrap_sleep(unsigned int seconds);
unsigned int __wrap_sleep(unsigned int seconds)
{
    if (!Platform::runs_here())
        return __real_sleep(seconds);
    call("sleep", seconds);
    platform().sleeps(seconds);
    return 0;
}
}
