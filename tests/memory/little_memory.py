#!/usr/bin/env python3
"""Gives the real program less and less memory and sends it every message.

Whatever the memory holds, each request must get one reply, its own or an error, with its frame and
events; the program lives on, and leaves nothing half written on the disk. Two checks:

starts    The program is started under one limit of its address space after the other. It gets the
          requests of the documentation, each also with ballast in its payload, and some that make
          large replies.
squeezes  For each request of the transcripts the limit of the running program is first set so low
          that it may fail, then a little higher, until it is served. Then it must be answered as if
          nothing had been: what fails leaves everything as it was.

usage: little_memory.py [--limits MIB,...] [--large FOLDER] PROGRAM MESSAGES SAMPLES TRANSCRIPT...

The requests are those of the first transcript, which must hold every message. FOLDER holds roots
written by orb-write-large-data-root.
"""
import argparse
import collections
import glob
import itertools
import json
import os
import resource
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [os.path.join(os.path.dirname(HERE), name) for name in ("soak", "sessions")]
import run  # noqa: E402
from front_end import Fault, FrontEnd, read_commands  # noqa: E402

MIB = 1 << 20
OUT_OF_MEMORY = "out of memory"


# ---- Requests ----

def documented(transcript, data, work):
    """The requests of a transcript, (type, data), and the copies that it makes, ("+", paths)."""
    for _, sign, text in run.read_steps(transcript):
        text = text.replace("$DATA", data).replace("$TMP", work)
        if sign == "+":
            yield sign, text.split()
        elif sign == ">":
            request = json.loads(text)
            yield request["type"], request.get("data", {})


