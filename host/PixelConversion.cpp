#include "host/PixelConversion.h"

#include <algorithm>
#include <cstddef>

#include "engine/Engine.h"

namespace quillon::host {
namespace {

// One row, host order (alpha, red, green, blue) to frame order (blue, green,
// red, M - alpha). Plain indexed loops over restrict pointers: the compiler
// turns them into shuffles.
template <typename T>
void HostRowToFrame(const T* __restrict src, T* __restrict dst, int32_t count, T m) {
    for (int32_t i = 0; i < count; ++i) {
        const T a = src[4 * i + 0];
        const T r = src[4 * i + 1];
        const T g = src[4 * i + 2];
        const T b = src[4 * i + 3];
        dst[4 * i + 0] = b;
        dst[4 * i + 1] = g;
        dst[4 * i + 2] = r;
        dst[4 * i + 3] = static_cast<T>(m - a);
    }
}

template <typename T>
void FrameRowToHost(const T* __restrict src, T* __restrict dst, int32_t count, T m) {
    for (int32_t i = 0; i < count; ++i) {
        const T b = src[4 * i + 0];
        const T g = src[4 * i + 1];
        const T r = src[4 * i + 2];
        const T t = src[4 * i + 3];
        dst[4 * i + 0] = static_cast<T>(m - t);
        dst[4 * i + 1] = r;
        dst[4 * i + 2] = g;
        dst[4 * i + 3] = b;
    }
}

bool HasPixels(const PF_LayerDef& world) {
    return world.data != nullptr && world.width > 0 && world.height > 0;
}

// Address of pixel (x, y) of a world of T channels.
template <typename T>
T* WorldPixel(const PF_LayerDef& world, int32_t x, int32_t y) {
    uint8_t* row =
        static_cast<uint8_t*>(world.data) + static_cast<std::ptrdiff_t>(y) * world.rowbytes;
    return reinterpret_cast<T*>(row) + static_cast<std::ptrdiff_t>(x) * 4;
}

std::ptrdiff_t FrameOffset(int32_t x, int32_t y, int32_t frameWidth) {
    return (static_cast<std::ptrdiff_t>(y) * frameWidth + x) * 4;
}

// The centred overlap of a frame and a world along one axis.
struct Span {
    int32_t worldStart;
    int32_t frameStart;
    int32_t count;
};

Span Overlap(int32_t frameSize, int32_t worldSize) {
    const int32_t d = (frameSize - worldSize) / 2;
    if (worldSize > frameSize) {
        return Span{-d, 0, frameSize};
    }
    return Span{0, d, worldSize};
}

// Runs rows(y0, y1) over [0, count) in bands on the engine's threads. The
// conversions touch only the two buffers they are given: no memory, no host
// calls.
template <typename Rows>
void ForRowBands(int32_t count, const Rows& rows) {
    if (count <= 0) {
        return;
    }
    RunEngineRowBands(
        static_cast<uint32_t>(count),
        [](void* state, uint32_t begin, uint32_t end) {
            (*static_cast<const Rows*>(state))(static_cast<int32_t>(begin),
                                               static_cast<int32_t>(end));
        },
        const_cast<Rows*>(&rows));
}

}  // namespace

template <typename T>
void ReadCropCentre(const PF_LayerDef& world, T* frame, int32_t width, int32_t height,
                    uint32_t maxValue) {
    if (!HasPixels(world) || frame == nullptr) {
        return;
    }
    const int32_t w = width > 0 ? width : world.width;
    const int32_t h = height > 0 ? height : world.height;
    const int32_t regionWidth = std::min(w, world.width);
    const int32_t regionHeight = std::min(h, world.height);
    const int32_t x0 = (world.width - regionWidth) / 2;
    const int32_t y0 = (world.height - regionHeight) / 2;
    const T m = static_cast<T>(maxValue);
    ForRowBands(regionHeight, [&](int32_t begin, int32_t end) {
        for (int32_t y = begin; y < end; ++y) {
            HostRowToFrame(WorldPixel<const T>(world, x0, y0 + y),
                           frame + FrameOffset(0, y, regionWidth), regionWidth, m);
        }
    });
}

template <typename T>
void WriteCentre(const T* frame, const PF_LayerDef& world, int32_t width, int32_t height,
                 uint32_t maxValue) {
    if (!HasPixels(world) || frame == nullptr) {
        return;
    }
    const int32_t frameWidth = std::max(width > 0 ? width : world.width, world.width);
    const int32_t frameHeight = std::max(height > 0 ? height : world.height, world.height);
    const int32_t x0 = (frameWidth - world.width) / 2;
    const int32_t y0 = (frameHeight - world.height) / 2;
    const T m = static_cast<T>(maxValue);
    ForRowBands(world.height, [&](int32_t begin, int32_t end) {
        for (int32_t y = begin; y < end; ++y) {
            FrameRowToHost(frame + FrameOffset(x0, y0 + y, frameWidth), WorldPixel<T>(world, 0, y),
                           world.width, m);
        }
    });
}

template <typename T>
void ReadOverlap(const PF_LayerDef& world, T* frame, int32_t width, int32_t height,
                 uint32_t maxValue) {
    if (!HasPixels(world) || frame == nullptr || width <= 0 || height <= 0) {
        return;
    }
    const Span cols = Overlap(width, world.width);
    const Span rows = Overlap(height, world.height);
    const T m = static_cast<T>(maxValue);
    ForRowBands(rows.count, [&](int32_t begin, int32_t end) {
        for (int32_t y = begin; y < end; ++y) {
            HostRowToFrame(WorldPixel<const T>(world, cols.worldStart, rows.worldStart + y),
                           frame + FrameOffset(cols.frameStart, rows.frameStart + y, width),
                           cols.count, m);
        }
    });
}

template <typename T>
void WriteOverlap(const T* frame, const PF_LayerDef& world, int32_t width, int32_t height,
                  uint32_t maxValue) {
    if (!HasPixels(world) || frame == nullptr || width <= 0 || height <= 0) {
        return;
    }
    const Span cols = Overlap(width, world.width);
    const Span rows = Overlap(height, world.height);
    const T m = static_cast<T>(maxValue);
    ForRowBands(rows.count, [&](int32_t begin, int32_t end) {
        for (int32_t y = begin; y < end; ++y) {
            FrameRowToHost(frame + FrameOffset(cols.frameStart, rows.frameStart + y, width),
                           WorldPixel<T>(world, cols.worldStart, rows.worldStart + y), cols.count,
                           m);
        }
    });
}

#define QUILLON_PIXEL_CONVERSIONS(T)                                                        \
    template void ReadCropCentre<T>(const PF_LayerDef&, T*, int32_t, int32_t, uint32_t);    \
    template void WriteCentre<T>(const T*, const PF_LayerDef&, int32_t, int32_t, uint32_t); \
    template void ReadOverlap<T>(const PF_LayerDef&, T*, int32_t, int32_t, uint32_t);       \
    template void WriteOverlap<T>(const T*, const PF_LayerDef&, int32_t, int32_t, uint32_t);
QUILLON_PIXEL_CONVERSIONS(uint8_t)
QUILLON_PIXEL_CONVERSIONS(uint16_t)
#undef QUILLON_PIXEL_CONVERSIONS

}  // namespace quillon::host
