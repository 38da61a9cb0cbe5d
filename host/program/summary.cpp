#include "host/program/summary.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/program/print.h"
#include "host/program/text.h"

namespace mcadapt::host {

namespace {

using Json = nlohmann::ordered_json;

constexpr Family kFamilies[] = {Family::kIgmp, Family::kMld};

const char *family_name(Family family) { return family == Family::kMld ? "MLD" : "IGMP"; }

struct Count {
    std::string name;
    uint64_t count;
};

std::vector<Count> frames_by_kind(const Replay &replay)
{
    std::vector<Count> rows;
    const SwitchCounters &counters = replay.unit_switch().counters();
    for (std::size_t kind = 0; kind < counters.by_kind.size(); ++kind)
        if (counters.by_kind[kind] != 0)
            rows.push_back({kind_name(static_cast<FrameKind>(kind)), counters.by_kind[kind]});
    return rows;
}

// Whole packets and single groups, of both families.
std::vector<Count> drops_by_reason(const Replay &replay)
{
    std::vector<Count> rows;
    const SwitchCounters &counters = replay.unit_switch().counters();
    for (std::size_t i = 0; i < counters.by_drop.size(); ++i)
        if (counters.by_drop[i] != 0)
            rows.push_back({fmt::format("switch: {}", drop_name(static_cast<SwitchDrop>(i))), counters.by_drop[i]});
    for (const Family family : kFamilies) {
        const Counters &engine = replay.engine().counters(family);
        for (std::size_t i = 0; i < kDropReasons; ++i) {
            const uint64_t drops = engine.dropped[i] + engine.refused[i];
            if (drops != 0)
                rows.push_back(
                    {fmt::format("{} engine: {}", family_name(family), name(static_cast<DropReason>(i))), drops});
        }
    }
    return rows;
}

std::vector<Count> groups_by_port(const Replay &replay)
{
    std::map<std::pair<uint32_t, Family>, uint64_t> counts;
    for (const Family family : kFamilies)
        for (const GroupView &group : replay.engine().groups(family))
            ++counts[{group.membership.port, family}];
    std::vector<Count> rows;
    rows.reserve(counts.size());
    for (const auto &[key, count] : counts)
        rows.push_back({fmt::format("{}, {}", port_text(key.first), family_name(key.second)), count});
    return rows;
}

void print_counts(std::FILE *out, const char *title, const std::vector<Count> &rows)
{
    print(out, "\n{}\n", title);
    if (rows.empty())
        print(out, "  none\n");
    for (const Count &row : rows)
        print(out, "  {:<56} {:>12}\n", row.name, count_text(row.count));
}

void print_delays(std::FILE *out, const char *name, const Delays &delays)
{
    if (delays.count == 0) {
        print(out, "  {:<20} none measured\n", name);
        return;
    }
    print(out, "  {:<20} {} s shortest, {} s mean, {} s longest, of {}\n", name, seconds_text(delays.shortest),
          seconds_text(delays.mean()), seconds_text(delays.longest), count_text(delays.count));
}

void print_entries(std::FILE *out, const std::vector<ForwardingEntry> &entries)
{
    print(out, "\nForwarding entries at the end\n");
    if (entries.empty())
        print(out, "  none\n");
    for (const ForwardingEntry &entry : entries)
        print(out, "  VLAN {:<5} {}  to {:<12} {:>12} frames\n", entry.vlan, mac_text(entry.mac.data()),
              port_text(entry.port), count_text(entry.frames));
}

Json counts_json(const std::vector<Count> &rows)
{
    Json object = Json::object();
    for (const Count &row : rows)
        object[row.name] = row.count;
    return object;
}

Json delays_json(const Delays &delays)
{
    if (delays.count == 0)
        return {{"count", 0}};
    return {{"count", delays.count},
            {"shortest_ns", delays.shortest.count()},
            {"mean_ns", delays.mean().count()},
            {"longest_ns", delays.longest.count()}};
}

Json entries_json(const std::vector<ForwardingEntry> &entries)
{
    Json list = Json::array();
    for (const ForwardingEntry &entry : entries)
        list.push_back({{"vlan", entry.vlan},
                        {"mac", mac_text(entry.mac.data())},
                        {"port", entry.port},
                        {"frames", entry.frames}});
    return list;
}

} // namespace

void print_summary(const Replay &replay, const Statistics &statistics, std::FILE *out)
{
    const SwitchCounters &counters = replay.unit_switch().counters();
    print(out, "Frames: {} arrived, {} to the library, {} forwarded by entry, {} flooded\n",
          count_text(replay.frames()), count_text(counters.trapped), count_text(counters.forwarded),
          count_text(counters.flooded));
    print(out, "Groups: {} joins, {} leaves; the engine sent {} packets\n", count_text(statistics.joins()),
          count_text(statistics.leaves()), count_text(statistics.sent_by_engine()));
    print_counts(out, "Frames by kind", frames_by_kind(replay));
    print_counts(out, "Drops by reason", drops_by_reason(replay));
    print_counts(out, "Groups per port at the end", groups_by_port(replay));
    print_entries(out, replay.unit_switch().entries());
    print(out, "\nDelays\n");
    print_delays(out, "group join delay", statistics.join_delays());
    print_delays(out, "group leave delay", statistics.leave_delays());
}

void print_json_summary(const Replay &replay, const Statistics &statistics, std::FILE *out)
{
    const SwitchCounters &counters = replay.unit_switch().counters();
    const Json summary = {{"event", "summary"},
                          {"frames", replay.frames()},
                          {"trapped", counters.trapped},
                          {"forwarded", counters.forwarded},
                          {"flooded", counters.flooded},
                          {"joins", statistics.joins()},
                          {"leaves", statistics.leaves()},
                          {"sent_by_engine", statistics.sent_by_engine()},
                          {"frames_by_kind", counts_json(frames_by_kind(replay))},
                          {"drops_by_reason", counts_json(drops_by_reason(replay))},
                          {"groups_per_port", counts_json(groups_by_port(replay))},
                          {"entries", entries_json(replay.unit_switch().entries())},
                          {"group_join_delay", delays_json(statistics.join_delays())},
                          {"group_leave_delay", delays_json(statistics.leave_delays())}};
    print(out, "{}\n", summary.dump());
}

} // namespace mcadapt::host
