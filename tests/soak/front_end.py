"""A front end of the program that trusts nothing: it checks every line and frame that comes back."""
import collections
import json
import os
import re
import subprocess
import sys
import threading
import time

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "tools"))
from editor_client import frames_of, spawn  # noqa: E402

EVENT = "piece-transforms"
LONGEST_WAIT_S = 60
FAULTY_LOG = re.compile(rb"Sanitizer|runtime error:|terminate called|\[CRITICAL\]")
MAGIC = {"unit-glb": b"glTF", "weapon-model-glb": b"glTF", "projectile-sprite": b"\x89PNG"}

Command = collections.namedtuple("Command", "type reply effect")
# What a line that was sent must be answered with; `command` is None where only an error will do.
# The answer to a line that the memory does not hold has no number.
Sent = collections.namedtuple("Sent", "line seq command at measured may_be_lost")
LOST_LINE = {"message": "out of memory"}


class Fault(Exception):
    """The program did not do what the protocol promises."""


def read_commands(path):
    """The messages by type, as orb-list-messages lists them."""
    with open(path, encoding="utf-8") as file:
        return {row["type"]: Command(row["type"], row["replyType"], row["effect"])
                for row in json.load(file)}


class FrontEnd:
    def __init__(self, command, folder, commands):
        self.commands = commands
        reader, writer = os.pipe()
        self.process = spawn(command, writer, stderr=subprocess.PIPE, cwd=folder)
        os.close(writer)
        self.frames_in = os.fdopen(reader, "rb")
        self.frame_delay_s = 0
        self.changed = threading.Condition()
        self.sent, self.frames, self.answers = collections.deque(), collections.deque(), []
        self.awaited_frames = collections.deque()
        self.fault, self.ended = None, False
        self.log_tail, self.log_faults = collections.deque(maxlen=30), []
        self.events_due, self.last_reply_at = (0, 0), 0.0
        self.asked, self.answered = 0, 0
        self.errors, self.latencies, self.slow = collections.Counter(), {}, []
        self.threads = [threading.Thread(target=self.guarded, args=[each], daemon=True)
                        for each in (self.read_lines, self.read_frames, self.read_log)]
        for thread in self.threads:
            thread.start()

    def guarded(self, work):
        try:
            work()
        except Exception as error:  # whatever it is, the main thread tells it
            with self.changed:
                self.fault = self.fault or error
                self.changed.notify_all()

    # ---- What comes back ----

    def read_lines(self):
        for line in self.process.stdout:
            at = time.monotonic()
            answer = json.loads(line)
            if line[:8] != b'{"data":' or set(answer) != {"data", "seq", "type"}:
                raise Fault(f"not a reply: {line[:300]}")
            with self.changed:
                if answer["type"] == EVENT:
                    self.take_event(answer)
                elif answer["type"] == "progress":
                    self.take_progress(answer)
                else:
                    self.take_reply(answer, at)
                self.changed.notify_all()
        with self.changed:
            self.ended = True
            self.changed.notify_all()

    def take_event(self, answer):
        fewest, most = self.events_due
        if most == 0 or answer["seq"] != 0:
            raise Fault(f"unexpected event: {str(answer)[:300]}")
        self.events_due = (0, 0)

    def take_progress(self, answer):
        if answer["seq"] != 0 or not self.sent or answer["data"]["forSeq"] != self.sent[0].seq:
            raise Fault(f"unexpected progress: {str(answer)[:300]}")

    def take_reply(self, answer, at):
        if self.events_due[0] > 0:
            raise Fault(f"an event is missing before {str(answer)[:300]}")
        if not self.sent:
            raise Fault(f"a reply that nobody asked for: {str(answer)[:300]}")
        sent = self.sent.popleft()
        is_error = answer["type"] == "error"
        wanted = sent.command.reply if sent.command else "error"
        if answer["data"] == LOST_LINE and answer["seq"] == 0 and sent.may_be_lost:
            return self.note(sent, answer, is_error, at)
        if answer["seq"] != sent.seq or (not is_error and answer["type"] != wanted):
            raise Fault(f"{sent.line[:300]} (seq {sent.seq}) was answered {str(answer)[:300]}")
        self.events_due = (0, 0)
        if not is_error and sent.command.effect == "transforms":
            self.events_due = (0 if sent.command.type == "load-unit" else 1, 1)
        if not is_error and sent.command.effect == "frame":
            self.awaited_frames.append((answer, sent))
            self.match_frames()
        self.note(sent, answer, is_error, at)

    def note(self, sent, answer, is_error, at):
        self.answered += 1
        name = sent.command.type if sent.command else "(broken)"
        if is_error:
            self.errors[f"{name}: {classify(answer['data']['message'])}"] += 1
        if sent.measured:
            took = at - max(sent.at, self.last_reply_at)
            served = self.latencies.setdefault(name, [0, 0, 0.0, 0.0])
            served[0] += 1
            served[1] += not is_error
            served[2] += took
            served[3] = max(served[3], took)
            if took > 0.5:
                self.slow.append((took, sent.line[:160]))
        self.last_reply_at = at
        self.answers.append((sent, answer))

    def read_frames(self):
        for frame in frames_of(self.frames_in):
            if self.frame_delay_s:
                time.sleep(self.frame_delay_s)
            with self.changed:
                self.frames.append((len(frame), frame[:4]))
                self.match_frames()
                self.changed.notify_all()

    def match_frames(self):
        while self.awaited_frames and self.frames:
            answer, sent = self.awaited_frames.popleft()
            size, start = self.frames.popleft()
            magic = MAGIC.get(answer["type"], start)
            if size != answer["data"]["byteSize"] or start != magic:
                raise Fault(f"{sent.line[:300]}: a frame of {size} bytes with {start}, "
                            f"announced {answer['data']['byteSize']}")

    def read_log(self):
        for line in self.process.stderr:
            self.log_tail.append(line)
            if FAULTY_LOG.search(line):
                self.log_faults.append(line)

    # ---- What goes out ----

    def send(self, lines, measured=True, may_be_lost=False):
        """Sends [(line, seq of the answer, command or None)] at once; returns [(Sent, answer)]."""
        with self.changed:
            self.answers = []
            at = time.monotonic()
            self.sent.extend(Sent(line, seq, command, at, measured, may_be_lost) for line, seq, command in lines)
            self.asked += len(lines)
        try:
            self.process.stdin.write(b"".join(line + b"\n" for line, _, _ in lines))
            self.process.stdin.flush()
        except BrokenPipeError:
            pass  # told below
        self.wait(lambda: len(self.answers) == len(lines) and not self.awaited_frames)
        return self.answers

    def wait(self, is_done):
        with self.changed:
            arrived = self.changed.wait_for(lambda: self.fault or self.ended or is_done(),
                                            timeout=LONGEST_WAIT_S)
            if self.fault:
                raise self.fault
            if self.ended and not is_done():
                unanswered = self.sent[0].line[:300] if self.sent else b"a frame"
                raise Fault(f"the program has ended with status {self.process.wait(10)}, "
                            f"waited for: {unanswered}")
            if not arrived:
                waiting = self.sent[0].line[:300] if self.sent else b"a frame"
                raise Fault(f"no answer within {LONGEST_WAIT_S} s: {waiting}")

    def close(self):
        """Ends the input; everything must be over then, in good order."""
        self.process.stdin.close()
        status = self.process.wait(LONGEST_WAIT_S)
        for thread in self.threads:
            thread.join(LONGEST_WAIT_S)
            if thread.is_alive():
                raise Fault("a channel stays open after the end")
        if self.fault:
            raise self.fault
        if status != 0 or self.log_faults:
            raise Fault(f"status {status}, in the log: {b''.join(self.log_faults[:20]).decode()}")
        if self.frames or self.sent or self.events_due[0]:
            raise Fault(f"left over: {len(self.frames)} frames, {len(self.sent)} requests, "
                        f"{self.events_due[0]} events")


def classify(message):
    """An error's text without what differs from case to case."""
    text = re.sub(r"(parse error|syntax error).*", r"\1", message)
    text = re.sub(r"(: |at |threw: \[json[^\]]*\]).*", r"\1…", text)
    return re.sub(r"\d+|'[^']*'", "#", text)[:70]
