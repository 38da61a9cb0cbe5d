#include "intake_kit.h"

namespace mcadapt::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

/** The lines by which the multicast VLAN of a frame is found, and the VLAN that the engine gets. */
class IgmpVlanSearch : public IgmpIntake {
protected:
    std::string search_log(const ByteVector &frame, uint32_t port = 0, uint32_t mask = MC_DEBUG_TRACE)
    {
        mc_debug = mask;
        return part(take(frame, port).output, prefix("in searchRecieve"), prefix("GROUP_VLAN"));
    }

    /** The VLAN found, which must be the same in all three places that get it. */
    uint32_t vlan_of(const ByteVector &frame, uint32_t port = 0)
    {
        ponVlan = 0xEEEEEEEE;
        mc_debug = MC_DEBUG_TRACE;
        const auto seen = take(frame, port);
        const uint32_t vlan = platform().engine_packets.back().vlan;
        EXPECT_EQ(ponVlan, vlan);
        EXPECT_THAT(seen.output, HasSubstr(trace("GROUP_VLAN = " + number(vlan) + "\r\n").text));
        return vlan;
    }

    std::string lines(const std::vector<std::string> &texts) const
    {
        std::string all;
        for (const std::string &text : texts)
            all += trace(text).text;
        return all;
    }

    static FrameBuilder report(uint16_t vlan) { return igmp_report("225.1.2.3").vlan(vlan); }

private:
    static std::string prefix(const std::string &text) { return "\r\n[MC_DBG_DBG]: " + text; }
};

// --- The search key, by the rules

TEST_F(IgmpVlanSearch, the_first_rule_of_the_frames_vlan_gives_its_data_vlan)
{
    put_rules(0, {rule(0).in_up(99).in_data(300), rule(0).in_up(0x3064).in_data(0xF191),
                  rule(0).in_up(100).in_data(402), rule(0).in_up(101).in_data(403)});
    EXPECT_EQ(search_log(report(100)),
              lines({"in searchRecievePktPortCfgVlan vlan_id = 100 usPort = 0 \r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(99)\r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(100)\r\n",
                     "in searchVlan vlan = 401\r\n", "out searchVlan vlan = 65535\r\n",
                     "EPON searchVlan vlan = 300\r\n", "no.1 port vlan config exsit, vlan = 300\r\n"}));
}

TEST_F(IgmpVlanSearch, no_rule_of_the_frames_vlan_gives_key_0)
{
    put_rules(0, {rule(0).in_up(99).in_data(300), rule(0).in_up(98).in_data(301)});
    EXPECT_EQ(search_log(report(100)),
              lines({"in searchRecievePktPortCfgVlan vlan_id = 100 usPort = 0 \r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(99)\r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(98)\r\n",
                     "in searchVlan vlan = 0\r\n", "out searchVlan vlan = 65535\r\n", "EPON searchVlan vlan = 300\r\n",
                     "no.1 port vlan config exsit, vlan = 300\r\n"}));
}

TEST_F(IgmpVlanSearch, only_counted_rules_are_walked)
{
    put_rules(0, {rule(0).in_up(99).in_data(300), rule(0).in_up(100).in_data(301)});
    setVlanCfgNumber[0] = 1;
    EXPECT_EQ(search_log(report(100)),
              lines({"in searchRecievePktPortCfgVlan vlan_id = 100 usPort = 0 \r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(99)\r\n",
                     "in searchVlan vlan = 0\r\n", "out searchVlan vlan = 65535\r\n", "EPON searchVlan vlan = 300\r\n",
                     "no.1 port vlan config exsit, vlan = 300\r\n"}));
    setVlanCfgNumber[0] = 0;
    EXPECT_THAT(search_log(report(99)), Not(HasSubstr("config search!,cfgvlan")));
}

TEST_F(IgmpVlanSearch, all_sixteen_rules_are_walked_and_no_more)
{
    put_rules(0, std::vector<vlanCfgNode>(16, rule(0).in_up(99).in_data(300)));
    PortVlanCfg[0][15].in_up_vlan = 100;
    PortVlanCfg[0][15].in_data_vlan = 301;
    put_template_vlans({301, 302});
    EXPECT_EQ(vlan_of(report(100)), 301u);

    // The row behind is not reached, whatever the count says.
    put_rules(1, {rule(0).in_up(101).in_data(302)});
    setVlanCfgNumber[0] = 17;
    EXPECT_EQ(vlan_of(report(101)), 300u);
}

