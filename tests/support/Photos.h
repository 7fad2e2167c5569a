// Test photographs: PNG loading and conversion to the working layouts.
#ifndef QUILLON_TESTS_SUPPORT_PHOTOS_H
#define QUILLON_TESTS_SUPPORT_PHOTOS_H

#include <png.h>

#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace quillon::support {

// An RGB(A) picture as read from a PNG: 8 or 16 bits, values unscaled.
struct Picture {
    uint32_t width = 0;
    uint32_t height = 0;
    int bitDepth = 0;
    std::vector<uint16_t> rgba;  // four values a pixel

    bool empty() const { return rgba.empty(); }
};

inline Picture LoadPicture(const std::string& name) {
    Picture picture;
    const std::string path = std::string(QUILLON_TEST_ASSETS) + "/photos/" + name;
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        return picture;
    }
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    if (png == nullptr || info == nullptr) {
        png_destroy_read_struct(&png, &info, nullptr);
        std::fclose(file);
        return picture;
    }
    std::vector<uint8_t> pixels;
    if (setjmp(png_jmpbuf(png)) != 0) {
        png_destroy_read_struct(&png, &info, nullptr);
        std::fclose(file);
        return Picture{};
    }
    png_init_io(png, file);
    png_read_info(png, info);
    png_set_expand(png);
    png_set_gray_to_rgb(png);
    png_set_add_alpha(png, 0xFFFF, PNG_FILLER_AFTER);
    const int depth = png_get_bit_depth(png, info) == 16 ? 16 : 8;
    if (depth == 16) {
        png_set_swap(png);  // host byte order
    }
    png_read_update_info(png, info);
    const uint32_t width = png_get_image_width(png, info);
    const uint32_t height = png_get_image_height(png, info);
    const std::size_t rowBytes = png_get_rowbytes(png, info);
    pixels.resize(rowBytes * height);
    std::vector<png_bytep> rows(height);
    for (uint32_t y = 0; y < height; ++y) {
        rows[y] = pixels.data() + rowBytes * y;
    }
    png_read_image(png, rows.data());
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);

    picture.width = width;
    picture.height = height;
    picture.bitDepth = depth;
    picture.rgba.resize(std::size_t{width} * height * 4);
    for (std::size_t i = 0; i < picture.rgba.size(); ++i) {
        if (depth == 16) {
            uint16_t v = 0;
            std::memcpy(&v, pixels.data() + i * 2, 2);
            picture.rgba[i] = v;
        } else {
            picture.rgba[i] = pixels[i];
        }
    }
    return picture;
}

// Working-frame layout: blue, green, red, transparency (maximum - alpha).
inline std::vector<uint8_t> ToWorking8(const Picture& p) {
    std::vector<uint8_t> frame(p.rgba.size());
    const int shift = p.bitDepth == 16 ? 8 : 0;
    for (std::size_t i = 0; i < p.rgba.size(); i += 4) {
        frame[i + 0] = static_cast<uint8_t>(p.rgba[i + 2] >> shift);
        frame[i + 1] = static_cast<uint8_t>(p.rgba[i + 1] >> shift);
        frame[i + 2] = static_cast<uint8_t>(p.rgba[i + 0] >> shift);
        frame[i + 3] = static_cast<uint8_t>(255 - (p.rgba[i + 3] >> shift));
    }
    return frame;
}

// The host's 16-bit range 0..32768.
inline std::vector<uint16_t> ToWorking16(const Picture& p) {
    std::vector<uint16_t> frame(p.rgba.size());
    const uint32_t full = p.bitDepth == 16 ? 65535 : 255;
    auto scale = [full](uint32_t v) {
        return static_cast<uint16_t>((v * 32768u + full / 2) / full);
    };
    for (std::size_t i = 0; i < p.rgba.size(); i += 4) {
        frame[i + 0] = scale(p.rgba[i + 2]);
        frame[i + 1] = scale(p.rgba[i + 1]);
        frame[i + 2] = scale(p.rgba[i + 0]);
        frame[i + 3] = static_cast<uint16_t>(32768 - scale(p.rgba[i + 3]));
    }
    return frame;
}

}  // namespace quillon::support

#endif  // QUILLON_TESTS_SUPPORT_PHOTOS_H
