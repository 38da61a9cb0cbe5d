/** Static groups: joined in the engine, recorded by port number, taken back one by one or all together. */
#include "mgmt/management_test.h"
#include "support/guarded_buffer.h"

namespace mcadapt::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr staticGroupEntry kFree = {0xFFFF, 0, 0x0000FFFF};

const std::string kAddRefused = "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_static_group_source_add Fail";
const std::string kFull = "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_static_group_source_add full!";
const std::string kDelRefused = "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_static_group_source_del Fail";
const std::string kNotFound = "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_static_group_source_del can not found!%x";
const std::string kNotValid = "\r\n[MC_DBG_ERR]: parameter is invalid!\r\n";

std::string times(int count, const std::string &text)
{
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

/** The shortest address buffer of an agent: 14 bytes, of which only the last one counts. */
ByteVector address_buffer(uint8_t last_octet)
{
    ByteVector bytes(13, 0xEE);
    bytes.push_back(last_octet);
    return bytes;
}

/** Port 1 is the second configured port, so that both lists can be reached. */
class StaticGroups : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        portState[1].portNo = 1;
        for (auto &list : g_static_list) {
            for (staticGroupEntry &entry : list)
                entry = kFree;
        }
    }

    static Observed<int32_t> add(uint32_t port, uint8_t start, uint8_t end, uint16_t vlan)
    {
        GuardedBuffer from(address_buffer(start));
        GuardedBuffer to(address_buffer(end));
        return observe([&] { return omci_add_static_multi_acess_ctrl_table(port, from.data(), to.data(), 77, vlan); });
    }
    static Observed<int32_t> del(uint32_t port, uint8_t start, uint8_t end, uint16_t vlan)
    {
        GuardedBuffer from(address_buffer(start));
        GuardedBuffer to(address_buffer(end));
        return observe([&] { return omci_del_static_multi_acess_ctrl_table(port, from.data(), to.data(), 77, vlan); });
    }
    static Observed<int32_t> clear(uint32_t port)
    {
        return observe([=] { return omci_clear_all_static_multi_acess_ctrl_table(port); });
    }

    /** Fills a port's list from its first entry on; the count is that of the entries in use. */
    static void put(int port, const std::vector<staticGroupEntry> &entries)
    {
        g_static_grp_num[port] = 0;
        for (std::size_t i = 0; i < entries.size(); ++i) {
            g_static_list[port][i] = entries[i];
            g_static_grp_num[port] += entries[i] == kFree ? 0 : 1;
        }
    }

    static std::vector<staticGroupEntry> first(std::size_t count, int port = 0)
    {
        return {g_static_list[port], g_static_list[port] + count};
    }
};

// --- Add

class StaticAdd : public StaticGroups {};

TEST_F(StaticAdd, asks_the_engine_for_each_value_and_records_it)
{
    const auto seen = add(0, 10, 12, 100);
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_if_static_group_source_add(0, 100, 10, 0, 1)",
                                        "igmp_if_static_group_source_add(0, 100, 11, 0, 1)",
                                        "igmp_if_static_group_source_add(0, 100, 12, 0, 1)"));
    EXPECT_THAT(first(4), ElementsAre(staticGroupEntry{100, 0, 10}, staticGroupEntry{100, 0, 11},
                                      staticGroupEntry{100, 0, 12}, kFree));
    EXPECT_THAT(g_static_grp_num, ElementsAre(3, 0));
    EXPECT_THAT(records_of(seen.changed), ElementsAre("g_static_list", "g_static_grp_num"));
}

TEST_F(StaticAdd, records_by_the_port_number_not_by_the_logic_port)
{
    portState[0].portNo = 1;
    portState[1].portNo = 0;
    EXPECT_THAT(add(0, 5, 5, 100).calls, ElementsAre("igmp_if_static_group_source_add(0, 100, 5, 0, 1)"));
    EXPECT_THAT(add(1, 6, 6, 200).calls, ElementsAre("igmp_if_static_group_source_add(1, 200, 6, 0, 1)"));
    EXPECT_EQ(g_static_list[0][0], (staticGroupEntry{100, 0, 5}));
    EXPECT_EQ(g_static_list[1][0], (staticGroupEntry{200, 0, 6}));
    EXPECT_THAT(g_static_grp_num, ElementsAre(1, 1));
}

