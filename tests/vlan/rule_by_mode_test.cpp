/** Rules by mode and one or two VLANs: install and removal, for both families at once. */
#include "support/library_test.h"
#include "support/matchers.h"
#include "vlan/expected_log.h"
#include "vlan/rule_cases.h"

namespace mcadapt::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

constexpr char kInstallFailed[] = "\r\n[MC_DBG_ERR]: \n ERROR!std_omci_set_multicast_vlan_onu Fail";
constexpr char kMldInstallFailed[] = "\r\n[MC_DBG_ERR]: \n ERROR!mld_onu_std_omci_set_multicast_vlan Fail";
constexpr char kRemovalFailed[] = "\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_delete_multicast_vlan Fail";
constexpr char kMldRemovalFailed[] = "\r\n[MC_DBG_ERR]: \n ERROR!mld_onu_std_omci_delete_multicast_vlan Fail";

/** A mode with its VLANs, the rule that it stands for, and that rule as the tables hold it. */
struct ModeRow {
    uint32_t mode, vlan1, vlan2;
    uint8_t tag_mode;
    uint16_t in_up, out_up, in_down, out_down, in_data, out_data;
    bool user_side_zeroed;

    vlanCfgNode built(uint8_t port = 0) const
    {
        return rule(port, tag_mode, in_up, out_up, tag_mode, in_down, out_down, tag_mode, in_data, out_data);
    }
    vlanCfgNode stored(uint8_t port = 0) const
    {
        vlanCfgNode kept = built(port);
        if (user_side_zeroed)
            kept.in_up_vlan = kept.out_dn_vlan = kept.out_data_vlan = 0;
        return kept;
    }
};

constexpr uint16_t kLeftOut = 0xFFFF;

constexpr ModeRow kModes[] = {
    // mode, vlan1, vlan2 -> tag modes, in_up, out_up, in_down, out_down, in_data, out_data
    {1, 100, 200, 1, kLeftOut, 100, 100, kLeftOut, 100, kLeftOut, true},
    {0, 100, 200, 0, 100, 100, 100, 100, 100, 100, false},
    {3, 100, 200, 0, 100, 100, 100, 100, 100, 100, false}, // intended: installed as untag
    {2, 100, 200, 2, 100, 200, 200, 100, 200, 100, false},
    {4, 100, 200, 4, 100, 200, 200, 100, 200, 100, false},
    {255, 100, 200, 255, 100, 200, 200, 100, 200, 100, false},
    // The mode is compared whole, its low byte becomes the tag modes.
    {256, 100, 200, 0, 100, 200, 200, 100, 200, 100, false},
    {257, 100, 200, 1, 100, 200, 200, 100, 200, 100, false},
    {258, 100, 200, 2, 100, 200, 200, 100, 200, 100, false},
    {259, 100, 200, 3, 100, 200, 200, 100, 200, 100, false},
    {0xFFFFFFFF, 100, 200, 255, 100, 200, 200, 100, 200, 100, false},
    // VLANs count with their low 16 bits.
    {2, 0x10064, 0xABCD00C8, 2, 100, 200, 200, 100, 200, 100, false},
    {2, 0x1064, 0xF0C8, 2, 0x1064, 0xF0C8, 0xF0C8, 0x1064, 0xF0C8, 0x1064, false},
    {1, 0x20064, 0, 1, kLeftOut, 100, 100, kLeftOut, 100, kLeftOut, true},
    // A user side of 0 or none is untagged.
    {2, 0, 200, 2, 0, 200, 200, 0, 200, 0, true},
    {2, 0x10000, 200, 2, 0, 200, 200, 0, 200, 0, true},
    {2, 0xFFFF, 200, 2, kLeftOut, 200, 200, kLeftOut, 200, kLeftOut, true},
    {0, 0, 200, 0, 0, 0, 0, 0, 0, 0, true},
};

std::ostream &operator<<(std::ostream &out, const ModeRow &row)
{
    return out << "mode " << row.mode << ", VLANs " << row.vlan1 << ", " << row.vlan2;
}

