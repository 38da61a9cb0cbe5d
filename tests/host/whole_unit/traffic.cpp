#include "tests/host/whole_unit/traffic.h"

#include <functional>
#include <string>

#include "host/ports.h"
#include "tests/host/engine/wire.h"
#include "tests/host/switch/frames.h"

namespace mcadapt::host::test {

namespace {

constexpr uint16_t kPppoeSession = 0x8864;

// Few groups and sources, so that hosts leave what others joined.
std::string group(Dice &dice, Family family)
{
    const std::string last = std::to_string(1 + dice.below(12));
    if (family == Family::kMld)
        return dice.percent(20) ? "ff3e::" + last : "ff1e::" + last;
    if (dice.percent(10))
        return "224.0.0." + last;
    return (dice.percent(20) ? "232.1.1." : "239.1.1.") + last;
}

std::vector<std::string> sources(Dice &dice, Family family)
{
    std::vector<std::string> list;
    for (uint32_t i = dice.below(4); i > 0; --i)
        list.push_back((family == Family::kIgmp ? "10.9.0." : "fd00::") + std::to_string(1 + dice.below(6)));
    return list;
}

wire::Around host(Dice &dice, Family family)
{
    wire::Around around;
    around.source = (family == Family::kIgmp ? "10.1.0." : "fe80::") + std::to_string(2 + dice.below(6));
    return around;
}

Packet new_report(Dice &dice, Family family)
{
    std::vector<wire::Record> records;
    for (uint32_t i = 1 + dice.below(4); i > 0; --i)
        records.push_back({static_cast<int>(1 + dice.below(6)), group(dice, family), sources(dice, family)});
    return wire::report(family, records, host(dice, family));
}

Packet query(Dice &dice, Family family)
{
    wire::Query query = {static_cast<int>(1 + dice.below(family == Family::kIgmp ? 3 : 2)), ""};
    if (dice.percent(50))
        query.group = group(dice, family);
    if (dice.percent(30))
        query.sources = sources(dice, family);
    query.max_response_code = static_cast<int>(dice.below(200));
    query.suppress = dice.percent(20);
    return wire::query(family, query, host(dice, family));
}

Packet message(Dice &dice, Family family)
{
    switch (dice.below(6)) {
    case 0:
    case 1: {
        const int version = static_cast<int>(1 + dice.below(family == Family::kIgmp ? 2 : 1));
        return wire::join(family, version, group(dice, family), host(dice, family));
    }
    case 2:
        return wire::leave(family, group(dice, family), host(dice, family));
    case 3:
        return query(dice, family);
    default:
        return new_report(dice, family);
    }
}

Packet data(Dice &dice, Family family)
{
    const wire::Bytes to = wire::address(group(dice, family));
    if (family == Family::kIgmp)
        return ipv4(kUdp, {{to[0], to[1], to[2], to[3]}}, Packet(40 + dice.below(400), 0xDA));
    Packet packet = ipv6(kUdp, 14, Packet(40 + dice.below(400), 0xDA));
    std::copy(to.begin(), to.end(), packet.begin() + 24);
    return packet;
}

Mac multicast_mac(const Packet &packet, Family family)
{
    if (family == Family::kIgmp)
        return {{0x01, 0x00, 0x5E, static_cast<uint8_t>(packet[17] & 0x7F), packet[18], packet[19]}};
    return {{0x33, 0x33, packet[36], packet[37], packet[38], packet[39]}};
}

uint16_t tag_control(Dice &dice)
{
    const uint32_t vlan = dice.percent(10) ? dice.below(4096) : dice.one_of(kVlans);
    return static_cast<uint16_t>(vlan | dice.below(8) << 13);
}

Packet pppoe(const Packet &packet, uint16_t protocol)
{
    Packet session = {0x11, 0x00, 0x00, 0x01};
    append16(session, packet.size() + 2);
    append16(session, protocol);
    append(session, packet);
    return session;
}

Packet tagged(Dice &dice, const Mac &mac, uint16_t type, uint16_t ppp_protocol, const Packet &packet)
{
    const Tag tag = {0x8100, tag_control(dice)};
    switch (dice.below(10)) {
    case 0:
        return frame(mac, {}, type, packet);
    case 1:
        return frame(mac, {tag, {0x8100, tag_control(dice)}}, type, packet);
    case 2:
        return frame(mac, {{0x88A8, tag_control(dice)}, tag}, type, packet);
    case 3:
        return frame(mac, {{0x8100, static_cast<uint16_t>(dice.below(8) << 13)}}, type, packet);
    case 4:
        return frame(mac, {}, kPppoeSession, pppoe(packet, dice.percent(50) ? type : ppp_protocol));
    case 5:
        return frame(mac, {tag}, kPppoeSession, pppoe(packet, dice.percent(50) ? type : ppp_protocol));
    default:
        return frame(mac, {tag}, type, packet);
    }
}

// Cut, lengthened beyond what the driver takes, or with a byte behind the addresses changed.
void damage(Dice &dice, Packet &frame)
{
    switch (dice.below(3)) {
    case 0:
        frame.resize(1 + dice.below(static_cast<uint32_t>(frame.size())));
        break;
    case 1:
        frame.resize(1400 + dice.below(900), 0xEE);
        break;
    default:
        frame[12 + dice.below(static_cast<uint32_t>(frame.size()) - 12)] ^= static_cast<uint8_t>(1 + dice.below(255));
        break;
    }
}

uint32_t port(Dice &dice)
{
    constexpr uint32_t kOtherPorts[] = {1, 5, 28, 40};
    if (dice.percent(4))
        return dice.one_of(kOtherPorts);
    return dice.percent(70) ? kUserPort : kUplinkPort;
}

} // namespace

std::vector<ArrivingFrame> make_traffic(Dice &dice, std::size_t frames)
{
    std::vector<ArrivingFrame> traffic;
    while (traffic.size() < frames) {
        const Family family = dice.percent(50) ? Family::kIgmp : Family::kMld;
        const Packet packet = dice.percent(75) ? message(dice, family) : data(dice, family);
        const bool igmp = family == Family::kIgmp;
        Packet bytes =
            tagged(dice, multicast_mac(packet, family), igmp ? kIpv4 : kIpv6, igmp ? 0x0021 : 0x0057, packet);
        if (dice.percent(6))
            damage(dice, bytes);
        traffic.push_back({port(dice), std::move(bytes)});
    }
    return traffic;
}

} // namespace mcadapt::host::test
