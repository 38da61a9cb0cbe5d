/**
 * @file
 * The layouts of the records are part of the binary interface: fields in their order, each at its natural alignment.
 *
 * Every record stands here as the list of its fields with their widths; where a field must lie follows from the list.
 */
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

#include "mcadapt/mcadapt.h"

namespace mcadapt::test {
namespace {

struct Field {
    std::string name;
    std::size_t element_size; // as it must be
    std::size_t alignment;
    std::size_t count;
    std::size_t offset; // as it is
    std::size_t size;
};

struct Layout {
    std::string name;
    std::size_t size;      // as it must be
    std::size_t real_size; // as it is
    std::size_t real_alignment;
    std::vector<Field> fields;
};

std::size_t aligned(std::size_t offset, std::size_t alignment)
{
    return (offset + alignment - 1) / alignment * alignment;
}

#define FIELD(name, type, count)                                                                                       \
    Field { #name, sizeof(type), alignof(type), count, offsetof(Record, name), sizeof(Record::name) }

#define LAYOUT(record, size, ...)                                                                                      \
    []() -> Layout {                                                                                                   \
        using Record = record;                                                                                         \
        return {#record, size, sizeof(Record), alignof(Record), {__VA_ARGS__}};                                        \
    }()

std::vector<Layout> layouts()
{
    return {
        LAYOUT(vlanCfgNode, 20, FIELD(portNO, uint8_t, 1), FIELD(prouptagmode, uint8_t, 1),
               FIELD(in_up_vlan, uint16_t, 1), FIELD(out_up_vlan, uint16_t, 1), FIELD(prodntagmode, uint8_t, 1),
               FIELD(in_dn_vlan, uint16_t, 1), FIELD(out_dn_vlan, uint16_t, 1), FIELD(datedntagmode, uint8_t, 1),
               FIELD(in_data_vlan, uint16_t, 1), FIELD(out_data_vlan, uint16_t, 1), FIELD(ruleFlag, uint8_t, 1)),
        LAYOUT(portParm, 16, FIELD(leavemod, uint16_t, 1), FIELD(grouplimit, uint16_t, 1),
               FIELD(max_bandwidth, uint32_t, 1), FIELD(svlan, uint16_t, 1), FIELD(svlan_s, uint16_t, 1),
               FIELD(cvlan, uint16_t, 1)),
        LAYOUT(igmpGlobleParm, 188, FIELD(port, portParm, 2), FIELD(TemplateVlan, uint16_t, 16),
               FIELD(defaultVlan, uint16_t, 1), FIELD(multiMode, uint16_t, 1), FIELD(learningMode, uint16_t, 1),
               FIELD(robustness, uint8_t, 1), FIELD(version, uint8_t, 1), FIELD(query_interval, uint32_t, 1),
               FIELD(query_max_resp_time, uint32_t, 1), FIELD(last_member_query_interval, uint32_t, 1),
               FIELD(last_member_query_count, uint32_t, 1), FIELD(general_member_interval, uint32_t, 1),
               FIELD(ssm_ip, uint32_t, 1), FIELD(ssm_ip_arg2, uint32_t, 1), FIELD(ssm_map, uint32_t, 4),
               FIELD(ssm_map_arg5, uint32_t, 1), FIELD(proxyip, uint32_t, 1), FIELD(compile_date, char, 20),
               FIELD(compile_time, char, 20), FIELD(version_num, char, 20), FIELD(pkt_process_disable, uint8_t, 1)),
        LAYOUT(portStateNode, 8, FIELD(portNo, uint32_t, 1), FIELD(portType, uint32_t, 1)),
        LAYOUT(staticGroupEntry, 8, FIELD(vlan, uint16_t, 1), FIELD(spare, uint16_t, 1), FIELD(addr, uint32_t, 1)),
        LAYOUT(mldAuthGroup, 16, FIELD(bandwidth, uint32_t, 1), FIELD(start_groupAdress, uint32_t, 1),
               FIELD(end_groupAdress, uint32_t, 1), FIELD(vlan, uint16_t, 1)),
        LAYOUT(mldPortParm, 264, FIELD(leavemod, uint16_t, 1), FIELD(grouplimit, uint16_t, 1),
               FIELD(max_bandwidth, uint32_t, 1), FIELD(authGroup, mldAuthGroup, 16)),
        LAYOUT(mldTagRecord, 6, FIELD(tpid, uint16_t, 1), FIELD(vid, uint16_t, 1), FIELD(pri, uint8_t, 1)),
        LAYOUT(
            mldInitParm, 1352, FIELD(mldTestUplink, uint32_t, 1), FIELD(mldSrcPortNum, uint8_t, 1),
            FIELD(mldAdapt, uint32_t, 1), FIELD(mldOmciVersion, uint32_t, 1), FIELD(setVlanNumber, uint32_t, 1),
            FIELD(mldPortState, portStateNode, 2), FIELD(mldPort, mldPortParm, 2), FIELD(mldTemplateVlan, uint16_t, 16),
            FIELD(mldSetVlanCfgNumber, uint32_t, 2), FIELD(mldVlanList, uint32_t, 16), FIELD(defaultVlan, uint16_t, 1),
            FIELD(multiMode, uint16_t, 1), FIELD(learningMode, uint16_t, 1), FIELD(robustness, uint8_t, 1),
            FIELD(version, uint8_t, 1), FIELD(query_interval, uint32_t, 1), FIELD(query_max_resp_time, uint32_t, 1),
            FIELD(last_member_query_interval, uint32_t, 1), FIELD(last_member_query_count, uint32_t, 1),
            FIELD(general_member_interval, uint32_t, 1), FIELD(proxyip, uint32_t, 1),
            FIELD(mldPortVlanCfg, vlanCfgNode, 32), FIELD(outerTag, mldTagRecord, 1), FIELD(innerTag, mldTagRecord, 1)),
        LAYOUT(grpRecord, 28, FIELD(vlanId, uint16_t, 1), FIELD(infoB, uint32_t, 1), FIELD(groupAddress, uint32_t, 1),
               FIELD(infoD, uint32_t, 1), FIELD(infoE, uint32_t, 1), FIELD(infoF, uint32_t, 1),
               FIELD(infoG, uint16_t, 1), FIELD(userPort, uint8_t, 1)),
        LAYOUT(ifStatus, 16, FIELD(counter, uint32_t, 4)),
        LAYOUT(grp_info, 14392, FIELD(std_cnt, uint32_t, 1), FIELD(group, grpRecord, 512),
               FIELD(interfaceStatus, ifStatus, 2), FIELD(spare, uint32_t, 1), FIELD(oamFastLeave, uint32_t, 1),
               FIELD(statusGroupLimit, uint32_t, 2), FIELD(statusMode, uint32_t, 1)),
        LAYOUT(mcTagDescriptor, 6, FIELD(tpid, uint16_t, 1), FIELD(vid, uint16_t, 1), FIELD(pri, uint8_t, 1)),
        LAYOUT(mcGroupRecord, 56, FIELD(engineHead, uint8_t, 4), FIELD(ipv4Group, uint32_t, 1),
               FIELD(engineMiddle, uint8_t, 12), FIELD(ipv6GroupTail, uint8_t, 4), FIELD(engineTail, uint8_t, 28),
               FIELD(vlan, uint16_t, 1), FIELD(port, uint16_t, 1)),
        LAYOUT(igmpSsmMapEntry, 20, FIELD(word, uint32_t, 5)),
    };
}

TEST(RecordLayout, fields_follow_in_their_order_at_natural_alignment)
{
    for (const Layout &layout : layouts()) {
        SCOPED_TRACE(layout.name);
        std::size_t end = 0;
        for (const Field &field : layout.fields) {
            SCOPED_TRACE(field.name);
            EXPECT_EQ(field.size, field.element_size * field.count);
            EXPECT_EQ(field.offset, aligned(end, field.alignment));
            end = field.offset + field.size;
        }
        EXPECT_EQ(layout.real_size, aligned(end, layout.real_alignment)) << "something behind the last field";
        EXPECT_EQ(layout.real_size, layout.size);
    }
}

/** Places that processes outside the library rely on, or that the engine fills. */
TEST(RecordLayout, places_known_to_others)
{
    EXPECT_EQ(offsetof(vlanCfgNode, in_data_vlan), 14u);
    EXPECT_EQ(offsetof(mcGroupRecord, ipv4Group), 4u);
    EXPECT_EQ(offsetof(mcGroupRecord, ipv6GroupTail), 20u);
    EXPECT_EQ(offsetof(mcGroupRecord, vlan), 52u);
    EXPECT_EQ(offsetof(mcGroupRecord, port), 54u);
    EXPECT_EQ(offsetof(grp_info, group), 4u);
    EXPECT_EQ(offsetof(grp_info, interfaceStatus), 14340u);
    EXPECT_EQ(offsetof(grp_info, oamFastLeave), 14376u);
    EXPECT_EQ(offsetof(grp_info, statusMode), 14388u);
    EXPECT_EQ(offsetof(grpRecord, infoB), 4u);
    EXPECT_EQ(offsetof(grpRecord, groupAddress), 8u);
    EXPECT_EQ(offsetof(grpRecord, infoG), 24u);
    EXPECT_EQ(offsetof(grpRecord, userPort), 26u);
}

TEST(RecordLayout, tables_have_their_places)
{
    EXPECT_EQ(sizeof PortVlanCfg, 2u * 16 * 20);
    EXPECT_EQ(sizeof setVlanCfgNumber, 8u);
    EXPECT_EQ(sizeof PortVlan, 32u);
    EXPECT_EQ(sizeof setVlanNumber, 4u);
    EXPECT_EQ(sizeof portState, 16u);
    EXPECT_EQ(sizeof g_static_list, 2u * 32 * 8);
    EXPECT_EQ(sizeof g_static_grp_num, 8u);
    EXPECT_EQ(sizeof sys_mac, 6u);
    EXPECT_EQ(sizeof mld_sys_mac, 6u);
    EXPECT_EQ(sizeof defaultVlan, 2u);
    for (const std::size_t word : {sizeof testuplink, sizeof tablereturn, sizeof igmp_adapt, sizeof flag_omci_version,
                                   sizeof ponVlan, sizeof mc_debug, sizeof mld_debug})
        EXPECT_EQ(word, 4u);
    for (const std::size_t byte : {sizeof proxy_adapt_mode, sizeof srcPortNum})
        EXPECT_EQ(byte, 1u);
}

/** Records that C shares with C++ byte for byte. */
template <class... Record>
constexpr bool all_plain = ((std::is_standard_layout_v<Record> && std::is_trivially_copyable_v<Record>)&&...);

static_assert(all_plain<vlanCfgNode, portParm, igmpGlobleParm, portStateNode, staticGroupEntry, mldAuthGroup,
                        mldPortParm, mldTagRecord, mldInitParm, grpRecord, ifStatus, grp_info, mcTagDescriptor,
                        mcGroupRecord, igmpSsmMapEntry>);

} // namespace
} // namespace mcadapt::test
