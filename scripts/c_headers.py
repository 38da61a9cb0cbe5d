"""Reads the public headers with their documentation comments.

The headers keep to a few forms, and only these are understood; anything else is an error that names file and line, so
that nothing is ever left out of what is made from them.
"""
import re
from dataclasses import dataclass, field
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
FOLDER = ROOT / "include" / "mcadapt"

# The header that includes all others, and the one of the linkage macros.
WHOLE = "mcadapt.h"
LINKAGE = "api.h"

# Macros around a type that stand for the type itself.
TYPE_MACROS = r"\b(?:MC_SHARED)\(([^()]*)\)"

TYPE = r"(?:const )?\w+ (?:\*|(?=\w))"
FUNCTION = re.compile(rf"MCADAPT_API (?P<result>{TYPE})(?P<name>\w+)\((?P<arguments>[^()]*)\);")
OBJECT = re.compile(rf"extern MCADAPT_API (?P<type>{TYPE})(?P<name>\w+)(?P<dimensions>(?:\[\w+\])*);")
STRUCT = re.compile(r"typedef struct (?P<name>\w+) \{(?P<body>.*)\} (?P<again>\w+);", re.S)
FUNCTION_TYPE = re.compile(r"typedef (?:const )?\w+ \*?\(\*(?P<name>\w+)\)\([^()]*\);")
ARRAY_TYPE = re.compile(r"typedef (?:const )?\w+ \(\*(?P<name>\w+)\)(?:\[\w+\])+;")
ARGUMENT = re.compile(rf"(?P<type>{TYPE})(?P<name>\w+)")
FIELD = re.compile(rf"(?P<type>{TYPE})(?P<name>\w+)(?P<dimensions>(?:\[\w+\])*);")
CONSTANT = re.compile(r"#\s*define (?P<name>\w+) (?P<value>\w+)\s*(?:/\*\*< (?P<doc>.*?) ?\*/)?")
MACRO = re.compile(r"#\s*define (?P<shown>(?P<name>\w+)\([\w, .]*\))(?: .*)?", re.S)
SECTION = re.compile(r"/\* --- (?P<title>.+?) --- \*/", re.S)
TAG = re.compile(r"(?:^|(?<=\s))@(\w+)(?:\[([a-z,]+)\])?\s*")
DIRECTIONS = {"": "", "out": "out", "in,out": "in, out"}


class HeaderError(Exception):
    """A construct that is not understood."""

    def __init__(self, file, line, text):
        super().__init__(f"{file}:{line}: {text}")


@dataclass
class Doc:
    """A documentation comment: paragraphs of text, and the tags."""

    where: tuple
    paragraphs: list = field(default_factory=list)
    arguments: dict = field(default_factory=dict)  # name: (direction, text)
    result: str = ""
    results: list = field(default_factory=list)  # (value, text)
    notes: list = field(default_factory=list)

    @property
    def text(self):
        return " ".join(self.paragraphs)


@dataclass
class Declared:
    """Something that a header declares."""

    kind: str  # function, object, record, type, constant, macro
    name: str
    text: str
    doc: Doc
    where: tuple
    section: str
    parts: object = None  # arguments of a function, fields of a record, value of a constant
    type: str = ""
    dimensions: tuple = ()
    shares_doc: bool = False  # the comment stands above an earlier declaration of its run


@dataclass
class Header:
    name: str
    doc: Doc
    declared: list


def parse_doc(file, line, comment):
    """Takes a comment apart into paragraphs and tags."""
    doc = Doc((file, line))
    body = re.sub(r"\A/\*\*<?|\*/\Z", "", comment)
    lines = [re.sub(r"^\s*\* ?", "", row) if number else row for number, row in enumerate(body.split("\n"))]
    for block in re.split(r"\n\s*\n", "\n".join(lines)):
        take_block(doc, block.strip())
    return doc


def take_block(doc, block):
    """A paragraph, with the tags that follow in it; a tag's text ends at the next tag or with the paragraph."""
    tags = list(TAG.finditer(block))
    plain = block[: tags[0].start()] if tags else block
    if plain.strip():
        doc.paragraphs.append(one_line(plain))
    ends = [tag.start() for tag in tags[1:]] + [len(block)]
    for tag, end in zip(tags, ends):
        take_tag(doc, tag[1], tag[2] or "", one_line(block[tag.end() : end]))


def take_tag(doc, tag, direction, text):
    if direction not in DIRECTIONS or (direction and tag != "param"):
        raise HeaderError(*doc.where, f"@{tag}[{direction}] is not understood")
    if tag == "file":
        if text:
            doc.paragraphs.append(text)
        return
    if not text:
        raise HeaderError(*doc.where, f"@{tag} without a text")
    if tag == "return":
        if doc.result:
            raise HeaderError(*doc.where, "two @return")
        doc.result = text
    elif tag == "note":
        doc.notes.append(text)
    elif tag in ("param", "retval"):
        name, _, rest = text.partition(" ")
        if not rest:
            raise HeaderError(*doc.where, f"@{tag} {name} without a text")
        if tag == "retval":
            doc.results.append((name, rest.strip()))
        elif name in doc.arguments:
            raise HeaderError(*doc.where, f"@param {name} twice")
        else:
            doc.arguments[name] = (DIRECTIONS[direction], rest.strip())
    else:
        raise HeaderError(*doc.where, f"the tag @{tag} is not understood")


