/** The web entry's steps: its calls, its log, the rule that it stores, an unknown port. */
#include <array>

#include "support/library_test.h"
#include "support/matchers.h"
#include "vlan/under_every_mask.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/** What the pages give: the operation completes the upstream side and the outputs. */
vlanCfgNode page(uint8_t port, uint16_t data_vlan)
{
    return rule(port).down_mode(2).down(60, 50).data_mode(2).data(data_vlan, 80);
}

int32_t set(const vlanCfgNode &page)
{
    vlanCfgNode record = page;
    return std_omci_web_set_vlan(&record);
}

vlanCfgNode rule_of(uint8_t port, uint16_t data_vlan)
{
    return rule(port).modes(2).up(10, 20).down(20, 10).data(data_vlan, 10);
}

class WebEntry : public UnderEveryMaskTest {};

// --- Steps and messages

const Log kEntry = {
    cfg("onu_std_omci_web_set_vlan is in! port_index = 0\n"),
    dbg("\n logicPort is 0"),
    called("igmp_vlan_learning_set(1)"),
};
const Log kWithdrawal = {cfg("\r\n temp_var = 300\r\n"), called("igmp_vlan_del(300)")};

TEST_F(WebEntry, a_port_is_set_in_this_order_under_every_mask)
{
    expect_under_every_mask(
        kEntry + kWithdrawal + Log{called("igmp_vlan_add(70)")}, [] { set(page(0, 70)); },
        [] { put_rules(0, {rule_of(0, 300)}); });
}

TEST_F(WebEntry, every_refusal_of_the_engine_is_reported_and_the_last_one_has_no_status)
{
    const Log expected = kEntry + Log{err("\n ERROR!igmp_adapt_vlan_learning Fail")} + kWithdrawal +
                         Log{err("\n ERROR!igmp_vlan_del Fail(-128)")} +
                         Log{called("igmp_vlan_add(70)"), err("\n ERROR!igmp_standard_vlan_add Fail")};

    expect_under_every_mask(
        expected, [] { set(page(0, 70)); },
        [] {
            put_rules(0, {rule_of(0, 300)});
            platform().answer("igmp_vlan_learning_set", 5);
            platform().answer("igmp_vlan_del", 0x180);
            platform().answer("igmp_vlan_add", 7);
        });
}

TEST_F(WebEntry, only_the_low_byte_of_an_engine_status_counts)
{
    everything_logged();
    for (const char *name : {"igmp_vlan_learning_set", "igmp_vlan_del", "igmp_vlan_add"})
        platform().answer(name, 0x100);

    const auto seen = observe([] { return set(page(0, 70)); });

    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.output.find("ERROR"), std::string::npos);
}

TEST_F(WebEntry, the_result_is_the_status_of_the_registration)
{
    struct {
        int32_t answer;
        int32_t result;
    } const cases[] = {{0, 0}, {5, 5}, {-1, -1}, {0xFF, -1}, {0x180, -128}, {0x7F, 127}, {0x300, 0}};
    for (const auto &each : cases) {
        SCOPED_TRACE(each.answer);
        platform().answer("igmp_vlan_add", each.answer);
        EXPECT_EQ(set(page(0, 70)), each.result);
    }
}

TEST_F(WebEntry, refused_learning_and_withdrawal_do_not_change_the_result)
{
    platform().answer("igmp_vlan_learning_set", 5);
    platform().answer("igmp_vlan_del", 6);

    EXPECT_EQ(set(page(0, 70)), 0);
    EXPECT_EQ(setVlanCfgNumber[0], 1);
}

TEST_F(WebEntry, a_refused_vlan_stays_stored_and_listed)
{
    platform().answer("igmp_vlan_add", 5);

    EXPECT_EQ(set(page(0, 70)), 5);

    EXPECT_EQ(setVlanCfgNumber[0], 1);
    EXPECT_THAT(template_vlans(), ElementsAre(70));
}

