#!/usr/bin/env python3
"""Writes the reference of the exported operations and records from the public headers.

    scripts/operations.py            writes docs/operations.md and docs/records.md
    scripts/operations.py --check    fails when a committed file differs from what the headers say
    scripts/operations.py --gaps     lists what the headers leave unsaid, and fails when there is something
"""
import re
import sys
import textwrap

sys.dont_write_bytecode = True  # nothing is left behind in the tree

import c_headers  # noqa: E402
from c_headers import ROOT, HeaderError  # noqa: E402

WIDTH = 120

# The families, in the order of the reference: header, title.
FAMILIES = {
    "startup.h": "Start-up",
    "omci.h": "OMCI",
    "std_omci.h": "Standard OMCI",
    "oam.h": "OAM",
    "web.h": "Web",
    "status.h": "Status",
    "diagnostics.h": "Diagnostics",
    "vlan_tables.h": "VLAN tables",
    "packet_path.h": "Packet path",
    "engine_callbacks.h": "Engine callbacks",
}

GENERATED = "<!-- Made by scripts/operations.py from include/mcadapt/*.h: change the headers, then run it. -->"
AS_ANOTHER = re.compile(r"\b[Aa]rguments (?P<result>and result )?as `(?P<name>\w+)`")
THREAD = re.compile(r"\b([Cc]alled|[Rr]uns?) on\b")


