/**
 * @file
 * Calls that fill a buffer or a word of the library: groups, counters, uplink mode and ONU id.
 */
#include <cstring>

#include "portcheck/lent_memory.h"
#include "portcheck/packets.h"
#include "portcheck/report.h"
#include "portcheck/steps.h"
#include "portcheck/watch.h"

namespace mcadapt::portcheck {

namespace {

constexpr uint32_t kAllPorts = 255;
constexpr uint32_t kCountBytes = 4;
constexpr uint32_t kMostGroups = (MC_ENGINE_GROUP_BUFFER_BYTES - kCountBytes) / MC_ENGINE_GROUP_BYTES;
constexpr uint32_t kCounterBytes = 16;
// What the ITU gives no ONU: 254 is reserved, 255 for all.
constexpr uint8_t kHighestOnuId = 253;
constexpr uint32_t kGpon = 1;

uint32_t swapped(uint32_t value) { return value >> 24 | (value >> 8 & 0xFF00) | (value & 0xFF00) << 8 | value << 24; }

/** The fields of a packed record that the check knows. */
struct GroupFields {
    uint16_t vlan;
    uint32_t address;
    uint8_t port;
};

GroupFields fields_of(const uint8_t *record)
{
    GroupFields fields;
    memcpy(&fields.vlan, record, 2);
    memcpy(&fields.address, record + 6, 4);
    fields.port = record[24];
    return fields;
}

bool is_empty(const uint8_t *bytes, uint32_t length)
{
    for (uint32_t i = 0; i < length; ++i)
        if (bytes[i] != 0)
            return false;
    return true;
}

bool is_byte_swapped_count(uint32_t count) { return count > kMostGroups && swapped(count) <= kMostGroups; }

void check_groups(const uint8_t *answer)
{
    uint32_t count;
    memcpy(&count, answer, sizeof(count));
    if (count > kMostGroups) {
        fault("igmp_gather_grp_info told a count of %u groups%s; the library needs at most %u in host byte order, "
              "because the buffer holds no more and it takes the rest of it for groups.",
              count, is_byte_swapped_count(count) ? ", byte-swapped" : "", kMostGroups);
        return;
    }
    for (uint32_t i = 0; i < count; ++i) {
        const GroupFields group = fields_of(answer + kCountBytes + i * MC_ENGINE_GROUP_BYTES);
        if (group.address == kGroup && group.vlan == kVlan && group.port == kUserPort) {
            saw_effect(Call::igmp_gather_grp_info);
            return;
        }
    }
    fault(
        "igmp_gather_grp_info told %u group%s, and not 239.1.2.3 in VLAN 100 on port 0, which was joined; the library "
        "needs packed records of 25 bytes in host byte order (VLAN at byte 0, group at byte 6, port at byte 24), "
        "because the status that agents read is made of them.",
        count, count == 1 ? "" : "s");
}

void check_gathered(Call call, int32_t result, const uint8_t *answer, uint32_t length)
{
    if (result > 0)
        return;
    if (is_empty(answer, length))
        fault(
            "%s returned %d and wrote nothing; the library needs a result above 0 and the answer, because it keeps the "
            "old status otherwise.",
            name(call), result);
    else
        fault("%s returned %d and wrote an answer; the library needs a result above 0 with it, because it takes 0 and "
              "below for none and keeps the old status.",
              name(call), result);
}

void gather_groups(uint32_t port)
{
    LentOutput room(Call::igmp_gather_grp_info, "buffer", MC_ENGINE_GROUP_BUFFER_BYTES);
    const int32_t result = CALL(igmp_gather_grp_info)(port, uint32_t{MC_ENGINE_GROUP_BUFFER_BYTES}, room.bytes());
    room.take_back();
    check_gathered(Call::igmp_gather_grp_info, result, room.result(), MC_ENGINE_GROUP_BUFFER_BYTES);
    if (result > 0)
        check_groups(room.result());
}

void gather_counters()
{
    LentOutput room(Call::igmp_if_gather_if_status, "buffer", kCounterBytes);
    const int32_t result = CALL(igmp_if_gather_if_status)(kUserPort, kCounterBytes, room.bytes());
    room.take_back();
    check_gathered(Call::igmp_if_gather_if_status, result, room.result(), kCounterBytes);
}

// Asked twice, over different bytes: one that shows both was not written.
template <class Word> bool ask_word(Call call, const char *argument, int32_t (*function)(Word *), Word &answer)
{
    Word answers[2];
    static constexpr uint8_t kFills[2] = {0xA5, 0x5A};
    for (int i = 0; i < 2; ++i) {
        LentOutput room(call, argument, sizeof(Word), kFills[i]);
        PortCall(call, function)(static_cast<Word *>(room.memory()));
        room.take_back();
        memcpy(&answers[i], room.result(), sizeof(Word));
    }
    uint8_t bytes[2][sizeof(Word)];
    memcpy(bytes, answers, sizeof(bytes));
    uint32_t written = 0;
    for (uint32_t i = 0; i < sizeof(Word); ++i)
        written += bytes[0][i] == kFills[0] && bytes[1][i] == kFills[1] ? 0 : 1;
    answer = answers[1];
    if (written == sizeof(Word))
        return true;
    fault("%s wrote %u of the %u bytes of `%s`; the library needs it written whole in every case, because it looks at "
          "nothing else, the result included.",
          name(call), written, static_cast<uint32_t>(sizeof(Word)), argument);
    return false;
}

} // namespace

void gather_status()
{
    gather_groups(kAllPorts);
    gather_groups(kUserPort);
    gather_counters();
}

void ask_uplink()
{
    uint32_t up_mode = 0;
    if (ask_word(Call::vx_hal_nni_upmode_get, "upMode", vx_hal_nni_upmode_get, up_mode)) {
        if (up_mode > 255)
            fault("vx_hal_nni_upmode_get told mode %u; the library needs 0 for EPON or 1 for GPON, because it takes "
                  "everything but 0 for GPON, a code of an error too.",
                  up_mode);
        else if (up_mode > kGpon)
            note("vx_hal_nni_upmode_get told mode %u, which the library takes for GPON.", up_mode);
        else
            note("vx_hal_nni_upmode_get told %s: see that the unit has such an uplink.",
                 up_mode == 0 ? "EPON" : "GPON");
    }
    uint8_t onu_id = 0;
    if (ask_word(Call::vx_ploam_onuid_get, "onuId", vx_ploam_onuid_get, onu_id) && onu_id > kHighestOnuId)
        fault("vx_ploam_onuid_get told %u, which no ONU gets; the library needs 0 while none is assigned, because it "
              "tags upstream frames with what it is told and knows only 0 for unassigned.",
              onu_id);
}

} // namespace mcadapt::portcheck
