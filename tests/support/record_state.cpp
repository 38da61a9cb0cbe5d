#include "support/record_state.h"

#include <cstddef>
#include <cstring>
#include <type_traits>

namespace mcadapt::test {

namespace {

struct Field {
    std::string path;
    std::size_t offset;
    std::size_t size;
};

/** Fields that follow one another without padding. */
struct Run {
    std::size_t offset;
    std::size_t size;
};

struct Record {
    void *address; // of the record; unused for the status block, which moves
    std::size_t size;
    std::vector<Field> fields;
    std::vector<Run> runs;
};

/** Takes a record apart into its fields. */
class FieldLister {
public:
    template <class T> void add(const std::string &path, std::size_t offset)
    {
        if constexpr (is_table<T>()) {
            using Element = std::remove_extent_t<T>;
            for (std::size_t i = 0; i < std::extent_v<T>; ++i)
                add<Element>(path + "[" + std::to_string(i) + "]", offset + i * sizeof(Element));
        } else if constexpr (std::is_class_v<T>) {
            add_members(static_cast<const T *>(nullptr), path + ".", offset);
        } else {
            fields.push_back({path, offset, sizeof(T)});
        }
    }

    template <class T> void add_members_of(const std::string &prefix)
    {
        add_members(static_cast<const T *>(nullptr), prefix, 0);
    }

    std::vector<Field> fields;

private:
    /** Texts and MAC addresses count as one field. */
    template <class T> static constexpr bool is_table()
    {
        return std::is_array_v<T> && sizeof(std::remove_all_extents_t<T>) > 1;
    }

#define MEMBER(record, name) add<decltype(record::name)>(path + #name, offset + offsetof(record, name))