def one_line(text):
    return " ".join(text.split())


def without_type_macros(text):
    return one_line(re.sub(TYPE_MACROS, r"\1", text)).replace("* ", "*")


class HeaderReader:
    """Reads one header from top to bottom."""

    def __init__(self, path):
        self.file = str(path.relative_to(ROOT)) if path.is_relative_to(ROOT) else str(path)
        self.text = path.read_text()
        self.at = 0
        self.file_doc = None
        self.pending = None  # the documentation comment that waits for its declaration
        self.last_doc = None  # the comment of the declaration before, for an unbroken run
        self.section = ""
        self.declared = []
        self.depth = 0  # of conditional directives

    @property
    def line(self):
        return self.text.count("\n", 0, self.at) + 1

    def fail(self, text):
        raise HeaderError(self.file, self.line, text)

    def read(self):
        while self.skip_blank():
            rest = self.text[self.at :]
            if rest.startswith("/*"):
                self.comment(rest)
            elif rest.startswith("#"):
                self.directive(rest)
            elif re.match(r"MCADAPT_(BEGIN|END)_DECLS\n", rest):
                self.drop_pending()
                self.at += rest.index("\n")
            elif rest[0].isalpha():
                self.statement(rest)
            else:
                self.fail(f"not understood: {rest.splitlines()[0]}")
        self.drop_pending()
        if self.depth != 0:
            self.fail("an #if without its #endif")
        if self.file_doc is None:
            self.fail("no @file comment")
        return Header(Path(self.file).name, self.file_doc, self.declared)

    def skip_blank(self):
        """Goes on to the next construct; an empty line ends a run of declarations."""
        blank = re.match(r"\s*", self.text[self.at :])[0]
        if blank.count("\n") > 1:
            self.drop_pending()
            self.last_doc = None
        self.at += len(blank)
        return self.at < len(self.text)

    def drop_pending(self):
        if self.pending is not None:
            raise HeaderError(*self.pending.where, "a documentation comment above nothing")

    def comment(self, rest):
        if "*/" not in rest:
            self.fail("a comment without an end")
        comment = rest[: rest.index("*/") + 2]
        if not comment.startswith("/**"):
            match = SECTION.fullmatch(comment)
            if not match:
                self.fail("neither a documentation comment nor the heading of a section")
            self.drop_pending()
            self.section, self.last_doc = match["title"], None
        elif comment.startswith("/**<"):
            self.fail("a comment on what stands before it, where nothing does")
        else:
            self.drop_pending()
            doc = parse_doc(self.file, self.line, comment)
            if re.search(r"@file\b", comment):
                self.file_doc = doc
            else:
                self.pending = doc
        self.at += len(comment)

    def directive(self, rest):
        line = re.match(r"(?:[^\n]|(?<=\\)\n)*", rest)[0]
        word = re.match(r"#\s*(\w+)", line)
        kind = word[1] if word else ""
        if kind in ("ifdef", "ifndef", "if"):
            self.depth += 1
        elif kind == "endif":
            self.depth -= 1
        elif kind == "define":
            self.define(line)
        elif kind not in ("include", "else", "elif"):
            self.fail(f"not understood: {line}")
        self.at += len(line)

    def define(self, line):
        constant = CONSTANT.fullmatch(line)
        if constant and re.fullmatch(r"\d+u?|0x[0-9A-Fa-f]+u?", constant["value"]):
            doc = self.pending or self.last_doc
            if constant["doc"]:
                doc = parse_doc(self.file, self.line, f"/**< {constant['doc']} */")
            self.add("constant", constant["name"], line, doc, parts=constant["value"])
        elif re.fullmatch(r"#\s*define \w+_H", line):
            self.drop_pending()
        else:
            self.macro(line)
        self.pending = None

    def macro(self, line):
        """A macro with arguments; of two definitions under a condition the first has the comment."""
        match = MACRO.fullmatch(line)
        if not match:
            self.fail(f"not understood: {line}")
        if self.pending is None and any(d.kind == "macro" and d.name == match["name"] for d in self.declared):
            return
        self.add("macro", match["name"], match["shown"])

    def statement(self, rest):
        end = self.statement_end(rest)
        raw = rest[:end]
        if raw.startswith("typedef struct"):
            self.record(raw)
        else:
            if "/*" in raw or "//" in raw:
                self.fail("a comment inside a declaration")
            self.simple(without_type_macros(raw))
        self.pending = None
        self.at += end

    def statement_end(self, rest):
        depth = 0
        for match in re.finditer(r"/\*.*?\*/|[{};]", rest, flags=re.S):
            depth += {"{": 1, "}": -1}.get(match[0], 0)
            if match[0] == ";" and depth == 0:
                return match.end()
        self.fail("a declaration without an end")
        return 0

    def simple(self, text):
        match = FUNCTION.fullmatch(text)
        if match:
            arguments = self.arguments(match["arguments"])
            self.add("function", match["name"], text, parts=arguments, type=match["result"].strip())
            return
        match = OBJECT.fullmatch(text)
        if match:
            dimensions = tuple(re.findall(r"\[(\w+)\]", match["dimensions"]))
            self.add("object", match["name"], text, type=match["type"].strip(), dimensions=dimensions)
            return
        match = FUNCTION_TYPE.fullmatch(text) or ARRAY_TYPE.fullmatch(text)
        if not match:
            self.fail(f"neither a function nor a data object nor a type: {text}")
        self.add("type", match["name"], text)

    def arguments(self, text):
        if text == "void":
            return []
        found = [ARGUMENT.fullmatch(part.strip()) for part in text.split(",")]
        if not all(found):
            self.fail(f"an argument that is not understood: {text}")
        return [(match["name"], match["type"].strip()) for match in found]

    def record(self, raw):
        match = STRUCT.fullmatch(raw)
        if not match or match["name"] != match["again"]:
            self.fail("a record that is not understood")
        fields = self.fields(match["body"], self.line)
        self.add("record", match["name"], raw, parts=fields)

    def fields(self, body, line):
        """The fields of a record: (name, type, dimensions, documentation)."""
        fields = []
        rows = re.compile(r"\s*(?P<field>[\w(][^;{}/]*;)(?P<doc>[ \t]*/\*\*<.*?\*/)?", re.S)
        at = 0
        while body[at:].strip():
            row = rows.match(body, at)
            where = line + body.count("\n", 0, at) + 1
            match = row and FIELD.fullmatch(without_type_macros(row["field"]))
            if not match:
                raise HeaderError(self.file, where, f"a field that is not understood: {one_line(body[at:])[:60]}")
            doc = parse_doc(self.file, where, row["doc"].strip()).text if row["doc"] else ""
            dimensions = tuple(re.findall(r"\[(\w+)\]", match["dimensions"]))
            fields.append((match["name"], match["type"].strip(), dimensions, doc))
            at = row.end()
        return fields

    def add(self, kind, name, text, doc=None, **more):
        """Adds a declaration with its comment, or with that of the unbroken run that it belongs to."""
        shares = doc is None and self.pending is None
        doc = doc or self.pending or self.last_doc
        if doc is None:
            self.fail(f"{name} has no documentation comment")
        if self.depth != 1 and kind != "macro":
            self.fail(f"{name} depends on a condition")
        if self.pending is not None:
            self.last_doc = self.pending
        where = (self.file, self.line)
        self.declared.append(Declared(kind, name, text, doc, where, self.section, shares_doc=shares, **more))


