"""Draws the lines that a front end might send, sensible ones and others."""
import json
import os

from disk import PLAIN_MODS

# What people do one after the other; the names are those of the messages.
PLAYS = {
    "mount": "set-data-roots list-units list-vfs-dir render-constants get-master-palette",
    "look": "load-unit get-unit-glb unit-textures get-unit-buildpic list-unit-buildpic-sources "
            "get-unit-orb-buildpic get-sound get-projectile-sprite get-weapon-model-glb "
            "compare-units set-sim-mode list-units",
    "play": "load-unit cob-start cob-tick cob-tick cob-tick cob-inspect cob-get-trace cob-start "
            "cob-tick cob-tick cob-stop-all cob-reset",
    "debug": "load-unit cob-get-unit-bos cob-set-breakpoints cob-start cob-tick cob-inspect "
             "cob-step-instruction cob-step-line cob-inspect cob-continue cob-get-trace "
             "cob-clear-breakpoints cob-continue",
    "write": "load-unit cob-get-unit-bos cob-compile cob-compile cob-load-temporary cob-start "
             "cob-tick cob-disassemble cob-source-compare cob-unload-temporary",
    "edit": "load-unit resolve-unit-source require-writable-source fbi-raw fbi-patch fbi-patch "
            "save-fbi-raw restore-source-from-backup fbi-raw",
    "browse": "list-archive-contents archive-browse-open archive-browse-preview "
              "archive-browse-preview archive-browse-extract-one archive-browse-extract-dir "
              "archive-browse-extract-all",
    "check": "load-unit unit-health lint-suppress unit-health lint-unsuppress modernizer-preview "
             "conflict-scan",
    "map": "map-list map-load map-spawn map-spawn map-snapshot map-features map-heightmap "
           "map-minimap map-terrain-texture map-spawn map-snapshot map-exit map-snapshot",
    "battle": "map-load map-spawn map-spawn map-spawn map-spawn map-move map-move map-tick map-snapshot "
              "map-move map-tick map-heightmap map-move map-move map-tick map-tick map-snapshot map-exit",
    "model": "load-unit model-get-unit-summary model-get-piece model-duplicate-faces model-bleed-through "
             "model-apply-fix model-apply-fix get-unit-glb model-undo model-redo model-undo "
             "model-apply-fix model-get-unit-summary model-commit save-unit model-revert",
    "recolor": "texture-suggest-remap texture-preview-remap texture-apply-remap texture-preview-remap",
    "make": "create-mod-folder unit-clone load-unit save-unit create-corpse-stub unit-deps "
            "export-min-mod-pack validate-mod-pack export-mod-pack validate-mod-pack",
    "chat": "hello ping ping hello",
}
RARE = {"mount": 2, "check": 3, "map": 3, "make": 3, "recolor": 3, "chat": 1}  # of 6

MAPS = [*["Fenmere"] * 6, "fenmere", "FltBare", "FltLists", "FltCut", "FltOld", "FltText", "Nowhere"]
ORDERS = ["move", "patrol", "stop", "attack", "fire", "guard", "repair", "capture", "load", "unload", "build",
          "reclaim", "activate", "deactivate", "cloak", "decloak", "moveState", "fireState",
          "selfDestruct", "damage", "kill", "finish", "place", "script", "remove"]
FIXES = ["add-twins", "remove-twins", "flip-faces", "delete-faces", "remove-duplicates",
         "remove-degenerate", "triangulate", "turn-corners", "set-texture", "set-color",
         "replace-texture", "remove-unused-vertices", "weld-vertices", "move-vertices", "scale",
         "rename-piece", "move-piece", "set-selection", "make-selection"]
TEXTURES = ["FENFLAG", "fltteam", "FLTTINT", "FENHULL", "none"]
NEW_UNITS = ["SOAKONE", "SOAKTWO", "FENRAFT", "CON", "a b"]
FEATURES = ["WRECKS", "FenVent", "fenalder", "NoSuch"]
LINT_CODES = ["missing-create", "unused-script", "loop-no-sleep", "recursive-start", "Ω", ""]
FOLDERS = ["", "units", "UNITS/", "scripts", "anims\\", "no/where", "..", "unitpics", "textures"]
FBI_CHANGES = [{"MaxDamage": 900}, {"maxdamage": 12.5, "New": True}, {"Description": "Größe & Ω"},
               {"New": None}, {"ObjectName": "NOWHERE"}, {"Description": "a;b"}, {}, {"=": 1},
               {"Name": "plain", "Version": "2", "Copyright": None}]
