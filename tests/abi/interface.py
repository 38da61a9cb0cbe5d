"""The exported interface as the compiler sees it, and how far two of them differ.

The compiler is asked, not the headers' text: a probe declares a pointer to every function and data object, and its
debug information tells their types and the layouts of the records. Types of the C library are told by their names
alone, so that one description holds for every processor.

    interface.py --renew VERSION    writes interface.txt anew, which the version must allow
"""
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

from declarations import ROOT, headers, listed

CC = os.environ.get("MCADAPT_CC", "cc")
CFLAGS = shlex.split(os.environ.get("MCADAPT_CFLAGS", ""))
READELF = os.environ.get("MCADAPT_READELF", "readelf")
REFERENCE = pathlib.Path(__file__).parent / "interface.txt"
INCLUDES = [f"-I{ROOT / 'include'}", f"-I{ROOT}"]


# --- The compiler's view


class Entry:
    """One entry of the debug information."""

    def __init__(self, tag):
        self.tag, self.attributes, self.children = tag, {}, []

    def __getitem__(self, name):
        return self.attributes.get(name)


def entries(dump):
    """The entries of readelf's dump by their offsets, with their children."""
    found, parents, entry = {}, {}, None
    for line in dump.splitlines():
        head = re.match(r" *<(\w+)><(\w+)>: Abbrev Number: \d+ \((DW_TAG_\w+)\)", line)
        value = re.match(r" *<\w+> +DW_AT_(\w+) *: (.*)", line)
        if head:
            depth, entry = int(head[1], 16), Entry(head[3][len("DW_TAG_"):])
            found[int(head[2], 16)] = parents[depth] = entry
            if depth:
                parents[depth - 1].children.append(entry)
        elif value and entry:
            text = re.sub(r"\((indirect|indexed|alt indirect)[^)]*\): ", "", value[2].split("\t")[0]).strip()
            entry.attributes[value[1]] = text
    for entry in found.values():
        target = re.match(r"<0x(\w+)>", entry["type"] or "")
        entry.type = found[int(target[1], 16)] if target else None
    return found.values()


def number(text):
    return int(text.split()[0], 0)


def dimensions(array):
    for child in array.children:
        if child["count"] or child["upper_bound"]:
            yield number(child["count"]) if child["count"] else number(child["upper_bound"]) + 1


def declare(entry, inner=""):
    """A type as a C declaration of `inner`."""
    if entry is None:
        return f"void {inner}".strip()
    if entry.tag == "pointer_type":
        inner = f"*{inner}"
        grouped = entry.type is not None and entry.type.tag in ("array_type", "subroutine_type")
        return declare(entry.type, f"({inner})" if grouped else inner)
    if entry.tag in ("const_type", "volatile_type", "restrict_type", "atomic_type"):
        word = entry.tag[: -len("_type")]
        if entry.type is not None and entry.type.tag == "pointer_type":
            return declare(entry.type, f"{word} {inner}".strip())
        return f"{word} {declare(entry.type, inner)}"
    if entry.tag == "array_type":
        return declare(entry.type, inner + "".join(f"[{size}]" for size in dimensions(entry)))
    if entry.tag == "subroutine_type":
        kinds = {"formal_parameter": lambda p: declare(p.type), "unspecified_parameters": lambda p: "..."}
        parameters = [kinds[child.tag](child) for child in entry.children]
        return declare(entry.type, f"{inner}({', '.join(parameters) or 'void'})")
    return f"{entry['name'] or entry.tag} {inner}".strip()


def size(entry):
    if entry.tag == "array_type":
        total = size(entry.type)
        for length in dimensions(entry):
            total *= length
        return total
    return number(entry["byte_size"]) if entry["byte_size"] else size(entry.type)


def probe_source():
    """A pointer to everything that the lists name; returns the source, and each name's kind."""
    kinds = dict(reversed(line.split()) for line in listed("exported_symbols.txt"))
    kinds.update((name, "requires") for name in listed("platform_calls.txt"))
    lines = [f'#include "{h.relative_to(ROOT / "include")}"' for h in headers("include/mcadapt")]
    lines += [f'#include "{h.relative_to(ROOT)}"' for h in headers("platform")]
    lines += [f"__typeof__({name}) *probe_{name};" for name in kinds]
    return "\n".join(lines) + "\n", kinds


def run(*command, **arguments):
    done = subprocess.run(command, capture_output=True, text=True, check=False, **arguments)
    if done.returncode:
        raise RuntimeError(f"{command[0]} failed, probably over a name that is listed but not declared:\n{done.stderr}")
    return done.stdout


def compiled():
    """Name -> kind and type of everything in the interface, from the compiler."""
    source, kinds = probe_source()
    with tempfile.TemporaryDirectory() as folder:
        built = f"{folder}/probe.o"
        options = ["-std=c99", "-g", "-gdwarf-4", "-O0", "-fno-lto", *INCLUDES]
        run(CC, *CFLAGS, *options, "-c", "-xc", "-", "-o", built, input=source)
        dump = run(READELF, "--debug-dump=info", built)
    probes = {e["name"]: e for e in entries(dump) if e.tag == "variable" and (e["name"] or "").startswith("probe_")}
    return {name: (kind, probes[f"probe_{name}"].type.type) for name, kind in kinds.items()}


def constants():
    """The headers' plain constants: callers have them built in."""
    source, _ = probe_source()
    text = run(CC, *CFLAGS, "-std=c99", "-E", "-dM", *INCLUDES, "-xc", "-", input=source)
    return dict(re.findall(r"^#define (MC_\w+) (\S.*)$", text, flags=re.M))


