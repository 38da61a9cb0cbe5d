/** The callbacks and ports that start-up makes known to the engine. */
#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "start_fixture.h"
#include "start_sequence.h"

namespace mcadapt::test {
namespace {

using namespace start_up;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// --- The IGMP registration

using IgmpRegistration = StartTest;

TEST_F(IgmpRegistration, registers_and_declares_in_order_and_returns_0)
{
    const auto seen = observe(igmp_adapt_init);
    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.calls, calls_of(igmp_registration_steps()));
    EXPECT_EQ(seen.output, "");
    EXPECT_THAT(seen.changed, IsEmpty());
}

TEST_F(IgmpRegistration, returns_0_whatever_is_refused)
{
    for (const Refusal &refusal : igmp_registration_refusals())
        platform().answer(refusal.call, -1);
    EXPECT_EQ(observe(igmp_adapt_init).result, 0);
    EXPECT_THAT(platform().calls(),
                ElementsAre("igmp_register_switch_send_pkt(send_pkt_igmp)",
                            "igmp_register_switch_add_table(igmp_add_grp)",
                            "igmp_register_switch_del_table(igmp_del_grp)", "igmp_port_add_all_vlan(0)"));
}

TEST_F(IgmpRegistration, declares_each_port_by_its_type)
{
    struct Row {
        portStateNode ports[2];
        std::vector<std::string> calls;
    };
    const std::vector<Row> rows = {
        {{{0, 2}, {29, 1}}, {"igmp_port_add_all_vlan(0)", "igmp_port_add_all_vlan(65535)"}},
        {{{5, 1}, {7, 2}}, {"igmp_port_add_all_vlan(65535)", "igmp_port_add_all_vlan(7)"}},
        {{{5, 1}, {7, 1}}, {"igmp_port_add_all_vlan(65535)", "igmp_port_add_all_vlan(65535)"}},
        // intended: a port of type 0 is declared here, and skipped on the MLD side
        {{{3, 0}, {4, 0}}, {"igmp_port_add_all_vlan(3)", "igmp_port_add_all_vlan(4)"}},
        {{{0x12345, 3}, {29, 0x101}}, {"igmp_port_add_all_vlan(74565)", "igmp_port_add_all_vlan(29)"}},
    };
    for (const Row &row : rows) {
        std::copy(std::begin(row.ports), std::end(row.ports), portState);
        const auto seen = observe(igmp_adapt_port_conf_set);
        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(seen.calls, row.calls);
    }
}

TEST_F(IgmpRegistration, a_refused_port_ends_the_declaration)
{
    for (const int turn : {0, 1})
        for (const Answer answer : telling_answers()) {
            start_over({4, 0});
            let_refuse({"igmp_port_add_all_vlan", turn, Counts::kLowByte, {}, ""}, answer.whole);
            const bool refused = answer.low_byte != 0;
            const auto seen = observe(igmp_adapt_port_conf_set);
            EXPECT_EQ(seen.result, refused ? -1 : 0);
            EXPECT_EQ(seen.calls.size(), refused && turn == 0 ? 1u : 2u);
            EXPECT_EQ(seen.output, refused ? "\r\n[MC_DBG_ERR]: \n ERROR!igmp_port_conf_set Fail" : "");
        }
}

TEST_F(IgmpRegistration, the_entry_line_of_the_declaration_is_a_configuration_line)
{
    for (const uint32_t mask : {0x01u, 0x04u, 0x08u, 0x10u, ~0x20u}) {
        mc_debug = mask;
        mld_debug = ~0u;
        EXPECT_EQ(observe(igmp_adapt_port_conf_set).output, "") << mask;
    }
    mc_debug = 0x20;
    mld_debug = 0;
    EXPECT_EQ(observe(igmp_adapt_port_conf_set).output, "\r\n[MC_DBG_CFG]: igmp_adapt_port_conf_set is in\r\n");
}

// --- The MLD registration

using MldRegistration = StartTest;

TEST_F(MldRegistration, registers_declares_and_pushes_the_mode_in_order)
{
    const auto seen = observe(mld_adapt_init);
    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.calls, calls_of(mld_registration_steps()));
    EXPECT_EQ(seen.output, "");
    EXPECT_THAT(seen.changed, IsEmpty());
}

