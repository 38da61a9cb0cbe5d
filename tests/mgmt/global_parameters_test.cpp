/** Global protocol parameters: stored as given, handed on at once, never judged and never taken back. */
#include "mgmt/management_test.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

// --- The operations on one parameter

struct Parameter {
    const char *name;
    int32_t (*operation)(uint32_t value);
    const char *field;
    uint32_t (*stored)();
    uint32_t kept_bits;
    const char *engine_call;
    Result result;
    const char *entry;
    const char *refusal;
};

void PrintTo(const Parameter &row, std::ostream *out) { *out << row.name; }

template <auto Field> uint32_t read_parameter() { return globle_parm.*Field; }

constexpr uint32_t k8Bits = 0xFF;
constexpr uint32_t k16Bits = 0xFFFF;
constexpr uint32_t k32Bits = 0xFFFFFFFF;

const Parameter kParameters[] = {
    {"omci_set_para_lmqc_globle", omci_set_para_lmqc_globle, "globle_parm.last_member_query_count",
     read_parameter<&igmpGlobleParm::last_member_query_count>, k32Bits, "igmp_para_lmqc_globle_set", Result::whole,
     "\r\n[MC_DBG_CFG]: omci_set_para_lmqc_globle is in! last_member_query_count = %d\n",
     "\r\n[MC_DBG_ERR]: \n ERROR!igmp_para_lmqi_globle_set Fail"}, // intended: the count's text names the interval
    {"omci_set_para_lmqi_globle", omci_set_para_lmqi_globle, "globle_parm.last_member_query_interval",
     read_parameter<&igmpGlobleParm::last_member_query_interval>, k32Bits, "igmp_para_lmqi_globle_set", Result::whole,
     "\r\n[MC_DBG_CFG]: omci_set_para_lmqi_globle is in! last_member_query_interval = %d\n",
     "\r\n[MC_DBG_ERR]: \n ERROR!igmp_para_lmqi_globle_set Fail"},
    {"omci_set_para_qri_globle", omci_set_para_qri_globle, "globle_parm.query_max_resp_time",
     read_parameter<&igmpGlobleParm::query_max_resp_time>, k32Bits, "igmp_para_qri_globle_set", Result::whole,
     "\r\n[MC_DBG_CFG]: omci_para_qri_globle is in! query_response_interval = %d\n",
     "\r\n[MC_DBG_ERR]: \n ERROR!igmp_para_qri_globle_set Fail"},
    {"omci_set_para_qi_globle", omci_set_para_qi_globle, "globle_parm.query_interval",
     read_parameter<&igmpGlobleParm::query_interval>, k32Bits, "igmp_para_qi_globle_set", Result::whole,
     "\r\n[MC_DBG_CFG]: omci_para_qi_globle is in! query_interval = %d\n",
     "\r\n[MC_DBG_ERR]: \n ERROR!igmp_para_qi_globle_set Fail"},
    {"omci_set_para_rv_globle", omci_set_para_rv_globle, "globle_parm.robustness",
     read_parameter<&igmpGlobleParm::robustness>, k8Bits, "igmp_para_rv_globle_set", Result::whole,
     "\r\n[MC_DBG_CFG]: omci_set_para_rv_globle is in!robustness = %d\n",
     "\r\n[MC_DBG_ERR]: \n ERROR!igmp_para_rv_globle_set Fail"},
    {"omci_igmp_version_globle_set", omci_igmp_version_globle_set, "globle_parm.version",
     read_parameter<&igmpGlobleParm::version>, k8Bits, "igmp_version_globle_set", Result::byte,
     "\r\n[MC_DBG_CFG]: omci_igmp_version_globle_set version = %d\n",
     "\r\n[MC_DBG_ERR]: \n ERROR!omci_igmp_version_globle_set Fail"},
    {"omci_set_igmp_dynamic_enable", omci_set_igmp_dynamic_enable, "globle_parm.learningMode",
     read_parameter<&igmpGlobleParm::learningMode>, k16Bits, "igmp_vlan_learning_set", Result::byte,
     "\r\n[MC_DBG_CFG]: omci_set_igmp_dynamic_enable is in! igmp_dynamic_enable = %d\n",
     "\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_vlan_learning Fail"},
};

