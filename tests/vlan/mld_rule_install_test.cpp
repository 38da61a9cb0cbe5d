/** The MLD rule install: the twin of the IGMP one, with its own tables, lines and refusals. */
#include "support/library_test.h"
#include "support/matchers.h"
#include "vlan/expected_log.h"
#include "vlan/rule_cases.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class MldRuleInstall : public LibraryTest {
protected:
    static Observed<int32_t> install(vlanCfgNode given) { return install_in_place(given); }

    static Observed<int32_t> install_in_place(vlanCfgNode &given)
    {
        return observe([&] { return mld_onu_std_omci_set_multicast_vlan(&given); });
    }
};

// --- Whole passes

/** A pass in which every step has something to do and the engine refuses. */
class MldRuleInstallWholePass : public MldRuleInstall {
protected:
    void SetUp() override
    {
        MldRuleInstall::SetUp();
        igmp_adapt = 1; // no concern of this side
        mldInitParams.mldAdapt = 1;
        put_mld_rules(0, {rule_of(101, 7)});
        put_mld_template_vlans({7, 8});
        put_static_groups(0, {static_group(105, 0xE1010203)});
        platform().uplink_mode = 0;
        platform().answer("mld_pack_set_mc_vlan", 256);
    }

    const vlanCfgNode given = rule(0, 3, 0xFFFF, 102, 5, 103, 104, 6, 0x1069, 106);
    const vlanCfgNode derived = rule(0, 3, 104, 102, 5, 103, 104, 6, 0x1069, 106);

    // intended: neither the uplink nor static groups nor a dump, and no closing line
    static Log whole_pass()
    {
        return {
            mld_dbg("mld_onu_std_omci_set_multicast_vlan is in! port_index = 0\n"),
            mld_dbg("mld multicast_vlan tagmode = 3, is translate mode!\n"),
            mld_dbg("mld logicPort is 0\r\n"),
            mld_dbg("mld vlancfgtem(1)\r\n"),
            mld_dbg("\n mld before add multicast_vlan!"),
            mld_dbg("\n mld after add multicast_vlan!"),
            mld_cfg("***mld portVlan[j]= 7"),
            mld_cfg("***mld portVlan[j]= 8"),
            mld_dbg("\n after add PortVlan!"),
            mld_cfg("temp_var = 105\n"),
            called("mld_pack_set_mc_vlan(1, 105)"),
            mld_err("ERROR!mld_pack_set_mc_vlan Fail\n"),
        };
    }
};

TEST_F(MldRuleInstallWholePass, every_step_comes_in_its_order_and_each_line_under_its_own_bit)
{
    for (const auto &[igmp_mask, mld_mask] : all_log_masks()) {
        SCOPED_TRACE("mc_debug " + std::to_string(igmp_mask) + ", mld_debug " + std::to_string(mld_mask));
        SetUp();
        mc_debug = igmp_mask;
        mld_debug = mld_mask;

        const auto seen = install(given);

        EXPECT_EQ(seen.trace, log_of(whole_pass()));
        EXPECT_EQ(seen.result, 256); // intended: not cut to a byte as on the IGMP side
    }
}

TEST_F(MldRuleInstallWholePass, what_was_stored_stays_when_the_engine_refuses)
{
    vlanCfgNode record = given;
    const auto seen = install_in_place(record);

    EXPECT_EQ(record, derived); // intended: the caller's record is normalised in place
    EXPECT_THAT(live_mld_rules(0), ElementsAre(rule_of(101, 7), derived));
    EXPECT_THAT(mld_vlans(), ElementsAre(7, 8, 0x1069));
    EXPECT_EQ(mldInitParams.mldTemplateVlan[2], 0x1069);
    EXPECT_THAT(seen.changed,
                ElementsAreArray(Fields{"mldInitParams.setVlanNumber", "mldInitParams.mldTemplateVlan[2]",
                                        "mldInitParams.mldSetVlanCfgNumber[0]", "mldInitParams.mldVlanList[2]"} +
                                 rule_fields("mldInitParams.mldPortVlanCfg[0][1]")))
        << "nothing of the IGMP side";
}

TEST_F(MldRuleInstallWholePass, traces_of_rule_changes_need_mldAdapt_1)
{
    for (const uint32_t value : {0xFFFFFFFFu, 0u, 2u, 257u}) {
        SCOPED_TRACE(value);
        SetUp();
        everything_logged();
        mldInitParams.mldAdapt = value;
        const auto seen = install(given);
        for (const char *absent : {"before add", "after add"})
            EXPECT_THAT(seen.output, Not(HasSubstr(absent)));
    }
}

