// What the MLD intake alone does; what both intakes do stands in intake_test.cpp.
#include "intake_side.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ValuesIn;

class MldLayout : public MldIntake, public ::testing::WithParamInterface<FrameLayout> {
protected:
    static FrameBuilder report() { return GetParam().wrap(mld_report("ff1e::1")); }
    static std::string vlan() { return number(GetParam().vlan); }
};

TEST_P(MldLayout, a_whole_pass_from_a_user_port_writes_every_line_in_order)
{
    const ByteVector frame = report();
    const auto same_vlan = static_cast<uint16_t>(0xE000 | GetParam().vlan);
    put_rules(0, {rule(0)});
    put_mld_rules(0, {rule(0).in_up(0x2001).in_data(9), rule(0).in_up(same_vlan).in_data(0x73E8)});
    put_mld_template_vlans({7, 0x13E8});
    expect_log(frame, 0,
               {trace("mldL2PktProc is in! 0\n"), received(frame, 0),
                trace("\r\n[INFO]Rcieve L2 data on interface 0(0):\r\n"),
                trace("in mldsearchRecievePktPortCfgVlan vlan_id = " + vlan() + " usPort = 0 \r\n"),
                trace("recieve paket from downlink,vlan(" + vlan() + ") config search!,cfgvlan(1)\r\n"),
                trace("recieve paket from downlink,vlan(" + vlan() + ") config search!,cfgvlan(" + vlan() + ")\r\n"),
                trace("in searchVlan vlan = 1000\r\n"), trace("\n vlan is 5096"), trace("GROUP_VLAN = 1000\r\n"),
                trace("IP TOTAL LENGTH = 72\r\n"), trace("MLD MODE = 1\r\n"),
                called("mld_pkt_recv(6000000000200001, 72, 0, 1000, 13119)")});
    EXPECT_EQ(engine_offset(), GetParam().ip_offset);
    EXPECT_EQ(buffer->frame(), frame);
}

TEST_P(MldLayout, a_whole_pass_from_the_uplink_writes_every_line_in_order)
{
    const ByteVector frame = report();
    put_rules(1, {rule(29)});
    put_mld_rules(1, {rule(29).in_up(static_cast<uint16_t>(GetParam().vlan)).in_data(0x6190)});
    expect_log(frame, 29,
               {trace("mldL2PktProc is in! 29\n"), received(frame, 29),
                trace("\r\n[INFO]Rcieve L2 data on interface 29(29):\r\n"),
                trace("in mldsearchRecievePktPortCfgVlan vlan_id = " + vlan() + " usPort = 29 \r\n"),
                trace("recieve paket from uplink,no need vlan config search!\r\n"),
                trace("in searchVlan vlan = " + vlan() + "\r\n"), trace("no.1 port vlan config exsit, vlan = 400\r\n"),
                trace("GROUP_VLAN = 400\r\n"), trace("IP TOTAL LENGTH = 72\r\n"), trace("MLD MODE = 1\r\n"),
                called("mld_pkt_recv(6000000000200001, 72, 29, 400, 13119)")});
}

TEST_P(MldLayout, a_frame_without_the_type_of_ipv6_is_refused)
{
    const std::pair<uint16_t, int> kTypes[] = {{0x0800, 8},     {0x0806, 1544},  {0x0057, 22272}, {0xDD86, 34525},
                                               {0x86DC, 56454}, {0x87DD, 56711}, {0xFFFF, 65535}};
    for (const auto &[type, printed] : kTypes) {
        SCOPED_TRACE(type);
        expect_not_ip(report().ethertype(type), printed);
    }
}

TEST_P(MldLayout, the_next_header_does_not_matter)
{
    for (const uint8_t next_header : std::initializer_list<uint8_t>{0, 2, 6, 17, 58}) {
        SCOPED_TRACE(int{next_header});
        platform().answer("mld_pkt_recv", 9);
        EXPECT_EQ(take(report().packet_byte(6, next_header)).result, 9);
    }
}

TEST_P(MldLayout, the_tag_is_remembered)
{
    mldInitParams.outerTag = {0x1234, 77, 5};
    take(report());
    EXPECT_EQ(mldInitParams.outerTag, GetParam().tag);
}

TEST_P(MldLayout, the_tag_of_a_frame_that_is_then_refused_is_remembered_too)
{
    for (const uint32_t length : {0u, GetParam().least - 1}) {
        SCOPED_TRACE(length);
        mldInitParams.outerTag = {0x1234, 77, 5};
        take(report(), 0, length);
        EXPECT_EQ(mldInitParams.outerTag, GetParam().tag);
    }
    mldInitParams.outerTag = {0x1234, 77, 5};
    take(report().ethertype(0x0806));
    EXPECT_EQ(mldInitParams.outerTag, GetParam().tag);
}

TEST_P(MldLayout, the_tag_is_remembered_before_the_engine_is_called)
{
    mldTagRecord in_call{};
    platform().on("mld_pkt_recv", [&in_call] { in_call = mldInitParams.outerTag; });
    take(report());
    EXPECT_EQ(in_call, GetParam().tag);
}

INSTANTIATE_TEST_SUITE_P(Layouts, MldLayout, ValuesIn(kLayouts), layout_name);

using MldClassification = MldIntake;

