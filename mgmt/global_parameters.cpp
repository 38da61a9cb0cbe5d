/**
 * @file
 * Global protocol parameters: stored as given and handed to the engine, which judges them.
 */
#include "core/counts.h"
#include "core/families.h"
#include "core/log.h"
#include "mcadapt/omci.h"
#include "platform/protocol_engine.h"

using namespace mcadapt;

// As many of the value's low bits as the field holds.
template <class T> static void store_cut(MC_SHARED(T) &field, uint32_t value) { field = static_cast<T>(value); }

static int32_t whole_status(int32_t code) { return code; }

// The operations on one parameter, a row each: they print, store in a field of `globle_parm`, call the engine with the
// value as given, and print when it refuses.
//
//   operation, field, engine call, result, entry message, error message
#define PARAMETER_OPERATIONS(ROW)                                                                                      \
    ROW(omci_set_para_lmqc_globle, last_member_query_count, igmp_para_lmqc_globle_set, whole_status,                   \
        "omci_set_para_lmqc_globle is in! last_member_query_count = %d\n",                                             \
        "\n ERROR!igmp_para_lmqi_globle_set Fail") /* intended: names the lmqi call */                                 \
    ROW(omci_set_para_lmqi_globle, last_member_query_interval, igmp_para_lmqi_globle_set, whole_status,                \
        "omci_set_para_lmqi_globle is in! last_member_query_interval = %d\n",                                          \
        "\n ERROR!igmp_para_lmqi_globle_set Fail")                                                                     \
    ROW(omci_set_para_qri_globle, query_max_resp_time, igmp_para_qri_globle_set, whole_status,                         \
        "omci_para_qri_globle is in! query_response_interval = %d\n", "\n ERROR!igmp_para_qri_globle_set Fail")        \
    ROW(omci_set_para_qi_globle, query_interval, igmp_para_qi_globle_set, whole_status,                                \
        "omci_para_qi_globle is in! query_interval = %d\n", "\n ERROR!igmp_para_qi_globle_set Fail")                   \
    ROW(omci_set_para_rv_globle, robustness, igmp_para_rv_globle_set, whole_status,                                    \
        "omci_set_para_rv_globle is in!robustness = %d\n", "\n ERROR!igmp_para_rv_globle_set Fail")                    \
    ROW(omci_igmp_version_globle_set, version, igmp_version_globle_set, byte_status,                                   \
        "omci_igmp_version_globle_set version = %d\n", "\n ERROR!omci_igmp_version_globle_set Fail")                   \
    ROW(omci_set_igmp_dynamic_enable, learningMode, igmp_vlan_learning_set, byte_status,                               \
        "omci_set_igmp_dynamic_enable is in! igmp_dynamic_enable = %d\n", "\n ERROR!igmp_adapt_vlan_learning Fail")

#define DEFINE_OPERATION(operation, field, engine_call, result, entry, error)                                          \
    int32_t operation(uint32_t value)                                                                                  \
    {                                                                                                                  \
        LOG_CONFIG(Igmp, entry, value);                                                                                \
        store_cut(globle_parm.field, value);                                                                           \
        const int32_t status = result(engine_call(value));                                                             \
        if (status != 0)                                                                                               \
            LOG_ERROR(Igmp, error);                                                                                    \
        return status;                                                                                                 \
    }

PARAMETER_OPERATIONS(DEFINE_OPERATION)

int32_t omci_set_igmp_global_parmeter(uint32_t robustness, uint32_t queryResponseInterval,
                                      uint32_t lastMemberQueryInterval, uint32_t lastMemberQueryCount,
                                      uint32_t queryInterval)
{
    LOG_CONFIG(Igmp, "igmp_adapt_para_globle_set is in!\n");
    const uint32_t age_enable = globle_parm.general_member_interval;
    globle_parm.robustness = static_cast<uint8_t>(robustness);
    globle_parm.query_interval = queryInterval;
    globle_parm.query_max_resp_time = queryResponseInterval;
    globle_parm.last_member_query_interval = lastMemberQueryInterval;
    globle_parm.last_member_query_count = lastMemberQueryCount;
    // intended: the engine gets the whole robustness, and a refusal is returned without a line
    return igmp_para_globle_set(robustness, queryInterval, queryResponseInterval, lastMemberQueryInterval,
                                lastMemberQueryCount, age_enable);
}

int32_t mld_omci_set_igmp_global_parmeter(uint32_t robustness, uint32_t queryInterval, uint32_t queryResponseInterval,
                                          uint32_t lastMemberQueryInterval, uint32_t lastMemberQueryCount)
{
    LOG_TRACE(Mld, "igmp_adapt_para_globle_set is in!\n");
    mldInitParams.robustness = static_cast<uint8_t>(robustness);
    mldInitParams.query_interval = queryInterval;
    mldInitParams.query_max_resp_time = queryResponseInterval;
    mldInitParams.last_member_query_interval = lastMemberQueryInterval;
    mldInitParams.last_member_query_count = lastMemberQueryCount;
    // intended: the IGMP engine's call, so its timers change too
    const int32_t status =
        igmp_para_globle_set(robustness, queryInterval, queryResponseInterval, lastMemberQueryInterval,
                             lastMemberQueryCount, mldInitParams.general_member_interval);
    if (status != 0)
        LOG_ERROR(Mld, "\n ERROR!mld_omci_set_igmp_global_parmeter Fail");
    return status;
}

static int32_t set_fast_leave(portParm &port, uint32_t enable)
{
    port.leavemod = static_cast<uint16_t>(enable);
    const int32_t status = byte_status(igmp_fast_leave_enable_globle(enable));
    if (status != 0)
        LOG_ERROR(Igmp, "\n ERROR!igmp_fast_leave_enable_globle Fail");
    return status;
}

int32_t omci_set_igmp_leave_mode(uint32_t enable)
{
    LOG_CONFIG(Igmp, "omci_set_port_igmp_leave_mode leave mode = %d\n", enable);
    set_fast_leave(globle_parm.port[0], enable);
    return set_fast_leave(globle_parm.port[1], enable); // intended: only the second answer counts
}

int32_t omci_igmp_ssm_ip_globle_set(uint32_t first, uint32_t second)
{
    LOG_CONFIG(Igmp, "igmp_adapt_ssm_ip_globle_set is in!\n");
    globle_parm.ssm_ip = first;
    globle_parm.ssm_ip_arg2 = second;
    const int32_t status = byte_status(igmp_ssm_ip_globle_set(first, second));
    if (status != 0)
        LOG_ERROR(Igmp, "\n ERROR!igmp_adapt_ssm_ip_globle_set Fail");
    return status;
}

int32_t omci_igmp_ssm_map_globle_set(igmpSsmMapEntry entry)
{
    LOG_CONFIG(Igmp, "igmp_adapt_ssm_map_change is in!\n");
    for (int i = 0; i < 4; ++i)
        globle_parm.ssm_map[i] = entry.word[i];
    globle_parm.ssm_map_arg5 = entry.word[4];
    // The engine reads all five words: the fifth stands right behind the four.
    const int32_t status = byte_status(igmp_ssm_map_change(plain(globle_parm.ssm_map)));
    if (status != 0)
        LOG_ERROR(Igmp, "\n ERROR!igmp_adapt_ssm_map_change Fail");
    return status;
}

void setIgmpAgeEnable(uint32_t enable)
{
    LOG_CONFIG(Igmp, "setIgmpAgeEnable is in\r\n");
    globle_parm.general_member_interval = enable;
}