TEST_F(IgmpVlanSearch, a_row_whose_first_rule_is_of_another_port_is_not_walked)
{
    // The ports of the later rules do not matter.
    put_rules(0, {rule(1).in_up(100).in_data(300), rule(0).in_up(100).in_data(301)});
    EXPECT_EQ(search_log(report(100)),
              lines({"in searchRecievePktPortCfgVlan vlan_id = 100 usPort = 0 \r\n", "in searchVlan vlan = 0\r\n",
                     "out searchVlan vlan = 65535\r\n", "EPON searchVlan vlan = 300\r\n",
                     "no.1 port vlan config exsit, vlan = 300\r\n"}));
    put_rules(0, {rule(0).in_up(99).in_data(300), rule(7).in_up(100).in_data(301)});
    put_template_vlans({301});
    EXPECT_EQ(vlan_of(report(100)), 301u);
}

TEST_F(IgmpVlanSearch, only_the_first_row_is_searched)
{
    // Intended: a port of the second row finds nothing there, although the MLD side does.
    put_rules(0, {rule(1).in_up(100).in_data(300)});
    put_rules(1, {rule(0).in_up(100).in_data(301)});
    put_template_vlans({300, 301});
    EXPECT_THAT(search_log(report(100)), Not(HasSubstr("config search!,cfgvlan")));
    EXPECT_EQ(vlan_of(report(100)), 300u); // of the port's first rule, not found by VLAN

    portState[1] = {5, MC_PORT_TYPE_USER};
    put_rules(1, {rule(5).in_up(100).in_data(301)});
    EXPECT_THAT(search_log(report(100), 5), Not(HasSubstr("config search!,cfgvlan")));
}

TEST_F(IgmpVlanSearch, the_first_row_is_searched_with_the_count_of_the_ports_own)
{
    // Intended: logic port 1 walks the rules of row 0, as many as it has itself.
    portState[1] = {5, MC_PORT_TYPE_USER};
    put_rules(0, {rule(5).in_up(99).in_data(300), rule(5).in_up(100).in_data(301), rule(5).in_up(101).in_data(302)});
    put_rules(1, {rule(5).in_up(101).in_data(400), rule(5).in_up(102).in_data(401)});
    EXPECT_EQ(search_log(report(101), 5),
              lines({"in searchRecievePktPortCfgVlan vlan_id = 101 usPort = 5 \r\n",
                     "recieve paket from downlink,vlan(101) config search!,cfgvlan(99)\r\n",
                     "recieve paket from downlink,vlan(101) config search!,cfgvlan(100)\r\n",
                     "in searchVlan vlan = 0\r\n", "out searchVlan vlan = 65535\r\n", "EPON searchVlan vlan = 400\r\n",
                     "no.1 port vlan config exsit, vlan = 400\r\n"}));
    setVlanCfgNumber[1] = 0;
    EXPECT_THAT(search_log(report(101), 5), Not(HasSubstr("config search!,cfgvlan")));
}

TEST_F(IgmpVlanSearch, a_port_that_two_logic_ports_share_is_the_first_ones)
{
    portState[0] = {5, MC_PORT_TYPE_USER};
    portState[1] = {5, MC_PORT_TYPE_UPLINK};
    put_rules(0, {rule(5).in_up(100).in_data(300)});
    EXPECT_THAT(search_log(report(100), 5), HasSubstr("config search!,cfgvlan(100)"));
}

TEST_F(IgmpVlanSearch, the_uplink_searches_with_the_frames_own_vlan)
{
    put_rules(0, {rule(29).in_up(100).in_data(300)});
    setVlanCfgNumber[1] = 1;
    put_template_vlans({100});
    EXPECT_EQ(search_log(report(100), 29),
              lines({"in searchRecievePktPortCfgVlan vlan_id = 100 usPort = 29 \r\n",
                     "recieve paket from uplink,no need vlan config search!\r\n", "in searchVlan vlan = 100\r\n",
                     "\n vlan is 100", "out searchVlan vlan = 100\r\n"}));
}

