// What a packet on its way out leaves in the log: the same lines for both families, but for the class of the one with
// which the search begins.
#include "mode_handlers.h"
#include "transmit_side.h"

namespace mcadapt::test {
namespace {

using ::testing::HasSubstr;

Line search_line(IgmpSide, const std::string &vlan)
{
    return igmp_config("searchSendPktPortCfgVlan ,vlan(" + vlan + ")");
}
Line search_line(MldSide, const std::string &vlan) // intended: a trace
{
    return mld_trace("searchSendPktPortCfgVlan ,vlan(" + vlan + ")");
}

template <class Side> class SendPacketLines : public TransmitTest<Side> {
protected:
    static constexpr uint32_t kClasses = MC_DEBUG_TRACE | MC_DEBUG_ERROR | MC_DEBUG_CONFIG;

    static Line trace(const std::string &text) { return {MC_DEBUG_TRACE, Side::kTrace + text}; }
    static Line error(const std::string &text) { return {MC_DEBUG_ERROR, Side::kError + text}; }

    /** VLAN 100 to a port that is in no table. */
    static std::vector<Line> lines_of_unknown_port()
    {
        return {
            trace("The port no is (12)\r\n"),
            trace("\n [checkPortState]port(12) is not find!"),
            trace("checkPortState 12"),
            search_line(Side{}, "100"),
            error("\n [checkPortState]port(12) is not find!"),
            error("port number is invalid!\r\n"),
            trace("[send_pkt_igmp]: searchSendPktPortCfgVlan num 0\r\n"), // intended: for MLD too
            {MC_DEBUG_TRACE, SendPacketLines::sent_line(12, 82)},
        };
    }
};
TYPED_TEST_SUITE(SendPacketLines, TransmitSides, SideName);

TYPED_TEST(SendPacketLines, a_packet_sent_by_two_rules_is_logged_step_by_step)
{
    this->put_two_matching_rules();
    this->log_own(this->kClasses);

    const auto seen = this->send(0);

    const std::string before = output_under(
        this->kClasses,
        {
            this->trace("The port no is (0)\r\n"), this->trace("checkPortState 0"), search_line(TypeParam{}, "100"),
            this->trace("searchSendPktPortCfgVlan from downlink,vlan(100) config search!,cfgvlan(10)\r\n"),
            this->trace("searchSendPktPortCfgVlan from downlink,vlan(100) config search!,cfgvlan(21)\r\n"),
            this->trace("[send_pkt_igmp]: searchSendPktPortCfgVlan num 2\r\n"), // intended: for MLD too
        });
    EXPECT_EQ(seen.trace, before + this->sent_line(0, 82) + in_trace(this->sent(this->rule_frame({0xA0C8}), 0)) +
                              this->sent_line(0, 88) + in_trace(this->sent(this->rule_frame({0xA0C8, 0xA0D2}), 0)));
}

TYPED_TEST(SendPacketLines, an_unknown_port_is_logged_twice_and_sent_to)
{
    this->log_own(this->kClasses);

    const auto seen = this->send(12);

    EXPECT_EQ(seen.trace, output_under(this->kClasses, this->lines_of_unknown_port()) +
                              in_trace(this->sent(this->single_frame(0xA064), 12)));
}

TYPED_TEST(SendPacketLines, every_line_has_its_own_bit)
{
    for (const uint32_t bit : {0x01u, 0x02u, 0x04u, 0x10u, 0x20u, 0x40u}) {
        SCOPED_TRACE(bit);
        this->log_own(bit);
        EXPECT_EQ(this->send(12).output, output_under(bit, this->lines_of_unknown_port()));
    }
}

TYPED_TEST(SendPacketLines, vlans_are_printed_as_unsigned_16_bit_values)
{
    TypeParam::put_rule_row(0, {rule(0).in_up(65535).in_data(1)});
    TypeParam::put_tag(0x8100, 65534, 0);
    this->log_own(MC_DEBUG_TRACE | MC_DEBUG_CONFIG);
    const std::string lines = output_under(
        this->kClasses,
        {search_line(TypeParam{}, "65534"),
         this->trace("searchSendPktPortCfgVlan from downlink,vlan(65534) config search!,cfgvlan(65535)\r\n")});
    EXPECT_THAT(this->send(0).output, HasSubstr(lines));
}

} // namespace
} // namespace mcadapt::test
