/**
 * @file
 * A subscriber joins a group, is asked whether it is still there, and leaves: from the frame that the switch traps to
 * the forwarding entry, once for each family.
 *
 * The subscriber's VLAN is 10. On the network side protocol frames are in VLAN 200, sent up with priority 3, and the
 * multicast streams are in VLAN 1000.
 */
#include <cstdlib>

#include "support/frames.h"
#include "support/library_test.h"
#include "support/matchers.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;

class TypicalReport : public IntakeTest {
protected:
    void SetUp() override
    {
        IntakeTest::SetUp();
        start_up();
        install_rule();
        everything_logged();
        platform().forget_calls();
    }

    void TearDown() override
    {
        if (mc_status_global != &status_block)
            std::free(mc_status_global);
    }

    static Observed<bool> run_task()
    {
        return observe([] { return run_receive_task(); });
    }

    /** The membership that the engine makes of a report in the rule's multicast VLAN. */
    static mcGroupRecord membership()
    {
        mcGroupRecord group{};
        group.ipv4Group = 0xE1010203; // 225.1.2.3
        group.ipv6GroupTail[3] = 1;   // ff1e::1
        group.vlan = 1000;
        group.port = 0;
        return group;
    }

    /** The packet that the engine was given last. */
    static ByteVector engine_packet()
    {
        const EnginePacket &packet = platform().engine_packets.back();
        return {packet.start, packet.start + packet.length};
    }

private:
    static void start_up()
    {
        const auto seen = observe([] { return mc_igmp_init(10, 0); });
        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(seen.output, "");
        EXPECT_EQ(seen.calls.back(), "pal_task_create(0, \"tMCPktRecv\", 11, 0, 51200, igmp_adapt_pkt_recv_task)");
        EXPECT_EQ(hex(sys_mac, 6), "0219c6010203");
    }

    static void install_rule()
    {
        const vlanCfgNode wanted = rule(0).modes(2).up(10, 0x60C8).down(200, 10).data(1000, 10);
        const auto seen = observe([&] { return std_omci_set_multicast_vlan_onu(&wanted); });
        EXPECT_EQ(seen.result, 0);
        EXPECT_THAT(seen.calls,
                    ElementsAre("vx_hal_nni_upmode_get()", "igmp_vlan_add(1000)", "mld_pack_set_mc_vlan(1, 1000)"));
    }
};

