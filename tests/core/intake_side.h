/**
 * @file
 * The two intakes under one set of names, and a fixture for tests of one of them or of both.
 */
#ifndef MCADAPT_TESTS_CORE_INTAKE_SIDE_H
#define MCADAPT_TESTS_CORE_INTAKE_SIDE_H

#include <optional>

#include "intake_kit.h"

namespace mcadapt::test {

struct MldSide;

struct IgmpSide {
    using Other = MldSide;

    static constexpr char kName[] = "Igmp";
    static constexpr char kPrefix[] = "\r\n[MC_DBG_";
    // Starts of lines that name the side, or are worded otherwise there.
    static constexpr char kEntered[] = "igmpL2PktProc is in! ";
    static constexpr char kInterface[] = "\r\nRcieve L2 data on interface ";
    static constexpr char kSearch[] = "in searchRecievePktPortCfgVlan";
    static constexpr char kSender[] = "l2_igmp_send_pkt";
    static constexpr char kSourcePortField[] = "srcPortNum";
    static constexpr char kEngine[] = "igmp_pkt_recv";

    /** Of frames that count as the unit's own: here its address. */
    static constexpr char kOwnSource[] = "02:19:c6:01:02:03";

    /** Snooping and control. */
    static constexpr uint8_t kHandledModes[] = {1, 3};
    static constexpr uint8_t kOtherModes[] = {0, 2, 4, 5, 100, 255};
    static void set_mode(uint8_t mode) { proxy_adapt_mode = mode; }

    static auto &mask() { return mc_debug; }
    static auto &ports() { return portState; }
    static auto &source_port() { return srcPortNum; }
    static auto &test_uplink() { return testuplink; }
    static auto &rules() { return PortVlanCfg; }
    static auto &rule_counts() { return setVlanCfgNumber; }
    static auto &template_count() { return setVlanNumber; }
    static void put_row(int row, const std::vector<vlanCfgNode> &rules) { put_rules(row, rules); }
    static void put_templates(const std::vector<uint16_t> &vlans) { put_template_vlans(vlans); }

    /** Fills a row that is searched for the port of its first rule. */
    static void put_searched_row(int row, const std::vector<vlanCfgNode> &rules) { put_row(row, rules); }

    static int32_t intake(uint8_t *frame, uint32_t length, uint32_t port) { return igmpL2PktProc(frame, length, port); }
    static FrameBuilder report() { return igmp_report("225.1.2.3"); }
    static std::string engine_call(uint32_t port, uint32_t vlan)
    {
        return "igmp_pkt_recv(46c0002000004000, 32, " + number(port) + ", " + number(vlan) + ", 0)";
    }

    static std::string received_heading(uint32_t port, std::size_t length)
    {
        return "[igmpL2PktProc]: Pkt recv from port " + number(port) + ", len " + std::to_string(length) + ".\r\n";
    }
    static std::string sent_heading(uint32_t port, std::size_t length)
    {
        return "[l2_igmp_send_pkt]: Pkt Send to port " + number(port) + ", len " + std::to_string(length) + ".\r\n";
    }

    /** Of the report, in this mode. */
    static std::vector<std::string> packet_lines(int mode)
    {
        return {"IP TOTAL LENGTH = 32\r\n", "PROTOL TYPE = 2", "IGMP MODE = " + number(mode) + "\r\n"};
    }

    // What follows the line of the search key: a template VLAN, the VLAN of the port's first rule, or neither.
    static std::vector<std::string> template_lines(const std::string &entry, const std::string &vlan)
    {
        return {"\n vlan is " + entry, "out searchVlan vlan = " + vlan + "\r\n"};
    }
    static std::vector<std::string> first_rule_lines(const std::string &vlan)
    {
        return {"out searchVlan vlan = 65535\r\n", "EPON searchVlan vlan = " + vlan + "\r\n",
                "no.1 port vlan config exsit, vlan = " + vlan + "\r\n"};
    }
    static std::vector<std::string> default_lines()
    {
        return {"out searchVlan vlan = 65535\r\n", "EPON searchVlan vlan = 4095\r\n"};
    }
};

struct MldSide {
    using Other = IgmpSide;

