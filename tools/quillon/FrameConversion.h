// Pixel conversions between the tool's interleaved RGBA images and the
// engine's WorkingFrame (blue, green, red, transparency; transparency =
// maximum - alpha). They are the conversions the effect's render handler
// makes between host worlds and working frames, plus the mapping of 16-bit
// files onto the host's 16-bit range 0..32768 and back.
#ifndef QUILLON_TOOLS_QUILLON_FRAMECONVERSION_H
#define QUILLON_TOOLS_QUILLON_FRAMECONVERSION_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "effect/EffectSettings.h"

namespace quillon {

// Full-range 16-bit (0..65535) to the host range (0..32768): round to nearest.
// No value falls exactly half-way, so the result is unambiguous.
inline uint16_t FileToHost16(uint16_t v) {
    return static_cast<uint16_t>((uint32_t{v} * 65536u + 65535u) / 131070u);
}

// Host range to full range: round to nearest, half-way (host 16384 only)
// rounding up. Values above 32768 are treated as 32768. Host -> file -> host
// is exact for every host value.
inline uint16_t HostToFile16(uint16_t h) {
    const uint32_t clamped = h > kWhite16 ? kWhite16 : h;
    return static_cast<uint16_t>((clamped * 65535u + 16384u) / 32768u);
}

// An interleaved image of 4 channels R, G, B, A (straight alpha, A = max is
// opaque), 8 or 16 bits a channel, full range.
struct RgbaImage {
    uint32_t width = 0;
    uint32_t height = 0;
    int bits = 8;
    std::vector<uint8_t> pixels8;    // bits == 8: width * height * 4
    std::vector<uint16_t> pixels16;  // bits == 16: width * height * 4

    void Allocate(uint32_t w, uint32_t h, int depth);
    size_t PixelCount() const { return size_t{width} * height; }
};

// A packed WorkingFrame: 4 bytes a pixel at 8 bits, 4 words at 16 bits.
struct WorkingFrame {
    uint32_t width = 0;
    uint32_t height = 0;
    int bits = 8;
    std::vector<uint8_t> bytes;

    void Allocate(uint32_t w, uint32_t h, int depth);
    size_t PixelCount() const { return size_t{width} * height; }
    void* data() { return bytes.data(); }
    const void* data() const { return bytes.data(); }
};

// RGBA image <-> WorkingFrame. 8 bits: channels copied, transparency = 255 - A.
// 16 bits: every channel mapped with FileToHost16 / HostToFile16 and
// transparency = 32768 - A in the host range. The frame is (re)allocated to
// the image's size.
void ToWorkingFrame(const RgbaImage& image, WorkingFrame& frame);
void FromWorkingFrame(const WorkingFrame& frame, RgbaImage& image);

// Raw pipe layouts, tightly packed.
// bgra: bytes B, G, R, A. The working frame only inverts the fourth byte.
void BgraToWorking(const uint8_t* bgra, size_t pixelCount, uint8_t* working);
void WorkingToBgra(const uint8_t* working, size_t pixelCount, uint8_t* bgra);
// rgba64le: little-endian words R, G, B, A, full range.
void Rgba64leToWorking(const uint8_t* rgba64le, size_t pixelCount, uint16_t* working);
void WorkingToRgba64le(const uint16_t* working, size_t pixelCount, uint8_t* rgba64le);

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_FRAMECONVERSION_H
