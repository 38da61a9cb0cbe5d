/** From a rule that an agent installs to the tags of the frames that the unit forwards, until the rule is gone. */
#include <optional>

#include "support/frames.h"
#include "support/library_test.h"
#include "support/matchers.h"

namespace mcadapt::test {

static bool operator==(const SentFrame &a, const SentFrame &b)
{
    return a.bytes == b.bytes && a.ifindex == b.ifindex && a.srcPort == b.srcPort && a.ponVlan == b.ponVlan;
}

static void PrintTo(const SentFrame &sent, std::ostream *out)
{
    *out << hex(sent.bytes) << " to " << sent.ifindex << " from " << sent.srcPort << " in VLAN " << sent.ponVlan;
}

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr uint8_t kUser = 0;
constexpr uint8_t kUplink = 29;
constexpr uint32_t kStartDefaultVlan = 4088;

/** Of the frames below: user VLAN 100, network VLAN 200, each tag with another priority. */
constexpr uint16_t kUserTag = 0xA064;
constexpr uint16_t kNetworkTag = 0xE0C8;

struct Family {
    const char *name;
    FrameBuilder (*from_user)();
    FrameBuilder (*from_network)();
    bool mld;
};

const Family kFamilies[] = {
    {"igmp", [] { return igmp_report("225.1.2.3"); }, [] { return igmp_query(); }, false},
    {"mld", [] { return mld_report("ff1e::1"); }, [] { return mld_query(); }, true},
};

/** A tag control field, or a frame without a tag. */
using Tag = std::optional<uint16_t>;

struct Entry {
    const char *name;
    void (*install)();
    void (*remove)();
    Tag user_in;     /**< A report as the user sends it, and as it goes to the network. */
    Tag network_out; //
    Tag network_in;  /**< A query as the network sends it, and as it goes to the user. */
    Tag user_out;    //
    bool serves_mld;
};

vlanCfgNode translation() { return rule(kUser).modes(2).up(100, 0x60C8).down(200, 0x4064).data(200, 100); }

vlanCfgNode untagged_user() { return rule(kUser).modes(1).out_up(0x60C8).down(200, 0x4064).data(200, 100); }

vlanCfgNode same_on_both_sides() { return rule(kUser).modes(0).down(200, 0x2064).data(200, 100); }

vlanCfgNode derived_translation() { return rule(kUser).modes(3).out_up(0x60C8).down(200, 0x4064).data(200, 100); }

void install(const vlanCfgNode &wanted) { EXPECT_EQ(std_omci_set_multicast_vlan_onu(&wanted), 0); }
void remove(const vlanCfgNode &wanted) { EXPECT_EQ(std_omci_delete_multicast_vlan_onu(&wanted), 0); }

template <uint32_t mode> void install_mode() { EXPECT_EQ(igmp_port_vlan_and_mode_set(kUser, mode, 100, 200), 0); }
template <uint32_t mode> void remove_mode() { EXPECT_EQ(igmp_service_remove_port_config(kUser, mode, 100, 200), 0); }
template <uint32_t mode> void install_one_vlan() { EXPECT_EQ(igmp_port_vlan_and_mode_set(kUser, mode, 200, 0), 0); }
template <uint32_t mode> void remove_one_vlan() { EXPECT_EQ(igmp_service_remove_port_config(kUser, mode, 200, 0), 0); }

template <uint8_t mode> void set_by_web()
{
    vlanCfgNode page = rule(kUser).down_mode(mode).down(200, 0x4064).data_mode(2).data(200, 100);
    EXPECT_EQ(std_omci_web_set_vlan(&page), 0);
}

/** The pages cannot remove a rule; a standard removal of what was stored can. */
void remove_web_rule() { remove(PortVlanCfg[0][0]); }

/** Or another VLAN takes its place. */
void set_another_web_rule()
{
    vlanCfgNode page = rule(kUser).down_mode(2).down(300, 101).data_mode(2).data(300, 101);
    EXPECT_EQ(std_omci_web_set_vlan(&page), 0);
}

const Entry kEntries[] = {
    {"standard_translation", [] { install(translation()); }, [] { remove(translation()); }, kUserTag, 0x60C8,
     kNetworkTag, 0x4064, true},
    {"standard_translation_derived", [] { install(derived_translation()); }, [] { remove(derived_translation()); },
     // The upstream VLAN is the whole output of the other direction; matches take its low 12 bits.
     kUserTag, 0x60C8, kNetworkTag, 0x4064, true},
    {"standard_untagged_user",
     [] { install(untagged_user()); },
     [] { remove(untagged_user()); },
     {},
     0x60C8,
     kNetworkTag,
     {},
     true},
    {"standard_same_on_both_sides", [] { install(same_on_both_sides()); }, [] { remove(same_on_both_sides()); },
     kNetworkTag, 0x2064, kNetworkTag, 0x2064, true},
    {"mode_translation", install_mode<2>, remove_mode<2>, kUserTag, 200, kNetworkTag, 100, true},
    {"mode_any_other", install_mode<7>, remove_mode<7>, kUserTag, 200, kNetworkTag, 100, true},
    {"mode_untagged_user", install_one_vlan<1>, remove_one_vlan<1>, {}, 200, kNetworkTag, {}, true},
    {"mode_0", install_one_vlan<0>, remove_one_vlan<0>, kNetworkTag, 200, kNetworkTag, 200, true},
    {"mode_3_as_mode_0", install_one_vlan<3>, remove_one_vlan<3>, kNetworkTag, 200, kNetworkTag, 200, true},
    {"web_translation", set_by_web<2>, remove_web_rule, kUserTag, 200, kNetworkTag, 0x4064, false},
    {"web_untagged_user", set_by_web<1>, remove_web_rule, {}, 200, kNetworkTag, {}, false},
    {"web_same_on_both_sides", set_by_web<0>, remove_web_rule, kNetworkTag, 200, kNetworkTag, 200, false},
    {"web_rule_replaced", set_by_web<2>, set_another_web_rule, kUserTag, 200, kNetworkTag, 0x4064, false},
};

void PrintTo(const Entry &entry, std::ostream *out) { *out << entry.name; }

/** Snooping, the frames of both families. */
class SnoopedFrames : public IntakeTest {
protected:
    void SetUp() override
    {
        IntakeTest::SetUp();
        proxy_adapt_mode = 1;
        mldInitParams.multiMode = 2;
    }

