#include "host/program/unit_config.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>

#include <fmt/format.h>

#include "host/switch/switch.h"

namespace mcadapt::host {

namespace {

using Words = std::vector<std::string>;

Words split(const std::string &line)
{
    std::istringstream input(line.substr(0, line.find('#')));
    Words words;
    for (std::string word; input >> word;)
        words.push_back(word);
    return words;
}

// The one word of a setting.
const std::string &only_word(const Words &words, const char *expected)
{
    if (words.size() != 2)
        throw WordError(fmt::format("'{}': expected {}", words[0], expected));
    return words[1];
}

void set_mac(UnitSettings &settings, const Words &words)
{
    uint8_t mac[6];
    parse_mac(only_word(words, "a MAC address"), mac);
    std::copy_n(mac, 6, settings.mac.begin());
}

void set_uplink(UnitSettings &settings, const Words &words)
{
    const std::string &kind = only_word(words, "'epon' or 'gpon'");
    if (kind != "epon" && kind != "gpon")
        throw WordError(fmt::format("'{}': expected 'epon' or 'gpon'", kind));
    settings.uplink = kind == "epon" ? Uplink::kEpon : Uplink::kGpon;
}

void set_onu_id(UnitSettings &settings, const Words &words)
{
    settings.onu_id =
        static_cast<uint8_t>(parse_number(only_word(words, "an ONU id"), 0, 255, "an ONU id from 0 to 255"));
}

void set_untagged_vlan(UnitSettings &settings, const Words &words)
{
    settings.untagged_vlan =
        static_cast<uint16_t>(parse_number(only_word(words, "a VLAN"), 0, 4095, "a VLAN from 0 to 4095"));
}

void set_ports(UnitSettings &settings, const Words &words)
{
    if (words.size() < 2)
        throw WordError("'ports': expected user ports from 1 to 28");
    settings.more_ports.clear();
    for (std::size_t i = 1; i < words.size(); ++i) {
        const auto port = static_cast<uint32_t>(parse_number(words[i], 1, 28, "a user port from 1 to 28"));
        if (std::find(settings.more_ports.begin(), settings.more_ports.end(), port) != settings.more_ports.end())
            throw WordError(fmt::format("'{}': the port is named twice", words[i]));
        settings.more_ports.push_back(port);
    }
}

struct Setting {
    const char *name;
    void (*set)(UnitSettings &settings, const Words &words);
};

constexpr Setting kSettings[] = {
    {"mac", set_mac},     {"uplink", set_uplink}, {"onu-id", set_onu_id}, {"untagged-vlan", set_untagged_vlan},
    {"ports", set_ports},
};

Duration parse_seconds(const std::string &word)
{
    double seconds = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), seconds);
    const bool whole = error == std::errc() && end == word.data() + word.size();
    if (!whole || !(seconds >= 0) || seconds > 1e9)
        throw WordError(fmt::format("'{}': expected seconds after the first frame", word));
    return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(seconds));
}

std::string joined(const Words &words)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

PlannedOperation plan(Words words, int line)
{
    bool at_start = true;
    Duration after{0};
    if (words[0] == "at") {
        if (words.size() < 3)
            throw WordError("'at': expected seconds and an operation, such as 'at 12.5 omci_set_multicast_mode 3'");
        at_start = false;
        after = parse_seconds(words[1]);
        words.erase(words.begin(), words.begin() + 2);
    }
    const Operation *operation = find_operation(words[0]);
    if (operation == nullptr && !at_start)
        throw WordError(fmt::format("'{}': expected an operation; 'mcadapt ops' lists them", words[0]));
    if (operation == nullptr)
        throw WordError(fmt::format("'{}': expected a setting (mac, uplink, onu-id, untagged-vlan, ports) or an "
                                    "operation; 'mcadapt ops' lists them",
                                    words[0]));
    const std::string text = joined(words);
    words.erase(words.begin());
    PlannedOperation planned = {at_start, after, line, text, operation, Values(operation->arguments, words)};
    const std::string refusal = operation->refuse == nullptr ? "" : operation->refuse(planned.values);
    if (!refusal.empty())
        throw WordError(refusal);
    return planned;
}

void take_line(UnitConfig &config, const Words &words, int line)
{
    for (const Setting &setting : kSettings) {
        if (words[0] == setting.name) {
            setting.set(config.settings, words);
            return;
        }
    }
    config.operations.push_back(plan(words, line));
}

bool comes_before(const PlannedOperation &a, const PlannedOperation &b)
{
    if (a.at_start != b.at_start)
        return a.at_start;
    return !a.at_start && a.after < b.after;
}

} // namespace

UnitConfig parse_unit_config(std::istream &input, const std::string &file)
{
    UnitConfig config;
    std::string line;
    std::string errors;
    for (int number = 1; std::getline(input, line); ++number) {
        const Words words = split(line);
        if (words.empty())
            continue;
        try {
            take_line(config, words, number);
        } catch (const WordError &error) {
            errors += fmt::format("{}{}:{}: {}", errors.empty() ? "" : "\n", file, number, error.what());
        }
    }
    if (input.bad())
        errors += fmt::format("{}{}: cannot be read", errors.empty() ? "" : "\n", file);
    if (!errors.empty())
        throw ConfigError(errors);
    std::stable_sort(config.operations.begin(), config.operations.end(), comes_before);
    return config;
}

UnitConfig read_unit_config(const std::string &file)
{
    std::ifstream input(file);
    if (!input)
        throw ConfigError(fmt::format("{}: cannot be read", file));
    return parse_unit_config(input, file);
}

} // namespace mcadapt::host