TEST_F(StaticAdd, asks_before_it_records)
{
    std::vector<int32_t> counts;
    platform().on("igmp_if_static_group_source_add", [&] { counts.push_back(g_static_grp_num[0]); });
    add(0, 10, 12, 100);
    EXPECT_THAT(counts, ElementsAre(0, 1, 2));
}

TEST_F(StaticAdd, records_what_the_engine_refused_and_answers_with_the_last_low_byte)
{
    struct Row {
        std::vector<int32_t> codes;
        int32_t result;
        int lines;
    };
    errors_logged();
    for (const Row &row : {Row{{5, 0}, 0, 1}, Row{{0, 255}, -1, 1}, Row{{256, 256}, 0, 0}, Row{{5, 0x180}, -128, 2}}) {
        SCOPED_TRACE(row.result);
        put(0, {});
        platform().answers("igmp_if_static_group_source_add", row.codes);
        const auto seen = add(0, 10, 11, 100);
        EXPECT_EQ(seen.result, row.result);
        EXPECT_EQ(seen.output, times(row.lines, kAddRefused));
        EXPECT_THAT(first(2), ElementsAre(staticGroupEntry{100, 0, 10}, staticGroupEntry{100, 0, 11}));
        EXPECT_EQ(g_static_grp_num[0], 2);
    }
}

TEST_F(StaticAdd, of_a_33rd_group_reaches_the_engine_but_not_the_list)
{
    errors_logged();
    put(0, std::vector<staticGroupEntry>(31, {100, 0, 1}));
    const auto seen = add(0, 10, 12, 200);
    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.calls.size(), 3u);
    EXPECT_EQ(seen.output, kFull + kFull);
    EXPECT_EQ(g_static_list[0][31], (staticGroupEntry{200, 0, 10}));
    EXPECT_THAT(g_static_grp_num, ElementsAre(32, 0));
    EXPECT_THAT(first(32, 1), Each(kFree));
}

TEST_F(StaticAdd, with_a_count_outside_the_table_finds_it_full)
{
    errors_logged();
    for (const int32_t count : {-1, 33, 0x7FFFFFFF}) {
        SCOPED_TRACE(count);
        g_static_grp_num[0] = count;
        const auto seen = add(0, 10, 10, 100);
        EXPECT_EQ(seen.output, kFull);
        EXPECT_THAT(seen.changed, IsEmpty());
    }
}

TEST_F(StaticAdd, prints_a_refusal_and_a_full_list_for_each_value)
{
    platform().answer("igmp_if_static_group_source_add", 5);
    put(0, std::vector<staticGroupEntry>(32, {100, 0, 1}));
    expect_texts({error(kAddRefused), error(kFull), error(kAddRefused), error(kFull)}, [] {
        const ByteVector from = address_buffer(1);
        const ByteVector to = address_buffer(2);
        omci_add_static_multi_acess_ctrl_table(0, from.data(), to.data(), 0, 100);
    });
}

TEST_F(StaticAdd, ends_at_the_highest_value)
{
    const auto seen = add(0, 254, 255, 65535);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_if_static_group_source_add(0, 65535, 254, 0, 1)",
                                        "igmp_if_static_group_source_add(0, 65535, 255, 0, 1)"));
    EXPECT_THAT(add(0, 255, 255, 1).calls, ElementsAre("igmp_if_static_group_source_add(0, 1, 255, 0, 1)"));
    EXPECT_EQ(add(1, 0, 255, 1).calls.size(), 256u);
    EXPECT_EQ(g_static_grp_num[1], 32);
}

TEST_F(StaticAdd, appends_at_the_count_and_may_overwrite_an_entry_in_use)
{
    put(0, {{100, 0, 10}, kFree, {100, 0, 12}});
    add(0, 20, 20, 200);
    // intended: a hole is not filled
    EXPECT_THAT(first(4), ElementsAre(staticGroupEntry{100, 0, 10}, kFree, staticGroupEntry{200, 0, 20}, kFree));
    EXPECT_EQ(g_static_grp_num[0], 3);
}

// --- Delete

class StaticDelete : public StaticGroups {
protected:
    void SetUp() override
    {
        StaticGroups::SetUp();
        put(0, {{100, 0, 10}, {100, 0, 11}, {100, 0, 12}});
    }
};

