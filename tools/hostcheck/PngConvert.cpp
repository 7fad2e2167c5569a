#include "tools/hostcheck/PngConvert.h"

#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <vector>

namespace quillon::hostcheck {
namespace {

struct DecodedPng {
    png_uint_32 width = 0;
    png_uint_32 height = 0;
    int bitDepth = 0;
    std::vector<png_byte> rows;  // RGBA, 8 or 16 bits a sample (big-endian)
};

// Kept free of objects with destructors between setjmp and the reads, as
// libpng's error path jumps back here.
bool Decode(std::FILE* file, DecodedPng& out) {
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    if (png == nullptr) {
        return false;
    }
    png_infop info = png_create_info_struct(png);
    if (info == nullptr || setjmp(png_jmpbuf(png)) != 0) {
        png_destroy_read_struct(&png, &info, nullptr);
        return false;
    }
    png_init_io(png, file);
    png_read_info(png, info);
    out.width = png_get_image_width(png, info);
    out.height = png_get_image_height(png, info);
    out.bitDepth = png_get_bit_depth(png, info) == 16 ? 16 : 8;
    png_set_expand(png);
    png_set_gray_to_rgb(png);
    png_set_add_alpha(png, out.bitDepth == 16 ? 0xFFFF : 0xFF, PNG_FILLER_AFTER);
    png_read_update_info(png, info);
    const std::size_t rowBytes = png_get_rowbytes(png, info);
    out.rows.resize(rowBytes * out.height);
    std::vector<png_bytep> pointers(out.height);
    for (png_uint_32 y = 0; y < out.height; ++y) {
        pointers[y] = out.rows.data() + rowBytes * y;
    }
    png_read_image(png, pointers.data());
    png_destroy_read_struct(&png, &info, nullptr);
    return true;
}

}  // namespace

bool ReadPng(const std::string& path, RgbaFrame& frame, std::string* error) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        if (error != nullptr) {
            *error = path + ": cannot open";
        }
        return false;
    }
    DecodedPng png;
    const bool ok = Decode(file, png);
    std::fclose(file);
    if (!ok || png.width == 0 || png.height == 0) {
        if (error != nullptr) {
            *error = path + ": not a readable PNG file";
        }
        return false;
    }
    frame.width = static_cast<int32_t>(png.width);
    frame.height = static_cast<int32_t>(png.height);
    const bool deep = png.bitDepth == 16;
    frame.maxValue = deep ? 32768u : 255u;
    const std::size_t count = static_cast<std::size_t>(png.width) * png.height * 4;
    frame.samples.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        if (deep) {
            const uint32_t value = (uint32_t{png.rows[2 * i]} << 8) | png.rows[2 * i + 1];
            frame.samples[i] = static_cast<uint16_t>((value * 32768u + 32767u) / 65535u);
        } else {
            frame.samples[i] = png.rows[i];
        }
    }
    return true;
}

}  // namespace quillon::hostcheck
