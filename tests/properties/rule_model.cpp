#include "properties/rule_model.h"

#include <vector>

#include "support/matchers.h"

namespace mcadapt::test {

int model_logic_port(const portStateNode (&ports)[2], uint32_t port)
{
    if (ports[0].portNo == port)
        return 0;
    if (ports[1].portNo == port)
        return 1;
    return kNoPort;
}

void model_fill_upstream(vlanCfgNode &rule)
{
    if (rule.prouptagmode == 0 && rule.in_up_vlan == 0xFFFF) {
        rule.in_up_vlan = rule.in_dn_vlan;
        rule.out_up_vlan = rule.out_dn_vlan;
    } else if ((rule.prouptagmode == 2 || rule.prouptagmode == 3) && rule.in_up_vlan == 0xFFFF) {
        rule.in_up_vlan = rule.out_dn_vlan;
    }
}

void model_zero_user_side(vlanCfgNode &rule)
{
    if (rule.in_up_vlan == 0 || rule.in_up_vlan == 0xFFFF) {
        rule.in_up_vlan = 0;
        rule.out_dn_vlan = 0;
        rule.out_data_vlan = 0;
    }
}

vlanCfgNode model_rule_of_mode(int32_t port, uint32_t mode, uint32_t vlan1, uint32_t vlan2)
{
    const auto number = static_cast<uint8_t>(port);
    const auto first = static_cast<uint16_t>(vlan1);
    const auto second = static_cast<uint16_t>(vlan2);
    if (mode == 1)
        return rule(number, 1, 0xFFFF, first, 1, first, 0xFFFF, 1, first, 0xFFFF);
    if (mode == 0 || mode == 3)
        return rule(number, 0, first, first, 0, first, first, 0, first, first);
    const auto tag_mode = static_cast<uint8_t>(mode & 0xFF);
    return rule(number, tag_mode, first, second, tag_mode, second, first, tag_mode, second, first);
}

void model_store(vlanCfgNode &position, const vlanCfgNode &rule)
{
    const uint8_t flag = position.ruleFlag;
    position = rule;
    position.ruleFlag = flag;
}

void model_pack(vlanCfgNode (&row)[16])
{
    std::vector<vlanCfgNode> live;
    for (const vlanCfgNode &rule : row)
        if (rule.in_up_vlan != 0xFFFF)
            live.push_back(rule);
    live.resize(16, empty_rule());
    for (int i = 0; i < 16; ++i)
        row[i] = live[static_cast<std::size_t>(i)];
}

void model_pack(uint16_t (&vlans)[16])
{
    std::vector<uint16_t> used;
    for (const uint16_t vlan : vlans)
        if (vlan != 0)
            used.push_back(vlan);
    used.resize(16, 0);
    for (int i = 0; i < 16; ++i)
        vlans[i] = used[static_cast<std::size_t>(i)];
}

bool model_in_use(const vlanCfgNode (&rules)[2][16], const int32_t (&counts)[2], uint16_t vlan)
{
    for (int port = 0; port < 2; ++port)
        for (int i = 0; i < counts[port]; ++i)
            if ((rules[port][i].in_data_vlan & 0xFFF) == vlan)
                return true;
    return false;
}

} // namespace mcadapt::test
