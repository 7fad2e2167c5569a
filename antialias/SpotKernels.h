// The arithmetic of one blended spot row: `count` pixels of the frame (four
// channels; channels 0-2 take part, channel 3 is left alone) with their
// window and weight cells (four doubles a cell, the fourth spare). Each
// channel value v moves its window value m towards it, then the two mix into
// the value written back:
//
//   m = m + follow * (v - m) / (base - w)
//   v = trunc((1 - mix * w) * v + mix * w * m + 0.5), limited to
//       0..maxValue (from above first; not a number gives 0)
//
// The channels are independent of each other, so a kernel may take them in
// any order and several at a time; every kernel gives the scalar one's bytes
// and window values. Spare lanes are the kernels' own (weight 0): they may
// hold anything.
#ifndef QUILLON_ANTIALIAS_SPOTKERNELS_H
#define QUILLON_ANTIALIAS_SPOTKERNELS_H

#include <cstdint>

namespace quillon::aa {

inline constexpr int32_t kCellDoubles = 4;

struct BlendParams {
    double follow;
    double mix;
    double base;  // followDenominatorBase()
    int32_t maxValue;
};

template <typename Channel>
using BlendRowFn = void (*)(const BlendParams& params, const double* weights, double* window,
                            Channel* pixels, int32_t count);

// One instruction-set level's kernels for both depths.
struct BlendKernels {
    BlendRowFn<uint8_t> row8;
    BlendRowFn<uint16_t> row16;
};

template <typename Channel>
BlendRowFn<Channel> blendRowOf(const BlendKernels& kernels) {
    if constexpr (sizeof(Channel) == 1) {
        return kernels.row8;
    } else {
        return kernels.row16;
    }
}

extern const BlendKernels kBlendScalar;
#ifdef QUILLON_X86_KERNELS
extern const BlendKernels kBlendSse2;
extern const BlendKernels kBlendAvx2;  // also the AVX-512 level's: wider division gains nothing
#endif

}  // namespace quillon::aa

#endif  // QUILLON_ANTIALIAS_SPOTKERNELS_H
