/**
 * @file
 * The start values of the records, written down field by field, and a way to spoil every record first.
 */
#ifndef MCADAPT_TESTS_CORE_START_VALUES_H
#define MCADAPT_TESTS_CORE_START_VALUES_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>

#include "mcadapt/mcadapt.h"
#include "support/matchers.h"

namespace mcadapt::test::start_up {

/** A byte that no start value is made of. */
constexpr int kSpoilt = 0xA5;

template <class Record> void spoil(Record &record) { std::memset(&record, kSpoilt, sizeof record); }

/** Fills every record with `kSpoilt`, the status block too, but not the log masks. */
inline void spoil_all_records()
{
    spoil(globle_parm);
    spoil(mldInitParams);
    spoil(PortVlanCfg);
    spoil(setVlanCfgNumber);
    spoil(PortVlan);
    spoil(setVlanNumber);
    spoil(portState);
    spoil(g_static_list);
    for (auto &list : g_static_list)
        for (staticGroupEntry &entry : list)
            entry.spare = 0;
    spoil(g_static_grp_num);
    if (mc_status_global != nullptr)
        spoil(*mc_status_global);
    spoil(defaultVlan);
    spoil(testuplink);
    spoil(tablereturn);
    spoil(igmp_adapt);
    spoil(flag_omci_version);
    spoil(proxy_adapt_mode);
    spoil(srcPortNum);
    spoil(ponVlan);
    spoil(sys_mac);
    spoil(mld_sys_mac);
    spoil(gSemIgmpv3);
}

inline void store_cleared_rules(vlanCfgNode (&table)[MC_LOGIC_PORTS][MC_RULES_PER_PORT])
{
    for (auto &row : table)
        std::fill(std::begin(row), std::end(row), empty_rule());
}

inline void store_start_ports(portStateNode (&ports)[MC_LOGIC_PORTS])
{
    ports[0] = {0, 2};
    ports[1] = {29, 1};
}

inline void store_free_static_groups()
{
    for (auto &list : g_static_list)
        std::fill(std::begin(list), std::end(list), staticGroupEntry{0xFFFF, 0, 0x0000FFFF});
}

inline void store_igmp_parameters()
{
    std::memset(&globle_parm, 0, sizeof globle_parm);
    for (portParm &port : globle_parm.port)
        port = {0, 0, 0, 0xFFFF, 0xFFFF, 0xFFFF};
    globle_parm.defaultVlan = 4088;
    globle_parm.multiMode = 1;
    globle_parm.robustness = 2;
    globle_parm.version = 3;
    globle_parm.query_interval = 125;
    globle_parm.query_max_resp_time = 10;
    globle_parm.last_member_query_interval = 1;
    globle_parm.last_member_query_count = 2;
    globle_parm.general_member_interval = 1;
    globle_parm.proxyip = 0x0A190E14;
}

inline void store_build_identification()
{
    std::strcpy(globle_parm.compile_date, "May 25 2018");
    std::strcpy(globle_parm.compile_time, "16:48:08");
    std::strcpy(globle_parm.version_num, "QM.14.09.05");
}

/** What the MLD parameter routine stores, and nothing else. */
inline void store_mld_parameters()
{
    mldInitParams.mldTestUplink = 0xFFFE;
    mldInitParams.mldSrcPortNum = 0;
    mldInitParams.mldAdapt = 0xFFFFFFFF;
    mldInitParams.mldOmciVersion = 0;
    mldInitParams.setVlanNumber = 0;
    std::memset(mldInitParams.mldPort, 0, sizeof mldInitParams.mldPort);
    std::memset(mldInitParams.mldTemplateVlan, 0, sizeof mldInitParams.mldTemplateVlan);
    mldInitParams.defaultVlan = 4088;
    mldInitParams.multiMode = 2;
    mldInitParams.learningMode = 0;
    mldInitParams.robustness = 2;
    mldInitParams.version = 3;
    mldInitParams.query_interval = 125;
    mldInitParams.query_max_resp_time = 10;
    mldInitParams.last_member_query_interval = 1;
    mldInitParams.last_member_query_count = 2;
    mldInitParams.general_member_interval = 1;
    mldInitParams.proxyip = 0x0A190E14;
}

inline void store_mld_rules()
{
    store_cleared_rules(mldInitParams.mldPortVlanCfg);
    mldInitParams.mldSetVlanCfgNumber[0] = 0;
    mldInitParams.mldSetVlanCfgNumber[1] = 0;
}

/** The IGMP rules, their counts, the template list and the ports. */
inline void store_igmp_tables()
{
    std::memset(PortVlan, 0, sizeof PortVlan);
    setVlanNumber = 0;
    store_cleared_rules(PortVlanCfg);
    setVlanCfgNumber[0] = 0;
    setVlanCfgNumber[1] = 0;
    store_start_ports(portState);
}

} // namespace mcadapt::test::start_up

#endif
