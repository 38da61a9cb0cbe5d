/**
 * @file
 * A first look at the library without the hardware: starts it on the recording platform, installs one rule, feeds it
 * frames from a file through the receive task, and prints every platform call that it makes, then its configuration.
 */
#include <cstdio>
#include <exception>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "mcadapt/mcadapt.h"
#include "support/observe.h"
#include "support/platform_double.h"

using namespace mcadapt::test;

namespace {

struct InputFrame {
    uint8_t port;
    ByteVector bytes;
};

[[noreturn]] void refuse(const std::string &file, int line, const std::string &text)
{
    throw std::runtime_error(file + ":" + std::to_string(line) +
                             ": expected a port from 0 to 255 and a frame of 14 to " +
                             "2048 bytes in hexadecimal, got '" + text + "'");
}

InputFrame parse_frame(const std::string &file, int line, const std::string &text)
{
    std::istringstream words(text);
    unsigned port = 0;
    std::string digits;
    if (!(words >> port) || port > 255 || !std::getline(words, digits))
        refuse(file, line, text);
    try {
        InputFrame frame = {static_cast<uint8_t>(port), from_hex(digits)};
        if (frame.bytes.size() < 14 || frame.bytes.size() > 2048)
            refuse(file, line, text);
        return frame;
    } catch (const std::invalid_argument &) {
        refuse(file, line, text);
    }
}

// A line is a port and a frame in hexadecimal; empty lines and those that begin with # are comments.
std::vector<InputFrame> read_frames(const std::string &file)
{
    std::ifstream input(file);
    if (!input)
        throw std::runtime_error(file + ": cannot be read");
    std::vector<InputFrame> frames;
    std::string text;
    for (int line = 1; std::getline(input, text); ++line)
        if (!text.empty() && text[0] != '#')
            frames.push_back(parse_frame(file, line, text));
    return frames;
}

void show(const std::string &what, const Observation &seen)
{
    std::printf("%s\n", what.c_str());
    for (const std::string &call : seen.calls)
        std::printf("    %s\n", call.c_str());
}

// User VLAN 100 is multicast VLAN 200 in the network, priority 5.
vlanCfgNode translation_rule() { return {0, 2, 100, 0xA000 | 200, 2, 200, 100, 2, 200, 100, 0}; }

void run(const std::string &file)
{
    const std::vector<InputFrame> frames = read_frames(file);

    show("Start-up", observe([] { return mc_igmp_init(10, 0); }));
    const vlanCfgNode rule = translation_rule();
    show("Rule: user VLAN 100 to multicast VLAN 200 on port 0",
         observe([&] { return std_omci_set_multicast_vlan_onu(&rule); }));
    for (const InputFrame &frame : frames) {
        platform().deliver(frame.bytes, frame.port);
        show("Frame of " + std::to_string(frame.bytes.size()) + " bytes from port " + std::to_string(frame.port),
             observe([] { return run_receive_task(); }));
    }
    std::printf("Configuration, IGMP\n");
    debugPrint();
    std::printf("Configuration, MLD\n");
    mldPrint();
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: mcadapt_demo FRAMES\n");
        return 2;
    }
    try {
        run(argv[1]);
        return 0;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "mcadapt_demo: %s\n", error.what());
        return 1;
    }
}
