#include <sys/shm.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "platform/protocol_engine.h"
#include "platform/switch_driver.h"
#include "platform/unit_services.h"
#include "support/frames.h"
#include "support/library_test.h"
#include "support/matchers.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Recording : public LibraryTest {};

TEST_F(Recording, calls_read_as_they_are_written)
{
    const MacAddress address = mac("01:00:5e:01:02:03");
    const ByteVector frame = from_hex("01 00 5e ab");
    const uint32_t words[] = {1, 2, 3, 4, 0xFFFFFFFF};
    uint32_t task_id = 0;
    const auto seen = observe([&] {
        igmp_vlan_add(100);
        igmp_if_max_group_num_set(0, -1);
        igmp_vlan_add(0xFFFFFFFF);
        L2_multicast_set_port_iptv_entry(-1, address.data(), 100);
        L2_multicast_send_msg(frame.data(), 29, 4, 0, 4088);
        igmp_register_switch_send_pkt(send_pkt_igmp);
        mld_register_switch_del_table(mld_del_grp);
        igmp_register_switch_add_table(nullptr);
        igmp_ssm_map_change(words);
        pal_task_create(&task_id, "tMCPktRecv", 11, 0, 51200, igmp_adapt_pkt_recv_task);
        igmp_if_add_auth_group_cfg(0, 4, 5, 0, 65535);
        sleep(1);
    });
    EXPECT_THAT(seen.calls,
                ElementsAre("igmp_vlan_add(100)", "igmp_if_max_group_num_set(0, -1)", "igmp_vlan_add(4294967295)",
                            "L2_multicast_set_port_iptv_entry(-1, 01:00:5e:01:02:03, 100)",
                            "L2_multicast_send_msg(01005eab, 29, 4, 0, 4088)",
                            "igmp_register_switch_send_pkt(send_pkt_igmp)",
                            "mld_register_switch_del_table(mld_del_grp)", "igmp_register_switch_add_table(null)",
                            "igmp_ssm_map_change([1, 2, 3, 4, 4294967295])",
                            "pal_task_create(0, \"tMCPktRecv\", 11, 0, 51200, igmp_adapt_pkt_recv_task)",
                            "igmp_if_add_auth_group_cfg(0, 4, 5, 0, 65535)", "sleep(1)"));
    ASSERT_EQ(platform().sent.size(), 1u);
    EXPECT_EQ(platform().sent[0].bytes, frame);
    EXPECT_EQ(platform().sent[0].ponVlan, 4088u);
}

TEST_F(Recording, packets_are_written_by_their_start_and_kept_by_their_place)
{
    FrameBuffer buffer(mld_report("ff1e::1"));
    uint16_t scratch = 0x3333 + 12;
    const auto seen = observe([&] { return mld_pkt_recv(buffer.data() + 14, 65575, 0, 100, &scratch); });
    EXPECT_THAT(seen.calls, ElementsAre("mld_pkt_recv(6000000000200001, 65575, 0, 100, 13119)"));
    ASSERT_EQ(platform().engine_packets.size(), 1u);
    EXPECT_EQ(buffer.offset_of(platform().engine_packets[0].start), 14);
    EXPECT_TRUE(platform().engine_packets[0].mld);
}

class Scripting : public LibraryTest {};

TEST_F(Scripting, results_come_in_turn_and_the_last_one_repeats)
{
    EXPECT_EQ(igmp_vlan_add(1), 0);
    platform().answers("igmp_vlan_add", {0, 1, 5});
    EXPECT_EQ(igmp_vlan_add(1), 0);
    EXPECT_EQ(igmp_vlan_add(1), 1);
    EXPECT_EQ(igmp_vlan_add(1), 5);
    EXPECT_EQ(igmp_vlan_add(1), 5);
    EXPECT_EQ(igmp_vlan_del(1), 0);
    EXPECT_EQ(platform().count("igmp_vlan_add"), 5u);
}