TEST_F(WebEntry, each_call_finds_the_steps_before_it_done)
{
    put_rules(0, {rule_of(0, 300), rule_of(0, 301)});
    put_template_vlans({300});
    platform().on("igmp_vlan_learning_set", [] { EXPECT_EQ(globle_parm.learningMode, 1); });
    platform().on("igmp_vlan_del", [] {
        EXPECT_EQ(setVlanCfgNumber[0], 2);
        EXPECT_EQ(PortVlanCfg[0][0].in_data_vlan, 300);
        EXPECT_THAT(template_vlans(), ElementsAre(300));
    });
    platform().on("igmp_vlan_add", [] {
        EXPECT_EQ(setVlanCfgNumber[0], 1);
        EXPECT_EQ(PortVlanCfg[0][0].in_data_vlan, 70);
        EXPECT_THAT(template_vlans(), ElementsAre(70));
    });

    const auto seen = observe([] { return set(page(0, 70)); });

    EXPECT_THAT(seen.calls, ElementsAre("igmp_vlan_learning_set(1)", "igmp_vlan_del(300)", "igmp_vlan_add(70)"));
}

TEST_F(WebEntry, touches_nothing_but_the_port_the_template_list_and_the_learning_switch)
{
    put_rules(0, {rule_of(0, 300), rule_of(0, 301)});
    put_rules(1, {rule_of(29, 400)});
    put_template_vlans({300, 400});
    put_mld_rules(0, {rule_of(0, 300)});
    put_mld_template_vlans({300});
    everything_logged();

    const auto seen = observe([] { return set(page(0, 70)); });

    EXPECT_THAT(
        seen.changed,
        ElementsAre("globle_parm.TemplateVlan[0]", "globle_parm.TemplateVlan[1]", "globle_parm.learningMode",
                    "PortVlanCfg[0][0].in_up_vlan", "PortVlanCfg[0][0].out_up_vlan", "PortVlanCfg[0][0].in_dn_vlan",
                    "PortVlanCfg[0][0].out_dn_vlan", "PortVlanCfg[0][0].in_data_vlan",
                    "PortVlanCfg[0][0].out_data_vlan", "PortVlanCfg[0][1].portNO", "PortVlanCfg[0][1].prouptagmode",
                    "PortVlanCfg[0][1].in_up_vlan", "PortVlanCfg[0][1].out_up_vlan", "PortVlanCfg[0][1].prodntagmode",
                    "PortVlanCfg[0][1].in_dn_vlan", "PortVlanCfg[0][1].out_dn_vlan", "PortVlanCfg[0][1].datedntagmode",
                    "PortVlanCfg[0][1].in_data_vlan", "PortVlanCfg[0][1].out_data_vlan", "setVlanCfgNumber[0]",
                    "PortVlan[0]", "PortVlan[1]"));
}

// --- The VLAN that the port had

TEST_F(WebEntry, the_first_rule_of_the_port_names_the_vlan_to_withdraw)
{
    struct {
        uint8_t port;
        const char *calls_in_order;
    } const cases[] = {{0, "igmp_vlan_del(300)"}, {29, "igmp_vlan_del(400)"}};
    for (const auto &each : cases) {
        SCOPED_TRACE(each.port);
        put_rules(0, {rule_of(0, 300), rule_of(0, 301)});
        put_rules(1, {rule_of(29, 400), rule_of(29, 401)});
        platform().forget_calls();

        set(page(each.port, 70));

        EXPECT_THAT(platform().calls(),
                    ElementsAre("igmp_vlan_learning_set(1)", each.calls_in_order, "igmp_vlan_add(70)"));
    }
}

TEST_F(WebEntry, the_engine_is_given_twelve_bits_of_both_vlans)
{
    put_rules(0, {rule_of(0, 0x112C)});

    set(page(0, 0x2046));

    EXPECT_THAT(platform().calls(),
                ElementsAre("igmp_vlan_learning_set(1)", "igmp_vlan_del(300)", "igmp_vlan_add(70)"));
    EXPECT_THAT(template_vlans(), ElementsAre(0x2046));
}

TEST_F(WebEntry, a_port_without_rules_withdraws_vlan_4095)
{
    // intended: the VLAN of a cleared rule, cut to twelve bits
    set(page(0, 70));

    EXPECT_THAT(platform().calls(),
                ElementsAre("igmp_vlan_learning_set(1)", "igmp_vlan_del(4095)", "igmp_vlan_add(70)"));
}

TEST_F(WebEntry, a_vlan_of_the_other_port_is_withdrawn_all_the_same)
{
    // intended: nobody asks whether the VLAN is still in use
    put_rules(0, {rule_of(0, 300)});
    put_rules(1, {rule_of(29, 300)});

    set(page(0, 70));

    EXPECT_EQ(platform().count("igmp_vlan_del"), 1u);
}

