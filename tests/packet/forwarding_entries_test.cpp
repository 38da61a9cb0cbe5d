// The engine's groups as forwarding entries of the switch.
#include <cstring>

#include "support/library_test.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/** The engine's record of a group, laid out by hand; what the library must not read is not zero. */
struct EngineGroup {
    alignas(4) uint8_t bytes[56];

    EngineGroup() { std::memset(bytes, 0xEE, sizeof(bytes)); }

    template <class Field> EngineGroup &put(std::size_t offset, Field value)
    {
        std::memcpy(bytes + offset, &value, sizeof(value));
        return *this;
    }
    EngineGroup &group(uint32_t address) { return put(4, address); }
    EngineGroup &group(const ByteVector &tail)
    {
        std::copy(tail.begin(), tail.end(), bytes + 20);
        return *this;
    }
    EngineGroup &vlan(uint16_t value) { return put(52, value); }
    EngineGroup &port(uint16_t value) { return put(54, value); }

    mcGroupRecord record() const
    {
        static_assert(sizeof(mcGroupRecord) == sizeof(bytes));
        mcGroupRecord record;
        std::memcpy(&record, bytes, sizeof(bytes));
        return record;
    }
};

/** One of the four callbacks. */
struct Callback {
    const char *name;
    mcForwardingCallback call;
    bool mld;
    bool adds;
    uint32_t port_line_bit; /**< Gate of the line that names port and VLAN. */

    const char *driver_call() const
    {
        return adds ? "L2_multicast_set_port_iptv_entry" : "L2_multicast_remove_port_iptv_entry";
    }
    /** A line's beginning; the class is "DBG", "ERR" or "CFG". */
    std::string prefix(const char *log_class) const
    {
        return std::string("\r\n[MC_") + (mld ? "MLD_" : "") + "DBG_" + log_class + "]: ";
    }
    std::string mac_line(const char *mac) const { return prefix("DBG") + "gmac address   : " + mac; }
    std::string port_line(const char *port, const char *vlan) const
    {
        return prefix(port_line_bit == MC_DEBUG_CONFIG ? "CFG" : "DBG") + name + " portNo = " + port +
               " vlan = " + vlan + "\r\n";
    }
    std::string failure_line(int32_t result) const
    {
        return prefix("ERR") + "\n ERROR!" + driver_call() + " Fail " + std::to_string(result);
    }
    void open_log(uint32_t bits) const
    {
        mc_debug = mld ? 0 : bits;
        mld_debug = mld ? bits : 0;
    }
    auto run(const EngineGroup &group) const
    {
        const mcGroupRecord record = group.record();
        return observe([&] { return call(&record); });
    }
};

constexpr Callback kCallbacks[] = {
    {"igmp_add_grp", igmp_add_grp, false, true, MC_DEBUG_TRACE},
    {"igmp_del_grp", igmp_del_grp, false, false, MC_DEBUG_CONFIG}, // intended: not a trace as in the other three
    {"mld_add_grp", mld_add_grp, true, true, MC_DEBUG_TRACE},
    {"mld_del_grp", mld_del_grp, true, false, MC_DEBUG_TRACE},
};
constexpr const Callback &kIgmpAdd = kCallbacks[0];

/** 224.1.2.3 and bytes ff 00 00 01 in one record, port 3, VLAN 100. */
EngineGroup some_group() { return EngineGroup().group(0xE0010203).group({0xFF, 0x00, 0x00, 0x01}).vlan(100).port(3); }
const char *some_mac(const Callback &callback) { return callback.mld ? "33:33:ff:00:00:01" : "01:00:5e:01:02:03"; }

std::string entry_call(const Callback &callback, const std::string &port, const std::string &mac,
                       const std::string &vlan)
{
    return std::string(callback.driver_call()) + "(" + port + ", " + mac + ", " + vlan + ")";
}

class ForwardingEntries : public LibraryTest {};

TEST_F(ForwardingEntries, a_group_becomes_one_call_of_the_driver)
{
    for (const Callback &callback : kCallbacks) {
        SCOPED_TRACE(callback.name);
        const auto seen = callback.run(some_group());
        EXPECT_EQ(seen.result, 0);
        EXPECT_THAT(seen.calls, ElementsAre(entry_call(callback, "3", some_mac(callback), "100")));
        EXPECT_EQ(seen.output, "");
        EXPECT_THAT(seen.changed, IsEmpty());
    }
}

