/**
 * @file
 * The table of all exported operations: how each is called and what its results are.
 */
#ifndef MCADAPT_TESTS_OPERATION_TABLE_H
#define MCADAPT_TESTS_OPERATION_TABLE_H

#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace mcadapt::test {

/** The platform's refusal, and what operations make of it: as it is, its low byte as a signed number, nothing. */
inline constexpr int32_t kRefusal = 0x1F5;
inline constexpr int32_t kWhole = kRefusal;
inline constexpr int32_t kByte = -11;
inline constexpr int32_t kNotLookedAt = 0;

/**
 * One operation on a unit that has been started.
 *
 * Operations without a result of their own are wrapped to tell what they did: a stored value, or frames sent.
 */
class Operation {
public:
    using Call = std::function<int32_t()>;

    struct Refusal {
        Call call;
        int32_t result;
    };
    struct PlatformCall {
        std::string name;
        int32_t result_when_refused;
    };

    /** With arguments that are in order. */
    Operation(std::string name, Call call) : name_(std::move(name)), call_(std::move(call)) {}

    /** The result of success, if it is not 0. */
    Operation returns(int32_t result) &&
    {
        result_ = result;
        return std::move(*this);
    }

    /** With arguments that the library itself refuses, before it makes any of the platform calls below. */
    Operation refuses(Call call, int32_t result = -1) &&
    {
        refusal_ = Refusal{std::move(call), result};
        return std::move(*this);
    }

    /** A platform call that it makes, and its own result when the platform answers with `kRefusal`. */
    Operation asks(std::string platform_call, int32_t result_when_refused) &&
    {
        platform_calls_.push_back({std::move(platform_call), result_when_refused});
        return std::move(*this);
    }

    const std::string &name() const { return name_; }
    const Call &call() const { return call_; }
    int32_t result() const { return result_; }
    const std::optional<Refusal> &refusal() const { return refusal_; }
    const std::vector<PlatformCall> &platform_calls() const { return platform_calls_; }

private:
    std::string name_;
    Call call_;
    int32_t result_ = 0;
    std::optional<Refusal> refusal_;
    std::vector<PlatformCall> platform_calls_;
};

inline void PrintTo(const Operation &operation, std::ostream *out) { *out << operation.name(); }

std::vector<Operation> unit_operations();
std::vector<Operation> packet_operations();
std::vector<Operation> vlan_operations();
std::vector<Operation> parameter_operations();
std::vector<Operation> group_operations();
std::vector<Operation> status_operations();

} // namespace mcadapt::test

#endif