/** How a port index is read: its low byte is the port. */
struct PortRow {
    int32_t index;
    uint8_t port;
    int logic_port;
};
constexpr PortRow kPorts[] = {{0, 0, 0}, {29, 29, 1}, {256, 0, 0}, {285, 29, 1}, {-256, 0, 0}, {-227, 29, 1}};

class RuleByMode : public LibraryTest {
protected:
    static Observed<int32_t> set(int32_t port, uint32_t mode, uint32_t vlan1, uint32_t vlan2)
    {
        return observe([&] { return igmp_port_vlan_and_mode_set(port, mode, vlan1, vlan2); });
    }

    static Observed<int32_t> remove(int32_t port, uint32_t mode, uint32_t vlan1, uint32_t vlan2)
    {
        return observe([&] { return igmp_service_remove_port_config(port, mode, vlan1, vlan2); });
    }

    static LogPart fields(const char *operation, const vlanCfgNode &r)
    {
        return cfg("%s is in! port_index = %d,%d, %d, %d, %d, %d, %d, %d, %d, %d.\r\n", operation, r.portNO,
                   r.prouptagmode, r.in_up_vlan, r.out_up_vlan, r.prodntagmode, r.in_dn_vlan, r.out_dn_vlan,
                   r.datedntagmode, r.in_data_vlan, r.out_data_vlan);
    }
};

// --- Install

TEST_F(RuleByMode, each_mode_stands_for_a_rule_that_both_families_store)
{
    for (const ModeRow &row : kModes) {
        SCOPED_TRACE(::testing::PrintToString(row));
        SetUp();
        mc_debug = MC_DEBUG_CONFIG;

        const auto seen = set(0, row.mode, row.vlan1, row.vlan2);

        EXPECT_EQ(seen.result, 0);
        EXPECT_THAT(seen.output, StartsWith(log_of({cfg("igmp_port_vlan_and_mode_set is in! port_index = 0\n"),
                                                    fields("[onu_std_omci_set_multicast_vlan]:", row.built())})));
        EXPECT_THAT(live_rules(0), ElementsAre(row.stored()));
        EXPECT_THAT(live_mld_rules(0), ElementsAre(row.stored()));
        EXPECT_THAT(template_vlans(), ElementsAre(row.in_data));
        EXPECT_THAT(mld_vlans(), ElementsAre(row.in_data));
    }
}

TEST_F(RuleByMode, an_install_is_an_igmp_install_and_then_an_mld_install)
{
    for (const auto &[igmp_mask, mld_mask] : all_log_masks()) {
        SCOPED_TRACE("mc_debug " + std::to_string(igmp_mask) + ", mld_debug " + std::to_string(mld_mask));
        SetUp();
        mc_debug = igmp_mask;
        mld_debug = mld_mask;
        platform().uplink_mode = 0;
        platform().answer("igmp_vlan_add", -1);
        platform().answer("mld_pack_set_mc_vlan", 0x180);

        const auto seen = set(29, 0, 100, 0);

        EXPECT_EQ(seen.result, 0x180); // intended: the IGMP status is lost
        EXPECT_EQ(seen.trace, log_of({
                                  cfg("igmp_port_vlan_and_mode_set is in! port_index = 29\n"),
                                  cfg("[onu_std_omci_set_multicast_vlan]: is in! port_index = "
                                      "29,0, 100, 100, 0, 100, 100, 0, 100, 100.\r\n"),
                                  called("vx_hal_nni_upmode_get()"),
                                  dbg("epon mode,omci_set_igmp_dynamic_enable is in!\n"),
                                  called("igmp_vlan_learning_set(1)"),
                                  dbg("\n logicPort is 1"),
                                  cfg("temp_var = 100\n"),
                                  called("igmp_vlan_add(100)"),
                                  err("\n ERROR!igmp_standard_vlan_add Fail -1\r\n"),
                                  err("\n PortVlan storege is wrong!"),
                                  err("\n ERROR!std_omci_set_multicast_vlan_onu Fail"),
                                  mld_dbg("mld_onu_std_omci_set_multicast_vlan is in! port_index = 29\n"),
                                  mld_dbg("mld logicPort is 1\r\n"),
                                  mld_dbg("mld vlancfgtem(0)\r\n"),
                                  mld_cfg("temp_var = 100\n"),
                                  called("mld_pack_set_mc_vlan(1, 100)"),
                                  mld_err("ERROR!mld_pack_set_mc_vlan Fail\n"),
                                  err("\n ERROR!mld_onu_std_omci_set_multicast_vlan Fail"),
                              }));
    }
}

