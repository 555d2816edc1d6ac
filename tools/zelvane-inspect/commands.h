// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "arguments.h"

namespace zelvane::inspect {

// Each command prints JSON on standard output and returns the exit status of the program. It throws
// MediaSource::LoadError when the file does not load, UsageError for invalid options, CommandError
// when the file or the build cannot serve the command, and other Errors when reading fails.

/// Prints one object: media type, duration, metadata and tracks.
int runLoad(const Arguments& arguments);
/// Prints a line for each picture of the video track.
int runFrames(const Arguments& arguments);
/// Prints a line for each buffer of the audio track.
int runAudio(const Arguments& arguments);
/// Prints a line for each frame of a subtitle track of a film or of a subtitle file, and on
/// standard error a line {"lost", "start"} for each frame that cannot be shown, or for the whole
/// track.
int runSubtitles(const Arguments& arguments);
/// Decodes the default video and audio tracks as fast as possible, in parallel as in the player,
/// and reports time and memory.
int runDecode(const Arguments& arguments);
/// Plays in real time and reports timing errors, time and memory.
int runPlay(const Arguments& arguments);
/// Seeks to each target in a paused player and prints a line for each: the first picture, the first
/// audio buffer and the duration of the seek.
int runSeek(const Arguments& arguments);
/// Writes the picture that the window would show as a PNG, and prints {"picture", "width",
/// "height", "subtitles": {"primary", "secondary"}} with the number of visible subtitles at each
/// position.
int runPicture(const Arguments& arguments);

} // namespace zelvane::inspect
