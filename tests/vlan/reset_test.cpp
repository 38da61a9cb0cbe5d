/** The full reset of the IGMP side, and what it leaves alone. */
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "support/library_test.h"
#include "support/matchers.h"
#include "vlan/under_every_mask.h"

namespace mcadapt::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

vlanCfgNode some_rule(uint8_t port, uint16_t vlan)
{
    return rule(port).modes(2).up(10, vlan).down(vlan, 10).data(vlan, 10);
}

class FullReset : public UnderEveryMaskTest {
protected:
    ~FullReset() override { free_blocks(); }

    /** A configuration in which nothing holds its start value. */
    static void configure()
    {
        put_rules(0, std::vector<vlanCfgNode>(16, some_rule(0, 100)));
        put_rules(1, {some_rule(29, 100), some_rule(29, 200)});
        PortVlanCfg[1][9] = some_rule(29, 900); // even a position that is not counted
        put_template_vlans({100, 200, 300});
        put_mld_rules(0, {some_rule(0, 100)});
        put_mld_rules(1, {some_rule(29, 200)});
        put_mld_template_vlans({100, 200});
        configure_parameters();
        for (auto &list : g_static_list)
            for (staticGroupEntry &entry : list)
                entry = {100, 0, 7};
        g_static_grp_num[0] = 32;
        g_static_grp_num[1] = 5;
    }

    static void configure_parameters()
    {
        std::memset(&globle_parm, 0x11, sizeof globle_parm);
        for (uint16_t &vlan : globle_parm.TemplateVlan)
            vlan = 100;
        defaultVlan = 1000;
        mldInitParams.defaultVlan = 1001;
        mldInitParams.mldOmciVersion = 1;
        mldInitParams.mldAdapt = 1;
        mldInitParams.multiMode = 3;
        flag_omci_version = 1;
        igmp_adapt = 2;
        proxy_adapt_mode = 3;
        testuplink = 5;
        tablereturn = 0;
        srcPortNum = 9;
        ponVlan = 77;
        portState[0] = {4, 1};
        portState[1] = {5, 2};
        sys_mac[0] = 0x12;
    }

    /** The reset leaves its blocks behind for good; the test gives them back. */
    Observed<void> reset()
    {
        const auto seen = observe([] { omci_clear_igmp_all_parmeter(); });
        blocks_.push_back(mc_status_global);
        return seen;
    }

private:
    void free_blocks()
    {
        for (grp_info *block : blocks_)
            std::free(block);
    }

    std::vector<grp_info *> blocks_;
};

const std::vector<std::string> kResetCalls = {
    "igmp_vlan_del_all()",         "igmp_default_vid_set(4088)",   "igmp_para_globle_set(2, 125, 10, 1, 2, 1)",
    "l2_multicast_set_trap(0, 1)", "l2_multicast_set_flood(0, 0)", "l2_multicast_set_flood(1, 0)",
    "l2_multicast_set_trap(1, 1)", "igmp_mode_switch_globle(1)",   "igmp_fast_leave_enable_globle(0)",
    "igmp_vlan_learning_set(0)",   "igmp_del_all_group()",
};

TEST_F(FullReset, makes_these_calls)
{
    configure();

    EXPECT_THAT(reset().calls, ElementsAreArray(kResetCalls));
}

TEST_F(FullReset, clears_all_rules_of_both_ports)
{
    configure();

    reset();

    for (const auto &row : PortVlanCfg)
        EXPECT_THAT(row, Each(IsEmptyRule()));
    EXPECT_THAT(setVlanCfgNumber, Each(0));
}

TEST_F(FullReset, empties_both_template_lists)
{
    configure();

    reset();

    EXPECT_THAT(PortVlan, Each(0));
    EXPECT_THAT(globle_parm.TemplateVlan, Each(0));
    EXPECT_EQ(setVlanNumber, 0);
}

TEST_F(FullReset, puts_the_parameters_into_their_start_state)
{
    configure();

    reset();

    for (const portParm &port : globle_parm.port)
        EXPECT_EQ(port, (portParm{0, 0, 0, 0xFFFF, 0xFFFF, 0xFFFF}));
    EXPECT_EQ(globle_parm.defaultVlan, 4088);
    EXPECT_EQ(globle_parm.multiMode, 1);
    EXPECT_EQ(globle_parm.learningMode, 0);
    EXPECT_EQ(globle_parm.robustness, 2);
    EXPECT_EQ(globle_parm.version, 3);
    EXPECT_EQ(globle_parm.query_interval, 125u);
    EXPECT_EQ(globle_parm.query_max_resp_time, 10u);
    EXPECT_EQ(globle_parm.last_member_query_interval, 1u);
    EXPECT_EQ(globle_parm.last_member_query_count, 2u);
    EXPECT_EQ(globle_parm.general_member_interval, 1u);
    EXPECT_EQ(globle_parm.ssm_ip, 0u);
    EXPECT_EQ(globle_parm.ssm_ip_arg2, 0u);
    EXPECT_THAT(globle_parm.ssm_map, Each(0u));
    EXPECT_EQ(globle_parm.ssm_map_arg5, 0u);
    EXPECT_EQ(globle_parm.proxyip, 0x0A190E14u);
    EXPECT_STREQ(globle_parm.compile_date, "May 25 2018");
    EXPECT_STREQ(globle_parm.compile_time, "16:48:08");
    EXPECT_STREQ(globle_parm.version_num, "QM.14.09.05");
    EXPECT_EQ(globle_parm.pkt_process_disable, 0);
    EXPECT_EQ(proxy_adapt_mode, 1);
}

