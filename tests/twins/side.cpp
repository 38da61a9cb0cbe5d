#include "side.h"

#include <regex>

#include "mcadapt/mcadapt.h"
#include "support/matchers.h"

namespace mcadapt::test {

namespace {

constexpr std::size_t kPacketBytes = 72;

mcGroupRecord group_record(uint16_t port, uint16_t vlan)
{
    mcGroupRecord group{};
    group.ipv4Group = 0xE1010203;
    group.ipv6GroupTail[0] = 0xE1;
    group.ipv6GroupTail[1] = 0x01;
    group.ipv6GroupTail[2] = 0x02;
    group.ipv6GroupTail[3] = 0x03;
    group.vlan = vlan;
    group.port = port;
    return group;
}

void replace_all(std::string &text, const std::string &from, const std::string &to)
{
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

/** Line ends as they are written in code, so that one message is one line. */
std::string escaped(std::string text)
{
    replace_all(text, "\r", "\\r");
    replace_all(text, "\n", "\\n");
    return text;
}

/** Takes an output apart before each prefix. */
void add_messages(Events &events, const std::string &output)
{
    static const std::string kPrefix = "\r\n[MC_DBG_";
    for (std::size_t begin = 0; begin < output.size();) {
        const std::size_t end = std::min(output.find(kPrefix, begin + 1), output.size());
        events.push_back(escaped(output.substr(begin, end - begin)));
        begin = end;
    }
}

} // namespace

const Side &Side::igmp()
{
    static const Side side(false);
    return side;
}

const Side &Side::mld()
{
    static const Side side(true);
    return side;
}

FrameBuilder Side::report() const
{
    ByteVector packet = mld_ ? from_hex("60000000 00200001 00000000") : from_hex("46c00048 00004000 01020000");
    while (packet.size() < kPacketBytes)
        packet.push_back(static_cast<uint8_t>(packet.size()));
    return {mac(mld_ ? "33:33:e1:01:02:03" : "01:00:5e:01:02:03"), static_cast<uint16_t>(mld_ ? 0x86DD : 0x0800),
            std::move(packet)};
}

void Side::set_mode(Mode mode) const
{
    proxy_adapt_mode = mode == Mode::kSnooping ? 1 : mode == Mode::kControl ? 3 : 2;
    mldInitParams.multiMode = mode == Mode::kSnooping ? 2 : mode == Mode::kControl ? 3 : 1;
}

void Side::set_test_uplink(uint32_t port) const
{
    testuplink = port;
    mldInitParams.mldTestUplink = port;
}

void Side::set_port(int logic_port, uint32_t port, uint32_t type) const
{
    portState[logic_port] = {port, type};
    mldInitParams.mldPortState[logic_port] = {port, type};
}

void Side::take(const ByteVector &frame, uint32_t port, std::size_t length) const
{
    FrameBuffer buffer(frame);
    const auto told = static_cast<uint32_t>(length);
    const int32_t result = mld_ ? mldL2PktProc(buffer.data(), told, port) : igmpL2PktProc(buffer.data(), told, port);
    std::printf("\r\n[MC_DBG_RESULT]: %d", result);
}

void Side::send(uint32_t port, uint16_t vid, uint8_t priority) const
{
    const ByteVector bytes = packet();
    mcTagDescriptor tag = {0x8100, vid, priority};
    mldInitParams.outerTag = {0x8100, vid, priority};
    const auto length = static_cast<uint32_t>(bytes.size());
    const int32_t result =
        mld_ ? send_pkt_mld(bytes.data(), port, &tag, length) : send_pkt_igmp(bytes.data(), port, &tag, length);
    std::printf("\r\n[MC_DBG_RESULT]: %d, then VLAN %d", result, mld_ ? mldInitParams.outerTag.vid : tag.vid);
}

void Side::add_group(uint16_t port, uint16_t vlan) const
{
    const mcGroupRecord group = group_record(port, vlan);
    std::printf("\r\n[MC_DBG_RESULT]: %d", mld_ ? mld_add_grp(&group) : igmp_add_grp(&group));
}

void Side::delete_group(uint16_t port, uint16_t vlan) const
{
    const mcGroupRecord group = group_record(port, vlan);
    std::printf("\r\n[MC_DBG_RESULT]: %d", mld_ ? mld_del_grp(&group) : igmp_del_grp(&group));
}

Events Side::events(const Observation &seen) const
{
    std::string trace = seen.trace;
    // Packets differ by nature: what counts is where they stand.
    const std::string bytes = hex(packet());
    replace_all(trace, (mld_ ? "86dd" : "0800") + bytes, "[packet]");
    replace_all(trace, bytes, "[packet]");
    replace_all(trace, bytes.substr(0, 16), "[packet]");
    replace_all(trace, hex(report().bytes()).substr(0, 12), "[group]");
    trace = std::regex_replace(trace, std::regex("\r\n\\++\r\n[0-9a-f \r\n]*\r\n\\++\r\n"), "[dump]");
    trace = std::regex_replace(trace, std::regex("(00){100,}"), "[padding]");
    replace_all(trace, "[MC_MLD_DBG_", "[MC_DBG_");
    replace_all(trace, mld_ ? "mld" : "igmp", "*");
    replace_all(trace, mld_ ? "MLD MODE" : "IGMP MODE", "* MODE");

    Events events;
    static const std::regex kCall("<([\\w*]+\\(.*\\))>\n");
    std::size_t done = 0;
    for (std::sregex_iterator call(trace.begin(), trace.end(), kCall), end; call != end; ++call) {
        const auto at = static_cast<std::size_t>(call->position());
        add_messages(events, trace.substr(done, at - done));
        events.push_back((*call)[1]);
        done = at + static_cast<std::size_t>(call->length());
    }
    add_messages(events, trace.substr(done));
    for (const std::string &field : seen.changed)
        events.push_back("changed: " + field);
    return events;
}

} // namespace mcadapt::test
