#include "fuzz/records.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <vector>

#include "mcadapt/mcadapt.h"

namespace mcadapt::fuzz {

namespace {

struct Record {
    void *address;
    std::size_t size;
};

template <class T> Record record(T &object) { return {&object, sizeof(object)}; }

const std::vector<Record> &records()
{
    static const std::vector<Record> all = {
        record(globle_parm),      record(mldInitParams),     record(PortVlanCfg),      record(setVlanCfgNumber),
        record(PortVlan),         record(setVlanNumber),     record(portState),        record(g_static_list),
        record(g_static_grp_num), record(defaultVlan),       record(testuplink),       record(tablereturn),
        record(igmp_adapt),       record(flag_omci_version), record(proxy_adapt_mode), record(srcPortNum),
        record(ponVlan),          record(sys_mac),           record(mld_sys_mac),      record(mc_debug),
        record(mld_debug),        record(gSemIgmpv3)};
    return all;
}

using Image = std::vector<uint8_t>;

Image image_of(const Record &record)
{
    const auto *at = static_cast<const uint8_t *>(record.address);
    return {at, at + record.size};
}

std::vector<Image> images()
{
    std::vector<Image> all;
    for (const Record &record : records())
        all.push_back(image_of(record));
    return all;
}

using Fields = std::array<uint16_t, 11>;

// Without the bytes between the fields, which are nobody's.
Fields fields_of(const vlanCfgNode &rule)
{
    return {rule.portNO,       rule.prouptagmode,  rule.in_up_vlan,  rule.out_up_vlan,
            rule.prodntagmode, rule.in_dn_vlan,    rule.out_dn_vlan, rule.datedntagmode,
            rule.in_data_vlan, rule.out_data_vlan, rule.ruleFlag};
}

constexpr Fields kCleared = {0xFF, 4, 0xFFFF, 0xFFFF, 4, 0xFFFF, 0xFFFF, 4, 0xFFFF, 0xFFFF, 0};

bool is_cleared(const vlanCfgNode &rule) { return fields_of(rule) == kCleared; }

using Row = vlanCfgNode[MC_RULES_PER_PORT];

bool within(int32_t count, int32_t capacity) { return 0 <= count && count <= capacity; }

template <class T> bool has_doubles(const T *list, int32_t count)
{
    for (int32_t i = 1; i < count; ++i)
        if (list[i] != 0 && std::find(list, list + i, list[i]) != list + i)
            return true;
    return false;
}

// A rule without an upstream VLAN is taken for a cleared one by compaction, so its row can get holes.
void check_row(const Row &row, int32_t count, bool &trusted)
{
    if (std::any_of(row, row + count, [](const vlanCfgNode &rule) {
            return rule.in_up_vlan == MC_NO_VLAN || rule.in_data_vlan == MC_NO_VLAN;
        }))
        trusted = false;
    if (!trusted)
        return;
    FUZZ_EXPECT(std::none_of(row, row + count, is_cleared), "no cleared rule is counted");
    FUZZ_EXPECT(std::all_of(row + count, std::end(row), is_cleared), "no rule is left behind the counted ones");
}

bool ends(const char (&text)[20]) { return std::memchr(text, 0, sizeof(text)) != nullptr; }

void check_counts(const Trust &trust)
{
    if (trust.counts) {
        FUZZ_EXPECT(within(setVlanNumber, MC_TEMPLATE_VLANS), "setVlanNumber counts places of PortVlan");
        for (int port = 0; port < MC_LOGIC_PORTS; ++port) {
            FUZZ_EXPECT(within(setVlanCfgNumber[port], MC_RULES_PER_PORT), "setVlanCfgNumber counts rules");
            FUZZ_EXPECT(within(g_static_grp_num[port], MC_STATIC_GROUPS_PER_PORT), "g_static_grp_num counts groups");
        }
    }
    if (!trust.mld_counts)
        return;
    FUZZ_EXPECT(within(mldInitParams.setVlanNumber, MC_TEMPLATE_VLANS), "MLD setVlanNumber counts places");
    for (const int32_t count : mldInitParams.mldSetVlanCfgNumber)
        FUZZ_EXPECT(within(count, MC_RULES_PER_PORT), "mldSetVlanCfgNumber counts rules");
}

void check_lists(const Trust &trust)
{
    if (!trust.counts || !trust.lists)
        return;
    FUZZ_EXPECT(std::equal(std::begin(PortVlan), std::end(PortVlan), std::begin(globle_parm.TemplateVlan)),
                "the two template lists are equal");
    FUZZ_EXPECT(std::all_of(PortVlan + setVlanNumber, std::end(PortVlan), [](uint16_t vlan) { return vlan == 0; }),
                "no VLAN is left behind the template list");
    if (trust.unique)
        FUZZ_EXPECT(!has_doubles(PortVlan, setVlanNumber), "no VLAN is listed twice");
}

void check_rows(Trust &trust)
{
    for (int port = 0; port < MC_LOGIC_PORTS; ++port) {
        if (trust.counts)
            check_row(PortVlanCfg[port], setVlanCfgNumber[port], trust.rows);
        if (trust.mld_counts)
            check_row(mldInitParams.mldPortVlanCfg[port], mldInitParams.mldSetVlanCfgNumber[port], trust.mld_rows);
    }
}

void add_rules(Digest &digest, const Row (&rows)[MC_LOGIC_PORTS])
{
    for (const Row &row : rows)
        for (const vlanCfgNode &rule : row) {
            const Fields fields = fields_of(rule);
            digest.bytes(fields.data(), sizeof(fields));
        }
}

// Records with bytes that belong to no field: these are left out.
bool has_gaps(const void *record)
{
    return record == &globle_parm || record == &mldInitParams || record == &PortVlanCfg;
}

void add_parameters(Digest &digest)
{
    for (const portParm &port : globle_parm.port)
        digest.bytes(&port, offsetof(portParm, cvlan) + sizeof(port.cvlan));
    digest.bytes(globle_parm.TemplateVlan,
                 offsetof(igmpGlobleParm, pkt_process_disable) - offsetof(igmpGlobleParm, TemplateVlan));
    digest.number(globle_parm.pkt_process_disable);
}

void add_tag(Digest &digest, const mldTagRecord &tag)
{
    digest.number(tag.tpid);
    digest.number(tag.vid);
    digest.number(tag.pri);
}

void add_mld_side(Digest &digest)
{
    digest.bytes(&mldInitParams, offsetof(mldInitParm, mldPortVlanCfg));
    add_rules(digest, mldInitParams.mldPortVlanCfg);
    add_tag(digest, mldInitParams.outerTag);
    add_tag(digest, mldInitParams.innerTag);
}

} // namespace

void restore_records()
{
    static const std::vector<Image> loaded = images(); // the first run comes before anything else
    for (std::size_t i = 0; i < loaded.size(); ++i)
        std::memcpy(records()[i].address, loaded[i].data(), loaded[i].size());
    mc_status_global = nullptr;
}

void add_records(Digest &digest)
{
    add_parameters(digest);
    add_mld_side(digest);
    add_rules(digest, PortVlanCfg);
    for (const Record &record : records())
        if (!has_gaps(record.address))
            digest.bytes(record.address, record.size);
    if (mc_status_global != nullptr)
        digest.bytes(mc_status_global, sizeof(*mc_status_global));
}

void check_records(Trust &trust)
{
    check_counts(trust);
    check_lists(trust);
    check_rows(trust);
    FUZZ_EXPECT(tablereturn <= 1, "tablereturn is 0 or 1");
    FUZZ_EXPECT(proxy_adapt_mode <= 3, "proxy_adapt_mode is a mode");
    FUZZ_EXPECT(ends(globle_parm.compile_date) && ends(globle_parm.compile_time) && ends(globle_parm.version_num),
                "the build identification ends inside its fields");
    if (mc_status_global != nullptr)
        FUZZ_EXPECT(mc_status_global->std_cnt <= MC_STATUS_GROUPS, "std_cnt counts group records");
}

} // namespace mcadapt::fuzz
