// Target size of the current frame from the host's records.
#ifndef QUILLON_HOST_FRAMESETUP_H
#define QUILLON_HOST_FRAMESETUP_H

#include "effect/SizePresets.h"
#include "host/Commands.h"

namespace quillon::host {

// The "4K Output Size" preset (or the custom sliders) applied to the input
// layer and the composition. The caller has checked that params holds every
// index through "Custom Height".
TargetSize ComputeTargetSize(const CommandArgs& args);

}  // namespace quillon::host

#endif  // QUILLON_HOST_FRAMESETUP_H
