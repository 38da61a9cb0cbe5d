/** The protocol mode, and the trap and flood settings of the switch that go with it. */
#include <string>
#include <vector>

#include "support/library_test.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

using Calls = std::vector<std::string>;

const Calls kTrapping = {"l2_multicast_set_trap(0, 1)", "l2_multicast_set_flood(0, 0)", "l2_multicast_set_flood(1, 0)",
                         "l2_multicast_set_trap(1, 1)"};
const Calls kFlooding = {"l2_multicast_set_trap(0, 0)", "l2_multicast_set_flood(0, 1)", "l2_multicast_set_flood(1, 1)",
                         "l2_multicast_set_trap(1, 0)"};

Calls with(Calls calls, const std::string &last)
{
    calls.push_back(last);
    return calls;
}

std::string mode_call(int stored) { return "igmp_mode_switch_globle(" + std::to_string(stored) + ")"; }

std::string entry_line(int32_t mode)
{
    return "\r\n[MC_DBG_CFG]: omci_set_multicast_mode proxy_adapt_mode =" + std::to_string(mode) + "\n";
}

// --- flood_trap

class FloodTrap : public LibraryTest {};

TEST_F(FloodTrap, floods_for_mode_5_and_traps_for_every_other)
{
    EXPECT_EQ(observe([] { return flood_trap(5); }).calls, kFlooding);
    for (const uint32_t mode : {0u, 1u, 2u, 3u, 4u, 6u, 100u, 255u, 256u, 259u, 261u, 0x80000005u, 0xFFFFFFFFu}) {
        const auto seen = observe([mode] { return flood_trap(mode); });
        EXPECT_EQ(seen.calls, kTrapping) << mode;
        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(seen.output, "");
        EXPECT_THAT(seen.changed, IsEmpty());
    }
}

struct DriverFailure {
    uint32_t mode;
    const char *call;
    int turn; // which of the calls of that name
    std::size_t calls_made;
    const char *text_before;
};

const std::vector<DriverFailure> kDriverFailures = {
    {5, "l2_multicast_set_trap", 0, 1, "\n ERROR! l2_multicast_set_trap Fail "},
    {5, "l2_multicast_set_flood", 0, 2, "\n ERROR! l2_multicast_set_flood disable Fail "}, // intended: it enables
    {5, "l2_multicast_set_flood", 1, 3, "\n ERROR! l2_multicast_set_flood Fail "},
    {5, "l2_multicast_set_trap", 1, 4, "\n ERROR! l2_multicast_set_trap Fail "},
    {1, "l2_multicast_set_trap", 0, 1, "\n ERROR! l2_multicast_set_trap Fail "},
    {1, "l2_multicast_set_flood", 0, 2, "\n ERROR! l2_multicast_set_flood snooping Fail "},
    {1, "l2_multicast_set_flood", 1, 3, "\n ERROR! l2_multicast_set_flood Fail "},
    {1, "l2_multicast_set_trap", 1, 4, "\n ERROR! l2_multicast_set_trap Fail "},
    {261, "l2_multicast_set_flood", 0, 2, "\n ERROR! l2_multicast_set_flood snooping Fail "},
};

void let_fail(const DriverFailure &failure, int32_t result)
{
    platform().answers(failure.call,
                       failure.turn == 0 ? std::vector<int32_t>{result, 0} : std::vector<int32_t>{0, result});
}

Calls calls_until(const DriverFailure &failure)
{
    const Calls &all = failure.mode == 5 ? kFlooding : kTrapping;
    return {all.begin(), all.begin() + static_cast<std::ptrdiff_t>(failure.calls_made)};
}

