#include "intake_kit.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/** Run before all others, each in a process of its own: the intakes remember that they have taken a frame. */
class FirstFrameDeathTest : public LibraryTest {
protected:
    using Intake = int32_t (*)(uint8_t *frame, uint32_t length, uint32_t port);

    static std::vector<std::string> calls_of(Intake intake, const ByteVector &frame, uint32_t port, uint32_t length)
    {
        FrameBuffer buffer(frame);
        return observe([&] { return intake(buffer.data(), length, port); }).calls;
    }
    static std::vector<std::string> calls_of(Intake intake, const ByteVector &frame)
    {
        return calls_of(intake, frame, 0, static_cast<uint32_t>(frame.size()));
    }

    const ByteVector igmp = igmp_report("225.1.2.3");
    const ByteVector mld = mld_report("ff1e::1");
    const std::string igmp_call = "igmp_pkt_recv(46c0002000004000, 32, 0, 4088, 0)";
    const std::string mld_call = "mld_pkt_recv(6000000000200001, 72, 0, 4088, 13119)";
};

TEST_F(FirstFrameDeathTest, the_igmp_intake_reads_the_clock_once)
{
    in_fresh_process([this] {
        give_frames_to_the_engine_alone();
        EXPECT_THAT(calls_of(igmpL2PktProc, igmp), ElementsAre("igmp_time_now()", igmp_call));
        EXPECT_THAT(calls_of(igmpL2PktProc, igmp), ElementsAre(igmp_call));
        EXPECT_THAT(calls_of(igmpL2PktProc, igmp), ElementsAre(igmp_call));
    });
}

TEST_F(FirstFrameDeathTest, the_mld_intake_reads_the_same_clock_once)
{
    in_fresh_process([this] {
        give_frames_to_the_engine_alone();
        EXPECT_THAT(calls_of(mldL2PktProc, mld), ElementsAre("igmp_time_now()", mld_call));
        EXPECT_THAT(calls_of(mldL2PktProc, mld), ElementsAre(mld_call));
    });
}

TEST_F(FirstFrameDeathTest, each_intake_counts_its_own_frames)
{
    in_fresh_process([this] {
        give_frames_to_the_engine_alone();
        EXPECT_THAT(calls_of(igmpL2PktProc, igmp), ElementsAre("igmp_time_now()", igmp_call));
        EXPECT_THAT(calls_of(mldL2PktProc, mld), ElementsAre("igmp_time_now()", mld_call));
        EXPECT_THAT(calls_of(igmpL2PktProc, igmp), ElementsAre(igmp_call));
        EXPECT_THAT(calls_of(mldL2PktProc, mld), ElementsAre(mld_call));
    });
}

TEST_F(FirstFrameDeathTest, a_frame_refused_for_its_port_or_length_is_not_counted)
{
    in_fresh_process([this] {
        give_frames_to_the_engine_alone();
        for (const Intake intake : {igmpL2PktProc, mldL2PktProc}) {
            const ByteVector &frame = intake == igmpL2PktProc ? igmp : mld;
            EXPECT_THAT(calls_of(intake, frame, 30, 64), IsEmpty());
            EXPECT_THAT(calls_of(intake, frame, 1, 64), IsEmpty());
            EXPECT_THAT(calls_of(intake, frame, 0, 2001), IsEmpty());
            EXPECT_THAT(calls_of(intake, frame, 0, 13), ElementsAre("igmp_time_now()"));
        }
    });
}

TEST_F(FirstFrameDeathTest, a_frame_of_the_units_own_is_counted_after_its_dump_and_before_its_refusal)
{
    in_fresh_process([] {
        log_mask(MC_DEBUG_TRACE | MC_DEBUG_ERROR | MC_DEBUG_RX_DUMP);
        FrameBuffer own(ByteVector(14, 0)); // from 00:00:00:00:00:00, as both addresses are before start-up
        EXPECT_EQ(observe([&] { return igmpL2PktProc(own.data(), 14, 0); }).trace,
                  "\r\n[MC_DBG_DBG]: igmpL2PktProc is in! 0\n[igmpL2PktProc]: Pkt recv from port 0, len 14.\r\n" +
                      dumped(own.frame()) +
                      "<igmp_time_now()>\n\r\n[MC_DBG_ERR]: Error! Igmp Packet comes from myself!\r\n");
        EXPECT_EQ(observe([&] { return mldL2PktProc(own.data(), 14, 0); }).trace,
                  "\r\n[MC_MLD_DBG_DBG]: mldL2PktProc is in! 0\n" + dumped(own.frame()) +
                      "<igmp_time_now()>\n\r\n[MC_MLD_DBG_DBG]: Error! mld Packet comes from myself!\r\n");
    });
}

TEST_F(FirstFrameDeathTest, the_clock_gets_64_zeroed_bytes_to_write_into)
{
    in_fresh_process([this] {
        for (const Intake intake : {igmpL2PktProc, mldL2PktProc}) {
            platform().forget_calls();
            calls_of(intake, igmp);
            EXPECT_EQ(platform().time_record, ByteVector(64, 0));
        }
    });
}

} // namespace
} // namespace mcadapt::test