class OneParameter : public LibraryTest, public ::testing::WithParamInterface<Parameter> {
protected:
    const Parameter &row = GetParam();
    std::string engine_call(uint32_t value) const { return call_line(row.engine_call, value); }
};

INSTANTIATE_TEST_SUITE_P(Of, OneParameter, ::testing::ValuesIn(kParameters), row_name<Parameter>);

TEST_P(OneParameter, is_stored_in_its_field_and_handed_to_the_engine)
{
    const auto seen = observe([&] { return row.operation(41); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre(engine_call(41)));
    EXPECT_THAT(seen.changed, ElementsAre(row.field));
    EXPECT_EQ(row.stored(), 41u);
}

TEST_P(OneParameter, is_cut_to_its_field_but_handed_over_whole)
{
    for (const uint32_t value : {0u, 255u, 256u, 258u, 65535u, 70000u, 0x80000000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(value);
        const auto seen = observe([&] { return row.operation(value); });
        EXPECT_EQ(row.stored(), value & row.kept_bits);
        EXPECT_THAT(seen.calls, ElementsAre(engine_call(value)));
    }
}

TEST_P(OneParameter, is_stored_before_the_engine_is_asked)
{
    uint32_t stored_when_asked = 0;
    platform().on(row.engine_call, [&] { stored_when_asked = row.stored(); });
    row.operation(41);
    EXPECT_EQ(stored_when_asked, 41u);
}

TEST_P(OneParameter, answers_as_its_result_rule_says_and_keeps_a_refused_value)
{
    errors_logged();
    for (const EngineCode &code : kEngineCodes) {
        SCOPED_TRACE(code.code);
        platform().answer(row.engine_call, code.code);
        observe([&] { return row.operation(40); });
        const auto seen = observe([&] { return row.operation(41); });
        EXPECT_EQ(seen.result, code.under(row.result));
        EXPECT_EQ(seen.output, code.refuses(row.result) ? row.refusal : "");
        EXPECT_EQ(row.stored(), 41u);
    }
}

TEST_P(OneParameter, prints_its_entry_and_its_refusal)
{
    platform().answer(row.engine_call, 5);
    expect_texts({config(filled(row.entry, {70000})), error(row.refusal)}, [&] { row.operation(70000); });
    expect_texts({config(filled(row.entry, {-1})), error(row.refusal)}, [&] { row.operation(0xFFFFFFFF); });
}

TEST_P(OneParameter, prints_its_entry_before_the_call_and_its_refusal_behind_it)
{
    everything_logged();
    platform().answer(row.engine_call, 5);
    const auto seen = observe([&] { return row.operation(3); });
    EXPECT_EQ(seen.trace, filled(row.entry, {3}) + "<" + engine_call(3) + ">\n" + row.refusal);
}

// --- The timers together

class Timers : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        globle_parm.general_member_interval = 77;
        mldInitParams.general_member_interval = 88;
    }

    static std::vector<uint32_t> igmp_timers()
    {
        return {globle_parm.robustness, globle_parm.query_interval, globle_parm.query_max_resp_time,
                globle_parm.last_member_query_interval, globle_parm.last_member_query_count};
    }
    static std::vector<uint32_t> mld_timers()
    {
        return {mldInitParams.robustness, mldInitParams.query_interval, mldInitParams.query_max_resp_time,
                mldInitParams.last_member_query_interval, mldInitParams.last_member_query_count};
    }
    static int32_t set_igmp() { return omci_set_igmp_global_parmeter(3, 20, 5, 4, 250); }
    static int32_t set_mld() { return mld_omci_set_igmp_global_parmeter(3, 250, 20, 5, 4); }
};

