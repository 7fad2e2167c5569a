// Shared helpers of the upscale kernel tests: contexts, frames, and plain
// per-pixel models of the kernels written straight from the filter rules.
#ifndef QUILLON_TESTS_KERNELS_KERNELTESTSUPPORT_H
#define QUILLON_TESTS_KERNELS_KERNELTESTSUPPORT_H

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

#include "engine/Engine.h"
#include "engine/ScaleContext.h"
#include "kernels/Upscale16.h"
#include "kernels/Upscale8.h"
#include "tests/support/TestSupport.h"

namespace quillon::test {

using support::CeilingGuard;
using support::Context;
using support::RandomFrame;
using support::Request;

// Random blocks of flat colour with hard edges: plenty of overshoot.
template <typename Sample>
std::vector<Sample> BlockyFrame(uint32_t width, uint32_t height, uint32_t maxSample,
                                uint32_t seed) {
    std::mt19937 rng(seed);
    std::uniform_int_distribution<uint32_t> pick(0, 1);
    std::vector<Sample> frame(static_cast<std::size_t>(width) * height * 4);
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            for (uint32_t ch = 0; ch < 4; ++ch) {
                const bool on =
                    (((x / 3) + (y / 2) + ch) % 2 == 0) != (pick(rng) == 0 && x % 5 == 0);
                frame[(static_cast<std::size_t>(y) * width + x) * 4 + ch] =
                    static_cast<Sample>(on ? maxSample : 0);
            }
        }
    }
    return frame;
}

// ---- plain models --------------------------------------------------------

inline int32_t ModelStep(int32_t sum) {
    return (sum + 4096) >> 13;
}

inline int32_t ModelSaturate16(int32_t v) {
    return v > 32767 ? 32767 : (v < -32768 ? -32768 : v);
}

inline int32_t ModelClamp(int32_t v, int32_t maxValue) {
    if (v > maxValue) {
        v = maxValue;
    }
    return v < 0 ? 0 : v;
}

inline uint32_t ModelClampIndex(int64_t i, uint32_t count) {
    return i < 0 ? 0u : (i >= count ? count - 1 : static_cast<uint32_t>(i));
}

// The source samples under the taps of interval s of an axis of n samples:
// s - Taps / 2 + 1 onwards, indices outside the axis replaced by the nearest
// border sample (for the cubic kernel: the first interval doubles sample 0,
// the last one doubles sample n - 1).
template <int Taps>
void Neighbours(uint32_t s, uint32_t n, uint32_t (&out)[Taps]) {
    for (int k = 0; k < Taps; ++k) {
        out[k] = ModelClampIndex(static_cast<int64_t>(s) - (Taps / 2 - 1) + k, n);
    }
}

// Cell kernels, one destination pixel at a time: the source interval of a
// destination column or row is taken from the index tables, not from the
// span ends the kernels walk. Held: int16_t at 8 bits, int32_t at 16 bits.
template <typename Sample, typename Held, int Taps>
std::vector<Sample> CellModel(const std::vector<Sample>& src, const ScaleContext& c,
                              int32_t maxValue) {
    const uint32_t w = c.srcWidth;
    const uint32_t h = c.srcHeight;
    std::vector<Sample> out(static_cast<std::size_t>(c.dstWidth) * c.dstHeight * 4);
    for (uint32_t dy = 0; dy < c.dstHeight; ++dy) {
        uint32_t rows[Taps];
        Neighbours<Taps>(c.rowIndex[dy], h, rows);
        const int16_t* rw = c.rowWeights + static_cast<std::size_t>(dy) * Taps;
        for (uint32_t dx = 0; dx < c.dstWidth; ++dx) {
            uint32_t cols[Taps];
            Neighbours<Taps>(c.columnIndex[dx], w, cols);
            const int16_t* cw = c.columnWeights + static_cast<std::size_t>(dx) * Taps;
            for (int ch = 0; ch < 4; ++ch) {
                int32_t vertical = 0;
                for (int j = 0; j < Taps; ++j) {
                    int32_t horizontal = 0;
                    for (int k = 0; k < Taps; ++k) {
                        horizontal +=
                            static_cast<int32_t>(
                                src[(static_cast<std::size_t>(rows[j]) * w + cols[k]) * 4 + ch]) *
                            cw[k];
                    }
                    vertical +=
                        static_cast<int32_t>(static_cast<Held>(ModelStep(horizontal))) * rw[j];
                }
                out[(static_cast<std::size_t>(dy) * c.dstWidth + dx) * 4 + ch] =
                    static_cast<Sample>(ModelClamp(ModelStep(vertical), maxValue));
            }
        }
    }
    return out;
}

