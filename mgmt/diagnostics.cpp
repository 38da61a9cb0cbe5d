/**
 * @file
 * Log masks, accessors of the records and configuration dumps.
 */
#include "mcadapt/diagnostics.h"

#include "core/counts.h"
#include "core/families.h"
#include "core/log.h"

namespace mcadapt {

// intended: turning bits on toggles them; when any of them is set, all are cleared
static uint32_t changed_mask(uint32_t mask, uint32_t bits, uint32_t turn_on)
{
    if (turn_on == 0 || (mask & bits) != 0)
        return mask & ~bits;
    return mask | bits;
}

template <class F> static void print_rules()
{
    for (int port = 0; port < MC_LOGIC_PORTS; ++port) {
        const int32_t rules = entries_to_walk(F::rule_counts()[port], MC_RULES_PER_PORT);
        for (int32_t i = 0; i < rules; ++i) {
            const vlanCfgNode &rule = F::rules()[port][i];
            printf("portNO(%u), prouptagmode(%u), in_up_vlan(%u), out_up_vlan(%u)\r\n", +rule.portNO,
                   +rule.prouptagmode, +rule.in_up_vlan, +rule.out_up_vlan);
            printf("portNO(%u), prodntagmode(%u), in_dn_vlan(%u), out_dn_vlan(%u)\r\n", +rule.portNO,
                   +rule.prodntagmode, +rule.in_dn_vlan, +rule.out_dn_vlan);
            printf("portNO(%u), datedntagmode(%u), in_data_vlan(%u), out_data_vlan(%u)\r\n", +rule.portNO,
                   +rule.datedntagmode, +rule.in_data_vlan, +rule.out_data_vlan);
        }
    }
}

template <class Port> static void print_port(int index, const Port &port)
{
    printf("portNO(%d) grouplimit(%d) leavemod(%d) max_bandwidth(%d)\r\n", index, +port.grouplimit, +port.leavemod,
           +port.max_bandwidth);
}

// The first line of the template list holds four items, the later ones three. As bits: dividing by 3 would link a
// division into the library for targets that have none.
static bool ends_line(int32_t item, int32_t items)
{
    constexpr uint32_t kLastOfLine = 1u << 3 | 1u << 6 | 1u << 9 | 1u << 12 | 1u << 15;
    static_assert(MC_TEMPLATE_VLANS == 16);
    return (kLastOfLine >> item & 1) != 0 || item == items - 1;
}

static void print_static_groups()
{
    for (int port = 0; port < MC_LOGIC_PORTS; ++port)
        for (const staticGroupEntry &entry : g_static_list[port])
            if (entry.vlan != MC_NO_VLAN)
                printf("port(%d) vlan = %d, addr = %x\r\n", port, +entry.vlan, +entry.addr);
}

static void print_igmp_template_vlans()
{
    const int32_t items = entries_to_walk(setVlanNumber, MC_TEMPLATE_VLANS);
    for (int32_t i = 0; i < items; ++i) {
        printf("-%d-", +PortVlan[i]);
        printf("TemplateVlan(%u)\t", +globle_parm.TemplateVlan[i]);
        if (ends_line(i, items))
            printf("\r\n");
    }
}

static void print_mld_template_vlans()
{
    const int32_t items = entries_to_walk(getmldTemplateVlanNumber(), MC_TEMPLATE_VLANS);
    for (int32_t i = 0; i < items; ++i) {
        printf("TemplateVlan(%u)\t", +mldInitParams.mldTemplateVlan[i]);
        if (ends_line(i, items))
            printf("\r\n");
    }
}

/** A text field as it is now, for printing: a reset on another thread may be writing it. */
struct TextCopy {
    static constexpr int kBytes = 20;
    char text[kBytes + 1] = {};

