#include "support/matchers.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace {

/** Writes `{name 1, other 2}`. */
class FieldPrinter {
public:
    explicit FieldPrinter(std::ostream &out) : out_(out) { out_ << "{"; }
    ~FieldPrinter() { out_ << "}"; }
    FieldPrinter(const FieldPrinter &) = delete;
    FieldPrinter &operator=(const FieldPrinter &) = delete;

    FieldPrinter &field(const char *name, uint32_t value)
    {
        out_ << (first_ ? "" : ", ") << name << " " << value;
        if (value >= 0xFFFF)
            out_ << " (0x" << std::hex << value << std::dec << ")";
        first_ = false;
        return *this;
    }

private:
    std::ostream &out_;
    bool first_ = true;
};

} // namespace

bool operator==(const vlanCfgNode &a, const vlanCfgNode &b)
{
    return a.portNO == b.portNO && a.prouptagmode == b.prouptagmode && a.in_up_vlan == b.in_up_vlan &&
           a.out_up_vlan == b.out_up_vlan && a.prodntagmode == b.prodntagmode && a.in_dn_vlan == b.in_dn_vlan &&
           a.out_dn_vlan == b.out_dn_vlan && a.datedntagmode == b.datedntagmode && a.in_data_vlan == b.in_data_vlan &&
           a.out_data_vlan == b.out_data_vlan && a.ruleFlag == b.ruleFlag;
}

bool operator==(const portParm &a, const portParm &b)
{
    return a.leavemod == b.leavemod && a.grouplimit == b.grouplimit && a.max_bandwidth == b.max_bandwidth &&
           a.svlan == b.svlan && a.svlan_s == b.svlan_s && a.cvlan == b.cvlan;
}

bool operator==(const portStateNode &a, const portStateNode &b)
{
    return a.portNo == b.portNo && a.portType == b.portType;
}

bool operator==(const staticGroupEntry &a, const staticGroupEntry &b)
{
    return a.vlan == b.vlan && a.spare == b.spare && a.addr == b.addr;
}

bool operator==(const mldTagRecord &a, const mldTagRecord &b)
{
    return a.tpid == b.tpid && a.vid == b.vid && a.pri == b.pri;
}

bool operator==(const mldAuthGroup &a, const mldAuthGroup &b)
{
    return a.bandwidth == b.bandwidth && a.start_groupAdress == b.start_groupAdress &&
           a.end_groupAdress == b.end_groupAdress && a.vlan == b.vlan;
}

bool operator==(const grpRecord &a, const grpRecord &b)
{
    return a.vlanId == b.vlanId && a.infoB == b.infoB && a.groupAddress == b.groupAddress && a.infoD == b.infoD &&
           a.infoE == b.infoE && a.infoF == b.infoF && a.infoG == b.infoG && a.userPort == b.userPort;
}

bool operator==(const ifStatus &a, const ifStatus &b)
{
    return std::equal(std::begin(a.counter), std::end(a.counter), std::begin(b.counter));
}

void PrintTo(const vlanCfgNode &rule, std::ostream *out)
{
    FieldPrinter(*out)
        .field("portNO", rule.portNO)
        .field("prouptagmode", rule.prouptagmode)
        .field("in_up_vlan", rule.in_up_vlan)
        .field("out_up_vlan", rule.out_up_vlan)
        .field("prodntagmode", rule.prodntagmode)
        .field("in_dn_vlan", rule.in_dn_vlan)
        .field("out_dn_vlan", rule.out_dn_vlan)
        .field("datedntagmode", rule.datedntagmode)
        .field("in_data_vlan", rule.in_data_vlan)
        .field("out_data_vlan", rule.out_data_vlan)
        .field("ruleFlag", rule.ruleFlag);
}

void PrintTo(const portParm &port, std::ostream *out)
{
    FieldPrinter(*out)
        .field("leavemod", port.leavemod)
        .field("grouplimit", port.grouplimit)
        .field("max_bandwidth", port.max_bandwidth)
        .field("svlan", port.svlan)
        .field("svlan_s", port.svlan_s)
        .field("cvlan", port.cvlan);
}

void PrintTo(const portStateNode &port, std::ostream *out)
{
    FieldPrinter(*out).field("portNo", port.portNo).field("portType", port.portType);
}

void PrintTo(const staticGroupEntry &entry, std::ostream *out)
{
    FieldPrinter(*out).field("vlan", entry.vlan).field("spare", entry.spare).field("addr", entry.addr);
}

void PrintTo(const mldTagRecord &tag, std::ostream *out)
{
    FieldPrinter(*out).field("tpid", tag.tpid).field("vid", tag.vid).field("pri", tag.pri);
}

