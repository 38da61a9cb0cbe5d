#!/usr/bin/env python3
"""Makes small changes to the library, one at a time, and tells which of them no test notices.

    mutate.py                              some 400 changes, spread over core/, packet/, vlan/ and mgmt/
    mutate.py --list [--diff]              only tells which those are
    mutate.py --only vlan/rule.cpp:8:comparison:1

Works on a private copy of the project in build/mutation, built without optimisation. For each change it runs the tests
of the changed file's folder first, then the others, those of the texts and of the binary interface too, until one
fails, crashes or does not end. A change that does not compile is replaced by another one of the same file.
"""
import argparse
import json
import os
import random
import resource
import shutil
import signal
import subprocess
import sys
import threading
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from mutations import KINDS, code_lines, mutations

ROOT = Path(__file__).resolve().parents[1]
FOLDERS = ("core", "packet", "vlan", "mgmt")
NOT_COPIED = {".git", "build"}
# The kit, its own tests, and what needs the unit on a PC.
NOT_RUN = {"support", "selftest", "portcheck"}
SLOW = 60  # seconds; such tests are left out
LONGEST = 600  # seconds, for a change after which something waits without end
# A change that leaves a result unused is one like any other.
FLAGS = "-O0 -Wno-unused -Wno-unused-parameter"
SANITIZERS = "address,undefined"
LEAST_CAUGHT = 95  # per cent
MEMORY = 1 << 20  # KiB, for a change that prints or allocates without end

CAUGHT, SURVIVED, NO_BUILD = "caught", "SURVIVED", "does not compile"


class Failure(Exception):
    """Something is wrong with the call or the project, not with a change."""


def sources(wanted):
    files = [str(file.relative_to(ROOT)) for folder in FOLDERS for file in sorted((ROOT / folder).glob("*.[ch]*"))]
    unknown = set(wanted) - set(files)
    if unknown:
        raise Failure(f"no source of the library: {', '.join(sorted(unknown))}")
    return {file: (ROOT / file).read_text() for file in files if not wanted or file in wanted}


def shares(texts, count):
    """How many changes each file gets: by its lines of code, rounded so that the sum is right."""
    lines = {file: code_lines(text) for file, text in texts.items()}
    exact = {file: count * lines[file] / sum(lines.values()) for file in lines}
    rounded = {file: int(share) for file, share in exact.items()}
    by_remainder = sorted(exact, key=lambda file: (rounded[file] - exact[file], file))
    for file in by_remainder[: count - sum(rounded.values())]:
        rounded[file] += 1
    return rounded


def drawn(file, text, seed):
    """All changes of a file in a random order in which the kinds take turns."""
    chance = random.Random(f"{seed} {file}")
    kinds = {}
    for mutation in mutations(file, text):
        kinds.setdefault(mutation.kind, []).append(mutation)
    piles = list(kinds.values())
    chance.shuffle(piles)
    for pile in piles:
        chance.shuffle(pile)
    order = []
    while piles:
        order += [pile.pop() for pile in piles]
        piles = [pile for pile in piles if pile]
    return order


class Job:
    """The changes of one file: so many of them that compile, in this order."""

    def __init__(self, file, order, count):
        self.file, self.order, self.count = file, order, min(count, len(order))

    def chosen(self):
        return sorted(self.order[: self.count], key=lambda each: (each.line, each.name))


def jobs_of(options):
    texts = sources(options.file)
    if options.only:
        return named_jobs(texts, options.only)
    share = shares(texts, options.count)
    return [Job(file, drawn(file, text, options.seed), share[file]) for file, text in texts.items() if share[file]]


def named_jobs(texts, names):
    known = {each.name: each for file, text in texts.items() for each in mutations(file, text)}
    unknown = [name for name in names if name not in known]
    if unknown:
        raise Failure(f"no such change: {', '.join(unknown)}")
    files = {}
    for name in names:
        files.setdefault(known[name].file, []).append(known[name])
    return [Job(file, order, len(order)) for file, order in files.items()]