FBI_TEXTS = ["[UNITINFO]{}", "no unit", "[UNITINFO]{UnitName=FENTILL;ObjectName=FENTILL;Name=é;}",
             "[UNITINFO] { UnitName=FENRAFT;\r\n ObjectName=FENRAFT; // Ω\r\n }", "[A]{" * 400]
SOURCES = ["piece base;\nCreate() { while (1) { spin base around y-axis speed <90>; sleep 30; } }",
           "piece a, b;\nstatic-var s;\nCreate() { start-script Create(); s = s + 1; }", "piece", "",
           "#define X X X\nCreate() { X; }", "Create() { " + "if (1) " * 300 + "{} }",
           "Create() { call-script Create(); }", "piece p;\nCreate() { return " + "(" * 500 + "1; }"]
# None of these leads out of the soak's own folder, wherever it stands for a path.
ODD_TEXTS = ["", " ", "x" * 5000, "a\u0000b", "\ud800", "Ω" * 300, "%s%n", "con", "\\", "a/b", "."]
ODD_VALUES = [None, True, False, 0, -1, 1.5, 1e300, -(2**63), 2**64 - 1, [], {}, [[]], ["a", 1],
              {"a": None}, [1] * 2000]


# Half of a character, as JSON spells it; no text can hold it.
HALF = "\\ud800"


