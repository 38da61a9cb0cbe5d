/** Log masks, accessors of the records, and the two configuration dumps. */
#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "support/library_test.h"
#include "support/matchers.h"

namespace mcadapt::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

// --- Masks

struct MaskRow {
    uint32_t before;
    uint32_t bits;
    uint32_t on;
    uint32_t after;
};

const std::vector<MaskRow> kMaskRows = {
    // off: the bits are cleared, set or not
    {0x25, 0x04, 0, 0x21},
    {0x25, 0x25, 0, 0},
    {0x21, 0x04, 0, 0x21},
    {0xFFFFFFFF, 0x80000000, 0, 0x7FFFFFFF},
    {0x25, 0, 0, 0x25},
    {0, 0xFFFFFFFF, 0, 0},
    // on: set together when none is set
    {0, 0x24, 1, 0x24},
    {0x01, 0x24, 1, 0x25},
    {0, 0xFFFFFFFF, 1, 0xFFFFFFFF},
    {0x40, 0x80000000, 1, 0x80000040},
    {0x25, 0, 1, 0x25},
    // intended: on toggles, so all are cleared when any is set
    {0x24, 0x24, 1, 0},
    {0x04, 0x24, 1, 0},
    {0x20, 0x24, 1, 0},
    {0x25, 0x24, 1, 0x01},
    {0x01, 0xFFFFFFFF, 1, 0},
    {0xFFFFFFFF, 0x04, 1, 0xFFFFFFFB},
    // any value but 0 means on
    {0, 0x04, 2, 0x04},
    {0, 0x04, 0x80000000, 0x04},
    {0, 0x04, 0x100, 0x04},
    {0x04, 0x04, 0xFFFFFFFF, 0},
};

class LogMasks : public LibraryTest {};

std::string lower_hex(uint32_t value)
{
    std::string text;
    do
        text.insert(text.begin(), "0123456789abcdef"[value % 16]);
    while ((value /= 16) != 0);
    return text;
}

TEST_F(LogMasks, the_igmp_mask_is_changed_printed_and_returned)
{
    for (const MaskRow &row : kMaskRows) {
        SCOPED_TRACE(::testing::Message() << row.before << " " << row.bits << " " << row.on);
        mc_debug = row.before;
        mld_debug = 0x12345678;
        const auto seen = observe([&] { return mc_set_debug(row.bits, row.on); });
        EXPECT_EQ(seen.result, row.after);
        EXPECT_EQ(mc_debug, row.after);
        EXPECT_EQ(mld_debug, 0x12345678u);
        EXPECT_EQ(seen.output, "[mc_set_debug]: result: 0x" + lower_hex(row.after) + ".\r\n");
        EXPECT_THAT(seen.calls, IsEmpty());
        EXPECT_EQ(seen.changed.empty(), row.before == row.after);
    }
}

TEST_F(LogMasks, the_mld_mask_is_changed_and_returned_but_not_printed)
{
    for (const MaskRow &row : kMaskRows) {
        SCOPED_TRACE(::testing::Message() << row.before << " " << row.bits << " " << row.on);
        mld_debug = row.before;
        mc_debug = 0x12345678;
        const auto seen = observe([&] { return mld_adapt_set_debug(row.bits, row.on); });
        EXPECT_EQ(seen.result, row.after);
        EXPECT_EQ(mld_debug, row.after);
        EXPECT_EQ(mc_debug, 0x12345678u);
        EXPECT_EQ(seen.output, ""); // intended
        EXPECT_THAT(seen.calls, IsEmpty());
    }
}

TEST_F(LogMasks, the_result_line_is_in_lower_case_hex)
{
    EXPECT_EQ(observe([] { return mc_set_debug(0xABCDEF01, 1); }).output, "[mc_set_debug]: result: 0xabcdef01.\r\n");
    EXPECT_EQ(observe([] { return mc_set_debug(0xFFFFFFFF, 0); }).output, "[mc_set_debug]: result: 0x0.\r\n");
}

TEST_F(LogMasks, switching_the_same_bits_on_twice_switches_them_off)
{
    EXPECT_EQ(observe([] { return mc_set_debug(0x24, 1); }).result, 0x24u);
    EXPECT_EQ(observe([] { return mc_set_debug(0x24, 1); }).result, 0u);
    EXPECT_EQ(mld_adapt_set_debug(0x24, 1), 0x24u);
    EXPECT_EQ(mld_adapt_set_debug(0x24, 1), 0u);
}

