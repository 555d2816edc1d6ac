// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "arguments.h"

namespace zelvane::inspect {

// Each command prints its JSON on standard output and returns the program's exit status. They throw
// MediaSource::LoadError when the file does not load, UsageError for options that make no sense,
// and any other Error when reading fails.

/// What the file is and which tracks it has: one object.
int runLoad(const Arguments& arguments);
/// A line for each picture of the video track.
int runFrames(const Arguments& arguments);
/// A line for each buffer of the audio track.
int runAudio(const Arguments& arguments);
/// A line for each frame of a subtitles track, of a film or of a file of subtitles alone; and on
/// standard error a line {"lost", "start"} for each that cannot be shown, or for the whole track.
int runSubtitles(const Arguments& arguments);
/// Decodes the default video and audio tracks as fast as possible, side by side as in the player,
/// and reports what it took.
int runDecode(const Arguments& arguments);
/// Plays in real time and reports how exactly.
int runPlay(const Arguments& arguments);
/// Seeks in a paused player, from target to target: a line for what each brought and how long it
/// took.
int runSeek(const Arguments& arguments);
/// Writes what the window's picture would show, as a PNG, and tells of it: {"picture", "width",
/// "height", "subtitles": {"primary", "secondary"}}, the last two being how many are on display.
int runPicture(const Arguments& arguments);

} // namespace zelvane::inspect