class Reference:
    """What the headers say, ready to be written down."""

    def __init__(self):
        self.headers = c_headers.read_headers()
        self.layout = c_headers.Layout(self.headers)
        self.check_families()
        self.operations = {d.name: d for d in self.declared("function")}
        self.objects = {d.name: d for d in self.declared("object")}
        self.named = {d.name: d for kind in ("record", "type", "constant", "macro") for d in self.declared(kind)}
        self.platform = {
            name: f"../{file.relative_to(ROOT)}"
            for file in sorted((ROOT / "platform").glob("*.h"))
            for name in re.findall(r"^int32_t (\w+)\(", file.read_text(), flags=re.M)
        }

    def declared(self, kind):
        return [d for header in self.headers.values() for d in header.declared if d.kind == kind]

    def check_families(self):
        for name, header in self.headers.items():
            operations = [d for d in header.declared if d.kind == "function"]
            if operations and name not in FAMILIES:
                raise HeaderError(*operations[0].where, f"operations of {name}, which is no family of the reference")

    def family(self, name):
        return [d for d in self.headers[name].declared if d.kind == "function"]

    # --- What one operation says, with what it leaves to another ---

    def model(self, operation):
        """The operation that this one refers to for its arguments, and whether for its result too."""
        match = AS_ANOTHER.search(operation.doc.text)
        if not match:
            return None, False
        model = self.operations.get(match["name"])
        if model is None:
            raise HeaderError(*operation.doc.where, f"arguments as `{match['name']}`, which is no operation")
        if AS_ANOTHER.search(model.doc.text):
            raise HeaderError(*operation.doc.where, f"arguments as `{model.name}`, which has them from another itself")
        return model, bool(match["result"])

    def arguments(self, operation):
        """(name, direction, text) of each argument; the text is empty when nothing is said."""
        model, _ = self.model(operation)
        own = operation.doc.arguments
        for name in own:
            if name not in [argument for argument, _ in operation.parts]:
                raise HeaderError(*operation.doc.where, f"@param {name}: {operation.name} has no such argument")
        of_model = {name: (direction, text) for name, direction, text in self.arguments(model)} if model else {}
        return [(name, *(own.get(name) or of_model.get(name) or ("", ""))) for name, _ in operation.parts]

    def result(self, operation):
        """The @return text and the @retval rows."""
        model, also_result = self.model(operation)
        doc = operation.doc
        if not doc.result and not doc.results and also_result:
            return self.result(model)
        return doc.result, doc.results

    def thread(self, operation):
        """On which thread: a note of the operation, else the sentence of its header's comment."""
        for note in operation.doc.notes:
            if THREAD.search(note):
                return note
        header = self.headers[operation.where[0].rsplit("/", 1)[-1]]
        said = [s for paragraph in header.doc.paragraphs for s in sentences(paragraph) if THREAD.search(s)]
        if not said:
            raise HeaderError(*header.doc.where, "the comment does not say on which thread the operations are called")
        return " ".join(said)

    def gaps(self):
        """What a caller would miss: arguments and results without a word, operations and fields without a sentence."""
        for name in FAMILIES:
            for operation in self.family(name):
                where = f"{operation.where[0]}:{operation.where[1]}: {operation.name}"
                if not operation.doc.paragraphs:
                    yield f"{where}: nothing says what it does"
                if operation.shares_doc:
                    yield f"{where}: shares the comment of an earlier operation"
                for argument, _, text in self.arguments(operation):
                    if not text:
                        yield f"{where}: argument {argument}"
                if operation.type != "void" and self.result(operation) == ("", []):
                    yield f"{where}: result"
        for record in self.declared("record"):
            for field, _, _, text in record.parts:
                if not text:
                    yield f"{record.where[0]}:{record.where[1]}: {record.name}: field {field}"

    # --- Links ---

    def target(self, name, page):
        """Where a name is explained, as seen from a page; nothing for a name that is not of the interface."""
        if name in self.operations:
            return ("" if page == "operations" else "operations.md") + f"#{name.lower()}"
        if name in self.named:
            heading = name.lower() if self.named[name].kind == "record" else "constants-and-types"
            return ("" if page == "records" else "records.md") + f"#{heading}"
        if name in FAMILIES:
            return ("" if page == "operations" else "operations.md") + f"#{anchor(FAMILIES[name])}"
        if name in self.objects:
            return ("" if page == "records" else "records.md") + "#exported-records"
        return self.platform.get(name)

    def prose(self, text, page, own="", cell=False):
        """A text as Markdown: names become links, but for `own`; a field that stands before "of" is none of them."""
        done = []
        parts = re.split(r"(`[^`]*`)", text)
        for part, following in zip(parts, parts[1:] + [""]):
            name = part.strip("`")
            if not part.startswith("`"):
                done.append(re.sub(r"([*_<])", r"\\\1", part))
                continue
            target = self.target(name, page) if name != own and not following.startswith(" of") else None
            done.append(f"[`{name}`]({target})" if target else part)
        joined = "".join(done)
        return joined.replace("|", "\\|") if cell else joined

    # --- docs/operations.md ---

    def operations_page(self):
        count = len(self.operations)
        yield "# Operations\n"
        yield GENERATED + "\n"
        yield wrapped(
            f"The {count} exported operations of the library, by the header that declares them. [Records](records.md)"
            " tells what they store. A C program includes `mcadapt/mcadapt.h` and gets all of them; names have C"
            " linkage."
        )
        yield from self.paragraphs(self.headers[c_headers.WHOLE].doc.paragraphs[2:], "operations")
        yield "## Contents\n"
        yield "| family | operations | header |\n|---|---:|---|"
        for name, title in FAMILIES.items():
            link = f"[{title}](#{anchor(title)})"
            yield f"| {link} | {len(self.family(name))} | [`mcadapt/{name}`](../include/mcadapt/{name}) |"
        yield f"| [All by name](#all-by-name) | {count} | |\n"
        for name, title in FAMILIES.items():
            yield from self.family_part(name, title)
        yield from self.index()

    def family_part(self, header, title):
        yield f"## {title}\n"
        yield from self.paragraphs(self.headers[header].doc.paragraphs, "operations")
        operations = self.family(header)
        yield "| operation | what it does |\n|---|---|"
        for section in dict.fromkeys(operation.section for operation in operations):
            if section:
                yield f"| **{self.prose(section, 'operations', cell=True)}** | |"
            for operation in operations:
                if operation.section == section:
                    yield self.index_row(operation)
        yield ""
        for operation in operations:
            yield from self.operation_part(operation)

    def index_row(self, operation):
        return f"| [`{operation.name}`](#{operation.name.lower()}) | {self.brief(operation, cell=True)} |"

    def brief(self, operation, cell=False):
        """The first sentence."""
        text = sentences(operation.doc.paragraphs[0])[0] if operation.doc.paragraphs else operation.doc.result
        return self.prose(text, "operations", own=operation.name, cell=cell)

    def operation_part(self, operation):
        yield f"### `{operation.name}`\n"
        yield "```c\n" + prototype(operation) + "\n```\n"
        yield from self.paragraphs(operation.doc.paragraphs, "operations", operation.name)
        arguments = self.arguments(operation)
        if arguments:
            yield "| argument | meaning |\n|---|---|"
            types = dict(operation.parts)
            for name, direction, text in arguments:
                shown = self.argument_cell(name, types[name], direction)
                yield f"| {shown} | {self.prose(text, 'operations', operation.name, cell=True)} |"
            yield ""
        yield from self.result_part(operation)
        yield labelled("Thread", self.prose(thread_phrase(self.thread(operation)), "operations"))
        for note in operation.doc.notes:
            if not THREAD.search(note):
                yield labelled("Note", self.prose(note, "operations"))

    def argument_cell(self, name, kind, direction):
        record = kind.removeprefix("const ").removesuffix(" *")
        shown = f"`{name}` ({direction})" if direction else f"`{name}`"
        return f"{shown}, {self.prose(f'`{record}`', 'operations')}" if record in self.named else shown

    def result_part(self, operation):
        text, rows = self.result(operation)
        if operation.type == "void":
            yield labelled("Result", "none.")
        elif rows:
            yield "| result | meaning |\n|---|---|"
            for value, meaning in rows:
                yield f"| {value} | {self.prose(meaning, 'operations', operation.name, cell=True)} |"
            yield ""
        if text:
            shown = self.prose(text, "operations", operation.name)
            yield labelled("Result", re.sub(r"\b(?:[Bb]yte|[Ff]ull) result\b", r"[\g<0>](#omci)", shown))

    def index(self):
        yield "## All by name\n"
        yield "| operation | what it does |\n|---|---|"
        for name in sorted(self.operations, key=str.lower):
            yield self.index_row(self.operations[name])
        yield ""

    # --- docs/records.md ---

    def records_page(self):
        yield "# Records\n"
        yield GENERATED + "\n"
        yield wrapped(
            "The records that the library exports and those that its operations take, with the offset of each field"
            " in bytes. [Operations](operations.md) tells who changes what."
        )
        yield from self.paragraphs(self.headers["records.h"].doc.paragraphs[1:], "records")
        yield "## Contents\n"
        yield "- [Exported records](#exported-records): what exists by name in the process"
        yield "- [Constants and types](#constants-and-types)"
        for d in self.declared("record"):
            yield f"- [`{d.name}`](#{d.name.lower()}): {self.record_text(sentences(d.doc.paragraphs[0])[0])}"
        yield ""
        yield from self.objects_part()
        yield from self.named_part()
        for record in self.declared("record"):
            yield from self.record_part(record)

    def objects_part(self):
        yield "## Exported records\n"
        yield "| name | type | bytes | meaning |\n|---|---|---:|---|"
        for d in self.declared("object"):
            known = None if "*" in d.type else self.layout.size_and_alignment(d.type, d.dimensions)
            size = known[0] if known else "the processor's"
            yield f"| `{d.name}` | {self.type_cell(d.type, d.dimensions)} | {size} | {self.record_text(d.doc.text)} |"
        yield ""

    def named_part(self):
        yield "## Constants and types\n"
        yield "| name | value | meaning |\n|---|---|---|"
        for d in self.declared("constant"):
            yield f"| `{d.name}` | {d.parts.rstrip('u')} | {self.record_text(d.doc.text)} |"
        for d in self.declared("type") + self.declared("macro"):
            yield f"| `{d.name}` | `{d.text}` | {self.record_text(d.doc.text)} |"
        yield ""

    def record_part(self, record):
        offsets, size, _ = self.layout.of_record(record.name)
        yield f"## `{record.name}`\n"
        yield from self.paragraphs(record.doc.paragraphs, "records", record.name)
        header = record.where[0]
        yield f"{size} bytes, declared in [`{header}`](../{header}).\n"
        yield "| offset | field | type | meaning |\n|---:|---|---|---|"
        for offset, (name, kind, dimensions, text) in zip(offsets, record.parts):
            yield f"| {offset} | `{name}` | {self.type_cell(kind, dimensions)} | {self.record_text(text)} |"
        yield ""

    def type_cell(self, kind, dimensions):
        shown = "`" + kind + "".join(f"[{self.layout.number(dimension)}]" for dimension in dimensions) + "`"
        record = kind.removesuffix(" *")
        return f"[{shown}](#{record.lower()})" if record in self.layout.records else shown

    def record_text(self, text):
        return self.prose(text, "records", cell=True)

    def paragraphs(self, paragraphs, page, own=""):
        for paragraph in paragraphs:
            yield wrapped(self.prose(paragraph, page, own))

    def pages(self):
        return {
            ROOT / "docs" / "operations.md": "\n".join(self.operations_page()),
            ROOT / "docs" / "records.md": "\n".join(self.records_page()),
        }


