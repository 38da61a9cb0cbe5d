/** The IGMP rule install, what only this family does: its whole passes, its refusals, and MLD that follows. */
#include "vlan/rule_sides.h"

namespace mcadapt::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class RuleInstall : public RuleTest<IgmpRules> {};

// --- Whole passes

TEST_F(RuleInstall, a_first_rule_is_logged_stored_listed_and_registered)
{
    everything_logged();
    serve_igmp_alone();

    const auto seen = install(plain_rule());

    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.trace, log_of({
                              cfg("[onu_std_omci_set_multicast_vlan]: is in! port_index = "
                                  "0,1, 101, 102, 5, 103, 104, 6, 105, 106.\r\n"),
                              called("vx_hal_nni_upmode_get()"), dbg("\n logicPort is 0"), cfg("temp_var = 105\n"),
                              called("igmp_vlan_add(105)"),
                              err("\n PortVlan storege is wrong!"), // intended: after a success too
                          }));
    EXPECT_EQ(PortVlanCfg[0][0], plain_rule());
    EXPECT_EQ(setVlanCfgNumber[0], 1);
    EXPECT_THAT(template_vlans(), ElementsAre(105));
    EXPECT_EQ(globle_parm.TemplateVlan[0], 105);
    EXPECT_THAT(seen.changed,
                ElementsAreArray(Fields{"globle_parm.TemplateVlan[0]"} + rule_fields("PortVlanCfg[0][0]") +
                                 Fields{"setVlanCfgNumber[0]", "PortVlan[0]", "setVlanNumber"}));
}

/** A pass in which every step has something to do and the engine refuses what it can. */
class RuleInstallWholePass : public RuleInstall {
protected:
    void SetUp() override
    {
        RuleInstall::SetUp();
        igmp_adapt = 1;
        mldInitParams.mldAdapt = 1;
        put_template_vlans({100});
        put_mld_template_vlans({7});
        put_static_groups(0, {static_group(105, 0xE1010203), free_static_group(), static_group(200, 0xE1010204)});
        platform().uplink_mode = 0;
        platform().answer("igmp_vlan_learning_set", 5);
        platform().answers("igmp_if_static_group_source_add", {0, 3});
        platform().answer("igmp_vlan_add", 0x180);
        platform().answer("mld_pack_set_mc_vlan", 256);
    }

    const vlanCfgNode given = rule(0, 0, 0xFFFF, 102, 5, 103, 104, 6, 105, 106);
    const vlanCfgNode derived = rule(0, 0, 103, 104, 5, 103, 104, 6, 105, 106);

    static LogPart dump(const std::string &template_vlans)
    {
        return dump_of("MC HAL Version Num: QM.14.09.05.\r\n"
                       "MC HAL Compile Data May 25 2018: 16:48:08.\r\n"
                       "portNO(0), prouptagmode(0), in_up_vlan(103), out_up_vlan(104)\r\n"
                       "portNO(0), prodntagmode(5), in_dn_vlan(103), out_dn_vlan(104)\r\n"
                       "portNO(0), datedntagmode(6), in_data_vlan(105), out_data_vlan(106)\r\n"
                       "portNO(0) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n"
                       "port(0) svlan(65535) svlan_s(65535) cvlan(65535) \r\n"
                       "portNO(1) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n"
                       "port(1) svlan(65535) svlan_s(65535) cvlan(65535) \r\n"
                       "port(0) vlan = 105, addr = e1010203\r\n"
                       "port(0) vlan = 200, addr = e1010204\r\n" +
                       template_vlans +
                       "\r\n"
                       "defaultVlan(4088), general_member_interval(1), last_member_query_count(2)\r\n"
                       "last_member_query_interval(1), learningMode(1), multiMode(1)\r\n"
                       "query_interval(125), query_max_resp_time(10), robustness(2), version(3)\r\n"
                       "testuplink = (65534),tablereturn = (1), pkt_process_disable = (0).\r\n");
    }

