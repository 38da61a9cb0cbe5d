/**
 * @file
 * The process-wide records with the values that they hold when the library is loaded.
 */
#include "mcadapt/records.h"

#include <cstddef>
#include <type_traits>

#include "core/start_state.h"

using namespace mcadapt;

// Initialised before any code runs: no start-up code, and no moment at which another object's could find them empty.
#if defined(__clang__)
#define CONSTANT_INIT_ [[clang::require_constant_initialization]]
#else
#define CONSTANT_INIT_ __constinit
#endif

// Sixteen cleared rules, for each logic port.
#define CLEARED_RULES_4_ kEmptyRule, kEmptyRule, kEmptyRule, kEmptyRule
#define CLEARED_ROW_                                                                                                   \
    {                                                                                                                  \
        CLEARED_RULES_4_, CLEARED_RULES_4_, CLEARED_RULES_4_, CLEARED_RULES_4_                                         \
    }
#define CLEARED_TABLE_                                                                                                 \
    {                                                                                                                  \
        CLEARED_ROW_, CLEARED_ROW_                                                                                     \
    }

#define FREE_GROUPS_8_                                                                                                 \
    kFreeStaticGroup, kFreeStaticGroup, kFreeStaticGroup, kFreeStaticGroup, kFreeStaticGroup, kFreeStaticGroup,        \
        kFreeStaticGroup, kFreeStaticGroup
#define FREE_LIST_                                                                                                     \
    {                                                                                                                  \
        FREE_GROUPS_8_, FREE_GROUPS_8_, FREE_GROUPS_8_, FREE_GROUPS_8_                                                 \
    }

extern "C" {

CONSTANT_INIT_ igmpGlobleParm globle_parm = loaded_igmp_parameters();
CONSTANT_INIT_ mldInitParm mldInitParams = loaded_mld_side();

CONSTANT_INIT_ vlanCfgNode PortVlanCfg[MC_LOGIC_PORTS][MC_RULES_PER_PORT] = CLEARED_TABLE_;
CONSTANT_INIT_ MC_SHARED(int32_t) setVlanCfgNumber[MC_LOGIC_PORTS] = {};
CONSTANT_INIT_ MC_SHARED(uint16_t) PortVlan[MC_TEMPLATE_VLANS] = {};
CONSTANT_INIT_ MC_SHARED(int32_t) setVlanNumber = 0;
CONSTANT_INIT_ portStateNode portState[MC_LOGIC_PORTS] = {kStartPorts[0], kStartPorts[1]};
CONSTANT_INIT_ staticGroupEntry g_static_list[MC_LOGIC_PORTS][MC_STATIC_GROUPS_PER_PORT] = {FREE_LIST_, FREE_LIST_};
CONSTANT_INIT_ MC_SHARED(int32_t) g_static_grp_num[MC_LOGIC_PORTS] = {};
CONSTANT_INIT_ MC_SHARED(grp_info *) mc_status_global = nullptr;

CONSTANT_INIT_ MC_SHARED(uint16_t) defaultVlan = kStartDefaultVlan;
CONSTANT_INIT_ MC_SHARED(uint32_t) testuplink = MC_NO_TEST_UPLINK;
CONSTANT_INIT_ MC_SHARED(uint32_t) tablereturn = 1;
CONSTANT_INIT_ MC_SHARED(int32_t) igmp_adapt = -1;
CONSTANT_INIT_ MC_SHARED(uint32_t) flag_omci_version = 0;
CONSTANT_INIT_ MC_SHARED(uint8_t) proxy_adapt_mode = 0;
CONSTANT_INIT_ MC_SHARED(uint8_t) srcPortNum = 0;
CONSTANT_INIT_ MC_SHARED(uint32_t) ponVlan = 0;
uint8_t sys_mac[6] = {};
uint8_t mld_sys_mac[6] = {};
CONSTANT_INIT_ MC_SHARED(uint32_t) mc_debug = 0;
CONSTANT_INIT_ MC_SHARED(uint32_t) mld_debug = 0;
sem_t gSemIgmpv3 = {};

} // extern "C"

// The layouts are part of the binary interface, the same on every processor.
template <class R> constexpr bool is_plain_record()
{
    return std::is_standard_layout_v<R> && std::is_trivially_destructible_v<R>;
}

static_assert(is_plain_record<vlanCfgNode>() && sizeof(vlanCfgNode) == 20);
static_assert(offsetof(vlanCfgNode, in_dn_vlan) == 8 && offsetof(vlanCfgNode, in_data_vlan) == 14);

static_assert(is_plain_record<igmpGlobleParm>() && sizeof(igmpGlobleParm) == 188);
static_assert(sizeof(portParm) == 16 && offsetof(portParm, svlan) == 8);
static_assert(offsetof(igmpGlobleParm, TemplateVlan) == 32 && offsetof(igmpGlobleParm, defaultVlan) == 64);
static_assert(offsetof(igmpGlobleParm, query_interval) == 72 && offsetof(igmpGlobleParm, ssm_map) == 100);
static_assert(offsetof(igmpGlobleParm, compile_date) == 124 && offsetof(igmpGlobleParm, pkt_process_disable) == 184);

static_assert(sizeof(portStateNode) == 8 && sizeof(staticGroupEntry) == 8);

static_assert(is_plain_record<mldInitParm>() && sizeof(mldInitParm) == 1352);
static_assert(sizeof(mldAuthGroup) == 16 && sizeof(mldPortParm) == 264 && sizeof(mldTagRecord) == 6);
static_assert(offsetof(mldInitParm, mldPort) == 36 && offsetof(mldInitParm, mldTemplateVlan) == 564);
static_assert(offsetof(mldInitParm, mldVlanList) == 604 && offsetof(mldInitParm, query_interval) == 676);
static_assert(offsetof(mldInitParm, mldPortVlanCfg) == 700 && offsetof(mldInitParm, outerTag) == 1340);

static_assert(is_plain_record<grp_info>() && sizeof(grp_info) == 14392);
static_assert(sizeof(grpRecord) == 28 && offsetof(grpRecord, userPort) == 26);
static_assert(offsetof(grp_info, interfaceStatus) == 14340 && offsetof(grp_info, oamFastLeave) == 14376);
static_assert(offsetof(grp_info, statusGroupLimit) == 14380 && offsetof(grp_info, statusMode) == 14388);