void PrintTo(const mldAuthGroup &group, std::ostream *out)
{
    FieldPrinter(*out)
        .field("bandwidth", group.bandwidth)
        .field("start_groupAdress", group.start_groupAdress)
        .field("end_groupAdress", group.end_groupAdress)
        .field("vlan", group.vlan);
}

void PrintTo(const grpRecord &group, std::ostream *out)
{
    FieldPrinter(*out)
        .field("vlanId", group.vlanId)
        .field("infoB", group.infoB)
        .field("groupAddress", group.groupAddress)
        .field("infoD", group.infoD)
        .field("infoE", group.infoE)
        .field("infoF", group.infoF)
        .field("infoG", group.infoG)
        .field("userPort", group.userPort);
}

void PrintTo(const ifStatus &status, std::ostream *out)
{
    FieldPrinter(*out)
        .field("counter[0]", status.counter[0])
        .field("[1]", status.counter[1])
        .field("[2]", status.counter[2])
        .field("[3]", status.counter[3]);
}

namespace mcadapt::test {

namespace {

using RuleRow = vlanCfgNode[MC_RULES_PER_PORT];

void put_row(RuleRow &row, int32_t &count, const std::vector<vlanCfgNode> &rules)
{
    if (rules.size() > std::size(row))
        throw std::invalid_argument("more rules than a port holds");
    std::fill(std::begin(row), std::end(row), empty_rule());
    std::copy(rules.begin(), rules.end(), row);
    count = static_cast<int32_t>(rules.size());
}

void require_list_room(const std::vector<uint16_t> &vlans)
{
    if (vlans.size() > MC_TEMPLATE_VLANS)
        throw std::invalid_argument("more VLANs than a list holds");
}

template <class Entry> void put_list(Entry (&list)[MC_TEMPLATE_VLANS], const std::vector<uint16_t> &vlans)
{
    std::fill(std::begin(list), std::end(list), Entry{0});
    std::copy(vlans.begin(), vlans.end(), list);
}

std::size_t logic_index(int logic_port)
{
    if (logic_port < 0 || logic_port >= MC_LOGIC_PORTS)
        throw std::invalid_argument("no such logic port");
    return static_cast<std::size_t>(logic_port);
}

} // namespace

vlanCfgNode empty_rule()
{
    return rule(0xFF, 4, MC_NO_VLAN, MC_NO_VLAN, 4, MC_NO_VLAN, MC_NO_VLAN, 4, MC_NO_VLAN, MC_NO_VLAN);
}

vlanCfgNode rule(uint8_t port, uint8_t up_mode, uint16_t in_up, uint16_t out_up, uint8_t down_mode, uint16_t in_down,
                 uint16_t out_down, uint8_t data_mode, uint16_t in_data, uint16_t out_data)
{
    return {port, up_mode, in_up, out_up, down_mode, in_down, out_down, data_mode, in_data, out_data, 0};
}

void put_rules(int logic_port, const std::vector<vlanCfgNode> &rules)
{
    const std::size_t index = logic_index(logic_port);
    put_row(PortVlanCfg[index], setVlanCfgNumber[index], rules);
}

void put_mld_rules(int logic_port, const std::vector<vlanCfgNode> &rules)
{
    const std::size_t index = logic_index(logic_port);
    put_row(mldInitParams.mldPortVlanCfg[index], mldInitParams.mldSetVlanCfgNumber[index], rules);
}

void put_template_vlans(const std::vector<uint16_t> &vlans)
{
    require_list_room(vlans);
    put_list(PortVlan, vlans);
    put_list(globle_parm.TemplateVlan, vlans);
    setVlanNumber = static_cast<int32_t>(vlans.size());
}

void put_mld_template_vlans(const std::vector<uint16_t> &vlans)
{
    require_list_room(vlans);
    put_list(mldInitParams.mldTemplateVlan, vlans);
    put_list(mldInitParams.mldVlanList, vlans);
    mldInitParams.setVlanNumber = static_cast<int32_t>(vlans.size());
}

std::vector<vlanCfgNode> live_rules(int logic_port)
{
    const std::size_t index = logic_index(logic_port);
    return {PortVlanCfg[index], PortVlanCfg[index] + setVlanCfgNumber[index]};
}

std::vector<vlanCfgNode> live_mld_rules(int logic_port)
{
    const std::size_t index = logic_index(logic_port);
    const vlanCfgNode *row = mldInitParams.mldPortVlanCfg[index];
    return {row, row + mldInitParams.mldSetVlanCfgNumber[index]};
}

std::vector<uint16_t> template_vlans() { return {PortVlan, PortVlan + setVlanNumber}; }

std::vector<uint32_t> mld_vlans()
{
    return {mldInitParams.mldVlanList, mldInitParams.mldVlanList + mldInitParams.setVlanNumber};
}

} // namespace mcadapt::test
