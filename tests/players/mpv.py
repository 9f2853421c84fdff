"""mpv without a screen, driven through its socket."""

import json
import os
import re
import socket
import subprocess
import time


class Mpv:
    """A paused mpv that has loaded a file; a context manager."""

    def __init__(self, folder, *arguments, env=None):
        names = ("socket", "log", "picture.png")
        self.socket_path, self.log_path, self.picture_path = (folder / name for name in names)
        self.arguments = ["mpv", "--vo=null", "--ao=null", "--pause", "--keep-open", "--no-terminal",
                          f"--input-ipc-server={self.socket_path}", f"--log-file={self.log_path}",
                          "--msg-level=cplayer=trace", *map(str, arguments)]
        self.env = {**os.environ, **(env or {})}
        self.buffered, self.events = b"", []

    def __enter__(self):
        self.process = subprocess.Popen(self.arguments, env=self.env, stdin=subprocess.DEVNULL)
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(20)
        deadline = time.monotonic() + 20
        while True:
            try:
                self.socket.connect(str(self.socket_path))
                break
            except OSError:
                if time.monotonic() > deadline or self.process.poll() is not None:
                    raise
                time.sleep(0.02)
        self.wait(lambda: self.get("time-pos") is not None, "the file to be loaded")
        return self

    def __exit__(self, *_):
        try:
            if self.process.poll() is None:
                self.command("quit")
        finally:
            self.socket.close()
            try:
                self.process.wait(10)
            except subprocess.TimeoutExpired:
                self.process.kill()
                raise
            self.socket_path.unlink(missing_ok=True)

    def read(self):
        """The next answer or event."""
        while b"\n" not in self.buffered:
            received = self.socket.recv(1 << 16)
            if not received:
                raise EOFError("mpv closed its socket")
            self.buffered += received
        line, self.buffered = self.buffered.split(b"\n", 1)
        return json.loads(line)

    def command(self, *words):
        """The data of mpv's answer, None if it refuses."""
        self.socket.sendall(json.dumps({"command": words, "request_id": 1}).encode() + b"\n")
        while "request_id" not in (message := self.read()):
            self.events.append(message["event"])
        return message.get("data") if message["error"] == "success" else None

    def get(self, name):
        return self.command("get_property", name)

    def wait(self, condition, what):
        deadline = time.monotonic() + 20
        while not condition():
            if time.monotonic() > deadline:
                log = self.log_path.read_text(errors="replace")
                raise TimeoutError(f"waited in vain for {what}; the log ends with\n{log[-2000:]}")
            time.sleep(0.02)

    def subtitles(self):
        """The tracks: number, file, whether it is shown."""
        return [(track["id"], track["external-filename"], track["selected"])
                for track in self.get("track-list") if track["type"] == "sub"]

    def picture(self, second):
        """The bytes of a PNG file with the subtitles at this time."""
        self.events.clear()
        self.command("seek", second, "absolute+exact")
        for event in ("seek", "playback-restart"):
            while event not in self.events:
                self.events.append(self.read().get("event"))
            del self.events[:self.events.index(event) + 1]
        self.command("screenshot-to-file", str(self.picture_path), "subtitles")
        return self.picture_path.read_bytes()

    def said(self):
        """What was shown on the screen so far: lines, and for how many milliseconds."""
        shown = re.findall(r'Run command: show-text, flags=64, args=\[text="(.*?)", duration="(\d+)"',
                           self.log_path.read_text(errors="replace"))
        return [(line, int(duration)) for line, duration in shown]
