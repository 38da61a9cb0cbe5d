#include "tests/host/whole_unit/table_invariants.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "mcadapt/records.h"

namespace mcadapt::host::test {

namespace {

using Row = vlanCfgNode[MC_RULES_PER_PORT];

struct Side {
    const char *family;
    const Row (&rules)[MC_LOGIC_PORTS];
    const int32_t (&counts)[MC_LOGIC_PORTS];
    const portStateNode (&ports)[MC_LOGIC_PORTS];
};

const Side kSides[] = {
    {"IGMP", PortVlanCfg, setVlanCfgNumber, portState},
    {"MLD", mldInitParams.mldPortVlanCfg, mldInitParams.mldSetVlanCfgNumber, mldInitParams.mldPortState}};

bool is_cleared(const vlanCfgNode &rule)
{
    return rule.portNO == 0xFF && rule.prouptagmode == 4 && rule.prodntagmode == 4 && rule.datedntagmode == 4 &&
           (rule.in_up_vlan & rule.out_up_vlan & rule.in_dn_vlan & rule.out_dn_vlan & rule.in_data_vlan &
            rule.out_data_vlan) == 0xFFFF;
}

void check_count(std::string &wrong, const char *family, const char *name, int32_t count, int32_t places)
{
    if (count < 0 || count > places)
        wrong += std::string(family) + " " + name + " is " + std::to_string(count) + "\n";
}

void check_row_end(std::string &wrong, const Side &side, int port)
{
    const int32_t count = std::clamp(side.counts[port], 0, MC_RULES_PER_PORT);
    if (!std::all_of(side.rules[port] + count, std::end(side.rules[port]), is_cleared))
        wrong += std::string("a rule is left behind the ") + side.family + " rules of logic port " +
                 std::to_string(port) + "\n";
}

} // namespace

std::string broken_tables()
{
    std::string wrong;
    check_count(wrong, "IGMP", "setVlanNumber", setVlanNumber, MC_TEMPLATE_VLANS);
    check_count(wrong, "MLD", "setVlanNumber", mldInitParams.setVlanNumber, MC_TEMPLATE_VLANS);
    for (int port = 0; port < MC_LOGIC_PORTS; ++port) {
        check_count(wrong, "IGMP", "g_static_grp_num", g_static_grp_num[port], MC_STATIC_GROUPS_PER_PORT);
        for (const Side &side : kSides) {
            check_count(wrong, side.family, "rule count", side.counts[port], MC_RULES_PER_PORT);
            check_row_end(wrong, side, port);
        }
    }
    if (std::memcmp(PortVlan, globle_parm.TemplateVlan, sizeof PortVlan) != 0)
        wrong += "the template list differs from its mirror\n";
    const int32_t vlans = std::clamp(setVlanNumber, 0, MC_TEMPLATE_VLANS);
    if (std::any_of(PortVlan + vlans, std::end(PortVlan), [](uint16_t vlan) { return vlan != 0; }))
        wrong += "a VLAN is left behind the template list\n";
    if (mc_status_global != nullptr && mc_status_global->std_cnt > MC_STATUS_GROUPS)
        wrong += "the status counts " + std::to_string(mc_status_global->std_cnt) + " groups\n";
    return wrong;
}

std::string broken_rows()
{
    std::string wrong;
    for (const Side &side : kSides)
        for (int port = 0; port < MC_LOGIC_PORTS; ++port)
            for (int32_t i = 0; i < std::min(side.counts[port], MC_RULES_PER_PORT); ++i) {
                const vlanCfgNode &rule = side.rules[port][i];
                if (rule.portNO != side.ports[port].portNo || rule.in_up_vlan == MC_NO_VLAN ||
                    rule.in_data_vlan == MC_NO_VLAN)
                    wrong += std::string(side.family) + " rule " + std::to_string(i) + " of logic port " +
                             std::to_string(port) + " is counted but not live\n";
            }
    return wrong;
}

} // namespace mcadapt::host::test