TEST_F(FloodTrap, ends_at_the_first_failure_and_returns_it_whole)
{
    for (const DriverFailure &failure : kDriverFailures)
        for (const int32_t result : {1, -1, 255, 256, -2147483647})
            for (const uint32_t mask : {0u, 0x04u, 0x25u}) {
                SCOPED_TRACE(failure.text_before + std::to_string(result) + " mode " + std::to_string(failure.mode));
                LibraryTest::SetUp();
                log_mask(mask);
                let_fail(failure, result);
                const auto seen = observe([&] { return flood_trap(failure.mode); });
                EXPECT_EQ(seen.result, result);
                EXPECT_EQ(seen.calls, calls_until(failure));
                EXPECT_EQ(seen.output, failure.text_before + std::to_string(result) + "!\n");
            }
}

// --- omci_set_multicast_mode

struct ModeRow {
    int32_t asked;
    int stored;
    bool floods;
};

const std::vector<ModeRow> kModes = {
    {3, 3, false},
    {100, 2, false},
    {5, 1, true},
    {1, 1, false},
    {2, 1, false}, // intended: proxy is reached through 100 alone
    {0, 1, false},
    {4, 1, false},
    {6, 1, false},
    {99, 1, false},
    {101, 1, false},
    {255, 1, false},
    {-1, 1, false},
    // Only the low byte selects the mode, while the switch sees the whole value.
    {259, 3, false},
    {256 + 100, 2, false},
    {261, 1, false},
    {-253, 3, false},
    {-156, 2, false},
    {-251, 1, false},
    {256, 1, false},
    {0x7FFFFF03, 3, false},
};

class SetMode : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        proxy_adapt_mode = 77;
        globle_parm.multiMode = 0x4D4D;
        mc_status_global->statusMode = 0x4D4D4D4D;
    }
};

TEST_F(SetMode, stores_the_derived_mode_in_three_places_and_tells_the_engine)
{
    for (const ModeRow &row : kModes) {
        SCOPED_TRACE(row.asked);
        SetUp();
        const auto seen = observe([&] { return omci_set_multicast_mode(row.asked); });
        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(seen.calls, with(row.floods ? kFlooding : kTrapping, mode_call(row.stored)));
        EXPECT_EQ(seen.output, "");
        EXPECT_EQ(proxy_adapt_mode, row.stored);
        EXPECT_EQ(globle_parm.multiMode, row.stored);
        EXPECT_EQ(mc_status_global->statusMode, static_cast<uint32_t>(row.stored));
        EXPECT_THAT(seen.changed,
                    ElementsAre("globle_parm.multiMode", "mc_status_global->statusMode", "proxy_adapt_mode"));
    }
}

TEST_F(SetMode, prints_the_whole_value_under_the_configuration_bit)
{
    for (const ModeRow &row : kModes) {
        log_mask(0x20);
        EXPECT_EQ(observe([&] { return omci_set_multicast_mode(row.asked); }).output, entry_line(row.asked));
        log_mask(~0x20u);
        EXPECT_EQ(observe([&] { return omci_set_multicast_mode(row.asked); }).output, "");
    }
}

TEST_F(SetMode, programs_the_driver_and_the_engine_again_when_nothing_changes)
{
    omci_set_multicast_mode(3);
    const auto again = observe([] { return omci_set_multicast_mode(3); });
    EXPECT_EQ(again.calls, with(kTrapping, mode_call(3)));
    EXPECT_THAT(again.changed, IsEmpty());
}

TEST_F(SetMode, comes_in_order_entry_line_driver_stores_engine)
{
    config_logged();
    platform().on("l2_multicast_set_trap", [] {
        EXPECT_EQ(proxy_adapt_mode, 100); // the low byte as it was asked for
        EXPECT_EQ(globle_parm.multiMode, 0x4D4D);
        EXPECT_EQ(mc_status_global->statusMode, 0x4D4D4D4Du);
    });
    platform().on("igmp_mode_switch_globle", [] {
        EXPECT_EQ(proxy_adapt_mode, 2);
        EXPECT_EQ(globle_parm.multiMode, 2);
        EXPECT_EQ(mc_status_global->statusMode, 2u);
    });
    EXPECT_EQ(observe([] { return omci_set_multicast_mode(356); }).trace,
              entry_line(356) + "<l2_multicast_set_trap(0, 1)>\n<l2_multicast_set_flood(0, 0)>\n"
                                "<l2_multicast_set_flood(1, 0)>\n<l2_multicast_set_trap(1, 1)>\n"
                                "<igmp_mode_switch_globle(2)>\n");
}