TEST_F(TypicalReport, igmp)
{
    const std::string report = "01005e010203 001b21aabbcc 8100a00a 0800"               // priority 5, VLAN 10
                               "46c00020 00004000 0102f70a 0a000009 e1010203 94040000" // 10.0.0.9 to 225.1.2.3
                               "160006fb e1010203";                                    // version 2 report
    ASSERT_EQ(hex(igmp_report("225.1.2.3").vlan(10, 5)), hex(from_hex(report)));

    // The engine takes the membership up and asks for its forwarding entry while it still has the report.
    ByteVector packet;
    platform().on("igmp_pkt_recv", [&packet] {
        packet = engine_packet();
        const mcGroupRecord group = membership();
        EXPECT_EQ(platform().igmp_callbacks.add(&group), 0);
    });
    platform().deliver(from_hex(report), 0);
    EXPECT_EQ(run_task().trace,
              "<L2_multicast_read_msg()>\n"
              "\r\n[MC_DBG_DBG]: igmpL2PktProc is in! 0\n"
              "\r\n[MC_DBG_DBG]: \r\nRcieve L2 data on interface 0(0):\r\n"
              "\r\n[MC_DBG_DBG]: in searchRecievePktPortCfgVlan vlan_id = 10 usPort = 0 \r\n"
              "\r\n[MC_DBG_DBG]: recieve paket from downlink,vlan(10) config search!,cfgvlan(10)\r\n"
              "\r\n[MC_DBG_DBG]: in searchVlan vlan = 1000\r\n"
              "\r\n[MC_DBG_DBG]: \n vlan is 1000"
              "\r\n[MC_DBG_DBG]: out searchVlan vlan = 1000\r\n"
              "\r\n[MC_DBG_DBG]: GROUP_VLAN = 1000\r\n"
              "\r\n[MC_DBG_DBG]: IP TOTAL LENGTH = 32\r\n"
              "\r\n[MC_DBG_DBG]: PROTOL TYPE = 2"
              "\r\n[MC_DBG_DBG]: IGMP MODE = 1\r\n"
              "<igmp_pkt_recv(46c0002000004000, 32, 0, 1000, 0)>\n"
              "\r\n[MC_DBG_DBG]: gmac address   : 01:00:5e:01:02:03"
              "\r\n[MC_DBG_DBG]: igmp_add_grp portNo = 0 vlan = 1000\r\n"
              "<L2_multicast_set_port_iptv_entry(0, 01:00:5e:01:02:03, 1000)>\n"
              "\r\n[MC_DBG_DBG]: IGMP MODE is Snooping\r\n"
              "\r\n[MC_DBG_DBG]: Enter igmp_snoop_handle, rPort = 0, rport_sta = 2\r\n"
              "\r\n[MC_DBG_DBG]: searchUpSnoopPortCfgVlan from downlink,vlan = 10 config search!,cfgvlan = 10\r\n"
              "\r\n[MC_DBG_DBG]: searchUpSnoopPortCfgVlan 24776\r\n"
              "\r\n[MC_DBG_DBG]: l2_igmp_send_pkt  ifindex = 29 len = 50 srcPortNum = 0 ponVlan = 1000\r\n"
              "<L2_multicast_send_msg(01005e010203001b21aabbcc810060c80800"
              "46c00020000040000102f70a0a000009e101020394040000160006fbe1010203, 29, 50, 0, 1000)>\n"
              "\r\n[MC_DBG_ERR]: invalid port !!\r\n"
              "<L2_multicast_read_msg()>\n"
              "<sleep(1)>\n");
    EXPECT_EQ(hex(packet), "46c00020000040000102f70a0a000009e101020394040000160006fbe1010203");

    // The engine, on a task of its own, asks the subscriber: the rule turns its VLAN into the subscriber's.
    const ByteVector query = igmp_query().packet();
    mcTagDescriptor tag = {0x8100, 1000, 0};
    EXPECT_EQ(observe([&] { return platform().igmp_callbacks.send(query.data(), 0, &tag, 32); }).trace,
              "\r\n[MC_DBG_DBG]: The port no is (0)\r\n"
              "\r\n[MC_DBG_DBG]: checkPortState 0"
              "\r\n[MC_DBG_CFG]: searchSendPktPortCfgVlan ,vlan(1000)"
              "\r\n[MC_DBG_DBG]: searchSendPktPortCfgVlan from downlink,vlan(1000) config search!,cfgvlan(10)\r\n"
              "\r\n[MC_DBG_DBG]: [send_pkt_igmp]: searchSendPktPortCfgVlan num 1\r\n"
              "\r\n[MC_DBG_DBG]: l2_igmp_send_pkt  ifindex = 0 len = 50 srcPortNum = 0 ponVlan = 1000\r\n"
              "<L2_multicast_send_msg(01005e0000010219c60102038100000a0800"
              "46c00020000040000102fa150a000001e0000001940400001164ee9b00000000, 0, 50, 0, 1000)>\n");
    EXPECT_EQ(tag.vid, 10);

    // And reports the group to the network itself.
    tag = {0x8100, 1000, 5};
    const ByteVector own_report = igmp_report("225.1.2.3").packet();
    EXPECT_EQ(observe([&] { return platform().igmp_callbacks.send(own_report.data(), 0xFFFF, &tag, 32); }).trace,
              "\r\n[MC_DBG_DBG]: The port no is (29)\r\n"
              "\r\n[MC_DBG_DBG]: checkPortState 29"
              "\r\n[MC_DBG_DBG]: l2_igmp_send_pkt  ifindex = 29 len = 50 srcPortNum = 0 ponVlan = 1000\r\n"
              "<L2_multicast_send_msg(01005e0102030219c60102038100a3e80800"
              "46c00020000040000102f70a0a000009e101020394040000160006fbe1010203, 29, 50, 0, 1000)>\n");

    // Nobody answered.
    const mcGroupRecord group = membership();
    EXPECT_EQ(observe([&] { return platform().igmp_callbacks.remove(&group); }).trace,
              "\r\n[MC_DBG_DBG]: gmac address   : 01:00:5e:01:02:03"
              "\r\n[MC_DBG_CFG]: igmp_del_grp portNo = 0 vlan = 1000\r\n"
              "<L2_multicast_remove_port_iptv_entry(0, 01:00:5e:01:02:03, 1000)>\n");
}