TEST_F(IgmpVlanSearch, the_uplink_is_told_by_its_type_1)
{
    for (const uint32_t type : {0u, 1u, 2u, 3u}) {
        SCOPED_TRACE(type);
        portState[0].portType = type;
        const std::string log = search_log(report(100));
        if (type == 1)
            EXPECT_THAT(log, HasSubstr("recieve paket from uplink,no need vlan config search!\r\n"));
        else
            EXPECT_THAT(log, Not(HasSubstr("uplink")));
    }
}

TEST_F(IgmpVlanSearch, an_effective_port_that_is_not_configured_searches_with_key_0)
{
    portState[1].portNo = 5;
    testuplink = 0;
    put_rules(0, {rule(29).in_up(100).in_data(300)});
    put_template_vlans({100, 0x3000});
    EXPECT_EQ(
        search_log(report(100), 0, MC_DEBUG_TRACE | MC_DEBUG_ERROR),
        shown({trace("in searchRecievePktPortCfgVlan vlan_id = 100 usPort = 29 \r\n"),
               trace("\n [checkPortState]port(29) is not find!"), error("\n [checkPortState]port(29) is not find!"),
               error("port number is invalid!\r\n"), trace("in searchVlan vlan = 0\r\n"), trace("\n vlan is 12288"),
               trace("out searchVlan vlan = 0\r\n")},
              ~0u));
    EXPECT_EQ(vlan_of(report(100)), 0u);
}

TEST_F(IgmpVlanSearch, the_lines_of_a_port_that_is_not_configured_have_their_gates)
{
    portState[1].portNo = 5;
    testuplink = 0;
    expect_log(report(100).cut_to(50), 0,
               {trace("igmpL2PktProc is in! 0\n"), received(report(100).cut_to(50), 0),
                trace("\r\nRcieve L2 data on interface 29(29):\r\n"),
                trace("in searchRecievePktPortCfgVlan vlan_id = 100 usPort = 29 \r\n"),
                trace("\n [checkPortState]port(29) is not find!"), error("\n [checkPortState]port(29) is not find!"),
                error("port number is invalid!\r\n"), trace("in searchVlan vlan = 0\r\n"),
                trace("out searchVlan vlan = 65535\r\n"), trace("EPON searchVlan vlan = 4095\r\n"),
                trace("GROUP_VLAN = 4088\r\n"), trace("IP TOTAL LENGTH = 32\r\n"), trace("PROTOL TYPE = 2"),
                trace("IGMP MODE = 2\r\n"), trace("The port no is (65535)\r\n"),
                called("igmp_pkt_recv(46c0002000004000, 32, 65535, 4088, 0)")});
}

TEST_F(IgmpVlanSearch, a_cleared_rule_is_of_vlan_4095)
{
    put_rules(0, {rule(0), rule(0).in_up(4095).in_data(300)});
    EXPECT_THAT(search_log(report(4095)), HasSubstr("in searchVlan vlan = 4095\r\n"));
}

// --- The template VLAN list

TEST_F(IgmpVlanSearch, the_first_template_vlan_with_the_keys_low_12_bits_is_the_result)
{
    put_template_vlans({101, 0x5064, 0x2064, 100});
    EXPECT_EQ(search_log(report(100), 29),
              lines({"in searchRecievePktPortCfgVlan vlan_id = 100 usPort = 29 \r\n",
                     "recieve paket from uplink,no need vlan config search!\r\n", "in searchVlan vlan = 100\r\n",
                     "\n vlan is 20580", "out searchVlan vlan = 100\r\n"}));
    EXPECT_EQ(vlan_of(report(100), 29), 100u);
}

TEST_F(IgmpVlanSearch, key_0_finds_a_template_vlan_too)
{
    put_rules(0, {rule(0).in_up(99).in_data(300)});
    put_template_vlans({7, 0x1000});
    EXPECT_EQ(vlan_of(report(100)), 0u);
}

TEST_F(IgmpVlanSearch, only_counted_template_vlans_are_searched)
{
    put_template_vlans({7, 100});
    EXPECT_EQ(vlan_of(report(100), 29), 100u);
    setVlanNumber = 1;
    EXPECT_EQ(vlan_of(report(100), 29), 4088u);
    setVlanNumber = 0;
    EXPECT_EQ(search_log(report(7), 29),
              lines({"in searchRecievePktPortCfgVlan vlan_id = 7 usPort = 29 \r\n",
                     "recieve paket from uplink,no need vlan config search!\r\n", "in searchVlan vlan = 7\r\n",
                     "out searchVlan vlan = 65535\r\n", "EPON searchVlan vlan = 4095\r\n"}));
}

