#!/usr/bin/env python3
"""Lets units walk over the sample map and draws them once a second, for people to look at.

usage: walk_pictures.py BUILD [--count 200] [--seconds 90] [--unit KILCART] [--to X Z] [--from X Z]

The pictures go to the folder `walk` beside BUILD: the ground, where each unit has been (faint), and
the units: yellow on their way, blue when they have not got on for a second, green without an order.
What is told at the end, for each that still has one, is where it stands.
"""
import argparse
import os
import struct
import sys
import zlib

from editor_client import Editor

SCALE = 2
TICKS_PER_SECOND = 30
COLORS = {"walks": (255, 230, 60), "stands": (60, 90, 255), "there": (60, 230, 90)}
TRAIL = (235, 215, 150)


def rows_of(data, width):
    """The rows of bytes of an indexed picture, its filters undone."""
    before = bytearray(width)
    for at in range(0, len(data), width + 1):
        kind, row = data[at], bytearray(data[at + 1:at + 1 + width])
        for x in range(width):
            left = row[x - 1] if x else 0
            above, corner = before[x], before[x - 1] if x else 0
            if kind == 4:
                guess = left + above - corner
                row[x] = (row[x] + min((left, above, corner), key=lambda v: abs(guess - v))) & 255
            else:
                row[x] = (row[x] + (0, left, above, (left + above) // 2)[kind]) & 255
        yield row
        before = row


class Picture:
    """Three bytes a pixel."""

    def __init__(self, width, height, pixels):
        self.width, self.height, self.pixels = width, height, pixels

    @classmethod
    def read_indexed(cls, png):
        at, data, palette = 8, b"", b""
        while at < len(png):
            length, kind = struct.unpack_from(">I4s", png, at)
            chunk = png[at + 8:at + 8 + length]
            if kind == b"IHDR":
                width, height = struct.unpack_from(">II", chunk)
            elif kind == b"PLTE":
                palette = chunk
            elif kind == b"IDAT":
                data += chunk
            at += length + 12
        pixels = bytearray()
        for row in rows_of(zlib.decompress(data), width):
            for index in row:
                pixels += palette[3 * index:3 * index + 3]
        return cls(width, height, pixels)

    def copy(self):
        return Picture(self.width, self.height, bytearray(self.pixels))

    def square(self, x, y, side, color):
        left, top = int(x - side / 2), int(y - side / 2)
        for row in range(max(0, top), min(self.height, top + side)):
            first, last = max(0, left), min(self.width, left + side)
            if first < last:
                at = 3 * (row * self.width + first)
                self.pixels[at:at + 3 * (last - first)] = bytes(color) * (last - first)

    def write(self, path):
        rows = b"".join(b"\0" + self.pixels[3 * self.width * y:3 * self.width * (y + 1)]
                        for y in range(self.height))
        header = struct.pack(">IIBBBBB", self.width, self.height, 8, 2, 0, 0, 0)
        chunks = ((b"IHDR", header), (b"IDAT", zlib.compress(rows, 1)), (b"IEND", b""))
        with open(path, "wb") as file:
            file.write(b"\x89PNG\r\n\x1a\n")
            for kind, chunk in chunks:
                file.write(struct.pack(">I", len(chunk)) + kind + chunk +
                           struct.pack(">I", zlib.crc32(kind + chunk)))


def asked(editor, kind, **data):
    reply = editor.ask(kind, **data)
    if reply["type"] == "error":
        sys.exit(f"{kind}: {reply['data']['message']}")
    return reply["data"]


def state_of(unit, before):
    if "order" not in unit:
        return "there"
    stood = before and abs(unit["x"] - before["x"]) + abs(unit["z"] - before["z"]) < 4
    return "stands" if stood else "walks"


def main(options):
    build = os.path.abspath(options.build)
    data = os.path.join(build, "samples/data")
    folder = os.path.join(os.path.dirname(build), "walk")
    os.makedirs(folder, exist_ok=True)
    editor = Editor.of(os.path.join(build, "orb-unit-editor"), os.path.join(folder, "log.txt"))
    asked(editor, "set-data-roots", taDataPath=os.path.join(data, "game"),
          mapsPath=os.path.join(data, "maps"))
    asked(editor, "map-load", name="Fenmere", placeUnits=False)
    asked(editor, "map-terrain-texture", scale=SCALE)
    ground = Picture.read_indexed(editor.next_frame())
    spawned = asked(editor, "map-spawn", unit=options.unit, x=options.start[0], z=options.start[1],
                    count=options.count)
    ids = spawned["unitIds"]
    print(f"{len(ids)} units, {spawned['refused']} without room")
    asked(editor, "map-move", unitIds=ids, x=options.to[0], z=options.to[1])

    before = {}
    for second in range(options.seconds + 1):
        units = asked(editor, "map-snapshot")["units"]
        picture = ground.copy()
        states = {unit["unitId"]: state_of(unit, before.get(unit["unitId"])) for unit in units}
        for unit in units:
            x, y = unit["x"] / SCALE, unit["z"] / SCALE
            picture.square(x, y, 14, (20, 20, 20))
            picture.square(x, y, 12, COLORS[states[unit["unitId"]]])
            ground.square(x, y, 1, TRAIL)
        picture.write(os.path.join(folder, f"{second:03}.png"))
        count = {state: sum(1 for other in states.values() if other == state) for state in COLORS}
        print(f"{second:3} s: {count}", flush=True)
        before = {unit["unitId"]: unit for unit in units}
        if count["there"] == len(units):
            break
        for _ in range(3):
            asked(editor, "map-tick", ticks=TICKS_PER_SECOND // 3, events=False)
            for unit in asked(editor, "map-snapshot")["units"]:
                ground.square(unit["x"] / SCALE, unit["z"] / SCALE, 1, TRAIL)
    for unit in before.values():
        if "order" in unit:
            print(f"unit {unit['unitId']} has not come farther than {unit['x']:.0f}, "
                  f"{unit['z']:.0f}")
    editor.close()


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("build")
    parser.add_argument("--count", type=int, default=200)
    parser.add_argument("--seconds", type=int, default=90)
    parser.add_argument("--unit", default="KILCART")
    parser.add_argument("--from", dest="start", type=float, nargs=2, default=(400, 500))
    parser.add_argument("--to", type=float, nargs=2, default=(1600, 1750))
    main(parser.parse_args())
