#include "host/switch/capture_writer.h"

#include <gmock/gmock.h>

#include "host/switch/capture_reader.h"
#include "tests/host/switch/capture_files.h"
#include "tests/host/switch/frames.h"

namespace mcadapt::host::test {
namespace {

using ::testing::HasSubstr;

class CaptureOutput : public CaptureTest {
protected:
    ReplayClock clock;

    static std::string text_of(const Packet &packet) { return {packet.begin(), packet.end()}; }
};

TEST_F(CaptureOutput, is_one_nanosecond_pcap_file_for_each_port)
{
    CaptureWriter writer(clock, directory.string(), {kUserPort, 3, kUplinkPort});
    const Packet tagged = data_in_vlan(0x6064);
    clock.advance_to(std::chrono::seconds(1700000000) + std::chrono::nanoseconds(123456789));
    writer.leave(kUserPort, bytes_of(tagged), tagged.size());
    writer.leave(kUplinkPort, bytes_of(tagged), tagged.size());
    clock.advance_to(std::chrono::seconds(1700000001));
    writer.leave(kUserPort, bytes_of(tagged), tagged.size());
    writer.flush();

    CaptureBytes header;
    header.u32(CaptureBytes::kNanoseconds).u16(2).u16(4).u32(0).u32(0).u32(262144).u32(1);
    CaptureBytes user = header;
    user.pcap_frame(1700000000, 123456789, text_of(tagged)).pcap_frame(1700000001, 0, text_of(tagged));
    CaptureBytes uplink = header;
    uplink.pcap_frame(1700000000, 123456789, text_of(tagged));
    EXPECT_EQ(read("port0.pcap"), user.bytes());
    EXPECT_EQ(read("port3.pcap"), header.bytes());
    EXPECT_EQ(read("uplink.pcap"), uplink.bytes());
}

TEST_F(CaptureOutput, keeps_the_length_on_the_wire_of_cut_frames)
{
    const Packet packet = {1, 2, 3};
    {
        CaptureWriter writer(clock, directory.string(), {kUserPort});
        writer.leave(kUserPort, bytes_of(packet), 1400);
    }
    CaptureReader reader;
    reader.add(path("port0.pcap"), kUserPort);
    CapturedFrame frame;
    ASSERT_TRUE(reader.next(frame));
    EXPECT_EQ(Packet(frame.bytes.data, frame.bytes.data + frame.bytes.size), packet);
    EXPECT_EQ(frame.wire_size, 1400u);
}

TEST_F(CaptureOutput, can_be_read_again_whatever_the_length_of_its_frames)
{
    const Packet jumbo(200000, 7);
    {
        CaptureWriter writer(clock, directory.string(), {kUserPort});
        writer.leave(kUserPort, bytes_of(jumbo), jumbo.size());
    }
    CaptureReader reader;
    reader.add(path("port0.pcap"), kUserPort);
    CapturedFrame frame;
    ASSERT_TRUE(reader.next(frame));
    EXPECT_EQ(frame.bytes.size, jumbo.size());
}

TEST_F(CaptureOutput, leaves_out_ports_for_which_it_has_no_file)
{
    const Packet packet = untagged_data();
    CaptureWriter writer(clock, directory.string(), {kUserPort});
    writer.leave(3, bytes_of(packet), packet.size());
    writer.leave(255, bytes_of(packet), packet.size());
    writer.flush();
    EXPECT_EQ(read("port0.pcap").size(), 24u);
    EXPECT_FALSE(std::filesystem::exists(path("port3.pcap")));
    EXPECT_THROW(CaptureWriter(clock, directory.string(), {30}), std::out_of_range);
}

TEST_F(CaptureOutput, names_a_file_that_cannot_be_made)
{
    try {
        const CaptureWriter writer(clock, path("nowhere"), {kUplinkPort});
        FAIL() << "no error";
    } catch (const CaptureError &error) {
        EXPECT_EQ(error.what(), path("nowhere/uplink.pcap") + ": cannot be written: No such file or directory");
    }
}

TEST_F(CaptureOutput, names_a_file_that_the_disk_does_not_take)
{
    if (!std::filesystem::exists("/dev/full"))
        GTEST_SKIP();
    std::filesystem::create_symlink("/dev/full", path("port0.pcap"));
    CaptureWriter writer(clock, directory.string(), {kUserPort});
    const Packet packet = untagged_data();
    writer.leave(kUserPort, bytes_of(packet), packet.size());
    try {
        writer.flush();
        FAIL() << "no error";
    } catch (const CaptureError &error) {
        EXPECT_THAT(error.what(), HasSubstr(path("port0.pcap") + ": cannot be written: No space left on device"));
    }
}

} // namespace
} // namespace mcadapt::host::test
