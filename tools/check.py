#!/usr/bin/env python3
"""Checks every unit of a game with its mods: health, script lints, conflicts.

usage: check.py [--json] [--all] PROGRAM GAME [MOD...]

A table has a line for each unit that something is wrong with (with --all for every unit), then what
is wrong, archives that cannot be read, the conflicts and the sums; --json writes the same as one JSON
object. With mods, what is listed are the mods' units and archives. The status is 1 when a unit cannot
be shipped or an archive cannot be read, 2 when nothing could be checked.
"""
import argparse
import json
import os
import sys

from editor_client import Editor, EditorError, request_line

WRONG = ("missing", "warn")


class Checker:
    """The program, asked for what is shown; on a terminal it shows how far that has come."""

    def __init__(self, program, patience_s=3600):
        self.editor = Editor.of(program, patience_s=patience_s)
        self.is_shown = sys.stderr.isatty()

    def ask(self, kind, /, **data):
        """The reply's data. Errors end the check, events show the progress."""
        self.editor.seq += 1
        self.editor.send_line(request_line(kind, self.editor.seq, data))
        while True:
            answer = json.loads(self.editor.next_line())
            if answer["type"] == "progress":
                self.show(**{key: answer["data"][key] for key in ("label", "done", "total")})
            elif answer["seq"] == self.editor.seq:
                break
        if answer["type"] == "error":
            raise EditorError(f"{kind}: {answer['data']['message']}")
        return answer["data"]

    def show(self, label, done, total):
        if self.is_shown:
            sys.stderr.write(f"\r\033[K{done} of {total}  {label[:60]}")
            sys.stderr.flush()

    def end_showing(self):
        if self.is_shown:
            sys.stderr.write("\r\033[K")


def check(checker, game, mods):
    """Everything that is found, as it is written with --json."""
    roots = checker.ask("set-data-roots", taDataPath=game, modPaths=mods, report=True, progress=True)
    gone = [root["path"] for root in roots["allLayers"] if not root["exists"]]
    if gone:
        raise EditorError(f"no such folder: {', '.join(gone)}")
    archives = [{"archive": each["path"], "message": each["message"]} for root in roots["allLayers"]
                if root["kind"] == ("mod" if mods else "base") for each in root.get("unreadable", [])]
    names = [unit["name"] for unit in checker.ask("list-units")["units"]]
    files = [name[:-4] for name in checker.ask("list-vfs-dir", path="units")["files"]
             if name.lower().endswith(".fbi")]
    units, seen = [], set()
    for done, name in enumerate(names + files):  # a definition that cannot be read lists no unit
        checker.show(name, done, len(names) + len(files))
        if name.upper() in seen:
            continue
        report = checker.ask("unit-health", name=name)
        is_new = report["unit"].upper() not in seen
        seen |= {name.upper(), report["unit"].upper()}
        if is_new and not (mods and report.get("source", {}).get("inBaseTa")):
            units.append(summarised(report, bool(mods)))
    conflicts = checker.ask("conflict-scan", progress=True)["findings"]
    checker.end_showing()
    listed = {unit["unit"].upper() for unit in units}
    conflicts = [each for each in conflicts
                 if not mods or each.get("unitName", "").upper() in listed or "unitName" not in each]
    return {"archives": archives, "units": units, "conflicts": conflicts,
            "summary": {"units": len(units), "ready": sum(unit["ready"] for unit in units),
                        "missing": len(archives) + sum(unit["missing"] for unit in units),
                        "warnings": sum(unit["warnings"] for unit in units),
                        "conflicts": len(conflicts)}}


def summarised(report, with_mods):
    """What is wrong with a unit. That a unit is the base game's is no fault of the base game."""
    rows = [row for row in report["checks"]
            if row["status"] in WRONG and (with_mods or row["category"] != "Source")]
    missing = sum(row["status"] == "missing" for row in rows)
    return {"unit": report["unit"], "ready": missing == 0, "missing": missing, "warnings": len(rows) - missing,
            "checks": [{key: row[key] for key in ("category", "ref", "status", "detail")} for row in rows]}


def table(found, shows_all):
    lines = [f"{'unit':16} {'blocking':>8} {'warnings':>8}"]
    for unit in found["units"]:
        if not unit["checks"] and not shows_all:
            continue
        lines.append(f"{unit['unit'][:16]:16} {unit['missing']:8} {unit['warnings']:8}")
        lines += [f"    {row['status']:8}{row['category']}: {row['detail']}" for row in unit["checks"]]
    lines += [f"unreadable archive  {os.path.basename(each['archive'])}: {each['message']}" for each in found["archives"]]
    for each in found["conflicts"]:
        subject = each.get("unitName") or each.get("asset", "")
        lines.append(f"conflict  {each['kind']}  {subject}: {each['detail']}")
    summary = found["summary"]
    lines.append(f"{summary['units']} units, {summary['ready']} ready: {summary['missing']} blocking, "
                 f"{summary['warnings']} warnings, {summary['conflicts']} conflicts")
    return "\n".join(lines)


def main():
    parser = argparse.ArgumentParser(prog="check")
    parser.add_argument("--json", action="store_true")
    parser.add_argument("--all", action="store_true")
    parser.add_argument("program")
    parser.add_argument("game")
    parser.add_argument("mods", nargs="*")
    arguments = parser.parse_args()
    try:
        checker = Checker(arguments.program)
    except OSError as error:
        print(f"check: {error}", file=sys.stderr)
        return 2
    try:
        found = check(checker, os.path.abspath(arguments.game),
                      [os.path.abspath(mod) for mod in arguments.mods])
        checker.editor.close()
    except EditorError as error:
        checker.end_showing()
        print(f"check: {error}", file=sys.stderr)
        return 2
    print(json.dumps(found, ensure_ascii=False, indent=1) if arguments.json
          else table(found, arguments.all))
    if found["summary"]["units"] == 0:
        print("check: there are no units to check", file=sys.stderr)
        return 2
    return 0 if found["summary"]["missing"] == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