TEST_F(RuleByMode, an_install_changes_the_two_versions_and_the_tables)
{
    const auto seen = set(0, 2, 100, 200);
    EXPECT_THAT(seen.changed,
                ElementsAreArray(Fields{"globle_parm.TemplateVlan[0]", "mldInitParams.mldOmciVersion",
                                        "mldInitParams.setVlanNumber", "mldInitParams.mldTemplateVlan[0]",
                                        "mldInitParams.mldSetVlanCfgNumber[0]", "mldInitParams.mldVlanList[0]"} +
                                 rule_fields("mldInitParams.mldPortVlanCfg[0][0]") + rule_fields("PortVlanCfg[0][0]") +
                                 Fields{"setVlanCfgNumber[0]", "PortVlan[0]", "setVlanNumber", "flag_omci_version"}));
    EXPECT_EQ(flag_omci_version, 1u);
    EXPECT_EQ(mldInitParams.mldOmciVersion, 1u);
}

TEST_F(RuleByMode, the_low_byte_of_the_index_is_the_port)
{
    for (const PortRow &row : kPorts) {
        SCOPED_TRACE(row.index);
        SetUp();
        mc_debug = MC_DEBUG_CONFIG;
        const auto seen = set(row.index, 2, 100, 200);
        EXPECT_THAT(seen.output,
                    StartsWith(log_of({cfg("igmp_port_vlan_and_mode_set is in! port_index = %d\n", row.index)})));
        EXPECT_THAT(live_rules(row.logic_port), ElementsAre(kModes[3].stored(row.port)));
        EXPECT_THAT(live_mld_rules(row.logic_port), ElementsAre(kModes[3].stored(row.port)));
    }
}

TEST_F(RuleByMode, each_family_refuses_a_port_by_itself)
{
    for (const int32_t index : {1, 28, 30, -1, 257}) {
        SCOPED_TRACE(index);
        SetUp();
        errors_logged();
        const int port = index & 0xFF;
        const auto seen = set(index, 2, 100, 200);
        EXPECT_EQ(seen.result, -1);
        EXPECT_EQ(seen.output,
                  log_of({err("\n port(%d) is invalid!", port), err("\n ERROR!std_omci_set_multicast_vlan_onu Fail"),
                          mld_err("mld port(%d) is invalid!\r\n", port),
                          err("\n ERROR!mld_onu_std_omci_set_multicast_vlan Fail")}));
        EXPECT_THAT(seen.changed, ElementsAre("mldInitParams.mldOmciVersion", "flag_omci_version"))
            << "the versions stay set";
    }
}

TEST_F(RuleByMode, mld_is_installed_whatever_became_of_igmp)
{
    errors_logged();
    portState[0].portNo = 5;
    auto seen = set(0, 2, 100, 200);
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.output, HasSubstr(kInstallFailed));
    EXPECT_THAT(seen.output, Not(HasSubstr(kMldInstallFailed)));
    EXPECT_THAT(live_mld_rules(0), ElementsAre(kModes[3].stored()));

    SetUp();
    errors_logged();
    setVlanNumber = 16; // the IGMP install ends with 0: no failure
    seen = set(0, 2, 100, 200);
    EXPECT_EQ(seen.output, "setVlanNumber = 16 then > 16  quit!");
    EXPECT_THAT(live_mld_rules(0), ElementsAre(kModes[3].stored()));
}

TEST_F(RuleByMode, an_install_passes_on_the_status_of_mld_alone)
{
    struct Row {
        int32_t igmp, mld;
        bool igmp_failed;
    };
    for (const Row &row : {Row{0, 0, false}, Row{5, 0, true}, Row{256, 256, false}, Row{0, -1, false}}) {
        SCOPED_TRACE(row.mld);
        SetUp();
        mc_debug = MC_DEBUG_ERROR;
        platform().answer("igmp_vlan_add", row.igmp);
        platform().answer("mld_pack_set_mc_vlan", row.mld);
        const auto seen = set(0, 2, 100, 200);
        EXPECT_EQ(seen.result, row.mld);
        EXPECT_EQ(seen.output.find(kInstallFailed) != std::string::npos, row.igmp_failed);
        EXPECT_EQ(seen.output.find(kMldInstallFailed) != std::string::npos, row.mld != 0);
    }
}

