// What the IGMP intake alone does; what both intakes do stands in intake_test.cpp.
#include "intake_side.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ValuesIn;

const std::string kOwnFrame = "Error! Igmp Packet comes from myself!\r\n";

class IgmpLayout : public IgmpIntake, public ::testing::WithParamInterface<FrameLayout> {
protected:
    static FrameBuilder report() { return GetParam().wrap(igmp_report("225.1.2.3")); }
    static std::string vlan() { return number(GetParam().vlan); }
};

TEST_P(IgmpLayout, a_whole_pass_from_a_user_port_writes_every_line_in_order)
{
    const ByteVector frame = report();
    const auto same_vlan = static_cast<uint16_t>(0xE000 | GetParam().vlan);
    put_rules(0, {rule(0).in_up(0x2001).in_data(9), rule(0).in_up(same_vlan).in_data(0x73E8)});
    put_template_vlans({7, 0x13E8});
    expect_log(
        frame, 0,
        {trace("igmpL2PktProc is in! 0\n"), received(frame, 0), trace("\r\nRcieve L2 data on interface 0(0):\r\n"),
         trace("in searchRecievePktPortCfgVlan vlan_id = " + vlan() + " usPort = 0 \r\n"),
         trace("recieve paket from downlink,vlan(" + vlan() + ") config search!,cfgvlan(1)\r\n"),
         trace("recieve paket from downlink,vlan(" + vlan() + ") config search!,cfgvlan(" + vlan() + ")\r\n"),
         trace("in searchVlan vlan = 1000\r\n"), trace("\n vlan is 5096"), trace("out searchVlan vlan = 1000\r\n"),
         trace("GROUP_VLAN = 1000\r\n"), trace("IP TOTAL LENGTH = 32\r\n"), trace("PROTOL TYPE = 2"),
         trace("IGMP MODE = 2\r\n"), called("igmp_pkt_recv(46c0002000004000, 32, 0, 1000, 0)")});
    EXPECT_EQ(engine_offset(), GetParam().ip_offset);
    EXPECT_EQ(buffer->frame(), frame);
}

TEST_P(IgmpLayout, a_whole_pass_from_the_uplink_writes_every_line_in_order)
{
    const ByteVector frame = report();
    put_rules(0, {rule(29).in_up(static_cast<uint16_t>(GetParam().vlan)).in_data(9)});
    put_rules(1, {rule(29).in_data(0x6190)});
    expect_log(frame, 29,
               {trace("igmpL2PktProc is in! 29\n"), received(frame, 29),
                trace("\r\nRcieve L2 data on interface 29(29):\r\n"),
                trace("in searchRecievePktPortCfgVlan vlan_id = " + vlan() + " usPort = 29 \r\n"),
                trace("recieve paket from uplink,no need vlan config search!\r\n"),
                trace("in searchVlan vlan = " + vlan() + "\r\n"), trace("out searchVlan vlan = 65535\r\n"),
                trace("EPON searchVlan vlan = 400\r\n"), trace("no.1 port vlan config exsit, vlan = 400\r\n"),
                trace("GROUP_VLAN = 400\r\n"), trace("IP TOTAL LENGTH = 32\r\n"), trace("PROTOL TYPE = 2"),
                trace("IGMP MODE = 2\r\n"), trace("The port no is (65535)\r\n"),
                called("igmp_pkt_recv(46c0002000004000, 32, 65535, 400, 0)")});
}

TEST_P(IgmpLayout, a_frame_without_the_type_of_ipv4_is_refused)
{
    const std::pair<uint16_t, int> kTypes[] = {{0x86DD, 56710}, {0x0806, 1544}, {0x0021, 8448}, {0x0008, 2048},
                                               {0x0801, 264},   {0x0900, 9},    {0xFFFF, 65535}};
    for (const auto &[type, printed] : kTypes) {
        SCOPED_TRACE(type);
        expect_not_ip(report().ethertype(type), printed);
    }
}

TEST_P(IgmpLayout, a_packet_of_another_protocol_is_refused_with_the_line_of_an_own_frame)
{
    for (const uint8_t protocol : std::initializer_list<uint8_t>{0, 1, 3, 17, 255}) {
        SCOPED_TRACE(int{protocol});
        ponVlan = 0;
        const ByteVector frame = report().packet_byte(9, protocol);
        const auto seen = take(frame);
        EXPECT_EQ(seen.result, -1);
        EXPECT_EQ(ponVlan, 4088u);
        expect_log(frame, 0,
                   {trace("igmpL2PktProc is in! 0\n"), received(frame, 0),
                    trace("\r\nRcieve L2 data on interface 0(0):\r\n"),
                    trace("in searchRecievePktPortCfgVlan vlan_id = " + vlan() + " usPort = 0 \r\n"),
                    trace("in searchVlan vlan = 0\r\n"), trace("out searchVlan vlan = 65535\r\n"),
                    trace("EPON searchVlan vlan = 4095\r\n"), trace("GROUP_VLAN = 4088\r\n"),
                    trace("IP TOTAL LENGTH = 32\r\n"), trace("PROTOL TYPE = " + number(protocol)), error(kOwnFrame)});
    }
}