// --- Accessors

class Accessors : public LibraryTest {
protected:
    /** The output of an accessor with only `bit` open on the IGMP side, and everything on the MLD side. */
    template <class Accessor> static std::string printed(uint32_t mask, Accessor accessor)
    {
        mc_debug = mask;
        mld_debug = ~0u;
        return observe(accessor).output;
    }
};

TEST_F(Accessors, give_the_records_themselves)
{
    EXPECT_EQ(getIgmpGlobleParmeter(), &globle_parm);
    EXPECT_EQ(getPortVlanConfigNumber(), setVlanCfgNumber);
    EXPECT_EQ(mldgetPortVlanConfigNumber(), mldInitParams.mldSetVlanCfgNumber);
    setVlanCfgNumber[1] = 7;
    mldInitParams.mldSetVlanCfgNumber[1] = 9;
    EXPECT_EQ(getPortVlanConfigNumber()[1], 7);
    EXPECT_EQ(mldgetPortVlanConfigNumber()[1], 9);
}

TEST_F(Accessors, give_the_counts_of_the_template_lists_by_value)
{
    setVlanNumber = 5;
    mldInitParams.setVlanNumber = 11;
    EXPECT_EQ(getTemplateVlanNumber(), 5);
    EXPECT_EQ(getmldTemplateVlanNumber(), 11);
}

TEST_F(Accessors, of_the_igmp_side_print_a_configuration_line)
{
    for (const uint32_t mask : {0x20u, 0x24u, ~0u}) {
        EXPECT_EQ(printed(mask, getIgmpGlobleParmeter), "\r\n[MC_DBG_CFG]: getIgmpGlobleParmeter is in\r\n");
        EXPECT_EQ(printed(mask, getPortVlanConfigNumber), "\r\n[MC_DBG_CFG]: getPortVlanConfigNumber is in\r\n");
        EXPECT_EQ(printed(mask, getTemplateVlanNumber), "\r\n[MC_DBG_CFG]: getTemplateVlanNumber is in\r\n");
    }
    for (const uint32_t mask : {0u, ~0x20u}) {
        EXPECT_EQ(printed(mask, getIgmpGlobleParmeter), "");
        EXPECT_EQ(printed(mask, getPortVlanConfigNumber), "");
        EXPECT_EQ(printed(mask, getTemplateVlanNumber), "");
    }
}

TEST_F(Accessors, of_the_mld_side_print_nothing)
{
    EXPECT_EQ(printed(~0u, getmldTemplateVlanNumber), "");
    EXPECT_EQ(printed(~0u, mldgetPortVlanConfigNumber), "");
}

// --- Dumps

const std::string kClearedRule = "portNO(255), prouptagmode(4), in_up_vlan(65535), out_up_vlan(65535)\r\n"
                                 "portNO(255), prodntagmode(4), in_dn_vlan(65535), out_dn_vlan(65535)\r\n"
                                 "portNO(255), datedntagmode(4), in_data_vlan(65535), out_data_vlan(65535)\r\n";

/** Two rules of the user port and one of the uplink; the cleared rules behind are not live. */
void put_three_rules(vlanCfgNode (&rules)[2][16], int32_t (&counts)[2])
{
    rules[0][0] = rule(0, 1, 100, 101, 2, 102, 103, 3, 104, 105);
    rules[0][1] = rule(255, 255, 65535, 0, 4, 4095, 4096, 0, 65534, 1);
    rules[1][0] = rule(29, 5, 6, 7, 8, 9, 10, 11, 12, 13);
    counts[0] = 2;
    counts[1] = 1;
}

