#include "intake_kit.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::ValuesIn;

const std::string kOwnFrame = "Error! Igmp Packet comes from myself!\r\n";

class IgmpLayout : public IgmpIntake, public ::testing::WithParamInterface<Layout> {
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

TEST_P(IgmpLayout, a_frame_that_is_too_short_for_its_layout_is_refused)
{
    for (const uint32_t length : {0u, 13u, GetParam().least - 1}) {
        SCOPED_TRACE(length);
        const ByteVector frame = report();
        const ByteVector seen_part(frame.begin(), std::next(frame.begin(), static_cast<std::ptrdiff_t>(length)));
        EXPECT_EQ(take(frame, 0, length).result, -1);
        expect_log(frame, 0, length,
                   {trace("igmpL2PktProc is in! 0\n"), received(seen_part, 0),
                    trace("\r\nRcieve L2 data on interface 0(0):\r\n"),
                    error(GetParam().too_short + ("(" + number(length)) + ")\r\n")});
    }
}

TEST_P(IgmpLayout, a_frame_of_the_least_length_passes)
{
    const auto seen = take(report(), 0, GetParam().least);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_pkt_recv(46c0002000004000, 32, 0, 4088, 0)"));
}

TEST_P(IgmpLayout, a_frame_without_the_type_of_ipv4_is_refused)
{
    // Printed with the bytes the other way round: intended.
    const std::pair<uint16_t, int> kTypes[] = {{0x86DD, 56710}, {0x0806, 1544}, {0x0021, 8448}, {0x0008, 2048},
                                               {0x0801, 264},   {0x0900, 9},    {0xFFFF, 65535}};
    for (const auto &[type, printed] : kTypes) {
        SCOPED_TRACE(type);
        const ByteVector frame = report().ethertype(type);
        EXPECT_EQ(take(frame).result, -1);
        expect_log(frame, 0,
                   {trace("igmpL2PktProc is in! 0\n"), received(frame, 0),
                    trace("\r\nRcieve L2 data on interface 0(0):\r\n"),
                    error("Not ip pkt recieved,abord!(" + number(printed) + ")\r\n")});
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

class IgmpClassification : public IgmpIntake {
protected:
    /** The trace that names the frame VLAN. */
    std::string vlan_line(const ByteVector &frame)
    {
        mc_debug = MC_DEBUG_TRACE;
        return part(take(frame).output, "in searchRecieve", " usPort");
    }
};

TEST_F(IgmpClassification, the_low_12_bits_of_the_tag_are_the_frame_vlan)
{
    EXPECT_EQ(vlan_line(igmp_report("225.1.2.3").tag(0xFFFF)), "in searchRecievePktPortCfgVlan vlan_id = 4095");
    EXPECT_EQ(vlan_line(igmp_report("225.1.2.3").tag(0xF000)), "in searchRecievePktPortCfgVlan vlan_id = 0");
    EXPECT_EQ(vlan_line(igmp_report("225.1.2.3").tag(7).tag(0xFFFF)), "in searchRecievePktPortCfgVlan vlan_id = 4095");
}

TEST_F(IgmpClassification, a_control_field_of_8864_outweighs_a_second_tag)
{
    const ByteVector frame = igmp_report("225.1.2.3").tag(0x8864).tag(100);
    EXPECT_EQ(vlan_line(frame), "in searchRecievePktPortCfgVlan vlan_id = 2148");
    EXPECT_EQ(engine_offset(), 22);
    // Here the layout needs 22 bytes, where two tags need 18.
    mc_debug = MC_DEBUG_ERROR;
    EXPECT_EQ(take(frame, 0, 21).output,
              shown({error("Frame PPPoE header and vlan tag,but too short ,abord!<*_*>(21)\r\n")}, ~0u));
}

TEST_F(IgmpClassification, only_the_whole_control_field_of_8864_means_pppoe)
{
    for (const uint16_t control : std::initializer_list<uint16_t>{0x0864, 0x9864, 0x8865}) {
        SCOPED_TRACE(control);
        take(igmp_report("225.1.2.3").tag(control));
        EXPECT_EQ(engine_offset(), 18);
    }
}

TEST_F(IgmpClassification, the_inner_tag_does_not_mean_pppoe)
{
    EXPECT_EQ(vlan_line(igmp_report("225.1.2.3").tag(100).tag(0x8864)),
              "in searchRecievePktPortCfgVlan vlan_id = 2148");
    EXPECT_EQ(engine_offset(), 22);
}

TEST_F(IgmpClassification, only_tags_of_type_8100_are_tags)
{
    mc_debug = MC_DEBUG_ERROR;
    const auto refused_for = [&](const ByteVector &frame) { return part(take(frame).output, "Not ip", "\r"); };
    EXPECT_EQ(refused_for(igmp_report("225.1.2.3").tag(100, 0x88A8)), "Not ip pkt recieved,abord!(43144)");
    EXPECT_EQ(refused_for(igmp_report("225.1.2.3").tag(100).tag(100, 0x88A8)), "Not ip pkt recieved,abord!(43144)");
    EXPECT_EQ(refused_for(igmp_report("225.1.2.3").tag(100).tag(100).tag(100)), "Not ip pkt recieved,abord!(129)");
}

TEST_F(IgmpClassification, pppoe_behind_a_tag_of_another_vlan_is_not_ip)
{
    mc_debug = MC_DEBUG_ERROR;
    EXPECT_EQ(take(igmp_report("225.1.2.3").tag(100).pppoe()).output,
              shown({error("Not ip pkt recieved,abord!(25736)\r\n")}, ~0u)); // 0x8864
}

TEST_F(IgmpClassification, the_ppp_code_of_ipv4_is_not_accepted)
{
    // Intended: PPPoE frames too must carry the EtherType.
    mc_debug = MC_DEBUG_ERROR;
    const auto seen = take(igmp_report("225.1.2.3").pppoe(0x0021));
    EXPECT_EQ(seen.result, -1);
    EXPECT_EQ(seen.output, shown({error("Not ip pkt recieved,abord!(8448)\r\n")}, ~0u));
}

class IgmpAdmission : public IgmpIntake {};

TEST_F(IgmpAdmission, a_port_above_29_is_refused_with_0)
{
    for (const uint32_t port : {30u, 31u, 255u, 256u, 0x11Du, 0xFFFFFFFFu}) {
        SCOPED_TRACE(port);
        const std::string printed = number(static_cast<int32_t>(port));
        EXPECT_EQ(take(igmp_report("225.1.2.3"), port).result, 0);
        EXPECT_EQ(srcPortNum, port & 0xFF);
        expect_log(igmp_report("225.1.2.3"), port,
                   {trace("igmpL2PktProc is in! " + printed + "\n"), error("\n port(" + printed + ") is invalid!"),
                    error("The port no(" + printed + ") is illegal, abord!<*_*>\r\n")});
    }
}

TEST_F(IgmpAdmission, a_port_above_29_is_refused_even_when_it_is_configured)
{
    portState[0].portNo = 30;
    mc_debug = MC_DEBUG_ERROR;
    EXPECT_EQ(take(igmp_report("225.1.2.3"), 30).output,
              shown({error("\n port(30) is invalid!"), error("The port no(30) is illegal, abord!<*_*>\r\n")}, ~0u));
}

TEST_F(IgmpAdmission, a_port_that_is_not_configured_is_refused_with_0)
{
    for (const uint32_t port : {1u, 28u}) {
        SCOPED_TRACE(port);
        EXPECT_EQ(take(igmp_report("225.1.2.3"), port).result, 0);
        EXPECT_EQ(srcPortNum, port);
        expect_log(igmp_report("225.1.2.3"), port,
                   {trace("igmpL2PktProc is in! " + number(port) + "\n"),
                    error("\n [checkPortState]port(" + number(port) + ") is not find!"),
                    error("The port no(" + number(port) + ") is illegal, abord!<*_*>\r\n")});
    }
}

TEST_F(IgmpAdmission, ports_are_those_of_the_port_table)
{
    portState[0].portNo = 3;
    portState[1].portNo = 4;
    platform().answer("igmp_pkt_recv", 9);
    EXPECT_EQ(take(igmp_report("225.1.2.3"), 3).result, 9);
    EXPECT_EQ(take(igmp_report("225.1.2.3"), 4).result, 9);
    EXPECT_EQ(take(igmp_report("225.1.2.3"), 0).result, 0);
    EXPECT_EQ(take(igmp_report("225.1.2.3"), 29).result, 0);
    EXPECT_EQ(platform().count("igmp_pkt_recv"), 2u);
}

TEST_F(IgmpAdmission, a_frame_of_2000_bytes_is_taken_and_one_of_2001_refused_with_0)
{
    platform().answer("igmp_pkt_recv", 9);
    EXPECT_EQ(take(igmp_report("225.1.2.3").pad_to(2000)).result, 9);
    for (const uint32_t length : {2001u, 2048u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(length);
        EXPECT_EQ(take(igmp_report("225.1.2.3"), 0, length).result, 0);
        expect_log(
            igmp_report("225.1.2.3"), 0, length,
            {trace("igmpL2PktProc is in! 0\n"), error("usLength  = " + number(static_cast<int32_t>(length)) + "\r\n")});
    }
}

TEST_F(IgmpAdmission, the_port_is_tested_before_the_length)
{
    mc_debug = MC_DEBUG_ERROR;
    EXPECT_EQ(take(igmp_report("225.1.2.3"), 30, 2001).output,
              shown({error("\n port(30) is invalid!"), error("The port no(30) is illegal, abord!<*_*>\r\n")}, ~0u));
}

TEST_F(IgmpAdmission, a_frame_of_the_unit_is_refused_before_it_is_classified)
{
    const ByteVector own = igmp_report("225.1.2.3").from("02:19:c6:01:02:03");
    const ByteVector seen_part(own.begin(), own.begin() + 13); // as an untagged frame it would be too short
    EXPECT_EQ(take(own, 0, 13).result, -1);
    expect_log(own, 0, 13, {trace("igmpL2PktProc is in! 0\n"), received(seen_part, 0), error(kOwnFrame)});
}

TEST_F(IgmpAdmission, a_frame_is_the_units_own_by_all_six_bytes)
{
    platform().answer("igmp_pkt_recv", 9);
    for (std::size_t byte = 6; byte < 12; ++byte) {
        SCOPED_TRACE(byte);
        ByteVector frame = igmp_report("225.1.2.3").from("02:19:c6:01:02:03");
        frame[byte] ^= 1;
        EXPECT_EQ(take(frame).result, 9);
    }
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

class IgmpStores : public IgmpIntake {
    void SetUp() override
    {
        IgmpIntake::SetUp();
        srcPortNum = 77;
        ponVlan = 555;
    }
};

TEST_F(IgmpStores, a_taken_frame_leaves_its_port_and_vlan)
{
    EXPECT_THAT(take(igmp_report("225.1.2.3").vlan(100), 29).changed, ElementsAre("srcPortNum", "ponVlan"));
    EXPECT_EQ(srcPortNum, 29);
    EXPECT_EQ(ponVlan, 4088u);
}

TEST_F(IgmpStores, a_refused_frame_leaves_its_port_alone)
{
    const FrameBuilder report = igmp_report("225.1.2.3");
    EXPECT_THAT(take(report, 30).changed, ElementsAre("srcPortNum"));
    EXPECT_EQ(srcPortNum, 30);
    EXPECT_THAT(take(report, 0x105).changed, ElementsAre("srcPortNum"));
    EXPECT_EQ(srcPortNum, 5);
    EXPECT_THAT(take(report, 0, 2001).changed, ElementsAre("srcPortNum"));
    EXPECT_EQ(srcPortNum, 0);
    EXPECT_THAT(take(report, 29, 13).changed, ElementsAre("srcPortNum"));
    EXPECT_EQ(srcPortNum, 29);
    EXPECT_THAT(take(igmp_report("225.1.2.3").from("02:19:c6:01:02:03"), 0).changed, ElementsAre("srcPortNum"));
    EXPECT_THAT(take(igmp_report("225.1.2.3").ethertype(0x0806), 29).changed, ElementsAre("srcPortNum"));
}

TEST_F(IgmpStores, the_port_is_stored_as_received_under_a_test_uplink)
{
    testuplink = 0;
    take(igmp_report("225.1.2.3"), 0);
    EXPECT_EQ(srcPortNum, 0);
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