    static constexpr char kName[] = "Mld";
    static constexpr char kPrefix[] = "\r\n[MC_MLD_DBG_";
    // Starts of lines that name the side, or are worded otherwise there.
    static constexpr char kEntered[] = "mldL2PktProc is in! ";
    static constexpr char kInterface[] = "\r\n[INFO]Rcieve L2 data on interface ";
    static constexpr char kSearch[] = "in mldsearchRecievePktPortCfgVlan";
    static constexpr char kSender[] = "mld_l2_igmp_send_pkt";
    static constexpr char kSourcePortField[] = "mldInitParams.mldSrcPortNum";
    static constexpr char kEngine[] = "mld_pkt_recv";

    /** Of frames that count as the unit's own: intended, nothing fills the address that is compared. */
    static constexpr char kOwnSource[] = "00:00:00:00:00:00";

    /** Snooping and control: intended, snooping has another number than on the IGMP side. */
    static constexpr uint8_t kHandledModes[] = {2, 3};
    static constexpr uint8_t kOtherModes[] = {0, 1, 4, 5, 100, 255};
    static void set_mode(uint8_t mode) { mldInitParams.multiMode = mode; }

    static auto &mask() { return mld_debug; }
    static auto &ports() { return mldInitParams.mldPortState; }
    static auto &source_port() { return mldInitParams.mldSrcPortNum; }
    static auto &test_uplink() { return mldInitParams.mldTestUplink; }
    static auto &rules() { return mldInitParams.mldPortVlanCfg; }
    static auto &rule_counts() { return mldInitParams.mldSetVlanCfgNumber; }
    static auto &template_count() { return mldInitParams.setVlanNumber; }
    static void put_row(int row, const std::vector<vlanCfgNode> &rules) { put_mld_rules(row, rules); }
    static void put_templates(const std::vector<uint16_t> &vlans) { put_mld_template_vlans(vlans); }

    /** Fills a row that is searched for the port of its first rule: intended, the IGMP table tells that port. */
    static void put_searched_row(int row, const std::vector<vlanCfgNode> &rules)
    {
        PortVlanCfg[row][0].portNO = rules.at(0).portNO;
        put_row(row, rules);
    }

    static int32_t intake(uint8_t *frame, uint32_t length, uint32_t port) { return mldL2PktProc(frame, length, port); }
    static FrameBuilder report() { return mld_report("ff1e::1"); }
    static std::string engine_call(uint32_t port, uint32_t vlan)
    {
        return "mld_pkt_recv(6000000000200001, 72, " + number(port) + ", " + number(vlan) + ", 13119)";
    }

    // Intended: no headings.
    static std::string received_heading(uint32_t, std::size_t) { return ""; }
    static std::string sent_heading(uint32_t, std::size_t) { return ""; }

    /** Of the report, in this mode. */
    static std::vector<std::string> packet_lines(int mode)
    {
        return {"IP TOTAL LENGTH = 72\r\n", "MLD MODE = " + number(mode) + "\r\n"};
    }

