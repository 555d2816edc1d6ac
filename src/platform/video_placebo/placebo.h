// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The only file that includes libplacebo's C headers. Their pl_*_params() macros do not compile as
// C++: copy the default structures instead.

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
