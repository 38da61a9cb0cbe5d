#include "host/program/explanation.h"

#include <algorithm>

#include <fmt/format.h>

#include "host/program/print.h"
#include "host/program/text.h"
#include "host/switch/frame_view.h"
#include "mcadapt/records.h"

namespace mcadapt::host {

namespace {

// Of what happens after the frame no more than this is listed; a long capture has a lot of it.
constexpr std::size_t kMostLater = 20;

std::string membership_text(const Membership &membership)
{
    return fmt::format("{} in VLAN {} on {}", group_text(membership.group), membership.vlan,
                       port_text(membership.port));
}

// The part of a message behind its "[MC_DBG_DBG]: " or like prefix.
std::string without_prefix(const std::string &message)
{
    const std::size_t end = message.find("]: ");
    return end == std::string::npos ? message : message.substr(end + 3);
}

bool begins_with(const std::string &text, const char *start) { return text.find(start) == 0; }

// "; each message has ..." behind a reason, if there is one.
std::string because(std::string_view why) { return why.empty() ? "" : fmt::format(": {}", why); }

} // namespace

void Explanation::say(const std::string &sentence)
{
    if (!telling_ || sentence.empty() || sentence == last_sentence_)
        return;
    print(out_, "{:>3}. {}\n", ++sentences_, sentence);
    last_sentence_ = sentence;
}

void Explanation::frame_arrived(uint64_t number, uint32_t port, Bytes frame)
{
    if (!begun_)
        begin_ = clock_.now();
    begun_ = true;
    telling_ = number == frame_;
    if (!telling_) {
        begin_data_frame(port, frame);
        return;
    }
    found_ = true;
    frame_time_ = clock_.now();
    const FrameView view = view_frame(frame);
    print(out_, "Frame {} at {} s: {}, {} bytes, {}, arrived on {}\n", number, seconds_text(frame_time_ - begin_),
          kind_name(view.kind), frame.size, tags_text(frame), port_text(port));
    if (frame.size < 12)
        return;
    std::copy_n(frame.data, frame_mac_.size(), frame_mac_.begin());
    say(fmt::format("It goes from {} to {}.", mac_text(frame.data + 6), mac_text(frame.data)));
}

void Explanation::switch_decided(SwitchAction action, std::string_view reason)
{
    if (!data_text_.empty())
        data_text_ += action == SwitchAction::kDropped     ? fmt::format("dropped, {}", reason)
                      : action == SwitchAction::kForwarded ? "forwarded to"
                                                           : "flooded to";
    switch (action) {
    case SwitchAction::kTrapped:
        trapped_ = telling_;
        say("It is a protocol frame and trapping is on: the switch hands it to the library.");
        break;
    case SwitchAction::kForwarded:
        say(reason.empty() ? "Its address and VLAN have forwarding entries: the switch forwards it."
                           : fmt::format("The switch forwards it {}.", reason));
        break;
    case SwitchAction::kFlooded:
        say("The switch sends it to every other port.");
        break;
    case SwitchAction::kDropped:
        say(fmt::format("The switch drops it: {}.", reason));
        if (telling_ && reason == "no forwarding entry")
            say_other_entries(frame_mac_);
        break;
    }
}

// "The join arrived, why does nothing flow?" is most often a matter of the VLAN.
void Explanation::say_other_entries(const Mac &mac)
{
    bool any = false;
    for (const auto &[listened, where] : entries_) {
        if (listened != mac)
            continue;
        any = true;
        say(fmt::format("There is an entry for {}, but in VLAN {}, to {}.", mac_text(mac.data()), where.first,
                        port_text(where.second)));
    }
    if (!any)
        say(fmt::format("No port listens to {} at that time, in any VLAN.", mac_text(mac.data())));
}

void Explanation::frame_left(uint32_t port, Bytes frame, bool by_library)
{
    if (!data_text_.empty() && !by_library)
        data_text_ += " " + port_text(port);
    anything_left_ = anything_left_ || telling_;
    say(fmt::format("It leaves through {}{}: {} bytes, {}.", port_text(port), by_library ? ", sent by the library" : "",
                    frame.size, tags_text(frame)));
}

void Explanation::frame_handled()
{
    end_data_frame();
    if (telling_ && trapped_ && !reached_engine_ && !anything_left_ && globle_parm.pkt_process_disable != 0)
        say("The library drops it: igmp_adapt_set_pkt_process_disable has switched the processing of frames off.");
    if (telling_ && trapped_ && !reached_engine_)
        say("The engine did not see it: no membership changes.");
    if (telling_ && trapped_ && !anything_left_)
        say("Nothing leaves the unit because of it.");
    telling_ = false;
}

void Explanation::entry_changed(uint32_t port, const uint8_t *mac, uint16_t vlan, bool added)
{
    Mac address;
    std::copy_n(mac, address.size(), address.begin());
    if (added)
        entries_.insert({address, {vlan, port}});
    else
        entries_.erase({address, {vlan, port}});
    say(fmt::format("Forwarding entry {}: {} in VLAN {} to {}.", added ? "added" : "removed", mac_text(mac), vlan,
                    port_text(port)));
}

void Explanation::packet_received(Family family, uint32_t port, uint16_t vlan, Bytes packet)
{
    if (!telling_)
        return;
    reached_engine_ = true;
    find_named_groups(family, packet, named_);
    say(fmt::format("The engine is given the packet of {} bytes, as from {} in VLAN {}.", packet.size, port_text(port),
                    vlan));
}

void Explanation::packet_dropped(Family, std::string_view reason, std::string_view why)
{
    say(fmt::format("The engine drops it, reason {}{}.", reason, because(why)));
}

void Explanation::packet_accepted(Family, std::string_view what)
{
    say(fmt::format("The engine takes it: {}.", what));
    if (telling_)
        say_records();
}

void Explanation::say_records()
{
    for (const NamedGroup &named : named_)
        if (named.record != nullptr)
            say(fmt::format("It holds {} of {} with {} sources.", named.record, group_text(named.group),
                            named.sources));
}

void Explanation::group_refused(const Membership &membership, std::string_view reason, std::string_view why)
{
    say(fmt::format("The engine refuses {}, reason {}{}.", membership_text(membership), reason, because(why)));
}

void Explanation::membership_changed(const Membership &membership, bool joined, std::string_view why)
{
    const std::string text = fmt::format("{} {}: {}.", joined ? "First listener of" : "Last listener gone of",
                                         membership_text(membership), why);
    if (telling_)
        say(text);
    else if (watches(mac_of(membership.group)))
        later_.push_back(fmt::format("{} {}", since_frame(clock_.now()), text));
}

void Explanation::packet_sent(Family, uint32_t port, uint16_t vlan, std::string_view what)
{
    say(fmt::format("The engine sends {} to {} in VLAN {}.", what, port_text(port), vlan));
}

// Which table gave the multicast VLAN is told together with it.
std::string Explanation::library_sentence(const std::string &message)
{
    std::string sentence = plain_words(message);
    const std::size_t at = std::min(message.find_first_not_of("\r\n "), message.size());
    const std::string text = message.substr(at);
    if (begins_with(text, "vlan is "))
        vlan_source_ = "from the template VLANs";
    else if (begins_with(text, "no.1 port vlan config"))
        vlan_source_ = "from the port's first rule";
    else if (begins_with(text, "GROUP_VLAN"))
        sentence += vlan_source_.empty() ? " It is the default VLAN, as neither a template VLAN nor a rule gives one."
                                         : fmt::format(" It is {}.", vlan_source_);
    return sentence;
}

// Every message begins with a line end and its prefix.
void Explanation::library_wrote(std::string_view text)
{
    if (!telling_)
        return;
    std::size_t begin = 0;
    while (begin < text.size()) {
        std::size_t end = text.find("\r\n[MC_", begin + 1);
        if (end == std::string_view::npos)
            end = text.size();
        say(library_sentence(without_prefix(std::string(text.substr(begin, end - begin)))));
        begin = end;
    }
}

// --- Afterwards

bool Explanation::watches(const Mac &mac) const
{
    return std::any_of(named_.begin(), named_.end(),
                       [&](const NamedGroup &named) { return mac_of(named.group) == mac; });
}

std::string Explanation::since_frame(Time at) const { return fmt::format("+{} s", seconds_text(at - frame_time_)); }

void Explanation::begin_data_frame(uint32_t port, Bytes frame)
{
    data_text_.clear();
    if (!found_ || named_.empty() || frame.size < 12)
        return;
    const FrameKind kind = view_frame(frame).kind;
    if (kind != FrameKind::kIpv4Data && kind != FrameKind::kIpv6Data)
        return;
    Mac mac;
    std::copy_n(frame.data, mac.size(), mac.begin());
    if (watches(mac))
        data_text_ = fmt::format("to {} from {}, {}: ", mac_text(mac.data()), port_text(port), tags_text(frame));
}

void Explanation::end_data_frame()
{
    if (data_text_.empty())
        return;
    const auto [entry, is_new] = data_frames_.try_emplace(data_text_);
    if (is_new)
        entry->second.first = clock_.now();
    ++entry->second.count;
    data_text_.clear();
}

void Explanation::print_data_frames()
{
    if (data_frames_.empty())
        print(out_, "  No data frame of {} arrived after it.\n", named_.size() == 1 ? "its group" : "its groups");
    std::vector<std::pair<Time, std::string>> lines;
    for (const auto &[text, frames] : data_frames_)
        lines.emplace_back(frames.first, fmt::format("{} data frame{} {}, first at {}", count_text(frames.count),
                                                     frames.count == 1 ? "" : "s", text, since_frame(frames.first)));
    std::stable_sort(lines.begin(), lines.end(), [](const auto &a, const auto &b) { return a.first < b.first; });
    for (const auto &[first, line] : lines)
        print(out_, "  {}\n", line);
}

void Explanation::finish()
{
    if (named_.empty())
        return;
    print(out_, "Afterwards\n");
    for (std::size_t i = 0; i < later_.size() && i < kMostLater; ++i)
        print(out_, "  {}\n", later_[i]);
    if (later_.size() > kMostLater)
        print(out_, "  and {} more\n", count_text(later_.size() - kMostLater));
    print_data_frames();
}

} // namespace mcadapt::host
