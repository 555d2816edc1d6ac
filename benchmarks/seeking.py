# SPDX-License-Identifier: GPL-3.0-or-later
"""Times our player and mpv, with our number of decoder threads and with its own, alternately: openings, exact seeks, steps back and a drag."""
import json
import random
import statistics
import time

from seek_players import Mpv, Ours

SEEKS = 60
STEPS = 15
OPENINGS = 9
DRAG_SECONDS = 5
DRAG_INTERVAL = 0.016
# A player reads ahead after a command; the pause keeps that out of the next one's time.
REST = 0.25
FRAME = 1 / 30
DEFAULT = "mpv-default"


def targets(duration, count):
    """Random times in the file except its last second, the same in each run."""
    order = random.Random(20260101)
    return [round(order.uniform(0, duration - 1), 3) for _ in range(count)]


def sweep(duration):
    """The targets of a drag from 10 % of the file to 90 % and back."""
    count = int(DRAG_SECONDS / DRAG_INTERVAL)
    parts = [min(i, count - i) / (count / 2) for i in range(count)]
    return [duration * (0.1 + 0.8 * part) for part in parts]


def in_turns(players, results, key, action):
    """Each player performs the action once; the order alternates."""
    done = len(results["ours"].setdefault(key, []))
    for player in players if done % 2 == 0 else reversed(players):
        time.sleep(REST)
        results[player.name].setdefault(key, []).append(action(player))


def is_another_frame(target, position):
    """Whether the shown picture is neither that of the target nor an adjacent one: mpv shows the following
    one. All clips have 30 pictures a second."""
    return position is None or abs(target - position) > FRAME + 0.002


def measure(path, duration, program, folder, threads, options=()):
    """The raw results of one file, in ms, by player and measure. `options` are passed to mpv."""
    mpv = Mpv(folder, threads, options)
    players = [Ours(program), mpv, Mpv(folder, 0, options, DEFAULT)]
    results = {player.name: {} for player in players}
    for _ in range(OPENINGS):
        in_turns(players, results, "open", lambda player: player.open(path))
    before = {player.name: player.cpu_seconds() for player in players}
    others = 0
    for target in targets(duration, SEEKS):
        in_turns(players, results, "seek", lambda player: player.seek(target))
        others += is_another_frame(target, mpv.position())
    time.sleep(REST)
    for player in players:
        results[player.name]["seekCPU"] = player.cpu_seconds() - before[player.name]
    middle = duration / 2
    for player in players:
        player.seek(middle)
    for _ in range(STEPS):
        in_turns(players, results, "step", lambda player: player.step_back())
    in_turns(players, results, "drag", lambda player: player.drag(DRAG_INTERVAL, sweep(duration)))
    for player in players:
        results[player.name]["peak"] = player.peak_memory()
        player.close()
    results["mpv"]["otherFrames"] = others
    name = "-".join(["seeking", path.name, *options])
    (folder / f"{name}.json").write_text(json.dumps(results, indent=1))
    return results


def percentile(values, part):
    values = sorted(values)
    return values[min(len(values) - 1, round(part * (len(values) - 1)))]


def answered(values):
    """The values of requests that gave a picture. The table reports the number of the others."""
    return [value for value in values if value is not None]


MEASURES = (
    ("open to first frame, p50 ms", "open", statistics.median, "≤ 0.9"),
    ("exact seek, p50 ms", "seek", statistics.median, "≤ 0.85"),
    ("exact seek, p95 ms", "seek", lambda values: percentile(values, 0.95), "≤ 0.95"),
    ("step back, p50 ms", "step", statistics.median, "≤ 0.1"),
)


def row(name, ours, theirs, limit, digits=0):
    """Ours, and each of theirs with the ratio to it."""
    columns = "".join(f" {value:.{digits}f} | **{ours / value:.2f}** |" for value in theirs)
    return f"| {name} | {ours:.{digits}f} |{columns} {limit} |"


def table(title, results):
    lines = [f"\n{title}\n",
             "| | ours | mpv, equal threads | ratio | mpv, its default | ratio | limit |",
             "|---|---|---|---|---|---|---|"]
    ours, mpv, default = (results[name] for name in ("ours", "mpv", DEFAULT))
    for name, key, reduce, limit in MEASURES:
        lines.append(row(name, reduce(answered(ours[key])),
                         [reduce(answered(side[key])) for side in (mpv, default)], limit))
    lines.append(row("CPU s for all exact seeks", ours["seekCPU"],
                     [mpv["seekCPU"], default["seekCPU"]], "", 1))
    lines.append(f"| drag, frames shown a second | {ours['drag'][0]:.1f} |"
                 f" {mpv['drag'][0]:.1f} | | {default['drag'][0]:.1f} | | ≥ 10 |")
    lines.append(row("peak memory MB", ours["peak"] / 1e6,
                     [mpv["peak"] / 1e6, default["peak"] / 1e6], "≤ 1"))
    lines.append(f"\n{mpv['otherFrames']} of mpv's {SEEKS} exact seeks showed another frame.")
    missing = sum(len(side[key]) - len(answered(side[key]))
                  for side in (ours, mpv, default) for key in ("open", "seek", "step"))
    if missing:
        lines.append(f"\n{missing} of the requests gave no picture.")
    return "\n".join(lines)
