// Conversion between the host's worlds and the engine's working frames.
//
// A world stores each pixel as (alpha, red, green, blue), one byte or one
// 16-bit word a channel, rows `rowbytes` apart (padded, possibly doubled for
// field rendering, possibly negative). A working frame is width x height
// pixels packed without gaps, channels (blue, green, red, transparency) with
// transparency = M - alpha, computed in the channel's own width; M is the
// host's white: 255 at 8 bits, 32768 at 16 bits.
//
// Two placements:
// - crop-centre reader / centre writer (every host but modern Premiere Pro):
//   the smaller of frame and world is centred in the larger;
// - overlap reader / writer (Premiere Pro 13+): the centred overlap of frame
//   and world is copied, with offsets (w - Ww) / 2 and (h - Wh) / 2.
// Offsets divide by two truncating toward zero. Worlds with a null data
// pointer or no pixels are left alone.
#ifndef QUILLON_HOST_PIXELCONVERSION_H
#define QUILLON_HOST_PIXELCONVERSION_H

#include <cstdint>

#include "host/ae/PluginTypes.h"

namespace quillon::host {

// Each function exists for 8-bit (uint8_t) and 16-bit (uint16_t) frames.

// Reads the min(width, Ww) x min(height, Wh) region centred in the world into
// the frame, packed at the region's width. A width or height of 0 (or less)
// means the world's.
template <typename T>
void ReadCropCentre(const PF_LayerDef& world, T* frame, int32_t width, int32_t height,
                    uint32_t maxValue);

// Fills the whole world from the frame, taken as max(width, Ww) x
// max(height, Wh) pixels (0 or less meaning the world's size), starting at
// its centred column and row. The frame must hold that many pixels.
template <typename T>
void WriteCentre(const T* frame, const PF_LayerDef& world, int32_t width, int32_t height,
                 uint32_t maxValue);

// Copies the centred overlap of a width x height frame and the world, world
// to frame. Frame pixels outside the overlap are left as they are.
template <typename T>
void ReadOverlap(const PF_LayerDef& world, T* frame, int32_t width, int32_t height,
                 uint32_t maxValue);

// Copies the centred overlap, frame to world. World pixels outside the
// overlap are left as they are.
template <typename T>
void WriteOverlap(const T* frame, const PF_LayerDef& world, int32_t width, int32_t height,
                  uint32_t maxValue);

}  // namespace quillon::host

#endif  // QUILLON_HOST_PIXELCONVERSION_H