TEST_F(IgmpVlanSearch, all_sixteen_template_vlans_are_searched_and_no_more)
{
    put_template_vlans({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 100});
    EXPECT_EQ(vlan_of(report(100), 29), 100u);
    setVlanNumber = 1000;
    EXPECT_EQ(vlan_of(report(17), 29), 4088u);
}

TEST_F(IgmpVlanSearch, the_list_searched_is_PortVlan)
{
    globle_parm.TemplateVlan[0] = 100;
    mldInitParams.mldVlanList[0] = 100;
    mldInitParams.setVlanNumber = 1;
    PortVlan[0] = 200;
    setVlanNumber = 1;
    EXPECT_EQ(vlan_of(report(100), 29), 4088u);
    EXPECT_EQ(vlan_of(report(200), 29), 200u);
}

// --- Fallbacks

TEST_F(IgmpVlanSearch, falls_back_to_the_data_vlan_of_the_ports_first_rule)
{
    // The count of rules does not matter, nor the rule's port.
    put_rules(0, {rule(7).in_data(0x2190), rule(0).in_data(500)});
    put_rules(1, {rule(7).in_data(0x31F4)});
    setVlanCfgNumber[0] = setVlanCfgNumber[1] = 0;
    EXPECT_EQ(vlan_of(report(100), 0), 400u);
    EXPECT_EQ(vlan_of(report(100), 29), 500u);
    PortVlanCfg[0][0].in_data_vlan = 0;
    EXPECT_EQ(vlan_of(report(100), 0), 0u);
}

TEST_F(IgmpVlanSearch, without_a_first_rule_the_default_vlan_is_the_global_one)
{
    defaultVlan = 0x5064;
    globle_parm.defaultVlan = 222;
    mldInitParams.defaultVlan = 333;
    EXPECT_EQ(vlan_of(report(100)), 0x5064u); // whole
    PortVlanCfg[0][0].in_data_vlan = 0x1FFF;  // no VLAN by its low 12 bits either
    EXPECT_EQ(vlan_of(report(100)), 0x5064u);
    EXPECT_THAT(search_log(report(100)),
                ::testing::EndsWith(lines({"out searchVlan vlan = 65535\r\n", "EPON searchVlan vlan = 4095\r\n"})));
}

TEST_F(IgmpVlanSearch, the_default_vlan_is_4088_at_start) { EXPECT_EQ(vlan_of(igmp_report("225.1.2.3")), 4088u); }

TEST_F(IgmpVlanSearch, under_a_test_uplink_the_fallback_row_is_that_of_the_port_as_received)
{
    // The key, by contrast, is searched for as from the uplink.
    testuplink = 0;
    put_rules(0, {rule(0).in_up(100).in_data(300)});
    put_rules(1, {rule(29).in_up(100).in_data(400)});
    EXPECT_EQ(search_log(report(100), 0),
              lines({"in searchRecievePktPortCfgVlan vlan_id = 100 usPort = 29 \r\n",
                     "recieve paket from uplink,no need vlan config search!\r\n", "in searchVlan vlan = 100\r\n",
                     "out searchVlan vlan = 65535\r\n", "EPON searchVlan vlan = 300\r\n",
                     "no.1 port vlan config exsit, vlan = 300\r\n"}));
}

TEST_F(IgmpVlanSearch, under_a_test_uplink_the_rules_are_searched_for_the_effective_port)
{
    testuplink = 0;
    portState[1].portType = MC_PORT_TYPE_USER;
    put_rules(0, {rule(29).in_up(99).in_data(300), rule(29).in_up(100).in_data(301), rule(29).in_up(1)});
    put_rules(1, {rule(29), rule(29)}); // the count of the effective port is 2
    EXPECT_EQ(search_log(report(101), 0),
              lines({"in searchRecievePktPortCfgVlan vlan_id = 101 usPort = 29 \r\n",
                     "recieve paket from downlink,vlan(101) config search!,cfgvlan(99)\r\n",
                     "recieve paket from downlink,vlan(101) config search!,cfgvlan(100)\r\n",
                     "in searchVlan vlan = 0\r\n", "out searchVlan vlan = 65535\r\n", "EPON searchVlan vlan = 300\r\n",
                     "no.1 port vlan config exsit, vlan = 300\r\n"}));
}

} // namespace
} // namespace mcadapt::test