TEST_F(StaticDelete, frees_the_entry_in_place_and_tells_of_every_other)
{
    errors_logged();
    const auto seen = del(0, 11, 11, 100);
    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.trace, filled(kNotFound, {11}) + "<igmp_if_static_group_source_del(0, 100, 11, 0, 1)>\n" +
                              filled(kNotFound, {11}));
    EXPECT_THAT(first(4), ElementsAre(staticGroupEntry{100, 0, 10}, kFree, staticGroupEntry{100, 0, 12}, kFree));
    EXPECT_THAT(g_static_grp_num, ElementsAre(2, 0));
}

TEST_F(StaticDelete, does_not_compare_the_vlan_and_hands_the_given_one_over)
{
    const auto seen = del(0, 10, 10, 200);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_if_static_group_source_del(0, 200, 10, 0, 1)")); // intended
    EXPECT_EQ(g_static_list[0][0], kFree);
}

TEST_F(StaticDelete, works_on_the_list_of_the_port_number)
{
    portState[0].portNo = 1;
    portState[1].portNo = 0;
    put(1, {{100, 0, 10}});
    EXPECT_THAT(del(1, 10, 10, 100).calls, ElementsAre("igmp_if_static_group_source_del(1, 100, 10, 0, 1)"));
    EXPECT_THAT(g_static_grp_num, ElementsAre(3, 0));
    EXPECT_EQ(g_static_list[1][0], kFree);
}

TEST_F(StaticDelete, searches_as_many_entries_for_every_value_as_were_counted_at_the_start)
{
    errors_logged();
    const auto seen = del(0, 10, 12, 100);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_if_static_group_source_del(0, 100, 10, 0, 1)",
                                        "igmp_if_static_group_source_del(0, 100, 11, 0, 1)",
                                        "igmp_if_static_group_source_del(0, 100, 12, 0, 1)"));
    EXPECT_EQ(seen.output, times(2, filled(kNotFound, {10})) + times(2, filled(kNotFound, {11})) +
                               times(2, filled(kNotFound, {12})));
    EXPECT_THAT(first(3), Each(kFree));
    EXPECT_EQ(g_static_grp_num[0], 0);
}

TEST_F(StaticDelete, goes_on_behind_a_match)
{
    put(0, {{100, 0, 11}, {200, 0, 11}, {300, 0, 11}});
    platform().answers("igmp_if_static_group_source_del", {0, 5, 0});
    const auto seen = del(0, 11, 11, 400);
    EXPECT_EQ(seen.calls.size(), 3u);
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(first(3), ElementsAre(kFree, staticGroupEntry{200, 0, 11}, kFree));
    EXPECT_EQ(g_static_grp_num[0], 1);
}

TEST_F(StaticDelete, keeps_an_entry_that_the_engine_keeps)
{
    errors_logged();
    for (const EngineCode &code : kEngineCodes) {
        SCOPED_TRACE(code.code);
        put(0, {{100, 0, 10}});
        platform().answer("igmp_if_static_group_source_del", code.code);
        const auto seen = del(0, 10, 10, 100);
        EXPECT_EQ(seen.result, code.byte);
        EXPECT_EQ(seen.output, code.byte == 0 ? "" : kDelRefused);
        EXPECT_EQ(g_static_grp_num[0], code.byte == 0 ? 0 : 1);
        EXPECT_EQ(g_static_list[0][0], (code.byte == 0 ? kFree : staticGroupEntry{100, 0, 10}));
    }
}

TEST_F(StaticDelete, answers_with_the_last_low_byte)
{
    platform().answers("igmp_if_static_group_source_del", {5, 255});
    EXPECT_EQ(del(0, 10, 11, 100).result, -1);
    platform().answers("igmp_if_static_group_source_del", {5, 256});
    EXPECT_EQ(del(0, 10, 11, 100).result, 0);
}

TEST_F(StaticDelete, does_not_find_an_entry_that_a_hole_pushed_out_of_the_count)
{
    errors_logged();
    put(0, {{100, 0, 10}, kFree, {100, 0, 12}});
    const auto seen = del(0, 12, 12, 100);
    // intended: two groups are counted, so the third entry is not searched
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, IsEmpty());
    EXPECT_EQ(seen.output, times(2, filled(kNotFound, {12})));
    EXPECT_THAT(seen.changed, IsEmpty());
}

