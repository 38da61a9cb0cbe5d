"""The reference of operations and records: it is what the headers say, whole, and read strictly."""
import contextlib
import io
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "scripts"))

import c_headers  # noqa: E402
import operations  # noqa: E402

CC = os.environ.get("MCADAPT_CC", "cc")


def exported(kind):
    lines = (ROOT / "tests" / "abi" / "exported_symbols.txt").read_text().splitlines()
    return sorted(line.split()[1] for line in lines if line.startswith(f"{kind} "))


def page(name):
    return (ROOT / "docs" / name).read_text()


class TheReference(unittest.TestCase):
    def test_leaves_nothing_unsaid(self):
        self.assertEqual(list(operations.Reference().gaps()), [])

    def test_has_every_exported_operation(self):
        described = re.findall(r"^### `(\w+)`$", page("operations.md"), flags=re.M)
        self.assertEqual(sorted(described), exported("function"))

    def test_indexes_every_exported_operation(self):
        index = page("operations.md").split("\n## All by name\n")[1]
        self.assertEqual(sorted(re.findall(r"^\| \[`(\w+)`\]", index, flags=re.M)), exported("function"))

    def test_has_every_exported_record(self):
        table = re.search(r"\n## Exported records\n(.*?)\n## ", page("records.md"), flags=re.S)[1]
        self.assertEqual(sorted(re.findall(r"^\| `(\w+)`", table, flags=re.M)), exported("object"))

    def test_gives_sizes_and_offsets_as_the_compiler_does(self):
        layout = operations.Reference().layout
        claims = []
        for name, record in layout.records.items():
            offsets, size, _ = layout.of_record(name)
            claims.append(f"sizeof({name}) == {size}")
            claims += [f"offsetof({name}, {field[0]}) == {offset}" for field, offset in zip(record.parts, offsets)]
        self.assertGreater(len(claims), 100)
        rows = [f"typedef char claim_{i}[({claim}) ? 1 : -1]; /* {claim} */" for i, claim in enumerate(claims)]
        source = "\n".join(["#include <stddef.h>", '#include "mcadapt/mcadapt.h"', *rows, ""])
        command = [CC, "-std=c99", "-fsyntax-only", f"-I{ROOT / 'include'}", "-xc", "-"]
        compiled = subprocess.run(command, input=source, capture_output=True, text=True, check=False)
        self.assertEqual(compiled.stderr, "")


class TheCommand(unittest.TestCase):
    def run_it(self, *arguments):
        command = [sys.executable, ROOT / "scripts" / "operations.py", *arguments]
        return subprocess.run(command, capture_output=True, text=True, check=False)

    def test_agrees_with_the_committed_files(self):
        done = self.run_it("--check")
        self.assertEqual((done.stderr, done.returncode), ("", 0))

    def test_refuses_what_it_does_not_know(self):
        done = self.run_it("--chekc")
        self.assertEqual(done.returncode, 2)
        self.assertIn("--chekc", done.stderr)

    def test_tells_what_to_run_when_a_file_differs(self):
        said = io.StringIO()
        with contextlib.redirect_stderr(said):
            self.assertEqual(operations.check({ROOT / "docs" / "no_such_page.md": "text"}), 1)
        expected = "docs/no_such_page.md differs from the headers: run scripts/operations.py\n"
        self.assertEqual(said.getvalue(), expected)


GOOD = """/**
 * @file
 * A header. Called on a thread.
 */
#ifndef A_H
#define A_H

#include <stdint.h>

MCADAPT_BEGIN_DECLS

/** Does. @param a  A number. @return 0. */
MCADAPT_API int32_t does(uint32_t a);

MCADAPT_END_DECLS

#endif
"""

