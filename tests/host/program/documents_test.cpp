#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>

#include "tests/host/program/program_fixture.h"

namespace mcadapt::host::test {
namespace {

using ::testing::HasSubstr;

std::string document(const std::string &name)
{
    std::ifstream input(MCADAPT_SOURCE "/host/program/" + name);
    EXPECT_TRUE(input) << name;
    return {std::istreambuf_iterator<char>(input), {}};
}

class Documents : public ProgramTest {
protected:
    // Long options that a command's help lists.
    std::set<std::string> options_of(const std::string &command) const
    {
        const std::string help = run(command + " --help").out;
        static const std::regex option("(?:^|\n) +(?:-h, *)?(--[a-z0-9-]+)");
        std::set<std::string> options;
        for (std::sregex_iterator at(help.begin(), help.end(), option), end; at != end; ++at)
            options.insert((*at)[1]);
        return options;
    }
    std::set<std::string> completed(const std::string &command) const
    {
        const std::string script = "source '" MCADAPT_SOURCE
                                   "/host/program/mcadapt.bash-completion'; COMP_WORDS=(mcadapt " +
                                   command + " --); COMP_CWORD=2; _mcadapt; printf '%s\\n' \"${COMPREPLY[@]}\"";
        EXPECT_EQ(std::system(("bash -c \"" + std::regex_replace(script, std::regex(R"(["$])"), R"(\$&)") + "\" >" +
                               path("words.txt"))
                                  .c_str()),
                  0);
        std::ifstream words(path("words.txt"));
        return {std::istream_iterator<std::string>(words), {}};
    }
};

TEST_F(Documents, man_page_names_every_option)
{
    const std::string page = std::regex_replace(document("mcadapt.1"), std::regex(R"(\\-)"), "-");
    for (const std::string command : {"", "replay", "explain", "check", "ops"}) {
        const std::set<std::string> options = options_of(command);
        EXPECT_FALSE(options.empty());
        for (const std::string &option : options)
            EXPECT_THAT(page, HasSubstr(option));
    }
}

TEST_F(Documents, completion_offers_every_option_of_a_command)
{
    for (const std::string command : {"replay", "explain", "check", "ops"})
        EXPECT_EQ(completed(command), options_of(command)) << command;
}

// A block of the README: the command behind "$ ", then what it prints; "..." stands for lines left out.
struct Example {
    std::string arguments;
    std::vector<std::string> lines;
};

std::vector<Example> examples_of(const std::string &name)
{
    std::istringstream text(document(name));
    std::vector<Example> examples;
    bool inside = false;
    for (std::string line; std::getline(text, line);) {
        if (line == "```") {
            inside = false;
        } else if (line.rfind("$ mcadapt ", 0) == 0) {
            inside = true;
            examples.push_back({line.substr(10), {}});
        } else if (inside && examples.back().arguments.back() == '\\') {
            examples.back().arguments.pop_back();
            examples.back().arguments += line;
        } else if (inside && line != "...") {
            examples.back().lines.push_back(line);
        }
    }
    return examples;
}

TEST_F(Documents, readme_shows_what_the_program_prints)
{
    const std::vector<Example> examples = examples_of("../README.md");
    ASSERT_EQ(examples.size(), 3u);
    for (const Example &example : examples) {
        SCOPED_TRACE(example.arguments);
        const std::string arguments =
            std::regex_replace(example.arguments, std::regex("samples/"), "'" MCADAPT_SOURCE "'/samples/");
        std::istringstream out(run(arguments).out);
        std::string printed;
        for (const std::string &line : example.lines) {
            while (printed != line && std::getline(out, printed)) {
            }
            EXPECT_EQ(printed, line);
            printed = "-";
        }
    }
}

TEST_F(Documents, man_page_names_the_version)
{
    const std::string version = run("--version").out; // "mcadapt 0.1.0\n"
    EXPECT_THAT(document("mcadapt.1"), HasSubstr("\"" + version.substr(0, version.size() - 1) + "\""));
}

} // namespace
} // namespace mcadapt::host::test
