/**
 * @file
 * What the tests of the management operations share: texts behind their gates, the result rules, refused ports.
 */
#ifndef MCADAPT_TESTS_MANAGEMENT_TEST_H
#define MCADAPT_TESTS_MANAGEMENT_TEST_H

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "support/library_test.h"
#include "support/matchers.h"

namespace mcadapt::test {

/** A text, and the mask bit that lets it out; 0 for a text that no mask holds back. */
struct Gated {
    uint32_t bit;
    std::string text;
};

inline Gated always(std::string text) { return {0, std::move(text)}; }
inline Gated trace(std::string text) { return {MC_DEBUG_TRACE, std::move(text)}; }
inline Gated error(std::string text) { return {MC_DEBUG_ERROR, std::move(text)}; }
inline Gated config(std::string text) { return {MC_DEBUG_CONFIG, std::move(text)}; }

inline bool is_open(const Gated &text, uint32_t mask) { return text.bit == 0 || (text.bit & mask) != 0; }

/** Sets the mask of one family and its opposite in the other, which must make no difference. */
inline void set_igmp_mask(uint32_t mask)
{
    mc_debug = mask;
    mld_debug = ~mask;
}

inline void set_mld_mask(uint32_t mask)
{
    mld_debug = mask;
    mc_debug = ~mask;
}

/** Runs an operation with each single mask bit, with all and with none: exactly the open texts come out, in order. */
inline void expect_texts(const std::vector<Gated> &texts, const std::function<void()> &operation,
                         void (*set_mask)(uint32_t) = set_igmp_mask)
{
    std::vector<uint32_t> masks = {0, 0xFFFFFFFF};
    for (uint32_t bit = 1; bit != 0; bit <<= 1)
        masks.push_back(bit);
    for (const uint32_t mask : masks) {
        SCOPED_TRACE("mask " + std::to_string(mask));
        std::string expected;
        for (const Gated &text : texts)
            expected += is_open(text, mask) ? text.text : "";
        set_mask(mask);
        EXPECT_EQ(observe(operation).output, expected);
    }
    mc_debug = mld_debug = 0;
}

/** A text with its conversions %d and %x replaced by values, in turn. */
inline std::string filled(std::string_view format, std::vector<int32_t> values)
{
    std::string text;
    auto value = values.begin();
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '%') {
            text += format[i];
            continue;
        }
        char digits[16];
        if (format.at(++i) == 'x')
            std::snprintf(digits, sizeof digits, "%x", static_cast<uint32_t>(*value++));
        else
            std::snprintf(digits, sizeof digits, "%d", *value++);
        text += digits;
    }
    return text;
}

/** What an operation makes of the engine's code. */
enum class Result { whole, byte, always_0 };

/** A code of the engine under each rule: as it is, its low byte as a signed number, or not at all. */
struct EngineCode {
    int32_t code;
    int32_t byte;

    int32_t under(Result rule) const
    {
        if (rule == Result::always_0)
            return 0;
        return rule == Result::whole ? code : byte;
    }

    /** Whether an operation of this rule takes the code for a refusal. */
    bool refuses(Result rule) const { return rule == Result::byte ? byte != 0 : code != 0; }
};

inline constexpr EngineCode kEngineCodes[] = {
    {0, 0},   {1, 1},        {5, 5},       {127, 127}, {128, -128}, {255, -1},
    {256, 0}, {0x180, -128}, {0x10005, 5}, {-1, -1},   {-256, 0},   {static_cast<int32_t>(0x80000000), 0},
};

/** A port that the management operations refuse, and the lines that they print. */
struct RefusedPort {
    uint32_t port;
    std::string first_line;
    std::string lines() const { return first_line + "\r\n[MC_DBG_ERR]: port number is invalid!\r\n"; }
};

inline RefusedPort too_high(uint32_t port)
{
    return {port, filled("\r\n[MC_DBG_ERR]: \n port(%d) is invalid!", {static_cast<int32_t>(port)})};
}

inline RefusedPort not_configured(uint32_t port)
{
    return {port, filled("\r\n[MC_DBG_ERR]: \n [checkPortState]port(%d) is not find!", {static_cast<int32_t>(port)})};
}

/** With the ports 0 and 29 configured. */
inline std::vector<RefusedPort> refused_ports()
{
    return {not_configured(1), not_configured(7), not_configured(28),   too_high(30),
            too_high(255),     too_high(256),     too_high(0x7FFFFFFF), too_high(0xFFFFFFFF)};
}

/** Names a parameterised case by its row's `name`. */
template <class Row> std::string row_name(const ::testing::TestParamInfo<Row> &info) { return info.param.name; }

} // namespace mcadapt::test

#endif
