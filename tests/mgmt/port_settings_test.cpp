/** Per-port settings: group limit, fast leave, bandwidth, and the control list of channels. */
#include "mgmt/management_test.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/** Logic port 0 is port 3, logic port 1 port 6: both accepted everywhere, neither its own index. */
class PortSettings : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        portState[0].portNo = 3;
        portState[1].portNo = 6;
    }
};

// --- Group limit

class GroupLimit : public PortSettings {
protected:
    const std::string refusal = "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_max_group_num_set Fail";
    const std::string out_of_bound = "\r\n[MC_DBG_ERR]: \n omci_set_port_igmpgroup_limit port is invalid .\n";
};

TEST_F(GroupLimit, is_stored_in_both_records_of_its_logic_port)
{
    const auto seen = observe([] { return omci_set_port_igmpgroup_limit(6, 100); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_if_max_group_num_set(6, 100)"));
    EXPECT_THAT(seen.changed, ElementsAre("globle_parm.port[1].grouplimit", "mc_status_global->statusGroupLimit[1]"));

    EXPECT_THAT(observe([] { return omci_set_port_igmpgroup_limit(3, 100); }).changed,
                ElementsAre("globle_parm.port[0].grouplimit", "mc_status_global->statusGroupLimit[0]"));
}

TEST_F(GroupLimit, is_cut_in_the_parameters_whole_in_the_status_and_1024_for_none)
{
    struct Row {
        int32_t limit;
        uint16_t parameter;
        uint32_t status;
        const char *call;
    };
    for (const Row &row :
         {Row{0, 1024, 1024, "igmp_if_max_group_num_set(3, 1024)"}, Row{1, 1, 1, "igmp_if_max_group_num_set(3, 1)"},
          Row{65536, 0, 65536, "igmp_if_max_group_num_set(3, 65536)"},
          Row{70000, 4464, 70000, "igmp_if_max_group_num_set(3, 70000)"},
          Row{-1, 65535, 0xFFFFFFFF, "igmp_if_max_group_num_set(3, -1)"}}) {
        SCOPED_TRACE(row.limit);
        EXPECT_THAT(observe([&] { return omci_set_port_igmpgroup_limit(3, row.limit); }).calls, ElementsAre(row.call));
        EXPECT_EQ(globle_parm.port[0].grouplimit, row.parameter);
        EXPECT_EQ(status_block.statusGroupLimit[0], row.status);
    }
}

TEST_F(GroupLimit, is_stored_before_the_engine_is_asked)
{
    std::vector<uint32_t> stored;
    platform().on("igmp_if_max_group_num_set", [&] {
        stored = {globle_parm.port[0].grouplimit, status_block.statusGroupLimit[0]};
    });
    omci_set_port_igmpgroup_limit(3, 70000);
    EXPECT_THAT(stored, ElementsAre(4464, 70000));
}

TEST_F(GroupLimit, is_for_ports_up_to_6_only)
{
    portState[1].portNo = 29;
    errors_logged();
    // intended: other operations accept up to 29, and add a second line
    for (const uint32_t port : {7u, 29u, 30u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(port);
        const auto seen = observe([&] { return omci_set_port_igmpgroup_limit(port, 10); });
        EXPECT_EQ(seen.result, -1);
        EXPECT_EQ(seen.output, out_of_bound);
        EXPECT_THAT(seen.calls, IsEmpty());
        EXPECT_THAT(seen.changed, IsEmpty());
    }
    for (const uint32_t port : {0u, 6u}) {
        SCOPED_TRACE(port);
        const auto seen = observe([&] { return omci_set_port_igmpgroup_limit(port, 10); });
        EXPECT_EQ(seen.result, -1);
        EXPECT_EQ(seen.output, not_configured(port).lines());
        EXPECT_THAT(seen.calls, IsEmpty());
        EXPECT_THAT(seen.changed, IsEmpty());
    }
}

TEST_F(GroupLimit, of_a_port_configured_twice_goes_to_the_first)
{
    portState[0].portNo = 6;
    omci_set_port_igmpgroup_limit(6, 10);
    EXPECT_THAT(status_block.statusGroupLimit, ElementsAre(10, 0));
}

TEST_F(GroupLimit, answers_with_the_low_byte_and_stays_stored_when_refused)
{
    errors_logged();
    for (const EngineCode &code : kEngineCodes) {
        SCOPED_TRACE(code.code);
        platform().answer("igmp_if_max_group_num_set", code.code);
        globle_parm = {};
        status_block = {};
        const auto plain = observe([] { return omci_set_port_igmpgroup_limit(3, 10); });
        EXPECT_EQ(plain.result, code.byte);
        EXPECT_EQ(plain.output, code.byte == 0 ? "" : refusal);
        EXPECT_EQ(globle_parm.port[0].grouplimit, 10);
        EXPECT_EQ(status_block.statusGroupLimit[0], 10u);
        EXPECT_EQ(observe([] { return std_omci_set_port_igmpgroup_limit(3, 10); }).result, code.byte);
    }
}

TEST_F(GroupLimit, prints_the_limit_as_given_and_each_refusal)
{
    const Gated entry = config("\r\n[MC_DBG_CFG]: omci_set_port_igmpgroup_limit is in! group num = 0 port = 3\n");
    const Gated std_entry = trace("\r\n[MC_DBG_DBG]: std_omci_set_port_igmpgroup_limit is in!\n");
    const Gated std_refusal = error("\r\n[MC_DBG_ERR]: \n ERROR!std_omci_set_port_igmpgroup_limit Fail");

    expect_texts({std_entry, entry}, [] { std_omci_set_port_igmpgroup_limit(3, 0); });
    platform().answer("igmp_if_max_group_num_set", 5);
    expect_texts({entry, error(refusal)}, [] { omci_set_port_igmpgroup_limit(3, 0); });
    expect_texts({std_entry, entry, error(refusal), std_refusal}, [] { std_omci_set_port_igmpgroup_limit(3, 0); });
}

TEST_F(GroupLimit, prints_its_entry_before_it_checks_the_port)
{
    expect_texts({config("\r\n[MC_DBG_CFG]: omci_set_port_igmpgroup_limit is in! group num = -5 port = 7\n"),
                  error(out_of_bound)},
                 [] { omci_set_port_igmpgroup_limit(7, -5); });
    expect_texts({config("\r\n[MC_DBG_CFG]: omci_set_port_igmpgroup_limit is in! group num = 5 port = 2\n"),
                  error(not_configured(2).first_line), error("\r\n[MC_DBG_ERR]: port number is invalid!\r\n")},
                 [] { omci_set_port_igmpgroup_limit(2, 5); });
}

TEST_F(GroupLimit, by_the_standard_entity_is_the_same_operation)
{
    const auto seen = observe([] { return std_omci_set_port_igmpgroup_limit(6, 70000); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_if_max_group_num_set(6, 70000)"));
    EXPECT_EQ(globle_parm.port[1].grouplimit, 4464);
    EXPECT_EQ(std_omci_set_port_igmpgroup_limit(7, 1), -1);
    EXPECT_EQ(std_omci_set_port_igmpgroup_limit(2, 1), -1);
}

TEST_F(GroupLimit, is_told_by_the_number_given_not_by_its_logic_port)
{
    status_block.statusGroupLimit[0] = 70000;
    status_block.statusGroupLimit[1] = 0xABCD1234;
    status_block.statusMode = 0x00030002;
    struct Row {
        uint32_t port;
        uint16_t limit;
    };
    // intended: 2 reads the mode word behind the two limits; ports 3 and 6 are configured and make no difference
    for (const Row &row :
         {Row{0, 4464}, Row{1, 0x1234}, Row{2, 2}, Row{3, 0}, Row{6, 0}, Row{29, 0}, Row{0xFFFFFFFF, 0}}) {
        SCOPED_TRACE(row.port);
        uint16_t out = 0x5555;
        const auto seen = observe([&] { return omci_get_port_igmpgroup_limit(row.port, &out); });
        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(out, row.limit);
        EXPECT_THAT(seen.calls, IsEmpty());
        EXPECT_THAT(seen.changed, IsEmpty());
    }
    uint16_t out = 0;
    expect_texts({config("\r\n[MC_DBG_CFG]: [omci_get_port_igmpgroup_limit]: port 1.\r\n")},
                 [&] { omci_get_port_igmpgroup_limit(1, &out); });
}

TEST_F(GroupLimit, that_was_set_is_told)
{
    portState[0].portNo = 0;
    omci_set_port_igmpgroup_limit(0, 70000);
    uint16_t out = 0;
    omci_get_port_igmpgroup_limit(0, &out);
    EXPECT_EQ(out, 4464);
}

// --- Fast leave of one port

class LeaveMode : public PortSettings {};

TEST_F(LeaveMode, is_cut_to_16_bits_in_its_logic_port_and_handed_over_whole)
{
    const auto seen = observe([] { return omci_set_port_igmp_leave_mode(6, 70000); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_if_fast_leave_enable(6, 70000)"));
    EXPECT_THAT(seen.changed, ElementsAre("globle_parm.port[1].leavemod"));
    EXPECT_EQ(globle_parm.port[1].leavemod, 4464);
    EXPECT_THAT(observe([] { return omci_set_port_igmp_leave_mode(3, 1); }).changed,
                ElementsAre("globle_parm.port[0].leavemod"));
}

TEST_F(LeaveMode, is_stored_before_the_engine_is_asked)
{
    uint32_t stored = 0;
    platform().on("igmp_if_fast_leave_enable", [&] { stored = globle_parm.port[0].leavemod; });
    omci_set_port_igmp_leave_mode(3, 2);
    EXPECT_EQ(stored, 2u);
}

TEST_F(LeaveMode, answers_with_the_low_byte_and_stays_stored_when_refused)
{
    errors_logged();
    for (const EngineCode &code : kEngineCodes) {
        SCOPED_TRACE(code.code);
        platform().answer("igmp_if_fast_leave_enable", code.code);
        globle_parm = {};
        const auto seen = observe([] { return omci_set_port_igmp_leave_mode(3, 1); });
        EXPECT_EQ(seen.result, code.byte);
        EXPECT_EQ(seen.output, code.byte == 0 ? "" : "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_fast_leave_enable Fail");
        EXPECT_EQ(globle_parm.port[0].leavemod, 1);
    }
}

TEST_F(LeaveMode, prints_its_entry_with_two_blanks_and_its_refusal)
{
    platform().answer("igmp_if_fast_leave_enable", 5);
    expect_texts({config("\r\n[MC_DBG_CFG]: omci_set_port_igmp_leave_mode  port=6 leave mode = 70000\n"),
                  error("\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_fast_leave_enable Fail")},
                 [] { omci_set_port_igmp_leave_mode(6, 70000); });
}

// --- Bandwidth

class Bandwidth : public PortSettings {};

TEST_F(Bandwidth, alone_is_stored_and_all_four_arguments_are_handed_over)
{
    const auto seen = observe([] { return std_max_multi_bandwidth_limit(6, 1, 0x80000001, 70000); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_if_max_bandwidth_set(6, 1, 2147483649, 70000)"));
    EXPECT_THAT(seen.changed, ElementsAre("globle_parm.port[1].max_bandwidth"));
    EXPECT_EQ(globle_parm.port[1].max_bandwidth, 0x80000001);
    EXPECT_THAT(observe([] { return std_max_multi_bandwidth_limit(3, 0, 7, 1); }).changed,
                ElementsAre("globle_parm.port[0].max_bandwidth"));
}

TEST_F(Bandwidth, is_stored_before_the_engine_is_asked)
{
    uint32_t stored = 0;
    platform().on("igmp_if_max_bandwidth_set", [&] { stored = globle_parm.port[0].max_bandwidth; });
    std_max_multi_bandwidth_limit(3, 1, 1000, 100);
    EXPECT_EQ(stored, 1000u);
}

TEST_F(Bandwidth, is_a_success_also_when_the_engine_refuses)
{
    errors_logged();
    for (const EngineCode &code : kEngineCodes) {
        SCOPED_TRACE(code.code);
        platform().answer("igmp_if_max_bandwidth_set", code.code);
        const auto seen = observe([] { return std_max_multi_bandwidth_limit(3, 1, 1000, 100); });
        EXPECT_EQ(seen.result, 0); // intended
        EXPECT_EQ(seen.output, code.code == 0 ? "" : "\r\n[MC_DBG_ERR]: \n ERROR!tarvomax_multi_bandwidth_limit Fail");
        EXPECT_EQ(globle_parm.port[0].max_bandwidth, 1000u);
    }
}

TEST_F(Bandwidth, prints_its_four_arguments_and_its_refusal)
{
    platform().answer("igmp_if_max_bandwidth_set", 256);
    expect_texts({config("\r\n[MC_DBG_CFG]: \n [std_max_multi_bandwidth_limit] portNo = 6,enable = 1,max_bandwidth = "
                         "-1,vlan = 70000"),
                  error("\r\n[MC_DBG_ERR]: \n ERROR!tarvomax_multi_bandwidth_limit Fail")},
                 [] { std_max_multi_bandwidth_limit(6, 1, 0xFFFFFFFF, 70000); });
}

// --- Control list

class ControlList : public LibraryTest {
protected:
    const std::string refusal = "\r\n[MC_DBG_ERR]: \n ERROR!igmp_set_multicast_control port(77) Fail";
};

TEST_F(ControlList, swaps_the_options_0_and_1_and_takes_any_other_for_2)
{
    struct Row {
        uint32_t opt;
        const char *call;
    };
    for (const Row &row :
         {Row{0, "igmp_set_multicast_control(77, 1, 100, 4)"}, Row{1, "igmp_set_multicast_control(77, 0, 100, 4)"},
          Row{2, "igmp_set_multicast_control(77, 2, 100, 4)"}, Row{3, "igmp_set_multicast_control(77, 2, 100, 4)"},
          Row{256, "igmp_set_multicast_control(77, 2, 100, 4)"},
          Row{0xFFFFFFFF, "igmp_set_multicast_control(77, 2, 100, 4)"}}) {
        SCOPED_TRACE(row.opt);
        // The port is not looked at: 77 is none of the unit's.
        const auto seen =
            observe([&] { return omci_set_port_to_control_multicast_list_table(77, row.opt, 100, 4, 4); });
        EXPECT_EQ(seen.result, 0);
        EXPECT_THAT(seen.calls, ElementsAre(row.call));
        EXPECT_THAT(seen.changed, IsEmpty());
    }
}

TEST_F(ControlList, hands_every_index_over_with_16_bits_of_the_vlan)
{
    EXPECT_THAT(observe([] { return omci_set_port_to_control_multicast_list_table(77, 0, 70000, 5, 7); }).calls,
                ElementsAre("igmp_set_multicast_control(77, 1, 4464, 5)", "igmp_set_multicast_control(77, 1, 4464, 6)",
                            "igmp_set_multicast_control(77, 1, 4464, 7)"));
    EXPECT_THAT(
        observe([] { return omci_set_port_to_control_multicast_list_table(77, 0, 1, 0x7FFFFFFF, 0x80000000); }).calls,
        ElementsAre("igmp_set_multicast_control(77, 1, 1, 2147483647)",
                    "igmp_set_multicast_control(77, 1, 1, 2147483648)"));
}

TEST_F(ControlList, with_a_first_index_above_the_last_asks_nothing)
{
    platform().answer("igmp_set_multicast_control", 5);
    for (const auto &[first, last] : {std::pair<uint32_t, uint32_t>{5, 4}, {0xFFFFFFFF, 0}}) {
        const auto seen = observe(
            [&, f = first, l = last] { return omci_set_port_to_control_multicast_list_table(0, 1, 100, f, l); });
        EXPECT_EQ(seen.result, 0);
        EXPECT_THAT(seen.calls, IsEmpty());
    }
}

TEST_F(ControlList, answers_with_the_last_code_whole_and_goes_on_after_a_refusal)
{
    struct Row {
        std::vector<int32_t> codes;
        int32_t result;
        int lines;
    };
    errors_logged();
    for (const Row &row : {Row{{5, 6, 0}, 0, 2}, Row{{0, 0, 256}, 256, 1}, Row{{-1, 0, 0x180}, 0x180, 2},
                           Row{{0, 0, -1}, -1, 1}, Row{{0, 0, 0}, 0, 0}}) {
        SCOPED_TRACE(row.result);
        platform().answers("igmp_set_multicast_control", row.codes);
        const auto seen = observe([] { return omci_set_port_to_control_multicast_list_table(77, 0, 100, 1, 3); });
        EXPECT_EQ(seen.result, row.result);
        EXPECT_EQ(seen.calls.size(), 3u);
        std::string lines;
        for (int i = 0; i < row.lines; ++i)
            lines += refusal;
        EXPECT_EQ(seen.output, lines);
    }
}

TEST_F(ControlList, with_the_highest_last_index_wraps_and_never_ends)
{
    // intended
    const auto seen = observe([] {
        return run_until("igmp_set_multicast_control", 4,
                         [] { omci_set_port_to_control_multicast_list_table(0, 2, 100, 0xFFFFFFFE, 0xFFFFFFFF); });
    });
    EXPECT_TRUE(seen.result);
    EXPECT_THAT(seen.calls,
                ElementsAre("igmp_set_multicast_control(0, 2, 100, 4294967294)",
                            "igmp_set_multicast_control(0, 2, 100, 4294967295)",
                            "igmp_set_multicast_control(0, 2, 100, 0)", "igmp_set_multicast_control(0, 2, 100, 1)"));
}

TEST_F(ControlList, prints_its_entry_and_each_refusal)
{
    platform().answer("igmp_set_multicast_control", 256);
    expect_texts({config("\r\n[MC_DBG_CFG]: \n omci_set_port_to_control_multicast_list_table is in\tport(77) opt(-1) "
                         "ds_vlan(70000)"),
                  error(refusal), error(refusal)},
                 [] { omci_set_port_to_control_multicast_list_table(77, 0xFFFFFFFF, 70000, 8, 9); });
}

} // namespace
} // namespace mcadapt::test
