#!/usr/bin/env python3
"""Plays a session over the sample game with the real program and shows it.  usage: demo.py BUILD

What it fetches besides, models and build pictures, goes to the folder `demo` beside BUILD.
"""
import base64
import json
import os
import sys
import tempfile
import time

from editor_client import Editor, EditorError

BUILD = os.path.abspath(sys.argv[1])
DATA = os.path.join(BUILD, "samples/data")
SHOWN_IN = os.path.join(os.path.dirname(BUILD), "demo")
LOG = os.path.join(SHOWN_IN, "log.txt")
BOLD, DIM, RED, OFF = ("\033[1m", "\033[2m", "\033[31m", "\033[0m") if sys.stdout.isatty() else [""] * 4


class ShownEditor(Editor):
    """Shows each request with its reply."""

    def ask(self, kind, **data):
        """Returns the reply's data."""
        shown = json.dumps({"type": kind, "seq": self.seq + 1, "data": data})
        print(f"{BOLD}> {shown}{OFF}")
        start = time.perf_counter()
        reply = super().ask(kind, **data)
        took = (time.perf_counter() - start) * 1000
        shown = json.dumps(reply, ensure_ascii=False, separators=(",", ":"))
        shown = shown if len(shown) <= 240 else f"{shown[:200]} … ({len(shown)} characters)"
        color = RED if reply["type"] == "error" else ""
        print(f"{color}< {shown}{OFF} {DIM}{took:.1f} ms{OFF}")
        return reply["data"]

    def ask_silently(self, kind, **data):
        return super().ask(kind, **data)


def keep(name, content):
    """Writes a file for people to look at; returns its path as they would type it."""
    path = os.path.join(SHOWN_IN, name)
    with open(path, "wb") as file:
        file.write(content)
    return os.path.relpath(path)


def keep_pictures(editor, units):
    """Fetches the model and the build picture of each unit."""
    for unit in units:
        name, kept = unit["name"], []
        loaded = editor.ask_silently("load-unit", name=name)
        if loaded["type"] != "error":
            if editor.ask_silently("get-unit-glb")["type"] != "error":
                kept.append(keep(f"{name}.glb", editor.next_frame()))
            picture = editor.ask_silently("get-unit-buildpic")
            if picture["type"] != "error":
                kept.append(keep(f"{name}.png", base64.b64decode(picture["data"]["png_b64"])))
        print(f"    {name:10} {'  '.join(kept) or DIM + loaded['data']['message'] + OFF}")


def note(text):
    print(f"\n{BOLD}{text}{OFF}")


def show_tree(piece, depth=0):
    faces = f"{piece['vertexCount']} vertices, {piece['primitiveCount']} faces"
    print(f"    {'  ' * depth}{piece['name']}  {DIM}{faces}{OFF}")
    for child in piece["children"]:
        show_tree(child, depth + 1)


def main():
    os.makedirs(SHOWN_IN, exist_ok=True)
    editor = ShownEditor.of(os.path.join(BUILD, "orb-unit-editor"), LOG)
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
    frame = editor.next_frame()
    print(f"    a frame of {len(frame)} bytes, beginning with {frame[:4]}: {keep('red.glb', frame)}")

    note("Can a unit be shipped? What do the mods do to each other?")
    editor.ask("load-unit", name="FLTREFS")
    for check in editor.ask("unit-health")["checks"]:
        color = RED if check["status"] == "missing" else DIM
        print(f"    {color}{check['status']:8}{OFF}{check['category']}: {check['detail']}")
    for finding in editor.ask("conflict-scan")["findings"][:6]:
        print(f"    {finding['kind']:22} {finding['detail']}")

    note("A mod of one's own: clone a unit, change it as a whole, give it a wreck.")
    with tempfile.TemporaryDirectory() as scratch:
        editor.ask("create-mod-folder", path=os.path.join(scratch, "mine"))
        for file in editor.ask("unit-clone", name="FENWADE", newName="MYWADE", displayName="My Wader")["files"]:
            print(f"    {os.path.basename(file['from'])}  {DIM}→ {os.path.relpath(file['to'], scratch)}{OFF}")
        editor.ask("load-unit", name="MYWADE")
        script = editor.ask_silently("cob-get-unit-bos")["data"]["source"]
        editor.ask("save-unit", values={"MaxDamage": 900, "Corpse": None}, script={"bos": script},
                   allowBackupCreation=True)
        editor.ask("create-corpse-stub")
        print(f"    {editor.ask('unit-health')['summary']['verdict']}")
        editor.ask("set-data-roots", taDataPath=f"{DATA}/game", modPaths=[f"{DATA}/mod", f"{DATA}/faulty"])

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

    note("Every unit's model and build picture, for you to open:")
    keep_pictures(editor, units)
    editor.ask("shutdown")
    editor.close()

    note("Its log, from standard error:")
    with open(LOG, encoding="utf-8", errors="replace") as file:
        lines = file.read().splitlines()
    for line in lines[:12]:
        print(f"    {DIM}{line}{OFF}")
    print(f"    {DIM}… {len(lines)} lines in {os.path.relpath(LOG)}{OFF}")

    note("The same to click at, in a browser: ./dev web")


if __name__ == "__main__":
    try:
        main()
    except EditorError as error:
        sys.exit(str(error))
