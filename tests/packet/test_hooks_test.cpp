// The small setters beside the engine's callbacks.
#include "support/frames.h"
#include "support/library_test.h"
#include "support/matchers.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class TestHooks : public LibraryTest {};

TEST_F(TestHooks, the_table_return_keeps_0_and_turns_everything_else_into_1)
{
    static constexpr struct {
        uint32_t value;
        uint32_t stored;
    } kCases[] = {{0, 0}, {1, 1}, {7, 1}, {0x100, 1}, {0x10000, 1}, {0xFFFFFFFF, 1}};
    for (const auto &c : kCases) {
        SCOPED_TRACE(c.value);
        tablereturn = 55;
        const auto seen = observe([&] { return igmp_set_table_return(c.value); });
        EXPECT_EQ(seen.result, static_cast<int32_t>(c.stored));
        EXPECT_EQ(tablereturn, c.stored);
        EXPECT_THAT(seen.changed, ElementsAre("tablereturn"));
        EXPECT_THAT(seen.calls, IsEmpty());
    }
}

TEST_F(TestHooks, the_test_uplink_is_stored_unchanged)
{
    for (const uint32_t port : {0u, 5u, 29u, 0xFFFDu, 0xFFFFu, 0x10005u, 0xFFFFFFFFu, 0xFFFEu}) {
        SCOPED_TRACE(port);
        testuplink = 123;
        const auto seen = observe([&] { return igmp_adapt_set_test_uplink(port); });
        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(testuplink, port);
        // intended: the MLD side has its own test uplink, which this does not set
        EXPECT_THAT(seen.changed, ElementsAre("testuplink"));
        EXPECT_THAT(seen.calls, IsEmpty());
    }
}

TEST_F(TestHooks, the_test_uplink_redirects_igmp_frames_until_it_is_taken_back)
{
    static constexpr uint8_t kFrame[] = {0xAB};
    const auto send = [] {
        l2_igmp_send_pkt(kFrame, 1, 29);
        return mld_l2_igmp_send_pkt(kFrame, 1, 29);
    };
    igmp_adapt_set_test_uplink(5);
    EXPECT_THAT(observe(send).calls,
                ElementsAre("L2_multicast_send_msg(ab, 5, 1, 0, 0)", "L2_multicast_send_msg(ab, 29, 1, 0, 0)"));
    igmp_adapt_set_test_uplink(0xFFFE);
    EXPECT_THAT(observe(send).calls,
                ElementsAre("L2_multicast_send_msg(ab, 29, 1, 0, 0)", "L2_multicast_send_msg(ab, 29, 1, 0, 0)"));
}

TEST_F(TestHooks, the_signalling_vlans_are_stored_for_one_logic_port)
{
    static constexpr struct {
        uint32_t up, second, down;
        uint16_t svlan, svlan_s, cvlan;
    } kCases[] = {
        {100, 200, 300, 100, 200, 300},
        {0, 5, 0, 0xFFFF, 5, 0}, // 0 upstream means none; downstream it strips
        {0xFFFF, 0xFFFE, 0xFFFE, 0xFFFF, 0xFFFE, 0xFFFE},
        {1, 0, 1, 1, 0, 1},
        {0x1A064, 0x20001, 0x30002, 0xA064, 1, 2},
        {0x10000, 0x10000, 0x10000, 0, 0, 0}, // tested for 0 before it is cut
    };
    for (const uint32_t index : {0u, 1u}) {
        for (const auto &c : kCases) {
            SCOPED_TRACE("index " + std::to_string(index) + ", up " + std::to_string(c.up));
            const portParm before = {1, 2, 3, 0x5555, 0x5555, 0x5555};
            globle_parm.port[0] = globle_parm.port[1] = before;

            const auto seen = observe([&] { return igmp_adapt_set_sig_vlan(index, c.up, c.second, c.down); });

            EXPECT_EQ(seen.result, 0);
            EXPECT_EQ(globle_parm.port[index], (portParm{1, 2, 3, c.svlan, c.svlan_s, c.cvlan}));
            EXPECT_EQ(globle_parm.port[1 - index], before);
            EXPECT_THAT(records_of(seen.changed), ElementsAre("globle_parm"));
            EXPECT_EQ(seen.changed.size(), 3u);
            EXPECT_THAT(seen.calls, IsEmpty());
        }
    }
}

TEST_F(TestHooks, signalling_vlans_of_a_logic_port_that_is_not_there_are_not_stored)
{
    for (const uint32_t index : {2u, 3u, 256u, 0x10000u, 0x80000000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(index);
        const auto seen = observe([&] { return igmp_adapt_set_sig_vlan(index, 100, 200, 300); });
        EXPECT_EQ(seen.result, 0);
        EXPECT_THAT(seen.changed, IsEmpty());
    }
}

TEST_F(TestHooks, the_drop_switch_is_stored_as_given)
{
    for (const uint8_t flag : {uint8_t{1}, uint8_t{2}, uint8_t{255}, uint8_t{0}}) {
        SCOPED_TRACE(+flag);
        globle_parm.pkt_process_disable = 77;
        const auto seen = observe([&] { igmp_adapt_set_pkt_process_disable(flag); });
        EXPECT_EQ(globle_parm.pkt_process_disable, flag);
        EXPECT_THAT(seen.changed, ElementsAre("globle_parm.pkt_process_disable"));
        EXPECT_THAT(seen.calls, IsEmpty());
    }
}

TEST_F(TestHooks, no_hook_prints_anything)
{
    log_mask(0xFFFFFFFF);
    const auto seen = observe([] {
        igmp_set_table_return(0);
        igmp_adapt_set_test_uplink(0);
        igmp_adapt_set_sig_vlan(0, 1, 2, 3);
        igmp_adapt_set_sig_vlan(2, 1, 2, 3);
        igmp_adapt_set_pkt_process_disable(1);
    });
    EXPECT_EQ(seen.output, "");
}

class DropSwitch : public IntakeTest {};

TEST_F(DropSwitch, every_frame_is_dropped_while_it_is_not_0)
{
    for (const uint8_t flag : {uint8_t{1}, uint8_t{255}, uint8_t{0}}) {
        SCOPED_TRACE(+flag);
        igmp_adapt_set_pkt_process_disable(flag);
        platform().forget_calls();
        platform().deliver(igmp_report("225.1.2.3").pad_to(64), 0);
        platform().deliver(mld_report("ff1e::1"), 0);
        ASSERT_TRUE(run_receive_task());
        EXPECT_EQ(platform().count("igmp_pkt_recv"), flag == 0 ? 1u : 0u);
        EXPECT_EQ(platform().count("mld_pkt_recv"), flag == 0 ? 1u : 0u);
    }
}

} // namespace
} // namespace mcadapt::test
