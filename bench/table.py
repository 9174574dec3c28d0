#!/usr/bin/env python3
"""Runs the benchmark programs and shows all their figures in one table.

Each figure stands with its baseline of the same run and the ratio of the two. Beside them is the
ratio that bench/baseline.json keeps from the last landing; the change says how the ratio moved and
whether that is for the better. Spread is how far the median of the repeats lay above the best one;
a change within it means nothing.

usage: table.py BUILD [save] [PROGRAM...]    `save` writes the figures to bench/baseline.json
"""
import datetime
import json
import os
import pathlib
import subprocess
import sys

HERE = pathlib.Path(__file__).parent
KEPT = HERE / "baseline.json"
# Changes of a ratio below this share are not worth a word.
NOTEWORTHY = 0.05


def output_of(*command):
    done = subprocess.run(command, capture_output=True, text=True, cwd=HERE, check=False)
    return done.stdout.strip()


def first_value(path, key):
    for line in pathlib.Path(path).read_text(encoding="utf-8", errors="replace").splitlines():
        if line.startswith(key):
            return line[len(key):].lstrip("\t :=").strip()
    return "unknown"


def describe_machine(build):
    cache = build / "CMakeCache.txt"
    compiler = first_value(cache, "CMAKE_CXX_COMPILER:").split("=")[-1]
    memory = int(first_value("/proc/meminfo", "MemTotal").split()[0]) / 2**20
    return {
        "cpu": first_value("/proc/cpuinfo", "model name"),
        "cores": os.cpu_count(),
        "memory": f"{memory:.0f} GiB",
        "compiler": output_of(compiler, "--version").split("\n")[0],
        "build": first_value(cache, "CMAKE_BUILD_TYPE:").split("=")[-1],
        "commit": output_of("git", "describe", "--always", "--dirty"),
        "load": "%.1f %.1f %.1f" % os.getloadavg(),
        "date": datetime.date.today().isoformat(),
    }


def machine_line(machine):
    return (f"{machine['cpu']}, {machine['cores']} cores, {machine['memory']}; "
            f"{machine['compiler']}, {machine['build']}; commit {machine['commit']}, "
            f"load {machine['load']}, {machine['date']}")


def run(program):
    """The figures that a program prints, or None when it fails."""
    with subprocess.Popen([program], stdout=subprocess.PIPE, text=True) as process:
        figures = [json.loads(line) for line in process.stdout]
    return figures if process.returncode == 0 else None


def number(value):
    return f"{value:.0f}" if value >= 1000 else f"{value:.3g}"


def describe_change(figure, kept):
    """How the ratio moved since it was kept."""
    change = figure["ratio"] / kept["ratio"] - 1
    if abs(change) < NOTEWORTHY:
        return "="
    better = (change > 0) == figure["unit"].endswith("/s")
    return f"{100 * change:+.0f} % {'better' if better else 'WORSE'}"


def show(figure, kept):
    last = f"{number(kept['ratio'])} ({number(kept['value'])})" if kept else "new"
    print(f"{figure['name']:<52} {number(figure['value']):>7} {figure['unit']:<7} "
          f"{number(figure['baseline']):>9} {number(figure['ratio']):>7} "
          f"{100 * figure['spread']:5.0f} %   {last:<18} "
          f"{describe_change(figure, kept) if kept else ''}", flush=True)


def main(build, arguments):
    saves = "save" in arguments
    wanted = [argument for argument in arguments if argument != "save"]
    kept = json.loads(KEPT.read_text(encoding="utf-8")) if KEPT.exists() else {"figures": {}}
    machine = describe_machine(build)
    print("now:  " + machine_line(machine))
    if "machine" in kept:
        print("last: " + machine_line(kept["machine"]))
    print(f"\n{'figure / its baseline':<52} {'value':>7} {'':<7} {'baseline':>9} {'ratio':>7} "
          f"{'spread':>7}   {'last (value)':<18} change", flush=True)
    failed = []
    for program in sorted((build / "bench").glob("*_bench")):
        if wanted and program.name.removesuffix("_bench") not in wanted:
            continue
        figures = run(program)
        if figures is None:
            failed.append(program.name)
            continue
        for figure in figures:
            show(figure, kept["figures"].get(figure["name"]))
            if saves:
                kept["figures"][figure["name"]] = {
                    key: figure[key] for key in ("value", "unit", "baseline", "ratio")}
    if failed:
        sys.exit("failed: " + ", ".join(failed))
    if saves:
        kept["machine"] = machine
        KEPT.write_text(json.dumps(kept, indent=1) + "\n", encoding="utf-8")


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    main(pathlib.Path(sys.argv[1]).resolve(), sys.argv[2:])