TEST_F(Timers, of_igmp_are_given_with_the_query_interval_last)
{
    const auto seen = observe(set_igmp);
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_para_globle_set(3, 250, 20, 5, 4, 77)"));
    EXPECT_THAT(igmp_timers(), ElementsAre(3, 250, 20, 5, 4));
    EXPECT_THAT(records_of(seen.changed), ElementsAre("globle_parm"));
    EXPECT_EQ(globle_parm.general_member_interval, 77u);
}

TEST_F(Timers, of_mld_are_given_with_the_query_interval_second_and_reach_the_igmp_call)
{
    const auto seen = observe(set_mld);
    EXPECT_EQ(seen.result, 0);
    // intended: there is no call of the MLD half, so the engine's IGMP timers change too
    EXPECT_THAT(seen.calls, ElementsAre("igmp_para_globle_set(3, 250, 20, 5, 4, 88)"));
    EXPECT_THAT(mld_timers(), ElementsAre(3, 250, 20, 5, 4));
    EXPECT_THAT(records_of(seen.changed), ElementsAre("mldInitParams"));
    EXPECT_EQ(mldInitParams.general_member_interval, 88u);
}

TEST_F(Timers, keep_the_low_byte_of_the_robustness_and_hand_it_over_whole)
{
    EXPECT_THAT(observe([] { return omci_set_igmp_global_parmeter(258, 1, 2, 3, 4); }).calls,
                ElementsAre("igmp_para_globle_set(258, 4, 1, 2, 3, 77)"));
    EXPECT_EQ(globle_parm.robustness, 2);
    EXPECT_THAT(observe([] { return mld_omci_set_igmp_global_parmeter(0x1FF, 1, 2, 3, 4); }).calls,
                ElementsAre("igmp_para_globle_set(511, 1, 2, 3, 4, 88)"));
    EXPECT_EQ(mldInitParams.robustness, 255);
}

TEST_F(Timers, are_kept_at_full_width)
{
    omci_set_igmp_global_parmeter(1, 70000, 0x80000000, 0xFFFFFFFF, 0x10001);
    EXPECT_THAT(igmp_timers(), ElementsAre(1, 0x10001, 70000, 0x80000000, 0xFFFFFFFF));
    mld_omci_set_igmp_global_parmeter(1, 70000, 0x80000000, 0xFFFFFFFF, 0x10001);
    EXPECT_THAT(mld_timers(), ElementsAre(1, 70000, 0x80000000, 0xFFFFFFFF, 0x10001));
}

TEST_F(Timers, are_stored_before_the_engine_is_asked)
{
    std::vector<uint32_t> igmp;
    std::vector<uint32_t> mld;
    platform().on("igmp_para_globle_set", [&] { igmp = igmp_timers(); });
    set_igmp();
    platform().on("igmp_para_globle_set", [&] { mld = mld_timers(); });
    set_mld();
    EXPECT_THAT(igmp, ElementsAre(3, 250, 20, 5, 4));
    EXPECT_THAT(mld, ElementsAre(3, 250, 20, 5, 4));
}

TEST_F(Timers, answer_with_the_engines_code_and_stay_stored)
{
    for (const EngineCode &code : kEngineCodes) {
        SCOPED_TRACE(code.code);
        platform().answer("igmp_para_globle_set", code.code);
        EXPECT_EQ(observe(set_igmp).result, code.code);
        EXPECT_EQ(observe(set_mld).result, code.code);
        EXPECT_EQ(igmp_timers(), mld_timers());
        EXPECT_THAT(igmp_timers(), ElementsAre(3, 250, 20, 5, 4));
    }
}