const std::string kThreeRules = "portNO(0), prouptagmode(1), in_up_vlan(100), out_up_vlan(101)\r\n"
                                "portNO(0), prodntagmode(2), in_dn_vlan(102), out_dn_vlan(103)\r\n"
                                "portNO(0), datedntagmode(3), in_data_vlan(104), out_data_vlan(105)\r\n"
                                "portNO(255), prouptagmode(255), in_up_vlan(65535), out_up_vlan(0)\r\n"
                                "portNO(255), prodntagmode(4), in_dn_vlan(4095), out_dn_vlan(4096)\r\n"
                                "portNO(255), datedntagmode(0), in_data_vlan(65534), out_data_vlan(1)\r\n"
                                "portNO(29), prouptagmode(5), in_up_vlan(6), out_up_vlan(7)\r\n"
                                "portNO(29), prodntagmode(8), in_dn_vlan(9), out_dn_vlan(10)\r\n"
                                "portNO(29), datedntagmode(11), in_data_vlan(12), out_data_vlan(13)\r\n";

const std::string kLoadedIgmpHead = "MC HAL Version Num: QM.14.09.05.\r\n"
                                    "MC HAL Compile Data May 25 2018: 16:48:08.\r\n";
const std::string kLoadedIgmpPorts = "portNO(0) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n"
                                     "port(0) svlan(65535) svlan_s(65535) cvlan(65535) \r\n"
                                     "portNO(1) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n"
                                     "port(1) svlan(65535) svlan_s(65535) cvlan(65535) \r\n";
const std::string kLoadedIgmpTail = "defaultVlan(4088), general_member_interval(1), last_member_query_count(2)\r\n"
                                    "last_member_query_interval(1), learningMode(0), multiMode(1)\r\n"
                                    "query_interval(125), query_max_resp_time(10), robustness(2), version(3)\r\n"
                                    "testuplink = (65534),tablereturn = (1), pkt_process_disable = (0).\r\n";

const std::string kLoadedMldPorts = "portNO(0) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n"
                                    "portNO(1) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n";
const std::string kLoadedMldTail = "defaultVlan(4088), general_member_interval(1), last_member_query_count(2)\r\n"
                                   "last_member_query_interval(1), learningMode(0), multiMode(2)\r\n"
                                   "query_interval(125), query_max_resp_time(10), robustness(2), version(3)\r\n";

class IgmpDump : public LibraryTest {
protected:
    /** The dump; it must be the same whatever the masks hold, and change and call nothing. */
    static std::string dump()
    {
        log_mask(0);
        const auto silent = observe(debugPrint);
        EXPECT_THAT(silent.calls, IsEmpty());
        EXPECT_THAT(silent.changed, IsEmpty());
        log_mask(~0u);
        EXPECT_EQ(observe(debugPrint).output, silent.output); // without the accessors' own lines
        log_mask(0);
        return silent.output;
    }
};

TEST_F(IgmpDump, shows_the_loaded_records) { EXPECT_EQ(dump(), kLoadedIgmpHead + kLoadedIgmpPorts + kLoadedIgmpTail); }

TEST_F(IgmpDump, shows_full_records_byte_for_byte)
{
    std::strcpy(globle_parm.version_num, "A.1");
    std::strcpy(globle_parm.compile_date, "Jan  1 2000");
    std::strcpy(globle_parm.compile_time, "00:00:01");
    put_three_rules(PortVlanCfg, setVlanCfgNumber);
    globle_parm.port[0] = {1, 1024, 100000, 200, 201, 202};
    globle_parm.port[1] = {65535, 65534, 0xFFFFFFFF, 0, 1, 2};
    g_static_list[0][0] = {100, 0, 0xE1010203};
    g_static_list[0][31] = {0, 0, 0};
    g_static_list[1][5] = {65534, 0, 0xFFFFFFFF};
    put_template_vlans({100, 200});
    globle_parm.TemplateVlan[1] = 65535;
    PortVlan[0] = 65534;
    globle_parm.defaultVlan = 65535;
    globle_parm.general_member_interval = 0xFFFFFFFF;
    globle_parm.last_member_query_count = 0xFFFFFFFE;
    globle_parm.last_member_query_interval = 0xFFFFFFFD;
    globle_parm.learningMode = 65533;
    globle_parm.multiMode = 65532;
    globle_parm.query_interval = 0xFFFFFFFC;
    globle_parm.query_max_resp_time = 0xFFFFFFFB;
    globle_parm.robustness = 255;
    globle_parm.version = 254;
    testuplink = 0xFFFFFFFF;
    tablereturn = 0xFFFFFFFE;
    globle_parm.pkt_process_disable = 255;

    EXPECT_EQ(dump(), "MC HAL Version Num: A.1.\r\n"
                      "MC HAL Compile Data Jan  1 2000: 00:00:01.\r\n" +
                          kThreeRules +
                          "portNO(0) grouplimit(1024) leavemod(1) max_bandwidth(100000)\r\n"
                          "port(0) svlan(200) svlan_s(201) cvlan(202) \r\n"
                          "portNO(1) grouplimit(65534) leavemod(65535) max_bandwidth(-1)\r\n"
                          "port(1) svlan(0) svlan_s(1) cvlan(2) \r\n"
                          "port(0) vlan = 100, addr = e1010203\r\n"
                          "port(0) vlan = 0, addr = 0\r\n"
                          "port(1) vlan = 65534, addr = ffffffff\r\n"
                          "-65534-TemplateVlan(100)\t-200-TemplateVlan(65535)\t\r\n"
                          "defaultVlan(65535), general_member_interval(4294967295), "
                          "last_member_query_count(4294967294)\r\n"
                          "last_member_query_interval(4294967293), learningMode(65533), multiMode(65532)\r\n"
                          "query_interval(4294967292), query_max_resp_time(4294967291), robustness(255), "
                          "version(254)\r\n"
                          "testuplink = (-1),tablereturn = (-2), pkt_process_disable = (255).\r\n");
}

