// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The one door to libplacebo's C headers, whose macros that make parameters are no C++: parameters
// are copies of its default values.

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
extern "C" {
#include <libplacebo/colorspace.h>
#include <libplacebo/log.h>
#include <libplacebo/opengl.h>
#include <libplacebo/renderer.h>
#include <libplacebo/tone_mapping.h>
#include <libplacebo/utils/upload.h>
}
#pragma GCC diagnostic pop
