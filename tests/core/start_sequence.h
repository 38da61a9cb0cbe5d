/**
 * @file
 * What start-up calls and prints, step by step, and how that changes when the platform refuses one of the calls.
 */
#ifndef MCADAPT_TESTS_CORE_START_SEQUENCE_H
#define MCADAPT_TESTS_CORE_START_SEQUENCE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "mcadapt/mcadapt.h"
#include "support/platform_double.h"

namespace mcadapt::test::start_up {

enum class Gate { kAlways, kError, kConfig, kMldError, kMldTrace };

/** The log masks of the two families. */
struct Masks {
    uint32_t igmp;
    uint32_t mld;

    bool let_through(Gate gate) const
    {
        switch (gate) {
        case Gate::kError:
            return (igmp & 0x04) != 0;
        case Gate::kConfig:
            return (igmp & 0x20) != 0;
        case Gate::kMldError:
            return (mld & 0x04) != 0;
        case Gate::kMldTrace:
            return (mld & 0x01) != 0;
        default:
            return true;
        }
    }
};

inline void PrintTo(const Masks &masks, std::ostream *out) { *out << masks.igmp << "/" << masks.mld; }

/** Nothing, each class alone, everything, each family alone, and every bit but that of the errors. */
inline std::vector<Masks> all_masks()
{
    return {{0, 0}, {4, 4}, {0x25, 0x25}, {1, 1},           {0x20, 0x20},
            {4, 0}, {0, 4}, {0x20, 1},    {~0x04u, ~0x04u}, {0x1A, 0x3A}};
}

/** A line of the log; a `%d` in it stands for the refusing call's result. */
struct LogLine {
    Gate gate;
    std::string text;
};

/** A platform call, or a line that is printed although nothing fails. */
struct Step {
    std::string call; // empty for a line
    LogLine line;
};

inline Step call(const std::string &text) { return {text, {}}; }
inline Step line(Gate gate, const std::string &text) { return {"", {gate, text}}; }

/** How much of a call's result counts. */
enum class Counts { kNothing, kLowByte, kWhole };

/** What follows when the platform refuses a call. */
struct Refusal {
    std::string call;
    int turn; // which of the calls of that name, from 0
    Counts counts;
    std::vector<LogLine> lines; // printed at once
    std::string resumes_at;     // the next call made, by its name; empty when no step is left out
};

inline void PrintTo(const Refusal &refusal, std::ostream *out) { *out << refusal.call << " #" << refusal.turn; }

/** Names the cases of a table of refusals. */
inline std::string case_name(const ::testing::TestParamInfo<Refusal> &info)
{
    return info.param.call + "_" + std::to_string(info.param.turn);
}

/** A result, and what its low byte says as a signed number. */
struct Answer {
    int32_t whole;
    int32_t low_byte;

