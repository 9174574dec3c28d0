#!/usr/bin/env python3
"""Debugs a script of a unit by lines and names: stops it at a line, sets variables, steps to its end.

usage: debug_script.py PROGRAM DATA_ROOT UNIT SCRIPT LINE [NAME=VALUE...]

    debug_script.py build/release/orb-unit-editor build/release/samples/data/game \\
        KILCART AimPrimary 28 heading=8192
"""
import sys

from editor_client import Editor

MAX_STEPS = 40


def main(program, data_root, unit, script, line, *assignments):
    editor = Editor.of(program)

    def ask(kind, **data):
        reply = editor.ask(kind, **data)
        if reply["type"] == "error":
            sys.exit(f"{kind}: {reply['data']['message']}")
        return reply["data"]

    ask("set-data-roots", taDataPath=data_root)
    ask("load-unit", name=unit)
    bos = ask("cob-get-unit-bos")
    text = bos["source"].splitlines()
    names = {each["name"]: each["parameters"] + each["locals"] for each in bos["symbols"]["scripts"]}
    [stop] = ask("cob-set-breakpoints", lines=[int(line)], lineSpans=bos["lineSpans"])["breakpoints"]
    print(f"{bos['path']}: stops at line {stop['line']}")
    started = ask("cob-start", name=script, report=True)["report"]["threadId"]

    def variables(report, **request):
        """The variables of the paused thread by their names."""
        threads = {each["id"]: each for each in ask("cob-inspect", **request)["threads"]}
        values = [each["value"] for each in threads[report["pausedThread"]]["locals"]]
        return dict(zip(names[report["script"]], values))

    report = ask("cob-continue", report=True)["report"]
    print(f"stopped in {report['script']} with {variables(report)}")
    wanted = dict(each.split("=") for each in assignments)
    writes = [{"thread": started, "index": names[report["script"]].index(name), "value": int(value)}
              for name, value in wanted.items()]
    print(f"goes on with {variables(report, set={'locals': writes})}")
    for _ in range(MAX_STEPS):
        if not report["isPaused"]:
            break
        if report["pausedThread"] == started:
            print(f"tick {report['tick']} line {report['line']}: {text[report['line'] - 1].strip()}")
        report = ask("cob-step-line", report=True)["report"]
    editor.close()


if __name__ == "__main__":
    main(*sys.argv[1:])
