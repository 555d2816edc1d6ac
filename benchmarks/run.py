#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Measures the player against ffmpeg and mpv on generated clips, and prints tables.

Each figure is the median of pairs: our program and the public tool run alternately, and each pair gives
a ratio. Clips and raw results are stored in build/benchmark.
"""
import argparse
import json
import os
import pathlib
import random
import statistics
import subprocess
import sys
import time

import marked_film
import seeking
import session
import window
from seek_players import Mpv

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "benchmark"
INSPECT = ROOT / "build" / "release" / "tools" / "zelvane-inspect"
XVFB = ["xvfb-run", "-a", "-s", "-screen 0 1920x1200x24 +extension GLX"]

# Moving detail and grain give decoders realistic work.
PICTURE = "testsrc2=s={size}:r=30:d={seconds},noise=alls=12:allf=t"
TONE = "sine=f=440:r=48000:d={seconds}"
CLIPS = {
    "h264-1080p.mp4": dict(
        size="1920x1080", seconds=20,
        codec="-pix_fmt yuv420p -c:v libx264 -preset veryfast -b:v 12M -g 90 -c:a aac -b:a 160k"),
    "hevc10-1080p.mkv": dict(
        size="1920x1080", seconds=20,
        codec="-pix_fmt yuv420p10le -c:v libx265 -preset ultrafast -b:v 8M -g 90"
              " -x265-params log-level=error -c:a libopus -b:a 128k"),
    "vp9-1080p.webm": dict(
        size="1920x1080", seconds=20,
        codec="-pix_fmt yuv420p -c:v libvpx-vp9 -deadline realtime -cpu-used 8 -row-mt 1 -b:v 6M"
              " -g 90 -c:a libopus -b:a 128k"),
    "hevc10-2160p.mkv": dict(
        size="3840x2160", seconds=12,
        codec="-pix_fmt yuv420p10le -c:v libx265 -preset ultrafast -b:v 16M -g 90"
              " -x265-params log-level=error -c:a libopus -b:a 128k"),
    "h264-720p.mp4": dict(
        size="1280x720", seconds=62,
        codec="-pix_fmt yuv420p -c:v libx264 -preset veryfast -b:v 5M -g 60 -c:a aac -b:a 160k"),
}


# A click of 20 samples and three bright pictures at each full second.
CLICKS = "aevalsrc='0.8*lt(mod(n\\,48000)\\,20)*(1-2*mod(n\\,2))':s=48000:d=70"
FLASHES = ("color=black:s=640x360:r=30:d=70,"
           "drawbox=c=white:t=fill:enable='lt(mod(t+0.0001\\,1)\\,0.1)'")
EXACT = "-pix_fmt yuv420p -c:v libx264 -preset veryfast -g 30 -c:a pcm_f32le"
SCRIPT_HEADER = """[Script Info]
ScriptType: v4.00+
PlayResX: 1280
PlayResY: 720

[V4+ Styles]
Format: Name, Fontname, Fontsize, PrimaryColour, Bold, Italic, BorderStyle, Outline, Shadow, Alignment
Style: Default,DejaVu Sans,40,&H00FFFFFF,0,0,1,2,1,2

