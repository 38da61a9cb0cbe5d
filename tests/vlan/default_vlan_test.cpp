/** The default VLAN, the uplink check, and the operations that only say that they are not implemented. */
#include "support/library_test.h"
#include "support/matchers.h"
#include "vlan/under_every_mask.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DefaultVlan : public UnderEveryMaskTest {};

void expect_default_vlans(uint16_t expected)
{
    EXPECT_EQ(mldInitParams.defaultVlan, expected);
    EXPECT_EQ(defaultVlan, expected);
    EXPECT_EQ(globle_parm.defaultVlan, expected);
}

TEST_F(DefaultVlan, a_new_one_is_stored_in_all_three_places_and_given_to_both_engines)
{
    const auto seen = observe([] { return omci_set_igmp_default_vlan(100); });

    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("mld_api_set_default_vlan(100)", "igmp_default_vid_set(100)"));
    EXPECT_THAT(seen.changed, ElementsAre("globle_parm.defaultVlan", "mldInitParams.defaultVlan", "defaultVlan"));
    expect_default_vlans(100);
}

TEST_F(DefaultVlan, is_stored_before_the_engine_is_asked)
{
    platform().on("mld_api_set_default_vlan", [] { expect_default_vlans(100); });

    omci_set_igmp_default_vlan(100);

    EXPECT_EQ(platform().count("mld_api_set_default_vlan"), 1u);
}

TEST_F(DefaultVlan, setting_one_is_logged_under_its_gates)
{
    expect_under_every_mask({dbg("omci_set_igmp_default_vlan 100 is in!\n"), called("mld_api_set_default_vlan(100)"),
                             called("igmp_default_vid_set(100)")},
                            [] { omci_set_igmp_default_vlan(100); });
}

TEST_F(DefaultVlan, the_present_one_is_not_stored_but_set_again)
{
    defaultVlan = 1;
    mldInitParams.defaultVlan = 2;

    const auto seen = observe([] { return omci_set_igmp_default_vlan(4088); });

    // The other two places are not even brought in line.
    EXPECT_THAT(seen.changed, IsEmpty());
    EXPECT_THAT(seen.calls, ElementsAre("mld_api_set_default_vlan(4088)", "igmp_default_vid_set(4088)"));
    expect_under_every_mask({dbg("omci_set_igmp_default_vlan 4088 is in!\n"),
                             dbg("\n igmp_default_vid_set vlan is already set"),
                             called("mld_api_set_default_vlan(4088)"), called("igmp_default_vid_set(4088)")},
                            [] { omci_set_igmp_default_vlan(4088); });
}

TEST_F(DefaultVlan, above_16_bits_is_never_the_present_one_and_is_stored_cut)
{
    traces_logged();

    const auto seen = observe([] { return omci_set_igmp_default_vlan(0x10000 + 4088); });

    EXPECT_EQ(seen.output, "\r\n[MC_DBG_DBG]: omci_set_igmp_default_vlan 69624 is in!\n");
    EXPECT_THAT(seen.calls, ElementsAre("mld_api_set_default_vlan(69624)", "igmp_default_vid_set(69624)"));
    expect_default_vlans(4088);
}

TEST_F(DefaultVlan, above_16_bits_is_stored_in_the_places_that_differ)
{
    defaultVlan = 1;
    mldInitParams.defaultVlan = 2;

    omci_set_igmp_default_vlan(0x10000 + 4088);

    expect_default_vlans(4088);
}

TEST_F(DefaultVlan, a_value_with_the_top_bit_set_reads_as_a_negative_number)
{
    traces_logged();

    const auto seen = observe([] { return omci_set_igmp_default_vlan(0xFFFFFFFF); });

    EXPECT_EQ(seen.output, "\r\n[MC_DBG_DBG]: omci_set_igmp_default_vlan -1 is in!\n");
    EXPECT_THAT(seen.calls, ElementsAre("mld_api_set_default_vlan(4294967295)", "igmp_default_vid_set(4294967295)"));
    expect_default_vlans(0xFFFF);
}

TEST_F(DefaultVlan, one_that_was_a_template_vlan_stays_registered)
{
    globle_parm.defaultVlan = 100;

    const auto prepare = [] {
        globle_parm.defaultVlan = 100;
        put_template_vlans({300, 0x1064, 100});
    };
    expect_under_every_mask(
        {dbg("omci_set_igmp_default_vlan 200 is in!\n"),
         dbg("\n vlan is 4196"), // the first entry whose low 12 bits are 100
         called("mld_api_set_default_vlan(200)"), called("igmp_default_vid_set(200)"), called("igmp_vlan_add(100)")},
        [] { omci_set_igmp_default_vlan(200); }, prepare);
}