TEST_F(Timers, print_a_refusal_on_the_mld_side_alone)
{
    platform().answer("igmp_para_globle_set", 256);
    expect_texts({config("\r\n[MC_DBG_CFG]: igmp_adapt_para_globle_set is in!\n")}, [] { set_igmp(); });
    expect_texts(
        {trace("\r\n[MC_MLD_DBG_DBG]: igmp_adapt_para_globle_set is in!\n"),
         error("\r\n[MC_MLD_DBG_ERR]: \n ERROR!mld_omci_set_igmp_global_parmeter Fail")},
        [] { set_mld(); }, set_mld_mask);
    platform().answer("igmp_para_globle_set", 0);
    expect_texts(
        {trace("\r\n[MC_MLD_DBG_DBG]: igmp_adapt_para_globle_set is in!\n")}, [] { set_mld(); }, set_mld_mask);
}

TEST_F(Timers, take_the_age_enable_along_that_was_stored_without_a_call)
{
    const auto seen = observe([] { setIgmpAgeEnable(0x12345678); });
    EXPECT_THAT(seen.calls, IsEmpty());
    EXPECT_THAT(seen.changed, ElementsAre("globle_parm.general_member_interval"));
    EXPECT_THAT(observe(set_igmp).calls, ElementsAre("igmp_para_globle_set(3, 250, 20, 5, 4, 305419896)"));
    setIgmpAgeEnable(0);
    EXPECT_THAT(observe(set_igmp).calls, ElementsAre("igmp_para_globle_set(3, 250, 20, 5, 4, 0)"));
    expect_texts({config("\r\n[MC_DBG_CFG]: setIgmpAgeEnable is in\r\n")}, [] { setIgmpAgeEnable(1); });
}

// --- Fast leave of both ports

class LeaveModeOfBothPorts : public LibraryTest {
protected:
    const std::string refusal = "\r\n[MC_DBG_ERR]: \n ERROR!igmp_fast_leave_enable_globle Fail";
};

