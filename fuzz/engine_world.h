/**
 * @file
 * The engine's surroundings in a fuzzer: clock, library and switch, and what must hold between them.
 */
#ifndef MCADAPT_FUZZ_ENGINE_WORLD_H
#define MCADAPT_FUZZ_ENGINE_WORLD_H

#include <array>
#include <functional>
#include <set>
#include <tuple>
#include <vector>

#include "fuzz/expect.h"
#include "host/engine/engine.h"

namespace mcadapt::fuzz {

class EngineWorld final : public host::Observer {
public:
    explicit EngineWorld(host::Limits limits);
    ~EngineWorld() override;

    host::Engine &engine() { return engine_; }
    host::ReplayClock &clock() { return clock_; }
    Digest &digest() { return digest_; }

    /** Hands over a packet that lies at the end of its frame; `claimed` is what its header says, as the library reads.
     */
    void give(host::Family family, const std::vector<uint8_t> &packet, uint32_t port, uint32_t vlan, bool trusted);
    /** Moves the clock, in one go or from timer to timer; nothing that was due is left over. */
    void pass(host::Duration time, bool stepwise);
    void refuse_entries(bool refuse) { refuses_ = refuse; }
    /** Runs once, inside the next callback: the library may call the engine from there. */
    void in_next_callback(std::function<void()> action) { action_ = std::move(action); }

    /** What must hold between two calls. */
    void check();
    /** Back to the start state: nothing may be left. */
    void check_end();

    // --- Callbacks of the engine

    int32_t send(host::Family family, const uint8_t *packet, uint32_t port, uint32_t length);
    int32_t add_entry(host::Family family, const mcGroupRecord &group);
    int32_t remove_entry(host::Family family, const mcGroupRecord &group);

    // --- Observer

    void packet_received(host::Family family, uint32_t port, uint16_t vlan, host::Bytes packet) override;
    void packet_dropped(host::Family family, std::string_view reason, std::string_view why) override;
    void packet_accepted(host::Family family, std::string_view what) override { note(family, what); }
    void group_refused(const host::Membership &membership, std::string_view reason, std::string_view why) override;
    void membership_changed(const host::Membership &membership, bool joined, std::string_view why) override;
    void packet_sent(host::Family family, uint32_t port, uint16_t vlan, std::string_view what) override;
    bool wants_texts() const override { return true; }

private:
    /** Family, VLAN, port, and the bytes that the switch keeps of a group. */
    using Entry = std::tuple<host::Family, uint16_t, uint16_t, uint32_t>;
    /** Family, VLAN, address, port: as the engine sorts them. */
    using Key = std::tuple<host::Family, uint16_t, std::array<uint8_t, 16>, uint32_t>;

    static Entry entry_of(host::Family family, const mcGroupRecord &group);
    static Entry entry_of(const host::GroupView &view);
    static Key key_of(const host::Membership &membership);
    void note(host::Family family, std::string_view text);
    void check_group(host::Family family, const host::GroupView &view);
    void check_counters(host::Family family) const;
    void check_ports(const std::vector<host::GroupView> &igmp) const;
    void check_bounds(host::Family family, const std::vector<host::GroupView> &views) const;
    void run_action();

    const host::Limits limits_;
    host::ReplayClock clock_;
    Digest digest_;
    host::Engine engine_;
    std::set<Entry> entries_;
    std::set<Key> members_;
    std::size_t most_groups_ = 0;
    bool refuses_ = false;
    const uint8_t *frame_limit_ = nullptr;
    std::function<void()> action_;
};

} // namespace mcadapt::fuzz

#endif
