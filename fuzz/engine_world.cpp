#include "fuzz/engine_world.h"

#include <sys/shm.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "host/engine/address.h"
#include "host/engine/engine_binding.h"
#include "host/engine/message.h"
#include "mcadapt/records.h"
#include "platform/protocol_engine.h"

namespace mcadapt::fuzz {

using host::Family;
using host::GroupView;

namespace {

constexpr Family kFamilies[] = {Family::kIgmp, Family::kMld};

EngineWorld *the_world = nullptr;

int32_t send_igmp(const uint8_t *packet, uint32_t port, mcTagDescriptor *tag, uint32_t length)
{
    FUZZ_EXPECT(tag->tpid == 0x8100 && tag->pri < 8, "the tag is one");
    return the_world->send(Family::kIgmp, packet, port, length);
}
int32_t send_mld(const uint8_t *packet, uint32_t port, mcTagDescriptor *, uint32_t length)
{
    return the_world->send(Family::kMld, packet, port, length);
}
int32_t add_igmp(const mcGroupRecord *group) { return the_world->add_entry(Family::kIgmp, *group); }
int32_t remove_igmp(const mcGroupRecord *group) { return the_world->remove_entry(Family::kIgmp, *group); }
int32_t add_mld(const mcGroupRecord *group) { return the_world->add_entry(Family::kMld, *group); }
int32_t remove_mld(const mcGroupRecord *group) { return the_world->remove_entry(Family::kMld, *group); }

void connect()
{
    igmp_register_switch_send_pkt(send_igmp);
    igmp_register_switch_add_table(add_igmp);
    igmp_register_switch_del_table(remove_igmp);
    mld_register_switch_send_pkt(send_mld);
    mld_register_switch_add_table(add_mld);
    mld_register_switch_del_table(remove_mld);
}

bool sorted_without_doubles(const std::vector<host::GroupAddress> &addresses)
{
    const auto not_above = [](const host::GroupAddress &a, const host::GroupAddress &b) {
        return !(host::from_group_address(a) < host::from_group_address(b));
    };
    return std::adjacent_find(addresses.begin(), addresses.end(), not_above) == addresses.end();
}

uint64_t sum(const std::array<uint64_t, host::kDropReasons> &counts)
{
    uint64_t all = 0;
    for (const uint64_t count : counts)
        all += count;
    return all;
}

// The status segment of the run, in memory of just its size.
std::unique_ptr<grp_info> &segment()
{
    static std::unique_ptr<grp_info> the_segment;
    return the_segment;
}

} // namespace

EngineWorld::EngineWorld(host::Limits limits) : limits_(limits), engine_(clock_, *this, limits)
{
    the_world = this;
    host::install(&engine_);
    segment() = std::make_unique<grp_info>();
    connect();
}

EngineWorld::~EngineWorld()
{
    engine_.share_status(false);
    host::install(nullptr);
    the_world = nullptr;
}

// --- What goes in

void EngineWorld::give(Family family, const std::vector<uint8_t> &packet, uint32_t port, uint32_t vlan, bool trusted)
{
    // The library reads the length from the header, wherever the frame ends; the buffer goes on behind a short one.
    constexpr std::size_t kHeader = 40;
    std::vector<uint8_t> header(packet.begin(),
                                packet.begin() + static_cast<std::ptrdiff_t>(std::min(packet.size(), kHeader)));
    header.resize(kHeader);
    const uint32_t claimed =
        family == Family::kIgmp ? host::load16(header.data() + 2) : host::load16(header.data() + 4) + uint32_t{kHeader};
    const std::size_t room = trusted ? std::max(packet.size(), host::kMaxPacketBytes) : packet.size();
    const auto memory = std::make_unique<uint8_t[]>(room);
    std::copy(packet.begin(), packet.end(), memory.get());
    const uint8_t *const outer = std::exchange(frame_limit_, trusted ? nullptr : memory.get() + packet.size());
    engine_.set_frame_limit(frame_limit_);
    uint16_t scratch = 0;
    const int32_t result = family == Family::kIgmp ? igmp_pkt_recv(memory.get(), claimed, port, vlan, 0)
                                                   : mld_pkt_recv(memory.get(), claimed, port, vlan, &scratch);
    digest_.number(static_cast<uint32_t>(result));
    frame_limit_ = outer; // a callback may have handed over a packet while another was under way
    engine_.set_frame_limit(frame_limit_);
}

void EngineWorld::pass(host::Duration time, bool stepwise)
{
    constexpr int kMostSteps = 500;
    const host::Time end = clock_.now() + time;
    for (int i = 0; stepwise && i < kMostSteps && engine_.next_timer() < end; ++i) {
        clock_.advance_to(engine_.next_timer());
        engine_.run_timers();
    }
    clock_.advance_to(end);
    engine_.run_timers();
    FUZZ_EXPECT(engine_.next_timer() > clock_.now(), "no timer that is due is left over");
}

void EngineWorld::run_action()
{
    if (action_ == nullptr)
        return;
    const std::function<void()> action = std::exchange(action_, nullptr);
    action();
}

// --- What comes out

int32_t EngineWorld::send(Family family, const uint8_t *packet, uint32_t port, uint32_t length)
{
    FUZZ_EXPECT(length <= 1500, "a packet of the engine fits a frame");
    FUZZ_EXPECT(port < host::kUplinkPort || port == (family == Family::kIgmp ? 0xFFFFu : host::kUplinkPort),
                "a packet of the engine goes to a port");
    digest_.bytes(packet, length);
    digest_.number(port);
    host::Message message;
    const host::DropReason reason = family == Family::kIgmp ? host::parse_igmp(packet, length, length, message)
                                                            : host::parse_mld(packet, length, length, message);
    FUZZ_EXPECT(reason == host::DropReason::kNone, "a packet of the engine is one that it would take");
    run_action();
    return 0;
}

int32_t EngineWorld::add_entry(Family family, const mcGroupRecord &group)
{
    if (refuses_)
        return 1;
    entries_.insert(entry_of(family, group));
    run_action();
    return 0;
}

int32_t EngineWorld::remove_entry(Family family, const mcGroupRecord &group)
{
    FUZZ_EXPECT(entries_.erase(entry_of(family, group)) == 1, "an entry that is removed was there");
    run_action();
    return 0;
}

EngineWorld::Entry EngineWorld::entry_of(Family family, const mcGroupRecord &group)
{
    const uint32_t tail = family == Family::kIgmp ? group.ipv4Group & 0x7FFFFF : host::load32(group.ipv6GroupTail);
    return {family, group.vlan, group.port, tail};
}

EngineWorld::Entry EngineWorld::entry_of(const GroupView &view)
{
    const Family family = view.membership.group.family;
    const auto tail = static_cast<uint32_t>(host::from_group_address(view.membership.group).low);
    return {family, view.membership.vlan, static_cast<uint16_t>(view.membership.port),
            family == Family::kIgmp ? tail & 0x7FFFFF : tail};
}

EngineWorld::Key EngineWorld::key_of(const host::Membership &membership)
{
    std::array<uint8_t, 16> address;
    const host::Address number = host::from_group_address(membership.group);
    host::store_address(Family::kMld, number, address.data());
    return {membership.group.family, membership.vlan, address, membership.port};
}

void EngineWorld::note(Family family, std::string_view text)
{
    digest_.number(static_cast<uint64_t>(family));
    digest_.text(text);
}

void EngineWorld::packet_received(Family family, uint32_t port, uint16_t vlan, host::Bytes packet)
{
    note(family, "received");
    digest_.number(port);
    digest_.number(vlan);
    digest_.bytes(packet.data, packet.size);
}

void EngineWorld::packet_dropped(Family family, std::string_view reason, std::string_view why)
{
    FUZZ_EXPECT(!reason.empty() && !why.empty(), "a packet is dropped for a reason");
    note(family, reason);
}

void EngineWorld::group_refused(const host::Membership &membership, std::string_view reason, std::string_view why)
{
    FUZZ_EXPECT(!reason.empty() && !why.empty(), "a group is refused for a reason");
    note(membership.group.family, reason);
    digest_.bytes(membership.group.bytes, sizeof(membership.group.bytes));
}

void EngineWorld::membership_changed(const host::Membership &membership, bool joined, std::string_view why)
{
    const Key key = key_of(membership);
    FUZZ_EXPECT(joined ? members_.insert(key).second : members_.erase(key) == 1, "joins and leaves take turns");
    note(membership.group.family, why);
}

void EngineWorld::packet_sent(Family family, uint32_t port, uint16_t vlan, std::string_view what)
{
    note(family, what);
    digest_.number(port);
    digest_.number(vlan);
}

// --- What must hold

void EngineWorld::check_group(Family family, const GroupView &view)
{
    const host::Address group = host::from_group_address(view.membership.group);
    FUZZ_EXPECT(host::is_multicast(family, group) && !host::is_link_local_group(family, group),
                "a group is one that may be joined");
    FUZZ_EXPECT(view.membership.port <= host::kMaxPort && view.membership.vlan <= 4095, "a group is on a port");
    FUZZ_EXPECT(view.wanted.size() + view.blocked.size() <= limits_.sources_per_group, "sources are bounded");
    FUZZ_EXPECT(sorted_without_doubles(view.wanted) && sorted_without_doubles(view.blocked), "sources are sorted");
    FUZZ_EXPECT(view.exclude || view.blocked.empty(), "only EXCLUDE mode blocks");
    FUZZ_EXPECT(view.exclude || view.fixed || view.controlled || !view.wanted.empty(), "somebody listens");
    for (const host::GroupAddress &source : view.wanted)
        FUZZ_EXPECT(engine_.wants(view.membership, source), "a wanted source is wanted");
    for (const host::GroupAddress &source : view.blocked)
        FUZZ_EXPECT(view.fixed || view.controlled || !engine_.wants(view.membership, source), "a blocked one is not");
}

void EngineWorld::check_counters(Family family) const
{
    const host::Counters &counters = engine_.counters(family);
    FUZZ_EXPECT(counters.received == counters.accepted + sum(counters.dropped), "each packet is taken or dropped");
    FUZZ_EXPECT(counters.accepted == counters.queries_received + counters.joins_received + counters.reports_received +
                                         counters.leaves_received,
                "each packet taken is of one kind");
}

void EngineWorld::check_ports(const std::vector<GroupView> &igmp) const
{
    std::array<uint32_t, host::kMaxPort + 1> groups{};
    for (const GroupView &view : igmp)
        ++groups[view.membership.port];
    for (uint32_t port = 0; port < groups.size(); ++port) {
        const host::InterfaceCounters counters = engine_.interface_counters(port);
        FUZZ_EXPECT(counters.groups == groups[port], "the interface counts its groups");
        FUZZ_EXPECT(counters.groups > 0 || counters.bandwidth == 0, "a port without groups takes no bandwidth");
    }
}

// What hosts can ask for is bounded; what the agents order comes on top.
void EngineWorld::check_bounds(Family family, const std::vector<GroupView> &views) const
{
    std::array<uint32_t, host::kMaxPort + 1> joined{};
    for (const GroupView &view : views)
        joined[view.membership.port] += view.fixed || view.controlled ? 0 : 1;
    for (const uint32_t groups : joined)
        FUZZ_EXPECT(groups <= limits_.groups_per_port, "groups of a port are bounded");
    FUZZ_EXPECT(engine_.group_count(family) == views.size(), "each group is seen once");
}

void EngineWorld::check()
{
    std::set<Entry> installed;
    std::set<Key> members;
    std::size_t all = 0;
    for (const Family family : kFamilies) {
        const std::vector<GroupView> views = engine_.groups(family);
        for (const GroupView &view : views) {
            check_group(family, view);
            if (view.installed)
                installed.insert(entry_of(view));
            FUZZ_EXPECT(members.empty() || *members.rbegin() < key_of(view.membership), "groups are sorted");
            members.insert(key_of(view.membership));
        }
        check_bounds(family, views);
        check_counters(family);
        if (family == Family::kIgmp)
            check_ports(views);
        all += views.size();
    }
    FUZZ_EXPECT(installed == entries_, "the switch has the entries of the groups");
    FUZZ_EXPECT(members == members_, "whoever joined is there");
    const bool proxies =
        engine_.mode(Family::kIgmp) == host::Mode::kProxy || engine_.mode(Family::kMld) == host::Mode::kProxy;
    FUZZ_EXPECT(all > 0 || proxies || engine_.next_timer() == host::kNever, "without groups no timer runs");

    constexpr std::size_t kEmpty = 1 << 16, kGroup = 1024, kSource = 128, kTimersOfVlans = 1 << 22;
    most_groups_ = std::max(most_groups_, all);
    const std::size_t most = kEmpty + most_groups_ * (kGroup + limits_.sources_per_group * kSource);
    FUZZ_EXPECT(engine_.memory_bytes() <= most + (proxies ? kTimersOfVlans : 0), "memory is bounded");
}

void EngineWorld::check_end()
{
    igmp_data_init();
    mld_data_init();
    FUZZ_EXPECT(entries_.empty() && members_.empty(), "a reset gives every entry back");
    FUZZ_EXPECT(engine_.next_timer() == host::kNever, "a reset stops every timer");
    check();
}

} // namespace mcadapt::fuzz

// The status segment of the run takes the place of the machine's.
extern "C" {

int shmget(key_t, size_t size, int) noexcept { return size <= sizeof(grp_info) ? 1 : -1; }

void *shmat(int, const void *, int) noexcept { return mcadapt::fuzz::segment().get(); }

int shmdt(const void *) noexcept { return 0; }
}
