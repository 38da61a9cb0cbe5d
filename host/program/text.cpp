#include "host/program/text.h"

#include <arpa/inet.h>
#include <cstring>
#include <utility>

#include <fmt/format.h>

#include "host/switch/switch.h"

namespace mcadapt::host {

std::string group_text(const GroupAddress &group)
{
    char text[INET6_ADDRSTRLEN] = "";
    if (group.family == Family::kMld) {
        inet_ntop(AF_INET6, group.bytes, text, sizeof(text));
        return text;
    }
    uint32_t address = 0;
    std::memcpy(&address, group.bytes + 12, sizeof(address));
    return fmt::format("{}.{}.{}.{}", address >> 24, address >> 16 & 0xFF, address >> 8 & 0xFF, address & 0xFF);
}

std::string mac_text(const uint8_t *mac)
{
    return fmt::format("{:02x}:{:02x}:{:02x}:{:02x}:{:02x}:{:02x}", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
}

std::string port_text(uint32_t port) { return port == kUplinkPort ? "the uplink" : fmt::format("port {}", port); }

std::string tags_text(Bytes frame)
{
    std::string text;
    unsigned type = 0x0800;
    for (std::size_t at = 12; at + 2 <= frame.size; at += 4) {
        type = static_cast<unsigned>(frame.data[at] << 8 | frame.data[at + 1]);
        if ((type != 0x8100 && type != 0x88A8) || at + 4 > frame.size)
            break;
        const unsigned control = static_cast<unsigned>(frame.data[at + 2] << 8 | frame.data[at + 3]);
        text += fmt::format("{}VLAN {}", text.empty() ? "" : ", then ", control & 0x0FFF);
        if (control >> 13 != 0)
            text += fmt::format(" priority {}", control >> 13);
    }
    if (text.empty())
        text = "untagged";
    return type == 0x0800 || type == 0x86DD ? text : fmt::format("{}, EtherType 0x{:04x}", text, type);
}

std::vector<std::string> lines_of(std::string_view text)
{
    std::vector<std::string> lines;
    std::string line;
    for (const char c : text) {
        const bool end = c == '\r' || c == '\n';
        if (!end)
            line += c;
        else if (!line.empty())
            lines.push_back(std::exchange(line, ""));
    }
    if (!line.empty())
        lines.push_back(line);
    return lines;
}

std::string seconds_text(Duration duration)
{
    const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(duration).count();
    return fmt::format("{}.{:06}", micros / 1000000, micros % 1000000);
}

std::string count_text(uint64_t count)
{
    std::string text = std::to_string(count);
    for (auto at = static_cast<std::ptrdiff_t>(text.size()) - 3; at > 0; at -= 3)
        text.insert(static_cast<std::size_t>(at), ",");
    return text;
}

} // namespace mcadapt::host
