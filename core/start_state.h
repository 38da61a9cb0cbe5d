/**
 * @file
 * Start values of the records, and the routines that restore them.
 */
#ifndef MCADAPT_CORE_START_STATE_H
#define MCADAPT_CORE_START_STATE_H

#include <cstddef>

#include "core/families.h"
#include "mcadapt/records.h"

namespace mcadapt {

/** A cleared rule. */
constexpr vlanCfgNode kEmptyRule = {0xFF, 4, 0xFFFF, 0xFFFF, 4, 0xFFFF, 0xFFFF, 4, 0xFFFF, 0xFFFF, 0};

/** A free entry of the static group list; its address is deliberately not zero. */
constexpr staticGroupEntry kFreeStaticGroup = {MC_NO_VLAN, 0, 0x0000FFFF};

/** Frees an entry in place; the spare word stays. */
inline void free_static_group(staticGroupEntry &entry)
{
    entry.vlan = kFreeStaticGroup.vlan;
    entry.addr = kFreeStaticGroup.addr;
}

constexpr portStateNode kStartPorts[MC_LOGIC_PORTS] = {{0, MC_PORT_TYPE_USER}, {29, MC_PORT_TYPE_UPLINK}};

constexpr uint16_t kStartDefaultVlan = 4088;

/** Proxy source address 10.25.14.20, in host byte order. */
constexpr uint32_t kStartProxyAddress = 0x0A190E14;

/** The IGMP parameters at start-up, without the build identification. */
constexpr igmpGlobleParm start_igmp_parameters()
{
    igmpGlobleParm parm{};
    for (portParm &port : parm.port) {
        port.svlan = MC_NO_VLAN;
        port.svlan_s = MC_NO_VLAN;
        port.cvlan = MC_NO_VLAN;
    }
    parm.defaultVlan = kStartDefaultVlan;
    parm.multiMode = 1;
    parm.robustness = 2;
    parm.version = 3;
    parm.query_interval = 125;
    parm.query_max_resp_time = 10;
    parm.last_member_query_interval = 1;
    parm.last_member_query_count = 2;
    parm.general_member_interval = 1;
    parm.proxyip = kStartProxyAddress;
    return parm;
}

template <std::size_t N> constexpr void copy_text(MC_SHARED(char) (&field)[20], const char (&text)[N])
{
    static_assert(N <= 20);
    for (std::size_t i = 0; i < N; ++i)
        field[i] = text[i];
}

constexpr void set_build_identification(igmpGlobleParm &parm)
{
    copy_text(parm.compile_date, "May 25 2018");
    copy_text(parm.compile_time, "16:48:08");
    copy_text(parm.version_num, "QM.14.09.05");
}

/** The IGMP parameters when the library is loaded. */
constexpr igmpGlobleParm loaded_igmp_parameters()
{
    igmpGlobleParm parm = start_igmp_parameters();
    set_build_identification(parm);
    return parm;
}

/** The parameter fields of the MLD side at start-up; the other fields are not touched. */
constexpr void set_start_mld_parameters(mldInitParm &mld)
{
    mld.mldTestUplink = MC_NO_TEST_UPLINK;
    mld.mldSrcPortNum = 0;
    mld.mldAdapt = 0xFFFFFFFF;
    mld.mldOmciVersion = 0;
    mld.setVlanNumber = 0;
    for (mldPortParm &port : mld.mldPort)
        port = {};
    for (auto &vlan : mld.mldTemplateVlan)
        vlan = 0;
    mld.defaultVlan = kStartDefaultVlan;
    mld.multiMode = 2;
    mld.learningMode = 0;
    mld.robustness = 2;
    mld.version = 3;
    mld.query_interval = 125;
    mld.query_max_resp_time = 10;
    mld.last_member_query_interval = 1;
    mld.last_member_query_count = 2;
    mld.general_member_interval = 1;
    mld.proxyip = kStartProxyAddress;
}

/** The whole MLD side when the library is loaded. */
constexpr mldInitParm loaded_mld_side()
{
    mldInitParm mld{};
    set_start_mld_parameters(mld);
    for (int port = 0; port < MC_LOGIC_PORTS; ++port) {
        mld.mldPortState[port] = kStartPorts[port];
        for (vlanCfgNode &rule : mld.mldPortVlanCfg[port])
            rule = kEmptyRule;
    }
    return mld;
}

/** Copies a rule, field by field. */
void copy_rule(vlanCfgNode &to, const vlanCfgNode &from);

inline void clear_rule(vlanCfgNode &rule) { copy_rule(rule, kEmptyRule); }

/** Clears every position of one port's rules. */
void clear_rule_row(RuleRow &row);

/** Clears every rule of a family and both rule counts. */
template <class F> void clear_rules()
{
    for (int port = 0; port < MC_LOGIC_PORTS; ++port) {
        clear_rule_row(F::rules()[port]);
        F::rule_counts()[port] = 0;
    }
}

/** Empties the IGMP template VLAN list; its mirror in `globle_parm` is left to the parameters' own routine. */
void clear_template_list();

/** Sets the IGMP ports to port 0, user, and port 29, uplink. */
void set_start_ports();

} // namespace mcadapt

#endif
