#include "wire.h"

#include <arpa/inet.h>

#include <gtest/gtest.h>

namespace wire {
namespace {

void add16(Bytes &out, std::size_t value)
{
    out.push_back(static_cast<uint8_t>(value >> 8));
    out.push_back(static_cast<uint8_t>(value));
}

void add(Bytes &out, const Bytes &more) { out.insert(out.end(), more.begin(), more.end()); }

uint16_t internet_checksum(const Bytes &bytes)
{
    uint64_t sum = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i)
        sum += i % 2 == 0 ? uint64_t{bytes[i]} * 256 : bytes[i];
    while (sum > 0xFFFF)
        sum = (sum & 0xFFFF) + (sum >> 16);
    return static_cast<uint16_t>(0xFFFF - sum);
}

void put_checksum(Bytes &message, uint16_t value)
{
    if (message.size() < 4)
        return;
    message[2] = static_cast<uint8_t>(value >> 8);
    message[3] = static_cast<uint8_t>(value);
}

std::string or_default(const std::string &text, const std::string &standard) { return text.empty() ? standard : text; }

Bytes records(const std::vector<Record> &records)
{
    Bytes out;
    for (const Record &record : records) {
        out.push_back(static_cast<uint8_t>(record.type));
        out.push_back(
            static_cast<uint8_t>(record.announced_auxiliary < 0 ? record.auxiliary_words : record.announced_auxiliary));
        add16(out, record.announced_sources < 0 ? record.sources.size()
                                                : static_cast<std::size_t>(record.announced_sources));
        add(out, address(record.group));
        for (const std::string &source : record.sources)
            add(out, address(source));
        out.insert(out.end(), static_cast<std::size_t>(record.auxiliary_words) * 4, 0xAA);
    }
    return out;
}

Bytes query_tail(const Query &query)
{
    Bytes tail{static_cast<uint8_t>((query.suppress ? 8 : 0) | query.robustness),
               static_cast<uint8_t>(query.query_interval_code)};
    add16(tail, query.announced_sources < 0 ? query.sources.size() : static_cast<std::size_t>(query.announced_sources));
    for (const std::string &source : query.sources)
        add(tail, address(source));
    return tail;
}

Bytes packet(Family family, const Bytes &message, const std::string &destination, const Around &around)
{
    return family == Family::kIgmp ? igmp_packet(message, destination, around)
                                   : mld_packet(message, destination, around);
}

} // namespace

Bytes address(const std::string &text)
{
    Bytes bytes(text.find(':') == std::string::npos ? 4 : 16);
    if (inet_pton(bytes.size() == 4 ? AF_INET : AF_INET6, text.c_str(), bytes.data()) != 1)
        ADD_FAILURE() << "no address: " << text;
    return bytes;
}

