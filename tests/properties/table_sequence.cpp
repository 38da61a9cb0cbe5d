#include "properties/table_sequence.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "properties/rule_model.h"
#include "properties/table_checks.h"
#include "support/matchers.h"
#include "support/platform_double.h"
#include "support/record_state.h"

namespace mcadapt::test {

namespace {

constexpr uint32_t kStepsOfAnEpisode = 400;
constexpr std::size_t kReportedOperations = 12;

/** The calls whose answers the operations look at, or that they make at all. */
constexpr const char *kCalls[] = {
    "igmp_vlan_learning_set",
    "igmp_if_static_group_source_add",
    "igmp_if_static_group_source_del",
    "igmp_vlan_add",
    "igmp_vlan_del",
    "igmp_vlan_del_all",
    "mld_pack_set_mc_vlan",
    "mld_api_set_default_vlan",
    "igmp_default_vid_set",
    "igmp_para_globle_set",
    "l2_multicast_set_trap",
    "l2_multicast_set_flood",
    "igmp_mode_switch_globle",
    "igmp_fast_leave_enable_globle",
    "igmp_del_all_group",
    "igmp_if_fast_leave_enable",
    "igmp_if_max_group_num_set",
    "vx_hal_nni_upmode_get",
};

std::string lines(const std::vector<std::string> &calls)
{
    std::string text;
    for (const std::string &call : calls)
        text += "    " + call + "\n";
    return text;
}

uint64_t number_from(const char *variable, uint64_t otherwise)
{
    const char *text = std::getenv(variable);
    return text != nullptr ? std::strtoull(text, nullptr, 0) : otherwise;
}

/** What the platform's stand-in keeps of earlier tests must not reach a sequence, nor the other way round. */
void answer_from(EngineAnswers &answers)
{
    platform() = PlatformDouble();
    for (const char *call : kCalls)
        platform().on(call, [&answers, call] { platform().answer(call, answers.next()); });
}

} // namespace

uint32_t sequence_steps(uint32_t default_steps)
{
    return static_cast<uint32_t>(number_from("MCADAPT_PROPERTY_STEPS", default_steps));
}

uint64_t sequence_seed() { return number_from("MCADAPT_PROPERTY_SEED", 1); }

/** Takes standard output while it exists; kept open over many operations, where a watch of its own would be dear. */
class TableSequence::Capture {
public:
    Capture() : outer_(stdout)
    {
        std::fflush(stdout);
        stream_ = open_memstream(&text_, &length_);
        stdout = stream_;
    }
    ~Capture()
    {
        stdout = outer_;
        std::fclose(stream_);
        std::free(text_);
    }
    Capture(const Capture &) = delete;
    Capture &operator=(const Capture &) = delete;

