#include "host/engine/membership.h"

namespace mcadapt::host {
namespace {

uint64_t mix(uint64_t value)
{
    value ^= value >> 32;
    value *= 0x9E3779B97F4A7C15ull;
    value ^= value >> 29;
    value *= 0xBF58476D1CE4E5B9ull;
    return value ^ value >> 32;
}

// Whether the entry whose home is `home` may fill the hole: it must not end up before its home.
bool may_move(std::size_t home, std::size_t hole, std::size_t at, std::size_t mask)
{
    return ((at - home) & mask) >= ((at - hole) & mask);
}

constexpr bool too_full(std::size_t size, std::size_t slots) { return (size + 1) * 4 > slots * 3; }

} // namespace

std::size_t GroupTable::hash(const GroupKey &key)
{
    const uint64_t where = uint64_t{key.vlan} << 16 | key.port;
    return mix(key.group.low ^ where << 32 ^ mix(key.group.high));
}

std::size_t GroupTable::slot_of(const GroupKey &key) const
{
    const std::size_t mask = slots_.size() - 1;
    std::size_t slot = hash(key) & mask;
    while (slots_[slot] != 0 && !(at(slots_[slot] - 1).key == key))
        slot = (slot + 1) & mask;
    return slot;
}

PortGroup *GroupTable::find(const GroupKey &key)
{
    if (size_ == 0)
        return nullptr;
    const uint32_t entry = slots_[slot_of(key)];
    return entry == 0 ? nullptr : &at(entry - 1);
}

void GroupTable::grow()
{
    std::vector<uint32_t> old = std::move(slots_);
    slots_.assign(old.empty() ? 64 : old.size() * 2, 0);
    for (const uint32_t entry : old)
        if (entry != 0)
            slots_[slot_of(at(entry - 1).key)] = entry;
}

PortGroup &GroupTable::add(const GroupKey &key)
{
    if (too_full(size_, slots_.size()))
        grow();
    std::size_t place = places_;
    if (!free_.empty()) {
        place = free_.back();
        free_.pop_back();
    } else {
        if (places_ % kChunk == 0)
            chunks_.push_back(std::make_unique<PortGroup[]>(kChunk));
        ++places_;
    }
    PortGroup &group = at(place);
    group.key = key;
    group.used = true;
    slots_[slot_of(key)] = static_cast<uint32_t>(place + 1);
    ++size_;
    return group;
}

void GroupTable::remove(PortGroup &group)
{
    const std::size_t mask = slots_.size() - 1;
    std::size_t hole = slot_of(group.key);
    const std::size_t place = slots_[hole] - 1;
    for (std::size_t slot = (hole + 1) & mask; slots_[slot] != 0; slot = (slot + 1) & mask) {
        if (!may_move(hash(at(slots_[slot] - 1).key) & mask, hole, slot, mask))
            continue;
        slots_[hole] = slots_[slot];
        hole = slot;
    }
    slots_[hole] = 0;
    group = PortGroup();
    free_.push_back(static_cast<uint32_t>(place));
    --size_;
}

std::size_t GroupTable::memory_bytes() const
{
    std::size_t bytes = slots_.capacity() * sizeof(uint32_t) + free_.capacity() * sizeof(uint32_t) +
                        chunks_.capacity() * sizeof(chunks_[0]) + chunks_.size() * kChunk * sizeof(PortGroup);
    for (std::size_t place = 0; place < places_; ++place)
        bytes += at(place).state.memory_bytes();
    return bytes;
}

std::size_t EntryCounts::slot_of(uint64_t key) const
{
    const std::size_t mask = slots_.size() - 1;
    std::size_t slot = mix(key) & mask;
    while (slots_[slot].key != 0 && slots_[slot].key != key)
        slot = (slot + 1) & mask;
    return slot;
}

void EntryCounts::grow()
{
    std::vector<Slot> old = std::move(slots_);
    slots_.assign(old.empty() ? 64 : old.size() * 2, Slot{});
    for (const Slot &entry : old)
        if (entry.key != 0)
            slots_[slot_of(entry.key)] = entry;
}

uint32_t EntryCounts::add(uint64_t key)
{
    if (too_full(size_, slots_.size()))
        grow();
    Slot &slot = slots_[slot_of(key)];
    if (slot.key == 0) {
        slot.key = key;
        ++size_;
    }
    return ++slot.count;
}

uint32_t EntryCounts::remove(uint64_t key)
{
    if (size_ == 0)
        return 0;
    const std::size_t slot = slot_of(key);
    if (slots_[slot].key == 0)
        return 0;
    if (--slots_[slot].count > 0)
        return slots_[slot].count;
    erase(slot);
    return 0;
}

void EntryCounts::erase(std::size_t hole)
{
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t slot = (hole + 1) & mask; slots_[slot].key != 0; slot = (slot + 1) & mask) {
        if (!may_move(mix(slots_[slot].key) & mask, hole, slot, mask))
            continue;
        slots_[hole] = slots_[slot];
        hole = slot;
    }
    slots_[hole] = Slot{};
    --size_;
}

} // namespace mcadapt::host
