#include "engine_fixture.h"

#include <arpa/inet.h>

#include <cstring>

namespace engine_test {
namespace {

std::string place(const std::string &group, uint32_t vlan, uint32_t port)
{
    return group + " vlan " + std::to_string(vlan) + " port " + std::to_string(port);
}

std::string last_part(const std::string &address) { return address.substr(address.find_last_of(".:") + 1); }

template <Family family, char sign> int32_t forward(const mcGroupRecord *record)
{
    Library &library = *Library::current;
    library.entry(family, sign, *record);
    if (sign == '+' && library.on_add)
        library.on_add();
    return sign == '+' ? library.add_answer : library.remove_answer;
}

int32_t send_packet(const uint8_t *packet, uint32_t port, mcTagDescriptor *tag, uint32_t length)
{
    return Library::current->send(packet, port, tag, length);
}

} // namespace

Library *Library::current = nullptr;

std::string text(const GroupAddress &address)
{
    char out[INET6_ADDRSTRLEN] = "?";
    if (address.family == Family::kMld) {
        inet_ntop(AF_INET6, address.bytes, out, sizeof out);
        return out;
    }
    uint32_t value = 0;
    std::memcpy(&value, address.bytes + 12, 4);
    value = htonl(value);
    inet_ntop(AF_INET, &value, out, sizeof out);
    return out;
}

Library::Library() { current = this; }

Library::~Library() { current = nullptr; }

void Library::forget()
{
    for (Lines *lines : {&entries, &sent, &joined, &drops, &refusals, &texts, &reasons})
        lines->clear();
    packets.clear();
}

void Library::packet_dropped(Family, std::string_view reason, std::string_view why)
{
    EXPECT_FALSE(why.empty()) << reason;
    drops.emplace_back(reason);
}

void Library::group_refused(const Membership &membership, std::string_view reason, std::string_view why)
{
    EXPECT_FALSE(why.empty()) << reason;
    refusals.push_back(place(text(membership.group), membership.vlan, membership.port) + ": " + std::string(reason));
}

void Library::membership_changed(const Membership &membership, bool in, std::string_view why)
{
    joined.push_back((in ? "+" : "-") + place(text(membership.group), membership.vlan, membership.port));
    reasons.emplace_back(why);
}

void Library::entry(Family family, char sign, const mcGroupRecord &record)
{
    char address[INET6_ADDRSTRLEN] = "?";
    if (family == Family::kIgmp) {
        const uint32_t group = htonl(record.ipv4Group);
        inet_ntop(AF_INET, &group, address, sizeof address);
    } else {
        std::snprintf(address, sizeof address, "33:33:%02x:%02x:%02x:%02x", record.ipv6GroupTail[0],
                      record.ipv6GroupTail[1], record.ipv6GroupTail[2], record.ipv6GroupTail[3]);
    }
    entries.push_back(sign + place(address, record.vlan, record.port));
}

int32_t Library::send(const uint8_t *packet, uint32_t port, const mcTagDescriptor *tag, uint32_t length)
{
    EXPECT_EQ(tag->tpid, 0x8100);
    packets.emplace_back(packet, packet + length);
    sent.push_back("port " + std::to_string(port) + " vlan " + std::to_string(tag->vid) + ": " +
                   wire::read(packet, length));
    return 0;
}

void connect(Engine &engine)
{
    engine.register_send(Family::kIgmp, send_packet);
    engine.register_add(Family::kIgmp, forward<Family::kIgmp, '+'>);
    engine.register_remove(Family::kIgmp, forward<Family::kIgmp, '-'>);
    engine.register_send(Family::kMld, send_packet);
    engine.register_add(Family::kMld, forward<Family::kMld, '+'>);
    engine.register_remove(Family::kMld, forward<Family::kMld, '-'>);
}

EngineTest::EngineTest(Limits limits) : engine_(clock_, library_, limits)
{
    clock_.advance_to(1000s);
    connect(engine_);
    for (const Family family : {Family::kIgmp, Family::kMld}) {
        for (const uint32_t port : {0u, 1u, 29u})
            engine_.declare_port(family, port);
        engine_.add_vlan(family, 100);
    }
    engine_.set_proxy_source(wire::ipv4_value("10.25.14.20"));
}

int32_t EngineTest::give(Family family, const wire::Bytes &packet, uint32_t port, uint32_t vlan)
{
    // A block of its own: whoever reads behind it is caught by the address sanitizer.
    const wire::Bytes copy(packet);
    engine_.set_frame_limit(copy.data() + copy.size());
    const std::size_t claimed = family == Family::kIgmp ? copy[2] * 256u + copy[3] : copy[4] * 256u + copy[5] + 40u;
    return engine_.receive(family, copy.data(), static_cast<uint32_t>(claimed), port, vlan);
}

int32_t EngineTest::give(const wire::Bytes &packet, uint32_t port, uint32_t vlan)
{
    return give(packet[0] >> 4 == 4 ? Family::kIgmp : Family::kMld, packet, port, vlan);
}

void EngineTest::pass(Duration time)
{
    const Time end = clock_.now() + time;
    while (engine_.next_timer() <= end) {
        clock_.advance_to(engine_.next_timer());
        engine_.run_timers();
    }
    clock_.advance_to(end);
}

std::string EngineTest::state(Family family, const std::string &group, uint32_t port, uint32_t vlan) const
{
    const auto list = [](const std::vector<GroupAddress> &sources) {
        std::string out;
        for (const GroupAddress &source : sources)
            out += (out.empty() ? "" : " ") + last_part(text(source));
        return out;
    };
    for (const GroupView &view : engine_.groups(family)) {
        if (text(view.membership.group) != group || view.membership.port != port || view.membership.vlan != vlan)
            continue;
        return view.exclude ? "EX(" + list(view.wanted) + ";" + list(view.blocked) + ")"
                            : "IN(" + list(view.wanted) + ")";
    }
    return "-";
}

uint64_t EngineTest::dropped(Family family, DropReason reason) const
{
    return engine_.counters(family).dropped[static_cast<std::size_t>(reason)];
}

uint64_t EngineTest::refused(Family family, DropReason reason) const
{
    return engine_.counters(family).refused[static_cast<std::size_t>(reason)];
}

std::string Names::source(int number) const
{
    return (family == Family::kIgmp ? "10.9.0." : "fd00::") + std::to_string(number);
}

std::vector<std::string> Names::sources(const std::vector<int> &numbers) const
{
    std::vector<std::string> out;
    for (const int number : numbers)
        out.push_back(source(number));
    return out;
}

const Names &igmp_names()
{
    static const Names names{Family::kIgmp, "Igmp", "239.1.2.3", "239.1.2.4", "IGMPv3 query", "0.0.0.0", 3, 2};
    return names;
}

const Names &mld_names()
{
    static const Names names{Family::kMld, "Mld", "ff1e::3", "ff1e::4", "MLDv2 query", "fe80::200:ff:fe00:0", 2, 1};
    return names;
}

std::string family_name(const testing::TestParamInfo<const Names *> &info) { return info.param->name; }

std::string TwinTest::query_line(const std::string &about, const std::string &to, uint32_t port) const
{
    return "port " + std::to_string(port) + " vlan 100: " + n.querier + about + " from " + n.from + " to " + to;
}

std::string TwinTest::group_query(bool suppress, uint32_t port) const
{
    return query_line(' ' + n.group + (suppress ? " S" : ""), n.group, port);
}

std::string TwinTest::source_query(const std::vector<int> &sources, bool suppress) const
{
    std::string list;
    for (const std::string &source : n.sources(sources))
        list += (list.empty() ? "" : " ") + source;
    return query_line(' ' + n.group + " {" + list + "}" + (suppress ? " S" : ""), n.group);
}

std::string TwinTest::entry(char sign, const std::string &group, uint32_t port) const
{
    if (n.family == Family::kIgmp)
        return sign + place(group, 100, port);
    return sign + place("33:33:00:00:00:0" + group.substr(group.size() - 1), 100, port);
}

} // namespace engine_test