class Requests:
    def __init__(self, rng, disk, commands):
        self.rng, self.disk, self.commands = rng, disk, commands
        self.seq = 0
        self.units, self.scripts, self.weapons, self.categories = [], ["Create"], ["FEN_DART"], [""]
        self.sources, self.cobs, self.spans = list(SOURCES), [], []
        self.inside = {}
        self.archive = ""
        self.pieces, self.textures, self.unit_ids = ["base"], list(TEXTURES), [1]
        self.is_mounted = False
        self.edited = "FENRAFT"

    # ---- Drawing ----

    def play(self):
        """The lines of one play: [(line, seq of the answer, command or None)]."""
        name = self.rng.choice([name for name in PLAYS for _ in range(RARE.get(name, 6))])
        if not self.is_mounted and self.rng.random() < 0.5:
            name = "mount"
        if self.rng.random() < 0.02:
            names = ["clear-data-roots"]
        elif self.rng.random() < 0.1:
            names = [self.rng.choice(list(self.commands)) for _ in range(self.rng.randrange(1, 30))]
        elif self.rng.random() < 0.05:
            names = [self.rng.choice(["ping", "cob-tick", "get-sound"])] * self.rng.randrange(50, 300)
        else:
            names = PLAYS[name].split()
        return [self.line(name) for name in names if name != "shutdown"]

    def line(self, name):
        chance = self.rng.random()
        if chance < 0.02:
            return self.broken_line()
        data = self.data(name)
        if chance < 0.06:
            data = self.spoil(data)
        if chance > 0.99:
            name = self.rng.choice(["", "Ping", "cob-step", "Ω" * 50, name + " "])
        self.seq += 1
        request = {"type": name, "seq": self.seq, "data": data}
        if data is None or (data == {} and self.rng.random() < 0.5):
            del request["data"]
        if self.rng.random() < 0.01:
            request["seq"] = self.rng.choice([0, 2**64 - 1, 2**63])
        has_half = HALF in json.dumps(request)
        text = json.dumps(request, ensure_ascii=has_half or self.rng.random() < 0.5)
        end = self.rng.choice([b"", b"", b"\r", b"\r\r"])
        if has_half:
            return text.encode() + end, 0, None
        return text.encode() + end, request["seq"], self.commands.get(name)

    def broken_line(self):
        deep, long = self.pick([257, 5000, 200_000]), self.pick([70_000, 3_000_000])
        return self.rng.choice([
            (b"", 0, None), (b"{", 0, None), (b'{"type":"ping"', 0, None), (b"[]", 0, None),
            (b'{"seq":4}', 0, None), (b'{"type":5,"seq":4}', 0, None), (b"null", 0, None),
            (b'{"type":"ping","seq":18446744073709551616}', 0, None),
            (b'{"type":"ping","seq":-1}', 0, None), (b'{"type":"ping","seq":1.0}', 0, None),
            (b'{"type":"ping","seq":1,"data":{"a":"\xff\xc3"}}', 0, None),
            (b'{"type":"ping"}\x00', 0, None), (b"\x00" * 100, 0, None), (b"\xff\xfe{}", 0, None),
            (b'{"type":"ping","seq":1e400}', 0, None), (b'{"type":"ping"} x', 0, None),
            (b"[" * deep, 0, None), (b'{"data":' + b"[" * deep + b"]" * deep + b"}", 0, None),
            (b'{"type":"ping","seq":7,"data":{"a":"' + b"y" * long + b'"}}', 7, self.commands["ping"]),
            (self.rng.randbytes(300).replace(b"\n", b"") or b"x", 0, None),
            (b'{"type":"ping","type":"hello","seq":3}', 3, self.commands["hello"]),
        ])

    def spoil(self, data):
        """Leaves a member out, changes one or all of it, or adds one."""
        kind = self.rng.randrange(4)
        if kind == 0 or not data:
            return self.rng.choice(ODD_VALUES)
        name = self.rng.choice(list(data))
        if kind == 1:
            return {key: value for key, value in data.items() if key != name}
        return {**data, name: self.rng.choice(ODD_VALUES + ODD_TEXTS)}

    # ---- Payloads ----

    def data(self, name):
        draw = PAYLOADS.get(name)
        if draw:
            return draw(self)
        # To messages that it knows nothing of it says nothing that could name a file.
        return self.pick([{}, {"name": 5}, [], {"path": []}]) if self.rng.random() < 0.5 else {}

    def pick(self, values):
        return self.rng.choice(values)

    def maybe(self, chance=0.5, **members):
        return members if self.rng.random() < chance else {}

    def flag(self):
        return self.rng.random() < 0.5

    def unit(self):
        return self.pick(self.units or ["FENTILL"]) if self.rng.random() < 0.95 else "NOSUCH"

    def roots(self):
        path, large = self.disk.path, self.disk.large_mods
        mods = [path(name) for name in ("mod", "faulty", "mod2", "faulty2", "nowhere", *PLAIN_MODS)] + large
        game = "large/game" if large and self.rng.random() < 0.3 else "game"
        # A mod comes first, so that what is kept in the first root is kept there.
        return {"taDataPath": path(game if self.rng.random() < 0.97 else "nowhere"),
                "modPaths": self.rng.sample(mods, self.rng.randrange(1, 4)),
                **self.maybe(0.8, mapsPath=path("maps"))}

    def place(self):
        if self.rng.random() < 0.05:
            return self.pick([-1, 1e300])
        return self.rng.choice([self.rng.randrange(2048), 250 + self.rng.random() * 300])

    def team_color(self):
        return self.maybe(teamColor={"r": 230, "g": 4, "b": -3, "enabled": self.flag()})

    def source(self):
        text = self.pick(self.sources)
        if self.rng.random() < 0.3:  # with a piece missing or doubled
            at = self.rng.randrange(len(text) + 1)
            text = text[:at] + text[self.rng.randrange(len(text) + 1):]
        return text

    def compilation(self):
        options = {"implicitReturn": "compat", "argumentOrder": "source",
                   "linearScale": self.pick([1, 65536, 0])}
        return {"source": self.source(), **self.maybe(0.2, options=options),
                **self.maybe(0.2, path="scripts/x.bos")}

    def edit(self, **members):
        # The samples' mod defines these two; the base game's units are not written.
        return {**members, **self.maybe(name=self.pick([self.unit(), "FENRAFT", "FENTILL"])),
                **self.maybe(0.7, allowBackupCreation=True)}

    def lint_rule(self):
        return {"code": self.pick(LINT_CODES), **self.maybe(0.9, unitName=self.unit()),
                **self.maybe(target=self.pick(self.scripts)),
                **self.maybe(0.3, scope=self.pick(["global", "unit", "all"]))}

    def made(self, name):
        """A place that the disk clears now and then."""
        return os.path.join(self.disk.made, name)

    def pack(self):
        return {"destination": self.made(self.pick(["a.ufo", "b.ufo"])), **self.maybe(0.9, overwrite=True),
                **self.maybe(0.3, compression=self.pick(["none", "lz77", "zlib"]))}

    def face(self):
        return {"piece": self.pick(self.pieces), "primIndex": self.pick([0, 1, 2, 9])}

    def fix(self):
        """Of any kind, with what some of them need."""
        kind = self.pick(FIXES)
        return {"kind": kind, "piece": self.pick(self.pieces), "factor": self.pick([0.5, 2, 2, 1e9]),
                **self.maybe(0.9, faces=[self.face()]), "vertices": [0, self.pick([1, 2, 9])],
                "by": [0, 1, 0.5] if kind == "move-vertices" else self.pick([1, -1]),
                "texture": self.pick(self.textures), "color": self.rng.randrange(260),
                "from": self.pick(self.textures), "to": self.pick(self.textures),
                "name": self.pick(["base", "x" * 70, "New"]), "position": [1, 2, 3], "primIndex": 0}

    def saving(self):
        script = self.pick([{"bos": self.source()}, {"cob_b64": self.pick(self.cobs or ["AAAA"])}])
        return {**self.maybe(values=self.pick(FBI_CHANGES)), **self.maybe(0.3, script=script),
                **self.maybe(0.3, model=self.flag()), **self.maybe(0.7, allowBackupCreation=True)}

    def cloning(self):
        return {"name": self.unit(), **self.maybe(0.8, newName=self.pick(NEW_UNITS)),
                **{"with": self.rng.sample(["model", "script", "picture"], self.rng.randrange(4))},
                **self.maybe(0.7, overwrite=True), **self.maybe(0.7, allowBackupCreation=True)}

    def recoloring(self):
        chosen = [{"from": index, "to": self.rng.randrange(256)} for index in (0, 100, 101, 200)]
        return {"textureName": self.pick(self.textures), **self.maybe(0.4, map=chosen)}

    def ids(self):
        return [self.pick(self.unit_ids) for _ in range(self.rng.randrange(1, 6))]

    def order(self):
        """Orders leave aside what they do not take."""
        return {"order": self.pick(ORDERS), **self.maybe(0.8, x=self.place(), z=self.place()),
                **self.maybe(target=self.pick([*self.unit_ids, 4999])), "unit": self.unit(),
                "value": self.pick([0, 1, 2, 2, 60]), "name": self.pick(self.scripts),
                **self.maybe(0.1, slot=self.pick([0, 1, 2, 3])), **self.maybe(0.3, queue=True),
                **self.maybe(0.2, targetFeature=self.rng.randrange(200)),
                **self.maybe(0.3, count=self.pick([1, 3])), **self.maybe(0.3, unrestricted=True)}

    def time(self):
        stocks = [{"player": self.pick([1, 2, 10]), "metal": 1e4, "energy": 1e4}]
        until = self.pick(["idle", "killed", "built", "order-done", "nothing"])
        return {**self.maybe(0.9, ticks=self.pick([1, 10, 30, 60, 200])), **self.maybe(0.3, stocks=stocks),
                **self.maybe(0.2, until=until), **self.maybe(0.2, events=self.flag())}

    def another_archive(self):
        self.archive = self.pick([*self.disk.archives(), "base1.hpi", "art.hpi", "none.hpi", "."])
        return {"path": self.archive}

    def file_inside(self):
        files = self.inside.get(self.archive) or ["units/FENTILL.fbi"]
        return {"path": self.archive, "internalPath": self.pick(files)}

    def extraction(self):
        return {"path": self.archive, "destination": self.disk.out, **self.maybe(overwrite=True)}

    # ---- Learning ----

    def learn(self, answers):
        """Takes from replies what later requests can ask for."""
        for sent, answer in answers:
            data = answer["data"]
            match answer["type"]:
                case "data-roots-set" | "data-roots-cleared" as kind:
                    self.is_mounted = kind == "data-roots-set"
                case "list-units":
                    if data["units"]:
                        self.units = [unit["name"] for unit in data["units"]]
                case "map-spawn-reply" if "unitIds" in data:
                    self.unit_ids = (self.unit_ids + data["unitIds"])[-40:]
                case "model-unit-summary":
                    self.pieces = [piece["name"] for piece in data["pieces"]] or ["base"]
                case "unit-textures":
                    self.textures = TEXTURES + [each["name"] for each in data["textures"]][:20]
                case "unit-loaded":
                    self.scripts = data["cobFunctions"] or ["Create"]
                    self.weapons = (self.weapons + [weapon["name"] for weapon in data["weapons"]])[-30:]
                case "fbi-patched" | "fbi-saved-raw" if data["outcome"] == "ok":
                    self.edited = json.loads(sent.line).get("data", {}).get("name", self.edited)
                case "cob-unit-bos":
                    self.sources = (self.sources + [data["source"]])[-30:]
                    self.spans = data.get("lineSpans", [])[:200]
                case "cob-compiled" if data["ok"]:
                    self.cobs = (self.cobs + [data["cob_b64"]])[-20:]
                case "archive-contents":
                    self.inside[data["path"]] = [entry["path"] for entry in data["entries"][:2000]]