[Events]
Format: Layer, Start, End, Style, Name, MarginL, MarginR, MarginV, Effect, Text
"""
SHARED_MEDIA = [
    "codecs/androidx_bbb_800x640_768kbps_30fps_vp9.mp4", "codecs/androidx_roadtrip-vp92-10bit.webm",
    "codecs/androidx_sample_av1.mp4", "codecs/fate_pcitva15.avi", "codecs/fate_wmv8_x8intra.wmv",
    "codecs/gen_h264_interlaced_tff_mbaff.ts", "codecs/moviepy_big_buck_bunny_432_433.webm",
    "codecs/torchcodec_bt709_full_range.mp4", "containers/ArtPlayer_linear-video-1s.mp4",
    "containers/androidx_sample.avi", "containers/androidx_sample.flv", "containers/androidx_sample.mkv",
    "containers/gen_mpeg2_op1a.mxf", "containers/gen_theora_flac.ogv",
    "containers/mp4parser_example.f4v", "hdr/androidx_hdr10-av1.mp4",
    "seeking/decord_flipping_a_pancake.mkv", "seeking/gen_sparse_keyframes_60s.mp4",
    "subtitles/embedded/FontCollector_test_video_subs_+_1_font.mkv",
    "subtitles/embedded/torchcodec_nasa_13013.mp4",
]


def made(name, inputs, codec):
    """The path of a clip, which ffmpeg generates on first use."""
    path = WORK / name
    if not path.exists():
        WORK.mkdir(parents=True, exist_ok=True)
        unfinished = WORK / ("unfinished-" + name)
        sources = [word for source in inputs for word in ("-f", "lavfi", "-i", source)]
        subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-y", *sources, *codec.split(),
                        str(unfinished)], check=True)
        unfinished.rename(path)
    return path


def clip(name):
    recipe = CLIPS[name]
    return made(name, [PICTURE.format(**recipe), TONE.format(**recipe)], recipe["codec"])


def marked(size, seconds, rate):
    """A film whose pictures state their number."""
    width, height = size.split("x")
    codec = (f"-pix_fmt yuv420p -c:v libx264 -preset veryfast -b:v {rate} -g 60"
             " -c:a aac -b:a 160k")
    return made(f"marked-{height}p.mp4",
                [marked_film.recipe(size, seconds), TONE.format(seconds=seconds)], codec)


def transport_stream():
    """The first clip in a container without an index."""
    path = WORK / "h264-1080p.ts"
    if not path.exists():
        unfinished = WORK / "unfinished-h264-1080p.ts"
        subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-y", "-i",
                        str(clip("h264-1080p.mp4")), "-c", "copy", str(unfinished)], check=True)
        unfinished.rename(path)
    return path


def timed(command):
    """Runs a command. Returns its wall and CPU seconds, peak memory in bytes and output."""
    begin = time.monotonic()
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                               stderr=subprocess.DEVNULL)
    output = process.stdout.read()
    _, status, usage = os.wait4(process.pid, 0)
    if status != 0:
        sys.exit(f"{command} failed with status {status}")
    return dict(wall=time.monotonic() - begin, cpu=usage.ru_utime + usage.ru_stime,
                peak=usage.ru_maxrss * 1024, output=output)


def pairs(count, ours, theirs):
    """Results of both commands, run alternately; the order within a pair alternates too."""
    results = []
    for i in range(count):
        if i % 2:
            their_result = timed(theirs)
            results.append((timed(ours), their_result))
        else:
            our_result = timed(ours)
            results.append((our_result, timed(theirs)))
    return results


def ratio(results, key):
    return statistics.median(a[key] / b[key] for a, b in results)


def median(results, side, key):
    return statistics.median(pair[side][key] for pair in results)


def threads():
    """The number of decoder threads that the player uses on this machine."""
    return max(1, (os.cpu_count() or 1) - 2)


def bench_decode(count):
    """decoding whole files, against ffmpeg"""
    print(f"\nWhole-file decode, {threads()} decoder thread(s), {count} pairs\n")
    print("| Clip | ours s | ffmpeg s | wall ratio | ours CPU s | ffmpeg CPU s |")
    print("|---|---|---|---|---|---|")
    for path in (clip("h264-1080p.mp4"), transport_stream(), clip("hevc10-1080p.mkv"),
                 clip("hevc10-2160p.mkv"), clip("vp9-1080p.webm")):
        name, path = path.name, str(path)
        results = pairs(
            count, [str(INSPECT), "decode", path],
            ["ffmpeg", "-nostdin", "-v", "error", "-threads", str(threads()), "-i", path,
             "-map", "0:v:0", "-map", "0:a:0?", "-f", "null", "-"])
        print(f"| {name} | {median(results, 0, 'wall'):.2f} | {median(results, 1, 'wall'):.2f} |"
              f" **{ratio(results, 'wall'):.2f}** | {median(results, 0, 'cpu'):.2f} |"
              f" {median(results, 1, 'cpu'):.2f} |", flush=True)


def play_commands(path, seconds):
    ours = [str(INSPECT), "play", path, "--audio", "null", "--video", "window",
            "--for", str(seconds)]
    theirs = ["mpv", "--no-config", "--really-quiet", "--vo=x11", "--hwdec=no", "--ao=null",
              f"--vd-lavc-threads={threads()}", f"--length={seconds}", path]
    return ours, theirs


def under_xvfb(section, count):
    """Runs a section of this program again in a child on a virtual display, so that the display's work
    is not measured. Returns False in that child."""
    if os.environ.get("ZELVANE_BENCHMARK_DISPLAY"):
        return False
    environment = dict(os.environ, ZELVANE_BENCHMARK_DISPLAY="1")
    subprocess.run(XVFB + [sys.executable, __file__, section, "--pairs", str(count)], check=True,
                   env=environment)
    return True


def bench_play(count):
    """playing in a window, against mpv"""
    if under_xvfb("play", count):
        return
    path = str(clip("h264-720p.mp4"))
    ours, theirs = play_commands(path, 20)
    results = pairs(count, ours, theirs)
    print(f"\nPlaying 1280x720 at 30 frames a second for 20 s, {count} pairs\n")
    print("| | ours | mpv --vo=x11 | ratio |")
    print("|---|---|---|---|")
    print(f"| CPU s | {median(results, 0, 'cpu'):.2f} | {median(results, 1, 'cpu'):.2f} |"
          f" **{ratio(results, 'cpu'):.2f}** |")
    print(f"| peak memory MB | {median(results, 0, 'peak') / 1e6:.0f} |"
          f" {median(results, 1, 'peak') / 1e6:.0f} | **{ratio(results, 'peak'):.2f}** |")
    print("\n| Run | shown | dropped | late | mean error ms | max error ms | first frame s |")
    print("|---|---|---|---|---|---|---|")
    for number, (ours_result, _) in enumerate(results, 1):
        report = json.loads(ours_result["output"].splitlines()[-1])
        print(f"| {number} | {report['framesShown']} | {report['framesDropped']} |"
              f" {report['framesLate']} | {report['meanFrameError']:.2f} |"
              f" {report['maxFrameError']:.2f} | {report['timeToFirstFrame']:.3f} |", flush=True)


def resident(pid):
    for line in pathlib.Path(f"/proc/{pid}/status").read_text().splitlines():
        if line.startswith("VmRSS:"):
            return int(line.split()[1]) * 1024
    return 0


def memory_over_time(command, moments):
    """The resident memory in bytes at each moment, in seconds from the start, and its peak."""
    begin = time.monotonic()
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL)
    sizes = []
    for moment in moments:
        time.sleep(max(0.0, begin + moment - time.monotonic()))
        sizes.append(resident(process.pid))
    _, _, usage = os.wait4(process.pid, 0)
    return sizes, usage.ru_maxrss * 1024


def bench_memory(count):
    """resident memory while playing for a minute, against mpv"""
    if under_xvfb("memory", count):
        return
    path = str(clip("h264-720p.mp4"))
    moments = [10, 20, 30, 40, 50, 60]
    print("\nMemory while playing 1280x720 for a minute, MB\n")
    print("| | " + " | ".join(f"{m} s" for m in moments) + " | peak |")
    print("|---" * (len(moments) + 2) + "|")
    for name, command in zip(("ours", "mpv"), play_commands(path, 61)):
        sizes, peak = memory_over_time(command, moments)
        print(f"| {name} | " + " | ".join(f"{s / 1e6:.0f}" for s in sizes) +
              f" | {peak / 1e6:.0f} |", flush=True)


def bench_open(count):
    """opening files, against ffprobe"""
    print(f"\nOpening, {max(count, 9)} pairs\n")
    print("| Clip | ours s | ffprobe s | ratio |")
    print("|---|---|---|---|")
    for path in [*map(clip, CLIPS), transport_stream()]:
        name, path = path.name, str(path)
        results = pairs(max(count, 9), [str(INSPECT), "load", path],
                        ["ffprobe", "-v", "error", "-show_streams", "-of", "json", path])
        print(f"| {name} | {median(results, 0, 'wall'):.3f} | {median(results, 1, 'wall'):.3f} |"
              f" **{ratio(results, 'wall'):.2f}** |", flush=True)


def bench_sound(count):
    """distance of sound and picture from the clock"""
    if under_xvfb("sound", count):
        return
    meter = built("sound-in-step")
    clicks = str(made("clicks.mkv", [FLASHES, CLICKS], EXACT))
    tone = str(made("tone.mkv", ["color=black:s=320x180:r=30:d=30", TONE.format(seconds=30)],
                    EXACT))
    print("\nClicks recorded from a null sink's monitor, flashes as the window shows them;"
          " largest distances in ms\n")
    print("| Rate | what | found | missing | first 5 s | last 5 s | all |")
    print("|---|---|---|---|---|---|---|", flush=True)
    for rate in ("1", "0.5", "2"):
        subprocess.run([meter, clicks, rate, "33"], check=True)
    print("\nPitch of a 440 Hz tone\n\n| Rate | heard | error |\n|---|---|---|", flush=True)
    for rate in ("1", "0.5", "2"):
        subprocess.run([meter, tone, rate, "6", "tone"], check=True)


def duration_of(path):
    return float(subprocess.run(
        ["ffprobe", "-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0", str(path)],
        check=True, capture_output=True, text=True).stdout)


def built(target):
    """Builds one of the project's benchmark programs and returns its path."""
    subprocess.run(["cmake", "--build", str(ROOT / "build" / "release"), "--target", target],
                   check=True, stdout=subprocess.DEVNULL)
    return str(ROOT / "build" / "release" / "benchmarks" / target)


