# SPDX-License-Identifier: GPL-3.0-or-later
"""Measures what the next run of the desktop player brings back, and prints a table of each part."""
import json
import pathlib
import random
import re
import subprocess
import tempfile
import time

import desktop
from seek_players import peak_memory
from window_measures import PLAYER

NAME = "org.mpris.MediaPlayer2.zelvane"
# The player writes at most once a second; these are for the write itself and for reading the clock.
STATE_AGE, TOLERANCE = 1.0, 0.1


class SessionDesktop(desktop.Desktop):
    """With a message bus."""

    def __enter__(self):
        super().__enter__()
        address = f"unix:path={self.folder}/bus"
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = address
        self.start(["dbus-daemon", "--session", "--nofork", f"--address={address}"])
        desktop.waited_for(pathlib.Path(self.folder, "bus").exists, "a message bus")
        return self


class Session:
    """The folders of successive runs."""

    def __init__(self, surroundings):
        self.desktop = surroundings
        self.folder = tempfile.TemporaryDirectory()
        self.path = pathlib.Path(self.folder.name, "state", "zelvane-player", "session.json")
        self.settings = pathlib.Path(self.folder.name, "config", "zelvane-player.conf")

    def run(self, *files):
        return Run(self, files)

    def windows(self):
        """The stored windows: positions in seconds by the names of their files."""
        if not self.path.exists():
            return {}
        stored = json.loads(self.path.read_text())["zelvane.Session.windows"]
        return {name_of(window): position_of(window) for window in stored}

    def is_being_restored(self):
        return "unfinishedRestorations" in self.path.read_text()


def name_of(window):
    url = next(value for key, value in window.items() if key.endswith("url"))
    return pathlib.PurePosixPath(url).name


def position_of(window):
    time_value = window["zelvane.MediaPlayer.currentTime"]
    return time_value["value"] / time_value["timescale"]


class Run:
    """One process of the player."""

    def __init__(self, session, files):
        self.session = session
        self.screen = session.desktop.screen
        self.environment = dict(session.desktop.environment, ZELVANE_LOG_LATENCY="1",
                                XDG_STATE_HOME=f"{session.folder.name}/state",
                                XDG_CONFIG_HOME=f"{session.folder.name}/config")
        self.log = tempfile.TemporaryFile("w+")
        self.begin = time.monotonic()
        self.process = subprocess.Popen(
            [str(PLAYER), *map(str, files)], env=self.environment, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=self.log)

    def __enter__(self):
        return self

    def __exit__(self, *error):
        self.kill()
        self.log.close()

    def kill(self):
        self.process.kill()
        self.process.wait()

    def window_count(self):
        screen = self.screen
        return sum(screen.property(desktop.ctypes.c_ulong(window), "_NET_WM_PID") ==
                   [self.process.pid] for window in screen.property(screen.root, "_NET_CLIENT_LIST"))

    def wait_for_windows(self, count):
        """The milliseconds from the start of the process until that many windows are managed."""
        desktop.waited_for(lambda: self.window_count() >= count, f"{count} windows", 60, 0.002)
        return (time.monotonic() - self.begin) * 1000

    def wait_until_restored(self, count):
        self.wait_for_windows(count)
        session = self.session
        desktop.waited_for(lambda: session.path.exists() and len(session.windows()) == count and
                           not session.is_being_restored(), "the session")

    def call(self, member, *arguments, interface="org.mpris.MediaPlayer2.Player"):
        return subprocess.run(
            ["gdbus", "call", "--session", "--dest", NAME, "--object-path",
             "/org/mpris/MediaPlayer2", "--method", f"{interface}.{member}", *arguments],
            env=self.environment, capture_output=True, text=True).stdout

    def get(self, name):
        return self.call("Get", "org.mpris.MediaPlayer2.Player", name,
                         interface="org.freedesktop.DBus.Properties")

    def position(self):
        """In seconds, of the player that was used last; None while none is shown on the bus."""
        found = re.search(r"int64 (-?\d+)", self.get("Position"))
        return int(found[1]) / 1e6 if found else None

    def file_name(self):
        found = re.search(r"'xesam:url': <'([^']*)'>", self.get("Metadata"))
        return pathlib.PurePosixPath(found[1]).name if found else None

    def quit(self):
        self.call("Quit", interface="org.mpris.MediaPlayer2")
        self.process.wait(30)
        self.log.seek(0)
        return self.log.read()

    def usage(self):
        folder = pathlib.Path("/proc", str(self.process.pid))
        status = dict(line.split(":", 1) for line in
                      (folder / "status").read_text().splitlines())
        return dict(memory=int(status["VmRSS"].split()[0]) / 1e3, threads=int(status["Threads"]),
                    descriptors=len(list((folder / "fd").iterdir())))


