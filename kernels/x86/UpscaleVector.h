// The band upscale kernels of every vector level, written once over a
// level's vector type V (V::kLanes 128-bit lanes a register). Included only
// by the level files, which compile it with their own instruction set.
//
// Horizontal step: each source row is padded (replicated border pixels) and
// turned into a row of column pairs, entry e holding padded pixels e and
// e + 1 channel by channel interleaved (a0 b0 a1 b1 a2 b2 a3 b3, 16 bits
// each; 16-bit samples are stored minus 32768 so that they fit). Even entries
// are kept apart from odd ones, so the pairs one destination pixel filters
// (entries e, e + 2, ...) lie side by side: one load, one pmaddwd with the
// pixel's pair weights, and the 128-bit partial sums added across lanes,
// then the Q13 step. Destination pixels go in groups of 2 * kLanes: lane i of
// the "even" register holds pixel 2i of the group, of the "odd" one pixel
// 2i + 1, so the in-lane packs put them back in order. At 16 bits the ring
// keeps the two registers as they are (32-bit lanes); the vertical step's
// in-lane pack restores the order there.
//
// Vertical step: 16-bit rows as interleaved row pairs through pmaddwd, or
// 32-bit rows through pmulld; every sum wraps to 32 bits as the Q13 step
// defines, so the lanes give the scalar twin's bytes.
#ifndef QUILLON_KERNELS_X86_UPSCALEVECTOR_H
#define QUILLON_KERNELS_X86_UPSCALEVECTOR_H

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "kernels/UpscaleKernels.h"
#include "kernels/UpscaleRowRing.h"

// Unnamed namespace: see kernels/UpscaleRowRing.h.
namespace quillon::upscale {
namespace {

// Where a vector level's column layout keeps what: per group of 2 * Lanes
// destination pixels (even pixels first, then odd ones), each pixel's pair
// weights (pair by pair: w0 w1 w0 w1 w0 w1 w0 w1), at 16 bits each pixel's
// 32-bit bias (4096 plus 32768 times its weight sum, undoing the sample
// offset), and where each pixel's first pair sits in the split pair row.
template <int Lanes, typename Family>
struct ColumnLayout {
    static constexpr bool kBias = sizeof(typename Family::Sample) == 2;

    explicit ColumnLayout(const UpscalePlan& plan)
        : pairs(plan.taps / 2), groups(RoundUp(plan.dstWidth, kPixelBlock) / (2 * Lanes)) {}

    std::size_t WeightBytes() const {
        return RoundUp(groups * 2 * Lanes * pairs * 8 * sizeof(int16_t), kScratchAlign);
    }
    std::size_t BiasBytes() const {
        return kBias ? RoundUp(groups * 2 * Lanes * 4 * sizeof(int32_t), kScratchAlign) : 0;
    }
    std::size_t OffsetBytes() const {
        return RoundUp(groups * 2 * Lanes * sizeof(uint32_t), kScratchAlign);
    }
    std::size_t TotalBytes() const { return WeightBytes() + BiasBytes() + OffsetBytes(); }

    void Bind(const void* block) {
        const auto* bytes = static_cast<const unsigned char*>(block);
        weights = reinterpret_cast<const int16_t*>(bytes);
        bias = reinterpret_cast<const int32_t*>(bytes + WeightBytes());
        offsets = reinterpret_cast<const uint32_t*>(bytes + WeightBytes() + BiasBytes());
    }