TEST_F(StaticDelete, of_an_empty_list_does_and_prints_nothing)
{
    errors_logged();
    put(0, {});
    platform().answer("igmp_if_static_group_source_del", 5);
    const auto seen = del(0, 0, 255, 100);
    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.output, "");
    EXPECT_THAT(seen.calls, IsEmpty());
}

TEST_F(StaticDelete, stays_inside_the_table_whatever_its_count_holds)
{
    errors_logged();
    put(1, {{100, 0, 7}});
    g_static_grp_num[0] = 40;
    EXPECT_EQ(del(0, 7, 7, 100).output, times(32, filled(kNotFound, {7})));
    EXPECT_EQ(g_static_list[1][0], (staticGroupEntry{100, 0, 7}));
}

TEST_F(StaticDelete, ends_at_the_highest_value_and_prints_it_in_hex)
{
    put(0, {{100, 0, 255}, {100, 0, 1}});
    platform().answer("igmp_if_static_group_source_del", 5);
    expect_texts({error(filled(kNotFound, {254})), error(filled(kNotFound, {254})), error(kDelRefused),
                  error(filled(kNotFound, {255}))},
                 [] {
                     const ByteVector from = address_buffer(254);
                     const ByteVector to = address_buffer(255);
                     omci_del_static_multi_acess_ctrl_table(0, from.data(), to.data(), 0, 100);
                 });
}

// --- Clear

class StaticClear : public StaticGroups {
protected:
    static std::vector<Gated> closing(int count, int vlan, int port)
    {
        return {error(filled("\r\n[MC_DBG_ERR]: \n g_static_grp_num[portNo] = %d", {count})),
                error(filled("\r\n[MC_DBG_ERR]: \n g_static_list[portNo][0] = %d", {vlan})),
                error(filled("\r\n[MC_DBG_ERR]: \n ERROR!onu_std_clear_all_static_multi_acess_ctrl_table port[%d] Fail",
                             {port}))};
    }
    static std::string closing_lines(int count, int vlan, int port)
    {
        std::string lines;
        for (const Gated &line : closing(count, vlan, port))
            lines += line.text;
        return lines;
    }
};

TEST_F(StaticClear, withdraws_every_entry_with_its_own_vlan_and_group)
{
    errors_logged();
    put(1, {{100, 0, 10}, {200, 0, 0xE1010203}, {65535, 0, 12}});
    put(0, {{100, 0, 10}});
    const auto seen = clear(1);
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_if_static_group_source_del(1, 100, 10, 0, 1)",
                                        "igmp_if_static_group_source_del(1, 200, 3774939651, 0, 1)",
                                        "igmp_if_static_group_source_del(1, 65535, 12, 0, 1)"));
    EXPECT_EQ(seen.output, "");
    EXPECT_THAT(first(32, 1), Each(kFree));
    EXPECT_THAT(g_static_grp_num, ElementsAre(1, 0));
    EXPECT_EQ(g_static_list[0][0], (staticGroupEntry{100, 0, 10}));
}

TEST_F(StaticClear, of_a_full_list_reaches_its_last_entry)
{
    put(0, std::vector<staticGroupEntry>(32, {100, 0, 10}));
    EXPECT_EQ(clear(0).calls.size(), 32u);
    EXPECT_EQ(g_static_grp_num[0], 0);
}

TEST_F(StaticClear, tells_an_entry_in_use_by_its_group_alone)
{
    put(0, {{65535, 0, 10}, {100, 0, 0xFFFF}, {100, 0, 0x1FFFF}});
    EXPECT_THAT(clear(0).calls, ElementsAre("igmp_if_static_group_source_del(0, 65535, 10, 0, 1)",
                                            "igmp_if_static_group_source_del(0, 100, 131071, 0, 1)"));
    EXPECT_EQ(g_static_grp_num[0], 1);
}

TEST_F(StaticClear, leaves_what_a_hole_pushed_out_of_the_count)
{
    errors_logged();
    put(0, {{100, 0, 10}, kFree, {100, 0, 12}});
    const auto seen = clear(0);
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_if_static_group_source_del(0, 100, 10, 0, 1)"));
    EXPECT_EQ(seen.output, closing_lines(1, 65535, 0)); // intended
    EXPECT_THAT(first(3), ElementsAre(kFree, kFree, staticGroupEntry{100, 0, 12}));
    EXPECT_EQ(g_static_grp_num[0], 1);
}