    explicit TextCopy(const MC_SHARED(char) (&field)[kBytes])
    {
        for (int i = 0; i < kBytes; ++i)
            text[i] = field[i];
    }
};

static unsigned long wide(uint32_t value) { return value; }

static void print_igmp_parameters()
{
    const igmpGlobleParm &parm = globle_parm;
    printf("defaultVlan(%u), general_member_interval(%lu), last_member_query_count(%lu)\r\n", +parm.defaultVlan,
           wide(parm.general_member_interval), wide(parm.last_member_query_count));
    printf("last_member_query_interval(%lu), learningMode(%u), multiMode(%u)\r\n",
           wide(parm.last_member_query_interval), +parm.learningMode, +parm.multiMode);
    printf("query_interval(%lu), query_max_resp_time(%lu), robustness(%u), version(%u)\r\n", wide(parm.query_interval),
           wide(parm.query_max_resp_time), +parm.robustness, +parm.version);
}

static void print_mld_parameters()
{
    const mldInitParm &mld = mldInitParams;
    printf("defaultVlan(%u), general_member_interval(%u), last_member_query_count(%u)\r\n", +mld.defaultVlan,
           +mld.general_member_interval, +mld.last_member_query_count);
    printf("last_member_query_interval(%u), learningMode(%u), multiMode(%u)\r\n", +mld.last_member_query_interval,
           +mld.learningMode, +mld.multiMode);
    printf("query_interval(%u), query_max_resp_time(%u), robustness(%u), version(%u)\r\n", +mld.query_interval,
           +mld.query_max_resp_time, +mld.robustness, +mld.version);
}

static void print_mld_auth_groups(const mldPortParm &port)
{
    for (const mldAuthGroup &group : port.authGroup)
        if (group.vlan != 0)
            printf("start_groupAdress(%x) end_groupAdress(%x) bandwidth(%d) vlan(%d)\r\n", +group.start_groupAdress,
                   +group.end_groupAdress, +group.bandwidth, +group.vlan);
}

} // namespace mcadapt

using namespace mcadapt;

uint32_t mc_set_debug(uint32_t mask, uint32_t on)
{
    mc_debug = changed_mask(mc_debug, mask, on);
    printf("[mc_set_debug]: result: 0x%x.\r\n", +mc_debug);
    return mc_debug;
}

uint32_t mld_adapt_set_debug(uint32_t mask, uint32_t on)
{
    mld_debug = changed_mask(mld_debug, mask, on);
    return mld_debug; // intended: prints nothing
}

igmpGlobleParm *getIgmpGlobleParmeter()
{
    LOG_CONFIG(Igmp, "getIgmpGlobleParmeter is in\r\n");
    return &globle_parm;
}

int32_t *getPortVlanConfigNumber()
{
    LOG_CONFIG(Igmp, "getPortVlanConfigNumber is in\r\n");
    return plain(setVlanCfgNumber);
}

int32_t getTemplateVlanNumber()
{
    LOG_CONFIG(Igmp, "getTemplateVlanNumber is in\r\n");
    return setVlanNumber;
}

// intended: the MLD accessors print nothing

int32_t getmldTemplateVlanNumber() { return mldInitParams.setVlanNumber; }

int32_t *mldgetPortVlanConfigNumber() { return plain(mldInitParams.mldSetVlanCfgNumber); }

void debugPrint()
{
    printf("MC HAL Version Num: %s.\r\n", TextCopy(globle_parm.version_num).text);
    printf("MC HAL Compile Data %s: %s.\r\n", TextCopy(globle_parm.compile_date).text,
           TextCopy(globle_parm.compile_time).text);
    print_rules<Igmp>();
    for (int port = 0; port < MC_LOGIC_PORTS; ++port) {
        const portParm &parm = globle_parm.port[port];
        print_port(port, parm);
        printf("port(%d) svlan(%d) svlan_s(%d) cvlan(%d) \r\n", port, +parm.svlan, +parm.svlan_s, +parm.cvlan);
    }
    print_static_groups();
    print_igmp_template_vlans();
    print_igmp_parameters();
    printf("testuplink = (%d),tablereturn = (%d), pkt_process_disable = (%d).\r\n", +testuplink, +tablereturn,
           +globle_parm.pkt_process_disable);
}

void mldPrint()
{
    print_rules<Mld>();
    for (int port = 0; port < MC_LOGIC_PORTS; ++port) {
        print_port(port, mldInitParams.mldPort[port]);
        print_mld_auth_groups(mldInitParams.mldPort[port]);
    }
    print_mld_template_vlans();
    print_mld_parameters();
}