def read_headers(folder=FOLDER):
    """Every public header by name; the linkage macros are left out."""
    return {path.name: HeaderReader(path).read() for path in sorted(folder.glob("*.h")) if path.name != LINKAGE}


class Layout:
    """Sizes and offsets of the records, from natural alignment: the layouts are the same on every processor."""

    SCALARS = {"uint8_t": 1, "int8_t": 1, "char": 1, "uint16_t": 2, "uint32_t": 4, "int32_t": 4}

    def __init__(self, headers):
        declared = [d for header in headers.values() for d in header.declared]
        self.constants = {d.name: int(d.parts.rstrip("u"), 0) for d in declared if d.kind == "constant"}
        self.records = {d.name: d for d in declared if d.kind == "record"}

    def number(self, dimension):
        return int(dimension) if dimension.isdigit() else self.constants[dimension]

    def size_and_alignment(self, kind, dimensions=()):
        """None for a type whose size is the processor's own."""
        if kind in self.SCALARS:
            size = alignment = self.SCALARS[kind]
        elif kind in self.records:
            _, size, alignment = self.of_record(kind)
        else:
            return None
        for dimension in dimensions:
            size *= self.number(dimension)
        return size, alignment

    def of_record(self, name):
        """The offset of each field, the size and the alignment of a record."""
        offsets, at, widest = [], 0, 1
        for field_name, kind, dimensions, _ in self.records[name].parts:
            known = self.size_and_alignment(kind, dimensions)
            if known is None:
                raise HeaderError(*self.records[name].where, f"field {field_name}: the size of {kind} is not known")
            size, alignment = known
            at += -at % alignment
            offsets.append(at)
            at += size
            widest = max(widest, alignment)
        return offsets, at + -at % widest, widest
