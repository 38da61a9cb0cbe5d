// Faults of the driver's read.
#include <cstring>

#include "broken_ports.h"

namespace mcadapt::test {
namespace {

// A driver that reads as the good one does, and then does something to what it tells.
template <class Change> void after_reading(Port &port, Change change)
{
    const auto read = port.L2_multicast_read_msg;
    port.L2_multicast_read_msg = [read, change](uint8_t *frame, uint8_t *in_port, uint32_t *length) {
        const int32_t result = read(frame, in_port, length);
        return result == 0 ? change(frame, in_port, length) : result;
    };
}

// A driver that delivers one frame of its own making, before any other.
template <class Deliver> void delivering_first(Port &port, Deliver deliver)
{
    const auto read = port.L2_multicast_read_msg;
    port.L2_multicast_read_msg = [read, deliver, first = true](uint8_t *frame, uint8_t *in_port,
                                                               uint32_t *length) mutable {
        if (!first)
            return read(frame, in_port, length);
        first = false;
        return deliver(frame, in_port, length);
    };
}

const BrokenPort kReads[] = {
    {"overruns_the_buffer",
     [](Port &port) {
         port.L2_multicast_read_msg = [](uint8_t *frame, uint8_t *in_port, uint32_t *length) {
             const std::lock_guard<std::mutex> lock(good().lock);
             if (good().frames.empty())
                 return 1;
             const FedFrame next = good().frames.front();
             good().frames.pop_front();
             memcpy(frame, next.bytes.data(), next.bytes.size());
             *in_port = next.port;
             *length = static_cast<uint32_t>(std::min<std::size_t>(next.bytes.size(), 2048));
             return 0;
         };
     },
     "L2_multicast_read_msg wrote up to 52 bytes behind the 2048 of `frame`; the library needs it to stop there, "
     "because its own variables lie behind them, on the stack or in its records."},
    {"tells_more_than_the_buffer_holds",
     [](Port &port) {
         delivering_first(port, [](uint8_t *frame, uint8_t *in_port, uint32_t *length) {
             memset(frame, 0, 2048);
             *in_port = 0;
             *length = 2049;
             return 0;
         });
     },
     "L2_multicast_read_msg told a length of 2049 bytes; the library needs at most the 2048 of its buffer, because it "
     "drops a frame that is told to be longer than 2000."},
    {"tells_more_than_it_wrote",
     [](Port &port) {
         delivering_first(port, [](uint8_t *frame, uint8_t *in_port, uint32_t *length) {
             memset(frame, 0, 40);
             *in_port = 0;
             *length = 60;
             return 0;
         });
     },
     "L2_multicast_read_msg told a length of 60 bytes and wrote 40; the library needs every byte of the frame written, "
     "because the buffer still holds the frame before, whose bytes would be sent on."},
    {"tells_no_length",
     [](Port &port) {
         delivering_first(port, [](uint8_t *frame, uint8_t *in_port, uint32_t *) {
             memset(frame, 0, 60);
             *in_port = 0;
             return 0;
         });
     },
     "L2_multicast_read_msg returned 0 and left `length` unwritten; the library needs it with every frame, because it "
     "still holds the length of the frame before."},
    {"tells_no_port",
     [](Port &port) {
         delivering_first(port, [](uint8_t *frame, uint8_t *, uint32_t *length) {
             memset(frame, 0, 60);
             *length = 60;
             return 0;
         });
     },
     "L2_multicast_read_msg returned 0 and left `port` unwritten; the library needs it with every frame, because it "
     "still holds the port of the frame before."},
    {"tells_a_port_that_is_none",
     [](Port &port) {
         delivering_first(port, [](uint8_t *frame, uint8_t *in_port, uint32_t *length) {
             memset(frame, 0, 60);
             *in_port = 30;
             *length = 60;
             return 0;
         });
     },
     "L2_multicast_read_msg told port 30; the library needs a switch port of 0 to 29, because it drops a frame from "
     "any "
     "other."},
    {"tells_the_port_as_a_word",
     [](Port &port) {
         after_reading(port, [](uint8_t *, uint8_t *in_port, uint32_t *) {
             static const uint8_t kWord[4] = {};
             memcpy(in_port, kWord, sizeof(kWord));
             return 0;
         });
     },
     "L2_multicast_read_msg wrote up to 3 bytes behind the 1 of `port`; the library needs it to stop there, because "
     "its "
     "own variables lie behind them, on the stack or in its records."},
    {"tells_another_port",
     [](Port &port) {
         after_reading(port, [](uint8_t *, uint8_t *in_port, uint32_t *) {
             *in_port = 1;
             return 0;
         });
     },
     "L2_multicast_read_msg told port 1 for a frame that was fed to port 0; the library needs the port on which it "
     "arrived, because rules and forwarding follow from it."},
    {"takes_the_tag_out",
     [](Port &port) {
         after_reading(port, [](uint8_t *frame, uint8_t *, uint32_t *length) {
             memmove(frame + 12, frame + 16, *length - 16);
             return 0;
         });
     },
     "L2_multicast_read_msg delivered a frame that differs from the one fed at byte 12 (08, not 81); the library needs "
     "the frame as it arrived, from the destination MAC address on and with its tags, because it finds everything in "
     "it "
     "by its place."},
    {"delivers_nothing",
     [](Port &port) { port.L2_multicast_read_msg = [](uint8_t *, uint8_t *, uint32_t *) { return 1; }; },
     "L2_multicast_read_msg did not deliver a report that was fed to port 0 within 50 ms; the library needs every IGMP "
     "and MLD frame while trapping is on, because it has them from there alone."},
};

class ARead : public FaultTest {};
TEST_P(ARead, is_told) { expect_found(); }
INSTANTIATE_TEST_SUITE_P(That, ARead, ::testing::ValuesIn(kReads), broken_name);

class AnUnfedRead : public CheckTest {};

TEST_F(AnUnfedRead, that_answers_the_length_is_told)
{
    options.feed = nullptr;
    port().L2_multicast_read_msg = [first = true](uint8_t *frame, uint8_t *in_port, uint32_t *length) mutable {
        if (!first)
            return 0 - 1;
        first = false;
        memset(frame, 0, 60);
        *in_port = 0;
        *length = 60;
        return 60;
    };
    EXPECT_THAT(check().faults(),
                ::testing::ElementsAre("L2_multicast_read_msg returned 60 and wrote a frame; the library needs 0 for a "
                                       "frame that was delivered, because it takes anything else for nothing to read, "
                                       "drops the frame and sleeps 1 second."));
}

} // namespace
} // namespace mcadapt::test
