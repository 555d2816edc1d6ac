# SPDX-License-Identifier: GPL-3.0-or-later
"""Two players with the same commands: ours, controlled by lines of text, and mpv, controlled through its
JSON IPC. A command returns the milliseconds until the picture is there, by the clock of this program."""
import json
import os
import pathlib
import socket
import subprocess
import threading
import time

TIMEOUT = 60


def peak_memory(pid):
    for line in pathlib.Path(f"/proc/{pid}/status").read_text().splitlines():
        if line.startswith("VmHWM:"):
            return int(line.split()[1]) * 1024
    return 0


def cpu_seconds(pid):
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class Player:
    process = None

    def peak_memory(self):
        return peak_memory(self.process.pid)

    def cpu_seconds(self):
        return cpu_seconds(self.process.pid)


class Ours(Player):
    name = "ours"

    def __init__(self, program):
        self.process = subprocess.Popen([program], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL, text=True, bufsize=1)

    def ask(self, line):
        begin = time.monotonic()
        self.process.stdin.write(line + "\n")
        answer = self.process.stdout.readline()
        if not answer:
            raise RuntimeError(f"the player ended at: {line[:80]}")
        return (time.monotonic() - begin) * 1000, json.loads(answer)

    def waited(self, line):
        milliseconds, answer = self.ask(line)
        return milliseconds if answer["ms"] is not None else None

    def open(self, path):
        self.ask("close")
        return self.waited(f"open {path}")

    def seek(self, target):
        return self.waited(f"seek {target}")

    def step_back(self):
        return self.waited("back")

    def drag(self, interval, targets):
        words = " ".join(f"{target:.4f}" for target in targets)
        _, answer = self.ask(f"drag {interval * 1000:.0f} {words}")
        return answer["shown"] / answer["seconds"]

    def close(self):
        self.process.stdin.close()
        self.process.wait()


class Mpv(Player):
    """mpv with exact seeks, without output, settings and hardware decoding."""

    def __init__(self, folder, threads, options=(), name="mpv"):
        """With 0 threads mpv decodes with as many as it chooses by itself."""
        self.name = name
        path = str(pathlib.Path(folder) / f"{name}-{os.getpid()}.sock")
        self.process = subprocess.Popen(
            ["mpv", "--no-config", "--idle=yes", "--really-quiet", "--vo=null", "--ao=null",
             "--hr-seek=yes", "--hwdec=no", f"--vd-lavc-threads={threads}", "--pause",
             "--keep-open=yes", f"--input-ipc-server={path}", *options],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.socket = socket.socket(socket.AF_UNIX)
        self.changed = threading.Condition()
        self.events = []
        self.answers = []
        self.connect(path)
        threading.Thread(target=self.listen, daemon=True).start()

    def connect(self, path):
        deadline = time.monotonic() + 20
        while True:
            try:
                return self.socket.connect(path)
            except OSError:
                if time.monotonic() > deadline or self.process.poll() is not None:
                    raise
                time.sleep(0.02)

    def listen(self):
        for line in self.socket.makefile():
            message = json.loads(line)
            with self.changed:
                if "event" in message:
                    self.events.append(message["event"])
                elif message.get("request_id"):
                    self.answers.append(message)
                self.changed.notify_all()

    def send(self, *command):
        self.socket.sendall((json.dumps({"command": list(command)}) + "\n").encode())

    def count(self, event):
        with self.changed:
            return self.events.count(event)

    def waited(self, *command, until="playback-restart"):
        with self.changed:
            self.events.clear()
        begin = time.monotonic()
        self.send(*command)
        with self.changed:
            if not self.changed.wait_for(lambda: until in self.events, TIMEOUT):
                return None
        return (time.monotonic() - begin) * 1000

    def open(self, path):
        if self.count("file-loaded"):
            self.waited("stop", until="idle")
        milliseconds = self.waited("loadfile", str(path), "replace")
        with self.changed:
            self.events.append("file-loaded")
        return milliseconds

    def seek(self, target):
        return self.waited("seek", target, "absolute+exact")

    def ask(self, *command):
        with self.changed:
            self.answers.clear()
        request = {"command": list(command), "request_id": 1}
        self.socket.sendall((json.dumps(request) + "\n").encode())
        with self.changed:
            self.changed.wait_for(lambda: self.answers, TIMEOUT)
            return self.answers[0]

    def position(self):
        """The time of the picture that is shown, in seconds."""
        return self.ask("get_property", "time-pos").get("data")

    def add_subtitles(self, path):
        """Returns the milliseconds until mpv has read the file."""
        begin = time.monotonic()
        answer = self.ask("sub-add", str(path))
        if answer["error"] != "success":
            raise RuntimeError(f"mpv cannot read {path}: {answer['error']}")
        return (time.monotonic() - begin) * 1000

    def step_back(self):
        return self.waited("frame-back-step")

    def drag(self, interval, targets):
        with self.changed:
            self.events.clear()
        begin = time.monotonic()
        for number, target in enumerate(targets, 1):
            self.send("seek", target, "absolute+exact")
            time.sleep(max(0.0, begin + number * interval - time.monotonic()))
        shown = self.count("playback-restart") / (time.monotonic() - begin)
        # Waits for the last request, to keep it out of the next measurement.
        self.waited("seek", targets[-1], "absolute+exact")
        return shown

    def close(self):
        self.send("quit")
        self.process.wait()
        self.socket.close()
