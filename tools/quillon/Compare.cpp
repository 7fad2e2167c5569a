#include "Compare.h"

#include <algorithm>

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
