/**
 * @file
 * Everything that happened to one frame, and why, in plain words.
 */
#ifndef MCADAPT_HOST_PROGRAM_EXPLANATION_H
#define MCADAPT_HOST_PROGRAM_EXPLANATION_H

#include <array>
#include <cstdint>
#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/clock.h"
#include "host/observer.h"
#include "host/program/named_groups.h"

namespace mcadapt::host {

/** Puts a message of the library's log into plain words; empty for one that adds nothing. */
std::string plain_words(const std::string &message);

/**
 * Prints the story of one frame as numbered sentences, and then what became of the groups that it names: their data
 * frames, and the end of their memberships. Needs the library's log to be open while the frame is handled, and its
 * texts told in order with the other events.
 */
class Explanation final : public Observer {
public:
    Explanation(uint64_t frame, const Clock &clock, std::FILE *out) : frame_(frame), clock_(clock), out_(out) {}

    /** Whether the frame came. */
    bool found() const { return found_; }
    /** Prints what came of it until the end of the run. */
    void finish();

    bool wants_texts() const override { return true; }
    void frame_arrived(uint64_t number, uint32_t port, Bytes frame) override;
    void switch_decided(SwitchAction action, std::string_view reason) override;
    void frame_left(uint32_t port, Bytes frame, bool by_library) override;
    void frame_handled() override;
    void entry_changed(uint32_t port, const uint8_t *mac, uint16_t vlan, bool added) override;
    void packet_received(Family family, uint32_t port, uint16_t vlan, Bytes packet) override;
    void packet_dropped(Family family, std::string_view reason, std::string_view why) override;
    void packet_accepted(Family family, std::string_view what) override;
    void group_refused(const Membership &membership, std::string_view reason, std::string_view why) override;
    void membership_changed(const Membership &membership, bool joined, std::string_view why) override;
    void packet_sent(Family family, uint32_t port, uint16_t vlan, std::string_view what) override;
    void library_wrote(std::string_view text) override;

private:
    using Mac = std::array<uint8_t, 6>;
    /** Data frames to a group of the explained frame, by how they arrived and what the switch did. */
    struct DataFrames {
        uint64_t count = 0;
        Time first{0};
    };

    void say(const std::string &sentence);
    std::string library_sentence(const std::string &message);
    void say_records();
    void say_other_entries(const Mac &mac);
    void begin_data_frame(uint32_t port, Bytes frame);
    void end_data_frame();
    bool watches(const Mac &mac) const;
    std::string since_frame(Time at) const;
    void print_data_frames();

    uint64_t frame_;
    const Clock &clock_;
    std::FILE *out_;
    bool found_ = false;
    bool telling_ = false; // the frame is being handled now
    int sentences_ = 0;
    std::string last_sentence_;
    std::string vlan_source_; // which table the multicast VLAN came from
    bool trapped_ = false;
    bool reached_engine_ = false;
    bool anything_left_ = false;
    Time begin_{0}; // of the first frame
    bool begun_ = false;
    Time frame_time_{0};

    Mac frame_mac_{};
    std::set<std::pair<Mac, std::pair<uint16_t, uint32_t>>> entries_; // VLAN and port, as told
    std::vector<NamedGroup> named_;
    std::vector<std::string> later_; // what happened to the groups afterwards
    std::string data_text_;          // of the data frame that is handled now; empty for none to watch
    std::map<std::string, DataFrames> data_frames_;
};

} // namespace mcadapt::host

#endif
