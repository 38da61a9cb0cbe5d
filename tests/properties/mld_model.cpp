#include "properties/mld_model.h"

#include <algorithm>
#include <cstring>

#include "properties/rule_model.h"
#include "support/matchers.h"

namespace mcadapt::test {

int32_t MldModel::install(vlanCfgNode &rule)
{
    if (state.mldOmciVersion == 0)
        model_fill_upstream(rule);
    const int port = model_logic_port(state.mldPortState, rule.portNO);
    if (port == kNoPort)
        return -1;
    model_zero_user_side(rule);

    const int32_t count = state.mldSetVlanCfgNumber[port];
    if (count > 15)
        return -1;
    if (state.mldPortVlanCfg[port][count].in_data_vlan != 0xFFFF)
        return -1;
    model_store(state.mldPortVlanCfg[port][count], rule);
    ++state.mldSetVlanCfgNumber[port];

    for (int j = 0; j < state.setVlanNumber; ++j)
        if (state.mldVlanList[j] == rule.in_data_vlan)
            return 0;
    if (state.setVlanNumber > 15) {
        engine_.output += "mldInitParams.setVlanNumber = " + std::to_string(state.setVlanNumber) + " then > 16  quit!";
        return 0;
    }
    state.mldTemplateVlan[state.setVlanNumber] = rule.in_data_vlan;
    state.mldVlanList[state.setVlanNumber] = rule.in_data_vlan;
    ++state.setVlanNumber;
    return engine_.call("mld_pack_set_mc_vlan", 1, rule.in_data_vlan & 0xFFF);
}

int32_t MldModel::remove(vlanCfgNode &rule)
{
    if (state.mldOmciVersion == 0)
        model_fill_upstream(rule);
    const int port = model_logic_port(state.mldPortState, rule.portNO);
    if (port == kNoPort)
        return -1;
    if (state.mldSetVlanCfgNumber[port] == 0)
        return -1;
    model_zero_user_side(rule);

    vlanCfgNode(&row)[16] = state.mldPortVlanCfg[port];
    vlanCfgNode *found =
        std::find_if(row, row + 16, [&](const vlanCfgNode &each) { return each.in_up_vlan == rule.in_up_vlan; });
    if (found == row + 16)
        return 0;
    if (found->in_data_vlan == rule.in_data_vlan) {
        *found = empty_rule();
        --state.mldSetVlanCfgNumber[port];
    }
    if (rule.portNO > kHighestPort)
        return -1;
    model_pack(row);

    if (model_in_use(state.mldPortVlanCfg, state.mldSetVlanCfgNumber, rule.in_data_vlan))
        return 0;
    if (state.defaultVlan == rule.in_data_vlan)
        return 0;
    const int32_t status = engine_.call("mld_pack_set_mc_vlan", 0, rule.in_data_vlan & 0xFFF);
    release_list_entry(rule.in_data_vlan);
    pack_vlan_list();
    model_pack(state.mldTemplateVlan);
    return status;
}

void MldModel::release_list_entry(uint16_t vlan)
{
    for (int j = 0; j < state.setVlanNumber; ++j) {
        if (state.mldVlanList[j] != vlan)
            continue;
        state.mldTemplateVlan[j] = 0;
        state.mldVlanList[j] = 0;
        --state.setVlanNumber;
        return;
    }
}

// The list of 32-bit entries is packed as if it were sixteen 16-bit ones: only its first half is looked at, and two
// VLANs end up in one entry. This is how the list behaves.
void MldModel::pack_vlan_list()
{
    uint16_t halves[16];
    for (int k = 0; k < 8; ++k) {
        halves[2 * k] = static_cast<uint16_t>(state.mldVlanList[k] & 0xFFFF);
        halves[2 * k + 1] = static_cast<uint16_t>(state.mldVlanList[k] >> 16);
    }
    model_pack(halves);
    for (int k = 0; k < 8; ++k)
        state.mldVlanList[k] = halves[2 * k] + halves[2 * k + 1] * 0x10000u;
    for (int k = 8; k < 16; ++k)
        state.mldVlanList[k] = 0;
}

void MldModel::start_parameters()
{
    state.mldTestUplink = 0xFFFE;
    state.mldSrcPortNum = 0;
    state.mldAdapt = 0xFFFFFFFF;
    state.mldOmciVersion = 0;
    state.setVlanNumber = 0;
    std::memset(state.mldTemplateVlan, 0, sizeof state.mldTemplateVlan);
    for (mldPortParm &port : state.mldPort)
        port = mldPortParm{};
    state.defaultVlan = 4088;
    state.multiMode = 2;
    state.learningMode = 0;
    state.robustness = 2;
    state.version = 3;
    state.query_interval = 125;
    state.query_max_resp_time = 10;
    state.last_member_query_interval = 1;
    state.last_member_query_count = 2;
    state.general_member_interval = 1;
    state.proxyip = 0x0A190E14;
}

void MldModel::start_rules()
{
    for (int port = 0; port < 2; ++port) {
        state.mldSetVlanCfgNumber[port] = 0;
        for (vlanCfgNode &position : state.mldPortVlanCfg[port])
            position = empty_rule();
    }
}

} // namespace mcadapt::test