def bench_color(_):
    """colour conversion on the CPU"""
    program = built("color-conversion")
    print("\nColour conversion of a picture of 1920x1080\n", flush=True)
    subprocess.run([program], check=True)


def bench_subtitles(_):
    """drawing a subtitle of two lines"""
    program = built("subtitle-drawing")
    print("\nA subtitle of two lines\n", flush=True)
    subprocess.run([program], check=True)


def large_script():
    """The path of an ASS file of 100 000 events with ten words each."""
    path = WORK / "large.ass"
    if not path.exists():
        WORK.mkdir(parents=True, exist_ok=True)
        words = "lorem ipsum dolor sit amet consectetur adipiscing elit sed do".split()
        order = random.Random(20260101)
        with path.open("w") as file:
            file.write(SCRIPT_HEADER)
            for i in range(100_000):
                text = " ".join(order.choices(words, k=10))
                file.write(f"Dialogue: 0,{stamp(i)},{stamp(i + 20)},Default,,0,0,0,,"
                           f"{{\\b1}}{text}{{\\b0}}\\Nline\n")
    return path


def stamp(tenths):
    return f"{tenths // 36000}:{tenths // 600 % 60:02}:{tenths // 10 % 60:02}.{tenths % 10}0"


def bench_script(count):
    """attaching a large subtitle script, against mpv"""
    program = built("script-events")
    film, script = clip("h264-720p.mp4"), large_script()
    results = []
    for _ in range(count):
        ours = json.loads(subprocess.check_output([program, str(film), str(script)],
                                                  stderr=subprocess.DEVNULL))
        mpv = Mpv(WORK, threads())
        mpv.open(film)
        before = mpv.peak_memory()
        theirs = dict(firstFrameMs=mpv.add_subtitles(script))
        theirs["bytes"] = mpv.peak_memory() - before
        mpv.close()
        results.append((ours, theirs))
    size = script.stat().st_size
    first, loaded = median(results, 0, "firstFrameMs"), median(results, 1, "firstFrameMs")
    each = median(results, 0, "microsecondsEach")
    ours_bytes, their_bytes = median(results, 0, "bytes"), median(results, 1, "bytes")
    print(f"\nA script of 100 000 events in {size / 1e6:.1f} MB, {count} pairs\n")
    print("| | ours | mpv | ratio | limit |\n|---|---|---|---|---|")
    print(f"| from attaching to the first frame, ms | {first:.0f} | {loaded:.0f} |"
          f" **{ratio(results, 'firstFrameMs'):.2f}** | ≤ 1, ≤ 2000 ms |")
    print(f"| decoding one event, CPU µs | {each:.1f} | | | ≤ 20 |")
    print(f"| memory, multiples of the file size | {ours_bytes / size:.1f} | {their_bytes / size:.1f} |"
          f" **{ratio(results, 'bytes'):.2f}** | ≤ 3 |", flush=True)


