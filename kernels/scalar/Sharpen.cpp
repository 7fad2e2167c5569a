// Sharpen pass: an unsharp mask on a one-byte brightness plane, applied to
// blue, green and red as a Q14 gain looked up by (centre, blurred).
//
// The 5 x 5 binomial blur (1 4 6 4 1 both ways, total 256) is taken as a
// column pass then a row pass; the integer sum is the same as the direct
// 25-term one. The loop runs over rows 0..H - 6 and columns 0..W - 6 of
// neighbourhood origins and writes each neighbourhood's centre, so rows and
// columns 0..1 and the last three rows and columns are never written. That
// one-pixel imbalance is deliberate and kept.
#include "kernels/Sharpen.h"

#include <cstddef>

#include "core/EngineMemory.h"
#include "core/EngineSettings.h"

namespace quillon {

namespace {

struct Sample8 {
    using Type = uint8_t;
    static uint32_t Brightness(uint8_t s) { return s; }
    static int32_t Ceiling() { return MaxValue8(); }
    static uint8_t Apply(uint8_t s, uint32_t gain, int32_t ceiling) {
        int32_t v = (static_cast<int32_t>(s) * static_cast<int32_t>(gain) + 8192) >> 14;
        if (v > ceiling) {
            v = ceiling;
        }
        return static_cast<uint8_t>(v);
    }
};

struct Sample16 {
    using Type = uint16_t;
    static uint32_t Brightness(uint16_t s) { return s >> 8u; }
    static int32_t Ceiling() { return MaxValue16(); }
    // s * g + 8192 follows signed 32-bit arithmetic: with a ceiling above
    // 64886 and a gain above 2.0 it wraps negative, slips under the ceiling
    // and is stored as its low 16 bits. Computed in 64 bits and narrowed
    // modulo 2^32 so the wrap is well defined.
    static uint16_t Apply(uint16_t s, uint32_t gain, int32_t ceiling) {
        const int64_t wide = int64_t{s} * gain + 8192;
        int32_t v = static_cast<int32_t>(wide) >> 14;
        if (v > ceiling) {
            v = ceiling;
        }
        return static_cast<uint16_t>(v);
    }
};

template <typename Traits>
void Plane(const FramePlan& plan, const typename Traits::Type* frame, uint8_t* plane,
           uint32_t rowBegin, uint32_t rowEnd) {
    const std::size_t width = plan.dstWidth;
    for (std::size_t i = width * rowBegin; i < width * rowEnd; ++i) {
        const typename Traits::Type* px = frame + i * 4;
        const uint32_t sum =
            Traits::Brightness(px[0]) + Traits::Brightness(px[1]) + Traits::Brightness(px[2]);
        plane[i] = static_cast<uint8_t>((sum * 21844u + 32768u) >> 16);
    }
}

template <typename Traits>
void Apply(const FramePlan& plan, const uint8_t* plane, typename Traits::Type* frame,
           uint32_t originBegin, uint32_t originEnd, void* scratch) {
    const std::size_t width = plan.dstWidth;
    const uint16_t* curve = plan.sharpenCurve;
    const int32_t ceiling = Traits::Ceiling();
    uint16_t* v = static_cast<uint16_t*>(scratch);
    uint8_t* rowBlur = reinterpret_cast<uint8_t*>(v + width);
    for (std::size_t y = originBegin; y < originEnd; ++y) {
        const uint8_t* p0 = plane + y * width;
        const uint8_t* p1 = p0 + width;
        const uint8_t* p2 = p1 + width;
        const uint8_t* p3 = p2 + width;
        const uint8_t* p4 = p3 + width;
        for (std::size_t x = 0; x < width; ++x) {
            v[x] = static_cast<uint16_t>(p0[x] + 4 * p1[x] + 6 * p2[x] + 4 * p3[x] + p4[x]);
        }
        // Row blur into its own array first: the sums vectorise, the table
        // look-ups that follow cannot.
        const std::size_t columns = width - 5;
        for (std::size_t x = 0; x < columns; ++x) {
            const uint32_t blur =
                uint32_t{v[x]} + 4u * v[x + 1] + 6u * v[x + 2] + 4u * v[x + 3] + v[x + 4];
            rowBlur[x] = static_cast<uint8_t>((blur + 128u) >> 8);
        }
        typename Traits::Type* row = frame + (y + 2) * width * 4;
        for (std::size_t x = 0; x < columns; ++x) {
            const uint32_t centre = p2[x + 2];
            const uint32_t gain = curve[centre * 256u + rowBlur[x]];
            typename Traits::Type* px = row + (x + 2) * 4;
            px[0] = Traits::Apply(px[0], gain, ceiling);
            px[1] = Traits::Apply(px[1], gain, ceiling);
            px[2] = Traits::Apply(px[2], gain, ceiling);
        }
    }
}

template <typename Traits>
bool SharpenFrame(typename Traits::Type* frame, const FramePlan* plan) {
    if (frame == nullptr || plan == nullptr || plan->sharpenCurve == nullptr) {
        return false;
    }
    const uint32_t origins = SharpenOriginRows(*plan);
    if (origins == 0) {
        return true;
    }
    ScratchBuffer<uint8_t> plane(std::size_t{plan->dstWidth} * plan->dstHeight);
    ScratchBuffer<unsigned char> scratch(SharpenScratchBytes(*plan));
    if (!plane || !scratch) {
        return false;
    }
    Plane<Traits>(*plan, frame, plane.get(), 0, plan->dstHeight);
    Apply<Traits>(*plan, plane.get(), frame, 0, origins, scratch.get());
    return true;
}

}  // namespace

uint32_t SharpenOriginRows(const FramePlan& plan) {
    // Frames of five rows or columns or fewer have no neighbourhood to write.
    return plan.dstHeight < 6 || plan.dstWidth < 6 ? 0 : plan.dstHeight - 5;
}

std::size_t SharpenScratchBytes(const FramePlan& plan) {
    return std::size_t{plan.dstWidth} * (sizeof(uint16_t) + 1);
}

void sharpenPlane8Rows(const FramePlan& plan, const uint8_t* frame, uint8_t* plane,
                       uint32_t rowBegin, uint32_t rowEnd) {
    Plane<Sample8>(plan, frame, plane, rowBegin, rowEnd);
}

void sharpenPlane16Rows(const FramePlan& plan, const uint16_t* frame, uint8_t* plane,
                        uint32_t rowBegin, uint32_t rowEnd) {
    Plane<Sample16>(plan, frame, plane, rowBegin, rowEnd);
}

void sharpenApply8Rows(const FramePlan& plan, const uint8_t* plane, uint8_t* frame,
                       uint32_t originBegin, uint32_t originEnd, void* scratch) {
    Apply<Sample8>(plan, plane, frame, originBegin, originEnd, scratch);
}

void sharpenApply16Rows(const FramePlan& plan, const uint8_t* plane, uint16_t* frame,
                        uint32_t originBegin, uint32_t originEnd, void* scratch) {
    Apply<Sample16>(plan, plane, frame, originBegin, originEnd, scratch);
}

bool sharpen8(uint8_t* frame, const FramePlan* plan) {
    return SharpenFrame<Sample8>(frame, plan);
}

bool sharpen16(uint16_t* frame, const FramePlan* plan) {
    return SharpenFrame<Sample16>(frame, plan);
}

}  // namespace quillon