TEST_F(SetMode, reads_the_asked_mode_back_after_the_driver_was_set)
{
    platform().on("l2_multicast_set_flood", [] { proxy_adapt_mode = 3; });
    EXPECT_EQ(observe([] { return omci_set_multicast_mode(1); }).calls.back(), mode_call(3));
    EXPECT_EQ(globle_parm.multiMode, 3);
}

TEST_F(SetMode, goes_on_after_a_driver_failure_and_does_not_return_it)
{
    for (const DriverFailure &failure : kDriverFailures) {
        const int32_t asked = static_cast<int32_t>(failure.mode);
        const std::string driver_line = failure.text_before + std::string("9!\n");
        const std::string error_line = "\r\n[MC_DBG_ERR]: ERROR!flood_trap =" + std::to_string(asked) + " ";
        struct Row {
            uint32_t mask;
            std::string output;
        };
        const std::vector<Row> rows = {
            {0, driver_line},
            {0x04, driver_line + error_line}, // the mode as asked for, not the driver's code
            {0x25, entry_line(asked) + driver_line + error_line},
            {~0x24u, driver_line},
        };
        for (const Row &row : rows) {
            SCOPED_TRACE(failure.text_before + std::to_string(row.mask));
            SetUp();
            mc_debug = row.mask;
            mld_debug = ~0u;
            let_fail(failure, 9);
            const auto seen = observe([&] { return omci_set_multicast_mode(asked); });
            EXPECT_EQ(seen.result, 0);
            EXPECT_EQ(seen.calls, with(calls_until(failure), mode_call(1)));
            EXPECT_EQ(seen.output, row.output);
            EXPECT_EQ(proxy_adapt_mode, 1);
        }
    }
}

TEST_F(SetMode, returns_the_engines_result_whole_and_keeps_the_mode)
{
    struct Row {
        int32_t asked;
        int stored;
        const char *error;
    };
    const std::vector<Row> rows = {
        // intended: the texts differ by the line break
        {3, 3, "\r\n[MC_DBG_ERR]: ERROR!proxy_adapt_mode =3 "},
        {100, 2, "\r\n[MC_DBG_ERR]: \n ERROR!proxy_adapt_mode =2 "},
        {5, 1, "\r\n[MC_DBG_ERR]: \n ERROR!proxy_adapt_mode =1 "},
        {0, 1, "\r\n[MC_DBG_ERR]: \n ERROR!proxy_adapt_mode =1 "},
    };
    for (const Row &row : rows)
        for (const int32_t result : {1, -1, 255, 256, -2147483647})
            for (const uint32_t mask : {0u, 0x04u, 0x25u, ~0x04u}) {
                SCOPED_TRACE(row.error + std::to_string(result));
                SetUp();
                mc_debug = mask;
                mld_debug = ~0u;
                platform().answer("igmp_mode_switch_globle", result);
                const auto seen = observe([&] { return omci_set_multicast_mode(row.asked); });
                EXPECT_EQ(seen.result, result);
                EXPECT_EQ(seen.output,
                          ((mask & 0x20) != 0 ? entry_line(row.asked) : "") + ((mask & 0x04) != 0 ? row.error : ""));
                EXPECT_EQ(proxy_adapt_mode, row.stored);
                EXPECT_EQ(globle_parm.multiMode, row.stored);
                EXPECT_EQ(mc_status_global->statusMode, static_cast<uint32_t>(row.stored));
            }
}