TEST_F(TypicalReport, mld)
{
    const std::string report = "333300000001 001b21aabbcc 8100a00a 86dd"                // priority 5, VLAN 10
                               "60000000 00200001"                                      // hop-by-hop header next
                               "fe800000 00000000 00000000 00000009"                    // fe80::9
                               "ff1e0000 00000000 00000000 00000001"                    // to ff1e::1
                               "3a000502 00000100"                                      // router alert
                               "83007fe3 00000000 ff1e0000 00000000 00000000 00000001"; // version 1 report
    const std::string ipv6_report = hex(from_hex(report)).substr(2 * 18);
    ASSERT_EQ(hex(mld_report("ff1e::1").vlan(10, 5)), hex(from_hex(report)));

    // The engine takes the membership up and asks for its forwarding entry while it still has the report.
    ByteVector packet;
    platform().on("mld_pkt_recv", [&packet] {
        packet = engine_packet();
        const mcGroupRecord group = membership();
        EXPECT_EQ(platform().mld_callbacks.add(&group), 0);
    });
    platform().deliver(from_hex(report), 0);
    EXPECT_EQ(run_task().trace,
              "<L2_multicast_read_msg()>\n"
              "\r\n[MC_MLD_DBG_DBG]: mldL2PktProc is in! 0\n"
              "\r\n[MC_MLD_DBG_DBG]: \r\n[INFO]Rcieve L2 data on interface 0(0):\r\n"
              "\r\n[MC_MLD_DBG_DBG]: in mldsearchRecievePktPortCfgVlan vlan_id = 10 usPort = 0 \r\n"
              "\r\n[MC_MLD_DBG_DBG]: recieve paket from downlink,vlan(10) config search!,cfgvlan(10)\r\n"
              "\r\n[MC_MLD_DBG_DBG]: in searchVlan vlan = 1000\r\n"
              "\r\n[MC_MLD_DBG_DBG]: \n vlan is 1000"
              "\r\n[MC_MLD_DBG_DBG]: GROUP_VLAN = 1000\r\n"
              "\r\n[MC_MLD_DBG_DBG]: IP TOTAL LENGTH = 72\r\n"
              "\r\n[MC_MLD_DBG_DBG]: MLD MODE = 2\r\n"
              "<mld_pkt_recv(6000000000200001, 72, 0, 1000, 13119)>\n"
              "\r\n[MC_MLD_DBG_DBG]: gmac address   : 33:33:00:00:00:01"
              "\r\n[MC_MLD_DBG_DBG]: mld_add_grp portNo = 0 vlan = 1000\r\n"
              "<L2_multicast_set_port_iptv_entry(0, 33:33:00:00:00:01, 1000)>\n"
              "\r\n[MC_MLD_DBG_DBG]: mld MODE is Snooping\r\n"
              "\r\n[MC_MLD_DBG_DBG]: Enter mld_snoop_handle, rPort = 0, rport_sta = 2\r\n"
              "\r\n[MC_MLD_DBG_DBG]: searchUpSnoopPortCfgVlan from downlink,vlan = 10 config search!,cfgvlan = 10\r\n"
              "\r\n[MC_MLD_DBG_DBG]: mldsearchUpSnoopPortCfgVlan 24776\r\n"
              "\r\n[MC_MLD_DBG_DBG]: mld_l2_igmp_send_pkt  ifindex = 29 len = 90 srcPortNum = 0 ponVlan = 1000\r\n"
              "<L2_multicast_send_msg(333300000001001b21aabbcc810060c886dd" +
                  ipv6_report +
                  ", 29, 90, 0, 1000)>\n"
                  "<L2_multicast_read_msg()>\n"
                  "<sleep(1)>\n");
    EXPECT_EQ(hex(packet), ipv6_report);

    // The engine asks the subscriber. Its MLD packets carry the tag of the frame sent last, which is of no rule's
    // multicast VLAN here, and come from an address that nothing fills; both are intended.
    const ByteVector query = mld_query().packet();
    EXPECT_EQ(observe([&] { return platform().mld_callbacks.send(query.data(), 0, nullptr, 72); }).trace,
              "\r\n[MC_MLD_DBG_DBG]: The port no is (0)\r\n"
              "\r\n[MC_MLD_DBG_DBG]: checkPortState 0"
              "\r\n[MC_MLD_DBG_DBG]: searchSendPktPortCfgVlan ,vlan(200)"
              "\r\n[MC_MLD_DBG_DBG]: searchSendPktPortCfgVlan from downlink,vlan(200) config search!,cfgvlan(10)\r\n"
              "\r\n[MC_MLD_DBG_DBG]: [send_pkt_igmp]: searchSendPktPortCfgVlan num 0\r\n"
              "\r\n[MC_MLD_DBG_DBG]: mld_l2_igmp_send_pkt  ifindex = 0 len = 90 srcPortNum = 0 ponVlan = 1000\r\n"
              "<L2_multicast_send_msg(333300000000000000000000810060c886dd"
              "6000000000200001fe800000000000000000000000000001ff0200000000000000000000000000013a00050200000100"
              "820059172710000000000000000000000000000000000000, 0, 90, 0, 1000)>\n");

    // And reports the group to the network itself.
    const ByteVector own_report = mld_report("ff1e::1").packet();
    EXPECT_EQ(observe([&] { return platform().mld_callbacks.send(own_report.data(), 0xFFFF, nullptr, 72); }).trace,
              "\r\n[MC_MLD_DBG_DBG]: The port no is (29)\r\n"
              "\r\n[MC_MLD_DBG_DBG]: checkPortState 29"
              "\r\n[MC_MLD_DBG_DBG]: mld_l2_igmp_send_pkt  ifindex = 29 len = 90 srcPortNum = 0 ponVlan = 1000\r\n"
              "<L2_multicast_send_msg(333300000000000000000000810060c886dd" +
                  ipv6_report + ", 29, 90, 0, 1000)>\n");

    // Nobody answered.
    const mcGroupRecord group = membership();
    EXPECT_EQ(observe([&] { return platform().mld_callbacks.remove(&group); }).trace,
              "\r\n[MC_MLD_DBG_DBG]: gmac address   : 33:33:00:00:00:01"
              "\r\n[MC_MLD_DBG_DBG]: mld_del_grp portNo = 0 vlan = 1000\r\n"
              "<L2_multicast_remove_port_iptv_entry(0, 33:33:00:00:00:01, 1000)>\n");
}

} // namespace
} // namespace mcadapt::test
