/** The EPON OAM agent's settings: fast leave of port 0 and the multicast-control buffer. */
#include "mgmt/management_test.h"
#include "support/guarded_buffer.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// --- Fast leave

class OamFastLeave : public LibraryTest {
protected:
    const std::string entry = "\r\n[MC_DBG_CFG]: [mc_oam_set_onu_fast_leave]: .\r\n";
    const std::string refusal = "\r\n[MC_DBG_ERR]: omci_set_port_igmp_leave_mode is error\r\n";
};

TEST_F(OamFastLeave, is_on_for_state_2_alone)
{
    struct Row {
        uint32_t state;
        uint16_t leavemod;
        const char *call;
    };
    for (const Row &row :
         {Row{2, 1, "igmp_if_fast_leave_enable(0, 1)"}, Row{0, 0, "igmp_if_fast_leave_enable(0, 0)"},
          Row{1, 0, "igmp_if_fast_leave_enable(0, 0)"}, Row{3, 0, "igmp_if_fast_leave_enable(0, 0)"},
          Row{0x102, 0, "igmp_if_fast_leave_enable(0, 0)"}, Row{0xFFFFFFFF, 0, "igmp_if_fast_leave_enable(0, 0)"}}) {
        SCOPED_TRACE(row.state);
        globle_parm.port[0].leavemod = 9;
        const auto seen = observe([&] { return mc_oam_set_onu_fast_leave(row.state); });
        EXPECT_EQ(seen.result, 0);
        EXPECT_THAT(seen.calls, ElementsAre(row.call));
        EXPECT_EQ(globle_parm.port[0].leavemod, row.leavemod);
        EXPECT_EQ(status_block.oamFastLeave, row.state);
    }
}

TEST_F(OamFastLeave, stores_the_state_as_the_agent_codes_it_before_the_engine_is_asked)
{
    std::vector<uint32_t> stored;
    platform().on("igmp_if_fast_leave_enable", [&] {
        stored = {status_block.oamFastLeave, globle_parm.port[0].leavemod};
    });
    const auto seen = observe([] { return mc_oam_set_onu_fast_leave(2); });
    EXPECT_THAT(stored, ElementsAre(2, 1));
    EXPECT_THAT(seen.changed, ElementsAre("globle_parm.port[0].leavemod", "mc_status_global->oamFastLeave"));
}

TEST_F(OamFastLeave, is_a_success_also_when_the_engine_refuses)
{
    errors_logged();
    for (const EngineCode &code : kEngineCodes) {
        SCOPED_TRACE(code.code);
        platform().answer("igmp_if_fast_leave_enable", code.code);
        const auto seen = observe([] { return mc_oam_set_onu_fast_leave(2); });
        EXPECT_EQ(seen.result, 0); // intended
        EXPECT_EQ(seen.output,
                  code.byte == 0 ? "" : "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_fast_leave_enable Fail" + refusal);
        EXPECT_EQ(status_block.oamFastLeave, 2u);
    }
}

