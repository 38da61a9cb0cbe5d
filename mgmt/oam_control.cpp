/**
 * @file
 * The EPON OAM agent's settings: fast leave and the multicast-control list.
 */
#include <cstring>

#include "core/families.h"
#include "core/log.h"
#include "mcadapt/oam.h"
#include "mcadapt/omci.h"
#include "platform/protocol_engine.h"

namespace mcadapt {

static constexpr uint32_t kOamFastLeaveOn = 2;
static constexpr uint32_t kAllFastLeaveAbilities = 0x3F;
static constexpr uint32_t kImpossibleAction = 2;
static constexpr uint8_t kGroupControl = 1;

// The control buffer: type, count, and entries of ten bytes behind them.
static constexpr uint32_t kTypeOffset = 0;
static constexpr uint32_t kCountOffset = 1;
static constexpr uint32_t kEntriesOffset = 2;
static constexpr uint32_t kEntryBytes = 10;

/** One entry of the control buffer, as it lies there: no padding, host byte order. */
struct ControlEntry {
    uint16_t port; /**< Counted from 1. */
    uint16_t vlan;
    uint8_t address[6];
};
static_assert(sizeof(ControlEntry) == kEntryBytes);

static int32_t apply_entry(uint32_t action, const ControlEntry &entry)
{
    const int port = entry.port - 1;
    LOG_CONFIG(Igmp, "MC_OAM_SET_CONTROL_2 port_no  = %d vlan_id  = %d\r\n", port, entry.vlan);
    const int32_t status = igmp_oam_control_2(action, static_cast<uint16_t>(port), entry.vlan, entry.address);
    if (status != 0)
        LOG_ERROR(Igmp, "\n ERROR!MC_OAM_SET_CONTROL_2 Fail");
    return status;
}

} // namespace mcadapt

using namespace mcadapt;

int32_t mc_oam_set_onu_fast_leave(uint32_t state)
{
    LOG_CONFIG(Igmp, "[mc_oam_set_onu_fast_leave]: .\r\n");
    if (grp_info *const status = mc_status_global)
        status->oamFastLeave = state;
    // intended: always port 0
    if (omci_set_port_igmp_leave_mode(0, state == kOamFastLeaveOn ? 1 : 0) != 0)
        LOG_ERROR(Igmp, "omci_set_port_igmp_leave_mode is error\r\n");
    return 0; // intended: also when the engine refuses
}

int32_t mc_oam_get_onu_fast_leave_ability(uint32_t *out)
{
    LOG_CONFIG(Igmp, "[mc_oam_get_onu_fast_leave_ability]: .\r\n");
    *out = kAllFastLeaveAbilities;
    return 0;
}

int32_t mc_oam_set_multicast_control(uint32_t action, uint32_t bufLen, const uint8_t *buf)
{
    LOG_CONFIG(Igmp, "[mc_oam_set_multicast_control]: action %d, buf_len %d, .\r\n", action, bufLen);
    if (action == kImpossibleAction) {
        LOG_ERROR(Igmp, "is impossible!\r\n");
        return 0;
    }
    if (buf[kTypeOffset] != kGroupControl)
        return -1;
    const uint8_t entries = buf[kCountOffset]; // intended: bufLen is not looked at
    int32_t status = 0;
    for (uint32_t k = 0; k < entries; ++k) {
        ControlEntry entry;
        memcpy(&entry, buf + kEntriesOffset + k * kEntryBytes, sizeof(entry));
        status = apply_entry(action, entry);
    }
    return status;
}
