/**
 * @file
 * Status of the IGMP half, as the library's queries want it, and its copy in shared memory.
 */
#ifndef MCADAPT_HOST_ENGINE_STATUS_H
#define MCADAPT_HOST_ENGINE_STATUS_H

#include <cstdint>

#include "host/engine/half.h"
#include "mcadapt/records.h"

namespace mcadapt::host {

/** Packs the groups of a port (255 all) by VLAN, group and port. @return Bytes written; 0 when the count does not fit.
 */
int32_t gather_groups(const Context &context, const Half &igmp, uint32_t port, uint32_t length, void *buffer);

InterfaceCounters interface_counters(const Context &context, const Half &igmp, uint32_t port);

/** The shared segment with key 82. Others read it at any time: each field is written whole, and none is read back. */
class SharedStatus {
public:
    ~SharedStatus() { detach(); }
    /** Creates the segment or takes the one that is there. */
    bool attach();
    void detach();
    bool attached() const { return status_ != nullptr; }
    void update(const Context &context, const Half &igmp);

private:
    grp_info *status_ = nullptr;
};

} // namespace mcadapt::host

#endif
