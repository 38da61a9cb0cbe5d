"""The headers: each compiles alone, declares what the lists say, and says what it declares."""
import os
import re
import subprocess
import unittest

from declarations import ROOT, declarations, headers, listed

CC = os.environ.get("MCADAPT_CC", "cc")
CXX = os.environ.get("MCADAPT_CXX", "c++")
STRICT = ["-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic", "-Werror"]
PUBLIC = headers("include/mcadapt")
PLATFORM = headers("platform")


def compile_alone(compiler, language, include_path, name):
    """Compiles a file that includes one header, twice; returns the compiler's complaints."""
    source = f'#include "{name}"\n#include "{name}"\ntypedef int not_an_empty_file;\n'
    command = [compiler, *STRICT, *language, *(f"-I{path}" for path in include_path), "-"]
    return subprocess.run(command, input=source, capture_output=True, text=True, check=False).stderr


def seen_by_users(header):
    """A header without what only the library's own files see."""
    return re.sub(r"^#ifdef MCADAPT_LIBRARY\n.*?^#else\n", "", header.read_text(), flags=re.S | re.M)


class EveryHeader(unittest.TestCase):
    def each(self):
        """The public headers need only include/; those of the platform also the project's root."""
        for header in PUBLIC:
            yield [ROOT / "include"], header.relative_to(ROOT / "include")
        for header in PLATFORM:
            yield [ROOT / "include", ROOT], header.relative_to(ROOT)

    def check(self, compiler, language):
        for include_path, name in self.each():
            with self.subTest(str(name)):
                self.assertEqual(compile_alone(compiler, language, include_path, name), "")

    def test_compiles_alone_as_c99(self):
        self.check(CC, ["-std=c99", "-xc"])

    def test_compiles_alone_as_cxx17(self):
        self.check(CXX, ["-std=c++17", "-xc++"])

    def test_includes_only_its_own_kind_and_plain_c_headers(self):
        for folder, own in (("include", r'"mcadapt/\w+\.h"'), ("platform", r'"mcadapt/\w+\.h"')):
            for header in headers(folder):
                for included in re.findall(r"^\s*#\s*include\s+(\S+)", seen_by_users(header), flags=re.M):
                    with self.subTest(header=header.name, included=included):
                        self.assertRegex(included, f"^({own}|<stdint.h>|<semaphore.h>)$")

    def test_documents_what_it_declares(self):
        for header in PUBLIC + PLATFORM:
            for declared in declarations(header):
                with self.subTest(declared.where, name=declared.name):
                    self.assertTrue(declared.documented, "no documentation comment above it")


class TheLists(unittest.TestCase):
    def test_name_every_exported_declaration_and_no_other(self):
        declared = [d for header in PUBLIC for d in declarations(header)]
        self.assertEqual([d.name for d in declared if not d.exported], [], "declared without MCADAPT_API")
        self.assertEqual(sorted(f"{d.kind} {d.name}" for d in declared), sorted(listed("exported_symbols.txt")))

    def test_name_every_platform_call_and_no_other(self):
        declared = [d for header in PLATFORM for d in declarations(header)]
        self.assertEqual([d.name for d in declared if d.exported or d.kind != "function"], [], "not a plain call")
        self.assertEqual(sorted(d.name for d in declared), sorted(listed("platform_calls.txt")))

    def test_are_as_long_as_the_interface(self):
        exported = listed("exported_symbols.txt")
        self.assertEqual(sum(line.startswith("function ") for line in exported), 106)
        self.assertEqual(sum(line.startswith("object ") for line in exported), 23)
        self.assertEqual(len(listed("platform_calls.txt")), 66)

    def test_are_sorted_and_name_nothing_twice(self):
        for name in ("exported_symbols.txt", "platform_calls.txt"):
            with self.subTest(name):
                self.assertEqual(listed(name), sorted(set(listed(name))))


if __name__ == "__main__":
    unittest.main()
