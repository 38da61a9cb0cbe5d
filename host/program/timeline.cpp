#include "host/program/timeline.h"

#include <fmt/format.h>

#include "host/program/print.h"
#include "host/program/text.h"
#include "host/switch/switch.h"

namespace mcadapt::host {

namespace {

bool is_protocol(FrameKind kind) { return kind == FrameKind::kIgmp || kind == FrameKind::kMld; }

// Streams that are remembered at a time; more of them is an attack, and then each may get a line again.
constexpr std::size_t kMostStreams = 4096;

std::string membership_text(const Membership &membership)
{
    return fmt::format("{} in VLAN {} on {}", group_text(membership.group), membership.vlan,
                       port_text(membership.port));
}

// How a frame that is no protocol frame reads at the head of a line.
std::string data_name(FrameKind kind)
{
    if (kind == FrameKind::kUnicast)
        return "frame that is not multicast";
    return kind == FrameKind::kTruncated ? "truncated frame" : kind_name(kind);
}

std::string because(std::string_view why) { return why.empty() ? "" : fmt::format(" ({})", why); }

} // namespace

std::string Timeline::when() const
{
    return fmt::format("{:>12}", begun_ ? seconds_text(clock_.now() - start_) : "start");
}

// Something that stands by itself, with its time.
void Timeline::headline(const std::string &what)
{
    close_data_frame();
    printed_ = true;
    told_ = clock_.now();
    print(out_, "{}  {}\n", when(), what);
}

// What follows from the headline above.
void Timeline::line(const std::string &what)
{
    printed_ = true;
    answered_ = true;
    print(out_, "{:12}    {}\n", "", what);
}

// What a frame caused, or a timer: of several at the same time, the first one stands by itself.
void Timeline::step(const std::string &what)
{
    close_data_frame();
    if (printed_ && told_ == clock_.now())
        line(what);
    else
        headline(what);
}

void Timeline::close_data_frame()
{
    if (!data_.open)
        return;
    data_.open = false;
    if (streams_.size() >= kMostStreams)
        streams_.clear();
    Stream &stream = streams_[data_.head];
    if (stream.frames != 0 && stream.outcome == data_.outcome) {
        ++stream.frames;
        return;
    }
    const std::string before =
        stream.frames == 0 ? "" : fmt::format(" ({} before: {})", count_text(stream.frames), stream.outcome);
    printed_ = true;
    print(out_, "{}: {}: {}{}\n", data_.when, data_.head, data_.outcome, before);
    stream = {data_.outcome, 1};
}

bool Timeline::finish()
{
    close_data_frame();
    return printed_;
}

void Timeline::frame_arrived(uint64_t number, uint32_t port, Bytes frame)
{
    if (!begun_)
        start_ = clock_.now();
    begun_ = true;
    trapped_ = false;
    answered_ = false;
    close_data_frame();
    const FrameKind kind = view_frame(frame).kind;
    if (!is_protocol(kind)) {
        const std::string to = frame.size < 6 ? "" : " to " + mac_text(frame.data);
        data_ = {true, fmt::format("{}  frame {}", when(), number),
                 fmt::format("{}{} from {}, {}", data_name(kind), to, port_text(port), tags_text(frame)), ""};
        return;
    }
    headline(fmt::format("frame {}: {} from {}, {} bytes, {}", number, kind_name(kind), port_text(port), frame.size,
                         tags_text(frame)));
}

void Timeline::switch_decided(SwitchAction action, std::string_view reason)
{
    if (data_.open) {
        if (action == SwitchAction::kDropped)
            data_.outcome = fmt::format("dropped, {}", reason);
        else
            data_.outcome = action == SwitchAction::kForwarded ? "forwarded to" : "flooded to";
        return;
    }
    trapped_ = action == SwitchAction::kTrapped;
    if (action == SwitchAction::kDropped)
        line(fmt::format("dropped by the switch: {}", reason));
    else if (action == SwitchAction::kFlooded)
        line("flooded by the switch: trapping is off");
}

void Timeline::frame_left(uint32_t port, Bytes frame, bool by_library)
{
    if (data_.open)
        data_.outcome += " " + port_text(port);
    else if (by_library)
        step(fmt::format("sent to {}, {} bytes, {}", port_text(port), frame.size, tags_text(frame)));
    else
        line("to " + port_text(port));
}

// A frame that the library dropped leaves no other trace.
void Timeline::frame_handled()
{
    if (trapped_ && !answered_)
        line("dropped by the library; 'mcadapt explain' tells why");
    trapped_ = false;
}

void Timeline::entry_changed(uint32_t port, const uint8_t *mac, uint16_t vlan, bool added)
{
    step(fmt::format("entry {}: {} in VLAN {} to {}", added ? "added" : "removed", mac_text(mac), vlan,
                     port_text(port)));
}

void Timeline::packet_received(Family, uint32_t port, uint16_t vlan, Bytes)
{
    line(fmt::format("to the engine, as from {} in VLAN {}", port_text(port), vlan));
}

void Timeline::packet_dropped(Family, std::string_view reason, std::string_view why)
{
    line(fmt::format("dropped by the engine: {}{}", reason, because(why)));
}

void Timeline::packet_accepted(Family, std::string_view what) { line(fmt::format("engine takes {}", what)); }

void Timeline::group_refused(const Membership &membership, std::string_view reason, std::string_view why)
{
    line(fmt::format("refused: {}: {}{}", membership_text(membership), reason, because(why)));
}

void Timeline::membership_changed(const Membership &membership, bool joined, std::string_view why)
{
    step(fmt::format("{} {}{}", joined ? "joined" : "left", membership_text(membership), because(why)));
}

void Timeline::packet_sent(Family, uint32_t port, uint16_t vlan, std::string_view what)
{
    step(fmt::format("engine sends {} to {} in VLAN {}", what, port_text(port), vlan));
}

void Timeline::operation_called(std::string_view text, std::string_view result)
{
    close_data_frame();
    headline(fmt::format("operation {} = {}", text, result));
}

void Timeline::library_wrote(std::string_view text)
{
    close_data_frame();
    const bool answered = answered_;
    for (const std::string &printed : lines_of(text))
        line("| " + printed);
    answered_ = answered; // telling is not doing
}

} // namespace mcadapt::host
