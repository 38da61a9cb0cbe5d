#include "host/program/named_groups.h"

#include <gmock/gmock.h>

#include "host/program/text.h"
#include "tests/host/engine/wire.h"

namespace mcadapt::host {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> named_in(Family family, const wire::Bytes &packet, std::size_t size)
{
    std::vector<NamedGroup> groups;
    find_named_groups(family, {packet.data(), size}, groups);
    std::vector<std::string> texts;
    for (const NamedGroup &named : groups) {
        std::string text = group_text(named.group) + (named.leaves ? " leaves" : " joins");
        if (named.record != nullptr)
            text += std::string(" ") + named.record + " " + std::to_string(named.sources);
        texts.push_back(text);
    }
    return texts;
}

std::vector<std::string> named_in(Family family, const wire::Bytes &packet)
{
    return named_in(family, packet, packet.size());
}

TEST(NamedGroups, are_those_of_older_messages)
{
    EXPECT_THAT(named_in(Family::kIgmp, wire::join(Family::kIgmp, 1, "239.1.2.3")), ElementsAre("239.1.2.3 joins"));
    EXPECT_THAT(named_in(Family::kIgmp, wire::join(Family::kIgmp, 2, "239.1.2.3")), ElementsAre("239.1.2.3 joins"));
    EXPECT_THAT(named_in(Family::kIgmp, wire::leave(Family::kIgmp, "239.1.2.3")), ElementsAre("239.1.2.3 leaves"));
    EXPECT_THAT(named_in(Family::kMld, wire::join(Family::kMld, 1, "ff1e::1")), ElementsAre("ff1e::1 joins"));
    EXPECT_THAT(named_in(Family::kMld, wire::leave(Family::kMld, "ff1e::1")), ElementsAre("ff1e::1 leaves"));
}

TEST(NamedGroups, are_those_of_records)
{
    const auto packet = wire::report(Family::kIgmp, {{wire::kToEx, "239.1.1.1"},
                                                     {wire::kToIn, "239.1.1.2"},
                                                     {wire::kToIn, "239.1.1.3", {"10.0.0.1"}},
                                                     {wire::kBlock, "239.1.1.4", {"10.0.0.1", "10.0.0.2"}},
                                                     {9, "239.1.1.5"}});
    EXPECT_THAT(named_in(Family::kIgmp, packet),
                ElementsAre("239.1.1.1 joins CHANGE_TO_EXCLUDE_MODE 0", "239.1.1.2 leaves CHANGE_TO_INCLUDE_MODE 0",
                            "239.1.1.3 joins CHANGE_TO_INCLUDE_MODE 1", "239.1.1.4 leaves BLOCK_OLD_SOURCES 2",
                            "239.1.1.5 joins unknown record 0"));
    const auto mld = wire::report(Family::kMld, {{wire::kAllow, "ff1e::1", {"2001:db8::1"}}, {wire::kIsEx, "ff1e::2"}});
    EXPECT_THAT(named_in(Family::kMld, mld),
                ElementsAre("ff1e::1 joins ALLOW_NEW_SOURCES 1", "ff1e::2 joins MODE_IS_EXCLUDE 0"));
}

TEST(NamedGroups, are_none_in_queries_and_in_other_packets)
{
    EXPECT_THAT(named_in(Family::kIgmp, wire::query(Family::kIgmp, {2, "239.1.2.3"})), IsEmpty());
    EXPECT_THAT(named_in(Family::kMld, wire::query(Family::kMld, {1, "ff1e::1"})), IsEmpty());
    EXPECT_THAT(named_in(Family::kIgmp, {}), IsEmpty());
}

// Read byte by byte from a block of just that size: nothing behind it may be touched.
TEST(NamedGroups, never_reach_beyond_a_cut_packet)
{
    const wire::Bytes packets[] = {
        wire::report(Family::kIgmp, {{wire::kToEx, "239.1.1.1", {"10.0.0.1"}}, {wire::kToIn, "239.1.1.2"}}),
        wire::report(Family::kMld, {{wire::kToEx, "ff1e::1", {"2001:db8::1"}}, {wire::kToIn, "ff1e::2"}})};
    for (const Family family : {Family::kIgmp, Family::kMld}) {
        const wire::Bytes &packet = packets[family == Family::kMld ? 1 : 0];
        std::size_t most = 0;
        for (std::size_t size = 0; size <= packet.size(); ++size) {
            const wire::Bytes cut(packet.begin(), packet.begin() + static_cast<std::ptrdiff_t>(size));
            const std::size_t found = named_in(family, cut).size();
            EXPECT_GE(found, most);
            most = found;
        }
        EXPECT_EQ(most, 2u);
    }
}

TEST(NamedGroups, have_the_addresses_of_their_frames)
{
    std::vector<NamedGroup> groups;
    const wire::Bytes igmp = wire::join(Family::kIgmp, 2, "239.129.2.3"); // 23 bits only
    find_named_groups(Family::kIgmp, {igmp.data(), igmp.size()}, groups);
    EXPECT_THAT(mac_of(groups.at(0).group), ElementsAre(0x01, 0x00, 0x5E, 0x01, 0x02, 0x03));
    const wire::Bytes mld = wire::join(Family::kMld, 1, "ff1e::1:203");
    find_named_groups(Family::kMld, {mld.data(), mld.size()}, groups);
    EXPECT_THAT(mac_of(groups.at(0).group), ElementsAre(0x33, 0x33, 0x00, 0x01, 0x02, 0x03));
}

} // namespace
} // namespace mcadapt::host
