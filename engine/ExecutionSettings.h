// How the engine runs: the instruction-set level and the number of threads a
// new context uses. Each comes from a programmatic setting if one is made
// (SetEngineCpuCap, SetEngineThreads), else from the environment
// (QUILLON_CPU, QUILLON_THREADS, read once per process), else from the
// machine. A context keeps what was in force when it was created.
#ifndef QUILLON_ENGINE_EXECUTIONSETTINGS_H
#define QUILLON_ENGINE_EXECUTIONSETTINGS_H

#include <cstdint>
#include <optional>
#include <string_view>

#include "core/CpuLevel.h"

namespace quillon {

inline constexpr uint32_t kMaxThreads = 256;

// The level new contexts use: the machine's level, capped.
CpuLevel ActiveCpuLevel();
// The threads new contexts use (1: everything on the calling thread).
uint32_t ActiveThreadCount();

// Empty for a name that is not a level. Names: scalar, sse2, avx2, avx512.
std::optional<CpuLevel> ParseCpuLevel(std::string_view name);

// Programmatic settings; empty / 0 return to the environment's or default.
void SetCpuCap(std::optional<CpuLevel> cap);
void SetThreadCount(uint32_t count);

}  // namespace quillon

#endif  // QUILLON_ENGINE_EXECUTIONSETTINGS_H