    std::size_t pairs;
    std::size_t groups;
    const int16_t* weights = nullptr;
    const int32_t* bias = nullptr;
    const uint32_t* offsets = nullptr;  // int16 index into the split pair row
};

// Index of pair entry e in the split pair row: even entries first.
inline std::size_t SplitPairIndex(std::size_t e, std::size_t pairEntries) {
    return ((e & 1) * (pairEntries / 2) + (e >> 1)) * 8;
}

template <int Lanes, typename Family>
std::size_t VectorPreparedBytes(const UpscalePlan& plan) {
    return ColumnLayout<Lanes, Family>(plan).TotalBytes();
}

// Padding pixels beyond the destination's width repeat the last pixel's
// pairs with zero weights.
template <int Lanes, typename Family>
void VectorPrepare(const UpscalePlan& plan, void* prepared) {
    const ColumnLayout<Lanes, Family> layout(plan);
    const std::size_t pairEntries = BandLayout<Family>(plan).pairEntries;
    auto* block = static_cast<unsigned char*>(prepared);
    auto* weights = reinterpret_cast<int16_t*>(block);
    [[maybe_unused]] auto* bias = reinterpret_cast<int32_t*>(block + layout.WeightBytes());
    auto* offsets = reinterpret_cast<uint32_t*>(block + layout.WeightBytes() + layout.BiasBytes());
    const std::size_t taps = plan.taps;
    for (std::size_t slot = 0; slot < layout.groups * 2 * Lanes; ++slot) {
        const std::size_t g = slot / (2 * Lanes);
        const std::size_t half = slot % (2 * Lanes) / Lanes;
        const std::size_t dx = g * 2 * Lanes + 2 * (slot % Lanes) + half;
        const bool inside = dx < plan.dstWidth;
        const std::size_t source = inside ? dx : plan.dstWidth - 1;
        offsets[slot] =
            static_cast<uint32_t>(SplitPairIndex(plan.columnInterval[source], pairEntries));
        const int16_t* w = plan.columnWeights + source * taps;
        uint32_t sum = 0;
        for (std::size_t p = 0; p < layout.pairs; ++p) {
            int16_t* out = weights + (slot * layout.pairs + p) * 8;
            for (int ch = 0; ch < 4; ++ch) {
                out[2 * ch] = inside ? w[2 * p] : 0;
                out[2 * ch + 1] = inside ? w[2 * p + 1] : 0;
            }
            sum += inside ? static_cast<uint32_t>(w[2 * p] + w[2 * p + 1]) : 0;
        }
        if constexpr (ColumnLayout<Lanes, Family>::kBias) {
            const auto pixelBias = static_cast<int32_t>(sum * 32768u + 4096u);
            for (int ch = 0; ch < 4; ++ch) {
                bias[slot * 4 + ch] = pixelBias;
            }
        }
    }
}

// Source row y's pair entries (see above), 2 * kLanes a step: the even ones
// into the first half of the pair row, the odd ones into the second. Steps
// inside the row read it directly; the few at its ends read a copy of the
// pixels they need with the border pixels repeated.
template <typename V, typename Family>
void BuildPairRow(const UpscalePlan& plan, const typename Family::Sample* source, uint32_t y,
                  BandLayout<Family>& band) {
    using Sample = typename Family::Sample;
    using R = typename V::R;
    constexpr std::size_t kStep = 2 * V::kLanes;
    const std::size_t width = plan.srcWidth;
    const std::size_t reach = band.reach;
    const Sample* row = source + std::size_t{y} * width * 4;
    int16_t* even = band.pairs;
    int16_t* odd = band.pairs + band.pairEntries / 2 * 8;
    Sample edge[(kStep + 1) * 4];
    for (std::size_t e = 0; e < band.pairEntries; e += kStep) {
        // Padded pixels e .. e + kStep, i.e. columns e - reach .. e - reach + kStep.
        const Sample* pixels = edge;
        if (e >= reach && e - reach + kStep < width) {
            pixels = row + (e - reach) * 4;
        } else {
            for (std::size_t i = 0; i <= kStep; ++i) {
                const std::size_t column =
                    e + i < reach ? 0 : (e + i - reach < width ? e + i - reach : width - 1);
                for (int ch = 0; ch < 4; ++ch) {
                    edge[i * 4 + ch] = row[column * 4 + ch];
                }
            }
        }
        R first;
        R second;
        if constexpr (sizeof(Sample) == 1) {
            first = V::WidenBytes(pixels);
            second = V::WidenBytes(pixels + 4);
        } else {
            const R offset = V::Set16(static_cast<int16_t>(0x8000));
            first = V::Xor(V::Load(pixels), offset);
            second = V::Xor(V::Load(pixels + 4), offset);
        }
        V::Store(even + e * 4, V::Unpacklo16(first, second));
        V::Store(odd + e * 4, V::Unpackhi16(first, second));
    }
}

template <typename V, typename Family, int Taps>
class VectorBand {
public:
    using Sample = typename Family::Sample;
    using Held = typename Family::Held;
    using R = typename V::R;
    static constexpr int kLanes = V::kLanes;
    static constexpr int kPairs = Taps / 2;
    static constexpr bool kWide = sizeof(Sample) == 2;