TEST_F(SetMode, the_engines_refusal_is_printed_with_the_mode_of_that_moment)
{
    errors_logged();
    platform().answer("igmp_mode_switch_globle", 1);
    platform().on("igmp_mode_switch_globle", [] { proxy_adapt_mode = 9; });
    EXPECT_EQ(observe([] { return omci_set_multicast_mode(1); }).output,
              "\r\n[MC_DBG_ERR]: \n ERROR!proxy_adapt_mode =9 ");
}

TEST_F(SetMode, the_stored_mode_picks_the_line_of_a_refusal)
{
    errors_logged();
    platform().answer("igmp_mode_switch_globle", 1);
    platform().on("igmp_mode_switch_globle", [] { proxy_adapt_mode = 1; });
    EXPECT_EQ(observe([] { return omci_set_multicast_mode(3); }).output,
              "\r\n[MC_DBG_ERR]: ERROR!proxy_adapt_mode =1 ");
    platform().on("igmp_mode_switch_globle", [] { proxy_adapt_mode = 3; });
    EXPECT_EQ(observe([] { return omci_set_multicast_mode(1); }).output,
              "\r\n[MC_DBG_ERR]: \n ERROR!proxy_adapt_mode =3 ");
}

TEST_F(SetMode, a_driver_that_refuses_its_first_call_gets_no_flood_call)
{
    platform().answer("l2_multicast_set_trap", 6);
    platform().answer("igmp_mode_switch_globle", -9);
    const auto seen = observe([] { return omci_set_multicast_mode(1); });
    EXPECT_EQ(seen.result, -9);
    EXPECT_THAT(seen.calls, ElementsAre("l2_multicast_set_trap(0, 1)", mode_call(1)));
    EXPECT_EQ(seen.output, "\n ERROR! l2_multicast_set_trap Fail 6!\n");
}

TEST_F(SetMode, works_without_a_status_record)
{
    for (const ModeRow &row : kModes) {
        SetUp();
        mc_status_global = nullptr;
        const auto seen = observe([&] { return omci_set_multicast_mode(row.asked); });
        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(seen.calls, with(row.floods ? kFlooding : kTrapping, mode_call(row.stored)));
        EXPECT_EQ(proxy_adapt_mode, row.stored);
        EXPECT_EQ(globle_parm.multiMode, row.stored);
        EXPECT_EQ(mc_status_global, nullptr);
    }
}

// --- std_omci_set_multicast_mode

using SetStandardMode = SetMode;

const std::string kStandardEntryLine = "\r\n[MC_DBG_CFG]: std_omci_set_multicast_mode is in!\n";

TEST_F(SetStandardMode, refuses_snooping_and_proxy)
{
    struct Row {
        uint32_t mask;
        std::string output;
    };
    const std::string error = "\r\n[MC_DBG_ERR]: \n ERROR!std_omci_set_multicast_mode Fail(don't support this mode!)";
    for (const Row &row : std::vector<Row>{
             {0, ""}, {0x04, error}, {0x20, kStandardEntryLine}, {0x25, kStandardEntryLine + error}, {~0x24u, ""}})
        for (const uint32_t mode : {1u, 2u}) {
            mc_debug = row.mask;
            mld_debug = ~0u;
            const auto seen = observe([mode] { return std_omci_set_multicast_mode(mode); });
            EXPECT_EQ(seen.result, -1);
            EXPECT_THAT(seen.calls, IsEmpty());
            EXPECT_THAT(seen.changed, IsEmpty());
            EXPECT_EQ(seen.output, row.output);
        }
}