def bench_start(_):
    """how long the first picture stays before the film moves"""
    program = built("playing-start")
    print("\nFrom the first picture to the next one, ms, over a null sink\n", flush=True)
    for path in (clip("h264-720p.mp4"), clip("h264-1080p.mp4")):
        for sink in ("asleep", "awake"):
            print(f"| {path.name}, sink {sink} | order to first picture | first to second |"
                  " second to third | longest |\n|---|---|---|---|---|", flush=True)
            subprocess.run([program, str(path), "5", sink], check=True, stderr=subprocess.DEVNULL)


def bench_seek(_):
    """openings, exact seeks, steps back and drags, against mpv"""
    program = built("seek-bench")
    # By default mpv does not search far enough back for the key frame of a transport stream.
    for path, options in ((clip("h264-1080p.mp4"), []), (transport_stream(), []),
                          (transport_stream(), ["--hr-seek-demuxer-offset=3.1"]),
                          (clip("vp9-1080p.webm"), []), (clip("hevc10-2160p.mkv"), [])):
        results = seeking.measure(path, duration_of(path), program, WORK, threads(), options)
        print(seeking.table(" ".join([path.name, *options]), results), flush=True)


def bench_window(count, is_short=False, parts=()):
    """the desktop player's window, controls and keys, against mpv"""
    subprocess.run(["cmake", "--build", str(ROOT / "build" / "release"), "--target",
                    "zelvane-player"], check=True, stdout=subprocess.DEVNULL)
    films = {"720p": marked("1280x720", 62, "5M"), "1080p": marked("1920x1080", 20, "12M")}
    window.measure(films, built("seek-bench"), WORK, count, is_short, parts)


