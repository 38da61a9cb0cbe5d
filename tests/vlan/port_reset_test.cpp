/** The reset of one parameter of a port. */
#include "support/library_test.h"
#include "support/matchers.h"
#include "vlan/under_every_mask.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

class PortReset : public UnderEveryMaskTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        configure(*this);
    }

    static void configure(PortReset &test)
    {
        portState[1].portNo = 6;
        for (portParm &port : globle_parm.port)
            port = {7, 8, 9, 10, 11, 12};
        test.status_block.statusGroupLimit[0] = 0x12345;
        test.status_block.statusGroupLimit[1] = 0x23456;
    }

    void expect_log(const Log &expected, uint32_t port, uint32_t type, int32_t result)
    {
        expect_under_every_mask(
            expected, [=] { EXPECT_EQ(omci_clear_igmp_parmeter(port, type), result); }, [this] { configure(*this); });
    }
};

struct PortResetCase {
    const char *name;
    uint32_t port;
    uint32_t type;
    int32_t result;
    std::vector<std::string> calls;
    std::vector<std::string> changed;
};

TEST_F(PortReset, resets_only_what_the_type_names)
{
    const PortResetCase cases[] = {
        {"fast leave", 0, 0, 0, {"igmp_if_fast_leave_enable(0, 0)"}, {"globle_parm.port[0].leavemod"}},
        {"fast leave of logic port 1", 6, 0, 0, {"igmp_if_fast_leave_enable(6, 0)"}, {"globle_parm.port[1].leavemod"}},
        {"group limit",
         0,
         2,
         0,
         {"igmp_if_max_group_num_set(0, 1024)"},
         {"globle_parm.port[0].grouplimit", "mc_status_global->statusGroupLimit[0]"}},
        {"group limit of logic port 1",
         6,
         2,
         0,
         {"igmp_if_max_group_num_set(6, 1024)"},
         {"globle_parm.port[1].grouplimit", "mc_status_global->statusGroupLimit[1]"}},
        {"a type between", 0, 1, 0, {}, {}},
        {"a type above", 0, 3, 0, {}, {}},
        {"a type with bits above the byte", 0, 0x100, 0, {}, {}},
        {"another type, port 6", 6, 1, 0, {}, {}},
        {"another type, a port that is not configured", 5, 1, 0, {}, {}},
        {"fast leave, a port that is not configured", 5, 0, -1, {}, {}},
        {"group limit, a port that is not configured", 5, 2, -1, {}, {}},
        {"port 7", 7, 0, -1, {}, {}},
        {"port 7, another type", 7, 1, -1, {}, {}},
        {"a negative port", 0xFFFFFFFF, 2, -1, {}, {}},
    };
    for (const PortResetCase &each : cases) {
        SCOPED_TRACE(each.name);
        SetUp();

        const auto seen = observe([&] { return omci_clear_igmp_parmeter(each.port, each.type); });

        EXPECT_EQ(seen.result, each.result);
        EXPECT_THAT(seen.calls, ElementsAreArray(each.calls));
        EXPECT_THAT(seen.changed, ElementsAreArray(each.changed));
        EXPECT_EQ(seen.output, "");
    }
}

TEST_F(PortReset, stores_these_values)
{
    omci_clear_igmp_parmeter(0, 0);
    omci_clear_igmp_parmeter(6, 2);

    EXPECT_EQ(globle_parm.port[0], (portParm{0, 8, 9, 10, 11, 12}));
    EXPECT_EQ(globle_parm.port[1], (portParm{7, 1024, 9, 10, 11, 12}));
    EXPECT_EQ(status_block.statusGroupLimit[0], 0x12345u);
    EXPECT_EQ(status_block.statusGroupLimit[1], 1024u);
}

