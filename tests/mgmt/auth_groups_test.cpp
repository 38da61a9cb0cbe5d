/** Authorised groups: the unit's white list, its private list, and the ranges of a port; all kept by the engine. */
#include "mgmt/management_test.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// --- White list of the whole unit

class WhiteList : public LibraryTest {
protected:
    const uint8_t start[4] = {225, 1, 2, 3};
    const uint8_t end[4] = {225, 1, 2, 9};

    int32_t add() const { return omci_set_multi_white_list_entry(start, end); }
    std::string add_call() const
    {
        return call_line("igmp_if_add_auth_group_cfg", 0, reinterpret_cast<uintptr_t>(start),
                         reinterpret_cast<uintptr_t>(end), 0, 65535);
    }
};

TEST_F(WhiteList, entry_turns_the_limit_on_and_hands_the_two_addresses_over)
{
    const auto seen = observe([&] { return add(); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_chile_grp_limit_func_set(1)", add_call()));
    EXPECT_THAT(seen.changed, IsEmpty());
}

TEST_F(WhiteList, entry_is_not_checked)
{
    EXPECT_THAT(observe([&] { return omci_set_multi_white_list_entry(nullptr, nullptr); }).calls,
                ElementsAre("igmp_chile_grp_limit_func_set(1)", "igmp_if_add_auth_group_cfg(0, 0, 0, 0, 65535)"));
}

TEST_F(WhiteList, entry_answers_with_the_add_whole_and_passes_a_refused_limit_over)
{
    for (const EngineCode &code : kEngineCodes) {
        SCOPED_TRACE(code.code);
        platform().answer("igmp_chile_grp_limit_func_set", code.code == 0 ? 5 : 0);
        platform().answer("igmp_if_add_auth_group_cfg", code.code);
        const auto seen = observe([&] { return add(); });
        EXPECT_EQ(seen.result, code.code);
        EXPECT_EQ(seen.calls.size(), 2u);
    }
}

TEST_F(WhiteList, entry_prints_each_refusal_with_its_code)
{
    platform().answer("igmp_chile_grp_limit_func_set", 256);
    platform().answer("igmp_if_add_auth_group_cfg", -2);
    expect_texts({error("\r\n[MC_DBG_ERR]:  igmp_chile_grp_limit_func_set is error 256\r\n"),
                  error("\r\n[MC_DBG_ERR]:  igmp_if_add_auth_group_cfg is error -2\r\n")},
                 [&] { add(); });
    platform().answer("igmp_chile_grp_limit_func_set", 0);
    platform().answer("igmp_if_add_auth_group_cfg", 0);
    expect_texts({}, [&] { add(); });
}

TEST_F(WhiteList, deletion_drops_the_groups_turns_the_limit_off_and_takes_every_range_back)
{
    const auto seen = observe([] { return omci_delete_multi_white_list(); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_del_all_group_except_static_group()", "igmp_chile_grp_limit_func_set(0)",
                                        "igmp_if_delete_auth_group_cfg_all(0, 65535)"));
    EXPECT_THAT(seen.changed, IsEmpty());
}

TEST_F(WhiteList, deletion_answers_with_its_last_call_whole_and_passes_the_others_over)
{
    for (const EngineCode &code : kEngineCodes) {
        SCOPED_TRACE(code.code);
        platform().answer("igmp_del_all_group_except_static_group", code.code == 0 ? 5 : 0);
        platform().answer("igmp_chile_grp_limit_func_set", code.code == 0 ? 5 : 0);
        platform().answer("igmp_if_delete_auth_group_cfg_all", code.code);
        const auto seen = observe([] { return omci_delete_multi_white_list(); });
        EXPECT_EQ(seen.result, code.code);
        EXPECT_EQ(seen.calls.size(), 3u);
    }
}

TEST_F(WhiteList, deletion_prints_each_refusal_with_its_code)
{
    platform().answer("igmp_del_all_group_except_static_group", 0x180);
    platform().answer("igmp_chile_grp_limit_func_set", 0x180);
    platform().answer("igmp_if_delete_auth_group_cfg_all", 0x180);
    // intended: the group code is cut to its low byte, and the last line names the add call
    expect_texts({error("\r\n[MC_DBG_ERR]:  igmp_del_all_group is error -128\r\n"),
                  error("\r\n[MC_DBG_ERR]:  igmp_chile_grp_limit_func_set is error 384\r\n"),
                  error("\r\n[MC_DBG_ERR]:  igmp_if_add_auth_group_cfg is error 384\r\n")},
                 [] { omci_delete_multi_white_list(); });
    platform().answer("igmp_del_all_group_except_static_group", 256);
    platform().answer("igmp_chile_grp_limit_func_set", 256);
    platform().answer("igmp_if_delete_auth_group_cfg_all", 256);
    expect_texts({error("\r\n[MC_DBG_ERR]:  igmp_chile_grp_limit_func_set is error 256\r\n"),
                  error("\r\n[MC_DBG_ERR]:  igmp_if_add_auth_group_cfg is error 256\r\n")},
                 [] { omci_delete_multi_white_list(); });
    for (const char *call : {"igmp_del_all_group_except_static_group", "igmp_chile_grp_limit_func_set",
                             "igmp_if_delete_auth_group_cfg_all"})
        platform().answer(call, 0);
    expect_texts({}, [] { omci_delete_multi_white_list(); });
}

// --- Private list of the unit

class PrivateList : public LibraryTest {};

TEST_F(PrivateList, takes_and_removes_a_group_of_a_vlan)
{
    const auto added = observe([] { return omci_add_auth_igmp_group_vlan_config(0xE1010203, 70000); });
    EXPECT_EQ(added.result, 0);
    EXPECT_THAT(added.calls, ElementsAre("add_to_auth_group_api(3774939651, 70000)"));
    EXPECT_THAT(added.changed, IsEmpty());

    const auto removed = observe([] { return omci_delete_auth_igmp_group_vlan_config(0xE1010203, 70000); });
    EXPECT_EQ(removed.result, 0);
    EXPECT_THAT(removed.calls, ElementsAre("auth_group_delete_api(3774939651, 70000)"));
    EXPECT_THAT(removed.changed, IsEmpty());
}

TEST_F(PrivateList, refuses_vlan_0_only_when_a_group_is_added)
{
    const auto added = observe([] { return omci_add_auth_igmp_group_vlan_config(0xE1010203, 0); });
    EXPECT_EQ(added.result, -1);
    EXPECT_THAT(added.calls, IsEmpty());
    EXPECT_THAT(observe([] { return omci_delete_auth_igmp_group_vlan_config(0xE1010203, 0); }).calls,
                ElementsAre("auth_group_delete_api(3774939651, 0)"));
    expect_texts({config("\r\n[MC_DBG_CFG]: \n groupAddress is e1010203  vlan is 0. \n"),
                  error("\r\n[MC_DBG_ERR]: parameter is invalid!\r\n")},
                 [] { omci_add_auth_igmp_group_vlan_config(0xE1010203, 0); });
}

TEST_F(PrivateList, answers_whole_to_an_add_by_the_low_byte_to_a_delete_and_never_to_a_clear)
{
    for (const EngineCode &code : kEngineCodes) {
        SCOPED_TRACE(code.code);
        platform().answer("add_to_auth_group_api", code.code);
        platform().answer("auth_group_delete_api", code.code);
        platform().answer("auth_group_delete_all_api", code.code);
        EXPECT_EQ(omci_add_auth_igmp_group_vlan_config(1, 100), code.code);
        EXPECT_EQ(omci_delete_auth_igmp_group_vlan_config(1, 100), code.byte);
        EXPECT_EQ(omci_clear_all_auth_igmp_group_vlan_config(), 0); // intended
    }
}

TEST_F(PrivateList, prints_group_vlan_and_refusals)
{
    expect_texts({config("\r\n[MC_DBG_CFG]: \n groupAddress is 5  vlan is 100. \n")},
                 [] { omci_add_auth_igmp_group_vlan_config(5, 100); });
    expect_texts({config("\r\n[MC_DBG_CFG]: \n groupAddress is 5  vlan is 100.\n")},
                 [] { omci_delete_auth_igmp_group_vlan_config(5, 100); });
    platform().answer("add_to_auth_group_api", 256);
    platform().answer("auth_group_delete_api", 255);
    expect_texts({config("\r\n[MC_DBG_CFG]: \n groupAddress is e1010203  vlan is 100. \n"),
                  error("\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_add_auth_group_cfg(private mode) Fail ret(256)")},
                 [] { omci_add_auth_igmp_group_vlan_config(0xE1010203, 100); });
    // intended: no blank before the line end here
    expect_texts({config("\r\n[MC_DBG_CFG]: \n groupAddress is e1010203  vlan is 100.\n"),
                  error("\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_delete_auth_group_cfg(private mode) Fail ret(-1)")},
                 [] { omci_delete_auth_igmp_group_vlan_config(0xE1010203, 100); });
    platform().answer("auth_group_delete_api", 256);
    expect_texts({config("\r\n[MC_DBG_CFG]: \n groupAddress is 1  vlan is -1.\n")},
                 [] { omci_delete_auth_igmp_group_vlan_config(1, 0xFFFFFFFF); });
}

TEST_F(PrivateList, is_cleared_in_one_call_without_a_line_for_a_refusal)
{
    platform().answer("auth_group_delete_all_api", 5);
    const auto seen = observe([] { return omci_clear_all_auth_igmp_group_vlan_config(); });
    EXPECT_THAT(seen.calls, ElementsAre("auth_group_delete_all_api()"));
    EXPECT_THAT(seen.changed, IsEmpty());
    expect_texts({config("\r\n[MC_DBG_CFG]: \n omci_clear_all_auth_igmp_group_vlan_config is in .\n")},
                 [] { omci_clear_all_auth_igmp_group_vlan_config(); });
}

// --- Ranges of a port

struct RangeOperation {
    const char *name;
    int32_t (*operation)(uint32_t port, uint32_t start, uint32_t end, uint32_t arg4, uint16_t vlan);
    const char *engine_call;
    bool enables_ranges;
    Result result;
    const char *refusal;
};

void PrintTo(const RangeOperation &row, std::ostream *out) { *out << row.name; }

const RangeOperation kRangeOperations[] = {
    {"onu_omci_add_auth_igmp_group_vlan_config", onu_omci_add_auth_igmp_group_vlan_config, "igmp_if_add_auth_group_cfg",
     false, Result::always_0, "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_add_auth_group_cfg Fail"},
    {"std_omci_add_port_auth_igmp_group_vlan_config", std_omci_add_port_auth_igmp_group_vlan_config,
     "igmp_if_add_auth_group_cfg", true, Result::always_0,
     "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_add_auth_group_cfg Fail"},
    {"std_omci_delete_port_auth_igmp_group_vlan_config", std_omci_delete_port_auth_igmp_group_vlan_config,
     "igmp_if_delete_auth_group_cfg", false, Result::whole, "\r\n[MC_DBG_ERR]: \n ERROR!tarvo Fail"},
};

class PortRange : public LibraryTest, public ::testing::WithParamInterface<RangeOperation> {
protected:
    const RangeOperation &row = GetParam();

    std::vector<std::string> calls_for(uint32_t port, uint32_t start, uint32_t end, uint32_t arg4, uint32_t vlan) const
    {
        std::vector<std::string> calls = {call_line(row.engine_call, port, start, end, arg4, vlan)};
        if (row.enables_ranges)
            calls.push_back(call_line("igmp_if_grp_range_auth_enable", port, 1));
        return calls;
    }

    std::string entry(std::vector<int32_t> port_start_end_vlan) const
    {
        return filled("\r\n[MC_DBG_CFG]: \n [" + std::string(row.name) +
                          "] portNo = %d,start_IP_address = %d,end_IP_address = %d\n,vlan = %d",
                      std::move(port_start_end_vlan));
    }
};

INSTANTIATE_TEST_SUITE_P(Of, PortRange, ::testing::ValuesIn(kRangeOperations), row_name<RangeOperation>);

TEST_P(PortRange, is_handed_to_the_engine_as_given)
{
    struct Row {
        uint32_t port, start, end, arg4;
        uint16_t vlan;
    };
    for (const Row &given : {Row{0, 4, 5, 9, 100}, Row{29, 0xE0000001, 0xEFFFFFFF, 0xFFFFFFFF, 65535},
                             Row{0, 0, 0xFFFFFFFF, 0, 1}, Row{0, 7, 7, 0, 4095}}) {
        const auto seen =
            observe([&] { return row.operation(given.port, given.start, given.end, given.arg4, given.vlan); });
        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(seen.calls, calls_for(given.port, given.start, given.end, given.arg4, given.vlan));
        EXPECT_THAT(seen.changed, IsEmpty());
    }
}

TEST_P(PortRange, without_a_vlan_or_turned_round_is_refused)
{
    struct Row {
        uint32_t start, end;
        uint16_t vlan;
    };
    errors_logged();
    for (const Row &given : {Row{4, 5, 0}, Row{5, 4, 100}, Row{0x80000000, 1, 100}, Row{5, 4, 0}}) {
        const auto seen = observe([&] { return row.operation(0, given.start, given.end, 0, given.vlan); });
        EXPECT_EQ(seen.result, -1);
        EXPECT_EQ(seen.output, "\r\n[MC_DBG_ERR]: parameter is invalid!\r\n");
        EXPECT_THAT(seen.calls, IsEmpty());
    }
}

TEST_P(PortRange, answers_as_its_result_rule_says)
{
    errors_logged();
    for (const EngineCode &code : kEngineCodes) {
        SCOPED_TRACE(code.code);
        platform().answer(row.engine_call, code.code);
        const auto seen = observe([&] { return row.operation(0, 4, 5, 9, 100); });
        EXPECT_EQ(seen.result, code.under(row.result));
        EXPECT_EQ(seen.output, code.code == 0 ? "" : row.refusal);
        EXPECT_EQ(seen.calls, calls_for(0, 4, 5, 9, 100));
    }
}

TEST_P(PortRange, prints_its_arguments_before_every_check)
{
    const std::string not_valid = "\r\n[MC_DBG_ERR]: parameter is invalid!\r\n";
    platform().answer(row.engine_call, 256);
    expect_texts({config(entry({29, 1, -1, 65535})), error(row.refusal)},
                 [&] { row.operation(29, 1, 0xFFFFFFFF, 9, 65535); });
    expect_texts({config(entry({0, 5, 4, 100})), error(not_valid)}, [&] { row.operation(0, 5, 4, 9, 100); });
    expect_texts({config(entry({30, 5, 4, 0})), error(too_high(30).lines())}, [&] { row.operation(30, 5, 4, 9, 0); });
}

class PortRanges : public LibraryTest {};

TEST_F(PortRanges, are_enabled_whatever_the_add_answered_and_never_refused_for_it)
{
    platform().answer("igmp_if_add_auth_group_cfg", 5);
    platform().answer("igmp_if_grp_range_auth_enable", 256);
    const auto seen = observe([] { return std_omci_add_port_auth_igmp_group_vlan_config(0, 4, 5, 9, 100); });
    EXPECT_EQ(seen.result, 0); // intended
    EXPECT_THAT(seen.calls,
                ElementsAre("igmp_if_add_auth_group_cfg(0, 4, 5, 9, 100)", "igmp_if_grp_range_auth_enable(0, 1)"));
    expect_texts({config("\r\n[MC_DBG_CFG]: \n [std_omci_add_port_auth_igmp_group_vlan_config] portNo = "
                         "0,start_IP_address = 4,end_IP_address = 5\n,vlan = 100"),
                  error("\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_add_auth_group_cfg Fail"),
                  error("\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_grp_range_auth_enable Fail")},
                 [] { std_omci_add_port_auth_igmp_group_vlan_config(0, 4, 5, 9, 100); });
}

TEST_F(PortRanges, are_all_taken_back_by_port_and_vlan)
{
    const auto seen = observe([] { return std_omci_clear_port_all_auth_igmp_group_vlan_config(29, 70000); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_if_delete_auth_group_cfg_all(29, 70000)"));
    EXPECT_THAT(seen.changed, IsEmpty());
    // VLAN 0 is not refused here.
    EXPECT_THAT(observe([] { return std_omci_clear_port_all_auth_igmp_group_vlan_config(0, 0); }).calls,
                ElementsAre("igmp_if_delete_auth_group_cfg_all(0, 0)"));
}

TEST_F(PortRanges, taken_back_together_answer_with_the_engines_code)
{
    const std::string refusal = "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_delete_auth_group_cfg_all Fail";
    errors_logged();
    for (const EngineCode &code : kEngineCodes) {
        SCOPED_TRACE(code.code);
        platform().answer("igmp_if_delete_auth_group_cfg_all", code.code);
        const auto seen = observe([] { return std_omci_clear_port_all_auth_igmp_group_vlan_config(0, 100); });
        EXPECT_EQ(seen.result, code.code);
        EXPECT_EQ(seen.output, code.code == 0 ? "" : refusal);
    }
    platform().answer("igmp_if_delete_auth_group_cfg_all", 256);
    expect_texts({config("\r\n[MC_DBG_CFG]: \n [std_omci_clear_port_all_auth_igmp_group_vlan_config] portNo = 29,vlan "
                         "= 70000"),
                  error(refusal)},
                 [] { std_omci_clear_port_all_auth_igmp_group_vlan_config(29, 70000); });
}

} // namespace
} // namespace mcadapt::test
