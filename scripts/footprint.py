#!/usr/bin/env python3
"""Measures what the library takes on its targets, and keeps the table of it in docs/footprint.md.

    scripts/footprint.py                     builds, measures, and writes docs/footprint.md anew
    scripts/footprint.py --check             builds and measures; fails where a limit is broken or the document is out
                                             of date
    scripts/footprint.py --target arm ...    these targets alone, printed and not written
"""
import argparse
import os
import re
import subprocess
import sys
import xml.etree.ElementTree
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parent))
import footprint_elf as elf  # noqa: E402
import footprint_stack as stack  # noqa: E402

ROOT = Path(__file__).resolve().parents[1]
DOCUMENT = ROOT / "docs" / "footprint.md"
BEGIN, END = "<!-- made by scripts/footprint.py: begin -->", "<!-- made by scripts/footprint.py: end -->"

RECEIVE_STACK = 51200
STATUS_BLOCK = 14392
CODE_LIMIT = 48 * 1024  # text column of `size`, ARM Thumb-2 for size
STACK_LIMIT = RECEIVE_STACK // 4


class Target:
    def __init__(self, name, title, toolchain, emulator, results):
        self.name, self.title, self.toolchain, self.emulator, self.results = name, title, toolchain, emulator, results

    @property
    def is_arm(self):
        return self.name in ("arm", "arm-soft")

    def configure(self, folder):
        command = ["cmake", "-S", ROOT, "-B", folder, "-Wno-dev", "-DMCADAPT_FOOTPRINT=ON", "-DMCADAPT_TESTS=OFF"]
        command += ["-DMCADAPT_HOST=OFF", "-DMCADAPT_BENCH=OFF", "-DMCADAPT_INSTALL=OFF"]
        if self.toolchain:
            toolchain = ROOT / "cmake" / f"{self.toolchain}.cmake"
            return command + [f"-DCMAKE_TOOLCHAIN_FILE={toolchain}", "-DCMAKE_BUILD_TYPE=MinSizeRel"]
        return command + ["-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_CXX_FLAGS_RELEASE=-O2 -DNDEBUG"]

    def tool(self, name):
        return f"{self.toolchain}-{name}" if self.toolchain else name

    def run(self, program):
        emulator = [self.emulator, "-L", f"/usr/{self.toolchain}"] if self.emulator else []
        return output_of([*emulator, program])


TARGETS = [
    Target("arm", "32-bit ARM, hard float, Thumb-2, -Os", "arm-linux-gnueabihf", "qemu-arm", "arm"),
    Target("arm-soft", "32-bit ARM, soft float, Thumb-2, -Os", "arm-linux-gnueabi", "qemu-arm", "arm-soft"),
    Target("arm64", "64-bit ARM, -Os", "aarch64-linux-gnu", "qemu-aarch64", "arm64"),
    Target("mips", "32-bit MIPS, big-endian, -Os", "mips-linux-gnu", "qemu-mips", "mips"),
    Target("x86_64", "x86-64, -O2", None, None, "release"),
]


def fail(text):
    sys.exit(f"footprint: {text}")


def output_of(command):
    try:
        done = subprocess.run([str(word) for word in command], capture_output=True, text=True, check=False)
    except FileNotFoundError as missing:
        fail(f"{missing.filename} is not installed; scripts/setup.sh build cross installs what is needed")
    if done.returncode != 0:
        fail(f"failed: {' '.join(str(word) for word in command)}\n{done.stdout}{done.stderr}")
    return done.stdout


def build(target, folder):
    output_of(target.configure(folder))
    output_of(["cmake", "--build", folder, "-j", os.cpu_count() or 1, "--target", "mcadapt", "stack_paint"])