def shared_media():
    """Twenty films of the shared media folder, of as many formats as possible."""
    folder = pathlib.Path(os.environ.get("ZELVANE_SHARED_MEDIA", ROOT.parent / "shared" / "media"))
    return [folder / name for name in SHARED_MEDIA]


def bench_session(_, is_short=False, parts=()):
    """windows that the next run of the desktop player brings back"""
    subprocess.run(["cmake", "--build", str(ROOT / "build" / "release"), "--target",
                    "zelvane-player"], check=True, stdout=subprocess.DEVNULL)
    session.measure(clip("h264-720p.mp4"), shared_media(), is_short, parts)


SECTIONS = dict(color=bench_color, decode=bench_decode, memory=bench_memory, open=bench_open,
                play=bench_play, script=bench_script, seek=bench_seek, session=bench_session,
                sound=bench_sound, start=bench_start, subtitles=bench_subtitles, window=bench_window)


def main():
    parser = argparse.ArgumentParser(
        prog="script/benchmark", description=__doc__,
        formatter_class=argparse.RawDescriptionHelpFormatter,
        epilog="sections:\n" + "\n".join(
            f"  {name:<10} {section.__doc__}" for name, section in SECTIONS.items()))
    parser.add_argument("sections", nargs="*", choices=[*SECTIONS, []], default=[], metavar="section",
                        help="what to measure; all sections by default")
    parser.add_argument("--pairs", type=int, default=5, metavar="N",
                        help="number of pairs in sections that compare runs (5)")
    parser.add_argument("--part", action="append", choices=window.PARTS + session.PARTS, default=[],
                        help="in sections window and session: measure only this part; may be repeated")
    parser.add_argument("--short", action="store_true",
                        help="in sections window and session: short runs, to check that they work")
    arguments = parser.parse_args()
    for section in arguments.sections or SECTIONS:
        options = (arguments.short, arguments.part) if section in ("session", "window") else ()
        SECTIONS[section](arguments.pairs, *options)


if __name__ == "__main__":
    main()