class Test:
    """Some tests that run in one process, built from one target."""

    def __init__(self, name, target, command, environment=None):
        self.name, self.target, self.command = name, target, command
        self.environment = {**os.environ, "PYTHONDONTWRITEBYTECODE": "1", **(environment or {})}
        self.seconds = 0.0  # without any change

    def fails(self, folder):
        """Why it fails, or None."""
        limits = f"ulimit -t {10 + 10 * round(self.seconds)}"
        if "ASAN_OPTIONS" not in self.environment:  # which reserves far more memory than it uses
            limits += f" && ulimit -v {MEMORY}"
        process = subprocess.Popen(
            ["sh", "-c", f'{limits} && exec "$@"', "sh", *self.command], cwd=folder, env=self.environment,
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True,
        )  # fmt: skip
        try:
            code = process.wait(LONGEST)
        except subprocess.TimeoutExpired:
            code = -signal.SIGXCPU
        finally:
            kill_group(process)
        if code == 0:
            return None
        return f"{self.name}{', no end' if code == -signal.SIGXCPU else ', crash' if code < 0 else ''}"


class TestProgram:
    """The executable of a folder of tests. Its slow cases run apart, behind those of the other folders."""

    def __init__(self, build, folder, environment):
        self.name, self.path, self.environment = f"{folder}_tests", build / "tests" / f"{folder}_tests", environment

    def tests(self, scratch):
        took = self.seconds_of_cases(scratch)
        whole = sum(took.values())
        slow = [case for case in took if whole > 0.5 and took[case] > whole / 20]
        for name, cases in ((self.name, sorted(set(took) - set(slow))), (f"{self.name}, slow", slow)):
            if cases:
                which = f"-{':'.join(slow)}" if name == self.name else ":".join(slow)
                command = [self.path, "--gtest_brief=1", "--gtest_fail_fast", f"--gtest_filter={which}"]
                test = Test(name, self.name, command, self.environment)
                test.seconds = sum(took[case] for case in cases)
                yield test

    def seconds_of_cases(self, scratch):
        result = scratch / "result.json"
        environment = {**os.environ, **self.environment, "GTEST_OUTPUT": f"json:{result}"}
        done = subprocess.run([self.path], cwd=scratch, env=environment, capture_output=True, text=True)
        if done.returncode != 0:
            raise Failure(f"{self.name} fails without any change:\n{done.stdout[-3000:]}")
        return {
            f"{suite['name']}.{case['name']}": float(case["time"].rstrip("s"))
            for suite in json.loads(result.read_text())["testsuites"]
            for case in suite["testsuite"]
        }


def kill_group(process):
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()


