// A side-by-side crop for judging an enlargement: on the left the source
// enlarged by nearest neighbour, on the right quillon's result, the same
// region of the target frame in both.
#ifndef QUILLON_TOOLS_QUILLON_COMPARE_H
#define QUILLON_TOOLS_QUILLON_COMPARE_H

#include <cstdint>
#include <optional>

#include "FrameConversion.h"

namespace quillon {

struct CropRect {
    uint32_t x = 0;
    uint32_t y = 0;
    uint32_t width = 0;
    uint32_t height = 0;
};

inline constexpr uint32_t kCompareGap = 8;

// The crop: the requested size (default 960x540) clamped to the target,
// centred unless a top-left corner is given (then clamped to fit).
CropRect ChooseCrop(uint32_t targetWidth, uint32_t targetHeight, uint32_t cropWidth,
                    uint32_t cropHeight, std::optional<uint32_t> x, std::optional<uint32_t> y);

// Where the picture shows most: the crop of the requested size (clamped to
// the target) whose source region has the most edges: the sum, over its
// pixels, of the luminance steps to the right and below neighbours beyond 12
// levels (smaller steps are grain). Ties go to the top-left-most position.
CropRect ChooseDetailedCrop(const RgbaImage& source, uint32_t targetWidth, uint32_t targetHeight,
                            uint32_t cropWidth, uint32_t cropHeight);

// Target pixel (tx, ty) maps to source pixel floor((t + 0.5) * source / target).
uint32_t NearestSource(uint32_t target, uint32_t sourceSize, uint32_t targetSize);

// Builds the comparison image: crop.width * 2 + gap by crop.height, the depth
// of result, opaque, with a mid-grey gap.
RgbaImage BuildComparison(const RgbaImage& source, const RgbaImage& result, const CropRect& crop);

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_COMPARE_H
