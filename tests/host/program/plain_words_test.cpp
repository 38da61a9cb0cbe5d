#include <gmock/gmock.h>

#include <fstream>
#include <regex>
#include <set>
#include <string>

#include "host/program/explanation.h"

namespace mcadapt::host {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

// Subjects of the list of texts whose texts a frame can cause.
const std::set<std::string> kFrameSubjects = {"IGMP intake and dump of received frames",
                                              "MLD intake",
                                              "Snooping",
                                              "Control mode",
                                              "Transmission",
                                              "Forwarding entries"};

std::string unescaped(const std::string &literal)
{
    std::string text = std::regex_replace(literal, std::regex(R"(\\r)"), "\r");
    text = std::regex_replace(text, std::regex(R"(\\n)"), "\n");
    return text;
}

// Messages as the library prints them, every number 7, behind their prefixes.
std::vector<std::string> messages_of_frames()
{
    std::ifstream list(MCADAPT_SOURCE "/tests/texts/texts.txt");
    std::vector<std::string> messages;
    bool wanted = false;
    for (std::string line; std::getline(list, line);) {
        if (line.rfind("# ", 0) == 0)
            wanted = kFrameSubjects.count(line.substr(2)) != 0;
        const std::size_t prefix = line.find("]: ");
        // dumps have no prefix, and the task is created before there are frames
        if (!wanted || line.find("[MC_") == std::string::npos || line.find("pal_task_create") != std::string::npos)
            continue;
        std::string text = unescaped(line.substr(prefix + 3, line.size() - prefix - 4));
        text = std::regex_replace(text, std::regex("%[du]"), "7");
        messages.push_back(std::regex_replace(text, std::regex(R"(%\.2x)"), "5e"));
    }
    return messages;
}

// Adds nothing to what another message or the engine tells.
const std::set<std::string> kSilent = {
    "port number is invalid!\r\n",
    "out searchVlan vlan = 7\r\n",
    "The port no is (7)\r\n",
    "Enter igmp_snoop_handle,downlink can't find vlanconfig! direct pass!\r\n",
    "Enter mld_snoop_handle,uplink can't find vlanconfig! direct pass!\r\n",
    "invalid port !!\r\n", // ends every pass of the IGMP snooping handler, good or bad
    "checkPortState 7",
    "searchSendPktPortCfgVlan from downlink,vlan(7) config search!,cfgvlan(7)\r\n",
    "gmac address   : 5e:5e:5e:5e:5e:5e",
};

TEST(PlainWords, are_there_for_every_message_that_a_frame_can_cause)
{
    const std::vector<std::string> messages = messages_of_frames();
    ASSERT_GT(messages.size(), 70u);
    for (const std::string &message : messages) {
        SCOPED_TRACE(message);
        if (kSilent.count(message) != 0) {
            EXPECT_THAT(plain_words(message), IsEmpty());
            continue;
        }
        EXPECT_THAT(plain_words(message), Not(IsEmpty()));
        EXPECT_THAT(plain_words(message), Not(StartsWith("The library says")));
    }
}

TEST(PlainWords, keep_silent_only_about_messages_that_there_are)
{
    const std::vector<std::string> messages = messages_of_frames();
    for (const std::string &silent : kSilent)
        EXPECT_THAT(messages, testing::Contains(silent));
}

TEST(PlainWords, tell_the_numbers_of_a_message)
{
    EXPECT_EQ(plain_words("usLength  = 2001\r\n"),
              "Dropped: 2001 bytes are more than the 2000 that the intake accepts.");
    EXPECT_EQ(plain_words("recieve paket from downlink,vlan(101) config search!,cfgvlan(100)\r\n"),
              "A rule with upstream VLAN 100 is compared with the frame's VLAN 101: no match.");
    EXPECT_EQ(plain_words("recieve paket from downlink,vlan(100) config search!,cfgvlan(100)\r\n"),
              "A rule with upstream VLAN 100 is compared with the frame's VLAN 100: it matches.");
    EXPECT_EQ(plain_words("\n ERROR!L2_multicast_set_port_iptv_entry Fail -1"),
              "The switch refuses the entry with -1.");
}

TEST(PlainWords, tell_numbers_that_stand_for_something)
{
    struct Row {
        const char *message;
        const char *sentence;
    };
    const Row rows[] = {
        {"searchUpSnoopPortCfgVlan 65535\r\n", "No rule gives a tag to send with: the frame goes on unchanged."},
        {"searchUpSnoopPortCfgVlan 41160\r\n", "The tag to send with is VLAN 200 priority 5."},
        {"mldsearchUpSnoopPortCfgVlan 200\r\n", "The tag to send with is VLAN 200."},
        {"IGMP MODE = 1\r\n", "The IGMP mode is snooping."},
        {"IGMP MODE = 2\r\n", "The IGMP mode is proxy."},
        {"IGMP MODE = 3\r\n", "The IGMP mode is control."},
        {"MLD MODE = 2\r\n", "The MLD mode is snooping."},
        {"MLD MODE = 3\r\n", "The MLD mode is control."},
        {"Enter igmp_snoop_handle, rPort = 29, rport_sta = 1\r\n", "Port 29 is the uplink."},
        {"Enter mld_snoop_handle, rPort = 0, rport_sta = 2\r\n", "Port 0 is a user port."},
        {"Enter igmp_control_handle, rPort = 5, rport_sta = -1\r\n", "Port 5 is no configured port."},
    };
    for (const Row &row : rows)
        EXPECT_EQ(plain_words(row.message), row.sentence);
}

// The intake prints the two bytes low byte first: 0x2100 for the PPP code 0x0021 of IPv4.
TEST(PlainWords, tell_an_ether_type_as_it_stands_in_the_frame)
{
    EXPECT_THAT(plain_words("Not ip pkt recieved,abord!(8448)\r\n"), HasSubstr("are 0x0021, not"));
}

TEST(PlainWords, hand_on_a_message_that_is_not_known)
{
    EXPECT_EQ(plain_words("\r\n something  new 5\r\n"), "The library says: something new 5");
}

TEST(PlainWords, are_none_for_nothing)
{
    EXPECT_THAT(plain_words(""), IsEmpty());
    EXPECT_THAT(plain_words("\r\n"), IsEmpty());
}

} // namespace
} // namespace mcadapt::host