    /** What was written since the last call. */
    std::string take()
    {
        std::fflush(stream_);
        std::string written(text_ + taken_, length_ - taken_);
        taken_ = length_;
        return written;
    }

private:
    std::FILE *outer_;
    std::FILE *stream_;
    char *text_ = nullptr;
    std::size_t length_ = 0;
    std::size_t taken_ = 0;
};

TableSequence::TableSequence(const Scenario &scenario, uint64_t seed)
    : scenario_(scenario), seed_(seed), random_(seed), first_status_(std::make_unique<grp_info>())
{
    mc_status_global = nullptr;
}

TableSequence::~TableSequence()
{
    if (mc_status_global != first_status_.get())
        std::free(mc_status_global);
    mc_status_global = nullptr;
    platform() = PlatformDouble();
}

void TableSequence::begin_episode()
{
    if (mc_status_global != first_status_.get())
        std::free(mc_status_global);
    restore_load_image();
    std::memset(first_status_.get(), 0x3C, sizeof *first_status_);
    mc_status_global = first_status_.get();
    for (int i = 0; i < 2; ++i) {
        portState[i].portNo = scenario_.port_numbers[i];
        mldInitParams.mldPortState[i].portNo = scenario_.port_numbers[i];
    }
    if (scenario_.logged) {
        mc_debug = mld_debug = 0xFFFFFFFF;
        igmp_adapt = 1;
        mldInitParams.mldAdapt = 1;
    } else {
        igmp_adapt = random_.one_of(std::array<int32_t, 4>{-1, -2, 0, 2});
    }
    mark_bystanders();
    answer_from(library_answers_);
    capture_.reset();
    capture_ = std::make_unique<Capture>();
    load_models();
}

void TableSequence::load_models()
{
    mld_.state = mldInitParams;
    igmp_.parm = globle_parm;
    std::memcpy(igmp_.rules, PortVlanCfg, sizeof igmp_.rules);
    std::memcpy(igmp_.counts, setVlanCfgNumber, sizeof igmp_.counts);
    std::memcpy(igmp_.vlans, PortVlan, sizeof igmp_.vlans);
    igmp_.vlan_count = setVlanNumber;
    std::memcpy(igmp_.ports, portState, sizeof igmp_.ports);
    std::memcpy(igmp_.static_groups, g_static_list, sizeof igmp_.static_groups);
    std::memcpy(igmp_.static_counts, g_static_grp_num, sizeof igmp_.static_counts);
    igmp_.status = *mc_status_global;
    igmp_.default_vlan = defaultVlan;
    igmp_.adapt = igmp_adapt;
    igmp_.set_by_mode = flag_omci_version;
    igmp_.protocol_mode = proxy_adapt_mode;
}

// Once rules were set by mode there is no way back, so the standard operations come first for a while.
Operation TableSequence::next_operation(uint32_t step_of_episode)
{
    Operation drawn = draw(random_, scenario_.mix, igmp_.ports);
    if (step_of_episode >= scenario_.operations_before_first_by_mode)
        return drawn;
    if (drawn.kind == Kind::kInstallByMode)
        drawn.kind = Kind::kInstall;
    if (drawn.kind == Kind::kRemoveByMode)
        drawn.kind = Kind::kRemove;
    return drawn;
}

std::string TableSequence::run(uint32_t steps)
{
    for (uint32_t i = 0; i < steps; ++i) {
        if (i % kStepsOfAnEpisode == 0)
            begin_episode();
        const Operation operation = next_operation(i % kStepsOfAnEpisode);
        last_operations_.push_back(operation);
        if (last_operations_.size() > kReportedOperations)
            last_operations_.pop_front();
        const std::string wrong = step(operation);
        if (!wrong.empty())
            return report(i, wrong);
    }
    return "";
}

std::string TableSequence::step(const Operation &operation)
{
    grp_info *const status_before = mc_status_global;
    platform().forget_calls();
    platform().uplink_mode = operation.epon ? 0 : 1;
    if (operation.kind == Kind::kResetAll && operation.without_memory)
        platform().fail_next_calloc();
    library_answers_ = EngineAnswers(operation.answers, operation.refused_percent);
    const Outcome seen = run_on_library(operation);
    const std::string output = capture_->take();

    engine_.answers = EngineAnswers(operation.answers, operation.refused_percent);
    engine_.calls.clear();
    engine_.output.clear();
    const Outcome expected = run_on_models(operation, igmp_, mld_);

    std::string wrong;
    if (seen.result != expected.result)
        wrong +=
            "the result is " + std::to_string(seen.result) + ", expected " + std::to_string(expected.result) + "\n";
    if (!(seen.rule == expected.rule))
        wrong += "the record is " + ::testing::PrintToString(seen.rule) + ", expected " +
                 ::testing::PrintToString(expected.rule) + "\n";
    if (platform().calls() != engine_.calls)
        wrong += "the calls are\n" + lines(platform().calls()) + "expected\n" + lines(engine_.calls);
    if (!scenario_.logged && output != engine_.output)
        wrong += "the output is \"" + output + "\", expected \"" + engine_.output + "\"\n";
    wrong += differences(igmp_, mld_) + broken_counts() + broken_lists() + touched_bystanders();
    if (wrong.empty() && scenario_.rows != Rows::kHoles)
        wrong += rules_left_behind();
    if (wrong.empty() && scenario_.rows == Rows::kPacked)
        wrong += counted_but_not_live();
    note_counts();
    // A reset leaves the block before it behind for good; here nobody reads it any more.
    if (status_before != mc_status_global && status_before != first_status_.get())
        std::free(status_before);
    return wrong;
}

void TableSequence::note_counts()
{
    for (int port = 0; port < 2; ++port) {
        most_.rules = std::max(most_.rules, setVlanCfgNumber[port]);
        most_.static_groups = std::max(most_.static_groups, g_static_grp_num[port]);
        most_.mld_rules = std::max(most_.mld_rules, mldInitParams.mldSetVlanCfgNumber[port]);
    }
    most_.vlans = std::max(most_.vlans, setVlanNumber);
    most_.mld_vlans = std::max(most_.mld_vlans, mldInitParams.setVlanNumber);
}

std::string TableSequence::report(uint32_t step, const std::string &wrong) const
{
    std::string text = std::string(scenario_.name) + ", seed " + std::to_string(seed_) + ", step " +
                       std::to_string(step) + ":\n" + wrong + "the last operations were\n";
    for (const Operation &operation : last_operations_)
        text += "  " + text_of(operation) + "\n";
    return text;
}

} // namespace mcadapt::test