TEST_F(IgmpDump, names_the_logic_port_in_the_port_lines)
{
    portState[0] = {5, 2};
    portState[1] = {7, 1};
    EXPECT_EQ(dump(), kLoadedIgmpHead + kLoadedIgmpPorts + kLoadedIgmpTail);
}

TEST_F(IgmpDump, takes_the_parameters_default_vlan_and_not_the_global_one)
{
    defaultVlan = 55;
    EXPECT_THAT(dump(), HasSubstr("defaultVlan(4088)"));
}

TEST_F(IgmpDump, shows_every_counted_rule_and_no_more)
{
    for (const int32_t count : {0, 1, 16}) {
        setVlanCfgNumber[0] = count;
        setVlanCfgNumber[1] = 16 - count;
        std::string rules;
        for (int i = 0; i < 16; ++i)
            rules += kClearedRule;
        EXPECT_EQ(dump(), kLoadedIgmpHead + rules + kLoadedIgmpPorts + kLoadedIgmpTail) << count;
    }
}

TEST_F(IgmpDump, shows_all_static_groups_but_the_free_entries)
{
    std::string lines;
    for (int port = 0; port < 2; ++port)
        for (uint16_t i = 0; i < 32; ++i) {
            g_static_list[port][i] = {i, 0, 0xABu + i};
            lines += "port(" + std::to_string(port) + ") vlan = " + std::to_string(i) +
                     ", addr = " + lower_hex(0xABu + i) + "\r\n";
        }
    EXPECT_EQ(dump(), kLoadedIgmpHead + kLoadedIgmpPorts + lines + kLoadedIgmpTail);
}

TEST_F(IgmpDump, does_not_count_the_static_groups)
{
    g_static_grp_num[0] = 32;
    EXPECT_THAT(dump(), Not(HasSubstr("addr =")));
    g_static_grp_num[0] = 0;
    g_static_list[0][3] = {0, 0, 0x0000FFFF}; // VLAN 0 is no free entry
    EXPECT_THAT(dump(), HasSubstr("port(0) vlan = 0, addr = ffff\r\n"));
}

/** Breaks after items 3, 6, 9, 12 and 15 and after the last one: four items in the first line, then three. */
const std::vector<int> kLineEnds = {3, 6, 9, 12, 15};

template <class Item> std::string template_list(int items, Item &&item)
{
    std::string text;
    for (int i = 0; i < items; ++i) {
        text += item(i);
        const bool after_this = std::count(kLineEnds.begin(), kLineEnds.end(), i) != 0;
        if (after_this || i == items - 1)
            text += "\r\n";
    }
    return text;
}

TEST_F(IgmpDump, breaks_the_template_list_into_lines)
{
    for (int items = 0; items <= 16; ++items) {
        for (int i = 0; i < 16; ++i) {
            PortVlan[i] = static_cast<uint16_t>(1000 + i);
            globle_parm.TemplateVlan[i] = static_cast<uint16_t>(2000 + i);
        }
        setVlanNumber = items;
        const std::string list = template_list(items, [](int i) {
            return "-" + std::to_string(1000 + i) + "-TemplateVlan(" + std::to_string(2000 + i) + ")\t";
        });
        EXPECT_EQ(dump(), kLoadedIgmpHead + kLoadedIgmpPorts + list + kLoadedIgmpTail) << items;
    }
}

