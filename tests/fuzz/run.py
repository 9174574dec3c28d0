#!/usr/bin/env python3
"""Runs every fuzzer of a build for its share of the time, two at a time, and prints a table.

Corpora stay in BUILD/corpus/<target>, from run to run; what a fault was found with is put into
BUILD/artifacts/<target>/. To look at one again: BUILD/fuzzers/<target>_fuzz FILE.

usage: run.py BUILD [SECONDS [TARGET...]]
"""
import glob
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
from concurrent.futures import ThreadPoolExecutor

AT_ONCE = 2
HANGS_SECONDS = 40  # for one input, on a busy machine; the targets themselves notice slow ones
MEMORY_MB = 2048
ALLOCATION_MB = 512
CANNOT_CONFINE = 3
# Slow targets with much code behind them get a larger share of the time.
WEIGHTS = {"requests": 4, "world": 4, "mod": 3, "bos_compiler": 2, "disassembler": 2, "interpreter": 2,
           "two_interpreters": 2, "palette": 0.2, "write_plan": 0.5}
COLUMNS = "{:18} {:>11} {:>8} {:>7} {:>7}  {}"


def length_limit(target):
    return {"archive": 16384, "mod": 16384, "requests": 4096, "chunk": 8192,
            "world": 2048, "write_plan": 512}.get(target, 10240)


def last_number(pattern, text, default="-"):
    found = re.findall(pattern, text)
    return found[-1] if found else default


class Fuzzer:
    def __init__(self, build, program):
        self.program = program
        self.target = os.path.basename(program).removesuffix("_fuzz")
        self.weight = WEIGHTS.get(self.target, 1)
        self.seeds = os.path.join(build, "seeds", self.target)
        self.dictionary = self.seeds + ".dict"
        self.corpus = os.path.join(build, "corpus", self.target)
        self.artifacts = os.path.join(build, "artifacts", self.target) + "/"
        self.data = os.path.join(build, "samples", "data")

    def run(self, seconds):
        for folder in [self.corpus, self.artifacts]:
            os.makedirs(folder, exist_ok=True)
        before = set(os.listdir(self.artifacts))
        command = [self.program, self.corpus, f"-artifact_prefix={self.artifacts}",
                   f"-max_total_time={seconds}", f"-timeout={HANGS_SECONDS}",
                   f"-rss_limit_mb={MEMORY_MB}", f"-malloc_limit_mb={ALLOCATION_MB}",
                   f"-max_len={length_limit(self.target)}", "-print_final_stats=1", "-reload=0"]
        if os.path.isdir(self.seeds):
            command.insert(2, self.seeds)
        if os.path.isfile(self.dictionary):
            command.append(f"-dict={self.dictionary}")
        with tempfile.TemporaryDirectory() as scratch:
            environment = dict(os.environ, ORB_FUZZ_DATA=self.data, TMPDIR=scratch)
            done = subprocess.run(command, env=environment, stdin=subprocess.DEVNULL,
                                  stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        self.log = done.stderr.decode(errors="replace")
        self.found = sorted(set(os.listdir(self.artifacts)) - before)
        self.status = done.returncode
        return self

    def result(self):
        if self.status == CANNOT_CONFINE:
            return "not run: " + self.log.strip().splitlines()[-1]
        if self.status == 0:
            return "ok"
        said = re.search(r"^broken: .*|^ +what\(\): .*|SUMMARY: .*", self.log, re.MULTILINE)
        return f"FAULT {said[0].strip()[:120] if said else 'ended early'} {' '.join(self.found)}"

    def excerpt(self):
        """The log from the fault on, without the fuzzing engine's own part of the stack."""
        lines = re.split(r"^(?=broken: |terminate called|==\d+==|.*runtime error: )", self.log,
                         maxsplit=1, flags=re.MULTILINE)[-1].splitlines()
        ours = [line[:200] for line in lines if " in fuzzer::" not in line]
        return "\n".join(ours[:30])

    def row(self):
        return COLUMNS.format(self.target,
                              last_number(r"number_of_executed_units: (\d+)", self.log),
                              last_number(r"average_exec_per_sec: +(\d+)", self.log),
                              len(os.listdir(self.corpus)), last_number(r"cov: (\d+)", self.log),
                              self.result())


def main():
    build, seconds, *wanted = *sys.argv[1:], *(["60"] if len(sys.argv) == 2 else [])
    build = os.path.abspath(build)
    programs = sorted(glob.glob(os.path.join(build, "fuzzers", "*_fuzz")))
    fuzzers = [Fuzzer(build, program) for program in programs]
    fuzzers = [fuzzer for fuzzer in fuzzers if not wanted or fuzzer.target in wanted]
    if not fuzzers:
        sys.exit("no such fuzzer")
    fuzzers.sort(key=lambda each: -each.weight)  # so that both finish at about the same time
    share = int(seconds) * AT_ONCE / sum(each.weight for each in fuzzers)
    print(COLUMNS.format("target", "executions", "exec/s", "corpus", "edges", "result"), flush=True)
    failed = []
    with ThreadPoolExecutor(AT_ONCE) as pool:
        for fuzzer in pool.map(lambda each: each.run(max(1, round(share * each.weight))), fuzzers):
            print(fuzzer.row(), flush=True)
            if fuzzer.status not in (0, CANNOT_CONFINE):
                failed.append(fuzzer)
    for fuzzer in failed:
        with open(fuzzer.artifacts + "log.txt", "w", encoding="utf-8") as file:
            file.write(fuzzer.log)
        print(f"\n{fuzzer.target}: see {fuzzer.artifacts}log.txt\n{fuzzer.excerpt()}")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
