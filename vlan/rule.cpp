#include "vlan/rule.h"

#include "core/start_state.h"

namespace mcadapt {

void derive_upstream(vlanCfgNode &rule)
{
    if (rule.in_up_vlan != MC_NO_VLAN)
        return;
    switch (tag_mode(rule)) {
    case TagMode::kUntag:
        rule.in_up_vlan = rule.in_dn_vlan;
        rule.out_up_vlan = rule.out_dn_vlan;
        break;
    case TagMode::kTranslate:
        rule.in_up_vlan = rule.out_dn_vlan;
        break;
    case TagMode::kTag:
        break;
    }
}

void zero_untagged_user_side(vlanCfgNode &rule)
{
    if (rule.in_up_vlan != 0 && rule.in_up_vlan != MC_NO_VLAN)
        return;
    rule.in_up_vlan = 0;
    rule.out_dn_vlan = 0;
    rule.out_data_vlan = 0;
}

// The VLANs of a rule as a mode lays them out: toward the user, and toward the network.
static vlanCfgNode two_sided_rule(int32_t port_index, uint32_t tag_mode, uint16_t user, uint16_t network)
{
    const auto port = static_cast<uint8_t>(port_index);
    const auto mode = static_cast<uint8_t>(tag_mode);
    return {port, mode, user, network, mode, network, user, mode, network, user, 0};
}

vlanCfgNode rule_from_mode(int32_t port_index, uint32_t mode, uint32_t vlan1, uint32_t vlan2)
{
    const auto first = static_cast<uint16_t>(vlan1);
    const auto second = static_cast<uint16_t>(vlan2);
    switch (mode) {
    case 1:
        return two_sided_rule(port_index, 1, MC_NO_VLAN, first);
    case 0:
    case 3: // intended: untag, although a rule with tag mode 3 translates
        return two_sided_rule(port_index, 0, first, first);
    default:
        return two_sided_rule(port_index, mode, first, second);
    }
}

void store_rule(vlanCfgNode &position, const vlanCfgNode &rule)
{
    const uint8_t flag = position.ruleFlag;
    copy_rule(position, rule);
    position.ruleFlag = flag;
}

} // namespace mcadapt
