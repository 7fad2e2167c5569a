// Destination-to-interval tables of the upscale plan.
#include "core/UpscalePlan.h"

namespace quillon {

void BuildUpscaleIntervals(const uint16_t* spanEnd, uint32_t srcCount, uint32_t destCount,
                           uint32_t* intervalOut) {
    uint32_t begin = 0;
    for (uint32_t interval = 0; interval + 1 < srcCount; ++interval) {
        const uint32_t end = SpanEnd(spanEnd, interval, srcCount - 1, destCount, begin);
        for (uint32_t d = begin; d < end; ++d) {
            intervalOut[d] = interval;
        }
        begin = end;
    }
}

}  // namespace quillon
