"""Symbol tables of built libraries."""
import os
import re
import subprocess

READELF = os.environ.get("MCADAPT_READELF", "readelf")


def readelf(*arguments):
    return subprocess.run([READELF, "-W", *arguments], capture_output=True, text=True, check=True).stdout


class Symbol:
    """A line of a symbol table: number, value, size, type, binding, visibility, section, name."""

    def __init__(self, fields):
        self.size = int(fields[2], 0)
        self.type, self.binding, self.visibility, self.section = fields[3:7]
        self.name, _, self.version = fields[7].replace("@@", "@").partition("@")
        self.defined = self.section != "UND"


def symbols(*arguments):
    lines = [line.split() for line in readelf(*arguments).splitlines()]
    return [Symbol(fields) for fields in lines if len(fields) >= 8 and re.fullmatch(r"\d+:", fields[0])]


def dynamic_symbols(library):
    """What a library exports and imports, without the name of its version itself."""
    found = [s for s in symbols("--dyn-syms", library) if s.binding != "LOCAL"]
    return [s for s in found if not (s.section == "ABS" and s.type == "OBJECT" and s.size == 0)]
