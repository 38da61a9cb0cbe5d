"""The built library: what it needs, exports and imports, and that no C++ run time is behind it."""
import os
import re
import subprocess
import unittest

from declarations import listed

READELF = os.environ.get("MCADAPT_READELF", "readelf")
SHARED = os.environ["MCADAPT_SHARED"]
STATIC = os.environ["MCADAPT_STATIC"]

# From the C++ run time and the unwinder, by their mangled or C names.
RUN_TIME = re.compile(
    r"_Z(nw|na|dl|da|S|NS|NKS|TI|TS|TV)|__(cxa|gxx)_|__dynamic_cast|_Unwind_|__aeabi_unwind"
)


def readelf(*arguments):
    return subprocess.run([READELF, "-W", *arguments], capture_output=True, text=True, check=True).stdout


def dynamic(tag):
    """The values of a tag of the dynamic section."""
    return re.findall(rf"\({tag}\).*\[(.*)\]", readelf("--dynamic", SHARED))


class Symbol:
    """A line of a symbol table: number, value, size, type, binding, visibility, section, name."""

    def __init__(self, fields):
        self.type, self.binding, self.visibility, self.section = fields[3:7]
        self.name = fields[7].split("@")[0]
        self.defined = self.section != "UND"


def symbols(*arguments):
    lines = [line.split() for line in readelf(*arguments).splitlines()]
    return [Symbol(fields) for fields in lines if len(fields) >= 8 and re.fullmatch(r"\d+:", fields[0])]


def dynamic_symbols():
    return [s for s in symbols("--dyn-syms", SHARED) if s.binding != "LOCAL"]


class TheSharedLibrary(unittest.TestCase):
    def test_needs_libc_alone(self):
        self.assertEqual(dynamic("NEEDED"), ["libc.so.6"])

    def test_has_a_versioned_name(self):
        self.assertEqual(len(dynamic("SONAME")), 1)
        self.assertRegex(dynamic("SONAME")[0], r"^libmcadapt\.so\.\d+$")

    def test_exports_exactly_the_listed_names(self):
        kinds = {"FUNC": "function", "OBJECT": "object"}
        exported = [f"{kinds.get(s.type, s.type)} {s.name}" for s in dynamic_symbols() if s.defined]
        self.assertEqual(sorted(exported), sorted(listed("exported_symbols.txt")))

    def test_imports_every_platform_call_and_plain_libc(self):
        platform_calls = set(listed("platform_calls.txt"))
        imported = {s.name for s in dynamic_symbols() if not s.defined}
        self.assertEqual(sorted(platform_calls - imported), [], "platform calls that nothing makes")
        self.assertEqual(sorted(imported - platform_calls - set(listed("libc_names.txt"))), [], "unexpected imports")

    def test_relocates_no_code(self):
        self.assertNotIn("TEXTREL", readelf("--dynamic", SHARED))


class TheObjects(unittest.TestCase):
    def test_run_nothing_at_load_time(self):
        sections = readelf("--sections", STATIC)
        self.assertIn(".text", sections)
        self.assertEqual(re.findall(r"\.(?:init_array|preinit_array|ctors|fini_array|dtors)\S*", sections), [])

    def test_ask_for_no_cxx_run_time(self):
        names = {s.name for s in symbols("--syms", STATIC) if not s.defined}
        self.assertIn("printf", names)
        self.assertEqual(sorted(name for name in names if RUN_TIME.match(name)), [])


if __name__ == "__main__":
    unittest.main()
