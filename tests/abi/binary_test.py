"""The built library: what it needs, exports and imports, and that no C++ run time is behind it."""
import os
import re
import unittest

from binary_symbols import dynamic_symbols, readelf, symbols
from declarations import listed

SHARED = os.environ["MCADAPT_SHARED"]
STATIC = os.environ["MCADAPT_STATIC"]

# From the C++ run time and the unwinder, by their mangled or C names.
RUN_TIME = re.compile(
    r"_Z(nw|na|dl|da|S|NS|NKS|TI|TS|TV)|__(cxa|gxx)_|__dynamic_cast|_Unwind_|__aeabi_unwind"
)


def dynamic(tag):
    """The values of a tag of the dynamic section."""
    return re.findall(rf"\({tag}\).*\[(.*)\]", readelf("--dynamic", SHARED))


class TheSharedLibrary(unittest.TestCase):
    def test_needs_libc_alone(self):
        self.assertEqual(dynamic("NEEDED"), ["libc.so.6"])

    def test_has_a_versioned_name(self):
        self.assertEqual(len(dynamic("SONAME")), 1)
        self.assertRegex(dynamic("SONAME")[0], r"^libmcadapt\.so\.\d+$")

    def test_exports_exactly_the_listed_names(self):
        kinds = {"FUNC": "function", "OBJECT": "object"}
        exported = [f"{kinds.get(s.type, s.type)} {s.name}" for s in dynamic_symbols(SHARED) if s.defined]
        self.assertEqual(sorted(exported), sorted(listed("exported_symbols.txt")))

    def test_gives_every_exported_name_the_version_of_its_own_name(self):
        node = "MCADAPT_" + dynamic("SONAME")[0].rsplit(".", 1)[1]
        self.assertEqual({s.version for s in dynamic_symbols(SHARED) if s.defined}, {node})

    def test_takes_platform_calls_of_any_version(self):
        platform_calls = set(listed("platform_calls.txt"))
        self.assertEqual({s.version for s in dynamic_symbols(SHARED) if s.name in platform_calls}, {""})

    def test_imports_every_platform_call_and_plain_libc(self):
        platform_calls = set(listed("platform_calls.txt"))
        imported = {s.name for s in dynamic_symbols(SHARED) if not s.defined}
        self.assertEqual(sorted(platform_calls - imported), [], "platform calls that nothing makes")
        self.assertEqual(sorted(imported - platform_calls - set(listed("libc_names.txt"))), [], "unexpected imports")

    def test_runs_nothing_when_loaded_or_unloaded(self):
        self.assertEqual(re.findall(r"\((\w*(?:INIT|FINI)\w*)\)", readelf("--dynamic", SHARED)), [])

    def test_relocates_no_code(self):
        self.assertNotIn("TEXTREL", readelf("--dynamic", SHARED))


class TheObjects(unittest.TestCase):
    def test_run_nothing_at_load_time(self):
        sections = readelf("--sections", STATIC)
        self.assertIn(".text", sections)
        self.assertEqual(re.findall(r"\.(?:init_array|preinit_array|ctors|fini_array|dtors)\S*", sections), [])

    def test_set_nothing_up_at_its_first_use(self):
        guards = [s.name for s in symbols("--syms", STATIC) if s.name.startswith("_ZGV")]
        self.assertEqual(guards, [])

    def test_ask_for_no_cxx_run_time(self):
        names = {s.name for s in symbols("--syms", STATIC) if not s.defined}
        self.assertIn("printf", names)
        self.assertEqual(sorted(name for name in names if RUN_TIME.match(name)), [])


if __name__ == "__main__":
    unittest.main()
