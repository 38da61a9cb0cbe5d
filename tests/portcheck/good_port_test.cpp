// A port without fault: what is told, and what is not.
#include <algorithm>
#include <array>
#include <chrono>
#include <fstream>
#include <map>
#include <mutex>
#include <thread>
#include <tuple>

#include "check_fixture.h"

namespace mcadapt::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class AGoodPort : public CheckTest {};

std::vector<std::string> platform_calls()
{
    std::vector<std::string> platform;
    std::ifstream names(MCADAPT_PLATFORM_CALLS);
    for (std::string name; std::getline(names, name);)
        if (!name.empty() && name[0] != '#')
            platform.push_back(name);
    return platform;
}

const std::string kPassed = "Port check passed: 66 of 66 calls made, no fault, 1 note.";

TEST_F(AGoodPort, passes)
{
    const Told told = check();
    EXPECT_EQ(told.result, MC_PORTCHECK_PASSED);
    EXPECT_THAT(told.faults(), IsEmpty());
    EXPECT_EQ(told.summary, kPassed);
}

TEST_F(AGoodPort, passes_again_in_the_same_process)
{
    check();
    use_good_port();
    EXPECT_EQ(check().summary, kPassed);
}

TEST_F(AGoodPort, gets_one_line_in_quiet_mode)
{
    options.quiet = 1;
    EXPECT_THAT(check().lines, ElementsAre(kPassed));
}

// Every call that the library makes, told before it is made with what it changes.
TEST_F(AGoodPort, gets_every_platform_call)
{
    std::vector<std::string> called;
    for (const std::string &line : check().with("call   "))
        called.push_back(line.substr(0, line.find(':')));
    EXPECT_THAT(platform_calls(), SizeIs(66));
    EXPECT_THAT(called, ::testing::UnorderedElementsAreArray(platform_calls()));
}

/** The lines of the porting guide from one heading to another. */
std::vector<std::string> guide_lines(const std::string &from, const std::string &to)
{
    std::vector<std::string> lines;
    std::ifstream guide(MCADAPT_PORTING_GUIDE);
    bool inside = false;
    for (std::string line; std::getline(guide, line);) {
        inside = (inside || line == from) && line != to;
        if (inside)
            lines.push_back(line);
    }
    return lines;
}

/** The platform calls that the lines name, each once and in their order. */
std::vector<std::string> calls_named(const std::vector<std::string> &lines)
{
    const std::vector<std::string> platform = platform_calls();
    std::vector<std::string> named;
    for (const std::string &line : lines) {
        for (std::size_t at = line.find('`'); at != std::string::npos; at = line.find('`', at + 1)) {
            const std::string name = line.substr(at + 1, line.find('`', at + 1) - at - 1);
            const bool call = std::find(platform.begin(), platform.end(), name) != platform.end();
            if (call && std::find(named.begin(), named.end(), name) == named.end())
                named.push_back(name);
        }
    }
    return named;
}

TEST_F(AGoodPort, is_brought_up_in_the_order_of_the_porting_guide)
{
    std::vector<std::string> tables = guide_lines("## Bring-up", "## Frames in");
    tables.erase(
        std::remove_if(tables.begin(), tables.end(), [](const auto &line) { return line.empty() || line[0] != '|'; }),
        tables.end());
    const std::vector<std::string> guide = calls_named(tables);
    std::vector<std::string> called = check().with("call   ");
    for (std::string &line : called)
        line.resize(std::min(line.size(), line.find(':')));
    ASSERT_THAT(guide, SizeIs(26));
    called.resize(guide.size());
    EXPECT_EQ(called, guide);
}

TEST(ThePortingGuide, names_every_platform_call)
{
    EXPECT_THAT(calls_named(guide_lines("# Porting", "no heading")),
                ::testing::UnorderedElementsAreArray(platform_calls()));
}

TEST_F(AGoodPort, is_warned_before_it_is_changed)
{
    const std::vector<std::string> lines = check().lines;
    ASSERT_THAT(lines, SizeIs(::testing::Gt(3u)));
    EXPECT_THAT(lines[0], HasSubstr("It is changed"));
    EXPECT_EQ(lines[2], "call   igmp_data_init: puts the IGMP engine into its start state");
}

TEST_F(AGoodPort, is_not_said_to_do_what_cannot_be_seen)
{
    const Told told = check();
    std::string unseen;
    for (const std::string &line : told.with("         "))
        unseen += " " + line;
    EXPECT_THAT(told.lines, Contains("Called, effect not visible from here:"));
    EXPECT_THAT(unseen + " ", HasSubstr(" L2_multicast_send_msg "));
    EXPECT_THAT(unseen + " ", HasSubstr(" igmp_vlan_add "));
    for (const char *seen :
         {"get_mac_addr", "pal_task_create", "L2_multicast_read_msg", "igmp_pkt_recv", "mld_pkt_recv",
          "igmp_gather_grp_info", "igmp_register_switch_send_pkt", "igmp_register_switch_add_table",
          "igmp_register_switch_del_table", "mld_register_switch_add_table", "mld_register_switch_del_table"})
        EXPECT_THAT(unseen + " ", Not(HasSubstr(" " + std::string(seen) + " "))) << seen;
}