TEST_F(ForwardingEntries, an_ipv4_group_gives_its_low_23_bits)
{
    static constexpr struct {
        uint32_t group;
        const char *mac;
    } kCases[] = {
        {0xEF810102, "01:00:5e:01:01:02"}, {0xE00000FB, "01:00:5e:00:00:fb"}, {0xE0010203, "01:00:5e:01:02:03"},
        {0xEFFFFFFF, "01:00:5e:7f:ff:ff"}, {0xE0800000, "01:00:5e:00:00:00"}, {0x0AFEDCBA, "01:00:5e:7e:dc:ba"},
    };
    for (const Callback &callback : kCallbacks) {
        for (const auto &c : kCases) {
            if (callback.mld)
                continue;
            SCOPED_TRACE(std::string(callback.name) + " " + c.mac);
            EXPECT_THAT(callback.run(some_group().group(c.group)).calls,
                        ElementsAre(entry_call(callback, "3", c.mac, "100")));
        }
    }
}

TEST_F(ForwardingEntries, an_ipv6_group_gives_its_low_32_bits)
{
    static const struct {
        ByteVector tail;
        const char *mac;
    } kCases[] = {
        {{0xFF, 0x00, 0x00, 0x01}, "33:33:ff:00:00:01"},
        {{0x00, 0x00, 0x00, 0x00}, "33:33:00:00:00:00"},
        {{0x80, 0x81, 0x82, 0x83}, "33:33:80:81:82:83"},
        {{0xFF, 0xFF, 0xFF, 0xFF}, "33:33:ff:ff:ff:ff"},
    };
    for (const Callback &callback : kCallbacks) {
        for (const auto &c : kCases) {
            if (!callback.mld)
                continue;
            SCOPED_TRACE(std::string(callback.name) + " " + c.mac);
            EXPECT_THAT(callback.run(some_group().group(c.tail)).calls,
                        ElementsAre(entry_call(callback, "3", c.mac, "100")));
        }
    }
}

TEST_F(ForwardingEntries, the_port_is_sign_extended_and_the_vlan_is_not)
{
    static constexpr struct {
        uint16_t port;
        const char *driver_port;
        uint16_t vlan;
        const char *driver_vlan;
    } kCases[] = {
        {0, "0", 0, "0"},
        {29, "29", 4095, "4095"},
        {0x7FFF, "32767", 0x7FFF, "32767"},
        {0x8000, "-32768", 0x8000, "32768"},
        {0xFFFF, "-1", 0xFFFF, "65535"},
    };
    for (const Callback &callback : kCallbacks) {
        for (const auto &c : kCases) {
            SCOPED_TRACE(std::string(callback.name) + " port " + c.driver_port);
            callback.open_log(callback.port_line_bit);
            const auto seen = callback.run(some_group().port(c.port).vlan(c.vlan));
            EXPECT_THAT(seen.calls,
                        ElementsAre(entry_call(callback, c.driver_port, some_mac(callback), c.driver_vlan)));
            EXPECT_THAT(seen.output, ::testing::EndsWith(callback.port_line(c.driver_port, c.driver_vlan)));
        }
    }
}

TEST_F(ForwardingEntries, the_address_is_traced_then_port_and_vlan_then_the_driver_is_called)
{
    for (const Callback &callback : kCallbacks) {
        SCOPED_TRACE(callback.name);
        callback.open_log(0xFFFFFFFF);
        EXPECT_EQ(callback.run(some_group()).trace, callback.mac_line(some_mac(callback)) +
                                                        callback.port_line("3", "100") + "<" +
                                                        entry_call(callback, "3", some_mac(callback), "100") + ">\n");
    }
}

