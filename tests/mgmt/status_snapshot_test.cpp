/** The status snapshot and its refresh from the engine. */
#include <cstring>

#include "mgmt/management_test.h"

namespace mcadapt::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

const std::vector<GatheredGroup> kTwoGroups = {
    {0x1122, 0x33445566, 0xE1010203, 0x778899AA, 0xBBCCDDEE, 0xFF001122, 0x3344, 0x55},
    {4095, 1, 0xEFFFFFFF, 2, 3, 4, 5, 255},
};
constexpr grpRecord kFirst = {0x1122, 0x33445566, 0xE1010203, 0x778899AA, 0xBBCCDDEE, 0xFF001122, 0x3344, 0x55};
constexpr grpRecord kSecond = {4095, 1, 0xEFFFFFFF, 2, 3, 4, 5, 255};
constexpr grpRecord kOld = {9, 9, 9, 9, 9, 9, 9, 9};
constexpr grpRecord kNothing = {};

/** Starts with an old snapshot of three groups. */
class GroupRefresh : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        status_block.std_cnt = 3;
        for (grpRecord &group : status_block.group)
            group = kOld;
    }

    static Observed<int32_t> refresh(uint32_t port)
    {
        return observe([=] { return igmp_hal_sync_grp_infor(port); });
    }

    std::vector<grpRecord> groups(std::size_t from, std::size_t to) const
    {
        return {status_block.group + from, status_block.group + to};
    }
};

TEST_F(GroupRefresh, copies_each_packed_record_field_by_field)
{
    platform().gather(kTwoGroups);
    const auto seen = refresh(255);
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_gather_grp_info(255, 12804)"));
    EXPECT_EQ(status_block.std_cnt, 2u);
    // The record behind the last one keeps what it held.
    EXPECT_THAT(groups(0, 3), ElementsAre(kFirst, kSecond, kOld));
    EXPECT_THAT(records_of(seen.changed), ElementsAre("mc_status_global->"));
}

TEST_F(GroupRefresh, offers_a_zeroed_buffer)
{
    platform().gather(kTwoGroups);
    refresh(255);
    refresh(255);
    EXPECT_EQ(platform().gather_buffer.size(), 12804u);
    EXPECT_THAT(platform().gather_buffer, Each(0));
}

TEST_F(GroupRefresh, keeps_at_most_512_groups)
{
    struct Row {
        uint32_t claimed;
        uint32_t kept;
    };
    for (const Row &row : {Row{1, 1}, Row{511, 511}, Row{512, 512}, Row{513, 512}, Row{600, 512}, Row{0x80000000, 512},
                           Row{0xFFFFFFFF, 512}}) {
        SCOPED_TRACE(row.claimed);
        GroupRefresh::SetUp();
        platform().gather(std::vector<GatheredGroup>(600, kTwoGroups[0]), row.claimed);
        EXPECT_EQ(refresh(255).result, 0);
        EXPECT_EQ(status_block.std_cnt, row.kept);
        EXPECT_THAT(groups(0, row.kept), Each(kFirst));
        EXPECT_THAT(groups(row.kept, 512), Each(kOld));
    }
    EXPECT_THAT(status_block.interfaceStatus, Each(ifStatus{}));
}

TEST_F(GroupRefresh, takes_groups_that_were_claimed_but_not_written_as_zero)
{
    platform().gather({kTwoGroups[0]}, 600);
    EXPECT_EQ(refresh(255).result, 0);
    EXPECT_EQ(status_block.group[0], kFirst);
    EXPECT_THAT(groups(1, 512), Each(kNothing));
}

TEST_F(GroupRefresh, of_no_groups_empties_the_count_alone)
{
    platform().gather({});
    const auto seen = refresh(255);
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.changed, ElementsAre("mc_status_global->std_cnt"));
    EXPECT_EQ(status_block.std_cnt, 0u);
}

TEST_F(GroupRefresh, without_an_answer_keeps_the_snapshot)
{
    platform().gather(kTwoGroups);
    for (const int32_t code : {0, -1, -70000}) {
        SCOPED_TRACE(code);
        platform().answer("igmp_gather_grp_info", code);
        const auto seen = refresh(255);
        EXPECT_EQ(seen.result, -1);
        EXPECT_THAT(seen.changed, IsEmpty());
    }
    platform().answer("igmp_gather_grp_info", 1);
    EXPECT_EQ(refresh(255).result, 0);
    EXPECT_EQ(status_block.std_cnt, 2u);
}

TEST_F(GroupRefresh, without_a_snapshot_asks_in_vain)
{
    mc_status_global = nullptr;
    platform().gather(kTwoGroups);
    const auto seen = refresh(255);
    EXPECT_EQ(seen.result, -1);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_gather_grp_info(255, 12804)"));
}

