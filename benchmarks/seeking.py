# SPDX-License-Identifier: GPL-3.0-or-later
"""What a person waits for, of two players in turns: opening, exact seeks, steps back, a drag."""
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
# Both players read ahead once they stand; nobody measures the other one's work.
REST = 0.25
FRAME = 1 / 30


def targets(duration, count):
    """Anywhere in the file, but for its last second; always the same."""
    order = random.Random(20260101)
    return [round(order.uniform(0, duration - 1), 3) for _ in range(count)]


def sweep(duration):
    """From a tenth of the file to nine tenths and back, as a hand does it."""
    count = int(DRAG_SECONDS / DRAG_INTERVAL)
    way = [min(i, count - i) / (count / 2) for i in range(count)]
    return [duration * (0.1 + 0.8 * part) for part in way]


def in_turns(players, results, key, action):
    """Both do it once; who begins alternates."""
    done = len(results["ours"].setdefault(key, []))
    for player in players if done % 2 == 0 else reversed(players):
        time.sleep(REST)
        results[player.name].setdefault(key, []).append(action(player))


def is_another_frame(target, position):
    """Whether what is shown is neither the picture of that time nor the one next to it, as mpv takes the
    one behind; all clips have 30 a second."""
    return position is None or abs(target - position) > FRAME + 0.002


def measure(path, duration, program, folder, threads, options=()):
    """All raw results of one file, in milliseconds, by player and measure; `options` are mpv's."""
    mpv = Mpv(folder, threads, options)
    players = [Ours(program), mpv]
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
    """Without those to which no picture came; their number stands in the table."""
    return [value for value in values if value is not None]


MEASURES = (
    ("open to first frame, p50 ms", "open", statistics.median, 0.9),
    ("exact seek, p50 ms", "seek", statistics.median, 0.9),
    ("exact seek, p95 ms", "seek", lambda values: percentile(values, 0.95), 0.9),
    ("step back, p50 ms", "step", statistics.median, 0.1),
)


def row(name, ours, theirs, bar, digits=0):
    return (f"| {name} | {ours:.{digits}f} | {theirs:.{digits}f} | **{ours / theirs:.2f}** |"
            f" {bar} |")


def table(title, results):
    lines = [f"\n{title}\n", "| | ours | mpv | ratio | bar |", "|---|---|---|---|---|"]
    ours, theirs = results["ours"], results["mpv"]
    for name, key, reduce, bar in MEASURES:
        lines.append(row(name, reduce(answered(ours[key])), reduce(answered(theirs[key])),
                         f"≤ {bar}"))
    lines.append(row("CPU s for all exact seeks", ours["seekCPU"], theirs["seekCPU"], "", 1))
    lines.append(f"| drag, frames shown a second | {ours['drag'][0]:.1f} |"
                 f" {theirs['drag'][0]:.1f} | | ≥ 10 |")
    lines.append(row("peak memory MB", ours["peak"] / 1e6, theirs["peak"] / 1e6, "≤ 1"))
    lines.append(f"\n{theirs['otherFrames']} of mpv's {SEEKS} exact seeks showed another frame.")
    missing = sum(len(side[key]) - len(answered(side[key]))
                  for side in (ours, theirs) for key in ("open", "seek", "step"))
    if missing:
        lines.append(f"\n{missing} of the requests brought no picture.")
    return "\n".join(lines)