TEST_F(PortReset, stores_before_the_engine_is_told)
{
    platform().on("igmp_if_fast_leave_enable", [] { EXPECT_EQ(globle_parm.port[0].leavemod, 0); });
    platform().on("igmp_if_max_group_num_set", [this] {
        EXPECT_EQ(globle_parm.port[0].grouplimit, 1024);
        EXPECT_EQ(status_block.statusGroupLimit[0], 1024u);
    });

    omci_clear_igmp_parmeter(0, 0);
    omci_clear_igmp_parmeter(0, 2);

    EXPECT_THAT(platform().calls(),
                ElementsAre("igmp_if_fast_leave_enable(0, 0)", "igmp_if_max_group_num_set(0, 1024)"));
}

TEST_F(PortReset, the_uplink_s_number_is_out_of_reach)
{
    portState[1].portNo = 29;

    const auto seen = observe([] { return omci_clear_igmp_parmeter(29, 2); });

    EXPECT_EQ(seen.result, -1);
    EXPECT_THAT(seen.calls, IsEmpty());
    EXPECT_THAT(seen.changed, IsEmpty());
}

TEST_F(PortReset, what_the_engine_answers_does_not_count)
{
    platform().answer("igmp_if_fast_leave_enable", 5);
    platform().answer("igmp_if_max_group_num_set", -1);
    everything_logged();

    const auto fast_leave = observe([] { return omci_clear_igmp_parmeter(0, 0); });
    const auto group_limit = observe([] { return omci_clear_igmp_parmeter(0, 2); });

    EXPECT_EQ(fast_leave.result, 0);
    EXPECT_EQ(group_limit.result, 0);
    EXPECT_EQ(fast_leave.output, "\r\n[MC_DBG_CFG]: \n omci_clear_igmp_parmeter is in port = 0 type = 0.\n");
    EXPECT_EQ(group_limit.output, "\r\n[MC_DBG_CFG]: \n omci_clear_igmp_parmeter is in port = 0 type = 2.\n");
}

TEST_F(PortReset, without_a_status_block_only_the_store_into_it_is_left_out)
{
    mc_status_global = nullptr;

    const auto seen = observe([] { return omci_clear_igmp_parmeter(0, 2); });

    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_if_max_group_num_set(0, 1024)"));
    EXPECT_THAT(seen.changed, ElementsAre("globle_parm.port[0].grouplimit"));
}

TEST_F(PortReset, a_reset_is_logged_under_the_configuration_bit)
{
    expect_log(
        {cfg("\n omci_clear_igmp_parmeter is in port = 0 type = 0.\n"), called("igmp_if_fast_leave_enable(0, 0)")}, 0,
        0, 0);
    expect_log(
        {cfg("\n omci_clear_igmp_parmeter is in port = 6 type = 2.\n"), called("igmp_if_max_group_num_set(6, 1024)")},
        6, 2, 0);
    expect_log({cfg("\n omci_clear_igmp_parmeter is in port = 3 type = -1.\n")}, 3, 0xFFFFFFFF, 0);
}

TEST_F(PortReset, a_port_out_of_reach_is_reported_before_the_type_is_looked_at)
{
    expect_log({cfg("\n omci_clear_igmp_parmeter is in port = 7 type = 1.\n"),
                err("\n omci_clear_igmp_parmeter port is invalid .\n")},
               7, 1, -1);
    expect_log({cfg("\n omci_clear_igmp_parmeter is in port = -1 type = 0.\n"),
                err("\n omci_clear_igmp_parmeter port is invalid .\n")},
               0xFFFFFFFF, 0, -1);
}

TEST_F(PortReset, a_port_that_is_not_configured_is_reported_in_two_lines)
{
    for (const uint32_t type : {0u, 2u})
        expect_log({cfg("\n omci_clear_igmp_parmeter is in port = 5 type = %d.\n", static_cast<int>(type)),
                    err("\n [checkPortState]port(5) is not find!"), err("port number is invalid!\r\n")},
                   5, type, -1);
}

} // namespace
} // namespace mcadapt::test
