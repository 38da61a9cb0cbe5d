/** The MLD rule install, what only this family does: its lines, its refusals, and the caller's record. */
#include "vlan/rule_sides.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class MldRuleInstall : public RuleTest<MldRules> {};

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
    // intended: not cut to a byte as on the IGMP side
    expect_under_all_masks([&] { return install(given); }, whole_pass(), 256);
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
    for_each_traced(kNormalised, [](const Normalisation &row) {
        flag_omci_version = 1; // the IGMP side's switch
        vlanCfgNode record = row.given();

        const auto seen = install_in_place(record);

        EXPECT_EQ(seen.output,
                  log_of({mld_dbg("mld_onu_std_omci_set_multicast_vlan is in! port_index = 0\n"),
                          mld_dbg("mld multicast_vlan tagmode = %d, is %s mode!\n", row.mode, row.mode_name),
                          mld_dbg("mld logicPort is 0\r\n"), mld_dbg("mld vlancfgtem(0)\r\n")}));
        EXPECT_EQ(record, row.kept());
        EXPECT_THAT(live_mld_rules(0), ElementsAre(row.kept()));
    });
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

        expect_refused(seen, {mld_dbg("mld_onu_std_omci_set_multicast_vlan is in! port_index = %d\n", port),
                              mld_dbg("mld multicast_vlan tagmode = 0, is untag mode!\n"),
                              mld_err("mld port(%d) is invalid!\r\n", port)});
        EXPECT_EQ(record, rule(number, 0, 0, 104, 5, 0, 104, 6, 105, 106)) << "derived, but not yet zeroed";
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

        // intended: the IGMP install goes on here
        expect_refused(seen, {mld_dbg("mld_onu_std_omci_set_multicast_vlan is in! port_index = 29\n"),
                              mld_dbg("mld multicast_vlan tagmode = 1, is tag mode!\n"),
                              mld_dbg("mld logicPort is 1\r\n"), mld_dbg("mld vlancfgtem(%d)\r\n", count)});
        EXPECT_EQ(record, rule(29, 1, 0, 102, 5, 103, 0, 6, 105, 0));
    }
}

TEST_F(MldRuleInstall, an_occupied_position_refuses_without_a_line)
{
    errors_logged();
    put_mld_rules(0, {plain_rule(), rule(0).in_data(300)});
    mldInitParams.mldSetVlanCfgNumber[0] = 1; // out of step with the table
    expect_refused(install(plain_rule()), {});
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
    EXPECT_THAT(seen.changed, ElementsAreArray(MldRules::rule_and_count("0", "0")));
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
        EXPECT_THAT(seen.changed, ElementsAreArray(MldRules::rule_and_count("0", "0")));
    }
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
