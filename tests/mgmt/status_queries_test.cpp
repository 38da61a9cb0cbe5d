/** Status queries that answer from the snapshot: each agent's own format, to the byte, at any address. */
#include <cstring>

#include "mgmt/management_test.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;

constexpr uint8_t kCanary = 0xA5;
constexpr std::size_t kBehind = 64;

const char *const kGather = "igmp_gather_grp_info(255, 12804)";
const std::string kRefresh = "\r\n[MC_DBG_CFG]:  in igmp_gather_grp_info phy_port = 255 data_len = 12804\r\n";
const std::string kGroupRefreshFailed = "\r\n[MC_DBG_ERR]: \n ERROR!igmp_hal_sync_grp_inform Fail";

/** What must be written into a buffer of canaries. */
class Image {
public:
    explicit Image(std::size_t size) : bytes_(size, kCanary) {}

    void host16(std::size_t at, uint16_t value) { std::memcpy(&bytes_.at(at), &value, sizeof value); }
    void host32(std::size_t at, uint32_t value) { std::memcpy(&bytes_.at(at), &value, sizeof value); }
    void network32(std::size_t at, uint32_t value)
    {
        for (const unsigned shift : {24u, 16u, 8u, 0u})
            bytes_.at(at++) = static_cast<uint8_t>(value >> shift);
    }
    void byte(std::size_t at, uint8_t value) { bytes_.at(at) = value; }
    const ByteVector &bytes() const { return bytes_; }

private:
    ByteVector bytes_;
};

/** Group `i`, every byte of it different from its neighbours'. */
GatheredGroup group(uint32_t i)
{
    const uint32_t n = i + 1;
    return {static_cast<uint16_t>(0x0102 + n), 0x11223300 + n, 0xE1020300 + n, 0x44556600 + n,
            0x778899AA + n * 0x01000000,       0xBBCCDD00 + n, 0x5A5A,         static_cast<uint8_t>(0x80 + n)};
}

// --- The formats

Image ip_port_answer(const std::vector<GatheredGroup> &groups)
{
    Image image(512 * 8 + kBehind);
    for (std::size_t i = 0; i < groups.size(); ++i) {
        image.host32(8 * i + 0, groups[i].groupAddress);
        image.byte(8 * i + 4, groups[i].userPort);
    }
    return image;
}

Image std_ip_port_answer(const std::vector<GatheredGroup> &groups)
{
    Image image(512 * 28 + kBehind);
    for (std::size_t i = 0; i < groups.size(); ++i) {
        image.host16(28 * i + 0, 0);
        image.network32(28 * i + 4, groups[i].infoB);
        image.network32(28 * i + 8, groups[i].groupAddress);
        image.network32(28 * i + 12, groups[i].infoD);
        image.network32(28 * i + 16, groups[i].infoE);
        image.network32(28 * i + 20, groups[i].infoF);
        image.byte(28 * i + 26, 0);
    }
    return image;
}

Image oam_answer(const std::vector<GatheredGroup> &groups)
{
    Image image(2 + 512 * 10 + kBehind);
    image.byte(0, 3);
    image.byte(1, static_cast<uint8_t>(groups.size()));
    for (std::size_t i = 0; i < groups.size(); ++i) {
        image.host16(2 + 10 * i + 0, groups[i].userPort);
        image.host16(2 + 10 * i + 2, groups[i].vlanId);
        image.host16(2 + 10 * i + 4, 0);
        image.host32(2 + 10 * i + 6, groups[i].groupAddress);
    }
    return image;
}

/** A query that lists the groups. `wanted` is the count that it tells for a number of groups in the snapshot. */
struct ListQuery {
    const char *name;
    std::function<int32_t(uint32_t &told, uint8_t *buf)> operation;
    Image (*answer)(const std::vector<GatheredGroup> &groups);
    uint32_t (*listed)(uint32_t groups);
    uint32_t (*told)(uint32_t listed);
    int32_t result_without_refresh;
    std::vector<Gated> (*texts)(uint32_t count, bool refreshed);
};

void PrintTo(const ListQuery &row, std::ostream *out) { *out << row.name; }

std::vector<Gated> texts_of(Gated entry, bool refreshed, Gated count)
{
    if (refreshed)
        return {std::move(entry), config(kRefresh), std::move(count)};
    return {std::move(entry), config(kRefresh), error(kGroupRefreshFailed), std::move(count)};
}

std::string decimal(uint32_t value) { return std::to_string(value); }