    static Log whole_pass()
    {
        return {
            cfg("[onu_std_omci_set_multicast_vlan]: is in! port_index = "
                "0,0, 65535, 102, 5, 103, 104, 6, 105, 106.\r\n"),
            called("vx_hal_nni_upmode_get()"),
            dbg("epon mode,omci_set_igmp_dynamic_enable is in!\n"),
            called("igmp_vlan_learning_set(1)"),
            err("\n ERROR!igmp_adapt_vlan_learning Fail"),
            dbg("multicast_vlan tagmode = 0, is untag mode!\n"),
            dbg("\n logicPort is 0"),
            dbg("\n before add multicast_vlan!"),
            dbg("\n after add multicast_vlan!"),
            dump("-100-TemplateVlan(100)\t"),
            dbg("***portVlan[j]= 100"),
            called("igmp_if_static_group_source_add(0, 105, 3774939651, 0, 1)"),
            called("igmp_if_static_group_source_add(0, 200, 3774939652, 0, 1)"),
            err("\n ERROR!igmp_if_static_group_source_add Fail"),
            dbg("\n after add PortVlan!"),
            dump("-100-TemplateVlan(100)\t-105-TemplateVlan(105)\t"),
            cfg("temp_var = 105\n"),
            called("igmp_vlan_add(105)"),
            err("\n ERROR!igmp_standard_vlan_add Fail -128\r\n"),
            err("\n PortVlan storege is wrong!"),
            mld_dbg("mld_onu_std_omci_set_multicast_vlan is in! port_index = 0\n"),
            mld_dbg("mld multicast_vlan tagmode = 0, is untag mode!\n"),
            mld_dbg("mld logicPort is 0\r\n"),
            mld_dbg("mld vlancfgtem(0)\r\n"),
            mld_dbg("\n mld before add multicast_vlan!"),
            mld_dbg("\n mld after add multicast_vlan!"),
            mld_cfg("***mld portVlan[j]= 7"),
            mld_dbg("\n after add PortVlan!"),
            mld_cfg("temp_var = 105\n"),
            called("mld_pack_set_mc_vlan(1, 105)"),
            mld_err("ERROR!mld_pack_set_mc_vlan Fail\n"),
            err("\n ERROR!mld_onu_std_omci_set_multicast_vlan Fail"),
        };
    }
};

TEST_F(RuleInstallWholePass, every_step_comes_in_its_order_and_each_line_under_its_own_bit)
{
    // intended: the IGMP status is lost
    expect_under_all_masks([&] { return install(given); }, whole_pass(), 256);
}

TEST_F(RuleInstallWholePass, what_was_stored_stays_when_the_engine_refuses)
{
    const auto seen = install(given);

    EXPECT_THAT(live_rules(0), ElementsAre(derived));
    EXPECT_THAT(live_mld_rules(0), ElementsAre(derived));
    EXPECT_THAT(template_vlans(), ElementsAre(100, 105));
    EXPECT_EQ(globle_parm.TemplateVlan[1], 105);
    EXPECT_EQ(globle_parm.learningMode, 1);
    EXPECT_THAT(mld_vlans(), ElementsAre(7, 105));
    EXPECT_EQ(mldInitParams.mldTemplateVlan[1], 105);
    EXPECT_THAT(seen.changed,
                ElementsAreArray(Fields{"globle_parm.TemplateVlan[1]", "globle_parm.learningMode",
                                        "mldInitParams.setVlanNumber", "mldInitParams.mldTemplateVlan[1]",
                                        "mldInitParams.mldSetVlanCfgNumber[0]", "mldInitParams.mldVlanList[1]"} +
                                 rule_fields("mldInitParams.mldPortVlanCfg[0][0]") + rule_fields("PortVlanCfg[0][0]") +
                                 Fields{"setVlanCfgNumber[0]", "PortVlan[1]", "setVlanNumber"}));
}

TEST_F(RuleInstallWholePass, traces_of_rule_changes_and_dumps_need_igmp_adapt_1)
{
    for (const int32_t value : {-1, 0, 2, 257}) {
        SCOPED_TRACE(value);
        SetUp();
        everything_logged();
        igmp_adapt = value;
        const auto seen = install(given);
        for (const char *absent :
             {"[MC_DBG_DBG]: \n before add multicast_vlan!", "[MC_DBG_DBG]: \n after add multicast_vlan!",
              "[MC_DBG_DBG]: \n after add PortVlan!", "MC HAL"})
            EXPECT_THAT(seen.output, Not(HasSubstr(absent)));
    }
}

