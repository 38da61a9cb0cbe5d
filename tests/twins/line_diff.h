/**
 * @file
 * The difference of two lists of lines.
 */
#ifndef MCADAPT_TESTS_LINE_DIFF_H
#define MCADAPT_TESTS_LINE_DIFF_H

#include <algorithm>
#include <string>
#include <vector>

namespace mcadapt::test {

using Lines = std::vector<std::string>;

/** Both lists merged: lines of the first alone begin "- ", of the second alone "+ ", common ones "  ". */
inline Lines merged(const Lines &first, const Lines &second)
{
    // longest[i][j]: common lines that first and second still have from i and j on
    std::vector<std::vector<std::size_t>> longest(first.size() + 1, std::vector<std::size_t>(second.size() + 1));
    for (std::size_t i = first.size(); i-- > 0;)
        for (std::size_t j = second.size(); j-- > 0;)
            longest[i][j] =
                first[i] == second[j] ? longest[i + 1][j + 1] + 1 : std::max(longest[i + 1][j], longest[i][j + 1]);
    Lines lines;
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < first.size() || j < second.size()) {
        if (i < first.size() && j < second.size() && first[i] == second[j]) {
            lines.push_back("  " + first[i++]);
            ++j;
        } else if (i < first.size() && (j == second.size() || longest[i + 1][j] >= longest[i][j + 1])) {
            lines.push_back("- " + first[i++]);
        } else {
            lines.push_back("+ " + second[j++]);
        }
    }
    return lines;
}

/** The lines that differ, each run with the common line before and behind it; "  ..." for common lines left out. */
inline std::string line_diff(const Lines &first, const Lines &second)
{
    const Lines lines = merged(first, second);
    const auto differs = [&lines](std::size_t at) { return at < lines.size() && lines[at][0] != ' '; };
    std::string text;
    bool left_out = false;
    for (std::size_t at = 0; at < lines.size(); ++at) {
        if (!differs(at) && !differs(at + 1) && !(at > 0 && differs(at - 1))) {
            left_out = true;
            continue;
        }
        if (left_out)
            text += "  ...\n";
        left_out = false;
        text += lines[at] + "\n";
    }
    return left_out ? text + "  ...\n" : text;
}

} // namespace mcadapt::test

#endif
