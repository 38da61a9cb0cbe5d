#include "intake_kit.h"

namespace mcadapt::test {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

/** The lines by which the multicast VLAN of a frame is found, and the VLAN that the engine gets. */
class MldVlanSearch : public MldIntake {
protected:
    std::string search_log(const ByteVector &frame, uint32_t port = 0, uint32_t mask = MC_DEBUG_TRACE)
    {
        mld_debug = mask;
        return part(take(frame, port).output, prefix("in mldsearchRecieve"), prefix("GROUP_VLAN"));
    }

    /** The VLAN found, which must be the same in all three places that get it. */
    uint32_t vlan_of(const ByteVector &frame, uint32_t port = 0)
    {
        ponVlan = 0xEEEEEEEE;
        mld_debug = MC_DEBUG_TRACE;
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

    /** Sets the ports of the first IPv4 rules, which alone tell the port that a row of MLD rules is searched for. */
    static void set_row_ports(uint8_t row_0, uint8_t row_1)
    {
        PortVlanCfg[0][0].portNO = row_0;
        PortVlanCfg[1][0].portNO = row_1;
    }

    static FrameBuilder report(uint16_t vlan) { return mld_report("ff1e::1").vlan(vlan); }

private:
    static std::string prefix(const std::string &text) { return "\r\n[MC_MLD_DBG_DBG]: " + text; }
};

// --- The search key, by the rules

TEST_F(MldVlanSearch, the_first_rule_of_the_frames_vlan_gives_its_data_vlan)
{
    set_row_ports(0, 0xFF);
    put_mld_rules(0, {rule(0).in_up(99).in_data(300), rule(0).in_up(0x3064).in_data(0xF191),
                      rule(0).in_up(100).in_data(402), rule(0).in_up(101).in_data(403)});
    EXPECT_EQ(search_log(report(100)),
              lines({"in mldsearchRecievePktPortCfgVlan vlan_id = 100 usPort = 0 \r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(99)\r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(100)\r\n",
                     "in searchVlan vlan = 401\r\n", "no.1 port vlan config exsit, vlan = 300\r\n"}));
}

TEST_F(MldVlanSearch, no_rule_of_the_frames_vlan_gives_key_0)
{
    set_row_ports(0, 0xFF);
    put_mld_rules(0, {rule(0).in_up(99).in_data(300), rule(0).in_up(98).in_data(301)});
    put_mld_rules(1, {rule(0).in_up(100).in_data(302)});
    EXPECT_EQ(search_log(report(100)),
              lines({"in mldsearchRecievePktPortCfgVlan vlan_id = 100 usPort = 0 \r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(99)\r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(98)\r\n",
                     "in searchVlan vlan = 0\r\n", "no.1 port vlan config exsit, vlan = 300\r\n"}));
}

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

TEST_F(MldVlanSearch, all_sixteen_rules_of_a_row_are_walked_and_no_more)
{
    set_row_ports(0, 0xFF);
    put_mld_rules(0, std::vector<vlanCfgNode>(16, rule(0).in_up(99).in_data(300)));
    mldInitParams.mldPortVlanCfg[0][15] = rule(0).in_up(100).in_data(301);
    put_mld_template_vlans({301, 302});
    EXPECT_EQ(vlan_of(report(100)), 301u);

    // The row behind is not reached, whatever the count says.
    put_mld_rules(1, {rule(0).in_up(101).in_data(302)});
    mldInitParams.mldSetVlanCfgNumber[0] = 17;
    EXPECT_EQ(vlan_of(report(101)), 300u);
}

TEST_F(MldVlanSearch, the_uplink_searches_with_the_frames_own_vlan)
{
    set_row_ports(29, 29);
    put_mld_rules(0, {rule(29).in_up(100).in_data(300)});
    put_mld_rules(1, {rule(29).in_up(100).in_data(300)});
    put_mld_template_vlans({100});
    EXPECT_EQ(search_log(report(100), 29), lines({"in mldsearchRecievePktPortCfgVlan vlan_id = 100 usPort = 29 \r\n",
                                                  "recieve paket from uplink,no need vlan config search!\r\n",
                                                  "in searchVlan vlan = 100\r\n", "\n vlan is 100"}));
    EXPECT_THAT(search_log(report(4095), 29), HasSubstr("in searchVlan vlan = 4095\r\n"));
}

TEST_F(MldVlanSearch, the_uplink_is_told_by_type_1_of_the_mld_port_table)
{
    portState[0].portType = MC_PORT_TYPE_UPLINK;
    for (const uint32_t type : {0u, 1u, 2u, 3u}) {
        SCOPED_TRACE(type);
        mldInitParams.mldPortState[0].portType = type;
        const std::string log = search_log(report(100));
        if (type == 1)
            EXPECT_THAT(log, HasSubstr("recieve paket from uplink,no need vlan config search!\r\n"));
        else
            EXPECT_THAT(log, Not(HasSubstr("uplink")));
    }
}

TEST_F(MldVlanSearch, an_effective_port_that_is_not_configured_searches_with_key_0)
{
    mldInitParams.mldPortState[1].portNo = 5;
    mldInitParams.mldTestUplink = 0;
    set_row_ports(29, 29);
    put_mld_rules(0, {rule(29).in_up(100).in_data(300)});
    put_mld_template_vlans({100, 0x3000});
    const ByteVector frame = report(100);
    expect_log(frame, 0,
               {trace("mldL2PktProc is in! 0\n"), received(frame),
                trace("\r\n[INFO]Rcieve L2 data on interface 29(29):\r\n"),
                trace("in mldsearchRecievePktPortCfgVlan vlan_id = 100 usPort = 29 \r\n"),
                trace("\n [checkPortState]port(29) is not find!"), error("\n [checkPortState]port(29) is not find!"),
                error("port number is invalid!\r\n"), trace("in searchVlan vlan = 0\r\n"), trace("\n vlan is 12288"),
                trace("GROUP_VLAN = 0\r\n"), trace("IP TOTAL LENGTH = 72\r\n"), trace("MLD MODE = 1\r\n"),
                called("mld_pkt_recv(6000000000200001, 72, 29, 0, 13119)")});
}

// --- The VLAN list

TEST_F(MldVlanSearch, the_first_entry_with_the_keys_low_12_bits_is_the_result)
{
    // Entries are 32 bits wide and printed whole.
    put_mld_template_vlans({101, 0, 100});
    mldInitParams.mldVlanList[1] = 0x12340064;
    EXPECT_EQ(search_log(report(100), 29), lines({"in mldsearchRecievePktPortCfgVlan vlan_id = 100 usPort = 29 \r\n",
                                                  "recieve paket from uplink,no need vlan config search!\r\n",
                                                  "in searchVlan vlan = 100\r\n", "\n vlan is 305397860"}));
    EXPECT_EQ(vlan_of(report(100), 29), 100u);
}

TEST_F(MldVlanSearch, key_0_finds_an_entry_too)
{
    set_row_ports(0, 0xFF);
    put_mld_rules(0, {rule(0).in_up(99).in_data(300)});
    put_mld_template_vlans({7, 0x1000});
    EXPECT_EQ(vlan_of(report(100)), 0u);
}

TEST_F(MldVlanSearch, only_counted_entries_are_searched)
{
    put_mld_template_vlans({7, 100});
    EXPECT_EQ(vlan_of(report(100), 29), 100u);
    mldInitParams.setVlanNumber = 1;
    setVlanNumber = 16;
    EXPECT_EQ(vlan_of(report(100), 29), 4088u);
    mldInitParams.setVlanNumber = 0;
    // Intended: nothing is said when the search ends, and nothing of a first rule that is not there.
    EXPECT_EQ(search_log(report(7), 29),
              lines({"in mldsearchRecievePktPortCfgVlan vlan_id = 7 usPort = 29 \r\n",
                     "recieve paket from uplink,no need vlan config search!\r\n", "in searchVlan vlan = 7\r\n"}));
}

TEST_F(MldVlanSearch, all_sixteen_entries_are_searched_and_no_more)
{
    put_mld_template_vlans({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 100});
    EXPECT_EQ(vlan_of(report(100), 29), 100u);
    mldInitParams.setVlanNumber = 17;
    EXPECT_EQ(vlan_of(report(4088), 29), 4088u);
    EXPECT_THAT(search_log(report(4088), 29), Not(HasSubstr("vlan is"))); // behind the list stands 4088
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

TEST_F(MldVlanSearch, falls_back_to_the_data_vlan_of_the_ports_first_mld_rule)
{
    put_rules(0, {rule(7).in_data(600)});
    put_rules(1, {rule(7).in_data(601)});
    put_mld_rules(0, {rule(7).in_data(0x2190), rule(0).in_data(500)});
    put_mld_rules(1, {rule(7).in_data(0x31F4)});
    mldInitParams.mldSetVlanCfgNumber[0] = mldInitParams.mldSetVlanCfgNumber[1] = 0;
    EXPECT_EQ(vlan_of(report(100), 0), 400u);
    EXPECT_EQ(vlan_of(report(100), 29), 500u);
    mldInitParams.mldPortVlanCfg[0][0].in_data_vlan = 0;
    EXPECT_EQ(vlan_of(report(100), 0), 0u);
}

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

TEST_F(MldVlanSearch, the_default_vlan_is_4088_at_start) { EXPECT_EQ(vlan_of(mld_report("ff1e::1")), 4088u); }

TEST_F(MldVlanSearch, under_a_test_uplink_the_fallback_row_is_that_of_the_port_as_received)
{
    // The key, by contrast, is searched for as from the uplink.
    mldInitParams.mldTestUplink = 0;
    set_row_ports(0, 29);
    put_mld_rules(0, {rule(0).in_up(100).in_data(300)});
    put_mld_rules(1, {rule(29).in_up(100).in_data(400)});
    EXPECT_EQ(search_log(report(100), 0),
              lines({"in mldsearchRecievePktPortCfgVlan vlan_id = 100 usPort = 29 \r\n",
                     "recieve paket from uplink,no need vlan config search!\r\n", "in searchVlan vlan = 100\r\n",
                     "no.1 port vlan config exsit, vlan = 300\r\n"}));
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
