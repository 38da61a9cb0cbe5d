#include "host/switch/capture_reader.h"

#include <gmock/gmock.h>

#include <functional>
#include <vector>

#include "host/ports.h"
#include "tests/host/switch/capture_files.h"

namespace mcadapt::host::test {
namespace {

using std::chrono::nanoseconds;
using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::string text_of(const CapturedFrame &frame)
{
    return std::to_string(frame.at.count()) + " " + std::to_string(frame.port) + " " +
           std::string(frame.bytes.data, frame.bytes.data + frame.bytes.size) + "/" + std::to_string(frame.wire_size);
}

std::vector<std::string> rest_of(CaptureReader &reader)
{
    std::vector<std::string> frames;
    for (CapturedFrame frame; reader.next(frame);)
        frames.push_back(text_of(frame));
    return frames;
}

std::string error_of(const std::function<void()> &action)
{
    try {
        action();
    } catch (const CaptureError &error) {
        return error.what();
    }
    return "no error";
}

class CaptureInput : public CaptureTest {
protected:
    CaptureReader reader;

    static CaptureBytes micro() { return CaptureBytes().pcap_header(CaptureBytes::kMicroseconds); }
    static CaptureBytes nano() { return CaptureBytes().pcap_header(CaptureBytes::kNanoseconds); }
    std::string error_of_adding(const std::string &file)
    {
        return error_of([&] { reader.add(file, kUserPort); });
    }
};

TEST_F(CaptureInput, gives_the_times_of_microsecond_and_nanosecond_files)
{
    reader.add(write("micro", micro().pcap_frame(1700000000, 999999, "a")), 0);
    reader.add(write("nano", nano().pcap_frame(1700000000, 999999001, "b")), 3);
    EXPECT_THAT(rest_of(reader), ElementsAre("1700000000999999000 0 a/1", "1700000000999999001 3 b/1"));
}

TEST_F(CaptureInput, reads_pcapng_of_any_time_resolution)
{
    reader.add(write("nano", CaptureBytes().pcapng_header().pcapng_interface(1, 9).pcapng_frame(5000000001, "a")), 0);
    reader.add(write("milli", CaptureBytes().pcapng_header().pcapng_interface(1, 3).pcapng_frame(5002, "b")), 0);
    EXPECT_THAT(rest_of(reader), ElementsAre("5000000001 0 a/1", "5002000000 0 b/1"));
}

TEST_F(CaptureInput, merges_files_by_time_and_equal_times_by_their_order)
{
    reader.add(write("user", nano().pcap_frame(1, 0, "a").pcap_frame(2, 0, "c").pcap_frame(3, 0, "d")), kUserPort);
    reader.add(write("net", nano().pcap_frame(1, 1, "b").pcap_frame(2, 0, "C").pcap_frame(4, 0, "e")), kUplinkPort);
    EXPECT_THAT(rest_of(reader), ElementsAre("1000000000 0 a/1", "1000000001 29 b/1", "2000000000 0 c/1",
                                             "2000000000 29 C/1", "3000000000 0 d/1", "4000000000 29 e/1"));
}

TEST_F(CaptureInput, keeps_the_order_of_a_file_whose_times_go_back)
{
    reader.add(write("user", nano().pcap_frame(5, 0, "a").pcap_frame(1, 0, "b")), 0);
    reader.add(write("net", nano().pcap_frame(3, 0, "c")), 29);
    EXPECT_THAT(rest_of(reader), ElementsAre("3000000000 29 c/1", "5000000000 0 a/1", "1000000000 0 b/1"));
}

TEST_F(CaptureInput, tells_the_length_on_the_wire_of_cut_frames)
{
    reader.add(write("cut", nano().pcap_frame(1, 0, "abc", 1400).pcap_frame(2, 0, "", 60)), 0);
    EXPECT_THAT(rest_of(reader), ElementsAre("1000000000 0 abc/1403", "2000000000 0 /60"));
}

TEST_F(CaptureInput, tells_the_sides_of_one_file_by_a_filter)
{
    const std::string from_user("\1\0\x5e\1\1\1\2\0\0\0\0\7", 12);
    const std::string from_net("\1\0\x5e\1\1\1\2\0\0\0\0\x9", 12);
    reader.add_both_sides(write("both", nano().pcap_frame(1, 0, from_user).pcap_frame(2, 0, from_net)), kUserPort,
                          "ether src 02:00:00:00:00:09");
    CapturedFrame frame;
    ASSERT_TRUE(reader.next(frame));
    EXPECT_EQ(frame.port, kUserPort);
    ASSERT_TRUE(reader.next(frame));
    EXPECT_EQ(frame.port, kUplinkPort);
    EXPECT_FALSE(reader.next(frame));
}

TEST_F(CaptureInput, names_a_filter_that_cannot_be_used)
{
    const std::string file = write("both", nano());
    EXPECT_THAT(error_of([&] { reader.add_both_sides(file, kUserPort, "vlan and nonsense"); }),
                HasSubstr(file + ": filter 'vlan and nonsense': "));
    EXPECT_THAT(rest_of(reader), IsEmpty());
}

TEST_F(CaptureInput, has_no_frames_without_files_and_in_files_without_frames)
{
    EXPECT_THAT(rest_of(reader), IsEmpty());
    reader.add(write("none", nano()), 0);
    reader.add(write("none.pcapng", CaptureBytes().pcapng_header().pcapng_interface(1, 9)), 0);
    EXPECT_THAT(rest_of(reader), IsEmpty());
    CapturedFrame frame;
    EXPECT_FALSE(reader.next(frame)); // again
}

TEST_F(CaptureInput, names_a_file_that_is_not_there)
{
    EXPECT_EQ(error_of_adding(path("nowhere")), path("nowhere") + ": No such file or directory");
}

TEST_F(CaptureInput, names_a_directory)
{
    EXPECT_THAT(error_of_adding(directory.string()), HasSubstr(directory.string() + ": "));
    EXPECT_THAT(error_of_adding(directory.string()), HasSubstr("Is a directory"));
}

TEST_F(CaptureInput, names_an_empty_file)
{
    EXPECT_EQ(error_of_adding(write("empty", "")), path("empty") + ": is empty: expected a pcap or pcapng file");
}

TEST_F(CaptureInput, names_a_file_that_is_no_capture)
{
    EXPECT_THAT(error_of_adding(write("text", "mac 00:11:22:33:44:55, as a unit has it")),
                HasSubstr(path("text") + ": unknown file format"));
}

TEST_F(CaptureInput, names_the_link_type_of_a_file_that_is_not_of_ethernet)
{
    const std::string cooked = write("cooked", CaptureBytes().pcap_header(CaptureBytes::kNanoseconds, 113));
    EXPECT_EQ(error_of_adding(cooked), cooked + ": holds frames of link type LINUX_SLL, not Ethernet");
    const std::string unnamed = write("unnamed", CaptureBytes().pcap_header(CaptureBytes::kNanoseconds, 9999));
    EXPECT_EQ(error_of_adding(unnamed), unnamed + ": holds frames of link type 9999, not Ethernet");
}

TEST_F(CaptureInput, refuses_a_pcapng_file_with_interfaces_of_different_link_types)
{
    CaptureBytes mixed;
    mixed.pcapng_header().pcapng_interface(1, 9).pcapng_frame(1, "a").pcapng_interface(113, 9).pcapng_frame(2, "b");
    reader.add(write("mixed", mixed), 0);
    EXPECT_THAT(error_of([&] { rest_of(reader); }), HasSubstr(path("mixed") + ": frame 2: "));
}

TEST_F(CaptureInput, fails_only_behind_the_last_whole_frame_of_a_file_that_ends_within_one)
{
    const std::string whole = nano().pcap_frame(1, 0, "a").pcap_frame(2, 0, "b").bytes();
    for (const std::size_t missing : {1u, 5u, 16u}) {
        SCOPED_TRACE(missing);
        CaptureReader cut;
        cut.add(write("cut", whole.substr(0, whole.size() - missing)), 0);
        CapturedFrame frame;
        ASSERT_TRUE(cut.next(frame));
        EXPECT_EQ(text_of(frame), "1000000000 0 a/1");
        EXPECT_THAT(error_of([&] { cut.next(frame); }), HasSubstr(path("cut") + ": frame 2: truncated dump file"));
    }
}

TEST_F(CaptureInput, goes_on_with_other_files_behind_a_failure)
{
    const std::string whole = nano().pcap_frame(1, 0, "a").pcap_frame(2, 0, "b").bytes();
    reader.add(write("cut", whole.substr(0, whole.size() - 1)), 0);
    reader.add(write("net", nano().pcap_frame(3, 0, "c")), 29);
    CapturedFrame frame;
    ASSERT_TRUE(reader.next(frame));
    EXPECT_NE(error_of([&] { reader.next(frame); }), "no error");
    EXPECT_THAT(rest_of(reader), ElementsAre("3000000000 29 c/1"));
}

TEST_F(CaptureInput, fails_at_once_for_a_file_that_ends_within_its_first_frame)
{
    const std::string whole = nano().pcap_frame(1, 0, "a").bytes();
    EXPECT_THAT(error_of_adding(write("cut", whole.substr(0, whole.size() - 1))),
                HasSubstr(path("cut") + ": frame 1: truncated dump file"));
    EXPECT_THAT(rest_of(reader), IsEmpty());
}

TEST_F(CaptureInput, fails_for_a_file_that_ends_within_its_header)
{
    EXPECT_THAT(error_of_adding(write("cut", nano().bytes().substr(0, 20))), HasSubstr(path("cut") + ": truncated"));
}

TEST_F(CaptureInput, refuses_times_that_a_pcap_file_cannot_hold)
{
    reader.add(write("last", nano().pcap_frame(0xFFFFFFFF, 999999999, "a")), 0);
    EXPECT_THAT(rest_of(reader), ElementsAre("4294967295999999999 0 a/1"));
    for (const uint64_t time : {uint64_t{1} << 32, uint64_t{1} << 63}) {
        SCOPED_TRACE(time);
        const std::string file =
            write("late", CaptureBytes().pcapng_header().pcapng_interface(1, 0).pcapng_frame(time, "a"));
        EXPECT_EQ(error_of_adding(file), file + ": frame 1: its time is not between 1970 and 2106");
    }
}

TEST_F(CaptureInput, refuses_times_that_a_fraction_of_more_than_a_second_moves_out_of_range)
{
    const struct {
        uint32_t seconds;
        uint32_t fraction;
    } times[] = {{0, 0xFFFFFFFF}, {1, 0x80000000}, {0xFFFFFFFF, 1000000000}};
    for (const auto &time : times) {
        SCOPED_TRACE(time.fraction);
        const std::string file = write("odd", nano().pcap_frame(time.seconds, time.fraction, "a"));
        EXPECT_EQ(error_of_adding(file), file + ": frame 1: its time is not between 1970 and 2106");
    }
    reader.add(write("odd", nano().pcap_frame(3, 0x80000000, "a").pcap_frame(3, 1500000000, "b")), 0);
    EXPECT_THAT(rest_of(reader), ElementsAre("852516352 0 a/1", "4500000000 0 b/1"));
}

TEST_F(CaptureInput, tells_how_far_it_has_come)
{
    const CaptureBytes one = nano().pcap_frame(1, 0, "a");
    const CaptureBytes two = nano().pcap_frame(2, 0, "b").pcap_frame(3, 0, "c");
    EXPECT_EQ(reader.total_bytes(), 0u);
    reader.add(write("one", one), 0);
    reader.add(write("two", two), 0);
    EXPECT_EQ(reader.total_bytes(), one.bytes().size() + two.bytes().size());
    EXPECT_LT(reader.read_bytes(), reader.total_bytes());
    rest_of(reader);
    EXPECT_EQ(reader.read_bytes(), reader.total_bytes());
}

} // namespace
} // namespace mcadapt::host::test