// Two-pass kernels: a full horizontal pass into 16-bit scratch, then the
// vertical pass, pixel by pixel. Column weights come four lanes a tap (one a
// channel), row weights eight lanes a tap (channel c of an even pixel in lane
// c, of an odd pixel in lane 4 + c). rowStep > 1 evaluates only every
// rowStep-th destination row (and the last); other rows are left 0.
template <int Taps>
std::vector<uint8_t> TwoPassModel(const std::vector<uint8_t>& src, const ScaleContext& c,
                                  uint32_t rowStep = 1) {
    constexpr int kReach = Taps / 2 - 1;
    const uint32_t w = c.srcWidth;
    const uint32_t h = c.srcHeight;
    const uint32_t wd = c.dstWidth;
    std::vector<int16_t> scratch(static_cast<std::size_t>(wd) * h * 4);
    for (uint32_t y = 0; y < h; ++y) {
        for (uint32_t dx = 0; dx < wd; ++dx) {
            const int64_t first = static_cast<int64_t>(c.columnIndex[dx]) - kReach;
            const int16_t* cw = c.columnWeights + static_cast<std::size_t>(dx) * Taps * 4;
            for (int ch = 0; ch < 4; ++ch) {
                int32_t sum = 0;
                for (int k = 0; k < Taps; ++k) {
                    const uint32_t x = ModelClampIndex(first + k, w);
                    sum +=
                        static_cast<int32_t>(src[(static_cast<std::size_t>(y) * w + x) * 4 + ch]) *
                        cw[k * 4 + ch];
                }
                scratch[(static_cast<std::size_t>(y) * wd + dx) * 4 + ch] =
                    static_cast<int16_t>(ModelSaturate16(ModelStep(sum)));
            }
        }
    }
    std::vector<uint8_t> out(static_cast<std::size_t>(wd) * c.dstHeight * 4, 0);
    for (uint32_t dy = 0; dy < c.dstHeight; ++dy) {
        if (dy % rowStep != 0 && dy + 1 != c.dstHeight) {
            continue;
        }
        const int64_t first = static_cast<int64_t>(c.rowIndex[dy]) - kReach;
        const int16_t* rw = c.rowWeights + static_cast<std::size_t>(dy) * Taps * 8;
        for (uint32_t dx = 0; dx < wd; ++dx) {
            for (int ch = 0; ch < 4; ++ch) {
                int32_t sum = 0;
                for (int j = 0; j < Taps; ++j) {
                    const uint32_t y = ModelClampIndex(first + j, h);
                    sum += static_cast<int32_t>(
                               scratch[(static_cast<std::size_t>(y) * wd + dx) * 4 + ch]) *
                           rw[j * 8 + (dx % 2) * 4 + ch];
                }
                out[(static_cast<std::size_t>(dy) * wd + dx) * 4 + ch] =
                    static_cast<uint8_t>(ModelClamp(ModelSaturate16(ModelStep(sum)), 255));
            }
        }
    }
    return out;
}

// Index of the first differing sample, or -1.
template <typename Sample>
int64_t FirstDifference(const std::vector<Sample>& a, const std::vector<Sample>& b) {
    if (a.size() != b.size()) {
        return 0;
    }
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i] != b[i]) {
            return static_cast<int64_t>(i);
        }
    }
    return -1;
}

