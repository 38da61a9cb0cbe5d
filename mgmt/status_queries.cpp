/**
 * @file
 * Status queries that answer from the snapshot, each in its agent's own format.
 */
#include <cstring>

#include "core/families.h"
#include "core/log.h"
#include "mcadapt/oam.h"
#include "mcadapt/omci.h"
#include "mcadapt/status.h"
#include "mcadapt/std_omci.h"
#include "mgmt/status_snapshot.h"

namespace mcadapt {

// The agents' buffers have no alignment. Values are written in the processor's byte order, or in network order.
template <class T> static void put(uint8_t *at, T value) { memcpy(at, &value, sizeof(value)); }

static void put_be32(uint8_t *at, uint32_t value)
{
    at[0] = static_cast<uint8_t>(value >> 24);
    at[1] = static_cast<uint8_t>(value >> 16);
    at[2] = static_cast<uint8_t>(value >> 8);
    at[3] = static_cast<uint8_t>(value);
}

/** Entry of `omci_get_multicast_ip_port`; bytes 5 to 7 are not written. */
struct IpPortEntry {
    static constexpr uint32_t kBytes = 8;
    static void write(uint8_t *at, const grpRecord &group)
    {
        put<uint32_t>(at + 0, group.groupAddress);
        put<uint8_t>(at + 4, group.userPort);
    }
};

/** Entry of `std_omci_get_multicast_ip_port`; bytes 2-3, 24-25 and 27 are not written. */
struct StdIpPortEntry {
    static constexpr uint32_t kBytes = 28;
    static void write(uint8_t *at, const grpRecord &group)
    {
        put<uint16_t>(at + 0, 0);
        put_be32(at + 4, group.infoB);
        put_be32(at + 8, group.groupAddress);
        put_be32(at + 12, group.infoD);
        put_be32(at + 16, group.infoE);
        put_be32(at + 20, group.infoF);
        put<uint8_t>(at + 26, 0);
    }
};

/** Entry of `mc_oam_get_multicast_control`, shaped like those that the OAM agent sets. */
struct OamControlEntry {
    static constexpr uint32_t kBytes = 10;
    static void write(uint8_t *at, const grpRecord &group)
    {
        put<uint16_t>(at + 0, group.userPort);
        put<uint16_t>(at + 2, group.vlanId);
        put<uint16_t>(at + 4, 0);
        put<uint32_t>(at + 6, group.groupAddress);
    }
};

template <class Entry> static void write_entries(uint8_t *at, const Groups &groups)
{
    for (uint32_t i = 0; i < groups.count; ++i)
        Entry::write(at + i * Entry::kBytes, groups.record[i]);
}

// The OAM formats have room for a byte of count: of 300 groups they show 44.
static Groups cut_to_byte_count(const Groups &groups) { return {groups.record, static_cast<uint8_t>(groups.count)}; }

static constexpr uint8_t kGroupControlAnswer = 3;

/** The distinct values met so far. */
struct DistinctValues {
    static constexpr int kPlaces = 100;
    uint32_t value[kPlaces] = {};
    uint16_t count = 0;

    // intended: a place that holds 0 looks empty, so every value 0 is counted again
    void note(uint32_t seen)
    {
        for (uint32_t &place : value) {
            if (place == 0) {
                place = seen;
                ++count;
                return;
            }
            if (place == seen)
                return;
        }
    }
};

} // namespace mcadapt

using namespace mcadapt;

int32_t omci_get_multicast_ip_port(uint32_t *countOut, uint8_t *buf)
{
    LOG_CONFIG(Igmp, "\n omci_get_multicast_ip_port!");
    refresh_groups();
    const Groups groups = groups_now();
    *countOut = groups.count;
    printf("omci grp_info->std_cnt = %d\n", groups.count);
    write_entries<IpPortEntry>(buf, groups);
    return 0; // intended: also when the refresh failed
}

int32_t std_omci_get_multicast_ip_port(uint32_t *countOut, uint8_t *buf)
{
    LOG_CONFIG(Igmp, "\n [std_omci_get_multicast_ip_port] ");
    refresh_groups();
    const Groups groups = groups_now();
    *countOut = groups.count;
    printf("omci grp_info->std_cnt = %d\r\n", groups.count);
    write_entries<StdIpPortEntry>(buf, groups);
    return 0; // intended: also when the refresh failed
}

int32_t mc_oam_get_multicast_control(uint16_t *lenOut, uint8_t *buf)
{
    LOG_CONFIG(Igmp, "[mc_oam_get_multicast_control]\r\n");
    const int32_t ret = refresh_groups();
    buf[0] = kGroupControlAnswer;
    const Groups groups = groups_now();
    LOG_CONFIG(Igmp, "omci grp_info->std_cnt = %d\r\n", groups.count);
    const Groups shown = cut_to_byte_count(groups);
    buf[1] = static_cast<uint8_t>(shown.count);
    *lenOut = static_cast<uint16_t>(2 + shown.count * OamControlEntry::kBytes);
    write_entries<OamControlEntry>(buf + 2, shown);
    return ret;
}

int32_t GetIgmpStatusPara(uint8_t *out)
{
    put<uint16_t>(out, 0);
    out[2] = 1;
    out[3] = 1;
    out[4] = 0;
    LOG_CONFIG(Igmp, "\n GetIgmpStatusPara. \n");
    const int32_t ret = refresh_groups();
    const Groups groups = groups_now();
    LOG_TRACE(Igmp, "omci grp_info->std_cnt = %d\r\n", groups.count);

    DistinctValues values;
    const Groups counted = cut_to_byte_count(groups);
    for (uint32_t i = 0; i < counted.count; ++i)
        values.note(counted.record[i].infoE);
    put(out, values.count);
    return ret;
}
