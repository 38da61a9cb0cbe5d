#include "properties/igmp_model.h"

#include <cstring>

#include "properties/rule_model.h"
#include "support/matchers.h"

namespace mcadapt::test {

int32_t IgmpModel::learn_vlans()
{
    parm.learningMode = 1;
    return low_byte(engine_.call("igmp_vlan_learning_set", 1));
}

int32_t IgmpModel::install(vlanCfgNode rule)
{
    int32_t result = 0;
    engine_.call("vx_hal_nni_upmode_get");
    if (epon)
        result = learn_vlans();
    if (set_by_mode == 0)
        model_fill_upstream(rule);
    const int port = model_logic_port(ports, rule.portNO);
    if (port == kNoPort)
        return -1;
    model_zero_user_side(rule);

    const int32_t count = counts[port];
    if (count <= 15 && rules[port][count].in_data_vlan == 0xFFFF) {
        model_store(rules[port][count], rule);
        ++counts[port];
        const bool listed = is_listed(rule.in_data_vlan);
        result = replay_static_groups(port, result);
        if (!listed && vlan_count > 15) {
            engine_.output += "setVlanNumber = " + std::to_string(vlan_count) + " then > 16  quit!";
            return 0;
        }
        if (!listed) {
            append_vlan(rule.in_data_vlan);
            result = low_byte(engine_.call("igmp_vlan_add", rule.in_data_vlan & 0xFFF));
        }
    }
    return set_by_mode != 0 ? result : mld_.install(rule);
}

int32_t IgmpModel::replay_static_groups(int port, int32_t result)
{
    for (int i = 0; i < static_counts[port]; ++i) {
        const staticGroupEntry &entry = static_groups[port][i];
        if (entry.vlan != 0xFFFF)
            result =
                low_byte(engine_.call("igmp_if_static_group_source_add", port, uint32_t{entry.vlan}, entry.addr, 0, 1));
    }
    return result;
}

bool IgmpModel::is_listed(uint16_t vlan) const
{
    for (int j = 0; j < vlan_count; ++j)
        if (vlans[j] == vlan)
            return true;
    return false;
}

void IgmpModel::append_vlan(uint16_t vlan)
{
    vlans[vlan_count] = vlan;
    parm.TemplateVlan[vlan_count] = vlan;
    ++vlan_count;
}

void IgmpModel::drop_vlan(int index)
{
    --vlan_count;
    vlans[index] = 0;
    parm.TemplateVlan[index] = 0;
}

void IgmpModel::pack_vlans()
{
    model_pack(vlans);
    model_pack(parm.TemplateVlan);
}

int32_t IgmpModel::remove(vlanCfgNode rule)
{
    if (set_by_mode == 0)
        model_fill_upstream(rule);
    const int port = model_logic_port(ports, rule.portNO);
    if (port == kNoPort || counts[port] == 0)
        return -1;
    model_zero_user_side(rule);

    int i = 0;
    while (i <= 15) {
        if (rules[port][i].in_up_vlan != rule.in_up_vlan) {
            ++i;
            continue;
        }
        rules[port][i] = empty_rule();
        --counts[port];
        if (rule.portNO <= kHighestPort)
            model_pack(rules[port]);
        withdraw_static_groups(port, rule.in_data_vlan);
        // One index serves both scans: the rules are gone on with behind where the static groups ended.
        i = (static_counts[port] > 0 ? static_counts[port] : 0) + 1;
        release_vlan(rule.in_data_vlan);
    }
    if (set_by_mode == 0)
        mld_.remove(rule);
    return 0;
}

void IgmpModel::withdraw_static_groups(int port, uint16_t vlan)
{
    for (int i = 0; i < static_counts[port]; ++i) {
        const staticGroupEntry &entry = static_groups[port][i];
        if (entry.vlan == vlan)
            engine_.call("igmp_if_static_group_source_del", port, uint32_t{entry.vlan}, entry.addr, 0, 1);
    }
}

void IgmpModel::release_vlan(uint16_t vlan)
{
    if (model_in_use(rules, counts, vlan) || parm.defaultVlan == vlan)
        return;
    engine_.call("igmp_vlan_del", vlan & 0xFFF);
    for (int j = 0; j < vlan_count; ++j) {
        if (vlans[j] == vlan) {
            drop_vlan(j);
            break;
        }
    }
    pack_vlans();
}

int32_t IgmpModel::install_by_mode(int32_t port, uint32_t mode, uint32_t vlan1, uint32_t vlan2)
{
    mld_.state.mldOmciVersion = 1;
    set_by_mode = 1;
    vlanCfgNode rule = model_rule_of_mode(port, mode, vlan1, vlan2);
    install(rule);
    return mld_.install(rule);
}

int32_t IgmpModel::remove_by_mode(int32_t port, uint32_t mode, uint32_t vlan1, uint32_t vlan2)
{
    mld_.state.mldOmciVersion = 1;
    set_by_mode = 1;
    vlanCfgNode rule = model_rule_of_mode(port, mode, vlan1, vlan2);
    remove(rule);
    mld_.remove(rule);
    return 0;
}

int32_t IgmpModel::set_by_web(vlanCfgNode &rule)
{
    const int known_port = model_logic_port(ports, rule.portNO);
    const int port = known_port == kNoPort ? 0 : known_port;

    learn_vlans();
    if (parm.defaultVlan != rule.in_data_vlan)
        engine_.call("igmp_vlan_del", rules[port][0].in_data_vlan & 0xFFF);
    if (vlan_count > 0) {
        if (vlans[0] == rules[0][0].in_data_vlan)
            drop_vlan(0);
        else if (vlan_count > 1 && vlans[1] == rules[1][0].in_data_vlan)
            drop_vlan(1);
        pack_vlans();
    }
    clear_row(port);
    if (known_port == kNoPort) {
        if (adapt >= -1)
            engine_.output += "\r\n [IGMP_ERROR]std_omci_web_set_vlan(1835): \n port(" + std::to_string(rule.portNO) +
                              ") is invalid!\r\n";
        return -1;
    }
    if (adapt > 0)
        engine_.output +=
            "\r\n [IGMP_INFORMATION]std_omci_web_set_vlan(1828): \n logicPort is " + std::to_string(port) + "\r\n";

    rule.in_up_vlan = rule.out_dn_vlan;
    rule.prouptagmode = rule.prodntagmode;
    rule.out_up_vlan = rule.in_dn_vlan;
    if (rule.prodntagmode == 1) {
        rule.in_up_vlan = 0;
        rule.out_dn_vlan = 0;
    }
    if (rule.datedntagmode == 1)
        rule.out_data_vlan = 0;
    if (rule.prodntagmode == 0) {
        rule.in_up_vlan = rule.out_up_vlan;
        rule.out_dn_vlan = rule.in_dn_vlan;
    }
    if (rule.datedntagmode == 0)
        rule.out_data_vlan = rule.in_data_vlan;
    model_store(rules[port][0], rule);
    counts[port] = 1;
    if (vlan_count <= 15)
        append_vlan(rule.in_data_vlan);
    return low_byte(engine_.call("igmp_vlan_add", rule.in_data_vlan & 0xFFF));
}

int32_t IgmpModel::set_default_vlan(uint32_t vlan)
{
    const uint16_t old = parm.defaultVlan;
    bool old_is_listed = false;
    for (int j = 0; j < vlan_count; ++j)
        old_is_listed = old_is_listed || (vlans[j] & 0xFFF) == old;
    if (vlan != old) {
        mld_.state.defaultVlan = static_cast<uint16_t>(vlan);
        default_vlan = static_cast<uint16_t>(vlan);
        parm.defaultVlan = static_cast<uint16_t>(vlan);
    }
    engine_.call("mld_api_set_default_vlan", vlan);
    const int32_t result = engine_.call("igmp_default_vid_set", vlan);
    return old_is_listed ? low_byte(engine_.call("igmp_vlan_add", uint32_t{old})) : result;
}

void IgmpModel::clear_row(int port)
{
    for (vlanCfgNode &position : rules[port])
        position = empty_rule();
    counts[port] = 0;
}

void IgmpModel::reset_all()
{
    clear_row(0);
    clear_row(1);
    std::memset(vlans, 0, sizeof vlans);
    vlan_count = 0;
    engine_.call("igmp_vlan_del_all");

    start_parameters();
    status.reset();
    if (!allocation_fails) {
        status.emplace();
        std::memset(&*status, 0, sizeof *status);
        status->statusMode = 1;
    }
    for (auto &list : static_groups)
        for (staticGroupEntry &entry : list)
            entry = {0xFFFF, 0, 0x0000FFFF};
    push_parameters();
    engine_.call("igmp_del_all_group");
}

void IgmpModel::start_parameters()
{
    parm = igmpGlobleParm{};
    for (portParm &port : parm.port) {
        port.svlan = 0xFFFF;
        port.svlan_s = 0xFFFF;
        port.cvlan = 0xFFFF;
    }
    parm.defaultVlan = 4088;
    parm.multiMode = 1;
    parm.robustness = 2;
    parm.version = 3;
    parm.query_interval = 125;
    parm.query_max_resp_time = 10;
    parm.last_member_query_interval = 1;
    parm.last_member_query_count = 2;
    parm.general_member_interval = 1;
    parm.proxyip = 0x0A190E14;
    std::strcpy(parm.compile_date, "May 25 2018");
    std::strcpy(parm.compile_time, "16:48:08");
    std::strcpy(parm.version_num, "QM.14.09.05");
}

void IgmpModel::push_parameters()
{
    engine_.call("igmp_default_vid_set", 4088);
    engine_.call("igmp_para_globle_set", 2, 125, 10, 1, 2, 1);
    set_snooping_mode();
    engine_.call("igmp_fast_leave_enable_globle", 0);
    engine_.call("igmp_vlan_learning_set", 0);
}

void IgmpModel::set_snooping_mode()
{
    trap_to_the_unit();
    protocol_mode = 1;
    if (status)
        status->statusMode = 1;
    engine_.call("igmp_mode_switch_globle", 1);
}

bool IgmpModel::trap_to_the_unit()
{
    const auto refused = [&](int32_t answer, const std::string &what) {
        if (answer != 0)
            engine_.output += "\n ERROR! " + what + " Fail " + std::to_string(answer) + "!\n";
        return answer != 0;
    };
    return !refused(engine_.call("l2_multicast_set_trap", 0, 1), "l2_multicast_set_trap") &&
           !refused(engine_.call("l2_multicast_set_flood", 0, 0), "l2_multicast_set_flood snooping") &&
           !refused(engine_.call("l2_multicast_set_flood", 1, 0), "l2_multicast_set_flood") &&
           !refused(engine_.call("l2_multicast_set_trap", 1, 1), "l2_multicast_set_trap");
}

int32_t IgmpModel::reset_port(uint32_t port, uint32_t type)
{
    if (port > 6)
        return -1;
    if (type != 0 && type != 2)
        return 0;
    const int logic_port = model_logic_port(ports, port);
    if (logic_port == kNoPort)
        return -1;
    if (type == 0) {
        parm.port[logic_port].leavemod = 0;
        engine_.call("igmp_if_fast_leave_enable", port, 0);
        return 0;
    }
    parm.port[logic_port].grouplimit = 1024;
    if (status)
        status->statusGroupLimit[logic_port] = 1024;
    engine_.call("igmp_if_max_group_num_set", port, 1024);
    return 0;
}

bool IgmpModel::accepts_static_groups(uint32_t port, uint8_t first, uint8_t last, uint16_t vlan) const
{
    return port <= kHighestPort && model_logic_port(ports, port) != kNoPort && vlan != 0 && first <= last;
}

// The lists go by switch port, and there are but two: another port is asked for, never recorded.
int32_t IgmpModel::add_static_groups(uint32_t port, uint8_t first, uint8_t last, uint16_t vlan)
{
    if (!accepts_static_groups(port, first, last, vlan))
        return -1;
    int32_t result = 0;
    for (uint32_t group = first; group <= last; ++group) {
        result = low_byte(engine_.call("igmp_if_static_group_source_add", port, uint32_t{vlan}, group, 0, 1));
        if (port > 1 || static_counts[port] >= 32)
            continue;
        staticGroupEntry &entry = static_groups[port][static_counts[port]];
        entry.vlan = vlan;
        entry.addr = group;
        ++static_counts[port];
    }
    return result;
}

int32_t IgmpModel::withdraw_static_group(uint32_t port, staticGroupEntry &entry, uint16_t vlan)
{
    const int32_t result =
        low_byte(engine_.call("igmp_if_static_group_source_del", port, uint32_t{vlan}, entry.addr, 0, 1));
    if (result == 0) {
        entry.vlan = 0xFFFF;
        entry.addr = 0x0000FFFF;
        --static_counts[port];
    }
    return result;
}

int32_t IgmpModel::delete_static_groups(uint32_t port, uint8_t first, uint8_t last, uint16_t vlan)
{
    if (!accepts_static_groups(port, first, last, vlan))
        return -1;
    if (port > 1)
        return 0;
    int32_t result = 0;
    const int32_t scanned = static_counts[port];
    for (uint32_t group = first; group <= last; ++group)
        for (int i = 0; i < scanned; ++i)
            if (static_groups[port][i].addr == group)
                result = withdraw_static_group(port, static_groups[port][i], vlan);
    return result;
}

int32_t IgmpModel::clear_static_groups(uint32_t port)
{
    if (port > kHighestPort || model_logic_port(ports, port) == kNoPort)
        return -1;
    if (port > 1)
        return 0;
    int32_t result = 0;
    const int32_t scanned = static_counts[port];
    for (int i = 0; i < scanned; ++i) {
        staticGroupEntry &entry = static_groups[port][i];
        if (entry.addr != 0x0000FFFF)
            result = withdraw_static_group(port, entry, entry.vlan);
    }
    return result;
}

} // namespace mcadapt::test
