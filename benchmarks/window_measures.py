# SPDX-License-Identifier: GPL-3.0-or-later
"""What a user sees of a player's window, measured from outside: the picture's pixels after real input."""
import pathlib
import re
import subprocess
import tempfile
import time

import desktop
import marked_film
from seek_players import cpu_seconds, peak_memory

ROOT = pathlib.Path(__file__).resolve().parent.parent
PLAYER = ROOT / "build" / "release" / "src" / "zelvane-player"
# The panel of the controls, from controls_layout.h and player_view_layout.h.
PANEL_HEIGHT, PANEL_MARGIN, PANEL_MAXIMUM_WIDTH = 92, 21, 611
SCRUBBER_ROW, BUTTON_ROW = 69, 32
# Above the bar of the scrubber, where only the knob is.
ABOVE_BAR = 5
# Seconds in which the pointer drags the knob over half of the panel and back.
SWEEP = 2.5
OUTSIDE = (desktop.WIDTH - 1, desktop.HEIGHT - 1)


class Player:
    """A player of one file, from its start to the end of its process."""

    def __init__(self, surroundings, command, closing_key):
        self.screen = surroundings.screen
        self.closing_key = closing_key
        self.log = tempfile.TemporaryFile("w+")
        # No window of an earlier player comes back.
        self.state = tempfile.TemporaryDirectory()
        self.screen.move_pointer(*OUTSIDE)
        self.begin = time.monotonic()
        self.process = subprocess.Popen(
            command, env=dict(surroundings.environment, ZELVANE_LOG_STATISTICS="1",
                              XDG_STATE_HOME=self.state.name),
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=self.log)

    def __enter__(self):
        return self

    def __exit__(self, *error):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        self.log.close()
        self.state.cleanup()

    def wait_for_picture(self):
        """The milliseconds from the start of the process to its first picture on the screen."""
        desktop.waited_for(self.is_shown, "a picture", interval=0.001)
        return (time.monotonic() - self.begin) * 1000

    def is_shown(self):
        if self.process.poll() is not None:
            raise RuntimeError(f"{self.process.args[0]} ended with {self.process.returncode}")
        return marked_film.is_on(self.screen, desktop.WIDTH, desktop.HEIGHT)

    def rectangle(self):
        window = desktop.waited_for(lambda: self.screen.window_of(self.process.pid), "a window")
        return self.screen.rectangle(window)

    def reader(self):
        return marked_film.Reader(self.screen, self.rectangle())

    def usage(self):
        return dict(cpu=cpu_seconds(self.process.pid), peak=peak_memory(self.process.pid))

    def close(self):
        """Closes the window by its key. Returns what the player logged."""
        pressed = 0.0

        def has_ended():
            nonlocal pressed
            # The window manager takes the keys for a moment after it has resized a window.
            if time.monotonic() > pressed + 2:
                pressed = time.monotonic()
                self.screen.press_key(*self.closing_key)
            return self.process.poll() is not None

        desktop.waited_for(has_ended, "the end of the player")
        self.log.seek(0)
        return self.log.read()


def ours(surroundings, path):
    return Player(surroundings, [str(PLAYER), str(path)], ("w", "Control_L"))


def mpv(surroundings, path):
    return Player(surroundings, ["mpv", "--no-config", "--really-quiet", "--vo=x11", "--hwdec=no",
                                 "--ao=pulse", str(path)], ("q",))


