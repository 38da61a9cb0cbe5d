#include "tests/host/program/program_fixture.h"

#include <sys/wait.h>

namespace mcadapt::host::test {

const char *const kTranslatingRule =
    "std_omci_set_multicast_vlan_onu portNO=0 prouptagmode=2 in_up_vlan=100 out_up_vlan=200 "
    "prodntagmode=2 in_dn_vlan=200 out_dn_vlan=100 datedntagmode=2 in_data_vlan=200 out_data_vlan=100\n";

std::string frame_of(wire::Bytes packet, const std::vector<uint16_t> &vlans)
{
    const bool v6 = packet[0] >> 4 == 6;
    std::string frame = v6 ? std::string("\x33\x33", 2) : std::string("\x01\x00\x5e", 3);
    if (v6) {
        frame.append(packet.begin() + 36, packet.begin() + 40);
    } else {
        frame += static_cast<char>(packet[17] & 0x7F);
        frame.append(packet.begin() + 18, packet.begin() + 20);
    }
    frame += std::string("\x02\x00\x00\x00\x00\x10", 6);
    for (const uint16_t vlan : vlans)
        frame += {'\x81', '\0', static_cast<char>(vlan >> 8), static_cast<char>(vlan)};
    frame += v6 ? std::string("\x86\xdd", 2) : std::string("\x08\x00", 2);
    frame.append(packet.begin(), packet.end());
    frame.resize(std::max<std::size_t>(frame.size(), 60));
    return frame;
}

static wire::Family family_of(const std::string &group)
{
    return group.find(':') == std::string::npos ? wire::Family::kIgmp : wire::Family::kMld;
}

std::string join_frame(const std::string &group, uint16_t vlan)
{
    const bool mld = family_of(group) == wire::Family::kMld;
    return frame_of(wire::join(family_of(group), mld ? 1 : 2, group), {vlan});
}

std::string leave_frame(const std::string &group, uint16_t vlan)
{
    return frame_of(wire::leave(family_of(group), group), {vlan});
}

std::string data_frame(const std::string &group, uint16_t vlan)
{
    wire::Bytes packet(48, 0);
    const wire::Bytes address = wire::address(group);
    packet[0] = 0x45;
    packet[3] = 48;
    packet[8] = 64;
    packet[9] = 17;
    std::copy(address.begin(), address.end(), packet.begin() + 16);
    return frame_of(packet, {vlan});
}

std::string query_frame(uint16_t vlan) { return frame_of(wire::query(wire::Family::kIgmp, {2, ""}), {vlan}); }

ProgramTest::Outcome ProgramTest::run(const std::string &arguments) const
{
    const std::string command =
        std::string("'" MCADAPT_PROGRAM "' ") + arguments + " >" + path("out.txt") + " 2>" + path("err.txt");
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read("out.txt"), read("err.txt")};
}

std::string ProgramTest::capture(const std::string &name, const std::vector<TimedFrame> &frames) const
{
    constexpr uint32_t kStart = 1700000000;
    CaptureBytes file;
    file.pcap_header(CaptureBytes::kMicroseconds);
    for (const TimedFrame &frame : frames) {
        const auto micros = static_cast<uint64_t>(frame.at * 1e6 + 0.5);
        file.pcap_frame(kStart + static_cast<uint32_t>(micros / 1000000), static_cast<uint32_t>(micros % 1000000),
                        frame.bytes);
    }
    return write(name, file);
}

std::string ProgramTest::join_and_leave() const
{
    const std::string user = capture("user.pcap", {{1, join_frame("239.1.2.3")}, {4, leave_frame("239.1.2.3")}});
    const std::string net = capture("net.pcap", {{0, data_frame("239.1.2.3")},
                                                 {0.5, data_frame("239.1.2.3")},
                                                 {1.25, data_frame("239.1.2.3")},
                                                 {1.5, data_frame("239.9.9.9")},
                                                 {2, data_frame("239.1.2.3")},
                                                 {7, data_frame("239.1.2.3")}});
    return "--port0 " + user + " --uplink " + net + " --unit " + unit(kTranslatingRule);
}

} // namespace mcadapt::host::test