TEST_F(MldRuleInstallWholePass, the_vlan_is_listed_when_the_engine_is_asked)
{
    std::vector<uint32_t> listed;
    platform().on("mld_pack_set_mc_vlan", [&] { listed = mld_vlans(); });
    install(given);
    EXPECT_THAT(listed, ElementsAre(7, 8, 0x1069));
}

// --- The rule as given, and as stored

TEST_F(MldRuleInstall, until_rules_are_set_by_mode_the_upstream_side_is_derived_in_place)
{
    for (const Normalisation &row : kNormalised) {
        SCOPED_TRACE(::testing::PrintToString(row));
        SetUp();
        mld_debug = MC_DEBUG_TRACE;
        flag_omci_version = 1; // the IGMP side's switch
        vlanCfgNode record = row.given();

        const auto seen = install_in_place(record);

        EXPECT_EQ(seen.output,
                  log_of({mld_dbg("mld_onu_std_omci_set_multicast_vlan is in! port_index = 0\n"),
                          mld_dbg("mld multicast_vlan tagmode = %d, is %s mode!\n", row.mode, row.mode_name),
                          mld_dbg("mld logicPort is 0\r\n"), mld_dbg("mld vlancfgtem(0)\r\n")}));
        EXPECT_EQ(record, row.kept());
        EXPECT_THAT(live_mld_rules(0), ElementsAre(row.kept()));
    }
}

TEST_F(MldRuleInstall, once_rules_are_set_by_mode_nothing_is_derived_but_the_zeroing_stays)
{
    for (const uint32_t version : {1u, 2u, 0x100u})
        for (const Normalisation &row : kNotDerived) {
            SCOPED_TRACE(::testing::PrintToString(row));
            SetUp();
            mld_debug = MC_DEBUG_TRACE;
            mldInitParams.mldOmciVersion = version;
            vlanCfgNode record = row.given();
            const auto seen = install_in_place(record);
            EXPECT_THAT(seen.output, Not(HasSubstr("tagmode")));
            EXPECT_EQ(record, row.kept());
            EXPECT_THAT(live_mld_rules(0), ElementsAre(row.kept()));
        }
}

TEST_F(MldRuleInstall, the_flag_of_the_position_is_kept) // intended: the flag is nobody's to write
{
    mldInitParams.mldPortVlanCfg[0][0].ruleFlag = 9;
    vlanCfgNode record = rule(0).modes(1).up(101, 102).down(103, 104).data(105, 106).flag(7);
    install_in_place(record);
    EXPECT_EQ(mldInitParams.mldPortVlanCfg[0][0].ruleFlag, 9);
    EXPECT_EQ(record.ruleFlag, 7);
}

// --- Ports

TEST_F(MldRuleInstall, a_port_that_is_not_configured_is_refused_once_the_record_was_derived)
{
    for (const int port : {1, 2, 28, 30, 255}) {
        SCOPED_TRACE(port);
        SetUp();
        everything_logged();
        const auto number = static_cast<uint8_t>(port);
        vlanCfgNode record = rule(number, 0, 0xFFFF, 102, 5, 0, 104, 6, 105, 106);

        const auto seen = install_in_place(record);

        EXPECT_EQ(seen.result, -1);
        EXPECT_EQ(seen.trace, log_of({mld_dbg("mld_onu_std_omci_set_multicast_vlan is in! port_index = %d\n", port),
                                      mld_dbg("mld multicast_vlan tagmode = 0, is untag mode!\n"),
                                      mld_err("mld port(%d) is invalid!\r\n", port)}));
        EXPECT_THAT(seen.changed, IsEmpty());
        EXPECT_EQ(record, rule(number, 0, 0, 104, 5, 0, 104, 6, 105, 106)) << "derived, but not yet zeroed";
    }
}

TEST_F(MldRuleInstall, the_rule_goes_to_the_row_of_its_port_in_the_mld_port_table)
{
    struct Row {
        uint32_t first_port, second_port;
        uint8_t given;
        int logic_port;
    };
    for (const Row &row : {Row{0, 29, 0, 0}, Row{0, 29, 29, 1}, Row{5, 5, 5, 0}, Row{29, 0, 0, 1}, Row{0, 40, 40, 1}}) {
        SCOPED_TRACE(+row.given);
        SetUp();
        traces_logged();
        portState[0].portNo = 77; // the IGMP side's ports
        portState[1].portNo = 78;
        mldInitParams.mldPortState[0].portNo = row.first_port;
        mldInitParams.mldPortState[1].portNo = row.second_port;

        const auto seen = install(plain_rule(row.given));

        EXPECT_THAT(seen.output, HasSubstr(log_of({mld_dbg("mld logicPort is %d\r\n", row.logic_port)})));
        EXPECT_THAT(live_mld_rules(row.logic_port), ElementsAre(plain_rule(row.given)));
        EXPECT_THAT(live_mld_rules(1 - row.logic_port), IsEmpty());
    }
}