TEST_F(IgmpDump, five_template_vlans_take_two_lines)
{
    put_template_vlans({1, 2, 3, 4, 5});
    EXPECT_THAT(dump(), HasSubstr("\r\n-1-TemplateVlan(1)\t-2-TemplateVlan(2)\t-3-TemplateVlan(3)\t"
                                  "-4-TemplateVlan(4)\t\r\n-5-TemplateVlan(5)\t\r\ndefaultVlan("));
}

TEST_F(IgmpDump, stays_inside_the_tables_whatever_the_counts_hold)
{
    setVlanNumber = -1;
    setVlanCfgNumber[0] = setVlanCfgNumber[1] = -1;
    EXPECT_EQ(dump(), kLoadedIgmpHead + kLoadedIgmpPorts + kLoadedIgmpTail);

    setVlanNumber = 17;
    const std::string full = template_list(16, [](int) { return std::string("-0-TemplateVlan(0)\t"); });
    EXPECT_EQ(dump(), kLoadedIgmpHead + kLoadedIgmpPorts + full + kLoadedIgmpTail);

    setVlanNumber = 0;
    setVlanCfgNumber[1] = 17;
    PortVlanCfg[1][15].portNO = 77;
    const std::string rules = dump();
    EXPECT_THAT(rules, HasSubstr("portNO(77), datedntagmode(4), in_data_vlan(65535), out_data_vlan(65535)\r\nportNO(0)"
                                 " grouplimit"));
}

class MldDump : public LibraryTest {
protected:
    static std::string dump()
    {
        log_mask(0);
        const auto silent = observe(mldPrint);
        EXPECT_THAT(silent.calls, IsEmpty());
        EXPECT_THAT(silent.changed, IsEmpty());
        log_mask(~0u);
        EXPECT_EQ(observe(mldPrint).output, silent.output);
        log_mask(0);
        return silent.output;
    }
};

TEST_F(MldDump, shows_the_loaded_records) { EXPECT_EQ(dump(), kLoadedMldPorts + kLoadedMldTail); }

TEST_F(MldDump, shows_full_records_byte_for_byte)
{
    put_three_rules(mldInitParams.mldPortVlanCfg, mldInitParams.mldSetVlanCfgNumber);
    mldPortParm(&ports)[2] = mldInitParams.mldPort;
    ports[0].leavemod = 1;
    ports[0].grouplimit = 1024;
    ports[0].max_bandwidth = 100000;
    ports[0].authGroup[0] = {0xFFFFFFFF, 0xFF0E0001, 0xFF0E00FF, 100};
    ports[0].authGroup[1] = {7, 0xFF0E0002, 0xFF0E0003, 0}; // free
    ports[0].authGroup[15] = {0, 0, 0, 65535};
    ports[1].leavemod = 65535;
    ports[1].grouplimit = 65534;
    ports[1].max_bandwidth = 0xFFFFFFFF;
    ports[1].authGroup[7] = {2147483647, 0xA, 0xFFFFFFFF, 1};
    put_mld_template_vlans({100, 200});
    mldInitParams.mldTemplateVlan[1] = 65535;
    mldInitParams.defaultVlan = 65535;
    mldInitParams.general_member_interval = 0xFFFFFFFF;
    mldInitParams.last_member_query_count = 0xFFFFFFFE;
    mldInitParams.last_member_query_interval = 0xFFFFFFFD;
    mldInitParams.learningMode = 65533;
    mldInitParams.multiMode = 65532;
    mldInitParams.query_interval = 0xFFFFFFFC;
    mldInitParams.query_max_resp_time = 0xFFFFFFFB;
    mldInitParams.robustness = 255;
    mldInitParams.version = 254;

    EXPECT_EQ(dump(), kThreeRules + "portNO(0) grouplimit(1024) leavemod(1) max_bandwidth(100000)\r\n"
                                    "start_groupAdress(ff0e0001) end_groupAdress(ff0e00ff) bandwidth(-1) vlan(100)\r\n"
                                    "start_groupAdress(0) end_groupAdress(0) bandwidth(0) vlan(65535)\r\n"
                                    "portNO(1) grouplimit(65534) leavemod(65535) max_bandwidth(-1)\r\n"
                                    "start_groupAdress(a) end_groupAdress(ffffffff) bandwidth(2147483647) vlan(1)\r\n"
                                    "TemplateVlan(100)\tTemplateVlan(65535)\t\r\n"
                                    "defaultVlan(65535), general_member_interval(4294967295), "
                                    "last_member_query_count(4294967294)\r\n"
                                    "last_member_query_interval(4294967293), learningMode(65533), multiMode(65532)\r\n"
                                    "query_interval(4294967292), query_max_resp_time(4294967291), robustness(255), "
                                    "version(254)\r\n");
}