def random_action(run, screen, settings):
    """What a user does: play, seek, change a rate or a setting."""
    kind = random.choice(("seek", "jump", "rate", "pause", "setting", "key"))
    if kind == "seek":
        run.call("Seek", str(random.randrange(-9_000_000, 9_000_000)))
    elif kind == "jump":
        screen.press_key(random.choice(("Left", "Right")))
    elif kind == "rate":
        run.call("Set", "org.mpris.MediaPlayer2.Player", "Rate", f"<{random.choice((0.5, 1.0, 2.0))}>",
                 interface="org.freedesktop.DBus.Properties")
    elif kind == "pause":
        run.call("PlayPause")
    elif kind == "setting":
        settings.parent.mkdir(exist_ok=True)
        settings.write_text(f"[General]\nZLVNJumpIntervalInSeconds={random.randrange(1, 99)}\n")
    else:
        screen.press_key("t")


def sampled_position(run):
    before = time.monotonic()
    position = run.position()
    return (before + time.monotonic()) / 2, position


def play_and_kill(run, session):
    """Uses the player for a random time and kills it. Returns its file and the samples
    (seconds before the end, position)."""
    samples, end = [], time.monotonic() + random.uniform(0.2, 3)
    while time.monotonic() < end:
        if len(samples) == 1:
            # Keys go to the window in front.
            run.call("Raise", interface="org.mpris.MediaPlayer2")
            run.call("Play")
        elif random.random() < 0.1:
            random_action(run, run.screen, session.settings)
        samples.append(sampled_position(run))
    name = run.file_name()
    # The effect of the last key can be in the session already.
    samples.append(sampled_position(run))
    run.kill()
    killed = time.monotonic()
    return name, [(killed - moment, position) for moment, position in samples
                  if position is not None]


def age_of(position, samples):
    """How long before the end the player was at that position; None when it was not."""
    return min((age for age, sample in samples if abs(sample - position) <= 2 * TOLERANCE),
               default=None)