const ListQuery kListQueries[] = {
    {"omci_get_multicast_ip_port", [](uint32_t &told, uint8_t *buf) { return omci_get_multicast_ip_port(&told, buf); },
     ip_port_answer, [](uint32_t groups) { return groups; }, [](uint32_t listed) { return listed; }, 0,
     [](uint32_t count, bool refreshed) {
         return texts_of(config("\r\n[MC_DBG_CFG]: \n omci_get_multicast_ip_port!"), refreshed,
                         always("omci grp_info->std_cnt = " + decimal(count) + "\n"));
     }},
    {"std_omci_get_multicast_ip_port",
     [](uint32_t &told, uint8_t *buf) { return std_omci_get_multicast_ip_port(&told, buf); }, std_ip_port_answer,
     [](uint32_t groups) { return groups; }, [](uint32_t listed) { return listed; }, 0,
     [](uint32_t count, bool refreshed) {
         return texts_of(config("\r\n[MC_DBG_CFG]: \n [std_omci_get_multicast_ip_port] "), refreshed,
                         always("omci grp_info->std_cnt = " + decimal(count) + "\r\n"));
     }},
    {"mc_oam_get_multicast_control",
     [](uint32_t &told, uint8_t *buf) {
         uint16_t length[2] = {0xA5A5, 0xA5A5};
         const int32_t result = mc_oam_get_multicast_control(length, buf);
         EXPECT_EQ(length[1], 0xA5A5);
         told = length[0];
         return result;
     },
     oam_answer, [](uint32_t groups) { return groups % 256; }, // intended: 300 groups are 44 here
     [](uint32_t listed) { return 2 + 10 * listed; }, -1,
     [](uint32_t count, bool refreshed) {
         return texts_of(config("\r\n[MC_DBG_CFG]: [mc_oam_get_multicast_control]\r\n"), refreshed,
                         config("\r\n[MC_DBG_CFG]: omci grp_info->std_cnt = " + decimal(count) + "\r\n"));
     }},
};

class GroupList : public LibraryTest, public ::testing::WithParamInterface<ListQuery> {
protected:
    const ListQuery &query = GetParam();

    std::vector<GatheredGroup> first_groups(uint32_t count) const
    {
        std::vector<GatheredGroup> groups;
        for (uint32_t i = 0; i < count; ++i)
            groups.push_back(group(i));
        return groups;
    }

    /** Runs the query into canaries that begin `shift` bytes behind an aligned address. */
    void expect_answer(uint32_t groups_in_snapshot, int32_t result, std::size_t shift) const
    {
        SCOPED_TRACE("shift " + std::to_string(shift));
        const uint32_t listed = query.listed(groups_in_snapshot);
        const ByteVector wanted = query.answer(first_groups(listed)).bytes();
        ByteVector room(shift + wanted.size(), kCanary);
        uint32_t told = 0;
        EXPECT_EQ(observe([&] { return query.operation(told, room.data() + shift); }).result, result);
        EXPECT_EQ(told, query.told(listed));
        EXPECT_TRUE(std::equal(wanted.begin(), wanted.end(), room.data() + shift)) << hex(room).substr(0, 200);
        EXPECT_EQ(ByteVector(room.data(), room.data() + shift), ByteVector(shift, kCanary));
    }
};

INSTANTIATE_TEST_SUITE_P(Of, GroupList, ::testing::ValuesIn(kListQueries), row_name<ListQuery>);

TEST_P(GroupList, holds_exactly_the_bytes_of_its_format_at_any_address)
{
    for (const uint32_t count : {0u, 1u, 2u, 44u, 255u, 256u, 300u, 511u, 512u}) {
        SCOPED_TRACE(count);
        platform().gather(first_groups(count));
        for (const std::size_t shift : {0u, 1u, 2u, 3u})
            expect_answer(count, 0, shift);
    }
}

