/** The IGMP rule install, second half: the template VLAN list, the static groups and the engine's answers. */
#include "vlan/rule_sides.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::EndsWith;
using ::testing::IsEmpty;

/** IGMP alone, as after a rule set by mode, with a GPON uplink: the calls are those of the rule's VLAN and groups. */
class RuleInstallVlan : public RuleTest<IgmpRules> {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        serve_igmp_alone();
    }

    static Observed<int32_t> install(const vlanCfgNode &given)
    {
        return without_uplink_question(RuleTest::install(given));
    }
};

// --- The template list

TEST_F(RuleInstallVlan, the_scan_for_the_vlan_logs_every_entry_and_does_not_stop_at_a_match)
{
    everything_logged();
    igmp_adapt = 1;
    put_template_vlans({105, 200, 105});

    const auto seen = install(plain_rule());

    const std::string scan = log_of({dbg("***portVlan[j]= 105"), dbg("\n PortVlan is  already exist!"),
                                     dbg("***portVlan[j]= 200"), dbg("***portVlan[j]= 105"),
                                     dbg("\n PortVlan is  already exist!"), err("\n PortVlan storege is wrong!")});
    EXPECT_THAT(seen.output, EndsWith(scan));
    EXPECT_THAT(seen.calls, IsEmpty());
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(template_vlans(), ElementsAre(105, 200, 105));
}

TEST_F(RuleInstallVlan, rules_of_one_vlan_are_all_stored_but_the_vlan_is_listed_and_registered_once)
{
    EXPECT_THAT(install(rule_of(101, 105)).calls, ElementsAre("igmp_vlan_add(105)"));
    EXPECT_THAT(install(rule_of(101, 105)).calls, IsEmpty());
    EXPECT_THAT(install(rule_of(101, 106)).calls, ElementsAre("igmp_vlan_add(106)"));
    const auto other_port = install(plain_rule(29));
    EXPECT_THAT(other_port.calls, IsEmpty());
    EXPECT_THAT(other_port.changed, ElementsAreArray(IgmpRules::rule_and_count("1", "0")));
    EXPECT_THAT(live_rules(0), ElementsAre(rule_of(101, 105), rule_of(101, 105), rule_of(101, 106)));
    EXPECT_THAT(template_vlans(), ElementsAre(105, 106));
}

TEST_F(RuleInstallVlan, the_scan_reads_the_list_and_not_its_mirror)
{
    traces_logged();
    put_template_vlans({105});
    globle_parm.TemplateVlan[0] = 200;
    EXPECT_THAT(install(plain_rule()).output, EndsWith("[MC_DBG_DBG]: ***portVlan[j]= 105"));
    EXPECT_THAT(install(rule_of(101, 200)).calls, ElementsAre("igmp_vlan_add(200)"));
}

TEST_F(RuleInstallVlan, a_seventeenth_vlan_ends_the_install_with_0_but_the_rule_is_stored)
{
    for (const uint32_t mask : {0u, 0x04u, 0x20u}) // the line needs no bit
        for (const uint32_t version : {0u, 1u}) {
            SCOPED_TRACE(mask);
            SetUp();
            log_mask(mask);
            flag_omci_version = version;
            put_template_vlans(sixteen_vlans());
            put_static_groups(0, {static_group(9, 1)});
            platform().answer("igmp_if_static_group_source_add", 5);

            const auto seen = install(plain_rule());

            EXPECT_EQ(seen.result, 0); // intended: a status before it is lost
            EXPECT_EQ(seen.trace.substr(seen.trace.find("<igmp_if")),
                      log_of({called("igmp_if_static_group_source_add(0, 9, 1, 0, 1)"),
                              err("\n ERROR!igmp_if_static_group_source_add Fail"),
                              ungated("setVlanNumber = 16 then > 16  quit!")}));
            EXPECT_THAT(seen.changed, ElementsAreArray(IgmpRules::rule_and_count("0", "0")))
                << "neither listed nor given to MLD";
        }
}

