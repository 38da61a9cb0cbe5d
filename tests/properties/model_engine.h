/**
 * @file
 * The platform as the models see it: what they would call, and the answers that the library gets as well.
 */
#ifndef MCADAPT_TESTS_MODEL_ENGINE_H
#define MCADAPT_TESTS_MODEL_ENGINE_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "properties/random.h"
#include "support/call_text.h"

namespace mcadapt::test {

/** The platform's answers during one operation, call by call. Equal seeds give equal answers. */
class EngineAnswers {
public:
    EngineAnswers(uint64_t seed, uint32_t refused_percent) : random_(seed), refused_percent_(refused_percent) {}

    int32_t next()
    {
        static constexpr std::array<int32_t, 8> kRefusals = {1, 5, -1, 0x80, 0xFF, 0x7FFFFFFF, 0x100, -0x10000};
        return random_.percent(refused_percent_) ? random_.one_of(kRefusals) : 0;
    }

private:
    Random random_;
    uint32_t refused_percent_;
};

/** Writes down what a model calls and prints. */
struct ModelEngine {
    EngineAnswers answers{0, 0};
    std::vector<std::string> calls;
    std::string output;

    template <class... Args> int32_t call(const char *name, Args... args)
    {
        calls.push_back(call_line(name, args...));
        return answers.next();
    }
};

/** The part of an engine's answer that counts where only its low 8 bits do. */
inline int32_t low_byte(int32_t answer) { return static_cast<int8_t>(answer & 0xFF); }

} // namespace mcadapt::test

#endif