class Panel:
    """Where the controls of our window are, on the screen."""

    def __init__(self, player):
        self.player = player
        x, y, width, height = player.rectangle()
        self.width = min(width - 2 * PANEL_MARGIN, PANEL_MAXIMUM_WIDTH)
        self.left = x + (width - self.width) / 2
        self.top = y + height - PANEL_MARGIN - PANEL_HEIGHT

    def show(self):
        """Moves the pointer onto the panel, where it keeps the controls visible."""
        self.hover(0)
        self.hover(1)
        desktop.waited_for(self.knob, "the controls")

    def hover(self, step):
        """A position between the buttons and the scrubber, another one at each step."""
        self.player.screen.move_pointer(self.left + self.width * (0.3 + 0.02 * (step % 20)),
                                        self.top + (BUTTON_ROW + SCRUBBER_ROW) / 2)

    def knob(self):
        """The place of the knob in pixels of the panel; None while the controls are hidden."""
        pixels = self.player.screen.pixels(
            round(self.left), round(self.top + SCRUBBER_ROW - ABOVE_BAR), round(self.width), 1)
        # The times are beside the scrubber.
        edge = 70
        white = [i for i in range(edge, len(pixels) // 4 - edge)
                 if min(pixels[4 * i:4 * i + 3]) > 200]
        # A single pixel may be an edge in the film.
        is_knob = len(white) >= 2 and white[-1] - white[0] < 8
        return sum(white) / len(white) if is_knob else None

    def point_on_scrubber(self, x):
        return self.left + x, self.top + SCRUBBER_ROW


def play_for(player, seconds, act=lambda step: None):
    """CPU seconds and peak memory after that time from the start; `act` is called ten times a second."""
    player.wait_for_picture()
    step = 0
    while time.monotonic() < player.begin + seconds:
        act(step)
        step += 1
        time.sleep(0.1)
    usage = player.usage()
    player.close()
    return usage


def play_with_controls(player, seconds):
    player.wait_for_picture()
    panel = Panel(player)
    panel.show()
    return play_for(player, seconds, panel.hover)


FRAMES = re.compile(r"Frames: (\d+) shown, (\d+) dropped, (\d+) late; error ([\d.]+) ms mean,"
                    r" ([\d.]+) ms maximum")


def frames_while_controls_fade(player, seconds):
    """The player's own count of frames while the controls appear and disappear every five seconds."""
    player.wait_for_picture()
    panel = Panel(player)
    x, y, width, height = player.rectangle()
    fades = 0
    for step in range(int(seconds * 10)):
        if step % 50 < 15:
            panel.hover(step)
        elif step % 50 == 15:
            # The controls disappear two seconds after this movement.
            player.screen.move_pointer(x + width / 2, y + height / 3)
        elif step % 50 == 45:
            fades += panel.knob() is None
        time.sleep(0.1)
    report = FRAMES.search(player.close())
    return dict(zip(("shown", "dropped", "late", "mean", "maximum"), map(float, report.groups())),
                fades=fades)


def drag_scrubber(player, seconds, interval=0.016):
    """Drags the knob to and fro. Returns the pictures shown a second, the distances of the knob to where
    the pointer was within the last frame, in pixels, and how often no knob was seen."""
    player.wait_for_picture()
    panel, reader, screen = Panel(player), player.reader(), player.screen
    panel.show()
    knob = panel.knob()
    screen.move_pointer(*panel.point_on_scrubber(knob))
    screen.button(True)
    shown, distances = [], []
    begin = time.monotonic()
    places = [(begin, knob)]
    while (now := time.monotonic()) < begin + seconds:
        if now >= begin + len(places) * interval:
            part = abs((now - begin) / SWEEP % 1 * 2 - 1)
            x = round(panel.width * (0.75 - 0.5 * part))
            screen.move_pointer(*panel.point_on_scrubber(x))
            places.append((time.monotonic(), x))
        number = reader.number()
        if number is not None and (not shown or shown[-1] != number):
            shown.append(number)
        distances.append(distance_to_recent(panel.knob(), places, 1 / marked_film.RATE))
        time.sleep(0.002)
    elapsed = time.monotonic() - begin
    screen.button(False)
    player.close()
    return dict(shown=len(shown) / elapsed, hidden=distances.count(None),
                distances=[distance for distance in distances if distance is not None])


def distance_to_recent(knob, places, age):
    """The least distance of the knob to the places of the pointer within that time, in seconds."""
    if knob is None:
        return None
    oldest = time.monotonic() - age
    distance = abs(knob - places[-1][1])
    for index in range(len(places) - 2, -1, -1):
        # The pointer left this place at the time of the next one.
        if places[index + 1][0] < oldest:
            break
        distance = min(distance, abs(knob - places[index][1]))
    return distance


def shows_next(reader, before, limit=10.0):
    """Waits for another picture. Returns its number."""
    return desktop.waited_for(
        lambda: (number := reader.number()) is not None and number != before and (number,),
        "another picture", limit, interval=0.001)[0]


def last_change(reader, seconds):
    """When the picture changed last within that time, in ms; 0 when it did not."""
    begin, last, number = time.monotonic(), 0.0, reader.number()
    while time.monotonic() < begin + seconds:
        newer = reader.number()
        if newer is not None and newer != number:
            number, last = newer, (time.monotonic() - begin) * 1000
        time.sleep(0.001)
    return last


def answers_to_space(player, times):
    """ms from Space to the last picture of a player that pauses, and to the next of one that resumes."""
    reader = player.reader()
    # A sound device that starts for the first time can take longer than the limit.
    desktop.waited_for(lambda: (reader.number() or 0) > marked_film.RATE, "a second of the film")
    pauses, resumes = [], []
    for _ in range(times):
        player.screen.press_key("space")
        pauses.append(last_change(reader, 0.5))
        before, begin = reader.number(), time.monotonic()
        player.screen.press_key("space")
        shows_next(reader, before)
        resumes.append((time.monotonic() - begin) * 1000)
        time.sleep(0.3)
    return pauses, resumes


def answers_to_arrows(player, engine, times):
    """ms from an arrow key to the picture of the target in a paused window, less the time of the same
    seek in our engine without a window."""
    reader, beyond = player.reader(), []
    player.screen.press_key("space")
    last_change(reader, 0.5)
    for step in range(times):
        before = reader.number()
        key = "Right" if step % 6 < 3 else "Left"
        target = (before + (450 if key == "Right" else -450)) / marked_film.RATE
        engine.seek(before / marked_film.RATE)
        time.sleep(0.3)
        begin = time.monotonic()
        player.screen.press_key(key)
        number = shows_next(reader, before)
        seen = (time.monotonic() - begin) * 1000
        if abs(number / marked_film.RATE - target) > 0.05:
            raise RuntimeError(f"{key} in picture {before} showed {number}")
        beyond.append(seen - engine.seek(target))
        time.sleep(0.3)
    return beyond


def resize_by_corner(player, seconds, interval=0.016):
    """Drags the lower right corner in and out while the file plays. Each sample of the screen counts as
    one of SAMPLES; a repaint is another picture or the same one in another size."""
    player.wait_for_picture()
    screen = player.screen
    window = screen.window_of(player.process.pid)
    x, y, width, height = screen.rectangle(window)
    corner = (x + width - 3, y + height - 3)
    screen.move_pointer(corner[0] - 40, corner[1] - 40)
    screen.move_pointer(*corner)
    screen.button(True)
    counts, states, sizes = dict.fromkeys(SAMPLES, 0), 0, set()
    state, moves = None, 0
    begin = time.monotonic()
    while (now := time.monotonic()) < begin + seconds:
        if now >= begin + moves * interval:
            # Out by an eighth, in by a half, four times.
            part = abs(((now - begin) / seconds * 4) % 1 * 2 - 1) * 0.6 - 0.48
            screen.move_pointer(corner[0] + width * part, corner[1] + height * part)
            moves += 1
        kind, seen = sample_of(screen, window)
        counts[kind] += 1
        if seen is not None and seen != state:
            states += state is not None
            state = seen
            sizes.add(seen[0])
        time.sleep(0.002)
    elapsed = time.monotonic() - begin
    screen.button(False)
    player.close()
    return dict(counts, repaints=states / elapsed, sizes=len(sizes))


SAMPLES = ("whole", "unpainted", "black", "torn", "stretched")
ASPECT = 16 / 9


def sample_of(screen, window):
    """What the window shows at one moment, and the size and number of its picture if it shows one:
    unpainted while the picture has not followed the window to its new edges."""
    with screen.frozen():
        x, y, width, height = screen.rectangle(window)
        row = screen.pixels(x, y + round(height * 0.45), width, 1)
        column = screen.pixels(x + round(width * 0.25), y, 1, height)
        columns, rows = marked_film.border_ends(row), marked_film.border_ends(column)
        if columns is None or rows is None:
            return ("black" if max(row, default=0) < 40 else "stretched"), None
        # The film's own pattern has magenta too: only a border at the edge is the picture's.
        is_whole = columns[1] >= width - 3 and rows[1] >= height - 3
        reader = marked_film.Reader(screen, (x, y, width, height))
        upper, lower = reader.number(0), reader.number(1)
    if not is_whole:
        return "unpainted", None
    if upper is None or lower is None or abs(width / height / ASPECT - 1) > 0.02:
        return "stretched", None
    return ("whole" if upper == lower else "torn"), ((width, height), upper)
