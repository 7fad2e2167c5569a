// Photos, host worlds and an independent model of the render for the render
// tests: the plug-in runs inside the host simulator, the model runs the
// engine linked into the test after a plain per-pixel conversion.
#ifndef QUILLON_TESTS_RENDER_RENDERTESTSUPPORT_H
#define QUILLON_TESTS_RENDER_RENDERTESTSUPPORT_H

#include <png.h>

#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "engine/ScaleEngine.hpp"
#include "host/ae/PluginTypes.h"

namespace quillon::test {

// An RGB photo: three samples a pixel, 0..65535 for 16-bit files.
struct Photo {
    int32_t width = 0;
    int32_t height = 0;
    int bitDepth = 0;
    std::vector<uint16_t> rgb;

    uint16_t At(int32_t x, int32_t y, int channel) const {
        return rgb[(static_cast<std::size_t>(y) * width + x) * 3 + channel];
    }
};

inline Photo LoadPhoto(const std::string& name) {
    Photo photo;
    const std::string path = std::string(QUILLON_TEST_ASSETS) + "/photos/" + name;
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        return photo;
    }
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    std::vector<uint8_t> bytes;
    std::vector<png_bytep> rows;
    if (png == nullptr || info == nullptr || setjmp(png_jmpbuf(png)) != 0) {
        png_destroy_read_struct(&png, &info, nullptr);
        std::fclose(file);
        return Photo{};
    }
    png_init_io(png, file);
    png_read_info(png, info);
    png_set_expand(png);
    png_set_gray_to_rgb(png);
    png_set_strip_alpha(png);
    png_read_update_info(png, info);
    const int32_t width = static_cast<int32_t>(png_get_image_width(png, info));
    const int32_t height = static_cast<int32_t>(png_get_image_height(png, info));
    const int depth = png_get_bit_depth(png, info);
    const std::size_t rowBytes = png_get_rowbytes(png, info);
    bytes.resize(rowBytes * static_cast<std::size_t>(height));
    rows.resize(static_cast<std::size_t>(height));
    for (int32_t y = 0; y < height; ++y) {
        rows[static_cast<std::size_t>(y)] = bytes.data() + rowBytes * static_cast<std::size_t>(y);
    }
    png_read_image(png, rows.data());
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);

    photo.width = width;
    photo.height = height;
    photo.bitDepth = depth;
    photo.rgb.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3);
    for (std::size_t i = 0; i < photo.rgb.size(); ++i) {
        // 16-bit PNG samples are big-endian.
        photo.rgb[i] =
            depth == 16 ? static_cast<uint16_t>(bytes[2 * i] << 8 | bytes[2 * i + 1]) : bytes[i];
    }
    return photo;
}

// Fills a host world (8 or 16 bits) from the photo's top-left corner. Alpha
// follows a gradient so that the transparency channel carries a picture too;
// 16-bit samples are mapped onto the host's 0..32768.
inline void FillWorld(PF_LayerDef& world, const Photo& photo, bool opaque = false) {
    const bool deep = (world.world_flags & PF_WorldFlag_DEEP) != 0;
    const uint32_t full = photo.bitDepth == 16 ? 65535u : 255u;
    for (int32_t y = 0; y < world.height; ++y) {
        uint8_t* row =
            static_cast<uint8_t*>(world.data) + static_cast<std::ptrdiff_t>(y) * world.rowbytes;
        for (int32_t x = 0; x < world.width; ++x) {
            const int32_t px = x % photo.width;
            const int32_t py = y % photo.height;
            const uint32_t alpha8 = opaque ? 255u : 255u - static_cast<uint32_t>((x + 2 * y) % 160);
            if (deep) {
                auto scale = [full](uint32_t v) {
                    return static_cast<uint16_t>((v * 32768u + full / 2) / full);
                };
                PF_Pixel16 p{static_cast<uint16_t>(alpha8 * 32768u / 255u),
                             scale(photo.At(px, py, 0)), scale(photo.At(px, py, 1)),
                             scale(photo.At(px, py, 2))};
                std::memcpy(row + x * 8, &p, sizeof(p));
            } else {
                const int shift = photo.bitDepth == 16 ? 8 : 0;
                PF_Pixel p{static_cast<uint8_t>(alpha8),
                           static_cast<uint8_t>(photo.At(px, py, 0) >> shift),
                           static_cast<uint8_t>(photo.At(px, py, 1) >> shift),
                           static_cast<uint8_t>(photo.At(px, py, 2) >> shift)};
                std::memcpy(row + x * 4, &p, sizeof(p));
            }
        }
    }
}

// Plain model of the conversions: every row of the world, every pixel, by
// the host's pixel records. rowStep 2 and firstRow 0/1 select one field.
template <typename Sample>
std::vector<Sample> WorldToFrame(const PF_LayerDef& world, int32_t firstRow, int32_t rowStep,
                                 uint32_t white) {
    std::vector<Sample> frame;
    for (int32_t y = firstRow; y < world.height; y += rowStep) {
        const uint8_t* row = static_cast<const uint8_t*>(world.data) +
                             static_cast<std::ptrdiff_t>(y) * world.rowbytes;
        for (int32_t x = 0; x < world.width; ++x) {
            using Pixel = std::conditional_t<sizeof(Sample) == 1, PF_Pixel, PF_Pixel16>;
            Pixel p;
            std::memcpy(&p, row + x * static_cast<int32_t>(sizeof(Pixel)), sizeof(p));
            frame.push_back(p.blue);
            frame.push_back(p.green);
            frame.push_back(p.red);
            frame.push_back(static_cast<Sample>(white - p.alpha));
        }
    }
    return frame;
}

// The host pixels (alpha, red, green, blue) a frame converts into.
template <typename Sample>
std::vector<Sample> FrameToHostOrder(const std::vector<Sample>& frame, uint32_t white) {
    std::vector<Sample> host(frame.size());
    for (std::size_t i = 0; i < frame.size(); i += 4) {
        host[i + 0] = static_cast<Sample>(white - frame[i + 3]);
        host[i + 1] = frame[i + 2];
        host[i + 2] = frame[i + 1];
        host[i + 3] = frame[i + 0];
    }
    return host;
}

// Rows firstRow, firstRow + rowStep, ... of a world, without padding.
template <typename Sample>
std::vector<Sample> WorldSamples(const PF_LayerDef& world, int32_t firstRow = 0,
                                 int32_t rowStep = 1) {
    std::vector<Sample> samples;
    const std::size_t rowSamples = static_cast<std::size_t>(world.width) * 4;
    for (int32_t y = firstRow; y < world.height; y += rowStep) {
        const auto* row =
            reinterpret_cast<const Sample*>(static_cast<const uint8_t*>(world.data) +
                                            static_cast<std::ptrdiff_t>(y) * world.rowbytes);
        samples.insert(samples.end(), row, row + rowSamples);
    }
    return samples;
}

// What the render should leave in the output: the engine run directly on
// the model's working frame, converted back into host order.
template <typename Sample>
std::vector<Sample> ExpectedOutput(const std::vector<Sample>& source, const ScaleRequest& request,
                                   uint32_t white) {
    auto engine = ScaleEngine::Create(request);
    if (!engine) {
        return {};
    }
    std::vector<Sample> destination(std::size_t{request.dstWidth} * request.dstHeight * 4);
    if (!engine->Process(source.data(), destination.data())) {
        return {};
    }
    return FrameToHostOrder(destination, white);
}

}  // namespace quillon::test

#endif  // QUILLON_TESTS_RENDER_RENDERTESTSUPPORT_H
