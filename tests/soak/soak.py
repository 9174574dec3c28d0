#!/usr/bin/env python3
"""Drives the program for a long time like a front end that knows no mercy, and checks every answer.

It sends sensible and broken requests one by one and in bursts, reads frames slowly at times, and
changes and damages the game's files meanwhile. It asks for: one reply per line, in order, of the
right type; the announced frame after it; events only where they belong; no growth of memory or open
files after the warm-up; a clean end. All files that are written lie in a temporary folder.

usage: soak.py [--seconds N] [--requests N] [--seed N] [--large FOLDER] [--any-memory] PROGRAM MESSAGES SAMPLES

MESSAGES is what orb-list-messages prints. The same seed draws the same requests, as long as the program answers the same. FOLDER holds roots
written by orb-write-large-data-root. --any-memory is for builds whose allocator never gives back.
"""
import argparse
import json
import os
import random
import statistics
import sys
import tempfile
import threading
import time

from disk import Disk
from drawn_requests import Requests
from front_end import Fault, FrontEnd, read_commands
from session_model import SessionModel

# The allocator keeps what the largest request so far has needed, and the mix of requests differs
# from one window to the next; a leak of 200 bytes a request is 20 MB in 100,000.
TOLERATED_GROWTH_BYTES, TOLERATED_GROWTH = 16 << 20, 0.10
TOLERATED_DESCRIPTORS = 4
# In a shorter run a few large requests decide which window is the larger one.
FEWEST_REQUESTS = 5000


class Sampler:
    """Samples [(share of the run, resident bytes, open descriptors)]."""

    def __init__(self, pid, progress):
        self.pid, self.progress, self.samples = pid, progress, []
        threading.Thread(target=self.work, daemon=True).start()

    def work(self):
        page = os.sysconf("SC_PAGE_SIZE")
        try:
            while True:
                with open(f"/proc/{self.pid}/statm", encoding="ascii") as file:
                    resident = int(file.read().split()[1]) * page
                self.samples.append((self.progress(), resident, len(os.listdir(f"/proc/{self.pid}/fd"))))
                time.sleep(0.05)
        except OSError:
            pass  # the program has ended

    def window(self, first, last, column):
        values = [sample[column] for sample in self.samples if first <= sample[0] <= last]
        return values or [self.samples[-1][column]]

    def growth(self):
        """What has grown from the second fifth of the run to the last one."""
        before, after = (statistics.median(self.window(*each, 1)) for each in ((0.2, 0.4), (0.8, 1.0)))
        if after > before * (1 + TOLERATED_GROWTH) and after > before + TOLERATED_GROWTH_BYTES:
            return f"memory grew from {before / 2**20:.1f} to {after / 2**20:.1f} MiB"
        before, after = (max(self.window(*each, 2)) for each in ((0.0, 0.4), (0.8, 1.0)))
        if after > before + TOLERATED_DESCRIPTORS:
            return f"open descriptors grew from {before} to {after}"
        return None


def drive(front_end, requests, disk, rng, progress):
    """Plays until the progress is 1, and tells of each tenth."""
    told = 0
    model = SessionModel(disk.folder)
    while (reached := progress()) < 1:
        if int(reached * 10) > told:
            told = int(reached * 10)
            print(f"{told}0%: {front_end.answered} requests", flush=True)
        lines = requests.play()
        if rng.random() < 0.1:
            disk.disturb(rng)
        if rng.random() < 0.05:
            front_end.frame_delay_s = rng.choice([0, 0, 0.001, 0.005])
        is_measured = front_end.frame_delay_s == 0
        if rng.random() < 0.4:
            requests.learn(model.checked(front_end.send(lines, is_measured)))
        else:
            for line in lines:
                requests.learn(model.checked(front_end.send([line], is_measured)))


def warm_up(front_end, disk):
    """Mounts the large roots once, so that what they need counts from the start."""
    roots = {"taDataPath": disk.path("large/game"), "modPaths": disk.large_mods}
    for number, (name, data) in enumerate([("set-data-roots", roots), ("conflict-scan", {}),
                                           ("clear-data-roots", {})]):
        line = json.dumps({"type": name, "seq": number, "data": data}).encode()
        front_end.send([(line, number, front_end.commands[name])])


def shut_down(front_end):
    front_end.send([(b'{"type":"shutdown","seq":1}', 1, front_end.commands["shutdown"])])


def report(front_end, sampler, seconds):
    errors = sum(front_end.errors.values())
    print(f"{front_end.answered} requests in {seconds:.0f} s, {errors} answered with errors:")
    for text, count in front_end.errors.most_common(40):
        print(f"  {count:7} {text}")
    print(f"\n{'message':28}{'asked':>8}{'served':>8}{'mean ms':>10}{'worst ms':>10}")
    for name, (asked, served, total, worst) in sorted(front_end.latencies.items()):
        print(f"{name:28}{asked:8}{served:8}{total / asked * 1e3:10.2f}{worst * 1e3:10.1f}")
    unserved = [name for name in front_end.commands if not front_end.latencies.get(name, [0, 0])[1]]
    print(f"never served alone: {', '.join(unserved) or 'none'}")
    for took, line in sorted(front_end.slow, reverse=True)[:10]:
        print(f"slow: {took:.2f} s {line.decode(errors='replace')}")
    for share in (0.1, 0.5, 1.0):
        resident, descriptors = (sampler.window(share - 0.05, share, column) for column in (1, 2))
        print(f"at {share:4.0%}: {statistics.median(resident) / 2**20:7.1f} MiB resident, "
              f"at most {max(descriptors)} descriptors open")


def main():
    parser = argparse.ArgumentParser(usage=__doc__.split("usage: ")[1].split("\n")[0])
    parser.add_argument("--seconds", type=float, default=120)
    parser.add_argument("--requests", type=int)
    parser.add_argument("--seed", type=int, default=random.randrange(10**6))
    parser.add_argument("--large")
    parser.add_argument("--any-memory", action="store_true")
    parser.add_argument("program")
    parser.add_argument("messages")
    parser.add_argument("samples")
    options = parser.parse_args()
    print(f"seed {options.seed}", flush=True)
    rng = random.Random(options.seed)
    commands = read_commands(options.messages)
    with tempfile.TemporaryDirectory(prefix="orb-soak-") as folder:
        disk = Disk(folder, options.samples, options.large)
        front_end = FrontEnd([os.path.abspath(options.program)], folder, commands)
        began = time.monotonic()

        def progress():
            if options.requests:
                return front_end.answered / options.requests
            return (time.monotonic() - began) / options.seconds

        sampler = Sampler(front_end.process.pid, lambda: min(progress(), 1.0))
        try:
            if disk.large_mods:
                warm_up(front_end, disk)
            try:
                drive(front_end, Requests(rng, disk, commands), disk, rng, progress)
            except KeyboardInterrupt:
                print("interrupted: this is what there was")
            shut_down(front_end)
            seconds = time.monotonic() - began
            front_end.close()
            report(front_end, sampler, seconds)
            is_judged = not options.any_memory and front_end.answered >= FEWEST_REQUESTS
            if is_judged and (growth := sampler.growth()):
                raise Fault(growth)
        except Fault as fault:
            front_end.process.kill()
            print(f"FAULT after {front_end.answered} requests, seed {options.seed}: {fault}")
            print(b"".join(front_end.log_tail).decode(errors="replace"))
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
