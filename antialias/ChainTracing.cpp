// Chain tracing: walks every segment of every chain across the destination
// pixels it covers and blends a spot at the pixel nearest to the line.
//
// Row chains walk destination columns and search destination rows; column
// chains do the opposite. The walk is written once over an "outer" axis
// (walked) and a "cross" axis (searched). Chain 0 is never traced, and fewer
// than two chains trace nothing. The chosen cross position is one variable
// for the whole call: a column without any candidate closer than 10.0, or a
// pair flat along the walk, reuses the previous choice (0 at the start).
#include <algorithm>
#include <cmath>

#include "antialias/AntiAliasStages.h"

namespace quillon::aa {

namespace {

struct Axis {
    int32_t sourceCount;
    const uint16_t* spanEnd;  // sourceCount - 1 entries
    const double* frac;       // destinationCount entries
    int32_t destinationCount;
};

struct Span {
    int32_t begin;
    int32_t end;
};

// Destination samples of source interval s (0 <= s < sourceCount - 1),
// clipped to the destination size.
inline Span spanOf(const Axis& axis, int32_t s) {
    const int32_t last = s < axis.sourceCount - 1 ? axis.spanEnd[s] : axis.spanEnd[s - 1];
    return {s > 0 ? axis.spanEnd[s - 1] : 0, std::min(last, axis.destinationCount)};
}

void traceChains(const ChainSet& chains, int32_t width, const Axis& outer, const Axis& cross,
                 bool walkColumns, const SpotFrame& spot, BlendSpotFn blend) {
    if (chains.count < 2 || width <= 0) {
        return;
    }
    const int32_t* p = chains.points.data();
    int32_t chosen = 0;
    for (int32_t k = 1; k < chains.count; ++k) {
        bool firstFlag = true;
        for (int32_t at = chains.ends[k - 1]; at + 1 < chains.ends[k]; at += 2) {
            const int32_t a = p[at];
            const int32_t b = p[at + 1];
            const int32_t ax = a % width;
            const int32_t ay = a / width;
            const int32_t bx = b % width;
            const int32_t by = b / width;
            const int32_t o0 = walkColumns ? ax : ay;
            const int32_t o1 = walkColumns ? bx : by;
            const int32_t c0 = walkColumns ? ay : ax;
            const int32_t c1 = walkColumns ? by : bx;
            const int32_t olo = std::max(std::min(o0, o1), 0);
            const int32_t ohi = std::min(std::max(o0, o1), outer.sourceCount - 1);
            const int32_t clo = std::max(std::min(c0, c1), 0);
            const int32_t chi = std::min(std::max(c0, c1), cross.sourceCount - 1);
            if (olo >= ohi) {
                continue;
            }
            const double slope = static_cast<double>(c1 - c0) / static_cast<double>(o1 - o0);
            const double crossExtent = static_cast<double>(chi - clo);
            for (int32_t os = olo; os < ohi; ++os) {
                const Span outerSpan = spanOf(outer, os);
                for (int32_t o = outerSpan.begin; o < outerSpan.end; ++o) {
                    const double u = static_cast<double>(os - olo) + outer.frac[o];
                    const double target =
                        slope > 0.0 ? u * slope : crossExtent - std::fabs(u * slope);
                    double best = 10.0;
                    for (int32_t cs = clo; cs < chi; ++cs) {
                        const Span crossSpan = spanOf(cross, cs);
                        for (int32_t c = crossSpan.begin; c < crossSpan.end; ++c) {
                            const double candidate = static_cast<double>(cs - clo) + cross.frac[c];
                            const double distance = std::fabs(candidate - target);
                            if (best > distance) {  // strict: the first of equals stays
                                best = distance;
                                chosen = c;
                            }
                        }
                    }
                    if (walkColumns) {
                        blend(spot, o, chosen, &firstFlag);
                    } else {
                        blend(spot, chosen, o, &firstFlag);
                    }
                }
            }
        }
    }
}

Axis columnAxis(const FramePlan* context) {
    return {static_cast<int32_t>(context->srcWidth), context->columnSpanEnd, context->columnFrac,
            static_cast<int32_t>(context->dstWidth)};
}

Axis rowAxis(const FramePlan* context) {
    return {static_cast<int32_t>(context->srcHeight), context->rowSpanEnd, context->rowFrac,
            static_cast<int32_t>(context->dstHeight)};
}

}  // namespace

void traceRowChains(const FramePlan* context, const ChainSet& chains, const SpotFrame& spot,
                    BlendSpotFn blend) {
    traceChains(chains, static_cast<int32_t>(context->srcWidth), columnAxis(context),
                rowAxis(context), true, spot, blend);
}

void traceColumnChains(const FramePlan* context, const ChainSet& chains, const SpotFrame& spot,
                       BlendSpotFn blend) {
    traceChains(chains, static_cast<int32_t>(context->srcWidth), rowAxis(context),
                columnAxis(context), false, spot, blend);
}

}  // namespace quillon::aa