def ballast(limit):
    """Values of all shapes that take their share of the memory."""
    for share in (50, 9, 2):
        yield "x" * (limit // share)
        yield [1] * (limit // share // 16)
        yield [{"a": [1, 2, 3]}] * (limit // share // 250)


def battle(data):
    """As large as a map gets, with more threads than there is room for."""
    roots = {"taDataPath": os.path.join(data, "game"), "mapsPath": os.path.join(data, "maps")}
    spawn = {"unit": "KILCART", "x": 300, "z": 420, "count": 1000, "order": {"x": 1000, "z": 900}}
    return [("set-data-roots", roots), ("map-load", {"name": "fenmere", "threads": 64}),
            *[("map-spawn", spawn)] * 3, ("map-tick", {"ticks": 60}), ("map-features", {}),
            ("map-snapshot", {"pieces": True, "features": True}),
            ("map-terrain-texture", {"scale": 32}), ("map-terrain-texture", {"scale": 4}),
            ("map-heightmap", {}), ("map-minimap", {}), ("map-exit", {}), ("clear-data-roots", {})]


def large_game(folder, work):
    """All of the replies are large, or what is read for them."""
    game = glob.glob(os.path.join(folder, "*", "game"))[0]
    mods = sorted(glob.glob(os.path.join(os.path.dirname(game), "mod*")))
    names = [f"UNIT{number:04}" for number in range(3000)]
    archive, pack = os.path.join(game, "data00.hpi"), os.path.join(work, "large.ufo")
    return [("set-data-roots", {"taDataPath": game, "modPaths": mods, "progress": True}),
            ("list-units", {"report": True}), ("list-vfs-dir", {"path": "units"}),
            ("compare-units", {"names": names}), ("conflict-scan", {"progress": True}),
            ("list-archive-contents", {"path": archive}), ("archive-browse-open", {"path": archive}),
            ("archive-browse-extract-all", {"path": archive, "progress": True, "overwrite": True,
                                            "destination": os.path.join(work, "extracted")}),
            ("unit-deps", {"units": names[:600], "recursive": True}),
            ("load-unit", {"name": "UNIT0001"}), ("get-unit-glb", {}), ("unit-health", {}),
            ("export-mod-pack", {"destination": pack, "overwrite": True, "progress": True}),
            ("export-min-mod-pack", {"units": names[:40], "destination": pack, "overwrite": True}),
            ("validate-mod-pack", {"path": pack}), ("clear-data-roots", {})]


# ---- The program under one limit from its start ----

class Limited:
    def __init__(self, program, commands, limit, folder):
        self.commands, self.seq, self.outcomes = commands, 0, collections.Counter()
        command = ["sh", "-c", f'ulimit -v {limit >> 10}; exec "$0"', program]
        self.front_end = FrontEnd(command, folder, commands)

    def ask(self, kind, data):
        """Sends a request, which must be answered in one way or the other, and a ping."""
        answer = self.answer_to(kind, data)
        message = answer["data"]["message"] if answer["type"] == "error" else None
        if self.answer_to("ping", {})["type"] != "pong":
            raise Fault(f"no pong behind {kind}")
        self.outcomes["served" if message is None else
                      OUT_OF_MEMORY if message.endswith(OUT_OF_MEMORY) else "other error"] += 1

    def answer_to(self, kind, data):
        self.seq += 1
        line = json.dumps({"type": kind, "seq": self.seq, "data": data}).encode()
        command = self.commands.get(kind)
        (_, answer), = self.front_end.send([(line, self.seq, command)], may_be_lost=True)
        return answer


def half_written(folder):
    return [os.path.join(place, name) for place, _, names in os.walk(folder)
            for name in names if "orb-write" in name]


def check_packs(program, commands, data, work):
    """Each pack that there is must be whole."""
    editor = Limited(program, commands, 1 << 40, work)
    editor.answer_to("set-data-roots", {"taDataPath": os.path.join(data, "game")})
    for pack in glob.glob(os.path.join(work, "*.ufo")):
        answer = editor.answer_to("validate-mod-pack", {"path": pack})
        damage = [each for each in answer["data"].get("findings", []) if each["code"] == "damaged-file"]
        if answer["type"] == "error" or damage:
            raise Fault(f"half a pack: {pack}: {str(answer)[:300]}")
    editor.front_end.close()


def check_start(program, commands, limit, data, transcript, large):
    """What became of the requests: {outcome: number}."""
    with tempfile.TemporaryDirectory(prefix="orb-memory-") as work:
        editor = Limited(program, commands, limit, work)
        try:
            weights = itertools.cycle(ballast(limit))
            shutdown = None
            for kind, request in documented(transcript, data, work):
                if kind == "+":
                    shutil.copytree(*request, dirs_exist_ok=True)
                elif kind == "shutdown":
                    shutdown = request
                else:
                    editor.ask(kind, {**request, "ballast": next(weights)})
                    editor.ask(kind, request)
            for kind, request in battle(data) + (large_game(large, work) if large else []):
                editor.ask(kind, request)
            if left := half_written(work):
                raise Fault(f"left behind: {left}")
            editor.answer_to("shutdown", shutdown)
            editor.front_end.close()
            check_packs(program, commands, data, work)
        except Fault as fault:
            editor.front_end.process.kill()
            log = b"".join(editor.front_end.log_tail).decode(errors="replace")
            raise Fault(f"under {limit / MIB:.0f} MiB: {fault}\n{log[-2000:]}") from None
        return editor.outcomes


def lowest_start(program):
    """The least MiB under which the program answers at all."""
    for mib in itertools.count(4):
        process = run.spawn(["sh", "-c", f'ulimit -v {mib << 10}; exec "$0"', program],
                            stderr=subprocess.DEVNULL)
        output, _ = process.communicate(b'{"type":"ping"}\n')
        if b"pong" in output:
            return mib


# ---- The running program with a limit that moves ----

class Squeezed(run.Editor):
    """Has each request fail first, as often as it does, for want of memory."""

    # What has begun to move cannot be put back.
    UNSAFE = {"cob-start", "cob-tick", "cob-continue", "cob-step-instruction", "cob-step-line",
              "map-spawn", "map-move", "map-tick",
              "map-list"}  # takes files that there is no memory for as unreadable
    failures = collections.Counter()

    def __init__(self, *arguments):
        super().__init__(*arguments)
        self.waiting = collections.deque()
        self.settle()

    def limit(self, size):
        resource.prlimit(self.process.pid, resource.RLIMIT_AS, (size, resource.RLIM_INFINITY))

    def size(self):
        with open(f"/proc/{self.process.pid}/statm", encoding="ascii") as file:
            return int(file.read().split()[0]) * resource.getpagesize()

    def settle(self):
        """Waits until the program has started, or has set memory aside again."""
        for _ in range(2):
            super().send_line(b'{"type":"ping"}')
            super().next_line()

    def send_line(self, line):
        try:
            kind = json.loads(line)["type"]
        except (ValueError, KeyError, TypeError):
            kind = None
        if kind is None or kind in self.UNSAFE:
            return super().send_line(line)
        room = 0
        while True:
            self.limit(self.size() + room)
            super().send_line(line)
            answers = [super().next_line()]
            while json.loads(answers[-1])["type"] == "progress":
                answers.append(super().next_line())
            self.limit(resource.RLIM_INFINITY)
            reply = json.loads(answers[-1])
            if not str(reply["data"].get("message", "")).endswith(OUT_OF_MEMORY):
                return self.waiting.extend(answers)
            self.failures[kind] += 1
            self.settle()
            room += 64 << 10

    def next_line(self):
        return self.waiting.popleft() if self.waiting else super().next_line()


def main():
    parser = argparse.ArgumentParser(usage=__doc__.split("usage: ")[1].split("\n")[0])
    parser.add_argument("--limits", default="")
    parser.add_argument("--large")
    parser.add_argument("program")
    parser.add_argument("messages")
    parser.add_argument("samples")
    parser.add_argument("transcripts", nargs="+")
    options = parser.parse_args()
    program, data = os.path.abspath(options.program), os.path.abspath(options.samples)
    commands = read_commands(options.messages)
    asked = {kind for kind, _ in documented(options.transcripts[0], data, "")}
    assert asked >= set(commands), f"never asked: {set(commands) - asked}"

    lowest = lowest_start(program)
    print(f"the program starts under {lowest} MiB")
    limits = [int(text) for text in options.limits.split(",") if text]
    faults = 0
    for mib in limits or [*range(lowest, lowest + 20, 2), *range(32, 193, 8), *range(224, 513, 32)]:
        try:
            outcomes = check_start(program, commands, mib * MIB, data, options.transcripts[0],
                                   options.large)
            print(f"{mib:5} MiB: " + ", ".join(f"{number} {name}" for name, number in
                                               sorted(outcomes.items(), reverse=True)), flush=True)
        except Fault as fault:
            faults += 1
            print(f"FAULT {fault}", flush=True)
    for transcript in options.transcripts:
        try:
            run.play(run.Native(program), data, transcript, editor_type=Squeezed)
        except run.Mismatch as mismatch:
            faults += 1
            print(f"FAULT squeezed: {mismatch}", flush=True)
    print(f"squeezed: {sum(Squeezed.failures.values())} requests failed first, of "
          f"{len(Squeezed.failures)} messages")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
