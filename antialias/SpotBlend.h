// The spot load and blend, written once over the channel type; Smoothing8.cpp
// and Smoothing16.cpp instantiate it for the two depths (engine-internal).
#ifndef QUILLON_ANTIALIAS_SPOTBLEND_H
#define QUILLON_ANTIALIAS_SPOTBLEND_H

#include <cmath>
#include <cstddef>

#include "antialias/AntiAliasStages.h"

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
    return 3 * (static_cast<std::size_t>(row) * static_cast<std::size_t>(spot.n) +
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
        }
    }
}

// The first spot of a chain only loads the window. Later spots move the
// window towards the frame and the frame towards the window. Rows go top to
// bottom, columns right to left; pixels outside the frame are skipped and
// leave their window entries alone.
template <typename Channel>
void blendSpotT(const SpotFrame& spot, int32_t x, int32_t y, bool* firstFlag) {
    if (*firstFlag) {
        loadSpotWindowT<Channel>(spot, x, y);
        *firstFlag = false;
        return;
    }
    const int32_t r = spot.r;
    const double base = followDenominatorBase();
    const double follow = spot.follow;
    const double mix = spot.mix;
    const double ceiling = spot.maxValue;
    for (int32_t dy = -r; dy <= r; ++dy) {
        for (int32_t dx = r; dx >= -r; --dx) {
            if (!insideFrame(spot, x + dx, y + dy)) {
                continue;
            }
            Channel* p = pixelAt<Channel>(spot, x + dx, y + dy);
            const std::size_t at = layoutOffset(spot, dy + r, dx + r);
            for (int k = 0; k < 3; ++k) {
                const double v = p[k];
                const double w = spot.weights[at + k];
                double m = spot.window[at + k];
                m = m + follow * (v - m) / (base - w);
                spot.window[at + k] = m;
                const double t = std::trunc((1.0 - mix * w) * v + mix * w * m + 0.5);
                // Limited from above first, then from below (a NaN gives 0).
                if (t > ceiling) {
                    p[k] = static_cast<Channel>(spot.maxValue);
                } else if (t >= 0.0) {
                    p[k] = static_cast<Channel>(t);
                } else {
                    p[k] = 0;
                }
            }
        }
    }
}

}  // namespace quillon::aa

#endif  // QUILLON_ANTIALIAS_SPOTBLEND_H