uint32_t ipv4_value(const std::string &text)
{
    const Bytes bytes = address(text);
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

void fix_ipv4_checksum(Bytes &packet)
{
    const std::size_t head = (packet[0] & 0xFu) * 4u;
    packet[10] = packet[11] = 0;
    const uint16_t sum = internet_checksum(Bytes(packet.begin(), packet.begin() + static_cast<std::ptrdiff_t>(head)));
    packet[10] = static_cast<uint8_t>(sum >> 8);
    packet[11] = static_cast<uint8_t>(sum);
}

Bytes igmp_packet(const Bytes &message, const std::string &destination, const Around &around)
{
    Bytes body = message;
    body.insert(body.end(), around.padding, 0);
    if (around.damage_message)
        around.damage_message(body);
    put_checksum(body, internet_checksum(body));
    const std::size_t head = around.router_alert ? 24 : 20;
    Bytes out{static_cast<uint8_t>(0x40 | head / 4), 0xC0};
    add16(out, head + body.size());
    add(out, {0, 0, 0x40, 0, static_cast<uint8_t>(around.ttl), 2, 0, 0});
    add(out, address(or_default(around.source, "10.1.0.7")));
    add(out, address(or_default(around.destination, destination)));
    if (around.router_alert)
        add(out, {148, 4, 0, 0});
    fix_ipv4_checksum(out);
    add(out, body);
    if (around.damage_packet)
        around.damage_packet(out);
    return out;
}

Bytes mld_packet(const Bytes &message, const std::string &destination, const Around &around)
{
    Bytes body = message;
    body.insert(body.end(), around.padding, 0);
    if (around.damage_message)
        around.damage_message(body);
    const Bytes source = address(or_default(around.source, "fe80::7"));
    const Bytes target = address(or_default(around.destination, destination));
    Bytes covered = source;
    add(covered, target);
    add(covered, {0, 0});
    add16(covered, body.size());
    add(covered, {0, 0, 0, 58});
    add(covered, body);
    put_checksum(body, internet_checksum(covered));
    Bytes out{0x60, 0, 0, 0};
    add16(out, body.size() + (around.router_alert ? 8 : 0));
    add(out, {static_cast<uint8_t>(around.router_alert ? 0 : 58), static_cast<uint8_t>(around.ttl)});
    add(out, source);
    add(out, target);
    if (around.router_alert)
        add(out, {58, 0, 5, 2, 0, 0, 1, 0});
    add(out, body);
    if (around.damage_packet)
        around.damage_packet(out);
    return out;
}

Bytes query(Family family, const Query &query, const Around &around)
{
    const bool igmp = family == Family::kIgmp;
    Bytes message;
    if (igmp)
        message = {0x11, static_cast<uint8_t>(query.version == 1 ? 0 : query.max_response_code), 0, 0};
    else
        message = {130,
                   0,
                   0,
                   0,
                   static_cast<uint8_t>(query.max_response_code >> 8),
                   static_cast<uint8_t>(query.max_response_code),
                   0,
                   0};
    add(message, address(or_default(query.group, igmp ? "0.0.0.0" : "::")));
    if (query.version == (igmp ? 3 : 2))
        add(message, query_tail(query));
    return packet(family, message, or_default(query.group, igmp ? "224.0.0.1" : "ff02::1"), around);
}

Bytes join(Family family, int version, const std::string &group, const Around &around)
{
    Bytes message{static_cast<uint8_t>(family == Family::kMld ? 131 : version == 1 ? 0x12 : 0x16), 0, 0, 0};
    if (family == Family::kMld)
        add(message, {0, 0, 0, 0});
    add(message, address(group));
    return packet(family, message, group, around);
}

Bytes leave(Family family, const std::string &group, const Around &around)
{
    Bytes message{static_cast<uint8_t>(family == Family::kMld ? 132 : 0x17), 0, 0, 0};
    if (family == Family::kMld)
        add(message, {0, 0, 0, 0});
    add(message, address(group));
    return packet(family, message, family == Family::kMld ? "ff02::2" : "224.0.0.2", around);
}

Bytes report(Family family, const std::vector<Record> &list, const Around &around, int announced_records)
{
    Bytes message{static_cast<uint8_t>(family == Family::kMld ? 143 : 0x22), 0, 0, 0, 0, 0};
    add16(message, announced_records < 0 ? list.size() : static_cast<std::size_t>(announced_records));
    add(message, records(list));
    return packet(family, message, family == Family::kMld ? "ff02::16" : "224.0.0.22", around);
}

// --- Reading back

namespace {

struct Reader {
    const uint8_t *p;
    std::size_t size;
    bool igmp;
    std::size_t length() const { return igmp ? 4 : 16; }

    std::string address(std::size_t at) const
    {
        char text[INET6_ADDRSTRLEN] = "?";
        if (at + length() <= size)
            inet_ntop(igmp ? AF_INET : AF_INET6, p + at, text, sizeof text);
        return text;
    }
    std::size_t number(std::size_t at) const { return at + 2 <= size ? p[at] * 256u + p[at + 1] : 0; }
    std::string sources(std::size_t at, std::size_t count) const
    {
        std::string text = "{";
        for (std::size_t i = 0; i < count; ++i)
            text += (i > 0 ? " " : "") + address(at + i * length());
        return text + "}";
    }
};

std::string read_query(const Reader &r)
{
    const std::size_t fixed = r.igmp ? 8 : 24;
    const int version = r.igmp ? (r.size > fixed ? 3 : r.p[1] == 0 ? 1 : 2) : (r.size > fixed ? 2 : 1);
    std::string text = (r.igmp ? "IGMPv" : "MLDv") + std::to_string(version) + " query";
    const std::string group = r.address(r.igmp ? 4 : 8);
    if (group != "0.0.0.0" && group != "::")
        text += ' ' + group;
    if (r.size == fixed)
        return text;
    const std::size_t count = r.number(fixed + 2);
    EXPECT_EQ(r.size, fixed + 4 + count * r.length());
    if (count > 0)
        text += ' ' + r.sources(fixed + 4, count);
    return text + ((r.p[fixed] & 8) != 0 ? " S" : "");
}

std::string read_report(const Reader &r)
{
    static const char *const kTypes[] = {"?", "IS_IN", "IS_EX", "TO_IN", "TO_EX", "ALLOW", "BLOCK"};
    std::string text = r.igmp ? "IGMPv3 report" : "MLDv2 report";
    std::size_t at = 8;
    for (std::size_t i = 0; i < r.number(6) && at + 4 + r.length() <= r.size; ++i) {
        const std::size_t count = r.number(at + 2);
        text += std::string(i > 0 ? ", " : " ") + kTypes[r.p[at] <= 6 ? r.p[at] : 0] + ' ' + r.address(at + 4) + ' ' +
                r.sources(at + 4 + r.length(), count);
        at += 4 + (1 + count) * r.length();
    }
    EXPECT_EQ(at, r.size);
    return text;
}

std::string read_message(const Reader &r)
{
    const std::string group = r.address(r.igmp ? 4 : 8);
    switch (r.p[0]) {
    case 0x11:
    case 130:
        return read_query(r);
    case 0x12:
        return "IGMPv1 report " + group;
    case 0x16:
        return "IGMPv2 report " + group;
    case 0x17:
        return "IGMPv2 leave " + group;
    case 131:
        return "MLDv1 report " + group;
    case 132:
        return "MLDv1 done " + group;
    case 0x22:
    case 143:
        return read_report(r);
    default:
        return "unknown type " + std::to_string(r.p[0]);
    }
}

} // namespace

std::string read(const uint8_t *packet, std::size_t size)
{
    const Reader ip{packet, size, packet[0] >> 4 == 4};
    const std::size_t head = ip.igmp ? 24 : 48;
    const Bytes whole(packet, packet + size);
    Bytes covered(whole.begin() + static_cast<std::ptrdiff_t>(head), whole.end());
    if (ip.igmp) {
        EXPECT_EQ(internet_checksum(Bytes(whole.begin(), whole.begin() + 24)), 0);
        EXPECT_EQ(ip.number(2), size);
        EXPECT_EQ(packet[8], 1);
        EXPECT_EQ(packet[9], 2);
        EXPECT_EQ(ip.number(20), 148 * 256 + 4u) << "router alert";
    } else {
        EXPECT_EQ(ip.number(4) + 40, size);
        EXPECT_EQ(packet[7], 1);
        EXPECT_EQ(packet[6], 0);
        EXPECT_EQ(Bytes(packet + 40, packet + 48), (Bytes{58, 0, 5, 2, 0, 0, 1, 0})) << "router alert";
        Bytes pseudo(whole.begin() + 8, whole.begin() + 40);
        add(pseudo, {0, 0});
        add16(pseudo, covered.size());
        add(pseudo, {0, 0, 0, 58});
        covered.insert(covered.begin(), pseudo.begin(), pseudo.end());
    }
    EXPECT_EQ(internet_checksum(covered), 0) << "message checksum";
    const Reader message{packet + head, size - head, ip.igmp};
    return read_message(message) + " from " + ip.address(ip.igmp ? 12 : 8) + " to " + ip.address(ip.igmp ? 16 : 24);
}

} // namespace wire
