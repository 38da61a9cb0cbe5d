#include "host/program/json_lines.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/program/print.h"
#include "host/program/text.h"
#include "host/switch/frame_view.h"

namespace mcadapt::host {

namespace {

using Json = nlohmann::ordered_json;

const char *family_name(Family family) { return family == Family::kMld ? "MLD" : "IGMP"; }

const char *action_name(SwitchAction action)
{
    switch (action) {
    case SwitchAction::kTrapped:
        return "trapped";
    case SwitchAction::kForwarded:
        return "forwarded";
    case SwitchAction::kFlooded:
        return "flooded";
    case SwitchAction::kDropped:
        return "dropped";
    }
    return "";
}

Json membership_json(const Membership &membership)
{
    return {{"group", group_text(membership.group)}, {"vlan", membership.vlan}, {"port", membership.port}};
}

} // namespace

void JsonLines::print(const char *event, const Json &details)
{
    const auto nanos = clock_.now().count();
    Json object = {
        {"time", fmt::format("{}.{:09}", nanos / 1000000000, nanos % 1000000000)}, {"frame", frame_}, {"event", event}};
    object.update(details);
    // Texts of the library may hold any byte; what is not UTF-8 is replaced.
    mcadapt::host::print(out_, "{}\n", object.dump(-1, ' ', false, Json::error_handler_t::replace));
}

void JsonLines::frame_arrived(uint64_t number, uint32_t port, Bytes frame)
{
    frame_ = number;
    print("frame_in", {{"port", port},
                       {"kind", kind_name(view_frame(frame).kind)},
                       {"bytes", frame.size},
                       {"tags", tags_text(frame)}});
}

void JsonLines::switch_decided(SwitchAction action, std::string_view reason)
{
    Json details = {{"action", action_name(action)}};
    if (!reason.empty())
        details["reason"] = reason;
    print("switch", details);
}

void JsonLines::frame_left(uint32_t port, Bytes frame, bool by_library)
{
    print(
        "frame_out",
        {{"port", port}, {"bytes", frame.size}, {"tags", tags_text(frame)}, {"by", by_library ? "library" : "switch"}});
}

void JsonLines::entry_changed(uint32_t port, const uint8_t *mac, uint16_t vlan, bool added)
{
    print(added ? "entry_added" : "entry_removed", {{"mac", mac_text(mac)}, {"vlan", vlan}, {"port", port}});
}

void JsonLines::packet_dropped(Family family, std::string_view reason, std::string_view why)
{
    print("packet_dropped", {{"family", family_name(family)}, {"reason", reason}, {"why", why}});
}

void JsonLines::packet_accepted(Family family, std::string_view what)
{
    print("packet_accepted", {{"family", family_name(family)}, {"what", what}});
}

void JsonLines::group_refused(const Membership &membership, std::string_view reason, std::string_view why)
{
    Json details = membership_json(membership);
    details["reason"] = reason;
    details["why"] = why;
    print("group_refused", details);
}

void JsonLines::membership_changed(const Membership &membership, bool joined, std::string_view why)
{
    Json details = membership_json(membership);
    details["why"] = why;
    print(joined ? "joined" : "left", details);
}

void JsonLines::packet_sent(Family family, uint32_t port, uint16_t vlan, std::string_view what)
{
    print("engine_sent", {{"family", family_name(family)}, {"port", port}, {"vlan", vlan}, {"what", what}});
}

void JsonLines::operation_called(std::string_view text, std::string_view result)
{
    print("operation", {{"text", text}, {"result", result}});
}

void JsonLines::library_wrote(std::string_view text) { print("library_log", {{"text", text}}); }

} // namespace mcadapt::host
