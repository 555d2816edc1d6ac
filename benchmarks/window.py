# SPDX-License-Identifier: GPL-3.0-or-later
"""Measures the desktop player's window against limits and mpv --vo=x11, and prints a table of each part."""
import json
import statistics
import time

import desktop
import window_measures as measures
from seek_players import Ours as Engine

median = statistics.median


def alternately(count, actions):
    """Runs the named actions in turn, each time in the opposite order. Returns the results by name."""
    results = {name: [] for name in actions}
    for number in range(count):
        for name in list(actions) if number % 2 == 0 else reversed(actions):
            results[name].append(actions[name]())
    return results


def ratio(results, ours, theirs, key):
    return median(a[key] / b[key] for a, b in zip(results[ours], results[theirs]))


class Measurement:
    """One run of `script/benchmark window`."""

    def __init__(self, surroundings, films, engine, folder, pairs, is_short):
        self.desktop = surroundings
        self.films = films
        self.engine = engine
        self.folder = folder
        self.pairs = pairs
        self.is_short = is_short

    def ours(self, size="720p"):
        return measures.ours(self.desktop, self.films[size])

    def mpv(self):
        return measures.mpv(self.desktop, self.films["720p"])

    def seconds(self, full, short):
        return short if self.is_short else full

    def keep(self, part, results):
        path = self.folder / f"window-{part}.json"
        path.write_text(json.dumps(results, indent=1))
        return results

    def with_player(self, make, measure, *arguments):
        with make() as player:
            return measure(player, *arguments)

    def play(self):
        """CPU time and memory while playing, controls hidden and shown, against mpv"""
        seconds = self.seconds(20, 5)
        results = self.keep("play", alternately(self.pairs, {
            "ours": lambda: self.with_player(self.ours, measures.play_for, seconds),
            "mpv": lambda: self.with_player(self.mpv, measures.play_for, seconds),
            "controls": lambda: self.with_player(self.ours, measures.play_with_controls, seconds)}))
        cpu = {name: median(run["cpu"] for run in runs) for name, runs in results.items()}
        peak = {name: median(run["peak"] for run in runs) / 1e6 for name, runs in results.items()}
        print(f"\nPlaying 1280x720 at 30 pictures a second for {seconds} s, {self.pairs} pairs\n")
        print("| | ours | mpv --vo=x11 | ratio | limit |\n|---|---|---|---|---|")
        print(f"| CPU s | {cpu['ours']:.2f} | {cpu['mpv']:.2f} |"
              f" **{ratio(results, 'ours', 'mpv', 'cpu'):.2f}** | ≤ 0.9 |")
        print(f"| peak memory MB | {peak['ours']:.0f} | {peak['mpv']:.0f} |"
              f" **{ratio(results, 'ours', 'mpv', 'peak'):.2f}** | ≤ 1.15 |")
        print("\n| | controls shown | hidden | ratio | limit |\n|---|---|---|---|---|")
        print(f"| CPU s | {cpu['controls']:.2f} | {cpu['ours']:.2f} |"
              f" **{ratio(results, 'controls', 'ours', 'cpu'):.2f}** | ≤ 1.2 |")
        print(f"| peak memory MB | {peak['controls']:.0f} | {peak['ours']:.0f} | | |", flush=True)

    def start(self):
        """from the start of the process to the first picture on the screen, against mpv"""
        def first_picture(make):
            with make() as player:
                milliseconds = player.wait_for_picture()
                time.sleep(0.2)
                player.close()
            return dict(ms=milliseconds)
        actions = {"ours": lambda: first_picture(self.ours), "mpv": lambda: first_picture(self.mpv)}
        # The first run of each reads the program from the disk.
        alternately(1, actions)
        count = self.seconds(max(self.pairs, 9), 3)
        results = self.keep("start", alternately(count, actions))
        print(f"\nFrom exec to the first picture on the screen, warm, {count} pairs\n")
        print("| | ours | mpv --vo=x11 | ratio | limit |\n|---|---|---|---|---|")
        ours, mpv = (median(run["ms"] for run in results[name]) for name in ("ours", "mpv"))
        print(f"| ms | {ours:.0f} | {mpv:.0f} | **{ratio(results, 'ours', 'mpv', 'ms'):.2f}** |"
              " ≤ 0.9 |", flush=True)

    def fade(self):
        """dropped and late frames while the controls fade in and out"""
        seconds = self.seconds(60, 15)
        result = self.keep("fade", self.with_player(
            self.ours, measures.frames_while_controls_fade, seconds))
        print(f"\nFrames of 1280x720 while the controls fade in and out for {seconds} s"
              f" ({result['fades']:.0f} times)\n")
        print("| shown | dropped | late | mean error ms | max error ms |\n|---|---|---|---|---|")
        print(f"| {result['shown']:.0f} | {result['dropped']:.0f} (limit 0) |"
              f" {result['late']:.0f} (limit 1) | {result['mean']:.2f} | {result['maximum']:.2f} |",
              flush=True)

    def drag(self):
        """dragging the scrubber"""
        seconds = self.seconds(10, 4)
        result = self.keep("drag", self.with_player(
            lambda: self.ours("1080p"), measures.drag_scrubber, seconds))
        distances = sorted(result["distances"])
        if not distances:
            raise RuntimeError("the knob was never found")
        print(f"\nDragging the scrubber at 1920x1080 for {seconds} s\n")
        print("| | value | limit |\n|---|---|---|")
        print(f"| pictures a second | {result['shown']:.1f} | ≥ 10 |")
        print(f"| knob to the pointer within the last frame, p50 px | {median(distances):.1f} | |")
        print(f"| p99 px | {distances[round(0.99 * (len(distances) - 1))]:.1f} | |")
        print(f"| largest px | {distances[-1]:.1f} | ≤ 3, the width of the knob |")
        print(f"| samples without a knob | {result['hidden']} of"
              f" {result['hidden'] + len(distances)} | 0 |", flush=True)

    def keys(self):
        """from a key to its effect on the screen"""
        times = self.seconds(24, 6)
        with self.ours() as player:
            player.wait_for_picture()
            pauses, resumes = measures.answers_to_space(player, times // 2)
            engine = Engine(self.engine)
            engine.open(self.films["720p"])
            beyond = measures.answers_to_arrows(player, engine, times)
            engine.close()
            player.close()
        self.keep("keys", dict(pauses=pauses, resumes=resumes, beyond=beyond))
        print("\nFrom a key to its effect on the screen, ms\n")
        print("| | p50 | largest | limit |\n|---|---|---|---|")
        for name, values in (("Space, to the last picture before the pause", pauses),
                             ("Space, to the next picture", resumes),
                             ("arrow, beyond the same seek without a window", beyond)):
            print(f"| {name} | {median(values):.0f} | {max(values):.0f} | ≤ 50 |", flush=True)

    def resize(self):
        """resizing by the corner while playing"""
        seconds = self.seconds(10, 4)
        result = self.keep("resize", self.with_player(
            self.ours, measures.resize_by_corner, seconds))
        total = sum(result[kind] for kind in measures.SAMPLES)
        print(f"\nResizing by the corner for {seconds} s while playing:"
              f" {total} samples, {result['sizes']} sizes\n")
        print("| | value | limit |\n|---|---|---|")
        print(f"| repaints a second | {result['repaints']:.1f} | ≥ 30 |")
        for kind in ("torn", "stretched", "black"):
            print(f"| {kind}, samples | {result[kind]} | 0 |")
        print(f"| edge not painted yet, % of samples | {100 * result['unpainted'] / total:.1f} | |",
              flush=True)


PARTS = ("play", "start", "fade", "drag", "keys", "resize")


def measure(films, engine, folder, pairs, is_short=False, parts=()):
    """Prints the tables of the parts, of all by default. `films` are marked films by the names of their
    sizes, `engine` is the path of seek-bench, `folder` gets the raw results."""
    for part in parts or PARTS:
        with desktop.Desktop() as surroundings:
            getattr(Measurement(surroundings, films, engine, folder, pairs, is_short), part)()