TEST_F(RuleInstallWholePass, each_store_comes_before_the_call_that_follows_it)
{
    uint16_t learning_then = 0;
    std::vector<vlanCfgNode> rules_then;
    std::vector<uint16_t> listed_in_replay;
    std::vector<uint16_t> listed_in_register;
    std::vector<uint32_t> mld_listed_then;
    platform().on("igmp_vlan_learning_set", [&] { learning_then = globle_parm.learningMode; });
    platform().on("igmp_if_static_group_source_add", [&] {
        rules_then = live_rules(0);
        listed_in_replay = template_vlans();
    });
    platform().on("igmp_vlan_add", [&] { listed_in_register = template_vlans(); });
    platform().on("mld_pack_set_mc_vlan", [&] { mld_listed_then = mld_vlans(); });

    install(given);

    EXPECT_EQ(learning_then, 1);
    EXPECT_THAT(rules_then, ElementsAre(derived));
    EXPECT_THAT(listed_in_replay, ElementsAre(100));
    EXPECT_THAT(listed_in_register, ElementsAre(100, 105));
    EXPECT_THAT(mld_listed_then, ElementsAre(7, 105));
}

// --- VLAN learning with an EPON uplink

TEST_F(RuleInstall, learning_is_turned_on_with_an_epon_uplink_only)
{
    for (const uint32_t mode : {0u, 1u, 2u, 0x100u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(mode);
        SetUp();
        everything_logged();
        serve_igmp_alone();
        platform().uplink_mode = mode;
        platform().answer("vx_hal_nni_upmode_get", 1); // not used
        const auto seen = install(plain_rule());
        EXPECT_EQ(platform().count("igmp_vlan_learning_set"), mode == 0 ? 1u : 0u);
        EXPECT_EQ(globle_parm.learningMode, mode == 0 ? 1 : 0);
        EXPECT_EQ(seen.output.find("epon mode") != std::string::npos, mode == 0);
    }
}

TEST_F(RuleInstall, learning_status_is_the_low_byte_and_is_all_that_is_left_when_nothing_else_is_asked)
{
    for (const ByteResult &engine : kByteResults) {
        SCOPED_TRACE(engine.answer);
        SetUp();
        errors_logged();
        serve_igmp_alone();
        put_rules(0, std::vector<vlanCfgNode>(16, plain_rule()));
        platform().uplink_mode = 0;
        platform().answer("igmp_vlan_learning_set", engine.answer);

        const auto seen = install(plain_rule());

        EXPECT_EQ(seen.result, engine.status);
        EXPECT_EQ(seen.output, engine.status == 0 ? "" : log_of({err("\n ERROR!igmp_adapt_vlan_learning Fail")}));
    }
}

TEST_F(RuleInstall, a_later_success_hides_refused_learning)
{
    serve_igmp_alone();
    platform().uplink_mode = 0;
    platform().answer("igmp_vlan_learning_set", -1);
    EXPECT_EQ(install(plain_rule()).result, 0); // intended: the status of igmp_vlan_add replaces it
}

// --- The rule as given, and as stored

TEST_F(RuleInstall, until_rules_are_set_by_mode_the_upstream_side_is_derived_by_tag_mode)
{
    for_each_traced(kNormalised, [](const Normalisation &row) {
        mld_debug = 0;
        vlanCfgNode given = row.given();

        const auto seen = install_in_place(given);

        EXPECT_EQ(seen.output, log_of({dbg("multicast_vlan tagmode = %d, is %s mode!\n", row.mode, row.mode_name),
                                       dbg("\n logicPort is 0")}));
        EXPECT_EQ(PortVlanCfg[0][0], row.kept());
        EXPECT_EQ(given, row.given()) << "the caller's rule is only read";
    });
}

TEST_F(RuleInstall, mld_gets_the_rule_as_derived_for_igmp)
{
    for (const Normalisation &row : kNormalised) {
        SCOPED_TRACE(::testing::PrintToString(row));
        SetUp();
        mldInitParams.mldOmciVersion = 1; // or MLD derives by itself
        install(row.given());
        EXPECT_EQ(mldInitParams.mldPortVlanCfg[0][0], row.kept());
    }
}

TEST_F(RuleInstall, the_flags_of_both_positions_are_kept_when_mld_follows)
{
    PortVlanCfg[0][0].ruleFlag = 9;
    mldInitParams.mldPortVlanCfg[0][0].ruleFlag = 8;
    install(rule(0).modes(1).up(101, 102).down(103, 104).data(105, 106).flag(7));
    EXPECT_EQ(PortVlanCfg[0][0].ruleFlag, 9);
    EXPECT_EQ(mldInitParams.mldPortVlanCfg[0][0].ruleFlag, 8);
}

// --- Ports

TEST_F(RuleInstall, a_port_that_is_not_configured_is_refused_before_anything_is_stored)
{
    for (const int port : {1, 2, 28, 30, 255}) {
        SCOPED_TRACE(port);
        SetUp();
        everything_logged();

        const auto seen = install(plain_rule(static_cast<uint8_t>(port)));

        expect_refused(seen, {cfg("[onu_std_omci_set_multicast_vlan]: is in! port_index = "
                                  "%d,1, 101, 102, 5, 103, 104, 6, 105, 106.\r\n",
                                  port),
                              called("vx_hal_nni_upmode_get()"), dbg("multicast_vlan tagmode = 1, is tag mode!\n"),
                              err("\n port(%d) is invalid!", port)});
    }
}

TEST_F(RuleInstall, learning_stays_on_when_the_port_is_then_refused)
{
    platform().uplink_mode = 0;
    platform().answer("igmp_vlan_learning_set", 5);
    const auto seen = install(plain_rule(7));
    EXPECT_EQ(seen.result, -1);
    EXPECT_THAT(seen.changed, ElementsAre("globle_parm.learningMode"));
}

TEST_F(RuleInstall, a_port_number_of_more_than_a_byte_is_not_cut_when_compared)
{
    portState[0].portNo = 256;
    EXPECT_EQ(install(plain_rule(0)).result, -1);
}

// --- A table with no place

TEST_F(RuleInstall, a_seventeenth_rule_is_silently_not_stored)
{
    everything_logged();
    serve_igmp_alone();
    put_rules(1, std::vector<vlanCfgNode>(16, plain_rule(29)));
    put_static_groups(1, {static_group(105, 1)});

    const auto seen = install(rule(29, 1, 1, 2, 1, 3, 4, 1, 77, 5));

    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.changed, IsEmpty());
    EXPECT_EQ(seen.trace, log_of({cfg("[onu_std_omci_set_multicast_vlan]: is in! port_index = "
                                      "29,1, 1, 2, 1, 3, 4, 1, 77, 5.\r\n"),
                                  called("vx_hal_nni_upmode_get()"), dbg("\n logicPort is 1")}));
}

