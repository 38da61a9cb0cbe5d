/**
 * @file
 * Runs the check against the port of this process, and keeps what it told.
 */
#ifndef MCADAPT_TESTS_PORTCHECK_CHECK_FIXTURE_H
#define MCADAPT_TESTS_PORTCHECK_CHECK_FIXTURE_H

#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "mcadapt/portcheck.h"
#include "port.h"

namespace mcadapt::test {

struct Told {
    int32_t result;
    std::vector<std::string> lines;
    std::string summary;

    /** The sentences of the lines that begin with a word. */
    std::vector<std::string> with(const std::string &head) const
    {
        std::vector<std::string> sentences;
        for (const std::string &line : lines)
            if (line.compare(0, head.size(), head) == 0)
                sentences.push_back(line.substr(head.size()));
        return sentences;
    }
    std::vector<std::string> faults() const { return with("FAULT  "); }
    std::vector<std::string> notes() const { return with("note   "); }
};

class CheckTest : public ::testing::Test {
protected:
    CheckTest()
    {
        use_good_port();
        options.waitMs = 50; // the good engine calls back at once
        options.feed = feed;
        options.print = keep;
        options.context = this;
    }

    Told check()
    {
        lines_.clear();
        const int32_t result = mc_portcheck(&options);
        return {result, lines_, lines_.empty() ? "" : lines_.back()};
    }

    mcPortcheckOptions options = {};

private:
    static int32_t feed(void *, const uint8_t *frame, uint32_t length, uint8_t in_port)
    {
        const std::lock_guard<std::mutex> lock(good().lock);
        good().frames.push_back({{frame, frame + length}, in_port});
        return 0;
    }
    // The check hands over one line at a time.
    static void keep(void *test, const char *line) { static_cast<CheckTest *>(test)->lines_.emplace_back(line); }

    std::vector<std::string> lines_;
};

} // namespace mcadapt::test

#endif
