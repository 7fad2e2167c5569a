// The horizontal pass of the lattice-map resize without gathers, for levels
// with AVX2: each group of sixteen destination columns whose lattice columns
// fit one 16-byte window is read with one load and two byte shuffles. The
// shuffle indices depend only on the plan; each band builds them once into
// its scratch and uses them for every lattice row it resizes. Groups wider
// than a window (1:1 axes) gather. Included by the AVX2 and AVX-512 files only.
#ifndef QUILLON_KERNELS_X86_MAPSHUFFLEROWS_H
#define QUILLON_KERNELS_X86_MAPSHUFFLEROWS_H

#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kernels/MapResize.h"
#include "kernels/scalar/MapRows.h"

namespace quillon::mapshuffle {
namespace {

inline constexpr uint32_t kWide = UINT32_MAX;  // a group that gathers

// Per group of sixteen columns: its window start (or kWide) and the sixteen
// offsets of the left samples inside the window.
struct Groups {
    const uint32_t* base;
    const __m128i* offsets;
    uint32_t count;
};

inline std::size_t GroupBytes(const RefinePlan& plan) {
    return (std::size_t{plan.dstWidth} / 16) * (sizeof(__m128i) + sizeof(uint32_t)) + 128;
}

inline Groups Prepare(const RefinePlan& plan, uint8_t* memory) {
    const uint32_t count = plan.dstWidth / 16;
    auto* offsets = reinterpret_cast<__m128i*>(maprows::Align64(memory));
    auto* base = reinterpret_cast<uint32_t*>(offsets + count);
    for (uint32_t g = 0; g < count; ++g) {
        const uint32_t* columns = plan.mapColumns + 16 * g;
        // Sixteen left samples and the right one after the last.
        if (columns[15] + 1 - columns[0] > 15) {
            base[g] = kWide;
            offsets[g] = _mm_setzero_si128();
            continue;
        }
        alignas(16) uint8_t at[16];
        for (int i = 0; i < 16; ++i) {
            at[i] = static_cast<uint8_t>(columns[i] - columns[0]);
        }
        base[g] = columns[0];
        offsets[g] = _mm_load_si128(reinterpret_cast<const __m128i*>(at));
    }
    return {base, offsets, count};
}

// Lattice samples of one gathered group of eight columns in 32-bit lanes.
inline __m256i Gathered(const uint8_t* padded, const uint32_t* columns, const uint16_t* weights) {
    const __m256i at = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(columns));
    const __m256i fx =
        _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(weights)));
    const __m256i pair = _mm256_i32gather_epi32(reinterpret_cast<const int*>(padded), at, 1);
    const __m256i left = _mm256_and_si256(pair, _mm256_set1_epi32(0xFF));
    const __m256i right = _mm256_and_si256(_mm256_srli_epi32(pair, 8), _mm256_set1_epi32(0xFF));
    const __m256i step =
        _mm256_srai_epi32(_mm256_add_epi32(_mm256_mullo_epi32(_mm256_sub_epi32(right, left), fx),
                                           _mm256_set1_epi32(32)),
                          6);
    return _mm256_add_epi32(left, step);
}

// One lattice row into 16-bit intermediates. `padded` has room for
// srcWidth + 17 bytes: the row and a zeroed window's overrun.
inline void Horizontal(const RefinePlan& plan, const Groups& groups, const uint8_t* in,
                       int16_t* out, uint8_t* padded) {
    std::memcpy(padded, in, std::size_t{plan.srcWidth} + 1);
    std::memset(padded + plan.srcWidth + 1, 0, 16);
    const __m128i one = _mm_set1_epi8(1);
    const __m256i rounding = _mm256_set1_epi16(32);
    for (uint32_t g = 0; g < groups.count; ++g) {
        const uint32_t k = 16 * g;
        __m256i t;
        if (groups.base[g] != kWide) {
            const __m128i window =
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(padded + groups.base[g]));
            const __m256i left = _mm256_cvtepu8_epi16(_mm_shuffle_epi8(window, groups.offsets[g]));
            const __m256i right = _mm256_cvtepu8_epi16(
                _mm_shuffle_epi8(window, _mm_add_epi8(groups.offsets[g], one)));
            const __m256i fx =
                _mm256_loadu_si256(reinterpret_cast<const __m256i*>(plan.mapColumnWeights + k));
            // |(R - L) * fx| <= 255 * 64: the 16-bit lanes hold it.
            const __m256i step = _mm256_srai_epi16(
                _mm256_add_epi16(_mm256_mullo_epi16(_mm256_sub_epi16(right, left), fx), rounding),
                6);
            t = _mm256_add_epi16(left, step);
        } else {
            const __m256i a = Gathered(padded, plan.mapColumns + k, plan.mapColumnWeights + k);
            const __m256i b =
                Gathered(padded, plan.mapColumns + k + 8, plan.mapColumnWeights + k + 8);
            // packs keeps 128-bit lanes: columns come out 0-3, 8-11, 4-7, 12-15.
            t = _mm256_permute4x64_epi64(_mm256_packs_epi32(a, b), 0xD8);
        }
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + k), t);
    }
    maprows::HorizontalSteps(plan, in, out, 16 * groups.count, plan.dstWidth);
}

// The band: shuffle offsets built once, then the shared rolling loop.
template <typename Vertical>
void Resize(const RefinePlan& plan, const uint8_t* lattice, uint8_t* map, uint32_t rowBegin,
            uint32_t rowEnd, void* scratch, Vertical vertical) {
    if (rowBegin >= rowEnd) {
        return;
    }
    const maprows::Scratch s = maprows::Carve(plan, scratch);
    const Groups groups = Prepare(plan, s.padded + plan.srcWidth + 17);
    maprows::RunBand(
        plan, lattice, map, rowBegin, rowEnd, scratch,
        [&groups](const RefinePlan& p, const uint8_t* in, int16_t* out, uint8_t* padded) {
            Horizontal(p, groups, in, out, padded);
        },
        vertical);
}

}  // namespace
}  // namespace quillon::mapshuffle

#endif  // QUILLON_KERNELS_X86_MAPSHUFFLEROWS_H
