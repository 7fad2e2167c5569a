// Grey conversion, plain form.
//
// The multiplier 21844 is one below 65536 / 3; that slight bias is part of the
// engine's arithmetic and every grey and brightness plane uses it.
#include <cstddef>

#include "kernels/GreyConversion.h"

namespace quillon {
namespace {

inline uint8_t GreyOfSum(uint32_t sum) {
    return static_cast<uint8_t>((sum * 21844u + 32768u) >> 16);
}

void Grey8(const GreyPlan& plan, const uint8_t* frame, uint8_t* grey, uint32_t rowBegin,
           uint32_t rowEnd, void*) {
    const std::size_t end = std::size_t{rowEnd} * plan.width;
    for (std::size_t i = std::size_t{rowBegin} * plan.width; i < end; ++i) {
        const uint8_t* px = frame + i * 4;
        grey[i] = GreyOfSum(uint32_t{px[0]} + px[1] + px[2]);
    }
}

// High bytes only: with the host's 0..32768 range the plane spans 0..128.
void Grey16(const GreyPlan& plan, const uint16_t* frame, uint8_t* grey, uint32_t rowBegin,
            uint32_t rowEnd, void*) {
    const std::size_t end = std::size_t{rowEnd} * plan.width;
    for (std::size_t i = std::size_t{rowBegin} * plan.width; i < end; ++i) {
        const uint16_t* px = frame + i * 4;
        grey[i] =
            GreyOfSum((uint32_t{px[0]} >> 8u) + (uint32_t{px[1]} >> 8u) + (uint32_t{px[2]} >> 8u));
    }
}

}  // namespace

const GreyKernels kGreyScalar = {&Grey8, &Grey16};

}  // namespace quillon