TEST_F(MldDump, takes_nothing_from_the_igmp_records)
{
    put_three_rules(PortVlanCfg, setVlanCfgNumber);
    put_template_vlans({100, 200, 300});
    globle_parm.port[0] = {1, 2, 3, 4, 5, 6};
    g_static_list[0][0] = {100, 0, 1};
    globle_parm.query_interval = 9;
    testuplink = 9;
    EXPECT_EQ(dump(), kLoadedMldPorts + kLoadedMldTail);
}

TEST_F(IgmpDump, takes_nothing_from_the_mld_records)
{
    put_three_rules(mldInitParams.mldPortVlanCfg, mldInitParams.mldSetVlanCfgNumber);
    put_mld_template_vlans({100, 200, 300});
    mldInitParams.mldPort[0].leavemod = 1;
    mldInitParams.mldPort[0].authGroup[0].vlan = 1;
    mldInitParams.query_interval = 9;
    mldInitParams.mldTestUplink = 9;
    EXPECT_EQ(dump(), kLoadedIgmpHead + kLoadedIgmpPorts + kLoadedIgmpTail);
}

TEST_F(MldDump, shows_all_16_groups_of_both_ports_each_below_its_port)
{
    std::string wanted;
    for (uint32_t port = 0; port < 2; ++port) {
        wanted += "portNO(" + std::to_string(port) + ") grouplimit(0) leavemod(0) max_bandwidth(0)\r\n";
        for (uint32_t i = 0; i < 16; ++i) {
            const uint32_t first = 0x100 * port + i;
            mldInitParams.mldPort[port].authGroup[i] = {i, first, first + 0x1000, static_cast<uint16_t>(i + 1)};
            wanted += "start_groupAdress(" + lower_hex(first) + ") end_groupAdress(" + lower_hex(first + 0x1000) +
                      ") bandwidth(" + std::to_string(i) + ") vlan(" + std::to_string(i + 1) + ")\r\n";
        }
    }
    EXPECT_EQ(dump(), wanted + kLoadedMldTail);
}

TEST_F(MldDump, breaks_the_template_list_into_lines)
{
    for (int items = 0; items <= 16; ++items) {
        for (int i = 0; i < 16; ++i) {
            mldInitParams.mldTemplateVlan[i] = static_cast<uint16_t>(2000 + i);
            mldInitParams.mldVlanList[i] = static_cast<uint32_t>(3000 + i); // of the intake, not dumped
        }
        mldInitParams.setVlanNumber = items;
        const std::string list =
            template_list(items, [](int i) { return "TemplateVlan(" + std::to_string(2000 + i) + ")\t"; });
        EXPECT_EQ(dump(), kLoadedMldPorts + list + kLoadedMldTail) << items;
    }
}

TEST_F(MldDump, stays_inside_the_tables_whatever_the_counts_hold)
{
    mldInitParams.setVlanNumber = -1;
    mldInitParams.mldSetVlanCfgNumber[0] = mldInitParams.mldSetVlanCfgNumber[1] = -1;
    EXPECT_EQ(dump(), kLoadedMldPorts + kLoadedMldTail);

    mldInitParams.setVlanNumber = 17;
    const std::string full = template_list(16, [](int) { return std::string("TemplateVlan(0)\t"); });
    EXPECT_EQ(dump(), kLoadedMldPorts + full + kLoadedMldTail);
}

} // namespace
} // namespace mcadapt::test
