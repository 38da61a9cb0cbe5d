/**
 * @file
 * Frames: read from the driver, handed to the engine, sent through the driver; all on the receive task.
 */
#include <cstring>
#include <initializer_list>

#include "portcheck/callbacks.h"
#include "portcheck/lent_memory.h"
#include "portcheck/packets.h"
#include "portcheck/report.h"
#include "portcheck/steps.h"
#include "portcheck/task.h"
#include "portcheck/watch.h"

namespace mcadapt::portcheck {

namespace {

constexpr int kReads = 16;
constexpr uint32_t kTimeBytes = 64;
constexpr uint32_t kEngineUplink = 0xFFFF;
constexpr uint32_t kProxy = 2;
constexpr uint32_t kSnooping = 1;
constexpr uint32_t kLongFrameBytes = 2100;
// Values that no driver means.
constexpr uint8_t kNoPort = 0xEE;
constexpr uint32_t kNoLength = 0xEEEEEEEE;

// Every place of the buffer has a byte of its own, so that what the driver did not write is known.
uint8_t untouched(uint32_t place) { return static_cast<uint8_t>(place * 167 + (place >> 8) * 59 + 91); }

struct Delivery {
    int32_t result;
    uint8_t port;
    uint32_t length;
    uint8_t bytes[kReceiveBytes];
};
Delivery delivery; // not on the task's stack, beside the frames of the port

void read_frame()
{
    LentOutput frame(Call::L2_multicast_read_msg, "frame", kReceiveBytes);
    LentOutput port(Call::L2_multicast_read_msg, "port", sizeof(uint8_t), kNoPort);
    LentOutput length(Call::L2_multicast_read_msg, "length", sizeof(uint32_t), 0xEE);
    for (uint32_t i = 0; i < kReceiveBytes; ++i)
        frame.bytes()[i] = untouched(i);
    delivery.result =
        CALL(L2_multicast_read_msg)(frame.bytes(), port.bytes(), static_cast<uint32_t *>(length.memory()));
    frame.take_back();
    port.take_back();
    length.take_back();
    delivery.port = port.result()[0];
    memcpy(&delivery.length, length.result(), sizeof(delivery.length));
    memcpy(delivery.bytes, frame.result(), sizeof(delivery.bytes));
}

// Chance leaves the one or other byte as it was, but not eight in a row.
uint32_t written_bytes(uint32_t length)
{
    uint32_t written = length;
    while (written > 0 && delivery.bytes[written - 1] == untouched(written - 1))
        --written;
    return length - written < 8 ? length : written;
}

bool is_any_written() { return written_bytes(kReceiveBytes) != 0 && delivery.length != kNoLength; }

void check_nothing_read()
{
    if (is_any_written())
        fault(
            "L2_multicast_read_msg returned %d and wrote a frame; the library needs 0 for a frame that was delivered, "
            "because it takes anything else for nothing to read, drops the frame and sleeps 1 second.",
            delivery.result);
}

void check_delivery()
{
    if (delivery.length == kNoLength) {
        fault("L2_multicast_read_msg returned 0 and left `length` unwritten; the library needs it with every frame, "
              "because it still holds the length of the frame before.");
        return;
    }
    if (delivery.port == kNoPort)
        fault("L2_multicast_read_msg returned 0 and left `port` unwritten; the library needs it with every frame, "
              "because it still holds the port of the frame before.");
    else if (delivery.port > kUplinkPort)
        fault(
            "L2_multicast_read_msg told port %u; the library needs a switch port of 0 to 29, because it drops a frame "
            "from any other.",
            delivery.port);
    if (delivery.length > kReceiveBytes) {
        fault("L2_multicast_read_msg told a length of %u bytes; the library needs at most the 2048 of its buffer, "
              "because it drops a frame that is told to be longer than 2000.",
              delivery.length);
        return;
    }
    const uint32_t written = written_bytes(delivery.length);
    if (written != delivery.length)
        fault("L2_multicast_read_msg told a length of %u bytes and wrote %u; the library needs every byte of the frame "
              "written, because the buffer still holds the frame before, whose bytes would be sent on.",
              delivery.length, written);
}

/** Reads one frame or finds that there is none. @return Whether there was one. */
bool take_frame()
{
    read_frame();
    if (delivery.result != 0) {
        check_nothing_read();
        return false;
    }
    check_delivery();
    return true;
}

void read_what_waits()
{
    for (int i = 0; i < kReads && take_frame(); ++i) {
    }
}

bool feed(const uint8_t *frame, uint32_t length)
{
    return options().feed != nullptr && options().feed(options().context, frame, length, kUserPort) == 0;
}

bool is_delivered(const Frame &frame)
{
    return delivery.length >= frame.length && memcmp(delivery.bytes, frame.bytes, 12) == 0;
}

// Other frames may come in between on a unit that is connected.
bool wait_for_frame(const Frame &frame)
{
    const uint32_t start = now_ms();
    do {
        if (take_frame() && is_delivered(frame))
            return true;
        pause_ms(2);
    } while (now_ms() - start < options().waitMs);
    return false;
}

void check_fed_frame(const Frame &frame)
{
    if (delivery.port != kUserPort) {
        fault("L2_multicast_read_msg told port %u for a frame that was fed to port 0; the library needs the port on "
              "which it arrived, because rules and forwarding follow from it.",
              delivery.port);
        return;
    }
    for (uint32_t i = 0; i < frame.length; ++i) {
        if (delivery.bytes[i] == frame.bytes[i])
            continue;
        fault("L2_multicast_read_msg delivered a frame that differs from the one fed at byte %u (%02x, not %02x); the "
              "library needs the frame as it arrived, from the destination MAC address on and with its tags, because "
              "it finds everything in it by its place.",
              i, delivery.bytes[i], frame.bytes[i]);
        return;
    }
    saw_effect(Call::L2_multicast_read_msg);
}

void read_fed_frames()
{
    static uint8_t long_frame[kLongFrameBytes];
    const Frame report = frame_of(Message::kIgmpReport);
    if (!feed(report.bytes, report.length)) {
        note("No frame was fed: L2_multicast_read_msg was seen only with what was waiting.");
        return;
    }
    if (wait_for_frame(report))
        check_fed_frame(report);
    else
        fault("L2_multicast_read_msg did not deliver a report that was fed to port 0 within %u ms; the library needs "
              "every IGMP and MLD frame while trapping is on, because it has them from there alone.",
              options().waitMs);
    fill_long_frame(long_frame, kLongFrameBytes);
    if (feed(long_frame, kLongFrameBytes))
        read_what_waits();
}

void read_time()
{
    LentOutput time(Call::igmp_time_now, "time", kTimeBytes);
    CALL(igmp_time_now)(time.bytes());
}

/** A frame in a receive buffer, as the engine sees it: readable to the end of the buffer, and not behind. */
class Received {
public:
    Received(Call call, const Frame &frame) : buffer_(call, "ipHeader", frame.bytes, kReceiveBytes, kBehind) {}
    const uint8_t *ip_header() const { return buffer_.bytes() + Frame::kIpOffset; }

private:
    static constexpr uint32_t kBehind = 65536; // an engine that trusts the packet's length field gets that far
    LentInput buffer_;
};

void hand_to_igmp(const Frame &frame)
{
    const Received received(Call::igmp_pkt_recv, frame);
    CALL_JUDGED(igmp_pkt_recv)(received.ip_header(), frame.ip_length(), kUserPort, kVlan, 0u);
}

int32_t call_mld(const Frame &frame, uint32_t length)
{
    const Received received(Call::mld_pkt_recv, frame);
    LentOutput scratch(Call::mld_pkt_recv, "scratch", sizeof(uint16_t));
    const auto value = static_cast<uint16_t>((frame.bytes[0] | frame.bytes[1] << 8) + 12);
    memcpy(scratch.bytes(), &value, sizeof(value));
    return CALL(mld_pkt_recv)(received.ip_header(), length, kUserPort, kVlan,
                              static_cast<uint16_t *>(scratch.memory()));
}

void hand_to_mld(const Frame &frame) { judge(Call::mld_pkt_recv, call_mld(frame, frame.ip_length())); }

void igmp_host_joins() { hand_to_igmp(frame_of(Message::kIgmpReport)); }
void igmp_host_leaves() { hand_to_igmp(frame_of(Message::kIgmpLeave)); }
void mld_host_joins() { hand_to_mld(frame_of(Message::kMldReport)); }
void mld_host_leaves() { hand_to_mld(frame_of(Message::kMldDone)); }

// Length fields that claim more than there is reach the engine; what it answers does not matter.
void hand_over_hostile_packets()
{
    Frame igmp = frame_of(Message::kIgmpReport);
    igmp.bytes[Frame::kIpOffset + 2] = igmp.bytes[Frame::kIpOffset + 3] = 0xFF;
    {
        const Received received(Call::igmp_pkt_recv, igmp);
        CALL(igmp_pkt_recv)(received.ip_header(), 65535u, kEngineUplink, kVlan, 0u);
    }
    {
        const Received received(Call::igmp_pkt_recv, igmp);
        CALL(igmp_pkt_recv)(received.ip_header(), 0u, kUserPort, kVlan, 0u);
    }
    Frame mld = frame_of(Message::kMldReport);
    mld.bytes[Frame::kIpOffset + 4] = mld.bytes[Frame::kIpOffset + 5] = 0xFF;
    call_mld(mld, 65575);
}

void send_frames()
{
    const Frame frame = frame_of(Message::kIgmpReport);
    for (const uint32_t port : {kUplinkPort, kUserPort}) {
        LentInput lent(Call::L2_multicast_send_msg, "frame", frame.bytes, frame.length);
        CALL_JUDGED(L2_multicast_send_msg)(lent.bytes(), port, frame.length, kUserPort, kVlan);
    }
}

void check_callback(Callback callback, uint32_t before, Call registration, const char *occasion)
{
    if (wait_for(callback, before)) {
        saw_effect(registration);
        return;
    }
    fault("The callback of %s was not called within %u ms after %s; the library needs the engine to keep and use what "
          "it registers, because nothing else tells it.",
          name(registration), options().waitMs, occasion);
}

void note_callback(Callback callback, Call registration)
{
    if (times_called(callback) != 0)
        saw_effect(registration);
}

void let_igmp_host_in()
{
    const uint32_t before = times_called(Callback::kIgmpAdd);
    on_receive_task(igmp_host_joins);
    check_callback(Callback::kIgmpAdd, before, Call::igmp_register_switch_add_table,
                   "a host on port 0 joined 239.1.2.3 in VLAN 100");
    if (times_called(Callback::kIgmpAdd) > before)
        saw_effect(Call::igmp_pkt_recv);
}

void let_igmp_host_out()
{
    const uint32_t before = times_called(Callback::kIgmpRemove);
    on_receive_task(igmp_host_leaves);
    check_callback(Callback::kIgmpRemove, before, Call::igmp_register_switch_del_table,
                   "the only host left 239.1.2.3, with fast leave on");
}

void let_mld_host_in_and_out()
{
    const uint32_t added = times_called(Callback::kMldAdd);
    on_receive_task(mld_host_joins);
    check_callback(Callback::kMldAdd, added, Call::mld_register_switch_add_table,
                   "a host on port 0 joined ff1e::ef01:203 in VLAN 100");
    if (times_called(Callback::kMldAdd) > added)
        saw_effect(Call::mld_pkt_recv);
    const uint32_t removed = times_called(Callback::kMldRemove);
    on_receive_task(mld_host_leaves);
    check_callback(Callback::kMldRemove, removed, Call::mld_register_switch_del_table,
                   "the only host left ff1e::ef01:203, with fast leave on");
}

// A proxy reports to the uplink what the hosts behind it joined. An engine without that mode sends when it likes.
void let_engine_send()
{
    const int32_t result = CALL(igmp_mode_switch_globle)(kProxy);
    if (judge_allowed(Call::igmp_mode_switch_globle, result, "proxy mode")) {
        const uint32_t before = times_called(Callback::kIgmpSend);
        on_receive_task(igmp_host_joins);
        check_callback(Callback::kIgmpSend, before, Call::igmp_register_switch_send_pkt,
                       "a host joined 239.1.2.3 in proxy mode");
        on_receive_task(igmp_host_leaves);
    }
    CALL_JUDGED(igmp_mode_switch_globle)(kSnooping);
    note_callback(Callback::kIgmpSend, Call::igmp_register_switch_send_pkt);
    note_callback(Callback::kMldSend, Call::mld_register_switch_send_pkt);
}

} // namespace

void pass_frames()
{
    on_receive_task(read_what_waits);
    on_receive_task(read_fed_frames);
    on_receive_task(read_time);

    CALL_JUDGED(igmp_vlan_add)(kVlan);
    CALL_JUDGED(mld_pack_set_mc_vlan)(1u, kVlan);
    CALL_JUDGED(igmp_fast_leave_enable_globle)(1u);
    let_igmp_host_in();
    gather_status();
    let_igmp_host_out();
    let_mld_host_in_and_out();
    let_engine_send();

    on_receive_task(hand_over_hostile_packets);
    on_receive_task(send_frames);
    on_receive_task(ask_uplink);
}

} // namespace mcadapt::portcheck
