// How the MLD intake alone finds the multicast VLAN; what both intakes do stands in intake_vlan_search_test.cpp.
#include "intake_vlan_search.h"

namespace mcadapt::test {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

class MldVlanSearch : public VlanSearchTest<MldSide> {
protected:
    /** Sets the ports of the first IPv4 rules, which alone tell the port that a row of MLD rules is searched for. */
    static void set_row_ports(uint8_t row_0, uint8_t row_1)
    {
        PortVlanCfg[0][0].portNO = row_0;
        PortVlanCfg[1][0].portNO = row_1;
    }
};

// --- The search key, by the rules

TEST_F(MldVlanSearch, the_row_of_a_port_is_told_by_the_first_rule_of_the_ipv4_table)
{
    // Intended: the ports of the MLD rules do not matter.
    put_mld_rules(0, {rule(0).in_up(100).in_data(300)});
    EXPECT_EQ(search_log(report(100)),
              lines({"in mldsearchRecievePktPortCfgVlan vlan_id = 100 usPort = 0 \r\n", "in searchVlan vlan = 0\r\n",
                     "no.1 port vlan config exsit, vlan = 300\r\n"}));

    put_rules(0, {rule(7), rule(0)});
    EXPECT_THAT(search_log(report(100)), Not(HasSubstr("config search!")));

    put_rules(0, {rule(0), rule(7)});
    put_mld_rules(0, {rule(7).in_up(100).in_data(300)});
    EXPECT_THAT(search_log(report(100)), HasSubstr("in searchVlan vlan = 300\r\n"));
}

TEST_F(MldVlanSearch, the_vlans_of_the_ipv4_rules_do_not_matter)
{
    put_rules(0, {rule(0).in_up(100).in_data(300)});
    put_mld_rules(0, {rule(0).in_up(99).in_data(301)});
    EXPECT_EQ(search_log(report(100)),
              lines({"in mldsearchRecievePktPortCfgVlan vlan_id = 100 usPort = 0 \r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(99)\r\n",
                     "in searchVlan vlan = 0\r\n", "no.1 port vlan config exsit, vlan = 301\r\n"}));
}

TEST_F(MldVlanSearch, the_second_row_is_searched_when_it_is_the_ports)
{
    // Intended: both rows are looked at, where the IGMP side looks at the first alone.
    set_row_ports(7, 0);
    put_mld_rules(0, {rule(0).in_up(100).in_data(300)});
    put_mld_rules(1, {rule(0).in_up(100).in_data(301)});
    EXPECT_EQ(search_log(report(100)),
              lines({"in mldsearchRecievePktPortCfgVlan vlan_id = 100 usPort = 0 \r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(100)\r\n",
                     "in searchVlan vlan = 301\r\n", "no.1 port vlan config exsit, vlan = 300\r\n"}));
}

TEST_F(MldVlanSearch, a_first_row_walked_in_vain_is_followed_by_the_second_from_its_start)
{
    set_row_ports(0, 0);
    put_mld_rules(0, {rule(0).in_up(98).in_data(300), rule(0).in_up(99).in_data(301)});
    put_mld_rules(1, {rule(0).in_up(97).in_data(302), rule(0).in_up(100).in_data(303)});
    EXPECT_EQ(search_log(report(100)),
              lines({"in mldsearchRecievePktPortCfgVlan vlan_id = 100 usPort = 0 \r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(98)\r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(99)\r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(97)\r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(100)\r\n",
                     "in searchVlan vlan = 303\r\n", "no.1 port vlan config exsit, vlan = 300\r\n"}));
}

TEST_F(MldVlanSearch, a_match_in_the_first_row_ends_the_search)
{
    set_row_ports(0, 0);
    put_mld_rules(0, {rule(0).in_up(100).in_data(300)});
    put_mld_rules(1, {rule(0).in_up(100).in_data(301)});
    EXPECT_EQ(search_log(report(100)),
              lines({"in mldsearchRecievePktPortCfgVlan vlan_id = 100 usPort = 0 \r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(100)\r\n",
                     "in searchVlan vlan = 300\r\n", "no.1 port vlan config exsit, vlan = 300\r\n"}));
    // A match whose key is 0 is a match all the same.
    mldInitParams.mldPortVlanCfg[0][0].in_data_vlan = 0x1000;
    EXPECT_THAT(search_log(report(100)), HasSubstr("in searchVlan vlan = 0\r\n"));
}

TEST_F(MldVlanSearch, both_rows_are_walked_with_the_count_of_the_ports_own)
{
    // Intended: the other row's count, and the IPv4 counts, do not matter.
    set_row_ports(0, 0);
    put_mld_rules(0, {rule(0).in_up(97).in_data(300), rule(0).in_up(100).in_data(301)});
    put_mld_rules(1, {rule(0).in_up(98).in_data(302), rule(0).in_up(100).in_data(303)});
    mldInitParams.mldSetVlanCfgNumber[0] = 1;
    setVlanCfgNumber[0] = 16;
    EXPECT_EQ(search_log(report(100)),
              lines({"in mldsearchRecievePktPortCfgVlan vlan_id = 100 usPort = 0 \r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(97)\r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(98)\r\n",
                     "in searchVlan vlan = 0\r\n", "no.1 port vlan config exsit, vlan = 300\r\n"}));
    mldInitParams.mldSetVlanCfgNumber[0] = 0;
    EXPECT_THAT(search_log(report(97)), Not(HasSubstr("config search!")));
}

TEST_F(MldVlanSearch, logic_port_1_is_walked_with_its_own_count)
{
    mldInitParams.mldPortState[1] = {5, MC_PORT_TYPE_USER};
    set_row_ports(5, 5);
    put_mld_rules(0, {rule(5).in_up(97).in_data(300), rule(5).in_up(98).in_data(301), rule(5).in_up(99)});
    put_mld_rules(1, {rule(5).in_up(96).in_data(302), rule(5).in_up(95).in_data(303)});
    EXPECT_EQ(search_log(report(99), 5),
              lines({"in mldsearchRecievePktPortCfgVlan vlan_id = 99 usPort = 5 \r\n",
                     "recieve paket from downlink,vlan(99) config search!,cfgvlan(97)\r\n",
                     "recieve paket from downlink,vlan(99) config search!,cfgvlan(98)\r\n",
                     "recieve paket from downlink,vlan(99) config search!,cfgvlan(96)\r\n",
                     "recieve paket from downlink,vlan(99) config search!,cfgvlan(95)\r\n",
                     "in searchVlan vlan = 0\r\n", "no.1 port vlan config exsit, vlan = 302\r\n"}));
}

TEST_F(MldVlanSearch, the_lines_of_a_port_that_is_not_configured_have_their_gates)
{
    mldInitParams.mldPortState[1].portNo = 5;
    mldInitParams.mldTestUplink = 0;
    set_row_ports(29, 29);
    put_mld_rules(0, {rule(29).in_up(100).in_data(300)});
    put_mld_template_vlans({100, 0x3000});
    const ByteVector frame = report(100);
    expect_log(frame, 0,
               {trace("mldL2PktProc is in! 0\n"), received(frame, 0),
                trace("\r\n[INFO]Rcieve L2 data on interface 29(29):\r\n"),
                trace("in mldsearchRecievePktPortCfgVlan vlan_id = 100 usPort = 29 \r\n"),
                trace("\n [checkPortState]port(29) is not find!"), error("\n [checkPortState]port(29) is not find!"),
                error("port number is invalid!\r\n"), trace("in searchVlan vlan = 0\r\n"), trace("\n vlan is 12288"),
                trace("GROUP_VLAN = 0\r\n"), trace("IP TOTAL LENGTH = 72\r\n"), trace("MLD MODE = 1\r\n"),
                called("mld_pkt_recv(6000000000200001, 72, 29, 0, 13119)")});
}

// --- The VLAN list

TEST_F(MldVlanSearch, entries_are_32_bits_wide_and_printed_whole)
{
    put_mld_template_vlans({101, 0, 100});
    mldInitParams.mldVlanList[1] = 0x12340064;
    EXPECT_EQ(search_log(report(100), 29), lines({"in mldsearchRecievePktPortCfgVlan vlan_id = 100 usPort = 29 \r\n",
                                                  "recieve paket from uplink,no need vlan config search!\r\n",
                                                  "in searchVlan vlan = 100\r\n", "\n vlan is 305397860"}));
    EXPECT_EQ(vlan_of(report(100), 29), 100u);
}

TEST_F(MldVlanSearch, the_default_vlan_behind_the_list_is_not_searched)
{
    put_mld_template_vlans(std::vector<uint16_t>(16, 100));
    mldInitParams.setVlanNumber = 17;
    EXPECT_EQ(vlan_of(report(4088), 29), 4088u);
    EXPECT_THAT(search_log(report(4088), 29), Not(HasSubstr("vlan is")));
}

TEST_F(MldVlanSearch, the_list_searched_is_mldVlanList)
{
    mldInitParams.mldTemplateVlan[0] = 100;
    put_template_vlans({100});
    mldInitParams.mldVlanList[0] = 200;
    mldInitParams.setVlanNumber = 1;
    EXPECT_EQ(vlan_of(report(100), 29), 4088u);
    EXPECT_EQ(vlan_of(report(200), 29), 200u);
}

// --- Fallbacks

TEST_F(MldVlanSearch, without_a_first_rule_the_default_vlan_is_that_of_the_mld_side)
{
    defaultVlan = 111;
    globle_parm.defaultVlan = 222;
    mldInitParams.defaultVlan = 0x5064;
    EXPECT_EQ(vlan_of(report(100)), 0x5064u);                 // whole
    mldInitParams.mldPortVlanCfg[0][0].in_data_vlan = 0x1FFF; // no VLAN by its low 12 bits either
    EXPECT_EQ(vlan_of(report(100)), 0x5064u);
    EXPECT_THAT(search_log(report(100)), EndsWith(lines({"in searchVlan vlan = 0\r\n"})));
}

TEST_F(MldVlanSearch, under_a_test_uplink_the_rules_are_searched_for_the_effective_port)
{
    mldInitParams.mldTestUplink = 0;
    mldInitParams.mldPortState[1].portType = MC_PORT_TYPE_USER;
    set_row_ports(0, 29);
    put_mld_rules(0, {rule(0).in_up(100).in_data(300), rule(0), rule(0)});
    put_mld_rules(1, {rule(29).in_up(98).in_data(400), rule(29).in_up(99).in_data(401)});
    EXPECT_EQ(search_log(report(100), 0),
              lines({"in mldsearchRecievePktPortCfgVlan vlan_id = 100 usPort = 29 \r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(98)\r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(99)\r\n",
                     "in searchVlan vlan = 0\r\n", "no.1 port vlan config exsit, vlan = 300\r\n"}));
}

} // namespace
} // namespace mcadapt::test
