/**
 * @file
 * Plays the same scenarios on the IGMP and on the MLD side and compares how they differ with a committed file.
 *
 * The two sides differ in many small ways, all of them intended. The files `*.diff` beside this one list every one that
 * shows in the log, in the platform calls, in the results and in the records: "-" is what only the IGMP side does, "+"
 * what only the MLD side does. A change of one side that the other does not follow changes a file here.
 *
 * When such a change is intended, write the files anew, read what has become of them, and commit them with the change:
 *
 *     MCADAPT_WRITE_DIFFS=1 build/debug/tests/twins_tests && git diff tests/twins
 */
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "line_diff.h"
#include "side.h"
#include "support/library_test.h"
#include "support/matchers.h"

namespace mcadapt::test {

// One list for each file, in the file's order.
extern const std::vector<Scenario> kIntakeScenarios;
extern const std::vector<Scenario> kSnoopingScenarios;
extern const std::vector<Scenario> kControlScenarios;
extern const std::vector<Scenario> kEngineScenarios;

namespace {

class Twins : public IntakeTest {
protected:
    /** Plays all scenarios on both sides and compares the differences with the committed ones. */
    void compare(const std::string &file, const std::vector<Scenario> &scenarios)
    {
        std::string differences;
        for (const Scenario &scenario : scenarios) {
            const Events igmp = played(scenario, Side::igmp());
            const Events mld = played(scenario, Side::mld());
            differences += std::string("=== ") + scenario.name + "\n" + line_diff(igmp, mld);
        }
        const std::string path = std::string(MCADAPT_TEST_DATA) + "/" + file;
        if (std::getenv("MCADAPT_WRITE_DIFFS") != nullptr) {
            std::ofstream(path) << differences;
            GTEST_SKIP() << path << " written anew";
        }
        EXPECT_EQ(differences, content_of(path)) << "The sides differ in another way than " << file
                                                 << " says. If that is intended, see the top of twins_test.cpp.";
    }

private:
    Events played(const Scenario &scenario, const Side &side)
    {
        IntakeTest::SetUp();
        everything_logged();
        std::copy_n(platform().unit_mac.begin(), 6, sys_mac);
        std::copy_n(platform().unit_mac.begin(), 6, mld_sys_mac);
        scenario.given(side);
        return side.events(observe([&] { scenario.play(side); }));
    }

    static std::string content_of(const std::string &path)
    {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }
};

TEST_F(Twins, differ_in_intake_as_committed) { compare("intake.diff", kIntakeScenarios); }
TEST_F(Twins, differ_in_snooping_as_committed) { compare("snooping.diff", kSnoopingScenarios); }
TEST_F(Twins, differ_in_control_as_committed) { compare("control.diff", kControlScenarios); }
TEST_F(Twins, differ_in_what_the_engine_asks_for_as_committed) { compare("engine.diff", kEngineScenarios); }

TEST(LineDiff, shows_what_differs_with_its_neighbours)
{
    EXPECT_EQ(line_diff({"a", "b", "c", "d", "e"}, {"a", "b", "x", "d", "e"}), "  ...\n  b\n- c\n+ x\n  d\n  ...\n");
    EXPECT_EQ(line_diff({"a", "b"}, {"b", "c"}), "- a\n  b\n+ c\n");
    EXPECT_EQ(line_diff({"a", "b", "c"}, {"a", "b", "c"}), "  ...\n");
    EXPECT_EQ(line_diff({"a", "b"}, {"b", "a"}), "- a\n  b\n+ a\n");
    EXPECT_EQ(line_diff({}, {}), "");
}

} // namespace
} // namespace mcadapt::test