TEST_F(Scripting, a_name_that_is_no_platform_call_is_refused)
{
    EXPECT_ANY_THROW(platform().answer("igmp_vlan_ad", 1));
    EXPECT_ANY_THROW(platform().on("igmp_vlan_ad", [] {}));
    EXPECT_ANY_THROW(static_cast<void>(platform().count("igmp_vlan_ad")));
}

TEST_F(Scripting, an_action_runs_inside_the_call_once_it_is_recorded)
{
    platform().on("igmp_vlan_add", [] { igmp_vlan_del(7); });
    const auto seen = observe([] { return igmp_vlan_add(100); });
    EXPECT_THAT(seen.calls, ElementsAre("igmp_vlan_add(100)", "igmp_vlan_del(7)"));
}

TEST_F(Scripting, an_action_may_still_change_what_its_call_tells)
{
    uint8_t onu_id = 9;
    uint32_t counters[4] = {};
    platform().on("vx_ploam_onuid_get", [] { platform().onu_id = 0; });
    platform().on("igmp_if_gather_if_status", [] { platform().gathered_counters = {1, 2, 3, 4}; });
    vx_ploam_onuid_get(&onu_id);
    EXPECT_EQ(onu_id, 0);
    EXPECT_EQ(igmp_if_gather_if_status(0, sizeof counters, counters), 16);
    EXPECT_THAT(counters, ElementsAre(1u, 2u, 3u, 4u));
    platform().answer("igmp_if_gather_if_status", -1);
    EXPECT_EQ(igmp_if_gather_if_status(0, sizeof counters, counters), -1);
}

TEST_F(Scripting, frames_are_delivered_in_order_until_none_is_left)
{
    uint8_t frame[2048] = {};
    uint8_t port = 0;
    uint32_t length = 0;
    platform().deliver({1, 2, 3}, 29);
    platform().deliver({4}, 0, 2001);
    EXPECT_EQ(L2_multicast_read_msg(frame, &port, &length), 0);
    EXPECT_EQ(hex(frame, 3), "010203");
    EXPECT_EQ(port, 29);
    EXPECT_EQ(length, 3u);
    EXPECT_EQ(L2_multicast_read_msg(frame, &port, &length), 0);
    EXPECT_EQ(hex(frame, 3), "040203");
    EXPECT_EQ(length, 2001u);
    EXPECT_NE(L2_multicast_read_msg(frame, &port, &length), 0);
}

TEST_F(Scripting, groups_are_gathered_as_packed_records)
{
    uint8_t buffer[12804] = {};
    EXPECT_EQ(igmp_gather_grp_info(255, sizeof buffer, buffer), 0);
    platform().gather({{1, 2, 3, 4, 5, 6, 7, 8}}, 600);
    EXPECT_GT(igmp_gather_grp_info(255, sizeof buffer, buffer), 0);
    uint32_t count = 0;
    std::memcpy(&count, buffer, 4);
    EXPECT_EQ(count, 600u);
    EXPECT_EQ(buffer[4 + 24], 8);
    EXPECT_EQ(hex(platform().gather_buffer), std::string(2 * sizeof buffer, '0'));
}

TEST_F(Scripting, the_status_segment_is_there_until_told_otherwise)
{
    const auto seen = observe([] { return shmat(shmget(82, sizeof(grp_info), 0x200), nullptr, 0); });
    EXPECT_EQ(seen.result, &platform().segment);
    EXPECT_THAT(seen.calls, ElementsAre("shmget(82, 14392, 512)", "shmat(5, 0, 0)"));
    platform().answer("shmget", -1);
    EXPECT_EQ(shmget(82, sizeof(grp_info), 0x200), -1);
    platform().answer("shmat", -1);
    EXPECT_EQ(reinterpret_cast<intptr_t>(shmat(5, nullptr, 0)), -1);
}

