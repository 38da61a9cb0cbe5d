#include "host/program/operations.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>

namespace mcadapt::host {
namespace {

using Names = std::set<std::string>;

std::string header(const std::string &name)
{
    std::ifstream input(MCADAPT_SOURCE "/include/mcadapt/" + name);
    EXPECT_TRUE(input) << name;
    return {std::istreambuf_iterator<char>(input), {}};
}

// The exported functions that a header declares.
Names declared_in(const std::string &name)
{
    static const std::regex declaration(R"(MCADAPT_API\s+[\w ]*?[ *](\w+)\()");
    const std::string text = header(name);
    Names names;
    for (std::sregex_iterator at(text.begin(), text.end(), declaration), end; at != end; ++at)
        names.insert((*at)[1]);
    return names;
}

Names listed()
{
    Names names;
    for (const Operation &operation : operations())
        names.insert(operation.name);
    return names;
}

// The test hooks, which stand among the engine's callbacks.
const Names kHooks = {"igmp_set_table_return", "igmp_adapt_set_test_uplink", "igmp_adapt_set_sig_vlan",
                      "igmp_adapt_set_pkt_process_disable"};

TEST(Operations, are_all_that_the_agents_headers_declare_and_the_hooks)
{
    Names expected = kHooks;
    for (const char *name : {"omci.h", "std_omci.h", "oam.h", "web.h", "status.h", "diagnostics.h"}) {
        const Names declared = declared_in(name);
        EXPECT_FALSE(declared.empty()) << name;
        expected.insert(declared.begin(), declared.end());
    }
    EXPECT_EQ(listed(), expected);
    EXPECT_EQ(operations().size(), expected.size()) << "an operation is listed twice";
}

TEST(Operations, hooks_are_declared)
{
    const Names declared = declared_in("engine_callbacks.h");
    for (const std::string &hook : kHooks)
        EXPECT_EQ(declared.count(hook), 1u) << hook;
}

TEST(Operations, are_found_by_name)
{
    ASSERT_NE(find_operation("omci_set_multicast_mode"), nullptr);
    EXPECT_STREQ(find_operation("omci_set_multicast_mode")->name, "omci_set_multicast_mode");
    EXPECT_EQ(find_operation("omci_set_multicast"), nullptr);
    EXPECT_EQ(find_operation(""), nullptr);
}

TEST(Operations, have_a_line_of_help_and_arguments_that_can_be_named)
{
    for (const Operation &operation : operations()) {
        SCOPED_TRACE(operation.name);
        EXPECT_EQ(std::string(operation.help).back(), '.');
        EXPECT_EQ(std::string(operation.help).find('\n'), std::string::npos);
        Names names;
        for (const Argument &argument : operation.arguments) {
            EXPECT_TRUE(names.insert(argument.name).second) << argument.name;
            EXPECT_STRNE(argument.help, "");
        }
    }
}

// What is left out must be a value that its own kind takes.
TEST(Operations, accept_their_own_defaults)
{
    for (const Operation &operation : operations()) {
        SCOPED_TRACE(operation.name);
        std::vector<std::string> words;
        for (const Argument &argument : operation.arguments)
            if (argument.otherwise == nullptr)
                words.push_back(std::string(argument.name) +
                                (argument.kind == Kind::kEntries ? "=1/1/01:00:5e:01:02:03" : "=1"));
        EXPECT_NO_THROW(Values(operation.arguments, words));
    }
}

} // namespace
} // namespace mcadapt::host