# What is drawn for each message that takes something.
PAYLOADS = {
    "set-data-roots": Requests.roots,
    "list-vfs-dir": lambda r: r.maybe(0.9, path=r.pick(FOLDERS)),
    "list-units": lambda r: {**r.maybe(side="FEN"), **r.maybe(search=r.pick("aez"))},
    "load-unit": lambda r: {"name": r.unit()},
    "compare-units": lambda r: {"names": [r.unit() for _ in range(r.rng.randrange(4))]},
    "set-sim-mode": lambda r: {"mode": r.pick(["static", "ground", "water", "air"])},
    "get-unit-glb": Requests.team_color,
    "get-weapon-model-glb": lambda r: {"weapon": r.pick(r.weapons), **r.team_color()},
    "get-projectile-sprite": lambda r: {"weapon": r.pick(r.weapons)},
    "get-sound": lambda r: {"name": r.pick([*r.disk.sounds, "../x", "none"])},
    "list-unit-buildpic-sources": lambda r: r.maybe(name=r.unit()),
    "get-unit-orb-buildpic": lambda r: {"name": r.pick(["KILOVEN", "KILCART", r.unit()])},
    "get-unit-buildpic": lambda r: {**r.maybe(name=r.unit()), **r.maybe(0.3, format="gaf")},
    "cob-start": lambda r: {"name": r.pick(r.scripts),
                            **r.maybe(args=[r.rng.randrange(-5, 70000)] * 3)},
    "cob-tick": lambda r: {**r.maybe(ticks=r.pick([0, 1, 5, 60, 10**12])),
                           **r.maybe(script=r.pick(r.scripts))},
    "cob-get-trace": lambda r: {**r.maybe(0.3, enable=r.flag()), **r.maybe(0.3, clear=True),
                                **r.maybe(maxEntries=r.pick([-1, 0, 50]))},
    "cob-set-breakpoints": lambda r: {"offsets": [r.rng.randrange(200) for _ in range(3)],
                                      **r.maybe(lineSpans=r.spans)},
    "cob-load-temporary": lambda r: {"cob_b64": r.pick(r.cobs or ["AAAA"])},
    "cob-disassemble": lambda r: r.maybe(cob_b64=r.pick(r.cobs or ["AAAA"])),
    "cob-get-unit-bos": lambda r: r.maybe(name=r.unit()),
    "cob-compile": Requests.compilation,
    "cob-source-compare": lambda r: {**r.maybe(source=r.source()), **r.maybe(0.3, name=r.unit())},
    "resolve-unit-source": lambda r: {"name": r.unit()},
    "require-writable-source": lambda r: {"name": r.unit()},
    "restore-source-from-backup": lambda r: {"name": r.pick([r.edited, r.edited, r.unit()])},
    "fbi-raw": lambda r: r.maybe(name=r.unit()),
    "fbi-patch": lambda r: r.edit(values=r.pick(FBI_CHANGES)),
    "save-fbi-raw": lambda r: r.edit(text=r.pick(FBI_TEXTS)),
    "lint-suppress": Requests.lint_rule,
    "lint-unsuppress": Requests.lint_rule,
    "list-archive-contents": Requests.another_archive,
    "archive-browse-open": lambda r: {"path": r.archive},
    "archive-browse-preview": lambda r: {**r.file_inside(),
                                         **r.maybe(0.3, maxBytes=r.pick([0, 10, -1, 10**15]))},
    "archive-browse-extract-one": lambda r: {**r.extraction(), **r.file_inside()},
    "archive-browse-extract-dir": lambda r: {**r.extraction(), "directory": r.pick(FOLDERS)},
    "archive-browse-extract-all": Requests.extraction,
    "create-mod-folder": lambda r: {"path": r.made(r.pick(["one", "two"])), **r.maybe(0.3, mount=r.flag())},
    "unit-clone": Requests.cloning,
    "create-corpse-stub": lambda r: {**r.maybe(parentUnit=r.unit()), **r.maybe(name=r.pick(NEW_UNITS)),
                                     **r.maybe(0.7, allowBackupCreation=True)},
    "save-unit": Requests.saving,
    "unit-deps": lambda r: {**r.maybe(0.8, units=[r.unit(), r.unit()]), **r.maybe(recursive=True)},
    "export-mod-pack": Requests.pack,
    "export-min-mod-pack": lambda r: {"units": [r.unit()], **r.maybe(recursive=True), **r.pack()},
    "validate-mod-pack": lambda r: {"path": r.made(r.pick(["a.ufo", "b.ufo"]))},
    "model-get-piece": lambda r: {"piece": r.pick([*r.pieces, 0, 99])},
    "model-duplicate-faces": lambda r: {**r.maybe(0.3, piece=r.pick(r.pieces)),
                                        **r.maybe(0.3, tolerance=r.pick([0, 0.5, -1]))},
    "model-bleed-through": lambda r: {**r.maybe(view=r.pick(["game", "all"])),
                                      **r.maybe(directions=r.pick([16, 64, 5000])),
                                      **r.maybe(0.3, pose=r.pick(["rest", "current"]))},
    "model-apply-fix": Requests.fix,
    "model-commit": lambda r: r.maybe(0.8, allowBackupCreation=True),
    "texture-suggest-remap": lambda r: {"textureName": r.pick(r.textures),
                                        **r.maybe(0.4, direction=r.pick(["away", "toward"]))},
    "texture-preview-remap": Requests.recoloring,
    "texture-apply-remap": lambda r: {**r.recoloring(), **r.maybe(0.7, allowBackupCreation=True)},
    "map-move": lambda r: {"unitIds": r.ids(), **r.order()},
    "map-tick": Requests.time,
    "map-load": lambda r: {"name": r.pick(MAPS), **r.maybe(schema=r.pick([0, 1, 1, 2, 3])),
                           **r.maybe(0.2, placeUnits=r.flag())},
    "map-spawn": lambda r: {**(r.maybe(0.8, unit=r.unit()) or {"feature": r.pick(FEATURES)}),
                            "x": r.place(), "z": r.place(), **r.maybe(0.6, force=True),
                            **r.maybe(0.3, count=r.pick([1, 9, 1000, 10**9])),
                            **r.maybe(0.3, heading=r.pick([1, -7.5, 1e300]))},
    "map-snapshot": lambda r: {**r.maybe(player=r.pick([1, 2, 11])), **r.maybe(pieces=r.flag()),
                               **r.maybe(0.3, unitIds=[1, 5, 10**12]), **r.maybe(features=True)},
    "map-terrain-texture": lambda r: {"scale": r.pick([4, 8, 16, 32, 3]),
                                      **r.maybe(x=r.pick([0, 700, -5, 10**9])),
                                      **r.maybe(width=r.pick([1, 333, 0, 2**62]))},
}