TEST_F(AGoodPort, may_have_no_way_to_be_fed)
{
    options.feed = nullptr;
    const Told told = check();
    EXPECT_EQ(told.result, MC_PORTCHECK_PASSED);
    EXPECT_THAT(told.notes(), Contains("No frame was fed: L2_multicast_read_msg was seen only with what was waiting."));
}

TEST_F(AGoodPort, may_refuse_what_its_engine_has_not)
{
    port().igmp_version_globle_set = [](uint32_t) { return -3; };
    const Told told = check();
    EXPECT_EQ(told.result, MC_PORTCHECK_PASSED);
    EXPECT_THAT(told.notes(), Contains("igmp_version_globle_set returned -3, a refusal: the agent is told."));
}

TEST_F(AGoodPort, may_have_only_snooping)
{
    port().igmp_mode_switch_globle = [](uint32_t mode) { return mode == 1 ? 0 : -1; };
    port().l2_multicast_set_flood = [](uint32_t, uint32_t enable) { return enable == 0 ? 0 : -1; };
    const Told told = check();
    EXPECT_EQ(told.result, MC_PORTCHECK_PASSED);
    EXPECT_THAT(told.notes(),
                ElementsAre("igmp_mode_switch_globle returned -1, a refusal: this unit has no proxy mode.",
                            "vx_hal_nni_upmode_get told GPON: see that the unit has such an uplink.",
                            "igmp_mode_switch_globle returned -1, a refusal: this unit has no control mode.",
                            "l2_multicast_set_flood returned -1, a refusal: this unit has no flooding in hardware."));
}

TEST_F(AGoodPort, may_answer_anything_where_nothing_is_looked_at)
{
    port().igmp_data_init = [] { return 77; };
    port().auth_group_delete_all_api = [] { return -1; };
    EXPECT_EQ(check().summary, kPassed);
}

TEST_F(AGoodPort, may_have_more_stack_than_was_asked_for)
{
    port().pal_task_create = [](uint32_t *, const char *, uint32_t, palTaskEntry entry) {
        return create_task(1 << 20, entry);
    };
    EXPECT_EQ(check().summary, kPassed);
}

/** A switch that remembers its entries, and which thread set each. */
class StrictSwitch {
public:
    int32_t set(int32_t to, const uint8_t *mac, uint32_t vlan)
    {
        {
            const std::lock_guard guard(lock_);
            entries_[key(to, mac, vlan)] = std::this_thread::get_id();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1)); // time for another thread to come between
        return 0;
    }

    int32_t remove(int32_t to, const uint8_t *mac, uint32_t vlan)
    {
        const std::lock_guard guard(lock_);
        const auto entry = entries_.find(key(to, mac, vlan));
        const bool own = entry != entries_.end() && entry->second == std::this_thread::get_id();
        entries_.erase(key(to, mac, vlan));
        return own ? 0 : -1;
    }

private:
    using Key = std::tuple<int32_t, std::array<uint8_t, 6>, uint32_t>;

    static Key key(int32_t to, const uint8_t *mac, uint32_t vlan)
    {
        std::array<uint8_t, 6> bytes;
        std::copy_n(mac, 6, bytes.begin());
        return {to, bytes, vlan};
    }

    std::mutex lock_;
    std::map<Key, std::thread::id> entries_;
};

// Also while three threads are at it: no thread of the check removes an entry that another one had set.
TEST_F(AGoodPort, may_refuse_to_remove_an_entry_that_is_not_there)
{
    StrictSwitch entries;
    port().L2_multicast_set_port_iptv_entry = [&](int32_t to, const uint8_t *mac, uint32_t vlan) {
        return entries.set(to, mac, vlan);
    };
    port().L2_multicast_remove_port_iptv_entry = [&](int32_t to, const uint8_t *mac, uint32_t vlan) {
        return entries.remove(to, mac, vlan);
    };
    EXPECT_EQ(check().summary, kPassed);
}

TEST_F(AGoodPort, may_have_an_epon_uplink)
{
    port().vx_hal_nni_upmode_get = [](uint32_t *mode) {
        *mode = 0;
        return 0;
    };
    const Told told = check();
    EXPECT_EQ(told.result, MC_PORTCHECK_PASSED);
    EXPECT_THAT(told.notes(), ElementsAre("vx_hal_nni_upmode_get told EPON: see that the unit has such an uplink."));
}

} // namespace
} // namespace mcadapt::test
