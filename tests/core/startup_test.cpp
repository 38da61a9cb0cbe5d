/** Start-up: the order of its calls, what each failure leads to, and what it leaves in the records. */
#include <cstdlib>
#include <vector>

#include "start_fixture.h"
#include "start_sequence.h"
#include "start_values.h"
#include "support/library_test.h"
#include "support/matchers.h"

namespace mcadapt::test {
namespace {

using namespace start_up;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

constexpr int32_t kPriority = 10;
constexpr int32_t kEngineArgument = -77;

std::vector<Step> start_up_steps()
{
    return joined({{call("igmp_data_init()"), call("mld_data_init()"), call("igmp_task_init(10, -77)"),
                    call("mld_task_init(10)")},
                   adapter_steps(),
                   {call("pal_task_create(0, \"tMCPktRecv\", 11, 0, 51200, igmp_adapt_pkt_recv_task)")}});
}

// --- What each refusal leads to

Refusal ignored(const std::string &call) { return {call, 0, Counts::kNothing, {}, ""}; }

std::vector<Refusal> driver_and_mode_refusals()
{
    std::vector<Refusal> refusals = driver_refusals(1);
    refusals.insert(refusals.end(),
                    {{"L2_multicast_init",
                      0,
                      Counts::kWhole,
                      {{Gate::kAlways, "\n ERROR! L2_multicast_init Fail !\n"}},
                      "pal_task_create"},
                     {"L2_multicast_set_filter_method",
                      0,
                      Counts::kWhole,
                      {{Gate::kAlways, "\n ERROR! L2_multicast_set_filter_method Fail !\n"}},
                      "pal_task_create"},
                     {"igmp_mode_switch_globle",
                      1,
                      Counts::kWhole,
                      {{Gate::kError, kModeError}, {Gate::kAlways, "\n ERROR!omci_set_multicast_mode snooping Fail"}},
                      ""},
                     {"igmp_globle_proxyip_set",
                      0,
                      Counts::kLowByte,
                      {{Gate::kAlways, "\n ERROR!igmp_globle_proxyip_set snooping Fail"}},
                      ""},
                     {"pal_task_create",
                      0,
                      Counts::kWhole,
                      {{Gate::kError, "\r\n[MC_DBG_ERR]: \n ERROR! pal_task_create MC_TASK_PKT_RECV_NAME Fail !"}},
                      ""}});
    return refusals;
}

std::vector<Refusal> other_refusals()
{
    return {
        ignored("igmp_data_init"),
        ignored("mld_data_init"),
        ignored("igmp_task_init"),
        ignored("mld_task_init"),
        {"igmp_vlan_del_all",
         0,
         Counts::kLowByte,
         {{Gate::kError, "\r\n[MC_DBG_ERR]: igmp_vlan_del_all is error! ret = %d\r\n"}},
         ""},
        {"get_mac_addr", 0, Counts::kWhole, {{Gate::kAlways, "[get_mac_addr]:  %d, error!\r\n"}}, ""},
    };
}

std::vector<Refusal> all_refusals()
{
    std::vector<Refusal> refusals;
    for (const auto &part : {other_refusals(), igmp_parameter_refusals(), igmp_registration_refusals(),
                             mld_registration_refusals(), driver_and_mode_refusals()})
        refusals.insert(refusals.end(), part.begin(), part.end());
    return refusals;
}

using StartUp = StartTest;

int32_t start() { return mc_igmp_init(kPriority, kEngineArgument); }

// --- The whole of start-up

TEST_F(StartUp, calls_and_lines_come_in_order)
{
    for (const Masks masks : all_masks()) {
        SCOPED_TRACE(::testing::PrintToString(masks));
        start_over(masks);
        const auto seen = observe(start);
        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(seen.trace, trace_of(start_up_steps(), masks));
    }
}

TEST_F(StartUp, prints_nothing_when_nothing_fails_and_no_class_is_open) { EXPECT_EQ(observe(start).output, ""); }

TEST_F(StartUp, hands_the_priority_on_and_one_above_it_to_the_receive_task)
{
    const auto seen = observe([] { return mc_igmp_init(-1, 2147483647); });
    EXPECT_EQ(seen.calls[2], "igmp_task_init(-1, 2147483647)");
    EXPECT_EQ(seen.calls[3], "mld_task_init(-1)");
    EXPECT_EQ(seen.calls.back(), "pal_task_create(0, \"tMCPktRecv\", 0, 0, 51200, igmp_adapt_pkt_recv_task)");
}

TEST_F(StartUp, leaves_every_record_in_its_start_state)
{
    spoil_all_records();
    start();
    grp_info *const block = mc_status_global;
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block->statusMode, 1u);
    mc_status_global = fixture_block_;
    const auto reached = RecordSnapshot::take();