    VectorBand(const UpscalePlan& plan, void* scratch, int32_t ceiling)
        : plan_(plan), band_(plan), columns_(plan), ceiling_(Family::Ceiling(ceiling)) {
        band_.Bind(scratch);
        columns_.Bind(plan.prepared);
    }

    void Run(const Sample* source, Sample* destination, uint32_t rowBegin, uint32_t rowEnd) {
        RollRows<Taps>(
            plan_, band_.ring, band_.ringPitch, rowBegin, rowEnd,
            [&](uint32_t y, Held* out) { Horizontal(source, y, out); },
            [&](const Held* const(&rows)[Taps], uint32_t dy, uint32_t count) {
                Sample* out = destination + std::size_t{dy} * plan_.dstWidth * 4;
                if (count == 2) {
                    Vertical<2>(rows, dy, out);
                } else {
                    Vertical<1>(rows, dy, out);
                }
            });
    }

private:
    void Horizontal(const Sample* source, uint32_t y, Held* out) {
        BuildPairRow<V>(plan_, source, y, band_);
        const int16_t* pairs = band_.pairs;
        const int16_t* w = columns_.weights;
        const int32_t* bias = columns_.bias;
        const uint32_t* offsets = columns_.offsets;
        const R round = V::Set32(4096);
        constexpr std::size_t kHalfWeights = std::size_t{kLanes} * kPairs * 8;
        for (std::size_t g = 0; g < columns_.groups; ++g) {
            R even = V::template FilterPixels<kPairs>(pairs, offsets, w);
            R odd = V::template FilterPixels<kPairs>(pairs, offsets + kLanes, w + kHalfWeights);
            if constexpr (kWide) {
                even = V::Add32(even, V::Load(bias));
                odd = V::Add32(odd, V::Load(bias + kLanes * 4));
                bias += 2 * kLanes * 4;
            } else {
                even = V::Add32(even, round);
                odd = V::Add32(odd, round);
            }
            w += 2 * kHalfWeights;
            offsets += 2 * kLanes;
            even = V::Srai13(even);
            odd = V::Srai13(odd);
            if constexpr (kWide) {
                V::Store(out, even);
                V::Store(out + kLanes * 4, odd);
            } else {
                if constexpr (Family::kWrapHeld) {
                    even = V::Wrap16(even);
                    odd = V::Wrap16(odd);
                }
                V::Store(out, V::Packs32(even, odd));
            }
            out += 2 * kLanes * 4;
        }
    }

    template <int Rows>
    void Vertical(const Held* const (&rows)[Taps], uint32_t dy, Sample* out) const {
        if constexpr (kWide) {
            Vertical32<Rows>(rows, dy, out);
        } else {
            Vertical16<Rows>(rows, dy, out);
        }
    }

    // kLanes * 8 int16 lanes of Rows destination rows from the same ring
    // rows, each row with its own weights; Q13 step, saturated to int16.
    template <int Rows>
    static void VerticalHalf(const Held* const (&rows)[Taps], std::size_t lane,
                             const R (&weights)[Rows][kPairs], R round, R (&result)[Rows]) {
        R low[Rows];
        R high[Rows];
        for (int r = 0; r < Rows; ++r) {
            low[r] = round;
            high[r] = round;
        }
        for (int p = 0; p < kPairs; ++p) {
            const R a = V::Load(rows[2 * p] + lane);
            const R b = V::Load(rows[2 * p + 1] + lane);
            const R lowPairs = V::Unpacklo16(a, b);
            const R highPairs = V::Unpackhi16(a, b);
            for (int r = 0; r < Rows; ++r) {
                low[r] = V::Add32(low[r], V::Madd16(lowPairs, weights[r][p]));
                high[r] = V::Add32(high[r], V::Madd16(highPairs, weights[r][p]));
            }
        }
        for (int r = 0; r < Rows; ++r) {
            result[r] = V::Packs32(V::Srai13(low[r]), V::Srai13(high[r]));
        }
    }

