#!/usr/bin/env python3
"""Replays seeds and corpora of BUILD on the fuzzers of COVERAGE_BUILD, which count what they
execute, and prints how much of each folder was reached, and the files with most left.

usage: coverage.py BUILD COVERAGE_BUILD
"""
import collections
import glob
import json
import os
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor

FOLDERS = ["io", "cob", "bos", "model", "sim", "session", "diagnostics", "authoring", "server"]
WORST = 12
COUNTS = ["lines", "regions", "branches"]
COLUMNS = "{:44} {:>15} {:>15} {:>15}"


def replay(build, program, profile):
    target = os.path.basename(program).removesuffix("_fuzz")
    folders = [os.path.join(build, kind, target) for kind in ("seeds", "corpus")]
    with tempfile.TemporaryDirectory() as scratch:
        environment = dict(os.environ, LLVM_PROFILE_FILE=profile, TMPDIR=scratch,
                           ORB_FUZZ_DATA=os.path.join(build, "samples", "data"))
        done = subprocess.run([program, "-runs=0", *filter(os.path.isdir, folders)],
                              env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    if done.returncode != 0:
        print(f"{target}: {done.stderr.decode(errors='replace').strip()[-300:]}")


def shown(counts):
    return [f"{covered}/{total} {100 * covered // max(total, 1):3}%" for covered, total in counts]


def main():
    build, coverage_build = map(os.path.abspath, sys.argv[1:])
    source = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    programs = sorted(glob.glob(os.path.join(coverage_build, "fuzzers", "*_fuzz")))
    profiles = os.path.join(coverage_build, "profiles")
    os.makedirs(profiles, exist_ok=True)
    with ThreadPoolExecutor(2) as pool:
        list(pool.map(lambda program: replay(
            build, program, os.path.join(profiles, os.path.basename(program) + ".profraw")), programs))
    merged = os.path.join(profiles, "all.profdata")
    subprocess.run(["llvm-profdata", "merge", "-sparse", "-o", merged,
                    *glob.glob(os.path.join(profiles, "*.profraw"))], check=True)
    objects = [argument for program in programs[1:] for argument in ("-object", program)]
    report = json.loads(subprocess.run(
        ["llvm-cov", "export", "-summary-only", f"-instr-profile={merged}", programs[0], *objects],
        check=True, stdout=subprocess.PIPE,
        stderr=subprocess.DEVNULL).stdout)

    folders = collections.defaultdict(lambda: [[0, 0] for _ in COUNTS])
    files = []
    for file in report["data"][0]["files"]:
        name = os.path.relpath(os.path.realpath(file["filename"]), source)
        if name.split(os.sep)[0] not in FOLDERS:
            continue
        counts = [[file["summary"][kind]["covered"], file["summary"][kind]["count"]]
                  for kind in COUNTS]
        files.append((name, counts))
        for folder in {name.split(os.sep)[0], os.path.dirname(name)}:
            for total, count in zip(folders[folder], counts):
                total[0] += count[0]
                total[1] += count[1]
    print(COLUMNS.format("folder", *COUNTS))
    for folder in sorted(folders):
        print(COLUMNS.format(folder + "/", *shown(folders[folder])))
    print("\nfiles with most lines left")
    files.sort(key=lambda file: file[1][0][0] - file[1][0][1])
    for name, counts in files[:WORST]:
        print(COLUMNS.format(name, *shown(counts)))


if __name__ == "__main__":
    main()
