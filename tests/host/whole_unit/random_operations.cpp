#include "tests/host/whole_unit/random_operations.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "tests/host/whole_unit/traffic.h"

namespace mcadapt::host::test {

namespace {

constexpr uint32_t kUsualWeight = 12;

bool is_one_of(const std::vector<std::string> &names, const std::string &name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

Deed deed_of(const std::string &name)
{
    if (is_one_of({"omci_set_multicast_mode", "std_omci_set_multicast_mode", "flood_trap"}, name))
        return Deed::kMode;
    if (is_one_of({"std_omci_set_multicast_vlan_onu", "mld_onu_std_omci_set_multicast_vlan",
                   "igmp_port_vlan_and_mode_set", "std_omci_web_set_vlan"},
                  name))
        return Deed::kInstall;
    if (is_one_of({"std_omci_delete_multicast_vlan_onu", "mld_onu_std_omci_delete_multicast_vlan",
                   "igmp_service_remove_port_config"},
                  name))
        return Deed::kRemove;
    if (is_one_of({"omci_clear_igmp_all_parmeter", "omci_clear_igmp_parmeter"}, name))
        return Deed::kReset;
    for (const char *part : {"get", "Get", "Print", "sync", "omci_set_port_up_igmp_vlan"})
        if (name.find(part) != std::string::npos)
            return Deed::kQuery;
    return Deed::kOther;
}

// Those that take memory for good, write long texts, or shut frames out until they are called again.
uint32_t weight(const std::string &name)
{
    static const std::map<std::string, uint32_t> kSeldom = {{"omci_clear_igmp_all_parmeter", 1},
                                                            {"debugPrint", 1},
                                                            {"mldPrint", 1},
                                                            {"mc_set_debug", 2},
                                                            {"mld_adapt_set_debug", 2},
                                                            {"omci_set_multi_white_list_entry", 2},
                                                            {"omci_add_auth_igmp_group_vlan_config", 2},
                                                            {"std_omci_add_port_auth_igmp_group_vlan_config", 2},
                                                            {"igmp_adapt_set_pkt_process_disable", 2},
                                                            {"igmp_adapt_set_test_uplink", 2}};
    const auto at = kSeldom.find(name);
    if (at != kSeldom.end())
        return at->second;
    const Deed deed = deed_of(name);
    return deed == Deed::kInstall || deed == Deed::kRemove ? 3 * kUsualWeight : kUsualWeight;
}

uint32_t random_vlan(Range range, Dice &dice)
{
    constexpr uint32_t kOdd[] = {0, 1, 4094, 4095, 4096, 65535};
    if (range == Range::kUsual && dice.percent(95))
        return dice.one_of(kVlans);
    if (range == Range::kUsual)
        return 1 + dice.below(4094);
    if (dice.percent(8))
        return dice.one_of(kOdd);
    return dice.percent(10) ? dice.below(4096) : dice.one_of(kVlans);
}

uint32_t random_port(Dice &dice)
{
    constexpr uint32_t kOdd[] = {1, 2, 6, 30, 255};
    if (dice.percent(12))
        return dice.one_of(kOdd);
    return dice.percent(80) ? 0 : 29;
}

uint32_t random_mode(const std::string &operation, Dice &dice)
{
    constexpr uint32_t kProtocol[] = {1, 1, 2, 3, 3, 100, 100, 100, 5, 77};
    if (operation == "igmp_port_vlan_and_mode_set" || operation == "igmp_service_remove_port_config")
        return dice.below(5);
    return dice.one_of(kProtocol);
}

// Arguments that keep the unit at work: the value that does so, and how often another is taken.
struct Steady {
    uint32_t value;
    uint32_t percent_other;
};

const Steady *steady_value(const std::string &operation, const std::string &name)
{
    static const std::map<std::string, Steady> kSteady = {{"igmp_adapt_set_pkt_process_disable.flag", {0, 20}},
                                                          {"igmp_adapt_set_test_uplink.port", {65534, 20}},
                                                          {"igmp_adapt_set_sig_vlan.up", {0, 20}},
                                                          {"igmp_adapt_set_sig_vlan.down", {65535, 20}},
                                                          {"mc_set_debug.on", {0, 20}},
                                                          {"mld_adapt_set_debug.on", {0, 20}},
                                                          {"omci_igmp_version_globle_set.version", {3, 20}},
                                                          {"flood_trap.mode", {1, 10}}};
    const auto at = kSteady.find(operation + "." + name);
    return at == kSteady.end() ? nullptr : &at->second;
}

bool has(const std::string &name, const char *part) { return name.find(part) != std::string::npos; }

uint32_t random_number(const std::string &operation, const Argument &argument, Range range, Dice &dice)
{
    const std::string name = argument.name;
    const Steady *steady = steady_value(operation, name);
    if (steady != nullptr && !dice.percent(steady->percent_other))
        return steady->value;
    if (has(name, "vlan") && !has(operation, "sig_vlan"))
        return random_vlan(range, dice) | (has(name, "out_") && dice.percent(30) ? dice.below(8) << 13 : 0);
    if (has(name, "port") && name != "prouptagmode")
        return random_port(dice);
    if (has(name, "tagmode"))
        return dice.below(5);
    if (name == "mode")
        return random_mode(operation, dice);
    if (name == "mask" && has(operation, "debug"))
        return dice.below(64);
    if (name == "enable" || name == "on" || name == "state" || name == "opt" || name == "action")
        return dice.below(3);
    if (dice.percent(4))
        return static_cast<uint32_t>(dice.next());
    return dice.below(12);
}

std::string random_entries(Range range, Dice &dice)
{
    std::string word;
    for (uint32_t i = 1 + dice.below(3); i > 0; --i)
        word += fmt::format("{}{}/{}/01:00:5e:01:01:{:02x}", word.empty() ? "" : ",", 1 + random_port(dice) % 4,
                            random_vlan(range, dice), 1 + dice.below(12));
    return word;
}

uint32_t random_address(Dice &dice)
{
    if (dice.percent(10))
        return dice.below(300); // a channel index
    return (dice.percent(20) ? 0xE8010100 : 0xEF010100) + dice.below(14);
}

uint64_t highest(Kind kind)
{
    if (kind == Kind::kByte)
        return UINT8_MAX;
    return kind == Kind::kWord ? UINT16_MAX : UINT32_MAX;
}

// Runs end soon behind their beginning: an operation walks them one by one.
constexpr uint32_t kLongestRun = 6;

bool begins_run(const std::string &name) { return name == "first" || name == "start"; }
bool ends_run(const std::string &name) { return name == "last" || name == "end"; }

} // namespace

std::vector<Choice> all_choices()
{
    // The whole reset wipes the rules; the default VLAN is looked up among the template VLANs and registered.
    static const std::vector<std::string> kMoreOfTables = {
        "omci_clear_igmp_all_parmeter", "omci_set_igmp_default_vlan", "omci_add_static_multi_acess_ctrl_table",
        "omci_del_static_multi_acess_ctrl_table", "omci_clear_all_static_multi_acess_ctrl_table"};
    std::vector<Choice> choices;
    for (const Operation &operation : operations()) {
        const Deed deed = deed_of(operation.name);
        const bool changes_tables =
            deed == Deed::kInstall || deed == Deed::kRemove || is_one_of(kMoreOfTables, operation.name);
        choices.push_back({&operation, deed, changes_tables});
    }
    return choices;
}

Chooser::Chooser() : choices_(all_choices())
{
    for (std::size_t i = 0; i < choices_.size(); ++i)
        urn_.insert(urn_.end(), weight(choices_[i].operation->name), i);
}

std::size_t Chooser::draw(Dice &dice) const { return urn_[dice.below(static_cast<uint32_t>(urn_.size()))]; }

std::vector<std::string> random_words(const Operation &operation, Range range, Dice &dice)
{
    std::vector<std::string> words;
    uint64_t run_begin = 0;
    for (const Argument &argument : operation.arguments) {
        if (argument.kind == Kind::kEntries) {
            words.push_back(random_entries(range, dice));
            continue;
        }
        uint64_t value = argument.kind == Kind::kIpv4 && !ends_run(argument.name)
                             ? random_address(dice)
                             : random_number(operation.name, argument, range, dice);
        if (begins_run(argument.name))
            run_begin = value;
        if (ends_run(argument.name))
            value = run_begin + dice.below(kLongestRun) - (run_begin > 0 && dice.percent(10) ? 1 : 0);
        value = std::min(value, highest(argument.kind));
        words.push_back(argument.kind == Kind::kSigned ? std::to_string(static_cast<int32_t>(value))
                                                       : std::to_string(value));
    }
    return words;
}

} // namespace mcadapt::host::test
