#!/usr/bin/env python3
"""Plays session transcripts against the real program and compares what it answers.

A transcript (*.session, or the fenced `session` blocks of a Markdown page) is a list of lines:

    # a remark
    > {"type":"ping","seq":1}            a request, sent as it stands
    < {"data":{},"seq":1,"type":"pong"}  the next line of output must hold this
    ! {"type":"piece-transforms"}        the same for an event (a line with seq 0)
    + $DATA/mod $TMP/mod                 copies a folder before going on, over what is there
    = $TMP/mod/units/TOY.fbi [UNITINFO]  another program writes that text into a file
    - $TMP/mod/units/TOY.fbi             another program removes a file
    ~ 4                                  a binary frame of that many bytes must have arrived;
    ~ byteSize                           of as many as the last reply's "byteSize" says

Expected objects may leave members out; "..." stands for any value, and as the last element of an
array for any further elements; a text that ends in "..." gives only its beginning. A line that
starts with blanks continues the one above it. $DATA is the folder of the sample data roots, $TMP an
empty folder of the session's own. A line `@ no-fd3` at the top starts the program without a binary
channel.

usage: run.py [--record TRAFFIC] [--wine COMMAND LAUNCHER] PROGRAM DATA FILE...

--record writes what went over the wire, one JSON object a line: {"file", "line" of the transcript,
"request", "reply"} and {"file", "line", "event"}.

With --wine the program is one for Windows, started through the command and windows_launcher.cpp;
the paths that it is sent and must answer are those of the drive on which it sees ours.
"""
import argparse
import json
import os
import shlex
import shutil
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "tools"))
from editor_client import Editor, EditorError, spawn  # noqa: E402

EVENTS = ["piece-transforms", "progress"]

class Mismatch(Exception):
    pass


class Native:
    """Starts the program as it is."""

    def __init__(self, program):
        self.program = program

    def start(self, log, channel):
        """`channel` is the writing end for binary frames or None."""
        with open(log, "wb") as errors:
            return spawn([self.program], channel, stderr=errors)

    def seen(self, path):
        """How the program names a file of ours."""
        return path


class Wine:
    """Starts a program for Windows."""

    def __init__(self, command, launcher, program):
        self.command, self.launcher, self.program = shlex.split(command), launcher, program

    def start(self, log, channel):
        if channel is None:
            with open(log, "wb") as errors:
                return spawn([*self.command, self.program], stderr=errors)
        return spawn([*self.command, self.launcher, self.seen(log), self.seen(self.program)],
                     stderr=channel)

    def seen(self, path):
        return "Z:" + path


def difference(expected, actual, path="line"):
    """What keeps `actual` from holding `expected`, or None."""
    if expected == "...":
        return None
    if isinstance(expected, dict) and isinstance(actual, dict):
        for key, value in expected.items():
            if key not in actual:
                return f"{path}.{key} is absent"
            if found := difference(value, actual[key], f"{path}.{key}"):
                return found
        return None
    if isinstance(expected, list) and isinstance(actual, list):
        is_open = expected[-1:] == ["..."]
        wanted = expected[:-1] if is_open else expected
        if len(actual) < len(wanted) or (len(actual) > len(wanted) and not is_open):
            return f"{path} has {len(actual)} elements, expected {len(wanted)}: {actual}"
        for index, (left, right) in enumerate(zip(wanted, actual)):
            if found := difference(left, right, f"{path}[{index}]"):
                return found
        return None
    if isinstance(expected, str) and isinstance(actual, str) and expected.endswith("..."):
        return None if actual.startswith(expected[:-3]) else f"{path} is {actual!r}"
    if isinstance(expected, float) and isinstance(actual, (int, float)):
        return None if abs(expected - actual) < 1e-4 else f"{path} is {actual}, expected {expected}"
    if type(expected) is type(actual) and expected == actual:
        return None
    return f"{path} is {json.dumps(actual)}, expected {json.dumps(expected)}"


def read_steps(path):
    """The steps of each transcript in a file: lists of (line number, sign, text)."""
    with open(path, encoding="utf-8") as file:
        lines = file.read().split("\n")
    is_page = path.endswith(".md")
    inside = not is_page
    steps = []
    for number, line in enumerate(lines, 1):
        if is_page and line.startswith("```"):
            inside = line.strip() == "```session"
        elif inside and line[:1] in ("#", "") and (not line or line[0] == "#"):
            continue
        elif inside and line[:1] == " " and steps:
            steps[-1] = (*steps[-1][:2], steps[-1][2] + line.strip())
        elif inside:
            steps.append((number, line[0], line[1:].strip()))
    return steps