    int32_t as(Counts counts) const
    {
        if (counts == Counts::kNothing)
            return 0;
        return counts == Counts::kLowByte ? low_byte : whole;
    }
};

inline std::vector<Answer> telling_answers()
{
    return {{5, 5}, {-1, -1}, {255, -1}, {256, 0}, {128, -128}, {0x7FFFFF00, 0}, {-256, 0}, {0x10001, 1}};
}

inline void let_refuse(const Refusal &refusal, int32_t result)
{
    std::vector<int32_t> results(static_cast<std::size_t>(refusal.turn), 0);
    results.push_back(result);
    results.push_back(0);
    platform().answers(refusal.call, results);
}

inline std::string filled_in(std::string text, int32_t result)
{
    const std::size_t place = text.find("%d");
    return place == std::string::npos ? text : text.replace(place, 2, std::to_string(result));
}

inline bool is_call_of(const Step &step, const std::string &name) { return step.call.rfind(name + "(", 0) == 0; }

/** The calls and lines in order when `refusal` is answered with `result`. */
inline std::vector<Step> steps_with(const std::vector<Step> &steps, const Refusal &refusal, int32_t result)
{
    std::vector<Step> made;
    int turn = 0;
    for (std::size_t i = 0; i < steps.size(); ++i) {
        made.push_back(steps[i]);
        if (!is_call_of(steps[i], refusal.call) || turn++ != refusal.turn || result == 0)
            continue;
        for (const LogLine &printed : refusal.lines)
            made.push_back({"", {printed.gate, filled_in(printed.text, result)}});
        while (!refusal.resumes_at.empty() && i + 1 < steps.size() && !is_call_of(steps[i + 1], refusal.resumes_at))
            ++i;
    }
    if (turn <= refusal.turn)
        throw std::invalid_argument(refusal.call + " is not called that often");
    return made;
}

/** The steps as `Observation::trace` shows them. */
inline std::string trace_of(const std::vector<Step> &steps, Masks masks)
{
    std::string trace;
    for (const Step &step : steps) {
        if (!step.call.empty())
            trace += "<" + step.call + ">\n";
        else if (masks.let_through(step.line.gate))
            trace += step.line.text;
    }
    return trace;
}

inline std::string output_of(const std::vector<Step> &steps, Masks masks)
{
    std::string output;
    for (const Step &step : steps)
        if (step.call.empty() && masks.let_through(step.line.gate))
            output += step.line.text;
    return output;
}

inline std::vector<std::string> calls_of(const std::vector<Step> &steps)
{
    std::vector<std::string> calls;
    for (const Step &step : steps)
        if (!step.call.empty())
            calls.push_back(step.call);
    return calls;
}

inline std::vector<Step> joined(const std::vector<std::vector<Step>> &parts)
{
    std::vector<Step> steps;
    for (const auto &part : parts)
        steps.insert(steps.end(), part.begin(), part.end());
    return steps;
}

// --- The steps of start-up

inline std::vector<Step> snooping_mode_steps()
{
    return {line(Gate::kConfig, "\r\n[MC_DBG_CFG]: omci_set_multicast_mode proxy_adapt_mode =1\n"),
            call("l2_multicast_set_trap(0, 1)"),
            call("l2_multicast_set_flood(0, 0)"),
            call("l2_multicast_set_flood(1, 0)"),
            call("l2_multicast_set_trap(1, 1)"),
            call("igmp_mode_switch_globle(1)")};
}

inline std::vector<Step> igmp_parameter_steps()
{
    return joined({{call("igmp_default_vid_set(4088)"), call("igmp_para_globle_set(2, 125, 10, 1, 2, 1)")},
                   snooping_mode_steps(),
                   {call("igmp_fast_leave_enable_globle(0)"), call("igmp_vlan_learning_set(0)")}});
}

inline std::vector<Step> igmp_port_steps()
{
    return {line(Gate::kConfig, "\r\n[MC_DBG_CFG]: igmp_adapt_port_conf_set is in\r\n"),
            call("igmp_port_add_all_vlan(0)"), call("igmp_port_add_all_vlan(65535)")};
}

inline std::vector<Step> igmp_registration_steps()
{
    return joined(
        {{call("igmp_register_switch_send_pkt(send_pkt_igmp)"), call("igmp_register_switch_add_table(igmp_add_grp)"),
          call("igmp_register_switch_del_table(igmp_del_grp)")},
         igmp_port_steps()});
}

inline std::vector<Step> mld_port_steps()
{
    return {line(Gate::kMldTrace, "\r\n[MC_MLD_DBG_DBG]: mld_adapt_port_conf_set is in\r\n"),
            call("mld_port_conf_set(0)"), call("mld_port_conf_set(29)")};
}

inline std::vector<Step> mld_registration_steps()
{
    return joined(
        {{call("mld_register_switch_send_pkt(send_pkt_mld)"), call("mld_register_switch_add_table(mld_add_grp)"),
          call("mld_register_switch_del_table(mld_del_grp)")},
         mld_port_steps(),
         {call("mld_proxy_snoop_set_globle(2)")}});
}

inline std::vector<Step> adapter_steps()
{
    return joined({{call("igmp_vlan_del_all()")},
                   igmp_parameter_steps(),
                   {call("get_mac_addr(\"ethaddr\", 6)")},
                   igmp_registration_steps(),
                   mld_registration_steps(),
                   {call("L2_multicast_init()"), call("L2_multicast_set_filter_method(2)")},
                   snooping_mode_steps(),
                   {call("igmp_globle_proxyip_set(169414164)")}}); // 10.25.14.20
}

// --- What each refusal leads to

inline constexpr char kFloodTrapError[] = "\r\n[MC_DBG_ERR]: ERROR!flood_trap =1 ";
inline constexpr char kModeError[] = "\r\n[MC_DBG_ERR]: \n ERROR!proxy_adapt_mode =1 ";

/** Refusals of the driver while the mode is set for the `time`-th time. */
inline std::vector<Refusal> driver_refusals(int time)
{
    const LogLine flood_trap = {Gate::kError, kFloodTrapError};
    const std::string next = "igmp_mode_switch_globle";
    const LogLine trap = {Gate::kAlways, "\n ERROR! l2_multicast_set_trap Fail %d!\n"};
    const int first = 2 * time;
    return {
        {"l2_multicast_set_trap", first, Counts::kWhole, {trap, flood_trap}, next},
        {"l2_multicast_set_flood",
         first,
         Counts::kWhole,
         {{Gate::kAlways, "\n ERROR! l2_multicast_set_flood snooping Fail %d!\n"}, flood_trap},
         next},
        {"l2_multicast_set_flood",
         first + 1,
         Counts::kWhole,
         {{Gate::kAlways, "\n ERROR! l2_multicast_set_flood Fail %d!\n"}, flood_trap},
         next},
        {"l2_multicast_set_trap", first + 1, Counts::kWhole, {trap, flood_trap}, ""},
    };
}

/** Refusals of the calls of `igmp_parameter_steps`. */
inline std::vector<Refusal> igmp_parameter_refusals()
{
    std::vector<Refusal> refusals = driver_refusals(0);
    refusals.insert(refusals.end(),
                    {{"igmp_default_vid_set",
                      0,
                      Counts::kWhole,
                      {{Gate::kError, "\r\n[MC_DBG_ERR]: igmp_default_vid_set is error! ret = %d\r\n"}},
                      ""},
                     {"igmp_para_globle_set",
                      0,
                      Counts::kWhole,
                      {{Gate::kError, "\r\n[MC_DBG_ERR]: igmp_para_globle_set is error! ret = %d\r\n"}},
                      ""},
                     {"igmp_mode_switch_globle",
                      0,
                      Counts::kWhole,
                      {{Gate::kError, kModeError},
                       {Gate::kError, "\r\n[MC_DBG_ERR]: omci_set_multicast_mode is error! ret = %d\r\n"}},
                      ""},
                     {"igmp_fast_leave_enable_globle",
                      0,
                      Counts::kLowByte,
                      {{Gate::kError, "\r\n[MC_DBG_ERR]: igmp_fast_leave_enable_globle is error! ret = %d\r\n"}},
                      ""},
                     {"igmp_vlan_learning_set",
                      0,
                      Counts::kLowByte,
                      {{Gate::kError, "\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_vlan_learning Fail ret = %d"}},
                      ""}});
    return refusals;
}

/** Refusals of the calls of `igmp_registration_steps`. */
inline std::vector<Refusal> igmp_registration_refusals()
{
    const std::vector<LogLine> port_lines = {
        {Gate::kError, "\r\n[MC_DBG_ERR]: \n ERROR!igmp_port_conf_set Fail"},
        {Gate::kAlways, "\n ERROR! igmp_adapt_port_conf_set Fail !\n"},
    };
    return {
        {"igmp_register_switch_send_pkt",
         0,
         Counts::kLowByte,
         {{Gate::kAlways, "\n ERROR! igmp_register_switch_send_pkt Fail !\n"}},
         ""},
        // intended: two lines, for this registration alone
        {"igmp_register_switch_add_table",
         0,
         Counts::kLowByte,
         {{Gate::kAlways, "\n igmp_register_switch_add_table !\n"},
          {Gate::kAlways, "\n ERROR! igmp_register_switch_add_table Fail !\n"}},
         ""},
        {"igmp_register_switch_del_table",
         0,
         Counts::kLowByte,
         {{Gate::kAlways, "\n ERROR! igmp_register_switch_del_table Fail !\n"}},
         ""},
        // The other port is not declared.
        {"igmp_port_add_all_vlan", 0, Counts::kLowByte, port_lines, "mld_register_switch_send_pkt"},
        {"igmp_port_add_all_vlan", 1, Counts::kLowByte, port_lines, ""},
    };
}

inline Refusal mld_refusal(const std::string &call, int turn, Counts counts, const std::vector<std::string> &lines,
                           const std::string &resumes_at = "")
{
    Refusal refusal = {call, turn, counts, {}, resumes_at};
    for (const std::string &line : lines)
        refusal.lines.push_back({Gate::kMldError, "\r\n[MC_MLD_DBG_ERR]: " + line});
    return refusal;
}

/** Refusals of the calls of `mld_registration_steps`. */
inline std::vector<Refusal> mld_registration_refusals()
{
    const std::vector<std::string> port_lines = {"\n ERROR!mld_adapt_port_conf_set Fail",
                                                 "\n ERROR! mld_port_conf_set Fail !"};
    return {
        mld_refusal("mld_register_switch_send_pkt", 0, Counts::kLowByte,
                    {"\n ERROR! mld_register_switch_send_pkt Fail !"}),
        // intended: one line only
        mld_refusal("mld_register_switch_add_table", 0, Counts::kLowByte,
                    {"\n ERROR! mld_register_switch_add_table Fail !"}),
        mld_refusal("mld_register_switch_del_table", 0, Counts::kLowByte,
                    {"\n ERROR! mld_register_switch_del_table Fail !"}),
        mld_refusal("mld_port_conf_set", 0, Counts::kWhole, port_lines, "mld_proxy_snoop_set_globle"),
        mld_refusal("mld_port_conf_set", 1, Counts::kWhole, port_lines),
        mld_refusal("mld_proxy_snoop_set_globle", 0, Counts::kWhole, {"\n ERROR!mld_pack_set_mc_mode snooping Fail"}),
    };
}

} // namespace mcadapt::test::start_up

#endif
