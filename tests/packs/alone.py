#!/usr/bin/env python3
"""Makes a unit in a mod of its own, packs it, and mounts the pack alone over the game in a fresh process.

usage: alone.py PROGRAM DATA

What the fresh process reads of the unit (definition, model, script, source, pictures, what is drawn)
must be what the first one had, byte for byte.
"""
import os
import shutil
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "tools"))
from editor_client import Editor  # noqa: E402

UNIT = "MYWADE"


class Session:
    """A process with its data roots set."""

    def __init__(self, program, game, mods):
        self.editor = Editor.of(program)
        self.ask("set-data-roots", taDataPath=game, modPaths=mods)

    def ask(self, kind, /, **data):
        reply = self.editor.ask(kind, **data)
        if reply["type"] == "error":
            sys.exit(f"{kind} {data}: {reply['data']['message']}")
        return reply["data"]

    def shown(self):
        """What the program makes of the unit's files."""
        loaded = self.ask("load-unit", name=UNIT)
        self.ask("get-unit-glb")
        return {"model": self.editor.next_frame(), "picture": self.ask("get-unit-buildpic"),
                "script": self.ask("cob-get-unit-bos"), "textures": self.names("unit-textures", "textures"),
                "loaded": {key: loaded[key] for key in ("fbi", "pieceTree", "cobFunctions", "sounds")},
                "weapons": [weapon["values"] for weapon in loaded["weapons"]]}

    def names(self, kind, key):
        return [each["name"] for each in self.ask(kind)[key] if each["found"]]

    def files(self, paths, folder):
        """The bytes that the stack has of these files."""
        found = {}
        for path in paths:
            written = self.ask("archive-browse-extract-one", path="", internalPath=path, destination=folder,
                               overwrite=True)["writtenPath"]
            with open(written, "rb") as file:
                found[path] = file.read()
        return found


def make(session, mod):
    """A unit out of one of the game's, with a definition, script and wreck of its own."""
    session.ask("create-mod-folder", path=mod)
    session.ask("unit-clone", name="FENWADE", newName=UNIT)
    session.ask("load-unit", name=UNIT)
    source = session.ask("cob-get-unit-bos")["source"]
    saved = session.ask("save-unit", values={"MaxDamage": 777, "Corpse": None}, script={"bos": source + "\n"},
                        allowBackupCreation=True)
    assert saved["outcome"] == "ok", saved
    session.ask("create-corpse-stub")
    assert session.ask("unit-health")["summary"]["ready"]


def main(program, data):
    with tempfile.TemporaryDirectory() as scratch:
        game, mod, friend = (os.path.join(scratch, name) for name in ("game", "mod", "friend"))
        shutil.copytree(os.path.join(data, "game"), game)
        os.mkdir(friend)
        first = Session(program, game, [])
        make(first, mod)
        pack = first.ask("export-min-mod-pack", units=[UNIT], destination=os.path.join(friend, "my.ufo"))
        assert not pack["missing"], pack
        assert first.ask("validate-mod-pack", path=pack["path"])["isValid"]
        needed = [file["path"] for file in first.ask("unit-deps")["files"]]
        packed = [file["path"] for file in pack["files"]]
        assert not set(needed) - set(packed) - {left["path"] for left in pack["leftOut"]}, pack

        alone = Session(program, game, [friend])
        tables = [path for path in packed if path not in needed]  # gathered sections
        assert tables == ["features/corpses/my.tdf"], tables
        expected = first.files(needed, os.path.join(scratch, "a"))
        expected.pop(f"features/corpses/{UNIT}_dead.tdf")
        actual = alone.files(expected, os.path.join(scratch, "b"))
        for path, content in expected.items():
            assert actual[path] == content, path
        shown = first.shown(), alone.shown()
        for part in shown[0]:
            assert shown[0][part] == shown[1][part], part
        assert alone.ask("unit-health")["summary"]["ready"]
        print(f"{len(expected)} files and what is shown of them are the same")
        first.editor.close()
        alone.editor.close()


if __name__ == "__main__":
    main(*sys.argv[1:])