    void add_members(const vlanCfgNode *, const std::string &path, std::size_t offset)
    {
        MEMBER(vlanCfgNode, portNO);
        MEMBER(vlanCfgNode, prouptagmode);
        MEMBER(vlanCfgNode, in_up_vlan);
        MEMBER(vlanCfgNode, out_up_vlan);
        MEMBER(vlanCfgNode, prodntagmode);
        MEMBER(vlanCfgNode, in_dn_vlan);
        MEMBER(vlanCfgNode, out_dn_vlan);
        MEMBER(vlanCfgNode, datedntagmode);
        MEMBER(vlanCfgNode, in_data_vlan);
        MEMBER(vlanCfgNode, out_data_vlan);
        MEMBER(vlanCfgNode, ruleFlag);
    }
    void add_members(const portParm *, const std::string &path, std::size_t offset)
    {
        MEMBER(portParm, leavemod);
        MEMBER(portParm, grouplimit);
        MEMBER(portParm, max_bandwidth);
        MEMBER(portParm, svlan);
        MEMBER(portParm, svlan_s);
        MEMBER(portParm, cvlan);
    }
    void add_members(const igmpGlobleParm *, const std::string &path, std::size_t offset)
    {
        MEMBER(igmpGlobleParm, port);
        MEMBER(igmpGlobleParm, TemplateVlan);
        MEMBER(igmpGlobleParm, defaultVlan);
        MEMBER(igmpGlobleParm, multiMode);
        MEMBER(igmpGlobleParm, learningMode);
        MEMBER(igmpGlobleParm, robustness);
        MEMBER(igmpGlobleParm, version);
        MEMBER(igmpGlobleParm, query_interval);
        MEMBER(igmpGlobleParm, query_max_resp_time);
        MEMBER(igmpGlobleParm, last_member_query_interval);
        MEMBER(igmpGlobleParm, last_member_query_count);
        MEMBER(igmpGlobleParm, general_member_interval);
        MEMBER(igmpGlobleParm, ssm_ip);
        MEMBER(igmpGlobleParm, ssm_ip_arg2);
        MEMBER(igmpGlobleParm, ssm_map);
        MEMBER(igmpGlobleParm, ssm_map_arg5);
        MEMBER(igmpGlobleParm, proxyip);
        MEMBER(igmpGlobleParm, compile_date);
        MEMBER(igmpGlobleParm, compile_time);
        MEMBER(igmpGlobleParm, version_num);
        MEMBER(igmpGlobleParm, pkt_process_disable);
    }
    void add_members(const portStateNode *, const std::string &path, std::size_t offset)
    {
        MEMBER(portStateNode, portNo);
        MEMBER(portStateNode, portType);
    }
    void add_members(const staticGroupEntry *, const std::string &path, std::size_t offset)
    {
        MEMBER(staticGroupEntry, vlan);
        MEMBER(staticGroupEntry, spare);
        MEMBER(staticGroupEntry, addr);
    }
    void add_members(const mldAuthGroup *, const std::string &path, std::size_t offset)
    {
        MEMBER(mldAuthGroup, bandwidth);
        MEMBER(mldAuthGroup, start_groupAdress);
        MEMBER(mldAuthGroup, end_groupAdress);
        MEMBER(mldAuthGroup, vlan);
    }
    void add_members(const mldPortParm *, const std::string &path, std::size_t offset)
    {
        MEMBER(mldPortParm, leavemod);
        MEMBER(mldPortParm, grouplimit);
        MEMBER(mldPortParm, max_bandwidth);
        MEMBER(mldPortParm, authGroup);
    }
    void add_members(const mldTagRecord *, const std::string &path, std::size_t offset)
    {
        MEMBER(mldTagRecord, tpid);
        MEMBER(mldTagRecord, vid);
        MEMBER(mldTagRecord, pri);
    }
    void add_members(const mldInitParm *, const std::string &path, std::size_t offset)
    {
        MEMBER(mldInitParm, mldTestUplink);
        MEMBER(mldInitParm, mldSrcPortNum);
        MEMBER(mldInitParm, mldAdapt);
        MEMBER(mldInitParm, mldOmciVersion);
        MEMBER(mldInitParm, setVlanNumber);
        MEMBER(mldInitParm, mldPortState);
        MEMBER(mldInitParm, mldPort);
        MEMBER(mldInitParm, mldTemplateVlan);
        MEMBER(mldInitParm, mldSetVlanCfgNumber);
        MEMBER(mldInitParm, mldVlanList);
        MEMBER(mldInitParm, defaultVlan);
        MEMBER(mldInitParm, multiMode);
        MEMBER(mldInitParm, learningMode);
        MEMBER(mldInitParm, robustness);
        MEMBER(mldInitParm, version);
        MEMBER(mldInitParm, query_interval);
        MEMBER(mldInitParm, query_max_resp_time);
        MEMBER(mldInitParm, last_member_query_interval);
        MEMBER(mldInitParm, last_member_query_count);
        MEMBER(mldInitParm, general_member_interval);
        MEMBER(mldInitParm, proxyip);
        MEMBER(mldInitParm, mldPortVlanCfg);
        MEMBER(mldInitParm, outerTag);
        MEMBER(mldInitParm, innerTag);
    }
    void add_members(const grpRecord *, const std::string &path, std::size_t offset)
    {
        MEMBER(grpRecord, vlanId);
        MEMBER(grpRecord, infoB);
        MEMBER(grpRecord, groupAddress);
        MEMBER(grpRecord, infoD);
        MEMBER(grpRecord, infoE);
        MEMBER(grpRecord, infoF);
        MEMBER(grpRecord, infoG);
        MEMBER(grpRecord, userPort);
    }
    void add_members(const ifStatus *, const std::string &path, std::size_t offset) { MEMBER(ifStatus, counter); }
    void add_members(const grp_info *, const std::string &path, std::size_t offset)
    {
        MEMBER(grp_info, std_cnt);
        MEMBER(grp_info, group);
        MEMBER(grp_info, interfaceStatus);
        MEMBER(grp_info, spare);
        MEMBER(grp_info, oamFastLeave);
        MEMBER(grp_info, statusGroupLimit);
        MEMBER(grp_info, statusMode);
    }

#undef MEMBER
};

std::vector<Run> runs_of(const std::vector<Field> &fields)
{
    std::vector<Run> runs;
    for (const Field &field : fields) {
        if (runs.empty() || runs.back().offset + runs.back().size != field.offset)
            runs.push_back({field.offset, 0});
        runs.back().size += field.size;
    }
    return runs;
}

template <class T> Record describe(const std::string &name, T &record)
{
    FieldLister lister;
    lister.add<T>(name, 0);
    auto runs = runs_of(lister.fields);
    return {&record, sizeof record, std::move(lister.fields), std::move(runs)};
}

Record describe_status_block()
{
    FieldLister lister;
    lister.add_members_of<grp_info>("mc_status_global->");
    auto runs = runs_of(lister.fields);
    return {nullptr, sizeof(grp_info), std::move(lister.fields), std::move(runs)};
}

const std::vector<Record> &all_records()
{
#define RECORD(name) describe(#name, name)
    static const std::vector<Record> records = {
        RECORD(globle_parm),      RECORD(mldInitParams),    RECORD(PortVlanCfg),     RECORD(setVlanCfgNumber),
        RECORD(PortVlan),         RECORD(setVlanNumber),    RECORD(portState),       RECORD(g_static_list),
        RECORD(g_static_grp_num), RECORD(mc_status_global), describe_status_block(), RECORD(defaultVlan),
        RECORD(testuplink),       RECORD(tablereturn),      RECORD(igmp_adapt),      RECORD(flag_omci_version),
        RECORD(proxy_adapt_mode), RECORD(srcPortNum),       RECORD(ponVlan),         RECORD(sys_mac),
        RECORD(mld_sys_mac),      RECORD(mc_debug),         RECORD(mld_debug),       RECORD(gSemIgmpv3),
    };
#undef RECORD
    return records;
}

/** A copy of a record's fields. Padding may hold anything, also what was never initialised; it is 0 in the copy. */
std::vector<unsigned char> image_of(const Record &record, const void *address)
{
    const auto *bytes = static_cast<const unsigned char *>(address);
    std::vector<unsigned char> image(record.size);
    for (const Run &run : record.runs)
        std::memcpy(&image[run.offset], bytes + run.offset, run.size);
    return image;
}

/** Copies of the records as the process was loaded: taken before main, when nothing has run yet. */
struct LoadImage {
    std::vector<std::vector<unsigned char>> images;
    LoadImage()
    {
        for (const Record &record : all_records())
            images.push_back(record.address != nullptr ? image_of(record, record.address)
                                                       : std::vector<unsigned char>());
    }
};
const LoadImage load_image;

} // namespace

RecordSnapshot RecordSnapshot::take()
{
    RecordSnapshot snapshot;
    for (const Record &record : all_records()) {
        const void *address = record.address != nullptr ? record.address : mc_status_global;
        snapshot.images_.push_back(address != nullptr ? image_of(record, address) : std::vector<unsigned char>());
    }
    return snapshot;
}

std::vector<std::string> changed_fields(const RecordSnapshot &before, const RecordSnapshot &after)
{
    std::vector<std::string> changed;
    for (std::size_t i = 0; i < all_records().size(); ++i) {
        const auto &was = before.images_[i];
        const auto &is = after.images_[i];
        if (was == is || was.empty() || is.empty())
            continue; // a status block that comes or goes shows in its pointer
        for (const Field &field : all_records()[i].fields)
            if (std::memcmp(&was[field.offset], &is[field.offset], field.size) != 0)
                changed.push_back(field.path);
    }
    return changed;
}

namespace {

template <class T> std::vector<std::string> fields_that_differ(const T &a, const T &b)
{
    static const std::vector<Field> fields = [] {
        FieldLister lister;
        lister.add_members_of<T>("");
        return lister.fields;
    }();
    const auto *first = reinterpret_cast<const unsigned char *>(&a);
    const auto *second = reinterpret_cast<const unsigned char *>(&b);
    std::vector<std::string> differing;
    for (const Field &field : fields)
        if (std::memcmp(first + field.offset, second + field.offset, field.size) != 0)
            differing.push_back(field.path);
    return differing;
}

} // namespace

std::vector<std::string> differing_fields(const igmpGlobleParm &a, const igmpGlobleParm &b)
{
    return fields_that_differ(a, b);
}

std::vector<std::string> differing_fields(const mldInitParm &a, const mldInitParm &b)
{
    return fields_that_differ(a, b);
}

std::vector<std::string> records_of(const std::vector<std::string> &fields)
{
    std::vector<std::string> records;
    for (const std::string &field : fields) {
        std::string record = field.substr(0, field.find_first_of("[.-"));
        if (field.find("->") != std::string::npos)
            record += "->";
        if (records.empty() || records.back() != record)
            records.push_back(record);
    }
    return records;
}

std::vector<std::string> changed_records(const RecordSnapshot &before, const RecordSnapshot &after)
{
    return records_of(changed_fields(before, after));
}

void restore_load_image()
{
    for (std::size_t i = 0; i < all_records().size(); ++i)
        if (all_records()[i].address != nullptr)
            std::memcpy(all_records()[i].address, load_image.images[i].data(), all_records()[i].size);
}

} // namespace mcadapt::test