// --- A table with no place

TEST_F(MldRuleInstall, a_full_table_refuses_without_a_line_once_the_record_was_zeroed)
{
    for (const int32_t count : {16, 17, 1000, -1}) {
        SCOPED_TRACE(count);
        SetUp();
        everything_logged();
        put_mld_rules(1, std::vector<vlanCfgNode>(16, plain_rule(29)));
        mldInitParams.mldSetVlanCfgNumber[1] = count;
        vlanCfgNode record = rule(29, 1, 0xFFFF, 102, 5, 103, 104, 6, 105, 106);

        const auto seen = install_in_place(record);

        EXPECT_EQ(seen.result, -1); // intended: the IGMP install goes on here
        EXPECT_EQ(seen.trace, log_of({mld_dbg("mld_onu_std_omci_set_multicast_vlan is in! port_index = 29\n"),
                                      mld_dbg("mld multicast_vlan tagmode = 1, is tag mode!\n"),
                                      mld_dbg("mld logicPort is 1\r\n"), mld_dbg("mld vlancfgtem(%d)\r\n", count)}));
        EXPECT_THAT(seen.changed, IsEmpty());
        EXPECT_EQ(record, rule(29, 1, 0, 102, 5, 103, 0, 6, 105, 0));
    }
}

TEST_F(MldRuleInstall, the_sixteenth_rule_still_has_a_place)
{
    put_mld_rules(0, std::vector<vlanCfgNode>(15, plain_rule()));
    EXPECT_EQ(install(plain_rule()).result, 0);
    EXPECT_EQ(mldInitParams.mldSetVlanCfgNumber[0], 16);
    EXPECT_EQ(mldInitParams.mldPortVlanCfg[0][15], plain_rule());
    EXPECT_THAT(mldInitParams.mldPortVlanCfg[1][0], IsEmptyRule());
}

TEST_F(MldRuleInstall, an_occupied_position_refuses_without_a_line)
{
    errors_logged();
    put_mld_rules(0, {plain_rule(), rule(0).in_data(300)});
    mldInitParams.mldSetVlanCfgNumber[0] = 1; // out of step with the table
    const auto seen = install(plain_rule());
    EXPECT_EQ(seen.result, -1);
    EXPECT_EQ(seen.output, "");
    EXPECT_THAT(seen.changed, IsEmpty());
    EXPECT_THAT(seen.calls, IsEmpty());
}

TEST_F(MldRuleInstall, only_the_multicast_vlan_tells_whether_a_position_is_empty)
{
    mldInitParams.mldPortVlanCfg[0][0] = rule(7, 1, 1, 1, 1, 1, 1, 1, 0xFFFF, 1);
    EXPECT_EQ(install(plain_rule()).result, 0);
    EXPECT_THAT(live_mld_rules(0), ElementsAre(plain_rule()));
}

// --- The VLAN list

TEST_F(MldRuleInstall, a_listed_vlan_ends_the_install_with_0_after_the_whole_scan)
{
    everything_logged();
    mldInitParams.mldAdapt = 1;
    put_mld_template_vlans({105, 200, 105});
    platform().answer("mld_pack_set_mc_vlan", 5);

    const auto seen = install(plain_rule());

    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.output,
                EndsWith(log_of({mld_dbg("\n mld after add multicast_vlan!"), mld_cfg("***mld portVlan[j]= 105"),
                                 mld_dbg("\n PortVlan is  already exist!"), mld_cfg("***mld portVlan[j]= 200"),
                                 mld_cfg("***mld portVlan[j]= 105"), mld_dbg("\n PortVlan is  already exist!")})));
    EXPECT_THAT(seen.calls, IsEmpty());
    EXPECT_THAT(seen.changed, ElementsAreArray(Fields{"mldInitParams.mldSetVlanCfgNumber[0]"} +
                                               rule_fields("mldInitParams.mldPortVlanCfg[0][0]")));
}

TEST_F(MldRuleInstall, a_listed_vlan_is_told_only_while_rule_changes_are_traced)
{
    for (const uint32_t value : {0xFFFFFFFFu, 0u, 2u}) {
        SCOPED_TRACE(value);
        SetUp();
        everything_logged();
        mldInitParams.mldAdapt = value;
        put_mld_template_vlans({105});
        EXPECT_THAT(install(plain_rule()).output, EndsWith(log_of({mld_cfg("***mld portVlan[j]= 105")})));
    }
}

TEST_F(MldRuleInstall, a_listed_vlan_is_told_under_the_trace_bit_alone)
{
    for (const uint32_t mask : {0x00u, 0x01u, 0x04u, 0x20u}) {
        SCOPED_TRACE(mask);
        SetUp();
        log_mask(mask);
        mldInitParams.mldAdapt = 1;
        put_mld_template_vlans({105});
        const auto told = install(plain_rule()).output.find("\r\n[MC_MLD_DBG_DBG]: \n PortVlan is  already exist!");
        EXPECT_EQ(told != std::string::npos, mask == 0x01);
    }
}