TEST_F(RuleByMode, after_it_the_standard_operations_neither_derive_nor_serve_mld)
{
    for (const bool removal : {false, true}) {
        SCOPED_TRACE(removal ? "removal by mode" : "install by mode");
        SetUp();
        if (removal)
            remove(7, 2, 100, 200);
        else
            set(7, 2, 100, 200);
        const vlanCfgNode given = rule(0, 0, 0xFFFF, 102, 0, 103, 104, 0, 105, 106);
        std_omci_set_multicast_vlan_onu(&given);
        EXPECT_THAT(live_rules(0), ElementsAre(rule(0, 0, 0, 102, 0, 103, 0, 0, 105, 0)));
        EXPECT_THAT(live_mld_rules(0), IsEmpty());

        vlanCfgNode mld_given = given;
        mld_onu_std_omci_set_multicast_vlan(&mld_given);
        EXPECT_EQ(mld_given, rule(0, 0, 0, 102, 0, 103, 0, 0, 105, 0));

        std_omci_delete_multicast_vlan_onu(&given);
        EXPECT_THAT(live_rules(0), IsEmpty());
        EXPECT_EQ(live_mld_rules(0).size(), 1u);
    }
}

// --- Removal

TEST_F(RuleByMode, each_mode_removes_what_it_installed)
{
    for (const ModeRow &row : kModes) {
        SCOPED_TRACE(::testing::PrintToString(row));
        SetUp();
        set(0, row.mode, row.vlan1, row.vlan2);
        mc_debug = MC_DEBUG_CONFIG;

        const auto seen = remove(0, row.mode, row.vlan1, row.vlan2);

        EXPECT_EQ(seen.result, 0);
        EXPECT_THAT(seen.output, StartsWith(log_of({cfg("igmp_service_remove_port_config is in! port_index = 0\n"),
                                                    fields("[onu_std_omci_delete_multicast_vlan]", row.built())})));
        EXPECT_THAT(live_rules(0), IsEmpty());
        EXPECT_THAT(live_mld_rules(0), IsEmpty());
        EXPECT_THAT(PortVlanCfg[0], Each(IsEmptyRule()));
        EXPECT_THAT(mldInitParams.mldPortVlanCfg[0], Each(IsEmptyRule()));
        EXPECT_EQ(setVlanNumber, 0);
        EXPECT_EQ(mldInitParams.setVlanNumber, 0);
        const std::string vlan = std::to_string(row.in_data & 0xFFF);
        EXPECT_THAT(seen.calls, ElementsAre("igmp_vlan_del(" + vlan + ")", "mld_pack_set_mc_vlan(0, " + vlan + ")"));
    }
}

TEST_F(RuleByMode, a_removal_is_an_igmp_removal_and_then_an_mld_removal)
{
    for (const auto &[igmp_mask, mld_mask] : all_log_masks()) {
        SCOPED_TRACE("mc_debug " + std::to_string(igmp_mask) + ", mld_debug " + std::to_string(mld_mask));
        SetUp();
        set(29, 2, 100, 200);
        mc_debug = igmp_mask;
        mld_debug = mld_mask;
        platform().answer("igmp_vlan_del", 5);
        platform().answer("mld_pack_set_mc_vlan", 256);

        const auto seen = remove(29, 2, 100, 200);

        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(seen.trace, log_of({
                                  cfg("igmp_service_remove_port_config is in! port_index = 29\n"),
                                  cfg("[onu_std_omci_delete_multicast_vlan] is in! port_index = "
                                      "29,2, 100, 200, 2, 200, 100, 2, 200, 100.\r\n"),
                                  dbg("\n logicPort is 1"),
                                  dbg("sortPortVlanCfg usport = 29\r\n"),
                                  dbg("checkPortlogic logicPort = 1\r\n"),
                                  cfg("del temp_var = 200\r\n"),
                                  called("igmp_vlan_del(200)"),
                                  err("ERROR!igmp_adapt_vlan_change Fail\n"),
                                  err("\n delete PortVlanCfg is not find!\n"),
                                  mld_dbg("onu_std_omci_delete_multicast_vlan is in! port_index = 29\n"),
                                  mld_dbg("\n logicPort is 1"),
                                  mld_dbg("mldsortPortVlanCfg usport = 29\r\n"),
                                  mld_dbg("checkPortlogic logicPort = 1\r\n"),
                                  mld_dbg("mldsortPortVlanCfg usport = 29\r\n"),
                                  mld_dbg("checkPortlogic logicPort = 1\r\n"),
                                  mld_cfg("del temp_var = 200\r\n"),
                                  called("mld_pack_set_mc_vlan(0, 200)"),
                                  mld_err("ERROR!mld_adapt_vlan_change Fail\n"),
                                  err("\n ERROR!mld_onu_std_omci_delete_multicast_vlan Fail"),
                              }));
    }
}

