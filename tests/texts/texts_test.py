"""The texts that the library prints: the list of them, the built library and the source say the same."""
import ast
import os
import re
import subprocess
import unittest
from pathlib import Path

HERE = Path(__file__).parent
ROOT = HERE.parents[1]
READELF = os.environ.get("MCADAPT_READELF", "readelf")
SHARED = os.environ["MCADAPT_SHARED"]

FOLDERS = ("core", "packet", "vlan", "mgmt")
FAMILIES = {"Igmp": ["MC_DBG"], "Mld": ["MC_MLD_DBG"], "F": ["MC_DBG", "MC_MLD_DBG"]}
CLASSES = {"TRACE": "DBG", "ERROR": "ERR", "CONFIG": "CFG"}
PREFIXES = [f"\r\n[{family}_{log_class}]: " for family in FAMILIES["F"] for log_class in CLASSES.values()]

# Literals that are no texts of their own: names, arguments of a text, constraints, and the prefixes of the log.
NOT_TEXTS = {
    "C", "", "+m", "ethaddr", "tMCPktRecv", "std_omci_web_set_vlan", "May 25 2018", "16:48:08", "QM.14.09.05",
    *PREFIXES,
}  # fmt: skip

STRING = r'"(?:[^"\\\n]|\\.)*"'
SKIPPED = rf"({STRING})|//[^\n]*|/\*.*?\*/|'(?:[^'\\\n]|\\.)'|^[ \t]*#[ \t]*(?:include|pragma)[^\n]*|\\\n"
LITERAL = rf"(?:\b(?P<call>printf|puts|LOG_(?P<class>TRACE|ERROR|CONFIG))\s*\(\s*(?:(?P<family>\w+)\s*,\s*)?)?(?P<text>{STRING}(?:\s*{STRING})*)"


def unescaped(literals):
    """The value of one or more adjacent string literals of C."""
    return "".join(ast.literal_eval(literal) for literal in re.findall(STRING, literals))


def listed():
    lines = (HERE / "texts.txt").read_text().splitlines()
    return [unescaped(line) for line in lines if line and not line.startswith("#")]


def source_texts():
    """Each literal of the source: where it stands, its value, and every text that it may be printed as."""
    for file in sorted(file for folder in FOLDERS for file in (ROOT / folder).rglob("*.[ch]*")):
        code = re.sub(SKIPPED, lambda match: match[1] or " ", file.read_text(), flags=re.S | re.M)
        for match in re.finditer(LITERAL, code):
            text = unescaped(match["text"])
            yield str(file.relative_to(ROOT)), text, possible_texts(match, text)


def possible_texts(match, text):
    if match["class"] and match["family"] in FAMILIES:
        return [f"\r\n[{family}_{CLASSES[match['class']]}]: {text}" for family in FAMILIES[match["family"]]]
    if match["call"] == "puts":
        return [text + "\n"]
    if match["call"] == "printf":
        return [text]
    return [text, *(prefix + text for prefix in PREFIXES)]  # handed to a message from a table


def kept_as(text):
    """What may stand for a text: the part behind its prefix, and a line whose end the call adds."""
    for prefix in PREFIXES:
        if text.startswith(prefix):
            return [text.removeprefix(prefix)]
    return [text, text.removesuffix("\n")]


def read_only_data():
    """The bytes of the library's read-only data sections."""
    table = subprocess.run([READELF, "-W", "--sections", SHARED], capture_output=True, text=True, check=True).stdout
    sections = re.findall(r"\.rodata\S*\s+PROGBITS\s+[0-9a-f]+\s+([0-9a-f]+)\s+([0-9a-f]+)", table)
    library = Path(SHARED).read_bytes()
    return [library[int(offset, 16) : int(offset, 16) + int(size, 16)] for offset, size in sections]


class TheTexts(unittest.TestCase):
    def test_are_listed_once(self):
        texts = listed()
        self.assertGreater(len(texts), 0)
        self.assertEqual(sorted({text for text in texts if texts.count(text) > 1}), [])

    def test_are_in_the_built_library(self):
        data = read_only_data()
        self.assertGreater(len(data), 0)
        missing = [
            text
            for text in [*PREFIXES, *listed()]
            if not any(form.encode() + b"\0" in part for form in kept_as(text) for part in data)
        ]
        self.assertEqual(missing, [])

    def test_of_the_source_are_all_listed(self):
        texts = set(listed())
        unlisted = [
            (file, text)
            for file, text, possible in source_texts()
            if text not in NOT_TEXTS and texts.isdisjoint(possible)
        ]
        self.assertEqual(unlisted, [])

    def test_that_are_listed_all_stand_in_the_source(self):
        printed = {text for _, _, possible in source_texts() for text in possible}
        self.assertEqual(sorted(set(listed()) - printed), [])


if __name__ == "__main__":
    unittest.main()
