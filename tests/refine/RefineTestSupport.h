// Hand-built contexts and greys shared by the refinement and sharpen tests.
#ifndef QUILLON_TESTS_REFINE_REFINETESTSUPPORT_H
#define QUILLON_TESTS_REFINE_REFINETESTSUPPORT_H

#include <cstdint>
#include <vector>

#include "engine/CurveTables.h"
#include "engine/ScaleContext.h"
#include "tests/support/Photos.h"
#include "tests/support/TestSupport.h"

namespace quillon::refinetest {

using support::CeilingGuard;
using support::Context;
using support::RandomFrame;
using support::Request;

// A context with only the fields the refinement apply and the sharpen pass
// read, backed by vectors owned here.
struct HandContext {
    ScaleContext context{};
    std::vector<uint8_t> refineMin;
    std::vector<uint8_t> refineMax;
    std::vector<int16_t> refineCurve;
    std::vector<uint16_t> sharpenCurve;

    // shape: the refinement curve's shape, 0.1 + Quality / 20.
    // sharpness: the Sharpness slider value 1..25 (0: no sharpen curve).
    HandContext(uint32_t width, uint32_t height, double shape, uint32_t sharpness = 0)
        : refineMin(std::size_t{width} * height, 0),
          refineMax(refineMin.size(), 0),
          refineCurve(std::size_t{kRefineCurveRows} * kRefineCurveColumns, 0),
          sharpenCurve(kSharpenCurveSize, 0) {
        context.dstWidth = width;
        context.dstHeight = height;
        buildRefineCurve(shape, refineCurve.data());
        context.refineMin = refineMin.data();
        context.refineMax = refineMax.data();
        context.refineCurve = refineCurve.data();
        if (sharpness != 0) {
            const float gain = static_cast<float>((sharpness - 0.52) / 24.0);
            buildSharpenCurve(static_cast<double>(gain), sharpenCurve.data());
            context.sharpenCurve = sharpenCurve.data();
        }
    }
};

// The grey the refinement sees: a rounded third of the colour sum at 8 bits,
// of the 16-bit sum scaled to 0..255 of 65535 at 16 bits (0..128 on the
// host's range), kept to 8 bits.
inline int Grey(const uint8_t* px) {
    return static_cast<int>(((px[0] + px[1] + px[2]) * 21844u + 32768u) >> 16);
}
inline int Grey(const uint16_t* px) {
    return static_cast<int>((((px[0] + px[1] + px[2]) * 85u + 32768u) >> 16) & 0xFF);
}

}  // namespace quillon::refinetest

#endif  // QUILLON_TESTS_REFINE_REFINETESTSUPPORT_H
