#include "properties/operations.h"

#include <gtest/gtest.h>

#include <numeric>

#include "mcadapt/mcadapt.h"
#include "support/matchers.h"

namespace mcadapt::test {

namespace {

/** Sets parameters that no drawn operation sets to anything but its start value. */
void change_parameters(igmpGlobleParm &parm, const Operation &operation)
{
    portParm &port = parm.port[operation.port % 2];
    port.leavemod = static_cast<uint16_t>(operation.first);
    port.grouplimit = static_cast<uint16_t>(operation.second);
    port.svlan = static_cast<uint16_t>(operation.third);
    parm.query_interval = operation.first;
    parm.robustness = static_cast<uint8_t>(operation.second);
    parm.ssm_map[1] = operation.third;
    parm.pkt_process_disable = static_cast<uint8_t>(operation.third);
}

class Drawer {
public:
    Drawer(Random &random, const Mix &mix, const portStateNode (&ports)[2]) : random_(random), mix_(mix), ports_(ports)
    {
    }

    Operation operation()
    {
        Operation drawn{};
        drawn.kind = kind();
        drawn.rule = drawn.kind == Kind::kSetByWeb ? web_rule() : rule();
        drawn.port = port();
        drawn.epon = random_.percent(30);
        drawn.without_memory = random_.percent(20);
        drawn.refused_percent = random_.percent(50) ? mix_.refused_percent : 0;
        drawn.answers = random_.next();
        draw_numbers(drawn);
        return drawn;
    }

private:
    Kind kind()
    {
        const uint32_t sum = std::accumulate(mix_.weights.begin(), mix_.weights.end(), 0u);
        uint32_t left = random_.below(sum);
        std::size_t index = 0;
        while (left >= mix_.weights[index])
            left -= mix_.weights[index++];
        return static_cast<Kind>(index);
    }

    uint32_t port()
    {
        if (random_.percent(90))
            return ports_[random_.below(2)].portNo;
        return random_.one_of(std::array<uint32_t, 6>{0, 1, 5, 6, 30, 255});
    }

    /** Mostly from a small pool, so that operations meet each other's rules. */
    uint16_t network_vlan()
    {
        static constexpr std::array<uint16_t, 8> kSpecial = {0, 0xFFFF, 4088, 0x1FF8, 4095, 0x1064, 0x2064, 1};
        if (random_.percent(8))
            return random_.one_of(kSpecial);
        return static_cast<uint16_t>(100 + random_.below(mix_.vlans));
    }

    uint16_t user_vlan()
    {
        if (random_.percent(15))
            return 0xFFFF;
        if (random_.percent(5))
            return 0;
        return static_cast<uint16_t>(10 + random_.below(mix_.user_vlans));
    }

    uint8_t tag_mode() { return static_cast<uint8_t>(random_.percent(3) ? 255 : random_.below(5)); }

    vlanCfgNode rule()
    {
        vlanCfgNode drawn = empty_rule();
        drawn.portNO = static_cast<uint8_t>(port());
        drawn.prouptagmode = tag_mode();
        drawn.in_up_vlan = user_vlan();
        drawn.out_up_vlan = network_vlan();
        drawn.prodntagmode = tag_mode();
        drawn.in_dn_vlan = network_vlan();
        drawn.out_dn_vlan = user_vlan();
        drawn.datedntagmode = tag_mode();
        drawn.in_data_vlan = network_vlan();
        drawn.out_data_vlan = user_vlan();
        drawn.ruleFlag = static_cast<uint8_t>(random_.percent(10) ? 9 : 0);
        return drawn;
    }

    /** The web entry takes the upstream VLAN from these two fields. */
    vlanCfgNode web_rule()
    {
        vlanCfgNode drawn = rule();
        if (mix_.web_may_leave_upstream_unset)
            return drawn;
        if (drawn.in_dn_vlan == 0xFFFF)
            drawn.in_dn_vlan = 100;
        if (drawn.out_dn_vlan == 0xFFFF)
            drawn.out_dn_vlan = 10;
        return drawn;
    }

    void draw_numbers(Operation &drawn)
    {
        switch (drawn.kind) {
        case Kind::kInstallByMode:
        case Kind::kRemoveByMode:
            drawn.first = random_.one_of(std::array<uint32_t, 8>{0, 1, 2, 2, 3, 4, 256, 0xFFFFFFFF});
            drawn.second = user_vlan() + (random_.percent(5) ? 0x10000u : 0u);
            drawn.third = network_vlan();
            break;
        case Kind::kSetDefaultVlan:
            drawn.first = network_vlan() + (random_.percent(10) ? 0x10000u : 0u);
            break;
        case Kind::kResetPort:
            drawn.port = random_.percent(70) ? drawn.port : random_.below(9);
            drawn.first = random_.below(4);
            break;
        case Kind::kChangeParameters:
            drawn.first = random_.below(500);
            drawn.second = random_.below(500);
            drawn.third = random_.below(500);
            break;
        default:
            draw_static_groups(drawn);
            break;
        }
    }

    void draw_static_groups(Operation &drawn)
    {
        drawn.first = random_.below(12);
        drawn.second = drawn.first + (random_.percent(90) ? random_.below(4) : random_.below(30));
        if (random_.percent(5))
            drawn.second = random_.below(12);
        drawn.third = network_vlan();
    }

