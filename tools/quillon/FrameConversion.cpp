#include "FrameConversion.h"

#include <cstring>

namespace quillon {

namespace {

constexpr uint8_t kMax8 = 255;

inline uint16_t LoadLe16(const uint8_t* p) {
    return static_cast<uint16_t>(p[0] | (p[1] << 8));
}

inline void StoreLe16(uint8_t* p, uint16_t v) {
    p[0] = static_cast<uint8_t>(v & 0xff);
    p[1] = static_cast<uint8_t>(v >> 8);
}

inline uint16_t HostAlphaFromTransparency(uint16_t t) {
    return static_cast<uint16_t>(t >= kWhite16 ? 0 : kWhite16 - t);
}

// RGBA <-> BGR + transparency at 8 bits: the swap and the inversion are
// their own inverses, so one loop serves both directions.
// Whole pixels as 32-bit words (byte order independent: the swap is done on
// the bytes' positions) so the loop vectorises; 255 - a is a ^ 255.
void SwapRedBlueInvertAlpha8(const uint8_t* s, uint8_t* d, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        uint8_t px[4];
        std::memcpy(px, s + i * 4, 4);
        const uint8_t out[4] = {px[2], px[1], px[0], static_cast<uint8_t>(px[3] ^ kMax8)};
        std::memcpy(d + i * 4, out, 4);
    }
}

// The 16-bit counterpart: colour through mapColour, the fourth channel
// through mapFourth, red and blue swapped.
template <typename MapColour, typename MapFourth>
void SwapRedBlue16(const uint16_t* s, uint16_t* d, size_t n, MapColour mapColour,
                   MapFourth mapFourth) {
    for (size_t i = 0; i < n; ++i, s += 4, d += 4) {
        d[0] = mapColour(s[2]);
        d[1] = mapColour(s[1]);
        d[2] = mapColour(s[0]);
        d[3] = mapFourth(s[3]);
    }
}

}  // namespace

void RgbaImage::Allocate(uint32_t w, uint32_t h, int depth) {
    width = w;
    height = h;
    bits = depth;
    const size_t count = size_t{w} * h * 4;
    // Every caller overwrites all pixels: a frame of the same size is reused
    // as it is, without clearing.
    if (depth == 8) {
        pixels8.resize(count);
        pixels16.clear();
    } else {
        pixels16.resize(count);
        pixels8.clear();
    }
}

void WorkingFrame::Allocate(uint32_t w, uint32_t h, int depth) {
    width = w;
    height = h;
    bits = depth;
    bytes.resize(size_t{w} * h * (depth == 8 ? 4 : 8));
}

void ToWorkingFrame(const RgbaImage& image, WorkingFrame& frame) {
    frame.Allocate(image.width, image.height, image.bits);
    const size_t n = image.PixelCount();
    if (image.bits == 8) {
        SwapRedBlueInvertAlpha8(image.pixels8.data(), frame.bytes.data(), n);
        return;
    }
    SwapRedBlue16(
        image.pixels16.data(), reinterpret_cast<uint16_t*>(frame.bytes.data()), n,
        [](uint16_t v) { return FileToHost16(v); },
        [](uint16_t a) { return static_cast<uint16_t>(kWhite16 - FileToHost16(a)); });
}

void FromWorkingFrame(const WorkingFrame& frame, RgbaImage& image) {
    image.Allocate(frame.width, frame.height, frame.bits);
    const size_t n = frame.PixelCount();
    if (frame.bits == 8) {
        SwapRedBlueInvertAlpha8(frame.bytes.data(), image.pixels8.data(), n);
        return;
    }
    SwapRedBlue16(
        reinterpret_cast<const uint16_t*>(frame.bytes.data()), image.pixels16.data(), n,
        [](uint16_t v) { return HostToFile16(v); },
        [](uint16_t t) { return HostToFile16(HostAlphaFromTransparency(t)); });
}

void BgraToWorking(const uint8_t* bgra, size_t pixelCount, uint8_t* working) {
    if (working != bgra) {
        std::memcpy(working, bgra, pixelCount * 4);
    }
    for (size_t i = 0; i < pixelCount; ++i) {
        working[i * 4 + 3] = static_cast<uint8_t>(kMax8 - working[i * 4 + 3]);
    }
}

void WorkingToBgra(const uint8_t* working, size_t pixelCount, uint8_t* bgra) {
    // The inversion is its own inverse.
    BgraToWorking(working, pixelCount, bgra);
}

void Rgba64leToWorking(const uint8_t* rgba64le, size_t pixelCount, uint16_t* working) {
    for (size_t i = 0; i < pixelCount; ++i, rgba64le += 8, working += 4) {
        working[0] = FileToHost16(LoadLe16(rgba64le + 4));
        working[1] = FileToHost16(LoadLe16(rgba64le + 2));
        working[2] = FileToHost16(LoadLe16(rgba64le + 0));
        working[3] = static_cast<uint16_t>(kWhite16 - FileToHost16(LoadLe16(rgba64le + 6)));
    }
}

void WorkingToRgba64le(const uint16_t* working, size_t pixelCount, uint8_t* rgba64le) {
    for (size_t i = 0; i < pixelCount; ++i, rgba64le += 8, working += 4) {
        StoreLe16(rgba64le + 0, HostToFile16(working[2]));
        StoreLe16(rgba64le + 2, HostToFile16(working[1]));
        StoreLe16(rgba64le + 4, HostToFile16(working[0]));
        StoreLe16(rgba64le + 6, HostToFile16(HostAlphaFromTransparency(working[3])));
    }
}

}  // namespace quillon
