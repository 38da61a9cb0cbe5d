// The reader of the replay program's configuration: any text is a configuration, or is refused with a reason a line.
#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <string>

#include "fuzz/expect.h"
#include "fuzz/fuzzer.h"
#include "host/program/unit_config.h"

using namespace mcadapt::host;

namespace {

const std::string kFile = "unit.conf";

UnitConfig parse(const std::string &text)
{
    std::istringstream input(text);
    return parse_unit_config(input, kFile);
}

// Each line of a refusal names the file and a line of it.
void check_refusal(const std::string &text, const std::string &refusal)
{
    const long lines = 1 + std::count(text.begin(), text.end(), '\n');
    std::istringstream input(refusal);
    long before = 0;
    std::size_t told = 0;
    for (std::string line; std::getline(input, line); ++told) {
        if (line.compare(0, kFile.size() + 1, kFile + ":") != 0)
            continue; // the word that is wrong may hold anything but a line end
        char *end = nullptr;
        const long number = std::strtol(line.c_str() + kFile.size() + 1, &end, 10);
        FUZZ_EXPECT(*end == ':' && number > before && number <= lines, "a refusal names a line of the file");
        before = number;
    }
    FUZZ_EXPECT(told > 0 && before > 0, "a refusal says something");
}

void check_settings(const UnitSettings &settings)
{
    FUZZ_EXPECT(settings.untagged_vlan <= 4095, "a VLAN is one");
    FUZZ_EXPECT(settings.more_ports.size() <= 28, "user ports are named once");
    for (const uint32_t port : settings.more_ports)
        FUZZ_EXPECT(port >= 1 && port <= 28, "a user port is one");
}

void check_operations(const UnitConfig &config)
{
    bool at_start = true;
    Duration after{0};
    for (const PlannedOperation &planned : config.operations) {
        FUZZ_EXPECT(at_start || !planned.at_start, "operations at start come first");
        if (at_start && !planned.at_start)
            after = Duration{0};
        at_start = planned.at_start;
        FUZZ_EXPECT(planned.operation != nullptr && planned.line > 0, "an operation stands in a line");
        FUZZ_EXPECT(planned.after >= Duration{0} && planned.after <= std::chrono::seconds(1000000000),
                    "a time is one that can be counted");
        FUZZ_EXPECT(planned.at_start || planned.after >= after, "operations are in the order of time");
        after = planned.after;
    }
}

bool equal(const Values &a, const Values &b, const Operation &operation)
{
    for (std::size_t i = 0; i < operation.arguments.size(); ++i)
        if (operation.arguments[i].kind != Kind::kEntries && a.number(i) != b.number(i))
            return false;
    const auto same = [](const ControlEntryWord &x, const ControlEntryWord &y) {
        return x.port == y.port && x.vlan == y.vlan && std::equal(x.mac, x.mac + 6, y.mac);
    };
    return a.entries().size() == b.entries().size() &&
           std::equal(a.entries().begin(), a.entries().end(), b.entries().begin(), same);
}

// The text kept of an operation says all that was asked for.
void check_texts(const UnitConfig &config)
{
    for (const PlannedOperation &planned : config.operations) {
        const UnitConfig again = parse(planned.text);
        FUZZ_EXPECT(again.operations.size() == 1 && again.operations[0].operation == planned.operation &&
                        equal(again.operations[0].values, planned.values, *planned.operation),
                    "an operation is what its text says");
    }
}

} // namespace

int LLVMFuzzerInitialize(int *, char ***) { return 0; }

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data), size);
    try {
        const UnitConfig config = parse(text);
        check_settings(config.settings);
        check_operations(config);
        check_texts(config);
    } catch (const ConfigError &error) {
        check_refusal(text, error.what());
    }
    return 0;
}