TEST_F(DefaultVlan, one_set_again_is_registered_again_as_well)
{
    globle_parm.defaultVlan = 100;
    put_template_vlans({100});
    traces_logged();

    const auto seen = observe([] { return omci_set_igmp_default_vlan(100); });

    EXPECT_EQ(seen.trace, "\r\n[MC_DBG_DBG]: omci_set_igmp_default_vlan 100 is in!\n"
                          "\r\n[MC_DBG_DBG]: \n vlan is 100"
                          "\r\n[MC_DBG_DBG]: \n igmp_default_vid_set vlan is already set"
                          "<mld_api_set_default_vlan(100)>\n<igmp_default_vid_set(100)>\n<igmp_vlan_add(100)>\n");
}

struct OldVlanCase {
    const char *name;
    uint16_t old;
    std::vector<uint16_t> list;
    int32_t count;
    bool registered_again;
};

TEST_F(DefaultVlan, only_a_counted_entry_with_the_same_low_12_bits_makes_it_stay)
{
    const OldVlanCase cases[] = {
        {"an empty list", 100, {}, 0, false},
        {"another VLAN", 100, {200}, 1, false},
        {"the last entry", 100, {200, 300, 100}, 3, true},
        {"an entry behind the count", 100, {200, 100}, 1, false},
        {"bits above the id in the entry", 100, {0xF064}, 1, true},
        {"bits above the id in the old value", 0x1064, {100, 0x1064}, 2, false}, // all its 16 bits are compared
        {"a value without VLAN", 0xFFFF, {0xFFFF, 0x0FFF}, 2, false},
        {"a count below 0", 100, {100}, -1, false},
    };
    for (const OldVlanCase &each : cases) {
        SCOPED_TRACE(each.name);
        put_template_vlans(each.list);
        setVlanNumber = each.count;
        globle_parm.defaultVlan = each.old;
        platform().forget_calls();

        omci_set_igmp_default_vlan(4000);

        EXPECT_EQ(platform().count("igmp_vlan_add"), each.registered_again ? 1u : 0u);
    }
}

TEST_F(DefaultVlan, a_template_vlan_that_becomes_the_default_is_not_registered)
{
    put_template_vlans({100});

    omci_set_igmp_default_vlan(100);

    EXPECT_EQ(platform().count("igmp_vlan_add"), 0u);
    EXPECT_THAT(template_vlans(), ElementsAre(100));
}

TEST_F(DefaultVlan, every_refusal_is_reported_and_nothing_is_taken_back)
{
    const auto prepare = [] {
        globle_parm.defaultVlan = 100;
        put_template_vlans({100});
        platform().answer("mld_api_set_default_vlan", 0x100);
        platform().answer("igmp_default_vid_set", 0x100);
        platform().answer("igmp_vlan_add", 5);
    };
    expect_under_every_mask(
        {dbg("omci_set_igmp_default_vlan 200 is in!\n"), dbg("\n vlan is 100"), called("mld_api_set_default_vlan(200)"),
         err("\n ERROR!mld_api_set_default_vlan Fail"), called("igmp_default_vid_set(200)"),
         err("\n ERROR!igmp_adapt_default_vid_set Fail"), called("igmp_vlan_add(100)"),
         err("\n ERROR!igmp_vlan_add Fail")},
        [] {
            EXPECT_EQ(omci_set_igmp_default_vlan(200), 5);
            expect_default_vlans(200);
        },
        prepare);
}

TEST_F(DefaultVlan, the_result_is_that_of_the_last_igmp_call)
{
    struct {
        bool was_template_vlan;
        int32_t mld, igmp, registration, result;
    } const cases[] = {
        {false, 9, 0, 9, 0},           // the MLD status is not returned
        {false, 0, 0x1234, 9, 0x1234}, // all 32 bits
        {false, 0, -5, 9, -5},         //
        {true, 0, 0x1234, 0, 0},       // the registration decides
        {true, 0, 0, 0x1FF, -1},       // by its low byte
        {true, 0, 7, 0x300, 0},        //
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(&each - cases);
        globle_parm.defaultVlan = 100;
        put_template_vlans(each.was_template_vlan ? std::vector<uint16_t>{100} : std::vector<uint16_t>{});
        platform().answer("mld_api_set_default_vlan", each.mld);
        platform().answer("igmp_default_vid_set", each.igmp);
        platform().answer("igmp_vlan_add", each.registration);

        EXPECT_EQ(omci_set_igmp_default_vlan(200), each.result);
    }
}

