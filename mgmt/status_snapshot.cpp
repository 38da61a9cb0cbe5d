/**
 * @file
 * The status snapshot: refreshed from the engine's packed answer, kept until the next refresh that succeeds.
 */
#include "mgmt/status_snapshot.h"

#include <cstring>

#include "core/log.h"
#include "core/ports.h"
#include "mcadapt/engine_types.h"
#include "mcadapt/status.h"
#include "platform/protocol_engine.h"

namespace mcadapt {

static constexpr uint32_t kGatherBufferBytes = 13000;
static constexpr uint32_t kGatherCountBytes = 4;
static_assert(kGatherCountBytes + MC_STATUS_GROUPS * MC_ENGINE_GROUP_BYTES == MC_ENGINE_GROUP_BUFFER_BYTES);
static_assert(MC_ENGINE_GROUP_BUFFER_BYTES <= kGatherBufferBytes);

// Reads the fields of a packed record one behind the other, at any alignment, in the processor's byte order.
class PackedReader {
public:
    explicit PackedReader(const uint8_t *at) : at_(at) {}

    template <class T> void take(MC_SHARED(T) &field)
    {
        T value;
        memcpy(&value, at_, sizeof(value));
        at_ += sizeof(value);
        field = value;
    }

private:
    const uint8_t *at_;
};

static void unpack_group(const uint8_t *packed, grpRecord &group)
{
    PackedReader reader(packed);
    reader.take(group.vlanId);
    reader.take(group.infoB);
    reader.take(group.groupAddress);
    reader.take(group.infoD);
    reader.take(group.infoE);
    reader.take(group.infoF);
    reader.take(group.infoG);
    reader.take(group.userPort);
}

static void unpack_groups(const uint8_t *answer, grp_info &snapshot)
{
    uint32_t count;
    memcpy(&count, answer, sizeof(count));
    if (count > MC_STATUS_GROUPS)
        count = MC_STATUS_GROUPS;
    snapshot.std_cnt = count;
    for (uint32_t i = 0; i < count; ++i)
        unpack_group(answer + kGatherCountBytes + i * MC_ENGINE_GROUP_BYTES, snapshot.group[i]);
}

Groups groups_now()
{
    const grp_info *const snapshot = mc_status_global;
    if (snapshot == nullptr)
        return {nullptr, 0};
    const uint32_t count = snapshot->std_cnt;
    return {snapshot->group, count < MC_STATUS_GROUPS ? count : MC_STATUS_GROUPS};
}

int32_t refresh_groups()
{
    const int32_t ret = igmp_hal_sync_grp_infor(kAllPorts);
    if (ret != 0)
        LOG_ERROR(Igmp, "\n ERROR!igmp_hal_sync_grp_inform Fail");
    return ret;
}

} // namespace mcadapt

using namespace mcadapt;

int32_t igmp_hal_sync_grp_infor(uint32_t port)
{
    uint8_t answer[kGatherBufferBytes] = {};
    if (port != kAllPorts && check_port_state<Igmp>(port) == kNoLogicPort)
        return -1;
    LOG_CONFIG(Igmp, " in igmp_gather_grp_info phy_port = %d data_len = %d\r\n", port, MC_ENGINE_GROUP_BUFFER_BYTES);
    const int32_t gathered = igmp_gather_grp_info(port, MC_ENGINE_GROUP_BUFFER_BYTES, answer);
    grp_info *const snapshot = mc_status_global;
    if (gathered <= 0 || snapshot == nullptr)
        return -1;
    unpack_groups(answer, *snapshot);
    return 0;
}

int32_t igmp_hal_sync_if_status(uint32_t port)
{
    ifStatus status = {};
    const int logic_port = check_port_state<Igmp>(port);
    if (logic_port == kNoLogicPort)
        return -1;
    const int32_t gathered = igmp_if_gather_if_status(port, sizeof(status), &status);
    grp_info *const snapshot = mc_status_global;
    if (gathered <= 0 || snapshot == nullptr)
        return -1;
    snapshot->interfaceStatus[logic_port] = status;
    return 0;
}
