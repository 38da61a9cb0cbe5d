/** The records as they are loaded, and the routines that put them into their start state. */
#include <cstdlib>
#include <cstring>
#include <utility>

#include "start_fixture.h"
#include "start_sequence.h"
#include "start_values.h"
#include "support/library_test.h"
#include "support/matchers.h"

namespace mcadapt::test {
namespace {

using namespace start_up;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class StartState : public StartTest {
protected:
    /** The fields that differ from what `store` leaves in records that were spoilt before. */
    template <class Store> static std::vector<std::string> differing_from(Store &&store)
    {
        const auto reached = RecordSnapshot::take();
        spoil_all_records();
        std::forward<Store>(store)();
        return changed_fields(RecordSnapshot::take(), reached);
    }
};

/** The bytes behind the last field of a record, up to its end. */
template <class Record, class Field> std::vector<uint8_t> bytes_behind(const Field &last, const Record &record)
{
    return {reinterpret_cast<const uint8_t *>(&last + 1), reinterpret_cast<const uint8_t *>(&record + 1)};
}

using LoadTime = StartState;

TEST_F(LoadTime, every_field_of_every_record_holds_its_initial_value)
{
    restore_load_image();
    EXPECT_EQ(mc_status_global, nullptr);

    EXPECT_THAT(differing_from([] {
                    store_igmp_parameters();
                    store_build_identification();
                    store_igmp_tables();
                    store_free_static_groups();
                    g_static_grp_num[0] = g_static_grp_num[1] = 0;
                    std::memset(&mldInitParams, 0, sizeof mldInitParams);
                    store_mld_parameters();
                    store_mld_rules();
                    store_start_ports(mldInitParams.mldPortState);
                    defaultVlan = 4088;
                    testuplink = 0xFFFE;
                    tablereturn = 1;
                    igmp_adapt = -1;
                    flag_omci_version = 0;
                    proxy_adapt_mode = 0;
                    srcPortNum = 0;
                    ponVlan = 0;
                    std::memset(sys_mac, 0, sizeof sys_mac);
                    std::memset(mld_sys_mac, 0, sizeof mld_sys_mac);
                    mc_debug = mld_debug = 0;
                    std::memset(&gSemIgmpv3, 0, sizeof gSemIgmpv3);
                }),
                IsEmpty());
}

// --- initIgmpGlobleParmeter

class IgmpParameters : public StartState {
protected:
    /** As `differing_from`, with the spoilt block in the place of the one that the routine took. */
    template <class Store> std::vector<std::string> differing_beside_the_block(Store &&store)
    {
        grp_info *const taken = std::exchange(mc_status_global, fixture_block_);
        const auto differing = differing_from(std::forward<Store>(store));
        mc_status_global = taken;
        return differing;
    }