class Copy:
    """A private copy of the project and its build."""

    def __init__(self, folder, sanitized):
        self.tree, self.build, self.scratch = folder / "tree", folder / "build", folder / "scratch"
        self.sanitized = sanitized
        self.tests = []

    def prepare(self):
        self.refresh()
        self.scratch.mkdir(parents=True, exist_ok=True)
        configure = [
            "cmake", "-S", self.tree, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=",
            f"-DCMAKE_CXX_FLAGS={FLAGS}", f"-DMCADAPT_SANITIZE={SANITIZERS if self.sanitized else ''}",
            "-DMCADAPT_HOST=OFF", "-DMCADAPT_INSTALL=OFF", "-DMCADAPT_BATCH_TESTS=ON",
        ]  # fmt: skip
        for step in (configure, ["ninja", "-C", self.build, "-j1", *self.targets()]):
            done = subprocess.run(step, capture_output=True, text=True)
            if done.returncode != 0:
                raise Failure(f"the unchanged project does not build:\n{done.stdout[-3000:]}{done.stderr[-1000:]}")
        self.tests = [test for test in self.find_tests() if self.is_quick(test)]

    def is_quick(self, test):
        if test.seconds > SLOW:
            print(f"left out: {test.name} takes {test.seconds:.0f} s", flush=True)
        return test.seconds <= SLOW

    def refresh(self):
        """Files that are the same keep their time, so that little is built again."""
        wanted = set()
        for folder, folders, files in os.walk(ROOT):
            folders[:] = [each for each in folders if each not in NOT_COPIED]
            for file in files:
                source = Path(folder, file)
                target = self.tree / source.relative_to(ROOT)
                wanted.add(target)
                if not target.exists() or target.read_bytes() != source.read_bytes():
                    target.parent.mkdir(parents=True, exist_ok=True)
                    shutil.copy(source, target)
        for target in [each for each in self.tree.rglob("*") if each.is_file() and each not in wanted]:
            target.unlink()

    def folders(self):
        return sorted({file.parent.name for file in (self.tree / "tests").glob("*/*_test.cpp")} - NOT_RUN)

    def targets(self):
        return [f"{folder}_tests" for folder in self.folders()] + ["mcadapt"]

    def find_tests(self):
        environment = {"ASAN_OPTIONS": "detect_leaks=0"} if self.sanitized else {}
        for folder in self.folders():
            yield from TestProgram(self.build, folder, environment).tests(self.scratch)
        if not self.sanitized:
            yield from self.scripts()

    def scripts(self):
        libraries = {
            "MCADAPT_SHARED": str(self.build / "libmcadapt.so"),
            "MCADAPT_STATIC": str(self.build / "libmcadapt.a"),
        }
        for script in ("texts/texts_test.py", "abi/binary_test.py"):
            test = Test(script, "mcadapt", [sys.executable, self.tree / "tests" / script], libraries)
            start = time.monotonic()
            if test.fails(self.scratch):
                raise Failure(f"{script} fails without any change")
            test.seconds = time.monotonic() - start
            yield test

    def ordered_tests(self, file):
        """Those of the file's own folder first, then the quickest first."""
        own = f"{file.split('/')[0]}_tests"
        return sorted(self.tests, key=lambda test: (test.name != own, test.seconds))

    def builds(self, target):
        return subprocess.run(["ninja", "-C", self.build, "-j1", target], capture_output=True).returncode == 0

    def outcome(self, mutation):
        """What becomes of a change, and the test that catches it."""
        target = self.tree / mutation.file
        target.write_text(mutation.applied())
        try:
            if not self.builds("mcadapt_static"):
                return NO_BUILD, None
            for test in self.ordered_tests(mutation.file):
                if not self.builds(test.target):
                    return CAUGHT, f"{test.name}, build"
                failed = test.fails(self.scratch)
                if failed:
                    return CAUGHT, failed
            return SURVIVED, None
        finally:
            target.write_text(mutation.text)


class Run:
    """All jobs, on one private copy or several at a time."""

    def __init__(self, options, jobs):
        self.options, self.jobs = options, jobs
        self.total = sum(job.count for job in jobs)
        self.results = []  # (mutation, outcome, test)
        self.lock = threading.Lock()
        self.copies = []

    def start(self):
        kind = "sanitized" if self.options.sanitize else "plain"
        folders = [self.options.work / f"{kind}{index}" for index in range(self.options.jobs)]
        self.copies = [Copy(folder, self.options.sanitize) for folder in folders]
        with ThreadPoolExecutor(len(self.copies)) as pool:
            print("building the unchanged project", flush=True)
            list(pool.map(Copy.prepare, self.copies))
            list(pool.map(self.work, sorted(self.jobs, key=lambda job: -job.count)))

    def work(self, job):
        with self.lock:
            copy = self.copies.pop()
        done = 0
        for mutation in job.order:
            if done == job.count:
                break
            start = time.monotonic()
            outcome, test = copy.outcome(mutation)
            done += outcome != NO_BUILD
            self.note(mutation, outcome, test, time.monotonic() - start)
        with self.lock:
            self.copies.append(copy)

    def note(self, mutation, outcome, test, seconds):
        with self.lock:
            self.results.append((mutation, outcome, test))
            number = sum(1 for each in self.results if each[1] != NO_BUILD)
            print(f"[{number}/{self.total}] {outcome} {mutation.name} {test or ''} ({seconds:.1f} s)", flush=True)