    template <int Rows>
    void Vertical16(const Held* const (&rows)[Taps], uint32_t dy, uint8_t* out) const {
        R weights[Rows][kPairs];
        for (int r = 0; r < Rows; ++r) {
            const int16_t* w = plan_.rowWeights + (std::size_t{dy} + r) * Taps;
            for (int p = 0; p < kPairs; ++p) {
                weights[r][p] = V::Set32(
                    static_cast<int32_t>(static_cast<uint16_t>(w[2 * p]) |
                                         (uint32_t{static_cast<uint16_t>(w[2 * p + 1])} << 16)));
            }
        }
        const R round = V::Set32(4096);
        const R top = V::Set8(static_cast<int8_t>(ceiling_));
        constexpr std::size_t kStep = kLanes * 16;  // output bytes a step
        const std::size_t lanes = std::size_t{plan_.dstWidth} * 4;
        for (std::size_t lane = 0; lane < lanes; lane += kStep) {
            R first[Rows];
            R second[Rows];
            VerticalHalf<Rows>(rows, lane, weights, round, first);
            VerticalHalf<Rows>(rows, lane + kStep / 2, weights, round, second);
            for (int r = 0; r < Rows; ++r) {
                const R bytes = V::MinU8(V::PackBytes(first[r], second[r]), top);
                uint8_t* at = out + r * lanes + lane;
                if (lane + kStep <= lanes) {
                    V::Store(at, bytes);
                } else {
                    V::StoreBytes(at, bytes, lanes - lane);
                }
            }
        }
    }

    template <int Rows>
    void Vertical32(const Held* const (&rows)[Taps], uint32_t dy, uint16_t* out) const {
        R weights[Rows][Taps];
        for (int r = 0; r < Rows; ++r) {
            const int16_t* w = plan_.rowWeights + (std::size_t{dy} + r) * Taps;
            for (int j = 0; j < Taps; ++j) {
                weights[r][j] = V::Set32(w[j]);
            }
        }
        const R round = V::Set32(4096);
        const R top = V::Set32(ceiling_);
        const R zero = V::Set32(0);
        constexpr std::size_t kGroup = 2 * kLanes;  // pixels a step
        const std::size_t width = plan_.dstWidth;
        for (std::size_t x = 0; x < width; x += kGroup) {
            R even[Rows];
            R odd[Rows];
            for (int r = 0; r < Rows; ++r) {
                even[r] = round;
                odd[r] = round;
            }
            for (int j = 0; j < Taps; ++j) {
                const R evenRow = V::Load(rows[j] + x * 4);
                const R oddRow = V::Load(rows[j] + x * 4 + kLanes * 4);
                for (int r = 0; r < Rows; ++r) {
                    even[r] = V::Add32(even[r], V::Mullo32(evenRow, weights[r][j]));
                    odd[r] = V::Add32(odd[r], V::Mullo32(oddRow, weights[r][j]));
                }
            }
            for (int r = 0; r < Rows; ++r) {
                const R samples = V::PackU16(V::Max32(V::Min32(V::Srai13(even[r]), top), zero),
                                             V::Max32(V::Min32(V::Srai13(odd[r]), top), zero));
                uint16_t* at = out + r * width * 4 + x * 4;
                if (x + kGroup <= width) {
                    V::Store(at, samples);
                } else {
                    V::StoreBytes(at, samples, (width - x) * 8);
                }
            }
        }
    }

    const UpscalePlan& plan_;
    BandLayout<Family> band_;
    ColumnLayout<kLanes, Family> columns_;
    int32_t ceiling_;
};

template <typename V, typename Family>
void VectorRun(const UpscalePlan& plan, const typename Family::Sample* source,
               typename Family::Sample* destination, uint32_t rowBegin, uint32_t rowEnd,
               void* scratch, int32_t ceiling) {
    if (plan.taps == 8) {
        VectorBand<V, Family, 8>(plan, scratch, ceiling).Run(source, destination, rowBegin, rowEnd);
    } else {
        VectorBand<V, Family, 4>(plan, scratch, ceiling).Run(source, destination, rowBegin, rowEnd);
    }
}

template <typename V, typename Family>
constexpr UpscaleKernels<typename Family::Sample> kVectorKernels = {
    &VectorRun<V, Family>, &BandScratchBytes<Family>, &VectorPreparedBytes<V::kLanes, Family>,
    &VectorPrepare<V::kLanes, Family>};

}  // namespace
}  // namespace quillon::upscale

#endif  // QUILLON_KERNELS_X86_UPSCALEVECTOR_H
