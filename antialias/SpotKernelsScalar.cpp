// The spot row blend, one channel at a time: the plain form the vector
// kernels are bound to.
#include <cmath>

#include "antialias/SpotKernels.h"

namespace quillon::aa {

namespace {

template <typename Channel>
void blendRowScalar(const BlendParams& params, const double* weights, double* window,
                    Channel* pixels, int32_t count) {
    const double ceiling = params.maxValue;
    for (int32_t i = 0; i < count; ++i) {
        for (int k = 0; k < 3; ++k) {
            Channel& p = pixels[4 * i + k];
            const double v = p;
            const double w = weights[kCellDoubles * i + k];
            double& m = window[kCellDoubles * i + k];
            m = m + params.follow * (v - m) / (params.base - w);
            const double t = std::trunc((1.0 - params.mix * w) * v + params.mix * w * m + 0.5);
            if (t > ceiling) {
                p = static_cast<Channel>(params.maxValue);
            } else if (t >= 0.0) {
                p = static_cast<Channel>(t);
            } else {
                p = 0;
            }
        }
    }
}

}  // namespace

const BlendKernels kBlendScalar = {blendRowScalar<uint8_t>, blendRowScalar<uint16_t>};

}  // namespace quillon::aa
