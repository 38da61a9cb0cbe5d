/**
 * @file
 * The library's log in plain words: each message that a frame can cause, and the sentence that it stands for.
 */
#include <charconv>
#include <vector>

#include <fmt/args.h>
#include <fmt/format.h>

#include "host/program/explanation.h"

namespace mcadapt::host {

namespace {

struct Phrase {
    const char *message;  /**< As the library prints it, without prefix and line ends; %d stands for a number. */
    const char *sentence; /**< {0} and so on are its numbers; empty: nothing worth telling. */
};

// Messages of both families share their texts but for the names in them.
constexpr Phrase kPhrases[] = {
    // Intake
    {"igmpL2PktProc is in! %d", "The IGMP intake takes the frame from port {0}."},
    {"mldL2PktProc is in! %d", "The MLD intake takes the frame from port {0}."},
    {"port(%d) is invalid!", "Port {0} is above 29, the highest there is."},
    {"The port no(%d) is illegal, abord!<*_*>", "Frames of port {0} are not accepted: dropped."},
    {"[checkPortState]port(%d) is not find!", "Port {0} is none of the two configured ports."},
    {"usLength = %d", "Dropped: {0} bytes are more than the 2000 that the intake accepts."},
    {"Error! Igmp Packet comes from myself!",
     "Dropped: the source address is the unit's own, or the packet is IPv4 but not IGMP."},
    {"Error! mld Packet comes from myself!", "Dropped: the source address is all zero."},
    {"Rcieve L2 data on interface %d(%d):",
     "Port, length and source address are in order; it counts as from port {0}."},
    {"[INFO]Rcieve L2 data on interface %d(%d):",
     "Port, length and source address are in order; it counts as from port {0}."},
    {"Frame PPPoE header and vlan tag,but too short ,abord!<*_*>(%d)",
     "Dropped: {0} bytes are too short for a PPPoE frame with a tag, which needs 22."},
    {"Too short frame,abord!(%d)", "Dropped: {0} bytes are too short for a tagged frame, which needs 18."},
    {"Frame PPPoE header,but too short ,abord!<*_*>(%d)",
     "Dropped: {0} bytes are too short for a PPPoE frame, which needs 22."},
    {"Ethernet Frame too short ,abord!<*_*>(%d)",
     "Dropped: {0} bytes are too short for an Ethernet header, which needs 14."},
    {"Not ip pkt recieved,abord!(%d)",
     "Dropped: the two bytes in front of the network header are {type0}, not the family's EtherType (0x0800 for IGMP, "
     "0x86dd for MLD)."},

    // Multicast VLAN
    {"in searchRecievePktPortCfgVlan vlan_id = %d usPort = %d",
     "Its VLAN id is {0} (0 without a tag). The multicast VLAN is looked for."},
    {"in mldsearchRecievePktPortCfgVlan vlan_id = %d usPort = %d",
     "Its VLAN id is {0} (0 without a tag). The multicast VLAN is looked for."},
    {"port number is invalid!", ""},
    {"recieve paket from uplink,no need vlan config search!",
     "It comes from the uplink, so its own VLAN is looked up among the template VLANs."},
    {"recieve paket from downlink,vlan(%d) config search!,cfgvlan(%d)",
     "A rule with upstream VLAN {1} is compared with the frame's VLAN {0}: {=}."},
    {"in searchVlan vlan = %d", "VLAN {0} is looked up among the template VLANs."},
    {"vlan is %d", "Template VLAN {0} is the one."},
    {"out searchVlan vlan = %d", ""},
    {"EPON searchVlan vlan = %d",
     "No template VLAN fits; the port's first rule has multicast VLAN {0} (4095: there is no rule)."},
    {"no.1 port vlan config exsit, vlan = %d", "The multicast VLAN of the port's first rule is taken: {0}."},
    {"GROUP_VLAN = %d", "The multicast VLAN of the frame is {0}."},
    {"IP TOTAL LENGTH = %d", "The IP packet claims {0} bytes."},
    {"PROTOL TYPE = %d", "Its IPv4 protocol is {0} (2 is IGMP)."},

    // Mode
    {"IGMP MODE = %d", "The IGMP mode is {igmp0}."},
    {"MLD MODE = %d", "The MLD mode is {mld0}."},
    {"igmpL2PktProc igmp_mode = %d usPort = %d",
     "It comes from the uplink, so in this mode the engine does not see it."},
    {"mldL2PktProc mld_mode = %d usPort = %d", "It comes from the uplink, so in this mode the engine does not see it."},
    {"The port no is (%d)", ""},
    {"mld_pkt_recv ret = %d", "The engine answers {0}."},
    {"IGMP MODE is Snooping", "It goes on to the snooping handler."},
    {"IGMP MODE is control", "It goes on to the control handler."},
    {"mld MODE is Snooping", "It goes on to the snooping handler."},
    {"mld MODE is control", "It goes on to the control handler."},

    // Handlers
    {"Enter igmp_snoop_handle, rPort = %d, rport_sta = %d", "Port {0} is {port1}."},
    {"Enter mld_snoop_handle, rPort = %d, rport_sta = %d", "Port {0} is {port1}."},
    {"Enter igmp_control_handle, rPort = %d, rport_sta = %d", "Port {0} is {port1}."},
    {"searchDownSnoopPortCfgVlan!", "The rules for downstream frames are searched."},
    {"recieve paket from uplink,search vlan config for snooping!", "The rules for downstream frames are searched."},
    {"searchDownSnoopPortCfgVlan from downlink,vlan(%d) config search!,cfgvlan(%d)",
     "A rule with downstream VLAN {1} is compared with the frame's VLAN {0}: {=}."},
    {"searchDownSnoopPortCfgVlan is error,never here !!", "The matching rule has no VLAN to send with: not sent."},
    {"searchUpSnoopPortCfgVlan from downlink,vlan = %d config search!,cfgvlan = %d",
     "A rule with upstream VLAN {1} is compared with the frame's VLAN {0}: {=}."},
    {"searchUpSnoopPortCfgVlan %d", "{tag0}"},
    {"mldsearchUpSnoopPortCfgVlan %d", "{tag0}"},
    {"Enter igmp_snoop_handle,downlink can't find vlanconfig! direct pass!", ""},
    {"Enter igmp_snoop_handle,uplink can't find vlanconfig! direct pass!",
     "No rule matched; the tag mode of the port's first rule decides."},
    {"Enter mld_snoop_handle,uplink can't find vlanconfig! direct pass!", ""},
    {"Enter mld_snoop_handle,port %d can't find vlanconfig in vlan %d! direct pass!",
     "No rule matched VLAN {1} for port {0}; the tag mode of the port's first rule decides."},
    {"igmp_adapt_control_handle onu_id = %d", "The ONU id is {0}."},
    {"[igmp_adapt_snoop_handle]: vlan %d, rPort = %d len = %d, error!",
     "Dropped: {2} bytes are more than the 1518 that the MLD snooping handler forwards."},
    {"invalid port !!", ""},

    // Transmission and entries
    {"l2_igmp_send_pkt ifindex = %d len = %d srcPortNum = %d ponVlan = %d", "The library sends {1} bytes to port {0}."},
    {"mld_l2_igmp_send_pkt ifindex = %d len = %d srcPortNum = %d ponVlan = %d",
     "The library sends {1} bytes to port {0}."},
    {"packet of %u bytes does not fit a frame, not sent",
     "Not sent: the engine's packet of {0} bytes does not fit a frame."},
    {"uplink L2_multicast_send_msg Fail ,ret = %d.", "The switch refuses the frame with {0}."},
    {"igmp_add_grp portNo = %d vlan = %d", "An entry for port {0} in VLAN {1} is asked of the switch."},
    {"mld_add_grp portNo = %d vlan = %d", "An entry for port {0} in VLAN {1} is asked of the switch."},
    {"igmp_del_grp portNo = %d vlan = %d", "The entry of port {0} in VLAN {1} is taken back."},
    {"mld_del_grp portNo = %d vlan = %d", "The entry of port {0} in VLAN {1} is taken back."},
    {"ERROR!L2_multicast_set_port_iptv_entry Fail %d", "The switch refuses the entry with {0}."},
    {"ERROR!L2_multicast_remove_port_iptv_entry Fail %d", "The switch refuses to remove the entry with {0}."},
    {"ERROR!tablereturn %d", "The engine is told {0} (0: as if it were installed)."},
    {"checkPortState %d", ""},
    {"searchSendPktPortCfgVlan ,vlan(%d)", "The rules for a packet of the engine in VLAN {0} are searched."},
    {"searchSendPktPortCfgVlan from downlink,vlan(%d) config search!,cfgvlan(%d)",
     ""}, // logs another VLAN than it compares
    {"[send_pkt_igmp]: searchSendPktPortCfgVlan num %d", "Rules that match: {0}. With none it goes with its own tag."},
};

// Matches a message with a phrase's, blanks folded, and collects its numbers.
bool match(const std::string &message, std::string_view phrase, std::vector<long> &numbers)
{
    const char *at = message.data();
    const char *const end = at + message.size();
    numbers.clear();
    for (std::size_t i = 0; i < phrase.size(); ++i) {
        if (phrase[i] == '%' && i + 1 < phrase.size()) {
            long number = 0;
            const auto [next, error] = std::from_chars(at, end, number);
            if (error != std::errc())
                return false;
            numbers.push_back(number);
            at = next;
            ++i;
        } else if (at == end || *at++ != phrase[i]) {
            return false;
        }
    }
    return at == end;
}

// Line ends and runs of blanks carry no meaning in the messages.
std::string folded(const std::string &message)
{
    std::string text;
    for (const char c : message) {
        const bool blank = c == ' ' || c == '\r' || c == '\n' || c == '\t';
        if (!blank)
            text += c;
        else if (!text.empty() && text.back() != ' ')
            text += ' ';
    }
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
    return text;
}

// The two bytes that the intake reads low byte first.
std::string ether_type(long number) { return fmt::format("0x{:02x}{:02x}", number & 0xFF, number >> 8 & 0xFF); }

std::string tag_sentence(long control)
{
    if (control == 0xFFFF)
        return "No rule gives a tag to send with: the frame goes on unchanged.";
    const std::string priority = control >> 13 == 0 ? "" : fmt::format(" priority {}", control >> 13);
    return fmt::format("The tag to send with is VLAN {}{}.", control & 0x0FFF, priority);
}

std::string port_type(long type) { return type == 1 ? "the uplink" : type == 2 ? "a user port" : "no configured port"; }

std::string igmp_mode(long mode) { return mode == 1 ? "snooping" : mode == 3 ? "control" : "proxy"; }

// intended: the MLD side numbers its modes differently
std::string mld_mode(long mode) { return mode == 2 ? "snooping" : mode == 3 ? "control" : "proxy"; }

// Numbers of a message that have a meaning of their own: the place in a sentence, which number, and how it is told.
struct Meaning {
    const char *place;
    std::size_t number;
    std::string (*text)(long number);
};
constexpr Meaning kMeanings[] = {{"{type0}", 0, ether_type},
                                 {"{tag0}", 0, tag_sentence},
                                 {"{port1}", 1, port_type},
                                 {"{igmp0}", 0, igmp_mode},
                                 {"{mld0}", 0, mld_mode}};

void replace(std::string &sentence, std::string_view place, const std::string &text)
{
    const std::size_t at = sentence.find(place);
    if (at != std::string::npos)
        sentence.replace(at, place.size(), text);
}

// Fills the numbers in; "{=}" tells whether the first two are equal.
std::string filled(std::string sentence, const std::vector<long> &numbers)
{
    for (const Meaning &meaning : kMeanings)
        if (meaning.number < numbers.size())
            replace(sentence, meaning.place, meaning.text(numbers[meaning.number]));
    if (numbers.size() >= 2)
        replace(sentence, "{=}", numbers[0] == numbers[1] ? "it matches" : "no match");
    fmt::dynamic_format_arg_store<fmt::format_context> store;
    for (const long number : numbers)
        store.push_back(number);
    return fmt::vformat(sentence, store);
}

} // namespace

std::string plain_words(const std::string &message)
{
    const std::string text = folded(message);
    std::vector<long> numbers;
    for (const Phrase &phrase : kPhrases)
        if (match(text, phrase.message, numbers))
            return filled(phrase.sentence, numbers);
    if (text.rfind("gmac address", 0) == 0 || text.empty())
        return "";
    return "The library says: " + text;
}

} // namespace mcadapt::host