    /** What the unit sends for a frame that the switch traps. */
    static std::vector<SentFrame> sent_for(const ByteVector &frame, uint8_t port)
    {
        platform().forget_calls();
        platform().deliver(frame, port);
        EXPECT_TRUE(run_receive_task());
        return platform().sent;
    }

    static ByteVector tagged(FrameBuilder frame, Tag tag)
    {
        if (tag)
            frame.tag(*tag);
        return frame.pad_to(tag ? 68 : 64).bytes();
    }

    /** The frame with its tag exchanged, put in or taken out. */
    static ByteVector retagged(const ByteVector &frame, Tag before, Tag after)
    {
        if (before && after)
            return with_control(frame, *after);
        if (after)
            return with_tag(frame, *after);
        return before ? without_tag(frame) : frame;
    }

    static void expect_engine_packet(const Family &family, const ByteVector &frame, Tag tag, uint32_t vlan)
    {
        const std::size_t header = tag ? 18 : 14;
        ASSERT_EQ(platform().engine_packets.size(), 1u);
        const EnginePacket &packet = platform().engine_packets[0];
        EXPECT_EQ(packet.mld, family.mld);
        EXPECT_EQ(packet.port, kUser);
        EXPECT_EQ(packet.vlan, vlan);
        // The lengths that the packets themselves give: of the whole for IPv4, of what follows the header for IPv6.
        const std::size_t length_field = header + (family.mld ? 4 : 2);
        EXPECT_EQ(packet.length, frame[length_field] * 256u + frame[length_field + 1] + (family.mld ? 40u : 0u));
    }

    static void expect_report_forwarded(const Family &family, Tag in, Tag out, uint32_t vlan)
    {
        const ByteVector frame = tagged(family.from_user(), in);

        EXPECT_THAT(sent_for(frame, kUser), ElementsAre(SentFrame{retagged(frame, in, out), kUplink, kUser, vlan}));

        expect_engine_packet(family, frame, in, vlan);
    }