    spoil_all_records();
    store_igmp_tables();
    store_igmp_parameters();
    store_build_identification();
    store_free_static_groups();
    store_mld_rules();
    store_mld_parameters();
    store_start_ports(mldInitParams.mldPortState);
    proxy_adapt_mode = 1;
    std::copy(platform().unit_mac.begin(), platform().unit_mac.end(), sys_mac);
    EXPECT_THAT(changed_fields(RecordSnapshot::take(), reached), IsEmpty());
    mc_status_global = block;
}

/** What had been stored when a call was made for the first time. */
struct Stage {
    const char *call;
    std::vector<std::string> stored;
};

TEST_F(StartUp, stores_the_records_in_their_order_between_the_calls)
{
    const std::vector<std::string> parameters = {"globle_parm",      "PortVlanCfg",       "setVlanCfgNumber",
                                                 "PortVlan",         "setVlanNumber",     "g_static_list",
                                                 "mc_status_global", "mc_status_global->"};
    const std::vector<std::string> with_mode = {"globle_parm",      "PortVlanCfg",        "setVlanCfgNumber",
                                                "PortVlan",         "setVlanNumber",      "g_static_list",
                                                "mc_status_global", "mc_status_global->", "proxy_adapt_mode"};
    const std::vector<std::string> igmp = {
        "globle_parm",   "PortVlanCfg",      "setVlanCfgNumber",   "PortVlan",         "setVlanNumber", "portState",
        "g_static_list", "mc_status_global", "mc_status_global->", "proxy_adapt_mode", "sys_mac"};
    std::vector<std::string> both = igmp;
    both.insert(both.begin() + 1, "mldInitParams");
    const std::vector<Stage> stages = {
        {"igmp_data_init", {}},
        {"mld_task_init", {}},
        {"igmp_vlan_del_all", {"PortVlan", "setVlanNumber"}},
        {"igmp_default_vid_set", parameters},
        {"l2_multicast_set_trap", with_mode},
        {"igmp_vlan_learning_set", with_mode},
        {"igmp_register_switch_send_pkt", igmp},
        {"igmp_port_add_all_vlan", igmp},
        {"mld_register_switch_send_pkt", both},
        {"mld_proxy_snoop_set_globle", both},
        {"L2_multicast_init", both},
        {"pal_task_create", both},
    };
    for (const Stage &stage : stages) {
        SCOPED_TRACE(stage.call);
        start_over({0, 0});
        spoil_all_records();
        const auto spoilt = RecordSnapshot::take();
        std::vector<std::vector<std::string>> stored;
        platform().on(stage.call, [&] { stored.push_back(changed_records(spoilt, RecordSnapshot::take())); });
        start();
        ASSERT_FALSE(stored.empty());
        EXPECT_THAT(stored.front(), ElementsAreArray(stage.stored));
    }
}

TEST_F(StartUp, the_address_call_finds_the_build_identification_and_the_ports)
{
    spoil_all_records();
    platform().on("get_mac_addr", [] {
        EXPECT_STREQ(globle_parm.version_num, "QM.14.09.05");
        EXPECT_THAT(portState, ElementsAre(portStateNode{0, 2}, portStateNode{29, 1}));
    });
    platform().on("igmp_default_vid_set", [] { EXPECT_EQ(portState[0].portNo, 0xA5A5A5A5u); });
    start();
    EXPECT_EQ(platform().count("get_mac_addr"), 1u);
}

TEST_F(StartUp, keeps_what_a_failed_address_call_left)
{
    platform().answer("get_mac_addr", -1);
    const auto seen = observe(start);
    EXPECT_EQ(seen.output, "[get_mac_addr]:  -1, error!\r\n");
    EXPECT_THAT(sys_mac, ElementsAreArray(platform().unit_mac));
}

TEST_F(StartUp, a_second_one_redoes_every_step_and_takes_a_second_block)
{
    const auto first = observe(start);
    grp_info *const block = mc_status_global;
    spoil_all_records(); // the first block too
    const auto second = observe(start);

    EXPECT_EQ(second.calls, first.calls);
    EXPECT_EQ(second.result, 0);
    EXPECT_NE(mc_status_global, block);
    const auto *bytes = reinterpret_cast<const unsigned char *>(block);
    EXPECT_EQ(std::count(bytes, bytes + sizeof *block, kSpoilt), 14392);
    std::free(block);
}

TEST_F(StartUp, goes_on_without_a_status_block)
{
    platform().fail_next_calloc();
    const auto seen = observe(start);
    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.trace, trace_of(start_up_steps(), {0, 0}));
    EXPECT_EQ(mc_status_global, nullptr);
}

