/**
 * @file
 * Operations on the rule tables, drawn at random, run on the library and on the models alike.
 */
#ifndef MCADAPT_TESTS_OPERATIONS_H
#define MCADAPT_TESTS_OPERATIONS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "mcadapt/records.h"
#include "properties/igmp_model.h"
#include "properties/mld_model.h"
#include "properties/random.h"

namespace mcadapt::test {

enum class Kind : uint8_t {
    kInstall,
    kRemove,
    kInstallByMode,
    kRemoveByMode,
    kSetByWeb,
    kSetDefaultVlan,
    kResetAll,
    kResetPort,
    kAddStaticGroups,
    kDeleteStaticGroups,
    kClearStaticGroups,
    kInstallMld,
    kRemoveMld,
    kStartMldParameters,
    kStartMldRules,
    kChangeParameters, /**< Not an operation of the library: gives the resets something to reset. */
};
inline constexpr std::size_t kKinds = 16;

/** How often each kind is drawn, relative to the others; in the order of `Kind`. */
using Weights = std::array<uint32_t, kKinds>;

/** What a sequence draws from. */
struct Mix {
    Weights weights;
    uint32_t vlans;           /**< Different multicast VLANs, besides some special ones. */
    uint32_t user_vlans;      /**< Different VLANs of the user side. */
    uint32_t refused_percent; /**< Calls that the platform refuses, in every second operation. */
    bool web_may_leave_upstream_unset;
};

struct Operation {
    Kind kind;
    vlanCfgNode rule; /**< Argument of the operations that take a record. */
    uint32_t port;
    uint32_t first; /**< Mode, type or first group. */
    uint32_t second;
    uint32_t third;
    bool epon;
    bool without_memory;
    uint32_t refused_percent;
    uint64_t answers; /**< Seed of the platform's answers. */
};

struct Outcome {
    int32_t result;   /**< 0 for an operation that gives none. */
    vlanCfgNode rule; /**< The record, as the operation left it. */
};

Operation draw(Random &random, const Mix &mix, const portStateNode (&ports)[2]);

/** The operation as one line of a report. */
std::string text_of(const Operation &operation);

Outcome run_on_library(const Operation &operation);
Outcome run_on_models(const Operation &operation, IgmpModel &igmp, MldModel &mld);

} // namespace mcadapt::test

#endif