TEST_F(LeaveModeOfBothPorts, is_stored_port_by_port_and_told_twice)
{
    std::vector<uint32_t> stored;
    platform().on("igmp_fast_leave_enable_globle", [&] {
        stored.push_back(globle_parm.port[0].leavemod);
        stored.push_back(globle_parm.port[1].leavemod);
    });
    const auto seen = observe([] { return omci_set_igmp_leave_mode(1); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_fast_leave_enable_globle(1)", "igmp_fast_leave_enable_globle(1)"));
    EXPECT_THAT(stored, ElementsAre(1, 0, 1, 1));
    EXPECT_THAT(seen.changed, ElementsAre("globle_parm.port[0].leavemod", "globle_parm.port[1].leavemod"));
}

TEST_F(LeaveModeOfBothPorts, is_cut_to_16_bits_in_the_record_only)
{
    const auto seen = observe([] { return omci_set_igmp_leave_mode(70000); });
    EXPECT_THAT(seen.calls,
                ElementsAre("igmp_fast_leave_enable_globle(70000)", "igmp_fast_leave_enable_globle(70000)"));
    EXPECT_EQ(globle_parm.port[0].leavemod, 4464);
    EXPECT_EQ(globle_parm.port[1].leavemod, 4464);
}

TEST_F(LeaveModeOfBothPorts, answers_with_the_low_byte_of_the_second_call_alone)
{
    struct Row {
        int32_t first, second, result;
        int lines;
    };
    errors_logged();
    for (const Row &row : {Row{5, 0, 0, 1}, Row{0, 5, 5, 1}, Row{5, 255, -1, 2}, Row{256, 256, 0, 0},
                           Row{256, 0x180, -128, 1}, Row{-1, 0x100, 0, 1}}) {
        SCOPED_TRACE(row.first);
        SCOPED_TRACE(row.second);
        platform().answers("igmp_fast_leave_enable_globle", {row.first, row.second});
        const auto seen = observe([] { return omci_set_igmp_leave_mode(1); });
        EXPECT_EQ(seen.result, row.result);
        EXPECT_EQ(seen.calls.size(), 2u);
        EXPECT_EQ(seen.output, row.lines == 0 ? "" : row.lines == 1 ? refusal : refusal + refusal);
        EXPECT_EQ(globle_parm.port[1].leavemod, 1);
    }
}

TEST_F(LeaveModeOfBothPorts, prints_its_entry_and_each_refusal)
{
    platform().answer("igmp_fast_leave_enable_globle", 5);
    expect_texts({config("\r\n[MC_DBG_CFG]: omci_set_port_igmp_leave_mode leave mode = 70000\n"), error(refusal),
                  error(refusal)},
                 [] { omci_set_igmp_leave_mode(70000); });
}

// --- SSM

class Ssm : public LibraryTest {
protected:
    static int32_t set_pair() { return omci_igmp_ssm_ip_globle_set(0xE8010203, 0x0A000001); }
    static int32_t set_map() { return omci_igmp_ssm_map_globle_set({{1, 2, 3, 4, 0xFFFFFFFF}}); }
};

TEST_F(Ssm, source_pair_is_stored_in_its_order_before_the_engine_is_asked)
{
    std::vector<uint32_t> stored;
    platform().on("igmp_ssm_ip_globle_set", [&] { stored = {globle_parm.ssm_ip, globle_parm.ssm_ip_arg2}; });
    const auto seen = observe(set_pair);
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_ssm_ip_globle_set(3892380163, 167772161)"));
    EXPECT_THAT(stored, ElementsAre(0xE8010203, 0x0A000001));
    EXPECT_THAT(seen.changed, ElementsAre("globle_parm.ssm_ip", "globle_parm.ssm_ip_arg2"));
}

TEST_F(Ssm, map_entry_is_stored_and_the_engine_gets_the_stored_copy)
{
    const auto seen = observe(set_map);
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_ssm_map_change([1, 2, 3, 4, 4294967295])"));
    EXPECT_EQ(platform().ssm_map, globle_parm.ssm_map);
    EXPECT_THAT(globle_parm.ssm_map, ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(globle_parm.ssm_map_arg5, 0xFFFFFFFF);
    EXPECT_THAT(records_of(seen.changed), ElementsAre("globle_parm"));
}

TEST_F(Ssm, map_entry_replaces_the_one_before)
{
    set_map();
    EXPECT_THAT(observe([] {
                    return omci_igmp_ssm_map_globle_set({{9, 8, 7, 6, 5}});
                }).calls,
                ElementsAre("igmp_ssm_map_change([9, 8, 7, 6, 5])"));
    EXPECT_THAT(globle_parm.ssm_map, ElementsAre(9, 8, 7, 6));
    EXPECT_EQ(globle_parm.ssm_map_arg5, 5u);
}

TEST_F(Ssm, answers_are_the_low_byte_and_refused_values_stay_stored)
{
    errors_logged();
    for (const EngineCode &code : kEngineCodes) {
        SCOPED_TRACE(code.code);
        globle_parm = {};
        platform().answer("igmp_ssm_ip_globle_set", code.code);
        platform().answer("igmp_ssm_map_change", code.code);
        const auto pair = observe(set_pair);
        EXPECT_EQ(pair.result, code.byte);
        EXPECT_EQ(pair.output.empty(), code.byte == 0);
        const auto map = observe(set_map);
        EXPECT_EQ(map.result, code.byte);
        EXPECT_EQ(map.output.empty(), code.byte == 0);
        EXPECT_EQ(globle_parm.ssm_ip, 0xE8010203);
        EXPECT_EQ(globle_parm.ssm_map_arg5, 0xFFFFFFFF);
    }
}

TEST_F(Ssm, prints_entries_and_refusals)
{
    platform().answer("igmp_ssm_ip_globle_set", 5);
    platform().answer("igmp_ssm_map_change", 5);
    expect_texts({config("\r\n[MC_DBG_CFG]: igmp_adapt_ssm_ip_globle_set is in!\n"),
                  error("\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_ssm_ip_globle_set Fail")},
                 [] { set_pair(); });
    expect_texts({config("\r\n[MC_DBG_CFG]: igmp_adapt_ssm_map_change is in!\n"),
                  error("\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_ssm_map_change Fail")},
                 [] { set_map(); });
}

} // namespace
} // namespace mcadapt::test