// Runs a kernel on two destinations filled with different patterns; both
// must come out equal (every sample written) and the kernel must report
// success. Returns the result.
template <typename Sample, typename Kernel>
std::vector<Sample> RunKernel(Kernel kernel, const std::vector<Sample>& src,
                              const ScaleContext* c) {
    const std::size_t n = static_cast<std::size_t>(c->dstWidth) * c->dstHeight * 4;
    std::vector<Sample> zeros(n, 0);
    std::vector<Sample> ones(n, std::numeric_limits<Sample>::max());
    EXPECT_TRUE(kernel(src.data(), zeros.data(), c));
    EXPECT_TRUE(kernel(src.data(), ones.data(), c));
    EXPECT_EQ(FirstDifference(zeros, ones), -1) << "a destination sample was not written";
    return zeros;
}

// Every upscale kernel with the options and variant that select it.
struct KernelCase {
    const char* name;
    Upscale8Fn fn8;  // one of the two is set
    Upscale16Fn fn16;
    uint32_t variant;
    uint32_t options;

    int taps() const { return (options & OPT_LANCZOS) != 0 ? 8 : 4; }
    uint32_t depth() const { return fn8 != nullptr ? DEPTH_8 : DEPTH_16; }
};

inline const KernelCase kKernels[] = {
    {"cubic cell", &upscale8Cubic, nullptr, KERNEL_CELL, 0},
    {"lanczos cell", &upscale8Lanczos, nullptr, KERNEL_CELL, OPT_LANCZOS},
    {"cubic two-pass", &upscale8CubicTwoPass, nullptr, KERNEL_TWO_PASS, 0},
    {"lanczos two-pass", &upscale8LanczosTwoPass, nullptr, KERNEL_TWO_PASS, OPT_LANCZOS},
    {"cubic 16", nullptr, &upscale16Cubic, KERNEL_CELL, 0},
    {"lanczos 16", nullptr, &upscale16Lanczos, KERNEL_CELL, OPT_LANCZOS},
};

// Calls check(kernel, function, Sample{}) for every kernel, traced by name.
template <typename Check>
void ForEachKernel(Check&& check) {
    for (const KernelCase& k : kKernels) {
        SCOPED_TRACE(k.name);
        if (k.fn8 != nullptr) {
            check(k, k.fn8, uint8_t{0});
        } else {
            check(k, k.fn16, uint16_t{0});
        }
    }
}

// What the model says a kernel writes; maxValue is the channel ceiling the
// cell kernels clamp to (the two-pass kernels always clamp to 255).
template <typename Sample>
std::vector<Sample> ModelOutput(const KernelCase& k, const std::vector<Sample>& src,
                                const ScaleContext& c, int32_t maxValue, uint32_t rowStep = 1) {
    using Held = std::conditional_t<sizeof(Sample) == 1, int16_t, int32_t>;
    if constexpr (sizeof(Sample) == 1) {
        if (k.variant == KERNEL_TWO_PASS) {
            return k.taps() == 8 ? TwoPassModel<8>(src, c, rowStep)
                                 : TwoPassModel<4>(src, c, rowStep);
        }
    }
    return k.taps() == 8 ? CellModel<Sample, Held, 8>(src, c, maxValue)
                         : CellModel<Sample, Held, 4>(src, c, maxValue);
}

inline Request RequestFor(const KernelCase& k, uint32_t srcWidth, uint32_t srcHeight,
                          uint32_t dstWidth, uint32_t dstHeight) {
    Request r{srcWidth, srcHeight, dstWidth, dstHeight};
    r.options = k.options;
    r.depth = k.depth();
    r.variant = k.variant;
    r.quality = 0;
    return r;
}

}  // namespace quillon::test

#endif  // QUILLON_TESTS_KERNELS_KERNELTESTSUPPORT_H