TEST_F(WebEntry, nothing_is_withdrawn_when_the_new_vlan_is_the_default_of_the_parameters)
{
    put_rules(0, {rule_of(0, 300)});
    globle_parm.defaultVlan = 70;
    defaultVlan = 80;
    mldInitParams.defaultVlan = 90;

    set(page(0, 70));

    EXPECT_THAT(platform().calls(), ElementsAre("igmp_vlan_learning_set(1)", "igmp_vlan_add(70)"));
}

TEST_F(WebEntry, the_default_vlan_is_compared_with_all_sixteen_bits)
{
    globle_parm.defaultVlan = 70;

    set(page(0, 0x1046));

    EXPECT_EQ(platform().count("igmp_vlan_del"), 1u);
}

TEST_F(WebEntry, the_other_two_default_vlans_do_not_count)
{
    globle_parm.defaultVlan = 80;
    defaultVlan = 70;
    mldInitParams.defaultVlan = 70;

    set(page(0, 70));

    EXPECT_EQ(platform().count("igmp_vlan_del"), 1u);
}

// --- The rule

TEST_F(WebEntry, the_upstream_side_and_the_outputs_follow_from_the_two_tag_modes)
{
    struct Downstream {
        uint16_t in_up, out_up, out_down;
    } const by_protocol_mode[] = {{60, 60, 60}, {0, 60, 0}, {50, 60, 50}, {50, 60, 50}, {50, 60, 50}};
    const uint16_t out_data_by_data_mode[] = {70, 0, 80, 80, 80};

    for (uint8_t protocol_mode = 0; protocol_mode <= 4; ++protocol_mode) {
        for (uint8_t data_mode = 0; data_mode <= 4; ++data_mode) {
            SCOPED_TRACE("modes " + std::to_string(protocol_mode) + " " + std::to_string(data_mode));
            const Downstream &side = by_protocol_mode[protocol_mode];
            const vlanCfgNode expected = rule(0)
                                             .modes(protocol_mode, protocol_mode, data_mode)
                                             .up(side.in_up, side.out_up)
                                             .down(60, side.out_down)
                                             .data(70, out_data_by_data_mode[data_mode]);
            // What the pages leave open holds anything.
            vlanCfgNode record = rule(0).modes(9, protocol_mode, data_mode).up(1, 2).down(60, 50).data(70, 80);

            EXPECT_EQ(std_omci_web_set_vlan(&record), 0);

            EXPECT_EQ(record, expected);
            EXPECT_THAT(live_rules(0), ElementsAre(expected));
        }
    }
}

TEST_F(WebEntry, a_rule_that_had_no_downstream_output_has_no_upstream_vlan_either)
{
    vlanCfgNode record = rule(0).down_mode(3).down(60, 0xFFFF).data_mode(3).data(70, 80);

    std_omci_web_set_vlan(&record);

    EXPECT_EQ(record.in_up_vlan, 0xFFFF);
    EXPECT_THAT(live_rules(0), ElementsAre(record));
}

TEST_F(WebEntry, all_rules_of_the_port_give_way_to_the_new_one)
{
    put_rules(0, std::vector<vlanCfgNode>(16, rule_of(0, 300)));
    put_rules(1, {rule_of(29, 400), rule_of(29, 401)});

    set(page(0, 70));

    EXPECT_EQ(setVlanCfgNumber[0], 1);
    for (int i = 1; i < 16; ++i)
        EXPECT_THAT(PortVlanCfg[0][i], IsEmptyRule()) << i;
    EXPECT_THAT(live_rules(1), ElementsAre(rule_of(29, 400), rule_of(29, 401)));
}

TEST_F(WebEntry, the_uplink_port_is_set_in_its_own_row)
{
    put_rules(0, {rule_of(0, 300)});

    EXPECT_EQ(set(page(29, 70)), 0);

    EXPECT_THAT(live_rules(0), ElementsAre(rule_of(0, 300)));
    EXPECT_THAT(live_rules(1), ElementsAre(rule(29).modes(2).up(50, 60).down(60, 50).data(70, 80)));
}