TEST_F(OamFastLeave, is_always_that_of_port_0_even_when_there_is_none)
{
    errors_logged();
    portState[0].portNo = 5;
    const auto seen = observe([] { return mc_oam_set_onu_fast_leave(2); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.output, not_configured(0).lines() + refusal);
    EXPECT_THAT(seen.calls, IsEmpty());
    EXPECT_THAT(seen.changed, ElementsAre("mc_status_global->oamFastLeave"));
}

TEST_F(OamFastLeave, prints_its_entry_and_its_refusal_around_the_ports_own)
{
    platform().answer("igmp_if_fast_leave_enable", 5);
    expect_texts({config(entry), config("\r\n[MC_DBG_CFG]: omci_set_port_igmp_leave_mode  port=0 leave mode = 1\n"),
                  error("\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_fast_leave_enable Fail"), error(refusal)},
                 [] { mc_oam_set_onu_fast_leave(2); });
}

TEST_F(OamFastLeave, has_all_six_abilities)
{
    uint32_t out = 0xFFFFFFFF;
    const auto seen = observe([&] { return mc_oam_get_onu_fast_leave_ability(&out); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(out, 63u);
    EXPECT_THAT(seen.calls, IsEmpty());
    EXPECT_THAT(seen.changed, IsEmpty());
    expect_texts({config("\r\n[MC_DBG_CFG]: [mc_oam_get_onu_fast_leave_ability]: .\r\n")},
                 [&] { mc_oam_get_onu_fast_leave_ability(&out); });
}

// --- The multicast-control buffer

struct ControlEntry {
    uint16_t port; // counted from 1
    uint16_t vlan;
    MacAddress address;
};

/** The buffer of an agent, with the count that it claims. */
ByteVector control_buffer(uint8_t type, uint8_t count, const std::vector<ControlEntry> &entries)
{
    ByteVector bytes = {type, count};
    const auto append = [&bytes](const auto &value) {
        const auto *raw = reinterpret_cast<const uint8_t *>(&value);
        bytes.insert(bytes.end(), raw, raw + sizeof value);
    };
    for (const ControlEntry &entry : entries) {
        append(entry.port);
        append(entry.vlan);
        append(entry.address);
    }
    return bytes;
}

class OamControl : public LibraryTest {
protected:
    const MacAddress first_group = mac("01:00:5e:01:02:03");
    const MacAddress second_group = mac("ff:fe:fd:fc:fb:fa");
    const std::string refusal = "\r\n[MC_DBG_ERR]: \n ERROR!MC_OAM_SET_CONTROL_2 Fail";

    /** The operation on a buffer behind which nothing can be read. */
    static Observed<int32_t> control(uint32_t action, const ByteVector &bytes)
    {
        GuardedBuffer buffer(bytes);
        return observe([&] { return mc_oam_set_multicast_control(action, 0, buffer.data()); });
    }
};

TEST_F(OamControl, hands_each_entry_over_in_order_with_ports_counted_from_0)
{
    const auto seen =
        control(1, control_buffer(1, 3, {{1, 100, first_group}, {30, 0xFFFF, second_group}, {0, 0, first_group}}));
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_oam_control_2(1, 0, 100, 01:00:5e:01:02:03)",
                                        "igmp_oam_control_2(1, 29, 65535, ff:fe:fd:fc:fb:fa)",
                                        "igmp_oam_control_2(1, 65535, 0, 01:00:5e:01:02:03)"));
    EXPECT_THAT(seen.changed, IsEmpty());
}

TEST_F(OamControl, reads_its_fields_in_host_order_at_any_address)
{
    const ByteVector bytes = control_buffer(1, 2, {{0x1235, 0x0FA0, first_group}, {2, 0x0102, second_group}});
    for (const std::size_t shift : {0u, 1u, 2u, 3u}) {
        SCOPED_TRACE(shift);
        ByteVector room(bytes.size() + 4);
        std::copy(bytes.begin(), bytes.end(), room.begin() + static_cast<std::ptrdiff_t>(shift));
        EXPECT_THAT(observe([&] { return mc_oam_set_multicast_control(0, 0, room.data() + shift); }).calls,
                    ElementsAre("igmp_oam_control_2(0, 4660, 4000, 01:00:5e:01:02:03)",
                                "igmp_oam_control_2(0, 1, 258, ff:fe:fd:fc:fb:fa)"));
    }
}

TEST_F(OamControl, reads_as_many_entries_as_its_count_says_whatever_the_length_says)
{
    for (const std::size_t count : {1u, 2u, 25u, 127u, 128u, 255u}) {
        SCOPED_TRACE(count);
        GuardedBuffer buffer(
            control_buffer(1, static_cast<uint8_t>(count), std::vector<ControlEntry>(count, {1, 100, first_group})));
        for (const uint32_t length : {0u, 2u, 0xFFFFFFFFu}) {
            platform().forget_calls();
            EXPECT_EQ(mc_oam_set_multicast_control(1, length, buffer.data()), 0);
            EXPECT_EQ(platform().count("igmp_oam_control_2"), count);
        }
    }
}

TEST_F(OamControl, without_entries_asks_nothing)
{
    platform().answer("igmp_oam_control_2", 5);
    const auto seen = control(1, {1, 0});
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, IsEmpty());
}

TEST_F(OamControl, refuses_every_type_but_1_by_its_first_byte)
{
    errors_logged();
    for (const uint8_t type : ByteVector{0, 2, 3, 0x81, 255}) {
        SCOPED_TRACE(type);
        const auto seen = control(1, {type});
        EXPECT_EQ(seen.result, -1);
        EXPECT_THAT(seen.calls, IsEmpty());
        EXPECT_EQ(seen.output, "");
    }
}

