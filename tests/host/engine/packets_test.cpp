// Codes of time fields, and what packets of the unit look like byte by byte.
#include "host/engine/packet_builder.h"

#include "engine_fixture.h"

namespace engine_test {
namespace {

struct Code {
    uint32_t code;
    uint32_t value;
};

TEST(TimeCodes, eight_bits_are_linear_below_128_and_floating_above)
{
    const Code codes[] = {{0, 0}, {1, 1}, {127, 127}, {128, 128}, {129, 136}, {0x8F, 248}, {0x90, 256}, {0xFF, 31744}};
    for (const Code &c : codes) {
        EXPECT_EQ(decode_8bit(static_cast<uint8_t>(c.code)), c.value);
        EXPECT_EQ(encode_8bit(c.value), c.code);
    }
    EXPECT_EQ(encode_8bit(135), 128) << "never longer than asked for";
    EXPECT_EQ(encode_8bit(1000000), 255);
}

TEST(TimeCodes, sixteen_bits_are_linear_below_32768_and_floating_above)
{
    const Code codes[] = {{0, 0}, {32767, 32767}, {32768, 32768}, {32769, 32776}, {0x9000, 65536}, {0xFFFF, 8387584}};
    for (const Code &c : codes) {
        EXPECT_EQ(decode_16bit(static_cast<uint16_t>(c.code)), c.value);
        EXPECT_EQ(encode_16bit(c.value), c.code);
    }
    EXPECT_EQ(encode_16bit(32775), 32768);
    EXPECT_EQ(encode_16bit(100000000), 65535);
}

wire::Bytes bytes(const Packet &packet)
{
    return {packet.bytes.begin(), packet.bytes.begin() + static_cast<std::ptrdiff_t>(packet.size)};
}

Address address4(const std::string &text) { return ipv4(wire::ipv4_value(text)); }
Address address6(const std::string &text) { return load_address(Family::kMld, wire::address(text).data()); }

TEST(Packets, a_version_3_query_byte_by_byte)
{
    QueryFields query;
    query.source = address4("10.25.14.20");
    query.group = address4("239.1.2.3");
    query.max_response = 1s;
    query.query_interval = 125s;
    query.suppress = true;
    query.sources = {address4("10.9.0.1")};
    Packet packet;
    build_query(Family::kIgmp, query, packet);
    const wire::Bytes expected{0x46, 0xC0, 0x00, 0x28, 0x00, 0x00, 0x00, 0x00, 0x01, 0x02, 0x2F, 0xEE, // IPv4
                               10,   25,   14,   20,   239,  1,    2,    3,    148,  4,    0,    0,    0x11, 10,
                               0xEB, 0x6C, 239,  1,    2,    3,    0x0A, 125,  0,    1,    10,   9,    0,    1};
    wire::Bytes got = bytes(packet);
    EXPECT_EQ(wire::read(got.data(), got.size()), "IGMPv3 query 239.1.2.3 {10.9.0.1} S from 10.25.14.20 to 239.1.2.3");
    for (wire::Bytes *b : {&got}) // the checksums are verified by the reader
        (*b)[10] = (*b)[11] = (*b)[26] = (*b)[27] = 0;
    wire::Bytes want = expected;
    want[10] = want[11] = want[26] = want[27] = 0;
    EXPECT_EQ(got, want);
}

TEST(Packets, an_MLDv2_query_byte_by_byte)
{
    QueryFields query;
    query.version = 2;
    query.source = address6("fe80::1");
    query.max_response = 10s;
    query.query_interval = 200s;
    query.robustness = 9;
    Packet packet;
    build_query(Family::kMld, query, packet);
    const wire::Bytes got = bytes(packet);
    EXPECT_EQ(wire::read(got.data(), got.size()), "MLDv2 query from fe80::1 to ff02::1");
    EXPECT_EQ(wire::Bytes(got.begin(), got.begin() + 8), (wire::Bytes{0x60, 0, 0, 0, 0, 36, 0, 1}));
    EXPECT_EQ(wire::Bytes(got.begin() + 48, got.begin() + 50), (wire::Bytes{130, 0}));
    EXPECT_EQ(wire::Bytes(got.begin() + 52, got.begin() + 56), (wire::Bytes{0x27, 0x10, 0, 0})); // 10000 ms
    EXPECT_EQ(wire::Bytes(got.begin() + 72, got.end()), (wire::Bytes{0, 0x89, 0, 0}))
        << "robustness 9 is not told, 200 s is";
}

TEST(Packets, older_versions_have_their_own_shapes)
{
    Packet packet;
    QueryFields query;
    query.max_response = 10s;
    for (const auto &[version, code] : {std::pair{1, 0}, {2, 100}}) {
        query.version = static_cast<uint8_t>(version);
        build_query(Family::kIgmp, query, packet);
        EXPECT_EQ(packet.size, 32u);
        EXPECT_EQ(packet.bytes[25], code);
    }
    build_join(Family::kIgmp, 1, address4("10.0.0.1"), address4("239.1.2.3"), packet);
    EXPECT_EQ(wire::read(packet.bytes.data(), packet.size), "IGMPv1 report 239.1.2.3 from 10.0.0.1 to 239.1.2.3");
    build_join(Family::kIgmp, 2, address4("10.0.0.1"), address4("239.1.2.3"), packet);
    EXPECT_EQ(wire::read(packet.bytes.data(), packet.size), "IGMPv2 report 239.1.2.3 from 10.0.0.1 to 239.1.2.3");
    build_leave(Family::kIgmp, address4("10.0.0.1"), address4("239.1.2.3"), packet);
    EXPECT_EQ(wire::read(packet.bytes.data(), packet.size), "IGMPv2 leave 239.1.2.3 from 10.0.0.1 to 224.0.0.2");
    build_join(Family::kMld, 1, address6("fe80::1"), address6("ff1e::3"), packet);
    EXPECT_EQ(wire::read(packet.bytes.data(), packet.size), "MLDv1 report ff1e::3 from fe80::1 to ff1e::3");
    build_leave(Family::kMld, address6("fe80::1"), address6("ff1e::3"), packet);
    EXPECT_EQ(wire::read(packet.bytes.data(), packet.size), "MLDv1 done ff1e::3 from fe80::1 to ff02::2");
}

TEST(Packets, a_record_that_fits_no_packet_is_cut_and_the_next_begins_another)
{
    ReportRecord big{RecordType::kIsExclude, address6("ff1e::3"), {}};
    for (uint64_t i = 0; i < 200; ++i)
        big.sources.push_back({0xFD00ull << 48, i});
    const std::vector<ReportRecord> records{big, {RecordType::kIsExclude, address6("ff1e::4"), {}}};
    Packet packet;
    EXPECT_EQ(build_report(Family::kMld, address6("fe80::1"), records, 0, packet), 1u);
    EXPECT_LE(packet.size, 1448u);
    EXPECT_EQ(build_report(Family::kMld, address6("fe80::1"), records, 1, packet), 2u);
    EXPECT_EQ(wire::read(packet.bytes.data(), packet.size), "MLDv2 report IS_EX ff1e::4 {} from fe80::1 to ff02::16");
}

TEST(Packets, what_the_unit_builds_its_own_parser_takes)
{
    Packet packet;
    Message message;
    build_join(Family::kIgmp, 2, address4("10.0.0.1"), address4("239.1.2.3"), packet);
    EXPECT_EQ(parse_igmp(packet.bytes.data(), packet.size, packet.size, message), DropReason::kNone);
    EXPECT_EQ(describe(message), "IGMPv2 report for 239.1.2.3");
    build_leave(Family::kMld, address6("fe80::1"), address6("ff1e::3"), packet);
    EXPECT_EQ(parse_mld(packet.bytes.data(), packet.size, packet.size, message), DropReason::kNone);
    EXPECT_EQ(describe(message), "MLDv1 done of ff1e::3");
}

} // namespace
} // namespace engine_test
