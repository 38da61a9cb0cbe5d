#include "host/program/check.h"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>

#include "host/program/print.h"
#include "host/program/replay.h"
#include "host/program/text.h"
#include "host/switch/capture_writer.h"
#include "mcadapt/mcadapt.h"

namespace mcadapt::host {

namespace {

// Whether a result begins with a status other than 0.
bool is_refusal(std::string_view result)
{
    int status = 0;
    const auto [end, error] = std::from_chars(result.data(), result.data() + result.size(), status);
    const bool alone = end == result.data() + result.size() || *end == ',';
    return error == std::errc() && alone && status != 0;
}

/** Prints each operation with its time, its result, and what the library printed in it. */
class Results final : public Observer {
public:
    Results(const std::string &file, const UnitConfig &config, std::FILE *out) : file_(file), config_(config), out_(out)
    {
    }

    void operation_called(std::string_view text, std::string_view result) override
    {
        const PlannedOperation &operation = config_.operations[called_++];
        const bool refused = is_refusal(result);
        refused_ += refused ? 1 : 0;
        print(out_, "{}:{}: {} = {}{}\n", file_, operation.line, text, result, refused ? "  <- refused" : "");
        for (const std::string &line : lines_of(printed_))
            print(out_, "    | {}\n", line);
        printed_.clear();
    }
    void library_wrote(std::string_view text) override { printed_ += text; }

    int refused() const { return refused_; }

private:
    const std::string &file_;
    const UnitConfig &config_;
    std::FILE *out_;
    std::size_t called_ = 0;
    int refused_ = 0;
    std::string printed_; // by the library in the operation that is called now
};

// intended: a cleared VLAN field is no VLAN, and neither are its low 12 bits
std::string vlan_text(uint16_t vlan) { return vlan == MC_NO_VLAN ? "-" : std::to_string(vlan); }

constexpr const char *kColumns[] = {"port",    "up mode",  "in up",     "out up",  "down mode",
                                    "in down", "out down", "data mode", "in data", "out data"};

void print_rule(std::FILE *out, const vlanCfgNode &rule)
{
    const std::string cells[] = {std::to_string(rule.portNO),       std::to_string(rule.prouptagmode),
                                 vlan_text(rule.in_up_vlan),        vlan_text(rule.out_up_vlan),
                                 std::to_string(rule.prodntagmode), vlan_text(rule.in_dn_vlan),
                                 vlan_text(rule.out_dn_vlan),       std::to_string(rule.datedntagmode),
                                 vlan_text(rule.in_data_vlan),      vlan_text(rule.out_data_vlan)};
    print(out, " ");
    for (const std::string &cell : cells)
        print(out, " {:>9}", cell);
    print(out, "\n");
}

void print_rules(std::FILE *out, const char *family, const vlanCfgNode (&rules)[MC_LOGIC_PORTS][MC_RULES_PER_PORT],
                 const int32_t *counts)
{
    print(out, "\n{} rules\n ", family);
    for (const char *column : kColumns)
        print(out, " {:>9}", column);
    print(out, "\n");
    bool any = false;
    for (int port = 0; port < MC_LOGIC_PORTS; ++port) {
        for (int i = 0; i < counts[port] && i < MC_RULES_PER_PORT; ++i) {
            print_rule(out, rules[port][i]);
            any = true;
        }
    }
    if (!any)
        print(out, "  none\n");
}

template <class Vlan> std::string vlans_text(const Vlan *vlans, int32_t count)
{
    std::string text;
    for (int32_t i = 0; i < count && i < MC_TEMPLATE_VLANS; ++i)
        text += (i == 0 ? "" : ", ") + std::to_string(vlans[i]);
    return text.empty() ? "none" : text;
}

const char *igmp_mode_text()
{
    return proxy_adapt_mode == 3 ? "control" : proxy_adapt_mode == 2 ? "proxy" : "snooping";
}

const char *mld_mode_text() { return mldInitParams.multiMode == 3 ? "control" : "snooping"; }

void print_records(std::FILE *out)
{
    print_rules(out, "IGMP", PortVlanCfg, setVlanCfgNumber);
    print_rules(out, "MLD", mldInitParams.mldPortVlanCfg, mldInitParams.mldSetVlanCfgNumber);
    print(out, "\n{:<16} {:<24} {}\n", "", "IGMP", "MLD");
    print(out, "{:<16} {:<24} {}\n", "mode", igmp_mode_text(), mld_mode_text());
    print(out, "{:<16} {:<24} {}\n", "template VLANs", vlans_text(PortVlan, setVlanNumber),
          vlans_text(mldInitParams.mldVlanList, mldInitParams.setVlanNumber));
    print(out, "{:<16} {:<24} {}\n", "default VLAN", defaultVlan, mldInitParams.defaultVlan);
}

} // namespace

int check_unit(const std::string &file, std::FILE *out)
{
    const UnitConfig config = read_unit_config(file);
    CaptureReader no_captures;
    NoCapture nowhere;
    ReplayClock clock;
    Results results(file, config, out);
    ReplayOptions options;
    options.tail = Duration{0};
    {
        Replay run(config, no_captures, nowhere, clock, results, options);
        run.run();
    }
    print_records(out);
    if (results.refused() != 0)
        print(out, "\nRefused: {} of {} operations\n", results.refused(), config.operations.size());
    return results.refused();
}

} // namespace mcadapt::host