class Recorder:
    """Writes requests beside their replies, which come in the same order, and events."""

    def __init__(self, file):
        self.file = file
        self.asked = []

    def write(self, path, number, **members):
        record = {"file": os.path.basename(path), "line": number, **members}
        self.file.write(json.dumps(record) + "\n")

    def sent(self, path, number, text):
        self.asked.append((path, number, text))

    def received(self, path, number, answer):
        if answer["type"] in EVENTS:
            return self.write(path, number, event=answer)
        asked_in, asked_at, text = self.asked.pop(0)
        try:
            request = json.loads(text)
        except ValueError:
            return None
        return self.write(asked_in, asked_at, request=request, reply=answer)


def play(platform, data, path, recorder=None, editor_type=Editor):
    """Plays one file; raises Mismatch with the place of the first difference."""
    steps = read_steps(path)
    binary = True
    if steps and steps[0][1] == "@":
        binary = steps.pop(0)[2] != "no-fd3"
    with tempfile.TemporaryDirectory() as scratch:
        log = os.path.join(scratch, "log")
        editor = editor_type(lambda channel: platform.start(log, channel if binary else None), log)
        work = os.path.join(scratch, "work")
        os.mkdir(work)

        def fill(text, place=platform.seen):
            return text.replace("$DATA", place(data)).replace("$TMP", place(work))

        reply = None
        for number, sign, text in steps:
            try:
                if sign == ">":
                    editor.send_line(fill(text).encode())
                    if recorder:
                        recorder.sent(path, number, fill(text))
                elif sign in "<!":
                    line = editor.next_line()
                    actual = json.loads(line)
                    expected = json.loads(fill(text))
                    # A slow machine tells of progress where others are done before.
                    while actual["type"] == "progress" and expected.get("type") != "progress":
                        line = editor.next_line()
                        actual = json.loads(line)
                    if recorder:
                        recorder.received(path, number, actual)
                    if found := difference(expected, actual):
                        raise Mismatch(f"{found}\n  answer: {line.decode()[:2000]}")
                    if (sign == "!") != (actual["type"] in EVENTS):
                        raise Mismatch(f"not {'an event' if sign == '!' else 'a reply'}: {line}")
                    if sign == "<":
                        reply = actual
                elif sign == "+":
                    shutil.copytree(*fill(text, str).split(), dirs_exist_ok=True)
                elif sign == "=":
                    name, content = fill(text, str).split(" ", 1)
                    os.makedirs(os.path.dirname(name), exist_ok=True)
                    with open(name, "w", encoding="utf-8") as file:
                        file.write(content)
                elif sign == "-":
                    os.remove(fill(text, str))
                elif sign == "~":
                    size = len(editor.next_frame())
                    wanted = reply["data"]["byteSize"] if text == "byteSize" else int(text)
                    if size != wanted:
                        raise Mismatch(f"a frame of {size} bytes, expected {wanted}")
                else:
                    raise Mismatch(f"unknown sign {sign!r}")
            except (Mismatch, ValueError, EditorError) as error:
                editor.kill()
                raise Mismatch(f"{path}:{number}: {error}") from None
        try:
            rest = b"".join(editor.close())
        except EditorError as error:
            raise Mismatch(f"{path}: {error}") from None
        if rest:
            raise Mismatch(f"{path}: unexpected output at the end: {rest.decode()[:2000]}")
    return sum(sign in "<!~" for _, sign, _ in steps)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--record", type=argparse.FileType("w", encoding="utf-8"))
    parser.add_argument("--wine", nargs=2, metavar=("COMMAND", "LAUNCHER"))
    parser.add_argument("program")
    parser.add_argument("data")
    parser.add_argument("files", nargs="+")
    options = parser.parse_args()
    data = os.path.abspath(options.data)
    platform = Wine(*options.wine, options.program) if options.wine else Native(options.program)
    failures = 0
    for path in options.files:
        try:
            recorder = Recorder(options.record) if options.record else None
            print(f"ok   {os.path.basename(path)}: {play(platform, data, path, recorder)} answers")
        except Mismatch as error:
            failures += 1
            print(f"FAIL {error}")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