TEST_F(Scripting, real_shared_memory_comes_from_libc)
{
    platform().use_real_shared_memory();
    const int id = shmget(IPC_PRIVATE, 4096, 0600);
    ASSERT_NE(id, -1);
    void *segment = shmat(id, nullptr, 0);
    shmctl(id, IPC_RMID, nullptr);
    ASSERT_NE(reinterpret_cast<intptr_t>(segment), -1);
    EXPECT_NE(segment, &platform().segment);
    EXPECT_EQ(*static_cast<unsigned char *>(segment), 0);
    shmdt(segment);
}

TEST_F(Scripting, an_allocation_fails_once)
{
    platform().fail_next_calloc();
    void *volatile first = std::calloc(1, 16);
    void *volatile second = std::calloc(1, 16);
    EXPECT_EQ(first, nullptr);
    EXPECT_NE(second, nullptr);
    std::free(second);
}

TEST_F(Scripting, an_allocation_of_the_library_fails_too)
{
    platform().fail_next_calloc();
    initIgmpGlobleParmeter();
    EXPECT_EQ(mc_status_global, nullptr);
}

TEST_F(Scripting, an_endless_operation_is_left_inside_its_nth_call)
{
    bool left = false;
    const auto seen = observe([&] {
        left = run_until("igmp_vlan_add", 3, [] {
            for (uint32_t vlan = 1;; ++vlan)
                igmp_vlan_add(vlan);
        });
    });
    EXPECT_TRUE(left);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_vlan_add(1)", "igmp_vlan_add(2)", "igmp_vlan_add(3)"));
    EXPECT_FALSE(run_until("igmp_vlan_add", 1, [] {}));
    EXPECT_EQ(igmp_vlan_add(4), 0) << "the exit stays armed no longer than its operation";
}

TEST_F(Scripting, the_receive_task_is_left_once_every_frame_is_read)
{
    platform().deliver(igmp_report("225.1.2.3").from("00:00:00:00:00:00"), 0);
    platform().answers("L2_multicast_read_msg", {1, 0});
    EXPECT_TRUE(run_receive_task());
    EXPECT_EQ(platform().count("sleep"), 2u);
    EXPECT_FALSE(platform().frames_left());
}

class Observing : public LibraryTest {};

TEST_F(Observing, only_the_operation_itself_is_seen)
{
    igmp_vlan_add(1);
    const auto seen = observe([] {
        std::printf("one ");
        igmp_vlan_add(2);
        std::puts("two");
        setVlanNumber = 3;
        return 7;
    });
    igmp_vlan_add(3);
    EXPECT_EQ(seen.result, 7);
    EXPECT_EQ(seen.output, "one two\n");
    EXPECT_THAT(seen.calls, ElementsAre("igmp_vlan_add(2)"));
    EXPECT_EQ(seen.trace, "one <igmp_vlan_add(2)>\ntwo\n");
    EXPECT_THAT(seen.changed, ElementsAre("setVlanNumber"));
    EXPECT_EQ(platform().calls().size(), 3u);
}

TEST_F(Observing, the_inner_of_two_watches_takes_the_output_and_both_see_the_call)
{
    Observation inner;
    const auto outer = observe([&] {
        std::printf("a");
        inner = observe([] {
            std::printf("b");
            igmp_vlan_add(1);
        });
        std::printf("c");
    });
    EXPECT_EQ(outer.output, "ac");
    EXPECT_EQ(inner.output, "b");
    EXPECT_EQ(outer.trace, "a<igmp_vlan_add(1)>\nc");
    EXPECT_THAT(inner.calls, ElementsAre("igmp_vlan_add(1)"));
}

TEST_F(Observing, a_failing_expectation_prints_beside_the_capture)
{
    const auto seen = observe([] {
        std::printf("before ");
        {
            const RealOutput real; // as the printer of failures does
            std::printf("beside the capture\n");
        }
        std::printf("after");
    });
    EXPECT_EQ(seen.output, "before after");
}

class Records : public LibraryTest {};