TEST_F(FullReset, frees_the_static_groups_but_keeps_their_counts)
{
    configure();

    reset();

    for (const auto &list : g_static_list)
        EXPECT_THAT(list, Each(staticGroupEntry{0xFFFF, 0, 0x0000FFFF}));
    EXPECT_THAT(g_static_grp_num, ElementsAre(32, 5));
}

TEST_F(FullReset, touches_no_other_record)
{
    // Among those that stay: MLD with its rules, flags and default VLAN; the default VLAN beside the parameters;
    // the switches of the rule operations; the counts of the static groups.
    configure();

    const auto changed = records_of(reset().changed);

    EXPECT_THAT(changed, ElementsAre("globle_parm", "PortVlanCfg", "setVlanCfgNumber", "PortVlan", "setVlanNumber",
                                     "g_static_list", "mc_status_global", "proxy_adapt_mode"));
}

TEST_F(FullReset, a_rule_set_after_it_meets_no_static_group_although_they_are_still_counted)
{
    configure();
    reset();
    portState[0].portNo = 0;
    platform().forget_calls();
    const vlanCfgNode wanted = some_rule(0, 100);

    EXPECT_EQ(std_omci_set_multicast_vlan_onu(&wanted), 0);

    EXPECT_THAT(platform().calls(), ElementsAre("vx_hal_nni_upmode_get()", "igmp_vlan_add(100)"));
}

TEST_F(FullReset, the_tables_are_empty_before_the_engine_is_told)
{
    configure();
    platform().on("igmp_vlan_del_all", [] {
        EXPECT_THAT(PortVlanCfg[0], Each(IsEmptyRule()));
        EXPECT_THAT(PortVlanCfg[1], Each(IsEmptyRule()));
        EXPECT_THAT(setVlanCfgNumber, Each(0));
        EXPECT_THAT(PortVlan, Each(0));
        EXPECT_EQ(setVlanNumber, 0);
        EXPECT_EQ(globle_parm.robustness, 0x11) << "the parameters come after the VLANs";
    });
    platform().on("igmp_default_vid_set", [] {
        EXPECT_EQ(globle_parm.robustness, 2);
        EXPECT_EQ(g_static_list[1][31].vlan, 0xFFFF);
    });

    reset();

    EXPECT_EQ(platform().count("igmp_vlan_del_all"), 1u);
    EXPECT_EQ(platform().count("igmp_default_vid_set"), 1u);
}

// --- The status block

TEST_F(FullReset, takes_a_new_status_block_with_nothing_but_the_mode)
{
    std::memset(&status_block, 0x3C, sizeof status_block);

    reset();

    ASSERT_NE(mc_status_global, nullptr);
    ASSERT_NE(mc_status_global, &status_block);
    grp_info expected;
    std::memset(&expected, 0, sizeof expected);
    expected.statusMode = 1;
    EXPECT_EQ(std::memcmp(mc_status_global, &expected, sizeof expected), 0);
}

TEST_F(FullReset, leaves_the_previous_block_behind_as_it_was)
{
    // intended: the block is neither given back nor used again
    reset();
    grp_info *const previous = mc_status_global;
    std::memset(previous, 0x3C, sizeof *previous);

    reset();

    EXPECT_NE(mc_status_global, previous);
    const auto *bytes = reinterpret_cast<const unsigned char *>(previous);
    EXPECT_TRUE(std::all_of(bytes, bytes + sizeof *previous, [](unsigned char byte) { return byte == 0x3C; }));
}

TEST_F(FullReset, each_leaves_one_more_block_behind)
{
    std::vector<grp_info *> blocks;
    for (int i = 0; i < 4; ++i) {
        reset();
        EXPECT_THAT(blocks, Each(::testing::Ne(mc_status_global)));
        blocks.push_back(mc_status_global);
    }
}

