// Host worlds and an independent model of the render for the render tests:
// the plug-in runs inside the host simulator, the model runs the engine
// linked into the test after a plain per-pixel conversion.
#ifndef QUILLON_TESTS_RENDER_RENDERTESTSUPPORT_H
#define QUILLON_TESTS_RENDER_RENDERTESTSUPPORT_H

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

#include "engine/ScaleEngine.hpp"
#include "host/ae/PluginTypes.h"
#include "tests/support/Photos.h"

namespace quillon::test {

using support::LoadPicture;
using support::Picture;

template <typename Sample>
using HostPixel = std::conditional_t<sizeof(Sample) == 1, PF_Pixel, PF_Pixel16>;

inline uint8_t* WorldRow(const PF_LayerDef& world, int32_t y) {
    return static_cast<uint8_t*>(world.data) + static_cast<std::ptrdiff_t>(y) * world.rowbytes;
}

// Fills a host world (8 or 16 bits) with the photo, repeated as needed. Alpha
// follows a gradient so that the transparency channel carries a picture too;
// 16-bit samples are mapped onto the host's 0..32768.
inline void FillWorld(PF_LayerDef& world, const Picture& photo) {
    const bool deep = (world.world_flags & PF_WorldFlag_DEEP) != 0;
    const uint32_t full = photo.bitDepth == 16 ? 65535u : 255u;
    auto sample = [&](uint32_t v) {
        return deep ? (v * 32768u + full / 2) / full : v >> (photo.bitDepth == 16 ? 8 : 0);
    };
    for (int32_t y = 0; y < world.height; ++y) {
        for (int32_t x = 0; x < world.width; ++x) {
            const uint16_t* rgb =
                &photo.rgba[((y % photo.height) * std::size_t{photo.width} + x % photo.width) * 4];
            const uint32_t alpha8 = 255u - static_cast<uint32_t>((x + 2 * y) % 160);
            const uint32_t px[4] = {deep ? alpha8 * 32768u / 255u : alpha8, sample(rgb[0]),
                                    sample(rgb[1]), sample(rgb[2])};
            for (int c = 0; c < 4; ++c) {
                if (deep) {
                    const auto v = static_cast<uint16_t>(px[c]);
                    std::memcpy(WorldRow(world, y) + x * 8 + c * 2, &v, 2);
                } else {
                    WorldRow(world, y)[x * 4 + c] = static_cast<uint8_t>(px[c]);
                }
            }
        }
    }
}

// Rows firstRow, firstRow + rowStep, ... of a world, without padding.
template <typename Sample>
std::vector<Sample> WorldSamples(const PF_LayerDef& world, int32_t firstRow = 0,
                                 int32_t rowStep = 1) {
    std::vector<Sample> samples;
    for (int32_t y = firstRow; y < world.height; y += rowStep) {
        const auto* row = reinterpret_cast<const Sample*>(WorldRow(world, y));
        samples.insert(samples.end(), row, row + std::size_t{4} * world.width);
    }
    return samples;
}

// What the render should leave in the output rows: the chosen rows of the
// input converted pixel by pixel through the host's pixel records (blue,
// green, red, white - alpha), the engine run directly, and the result
// converted back (alpha, red, green, blue). Empty when the engine refuses.
template <typename Sample>
std::vector<Sample> ExpectedOutput(const PF_LayerDef& in, int32_t firstRow, int32_t rowStep,
                                   const ScaleRequest& request, uint32_t white) {
    std::vector<Sample> source;
    for (int32_t y = firstRow; y < in.height; y += rowStep) {
        for (int32_t x = 0; x < in.width; ++x) {
            HostPixel<Sample> p;
            std::memcpy(&p, WorldRow(in, y) + x * sizeof(p), sizeof(p));
            source.insert(source.end(), {p.blue, p.green, p.red, Sample(white - p.alpha)});
        }
    }
    auto engine = ScaleEngine::Create(request);
    std::vector<Sample> out(std::size_t{request.dstWidth} * request.dstHeight * 4);
    if (!engine || !engine->Process(source.data(), out.data())) {
        return {};
    }
    for (std::size_t i = 0; i < out.size(); i += 4) {
        out[i + 0] = static_cast<Sample>(white - std::exchange(out[i + 3], out[i]));
        std::swap(out[i + 1], out[i + 2]);
    }
    return out;
}

}  // namespace quillon::test

#endif  // QUILLON_TESTS_RENDER_RENDERTESTSUPPORT_H