TEST_F(Records, changes_are_named_by_field)
{
    const auto before = RecordSnapshot::take();
    globle_parm.port[1].cvlan ^= 1;
    globle_parm.compile_date[3] = '!';
    mldInitParams.mldPortVlanCfg[1][2].in_data_vlan ^= 1;
    PortVlanCfg[0][15].ruleFlag ^= 1;
    mc_status_global->statusGroupLimit[1] = 9;
    sys_mac[5] ^= 1;
    const auto after = RecordSnapshot::take();
    EXPECT_THAT(changed_fields(before, after),
                ElementsAre("globle_parm.port[1].cvlan", "globle_parm.compile_date",
                            "mldInitParams.mldPortVlanCfg[1][2].in_data_vlan", "PortVlanCfg[0][15].ruleFlag",
                            "mc_status_global->statusGroupLimit[1]", "sys_mac"));
    EXPECT_THAT(changed_records(before, after),
                ElementsAre("globle_parm", "mldInitParams", "PortVlanCfg", "mc_status_global->", "sys_mac"));
    EXPECT_THAT(changed_fields(before, before), IsEmpty());
}

TEST_F(Records, every_field_is_watched)
{
    const struct {
        const char *name;
        void *record;
        std::size_t size;
        std::size_t fields; // counted in the declaration of the record
    } cases[] = {
        {"globle_parm", &globle_parm, sizeof globle_parm, 50},
        {"mldInitParams", &mldInitParams, sizeof mldInitParams, 546},
        {"PortVlanCfg", PortVlanCfg, sizeof PortVlanCfg, 2 * 16 * 11},
        {"setVlanCfgNumber", setVlanCfgNumber, sizeof setVlanCfgNumber, 2},
        {"PortVlan", PortVlan, sizeof PortVlan, 16},
        {"setVlanNumber", &setVlanNumber, sizeof setVlanNumber, 1},
        {"portState", portState, sizeof portState, 4},
        {"g_static_list", g_static_list, sizeof g_static_list, 2 * 32 * 3},
        {"g_static_grp_num", g_static_grp_num, sizeof g_static_grp_num, 2},
        {"mc_status_global->", &status_block, sizeof status_block, 512 * 8 + 14},
        {"defaultVlan", &defaultVlan, sizeof defaultVlan, 1},
        {"testuplink", &testuplink, sizeof testuplink, 1},
        {"tablereturn", &tablereturn, sizeof tablereturn, 1},
        {"igmp_adapt", &igmp_adapt, sizeof igmp_adapt, 1},
        {"flag_omci_version", &flag_omci_version, sizeof flag_omci_version, 1},
        {"proxy_adapt_mode", &proxy_adapt_mode, sizeof proxy_adapt_mode, 1},
        {"srcPortNum", &srcPortNum, sizeof srcPortNum, 1},
        {"ponVlan", &ponVlan, sizeof ponVlan, 1},
        {"sys_mac", sys_mac, sizeof sys_mac, 1},
        {"mld_sys_mac", mld_sys_mac, sizeof mld_sys_mac, 1},
        {"mc_debug", &mc_debug, sizeof mc_debug, 1},
        {"mld_debug", &mld_debug, sizeof mld_debug, 1},
        {"gSemIgmpv3", &gSemIgmpv3, sizeof gSemIgmpv3, 1},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.name);
        LibraryTest::SetUp();
        const auto before = RecordSnapshot::take();
        auto *bytes = static_cast<unsigned char *>(one.record);
        for (std::size_t i = 0; i < one.size; ++i)
            bytes[i] ^= 0x55;
        const auto changed = changed_fields(before, RecordSnapshot::take());
        EXPECT_EQ(changed.size(), one.fields);
        EXPECT_THAT(records_of(changed), ElementsAre(one.name));
    }
}

TEST_F(Records, the_load_image_comes_back)
{
    const auto before = RecordSnapshot::take();
    testuplink = 3;
    put_rules(1, {rule(29).data(100, 100)});
    mc_status_global = nullptr;
    EXPECT_FALSE(changed_fields(before, RecordSnapshot::take()).empty());
    LibraryTest::SetUp();
    EXPECT_THAT(changed_fields(before, RecordSnapshot::take()), IsEmpty());
}

