// The port check of the four handlers: which ports are refused, and in which words.
#include "mode_handlers.h"

namespace mcadapt::test {
namespace {

using ::testing::IsEmpty;

struct PortHandler {
    const char *name;
    Handler handler;
    bool mld;
    std::string entered; // start of the entry line
    bool refused_twice;  // the lines of a port above 29, and of a state that is no user port's or uplink's
    bool unknown_is_error;
};

class HandlerPorts : public ModeHandlerTest, public ::testing::WithParamInterface<PortHandler> {
protected:
    static bool mld() { return GetParam().mld; }
    static Line trace(const std::string &text) { return mld() ? mld_trace(text) : igmp_trace(text); }
    static Line error(const std::string &text) { return mld() ? mld_error(text) : igmp_error(text); }

    static void put_own_ports(const portStateNode &first, const portStateNode &second)
    {
        (mld() ? put_mld_ports : put_igmp_ports)(first, second);
    }

    static void put_ports_of_the_other_side(const portStateNode &first, const portStateNode &second)
    {
        (mld() ? put_igmp_ports : put_mld_ports)(first, second);
    }

    static Line entered(const std::string &port, const std::string &state)
    {
        return trace(GetParam().entered + ", rPort = " + port + ", rport_sta = " + state + "\r\n");
    }

    static void add_once_or_twice(std::vector<Line> &lines, const Line &line)
    {
        lines.push_back(line);
        if (GetParam().refused_twice)
            lines.push_back(line);
    }

    /** Expects a refusal in these lines; `found` stand before the entry line. */
    static void expect_refused(uint32_t port, std::vector<Line> found, const std::string &printed_port,
                               const std::string &state)
    {
        SCOPED_TRACE("port " + printed_port + " state " + state);
        std::vector<Line> lines = std::move(found);
        lines.push_back(entered(printed_port, state));
        add_once_or_twice(lines, error("invalid port !!\r\n"));
        expect_lines(mld() ? mld_debug : mc_debug, lines, [port] {
            const ByteVector frame = igmp_report("225.1.2.3").vlan(100);
            auto seen = handle(GetParam().handler, frame, port, 100);
            EXPECT_THAT(seen.calls, IsEmpty());
            EXPECT_THAT(seen.changed, IsEmpty());
            EXPECT_EQ(seen.frame, frame);
            return seen;
        });
    }

    /** How often the handler sends a frame that came from this port. */
    static std::size_t sends_from(uint32_t port)
    {
        return handle(GetParam().handler, igmp_report("225.1.2.3").vlan(100), port, 100).calls.size();
    }
};

TEST_P(HandlerPorts, a_port_above_29_is_refused_though_it_is_configured)
{
    put_rules(0, {rule(0).up(100, 5).down(100, 5)});
    put_mld_rules(0, {rule(0).up(100, 5).down(100, 5)});
    put_ports({30, MC_PORT_TYPE_USER}, {31, MC_PORT_TYPE_UPLINK});
    struct {
        uint32_t port;
        const char *printed;
    } const cases[] = {{30, "30"}, {31, "31"}, {256, "256"}, {0x10000, "65536"}, {0xFFFFFFFF, "-1"}};
    for (const auto &c : cases) {
        std::vector<Line> refused;
        add_once_or_twice(refused, error("\n port(" + std::string(c.printed) + ") is invalid!"));
        expect_refused(c.port, refused, c.printed, "-1");
    }
}

TEST_P(HandlerPorts, a_port_that_is_not_in_the_own_table_is_refused)
{
    put_ports_of_the_other_side({7, MC_PORT_TYPE_USER}, {8, MC_PORT_TYPE_UPLINK});
    put_own_ports({kUserPort, MC_PORT_TYPE_USER}, {kUplink, MC_PORT_TYPE_UPLINK});
    for (const std::string port : {"7", "8", "28"}) {
        const std::string text = "\n [checkPortState]port(" + port + ") is not find!";
        std::vector<Line> refused = {trace(text)};
        if (GetParam().unknown_is_error)
            refused.push_back(error(text));
        expect_refused(static_cast<uint32_t>(std::stoul(port)), refused, port, "-1");
    }
}

TEST_P(HandlerPorts, a_port_that_is_neither_uplink_nor_user_port_is_refused)
{
    struct {
        uint32_t type;
        const char *printed;
    } const cases[] = {{0, "0"}, {3, "3"}, {257, "257"}, {0x10002, "65538"}, {0xFFFFFFFF, "-1"}};
    put_ports_of_the_other_side({kUserPort, MC_PORT_TYPE_USER}, {kUplink, MC_PORT_TYPE_UPLINK});
    for (const auto &c : cases) {
        put_own_ports({kUserPort, c.type}, {kUplink, c.type});
        expect_refused(kUserPort, {}, "0", c.printed);
        expect_refused(kUplink, {}, "29", c.printed);
    }
}

TEST_P(HandlerPorts, the_first_entry_of_a_port_decides)
{
    put_own_ports({7, 0}, {7, MC_PORT_TYPE_USER});
    expect_refused(7, {}, "7", "0");
    put_own_ports({7, MC_PORT_TYPE_USER}, {7, 0});
    EXPECT_GT(sends_from(7), 0u);
}

TEST_P(HandlerPorts, both_entries_are_looked_up)
{
    put_own_ports({kUplink, MC_PORT_TYPE_UPLINK}, {7, MC_PORT_TYPE_USER});
    EXPECT_GT(sends_from(7), 0u);
    put_own_ports({7, MC_PORT_TYPE_USER}, {kUplink, MC_PORT_TYPE_UPLINK});
    EXPECT_GT(sends_from(7), 0u);
}

INSTANTIATE_TEST_SUITE_P(
    , HandlerPorts,
    ::testing::Values(
        PortHandler{"igmp_snooping", igmp_adapt_snoop_handle, false, "Enter igmp_snoop_handle", true, true},
        PortHandler{"mld_snooping", mld_adapt_snoop_handle, true, "Enter mld_snoop_handle", false, false},
        PortHandler{"igmp_control", igmp_adapt_control_handle, false, "Enter igmp_control_handle", false, false},
        // intended: the MLD control handler calls itself by the IGMP name
        PortHandler{"mld_control", mld_adapt_control_handle, true, "Enter igmp_control_handle", false, false}),
    [](const auto &row) { return std::string(row.param.name); });

} // namespace
} // namespace mcadapt::test
