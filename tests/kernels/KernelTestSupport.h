// Shared helpers of the upscale kernel tests: contexts, frames, and plain
// per-pixel models of the kernels written straight from the filter rules.
#ifndef QUILLON_TESTS_KERNELS_KERNELTESTSUPPORT_H
#define QUILLON_TESTS_KERNELS_KERNELTESTSUPPORT_H

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "engine/Engine.h"
#include "engine/ScaleContext.h"

namespace quillon::test {

// Owns one context made by CreateScaleContext.
class Context {
public:
    Context(uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth, uint32_t dstHeight,
            uint32_t options, uint32_t depthMode, uint32_t kernelVariant) {
        result_ = CreateScaleContext(srcWidth, srcHeight, dstWidth, dstHeight, dstWidth, dstHeight,
                                     options, depthMode, kernelVariant, 0, 0, 0, &context_);
    }
    ~Context() { DestroyScaleContext(context_); }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    bool ok() const { return result_ == 0 && context_ != nullptr; }
    const ScaleContext* get() const { return context_; }
    ScaleContext* mutableGet() const { return context_; }
    const ScaleContext& operator*() const { return *context_; }
    const ScaleContext* operator->() const { return context_; }

private:
    ScaleContext* context_ = nullptr;
    int32_t result_ = -1;
};

// Sets a channel ceiling for one test and restores the default afterwards.
class MaxValue8Guard {
public:
    explicit MaxValue8Guard(int32_t value) { EXPECT_EQ(SetMaxValue8(value), 0); }
    ~MaxValue8Guard() { SetMaxValue8(255); }
};

class MaxValue16Guard {
public:
    explicit MaxValue16Guard(int32_t value) { EXPECT_EQ(SetMaxValue16(value), 0); }
    ~MaxValue16Guard() { SetMaxValue16(65535); }
};

template <typename Sample>
std::vector<Sample> RandomFrame(uint32_t width, uint32_t height, uint32_t seed,
                                uint32_t maxSample) {
    std::mt19937 rng(seed);
    std::uniform_int_distribution<uint32_t> dist(0, maxSample);
    std::vector<Sample> frame(static_cast<std::size_t>(width) * height * 4);
    for (auto& s : frame) {
        s = static_cast<Sample>(dist(rng));
    }
    return frame;
}

// Random blocks of flat colour with hard edges: plenty of overshoot.
template <typename Sample>
std::vector<Sample> BlockyFrame(uint32_t width, uint32_t height, uint32_t seed,
                                uint32_t maxSample) {
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

// The four neighbourhood indices of the cubic kernel for interval s of an
// axis of n samples: the first interval doubles sample 0, the last one
// doubles sample n - 1.
inline void CubicNeighbours(uint32_t s, uint32_t n, uint32_t (&out)[4]) {
    if (s == 0) {
        out[0] = 0;
        out[1] = 0;
        out[2] = 1;
        out[3] = 2;
    } else if (s == n - 2) {
        out[0] = n - 3;
        out[1] = n - 2;
        out[2] = n - 1;
        out[3] = n - 1;
    } else {
        out[0] = s - 1;
        out[1] = s;
        out[2] = s + 1;
        out[3] = s + 2;
    }
}

template <int Taps>
void Neighbours(uint32_t s, uint32_t n, uint32_t (&out)[Taps]) {
    if constexpr (Taps == 4) {
        CubicNeighbours(s, n, out);
    } else {
        for (int k = 0; k < Taps; ++k) {
            out[k] = ModelClampIndex(static_cast<int64_t>(s) - 3 + k, n);
        }
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

}  // namespace quillon::test

#endif  // QUILLON_TESTS_KERNELS_KERNELTESTSUPPORT_H
