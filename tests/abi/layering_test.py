"""The layers: what a source file of the library may include."""
import re
import unittest

from declarations import ROOT

FOLDERS = ("core", "packet", "vlan", "mgmt")
OWN = ("core/", "packet/", "vlan/", "mgmt/", "platform/", "mcadapt/")

# Headers of C, as C or C++ names them, of POSIX where the library calls it, and the one part of the C++ library that
# brings no code.
SYSTEM = {
    "stdarg", "stddef", "stdint", "stdio", "stdlib", "string", "limits", "inttypes", "stdbool",
    "semaphore.h", "unistd.h", "sys/ipc.h", "sys/shm.h", "sys/types.h",
    "type_traits",
}  # fmt: skip


def is_plain(name):
    """Whether <name> is one of the headers above: <stdio.h> and <cstdio> are both "stdio"."""
    return name in SYSTEM or re.sub(r"\.h$", "", name) in SYSTEM or (name[0] == "c" and name[1:] in SYSTEM)


def sources():
    return [file for folder in FOLDERS for file in sorted((ROOT / folder).rglob("*")) if file.is_file()]


def includes(file):
    return re.findall(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', file.read_text(), flags=re.M)


class TheLibrary(unittest.TestCase):
    def test_consists_of_sources_and_headers(self):
        self.assertGreater(len(sources()), 0)
        self.assertEqual([str(f) for f in sources() if f.suffix not in (".h", ".cpp")], [])

    def test_includes_only_its_own_layers_and_c(self):
        for file in sources():
            for bracket, name in includes(file):
                with self.subTest(file=str(file.relative_to(ROOT)), included=name):
                    if bracket == '"':
                        self.assertTrue(name.startswith(OWN), "quoted, but of no layer of the library")
                    else:
                        self.assertTrue(is_plain(name), "neither a C header nor <type_traits>")

    def test_is_built_from_every_source(self):
        listed = (ROOT / "CMakeLists.txt").read_text()
        for file in sources():
            if file.suffix == ".cpp":
                with self.subTest(str(file.relative_to(ROOT))):
                    self.assertRegex(listed, rf"(?m)^\s*{re.escape(str(file.relative_to(ROOT)))}\)?$")


if __name__ == "__main__":
    unittest.main()