# --- The description: (kind, name) -> a declaration, or a record's size and fields


def own_types(entry, found):
    """Collects the interface's own named types that a type is made of; those of the C library end in _t."""
    if entry is None or (entry.tag == "typedef" and entry["name"].endswith("_t")):
        return
    if entry.tag == "typedef":
        if entry["name"] in found:
            return
        found[entry["name"]] = entry
    own_types(entry.type, found)
    for child in entry.children:
        own_types(child.type, found)


def describe_type(name, entry):
    if entry.type is None or entry.type.tag != "structure_type":
        return ("type", name), declare(entry.type)
    fields = [(f["name"], number(f["data_member_location"]), declare(f.type)) for f in entry.type.children]
    return ("record", name), (size(entry), fields)


def describe():
    """The interface as it is compiled now."""
    description, types = {}, {}
    for name, (kind, entry) in compiled().items():
        description[kind, name] = declare(entry)
        own_types(entry, types)
    description.update(describe_type(name, entry) for name, entry in types.items())
    description.update((("constant", name), value) for name, value in constants().items())
    return description


def write(version, description):
    lines = [
        "# The binary interface, as the compiler sees it, and its version: made by interface.py, not by hand.",
        "# function, object: exported. requires: supplied by the port.",
        f"version {version}",
    ]
    for (kind, name), value in sorted(description.items()):
        if kind == "record":
            lines.append(f"record {name}: {value[0]} bytes")
            lines += [f"    {offset}: {type_} {field}" for field, offset, type_ in value[1]]
        else:
            lines.append(f"{kind} {name}: {value}")
    REFERENCE.write_text("\n".join(lines) + "\n")


def read():
    """The committed version and description."""
    version, description, fields = None, {}, None
    for line in REFERENCE.read_text().splitlines():
        if line.startswith("#"):
            continue
        if line.startswith("version "):
            version = line.split()[1]
        elif line.startswith("    "):
            offset, text = line.strip().split(": ", 1)
            type_, field = text.rsplit(" ", 1)
            fields.append((field, int(offset), type_))
        else:
            key, value = line.split(": ", 1)
            kind, name = key.split()
            if kind == "record":
                fields = []
                description[kind, name] = (int(value.split()[0]), fields)
            else:
                description[kind, name] = value
    return version, description


# --- Differences, and what they ask of the version


def record_changes(name, old, new):
    before, after = ({f[0]: f[1:] for f in fields} for _, fields in (old, new))
    if old[0] != new[0]:
        yield f"record {name} had {old[0]} bytes and has {new[0]}"
    for field in [*before, *(f for f in after if f not in before)]:
        if field not in after:
            yield f"record {name}: field {field} is gone"
        elif field not in before:
            yield f"record {name}: field {field} is new, at byte {after[field][0]}"
        else:
            if before[field][0] != after[field][0]:
                yield f"record {name}: field {field} was at byte {before[field][0]} and is at byte {after[field][0]}"
            if before[field][1] != after[field][1]:
                yield f"record {name}: field {field} was {before[field][1]} and is {after[field][1]}"


def changes(old, new):
    """What breaks users of the old interface, and what is only added, in plain words."""
    breaking, added = [], []
    for kind, name in sorted({*old, *new}):
        before, after = old.get((kind, name)), new.get((kind, name))
        what = f"platform call {name}" if kind == "requires" else f"{kind} {name}"
        if after is None:
            breaking.append(f"{what} is gone")
        elif before is None:
            (breaking if kind == "requires" else added).append(f"{what} is new")
        elif kind == "record":
            breaking += record_changes(name, before, after)
        elif before != after:
            breaking.append(f"{what} was `{before}` and is `{after}`")
    return breaking, added


def interface_part(version):
    return tuple(int(part) for part in version.split(".")[:2])


def enough(old_version, new_version, breaking, added):
    """Whether the version has been raised as far as the changes ask."""
    old, new = interface_part(old_version), interface_part(new_version)
    return new[0] > old[0] if breaking else new > old if added else new >= old


RENEW = "cmake --build BUILD --target abi_reference"


def verdict(version):
    """Nothing, or what is wrong with the interface and its version."""
    reference, old = read()
    breaking, added = changes(old, describe())
    part = ".".join(map(str, interface_part(version)))
    listing = "".join(f"\n  {line}" for line in breaking + added)
    if not enough(reference, version, breaking, added):
        number_ = "major" if breaking else "minor"
        return (
            f"the interface has changed, and version {version} does not say so (interface.txt is of {reference}):"
            f"{listing}\nTake it back, or raise the {number_} number in CMakeLists.txt and renew: {RENEW}"
        )
    if breaking or added:
        return f"the interface has changed with version {version}; renew interface.txt ({RENEW}):{listing}"
    if part != reference:
        return f"interface.txt is of {reference}, the project of {part}; renew it: {RENEW}"
    return None


def renew(version):
    description = describe()
    if REFERENCE.exists():
        reference, old = read()
        breaking, added = changes(old, description)
        if not enough(reference, version, breaking, added):
            sys.exit(f"interface.py: {verdict(version)}")
    write(".".join(map(str, interface_part(version))), description)


if __name__ == "__main__":
    if len(sys.argv) != 3 or sys.argv[1] != "--renew":
        sys.exit("usage: interface.py --renew VERSION")
    renew(sys.argv[2])
