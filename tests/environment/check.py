#!/usr/bin/env python3
"""Starts the real program as a careless parent, a small machine or several editors would.

usage: check.py [--any-memory] PROGRAM DATA

--any-memory leaves out the cases with little memory, in which a sanitized program cannot start.
"""
import argparse
import fcntl
import json
import os
import random
import resource
import shutil
import subprocess
import sys
import tempfile
import threading
import time

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "tools"))
from editor_client import request_line, spawn  # noqa: E402


def start(program, prepare, channel=None):
    """`prepare` runs in the child before the program."""
    return spawn([program], channel, stderr=subprocess.DEVNULL, preexec_fn=prepare)


def line(kind, seq, **data):
    return request_line(kind, seq, data) + b"\n"


def never_block(*descriptors):
    def prepare():
        for descriptor in descriptors:
            flags = fcntl.fcntl(descriptor, fcntl.F_GETFL)
            fcntl.fcntl(descriptor, fcntl.F_SETFL, flags | os.O_NONBLOCK)

    return prepare


def check_pipes_without_blocking(program, data):
    """Pauses of the parent neither end the input nor cut off a reply or frame."""
    requests, pings = 20, 4000
    reader, writer = os.pipe()
    process = start(program, never_block(0, 1, 2, 3), writer)
    os.close(writer)
    time.sleep(0.3)
    lines = [line("set-data-roots", 1, taDataPath=os.path.join(data, "game")),
             line("load-unit", 2, name="KILCART")]
    lines += [line("get-unit-glb", 3)] * requests + [line("ping", 4)] * pings
    threading.Thread(target=lambda: (process.stdin.write(b"".join(lines)), process.stdin.close()),
                     daemon=True).start()
    time.sleep(0.3)
    received = []

    def collect():
        with os.fdopen(reader, "rb") as stream:
            received.append(stream.read())

    collector = threading.Thread(target=collect)
    collector.start()
    time.sleep(0.3)
    replies = [json.loads(text) for text in process.stdout]
    collector.join()
    assert process.wait(20) == 0
    assert sum(reply["seq"] == 4 for reply in replies) == pings, len(replies)
    announced = [reply["data"]["byteSize"] for reply in replies if reply["type"] == "unit-glb"]
    assert len(announced) == requests
    assert sum(announced) + 4 * requests == len(received[0]), len(received[0])


def check_little_memory(program, _data):
    """A request too large for the memory gets an error reply, and the next one is served."""
    limit, size = 96 << 20, 32 << 20
    huge = [b'{"type":"ping","data":"' + b"x" * size * 6 + b'"}', b'{"type":"ping","data":"' +
            b"x" * size + b'"}', b'{"type":"' + b"x" * size + b'"}', b'{"type":"' + b"x" * size]
    for text in huge:
        process = start(program, lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit)))
        output, _ = process.communicate(text + b"\n" + line("ping", 7), timeout=60)
        assert process.returncode == 0, (text[:30], process.returncode)
        first, second = [json.loads(reply) for reply in output.splitlines()]
        assert first == {"data": {"message": "out of memory"}, "seq": 0, "type": "error"}, first
        assert second == {"data": {}, "seq": 7, "type": "pong"}, second


def check_several_editors(program, data):
    """Processes that edit the same files at once neither fail nor see half a file."""
    editors, edits = 3, 80
    with tempfile.TemporaryDirectory() as scratch:
        mod = os.path.join(scratch, "mod")
        shutil.copytree(os.path.join(data, "mod"), mod)
        with open(os.path.join(data, "mod", "marshmod.ufo"), "rb") as file:
            original = file.read()
        processes = [start(program, lambda: None) for _ in range(editors)]
        roots = line("set-data-roots", 1, taDataPath=os.path.join(data, "game"), modPaths=[mod])
        for number, process in enumerate(processes):
            process.stdin.write(roots + b"".join(
                line("fbi-patch", seq, name="FENRAFT", allowBackupCreation=True,
                     values={"MaxDamage": seq * editors + number}) for seq in range(2, edits)))
            process.stdin.close()
        for process in processes:
            replies = [json.loads(text) for text in process.stdout]
            assert process.wait(60) == 0 and len(replies) == edits - 1
            assert {reply["type"] for reply in replies[1:]} == {"fbi-patched"}, \
                [reply for reply in replies if reply["type"] == "error"][:1]
        with open(os.path.join(mod, "marshmod.ufo.orbbackup"), "rb") as file:
            assert file.read() == original
        assert sorted(os.listdir(mod)) == ["marshmod.ufo", "marshmod.ufo.orbbackup"]


def check_killed_saves(program, data, kills=12):
    """A process that is killed while it saves a unit leaves each file as it was or as it became."""
    with tempfile.TemporaryDirectory() as scratch:
        mod = os.path.join(scratch, "mod")
        setup = [("set-data-roots", {"taDataPath": os.path.join(data, "game")}),
                 ("create-mod-folder", {"path": mod}),
                 ("unit-clone", {"name": "FENWADE", "newName": "KILLED"})]
        saves = [{"values": {"MaxDamage": 100 + i}, "allowBackupCreation": True,
                  "script": {"bos": f"piece base;\nCreate()\n{{\n\tsleep {100 + i};\n}}\n"}}
                 for i in range(2)]
        files = [os.path.join(mod, name)
                 for name in ("units/KILLED.fbi", "scripts/KILLED.cob", "scripts/KILLED.bos")]

        def play(requests):
            process = start(program, lambda: None)
            process.stdin.write(b"".join(
                line(kind, seq, **payload) for seq, (kind, payload) in enumerate(requests, 1)))
            return process

        def read(file):
            with open(file, "rb") as stream:
                return stream.read()

        again = [("set-data-roots", {"taDataPath": os.path.join(data, "game"), "modPaths": [mod]}),
                 ("load-unit", {"name": "KILLED"})]
        play(setup).communicate(timeout=60)
        known = [set() for _ in files]
        for save in saves:
            play([*again, ("save-unit", save)]).communicate(timeout=60)
            for contents, file in zip(known, files):
                contents.add(read(file))
        assert all(len(contents) == 2 for contents in known)
        for number in range(kills):
            process = play([*again, *(("save-unit", saves[i % 2]) for i in range(400))])
            process.stdin.flush()
            for _ in again:
                process.stdout.readline()
            time.sleep(random.Random(number).uniform(0, 0.2))
            process.kill()
            process.communicate(timeout=60)
            for contents, file in zip(known, files):
                assert read(file) in contents, file
        # A later save of each file clears up behind a killed one; one that changes nothing writes nothing.
        play([*again, *(("save-unit", save) for save in saves)]).communicate(timeout=60)
        left = [name for _, _, names in os.walk(mod) for name in names if "orb-write" in name]
        assert not left, left


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--any-memory", action="store_true")
    parser.add_argument("program")
    parser.add_argument("data")
    options = parser.parse_args()
    checks = [check_pipes_without_blocking, check_several_editors, check_killed_saves]
    if not options.any_memory:
        checks.append(check_little_memory)
    for check in checks:
        check(options.program, options.data)
        print("ok  ", check.__doc__)


if __name__ == "__main__":
    main()
