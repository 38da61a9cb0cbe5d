/**
 * @file
 * The table of memberships of one family: found by VLAN, group and port in one step.
 */
#ifndef MCADAPT_HOST_ENGINE_MEMBERSHIP_H
#define MCADAPT_HOST_ENGINE_MEMBERSHIP_H

#include <cstdint>
#include <memory>
#include <vector>

#include "host/engine/group_state.h"

namespace mcadapt::host {

struct GroupKey {
    Address group;
    uint16_t vlan = 0;
    uint16_t port = 0;

    friend bool operator==(const GroupKey &a, const GroupKey &b)
    {
        return a.group == b.group && a.vlan == b.vlan && a.port == b.port;
    }
    friend bool operator<(const GroupKey &a, const GroupKey &b)
    {
        if (a.vlan != b.vlan)
            return a.vlan < b.vlan;
        return a.group == b.group ? a.port < b.port : a.group < b.group;
    }
};

/** A group on a port of a VLAN: in the table as long as somebody listens or an order holds it. */
struct PortGroup : Timer {
    PortGroup() : Timer(TimerKind::kPortGroup) {}
    bool ordered() const { return fixed || controlled; }
    bool wanted() const { return ordered() || state.listens(); }

    GroupKey key;
    GroupState state;
    Time joined{0};          /**< When the first listener came. */
    uint32_t bandwidth = 0;  /**< What it takes of the port's limit. */
    uint32_t reporter = 0;   /**< IPv4 address of the host that last reported. */
    uint16_t epoch = 0;      /**< Authorisations with which it was last checked. */
    bool used = false;       /**< Not free. */
    bool announced = false;  /**< Its first listener was told. */
    bool installed = false;  /**< The switch has its entry. */
    bool fixed = false;      /**< Static group. */
    bool controlled = false; /**< Added by a control call. */
    bool counted = false;    /**< Among the port's groups that a subscriber joined. */
};

/** Open addressing over records that never move: a record stays where it is while callbacks run. */
class GroupTable {
public:
    PortGroup *find(const GroupKey &key);
    const PortGroup *find(const GroupKey &key) const { return const_cast<GroupTable *>(this)->find(key); }
    /** The key must not be there. */
    PortGroup &add(const GroupKey &key);
    void remove(PortGroup &group);

    std::size_t size() const { return size_; }
    /** Records in the order of their places; free ones among them (`used` false). */
    std::size_t places() const { return places_; }
    PortGroup &at(std::size_t place) { return chunks_[place / kChunk][place % kChunk]; }
    const PortGroup &at(std::size_t place) const { return chunks_[place / kChunk][place % kChunk]; }
    std::size_t memory_bytes() const;

private:
    static constexpr std::size_t kChunk = 64;
    static std::size_t hash(const GroupKey &key);
    std::size_t slot_of(const GroupKey &key) const;
    void grow();

    std::vector<uint32_t> slots_; // place + 1, 0 empty
    std::vector<std::unique_ptr<PortGroup[]>> chunks_;
    std::vector<uint32_t> free_;
    std::size_t places_ = 0;
    std::size_t size_ = 0;
};

/** How many installed groups share an entry of the switch, which knows groups by VLAN, port and MAC address only. */
class EntryCounts {
public:
    /** @return Count after. */
    uint32_t add(uint64_t key);
    /** @return Count after; 0 too when it was 0. */
    uint32_t remove(uint64_t key);
    std::size_t memory_bytes() const { return slots_.capacity() * sizeof(Slot); }

private:
    struct Slot {
        uint64_t key = 0; // 0 empty
        uint32_t count = 0;
    };
    std::size_t slot_of(uint64_t key) const;
    void grow();
    void erase(std::size_t slot);

    std::vector<Slot> slots_;
    std::size_t size_ = 0;
};

} // namespace mcadapt::host

#endif