    Random &random_;
    const Mix &mix_;
    const portStateNode (&ports_)[2];
};

const char *name_of(Kind kind)
{
    static constexpr std::array<const char *, kKinds> kNames = {
        "install",           "remove",      "install by mode", "remove by mode",       "set by web",
        "set default VLAN",  "reset all",   "reset port",      "add static",           "delete static",
        "clear static",      "install MLD", "remove MLD",      "start MLD parameters", "start MLD rules",
        "change parameters",
    };
    return kNames[static_cast<std::size_t>(kind)];
}

/** A buffer of an agent: only the last octet is looked at. */
struct GroupBuffer {
    explicit GroupBuffer(uint32_t group) { bytes[13] = static_cast<uint8_t>(group); }
    uint8_t bytes[14] = {};
};

} // namespace

Operation draw(Random &random, const Mix &mix, const portStateNode (&ports)[2])
{
    return Drawer(random, mix, ports).operation();
}

std::string text_of(const Operation &operation)
{
    return std::string(name_of(operation.kind)) + " rule " + ::testing::PrintToString(operation.rule) + " port " +
           std::to_string(operation.port) + " numbers " + std::to_string(operation.first) + " " +
           std::to_string(operation.second) + " " + std::to_string(operation.third) +
           (operation.epon ? " EPON" : " GPON") + (operation.without_memory ? " without memory" : "") + " refused " +
           std::to_string(operation.refused_percent) + "%";
}

Outcome run_on_library(const Operation &operation)
{
    vlanCfgNode rule = operation.rule;
    const uint32_t port = operation.port;
    const GroupBuffer first(operation.first);
    const GroupBuffer last(operation.second);
    const auto vlan = static_cast<uint16_t>(operation.third);

    const auto result = [&]() -> int32_t {
        switch (operation.kind) {
        case Kind::kInstall:
            return std_omci_set_multicast_vlan_onu(&rule);
        case Kind::kRemove:
            return std_omci_delete_multicast_vlan_onu(&rule);
        case Kind::kInstallByMode:
            return igmp_port_vlan_and_mode_set(static_cast<int32_t>(port), operation.first, operation.second,
                                               operation.third);
        case Kind::kRemoveByMode:
            return igmp_service_remove_port_config(static_cast<int32_t>(port), operation.first, operation.second,
                                                   operation.third);
        case Kind::kSetByWeb:
            return std_omci_web_set_vlan(&rule);
        case Kind::kSetDefaultVlan:
            return omci_set_igmp_default_vlan(operation.first);
        case Kind::kResetAll:
            omci_clear_igmp_all_parmeter();
            return 0;
        case Kind::kResetPort:
            return omci_clear_igmp_parmeter(port, operation.first);
        case Kind::kAddStaticGroups:
            return omci_add_static_multi_acess_ctrl_table(port, first.bytes, last.bytes, 0, vlan);
        case Kind::kDeleteStaticGroups:
            return omci_del_static_multi_acess_ctrl_table(port, first.bytes, last.bytes, 0, vlan);
        case Kind::kClearStaticGroups:
            return omci_clear_all_static_multi_acess_ctrl_table(port);
        case Kind::kInstallMld:
            return mld_onu_std_omci_set_multicast_vlan(&rule);
        case Kind::kRemoveMld:
            return mld_onu_std_omci_delete_multicast_vlan(&rule);
        case Kind::kStartMldParameters:
            initmldGlobleParmeter();
            return 0;
        case Kind::kStartMldRules:
            mldinitVlancfgNode();
            return 0;
        case Kind::kChangeParameters:
            change_parameters(globle_parm, operation);
            return 0;
        }
        return 0;
    }();
    return {result, rule};
}

Outcome run_on_models(const Operation &operation, IgmpModel &igmp, MldModel &mld)
{
    vlanCfgNode rule = operation.rule;
    const uint32_t port = operation.port;
    const auto first = static_cast<uint8_t>(operation.first);
    const auto last = static_cast<uint8_t>(operation.second);
    const auto vlan = static_cast<uint16_t>(operation.third);
    igmp.epon = operation.epon;
    igmp.allocation_fails = operation.without_memory;

    const auto result = [&]() -> int32_t {
        switch (operation.kind) {
        case Kind::kInstall:
            return igmp.install(rule);
        case Kind::kRemove:
            return igmp.remove(rule);
        case Kind::kInstallByMode:
            return igmp.install_by_mode(static_cast<int32_t>(port), operation.first, operation.second, operation.third);
        case Kind::kRemoveByMode:
            return igmp.remove_by_mode(static_cast<int32_t>(port), operation.first, operation.second, operation.third);
        case Kind::kSetByWeb:
            return igmp.set_by_web(rule);
        case Kind::kSetDefaultVlan:
            return igmp.set_default_vlan(operation.first);
        case Kind::kResetAll:
            igmp.reset_all();
            return 0;
        case Kind::kResetPort:
            return igmp.reset_port(port, operation.first);
        case Kind::kAddStaticGroups:
            return igmp.add_static_groups(port, first, last, vlan);
        case Kind::kDeleteStaticGroups:
            return igmp.delete_static_groups(port, first, last, vlan);
        case Kind::kClearStaticGroups:
            return igmp.clear_static_groups(port);
        case Kind::kInstallMld:
            return mld.install(rule);
        case Kind::kRemoveMld:
            return mld.remove(rule);
        case Kind::kStartMldParameters:
            mld.start_parameters();
            return 0;
        case Kind::kStartMldRules:
            mld.start_rules();
            return 0;
        case Kind::kChangeParameters:
            change_parameters(igmp.parm, operation);
            return 0;
        }
        return 0;
    }();
    return {result, rule};
}

} // namespace mcadapt::test
