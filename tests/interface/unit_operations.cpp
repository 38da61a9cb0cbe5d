/** Start-up, frames and callbacks. */
#include "interface/operation_table.h"
#include "support/frames.h"
#include "support/library_test.h"

namespace mcadapt::test {

namespace {

/** Calls an operation that has no result, and tells one that shows what it did. */
template <class Act, class Tell> Operation::Call telling(Act act, Tell tell)
{
    return [=] {
        act();
        return static_cast<int32_t>(tell());
    };
}

/** Counts the frames that an operation sends. */
template <class Act> Operation::Call sends(Act act)
{
    return telling(act, [] { return platform().sent.size(); });
}

int32_t igmp_intake(const ByteVector &frame)
{
    FrameBuffer buffer(frame);
    return igmpL2PktProc(buffer.data(), buffer.length(), 0);
}

int32_t mld_intake(const ByteVector &frame)
{
    FrameBuffer buffer(frame);
    return mldL2PktProc(buffer.data(), buffer.length(), 0);
}

using Handler = void (*)(uint8_t *frame, uint32_t port, uint32_t length, uint32_t vlan);

Operation::Call handles(Handler handler, const ByteVector &frame, uint32_t port)
{
    return sends([=] {
        FrameBuffer buffer(frame);
        handler(buffer.data(), port, buffer.length(), 100);
    });
}

Operation handler(const char *name, Handler handler, const ByteVector &frame)
{
    return Operation(name, handles(handler, frame, 0))
        .returns(1)
        .refuses(handles(handler, frame, 30), 0)
        .asks("L2_multicast_send_msg", 1);
}

Operation::Call sends_packet(mcSendPacketCallback send, const ByteVector &packet, uint32_t port)
{
    return sends([=] {
        mcTagDescriptor tag = {0x8100, 100, 0};
        send(packet.data(), port, &tag, static_cast<uint32_t>(packet.size()));
    });
}

mcGroupRecord group_record()
{
    mcGroupRecord group = {};
    group.ipv4Group = 0xE1010203;
    group.vlan = 100;
    return group;
}

Operation::Call with_group(int32_t (*callback)(const mcGroupRecord *))
{
    return [=] {
        const mcGroupRecord group = group_record();
        return callback(&group);
    };
}

} // namespace

std::vector<Operation> unit_operations()
{
    return {
        Operation("mc_igmp_init", [] { return mc_igmp_init(10, 0); })
            .asks("igmp_task_init", kNotLookedAt)
            .asks("L2_multicast_init", kNotLookedAt)
            .asks("pal_task_create", kNotLookedAt),
        Operation("mc_mld_init", [] { return mc_mld_init(); }),
        Operation("adapt_init", [] { return adapt_init(); })
            .asks("L2_multicast_init", kWhole)
            .asks("L2_multicast_set_filter_method", kWhole)
            .asks("igmp_globle_proxyip_set", kByte)
            .asks("get_mac_addr", kNotLookedAt),
        Operation("igmp_adapt_init", [] { return igmp_adapt_init(); })
            .asks("igmp_register_switch_send_pkt", kNotLookedAt)
            .asks("igmp_register_switch_add_table", kNotLookedAt)
            .asks("igmp_register_switch_del_table", kNotLookedAt),
        Operation("igmp_adapt_port_conf_set", [] { return igmp_adapt_port_conf_set(); })
            .asks("igmp_port_add_all_vlan", -1),
        Operation("mld_adapt_init", [] { return mld_adapt_init(); })
            .asks("mld_register_switch_send_pkt", kNotLookedAt)
            .asks("mld_register_switch_add_table", kNotLookedAt)
            .asks("mld_register_switch_del_table", kNotLookedAt)
            .asks("mld_proxy_snoop_set_globle", kWhole),
        Operation("mld_adapt_port_conf_set", [] { return mld_adapt_port_conf_set(); }).asks("mld_port_conf_set", -1),
        Operation("initIgmpGlobleParmeter",
                  telling([] { initIgmpGlobleParmeter(); }, [] { return globle_parm.query_interval; }))
            .returns(125)
            .asks("igmp_para_globle_set", 125)
            .asks("igmp_default_vid_set", 125),
        Operation("initmldGlobleParmeter",
                  telling([] { initmldGlobleParmeter(); }, [] { return mldInitParams.query_interval; }))
            .returns(125),
        Operation("mldinitPortStateNode",
                  telling([] { mldinitPortStateNode(); }, [] { return mldInitParams.mldPortState[1].portNo; }))
            .returns(29),
        Operation("mldinitVlancfgNode",
                  telling([] { mldinitVlancfgNode(); }, [] { return mldInitParams.mldPortVlanCfg[1][15].portNO; }))
            .returns(0xFF),
        Operation("igmp_adapt_task_init", [] { return igmp_adapt_task_init(11); }).asks("pal_task_create", -1),
        Operation("igmp_adapt_pkt_recv_task",
                  [] {
                      platform().deliver(igmp_report("225.1.2.3"), 0);
                      const bool asleep = run_receive_task();
                      return static_cast<int32_t>(asleep ? platform().count("igmp_pkt_recv") : 0);
                  })
            .returns(1)
            .asks("igmp_pkt_recv", 1),

        Operation("igmp_add_grp", with_group(igmp_add_grp)).asks("L2_multicast_set_port_iptv_entry", 1),
        Operation("igmp_del_grp", with_group(igmp_del_grp)).asks("L2_multicast_remove_port_iptv_entry", kWhole),
        Operation("mld_add_grp", with_group(mld_add_grp)).asks("L2_multicast_set_port_iptv_entry", kWhole),
        Operation("mld_del_grp", with_group(mld_del_grp)).asks("L2_multicast_remove_port_iptv_entry", kWhole),
        Operation("igmp_set_table_return", [] { return igmp_set_table_return(7); }).returns(1),
        Operation("igmp_adapt_set_test_uplink", [] { return igmp_adapt_set_test_uplink(5); }),
        Operation("igmp_adapt_set_sig_vlan", [] { return igmp_adapt_set_sig_vlan(0, 100, 0, 200); })
            .refuses([] { return igmp_adapt_set_sig_vlan(2, 100, 0, 200); }, 0),
        Operation("igmp_adapt_set_pkt_process_disable", telling([] { igmp_adapt_set_pkt_process_disable(1); },
                                                                [] { return globle_parm.pkt_process_disable; }))
            .returns(1),
    };
}

std::vector<Operation> packet_operations()
{
    const ByteVector igmp = igmp_report("225.1.2.3").vlan(100);
    const ByteVector mld = mld_report("ff1e::1").vlan(100);
    const ByteVector ipv4_packet = igmp_report("225.1.2.3").packet();
    const ByteVector ipv6_packet = mld_report("ff1e::1").packet();
    return {
        Operation("igmpL2PktProc", [=] { return igmp_intake(igmp); })
            .refuses([=] { return igmp_intake(igmp_report("225.1.2.3").ethertype(0x0806)); })
            .asks("igmp_pkt_recv", kByte),
        Operation("mldL2PktProc", [=] { return mld_intake(mld); })
            .refuses([=] { return mld_intake(mld_report("ff1e::1").ethertype(0x0806)); })
            .asks("mld_pkt_recv", kWhole),
        handler("igmp_adapt_snoop_handle", igmp_adapt_snoop_handle, igmp),
        handler("mld_adapt_snoop_handle", mld_adapt_snoop_handle, mld),
        handler("igmp_adapt_control_handle", igmp_adapt_control_handle, igmp),
        handler("mld_adapt_control_handle", mld_adapt_control_handle, mld),
        Operation("l2_igmp_send_pkt", [=] { return l2_igmp_send_pkt(igmp.data(), 46, 29); })
            .asks("L2_multicast_send_msg", kWhole),
        Operation("mld_l2_igmp_send_pkt", [=] { return mld_l2_igmp_send_pkt(mld.data(), 46, 29); })
            .asks("L2_multicast_send_msg", kWhole),
        Operation("send_pkt_igmp", sends_packet(send_pkt_igmp, ipv4_packet, 0xFFFF))
            .returns(1)
            .refuses(sends_packet(send_pkt_igmp, ipv4_packet, 30), 0)
            .asks("L2_multicast_send_msg", 1),
        Operation("send_pkt_mld", sends_packet(send_pkt_mld, ipv6_packet, 0xFFFF))
            .returns(1)
            .refuses(sends_packet(send_pkt_mld, ipv6_packet, 30), 0)
            .asks("L2_multicast_send_msg", 1),
    };
}

} // namespace mcadapt::test
