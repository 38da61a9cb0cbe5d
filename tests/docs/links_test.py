"""The documents: every link leads somewhere, and what is named in them exists."""
import os
import re
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
SKIPPED = ("build", ".git", "__pycache__")

CODE_FOLDERS = ("core", "packet", "vlan", "mgmt", "include", "platform", "host")
SUFFIXES = (".h", ".c", ".cpp", ".py", ".md", ".sh", ".txt", ".diff", ".cmake", ".conf", ".pcap", ".json")

LINK = re.compile(r"!?\[(?:[^\[\]]|\[[^\]]*\])*\]\(([^()\s]+)\)")
PATH = re.compile(r"[\w.*-]+(?:/[\w.*-]+)*/?")
TEST_CASE = re.compile(r"^([A-Z]\w+)\.([a-z]\w+)$", re.M)
DEFINED_TEST = re.compile(r"\b(?:TYPED_)?TEST(?:_F|_P)?\(\s*(\w+)\s*,\s*(\w+)\s*\)")


def tree():
    """Every file and folder of the project, by its path from the top; folders end in a slash."""
    for folder, folders, files in os.walk(ROOT):
        folders[:] = [name for name in folders if name not in SKIPPED]
        here = Path(folder).relative_to(ROOT)
        yield from (f"{(here / name).as_posix()}/" for name in folders)
        yield from ((here / name).as_posix() for name in files)


FILES = sorted(tree())
DOCUMENTS = [ROOT / name for name in FILES if name.endswith(".md")]


def without_code(text):
    """The text without fenced blocks."""
    return re.sub(r"^```.*?^```$", "", text, flags=re.S | re.M)


def spans(text):
    """The code spans of the running text."""
    return re.findall(r"`([^`\n]+)`", without_code(text))


def drawings(text):
    """The fenced blocks without a language: drawings."""
    return [body for kind, body in re.findall(r"^```(.*)\n((?:(?!```).*\n)*)```$", text, flags=re.M) if not kind]


def anchors(document):
    """The anchors of a document's headings, as they are made from their texts."""
    found = {}
    for heading in re.findall(r"^#+ +(.*)$", without_code(document.read_text()), flags=re.M):
        name = re.sub(r"[^\w -]", "", re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", heading).lower()).strip().replace(" ", "-")
        found[name] = found.get(name, 0) + 1
    return {name if number == 0 else f"{name}-{number}" for name, count in found.items() for number in range(count)}


def matches(pattern):
    """Whether a path, or the end of one, is of the project; an asterisk stands for any part of a name."""
    expression = re.compile("(?:^|.*/)" + re.escape(pattern).replace(r"\*", "[^/]*") + "/?")
    return any(expression.fullmatch(name) for name in FILES)


def is_path(text):
    """Whether a code span means a file or a folder of the project."""
    if not PATH.fullmatch(text) or text.startswith(("build/", "/")):
        return False
    return text.endswith(SUFFIXES) or text.endswith("/") or (text.split("/")[0] + "/" in FILES and "/" in text)


def words_of_code():
    """Every name that the code uses."""
    words = set()
    for name in FILES:
        if name.startswith(CODE_FOLDERS) and name.endswith((".h", ".cpp")):
            words.update(re.findall(r"[A-Za-z_]\w*", (ROOT / name).read_text()))
    return words


class TheDocuments(unittest.TestCase):
    def test_link_to_what_exists(self):
        known = {document: anchors(document) for document in DOCUMENTS}
        links = 0
        for document in DOCUMENTS:
            for target in LINK.findall(without_code(document.read_text())):
                if re.match(r"[a-z]+:", target):
                    continue
                links += 1
                with self.subTest(str(document.relative_to(ROOT)), link=target):
                    path, _, anchor = target.partition("#")
                    linked = (document.parent / path).resolve() if path else document
                    self.assertTrue(linked.exists(), "no such file")
                    if anchor:
                        self.assertIn(anchor, known[linked], "no such heading")
        self.assertGreater(links, 100)

    def test_name_files_that_exist(self):
        named = 0
        for document in DOCUMENTS:
            for text in sorted(set(filter(is_path, spans(document.read_text())))):
                named += 1
                with self.subTest(str(document.relative_to(ROOT)), named=text):
                    self.assertTrue(matches(text), "no such file")
        self.assertGreater(named, 50)

    def test_name_tests_that_exist(self):
        defined = set()
        for name in FILES:
            if name.startswith("tests/") and name.endswith(".cpp"):
                defined.update(DEFINED_TEST.findall((ROOT / name).read_text()))
        named = set(TEST_CASE.findall("\n".join(spans((ROOT / "docs" / "twins.md").read_text()))))
        self.assertGreater(len(named), 100)
        self.assertEqual(sorted(named - defined), [])

    def test_of_the_architecture_name_what_the_code_has(self):
        text = (ROOT / "docs" / "architecture.md").read_text()
        drawn = "\n".join(drawings(text))
        names = {span for span in spans(text) if re.fullmatch(r"[A-Za-z_]\w*", span)}
        names |= set(re.findall(r"(?<![\w/.])[A-Za-z]\w*_\w+(?![\w/.])", drawn))
        self.assertGreater(len(names), 50)
        self.assertEqual(sorted(names - words_of_code()), [])
        files = sorted(set(re.findall(r"[\w/]+\.(?:cpp|h)\b", drawn)))
        self.assertGreater(len(files), 5)
        self.assertEqual([name for name in files if not matches(name)], [])

    def test_of_the_architecture_place_functions_where_they_are(self):
        text = (ROOT / "docs" / "architecture.md").read_text()
        placed = re.findall(r"((?:`\w+`(?:, | and )?)+) in `([\w/]+\.(?:cpp|h))`", text)
        self.assertGreater(len(placed), 8)
        for names, file in placed:
            code = (ROOT / file).read_text()
            for name in re.findall(r"`(\w+)`", names):
                with self.subTest(file, name=name):
                    self.assertTrue(re.search(rf"\b(?:struct|class) {name}\b|\b{name}\(", code), "not in that file")

    def test_draws_the_architecture_in_plain_lines_that_fit(self):
        found = drawings((ROOT / "docs" / "architecture.md").read_text())
        self.assertEqual(len(found), 3)
        for number, drawing in enumerate(found, 1):
            with self.subTest(drawing=number):
                self.assertTrue(drawing.isascii() and "\t" not in drawing)
                wide = [line for line in drawing.splitlines() if len(line) > 100 or line != line.rstrip()]
                self.assertEqual(wide, [])


if __name__ == "__main__":
    unittest.main()
