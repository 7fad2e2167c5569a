// The size and pixel aspect of the composition that holds the effect's layer,
// asked of the host through its AEGP suites.
#ifndef QUILLON_HOST_COMPOSITIONQUERY_H
#define QUILLON_HOST_COMPOSITIONQUERY_H

#include "host/ae/PluginTypes.h"

namespace quillon::host {

struct CompositionInfo {
    int32_t width = 0;
    int32_t height = 0;
    A_Ratio pixelAspect{1, 1};
};

// Returns true when both the dimensions and the pixel aspect were read. Each
// output is written only when its host call succeeded, so callers start from
// their fallback values. Every acquired suite is released in the order
// PF Interface, Layer, Item, Comp.
bool QueryCompositionSize(const PF_InData* in_data, CompositionInfo& info);

// numerator / denominator, or 1.0 when the denominator is 0.
double RatioValue(int32_t num, uint32_t den);

}  // namespace quillon::host

#endif  // QUILLON_HOST_COMPOSITIONQUERY_H