TEST_F(StartUp, the_second_mode_call_uses_the_low_byte_of_the_stored_mode)
{
    platform().on("L2_multicast_set_filter_method", [] { globle_parm.multiMode = 0x0105; });
    const auto seen = observe(adapt_init);
    const std::vector<std::string> last(seen.calls.end() - 6, seen.calls.end());
    EXPECT_THAT(last, ElementsAre("l2_multicast_set_trap(0, 0)", "l2_multicast_set_flood(0, 1)",
                                  "l2_multicast_set_flood(1, 1)", "l2_multicast_set_trap(1, 0)",
                                  "igmp_mode_switch_globle(1)", "igmp_globle_proxyip_set(169414164)"));
}

TEST_F(StartUp, pushes_the_stored_proxy_address)
{
    platform().on("L2_multicast_init", [] { globle_parm.proxyip = 0xE1020304; });
    EXPECT_EQ(observe(adapt_init).calls.back(), "igmp_globle_proxyip_set(3775005444)");
}

TEST_F(StartUp, everything_refused_still_returns_0)
{
    for (const Refusal &refusal : all_refusals())
        platform().answer(refusal.call, -3);
    const auto seen = observe(start);
    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.output, "\n ERROR! l2_multicast_set_trap Fail -3!\n"
                           "[get_mac_addr]:  -3, error!\r\n"
                           "\n ERROR! igmp_register_switch_send_pkt Fail !\n"
                           "\n igmp_register_switch_add_table !\n"
                           "\n ERROR! igmp_register_switch_add_table Fail !\n"
                           "\n ERROR! igmp_register_switch_del_table Fail !\n"
                           "\n ERROR! igmp_adapt_port_conf_set Fail !\n"
                           "\n ERROR! L2_multicast_init Fail !\n");
    EXPECT_EQ(platform().calls().back(), start_up_steps().back().call);
}

class StartUpRefusal : public StartTest, public ::testing::WithParamInterface<Refusal> {};