TEST_F(FullReset, goes_through_all_its_steps_without_memory_for_a_block)
{
    configure();
    platform().fail_next_calloc();

    const auto seen = reset();

    EXPECT_EQ(mc_status_global, nullptr);
    EXPECT_THAT(seen.calls, ElementsAreArray(kResetCalls));
    EXPECT_EQ(globle_parm.multiMode, 1);
    EXPECT_EQ(proxy_adapt_mode, 1);
    EXPECT_EQ(g_static_list[1][31].vlan, 0xFFFF);
    EXPECT_STREQ(globle_parm.version_num, "QM.14.09.05");
}

TEST_F(FullReset, finds_a_block_again_after_an_allocation_that_failed)
{
    platform().fail_next_calloc();
    reset();

    reset();

    ASSERT_NE(mc_status_global, nullptr);
    EXPECT_EQ(mc_status_global->statusMode, 1u);
}

// --- Messages of the full reset

Log calls_of(std::initializer_list<std::string> lines)
{
    Log log;
    for (const std::string &line : lines)
        log.push_back(called(line));
    return log;
}

/** The operation in a child of the fixture would leave its blocks; under every mask they are given back at once. */
void reset_and_give_back()
{
    omci_clear_igmp_all_parmeter();
    std::free(mc_status_global);
    mc_status_global = nullptr;
}

const Log kResetEntry = {cfg("omci_clear_igmp_all_parmeter \n")};
const Log kModeEntry = {cfg("omci_set_multicast_mode proxy_adapt_mode =1\n")};

TEST_F(FullReset, logs_its_entry_and_that_of_the_mode)
{
    expect_under_every_mask(
        kResetEntry +
            calls_of(
                {"igmp_vlan_del_all()", "igmp_default_vid_set(4088)", "igmp_para_globle_set(2, 125, 10, 1, 2, 1)"}) +
            kModeEntry +
            calls_of({"l2_multicast_set_trap(0, 1)", "l2_multicast_set_flood(0, 0)", "l2_multicast_set_flood(1, 0)",
                      "l2_multicast_set_trap(1, 1)", "igmp_mode_switch_globle(1)", "igmp_fast_leave_enable_globle(0)",
                      "igmp_vlan_learning_set(0)", "igmp_del_all_group()"}),
        reset_and_give_back);
}

TEST_F(FullReset, reports_every_refusal_and_goes_on)
{
    const Log expected = kResetEntry +
                         Log{called("igmp_vlan_del_all()"),
                             err("igmp_vlan_del_all is error! ret = -1\r\n"),
                             called("igmp_default_vid_set(4088)"),
                             err("igmp_default_vid_set is error! ret = 256\r\n"),
                             called("igmp_para_globle_set(2, 125, 10, 1, 2, 1)"),
                             err("igmp_para_globle_set is error! ret = 257\r\n")} +
                         kModeEntry +
                         Log{called("l2_multicast_set_trap(0, 1)"),
                             ungated("\n ERROR! l2_multicast_set_trap Fail 9!\n"),
                             err("ERROR!flood_trap =1 "),
                             called("igmp_mode_switch_globle(1)"),
                             err("\n ERROR!proxy_adapt_mode =1 "),
                             err("omci_set_multicast_mode is error! ret = 512\r\n"),
                             called("igmp_fast_leave_enable_globle(0)"),
                             err("igmp_fast_leave_enable_globle is error! ret = -128\r\n"),
                             called("igmp_vlan_learning_set(0)"),
                             err("\n ERROR!igmp_adapt_vlan_learning Fail ret = 3"),
                             called("igmp_del_all_group()")};

    expect_under_every_mask(expected, reset_and_give_back, [] {
        platform().answer("igmp_vlan_del_all", 0x2FF);
        platform().answer("igmp_default_vid_set", 256);
        platform().answer("igmp_para_globle_set", 257);
        platform().answer("l2_multicast_set_trap", 9);
        platform().answer("igmp_mode_switch_globle", 512);
        platform().answer("igmp_fast_leave_enable_globle", 0x80);
        platform().answer("igmp_vlan_learning_set", 0x103);
        platform().answer("igmp_del_all_group", 5);
    });
}

TEST_F(FullReset, a_low_byte_of_0_is_no_refusal_where_only_it_counts)
{
    for (const char *name : {"igmp_vlan_del_all", "igmp_fast_leave_enable_globle", "igmp_vlan_learning_set"})
        platform().answer(name, 0x100);
    errors_logged();

    EXPECT_EQ(reset().output, "");
}

TEST_F(FullReset, without_a_block_the_messages_are_the_same)
{
    platform().fail_next_calloc();
    everything_logged();

    EXPECT_EQ(reset().output, "\r\n[MC_DBG_CFG]: omci_clear_igmp_all_parmeter \n"
                              "\r\n[MC_DBG_CFG]: omci_set_multicast_mode proxy_adapt_mode =1\n");
}

} // namespace
} // namespace mcadapt::test
