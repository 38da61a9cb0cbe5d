"""What the headers declare."""
import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parents[2]

FUNCTION = re.compile(r"^(?P<export>MCADAPT_API )?[\w ]+?[ *](?P<name>\w+)\(.*\);$")
OBJECT = re.compile(r"^extern (?P<export>MCADAPT_API )?[\w ]+?[ *](?P<name>\w+)(\[\w+\])*;$")
SHARED_TYPE = re.compile(r"\bMC_SHARED\(([^()*]+)(?:(\*)\) |\))")  # the plain type, for all but the library


def headers(folder):
    """The header files of a folder below the project's root."""
    return sorted((ROOT / folder).rglob("*.h"))


class Declaration:
    """One function or data object of a header."""

    def __init__(self, match, kind, documented, where):
        self.name = match["name"]
        self.exported = bool(match["export"])
        self.kind = kind
        self.documented = documented
        self.where = where


def statements(text):
    """Yields each top-level statement on one line with its line number and whether a documentation comment stands
    above it: directly, or above the unbroken run of statements that it belongs to."""
    # A documentation comment that begins a line leaves a mark on its last line; all other comments go away.
    text = re.sub(r"^/\*\*.*?\*/", lambda m: "\n" * m[0].count("\n") + "@", text, flags=re.S | re.M)
    text = re.sub(r"/\*.*?\*/", lambda m: "\n" * m[0].count("\n"), text, flags=re.S)
    documented, collected, start = False, "", 0
    for number, line in enumerate(text.split("\n"), 1):
        if collected:
            collected += " " + line.strip()
        elif line == "@":
            documented = True
        elif line[:1].isalpha() and not re.fullmatch(r"MCADAPT_(BEGIN|END)_DECLS", line):
            collected, start = line.strip(), number
        else:
            documented = False
        if collected.endswith(";") and collected.count("{") == collected.count("}"):
            yield SHARED_TYPE.sub(r"\1\2", collected), start, documented
            collected = ""


def declarations(header):
    """The functions and data objects that a header declares."""
    found = []
    for text, line, documented in statements(header.read_text()):
        where = f"{header.relative_to(ROOT)}:{line}"
        if text.startswith("typedef"):
            continue
        for kind, pattern in (("object", OBJECT), ("function", FUNCTION)):
            match = pattern.match(text)
            if match:
                found.append(Declaration(match, kind, documented, where))
                break
        else:
            raise ValueError(f"{where}: neither a function nor a data object: {text}")
    return found


def listed(name):
    """The lines of a committed list, without comments."""
    lines = (pathlib.Path(__file__).parent / name).read_text().splitlines()
    return [line.strip() for line in lines if line.strip() and not line.startswith("#")]