TEST_F(RuleInstallVlan, a_list_count_outside_the_list_is_a_full_list)
{
    for (const int32_t count : {17, 1000, -1}) {
        SCOPED_TRACE(count);
        SetUp();
        setVlanNumber = count;
        const auto seen = install(plain_rule());
        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(seen.output, "setVlanNumber = " + std::to_string(count) + " then > 16  quit!");
        EXPECT_EQ(setVlanNumber, count);
    }
}

// --- Static groups

TEST_F(RuleInstallVlan, all_static_groups_of_the_port_are_asked_again_whatever_their_vlan)
{
    for (const bool listed : {false, true}) {
        SCOPED_TRACE(listed ? "VLAN listed" : "VLAN new");
        SetUp();
        put_static_groups(0, {static_group(1, 0xE1000001)});
        put_static_groups(1, {static_group(7, 0xE1010101), free_static_group(), static_group(0, 5),
                              static_group(0xFFFE, 0xFFFFFFFF)});
        if (listed)
            put_template_vlans({105});
        std::vector<std::string> wanted = {"igmp_if_static_group_source_add(1, 7, 3774939393, 0, 1)",
                                           "igmp_if_static_group_source_add(1, 0, 5, 0, 1)",
                                           "igmp_if_static_group_source_add(1, 65534, 4294967295, 0, 1)"};
        if (!listed)
            wanted.push_back("igmp_vlan_add(105)");
        EXPECT_THAT(install(plain_rule(29)).calls, ElementsAreArray(wanted));
    }
}

TEST_F(RuleInstallVlan, groups_beyond_the_count_are_not_asked)
{
    put_static_groups(0, {static_group(7, 1), static_group(8, 2), static_group(9, 3)});
    put_template_vlans({105});
    g_static_grp_num[0] = 2;
    EXPECT_EQ(install(plain_rule()).calls.size(), 2u);
    g_static_grp_num[0] = 0;
    EXPECT_THAT(install(plain_rule()).calls, IsEmpty());
}

TEST_F(RuleInstallVlan, a_full_static_list_is_asked_to_its_end_and_not_beyond)
{
    for (const int32_t count : {32, 33, 1000}) {
        SCOPED_TRACE(count);
        SetUp();
        put_template_vlans({105});
        for (auto &row : g_static_list)
            for (staticGroupEntry &entry : row)
                entry = static_group(7, 1);
        g_static_grp_num[0] = count;
        EXPECT_EQ(install(plain_rule()).calls.size(), 32u);
    }
}

TEST_F(RuleInstallVlan, a_refused_group_is_reported_and_the_next_one_follows)
{
    errors_logged();
    put_template_vlans({105});
    put_static_groups(0, {static_group(7, 1), static_group(8, 2), static_group(9, 3)});
    platform().answers("igmp_if_static_group_source_add", {5, 256, -1});

    const auto seen = install(plain_rule());

    EXPECT_EQ(seen.result, -1);
    EXPECT_EQ(seen.trace,
              log_of({called("vx_hal_nni_upmode_get()"), called("igmp_if_static_group_source_add(0, 7, 1, 0, 1)"),
                      err("\n ERROR!igmp_if_static_group_source_add Fail"),
                      called("igmp_if_static_group_source_add(0, 8, 2, 0, 1)"),
                      called("igmp_if_static_group_source_add(0, 9, 3, 0, 1)"),
                      err("\n ERROR!igmp_if_static_group_source_add Fail"), err("\n PortVlan storege is wrong!")}));
}

TEST_F(RuleInstallVlan, the_status_is_the_low_byte_of_the_last_group_asked)
{
    for (const ByteResult &engine : kByteResults) {
        SCOPED_TRACE(engine.answer);
        SetUp();
        put_template_vlans({105});
        put_static_groups(0, {static_group(7, 1), static_group(8, 2), free_static_group()});
        platform().answers("igmp_if_static_group_source_add", {77, engine.answer});
        EXPECT_EQ(install(plain_rule()).result, engine.status);
    }
}

TEST_F(RuleInstallVlan, with_no_group_to_ask_the_status_of_learning_stays)
{
    put_template_vlans({105});
    put_static_groups(0, {free_static_group()});
    platform().uplink_mode = 0;
    platform().answer("igmp_vlan_learning_set", 6);
    EXPECT_EQ(install(plain_rule()).result, 6);
}