TEST_F(DefaultVlan, a_low_byte_of_0_is_no_refused_registration)
{
    globle_parm.defaultVlan = 100;
    put_template_vlans({100});
    platform().answer("igmp_vlan_add", 0x100);
    errors_logged();

    EXPECT_EQ(observe([] { return omci_set_igmp_default_vlan(200); }).output, "");
}

// --- Uplink check

class UplinkCheck : public UnderEveryMaskTest {};

const Log kUplinkEntry = {cfg("omci_set_port_up_igmp_vlan is in! group num \n")};
const Log kPortStates = {dbg("\n portState0 is 0"), dbg("\n portState1 is 29")};

TEST_F(UplinkCheck, the_uplink_passes)
{
    expect_under_every_mask(kUplinkEntry + kPortStates + Log{dbg("\n logicPort is 1")},
                            [] { EXPECT_EQ(omci_set_port_up_igmp_vlan(29, 1, 2), 0); });
}

TEST_F(UplinkCheck, a_user_port_is_refused)
{
    expect_under_every_mask(kUplinkEntry + kPortStates +
                                Log{dbg("\n logicPort is 0"), err("\n port(0) is not uplink!,exit")},
                            [] { EXPECT_EQ(omci_set_port_up_igmp_vlan(0, 1, 2), -1); });
}

TEST_F(UplinkCheck, an_unknown_port_is_refused_before_the_ports_are_listed)
{
    expect_under_every_mask(kUplinkEntry + Log{err("\n port(30) is invalid!")},
                            [] { EXPECT_EQ(omci_set_port_up_igmp_vlan(30, 1, 2), -1); });
    expect_under_every_mask(kUplinkEntry + Log{err("\n port(-1) is invalid!")},
                            [] { EXPECT_EQ(omci_set_port_up_igmp_vlan(0xFFFFFFFF, 1, 2), -1); });
}

TEST_F(UplinkCheck, goes_by_the_type_that_the_port_table_gives)
{
    struct {
        portStateNode ports[2];
        uint32_t port;
        int32_t result;
    } const cases[] = {
        {{{5, 1}, {29, 1}}, 5, 0},   {{{5, 2}, {29, 2}}, 29, -1}, {{{5, 0}, {6, 3}}, 6, -1},
        {{{40, 1}, {29, 1}}, 40, 0}, {{{7, 2}, {7, 1}}, 7, -1}, // entry 0 is asked first
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(&each - cases);
        portState[0] = each.ports[0];
        portState[1] = each.ports[1];
        EXPECT_EQ(omci_set_port_up_igmp_vlan(each.port, 1, 2), each.result);
    }
}

TEST_F(UplinkCheck, stores_and_calls_nothing)
{
    for (const uint32_t port : {0u, 29u, 30u}) {
        const auto seen = observe([port] { return omci_set_port_up_igmp_vlan(port, 100, 200); });
        EXPECT_THAT(seen.calls, IsEmpty());
        EXPECT_THAT(seen.changed, IsEmpty());
    }
}

// --- Not implemented

class UnusedOperations : public UnderEveryMaskTest {};

TEST_F(UnusedOperations, say_so_under_the_configuration_bit_and_do_nothing)
{
    struct {
        const char *name;
        int32_t (*operation)();
    } const cases[] = {
        {"omci_set_multicast_vlan", [] { return omci_set_multicast_vlan(); }},
        {"omci_get_voip_igmp_vid", [] { return omci_get_voip_igmp_vid(); }},
        {"omci_set_igmp_vid", [] { return omci_set_igmp_vid(); }},
        {"omci_set_igmp_age_time", [] { return omci_set_igmp_age_time(); }},
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(each.name);
        const auto seen = observe(each.operation);
        EXPECT_EQ(seen.result, 0);
        EXPECT_THAT(seen.changed, IsEmpty());
        expect_under_every_mask({cfg("void function unused!\r\n")}, [&] { each.operation(); });
    }
}

} // namespace
} // namespace mcadapt::test
