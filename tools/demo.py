#!/usr/bin/env python3
"""Plays a session over the sample game with the real program and shows it.  usage: demo.py BUILD"""
import json
import os
import subprocess
import sys
import time

BUILD = os.path.abspath(sys.argv[1])
DATA = os.path.join(BUILD, "samples/data")
BOLD, DIM, RED, OFF = ("\033[1m", "\033[2m", "\033[31m", "\033[0m") if sys.stdout.isatty() else [""] * 4


class Editor:
    """The back end as a child process."""

    def __init__(self):
        reader, writer = os.pipe()
        self.frames = os.fdopen(os.dup(reader), "rb")
        os.dup2(writer, 3)
        self.log = open(os.path.join(BUILD, "demo.log"), "w+b")
        self.process = subprocess.Popen([os.path.join(BUILD, "orb-unit-editor")], pass_fds=[3],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=self.log)
        self.seq = 0

    def ask(self, kind, **data):
        """Sends a request and shows it with its reply; returns the reply's data."""
        self.seq += 1
        request = json.dumps({"type": kind, "seq": self.seq, "data": data})
        print(f"{BOLD}> {request}{OFF}")
        start = time.perf_counter()
        self.process.stdin.write(request.encode() + b"\n")
        self.process.stdin.flush()
        line = self.process.stdout.readline().decode()
        while json.loads(line)["seq"] != self.seq:
            line = self.process.stdout.readline().decode()
        took = (time.perf_counter() - start) * 1000
        shown = line.rstrip()
        shown = shown if len(shown) <= 240 else f"{shown[:200]} … ({len(shown)} characters)"
        reply = json.loads(line)
        color = RED if reply["type"] == "error" else ""
        print(f"{color}< {shown}{OFF} {DIM}{took:.1f} ms{OFF}")
        return reply["data"]


def note(text):
    print(f"\n{BOLD}{text}{OFF}")


def show_tree(piece, depth=0):
    faces = f"{piece['vertexCount']} vertices, {piece['primitiveCount']} faces"
    print(f"    {'  ' * depth}{piece['name']}  {DIM}{faces}{OFF}")
    for child in piece["children"]:
        show_tree(child, depth + 1)


def main():
    editor = Editor()
    note("The front end says hello and names the data roots: two mods over the game.")
    editor.ask("hello")
    editor.ask("set-data-roots", taDataPath=f"{DATA}/game", modPaths=[f"{DATA}/mod", f"{DATA}/faulty"])

    note("Which units are there?")
    units = editor.ask("list-units")["units"]
    for unit in units:
        print(f"    {unit['name']:10} {unit['side']:6} {unit['displayName']} {DIM}{unit['title']}{OFF}")

    for unit in units[:1] + units[-1:]:
        note(f"Load {unit['name']}.")
        loaded = editor.ask("load-unit", name=unit["name"])
        if "message" in loaded:
            continue
        show_tree(loaded["pieceTree"])
        print(f"    scripts: {', '.join(loaded['cobFunctions'])}")
        for weapon in loaded["weapons"]:
            print(f"    weapon {weapon['name']}: {weapon.get('sourcePath', 'missing')}")

    note("Debug a script: KILCART aims, a breakpoint stops it at word 44, one step follows.")
    editor.ask("load-unit", name="KILCART")
    editor.ask("cob-set-breakpoints", offsets=[44])
    editor.ask("cob-start", name="AimPrimary", args=[16384, 0])
    editor.ask("cob-tick", ticks=10)
    editor.ask("cob-step-instruction")
    for thread in editor.ask("cob-inspect")["threads"]:
        print(f"    {thread['script']:12} word {thread['scriptPc']:4} {thread['state']:6} stack {thread['stack']}")
    editor.ask("cob-clear-breakpoints")
    editor.ask("cob-continue")
    for entry in editor.ask("cob-get-trace", maxEntries=60)["entries"][:8]:
        print(f"    tick {entry['tick']:3}  {entry['event']}")

    note("Read its script back as source, and take its model as binary glTF.")
    bos = editor.ask("cob-disassemble")
    for line in bos["source"].splitlines()[:14]:
        print(f"    {DIM}{line}{OFF}")
    editor.ask("get-unit-glb", teamColor={"r": 220, "g": 40, "b": 40})
    frame = editor.frames.read(int.from_bytes(editor.frames.read(4), "little"))
    print(f"    a frame of {len(frame)} bytes, beginning with {frame[:4]}")

    note("Can a unit be shipped? What do the mods do to each other?")
    editor.ask("load-unit", name="FLTREFS")
    for check in editor.ask("unit-health")["checks"]:
        color = RED if check["status"] == "missing" else DIM
        print(f"    {color}{check['status']:8}{OFF}{check['category']}: {check['detail']}")
    for finding in editor.ask("conflict-scan")["findings"][:6]:
        print(f"    {finding['kind']:22} {finding['detail']}")

    note("What goes wrong is told, and the session goes on.")
    editor.ask("load-unit", name="NOSUCH")
    editor.ask("load-unit")
    editor.ask("frobnicate")

    note("Look into an archive.")
    archive = next(name for name in sorted(os.listdir(f"{DATA}/game")) if name.endswith(".hpi"))
    contents = editor.ask("list-archive-contents", path=archive)
    for entry in contents["entries"][:4]:
        print(f"    {entry['path']}  {DIM}{entry['size']} bytes{OFF}")
    editor.ask("archive-browse-preview", path=archive, internalPath=contents["entries"][0]["path"])
    editor.ask("shutdown")
    editor.process.wait()

    note("Its log, from standard error:")
    editor.log.seek(0)
    lines = editor.log.read().decode(errors="replace").splitlines()
    for line in lines[:12]:
        print(f"    {DIM}{line}{OFF}")
    print(f"    {DIM}… {len(lines)} lines in {BUILD}/demo.log{OFF}")


if __name__ == "__main__":
    main()
