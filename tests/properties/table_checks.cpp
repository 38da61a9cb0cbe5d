#include "properties/table_checks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "support/matchers.h"
#include "support/record_state.h"

namespace mcadapt::test {

namespace {

template <class T, std::size_t N>
void compare(std::string &wrong, const std::string &name, const T (&library)[N], const T (&model)[N])
{
    for (std::size_t i = 0; i < N; ++i) {
        if (library[i] == model[i])
            continue;
        wrong += name + "[" + std::to_string(i) + "] is " + ::testing::PrintToString(library[i]) + ", expected " +
                 ::testing::PrintToString(model[i]) + "\n";
    }
}

template <class T> void compare(std::string &wrong, const std::string &name, T library, T model)
{
    if (library != model)
        wrong += name + " is " + std::to_string(library) + ", expected " + std::to_string(model) + "\n";
}

void compare_status(std::string &wrong, const std::optional<grp_info> &model)
{
    if ((mc_status_global != nullptr) != model.has_value()) {
        wrong += "mc_status_global is there or not against expectation\n";
        return;
    }
    if (!model.has_value() || std::memcmp(mc_status_global, &*model, sizeof *model) == 0)
        return;
    wrong += "the status block differs\n";
    compare(wrong, "statusGroupLimit", mc_status_global->statusGroupLimit, model->statusGroupLimit);
    compare(wrong, "statusMode", mc_status_global->statusMode, model->statusMode);
}

void require_count(std::string &wrong, const char *name, int32_t count, int32_t most)
{
    if (count < 0 || count > most)
        wrong += std::string(name) + " is " + std::to_string(count) + "\n";
}

bool is_cleared_from(const vlanCfgNode (&row)[MC_RULES_PER_PORT], int32_t count)
{
    return std::all_of(row + count, std::end(row), [](const vlanCfgNode &rule) { return rule == empty_rule(); });
}

bool is_live_up_to(const vlanCfgNode (&row)[MC_RULES_PER_PORT], int32_t count)
{
    return std::all_of(row, row + count,
                       [](const vlanCfgNode &rule) { return rule.portNO != 0xFF && rule.in_up_vlan != 0xFFFF; });
}

bool is_zero_from(const uint16_t (&list)[MC_TEMPLATE_VLANS], int32_t count)
{
    return std::all_of(list + std::clamp(count, 0, MC_TEMPLATE_VLANS), std::end(list),
                       [](uint16_t vlan) { return vlan == 0; });
}

/** The values of records that belong to other operations. */
struct Bystanders {
    portStateNode ports[2];
    uint32_t numbers[5];
    uint8_t macs[2][6];
    uint32_t masks[2];
    unsigned char semaphore[sizeof(sem_t)];
};

Bystanders bystanders()
{
    Bystanders all;
    std::memset(&all, 0, sizeof all);
    std::memcpy(all.ports, portState, sizeof all.ports);
    const uint32_t numbers[5] = {testuplink, tablereturn, static_cast<uint32_t>(igmp_adapt), srcPortNum, ponVlan};
    std::memcpy(all.numbers, numbers, sizeof numbers);
    std::memcpy(all.macs[0], sys_mac, sizeof sys_mac);
    std::memcpy(all.macs[1], mld_sys_mac, sizeof mld_sys_mac);
    all.masks[0] = mc_debug;
    all.masks[1] = mld_debug;
    std::memcpy(all.semaphore, &gSemIgmpv3, sizeof gSemIgmpv3);
    return all;
}

Bystanders marked;

} // namespace

std::string differences(const IgmpModel &igmp, const MldModel &mld)
{
    std::string wrong;
    for (int port = 0; port < 2; ++port) {
        const std::string index = "[" + std::to_string(port) + "]";
        compare(wrong, "PortVlanCfg" + index, PortVlanCfg[port], igmp.rules[port]);
        compare(wrong, "g_static_list" + index, g_static_list[port], igmp.static_groups[port]);
    }
    compare(wrong, "setVlanCfgNumber", setVlanCfgNumber, igmp.counts);
    compare(wrong, "PortVlan", PortVlan, igmp.vlans);
    compare(wrong, "setVlanNumber", setVlanNumber, igmp.vlan_count);
    compare(wrong, "g_static_grp_num", g_static_grp_num, igmp.static_counts);
    compare(wrong, "defaultVlan", defaultVlan, igmp.default_vlan);
    compare(wrong, "flag_omci_version", flag_omci_version, igmp.set_by_mode);
    compare(wrong, "proxy_adapt_mode", proxy_adapt_mode, igmp.protocol_mode);
    compare_status(wrong, igmp.status);
    for (const std::string &field : differing_fields(globle_parm, igmp.parm))
        wrong += "globle_parm." + field + " differs\n";
    for (const std::string &field : differing_fields(mldInitParams, mld.state))
        wrong += "mldInitParams." + field + " differs\n";
    return wrong;
}

std::string broken_counts()
{
    std::string wrong;
    require_count(wrong, "setVlanNumber", setVlanNumber, MC_TEMPLATE_VLANS);
    require_count(wrong, "mldInitParams.setVlanNumber", mldInitParams.setVlanNumber, MC_TEMPLATE_VLANS);
    for (int port = 0; port < 2; ++port) {
        require_count(wrong, "setVlanCfgNumber", setVlanCfgNumber[port], MC_RULES_PER_PORT);
        require_count(wrong, "mldSetVlanCfgNumber", mldInitParams.mldSetVlanCfgNumber[port], MC_RULES_PER_PORT);
        require_count(wrong, "g_static_grp_num", g_static_grp_num[port], MC_STATIC_GROUPS_PER_PORT);
    }
    return wrong;
}

std::string broken_lists()
{
    std::string wrong;
    if (!is_zero_from(PortVlan, setVlanNumber))
        wrong += "a VLAN is left behind the template list\n";
    if (!std::equal(std::begin(PortVlan), std::end(PortVlan), std::begin(globle_parm.TemplateVlan)))
        wrong += "the two template lists differ\n";
    return wrong;
}

std::string rules_left_behind()
{
    std::string wrong;
    for (int port = 0; port < 2; ++port) {
        if (!is_cleared_from(PortVlanCfg[port], setVlanCfgNumber[port]))
            wrong += "a rule is left behind the IGMP rules of logic port " + std::to_string(port) + "\n";
        if (!is_cleared_from(mldInitParams.mldPortVlanCfg[port], mldInitParams.mldSetVlanCfgNumber[port]))
            wrong += "a rule is left behind the MLD rules of logic port " + std::to_string(port) + "\n";
    }
    return wrong;
}

std::string counted_but_not_live()
{
    std::string wrong;
    for (int port = 0; port < 2; ++port) {
        if (!is_live_up_to(PortVlanCfg[port], setVlanCfgNumber[port]))
            wrong += "a cleared rule is counted among the IGMP rules of logic port " + std::to_string(port) + "\n";
        if (!is_live_up_to(mldInitParams.mldPortVlanCfg[port], mldInitParams.mldSetVlanCfgNumber[port]))
            wrong += "a cleared rule is counted among the MLD rules of logic port " + std::to_string(port) + "\n";
    }
    return wrong;
}

void mark_bystanders()
{
    tablereturn = 0x5A5A5A5A;
    srcPortNum = 0x5A;
    ponVlan = 0x5A5A5A5A;
    std::memset(sys_mac, 0x5A, sizeof sys_mac);
    std::memset(mld_sys_mac, 0xA5, sizeof mld_sys_mac);
    std::memset(&gSemIgmpv3, 0x5A, sizeof gSemIgmpv3);
    marked = bystanders();
}

std::string touched_bystanders()
{
    const Bystanders now = bystanders();
    return std::memcmp(&now, &marked, sizeof now) == 0 ? "" : "a record beside the tables was changed\n";
}

} // namespace mcadapt::test