    static void expect_query_forwarded(const Family &family, Tag in, Tag out, uint32_t vlan)
    {
        const ByteVector frame = tagged(family.from_network(), in);
        ByteVector expected = retagged(frame, in, out);
        // intended: an MLD frame that loses its tag keeps its length, the last bytes come twice
        if (family.mld && !out)
            expected.insert(expected.end(), frame.end() - 4, frame.end());

        EXPECT_THAT(sent_for(frame, kUplink), ElementsAre(SentFrame{expected, kUser, kUplink, vlan}));

        EXPECT_THAT(platform().engine_packets, IsEmpty()) << "the engine hears nothing from the uplink";
        if (family.mld && out) { // MLD packets of the engine's own would take this tag
            const mldTagRecord left = {0x8100, static_cast<uint16_t>(*out & 0xFFF), static_cast<uint8_t>(*out >> 13)};
            EXPECT_EQ(mldInitParams.outerTag, left);
        }
    }

    static void expect_query_dropped(const Family &family, Tag in)
    {
        EXPECT_THAT(sent_for(tagged(family.from_network(), in), kUplink), IsEmpty());
        EXPECT_THAT(platform().engine_packets, IsEmpty());
    }

    /** Without a rule for it a report passes as it is, and a query does not pass. */
    static void expect_no_rule(const Family &family, const Entry &entry, uint32_t vlan)
    {
        expect_report_forwarded(family, entry.user_in, entry.user_in, vlan);
        expect_query_dropped(family, entry.network_in);
    }
};

class RulesToTags : public SnoopedFrames, public ::testing::WithParamInterface<Entry> {};

TEST_P(RulesToTags, a_rule_rewrites_the_tags_of_the_families_that_it_serves)
{
    GetParam().install();

    for (const Family &family : kFamilies) {
        SCOPED_TRACE(family.name);
        if (family.mld && !GetParam().serves_mld) {
            expect_no_rule(family, GetParam(), kStartDefaultVlan);
            continue;
        }
        expect_report_forwarded(family, GetParam().user_in, GetParam().network_out, 200);
        expect_query_forwarded(family, GetParam().network_in, GetParam().user_out, 200);
    }
}

TEST_P(RulesToTags, a_frame_that_no_rule_names_passes_to_the_network_only)
{
    GetParam().install();

    for (const Family &family : kFamilies) {
        SCOPED_TRACE(family.name);
        const bool served = !family.mld || GetParam().serves_mld;
        expect_report_forwarded(family, 0x6190, 0x6190, served ? 200 : kStartDefaultVlan);
    }
}

TEST_P(RulesToTags, once_it_is_removed_frames_pass_as_without_rules)
{
    GetParam().install();
    GetParam().remove();

    const uint32_t left = setVlanCfgNumber[0] == 0 ? kStartDefaultVlan : 300;
    for (const Family &family : kFamilies) {
        SCOPED_TRACE(family.name);
        expect_no_rule(family, GetParam(), family.mld ? kStartDefaultVlan : left);
    }
}

TEST_P(RulesToTags, installed_again_it_serves_again)
{
    GetParam().install();
    GetParam().remove();
    GetParam().install();

    expect_report_forwarded(kFamilies[0], GetParam().user_in, GetParam().network_out, 200);
    expect_query_forwarded(kFamilies[0], GetParam().network_in, GetParam().user_out, 200);
}

INSTANTIATE_TEST_SUITE_P(Entries, RulesToTags, ::testing::ValuesIn(kEntries),
                         [](const auto &test) { return std::string(test.param.name); });

TEST_F(SnoopedFrames, a_query_that_no_rule_names_goes_by_the_downstream_mode_of_the_first_rule)
{
    enum class Fate { kAsItIs, kStripped, kDropped };
    const Fate by_mode[] = {Fate::kAsItIs, Fate::kStripped, Fate::kDropped, Fate::kAsItIs, Fate::kDropped};

    for (uint8_t mode = 0; mode <= 4; ++mode) {
        SetUp();
        install(rule(kUser).modes(2, mode, 2).up(100, 200).down(200, 100).data(200, 100));
        install(rule(kUser).modes(2, 2, 2).up(101, 201).down(201, 101).data(201, 101));
        for (const Family &family : kFamilies) {
            SCOPED_TRACE(std::string(family.name) + " mode " + std::to_string(mode));
            const ByteVector frame = tagged(family.from_network(), 0x6190);
            std::vector<SentFrame> expected;
            const ByteVector passed = by_mode[mode] == Fate::kStripped ? without_tag(frame) : frame;
            if (by_mode[mode] != Fate::kDropped)
                expected = {{passed, kUser, kUplink, kStartDefaultVlan}}; // the uplink has no rules of its own

            EXPECT_EQ(sent_for(frame, kUplink), expected);
        }
    }
}

TEST_F(SnoopedFrames, of_two_tags_the_inner_names_the_rule_and_the_outer_is_rewritten)
{
    install(translation());
    for (const Family &family : kFamilies) {
        SCOPED_TRACE(family.name);
        const ByteVector frame = family.from_user().tag(0x6190).tag(kUserTag).pad_to(80);

        EXPECT_THAT(sent_for(frame, kUser), ElementsAre(SentFrame{with_control(frame, 0x60C8), kUplink, kUser, 200}));
    }
}

TEST_F(SnoopedFrames, each_of_several_rules_serves_its_own_vlan)
{
    install(translation());
    install(rule(kUser).modes(2).up(101, 201).down(201, 101).data(201, 101));
    install(rule(kUser).modes(1).out_up(202).down(202, 102).data(202, 102));

    for (const Family &family : kFamilies) {
        SCOPED_TRACE(family.name);
        expect_report_forwarded(family, kUserTag, 0x60C8, 200);
        expect_report_forwarded(family, 101, 201, 201);
        expect_report_forwarded(family, {}, 202, 202);
        expect_query_forwarded(family, kNetworkTag, 0x4064, 200);
        expect_query_forwarded(family, 201, 101, 201);
        expect_query_forwarded(family, 202, {}, 202);
    }
}

TEST_F(SnoopedFrames, when_one_of_several_rules_goes_the_others_still_serve)
{
    install(translation());
    install(rule(kUser).modes(2).up(101, 201).down(201, 101).data(201, 101));
    remove(translation());

    for (const Family &family : kFamilies) {
        SCOPED_TRACE(family.name);
        expect_report_forwarded(family, kUserTag, kUserTag, 201);
        expect_report_forwarded(family, 101, 201, 201);
        expect_query_dropped(family, kNetworkTag);
        expect_query_forwarded(family, 201, 101, 201);
    }
}

TEST_F(SnoopedFrames, a_query_goes_out_once_for_every_rule_of_its_vlan)
{
    install(rule(kUser).modes(2).up(100, 200).down(200, 100).data(200, 100));
    install(rule(kUser).modes(2).up(101, 200).down(200, 0x2065).data(200, 101));

    for (const Family &family : kFamilies) {
        SCOPED_TRACE(family.name);
        const ByteVector frame = tagged(family.from_network(), kNetworkTag);

        EXPECT_THAT(sent_for(frame, kUplink), ElementsAre(SentFrame{with_control(frame, 100), kUser, kUplink, 200},
                                                          SentFrame{with_control(frame, 0x2065), kUser, kUplink, 200}));
    }
}

TEST_F(SnoopedFrames, an_mld_report_takes_the_tag_of_the_igmp_rule_at_its_place)
{
    // intended: the MLD rules name the frame, the IGMP rules the tag; the pages change only the latter
    install(translation());
    vlanCfgNode page = rule(kUser).down_mode(2).down(300, 100).data_mode(2).data(300, 100);
    std_omci_web_set_vlan(&page);

    expect_report_forwarded(kFamilies[1], kUserTag, 300, 200);
    expect_query_forwarded(kFamilies[1], kNetworkTag, 0x4064, 200);
}

TEST_F(SnoopedFrames, a_full_reset_takes_the_igmp_rules_and_leaves_the_mld_rules)
{
    install(translation());
    omci_clear_igmp_all_parmeter();
    std::free(mc_status_global);
    mc_status_global = &status_block;

    expect_no_rule(kFamilies[0], kEntries[0], kStartDefaultVlan);
    expect_query_forwarded(kFamilies[1], kNetworkTag, 0x4064, 200);
}

} // namespace
} // namespace mcadapt::test
