// Each reason for which a packet or a group is not taken, by a packet that differs from a correct one in that alone.
#include <set>

#include "engine_fixture.h"
#include "host/engine/drop_reason.h"

namespace engine_test {
namespace {

using wire::Around;
using wire::Bytes;

struct Case {
    const char *what;
    Bytes packet;
    const char *reason; // empty: it is taken
    uint32_t port = 0;
    uint32_t vlan = 100;
};

Around with(std::function<void(Around &)> change)
{
    Around around;
    change(around);
    return around;
}

Around from(const std::string &source)
{
    return with([&](Around &a) { a.source = source; });
}
Around to(const std::string &destination)
{
    return with([&](Around &a) { a.destination = destination; });
}
Around ttl(int value)
{
    return with([=](Around &a) { a.ttl = value; });
}
Around no_alert()
{
    return with([](Around &a) { a.router_alert = false; });
}
Around message(std::function<void(Bytes &)> damage)
{
    return with([&](Around &a) { a.damage_message = damage; });
}
Around packet(std::function<void(Bytes &)> damage)
{
    return with([&](Around &a) { a.damage_packet = damage; });
}
Around ipv4_head(std::function<void(Bytes &)> damage)
{
    return packet([=](Bytes &p) {
        damage(p);
        wire::fix_ipv4_checksum(p);
    });
}

class HostilePackets : public EngineTest {
protected:
    void run(Family family, const Case &c)
    {
        SCOPED_TRACE(c.what);
        library_.forget();
        const std::size_t groups = engine_.group_count(family);
        const Counters before = engine_.counters(family);
        const int32_t result = give(family, c.packet, c.port, c.vlan);
        const std::string reason = c.reason;
        if (reason.empty()) {
            EXPECT_EQ(result, 0);
            EXPECT_THAT(library_.drops, IsEmpty());
            return;
        }
        seen_.insert(reason);
        EXPECT_THAT(library_.drops, ElementsAre(reason));
        EXPECT_NE(result, 0);
        EXPECT_EQ(engine_.group_count(family), groups);
        EXPECT_EQ(counted(engine_.counters(family).dropped, reason), counted(before.dropped, reason) + 1);
        EXPECT_EQ(engine_.counters(family).accepted, before.accepted);
        EXPECT_EQ(engine_.counters(family).received, before.received + 1);
    }

    void run_record(Family family, const char *what, const Bytes &report, const std::string &line)
    {
        SCOPED_TRACE(what);
        library_.forget();
        EXPECT_EQ(give(family, report), 0);
        EXPECT_THAT(library_.refusals, ElementsAre(line));
        seen_.insert(line.substr(line.find(": ") + 2));
    }

    static uint64_t counted(const std::array<uint64_t, kDropReasons> &counts, const std::string &reason)
    {
        for (std::size_t i = 0; i < kDropReasons; ++i)
            if (name(static_cast<DropReason>(i)) == reason)
                return counts[i];
        ADD_FAILURE() << "no reason is called " << reason;
        return 0;
    }

