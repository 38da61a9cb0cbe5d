/**
 * @file
 * The timeline as JSON lines: one object for each thing that happened.
 */
#ifndef MCADAPT_HOST_PROGRAM_JSON_LINES_H
#define MCADAPT_HOST_PROGRAM_JSON_LINES_H

#include <cstdio>

#include <nlohmann/json_fwd.hpp>

#include "host/clock.h"
#include "host/observer.h"

namespace mcadapt::host {

/**
 * Every object has "time" (seconds since the epoch, as text with nanoseconds), "frame" (number of the last frame that
 * arrived, 0 before) and "event"; the rest depends on the event.
 */
class JsonLines final : public Observer {
public:
    JsonLines(const Clock &clock, std::FILE *out) : clock_(clock), out_(out) {}

    bool wants_texts() const override { return true; }
    void frame_arrived(uint64_t number, uint32_t port, Bytes frame) override;
    void switch_decided(SwitchAction action, std::string_view reason) override;
    void frame_left(uint32_t port, Bytes frame, bool by_library) override;
    void entry_changed(uint32_t port, const uint8_t *mac, uint16_t vlan, bool added) override;
    void packet_dropped(Family family, std::string_view reason, std::string_view why) override;
    void packet_accepted(Family family, std::string_view what) override;
    void group_refused(const Membership &membership, std::string_view reason, std::string_view why) override;
    void membership_changed(const Membership &membership, bool joined, std::string_view why) override;
    void packet_sent(Family family, uint32_t port, uint16_t vlan, std::string_view what) override;
    void operation_called(std::string_view text, std::string_view result) override;
    void library_wrote(std::string_view text) override;

private:
    void print(const char *event, const nlohmann::ordered_json &details);

    const Clock &clock_;
    std::FILE *out_;
    uint64_t frame_ = 0;
};

} // namespace mcadapt::host

#endif