TEST_P(StartUpRefusal, is_reported_and_stops_no_more_than_it_must)
{
    for (const Masks masks : all_masks())
        for (const Answer answer : telling_answers()) {
            SCOPED_TRACE(::testing::PrintToString(masks) + " answer " + std::to_string(answer.whole));
            start_over(masks);
            let_refuse(GetParam(), answer.whole);
            const auto steps = steps_with(start_up_steps(), GetParam(), answer.as(GetParam().counts));
            const auto seen = observe(start);
            EXPECT_EQ(seen.result, 0);
            EXPECT_EQ(seen.trace, trace_of(steps, masks));
            EXPECT_EQ(seen.output, output_of(steps, masks));
        }
}

INSTANTIATE_TEST_SUITE_P(OfEachCall, StartUpRefusal, ::testing::ValuesIn(all_refusals()), case_name);

TEST_F(StartUp, a_driver_that_cannot_be_opened_leaves_the_records_initialised)
{
    spoil_all_records();
    platform().answer("L2_multicast_init", 1);
    observe(start);
    EXPECT_EQ(globle_parm.defaultVlan, 4088);
    EXPECT_STREQ(globle_parm.version_num, "QM.14.09.05");
    EXPECT_EQ(PortVlanCfg[1][15], empty_rule());
    EXPECT_EQ(mldInitParams.multiMode, 2);
    EXPECT_EQ(platform().count("mld_register_switch_del_table"), 1u);
    EXPECT_EQ(platform().count("pal_task_create"), 1u);
}

// --- adapt_init by itself

using AdapterStart = StartTest;

TEST_F(AdapterStart, calls_and_lines_come_in_order)
{
    for (const Masks masks : all_masks()) {
        start_over(masks);
        const auto seen = observe(adapt_init);
        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(seen.trace, trace_of(adapter_steps(), masks));
    }
}

TEST_F(AdapterStart, returns_the_drivers_result_whole)
{
    for (const char *const name : {"L2_multicast_init", "L2_multicast_set_filter_method"})
        for (const Answer answer : telling_answers()) {
            start_over({0, 0});
            platform().answer(name, answer.whole);
            EXPECT_EQ(observe(adapt_init).result, answer.whole) << name;
        }
}

TEST_F(AdapterStart, returns_the_low_byte_of_the_proxy_address_result)
{
    for (const Answer answer : telling_answers()) {
        start_over({0, 0});
        platform().answer("igmp_globle_proxyip_set", answer.whole);
        EXPECT_EQ(observe(adapt_init).result, answer.low_byte) << answer.whole;
    }
}

TEST_F(AdapterStart, returns_no_other_failure)
{
    for (const Refusal &refusal : all_refusals()) {
        if (refusal.call.rfind("L2_", 0) == 0 || refusal.call == "igmp_globle_proxyip_set")
            continue;
        start_over({0, 0});
        platform().answer(refusal.call, 5);
        EXPECT_EQ(observe(adapt_init).result, 0) << refusal.call;
    }
}

// --- The receive task

using ReceiveTaskStart = StartTest;

TEST_F(ReceiveTaskStart, creates_the_task_with_the_given_priority)
{
    const auto seen = observe([] { return igmp_adapt_task_init(42); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("pal_task_create(0, \"tMCPktRecv\", 42, 0, 51200, igmp_adapt_pkt_recv_task)"));
    EXPECT_THAT(seen.changed, IsEmpty());
}

TEST_F(ReceiveTaskStart, returns_minus_1_when_the_unit_refuses)
{
    for (const Answer answer : telling_answers())
        for (const Masks masks : all_masks()) {
            start_over(masks);
            platform().answer("pal_task_create", answer.whole);
            const auto seen = observe([] { return igmp_adapt_task_init(42); });
            EXPECT_EQ(seen.result, -1) << answer.whole;
            EXPECT_EQ(seen.output, masks.let_through(Gate::kError)
                                       ? "\r\n[MC_DBG_ERR]: \n ERROR! pal_task_create MC_TASK_PKT_RECV_NAME Fail !"
                                       : "");
        }
}

} // namespace
} // namespace mcadapt::test