TEST_F(GroupRefresh, is_for_all_ports_or_a_configured_one)
{
    platform().gather(kTwoGroups);
    EXPECT_THAT(refresh(0).calls, ElementsAre("igmp_gather_grp_info(0, 12804)"));
    EXPECT_THAT(refresh(29).calls, ElementsAre("igmp_gather_grp_info(29, 12804)"));
    for (const RefusedPort &refused : refused_ports()) {
        if (refused.port == 255)
            continue;
        SCOPED_TRACE(refused.port);
        const auto seen = refresh(refused.port);
        EXPECT_EQ(seen.result, -1);
        EXPECT_THAT(seen.calls, IsEmpty());
        EXPECT_THAT(seen.changed, Not(ElementsAre("mc_status_global->std_cnt")));
        expect_texts({error(refused.first_line)}, [&] { igmp_hal_sync_grp_infor(refused.port); });
    }
}

TEST_F(GroupRefresh, prints_port_and_length_once_the_port_is_accepted)
{
    expect_texts({config("\r\n[MC_DBG_CFG]:  in igmp_gather_grp_info phy_port = 255 data_len = 12804\r\n")},
                 [] { igmp_hal_sync_grp_infor(255); });
    expect_texts({config("\r\n[MC_DBG_CFG]:  in igmp_gather_grp_info phy_port = 29 data_len = 12804\r\n")},
                 [] { igmp_hal_sync_grp_infor(29); });
    config_logged();
    EXPECT_EQ(refresh(0).trace, "\r\n[MC_DBG_CFG]:  in igmp_gather_grp_info phy_port = 0 data_len = 12804\r\n"
                                "<igmp_gather_grp_info(0, 12804)>\n");
}

// --- Interface counters

class InterfaceRefresh : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        status_block.interfaceStatus[0] = {{9, 9, 9, 9}};
        status_block.interfaceStatus[1] = {{8, 8, 8, 8}};
    }

    static Observed<int32_t> refresh(uint32_t port)
    {
        return observe([=] { return igmp_hal_sync_if_status(port); });
    }
};

TEST_F(InterfaceRefresh, stores_the_counters_by_logic_port)
{
    platform().gathered_counters = {1, 2, 3, 0xFFFFFFFF};
    const auto seen = refresh(29);
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_if_gather_if_status(29, 16)"));
    EXPECT_THAT(status_block.interfaceStatus, ElementsAre(ifStatus{{9, 9, 9, 9}}, ifStatus{{1, 2, 3, 0xFFFFFFFF}}));
    EXPECT_THAT(records_of(seen.changed), ElementsAre("mc_status_global->"));

    platform().gathered_counters = {5, 6, 7, 8};
    EXPECT_THAT(refresh(0).calls, ElementsAre("igmp_if_gather_if_status(0, 16)"));
    EXPECT_EQ(status_block.interfaceStatus[0], (ifStatus{{5, 6, 7, 8}}));
}

TEST_F(InterfaceRefresh, offers_a_zeroed_block_and_takes_what_was_not_written_as_zero)
{
    platform().gathered_counters = {1, 2};
    EXPECT_EQ(refresh(0).result, 0);
    EXPECT_THAT(platform().gather_buffer, ::testing::AllOf(::testing::SizeIs(16), Each(0)));
    EXPECT_EQ(status_block.interfaceStatus[0], (ifStatus{{1, 2, 0, 0}}));
}

TEST_F(InterfaceRefresh, without_an_answer_keeps_the_counters)
{
    platform().gathered_counters = {1, 2, 3, 4};
    for (const int32_t code : {0, -1, -70000}) {
        SCOPED_TRACE(code);
        platform().answer("igmp_if_gather_if_status", code);
        const auto seen = refresh(0);
        EXPECT_EQ(seen.result, -1);
        EXPECT_THAT(seen.changed, IsEmpty());
    }
    platform().answer("igmp_if_gather_if_status", 1);
    EXPECT_EQ(refresh(0).result, 0);
}

TEST_F(InterfaceRefresh, without_a_snapshot_asks_in_vain)
{
    mc_status_global = nullptr;
    platform().gathered_counters = {1, 2, 3, 4};
    const auto seen = refresh(0);
    EXPECT_EQ(seen.result, -1);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_if_gather_if_status(0, 16)"));
}

TEST_F(InterfaceRefresh, is_for_a_configured_port)
{
    platform().gathered_counters = {1, 2, 3, 4};
    for (const RefusedPort &refused : refused_ports()) { // 255 stands for no port here
        SCOPED_TRACE(refused.port);
        const auto seen = refresh(refused.port);
        EXPECT_EQ(seen.result, -1);
        EXPECT_THAT(seen.calls, IsEmpty());
        EXPECT_THAT(seen.changed, IsEmpty());
        expect_texts({error(refused.first_line)}, [&] { igmp_hal_sync_if_status(refused.port); });
    }
    expect_texts({}, [] { igmp_hal_sync_if_status(0); });
}

} // namespace
} // namespace mcadapt::test