TEST(Rules, are_built_by_name_and_compared_by_field)
{
    const vlanCfgNode built = rule(0).modes(2).up(100, 200).down(200, 100).data(300, 301);
    EXPECT_EQ(built, rule(0, 2, 100, 200, 2, 200, 100, 2, 300, 301));
    EXPECT_THAT(empty_rule(), IsEmptyRule());
    vlanCfgNode flagged = built;
    flagged.ruleFlag = 1;
    EXPECT_FALSE(flagged == built);
    EXPECT_THAT(::testing::PrintToString(empty_rule()), HasSubstr("in_data_vlan 65535 (0xffff)"));
}

TEST(Frames, are_laid_out_as_on_the_wire)
{
    EXPECT_EQ(hex(igmp_report("225.1.2.3")), "01005e010203001b21aabbcc0800"
                                             "46c00020000040000102f70a0a000009e101020394040000"
                                             "160006fbe1010203");
    EXPECT_EQ(hex(igmp_report("225.1.2.3").vlan(100, 3)).substr(24, 12), "810060640800");
    EXPECT_EQ(hex(igmp_report("225.1.2.3").tag(0x6064).tag(0x65)).substr(24, 20), "81006064810000650800");
    EXPECT_EQ(hex(igmp_query().pppoe(0x0021)).substr(24, 20), "88641100000100220021");
    EXPECT_EQ(hex(igmp_query().pppoe_in_tag()).substr(24, 20), "81008864110000010800");
    EXPECT_EQ(hex(mld_query("ff1e::1")).substr(0, 28), "333300000001001b21aabbcc86dd");
    EXPECT_EQ(igmp_report("225.1.2.3").tag(1).packet_offset(), 18u);
    EXPECT_EQ(igmp_report("225.1.2.3").pppoe().packet_offset(), 22u);
    EXPECT_EQ(igmp_report("225.1.2.3").pppoe_in_tag().packet_offset(), 22u);
    EXPECT_EQ(igmp_report("225.1.2.3").pad_to(64).bytes().size(), 64u);
    EXPECT_EQ(igmp_report("225.1.2.3").cut_to(13).bytes().size(), 13u);
}

TEST(Frames, tags_are_put_in_changed_and_taken_out)
{
    const ByteVector plain = igmp_leave("225.1.2.3");
    EXPECT_EQ(with_tag(plain, 0x6064), igmp_leave("225.1.2.3").tag(0x6064).bytes());
    EXPECT_EQ(with_control(with_tag(plain, 0x6064), 5), with_tag(plain, 5));
    EXPECT_EQ(without_tag(with_tag(plain, 0x6064)), plain);
}

class FreshProcessDeathTest : public LibraryTest {};

TEST_F(FreshProcessDeathTest, has_not_read_the_clock)
{
    in_fresh_process([] {
        EXPECT_FALSE(engine_clock_was_read());
        FrameBuffer buffer(ByteVector(60, 0));
        igmpL2PktProc(buffer.data(), buffer.length(), 0);
        EXPECT_TRUE(engine_clock_was_read());
        EXPECT_EQ(platform().count("igmp_time_now"), 1u);
    });
    EXPECT_FALSE(engine_clock_was_read());
}

class PrimedIntakes : public IntakeTest {};

TEST_F(PrimedIntakes, do_not_read_the_clock_again)
{
    EXPECT_THAT(platform().calls(), IsEmpty());
    FrameBuffer buffer(igmp_report("225.1.2.3").from("00:00:00:00:00:00"));
    igmpL2PktProc(buffer.data(), buffer.length(), 0);
    mldL2PktProc(buffer.data(), buffer.length(), 0);
    EXPECT_EQ(platform().count("igmp_time_now"), 0u);
}

} // namespace
} // namespace mcadapt::test