TEST_F(RuleInstall, a_full_table_leaves_the_result_to_mld)
{
    struct Row {
        std::size_t mld_rules;
        int32_t result;
        const char *output;
    };
    constexpr char kMldFailed[] = "\r\n[MC_DBG_ERR]: \n ERROR!mld_onu_std_omci_set_multicast_vlan Fail";
    for (const Row &row : {Row{16, -1, kMldFailed}, Row{15, 0, ""}, Row{0, 0, ""}}) {
        SCOPED_TRACE(row.mld_rules);
        SetUp();
        errors_logged();
        put_rules(0, std::vector<vlanCfgNode>(16, plain_rule()));
        put_mld_rules(0, std::vector<vlanCfgNode>(row.mld_rules, plain_rule()));
        const auto seen = install(plain_rule());
        EXPECT_EQ(seen.result, row.result);
        EXPECT_EQ(seen.output, row.output);
        EXPECT_EQ(live_mld_rules(0).size(), row.result == 0 ? row.mld_rules + 1 : 16);
    }
}

TEST_F(RuleInstall, a_rule_count_outside_the_table_is_a_full_table)
{
    for (const int32_t count : {16, 17, 1000, -1}) {
        SCOPED_TRACE(count);
        SetUp();
        serve_igmp_alone();
        setVlanCfgNumber[0] = count;
        const auto seen = install(plain_rule());
        EXPECT_EQ(seen.result, 0);
        EXPECT_THAT(seen.changed, IsEmpty());
        EXPECT_THAT(seen.calls, ElementsAre("vx_hal_nni_upmode_get()"));
    }
}

