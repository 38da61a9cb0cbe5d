#include "fuzz/platform.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

namespace mcadapt::fuzz {

namespace {

constexpr uint32_t kUplinkPort = 29;
constexpr uint32_t kEngineUplinkPort = 0xFFFF;
constexpr uint32_t kLongestAccepted = 2000;
constexpr uint32_t kMacsBytes = 12;
constexpr uint32_t kHeaderBytes = 16; // addresses and a tag: nothing behind them is ever rewritten
constexpr uint32_t kTagBytes = 4;
constexpr std::size_t kSegmentBytes = sizeof(grp_info);

uint32_t be16(const uint8_t *at) { return static_cast<uint32_t>(at[0] << 8 | at[1]); }

bool same(const uint8_t *a, const uint8_t *b, uint32_t size) { return std::memcmp(a, b, size) == 0; }

ssize_t add_output(void *, const char *bytes, std::size_t size)
{
    platform().digest().bytes(bytes, size);
    return static_cast<ssize_t>(size);
}

} // namespace

thread_local bool Platform::runs_here_ = false;

Platform &platform()
{
    static Platform the_platform;
    return the_platform;
}

void take_standard_output()
{
    cookie_io_functions_t functions = {};
    functions.write = add_output;
    stdout = fopencookie(nullptr, "w", functions); // glibc lets the standard streams be assigned
    static char buffer[1 << 16];
    std::setvbuf(stdout, buffer, _IOFBF, sizeof(buffer));
}

void Platform::reset()
{
    *this = Platform();
    segment_ = std::make_unique<uint8_t[]>(kSegmentBytes);
}

// --- Answers

void Platform::interrupt(uint32_t calls, std::function<void()> action)
{
    calls_to_interruption_ = calls;
    interruption_ = std::move(action);
}

void Platform::set_unit(bool epon, uint8_t onu_id)
{
    epon_ = epon;
    onu_id_ = onu_id;
}

void Platform::set_gathered(ByteVector bytes, int32_t result)
{
    gathered_ = std::move(bytes);
    gather_result_ = result;
}

void Platform::set_segment(const ByteVector &bytes, bool attaches)
{
    const std::size_t size = std::min(bytes.size(), kSegmentBytes);
    if (size > 0)
        std::memcpy(segment_.get(), bytes.data(), size);
    attaches_ = attaches;
}

void Platform::run_interruption()
{
    if (interruption_ == nullptr || calls_to_interruption_-- > 0)
        return;
    const std::function<void()> action = std::exchange(interruption_, nullptr);
    const Current outer = std::exchange(current_, Current());
    action();
    current_ = outer;
}

int32_t Platform::called(const char *name)
{
    digest_.text(name);
    run_interruption();
    static constexpr int32_t kCodes[] = {1, 5, -1, 0x80, 0xFF, 0x100, 0x7FFFFFFF, -0x10000};
    ++calls_;
    if (refusals_ == 0)
        return 0;
    const uint64_t drawn = (calls_ * 0x9E3779B97F4A7C15u ^ refusals_) * 0xBF58476D1CE4E5B9u;
    return drawn >> 61 == 0 ? kCodes[drawn >> 40 & 7] : 0;
}

int32_t Platform::gather(uint32_t length, void *buffer, uint32_t expected)
{
    FUZZ_EXPECT(length == expected, "the gather calls are offered what is promised");
    const auto *at = static_cast<const uint8_t *>(buffer);
    FUZZ_EXPECT(std::all_of(at, at + length, [](uint8_t byte) { return byte == 0; }), "the gather buffer is zeroed");
    const std::size_t size = std::min<std::size_t>(gathered_.size(), length);
    if (size > 0)
        std::memcpy(buffer, gathered_.data(), size);
    std::memset(static_cast<uint8_t *>(buffer) + size, 0, length - size); // all that was offered is there
    return gather_result_;
}

void *Platform::take_memory(std::size_t count, std::size_t size)
{
    FUZZ_EXPECT(count * size == sizeof(grp_info), "the status block is the only memory that the library takes");
    if (std::exchange(fail_calloc_, false))
        return nullptr;
    blocks_.push_back(std::make_unique<uint8_t[]>(count * size));
    return blocks_.back().get();
}

// --- Frames

void Platform::receive(Delivery delivery)
{
    if (in_task_)
        return; // there is one receive task
    in_task_ = true;
    pending_ = &delivery;
    const Current outer = std::exchange(current_, Current());
    if (setjmp(leave_task_) == 0)
        igmp_adapt_pkt_recv_task();
    current_ = outer;
    pending_ = nullptr;
    in_task_ = false;
}

int32_t Platform::read_message(uint8_t *frame, uint8_t *port, uint32_t *length)
{
    if (current_.buffer != nullptr)
        end_frame();
    if (pending_ == nullptr)
        return 1;
    const Delivery &delivery = *std::exchange(pending_, nullptr);
    std::memset(frame, 0xEE, kReceiveBufferBytes); // all of the buffer is there, and behind the frame lies anything
    if (!delivery.bytes.empty())
        std::memcpy(frame, delivery.bytes.data(), delivery.bytes.size());
    *port = delivery.port;
    *length = delivery.length;
    begin_frame(frame, delivery.length, delivery.port);
    return 0;
}

// The receive task sleeps one second when there is no frame; it never returns by itself.
void Platform::sleeps(uint32_t seconds)
{
    if (in_task_ && seconds == 1)
        std::longjmp(leave_task_, 1);
}

void Platform::hand_over(const Delivery &delivery, const std::function<void(uint8_t *frame)> &path)
{
    const auto buffer = std::make_unique<uint8_t[]>(kReceiveBufferBytes);
    std::memset(buffer.get(), 0xEE, kReceiveBufferBytes);
    std::copy(delivery.bytes.begin(), delivery.bytes.end(), buffer.get());
    const Current outer = std::exchange(current_, Current());
    begin_frame(buffer.get(), delivery.length, delivery.port);
    path(buffer.get());
    end_frame();
    current_ = outer;
}

void Platform::as_engine(const std::function<void()> &call)
{
    const bool outer = std::exchange(current_.by_engine, true);
    call();
    current_.by_engine = outer;
}

void Platform::begin_frame(uint8_t *buffer, uint32_t length, uint32_t port)
{
    current_ = {buffer, ByteVector(buffer, buffer + kReceiveBufferBytes), length, port, false};
}

// Of the receive buffer, only a tag in its place behind the addresses is written.
void Platform::end_frame()
{
    const uint8_t *received = current_.received.data();
    FUZZ_EXPECT(same(received, current_.buffer, kMacsBytes) &&
                    same(received + kHeaderBytes, current_.buffer + kHeaderBytes, kReceiveBufferBytes - kHeaderBytes),
                "of a received frame only its tag is rewritten");
    current_ = Current();
}

void Platform::engine_packet(bool mld, const uint8_t *packet, uint32_t length, uint32_t port, uint32_t vlan)
{
    FUZZ_EXPECT(current_.buffer != nullptr, "a packet comes with a frame");
    const auto offset = static_cast<std::size_t>(packet - current_.buffer);
    FUZZ_EXPECT(offset == 14 || offset == 18 || offset == 22, "the packet lies behind a header of the frame");
    FUZZ_EXPECT(be16(packet - 2) == (mld ? 0x86DDu : 0x0800u), "the packet is of its family");
    FUZZ_EXPECT(current_.length >= (offset == 14 ? 14u : 18u), "the frame holds the header");
    FUZZ_EXPECT(current_.length <= kLongestAccepted, "the frame is not too long");
    FUZZ_EXPECT(length == (mld ? be16(packet + 4) + 40 : be16(packet + 2)), "the length is that of the IP header");
    FUZZ_EXPECT(mld || packet[9] == 2, "the packet is IGMP");
    FUZZ_EXPECT(port <= kUplinkPort || (!mld && port == kEngineUplinkPort), "the port is one");
    FUZZ_EXPECT(mld || port != kUplinkPort, "the engine knows the uplink by its wildcard");
    FUZZ_EXPECT(vlan <= 0xFFFF, "the VLAN has 16 bits");
    FUZZ_EXPECT(ponVlan == vlan, "ponVlan is the VLAN of the last frame");
    digest_.number(length);
    digest_.number(port);
    digest_.number(vlan);
    digest_.bytes(packet, std::min<std::size_t>(length, kReceiveBufferBytes - offset));
}

// intended: behind a frame without its tag stand its own last four bytes again, or the four before them where a tag
// that was inserted for an earlier rule has moved them
static bool repeats_its_end(const uint8_t *tail, const uint8_t *last)
{
    return same(tail, last, kTagBytes) || same(tail, last - kTagBytes, kTagBytes);
}

// A forwarded frame is the one received, with at most two tags more, or one less.
void Platform::check_forwarded(const uint8_t *frame, uint32_t length) const
{
    const uint32_t before = current_.length;
    const uint8_t *received = current_.received.data();
    const bool plausible = length == before || length == before + kTagBytes || length == before + 2 * kTagBytes ||
                           (before >= kHeaderBytes && length == before - kTagBytes);
    FUZZ_EXPECT(plausible, "a forwarded frame is as long as tags make it");
    FUZZ_EXPECT(same(frame, received, std::min(before, kMacsBytes)), "a forwarded frame keeps its addresses");
    if (before < kHeaderBytes)
        return;
    const uint32_t payload = before - kHeaderBytes;
    const uint32_t at = kHeaderBytes + length - before;
    const bool kept = same(frame + at, received + kHeaderBytes, payload);
    const bool stripped =
        length == before && same(frame + at - kTagBytes, received + kHeaderBytes, payload) &&
        (payload < kTagBytes || repeats_its_end(frame + length - kTagBytes, received + before - kTagBytes));
    FUZZ_EXPECT(kept || stripped, "a forwarded frame keeps what is behind its tag");
}

void Platform::sent(const uint8_t *frame, uint32_t ifindex, uint32_t length, uint32_t source, uint32_t vlan)
{
    digest_.number(ifindex);
    digest_.number(length);
    digest_.number(source);
    digest_.number(vlan);
    digest_.bytes(frame, length);
    FUZZ_EXPECT(ifindex <= 255 && source <= 255 && vlan <= 0xFFFF, "port, source and VLAN are within their widths");
    FUZZ_EXPECT(length <= 0xFFFF, "a length has 16 bits");
    if (current_.buffer != nullptr && !current_.by_engine)
        check_forwarded(frame, length);
}

} // namespace mcadapt::fuzz