TEST_F(WebEntry, the_flag_of_the_record_is_not_stored)
{
    vlanCfgNode record = page(0, 70);
    record.ruleFlag = 7;

    std_omci_web_set_vlan(&record);

    EXPECT_EQ(PortVlanCfg[0][0].ruleFlag, 0);
    EXPECT_EQ(record.ruleFlag, 7);
}

TEST_F(WebEntry, a_rule_after_mode_based_operations_is_set_in_the_same_way)
{
    flag_omci_version = 1;
    platform().uplink_mode = 0;

    const auto seen = observe([] { return set(page(0, 70)); });

    EXPECT_THAT(seen.calls, ElementsAre("igmp_vlan_learning_set(1)", "igmp_vlan_del(4095)", "igmp_vlan_add(70)"));
    EXPECT_THAT(live_rules(0), ElementsAre(rule(0).modes(2).up(50, 60).down(60, 50).data(70, 80)));
}

// --- A port that is not configured

TEST_F(WebEntry, an_unknown_port_clears_logic_port_0_before_it_is_refused)
{
    put_rules(0, {rule_of(0, 300), rule_of(0, 301)});
    put_rules(1, {rule_of(29, 400)});
    put_template_vlans({300, 301});
    const vlanCfgNode given = page(7, 70);
    vlanCfgNode record = given;

    const auto seen = observe([&] { return std_omci_web_set_vlan(&record); });

    EXPECT_EQ(seen.result, -1);
    EXPECT_EQ(record, given);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_vlan_learning_set(1)", "igmp_vlan_del(300)"));
    EXPECT_THAT(live_rules(0), IsEmpty());
    for (const vlanCfgNode &position : PortVlanCfg[0])
        EXPECT_THAT(position, IsEmptyRule());
    EXPECT_THAT(live_rules(1), ElementsAre(rule_of(29, 400)));
    EXPECT_THAT(template_vlans(), ElementsAre(301));
    EXPECT_THAT(records_of(seen.changed),
                ElementsAre("globle_parm", "PortVlanCfg", "setVlanCfgNumber", "PortVlan", "setVlanNumber"));
}

Log refusal_at_level(int32_t level)
{
    Log pieces = {
        cfg("onu_std_omci_web_set_vlan is in! port_index = 200\n"),
        called("igmp_vlan_learning_set(1)"),
        cfg("\r\n temp_var = 300\r\n"),
        called("igmp_vlan_del(300)"),
    };
    if (level >= -1)
        pieces.push_back(ungated("\r\n [IGMP_ERROR]std_omci_web_set_vlan(1835): \n port(200) is invalid!\r\n"));
    return pieces;
}

TEST_F(WebEntry, a_refused_port_is_reported_from_level_minus_1_up_whatever_the_mask)
{
    for (int32_t level = -2; level <= 2; ++level) {
        SCOPED_TRACE(level);
        expect_under_every_mask(
            refusal_at_level(level), [] { EXPECT_EQ(set(page(200, 70)), -1); },
            [level] {
                igmp_adapt = level;
                put_rules(0, {rule_of(0, 300)});
            });
    }
}

// --- Levels and dumps

/** The configuration dump while port 0 holds these rules, and the list this text. */
std::string dump(const std::string &rules, const std::string &list)
{
    return "MC HAL Version Num: QM.14.09.05.\r\n"
           "MC HAL Compile Data May 25 2018: 16:48:08.\r\n" +
           rules +
           "portNO(0) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n"
           "port(0) svlan(65535) svlan_s(65535) cvlan(65535) \r\n"
           "portNO(1) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n"
           "port(1) svlan(65535) svlan_s(65535) cvlan(65535) \r\n" +
           list +
           "defaultVlan(4088), general_member_interval(1), last_member_query_count(2)\r\n"
           "last_member_query_interval(1), learningMode(1), multiMode(1)\r\n"
           "query_interval(125), query_max_resp_time(10), robustness(2), version(3)\r\n"
           "testuplink = (65534),tablereturn = (1), pkt_process_disable = (0).\r\n";
}

const char kNewRule[] = "portNO(0), prouptagmode(2), in_up_vlan(50), out_up_vlan(60)\r\n"
                        "portNO(0), prodntagmode(2), in_dn_vlan(60), out_dn_vlan(50)\r\n"
                        "portNO(0), datedntagmode(2), in_data_vlan(70), out_data_vlan(80)\r\n";