# What is put in the place of the operation above, and what is said of it.
NOT_UNDERSTOOD = {
    "/** A comment. */\n\n": "a documentation comment above nothing",
    "/* plain */\n": "neither a documentation comment nor the heading of a section",
    "// plain\n": "not understood: // plain",
    "MCADAPT_API int32_t does(void);\n": "does has no documentation comment",
    "/** Does. */\nint32_t does(void);\n": "neither a function nor a data object nor a type",
    "/** Does. */\nMCADAPT_API int32_t does(int32_t (*f)(void));\n": "neither a function",
    "/** Does. */\nMCADAPT_API int32_t does(uint32_t);\n": "an argument that is not understood",
    "/** Does. */\nMCADAPT_API int32_t does(uint32_t a /* b */);\n": "a comment inside a declaration",
    "/** Does. @param a */\nMCADAPT_API int32_t does(uint32_t a);\n": "@param a without a text",
    "/** Does. @param a  A. @param a  B. */\nMCADAPT_API int32_t does(uint32_t a);\n": "@param a twice",
    "/** Does. @param[in] a  A. */\nMCADAPT_API int32_t does(uint32_t a);\n": "@param[in] is not understood",
    "/** Does. @returns 0. */\nMCADAPT_API int32_t does(void);\n": "the tag @returns is not understood",
    "/** Does. @return 0. @return 1. */\nMCADAPT_API int32_t does(void);\n": "two @return",
    "/** One. */\ntypedef struct one {\n    int a : 3;\n} one;\n": "a field that is not understood",
    "/** One. */\ntypedef struct one {\n    uint8_t a;\n} two;\n": "a record that is not understood",
    "/** One. */\nenum one { ONE };\n": "neither a function nor a data object nor a type",
    "#ifdef ONE\n/** Does. */\nMCADAPT_API int32_t does(void);\n#endif\n": "does depends on a condition",
    "#define ONE(x) x\n": "ONE has no documentation comment",
    "#pragma once\n": "not understood: #pragma once",
    "/** One. */\n#define ONE (1 + 1)\n": "not understood: #define ONE",
    "static int one;\n": "neither a function nor a data object nor a type",
}


class TheReading(unittest.TestCase):
    def read(self, text):
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / "a.h"
            path.write_text(text)
            return c_headers.HeaderReader(path).read()

    def test_takes_a_good_header(self):
        header = self.read(GOOD)
        self.assertEqual([d.name for d in header.declared], ["does"])
        does = header.declared[0]
        self.assertEqual((does.type, does.parts), ("int32_t", [("a", "uint32_t")]))
        self.assertEqual((does.doc.text, does.doc.result), ("Does.", "0."))
        self.assertEqual(does.doc.arguments, {"a": ("", "A number.")})

    def test_names_file_and_line_of_what_it_does_not_understand(self):
        operation = GOOD[GOOD.index("/** Does.") : GOOD.index("MCADAPT_END_DECLS")]
        first_line = GOOD[: GOOD.index("/** Does.")].count("\n") + 1
        for bad, said in NOT_UNDERSTOOD.items():
            with self.subTest(bad):
                with self.assertRaises(c_headers.HeaderError) as raised:
                    self.read(GOOD.replace(operation, bad))
                self.assertIn(said, str(raised.exception))
                line = int(re.search(r"a\.h:(\d+):", str(raised.exception))[1])
                self.assertIn(line - first_line, range(bad.count("\n") + 1))

    def test_needs_a_comment_on_the_file_and_every_endif(self):
        for bad, said in ((GOOD.replace("@file", ""), "above nothing"), (GOOD.replace("#endif\n", ""), "#endif")):
            with self.subTest(said):
                with self.assertRaisesRegex(c_headers.HeaderError, said):
                    self.read(bad)

    def test_takes_a_type_macro_for_the_type(self):
        operation = GOOD[GOOD.index("/** Does.") : GOOD.index("MCADAPT_END_DECLS")]
        macro = "#ifdef ONE\n/** Shared. */\n#define MC_SHARED(T) T\n#else\n#define MC_SHARED(T) own_##T\n#endif\n\n"
        record = "/** One. */\ntypedef struct one {\n    MC_SHARED(uint16_t) a[4]; /**< A. */\n} one;\n"
        value = "/** Two. */\nextern MCADAPT_API MC_SHARED(one *) two;\n"
        shared, one, two = self.read(GOOD.replace(operation, macro + record + value)).declared
        self.assertEqual((shared.kind, shared.text, shared.doc.text), ("macro", "MC_SHARED(T)", "Shared."))
        self.assertEqual(one.parts, [("a", "uint16_t", ("4",), "A.")])
        self.assertEqual((two.name, two.type), ("two", "one *"))


if __name__ == "__main__":
    unittest.main()
