"""The script that breaks the library on purpose: which changes it finds, and that it finds the same ones again."""
import io
import sys
import unittest
from contextlib import redirect_stderr, redirect_stdout
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "scripts"))

import mutate  # noqa: E402
from mutations import KINDS, mutations  # noqa: E402


def called(*arguments):
    """The exit code, the output and the errors of a call."""
    output, errors = io.StringIO(), io.StringIO()
    with redirect_stdout(output), redirect_stderr(errors):
        code = mutate.main(list(arguments))
    return code, output.getvalue(), errors.getvalue()


def listed(*arguments):
    code, output, errors = called("--list", *arguments)
    assert code == 0, errors
    return output.split()


def changed(source, kind):
    """The source after each change of a kind."""
    return [each.applied() for each in mutations("a.cpp", source) if each.kind == kind]


class TheSample(unittest.TestCase):
    def test_is_the_same_each_time(self):
        self.assertEqual(listed("--count", "50"), listed("--count", "50"))

    def test_is_another_one_with_another_seed(self):
        self.assertNotEqual(listed("--count", "50"), listed("--count", "50", "--seed", "2"))

    def test_has_the_length_asked_for(self):
        self.assertEqual(len(listed("--count", "200")), 200)

    def test_names_each_change_once(self):
        names = listed("--count", "100000")
        self.assertEqual(len(set(names)), len(names))

    def test_has_each_kind(self):
        self.assertEqual({name.split(":")[2] for name in listed("--count", "400")}, set(KINDS))

    def test_is_spread_over_the_folders(self):
        self.assertEqual({name.split("/")[0] for name in listed("--count", "50")}, set(mutate.FOLDERS))

    def test_keeps_to_the_files_and_changes_asked_for(self):
        self.assertEqual({name.split(":")[0] for name in listed("--file", "vlan/rule.cpp")}, {"vlan/rule.cpp"})
        one = listed("--file", "vlan/rule.cpp")[0]
        self.assertEqual(listed("--only", one), [one])


class AWrongCall(unittest.TestCase):
    def test_is_told_what_is_wrong(self):
        for arguments, wrong in ((("--file", "vlan/none.cpp"), "vlan/none.cpp"), (("--only", "vlan/x:1"), "vlan/x:1")):
            code, _, errors = called("--list", *arguments)
            self.assertEqual(code, 2)
            self.assertIn(wrong, errors)


class AChange(unittest.TestCase):
    def test_of_the_library_is_one_and_leaves_its_source_as_it_was(self):
        for file, text in mutate.sources([]).items():
            for each in mutations(file, text):
                with self.subTest(each.name):
                    self.assertNotEqual(each.applied(), text)
                    self.assertEqual(each.text, text)

    def test_is_shown_as_a_diff(self):
        shown = mutations("a.cpp", "    a();\n    b = 1;\n")[-1].diff()
        self.assertEqual(shown, "@@ -2 +2 @@\n-    b = 1;\n+    {}")

    def test_of_each_kind_is_what_it_says(self):
        for kind, source, expected in (
            ("comparison", "    a = b < c;\n", ["    a = b <= c;\n", "    a = b > c;\n"]),
            ("condition", "    if (a(b))\n", ["    if (!(a(b)))\n"]),
            ("logic", "    a = b && c;\n", ["    a = b || c;\n"]),
            ("arithmetic", "    a += b + c;\n", ["    a -= b + c;\n", "    a += b - c;\n"]),
            ("constant", "    a = 0x0F;\n", ["    a = 0x10;\n", "    a = 0xe;\n"]),
            ("store", "    a.b[0] = c;\n    int d = 1;\n", ["    {}\n    int d = 1;\n"]),
            ("call", "    a(1,\n      2);\n", ["    {}\n"]),
            ("call", "    int32_t b = c();\n", ["    int32_t b = 0;\n"]),
            ("swap", "    a(1);\n    b = 2;\n", ["    b = 2;\n    a(1);\n"]),
            ("return", "    return a;\n", ["    {}\n", "    return 0;\n"]),
            ("gate", "    LOG_TRACE(F, A);\n", ["    LOG_ERROR(F, A);\n", "    LOG_CONFIG(F, A);\n"]),
            ("mode", "    a = kIgmpControl;\n", ["    a = kIgmpSnooping;\n"]),
            ("family", "    if constexpr (!F::kMld)\n", ["    if constexpr (F::kMld)\n"]),
            ("width", "    a = byte_status(b);\n", ["    a = (b);\n"]),
            ("text", '    a("b%d\\n");\n', ['    a("B%d\\n");\n', '    a("b%x\\n");\n', '    a("b%d");\n']),
        ):  # fmt: skip
            with self.subTest(kind):
                self.assertCountEqual(changed(source, kind), expected)

    def test_is_never_of_what_says_nothing_to_the_program(self):
        source = """\
/** a < b && 1 */
#include "a.h"
#include <a.h>
#define A_H
static_assert(sizeof(a) == 1 &&
              sizeof(b) == 2);
// return "1";
template <class F> std::vector<a> b(std::vector<a>);
extern "C" {
"""
        self.assertEqual([each.diff() for each in mutations("a.h", source)], [])

    def test_of_a_text_leaves_its_directives_whole(self):
        for text in changed('    a("%02x %.2x%%\\r\\n");\n', "text"):
            self.assertRegex(text, r"%02[xd]")
            self.assertIn("%%", text)


class TheReport(unittest.TestCase):
    def test_counts_and_lists_the_survivors(self):
        first, second, third = mutations("vlan/a.cpp", "    a = b < 1;\n")[:3]
        text = mutate.report(
            [(first, mutate.CAUGHT, "vlan_tests"), (second, mutate.SURVIVED, None), (third, mutate.NO_BUILD, None)]
        )
        self.assertIn("2 changes, 1 caught (50.0 %), 1 survived; 1 more did not compile.", text)
        self.assertIn("| `vlan/` | 2 | 1 |", text)
        self.assertIn(second.name, text)
        self.assertIn(second.diff(), text)
        self.assertNotIn(first.name, text)


if __name__ == "__main__":
    unittest.main()