    /** Expects the start values in records that were spoilt before, and everything else left. */
    void expect_start_values_and_nothing_else()
    {
        EXPECT_THAT(differing_beside_the_block([] {
                        store_igmp_parameters();
                        store_build_identification();
                        store_free_static_groups();
                        proxy_adapt_mode = 1; // by the mode operation
                    }),
                    IsEmpty());
    }
};

TEST_F(IgmpParameters, the_start_values_are_stored_and_everything_else_is_left)
{
    spoil_all_records();
    initIgmpGlobleParmeter();
    ASSERT_NE(mc_status_global, nullptr);
    ASSERT_NE(mc_status_global, fixture_block_);
    expect_start_values_and_nothing_else();
}

TEST_F(IgmpParameters, the_bytes_behind_the_fields_are_zero_too)
{
    std::memset(&globle_parm, kSpoilt, sizeof(globle_parm));
    initIgmpGlobleParmeter();
    for (const portParm &port : globle_parm.port)
        EXPECT_THAT(bytes_behind(port.cvlan, port), ElementsAre(0, 0));
    EXPECT_THAT(bytes_behind(globle_parm.pkt_process_disable, globle_parm), ElementsAre(0, 0, 0));
}

TEST_F(IgmpParameters, free_static_groups_have_an_address_that_is_not_zero)
{
    initIgmpGlobleParmeter();
    for (const auto &list : g_static_list) {
        EXPECT_THAT(list, Each(::testing::Field(&staticGroupEntry::vlan, 0xFFFF)));
        EXPECT_THAT(list, Each(::testing::Field(&staticGroupEntry::addr, 0x0000FFFFu))); // intended
    }
}

TEST_F(IgmpParameters, the_texts_end_in_a_nul_and_the_bytes_behind_are_zero)
{
    spoil_all_records();
    initIgmpGlobleParmeter();
    EXPECT_EQ(std::string(globle_parm.compile_date, 20), std::string("May 25 2018\0\0\0\0\0\0\0\0\0", 20));
    EXPECT_EQ(std::string(globle_parm.compile_time, 20), std::string("16:48:08\0\0\0\0\0\0\0\0\0\0\0\0", 20));
    EXPECT_EQ(std::string(globle_parm.version_num, 20), std::string("QM.14.09.05\0\0\0\0\0\0\0\0\0", 20));
}

TEST_F(IgmpParameters, the_status_block_is_all_zero_but_for_its_mode)
{
    // Memory that the heap is likely to hand out again.
    auto *used = static_cast<unsigned char *>(std::malloc(sizeof(grp_info)));
    ASSERT_NE(used, nullptr);
    std::memset(used, kSpoilt, sizeof(grp_info));
    volatile unsigned char *kept = used;
    ASSERT_EQ(kept[0], kSpoilt);
    std::free(used);

    uint32_t mode_before_the_mode_operation = 0;
    platform().on("igmp_default_vid_set", [&] { mode_before_the_mode_operation = mc_status_global->statusMode; });
    initIgmpGlobleParmeter();

    ASSERT_NE(mc_status_global, fixture_block_);
    EXPECT_EQ(mode_before_the_mode_operation, 1u);
    grp_info wanted{};
    wanted.statusMode = 1;
    EXPECT_EQ(std::memcmp(mc_status_global, &wanted, sizeof wanted), 0);
    EXPECT_EQ(sizeof wanted, 14392u);
}

TEST_F(IgmpParameters, the_status_block_of_before_is_neither_freed_nor_written)
{
    auto *const first = static_cast<grp_info *>(std::calloc(1, sizeof(grp_info)));
    ASSERT_NE(first, nullptr);
    spoil(*first);
    mc_status_global = first;
    initIgmpGlobleParmeter();
    EXPECT_NE(mc_status_global, first);
    const auto *bytes = reinterpret_cast<const unsigned char *>(first);
    EXPECT_EQ(std::count(bytes, bytes + sizeof(grp_info), kSpoilt), 14392);
    std::free(first);
}

TEST_F(IgmpParameters, a_failed_allocation_leaves_no_block_and_stops_nothing)
{
    platform().fail_next_calloc();
    spoil_all_records();
    const auto seen = observe([] { initIgmpGlobleParmeter(); });

    EXPECT_EQ(mc_status_global, nullptr);
    EXPECT_EQ(seen.calls, calls_of(igmp_parameter_steps()));
    expect_start_values_and_nothing_else();
}

TEST_F(IgmpParameters, calls_and_lines_come_in_order)
{
    for (const Masks masks : all_masks()) {
        SCOPED_TRACE(::testing::PrintToString(masks));
        start_over(masks);
        EXPECT_EQ(observe([] { initIgmpGlobleParmeter(); }).trace, trace_of(igmp_parameter_steps(), masks));
    }
}

/** Everything but the build identification is there before the engine hears of the first parameter. */
TEST_F(IgmpParameters, the_engine_is_told_after_the_stores_and_before_the_build_identification)
{
    spoil_all_records();
    const auto spoilt = RecordSnapshot::take();
    std::vector<std::string> stored;
    platform().on("igmp_default_vid_set", [&] { stored = changed_records(spoilt, RecordSnapshot::take()); });
    for (const char *const name : {"igmp_para_globle_set", "l2_multicast_set_trap", "igmp_mode_switch_globle",
                                   "igmp_fast_leave_enable_globle", "igmp_vlan_learning_set"})
        platform().on(name, [name] {
            EXPECT_STREQ(globle_parm.version_num, "") << name;
            EXPECT_STREQ(globle_parm.compile_date, "") << name;
            EXPECT_STREQ(globle_parm.compile_time, "") << name;
        });
    initIgmpGlobleParmeter();

    EXPECT_THAT(stored, ElementsAre("globle_parm", "g_static_list", "mc_status_global", "mc_status_global->"));
    EXPECT_STREQ(globle_parm.version_num, "QM.14.09.05");
}

TEST_F(IgmpParameters, the_first_engine_call_sees_every_start_value)
{
    spoil_all_records();
    std::vector<std::string> differing = {"not called"};
    platform().on("igmp_default_vid_set", [&] {
        differing = differing_beside_the_block([] {
            store_igmp_parameters();
            store_free_static_groups();
        });
    });
    initIgmpGlobleParmeter();
    EXPECT_THAT(differing, IsEmpty());
}

TEST_F(IgmpParameters, the_mode_is_stored_before_the_engine_hears_of_it)
{
    proxy_adapt_mode = 77;
    platform().on("igmp_para_globle_set", [] { EXPECT_EQ(proxy_adapt_mode, 77); });
    platform().on("igmp_mode_switch_globle", [] {
        EXPECT_EQ(proxy_adapt_mode, 1);
        EXPECT_EQ(mc_status_global->statusMode, 1u);
    });
    initIgmpGlobleParmeter();
    EXPECT_EQ(platform().count("igmp_mode_switch_globle"), 1u);
}

// The stored values are changed between the stores and the calls: only so does it show which ones are taken, how wide.

TEST_F(IgmpParameters, the_six_parameters_are_pushed_from_the_record_in_their_order)
{
    platform().on("igmp_default_vid_set", [] {
        globle_parm.robustness = 201;
        globle_parm.query_interval = 0x80000002;
        globle_parm.query_max_resp_time = 0x10003;
        globle_parm.last_member_query_interval = 4;
        globle_parm.last_member_query_count = 5;
        globle_parm.general_member_interval = 6;
    });
    EXPECT_EQ(observe([] { initIgmpGlobleParmeter(); }).calls.at(1),
              "igmp_para_globle_set(201, 2147483650, 65539, 4, 5, 6)");
}

TEST_F(IgmpParameters, only_low_bytes_of_mode_leave_mode_and_learning_are_pushed)
{
    platform().on("igmp_para_globle_set", [] {
        globle_parm.multiMode = 0x0105;
        globle_parm.port[0].leavemod = 0x1234;
        globle_parm.port[1].leavemod = 0x5678;
        globle_parm.learningMode = 0xAB03;
    });
    const auto seen = observe([] { initIgmpGlobleParmeter(); });
    EXPECT_THAT(seen.calls,
                ElementsAre("igmp_default_vid_set(4088)", "igmp_para_globle_set(2, 125, 10, 1, 2, 1)",
                            "l2_multicast_set_trap(0, 0)", "l2_multicast_set_flood(0, 1)",
                            "l2_multicast_set_flood(1, 1)", "l2_multicast_set_trap(1, 0)", "igmp_mode_switch_globle(1)",
                            "igmp_fast_leave_enable_globle(52)", "igmp_vlan_learning_set(3)"));
}

class IgmpParameterRefusal : public StartState, public ::testing::WithParamInterface<Refusal> {};

TEST_P(IgmpParameterRefusal, is_reported_under_its_gate_and_passed_over)
{
    for (const Masks masks : all_masks())
        for (const Answer answer : telling_answers()) {
            SCOPED_TRACE(::testing::PrintToString(masks) + " answer " + std::to_string(answer.whole));
            start_over(masks);
            let_refuse(GetParam(), answer.whole);
            const auto steps = steps_with(igmp_parameter_steps(), GetParam(), answer.as(GetParam().counts));
            const auto seen = observe([] { initIgmpGlobleParmeter(); });
            EXPECT_EQ(seen.trace, trace_of(steps, masks));
            EXPECT_STREQ(globle_parm.version_num, "QM.14.09.05");
        }
}

INSTANTIATE_TEST_SUITE_P(OfEachCall, IgmpParameterRefusal, ::testing::ValuesIn(igmp_parameter_refusals()), case_name);

TEST_F(IgmpParameters, an_engine_that_refuses_everything_leaves_them_fully_initialised)
{
    spoil_all_records();
    for (const Refusal &refusal : igmp_parameter_refusals())
        platform().answer(refusal.call, -7);
    errors_logged();
    const auto seen = observe([] { initIgmpGlobleParmeter(); });

    EXPECT_EQ(seen.output, "\r\n[MC_DBG_ERR]: igmp_default_vid_set is error! ret = -7\r\n"
                           "\r\n[MC_DBG_ERR]: igmp_para_globle_set is error! ret = -7\r\n"
                           "\n ERROR! l2_multicast_set_trap Fail -7!\n"
                           "\r\n[MC_DBG_ERR]: ERROR!flood_trap =1 "
                           "\r\n[MC_DBG_ERR]: \n ERROR!proxy_adapt_mode =1 "
                           "\r\n[MC_DBG_ERR]: omci_set_multicast_mode is error! ret = -7\r\n"
                           "\r\n[MC_DBG_ERR]: igmp_fast_leave_enable_globle is error! ret = -7\r\n"
                           "\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_vlan_learning Fail ret = -7");
    log_mask(0);
    expect_start_values_and_nothing_else();
}

// --- The MLD routines

class MldStartState : public StartState {
protected:
    /** Expects a routine to store what `store` does in records that were spoilt before, without a call or a line. */
    template <class Routine, class Store> static void expect_silent_stores(Routine routine, Store store)
    {
        spoil_all_records();
        everything_logged();
        const auto seen = observe(routine);
        EXPECT_THAT(seen.calls, IsEmpty());
        EXPECT_EQ(seen.output, "");
        EXPECT_THAT(differing_from(store), IsEmpty());
    }
};

TEST_F(MldStartState, the_parameter_routine_stores_its_fields_and_no_others)
{
    expect_silent_stores(initmldGlobleParmeter, store_mld_parameters);
}

TEST_F(MldStartState, the_parameter_routine_clears_the_bytes_behind_the_fields_too)
{
    std::memset(&mldInitParams.mldPort, kSpoilt, sizeof(mldInitParams.mldPort));
    initmldGlobleParmeter();
    for (const mldPortParm &port : mldInitParams.mldPort)
        for (const mldAuthGroup &group : port.authGroup)
            EXPECT_THAT(bytes_behind(group.vlan, group), ElementsAre(0, 0));
}

// The list that the intake searches, the rules and the tags outlive a start of the parameters.
TEST_F(MldStartState, the_parameter_routine_leaves_lists_counts_rules_ports_and_tags)
{
    spoil_all_records();
    const auto spoilt = RecordSnapshot::take();
    initmldGlobleParmeter();
    const auto changed = changed_fields(spoilt, RecordSnapshot::take());
    for (const char *const kept :
         {"mldVlanList", "mldSetVlanCfgNumber", "mldPortVlanCfg", "mldPortState", "outerTag", "innerTag"})
        EXPECT_THAT(changed, Each(::testing::Not(::testing::StartsWith(std::string("mldInitParams.") + kept))));
    EXPECT_THAT(records_of(changed), ElementsAre("mldInitParams"));
}

TEST_F(MldStartState, the_port_routine_sets_the_two_ports_alone)
{
    expect_silent_stores(mldinitPortStateNode, [] { store_start_ports(mldInitParams.mldPortState); });
    spoil_all_records();
    mldinitPortStateNode();
    EXPECT_THAT(mldInitParams.mldPortState, ElementsAre(portStateNode{0, 2}, portStateNode{29, 1}));
}

TEST_F(MldStartState, the_rule_routine_clears_every_rule_and_both_counts_alone)
{
    expect_silent_stores(mldinitVlancfgNode, store_mld_rules);
    spoil_all_records();
    mldinitVlancfgNode();
    for (const auto &row : mldInitParams.mldPortVlanCfg)
        EXPECT_THAT(row, Each(IsEmptyRule()));
}

} // namespace
} // namespace mcadapt::test