TEST_F(RuleInstall, an_occupied_position_is_reported_and_kept)
{
    errors_logged();
    put_rules(0, {plain_rule(), rule(0).in_data(300)});
    setVlanCfgNumber[0] = 1; // out of step with the table
    put_static_groups(0, {static_group(105, 1)});
    platform().uplink_mode = 0;
    platform().answer("igmp_vlan_learning_set", 9);
    serve_igmp_alone();

    const auto seen = install(plain_rule());

    EXPECT_EQ(seen.result, 9);
    EXPECT_EQ(seen.trace,
              log_of({called("vx_hal_nni_upmode_get()"), called("igmp_vlan_learning_set(1)"),
                      err("\n ERROR!igmp_adapt_vlan_learning Fail"), err("\n PortVlan storege is wrong!")}));
    EXPECT_THAT(seen.changed, ElementsAre("globle_parm.learningMode"));
}

TEST_F(RuleInstall, after_an_occupied_position_mld_follows)
{
    PortVlanCfg[0][0].in_data_vlan = 300;
    const auto seen = install(plain_rule());
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(live_mld_rules(0), ElementsAre(plain_rule()));
    EXPECT_THAT(seen.calls, ElementsAre("vx_hal_nni_upmode_get()", "mld_pack_set_mc_vlan(1, 105)"));
}

TEST_F(RuleInstall, a_rule_without_multicast_vlan_is_stored_and_counted_like_any_other)
{
    serve_igmp_alone();
    const vlanCfgNode without = rule(0, 1, 101, 102, 5, 103, 104, 6, 0xFFFF, 106);
    EXPECT_THAT(install(without).calls, Contains("igmp_vlan_add(4095)"));
    install(plain_rule());
    EXPECT_THAT(live_rules(0), ElementsAre(without, plain_rule()));
    EXPECT_THAT(template_vlans(), ElementsAre(0xFFFF, 105));
}

// --- MLD follows

TEST_F(RuleInstall, the_mld_result_replaces_the_igmp_status)
{
    struct Row {
        int32_t igmp, mld;
    };
    for (const Row &row : {Row{0, 0}, Row{5, 0}, Row{0, 256}, Row{7, 0x180}, Row{-1, -2}}) {
        SCOPED_TRACE(row.mld);
        SetUp();
        mc_debug = MC_DEBUG_ERROR;
        platform().answer("igmp_vlan_add", row.igmp);
        platform().answer("mld_pack_set_mc_vlan", row.mld);
        const auto seen = install(plain_rule());
        EXPECT_EQ(seen.result, row.mld);
        EXPECT_EQ(seen.output.find("ERROR!mld_onu_std_omci_set_multicast_vlan Fail") != std::string::npos,
                  row.mld != 0);
    }
}

TEST_F(RuleInstall, mld_finds_the_port_in_its_own_table)
{
    errors_logged();
    mldInitParams.mldPortState[0].portNo = 3;
    const auto seen = install(plain_rule());
    EXPECT_EQ(seen.result, -1);
    EXPECT_THAT(live_rules(0), ElementsAre(plain_rule()));
    EXPECT_EQ(seen.output, log_of({err("\n PortVlan storege is wrong!"), mld_err("mld port(0) is invalid!\r\n"),
                                   err("\n ERROR!mld_onu_std_omci_set_multicast_vlan Fail")}));
}

} // namespace
} // namespace mcadapt::test
