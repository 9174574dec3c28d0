"""What the answers so far say of the program's session, and so what the next ones must say."""
import json
import os

from front_end import Fault

OUTCOMES = {"ok", "needs-backup-consent", "base-ta-refused", "changed-on-disk", "checked"}
NEED_MAP = {"map-spawn", "map-move", "map-tick", "map-snapshot", "map-heightmap", "map-minimap",
            "map-features", "map-terrain-texture"}
NO_ROOTS, NO_UNIT, NO_MAP = "data roots not set", "no unit loaded; call load-unit first", "no map loaded"
MOST_TICKS, MOST_SPAWNED = 600, 1000


def clamped(value, least, most):
    """What a drawn number counts as; None where the program may take it otherwise."""
    return min(max(value, least), most) if isinstance(value, int) and not isinstance(value, bool) else None


class SessionModel:
    """Follows roots, unit, map and steps of a model's edits. What it cannot know is None."""

    def __init__(self, folder):
        self.folder = folder  # in which the program runs
        self.has_roots, self.has_unit, self.has_map = False, False, False
        self.tick, self.unit_count = 0, None
        self.steps = None  # (to undo, to redo)
        self.checks = 0

    def checked(self, answers):
        # What others of the same burst have written since is there now.
        self.is_alone = len(answers) == 1
        for sent, answer in answers:
            if sent.command:
                self.request = json.loads(sent.line.decode(errors="replace"))
                try:
                    self.follow(sent.command.type, answer)
                except (AssertionError, KeyError) as error:
                    raise Fault(f"{sent.line[:300]} was answered {str(answer)[:600]}, "
                                f"though {error!r}, {self}") from error
        return answers

    def __str__(self):
        return (f"roots {self.has_roots}, unit {self.has_unit}, map {self.has_map} at {self.tick} with "
                f"{self.unit_count} units, steps {self.steps}")

    def must(self, is_so, rule):
        self.checks += 1
        assert is_so, rule

    def payload(self):
        data = self.request.get("data")
        return data if isinstance(data, dict) else {}

    def follow(self, name, answer):
        data = answer["data"]
        if answer["type"] == "error":
            self.follow_error(name, data["message"])
            return
        self.must(name not in NEED_MAP or self.has_map, "there is no map")
        if "outcome" in data:
            self.must(data["outcome"] in OUTCOMES, "outcomes are words of the protocol")
        if follow := getattr(self, "follow_" + name.replace("-", "_"), None):
            follow(data)
        if "reloadError" in data:
            self.has_unit, self.steps = False, None
        if "editsDropped" in data:
            self.steps = None

    def follow_error(self, name, message):
        if message.startswith(NO_ROOTS):
            self.must(not self.has_roots, "there are roots")
        elif message.startswith(NO_UNIT):
            self.must(not self.has_unit, "there is a unit")
        elif message.startswith(NO_MAP):
            self.must(not self.has_map, "there is a map")
        elif message in ("nothing to undo", "nothing to redo"):
            self.must(self.steps is None or self.steps[message.endswith("redo")] == 0, "there are steps")
        elif name == "load-unit" and not message.startswith("bad load-unit") and "required" not in message:
            self.has_unit, self.steps = False, None

    # ---- Roots and units ----

    def follow_set_data_roots(self, _):
        self.has_roots, self.has_map, self.steps = True, False, None

    def follow_clear_data_roots(self, _):
        self.has_roots, self.has_unit, self.has_map, self.steps = False, False, False, None

    def follow_load_unit(self, data):
        self.must(self.has_roots, "there are no roots")
        # Edits may have waited for a unit that could not be loaded.
        self.steps = (0, 0) if self.has_unit and "hasEdits" not in data else None
        self.has_unit = True

    # ---- Edits of a model ----

    def follow_model_apply_fix(self, data):
        steps = (data["undoDepth"], data["redoDepth"])
        if self.steps and data["changed"]:
            self.must(steps[0] <= self.steps[0] + 1 and steps[1] == 0, "a change is one step")
        elif self.steps:
            self.must(steps == self.steps, "nothing is no step")
        self.steps = steps

    def follow_step(self, data, by):
        steps = (data["undoDepth"], data["redoDepth"])
        self.must(not self.steps or steps == (self.steps[0] + by, self.steps[1] - by),
                  "a step leads one on")
        self.steps = steps

    def follow_model_undo(self, data):
        self.follow_step(data, -1)

    def follow_model_redo(self, data):
        self.follow_step(data, 1)

    def follow_model_revert(self, data):
        self.must(not self.steps or data["hadEdits"] == any(self.steps), "steps are edits")
        self.steps = (0, 0)

    def follow_model_get_unit_summary(self, data):
        steps = (data["undoDepth"], data["redoDepth"])
        self.must(not self.steps or steps == self.steps, "looking is no step")
        self.must(data["hasEdits"] == any(steps), "steps are edits")
        self.must(len(data["pieces"]) == data["pieceCount"], "every piece is listed")
        self.steps = steps

    # ---- Files ----

    def follow_export_mod_pack(self, data):
        path = os.path.join(self.folder, data["path"])
        self.must(not self.is_alone or os.path.getsize(path) == data["byteSize"],
                  "a pack is as long as announced")

    follow_export_min_mod_pack = follow_export_mod_pack

    def follow_validate_mod_pack(self, data):
        has_error = any(finding["severity"] == "error" for finding in data["findings"])
        self.must(data["isValid"] != has_error, "a pack with an error is not valid")
        self.must(len(data["units"]) == data["unitCount"], "every unit is told")

    def follow_unit_clone(self, data):
        if data["outcome"] == "ok":
            self.must(all(file["to"] for file in data["files"]), "every copy lies somewhere")

    # ---- The map ----

    def follow_map_load(self, data):
        self.has_map, self.tick, self.unit_count = True, data["tick"], data["unitCount"]
        self.must(self.tick == 0, "a map begins at its beginning")

    def follow_map_exit(self, data):
        self.must(data["wasLoaded"] == self.has_map, "the map is known")
        self.has_map = False

    def follow_map_spawn(self, data):
        if "unitIds" not in data:
            return
        ids = data["unitIds"]
        self.must(len(set(ids)) == len(ids) > 0, "every unit has its id")
        count = clamped(self.payload().get("count", 1), 1, MOST_SPAWNED)
        if count is not None:
            self.must(len(ids) + data["refused"] == count, "every unit is placed or refused")
        if "order" in self.payload():  # it may end what was placed
            self.unit_count = None
        elif self.unit_count is not None:
            self.unit_count += len(ids)

    def follow_map_move(self, data):
        asked = self.payload().get("unitIds", [self.payload().get("unitId")])
        answered = data["accepted"] + [refused["unitId"] for refused in data["refused"]]
        self.must(sorted(answered) == sorted(set(asked)), "every unit answers once")
        self.unit_count = None

    def follow_map_tick(self, data):
        self.must(data["tick"] == self.tick + data["ticksDone"], "time goes on")
        ticks = clamped(self.payload().get("ticks", 1), 1, MOST_TICKS)
        if ticks is not None and data["stopped"] == "ticks":
            self.must(data["ticksDone"] == ticks, "all ticks pass")
        self.must(all(event["tick"] <= data["tick"] for event in data["events"]), "events have happened")
        self.tick, self.unit_count = data["tick"], data["unitCount"]

    def follow_map_snapshot(self, data):
        self.must(data["tick"] == self.tick, "looking takes no time")
        is_all = not {"unitIds", "player"} & set(self.payload())
        if is_all and self.unit_count is not None:
            self.must(len(data["units"]) == self.unit_count, "every unit is shown")
        for unit in data["units"]:
            self.must(unit["health"] <= unit["maxHealth"] and 0 <= unit["buildFraction"] <= 1,
                      "units are possible")
        self.unit_count = len(data["units"]) if is_all else self.unit_count