class Figures:
    """What was measured for one target."""

    def __init__(self, target, folder, results):
        self.target = target
        library = elf.Library(folder / "libmcadapt.so", output_of)
        stripped = folder / "libmcadapt.stripped.so"
        output_of([target.tool("strip"), "-o", stripped, folder / "libmcadapt.so"])
        self.library = library
        self.file = stripped.stat().st_size
        graph = stack.CallGraph(folder.glob("CMakeFiles/mcadapt_objects.dir/**/*.ci"), callbacks_of_engine())
        self.task = graph.deepest(["igmp_adapt_pkt_recv_task"])
        self.callback = graph.deepest(sorted(engine_callbacks()))
        self.operation = graph.deepest(exported_functions())
        self.task_with_callback = graph.deepest_with_callbacks("igmp_adapt_pkt_recv_task")
        self.painted = painted(target.run(folder / "tests" / "footprint" / "stack_paint"))
        self.tests = passed_tests(results / target.results / "test-results")

    def rows(self):
        """The numbers of the table, by their key, with how far each may be from the document's."""
        sizes, near = self.library, lambda value: max(64, value // 50)
        yield "text", sizes.code, near(sizes.code)
        yield "constants", sizes.constants, near(sizes.constants)
        yield "sum", sizes.code + sizes.constants, near(sizes.code + sizes.constants)
        yield "tables", sizes.tables, near(sizes.tables)
        yield "`size` text", sizes.size_text, near(sizes.size_text)
        yield "writable", sizes.writable, 0
        yield "heap", STATUS_BLOCK, 0
        yield "file", self.file, near(self.file)
        yield "task", self.task.bytes, max(64, self.task.bytes // 10)
        yield "with callback", self.task_with_callback.bytes, max(64, self.task_with_callback.bytes // 10)
        yield "painted", self.painted, max(512, self.painted // 5)
        yield "operation", self.operation.bytes, max(64, self.operation.bytes // 10)
        yield "callback", self.callback.bytes, max(64, self.callback.bytes // 10)

    def broken_limits(self):
        """A sentence for each limit that does not hold."""
        library, name = self.library, self.target.name
        if self.target.is_arm and library.size_text > CODE_LIMIT:
            yield f"{name}: all that is only read is {library.size_text} bytes, over the limit of {CODE_LIMIT}"
        for what, number in (
            ("deepest chain of the receive task", self.task.bytes),
            ("receive task with a callback of the engine", self.task_with_callback.bytes),
            ("painted stack of the receive task", self.painted),
        ):
            if number >= STACK_LIMIT:
                yield f"{name}: {what} takes {number} bytes, a quarter of its {RECEIVE_STACK} is {STACK_LIMIT}"
        if library.needed != ["libc.so.6"]:
            yield f"{name}: the library needs {', '.join(library.needed)}; libc.so.6 alone is allowed"
        for problem in library.linking_problems():
            yield f"{name}: {problem}"
        if self.tests and self.tests.failed:
            yield f"{name}: {self.tests.failed} tests failed"


class Tests:
    def __init__(self, passed, failed, skipped):
        self.passed, self.failed, self.skipped = passed, failed, skipped

    def __str__(self):
        text = f"{self.passed} of {self.passed + self.failed + self.skipped}"
        return text + (f", {self.skipped} skipped" if self.skipped else "")


def passed_tests(folder):
    """Adds up the results that the tests of the library left behind; those of the unit on a PC do not count."""
    passed = failed = skipped = 0
    files = [file for file in folder.glob("*.xml") if "host" not in file.stem] if folder.is_dir() else []
    for file in files:
        suites = xml.etree.ElementTree.parse(file).getroot()
        cases = list(suites.iter("testcase"))
        bad = sum(case.find("failure") is not None for case in cases)
        left_out = sum(case.find("skipped") is not None or case.get("status") == "notrun" for case in cases)
        failed, skipped, passed = failed + bad, skipped + left_out, passed + len(cases) - bad - left_out
    return Tests(passed, failed, skipped) if files else None


def painted(report):
    match = re.search(r"^deepest (\d+) of (\d+)$", report, flags=re.M)
    if not match or int(match[2]) != RECEIVE_STACK:
        fail(f"no figure in what stack_paint told:\n{report}")
    return int(match[1])


def listed(kind):
    lines = (ROOT / "tests" / "abi" / "exported_symbols.txt").read_text().splitlines()
    return [line.split()[1] for line in lines if line.startswith(kind + " ")]


def exported_functions():
    return [name for name in listed("function") if name != "igmp_adapt_pkt_recv_task"]


def engine_callbacks():
    return {"send_pkt_igmp", "send_pkt_mld", "igmp_add_grp", "igmp_del_grp", "mld_add_grp", "mld_del_grp"}


def callbacks_of_engine():
    """The calls of the platform that may call back before they return."""
    return {call: engine_callbacks() for call in ("igmp_pkt_recv", "mld_pkt_recv")}


# --- The document


def table(header, rows):
    lines = ["| " + " | ".join(header) + " |", "|---" + "|--:" * (len(header) - 1) + "|"]
    return "\n".join(lines + ["| " + " | ".join(str(cell) for cell in row) + " |" for row in rows])


def generated(all_figures):
    """The part of the document that is measured."""
    parts = [size_table(all_figures), stack_table(all_figures), chain_list(all_figures), writable_table(all_figures)]
    return "\n\n".join(parts)


def size_table(all_figures):
    keys = ["text", "constants", "sum", "tables", "`size` text", "writable", "heap", "file"]
    rows = []
    for figures in all_figures:
        numbers = {key: number for key, number, _ in figures.rows()}
        rows.append([figures.target.title, *(numbers[key] for key in keys), figures.tests or "not run here"])
    return f"## Sizes and tests\n\n{table(['target', *keys, 'tests passed'], rows)}"


def stack_table(all_figures):
    keys = ["task", "with callback", "painted", "operation", "callback"]
    rows = []
    for figures in all_figures:
        numbers = {key: number for key, number, _ in figures.rows()}
        rows.append([figures.target.title, *(numbers[key] for key in keys)])
    return f"## Stack\n\n{table(['target', *keys], rows)}"


def chain_list(all_figures):
    figures = all_figures[0]
    lines = [f"The deepest chains on {figures.target.title.split(',')[0]}, with the bytes of each frame:", ""]
    for what, chain in (
        ("receive task", figures.task),
        ("receive task with a callback", figures.task_with_callback),
        ("operation", figures.operation),
        ("callback", figures.callback),
    ):
        lines.append(f"- {what}, {chain.bytes} bytes: {chain}")
    return "\n".join(lines)


def writable_table(all_figures):
    exported = set(listed("object"))
    per_target = [figures.library.writable_objects() for figures in all_figures]
    names = sorted({name for objects in per_target for name in objects}, key=lambda name: (name not in exported, name))
    rows = []
    for name in names:
        kind = "exported record" if name in exported else "the library's own"
        rows.append([f"`{name}`", kind, *(objects.get(name, 0) or "" for objects in per_target)])
    gaps = [f.library.writable - sum(objects.values()) for f, objects in zip(all_figures, per_target)]
    rows.append(["alignment", "", *gaps])
    rows.append(["sum", "", *(figures.library.writable for figures in all_figures)])
    header = ["object", "is", *(figures.target.name for figures in all_figures)]
    text = table(header, rows).replace("|---|--:", "|---|---", 1)
    return f"## Writable data, byte for byte\n\n{text}"


def document_parts():
    text = DOCUMENT.read_text()
    if text.count(BEGIN) != 1 or text.count(END) != 1:
        fail(f"{DOCUMENT.relative_to(ROOT)} has lost the marks between which the tables stand")
    head, rest = text.split(BEGIN)
    old, tail = rest.split(END)
    return head, old, tail


def cells(text):
    """The rows of the tables in a text: {(heading, first cell): {column: cell}}."""
    found, heading, header = {}, "", None
    for line in text.splitlines():
        if line.startswith("## "):
            heading = line[3:]
        if not line.startswith("|"):
            header = None
            continue
        row = [cell.strip() for cell in line.strip("|").split("|")]
        if header is None:
            header = row
        elif not row[0].startswith("---"):
            found[heading, row[0]] = dict(zip(header, row))
    return found


def differences(all_figures, old):
    """What the document says and the measurement does not, but for what a patch release of a compiler may change."""
    before = cells(old)
    for figures in all_figures:
        row = {}
        for heading in ("Sizes and tests", "Stack"):
            row.update(before.get((heading, figures.target.title), {}))
        for key, number, slack in figures.rows():
            told = row.get(key, "")
            if not told.isdigit():
                yield f"{figures.target.name}: {key} is missing"
            elif abs(int(told) - number) > slack:
                yield f"{figures.target.name}: {key} is {number} and not {told} (tolerance {slack})"
    now = {key: row for key, row in cells(writable_table(all_figures)).items() if key[1].startswith("`")}
    then = {key: row for key, row in before.items() if key[0] == "Writable data, byte for byte" and "`" in key[1]}
    for key in sorted(now.keys() | then.keys()):
        if now.get(key) != then.get(key):
            yield f"writable data: {key[1]} differs: {now.get(key)} and not {then.get(key)}"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--check", action="store_true", help="measure, and compare with the document and the limits")
    parser.add_argument("--target", action="append", choices=[target.name for target in TARGETS], help="this one alone")
    parser.add_argument("--build", type=Path, default=ROOT / "build" / "footprint", help="folder to build in")
    parser.add_argument(
        "--results", type=Path, default=ROOT / "build", help="folder of the presets' builds, whose tests left results"
    )
    options = parser.parse_args()

    chosen = [target for target in TARGETS if not options.target or target.name in options.target]
    all_figures = []
    for target in chosen:
        print(f"footprint: {target.title}", file=sys.stderr)
        build(target, options.build / target.name)
        all_figures.append(Figures(target, options.build / target.name, options.results))

    problems = [problem for figures in all_figures for problem in figures.broken_limits()]
    if options.target:
        print(generated(all_figures))
    else:
        head, old, tail = document_parts()
        if options.check:
            outdated = list(differences(all_figures, old))
            if outdated:
                problems += outdated + ["docs/footprint.md is out of date: run scripts/footprint.py and commit it"]
        else:
            DOCUMENT.write_text(f"{head}{BEGIN}\n\n{generated(all_figures)}\n\n{END}{tail}")
    if problems:
        fail("\n  ".join(["", *problems]))


if __name__ == "__main__":
    main()