TEST_F(ForwardingEntries, every_line_has_its_own_bit_of_the_familys_mask)
{
    for (const Callback &callback : kCallbacks) {
        platform().answer(callback.driver_call(), 7);
        for (const uint32_t bit : {0x01u, 0x02u, 0x04u, 0x08u, 0x10u, 0x20u, 0x40u}) {
            SCOPED_TRACE(std::string(callback.name) + " bit " + std::to_string(bit));
            std::string expected;
            if (bit == MC_DEBUG_TRACE)
                expected += callback.mac_line(some_mac(callback));
            if (bit == callback.port_line_bit)
                expected += callback.port_line("3", "100");
            if (bit == MC_DEBUG_ERROR)
                expected += callback.failure_line(7);
            if (bit == MC_DEBUG_CONFIG && callback.call == igmp_add_grp)
                expected += "\r\n[MC_DBG_CFG]: \n ERROR!tablereturn 1";
            callback.open_log(bit);
            EXPECT_EQ(callback.run(some_group()).output, expected);
        }
        (callback.mld ? mc_debug : mld_debug) = 0xFFFFFFFF;
        (callback.mld ? mld_debug : mc_debug) = 0;
        EXPECT_EQ(callback.run(some_group()).output, "");
    }
}

TEST_F(ForwardingEntries, a_failure_reaches_the_engine_as_the_drivers_code_but_for_the_igmp_install)
{
    for (const Callback &callback : kCallbacks) {
        if (callback.call == igmp_add_grp)
            continue;
        for (const uint32_t table_return : {0u, 1u, 7u}) {
            for (const int32_t result : {1, 5, -1, 256, INT32_MIN}) {
                SCOPED_TRACE(std::string(callback.name) + " result " + std::to_string(result));
                tablereturn = table_return;
                platform().answer(callback.driver_call(), result);
                callback.open_log(MC_DEBUG_ERROR);

                const auto seen = callback.run(some_group());

                EXPECT_EQ(seen.result, result);
                EXPECT_EQ(seen.trace, "<" + entry_call(callback, "3", some_mac(callback), "100") + ">\n" +
                                          callback.failure_line(result));
                EXPECT_THAT(seen.changed, IsEmpty());
            }
        }
    }
}

TEST_F(ForwardingEntries, a_failed_igmp_install_tells_the_engine_what_tablereturn_says)
{
    static constexpr struct {
        uint32_t table_return;
        int32_t told;
        bool stored_anew;
    } kCases[] = {{1, 1, false}, {0, 0, false}, {7, 1, true}, {0xFFFFFFFF, 1, true}, {256, 1, true}};
    for (const auto &c : kCases) {
        for (const int32_t result : {1, 5, -1, 256}) {
            SCOPED_TRACE("tablereturn " + std::to_string(c.table_return) + ", result " + std::to_string(result));
            tablereturn = c.table_return;
            platform().answer("L2_multicast_set_port_iptv_entry", result);
            kIgmpAdd.open_log(MC_DEBUG_ERROR | MC_DEBUG_CONFIG);

            const auto seen = kIgmpAdd.run(some_group());

            EXPECT_EQ(seen.result, c.told);
            EXPECT_EQ(seen.trace, "<" + entry_call(kIgmpAdd, "3", some_mac(kIgmpAdd), "100") + ">\n" +
                                      kIgmpAdd.failure_line(result) + "\r\n[MC_DBG_CFG]: \n ERROR!tablereturn " +
                                      std::to_string(c.told));
            // The value goes through the setter, which keeps 0 and 1 only.
            EXPECT_EQ(tablereturn, static_cast<uint32_t>(c.told));
            EXPECT_EQ(seen.changed.size(), c.stored_anew ? 1u : 0u);
        }
    }
}

TEST_F(ForwardingEntries, a_refused_igmp_install_is_told_as_1_from_the_start)
{
    platform().answer("L2_multicast_set_port_iptv_entry", 5);
    EXPECT_EQ(kIgmpAdd.run(some_group()).result, 1);
}

TEST_F(ForwardingEntries, a_successful_igmp_install_does_not_look_at_tablereturn)
{
    tablereturn = 7;
    const auto seen = kIgmpAdd.run(some_group());
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.changed, IsEmpty());
}

TEST_F(ForwardingEntries, nothing_is_tried_again)
{
    for (const Callback &callback : kCallbacks) {
        SCOPED_TRACE(callback.name);
        platform().answers(callback.driver_call(), {3, 0});
        EXPECT_EQ(callback.run(some_group()).calls.size(), 1u);
    }
}

} // namespace
} // namespace mcadapt::test
