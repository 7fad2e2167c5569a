// Sharpen apply, SSE2: column sums and the row blur eight columns at a time in
// 16-bit lanes; the gains are looked up one by one into the column-sum row
// (free once the blur is taken) and applied four pixels at a time. SSE2 has no
// 32-bit multiply, so s * g is put together from the low and high halves of
// the 16-bit products: the exact unsigned 32-bit product, whose bits are the
// wrapped signed one.
#include <emmintrin.h>

#include "kernels/Sharpen.h"
#include "kernels/scalar/SharpenRows.h"

namespace quillon {
namespace {

__m128i Binomial(__m128i a0, __m128i a1, __m128i a2, __m128i a3, __m128i a4) {
    const __m128i ends = _mm_add_epi16(a0, a4);
    const __m128i fours = _mm_slli_epi16(_mm_add_epi16(a1, a3), 2);
    const __m128i six = _mm_add_epi16(_mm_slli_epi16(a2, 2), _mm_slli_epi16(a2, 1));
    return _mm_add_epi16(_mm_add_epi16(ends, fours), six);
}

void ColumnSums(const uint8_t* p0, std::size_t width, uint16_t* v) {
    const __m128i zero = _mm_setzero_si128();
    const auto load = [p0, width, zero](std::size_t row, std::size_t x) {
        return _mm_unpacklo_epi8(
            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p0 + row * width + x)), zero);
    };
    std::size_t x = 0;
    for (; x + 8 <= width; x += 8) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(v + x),
                         Binomial(load(0, x), load(1, x), load(2, x), load(3, x), load(4, x)));
    }
    sharpenrows::ColumnSums(p0, width, v, x, width);
}

void RowBlur(const uint16_t* v, uint8_t* blurred, std::size_t count) {
    const auto load = [v](std::size_t at) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(v + at));
    };
    std::size_t x = 0;
    for (; x + 8 <= count; x += 8) {
        __m128i sum = Binomial(load(x), load(x + 1), load(x + 2), load(x + 3), load(x + 4));
        sum = _mm_srli_epi16(_mm_add_epi16(sum, _mm_set1_epi16(128)), 8);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(blurred + x), _mm_packus_epi16(sum, sum));
    }
    sharpenrows::RowBlur(v, blurred, x, count);
}

inline __m128i Min32(__m128i a, __m128i ceiling) {
    const __m128i above = _mm_cmpgt_epi32(a, ceiling);
    return _mm_or_si128(_mm_and_si128(above, ceiling), _mm_andnot_si128(above, a));
}

// Two pixels' channels (16-bit lanes) times their gains: (s * g + 8192) >> 14
// in wrapping 32 bits, capped at the ceiling, low 16 bits kept.
inline __m128i Scale2(__m128i s, __m128i g, __m128i ceiling) {
    const __m128i lo = _mm_mullo_epi16(s, g);
    const __m128i hi = _mm_mulhi_epu16(s, g);
    const __m128i bias = _mm_set1_epi32(8192);
    __m128i a = Min32(_mm_srai_epi32(_mm_add_epi32(_mm_unpacklo_epi16(lo, hi), bias), 14), ceiling);
    __m128i b = Min32(_mm_srai_epi32(_mm_add_epi32(_mm_unpackhi_epi16(lo, hi), bias), 14), ceiling);
    // Sign-extended low halves, so the saturating pack keeps them exactly.
    a = _mm_srai_epi32(_mm_slli_epi32(a, 16), 16);
    b = _mm_srai_epi32(_mm_slli_epi32(b, 16), 16);
    return _mm_packs_epi32(a, b);
}

// Gains of four neighbourhoods spread over their pixels' lanes: first and
// second pixel, third and fourth.
inline void Spread(const uint16_t* gains, __m128i& first, __m128i& second) {
    const __m128i four = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(gains));
    const __m128i pairs = _mm_unpacklo_epi16(four, four);
    first = _mm_unpacklo_epi32(pairs, pairs);
    second = _mm_unpackhi_epi32(pairs, pairs);
}

void ApplyGains(const uint16_t* gains, uint8_t* row, __m128i ceiling, std::size_t count,
                std::size_t& x) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i colour = _mm_set1_epi32(0x00FFFFFF);
    for (; x + 4 <= count; x += 4) {
        auto* at = reinterpret_cast<__m128i*>(row + (x + 2) * 4);
        const __m128i px = _mm_loadu_si128(at);
        __m128i g0;
        __m128i g1;
        Spread(gains + x, g0, g1);
        const __m128i out = _mm_packus_epi16(Scale2(_mm_unpacklo_epi8(px, zero), g0, ceiling),
                                             Scale2(_mm_unpackhi_epi8(px, zero), g1, ceiling));
        _mm_storeu_si128(at,
                         _mm_or_si128(_mm_and_si128(out, colour), _mm_andnot_si128(colour, px)));
    }
}

void ApplyGains(const uint16_t* gains, uint16_t* row, __m128i ceiling, std::size_t count,
                std::size_t& x) {
    const __m128i colour = _mm_setr_epi16(-1, -1, -1, 0, -1, -1, -1, 0);
    for (; x + 4 <= count; x += 4) {
        auto* at = reinterpret_cast<__m128i*>(row + (x + 2) * 4);
        __m128i g[2];
        Spread(gains + x, g[0], g[1]);
        for (int i = 0; i < 2; ++i) {
            const __m128i s = _mm_loadu_si128(at + i);
            const __m128i out = Scale2(s, g[i], ceiling);
            _mm_storeu_si128(at + i,
                             _mm_or_si128(_mm_and_si128(out, colour), _mm_andnot_si128(colour, s)));
        }
    }
}

template <typename Traits>
void Apply(const SharpenPlan& plan, const uint8_t* plane, typename Traits::Type* frame,
           uint32_t ceiling, uint32_t rowBegin, uint32_t rowEnd, void* scratch) {
    const std::size_t width = plan.width;
    sharpenrows::RunBand(
        plan, plane, frame, rowBegin, rowEnd, scratch,
        [&](const uint8_t* p, uint16_t* sums, uint8_t* blurred, typename Traits::Type* row) {
            ColumnSums(p, width, sums);
            const std::size_t count = width - 5;
            RowBlur(sums, blurred, count);
            const uint8_t* centre = p + 2 * width;
            uint16_t* gains = sums;
            for (std::size_t x = 0; x < count; ++x) {
                gains[x] = plan.curve[uint32_t{centre[x + 2]} * 256u + blurred[x]];
            }
            std::size_t x = 0;
            ApplyGains(gains, row, _mm_set1_epi32(static_cast<int32_t>(ceiling)), count, x);
            sharpenrows::ApplyGains<Traits>(plan.curve, centre, blurred, row,
                                            static_cast<int32_t>(ceiling), x, count);
        });
}

}  // namespace

const SharpenKernels kSharpenSse2 = {&Apply<sharpenrows::Sample8>, &Apply<sharpenrows::Sample16>};

}  // namespace quillon
