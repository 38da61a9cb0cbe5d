/**
 * @file
 * Inside of the engine: its parts, and what its calls have in common.
 */
#ifndef MCADAPT_HOST_ENGINE_ENGINE_CORE_H
#define MCADAPT_HOST_ENGINE_ENGINE_CORE_H

#include <mutex>

#include "host/engine/engine.h"
#include "host/engine/half.h"
#include "host/engine/status.h"

namespace mcadapt::host {

class EngineCore {
public:
    EngineCore(const Clock &clock, Observer &observer, Limits limits)
        : context{clock, observer, limits}, igmp(context, Family::kIgmp), mld(context, Family::kMld)
    {
    }

    Half &half(Family family) { return family == Family::kIgmp ? igmp : mld; }

    std::recursive_mutex mutex;
    Context context;
    Half igmp;
    Half mld;
    SharedStatus shared;
    const uint8_t *frame_limit = nullptr;
    uint32_t depth = 0; /**< Calls of the engine that are under way, one inside the other. */
};

/** Every call holds the lock; the outermost one brings the shared status up to date. */
class Call {
public:
    explicit Call(EngineCore &core) : core_(core), lock_(core.mutex) { ++core_.depth; }
    ~Call()
    {
        if (--core_.depth > 0 || !core_.context.status_changed || !core_.shared.attached())
            return;
        core_.context.status_changed = false;
        core_.shared.update(core_.context, core_.igmp);
    }
    Call(const Call &) = delete;
    Call &operator=(const Call &) = delete;

private:
    EngineCore &core_;
    std::lock_guard<std::recursive_mutex> lock_;
};

constexpr int32_t code(Result result) { return static_cast<int32_t>(result); }

constexpr uint32_t port_number(uint32_t port) { return port == kUplinkWildcard ? kUplinkPort : port; }

constexpr bool valid_vlan(uint32_t vlan) { return vlan > 0 && vlan <= kMaxVlan; }

/** VLAN of a group list: 16 bits that say "any", or an id. */
constexpr uint16_t list_vlan(uint32_t vlan)
{
    return vlan >= kAnyVlan ? kAnyVlan : static_cast<uint16_t>(vlan & 0xFFF);
}

} // namespace mcadapt::host

#endif
