/**
 * @file
 * A port whose every call can be replaced: the platform calls go through a table, which holds a good port at first.
 */
#ifndef MCADAPT_TESTS_PORTCHECK_PORT_H
#define MCADAPT_TESTS_PORTCHECK_PORT_H

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <set>
#include <tuple>
#include <vector>

#include "platform/protocol_engine.h"
#include "platform/switch_driver.h"
#include "platform/unit_services.h"

namespace mcadapt::test {

struct FedFrame {
    std::vector<uint8_t> bytes;
    uint8_t port;
};

/** The calls whose behaviour matters to the check; each can be replaced by a broken one. */
struct Port {
    std::function<int32_t()> igmp_data_init;
    std::function<int32_t(int32_t, int32_t)> igmp_task_init;
    std::function<int32_t(mcSendPacketCallback)> register_igmp_send;
    std::function<int32_t(mcForwardingCallback)> register_igmp_add;
    std::function<int32_t(mcForwardingCallback)> register_igmp_remove;
    std::function<int32_t(mcSendPacketCallback)> register_mld_send;
    std::function<int32_t(mcForwardingCallback)> register_mld_add;
    std::function<int32_t(mcForwardingCallback)> register_mld_remove;
    std::function<int32_t(void *)> igmp_time_now;
    std::function<int32_t(const uint8_t *, uint32_t, uint32_t, uint32_t)> igmp_pkt_recv;
    std::function<int32_t(const uint8_t *, uint32_t, uint32_t, uint32_t, uint16_t *)> mld_pkt_recv;
    std::function<int32_t(uint32_t)> igmp_mode_switch_globle;
    std::function<int32_t(uint32_t)> igmp_vlan_add;
    std::function<int32_t(uint32_t)> igmp_version_globle_set;
    std::function<int32_t(const uint32_t *)> igmp_ssm_map_change;
    std::function<int32_t(uint32_t, uint32_t, uint32_t, const uint8_t *)> igmp_oam_control_2;
    std::function<int32_t(uint32_t, uintptr_t, uintptr_t)> igmp_if_add_auth_group_cfg;
    std::function<int32_t()> auth_group_delete_all_api;
    std::function<int32_t(uint32_t, uint32_t, void *)> igmp_gather_grp_info;
    std::function<int32_t(uint32_t, uint32_t, void *)> igmp_if_gather_if_status;
    std::function<int32_t()> L2_multicast_init;
    std::function<int32_t(uint8_t *, uint8_t *, uint32_t *)> L2_multicast_read_msg;
    std::function<int32_t(const uint8_t *, uint32_t, uint32_t)> L2_multicast_send_msg;
    std::function<int32_t(int32_t, const uint8_t *, uint32_t)> L2_multicast_set_port_iptv_entry;
    std::function<int32_t(int32_t, const uint8_t *, uint32_t)> L2_multicast_remove_port_iptv_entry;
    std::function<int32_t(uint32_t, uint32_t)> l2_multicast_set_flood;
    std::function<int32_t(uint32_t *, const char *, uint32_t, palTaskEntry)> pal_task_create;
    std::function<int32_t(const char *, uint8_t *, uint32_t)> get_mac_addr;
    std::function<int32_t(uint8_t *)> vx_ploam_onuid_get;
    std::function<int32_t(uint32_t *)> vx_hal_nni_upmode_get;
};

/** What the good port keeps. */
struct GoodPort {
    /** VLAN, group as in the record, and whether it is one of MLD; always of port 0. */
    using Membership = std::tuple<uint32_t, uint32_t, bool>;

    std::mutex lock; // never held during a callback
    std::set<Membership> members;
    std::atomic<uint32_t> mode{1};
    std::deque<FedFrame> frames;
    mcSendPacketCallback igmp_send = nullptr;
    mcForwardingCallback igmp_add = nullptr;
    mcForwardingCallback igmp_remove = nullptr;
    mcSendPacketCallback mld_send = nullptr;
    mcForwardingCallback mld_add = nullptr;
    mcForwardingCallback mld_remove = nullptr;
};

/** The port of this process, and what its good calls keep. */
Port &port();
GoodPort &good();

/** Puts every call back to the good one. */
void use_good_port();

/** A record as the engine hands it to the forwarding callbacks. */
mcGroupRecord group_record(uint32_t vlan, uint32_t group, bool mld);

/** Creates a task with a stack of its own size. */
int32_t create_task(uint32_t stack_bytes, palTaskEntry entry);

} // namespace mcadapt::test

#endif