TEST_F(MldRuleInstall, the_scan_reads_the_32_bit_list_whole)
{
    config_logged();
    put_mld_template_vlans({105, 105, 105}); // the 16-bit list, which is not read
    mldInitParams.mldVlanList[0] = 0x10069;
    mldInitParams.mldVlanList[1] = 0xFFFFFFFF;
    mldInitParams.mldVlanList[2] = 0x1069;

    const auto seen = install(rule_of(101, 105));

    EXPECT_EQ(seen.trace, log_of({mld_cfg("***mld portVlan[j]= 65641"), mld_cfg("***mld portVlan[j]= -1"),
                                  mld_cfg("***mld portVlan[j]= 4201"), mld_cfg("temp_var = 105\n"),
                                  called("mld_pack_set_mc_vlan(1, 105)")}));
    EXPECT_THAT(mld_vlans(), ElementsAre(0x10069, 0xFFFFFFFF, 0x1069, 105));
}

TEST_F(MldRuleInstall, vlans_that_differ_above_bit_11_are_listed_apart_and_registered_alike)
{
    for (const uint16_t vlan : {uint16_t{0x0069}, uint16_t{0x1069}, uint16_t{0xF069}})
        EXPECT_THAT(install(rule_of(101, vlan)).calls, ElementsAre("mld_pack_set_mc_vlan(1, 105)"));
    EXPECT_THAT(mld_vlans(), ElementsAre(0x0069, 0x1069, 0xF069));
    EXPECT_THAT(install(rule_of(101, 0x1069)).calls, IsEmpty());
}

TEST_F(MldRuleInstall, entries_beyond_the_count_do_not_list_a_vlan)
{
    put_mld_template_vlans({200, 105});
    mldInitParams.setVlanNumber = 1;
    EXPECT_THAT(install(plain_rule()).calls, ElementsAre("mld_pack_set_mc_vlan(1, 105)"));
    EXPECT_EQ(mldInitParams.setVlanNumber, 2);
}

TEST_F(MldRuleInstall, the_sixteenth_vlan_still_has_a_place)
{
    put_mld_template_vlans({201, 202, 203, 204, 205, 206, 207, 208, 209, 210, 211, 212, 213, 214, 215});
    EXPECT_EQ(install(plain_rule()).output, "");
    EXPECT_EQ(mldInitParams.setVlanNumber, 16);
    EXPECT_EQ(mldInitParams.mldVlanList[15], 105u);
    EXPECT_EQ(mldInitParams.mldTemplateVlan[15], 105);
}

TEST_F(MldRuleInstall, a_seventeenth_vlan_ends_the_install_with_0_but_the_rule_is_stored)
{
    struct Row {
        uint32_t mask;
        int32_t count;
    };
    for (const Row &row : {Row{0, 16}, Row{0x04, 16}, Row{0, 17}, Row{0, -1}}) { // the line needs no bit
        SCOPED_TRACE(row.count);
        SetUp();
        log_mask(row.mask);
        put_mld_template_vlans(sixteen_vlans());
        mldInitParams.setVlanNumber = row.count;

        const auto seen = install(plain_rule());

        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(seen.trace, "mldInitParams.setVlanNumber = " + std::to_string(row.count) + " then > 16  quit!");
        EXPECT_THAT(seen.changed, ElementsAreArray(Fields{"mldInitParams.mldSetVlanCfgNumber[0]"} +
                                                   rule_fields("mldInitParams.mldPortVlanCfg[0][0]")));
    }
}

TEST_F(MldRuleInstall, a_listed_vlan_needs_no_place_in_a_full_list)
{
    put_mld_template_vlans(sixteen_vlans());
    EXPECT_EQ(install(rule_of(101, 216)).output, "");
    EXPECT_EQ(mldInitParams.mldSetVlanCfgNumber[0], 1);
}

// --- Registration

TEST_F(MldRuleInstall, the_registration_status_is_returned_whole)
{
    for (const int32_t answer : kFullResults) {
        SCOPED_TRACE(answer);
        SetUp();
        errors_logged();
        platform().answer("mld_pack_set_mc_vlan", answer);
        const auto seen = install(plain_rule());
        EXPECT_EQ(seen.result, answer);
        EXPECT_EQ(seen.output, answer == 0 ? "" : log_of({mld_err("ERROR!mld_pack_set_mc_vlan Fail\n")}));
        EXPECT_THAT(mld_vlans(), ElementsAre(105));
    }
}

} // namespace
} // namespace mcadapt::test