INSTANTIATE_TEST_SUITE_P(Layouts, IgmpLayout, ValuesIn(kLayouts), layout_name);

using IgmpClassification = IgmpIntake;

TEST_F(IgmpClassification, the_ppp_code_of_ipv4_is_not_accepted)
{
    // Intended: PPPoE frames too must carry the EtherType.
    expect_not_ip(igmp_report("225.1.2.3").pppoe(0x0021), 8448);
}

using IgmpAdmission = IgmpIntake;

TEST_F(IgmpAdmission, a_frame_of_the_unit_is_refused_before_it_is_classified)
{
    const ByteVector own = igmp_report("225.1.2.3").from("02:19:c6:01:02:03");
    const ByteVector seen_part(own.begin(), own.begin() + 13); // as an untagged frame it would be too short
    EXPECT_EQ(take(own, 0, 13).result, -1);
    expect_log(own, 0, 13, {trace("igmpL2PktProc is in! 0\n"), received(seen_part, 0), error(kOwnFrame)});
}

TEST_F(IgmpAdmission, own_frames_are_those_of_sys_mac_alone)
{
    const MacAddress other = mac("00:1b:21:aa:bb:cc");
    std::copy(other.begin(), other.end(), mld_sys_mac);
    platform().answer("igmp_pkt_recv", 9);
    EXPECT_EQ(take(igmp_report("225.1.2.3").from("00:1b:21:aa:bb:cc")).result, 9);
    EXPECT_EQ(take(igmp_report("225.1.2.3").to("02:19:c6:01:02:03")).result, 9);
    EXPECT_EQ(take(igmp_report("225.1.2.3").from("00:00:00:00:00:00")).result, 9);
    std::fill(std::begin(sys_mac), std::end(sys_mac), uint8_t{0});
    EXPECT_EQ(take(igmp_report("225.1.2.3").from("00:00:00:00:00:00")).result, -1);
}

using IgmpStores = IgmpIntake;

TEST_F(IgmpStores, a_taken_frame_leaves_its_port_and_vlan)
{
    EXPECT_THAT(take(igmp_report("225.1.2.3").vlan(100), 29).changed, ElementsAre("srcPortNum", "ponVlan"));
    EXPECT_EQ(srcPortNum, 29);
    EXPECT_EQ(ponVlan, 4088u);
}

TEST_F(IgmpStores, a_frame_refused_for_its_content_leaves_its_port_alone)
{
    EXPECT_THAT(take(igmp_report("225.1.2.3"), 29, 13).changed, ElementsAre("srcPortNum"));
    EXPECT_EQ(srcPortNum, 29);
    EXPECT_THAT(take(igmp_report("225.1.2.3").ethertype(0x0806), 0).changed, ElementsAre("srcPortNum"));
}

class IgmpDump : public IgmpIntake {
protected:
    /** What is dumped of a frame of the unit's own with this many bytes. */
    std::string dump_of(uint32_t length)
    {
        mc_debug = MC_DEBUG_RX_DUMP;
        return take(igmp_report("225.1.2.3").from("02:19:c6:01:02:03"), 29, length).output;
    }
};

TEST_F(IgmpDump, breaks_after_sixteen_bytes_when_more_follow)
{
    EXPECT_EQ(dump_of(33), "[igmpL2PktProc]: Pkt recv from port 29, len 33.\r\n"
                           "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n"
                           "01 00 5e 01 02 03 02 19 c6 01 02 03 08 00 46 c0 \r\n"
                           "00 20 00 00 40 00 01 02 f7 0a 0a 00 00 09 e1 01 \r\n"
                           "02 \r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n");
    EXPECT_EQ(dump_of(16), "[igmpL2PktProc]: Pkt recv from port 29, len 16.\r\n"
                           "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n"
                           "01 00 5e 01 02 03 02 19 c6 01 02 03 08 00 46 c0 "
                           "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n");
    EXPECT_EQ(dump_of(17), "[igmpL2PktProc]: Pkt recv from port 29, len 17.\r\n"
                           "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n"
                           "01 00 5e 01 02 03 02 19 c6 01 02 03 08 00 46 c0 \r\n00 "
                           "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n");
    EXPECT_EQ(dump_of(0), "[igmpL2PktProc]: Pkt recv from port 29, len 0.\r\n"
                          "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n"
                          "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n");
}

} // namespace
} // namespace mcadapt::test
