// What the processor running the engine offers, found once.
#ifndef QUILLON_CORE_CPUFEATURES_H
#define QUILLON_CORE_CPUFEATURES_H

#include "core/CpuLevel.h"

namespace quillon {

// The highest level this processor and its operating system support
// (cpuid for the instructions, xgetbv for the register state the system
// saves). Detected on the first call; thread-safe.
CpuLevel MachineCpuLevel();

}  // namespace quillon

#endif  // QUILLON_CORE_CPUFEATURES_H
