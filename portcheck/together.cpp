/**
 * @file
 * Three threads at once, as in a unit at work: the library holds no lock during a call, so the port is its own guard.
 */
#include <initializer_list>
#include <pthread.h>

#include "portcheck/packets.h"
#include "portcheck/steps.h"
#include "portcheck/task.h"
#include "portcheck/watch.h"

namespace mcadapt::portcheck {

namespace {

constexpr int kRounds = 50;

// A channel of this thread alone: were it the receive task's, each would remove entries that the other had set.
constexpr uint8_t kSendersMac[6] = {0x01, 0x00, 0x5E, 0x01, 0x02, 0x04};

// Results do not matter here: what is refused in the turmoil was refused before, or depends on who came first.

void receive_round(Message join, Message leave)
{
    for (const Message message : {join, leave}) {
        const Frame frame = frame_of(message);
        const uint8_t *ip = frame.bytes + Frame::kIpOffset;
        uint16_t scratch[16] = {};
        if (message == Message::kIgmpReport || message == Message::kIgmpLeave)
            CALL(igmp_pkt_recv)(ip, frame.ip_length(), kUserPort, kVlan, 0u);
        else
            CALL(mld_pkt_recv)(ip, frame.ip_length(), kUserPort, kVlan, scratch);
        CALL(L2_multicast_send_msg)(frame.bytes, kUplinkPort, frame.length, kUserPort, kVlan);
    }
}

void receive()
{
    for (int i = 0; i < kRounds; ++i) {
        receive_round(Message::kIgmpReport, Message::kIgmpLeave);
        receive_round(Message::kMldReport, Message::kMldDone);
    }
}

void *send(void *)
{
    name_thread("on a sending thread of the check");
    const Frame frame = frame_of(Message::kIgmpReport);
    for (int i = 0; i < kRounds; ++i) {
        CALL(L2_multicast_send_msg)(frame.bytes, kUserPort, frame.length, kUplinkPort, kVlan);
        CALL(L2_multicast_set_port_iptv_entry)(0, kSendersMac, kVlan);
        CALL(L2_multicast_remove_port_iptv_entry)(0, kSendersMac, kVlan);
    }
    return nullptr;
}

void manage_meanwhile()
{
    static uint8_t answer[1 << 16]; // more than is offered: what a port writes beyond was told before
    for (int i = 0; i < kRounds; ++i) {
        CALL(igmp_vlan_add)(kVlan);
        CALL(mld_pack_set_mc_vlan)(1u, kVlan);
        CALL(igmp_gather_grp_info)(255u, uint32_t{MC_ENGINE_GROUP_BUFFER_BYTES}, answer);
        CALL(igmp_mode_switch_globle)(1u);
        CALL(igmp_vlan_del)(kVlan);
        CALL(mld_pack_set_mc_vlan)(0u, kVlan);
    }
}

} // namespace

void run_together()
{
    pthread_t sender;
    start_on_receive_task(receive);
    pthread_create(&sender, nullptr, send, nullptr);
    manage_meanwhile();
    pthread_join(sender, nullptr);
    wait_for_receive_task();
    CALL(igmp_vlan_del_all)();
    CALL(igmp_del_all_group)();
}

} // namespace mcadapt::portcheck
