/** Every exported operation, once for each kind of result; and the table of them against the headers. */
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "interface/operation_table.h"
#include "support/library_test.h"

namespace mcadapt::test {
namespace {

using ::testing::IsEmpty;

const std::vector<Operation> &all_operations()
{
    static const std::vector<Operation> operations = [] {
        std::vector<Operation> all;
        for (const auto part : {unit_operations, packet_operations, vlan_operations, parameter_operations,
                                group_operations, status_operations}) {
            for (Operation &operation : part())
                all.push_back(std::move(operation));
        }
        return all;
    }();
    return operations;
}

/** A unit that has been started. */
class StartedUnit : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        observe([] { return mc_igmp_init(10, 0); });
        release_status_block();
        mc_status_global = &status_block;
        status_block.statusMode = 1;
        platform().forget_calls();
    }

    void TearDown() override { release_status_block(); }

    /** What the library took from the heap and never frees itself. */
    void release_status_block()
    {
        if (mc_status_global != &status_block)
            std::free(mc_status_global);
        mc_status_global = nullptr;
    }
};

// --- Success

class EveryOperation : public StartedUnit, public ::testing::WithParamInterface<Operation> {};

std::string operation_name(const ::testing::TestParamInfo<Operation> &info) { return info.param.name(); }

INSTANTIATE_TEST_SUITE_P(Of, EveryOperation, ::testing::ValuesIn(all_operations()), operation_name);

TEST_P(EveryOperation, succeeds_and_asks_the_platform)
{
    EXPECT_EQ(observe(GetParam().call()).result, GetParam().result());
    for (const Operation::PlatformCall &call : GetParam().platform_calls())
        EXPECT_GT(platform().count(call.name), 0u) << call.name;
}

/** The operations that begin without a message of their own. */
const std::set<std::string> kWithoutEntryMessage = {
    "mc_igmp_init",
    "adapt_init",
    "igmp_adapt_init",
    "mld_adapt_init",
    "initIgmpGlobleParmeter",
    "igmp_adapt_task_init",
    "igmp_adapt_pkt_recv_task",
    "flood_trap",
    "omci_set_multi_white_list_entry",
    "omci_delete_multi_white_list",
    "omci_add_static_multi_acess_ctrl_table",
    "omci_del_static_multi_acess_ctrl_table",
    "omci_clear_all_static_multi_acess_ctrl_table",
    "igmp_hal_sync_if_status",
};

TEST_P(EveryOperation, prints_its_entry_message_before_it_asks_the_platform)
{
    everything_logged();
    const auto seen = observe(GetParam().call());
    if (seen.calls.empty())
        return;
    const bool asks_first = seen.trace[0] == '<';
    EXPECT_EQ(asks_first, kWithoutEntryMessage.count(GetParam().name()) != 0) << seen.trace;
}

// --- Refusal by the library

class EveryRefusal : public EveryOperation {};

std::vector<Operation> operations_that_refuse()
{
    std::vector<Operation> refusing;
    for (const Operation &operation : all_operations()) {
        if (operation.refusal())
            refusing.push_back(operation);
    }
    return refusing;
}

INSTANTIATE_TEST_SUITE_P(Of, EveryRefusal, ::testing::ValuesIn(operations_that_refuse()), operation_name);

TEST_P(EveryRefusal, asks_nothing)
{
    EXPECT_EQ(observe(GetParam().refusal()->call).result, GetParam().refusal()->result);
    for (const Operation::PlatformCall &call : GetParam().platform_calls())
        EXPECT_EQ(platform().count(call.name), 0u) << call.name;
}

// --- Refusal by the platform

struct PlatformRefusal {
    Operation operation;
    Operation::PlatformCall call;
};

void PrintTo(const PlatformRefusal &refusal, std::ostream *out)
{
    *out << refusal.operation.name() << " by " << refusal.call.name;
}

std::vector<PlatformRefusal> platform_refusals()
{
    std::vector<PlatformRefusal> refusals;
    for (const Operation &operation : all_operations()) {
        for (const Operation::PlatformCall &call : operation.platform_calls())
            refusals.push_back({operation, call});
    }
    return refusals;
}

class EveryPlatformRefusal : public StartedUnit, public ::testing::WithParamInterface<PlatformRefusal> {};

std::string refusal_name(const ::testing::TestParamInfo<PlatformRefusal> &info)
{
    return info.param.operation.name() + "_by_" + info.param.call.name;
}

INSTANTIATE_TEST_SUITE_P(Of, EveryPlatformRefusal, ::testing::ValuesIn(platform_refusals()), refusal_name);

TEST_P(EveryPlatformRefusal, becomes_the_result_as_the_operation_says)
{
    platform().answer(GetParam().call.name, kRefusal);
    EXPECT_EQ(observe(GetParam().operation.call()).result, GetParam().call.result_when_refused);
    EXPECT_GT(platform().count(GetParam().call.name), 0u);
}

// --- The table and the headers

/** The functions that a header declares as exported: each declaration begins a line. */
std::vector<std::string> exported_functions(const std::filesystem::path &header)
{
    std::ifstream file(header);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const std::string mark = "\nMCADAPT_API ";
    std::vector<std::string> names;
    for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + 1)) {
        const std::size_t name_end = text.find('(', at);
        const std::size_t name_start = text.find_last_of(" *\n", name_end) + 1;
        names.push_back(text.substr(name_start, name_end - name_start));
    }
    return names;
}

std::vector<std::string> only_in_first(const std::vector<std::string> &first, const std::vector<std::string> &second)
{
    std::vector<std::string> rest;
    std::set_difference(first.begin(), first.end(), second.begin(), second.end(), std::back_inserter(rest));
    return rest;
}

TEST(OperationTable, holds_every_operation_that_the_headers_declare_once)
{
    std::vector<std::string> declared;
    for (const auto &entry : std::filesystem::directory_iterator(MCADAPT_TEST_DATA "/../../include/mcadapt")) {
        for (std::string &name : exported_functions(entry.path()))
            declared.push_back(std::move(name));
    }
    std::vector<std::string> listed;
    for (const Operation &operation : all_operations())
        listed.push_back(operation.name());
    std::sort(declared.begin(), declared.end());
    std::sort(listed.begin(), listed.end());
    EXPECT_THAT(only_in_first(declared, listed), IsEmpty()) << "declared, but no row of the table";
    EXPECT_THAT(only_in_first(listed, declared), IsEmpty()) << "a row too many, or not declared any more";
}

} // namespace
} // namespace mcadapt::test
