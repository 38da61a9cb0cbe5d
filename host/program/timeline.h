/**
 * @file
 * The timeline of a run, a line for each thing that happened.
 */
#ifndef MCADAPT_HOST_PROGRAM_TIMELINE_H
#define MCADAPT_HOST_PROGRAM_TIMELINE_H

#include <cstdio>
#include <map>
#include <string>

#include "host/clock.h"
#include "host/observer.h"
#include "host/switch/frame_view.h"

namespace mcadapt::host {

/**
 * Prints what happens as it happens. Of a stream of multicast data the first frame has a line, and each one that is
 * treated unlike the frame before it: so one sees which channel reaches which port, and from when.
 */
class Timeline final : public Observer {
public:
    /** Times are printed since the first frame. */
    Timeline(const Clock &clock, std::FILE *out) : clock_(clock), out_(out) {}

    /** Prints what is still held back. @return Whether anything was printed at all. */
    bool finish();

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
    void operation_called(std::string_view text, std::string_view result) override;
    void library_wrote(std::string_view text) override;

private:
    // A frame that only the switch dealt with: its whole story is one line.
    struct DataFrame {
        bool open = false;
        std::string when;
        std::string head; // tells the stream
        std::string outcome;
    };
    struct Stream {
        std::string outcome;
        uint64_t frames = 0;
    };

    std::string when() const;
    void headline(const std::string &what);
    void line(const std::string &what);
    void step(const std::string &what);
    void close_data_frame();

    const Clock &clock_;
    std::FILE *out_;
    Time start_{0};
    bool begun_ = false;
    bool printed_ = false;
    Time told_{0};          // time of the last headline
    bool trapped_ = false;  // the library has a frame now,
    bool answered_ = false; // and did something with it
    DataFrame data_;
    std::map<std::string, Stream> streams_;
};

} // namespace mcadapt::host

#endif