class Measurement:
    """One run of `script/benchmark session`."""

    def __init__(self, surroundings, film, media, is_short):
        self.desktop = surroundings
        self.film = film
        self.media = media
        self.is_short = is_short

    def copies(self, session, count):
        paths = [pathlib.Path(session.folder.name, f"{number:03}.mp4") for number in range(count)]
        for path in paths:
            path.symlink_to(self.film)
        return paths

    def kill(self):
        """killing the process at random moments"""
        rounds, count = (10 if self.is_short else 100), 3
        random.seed(1)
        session = Session(self.desktop)
        with session.run(*self.copies(session, count)) as run:
            run.wait_until_restored(count)
        ages, lost, moved = [], 0, 0
        for _ in range(rounds):
            stored = session.windows()
            with session.run() as run:
                run.wait_until_restored(count)
                lost += session.windows() != stored
                name, samples = play_and_kill(run, session)
            after = session.windows()
            lost += len(after) != count
            moved += sum(after[other] != stored[other] for other in stored if other != name)
            if name is not None:
                ages.append(age_of(after[name], samples))
        found = sorted(age for age in ages if age is not None)
        print(f"\nKilled {rounds} times while one of {count} windows was used\n")
        print("| | value | limit |\n|---|---|---|")
        print(f"| runs that lost a window or its state | {lost} | 0 |")
        print(f"| positions of other windows that changed | {moved} | 0 |")
        print(f"| damaged files | {len(list(session.path.parent.glob('*.bad')))} | 0 |")
        print(f"| positions where the player never was | {len(ages) - len(found)} of {len(ages)} | 0 |")
        print(f"| age of the position, s, median and largest | {found[len(found) // 2]:.2f},"
              f" {found[-1]:.2f} | ≤ {STATE_AGE + TOLERANCE:.1f} |", flush=True)

    def restore(self):
        """restoring twenty windows"""
        print("\nRestoring 20 windows\n")
        print("| Files | first window ms | all ms | longest block of the main thread ms |"
              " blocks > 50 ms | peak memory MB a window |\n|---|---|---|---|---|---|")
        for name in ("shared media", "1280x720"):
            session = Session(self.desktop)
            files = self.media if name == "shared media" else self.copies(session, 20)
            with session.run(*files) as run:
                run.wait_until_restored(len(files))
                run.quit()
            with session.run() as run:
                first = run.wait_for_windows(1)
                everything = run.wait_for_windows(len(files))
                run.wait_until_restored(len(files))
                peak = peak_memory(run.process.pid) / 1e6 / len(files)
                log = run.quit()
            turns = re.search(r"at most (\d+) ms, (\d+) times", log)
            print(f"| {name} | {first:.0f} (limit 1000) | {everything:.0f} (limit 6000) |"
                  f" {turns[1]} (limit 50) | {turns[2]} | {peak:.0f} (limit 60) |", flush=True)

    def write(self):
        """what is written to the file"""
        seconds = 10 if self.is_short else 60
        session = Session(self.desktop)
        print("\nWritten to the file of the session\n\n| | writes | bytes | limit |\n|---|---|---|---|")
        with session.run(*self.copies(session, 1)) as run:
            run.wait_until_restored(1)
            for name in ("playing", "paused"):
                if name == "paused":
                    run.call("Pause")
                    time.sleep(2)
                writes, size = 0, 0
                last, end = session.path.stat().st_ino, time.monotonic() + seconds
                while time.monotonic() < end:
                    time.sleep(0.02)
                    now = session.path.stat()
                    if now.st_ino != last:
                        last, writes, size = now.st_ino, writes + 1, size + now.st_size
                limit = f"≤ {seconds + 1} writes" if name == "playing" else "0"
                print(f"| {name} for {seconds} s | {writes} | {size} | {limit} |", flush=True)

    def open(self):
        """opening and closing documents"""
        count, earlier = (20, 20) if self.is_short else (200, 100)
        session = Session(self.desktop)
        files = self.copies(session, 2)
        uri = files[1].as_uri()
        usages = []
        with session.run(files[0]) as run:
            run.wait_for_windows(1)
            run.call("Pause")
            for number in range(count + earlier):
                run.call("OpenUri", uri, interface="org.mpris.MediaPlayer2.Player")
                run.wait_for_windows(2)
                run_in(run, ["wmctrl", "-c", files[1].name])
                desktop.waited_for(lambda: run.window_count() == 1, "the end of the window")
                # The first hundred fill the caches of libraries.
                if number in (earlier - 1, count + earlier - 1):
                    time.sleep(6)
                    usages.append(run.usage())
        print(f"\nBefore and after {count} documents were opened and closed\n")
        print("| | before | after |\n|---|---|---|")
        for key in usages[0]:
            print(f"| {key} | {usages[0][key]:.0f} | {usages[1][key]:.0f} |", flush=True)


def run_in(run, command):
    subprocess.run(command, env=run.environment, check=False)


PARTS = ("kill", "restore", "write", "open")


def measure(film, media, is_short=False, parts=()):
    """Prints the tables of the parts, of all by default. `film` is a clip of 1280x720, `media` are 20
    other files."""
    for part in parts or PARTS:
        with SessionDesktop() as surroundings:
            getattr(Measurement(surroundings, film, media, is_short), part)()