TEST_P(GroupList, never_goes_past_512_groups)
{
    for (const uint32_t claimed : {513u, 600u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(claimed);
        platform().gather(first_groups(600), claimed);
        expect_answer(512, 0, 1);
    }
}

TEST_P(GroupList, is_refreshed_once_for_all_ports)
{
    platform().gather(first_groups(2));
    uint32_t told = 0;
    ByteVector room(512 * 28);
    EXPECT_THAT(observe([&] { return query.operation(told, room.data()); }).calls, ElementsAre(kGather));
    EXPECT_EQ(status_block.std_cnt, 2u);
}

TEST_P(GroupList, is_that_of_the_last_snapshot_when_the_refresh_fails)
{
    platform().gather(first_groups(3));
    igmp_hal_sync_grp_infor(255);
    for (const int32_t code : {0, -1}) {
        platform().answer("igmp_gather_grp_info", code);
        expect_answer(3, query.result_without_refresh, 0);
    }
}

TEST_P(GroupList, is_empty_without_a_snapshot)
{
    mc_status_global = nullptr;
    platform().gather(first_groups(3));
    expect_answer(0, query.result_without_refresh, 0);
}

TEST_P(GroupList, prints_its_entry_a_failed_refresh_and_its_count)
{
    uint32_t told = 0;
    ByteVector room(512 * 28);
    platform().gather(first_groups(300));
    expect_texts(query.texts(300, true), [&] { query.operation(told, room.data()); });
    platform().answer("igmp_gather_grp_info", 0);
    expect_texts(query.texts(300, false), [&] { query.operation(told, room.data()); });
    mc_status_global = nullptr;
    expect_texts(query.texts(0, false), [&] { query.operation(told, room.data()); });
}

// --- Distinct values

class DistinctInfo : public LibraryTest {
protected:
    /** Lets the engine answer with these `infoE` values. */
    static void gather_info(const std::vector<uint32_t> &values)
    {
        std::vector<GatheredGroup> groups;
        for (const uint32_t value : values)
            groups.push_back({100, value + 1, 7, value + 2, value, value + 3, 9, 0});
        platform().gather(groups);
    }

    static std::vector<uint32_t> counting_from(uint32_t first, uint32_t count)
    {
        std::vector<uint32_t> values;
        for (uint32_t i = 0; i < count; ++i)
            values.push_back(first + i);
        return values;
    }

    static void expect_count(uint16_t count, int32_t result = 0)
    {
        for (const std::size_t shift : {0u, 1u}) {
            ByteVector room(shift + 5 + kBehind, kCanary);
            EXPECT_EQ(GetIgmpStatusPara(room.data() + shift), result);
            Image image(room.size());
            image.host16(shift, count);
            image.byte(shift + 2, 1);
            image.byte(shift + 3, 1);
            image.byte(shift + 4, 0);
            EXPECT_EQ(room, image.bytes());
        }
    }
};

TEST_F(DistinctInfo, is_counted_once_for_each_value)
{
    struct Row {
        std::vector<uint32_t> values;
        uint16_t count;
    };
    for (const Row &row : {Row{{}, 0}, Row{{5}, 1}, Row{{5, 5, 5}, 1}, Row{{5, 6, 5, 6, 7}, 3},
                           Row{{0xFFFFFFFF, 0x80000000, 0xFFFFFFFF}, 2}, Row{{1, 0x10001, 0x101}, 3}}) {
        SCOPED_TRACE(::testing::PrintToString(row.values));
        gather_info(row.values);
        expect_count(row.count);
    }
}

TEST_F(DistinctInfo, of_value_0_is_counted_every_time)
{
    struct Row {
        std::vector<uint32_t> values;
        uint16_t count;
    };
    // intended: a place that holds 0 looks empty, so the next value takes it again and is counted
    for (const Row &row : {Row{{0}, 1}, Row{{0, 0, 0}, 3}, Row{{5, 0, 5, 0}, 3}, Row{{0, 5, 0, 5}, 3},
                           Row{{0, 5, 5}, 2}, Row{std::vector<uint32_t>(150, 0), 150}}) {
        SCOPED_TRACE(::testing::PrintToString(row.values));
        gather_info(row.values);
        expect_count(row.count);
    }
}

TEST_F(DistinctInfo, has_room_for_100_values)
{
    gather_info(counting_from(1, 100));
    expect_count(100);
    gather_info(counting_from(1, 150));
    expect_count(100);
    std::vector<uint32_t> full_then_0 = counting_from(1, 100);
    full_then_0.push_back(0);
    full_then_0.push_back(100);
    gather_info(full_then_0);
    expect_count(100);
}

TEST_F(DistinctInfo, is_that_of_the_low_byte_of_the_group_count)
{
    struct Row {
        uint32_t groups;
        uint16_t count;
    };
    for (const Row &row : {Row{44, 44}, Row{255, 100}, Row{256, 0}, Row{300, 44}, Row{512, 0}}) {
        SCOPED_TRACE(row.groups);
        gather_info(counting_from(1, row.groups));
        expect_count(row.count);
    }
    platform().gather(std::vector<GatheredGroup>(600, group(0)));
    expect_count(0);
}

TEST_F(DistinctInfo, is_that_of_the_last_snapshot_when_the_refresh_fails)
{
    gather_info({1, 2, 3});
    igmp_hal_sync_grp_infor(255);
    platform().answer("igmp_gather_grp_info", 0);
    expect_count(3, -1);
    mc_status_global = nullptr;
    expect_count(0, -1);
}

TEST_F(DistinctInfo, is_answered_with_0_before_the_refresh)
{
    uint8_t out[5] = {kCanary, kCanary, kCanary, kCanary, kCanary};
    ByteVector early;
    gather_info({1, 2, 3});
    platform().on("igmp_gather_grp_info", [&] { early.assign(out, out + sizeof out); });
    EXPECT_THAT(observe([&] { return GetIgmpStatusPara(out); }).calls, ElementsAre(kGather));
    EXPECT_THAT(early, ElementsAre(0, 0, 1, 1, 0));
}

TEST_F(DistinctInfo, prints_its_entry_a_failed_refresh_and_the_whole_group_count)
{
    uint8_t out[5];
    const Gated entry = config("\r\n[MC_DBG_CFG]: \n GetIgmpStatusPara. \n");
    const Gated count = trace("\r\n[MC_DBG_DBG]: omci grp_info->std_cnt = 300\r\n");
    gather_info(counting_from(1, 300));
    expect_texts({entry, config(kRefresh), count}, [&] { GetIgmpStatusPara(out); });
    platform().answer("igmp_gather_grp_info", -1);
    expect_texts({entry, config(kRefresh), error(kGroupRefreshFailed), count}, [&] { GetIgmpStatusPara(out); });
}

} // namespace
} // namespace mcadapt::test