    // Intended: the end of the search is not told, nor a first rule that is not there.
    static std::vector<std::string> template_lines(const std::string &entry, const std::string &)
    {
        return {"\n vlan is " + entry};
    }
    static std::vector<std::string> first_rule_lines(const std::string &vlan)
    {
        return {"no.1 port vlan config exsit, vlan = " + vlan + "\r\n"};
    }
    static std::vector<std::string> default_lines() { return {}; }
};

using IntakeSides = ::testing::Types<IgmpSide, MldSide>;

struct IntakeSideName {
    template <class Side> static std::string GetName(int) { return Side::kName; }
};

/**
 * Frames given straight to one intake, user port 0 and uplink 29, in a mode without a handler unless a test sets one.
 * The records that an intake writes hold what no frame leaves there.
 */
template <class Side> class OneIntake : public IntakeTest {
protected:
    void SetUp() override
    {
        IntakeTest::SetUp();
        give_frames_to_the_engine_alone();
        Side::source_port() = 77;
        Side::Other::source_port() = 78;
        mldInitParams.outerTag = {0x1234, 77, 5};
        ponVlan = 555;
    }

    static LogLine trace(const std::string &text) { return {MC_DEBUG_TRACE, Side::kPrefix + ("DBG]: " + text)}; }
    static LogLine error(const std::string &text) { return {MC_DEBUG_ERROR, Side::kPrefix + ("ERR]: " + text)}; }
    static LogLine config(const std::string &text) { return {MC_DEBUG_CONFIG, Side::kPrefix + ("CFG]: " + text)}; }

    static LogLine entered(const std::string &port) { return trace(Side::kEntered + port + "\n"); }
    static LogLine received(const ByteVector &frame, uint32_t port)
    {
        return {MC_DEBUG_RX_DUMP, Side::received_heading(port, frame.size()) + dumped(frame)};
    }

    /** The lines of a frame up to its classification. */
    static Log classified(const ByteVector &frame, uint32_t port, uint32_t from)
    {
        return {entered(number(port)), received(frame, port),
                trace(Side::kInterface + number(from) + "(" + number(from) + "):\r\n")};
    }

    static Log joined(Log log, const std::vector<Log> &more)
    {
        for (const Log &each : more)
            log.insert(log.end(), each.begin(), each.end());
        return log;
    }

    /** Gives a frame to the intake; `length` is what the intake is told, in front of bytes that are all there. */
    Observed<int32_t> take(const ByteVector &frame, uint32_t port, uint32_t length)
    {
        buffer.emplace(frame, 0xEE);
        return observe([&] { return Side::intake(buffer->data(), length, port); });
    }
    Observed<int32_t> take(const ByteVector &frame, uint32_t port = 0)
    {
        return take(frame, port, static_cast<uint32_t>(frame.size()));
    }

    /**
     * Takes the frame once under each bit of the mask alone, under none and under all, and expects of the log what the
     * mask lets through. The other family's mask holds the other bits, and must not matter.
     */
    void expect_log(const ByteVector &frame, uint32_t port, uint32_t length, const Log &log)
    {
        for (const uint32_t mask : {0x00u, 0x01u, 0x04u, 0x08u, 0x10u, 0x20u, 0xFFFFFFC2u, 0xFFFFFFFFu}) {
            SCOPED_TRACE("mask " + std::to_string(mask));
            Side::mask() = mask;
            Side::Other::mask() = ~mask;
            EXPECT_EQ(take(frame, port, length).trace, shown(log, mask));
        }
        log_mask(0);
    }
    void expect_log(const ByteVector &frame, uint32_t port, const Log &log)
    {
        expect_log(frame, port, static_cast<uint32_t>(frame.size()), log);
    }

    /** Expects a frame to be refused for its type, which is printed with the bytes the other way round: intended. */
    void expect_not_ip(const ByteVector &frame, int printed)
    {
        EXPECT_EQ(take(frame).result, -1);
        expect_log(
            frame, 0,
            joined(classified(frame, 0, 0), {{error("Not ip pkt recieved,abord!(" + number(printed) + ")\r\n")}}));
    }

    /** Where in the frame the packet began that the engine got last. */
    std::ptrdiff_t engine_offset() const { return buffer->offset_of(platform().engine_packets.back().start); }

    /** The last frame given. */
    std::optional<FrameBuffer> buffer;
};

using IgmpIntake = OneIntake<IgmpSide>;
using MldIntake = OneIntake<MldSide>;

} // namespace mcadapt::test

#endif
