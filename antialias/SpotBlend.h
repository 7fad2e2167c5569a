// The spot load and blend, written once over the channel type; Smoothing8.cpp
// and Smoothing16.cpp instantiate it for the two depths (engine-internal).
#ifndef QUILLON_ANTIALIAS_SPOTBLEND_H
#define QUILLON_ANTIALIAS_SPOTBLEND_H

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "antialias/AntiAliasStages.h"
#include "antialias/SpotKernels.h"

namespace quillon::aa {

template <typename Channel>
Channel* pixelAt(const SpotFrame& spot, int32_t x, int32_t y) {
    return static_cast<Channel*>(spot.frame) +
           4 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(spot.width) +
                static_cast<std::size_t>(x));
}

inline bool insideFrame(const SpotFrame& spot, int32_t x, int32_t y) {
    return x >= 0 && y >= 0 && x < spot.width && y < spot.height;
}

inline std::size_t layoutOffset(const SpotFrame& spot, int32_t row, int32_t column) {
    return kCellDoubles * (static_cast<std::size_t>(row) * static_cast<std::size_t>(spot.n) +
                           static_cast<std::size_t>(column));
}

// Copies channels 0-2 of the spot around (x, y) into the window; pixels
// outside the frame give 0.
template <typename Channel>
void loadSpotWindowT(const SpotFrame& spot, int32_t x, int32_t y) {
    const int32_t r = spot.r;
    for (int32_t dy = -r; dy <= r; ++dy) {
        for (int32_t dx = -r; dx <= r; ++dx) {
            double* m = spot.window + layoutOffset(spot, dy + r, dx + r);
            if (insideFrame(spot, x + dx, y + dy)) {
                const Channel* p = pixelAt<Channel>(spot, x + dx, y + dy);
                m[0] = p[0];
                m[1] = p[1];
                m[2] = p[2];
            } else {
                m[0] = 0.0;
                m[1] = 0.0;
                m[2] = 0.0;
            }
            m[3] = 0.0;
        }
    }
}

// The first spot of a chain only loads the window. Later spots move the
// window towards the frame and the frame towards the window, channel by
// channel (see SpotKernels.h), one spot row at a time; pixels outside the
// frame are skipped and leave their window cells alone.
template <typename Channel>
void blendSpotT(const SpotFrame& spot, int32_t x, int32_t y, bool* firstFlag) {
    if (*firstFlag) {
        loadSpotWindowT<Channel>(spot, x, y);
        *firstFlag = false;
        return;
    }
    const int32_t r = spot.r;
    const int64_t left = std::max<int64_t>(int64_t{x} - r, 0);
    const int64_t right = std::min<int64_t>(int64_t{x} + r, int64_t{spot.width} - 1);
    if (left > right) {
        return;
    }
    const BlendParams params{spot.follow, spot.mix, followDenominatorBase(), spot.maxValue};
    const BlendRowFn<Channel> row =
        blendRowOf<Channel>(spot.kernels != nullptr ? *spot.kernels : kBlendScalar);
    const auto column = static_cast<int32_t>(left - x + r);
    const auto count = static_cast<int32_t>(right - left + 1);
    for (int32_t dy = -r; dy <= r; ++dy) {
        const int64_t line = int64_t{y} + dy;
        if (line < 0 || line >= spot.height) {
            continue;
        }
        const std::size_t at = layoutOffset(spot, dy + r, column);
        row(params, spot.weights + at, spot.window + at,
            pixelAt<Channel>(spot, static_cast<int32_t>(left), static_cast<int32_t>(line)), count);
    }
}

}  // namespace quillon::aa

#endif  // QUILLON_ANTIALIAS_SPOTBLEND_H