TEST_F(SetStandardMode, sets_snooping_whatever_else_is_asked_for)
{
    for (const uint32_t mode : {0u, 3u, 4u, 5u, 100u, 257u, 258u, 0x80000001u, 0x80000002u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(mode);
        SetUp();
        config_logged();
        const auto seen = observe([mode] { return std_omci_set_multicast_mode(mode); });
        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(seen.calls, with(kTrapping, mode_call(1))); // intended: for 5 and 100 too
        EXPECT_EQ(seen.output, kStandardEntryLine + entry_line(0));
        EXPECT_EQ(proxy_adapt_mode, 1);
    }
}

TEST_F(SetStandardMode, returns_the_engines_result_whole)
{
    const std::string errors = "\r\n[MC_DBG_ERR]: \n ERROR!proxy_adapt_mode =1 "
                               "\r\n[MC_DBG_ERR]: \n ERROR!std_omci_set_multicast_mode Fail";
    for (const int32_t result : {5, -1, 255, 256}) {
        platform().answer("igmp_mode_switch_globle", result);
        log_mask(0);
        auto seen = observe([] { return std_omci_set_multicast_mode(3); });
        EXPECT_EQ(seen.result, result);
        EXPECT_EQ(seen.output, "");
        log_mask(0x04);
        seen = observe([] { return std_omci_set_multicast_mode(3); });
        EXPECT_EQ(seen.output, errors);
        log_mask(0x25);
        seen = observe([] { return std_omci_set_multicast_mode(3); });
        EXPECT_EQ(seen.output, kStandardEntryLine + entry_line(0) + errors);
    }
}

TEST_F(SetStandardMode, does_not_return_a_driver_failure)
{
    errors_logged();
    platform().answer("l2_multicast_set_trap", 6);
    const auto seen = observe([] { return std_omci_set_multicast_mode(0); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.output, "\n ERROR! l2_multicast_set_trap Fail 6!\n\r\n[MC_DBG_ERR]: ERROR!flood_trap =0 ");
}

// --- omci_get_multicast_mode

class GetMode : public LibraryTest {};

TEST_F(GetMode, answers_the_low_byte_of_the_status_record)
{
    proxy_adapt_mode = 7;
    globle_parm.multiMode = 8;
    for (const auto &[stored, answered] : {std::pair{1u, 1}, {2u, 2}, {3u, 3}, {0x1234u, 0x34}, {0xFFFFFF00u, 0}}) {
        mc_status_global->statusMode = stored;
        uint8_t out[3] = {0xAA, 0xAA, 0xAA};
        const auto seen = observe([&] { return omci_get_multicast_mode(&out[1]); });
        EXPECT_EQ(seen.result, 0);
        EXPECT_THAT(out, ElementsAre(0xAA, answered, 0xAA)); // one byte, no more
        EXPECT_EQ(seen.output, "");
        EXPECT_THAT(seen.calls, IsEmpty());
        EXPECT_THAT(seen.changed, IsEmpty());
    }
}

TEST_F(GetMode, prints_its_line_under_the_configuration_bit)
{
    uint8_t out = 0;
    for (const uint32_t mask : {0x20u, 0x25u, ~0u}) {
        mc_debug = mask;
        EXPECT_EQ(observe([&] { return omci_get_multicast_mode(&out); }).output,
                  "\r\n[MC_DBG_CFG]: [omci_get_multicast_mode]: \r\n");
    }
    mc_debug = ~0x20u;
    mld_debug = ~0u;
    EXPECT_EQ(observe([&] { return omci_get_multicast_mode(&out); }).output, "");
}

TEST_F(GetMode, answers_0_without_a_status_record)
{
    mc_status_global = nullptr;
    uint8_t out = 0xAA;
    EXPECT_EQ(omci_get_multicast_mode(&out), 0);
    EXPECT_EQ(out, 0);
}

TEST_F(GetMode, reports_snooping_while_the_switch_floods)
{
    uint8_t out = 0xAA;
    omci_set_multicast_mode(5);
    EXPECT_EQ(omci_get_multicast_mode(&out), 0);
    EXPECT_EQ(out, 1);
    EXPECT_THAT(platform().calls(), ElementsAreArray(with(kFlooding, mode_call(1))));
}

} // namespace
} // namespace mcadapt::test
