/**
 * @file
 * One observer that tells several.
 */
#ifndef MCADAPT_HOST_PROGRAM_FANOUT_H
#define MCADAPT_HOST_PROGRAM_FANOUT_H

#include <functional>
#include <utility>
#include <vector>

#include "host/observer.h"

namespace mcadapt::host {

class Fanout final : public Observer {
public:
    void add(Observer &observer)
    {
        observers_.push_back(&observer);
        wants_texts_ = wants_texts_ || observer.wants_texts();
    }

    /** Something to do before each event is told. */
    void before_each(std::function<void()> action) { before_ = std::move(action); }

    bool wants_texts() const override { return wants_texts_; }
    void frame_arrived(uint64_t number, uint32_t port, Bytes frame) override
    {
        tell(&Observer::frame_arrived, number, port, frame);
    }
    void switch_decided(SwitchAction action, std::string_view reason) override
    {
        tell(&Observer::switch_decided, action, reason);
    }
    void frame_left(uint32_t port, Bytes frame, bool by_library) override
    {
        tell(&Observer::frame_left, port, frame, by_library);
    }
    void frame_handled() override { tell(&Observer::frame_handled); }
    void entry_changed(uint32_t port, const uint8_t *mac, uint16_t vlan, bool added) override
    {
        tell(&Observer::entry_changed, port, mac, vlan, added);
    }
    void packet_received(Family family, uint32_t port, uint16_t vlan, Bytes packet) override
    {
        tell(&Observer::packet_received, family, port, vlan, packet);
    }
    void packet_dropped(Family family, std::string_view reason, std::string_view why) override
    {
        tell(&Observer::packet_dropped, family, reason, why);
    }
    void packet_accepted(Family family, std::string_view what) override
    {
        tell(&Observer::packet_accepted, family, what);
    }
    void group_refused(const Membership &membership, std::string_view reason, std::string_view why) override
    {
        tell(&Observer::group_refused, membership, reason, why);
    }
    void membership_changed(const Membership &membership, bool joined, std::string_view why) override
    {
        tell(&Observer::membership_changed, membership, joined, why);
    }
    void packet_sent(Family family, uint32_t port, uint16_t vlan, std::string_view what) override
    {
        tell(&Observer::packet_sent, family, port, vlan, what);
    }
    void operation_called(std::string_view text, std::string_view result) override
    {
        tell(&Observer::operation_called, text, result);
    }
    void library_wrote(std::string_view text) override { tell(&Observer::library_wrote, text); }

private:
    template <class... Parameters, class... Arguments>
    void tell(void (Observer::*event)(Parameters...), const Arguments &...arguments)
    {
        if (before_)
            before_();
        for (Observer *observer : observers_)
            (observer->*event)(arguments...);
    }

    std::vector<Observer *> observers_;
    std::function<void()> before_;
    bool wants_texts_ = false;
};

} // namespace mcadapt::host

#endif