TEST_F(RuleInstallVlan, an_accepted_group_hides_refused_learning)
{
    put_template_vlans({105});
    put_static_groups(0, {static_group(7, 1)});
    platform().uplink_mode = 0;
    platform().answer("igmp_vlan_learning_set", 6);
    EXPECT_EQ(install(plain_rule()).result, 0);
}

TEST_F(RuleInstallVlan, the_group_count_is_read_again_after_each_call)
{
    struct Row {
        int32_t before, during;
        std::size_t asked;
    };
    for (const Row &row : {Row{2, 4, 4}, Row{4, 2, 2}, Row{4, 0, 1}, Row{1, 1, 1}}) {
        SCOPED_TRACE(row.during);
        SetUp();
        put_template_vlans({105});
        put_static_groups(0, {static_group(1, 1), static_group(2, 2), static_group(3, 3), static_group(4, 4)});
        g_static_grp_num[0] = row.before;
        platform().on("igmp_if_static_group_source_add", [&] { g_static_grp_num[0] = row.during; });
        EXPECT_EQ(install(plain_rule()).calls.size(), row.asked);
    }
}

TEST_F(RuleInstallVlan, a_list_that_fills_up_during_the_groups_is_full)
{
    put_static_groups(0, {static_group(1, 1)});
    platform().on("igmp_if_static_group_source_add", [] { put_template_vlans(sixteen_vlans()); });
    const auto seen = install(plain_rule());
    EXPECT_EQ(seen.output, "setVlanNumber = 16 then > 16  quit!");
    EXPECT_THAT(seen.calls, ElementsAre("igmp_if_static_group_source_add(0, 1, 1, 0, 1)"));
}

TEST_F(RuleInstallVlan, the_vlan_is_looked_for_before_the_groups_and_taken_from_the_stored_rule_after_them)
{
    put_static_groups(0, {static_group(1, 1)});
    platform().on("igmp_if_static_group_source_add", [] {
        put_template_vlans({105});
        PortVlanCfg[0][0].in_data_vlan = 300;
    });
    install(plain_rule());
    EXPECT_THAT(template_vlans(), ElementsAre(105, 300));
    EXPECT_EQ(globle_parm.TemplateVlan[1], 300);
}

// --- Registration

TEST_F(RuleInstallVlan, the_registration_status_is_the_low_byte_and_is_told_in_the_line)
{
    for (const ByteResult &engine : kByteResults) {
        SCOPED_TRACE(engine.answer);
        SetUp();
        errors_logged();
        put_static_groups(0, {static_group(1, 1)});
        platform().answer("igmp_if_static_group_source_add", 256);
        platform().answer("igmp_vlan_add", engine.answer);

        const auto seen = install(plain_rule());

        Log wanted;
        if (engine.status != 0)
            wanted.push_back(err("\n ERROR!igmp_standard_vlan_add Fail %d\r\n", engine.status));
        wanted.push_back(err("\n PortVlan storege is wrong!"));
        EXPECT_EQ(seen.result, engine.status);
        EXPECT_EQ(seen.output, log_of(wanted));
        EXPECT_THAT(template_vlans(), ElementsAre(105));
    }
}

TEST_F(RuleInstallVlan, a_registration_that_succeeds_hides_refused_groups)
{
    put_static_groups(0, {static_group(1, 1)});
    platform().answer("igmp_if_static_group_source_add", 5);
    EXPECT_EQ(install(plain_rule()).result, 0);
}

TEST_F(RuleInstallVlan, a_refused_registration_without_error_lines_goes_on_to_mld_all_the_same)
{
    flag_omci_version = 0;
    platform().answer("igmp_vlan_add", 5);
    const auto seen = install(plain_rule());
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_vlan_add(105)", "mld_pack_set_mc_vlan(1, 105)"));
}

TEST_F(RuleInstallVlan, whether_mld_follows_is_decided_after_the_engine_was_asked)
{
    platform().on("igmp_vlan_add", [] { flag_omci_version = 0; });
    EXPECT_THAT(install(plain_rule()).calls, ElementsAre("igmp_vlan_add(105)", "mld_pack_set_mc_vlan(1, 105)"));
}

} // namespace
} // namespace mcadapt::test
