"""Starts the program as a front end does and talks to it.

    editor = Editor.of("build/release/orb-unit-editor")
    editor.ask("set-data-roots", taDataPath="build/release/samples/data/game")
    reply = editor.ask("load-unit", name="FENWADE")   # {"data": …, "seq": 2, "type": "unit-loaded"}
    editor.ask("get-unit-glb")
    glb = editor.next_frame()
    editor.close()

Lines and frames are taken as they arrive, so that the program never waits for us. Whoever waits for
one in vain gets an EditorError: the program has ended, or said nothing for `patience_s` seconds.
"""
import json
import os
import queue
import subprocess
import threading

CHANNEL = 3
LOG_TAIL_BYTES = 4000

_spawning = threading.Lock()
# The number is held from the start, so that no file of ours gets it and is lost when a child is
# given the channel.
try:
    os.fstat(CHANNEL)
except OSError:
    os.dup2(os.open(os.devnull, os.O_RDONLY), CHANNEL)


class EditorError(Exception):
    """The program has ended or does not answer."""


def spawn(command, channel=None, **options):
    """Starts a command with the file `channel` as its descriptor 3, or without one.

    Its standard input and output are pipes; `options` are those of subprocess.Popen.
    """
    pipes = {"stdin": subprocess.PIPE, "stdout": subprocess.PIPE}
    if channel is None:
        return subprocess.Popen(command, **pipes, **options)
    with _spawning:
        held = os.dup(CHANNEL)
        os.dup2(channel, CHANNEL)
        try:
            return subprocess.Popen(command, pass_fds=[CHANNEL], **pipes, **options)
        finally:
            os.dup2(held, CHANNEL)
            os.close(held)


def request_line(kind, seq, data=None):
    """A request as it goes over the wire, without the end of the line."""
    return json.dumps({"type": kind, "seq": seq, "data": data or {}}).encode()


def frames_of(stream):
    """The frames that arrive on the binary channel, until it is closed."""
    while length := stream.read(4):
        size = int.from_bytes(length, "little")
        frame = stream.read(size)
        if len(length) != 4 or len(frame) != size:
            raise EditorError(f"a frame of {size} bytes is cut off after {len(frame)}")
        yield frame


class Editor:
    """The program as a child."""

    def __init__(self, launch, log=None, patience_s=60):
        """`launch` starts the process with the writing end of the channel; `log` is where it logs."""
        reader, writer = os.pipe()
        self.process = launch(writer)
        os.close(writer)
        self.log, self.patience_s = log, patience_s
        self.seq, self.events = 0, []
        self._lines, self._frames = queue.Queue(), queue.Queue()
        for arriving, source in ((self._lines, self.process.stdout),
                                 (self._frames, frames_of(os.fdopen(reader, "rb")))):
            threading.Thread(target=_collect, args=[source, arriving], daemon=True).start()

    @classmethod
    def of(cls, program, log=os.devnull, **options):
        """Starts the program as it is, logging to a file."""
        with open(log, "wb") as errors:
            return cls(lambda channel: spawn([program], channel, stderr=errors), log, **options)

    def ask(self, kind, /, **data):
        """Sends a request and returns its reply; events that come before it go to `events`."""
        self.seq += 1
        self.send_line(request_line(kind, self.seq, data))
        while True:
            answer = json.loads(self.next_line())
            if answer["seq"] == self.seq:
                return answer
            self.events.append(answer)

    def send_line(self, line):
        try:
            self.process.stdin.write(line + b"\n")
            self.process.stdin.flush()
        except BrokenPipeError:
            raise self._ended() from None

    def next_line(self):
        """The next line that the program writes, a reply or an event."""
        return self._next(self._lines, "line")

    def next_frame(self):
        return self._next(self._frames, "frame")

    def close(self):
        """Ends the input, waits for the program and returns the lines that nobody has taken."""
        self.process.stdin.close()
        rest = []
        try:
            while True:
                line = self._lines.get(timeout=self.patience_s)
                if not isinstance(line, bytes):
                    break
                rest.append(line)
            status = self.process.wait(self.patience_s)
        except (queue.Empty, subprocess.TimeoutExpired):
            self.process.kill()
            raise EditorError(f"the program does not end within {self.patience_s} s") from None
        if status != 0:
            raise self._ended()
        return rest

    def kill(self):
        self.process.kill()
        self.process.wait()

    def _next(self, arriving, what):
        try:
            arrived = arriving.get(timeout=self.patience_s)
        except queue.Empty:
            raise EditorError(f"no {what} within {self.patience_s} s") from None
        if isinstance(arrived, bytes):
            return arrived
        arriving.put(arrived)  # for whoever asks again
        raise arrived or self._ended()

    def _ended(self):
        try:
            status = f"ended with status {self.process.wait(10)}"
        except subprocess.TimeoutExpired:
            status = "closed its channel"
        return EditorError(f"the program has {status}{self._log_tail()}")

    def _log_tail(self):
        if not self.log or not os.path.isfile(self.log):
            return ""
        with open(self.log, "rb") as file:
            tail = file.read()[-LOG_TAIL_BYTES:].decode(errors="replace").strip()
        return tail and f"; its log ends with\n{tail}"


def _collect(source, arriving):
    """Moves what arrives into a queue; after the last one comes the error that ended it, or None."""
    error = None
    try:
        for each in source:
            arriving.put(each)
    except EditorError as caught:
        error = caught
    arriving.put(error)