def sentences(text):
    """The sentences of a paragraph; a full stop inside a bracket ends none."""
    return re.split(r"(?<=[.])\s+(?=[\"A-Z`])", text)


def thread_phrase(text):
    """The label says "called on" already."""
    text = re.sub(r"^(?:Called|All run) on ", "", text)
    return text[0].lower() + text[1:]


def anchor(title):
    return re.sub(r"[^\w -]", "", title.lower()).replace(" ", "-")


def wrapped(text):
    """A paragraph of the page, and the empty line behind it; links and code are not broken."""
    glued = re.sub(r"`[^`]*`|\[[^]]*\]\([^)]*\)", lambda match: match[0].replace(" ", "\0"), text)
    lines = textwrap.wrap(glued, WIDTH, break_long_words=False, break_on_hyphens=False)
    return "\n".join(lines).replace("\0", " ") + "\n"


def labelled(label, text):
    return wrapped(f"**{label}:** {text}")


def prototype(operation):
    """The declaration as a C programmer writes it, without the linkage."""
    head = f"{operation.type} {operation.name}(".replace("* ", "*")
    arguments = [f"{kind} {name}".replace("* ", "*") for name, kind in operation.parts] or ["void"]
    glued = [argument.replace(" ", "\0") for argument in arguments]
    indent = " " * len(head)
    lines = textwrap.wrap(", ".join(glued) + ");", WIDTH - 20, initial_indent=head, subsequent_indent=indent)
    return "\n".join(lines).replace("\0", " ")


def check(pages):
    differing = [path for path, text in pages.items() if not path.exists() or path.read_text() != text]
    for path in differing:
        print(f"{path.relative_to(ROOT)} differs from the headers: run scripts/operations.py", file=sys.stderr)
    return 1 if differing else 0


def main(arguments):
    if arguments not in ([], ["--check"], ["--gaps"]):
        print(f"operations.py: unknown arguments {' '.join(arguments)}\n{__doc__}", file=sys.stderr)
        return 2
    reference = Reference()
    if arguments == ["--gaps"]:
        gaps = list(reference.gaps())
        print("\n".join(gaps))
        return 1 if gaps else 0
    pages = reference.pages()
    if arguments == ["--check"]:
        return check(pages)
    for path, text in pages.items():
        path.write_text(text)
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main(sys.argv[1:]))
    except HeaderError as error:
        print(f"operations.py: {error}", file=sys.stderr)
        sys.exit(1)