/** Level 1 traces the change: before it, after the rule and after the list, each with a dump that no mask gates. */
const Log kTracedChange = {
    dbg("\n before add multicast_vlan!"), dump_of(dump("", "")),
    dbg("\n after add multicast_vlan!"),  dump_of(dump(kNewRule, "")),
    dbg("\n after add PortVlan!"),        dump_of(dump(kNewRule, "-70-TemplateVlan(70)\t\r\n")),
};
const Log kInformation = {ungated("\r\n [IGMP_INFORMATION]std_omci_web_set_vlan(1828): \n logicPort is 0\r\n")};

TEST_F(WebEntry, information_comes_above_level_0_and_the_dumps_at_level_1_only)
{
    for (int32_t level = -2; level <= 2; ++level) {
        SCOPED_TRACE(level);
        const Log expected = kEntry + kWithdrawal + (level > 0 ? kInformation : Log{}) +
                             (level == 1 ? kTracedChange : Log{}) + Log{called("igmp_vlan_add(70)")};

        expect_under_every_mask(
            expected, [] { EXPECT_EQ(set(page(0, 70)), 0); },
            [level] {
                igmp_adapt = level;
                put_rules(0, {rule_of(0, 300)});
                put_template_vlans({300});
            });
    }
}

// --- What the engine's callbacks may change while the previous VLAN is withdrawn: the port is looked up again

TEST_F(WebEntry, a_port_that_vanishes_in_mid_call_is_refused_behind_the_clearing)
{
    put_rules(0, {rule_of(0, 300)});
    platform().on("igmp_vlan_del", [] { portState[0].portNo = 5; });

    const auto seen = observe([] { return set(page(0, 70)); });

    EXPECT_EQ(seen.result, -1);
    EXPECT_EQ(seen.output, "\r\n [IGMP_ERROR]std_omci_web_set_vlan(1835): \n port(0) is invalid!\r\n");
    EXPECT_EQ(setVlanCfgNumber[0], 0);
    EXPECT_EQ(platform().count("igmp_vlan_add"), 0u);
}

TEST_F(WebEntry, a_rule_goes_behind_those_of_the_logic_port_that_the_port_has_by_then)
{
    put_rules(0, {rule_of(0, 300)});
    put_rules(1, {rule_of(29, 400)});
    platform().on("igmp_vlan_del", [] {
        portState[0].portNo = 5;
        portState[1].portNo = 0;
    });

    EXPECT_EQ(set(page(0, 70)), 0);

    EXPECT_EQ(setVlanCfgNumber[0], 0);
    EXPECT_EQ(setVlanCfgNumber[1], 2);
    EXPECT_EQ(PortVlanCfg[1][0], rule_of(29, 400));
    EXPECT_EQ(PortVlanCfg[1][1].in_data_vlan, 70);
}

TEST_F(WebEntry, a_row_that_is_full_by_then_refuses_the_rule_but_the_record_is_completed)
{
    put_rules(0, {rule_of(0, 300)});
    platform().on("igmp_vlan_del", [] {
        portState[0].portNo = 5;
        portState[1].portNo = 0;
        setVlanCfgNumber[1] = 16;
    });
    vlanCfgNode record = page(0, 70);

    EXPECT_EQ(std_omci_web_set_vlan(&record), -1);

    EXPECT_EQ(record.in_up_vlan, 50);
    EXPECT_EQ(setVlanCfgNumber[1], 16);
    EXPECT_EQ(platform().count("igmp_vlan_add"), 0u);
}

TEST_F(WebEntry, a_position_that_is_taken_by_then_is_reported_and_refuses_the_rule)
{
    for (const uint32_t mask : {MC_DEBUG_ERROR, 0u}) {
        SetUp();
        log_mask(mask);
        put_rules(0, {rule_of(0, 300)});
        put_rules(1, {rule_of(29, 400)});
        platform().on("igmp_vlan_del", [] {
            portState[0].portNo = 5;
            portState[1].portNo = 0;
            setVlanCfgNumber[1] = 0;
        });

        const auto seen = observe([] { return set(page(0, 70)); });

        EXPECT_EQ(seen.result, -1);
        EXPECT_EQ(seen.output, mask == 0 ? "" : "\r\n[MC_DBG_ERR]: \n PortVlan storege is wrong!");
        EXPECT_EQ(PortVlanCfg[1][0], rule_of(29, 400));
    }
}

} // namespace
} // namespace mcadapt::test
