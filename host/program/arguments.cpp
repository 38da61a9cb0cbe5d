#include "host/program/arguments.h"

#include <arpa/inet.h>
#include <charconv>

#include <fmt/format.h>

namespace mcadapt::host {

namespace {

// Number of the argument that a word names, or of the next one in order.
std::size_t argument_of(const std::vector<Argument> &arguments, const std::string &word, std::size_t in_order,
                        std::string &value)
{
    const std::size_t equals = word.find('=');
    if (equals == std::string::npos) {
        if (in_order >= arguments.size())
            throw WordError(fmt::format("'{}': the operation takes {} arguments", word, arguments.size()));
        value = word;
        return in_order;
    }
    const std::string name = word.substr(0, equals);
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (name == arguments[i].name) {
            value = word.substr(equals + 1);
            return i;
        }
    }
    std::string known;
    for (const Argument &argument : arguments)
        known += fmt::format("{}{}", known.empty() ? "" : ", ", argument.name);
    throw WordError(fmt::format("'{}': no argument '{}'; expected one of: {}", word, name, known));
}

struct Range {
    int64_t lowest;
    int64_t highest;
};

Range range_of(Kind kind)
{
    switch (kind) {
    case Kind::kByte:
        return {0, UINT8_MAX};
    case Kind::kWord:
        return {0, UINT16_MAX};
    case Kind::kSigned:
        return {INT32_MIN, INT32_MAX};
    default:
        return {0, UINT32_MAX};
    }
}

bool parse_ipv4(const std::string &word, int64_t &number)
{
    in_addr address = {};
    if (inet_pton(AF_INET, word.c_str(), &address) != 1)
        return false;
    number = ntohl(address.s_addr);
    return true;
}

ControlEntryWord parse_entry(const std::string &word)
{
    const std::size_t first = word.find('/');
    const std::size_t second = word.find('/', first == std::string::npos ? first : first + 1);
    if (second == std::string::npos)
        throw WordError(fmt::format("'{}': expected PORT/VLAN/MAC", word));
    ControlEntryWord entry = {};
    entry.port = static_cast<uint16_t>(parse_number(word.substr(0, first), 0, UINT16_MAX, "a port counted from 1"));
    entry.vlan =
        static_cast<uint16_t>(parse_number(word.substr(first + 1, second - first - 1), 0, UINT16_MAX, "a VLAN"));
    parse_mac(word.substr(second + 1), entry.mac);
    return entry;
}

std::vector<ControlEntryWord> parse_entries(const std::string &word)
{
    std::vector<ControlEntryWord> entries;
    std::size_t begin = 0;
    while (begin <= word.size()) {
        std::size_t end = word.find(',', begin);
        if (end == std::string::npos)
            end = word.size();
        entries.push_back(parse_entry(word.substr(begin, end - begin)));
        begin = end + 1;
    }
    if (entries.size() > UINT8_MAX)
        throw WordError(fmt::format("{} entries: expected at most 255", entries.size()));
    return entries;
}

} // namespace

const char *kind_text(Kind kind)
{
    switch (kind) {
    case Kind::kByte:
        return "a number from 0 to 255";
    case Kind::kWord:
        return "a number from 0 to 65535";
    case Kind::kNumber:
        return "a number from 0 to 4294967295";
    case Kind::kSigned:
        return "a number from -2147483648 to 2147483647";
    case Kind::kIpv4:
        return "an IPv4 address or its number";
    case Kind::kEntries:
        return "entries PORT/VLAN/MAC, joined by commas";
    }
    return "";
}

int64_t parse_number(std::string_view word, int64_t lowest, int64_t highest, std::string_view what)
{
    std::string_view digits = word;
    const bool negative = !digits.empty() && digits[0] == '-';
    if (negative)
        digits.remove_prefix(1);
    const bool hexadecimal = digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X');
    if (hexadecimal)
        digits.remove_prefix(2);
    int64_t value = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), value, hexadecimal ? 16 : 10);
    const bool whole = error == std::errc() && end == digits.data() + digits.size() && digits[0] != '-';
    const int64_t number = whole && negative ? -value : value;
    if (!whole || number < lowest || number > highest)
        throw WordError(fmt::format("'{}': expected {}", word, what));
    return number;
}

void parse_mac(std::string_view word, uint8_t (&mac)[6])
{
    const bool shaped = word.size() == 17;
    for (std::size_t i = 0; i < 6; ++i) {
        const char *digits = word.data() + 3 * i;
        const bool separated = shaped && (i == 0 || digits[-1] == ':');
        if (!separated || std::from_chars(digits, digits + 2, mac[i], 16).ptr != digits + 2)
            throw WordError(fmt::format("'{}': expected a MAC address such as 02:19:c6:01:02:03", word));
    }
}

Values::Values(const std::vector<Argument> &arguments, const std::vector<std::string> &words)
    : numbers_(arguments.size())
{
    std::vector<bool> given(arguments.size());
    std::size_t in_order = 0;
    for (const std::string &word : words) {
        std::string value;
        const std::size_t index = argument_of(arguments, word, in_order, value);
        if (given[index])
            throw WordError(fmt::format("'{}': argument '{}' is given twice", word, arguments[index].name));
        given[index] = true;
        in_order = index + 1;
        take(arguments[index], index, value);
    }
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (given[i])
            continue;
        if (arguments[i].otherwise == nullptr)
            throw WordError(fmt::format("argument '{}' is missing: expected {} ({})", arguments[i].name,
                                        kind_text(arguments[i].kind), arguments[i].help));
        take(arguments[i], i, arguments[i].otherwise);
    }
}

void Values::take(const Argument &argument, std::size_t index, const std::string &word)
{
    if (argument.kind == Kind::kEntries) {
        entries_ = parse_entries(word);
        return;
    }
    if (argument.kind == Kind::kIpv4 && parse_ipv4(word, numbers_[index]))
        return;
    const Range range = range_of(argument.kind);
    numbers_[index] = parse_number(word, range.lowest, range.highest,
                                   fmt::format("{} for '{}'", kind_text(argument.kind), argument.name));
}

} // namespace mcadapt::host