TEST_F(StaticClear, goes_on_after_a_refusal_and_tells_what_is_left)
{
    struct Row {
        std::vector<int32_t> codes;
        int32_t result;
        int left;
    };
    errors_logged();
    for (const Row &row : {Row{{5, 0, 0}, 0, 1}, Row{{5, 255, 0x180}, -128, 3}, Row{{5, 256, -1}, -1, 2}}) {
        SCOPED_TRACE(row.result);
        put(1, {{100, 0, 10}, {200, 0, 11}, {300, 0, 12}});
        platform().answers("igmp_if_static_group_source_del", row.codes);
        const auto seen = clear(1);
        EXPECT_EQ(seen.result, row.result);
        EXPECT_EQ(seen.calls.size(), 3u);
        EXPECT_EQ(seen.output, times(row.left, kDelRefused) + closing_lines(row.left, 100, 1));
        EXPECT_EQ(g_static_grp_num[1], row.left);
        EXPECT_EQ(g_static_list[1][0], (staticGroupEntry{100, 0, 10}));
    }
}

TEST_F(StaticClear, of_an_empty_list_does_nothing)
{
    errors_logged();
    const auto seen = clear(0);
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, IsEmpty());
    EXPECT_EQ(seen.output, "");
}

TEST_F(StaticClear, prints_refusals_and_the_closing_lines)
{
    put(0, {{100, 0, 10}});
    platform().answer("igmp_if_static_group_source_del", 5);
    std::vector<Gated> texts = closing(1, 100, 0);
    texts.insert(texts.begin(), error(kDelRefused));
    expect_texts(texts, [] { omci_clear_all_static_multi_acess_ctrl_table(0); });
}

// --- Arguments

TEST_F(StaticGroups, without_a_vlan_or_turned_round_are_refused)
{
    errors_logged();
    put(0, {{100, 0, 10}});
    struct Row {
        uint8_t start, end;
        uint16_t vlan;
    };
    for (const Row &row : {Row{10, 10, 0}, Row{11, 10, 100}, Row{255, 0, 100}}) {
        for (const auto &seen : {add(0, row.start, row.end, row.vlan), del(0, row.start, row.end, row.vlan)}) {
            EXPECT_EQ(seen.result, -1);
            EXPECT_EQ(seen.output, kNotValid);
            EXPECT_THAT(seen.calls, IsEmpty());
            EXPECT_THAT(seen.changed, IsEmpty());
        }
    }
}

TEST_F(StaticGroups, are_not_read_from_the_buffers_when_the_port_is_refused)
{
    EXPECT_EQ(omci_add_static_multi_acess_ctrl_table(7, nullptr, nullptr, 0, 100), -1);
    EXPECT_EQ(omci_del_static_multi_acess_ctrl_table(30, nullptr, nullptr, 0, 100), -1);
}

TEST_F(StaticGroups, of_a_port_without_a_list_reach_the_engine_and_are_never_recorded)
{
    errors_logged();
    for (const uint32_t port : {2u, 29u}) {
        SCOPED_TRACE(port);
        portState[1].portNo = port;
        platform().answers("igmp_if_static_group_source_add", {0, 255});
        const auto added = add(port, 10, 11, 100);
        EXPECT_EQ(added.result, -1);
        EXPECT_EQ(added.trace, "<" + call_line("igmp_if_static_group_source_add", port, 100, 10, 0, 1) + ">\n" + kFull +
                                   "<" + call_line("igmp_if_static_group_source_add", port, 100, 11, 0, 1) + ">\n" +
                                   kAddRefused + kFull);
        EXPECT_THAT(added.changed, IsEmpty());
        for (const auto &seen : {del(port, 10, 11, 100), clear(port)}) {
            EXPECT_EQ(seen.result, 0);
            EXPECT_EQ(seen.output, "");
            EXPECT_THAT(seen.calls, IsEmpty());
            EXPECT_THAT(seen.changed, IsEmpty());
        }
    }
}

} // namespace
} // namespace mcadapt::test
