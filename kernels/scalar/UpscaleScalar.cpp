// Plain scalar band upscale kernels of the three families: the reference
// every vector level is bound to, one sample at a time.
#include <cstddef>
#include <cstdint>

#include "kernels/Upscale16Cell.h"
#include "kernels/Upscale8Cell.h"
#include "kernels/Upscale8TwoPass.h"
#include "kernels/UpscaleRowRing.h"

namespace quillon {
namespace {

using upscale::BandLayout;

template <typename Family, int Taps>
void RunBand(const UpscalePlan& plan, const typename Family::Sample* source,
             typename Family::Sample* destination, uint32_t rowBegin, uint32_t rowEnd,
             void* scratch, int32_t ceiling) {
    using Sample = typename Family::Sample;
    using Held = typename Family::Held;
    BandLayout<Family> band(plan);
    band.Bind(scratch);
    const std::size_t dstWidth = plan.dstWidth;
    const int32_t top = Family::Ceiling(ceiling);

    // Destination column dx filters padded pixels interval .. interval + Taps - 1.
    auto horizontal = [&](uint32_t y, Held* out) {
        upscale::PadSourceRow(plan, source, y, band);
        for (std::size_t dx = 0; dx < dstWidth; ++dx) {
            const Sample* pixels = band.padded + std::size_t{plan.columnInterval[dx]} * 4;
            const int16_t* w = plan.columnWeights + dx * Taps;
            for (int ch = 0; ch < 4; ++ch) {
                int64_t sum = 0;
                for (int k = 0; k < Taps; ++k) {
                    sum += int64_t{pixels[k * 4 + ch]} * w[k];
                }
                out[dx * 4 + ch] = Family::Hold(Q13Step(sum));
            }
        }
    };
    auto vertical = [&](const Held* const(&rows)[Taps], uint32_t firstRow, uint32_t count) {
        for (uint32_t dy = firstRow; dy < firstRow + count; ++dy) {
            const int16_t* w = plan.rowWeights + std::size_t{dy} * Taps;
            Sample* out = destination + std::size_t{dy} * dstWidth * 4;
            for (std::size_t lane = 0; lane < dstWidth * 4; ++lane) {
                int64_t sum = 0;
                for (int j = 0; j < Taps; ++j) {
                    sum += int64_t{rows[j][lane]} * w[j];
                }
                out[lane] = static_cast<Sample>(ClampToRange(Q13Step(sum), top));
            }
        }
    };
    upscale::RollRows<Taps>(plan, band.ring, band.ringPitch, rowBegin, rowEnd, horizontal,
                            vertical);
}

template <typename Family>
void Run(const UpscalePlan& plan, const typename Family::Sample* source,
         typename Family::Sample* destination, uint32_t rowBegin, uint32_t rowEnd, void* scratch,
         int32_t ceiling) {
    if (plan.taps == 8) {
        RunBand<Family, 8>(plan, source, destination, rowBegin, rowEnd, scratch, ceiling);
    } else {
        RunBand<Family, 4>(plan, source, destination, rowBegin, rowEnd, scratch, ceiling);
    }
}

std::size_t NothingPrepared(const UpscalePlan&) {
    return 0;
}

void PrepareNothing(const UpscalePlan&, void*) {}

template <typename Family>
constexpr UpscaleKernels<typename Family::Sample> kScalar = {
    &Run<Family>, &upscale::BandScratchBytes<Family>, &NothingPrepared, &PrepareNothing};

}  // namespace

const Upscale8Kernels kUpscale8TwoPassScalar = kScalar<upscale::TwoPass8Family>;
const Upscale8Kernels kUpscale8CellScalar = kScalar<upscale::Cell8Family>;
const Upscale16Kernels kUpscale16CellScalar = kScalar<upscale::Cell16Family>;

}  // namespace quillon
