"""The interface and the version: neither changes without the other."""
import os
import unittest

import interface
from binary_symbols import dynamic_symbols

VERSION = os.environ["MCADAPT_VERSION"]
SHARED = os.environ.get("MCADAPT_SHARED")


class TheInterface(unittest.TestCase):
    def test_is_that_of_its_version(self):
        wrong = interface.verdict(VERSION)
        if wrong:
            self.fail(wrong)

    @unittest.skipUnless(SHARED, "instrumented libraries pad their objects")
    def test_has_the_objects_that_the_library_was_built_with(self):
        declared = {n: interface.size(e) for n, (kind, e) in interface.compiled().items() if kind == "object"}
        built = {s.name: s.size for s in dynamic_symbols(SHARED) if s.type == "OBJECT" and s.defined and s.size}
        self.assertEqual(built, declared)


OLD = {
    ("function", "f"): "int32_t (void)",
    ("requires", "p"): "int32_t (void)",
    ("constant", "MC_C"): "16",
    ("record", "R"): (8, [("a", 0, "uint8_t"), ("b", 4, "uint32_t")]),
}


class AChange(unittest.TestCase):
    """What breaks users of an interface, and what only adds to it."""

    def changed(self, **entries):
        new = dict(OLD)
        for place, value in entries.items():
            key = next((key for key in OLD if key[1] == place), ("function", place))
            new[key] = value
        return interface.changes(OLD, {key: value for key, value in new.items() if value is not None})

    def test_is_told_of_only_when_there_is_one(self):
        self.assertEqual(self.changed(), ([], []))

    def test_is_told_in_plain_words(self):
        moved = (8, [("b", 0, "uint32_t"), ("a", 4, "uint8_t")])
        for change, breaking in (
            ({"f": None}, ["function f is gone"]),
            ({"f": "int32_t (int32_t)"}, ["function f was `int32_t (void)` and is `int32_t (int32_t)`"]),
            ({"p": None}, ["platform call p is gone"]),
            ({"MC_C": "32"}, ["constant MC_C was `16` and is `32`"]),
            ({"R": moved}, ["record R: field a was at byte 0 and is at byte 4",
                            "record R: field b was at byte 4 and is at byte 0"]),
            ({"R": (8, [("a", 0, "int8_t"), ("b", 4, "uint32_t")])}, ["record R: field a was uint8_t and is int8_t"]),
            ({"R": (4, [("a", 0, "uint8_t")])}, ["record R had 8 bytes and has 4", "record R: field b is gone"]),
            ({"R": (8, [*OLD["record", "R"][1], ("c", 1, "uint8_t")])}, ["record R: field c is new, at byte 1"]),
        ):  # fmt: skip
            with self.subTest(change):
                self.assertEqual(self.changed(**change), (breaking, []))

    def test_that_only_adds_breaks_nobody(self):
        self.assertEqual(self.changed(g="void (void)"), ([], ["function g is new"]))

    def test_that_asks_more_of_the_port_breaks_it(self):
        new = {**OLD, ("requires", "q"): "int32_t (void)"}
        self.assertEqual(interface.changes(OLD, new), (["platform call q is new"], []))

    def test_asks_for_the_major_number_or_the_minor_one(self):
        for version, breaking, adding, nothing in (
            ("0.1.0", False, False, True),
            ("0.1.1", False, False, True),
            ("0.2.0", False, True, True),
            ("1.0.0", True, True, True),
            ("0.0.9", False, False, False),
        ):
            with self.subTest(version):
                self.assertEqual(interface.enough("0.1", version, ["x"], []), breaking)
                self.assertEqual(interface.enough("0.1", version, [], ["x"]), adding)
                self.assertEqual(interface.enough("0.1", version, [], []), nothing)


if __name__ == "__main__":
    unittest.main()