TEST_F(OamControl, refuses_action_2_without_a_look_at_the_buffer)
{
    const auto seen = observe([] { return mc_oam_set_multicast_control(2, 12, nullptr); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, IsEmpty());
    EXPECT_EQ(control(2, control_buffer(2, 1, {{1, 100, first_group}})).result, 0);
    EXPECT_THAT(control(2, control_buffer(1, 1, {{1, 100, first_group}})).calls, IsEmpty());
    expect_texts({config("\r\n[MC_DBG_CFG]: [mc_oam_set_multicast_control]: action 2, buf_len -1, .\r\n"),
                  error("\r\n[MC_DBG_ERR]: is impossible!\r\n")},
                 [] { mc_oam_set_multicast_control(2, 0xFFFFFFFF, nullptr); });
}

TEST_F(OamControl, hands_every_other_action_over_whole)
{
    const ByteVector bytes = control_buffer(1, 1, {{1, 100, first_group}});
    EXPECT_THAT(control(0, bytes).calls, ElementsAre("igmp_oam_control_2(0, 0, 100, 01:00:5e:01:02:03)"));
    EXPECT_THAT(control(3, bytes).calls, ElementsAre("igmp_oam_control_2(3, 0, 100, 01:00:5e:01:02:03)"));
    EXPECT_THAT(control(0x102, bytes).calls, ElementsAre("igmp_oam_control_2(258, 0, 100, 01:00:5e:01:02:03)"));
    EXPECT_THAT(control(0xFFFFFFFF, bytes).calls,
                ElementsAre("igmp_oam_control_2(4294967295, 0, 100, 01:00:5e:01:02:03)"));
}

TEST_F(OamControl, answers_with_the_last_code_whole_and_goes_on_after_a_refusal)
{
    struct Row {
        std::vector<int32_t> codes;
        int32_t result;
        int lines;
    };
    errors_logged();
    const ByteVector bytes = control_buffer(1, 3, std::vector<ControlEntry>(3, {1, 100, first_group}));
    for (const Row &row : {Row{{0, 0, 0}, 0, 0}, Row{{5, 6, 0}, 0, 2}, Row{{0, 0, 256}, 256, 1},
                           Row{{0, 7, 0x180}, 0x180, 2}, Row{{0, 0, -1}, -1, 1}}) {
        SCOPED_TRACE(row.result);
        platform().answers("igmp_oam_control_2", row.codes);
        const auto seen = control(1, bytes);
        EXPECT_EQ(seen.result, row.result);
        EXPECT_EQ(seen.calls.size(), 3u);
        std::string lines;
        for (int i = 0; i < row.lines; ++i)
            lines += refusal;
        EXPECT_EQ(seen.output, lines);
    }
}

TEST_F(OamControl, prints_its_arguments_each_entry_and_each_refusal)
{
    platform().answer("igmp_oam_control_2", 256);
    GuardedBuffer buffer(control_buffer(1, 2, {{0, 4095, first_group}, {65535, 65535, second_group}}));
    // intended: port 0 of the agent is printed as -1
    expect_texts({config("\r\n[MC_DBG_CFG]: [mc_oam_set_multicast_control]: action -1, buf_len 22, .\r\n"),
                  config("\r\n[MC_DBG_CFG]: MC_OAM_SET_CONTROL_2 port_no  = -1 vlan_id  = 4095\r\n"), error(refusal),
                  config("\r\n[MC_DBG_CFG]: MC_OAM_SET_CONTROL_2 port_no  = 65534 vlan_id  = 65535\r\n"),
                  error(refusal)},
                 [&] { mc_oam_set_multicast_control(0xFFFFFFFF, 22, buffer.data()); });
}

TEST_F(OamControl, prints_each_entry_before_its_call)
{
    everything_logged();
    platform().answer("igmp_oam_control_2", 5);
    EXPECT_EQ(control(1, control_buffer(1, 1, {{1, 100, first_group}})).trace,
              "\r\n[MC_DBG_CFG]: [mc_oam_set_multicast_control]: action 1, buf_len 0, .\r\n"
              "\r\n[MC_DBG_CFG]: MC_OAM_SET_CONTROL_2 port_no  = 0 vlan_id  = 100\r\n"
              "<igmp_oam_control_2(1, 0, 100, 01:00:5e:01:02:03)>\n"
              "\r\n[MC_DBG_ERR]: \n ERROR!MC_OAM_SET_CONTROL_2 Fail");
}

} // namespace
} // namespace mcadapt::test
