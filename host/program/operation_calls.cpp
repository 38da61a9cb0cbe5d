#include "host/program/operation_calls.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <fmt/format.h>

#include "host/program/text.h"
#include "mcadapt/mcadapt.h"

namespace mcadapt::host {

namespace {

// A list longer than this is cut: it is a line of a timeline.
constexpr uint32_t kMostListed = 16;

vlanCfgNode rule_of(const Values &v)
{
    return {v.byte(0), v.byte(1), v.word(2), v.word(3), v.byte(4), v.word(5),
            v.word(6), v.byte(7), v.word(8), v.word(9), 0};
}

// The static-group operations look at byte 13 of an address buffer.
using AddressBuffer = std::array<uint8_t, 14>;

AddressBuffer address_buffer(uint8_t last_octet)
{
    AddressBuffer buffer = {};
    buffer[13] = last_octet;
    return buffer;
}

std::string ipv4_text(uint32_t address)
{
    GroupAddress group = {Family::kIgmp, {}};
    std::memcpy(group.bytes + 12, &address, sizeof(address));
    return group_text(group);
}

uint32_t word_at(const uint8_t *at)
{
    uint32_t word = 0;
    std::memcpy(&word, at, sizeof(word));
    return word;
}

unsigned half_at(const uint8_t *at)
{
    uint16_t half = 0;
    std::memcpy(&half, at, sizeof(half));
    return half;
}

// "0, 2 groups: A, B", each entry told by `tell` from where it begins.
template <class Tell>
std::string list(int32_t result, uint32_t count, const uint8_t *entries, std::size_t entry_bytes, Tell tell)
{
    std::string text = fmt::format("{}, {} groups", result, count);
    for (uint32_t i = 0; i < count && i < kMostListed; ++i)
        text += (i == 0 ? ": " : ", ") + tell(entries + i * entry_bytes);
    return count > kMostListed ? text + ", ..." : text;
}

} // namespace

std::string status(int32_t result) { return std::to_string(result); }

std::string done() { return "done"; }

std::string add_static(const Values &v)
{
    return status(omci_add_static_multi_acess_ctrl_table(v.number(0), address_buffer(v.byte(1)).data(),
                                                         address_buffer(v.byte(2)).data(), v.number(3), v.word(4)));
}

std::string remove_static(const Values &v)
{
    return status(omci_del_static_multi_acess_ctrl_table(v.number(0), address_buffer(v.byte(1)).data(),
                                                         address_buffer(v.byte(2)).data(), v.number(3), v.word(4)));
}

// The engine reads the two addresses where they lie, in host byte order, and after the call returned never again.
std::string set_white_list(const Values &v)
{
    const uint32_t start = v.number(0);
    const uint32_t end = v.number(1);
    return status(omci_set_multi_white_list_entry(reinterpret_cast<const uint8_t *>(&start),
                                                  reinterpret_cast<const uint8_t *>(&end)));
}

std::string install_mld_rule(const Values &v)
{
    vlanCfgNode rule = rule_of(v);
    return status(mld_onu_std_omci_set_multicast_vlan(&rule));
}

std::string remove_mld_rule(const Values &v)
{
    vlanCfgNode rule = rule_of(v);
    return status(mld_onu_std_omci_delete_multicast_vlan(&rule));
}

std::string install_rule(const Values &v)
{
    const vlanCfgNode rule = rule_of(v);
    return status(std_omci_set_multicast_vlan_onu(&rule));
}

std::string remove_rule(const Values &v)
{
    const vlanCfgNode rule = rule_of(v);
    return status(std_omci_delete_multicast_vlan_onu(&rule));
}

std::string set_web_rule(const Values &v)
{
    vlanCfgNode rule = rule_of(v);
    return status(std_omci_web_set_vlan(&rule));
}

std::string set_ssm_map(const Values &v)
{
    return status(omci_igmp_ssm_map_globle_set({{v.number(0), v.number(1), v.number(2), v.number(3), v.number(4)}}));
}

std::string set_oam_control(const Values &v)
{
    constexpr std::size_t kEntryBytes = 10;
    std::vector<uint8_t> buffer(2 + v.entries().size() * kEntryBytes);
    buffer[0] = 1;
    buffer[1] = static_cast<uint8_t>(v.entries().size());
    uint8_t *packed = buffer.data() + 2;
    for (const ControlEntryWord &entry : v.entries()) {
        std::memcpy(packed, &entry.port, 2);
        std::memcpy(packed + 2, &entry.vlan, 2);
        std::memcpy(packed + 4, entry.mac, 6);
        packed += kEntryBytes;
    }
    return status(mc_oam_set_multicast_control(v.number(0), static_cast<uint32_t>(buffer.size()), buffer.data()));
}

std::string get_mode(const Values &)
{
    uint8_t mode = 0;
    const int32_t result = omci_get_multicast_mode(&mode);
    return fmt::format("{}, mode {}", result, mode);
}

std::string get_group_limit(const Values &v)
{
    uint16_t limit = 0;
    const int32_t result = omci_get_port_igmpgroup_limit(v.number(0), &limit);
    return fmt::format("{}, limit {}", result, limit);
}

std::string get_fast_leave_ability(const Values &)
{
    uint32_t ability = 0;
    const int32_t result = mc_oam_get_onu_fast_leave_ability(&ability);
    return fmt::format("{}, ability {}", result, ability);
}

std::string get_fast_leave_state(const Values &)
{
    uint32_t state = 0;
    const int32_t result = mc_oam_get_onu_fast_leave_state(&state);
    return fmt::format("{}, state {}", result, state);
}

std::string get_interface_counters(const Values &v)
{
    std::array<uint32_t, 4> counters = {};
    const int32_t result =
        std_omci_get_port_igmp_count(v.number(0), counters.data(), &counters[1], &counters[2], &counters[3]);
    return fmt::format("{}, counters {} {} {} {}", result, counters[0], counters[1], counters[2], counters[3]);
}

std::string get_status_para(const Values &)
{
    uint8_t out[5] = {};
    const int32_t result = GetIgmpStatusPara(out);
    uint16_t count = 0;
    std::memcpy(&count, out, sizeof(count));
    return fmt::format("{}, {} hosts", result, count);
}

std::string get_oam_control(const Values &)
{
    uint16_t length = 0;
    std::vector<uint8_t> buffer(2 + 10 * 255);
    const int32_t result = mc_oam_get_multicast_control(&length, buffer.data());
    return list(result, length < 2 ? 0 : (length - 2u) / 10u, buffer.data() + 2, 10, [](const uint8_t *entry) {
        return fmt::format("{} in VLAN {} on port {}", ipv4_text(word_at(entry + 6)), half_at(entry + 2),
                           half_at(entry));
    });
}

std::string get_groups(const Values &)
{
    uint32_t count = 0;
    std::vector<uint8_t> buffer(512 * 8);
    const int32_t result = omci_get_multicast_ip_port(&count, buffer.data());
    return list(result, count, buffer.data(), 8,
                [](const uint8_t *entry) { return fmt::format("{} on port {}", ipv4_text(word_at(entry)), entry[4]); });
}

std::string get_std_groups(const Values &)
{
    uint32_t count = 0;
    std::vector<uint8_t> buffer(512 * 28);
    const int32_t result = std_omci_get_multicast_ip_port(&count, buffer.data());
    // in network byte order, unlike the other lists
    return list(result, count, buffer.data(), 28,
                [](const uint8_t *entry) { return ipv4_text(__builtin_bswap32(word_at(entry + 8))); });
}

// The records are shared with the library's other threads: each field is read whole.
template <class T> static T whole(const T &field) { return __atomic_load_n(&field, __ATOMIC_RELAXED); }

static std::string get_rule_counts(const int32_t *counts)
{
    return fmt::format("{} and {} rules", whole(counts[0]), whole(counts[1]));
}

std::string get_igmp_rule_counts(const Values &) { return get_rule_counts(getPortVlanConfigNumber()); }

std::string get_mld_rule_counts(const Values &) { return get_rule_counts(mldgetPortVlanConfigNumber()); }

std::string get_template_count(const Values &) { return fmt::format("{} VLANs", getTemplateVlanNumber()); }

std::string get_mld_template_count(const Values &) { return fmt::format("{} VLANs", getmldTemplateVlanNumber()); }

std::string get_parameters(const Values &)
{
    const igmpGlobleParm &parameters = *getIgmpGlobleParmeter();
    return fmt::format("mode {}, version {}, robustness {}, default VLAN {}", whole(parameters.multiMode),
                       whole(parameters.version), whole(parameters.robustness), whole(parameters.defaultVlan));
}

std::string set_channels(const Values &v)
{
    return status(
        omci_set_port_to_control_multicast_list_table(v.number(0), v.number(1), v.number(2), v.number(3), v.number(4)));
}

std::string refuse_many_channels(const Values &v)
{
    constexpr uint32_t kMostChannels = 65536;
    if (v.number(4) < v.number(3) || v.number(4) - v.number(3) < kMostChannels)
        return "";
    return fmt::format("'last={}': expected at most {} channels from 'first' on", v.number(4), kMostChannels);
}

} // namespace mcadapt::host
