#include "fuzz/session.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <memory>
#include <utility>

namespace mcadapt::fuzz {

namespace {

constexpr uint8_t kUnitMac[6] = {0x02, 0x19, 0xC6, 0x01, 0x02, 0x03};
constexpr uint8_t kHostMac[6] = {0x02, 0x00, 0x00, 0x00, 0x0A, 0x01};
constexpr uint8_t kIpv4Group[6] = {0x01, 0x00, 0x5E, 0x01, 0x02, 0x03};
constexpr uint8_t kIpv6Group[6] = {0x33, 0x33, 0x00, 0x01, 0x02, 0x03};

enum Layout : uint8_t { kRaw, kUntagged, kTagged, kDoubleTagged, kPppoe, kPppoeInTag };

void append(ByteVector &bytes, const uint8_t *more, std::size_t size) { bytes.insert(bytes.end(), more, more + size); }

void append16(ByteVector &bytes, unsigned value)
{
    bytes.push_back(static_cast<uint8_t>(value >> 8));
    bytes.push_back(static_cast<uint8_t>(value));
}

// What stands between the addresses and the packet.
void append_header(ByteVector &bytes, Layout layout, Input &input)
{
    const int tags = layout == kDoubleTagged ? 2 : layout == kTagged ? 1 : 0;
    for (int i = 0; i < tags; ++i) {
        append16(bytes, 0x8100);
        append16(bytes, input.number16());
    }
    if (layout == kPppoe)
        append(bytes, ByteVector{0x88, 0x64, 0x11, 0x00, 0x00, 0x01, 0x00, 0x22}.data(), 8);
    else if (layout == kPppoeInTag)
        append(bytes, ByteVector{0x81, 0x00, 0x88, 0x64, 0x11, 0x00, 0x00, 0x01}.data(), 8);
}

ByteVector take_frame_bytes(Input &input, unsigned shape)
{
    constexpr unsigned kMld = 0x08, kOwn = 0x40;
    const auto layout = static_cast<Layout>(shape & 7);
    if (layout == kRaw || layout > kPppoeInTag)
        return input.bytes(input.word() % (kReceiveBufferBytes + 1));
    const bool mld = (shape & kMld) != 0;
    ByteVector bytes;
    append(bytes, mld ? kIpv6Group : kIpv4Group, 6);
    append(bytes, (shape & kOwn) != 0 ? kUnitMac : kHostMac, 6);
    append_header(bytes, layout, input);
    append16(bytes, mld ? 0x86DD : 0x0800);
    const ByteVector packet = input.bytes(input.word() % (kReceiveBufferBytes + 1));
    append(bytes, packet.data(), packet.size());
    bytes.resize(std::min<std::size_t>(bytes.size(), kReceiveBufferBytes));
    return bytes;
}

} // namespace

Delivery take_frame(Input &input)
{
    constexpr unsigned kToldApart = 0x10, kPadded = 0x20;
    Delivery frame = {};
    frame.port = input.number8();
    const unsigned shape = input.byte();
    frame.bytes = take_frame_bytes(input, shape);
    if ((shape & kPadded) != 0)
        frame.bytes.resize(std::max<std::size_t>(frame.bytes.size(), input.number() % (kReceiveBufferBytes + 1)), 0x77);
    frame.length = (shape & kToldApart) != 0 ? input.number() : static_cast<uint32_t>(frame.bytes.size());
    return frame;
}

void Session::start()
{
    const unsigned how = input_.byte();
    platform().set_unit((how & 0x01) != 0, static_cast<uint8_t>(how >> 1 & 0x03));
    if ((how & 0x08) != 0)
        mc_igmp_init(10, 0);
    if ((how & 0x10) != 0)
        mc_debug = mld_debug = 0x3D;
    if ((how & 0x20) != 0)
        igmp_adapt = 1, mldInitParams.mldAdapt = 1;
    if ((how & 0x40) != 0) {
        portState[1] = {1, MC_PORT_TYPE_USER};
        mldInitParams.mldPortState[1] = {1, MC_PORT_TYPE_USER};
    }
    const unsigned modes = input_.byte();
    proxy_adapt_mode = modes & 3;
    mldInitParams.multiMode = modes >> 2 & 3;
}

void Session::frame() { platform().receive(take_frame(input_)); }

void Session::run(std::size_t index, Input &input)
{
    const Operation &operation = operations[index % kOperations];
    platform().digest().text(operation.name);
    operation.call(input);
    if (operation.waive != nullptr)
        operation.waive(trust_);
}

void Session::operation(std::size_t index) { run(index, input_); }

// Operations that meet promise nothing of the tables but that nobody leaves them.
void Session::operation_meanwhile()
{
    const uint32_t calls = input_.byte() % 32u;
    const std::size_t index = input_.byte();
    Input part = input_.part(input_.byte());
    platform().interrupt(calls, [this, index, part]() mutable {
        trust_.nothing();
        run(index, part);
    });
}

void Session::poke_count()
{
    // Not so low that the operations could count down below all numbers.
    constexpr int32_t kLowest = INT_MIN + 0x10000;
    static constexpr int32_t kCounts[] = {-1, 0, 1, 2, 15, 16, 17, 31, 32, 33, 100, 0x10000, INT_MAX, kLowest, -16, 8};
    int32_t *const counts[] = {&setVlanCfgNumber[0],
                               &setVlanCfgNumber[1],
                               &setVlanNumber,
                               &g_static_grp_num[0],
                               &g_static_grp_num[1],
                               &mldInitParams.mldSetVlanCfgNumber[0],
                               &mldInitParams.mldSetVlanCfgNumber[1],
                               &mldInitParams.setVlanNumber};
    const unsigned poke = input_.byte();
    *counts[poke & 7] = kCounts[poke >> 4];
    trust_.nothing();
}

void Session::poke_ports()
{
    for (portStateNode *port :
         {&portState[0], &portState[1], &mldInitParams.mldPortState[0], &mldInitParams.mldPortState[1]}) {
        port->portNo = input_.number();
        port->portType = input_.byte() & 3u;
    }
    trust_.rows = trust_.mld_rows = false; // compaction refuses ports that are none
}

void Session::poke_mode()
{
    const unsigned modes = input_.byte();
    proxy_adapt_mode = modes & 3;
    mldInitParams.multiMode = static_cast<uint16_t>(modes >> 2);
    testuplink = (modes & 0x40) != 0 ? input_.number() : uint32_t{MC_NO_TEST_UPLINK};
    mldInitParams.mldTestUplink = (modes & 0x80) != 0 ? input_.number() : uint32_t{MC_NO_TEST_UPLINK};
}

void Session::unit()
{
    const bool epon = input_.flag();
    platform().set_unit(epon, input_.byte());
}

void Session::gathered()
{
    const auto result = static_cast<int32_t>(input_.number());
    platform().set_gathered(input_.bytes(input_.word() % (MC_ENGINE_GROUP_BUFFER_BYTES + 1u)), result);
}

void Session::segment()
{
    const bool attaches = input_.flag();
    platform().set_segment(input_.bytes(input_.word() % (sizeof(grp_info) + 1)), attaches);
}

namespace {

uint64_t run_once(const uint8_t *data, std::size_t size, void (*steps)(Session &session), uint8_t stack)
{
    platform().reset();
    restore_records();
    fill_stack(stack);
    Platform::set_runs_here(true);
    {
        Session session(Input(data, size));
        session.start();
        steps(session);
    }
    std::fflush(stdout);
    add_records(platform().digest());
    const uint64_t happened = platform().digest().value();
    Platform::set_runs_here(false);
    return happened;
}

} // namespace

void run_twice(const uint8_t *data, std::size_t size, void (*steps)(Session &session))
{
    const uint64_t first = run_once(data, size, steps, 0x5A);
    const uint64_t second = run_once(data, size, steps, 0xA5);
    FUZZ_EXPECT(first == second, "equal inputs do the same");
}

} // namespace mcadapt::fuzz
