#include "Compare.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace quillon {

CropRect ChooseCrop(uint32_t tw, uint32_t th, uint32_t cw, uint32_t ch, std::optional<uint32_t> x,
                    std::optional<uint32_t> y) {
    CropRect crop;
    crop.width = std::min(cw == 0 ? 960u : cw, tw);
    crop.height = std::min(ch == 0 ? 540u : ch, th);
    crop.x = x ? std::min(*x, tw - crop.width) : (tw - crop.width) / 2;
    crop.y = y ? std::min(*y, th - crop.height) : (th - crop.height) / 2;
    return crop;
}

namespace {
constexpr int32_t kGrain = 12;
}  // namespace

CropRect ChooseDetailedCrop(const RgbaImage& source, uint32_t tw, uint32_t th, uint32_t cw,
                            uint32_t ch) {
    CropRect crop = ChooseCrop(tw, th, cw, ch, 0u, 0u);
    const uint32_t sw = source.width;
    const uint32_t sh = source.height;
    if (sw < 2 || sh < 2 || (crop.width == tw && crop.height == th)) {
        return crop;
    }
    // Luminance (Rec. 601 weights, 8-bit scale) and its local contrast.
    std::vector<int32_t> luma(size_t{sw} * sh);
    for (size_t i = 0; i < luma.size(); ++i) {
        int32_t rgb[3];
        for (int c = 0; c < 3; ++c) {
            rgb[c] =
                source.bits == 16 ? source.pixels16[i * 4 + c] / 257 : source.pixels8[i * 4 + c];
        }
        luma[i] = (rgb[0] * 299 + rgb[1] * 587 + rgb[2] * 114) / 1000;
    }
    // Summed-area table of the contrast, one extra row and column of zeros.
    std::vector<int64_t> sums(size_t{sw + 1} * (sh + 1), 0);
    for (uint32_t y = 0; y < sh; ++y) {
        int64_t row = 0;
        for (uint32_t x = 0; x < sw; ++x) {
            const int32_t v = luma[size_t{y} * sw + x];
            const int32_t right = x + 1 < sw ? luma[size_t{y} * sw + x + 1] : v;
            const int32_t below = y + 1 < sh ? luma[size_t{y + 1} * sw + x] : v;
            // Steps below kGrain levels are grain, not edges.
            row += std::max(0, std::abs(v - right) - kGrain) +
                   std::max(0, std::abs(v - below) - kGrain);
            sums[size_t{y + 1} * (sw + 1) + x + 1] = sums[size_t{y} * (sw + 1) + x + 1] + row;
        }
    }
    // The crop's footprint in the source, slid in steps of an eighth of it.
    const auto footprintW =
        std::max<uint32_t>(1, static_cast<uint32_t>(uint64_t{crop.width} * sw / tw));
    const auto footprintH =
        std::max<uint32_t>(1, static_cast<uint32_t>(uint64_t{crop.height} * sh / th));
    const uint32_t stepX = std::max<uint32_t>(1, footprintW / 8);
    const uint32_t stepY = std::max<uint32_t>(1, footprintH / 8);
    int64_t best = -1;
    uint32_t bestX = 0;
    uint32_t bestY = 0;
    for (uint32_t y = 0; y + footprintH <= sh; y += stepY) {
        for (uint32_t x = 0; x + footprintW <= sw; x += stepX) {
            const auto at = [&](uint32_t px, uint32_t py) {
                return sums[size_t{py} * (sw + 1) + px];
            };
            const int64_t total = at(x + footprintW, y + footprintH) - at(x, y + footprintH) -
                                  at(x + footprintW, y) + at(x, y);
            if (total > best) {
                best = total;
                bestX = x;
                bestY = y;
            }
        }
    }
    crop.x = std::min(static_cast<uint32_t>(uint64_t{bestX} * tw / sw), tw - crop.width);
    crop.y = std::min(static_cast<uint32_t>(uint64_t{bestY} * th / sh), th - crop.height);
    return crop;
}

uint32_t NearestSource(uint32_t target, uint32_t sourceSize, uint32_t targetSize) {
    const uint64_t s = (uint64_t{target} * 2 + 1) * sourceSize / (uint64_t{targetSize} * 2);
    return static_cast<uint32_t>(std::min<uint64_t>(s, sourceSize - 1));
}

RgbaImage BuildComparison(const RgbaImage& source, const RgbaImage& result, const CropRect& crop) {
    RgbaImage out;
    const uint32_t width = crop.width * 2 + kCompareGap;
    out.Allocate(width, crop.height, result.bits);
    const bool deep = result.bits == 16;
    const uint16_t grey = deep ? 32896 : 128;
    const uint16_t opaque = deep ? 65535 : 255;

    auto put = [&](uint32_t x, uint32_t y, const uint16_t px[4]) {
        const size_t i = (size_t{y} * width + x) * 4;
        for (int c = 0; c < 4; ++c) {
            if (deep) {
                out.pixels16[i + c] = px[c];
            } else {
                out.pixels8[i + c] = static_cast<uint8_t>(px[c]);
            }
        }
    };
    auto get = [](const RgbaImage& img, uint32_t x, uint32_t y, uint16_t px[4], int outBits) {
        const size_t i = (size_t{y} * img.width + x) * 4;
        for (int c = 0; c < 4; ++c) {
            uint32_t v = img.bits == 16 ? img.pixels16[i + c] : img.pixels8[i + c];
            if (img.bits == 8 && outBits == 16) {
                v *= 257;
            } else if (img.bits == 16 && outBits == 8) {
                v = (v + 128) / 257;
            }
            px[c] = static_cast<uint16_t>(v);
        }
    };

    for (uint32_t y = 0; y < crop.height; ++y) {
        const uint32_t ty = crop.y + y;
        const uint32_t sy = NearestSource(ty, source.height, result.height);
        for (uint32_t x = 0; x < crop.width; ++x) {
            const uint32_t tx = crop.x + x;
            uint16_t px[4];
            get(source, NearestSource(tx, source.width, result.width), sy, px, result.bits);
            px[3] = opaque;
            put(x, y, px);
            get(result, tx, ty, px, result.bits);
            px[3] = opaque;
            put(crop.width + kCompareGap + x, y, px);
        }
        const uint16_t gap[4] = {grey, grey, grey, opaque};
        for (uint32_t x = 0; x < kCompareGap; ++x) {
            put(crop.width + x, y, gap);
        }
    }
    return out;
}

}  // namespace quillon