TEST_F(RuleByMode, a_removal_returns_0_whatever_fails)
{
    for (const int32_t index : {1, 30, -1, 0}) { // refused three times, then without rules
        SCOPED_TRACE(index);
        SetUp();
        mc_debug = MC_DEBUG_ERROR;
        const auto seen = remove(index, 2, 100, 200);
        EXPECT_EQ(seen.result, 0);
        std::string wanted = std::string(kRemovalFailed) + kMldRemovalFailed;
        if (index != 0)
            wanted = log_of({err("\n port(%d) is invalid!", index & 0xFF)}) + wanted;
        EXPECT_EQ(seen.output, wanted);
        EXPECT_THAT(seen.changed, ElementsAre("mldInitParams.mldOmciVersion", "flag_omci_version"));
        EXPECT_EQ(mldInitParams.mldOmciVersion, 1u);
        EXPECT_EQ(flag_omci_version, 1u);
    }
}

TEST_F(RuleByMode, a_removal_takes_the_low_byte_of_the_index_as_the_port)
{
    for (const PortRow &row : kPorts) {
        SCOPED_TRACE(row.index);
        SetUp();
        set(row.port, 2, 100, 200);
        mc_debug = MC_DEBUG_CONFIG;
        const auto seen = remove(row.index, 2, 100, 200);
        EXPECT_THAT(seen.output,
                    StartsWith(log_of({cfg("igmp_service_remove_port_config is in! port_index = %d\n", row.index)})));
        EXPECT_THAT(live_rules(row.logic_port), IsEmpty());
        EXPECT_THAT(live_mld_rules(row.logic_port), IsEmpty());
    }
}

TEST_F(RuleByMode, each_family_is_removed_whatever_became_of_the_other)
{
    set(0, 2, 100, 200);
    put_rules(0, {});
    mc_debug = MC_DEBUG_ERROR;
    auto seen = remove(0, 2, 100, 200);
    EXPECT_EQ(seen.output, kRemovalFailed);
    EXPECT_THAT(live_mld_rules(0), IsEmpty());

    SetUp();
    set(0, 2, 100, 200);
    put_mld_rules(0, {});
    mc_debug = MC_DEBUG_ERROR;
    seen = remove(0, 2, 100, 200);
    EXPECT_EQ(seen.output, log_of({err("\n delete PortVlanCfg is not find!\n")}) + kMldRemovalFailed);
    EXPECT_THAT(live_rules(0), IsEmpty());
}

TEST_F(RuleByMode, a_mode_that_shares_the_user_vlan_removes_the_rule_of_another)
{
    set(0, 2, 100, 200);
    const auto seen = remove(0, 3, 100, 0); // untag of VLAN 100: the same user VLAN, another multicast VLAN
    EXPECT_THAT(live_rules(0), IsEmpty());
    EXPECT_THAT(live_mld_rules(0), ElementsAre(kModes[3].stored())); // intended: MLD compares the multicast VLAN too
    EXPECT_THAT(template_vlans(), ElementsAre(200));
    EXPECT_THAT(seen.calls, ElementsAre("igmp_vlan_del(100)", "mld_pack_set_mc_vlan(0, 100)"));
}

} // namespace
} // namespace mcadapt::test