def table(title, results, group, names):
    lines = [f"| {title} | changes | caught |", "|---|---:|---:|"]
    for name in names:
        outcomes = [outcome for mutation, outcome, _ in results if group(mutation) == name]
        if outcomes:
            lines.append(f"| {name} | {len(outcomes)} | {outcomes.count(CAUGHT)} |")
    return "\n".join(lines)


def report(results):
    """The run as Markdown."""
    built = [each for each in results if each[1] != NO_BUILD]
    survivors = sorted((each[0] for each in built if each[1] == SURVIVED), key=lambda each: (each.file, each.line))
    caught = len(built) - len(survivors)
    parts = [
        f"{len(built)} changes, {caught} caught ({percent(caught, len(built)):.1f} %), {len(survivors)} survived;"
        f" {len(results) - len(built)} more did not compile.",
        table("folder", built, lambda each: f"`{each.file.split('/')[0]}/`", [f"`{folder}/`" for folder in FOLDERS]),
        table("what is changed", built, lambda each: KINDS[each.kind], KINDS.values()),
    ]
    parts += [f"`{each.name}`\n\n```diff\n{each.diff()}\n```" for each in survivors]
    return "\n\n".join(parts) + "\n"


def percent(part, whole):
    return 100 * part / whole if whole else 100.0


def parse(arguments):
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--count", type=int, default=400, help="changes to make (400); more than there are: all")
    parser.add_argument("--seed", type=int, default=1, help="another one chooses other changes (1)")
    parser.add_argument("--file", action="append", default=[], help="only of this source, such as vlan/rule.cpp")
    parser.add_argument("--only", action="append", default=[], metavar="NAME", help="only this change")
    parser.add_argument("--list", action="store_true", help="tell the changes and make none")
    parser.add_argument("--diff", action="store_true", help="with --list: what each of them is")
    parser.add_argument("--jobs", type=int, default=1, help="copies to work on at a time (1)")
    parser.add_argument("--sanitize", action="store_true", help=f"build with -fsanitize={SANITIZERS}")
    parser.add_argument("--work", type=Path, default=ROOT / "build/mutation", help="folder of the copies")
    parser.add_argument("--report", type=Path, help="the result as Markdown (report.md in the folder of the copies)")
    options = parser.parse_args(arguments)
    if options.count < 1 or options.jobs < 1:
        parser.error("--count and --jobs start at 1")
    return options


def show(jobs, with_diff):
    for job in jobs:
        for mutation in job.chosen():
            print(mutation.name)
            if with_diff:
                print(mutation.diff() + "\n")


def run(options, jobs):
    missing = [tool for tool in ("cmake", "ninja") if shutil.which(tool) is None]
    if missing:
        raise Failure(f"{' and '.join(missing)} not found; install cmake and ninja-build")
    options.work = options.work.resolve()
    os.nice(10)
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    whole = Run(options, jobs)
    whole.start()
    text = report(whole.results)
    (options.report or options.work / "report.md").write_text(text)
    print("\n" + text)
    outcomes = [outcome for _, outcome, _ in whole.results if outcome != NO_BUILD]
    return 0 if percent(outcomes.count(CAUGHT), len(outcomes)) >= LEAST_CAUGHT else 1


def main(arguments):
    options = parse(arguments)
    try:
        jobs = jobs_of(options)
        if options.list:
            show(jobs, options.diff)
            return 0
        return run(options, jobs)
    except Failure as failure:
        print(f"mutate: {failure}", file=sys.stderr)
        return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
