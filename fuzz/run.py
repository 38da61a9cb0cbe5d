#!/usr/bin/env python3
"""Runs the fuzzers for some time each and prints what they did: run.py BUILD_FOLDER [FUZZER...].

  FUZZ_SECONDS  seconds for each fuzzer (60)
  FUZZ_JOBS     fuzzers that run at the same time (one for each processor)

New inputs that reach something new are kept in BUILD_FOLDER/corpus/<fuzzer>, and go on from there the next time.
Inputs that something was wrong with are kept in BUILD_FOLDER/crashes. The exit status tells whether there was one.
"""
import os
import re
import shlex
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

HERE = Path(__file__).resolve().parent
FUZZERS = ("frames", "operations", "engine", "config", "capture")
LONGEST_INPUT = 4096
SECONDS_FOR_ONE_INPUT = 25
MEGABYTES = 2048


def setting(name, otherwise):
    text = os.environ.get(name, str(otherwise))
    if not text.isdigit() or int(text) == 0:
        sys.exit(f"run.py: {name}='{text}': expected a number above 0")
    return int(text)


class Run:
    """One fuzzer: its command, and what came of it."""

    def __init__(self, build, name, seconds):
        self.name = name
        self.program = build / "bin" / f"{name}_fuzzer"
        if not self.program.exists():
            sys.exit(f"run.py: {self.program} is missing: build it with cmake --build --preset fuzz")
        self.crashes = build / "crashes"
        self.log = build / "logs" / f"{name}.log"
        found = build / "corpus" / name
        for folder in (self.crashes, self.log.parent, found):
            folder.mkdir(parents=True, exist_ok=True)
        inputs = [HERE / kind / name for kind in ("corpus", "regressions")]
        self.command = [
            self.program, f"-max_total_time={seconds}", f"-max_len={LONGEST_INPUT}", f"-timeout={SECONDS_FOR_ONE_INPUT}",
            f"-rss_limit_mb={MEGABYTES}", f"-dict={HERE / f'{name}.dict'}", f"-artifact_prefix={self.crashes}/{name}-",
            "-print_final_stats=1", found, *(folder for folder in inputs if folder.exists()),
        ]  # fmt: skip

    def run(self):
        before = set(self.crashes.glob(f"{self.name}-*"))
        environment = {"ASAN_OPTIONS": "detect_leaks=0", "UBSAN_OPTIONS": "print_stacktrace=1", **os.environ}
        with self.log.open("w") as log:
            self.status = subprocess.run(
                list(map(str, self.command)), stdin=subprocess.DEVNULL, stdout=log, stderr=log, env=environment
            ).returncode
        self.text = self.log.read_text(errors="replace")
        self.findings = sorted(set(self.crashes.glob(f"{self.name}-*")) - before)
        return self

    def last(self, pattern):
        found = re.findall(pattern, self.text)
        return int(found[-1]) if found else 0

    def row(self):
        executions = self.last(r"stat::number_of_executed_units:\s*(\d+)") or self.last(r"#(\d+)\s")
        edges, corpus = self.last(r"cov: (\d+)"), self.last(r"corp: (\d+)/")
        return f"{self.name:<12}{executions:>12,}{edges:>10}{corpus:>10}{len(self.findings):>10}"

    def report(self):
        if self.status == 0:
            return
        print(f"\n{self.name}: exit status {self.status}, see {self.log}")
        for line in re.findall(r".*(?:does not hold|ERROR: |runtime error|SUMMARY).*", self.text)[:4]:
            print(f"  {line.strip()}")
        for finding in self.findings:
            print(f"  again: {shlex.join([str(self.program), str(finding)])}")


def main():
    if len(sys.argv) < 2 or sys.argv[1].startswith("-"):
        sys.exit(__doc__)
    names = sys.argv[2:] or FUZZERS
    for name in names:
        if name not in FUZZERS:
            sys.exit(f"run.py: no fuzzer '{name}'; known are {', '.join(FUZZERS)}")
    seconds = setting("FUZZ_SECONDS", 60)
    jobs = setting("FUZZ_JOBS", os.cpu_count() or 1)
    runs = [Run(Path(sys.argv[1]).resolve(), name, seconds) for name in names]
    print(f"{len(runs)} fuzzers, {seconds} seconds each, {jobs} at a time", flush=True)
    with ThreadPoolExecutor(jobs) as pool:
        runs = list(pool.map(Run.run, runs))
    print(f"\n{'fuzzer':<12}{'executions':>12}{'edges':>10}{'inputs':>10}{'findings':>10}")
    for run in runs:
        print(run.row())
    for run in runs:
        run.report()
    sys.exit(any(run.status != 0 for run in runs))


if __name__ == "__main__":
    main()
