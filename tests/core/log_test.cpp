/** The log: prefixes, gates, and what becomes of a message whose gate is closed. */
#include "core/log.h"

#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <poll.h>
#include <pthread.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "core/families.h"
#include "mcadapt/mcadapt.h"
#include "support/library_test.h"

namespace mcadapt::test {
namespace {

using ::testing::IsEmpty;

/** One class of the log of one family. */
struct Class {
    std::string prefix;
    uint32_t bit;
    uint32_t *mask;
    std::function<void(int)> print;
};

void PrintTo(const Class &log_class, std::ostream *out) { *out << log_class.prefix; }

std::vector<Class> classes()
{
    return {
        {"[MC_DBG_DBG]: ", 0x01, &mc_debug, [](int value) { LOG_TRACE(Igmp, "value %d", value); }},
        {"[MC_DBG_ERR]: ", 0x04, &mc_debug, [](int value) { LOG_ERROR(Igmp, "value %d", value); }},
        {"[MC_DBG_CFG]: ", 0x20, &mc_debug, [](int value) { LOG_CONFIG(Igmp, "value %d", value); }},
        {"[MC_MLD_DBG_DBG]: ", 0x01, &mld_debug, [](int value) { LOG_TRACE(Mld, "value %d", value); }},
        {"[MC_MLD_DBG_ERR]: ", 0x04, &mld_debug, [](int value) { LOG_ERROR(Mld, "value %d", value); }},
        {"[MC_MLD_DBG_CFG]: ", 0x20, &mld_debug, [](int value) { LOG_CONFIG(Mld, "value %d", value); }},
    };
}

class LogClass : public LibraryTest, public ::testing::WithParamInterface<Class> {
protected:
    std::string printed()
    {
        return observe([] { GetParam().print(-7); }).output;
    }
};

TEST_P(LogClass, begins_each_message_with_its_prefix)
{
    *GetParam().mask = GetParam().bit;
    EXPECT_EQ(printed(), "\r\n" + GetParam().prefix + "value -7");
}

TEST_P(LogClass, prints_whenever_its_bit_is_set)
{
    for (const uint32_t other : {0u, 0x01u, 0x04u, 0x20u, 0x80000000u, ~0u}) {
        *GetParam().mask = GetParam().bit | other;
        EXPECT_NE(printed(), "") << other;
    }
}

TEST_P(LogClass, is_silent_whatever_else_is_set)
{
    for (int bit = 0; bit < 32; ++bit) {
        log_mask(~0u); // the other family's mask stays so
        *GetParam().mask = (1u << bit) & ~GetParam().bit;
        EXPECT_EQ(printed(), "") << bit;
    }
    *GetParam().mask = ~GetParam().bit;
    EXPECT_EQ(printed(), "");
}

INSTANTIATE_TEST_SUITE_P(OfBothFamilies, LogClass, ::testing::ValuesIn(classes()));

class Logging : public LibraryTest {};

TEST_F(Logging, does_not_compute_the_arguments_of_a_closed_gate)
{
    int computed = 0;
    const auto argument = [&computed] { return ++computed; };
    const auto print_all = [&argument] {
        LOG_TRACE(Igmp, "%d", argument());
        LOG_ERROR(Igmp, "%d", argument());
        LOG_CONFIG(Igmp, "%d", argument());
        LOG_TRACE(Mld, "%d", argument());
        LOG_ERROR(Mld, "%d", argument());
        LOG_CONFIG(Mld, "%d", argument());
    };
    log_mask(~(0x01u | 0x04u | 0x20u));
    observe(print_all);
    EXPECT_EQ(computed, 0);
    log_mask(~0u);
    observe(print_all);
    EXPECT_EQ(computed, 6);
}

TEST_F(Logging, adds_nothing_to_the_end_of_a_message)
{
    errors_logged();
    EXPECT_EQ(observe([] { LOG_ERROR(Igmp, "end"); }).output, "\r\n[MC_DBG_ERR]: end");
    EXPECT_EQ(observe([] { LOG_ERROR(Mld, "end\r\n"); }).output, "\r\n[MC_MLD_DBG_ERR]: end\r\n");
}

TEST_F(Logging, serves_as_the_only_statement_of_a_branch)
{
    errors_logged();
    const auto choose = [](bool first) {
        if (first)
            LOG_ERROR(Igmp, "first");
        else
            LOG_ERROR(Igmp, "second");
    };
    EXPECT_EQ(observe([&] { choose(true); }).output, "\r\n[MC_DBG_ERR]: first");
    EXPECT_EQ(observe([&] { choose(false); }).output, "\r\n[MC_DBG_ERR]: second");
}

// A macro, for a message takes its format as a literal.
#define LONGEST_TEXT                                                                                                   \
    "an entry of the table 012345678901234567890123456789012345678901234567890123456789012345678901234567890123456789" \
    "01234567890123456789012345678901234567890123456789012345678901234567890 "

TEST_F(Logging, prints_the_longest_message_whole)
{
    static_assert(sizeof(LONGEST_TEXT "%d") <= kLongestFormat && sizeof(LONGEST_TEXT "%d") + 8 > kLongestFormat);
    errors_logged();
    EXPECT_EQ(observe([] { LOG_ERROR(Mld, LONGEST_TEXT "%d", INT_MIN); }).output,
              "\r\n[MC_MLD_DBG_ERR]: " LONGEST_TEXT "-2147483648");
}

/** Prints into a full pipe until it is cancelled. */
void *print_for_ever(void *)
{
    for (;;)
        LOG_ERROR(Igmp, "nobody reads this");
}

/** Ends the process by 0 when another thread can print after one was cancelled while it printed. */
[[noreturn]] void print_after_a_cancelled_thread()
{
    int ends[2];
    pthread_t printer;
    if (pipe(ends) != 0 || dup2(ends[1], STDOUT_FILENO) < 0)
        _exit(2);
    mc_debug = ~0u;
    if (pthread_create(&printer, nullptr, print_for_ever, nullptr) != 0)
        _exit(3);
    pollfd writable = {ends[1], POLLOUT, 0};
    while (poll(&writable, 1, 0) == 1) {
    }
    pthread_cancel(printer);
    pthread_join(printer, nullptr);

    char drained[4096];
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    while (read(ends[0], drained, sizeof(drained)) > 0) {
    }
    alarm(20); // ends the process by a signal, should standard output still be locked
    LOG_ERROR(Igmp, "somebody goes on");
    _exit(fflush(stdout));
}

TEST_F(Logging, goes_on_after_a_thread_was_cancelled_while_it_printed)
{
    EXPECT_EXIT(print_after_a_cancelled_thread(), ::testing::ExitedWithCode(0), "");
}

TEST_F(Logging, tests_the_bit_at_each_message)
{
    // Opened in the middle of an operation: the lines before stay away, those after are printed.
    platform().answer("l2_multicast_set_trap", 3);
    platform().answer("igmp_mode_switch_globle", 4);
    platform().on("igmp_mode_switch_globle", [] { mc_debug = 0x04; });
    EXPECT_EQ(observe([] { return omci_set_multicast_mode(1); }).output,
              "\n ERROR! l2_multicast_set_trap Fail 3!\n"
              "\r\n[MC_DBG_ERR]: \n ERROR!proxy_adapt_mode =1 ");

    platform().on("igmp_mode_switch_globle", [] { mc_debug = 0; });
    EXPECT_EQ(observe([] { return omci_set_multicast_mode(1); }).output, "\n ERROR! l2_multicast_set_trap Fail 3!\n"
                                                                         "\r\n[MC_DBG_ERR]: ERROR!flood_trap =1 ");
}

/** A fixed text that ends in a carriage return is a whole line. */
struct FixedText {
    uint32_t bit;
    std::function<void()> operation;
    std::string output;
};

TEST_F(Logging, ends_fixed_texts_in_a_carriage_return_and_a_line_feed)
{
    uint8_t mode = 0;
    const std::vector<FixedText> texts = {
        {0x20, [] { getIgmpGlobleParmeter(); }, "\r\n[MC_DBG_CFG]: getIgmpGlobleParmeter is in\r\n"},
        {0x20, [] { getPortVlanConfigNumber(); }, "\r\n[MC_DBG_CFG]: getPortVlanConfigNumber is in\r\n"},
        {0x20, [] { getTemplateVlanNumber(); }, "\r\n[MC_DBG_CFG]: getTemplateVlanNumber is in\r\n"},
        {0x20, [] { igmp_adapt_port_conf_set(); }, "\r\n[MC_DBG_CFG]: igmp_adapt_port_conf_set is in\r\n"},
        {0x01, [] { mld_adapt_port_conf_set(); }, "\r\n[MC_MLD_DBG_DBG]: mld_adapt_port_conf_set is in\r\n"},
        {0x20, [&] { omci_get_multicast_mode(&mode); }, "\r\n[MC_DBG_CFG]: [omci_get_multicast_mode]: \r\n"},
        {0x20, [] { std_omci_set_multicast_mode(1); }, "\r\n[MC_DBG_CFG]: std_omci_set_multicast_mode is in!\n"},
    };
    for (const FixedText &text : texts) {
        log_mask(text.bit);
        EXPECT_EQ(observe(text.operation).output, text.output);
        log_mask(~text.bit);
        EXPECT_THAT(observe(text.operation).output, ::testing::Not(::testing::HasSubstr(text.output)));
    }
}

TEST_F(Logging, masks_are_closed_when_the_library_is_loaded)
{
    EXPECT_EQ(mc_debug, 0u);
    EXPECT_EQ(mld_debug, 0u);
}

} // namespace
} // namespace mcadapt::test