    std::set<std::string> seen_;
};

constexpr Family kIgmp = Family::kIgmp;
constexpr Family kMld = Family::kMld;
const std::string kGroup = "239.1.2.3";
const std::string kGroup6 = "ff1e::3";

Bytes join2(const Around &around, const std::string &group = kGroup) { return wire::join(kIgmp, 2, group, around); }
Bytes join1(const Around &around, const std::string &group = kGroup) { return wire::join(kIgmp, 1, group, around); }
Bytes join6(const Around &around, const std::string &group = kGroup6) { return wire::join(kMld, 1, group, around); }
Bytes report3(const std::vector<wire::Record> &records, const Around &around = {}, int announced = -1)
{
    return wire::report(kIgmp, records, around, announced);
}
Bytes report6(const std::vector<wire::Record> &records, const Around &around = {}, int announced = -1)
{
    return wire::report(kMld, records, around, announced);
}

std::vector<Case> igmp_ip_cases()
{
    return {
        {"version 6", join2(ipv4_head([](Bytes &p) { p[0] = 0x66; })), "ip-header"},
        {"header of 16 bytes", join2(packet([](Bytes &p) { p[0] = 0x44; })), "ip-header"},
        {"header longer than the packet", join2(packet([](Bytes &p) { p[0] = 0x4F; })), "ip-header"},
        {"total length below the header", join2(ipv4_head([](Bytes &p) { p[3] = 20; })), "ip-header"},
        {"an option longer than the header", join2(ipv4_head([](Bytes &p) { p[21] = 5; })), "ip-header"},
        {"an option of one byte", join2(ipv4_head([](Bytes &p) { p[21] = 1; })), "ip-header"},
        {"length beyond the frame", join2(ipv4_head([](Bytes &p) { p[3] = 33; })), "truncated"},
        {"length far beyond the frame", join2(ipv4_head([](Bytes &p) { p[2] = 0xFF; })), "truncated"},
        {"less than a header", Bytes(19, 0x46), "truncated"},
        {"header checksum", join2(packet([](Bytes &p) { p[11] ^= 1; })), "ip-checksum"},
        {"first fragment", join2(ipv4_head([](Bytes &p) { p[6] = 0x20; })), "fragment"},
        {"last fragment", join2(ipv4_head([](Bytes &p) { p[7] = 4; })), "fragment"},
        {"UDP", join2(ipv4_head([](Bytes &p) { p[9] = 17; })), "other-protocol"},
        {"TTL 0", join2(ttl(0)), "ttl"},
        {"TTL 2", join2(ttl(2)), "ttl"},
        {"TTL 255", report3({{wire::kIsEx, kGroup, {}}}, ttl(255)), "ttl"},
        {"from a group", join2(from("239.9.9.9")), "ip-source"},
        {"from loopback", join2(from("127.0.0.1")), "ip-source"},
        {"from the broadcast address", join2(from("255.255.255.255")), "ip-source"},
        {"from a host without an address", join2(from("0.0.0.0")), ""},
        {"version 2 report without router alert", join2(no_alert()), "router-alert"},
        {"version 3 report without router alert", report3({{wire::kIsEx, kGroup, {}}}, no_alert()), "router-alert"},
        {"leave without router alert", wire::leave(kIgmp, kGroup, no_alert()), "router-alert"},
        {"version 3 query without router alert", wire::query(kIgmp, {3, ""}, no_alert()), "router-alert"},
        {"version 1 report without router alert", join1(no_alert()), ""},
        {"do-not-fragment bit", join2({}), ""},
    };
}

std::vector<Case> igmp_message_cases()
{
    const auto shorten = [](std::size_t n) { return message([=](Bytes &m) { m.resize(m.size() - n); }); };
    const auto type = [](int t) { return message([=](Bytes &m) { m[0] = static_cast<uint8_t>(t); }); };
    const auto wrong_sum = packet([](Bytes &p) { p.back() ^= 0x10; });
    const auto longer = [](std::size_t n) { return with([=](Around &a) { a.padding = n; }); };
    return {
        {"7 bytes", join2(shorten(1)), "too-short"},
        {"no message at all", join2(shorten(8)), "too-short"},
        {"message checksum", join2(wrong_sum), "checksum"},
        {"checksum over the padding too", join2(with([](Around &a) {
             a.padding = 4;
             a.damage_packet = [](Bytes &p) { p.back() = 1; };
         })),
         "checksum"},
        {"padding that the IP length covers", join2(longer(14)), ""},
        {"padding behind a version 3 report", report3({{wire::kIsEx, kGroup, {}}}, longer(10)), ""},
        {"type 0x13", join2(type(0x13)), "unknown-type"},
        {"type 0x14", join2(type(0x14)), "unknown-type"},
        {"query of 9 bytes", wire::query(kIgmp, {2, ""}, longer(1)), "query-length"},
        {"query of 11 bytes", wire::query(kIgmp, {2, ""}, longer(3)), "query-length"},
        {"query of 12 bytes", wire::query(kIgmp, {3, ""}), ""},
        {"query with more sources announced", wire::query(kIgmp, {3, kGroup, 10, false, 2, 125, {"10.9.0.1"}, 2}),
         "source-count"},
        {"general query with sources", wire::query(kIgmp, {3, "", 10, false, 2, 125, {"10.9.0.1"}}), "source-count"},
        {"query for a unicast group", wire::query(kIgmp, {2, "10.1.1.1"}), "not-a-group"},
        {"query for 224.0.0.5", wire::query(kIgmp, {2, "224.0.0.5"}), "link-local-group"},
        {"general query to a group", wire::query(kIgmp, {2, ""}, to(kGroup)), "destination"},
        {"specific query to another group", wire::query(kIgmp, {2, kGroup}, to("239.9.9.9")), "destination"},
        {"specific query to all hosts", wire::query(kIgmp, {2, kGroup}, to("224.0.0.1")), ""},
        {"report to another group", join2(to("239.9.9.9")), "destination"},
        {"report to all routers", join2(to("224.0.0.2")), ""},
        {"leave to its group", wire::leave(kIgmp, kGroup, to(kGroup)), ""},
        {"leave to another group", wire::leave(kIgmp, kGroup, to("239.9.9.9")), "destination"},
        {"version 3 report to a group", report3({{wire::kIsEx, kGroup, {}}}, to(kGroup)), "destination"},
        {"unicast group", join2({}, "10.1.1.1"), "not-a-group"},
        {"broadcast group", join2({}, "255.255.255.255"), "not-a-group"},
        {"group 224.0.0.1", join2({}, "224.0.0.1"), "link-local-group"},
        {"group 224.0.0.251", join2({}, "224.0.0.251"), "link-local-group"},
        {"group 224.0.1.0", join2({}, "224.0.1.0"), ""},
    };
}

template <class Report>
std::vector<Case> record_cases(Report report, const std::string &group, const std::string &source)
{
    const auto cut = [](std::size_t n) { return message([=](Bytes &m) { m.resize(m.size() - n); }); };
    return {
        {"two records announced, one there", report({{wire::kIsEx, group, {}}}, {}, 2), "record-count"},
        {"records announced, none there", report({}, {}, 65535), "record-count"},
        {"no record", report({}, {}, 0), ""},
        {"a record more than announced is additional data",
         report({{wire::kIsEx, group, {}}, {wire::kIsEx, group, {}}}, {}, 1), ""},
        {"a record cut short", report({{wire::kIsEx, group, {}}}, cut(1), -1), "record-count"},
        {"more sources announced", report({{wire::kIsIn, group, {source}, 2}}, {}, -1), "source-count"},
        {"65535 sources announced", report({{wire::kIsIn, group, {source}, 65535}}, {}, -1), "source-count"},
        {"auxiliary data announced, none there", report({{wire::kIsEx, group, {}, -1, 0, 1}}, {}, -1), "record-count"},
        {"255 words of auxiliary data announced", report({{wire::kIsEx, group, {}, -1, 1, 255}}, {}, -1),
         "record-count"},
        {"auxiliary data is no record", report({{wire::kIsEx, group, {}, -1, 6}}, {}, 2), "record-count"},
        {"auxiliary data is skipped", report({{wire::kIsEx, group, {}, -1, 3}, {wire::kIsEx, group, {}}}, {}, -1), ""},
    };
}

std::vector<Case> mld_ip_cases()
{
    return {
        {"version 4", join6(packet([](Bytes &p) { p[0] = 0x40; })), "ip-header"},
        {"length beyond the frame", join6(packet([](Bytes &p) { p[5] += 1; })), "truncated"},
        {"less than a header", Bytes(39, 0x60), "truncated"},
        {"hop-by-hop longer than the packet", join6(packet([](Bytes &p) { p[41] = 9; })), "hop-by-hop"},
        {"an option longer than its header", join6(packet([](Bytes &p) { p[47] = 1; })), "hop-by-hop"},
        {"an option that forbids to go on", join6(packet([](Bytes &p) { p[46] = 0x41; })), "hop-by-hop"},
        {"an option that may be skipped", join6(packet([](Bytes &p) { p[46] = 0x21; })), ""},
        {"fragment header", join6(packet([](Bytes &p) { p[40] = 44; })), "fragment"},
        {"fragment header first", join6(packet([](Bytes &p) { p[6] = 44; })), "fragment"},
        {"UDP", join6(packet([](Bytes &p) { p[40] = 17; })), "other-protocol"},
        {"neighbour solicitation", join6(packet([](Bytes &p) { p[48] = 135; })), "other-protocol"},
        {"hop limit 0", join6(ttl(0)), "ttl"},
        {"hop limit 255", join6(ttl(255)), "ttl"},
        {"no address yet", join6(from("::")), "ip-source"},
        {"a global address", join6(from("2001:db8::7")), "ip-source"},
        {"query from a global address", wire::query(kMld, {2, ""}, from("2001:db8::7")), "ip-source"},
        {"the highest link-local address", join6(from("febf:ffff::7")), ""},
        {"just above link-local", join6(from("fec0::7")), "ip-source"},
        {"no router alert", join6(no_alert()), "router-alert"},
        {"router alert of another protocol", join6(packet([](Bytes &p) { p[45] = 1; })), "router-alert"},
    };
}

std::vector<Case> mld_message_cases()
{
    const auto shorten = [](std::size_t n) { return message([=](Bytes &m) { m.resize(m.size() - n); }); };
    const auto longer = [](std::size_t n) { return with([=](Around &a) { a.padding = n; }); };
    return {
        {"no message at all", join6(packet([](Bytes &p) {
             p.resize(48);
             p[5] = 8;
         })),
         "too-short"},
        {"7 bytes", join6(shorten(17)), "too-short"},
        {"23 bytes", join6(shorten(1)), "too-short"},
        {"message checksum", join6(packet([](Bytes &p) { p.back() ^= 0x10; })), "checksum"},
        {"padding that the IP length covers", join6(longer(6)), ""},
        {"query of 23 bytes", wire::query(kMld, {1, ""}, shorten(1)), "query-length"},
        {"query of 27 bytes", wire::query(kMld, {1, ""}, longer(3)), "query-length"},
        {"query of 28 bytes", wire::query(kMld, {2, ""}), ""},
        {"query with more sources announced", wire::query(kMld, {2, kGroup6, 10, false, 2, 125, {"fd00::1"}, 2}),
         "source-count"},
        {"general query to a group", wire::query(kMld, {2, ""}, to(kGroup6)), "destination"},
        {"report to another group", join6(to("ff1e::9")), "destination"},
        {"version 2 report to a group", report6({{wire::kIsEx, kGroup6, {}}}, to(kGroup6)), "destination"},
        {"unicast group", join6({}, "2001:db8::1"), "not-a-group"},
        {"group ff02::1", join6({}, "ff02::1"), "link-local-group"},
        {"a solicited-node group", join6({}, "ff02::1:ff00:7"), "link-local-group"},
        {"an interface-local group", join6({}, "ff01::7"), "link-local-group"},
        {"a group of the reserved scope", join6({}, "ff10::7"), "link-local-group"},
        {"an admin-local group", join6({}, "ff14::7"), ""},
    };
}

TEST_F(HostilePackets, igmp_packets_are_dropped_for_exactly_their_fault)
{
    for (const auto &cases : {igmp_ip_cases(), igmp_message_cases(), record_cases(report3, kGroup, "10.9.0.1")})
        for (const Case &c : cases)
            run(kIgmp, c);
}

TEST_F(HostilePackets, mld_packets_are_dropped_for_exactly_their_fault)
{
    for (const auto &cases : {mld_ip_cases(), mld_message_cases(), record_cases(report6, kGroup6, "fd00::1")})
        for (const Case &c : cases)
            run(kMld, c);
}

TEST_F(HostilePackets, a_report_that_lies_changes_nothing_of_what_comes_before_the_lie)
{
    give(report3({{wire::kIsEx, kGroup, {}}, {wire::kIsEx, "239.1.2.4", {}, 7}}));
    EXPECT_EQ(state(kIgmp, kGroup), "-");
    give(report6({{wire::kIsEx, kGroup6, {}}, {wire::kIsEx, "ff1e::4", {}, 7}}));
    EXPECT_EQ(state(kMld, kGroup6), "-");
    EXPECT_THAT(library_.entries, IsEmpty());
}

TEST_F(HostilePackets, the_record_behind_auxiliary_data_is_found)
{
    give(report3({{wire::kIsEx, kGroup, {}, -1, 3}, {wire::kIsEx, "239.1.2.4", {}}}));
    give(report6({{wire::kIsEx, kGroup6, {"fd00::1"}, -1, 3}, {wire::kIsEx, "ff1e::4", {}}}));
    EXPECT_EQ(state(kIgmp, "239.1.2.4"), "EX(;)");
    EXPECT_EQ(state(kMld, "ff1e::4"), "EX(;)");
    EXPECT_THAT(library_.entries, testing::SizeIs(4));
    EXPECT_THAT(library_.refusals, IsEmpty());
}

TEST_F(HostilePackets, a_length_argument_above_the_frame_is_found_out_without_a_frame_limit_too)
{
    const Bytes packet = join2({});
    engine_.set_frame_limit(nullptr);
    EXPECT_EQ(engine_.receive(kIgmp, packet.data(), 1987, 0, 100), static_cast<int32_t>(Result::kDropped));
    EXPECT_THAT(library_.drops, ElementsAre("truncated"));
}

TEST_F(HostilePackets, a_packet_that_begins_behind_the_frame_is_not_read)
{
    const Bytes packet = join2({});
    engine_.set_frame_limit(packet.data());
    EXPECT_NE(engine_.receive(kIgmp, packet.data(), 32, 0, 100), 0);
    EXPECT_THAT(library_.drops, ElementsAre("truncated"));
}

TEST_F(HostilePackets, one_bad_record_is_refused_and_the_others_are_taken)
{
    const wire::Record good{wire::kIsEx, kGroup, {}};
    const std::string at = " vlan 100 port 0: ";
    run_record(kIgmp, "type 0", report3({{0, "239.1.2.9", {}}, good}), "239.1.2.9" + at + "record-type");
    run_record(kIgmp, "type 7", report3({{7, "239.1.2.9", {}}, good}), "239.1.2.9" + at + "record-type");
    run_record(kIgmp, "unicast", report3({{wire::kIsEx, "10.1.1.1", {}}, good}), "10.1.1.1" + at + "not-a-group");
    run_record(kIgmp, "224.0.0.251", report3({{wire::kIsEx, "224.0.0.251", {}}, good}),
               "224.0.0.251" + at + "link-local-group");
    run_record(kIgmp, "a group as source", report3({{wire::kIsIn, "239.1.2.9", {"239.1.1.1"}}, good}),
               "239.1.2.9" + at + "record-source");
    EXPECT_EQ(state(kIgmp, kGroup), "EX(;)");
    EXPECT_EQ(engine_.group_count(kIgmp), 1u);
    run_record(kMld, "ff02::1", report6({{wire::kIsEx, "ff02::1", {}}, {wire::kIsEx, kGroup6, {}}}),
               "ff02::1" + at + "link-local-group");
    run_record(kMld, "a group as source", report6({{wire::kIsIn, "ff1e::9", {"ff1e::1"}}}),
               "ff1e::9" + at + "record-source");
    EXPECT_EQ(state(kMld, kGroup6), "EX(;)");
}

TEST_F(HostilePackets, reasons_beside_the_packet_itself)
{
    run(kIgmp, {"undeclared port", join2({}), "port-not-declared", 7});
    run(kMld, {"undeclared port", join6({}), "port-not-declared", 7});
    run(kIgmp, {"no such port", join2({}), "port-not-declared", 30});
    run(kIgmp, {"unknown VLAN", join2({}), "vlan", 0, 200});
    run(kMld, {"unknown VLAN", join6({}), "vlan", 0, 200});
    run(kIgmp, {"report from the uplink", join2({}), "report-from-uplink", kUplink});
    run(kMld, {"report from the uplink", join6({}), "report-from-uplink", 29});
    run(kIgmp, {"own query", wire::query(kIgmp, {3, ""}, from("10.25.14.20")), "own-packet"});
    run(kMld, {"own query", wire::query(kMld, {2, ""}, from("fe80::200:ff:fe00:0")), "own-packet"});
    engine_.set_version(2);
    run(kIgmp, {"version 3 with version 2 set", report3({{wire::kIsEx, kGroup, {}}}), "version"});
    run(kIgmp, {"version 2 with version 2 set", join2({}), ""});
    engine_.set_version(1);
    run(kIgmp, {"leave with version 1 set", wire::leave(kIgmp, kGroup), "version"});
}

TEST_F(HostilePackets, names_and_rules_are_given_once_each)
{
    std::set<std::string_view> names;
    for (std::size_t i = 1; i < kDropReasons; ++i) {
        const auto reason = static_cast<DropReason>(i);
        EXPECT_TRUE(names.insert(name(reason)).second) << name(reason);
        EXPECT_FALSE(rule(reason).empty()) << name(reason);
    }
}

} // namespace
} // namespace engine_test