TEST_F(MldRegistration, pushes_all_16_bits_of_the_mode)
{
    mldInitParams.multiMode = 0x1203;
    EXPECT_EQ(observe(mld_adapt_init).calls.back(), "mld_proxy_snoop_set_globle(4611)");
}

TEST_F(MldRegistration, returns_the_whole_result_of_the_mode_and_no_other)
{
    for (const Answer answer : telling_answers()) {
        start_over({0, 0});
        platform().answer("mld_proxy_snoop_set_globle", answer.whole);
        EXPECT_EQ(mld_adapt_init(), answer.whole);
    }
    start_over({0, 0});
    for (const Refusal &refusal : mld_registration_refusals())
        platform().answer(refusal.call, 5);
    platform().answer("mld_proxy_snoop_set_globle", 0);
    EXPECT_EQ(mld_adapt_init(), 0);
}

TEST_F(MldRegistration, declares_each_port_that_has_a_type_by_its_number)
{
    struct Row {
        portStateNode ports[2];
        std::vector<std::string> calls;
    };
    const std::vector<Row> rows = {
        // intended: the uplink by its number, not as 0xFFFF
        {{{0, 2}, {29, 1}}, {"mld_port_conf_set(0)", "mld_port_conf_set(29)"}},
        {{{5, 0}, {7, 2}}, {"mld_port_conf_set(7)"}},
        {{{5, 1}, {7, 0}}, {"mld_port_conf_set(5)"}},
        {{{5, 0}, {7, 0}}, {}},
        {{{0x12345, 3}, {29, 0x100}}, {"mld_port_conf_set(74565)", "mld_port_conf_set(29)"}},
    };
    for (const Row &row : rows) {
        std::copy(std::begin(row.ports), std::end(row.ports), mldInitParams.mldPortState);
        const auto seen = observe(mld_adapt_port_conf_set);
        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(seen.calls, row.calls);
    }
}

TEST_F(MldRegistration, a_refused_port_ends_the_declaration)
{
    for (const int turn : {0, 1})
        for (const Answer answer : telling_answers()) {
            start_over({0, 4});
            let_refuse({"mld_port_conf_set", turn, Counts::kWhole, {}, ""}, answer.whole);
            const auto seen = observe(mld_adapt_port_conf_set);
            EXPECT_EQ(seen.result, -1) << answer.whole; // the whole result counts, 256 too
            EXPECT_EQ(seen.calls.size(), turn == 0 ? 1u : 2u);
            EXPECT_EQ(seen.output, "\r\n[MC_MLD_DBG_ERR]: \n ERROR!mld_adapt_port_conf_set Fail");
        }
}

TEST_F(MldRegistration, the_entry_line_of_the_declaration_is_a_trace)
{
    for (const uint32_t mask : {0x04u, 0x08u, 0x10u, 0x20u, ~0x01u}) {
        mc_debug = ~0u;
        mld_debug = mask;
        EXPECT_EQ(observe(mld_adapt_port_conf_set).output, "") << mask;
    }
    mc_debug = 0;
    mld_debug = 0x01; // intended: not the bit of the IGMP side
    EXPECT_EQ(observe(mld_adapt_port_conf_set).output, "\r\n[MC_MLD_DBG_DBG]: mld_adapt_port_conf_set is in\r\n");
}

TEST_F(MldRegistration, the_start_of_mld_alone_does_nothing)
{
    everything_logged();
    const auto seen = observe(mc_mld_init);
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, IsEmpty());
    EXPECT_EQ(seen.output, "");
    EXPECT_THAT(seen.changed, IsEmpty());
}

} // namespace
} // namespace mcadapt::test
