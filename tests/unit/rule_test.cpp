/** The primitives of multicast VLAN rules: tag modes, normalisation, building from a mode, storing. */
#include "vlan/rule.h"

#include "support/library_test.h"
#include "support/matchers.h"

namespace mcadapt::test {
namespace {

class RulePrimitives : public LibraryTest {};

constexpr uint16_t kNone = 0xFFFF;

TEST_F(RulePrimitives, mode_0_untags_2_and_3_translate_and_all_others_tag)
{
    for (int mode = 0; mode <= 255; ++mode) {
        SCOPED_TRACE(mode);
        const TagMode wanted = mode == 0                ? TagMode::kUntag
                               : mode == 2 || mode == 3 ? TagMode::kTranslate
                                                        : TagMode::kTag;
        const auto value = static_cast<uint8_t>(mode);
        const auto other = static_cast<uint8_t>(~mode);
        EXPECT_EQ(tag_mode(rule(0).modes(value, other, other)), wanted); // the upstream mode alone counts
    }
}

TEST_F(RulePrimitives, the_tag_mode_is_traced_under_the_mask_of_its_family)
{
    struct Row {
        uint8_t mode;
        const char *text;
    };
    for (const Row &row :
         {Row{0, "multicast_vlan tagmode = 0, is untag mode!\n"},
          Row{2, "multicast_vlan tagmode = 2, is translate mode!\n"},
          Row{3, "multicast_vlan tagmode = 3, is translate mode!\n"},
          Row{1, "multicast_vlan tagmode = 1, is tag mode!\n"}, Row{4, "multicast_vlan tagmode = 4, is tag mode!\n"},
          Row{255, "multicast_vlan tagmode = 255, is tag mode!\n"}}) {
        SCOPED_TRACE(+row.mode);
        const vlanCfgNode traced = rule(0).modes(row.mode);
        for (const bool open : {false, true}) {
            mc_debug = open ? MC_DEBUG_TRACE : ~MC_DEBUG_TRACE;
            mld_debug = ~mc_debug;
            const std::string igmp = std::string("\r\n[MC_DBG_DBG]: ") + row.text;
            const std::string mld = std::string("\r\n[MC_MLD_DBG_DBG]: ") + row.text;
            EXPECT_EQ(observe([&] { trace_tag_mode<Igmp>(traced); }).output, open ? igmp : "");
            EXPECT_EQ(observe([&] { trace_tag_mode<Mld>(traced); }).output, open ? "" : mld);
        }
    }
}

TEST_F(RulePrimitives, an_upstream_side_that_is_not_set_is_derived_by_tag_mode)
{
    struct Row {
        uint8_t mode;
        uint16_t in_up, in_down, out_down;
        uint16_t derived_in_up, derived_out_up;
    };
    for (const Row &row : {
             Row{0, kNone, 103, 104, 103, 104}, // untag: both from the downstream side
             Row{0, kNone, 0, 0, 0, 0},
             Row{0, kNone, kNone, 104, kNone, 104},
             Row{2, kNone, 103, 104, 104, 102}, // translate: only the one as received
             Row{3, kNone, 103, 104, 104, 102},
             Row{3, kNone, 103, kNone, kNone, 102},
             Row{1, kNone, 103, 104, kNone, 102}, // tag: nothing
             Row{4, kNone, 103, 104, kNone, 102},
             Row{255, kNone, 103, 104, kNone, 102},
             Row{0, 101, 103, 104, 101, 102}, // set: nothing
             Row{2, 101, 103, 104, 101, 102},
             Row{0, 0, 103, 104, 0, 102},
             Row{2, 0xFFFE, 103, 104, 0xFFFE, 102},
         }) {
        SCOPED_TRACE("mode " + std::to_string(row.mode) + ", in_up " + std::to_string(row.in_up));
        vlanCfgNode derived = rule(9, row.mode, row.in_up, 102, 5, row.in_down, row.out_down, 6, 105, 106);
        derived.ruleFlag = 7;
        vlanCfgNode wanted = derived;
        wanted.in_up_vlan = row.derived_in_up;
        wanted.out_up_vlan = row.derived_out_up;

        derive_upstream(derived);

        EXPECT_EQ(derived, wanted);
    }
}

TEST_F(RulePrimitives, without_an_upstream_vlan_the_user_side_is_zeroed)
{
    for (const uint16_t in_up : {uint16_t{0}, kNone, uint16_t{1}, uint16_t{4095}, uint16_t{0xFFFE}, uint16_t{0x1000}}) {
        SCOPED_TRACE(in_up);
        vlanCfgNode zeroed = rule(9, 1, in_up, 102, 5, 103, 104, 6, 105, 106);
        zeroed.ruleFlag = 7;
        vlanCfgNode wanted = zeroed;
        if (in_up == 0 || in_up == kNone)
            wanted.in_up_vlan = wanted.out_dn_vlan = wanted.out_data_vlan = 0;

        zero_untagged_user_side(zeroed);

        EXPECT_EQ(zeroed, wanted);
    }
}

TEST_F(RulePrimitives, a_mode_and_its_vlans_stand_for_a_rule)
{
    struct Row {
        int32_t port;
        uint32_t mode, vlan1, vlan2;
        vlanCfgNode built;
    };
    for (const Row &row : {
             Row{0, 1, 100, 200, rule(0, 1, kNone, 100, 1, 100, kNone, 1, 100, kNone)},
             Row{0, 0, 100, 200, rule(0, 0, 100, 100, 0, 100, 100, 0, 100, 100)},
             Row{29, 3, 100, 200, rule(29, 0, 100, 100, 0, 100, 100, 0, 100, 100)}, // intended: 3 untags
             Row{0, 2, 100, 200, rule(0, 2, 100, 200, 2, 200, 100, 2, 200, 100)},
             Row{0, 4, 100, 200, rule(0, 4, 100, 200, 4, 200, 100, 4, 200, 100)},
             Row{0, 256, 100, 200, rule(0, 0, 100, 200, 0, 200, 100, 0, 200, 100)},
             Row{0, 257, 100, 200, rule(0, 1, 100, 200, 1, 200, 100, 1, 200, 100)},
             Row{0, 259, 100, 200, rule(0, 3, 100, 200, 3, 200, 100, 3, 200, 100)},
             Row{-1, 0xFFFFFFFF, 0, 0xFFFF, rule(255, 255, 0, 0xFFFF, 255, 0xFFFF, 0, 255, 0xFFFF, 0)},
             Row{285, 2, 0x10064, 0xABCD10C8, rule(29, 2, 100, 0x10C8, 2, 0x10C8, 100, 2, 0x10C8, 100)},
         }) {
        SCOPED_TRACE("mode " + std::to_string(row.mode));
        EXPECT_EQ(rule_from_mode(row.port, row.mode, row.vlan1, row.vlan2), row.built);
    }
}

TEST_F(RulePrimitives, storing_writes_all_fields_but_the_flag)
{
    vlanCfgNode position = empty_rule();
    position.ruleFlag = 9;
    vlanCfgNode given = rule(0, 1, 101, 102, 5, 103, 104, 6, 105, 106);
    vlanCfgNode wanted = given;
    given.ruleFlag = 7;
    wanted.ruleFlag = 9; // intended: it belongs to the position
    store_rule(position, given);
    EXPECT_EQ(position, wanted);
}

TEST_F(RulePrimitives, a_position_is_empty_by_its_multicast_vlan_alone)
{
    EXPECT_TRUE(is_empty_position(empty_rule()));
    EXPECT_TRUE(is_empty_position(rule(0, 1, 101, 102, 5, 103, 104, 6, 0xFFFF, 106)));
    for (const uint16_t vlan : {uint16_t{0}, uint16_t{1}, uint16_t{0x0FFF}, uint16_t{0xFFFE}})
        EXPECT_FALSE(is_empty_position(rule().in_data(vlan)));
}

TEST_F(RulePrimitives, the_engine_knows_a_vlan_by_12_bits)
{
    struct Row {
        uint16_t vlan;
        uint32_t id;
    };
    for (const Row &row :
         {Row{0, 0}, Row{105, 105}, Row{0x0FFF, 0x0FFF}, Row{0x1000, 0}, Row{0xF069, 0x069}, Row{0xFFFF, 0x0FFF}})
        EXPECT_EQ(engine_vlan(row.vlan), row.id);
}

} // namespace
} // namespace mcadapt::test
