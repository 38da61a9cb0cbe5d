// How the IGMP intake alone finds the multicast VLAN; what both intakes do stands in intake_vlan_search_test.cpp.
#include "intake_vlan_search.h"

namespace mcadapt::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

using IgmpVlanSearch = VlanSearchTest<IgmpSide>;

// --- The search key, by the rules

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

// --- The template VLAN list

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
