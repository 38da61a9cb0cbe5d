#include "intake_kit.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class ReceiveTaskCreation : public LibraryTest {};

TEST_F(ReceiveTaskCreation, gives_name_priority_stack_and_entry)
{
    everything_logged();
    const auto seen = observe([] { return igmp_adapt_task_init(11); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.trace, "<pal_task_create(0, \"tMCPktRecv\", 11, 0, 51200, igmp_adapt_pkt_recv_task)>\n");
    EXPECT_THAT(seen.changed, IsEmpty());
}

TEST_F(ReceiveTaskCreation, passes_the_priority_on_as_it_is)
{
    const auto seen = observe([] { return igmp_adapt_task_init(-3); });
    EXPECT_THAT(seen.calls, ElementsAre("pal_task_create(0, \"tMCPktRecv\", -3, 0, 51200, igmp_adapt_pkt_recv_task)"));
}

TEST_F(ReceiveTaskCreation, a_refusal_gives_minus_one_and_a_gated_line)
{
    const std::string line = "\r\n[MC_DBG_ERR]: \n ERROR! pal_task_create MC_TASK_PKT_RECV_NAME Fail !";
    for (const int32_t refusal : {1, -1, 256, 7}) {
        SCOPED_TRACE(refusal);
        platform().answer("pal_task_create", refusal);
        for (const uint32_t mask : {0u, 0x04u, 0xFFFFFFFBu, 0xFFFFFFFFu}) {
            mc_debug = mask;
            mld_debug = ~mask;
            const auto seen = observe([] { return igmp_adapt_task_init(11); });
            EXPECT_EQ(seen.result, -1);
            EXPECT_EQ(seen.output, (mask & 0x04) != 0 ? line : "");
        }
    }
}

/** The task on a driver with queued frames, in modes without handlers. */
class ReceiveTask : public IntakeTest {
protected:
    void SetUp() override
    {
        IntakeTest::SetUp();
        give_frames_to_the_engine_alone();
    }

    static Observed<bool> run()
    {
        return observe([] { return run_receive_task(); });
    }
};

TEST_F(ReceiveTask, takes_frame_after_frame_and_sleeps_one_second_when_none_is_left)
{
    platform().deliver(igmp_report("225.1.2.3"), 0);
    platform().deliver(mld_report("ff1e::1"), 0);
    platform().deliver(igmp_query(), 29);
    EXPECT_THAT(run().calls,
                ElementsAre("L2_multicast_read_msg()", "igmp_pkt_recv(46c0002000004000, 32, 0, 4088, 0)",
                            "L2_multicast_read_msg()", "mld_pkt_recv(6000000000200001, 72, 0, 4088, 13119)",
                            "L2_multicast_read_msg()", "igmp_pkt_recv(46c0002000004000, 32, 65535, 4088, 0)",
                            "L2_multicast_read_msg()", "sleep(1)"));
}

TEST_F(ReceiveTask, polls_again_after_each_second_of_sleep)
{
    // The frame that is still in the buffer is not taken again.
    traces_logged();
    platform().deliver(igmp_report("225.1.2.3"), 0);
    const auto seen = observe([] { return run_until("sleep", 3, igmp_adapt_pkt_recv_task); });
    EXPECT_TRUE(seen.result);
    EXPECT_THAT(seen.trace, EndsWith("<igmp_pkt_recv(46c0002000004000, 32, 0, 4088, 0)>\n"
                                     "<L2_multicast_read_msg()>\n<sleep(1)>\n<L2_multicast_read_msg()>\n<sleep(1)>\n"
                                     "<L2_multicast_read_msg()>\n<sleep(1)>\n"));
}

TEST_F(ReceiveTask, any_answer_but_0_means_that_there_is_no_frame)
{
    platform().answers("L2_multicast_read_msg", {-1, 1, 256, 0});
    platform().deliver(igmp_report("225.1.2.3"), 0);
    EXPECT_THAT(run().calls,
                ElementsAre("L2_multicast_read_msg()", "sleep(1)", "L2_multicast_read_msg()", "sleep(1)",
                            "L2_multicast_read_msg()", "sleep(1)", "L2_multicast_read_msg()",
                            "igmp_pkt_recv(46c0002000004000, 32, 0, 4088, 0)", "L2_multicast_read_msg()", "sleep(1)"));
}

TEST_F(ReceiveTask, the_first_three_bytes_choose_the_family)
{
    traces_logged();
    const std::string igmp = "\r\n[MC_DBG_DBG]: igmpL2PktProc is in! 0\n";
    const std::string mld = "\r\n[MC_MLD_DBG_DBG]: mldL2PktProc is in! 0\n";
    const struct {
        const char *destination;
        bool igmp;
    } kCases[] = {
        {"01:00:5e:01:02:03", true},  {"01:00:5e:ff:ff:ff", true},  {"01:00:5f:01:02:03", false},
        {"01:01:5e:01:02:03", false}, {"00:00:5e:01:02:03", false}, {"03:00:5e:01:02:03", false},
        {"33:33:00:00:00:01", false}, {"ff:ff:ff:ff:ff:ff", false}, {"02:19:c6:01:02:03", false},
    };
    for (const auto &each : kCases) {
        SCOPED_TRACE(each.destination);
        platform().deliver(igmp_report("225.1.2.3").to(each.destination), 0);
        const std::string output = run().output;
        EXPECT_THAT(output, HasSubstr(each.igmp ? igmp : mld));
        EXPECT_THAT(output, Not(HasSubstr(each.igmp ? mld : igmp)));
    }
}

TEST_F(ReceiveTask, a_unicast_igmp_frame_is_refused_by_the_mld_intake)
{
    errors_logged();
    platform().deliver(igmp_report("225.1.2.3").to("02:19:c6:01:02:03"), 0);
    const auto seen = run();
    EXPECT_EQ(seen.output, "\r\n[MC_MLD_DBG_ERR]: Not ip pkt recieved,abord!(8)\r\n");
    EXPECT_THAT(seen.calls, ElementsAre("L2_multicast_read_msg()", "L2_multicast_read_msg()", "sleep(1)"));
}

TEST_F(ReceiveTask, hands_on_the_length_and_the_port_that_the_driver_tells)
{
    errors_logged();
    platform().deliver(igmp_report("225.1.2.3"), 255);
    platform().deliver(igmp_report("225.1.2.3"), 0, 2001);
    platform().deliver(mld_report("ff1e::1"), 30);
    platform().deliver(mld_report("ff1e::1"), 0, 0xFFFFFFFF);
    EXPECT_EQ(run().output, "\r\n[MC_DBG_ERR]: \n port(255) is invalid!"
                            "\r\n[MC_DBG_ERR]: The port no(255) is illegal, abord!<*_*>\r\n"
                            "\r\n[MC_DBG_ERR]: usLength  = 2001\r\n"
                            "\r\n[MC_MLD_DBG_ERR]: \n port(30) is invalid!"
                            "\r\n[MC_MLD_DBG_ERR]: The port no(30) is illegal, abord!<*_*>\r\n"
                            "\r\n[MC_MLD_DBG_ERR]: usLength  = -1\r\n");
}

TEST_F(ReceiveTask, goes_on_whatever_the_intakes_return)
{
    platform().answer("igmp_pkt_recv", -1);
    platform().answer("mld_pkt_recv", 5);
    platform().deliver(igmp_report("225.1.2.3"), 0);
    platform().deliver(igmp_report("225.1.2.3").from("02:19:c6:01:02:03"), 0); // refused: the unit's own
    platform().deliver(mld_report("ff1e::1"), 0);
    platform().deliver(igmp_report("225.1.2.4"), 0);
    const auto seen = run();
    EXPECT_EQ(platform().count("igmp_pkt_recv"), 2u);
    EXPECT_EQ(platform().count("mld_pkt_recv"), 1u);
    EXPECT_EQ(platform().count("L2_multicast_read_msg"), 5u);
    EXPECT_EQ(platform().count("sleep"), 1u);
}

TEST_F(ReceiveTask, drops_every_frame_at_once_while_processing_is_disabled)
{
    everything_logged();
    for (const uint8_t flag : std::initializer_list<uint8_t>{1, 2, 128, 255}) {
        SCOPED_TRACE(int{flag});
        igmp_adapt_set_pkt_process_disable(flag);
        platform().deliver(igmp_report("225.1.2.3"), 0);
        platform().deliver(mld_report("ff1e::1"), 0);
        platform().deliver(igmp_report("225.1.2.4"), 30);
        const auto seen = run();
        EXPECT_THAT(seen.calls, ElementsAre("L2_multicast_read_msg()", "L2_multicast_read_msg()",
                                            "L2_multicast_read_msg()", "L2_multicast_read_msg()", "sleep(1)"));
        EXPECT_EQ(seen.output, "");
        EXPECT_THAT(seen.changed, IsEmpty());
    }
}

TEST_F(ReceiveTask, looks_at_the_switch_once_a_frame_was_read)
{
    // The switch is thrown while the task waits for the second frame, and thrown back while it waits for the third.
    int reads = 0;
    platform().on("L2_multicast_read_msg", [&reads] { igmp_adapt_set_pkt_process_disable(++reads == 2 ? 1 : 0); });
    platform().deliver(igmp_report("225.1.2.3").packet_word(2, 101), 0);
    platform().deliver(igmp_report("225.1.2.3").packet_word(2, 102), 0);
    platform().deliver(igmp_report("225.1.2.3").packet_word(2, 103), 0);
    EXPECT_THAT(run().calls,
                ElementsAre("L2_multicast_read_msg()", "igmp_pkt_recv(46c0006500004000, 101, 0, 4088, 0)",
                            "L2_multicast_read_msg()", "L2_multicast_read_msg()",
                            "igmp_pkt_recv(46c0006700004000, 103, 0, 4088, 0)", "L2_multicast_read_msg()", "sleep(1)"));
}

TEST_F(ReceiveTask, an_empty_queue_is_slept_on_while_processing_is_disabled)
{
    igmp_adapt_set_pkt_process_disable(1);
    EXPECT_THAT(run().calls, ElementsAre("L2_multicast_read_msg()", "sleep(1)"));
}

/** Leaves bytes on the stack that a task finds there when it starts. */
[[gnu::noinline]] void dirty_stack()
{
    volatile uint8_t bytes[16384];
    for (volatile uint8_t &byte : bytes)
        byte = 0x45;
}

TEST_F(ReceiveTask, starts_with_a_zeroed_buffer)
{
    everything_logged();
    // Nothing but the Ethernet header: the packet that is read behind it is what the buffer held.
    platform().deliver(igmp_report("225.1.2.3").cut_to(14), 0);
    dirty_stack();
    const auto seen = run();
    EXPECT_THAT(seen.output, HasSubstr("\r\n[MC_DBG_DBG]: IP TOTAL LENGTH = 0\r\n\r\n[MC_DBG_DBG]: PROTOL TYPE = 0"
                                       "\r\n[MC_DBG_ERR]: Error! Igmp Packet comes from myself!\r\n"));
    EXPECT_THAT(seen.calls, ElementsAre("L2_multicast_read_msg()", "L2_multicast_read_msg()", "sleep(1)"));
}

TEST_F(ReceiveTask, does_not_clear_its_buffer_between_frames)
{
    // Intended: behind a frame without a packet, the one of the frame before is still there.
    platform().deliver(igmp_report("225.1.2.3").packet_word(2, 101), 0);
    platform().deliver(igmp_report("225.1.2.3").cut_to(14), 0);
    EXPECT_THAT(run().calls, ElementsAre("L2_multicast_read_msg()", "igmp_pkt_recv(46c0006500004000, 101, 0, 4088, 0)",
                                         "L2_multicast_read_msg()", "igmp_pkt_recv(46c0006500004000, 101, 0, 4088, 0)",
                                         "L2_multicast_read_msg()", "sleep(1)"));
}

} // namespace
} // namespace mcadapt::test