TEST_F(MldClassification, the_tag_record_tells_the_vlan_and_of_a_single_tag_the_whole_control_field)
{
    // Intended: the control field as tpid, and no priority.
    take(mld_report("ff1e::1").tag(0xFFFF));
    EXPECT_EQ(mldInitParams.outerTag, (mldTagRecord{0xFFFF, 0xFFF, 0}));
    take(mld_report("ff1e::1").tag(7).tag(0xFFFF));
    EXPECT_EQ(mldInitParams.outerTag, (mldTagRecord{0x8100, 0xFFF, 0}));
    take(mld_report("ff1e::1").tag(0x8864).tag(100));
    EXPECT_EQ(mldInitParams.outerTag, (mldTagRecord{0x8864, 0x864, 0}));
}

TEST_F(MldClassification, an_ipv4_frame_is_not_ip_here)
{
    expect_not_ip(igmp_report("225.1.2.3").to("02:19:c6:01:02:03"), 8);
}

TEST_F(MldClassification, the_ppp_code_of_ipv6_is_not_accepted)
{
    // Intended: PPPoE frames too must carry the EtherType.
    expect_not_ip(mld_report("ff1e::1").pppoe(0x0057), 22272);
}

using MldAdmission = MldIntake;

TEST_F(MldAdmission, only_a_source_of_all_zero_is_the_units_own)
{
    // Intended: nothing fills the address that is compared, and the line is a trace.
    const ByteVector own = mld_report("ff1e::1").from("00:00:00:00:00:00");
    const ByteVector seen_part(own.begin(), own.begin() + 13);
    EXPECT_EQ(take(own, 0, 13).result, -1);
    expect_log(
        own, 0, 13,
        {trace("mldL2PktProc is in! 0\n"), received(seen_part, 0), trace("Error! mld Packet comes from myself!\r\n")});
}

TEST_F(MldAdmission, a_frame_from_the_units_address_is_taken)
{
    platform().answer("mld_pkt_recv", 9);
    EXPECT_EQ(take(mld_report("ff1e::1").from("02:19:c6:01:02:03")).result, 9);
}

TEST_F(MldAdmission, own_frames_are_those_of_mld_sys_mac_alone)
{
    const MacAddress own = mac("00:1b:21:aa:bb:cc");
    std::copy(own.begin(), own.end(), mld_sys_mac);
    platform().answer("mld_pkt_recv", 9);
    EXPECT_EQ(take(mld_report("ff1e::1").from("00:1b:21:aa:bb:cc")).result, -1);
    EXPECT_EQ(take(mld_report("ff1e::1").from("00:00:00:00:00:00")).result, 9);
}

using MldStores = MldIntake;

TEST_F(MldStores, a_taken_frame_leaves_its_port_its_vlan_and_its_tag)
{
    // The VLAN goes to the record that both families share, the port to the MLD side's own.
    EXPECT_THAT(take(mld_report("ff1e::1").tag(0x6064), 29).changed,
                ElementsAre("mldInitParams.mldSrcPortNum", "mldInitParams.outerTag.tpid", "mldInitParams.outerTag.vid",
                            "mldInitParams.outerTag.pri", "ponVlan"));
    EXPECT_EQ(mldInitParams.mldSrcPortNum, 29);
    EXPECT_EQ(ponVlan, 4088u);
}

TEST_F(MldStores, a_frame_refused_for_its_content_leaves_its_port_and_tag)
{
    EXPECT_THAT(take(mld_report("ff1e::1").ethertype(0x0806), 0).changed,
                ElementsAre("mldInitParams.mldSrcPortNum", "mldInitParams.outerTag.tpid", "mldInitParams.outerTag.vid",
                            "mldInitParams.outerTag.pri"));
    EXPECT_THAT(take(mld_report("ff1e::1"), 29, 13).changed, ElementsAre("mldInitParams.mldSrcPortNum"));
}

TEST_F(MldStores, both_intakes_write_the_one_pon_vlan)
{
    put_mld_rules(0, {rule(0).in_data(300)});
    take(mld_report("ff1e::1"));
    EXPECT_EQ(ponVlan, 300u);
    FrameBuffer igmp(igmp_report("225.1.2.3"));
    igmpL2PktProc(igmp.data(), igmp.length(), 0);
    EXPECT_EQ(ponVlan, 4088u);
}

class MldDump : public MldIntake {
protected:
    /** What is dumped of a frame of the unit's own with this many bytes. */
    std::string dump_of(uint32_t length)
    {
        mld_debug = MC_DEBUG_RX_DUMP;
        return take(mld_report("ff1e::1").from("00:00:00:00:00:00"), 29, length).output;
    }
};

TEST_F(MldDump, has_no_heading_and_breaks_after_sixteen_bytes_when_more_follow)
{
    EXPECT_EQ(dump_of(17), "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n"
                           "33 33 00 00 00 01 00 00 00 00 00 00 86 dd 60 00 \r\n00 "
                           "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n");
    EXPECT_EQ(dump_of(16), "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n"
                           "33 33 00 00 00 01 00 00 00 00 00 00 86 dd 60 00 "
                           "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n");
    EXPECT_EQ(dump_of(0), "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n"
                          "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n");
}

} // namespace
} // namespace mcadapt::test
