#include "core/start_state.h"

#include <cstdlib>

#include "core/counts.h"
#include "core/log.h"
#include "mcadapt/omci.h"
#include "mcadapt/startup.h"
#include "platform/protocol_engine.h"

namespace mcadapt {

// Out of line: eleven loads and stores are too many to repeat wherever a rule is copied.
[[gnu::noinline]] void copy_rule(vlanCfgNode &to, const vlanCfgNode &from) { to = from; }

void clear_rule_row(RuleRow &row)
{
    for (vlanCfgNode &rule : row)
        clear_rule(rule);
}

void clear_template_list()
{
    for (auto &vlan : PortVlan)
        vlan = 0;
    setVlanNumber = 0;
}

void set_start_ports()
{
    for (int port = 0; port < MC_LOGIC_PORTS; ++port)
        portState[port] = kStartPorts[port];
}

// The previous block, if there was one, is deliberately left behind: a query on another thread may be reading it.
static void take_status_block()
{
    auto *const block = static_cast<grp_info *>(calloc(1, sizeof(grp_info)));
    if (block != nullptr)
        block->statusMode = 1;
    mc_status_global = block;
}

static void free_static_groups()
{
    for (auto &list : g_static_list)
        for (staticGroupEntry &entry : list)
            free_static_group(entry);
}

// The bytes between the fields too, by whole words, which leaves every field of a word whole.
template <class Record> static void clear_whole(Record &record)
{
    using Word [[gnu::may_alias]] = uint32_t;
    static_assert(sizeof(Record) % sizeof(Word) == 0 && alignof(Record) >= alignof(Word));
    auto *const words = reinterpret_cast<Word *>(&record);
    for (std::size_t i = 0; i < sizeof(Record) / sizeof(Word); ++i)
        __atomic_store_n(&words[i], 0, __ATOMIC_RELAXED);
}

// The engine judges the values; whatever it refuses is reported, and the next parameter follows.
static void push_igmp_parameters()
{
    const igmpGlobleParm &parm = globle_parm;

    int32_t ret = igmp_default_vid_set(parm.defaultVlan);
    if (ret != 0)
        LOG_ERROR(Igmp, "igmp_default_vid_set is error! ret = %d\r\n", ret);

    ret = igmp_para_globle_set(parm.robustness, parm.query_interval, parm.query_max_resp_time,
                               parm.last_member_query_interval, parm.last_member_query_count,
                               parm.general_member_interval);
    if (ret != 0)
        LOG_ERROR(Igmp, "igmp_para_globle_set is error! ret = %d\r\n", ret);

    ret = omci_set_multicast_mode(parm.multiMode & 0xFF);
    if (ret != 0)
        LOG_ERROR(Igmp, "omci_set_multicast_mode is error! ret = %d\r\n", ret);

    ret = byte_status(igmp_fast_leave_enable_globle(parm.port[0].leavemod & 0xFFu));
    if (ret != 0)
        LOG_ERROR(Igmp, "igmp_fast_leave_enable_globle is error! ret = %d\r\n", ret);

    ret = byte_status(igmp_vlan_learning_set(parm.learningMode & 0xFFu));
    if (ret != 0)
        LOG_ERROR(Igmp, "\n ERROR!igmp_adapt_vlan_learning Fail ret = %d", ret);
}

} // namespace mcadapt

using namespace mcadapt;

void initIgmpGlobleParmeter()
{
    clear_whole(globle_parm);
    globle_parm = start_igmp_parameters();
    take_status_block();
    free_static_groups();
    push_igmp_parameters();
    set_build_identification(globle_parm);
}

void initmldGlobleParmeter()
{
    for (mldPortParm &port : mldInitParams.mldPort)
        clear_whole(port);
    set_start_mld_parameters(mldInitParams);
}

void mldinitPortStateNode()
{
    for (int port = 0; port < MC_LOGIC_PORTS; ++port)
        mldInitParams.mldPortState[port] = kStartPorts[port];
}

void mldinitVlancfgNode() { clear_rules<Mld>(); }
