#include "host/program/arguments.h"

#include <gmock/gmock.h>

namespace mcadapt::host {
namespace {

using ::testing::ElementsAre;

const std::vector<Argument> kArguments = {{"port", Kind::kByte, "switch port"},
                                          {"vlan", Kind::kWord, "VLAN"},
                                          {"group", Kind::kIpv4, "group", "0"},
                                          {"limit", Kind::kSigned, "limit", "-1"}};

std::string error_of(const std::vector<Argument> &arguments, const std::vector<std::string> &words)
{
    try {
        const Values values(arguments, words);
    } catch (const WordError &error) {
        return error.what();
    }
    return "";
}

TEST(Arguments, are_taken_in_order_by_name_and_by_default)
{
    const Values in_order(kArguments, {"1", "200", "239.1.2.3", "-5"});
    EXPECT_EQ(in_order.byte(0), 1);
    EXPECT_EQ(in_order.word(1), 200);
    EXPECT_EQ(in_order.number(2), 0xEF010203u);
    EXPECT_EQ(in_order.integer(3), -5);

    const Values by_name(kArguments, {"limit=7", "vlan=0xC8", "port=2"});
    EXPECT_EQ(by_name.byte(0), 2);
    EXPECT_EQ(by_name.word(1), 200);
    EXPECT_EQ(by_name.number(2), 0u);
    EXPECT_EQ(by_name.integer(3), 7);
}

TEST(Arguments, without_a_name_go_on_behind_the_last_named_one)
{
    const Values values(kArguments, {"port=3", "100"});
    EXPECT_EQ(values.byte(0), 3);
    EXPECT_EQ(values.word(1), 100);
}

TEST(Arguments, that_are_wrong_are_named_with_what_was_expected)
{
    struct Row {
        std::vector<std::string> words;
        const char *error;
    };
    const Row rows[] = {
        {{"256", "1"}, "'256': expected a number from 0 to 255 for 'port'"},
        {{"-1", "1"}, "'-1': expected a number from 0 to 255 for 'port'"},
        {{"1", "65536"}, "'65536': expected a number from 0 to 65535 for 'vlan'"},
        {{"1", "x"}, "'x': expected a number from 0 to 65535 for 'vlan'"},
        {{"1", "0x"}, "'0x': expected a number from 0 to 65535 for 'vlan'"},
        {{"1", "-"}, "'-': expected a number from 0 to 65535 for 'vlan'"},
        {{"1", "--2"}, "'--2': expected a number from 0 to 65535 for 'vlan'"},
        {{"1", "--9223372036854775808"}, "'--9223372036854775808': expected a number from 0 to 65535 for 'vlan'"},
        {{"1", "2x"}, "'2x': expected a number from 0 to 65535 for 'vlan'"},
        {{"1", "99999999999999999999"}, "'99999999999999999999': expected a number from 0 to 65535 for 'vlan'"},
        {{"1", "vlan="}, "'': expected a number from 0 to 65535 for 'vlan'"},
        {{"1", "2", "239.1.2"}, "'239.1.2': expected an IPv4 address or its number for 'group'"},
        {{"1", "2", "3", "2147483648"}, "'2147483648': expected a number from -2147483648 to 2147483647 for 'limit'"},
        {{"1"}, "argument 'vlan' is missing: expected a number from 0 to 65535 (VLAN)"},
        {{"1", "2", "3", "4", "5"}, "'5': the operation takes 4 arguments"},
        {{"1", "2", "port=3"}, "'port=3': argument 'port' is given twice"},
        {{"1", "2", "speed=3"}, "'speed=3': no argument 'speed'; expected one of: port, vlan, group, limit"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.error);
        EXPECT_EQ(error_of(kArguments, row.words), row.error);
    }
}

TEST(Arguments, of_control_entries_are_ports_vlans_and_addresses)
{
    const std::vector<Argument> arguments = {{"entries", Kind::kEntries, "entries"}};
    const Values values(arguments, {"1/200/01:00:5e:01:02:03,2/0x64/33:33:00:00:00:FF"});
    ASSERT_EQ(values.entries().size(), 2u);
    EXPECT_EQ(values.entries()[0].port, 1);
    EXPECT_EQ(values.entries()[0].vlan, 200);
    EXPECT_THAT(values.entries()[0].mac, ElementsAre(0x01, 0x00, 0x5E, 0x01, 0x02, 0x03));
    EXPECT_EQ(values.entries()[1].vlan, 100);
    EXPECT_THAT(values.entries()[1].mac, ElementsAre(0x33, 0x33, 0, 0, 0, 0xFF));
}

TEST(Arguments, of_control_entries_that_are_wrong_are_named)
{
    const std::vector<Argument> arguments = {{"entries", Kind::kEntries, "entries"}};
    const char *const kMac = "expected a MAC address such as 02:19:c6:01:02:03";
    EXPECT_EQ(error_of(arguments, {"1/200"}), "'1/200': expected PORT/VLAN/MAC");
    EXPECT_EQ(error_of(arguments, {""}), "'': expected PORT/VLAN/MAC");
    EXPECT_EQ(error_of(arguments, {"x/200/01:00:5e:01:02:03"}), "'x': expected a port counted from 1");
    EXPECT_EQ(error_of(arguments, {"1/70000/01:00:5e:01:02:03"}), "'70000': expected a VLAN");
    for (const std::string mac : {"01:00:5e:01:02", "01-00-5e-01-02-03", "01:00:5e:01:02:0g", "01:00:5e:01:02:033"})
        EXPECT_EQ(error_of(arguments, {"1/200/" + mac}), "'" + mac + "': " + kMac);

    std::string many = "1/1/01:00:5e:01:02:03";
    for (int i = 1; i < 256; ++i)
        many += ",1/1/01:00:5e:01:02:03";
    EXPECT_EQ(error_of(arguments, {many}), "256 entries: expected at most 255");
}

} // namespace
} // namespace mcadapt::host
