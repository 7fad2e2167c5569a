// Tables that depend only on settings, shared by every context that asks for
// the same key: one axis's positions and weights, the refinement curve, the
// sharpen curve. Process-wide, thread-safe and bounded (the least recently
// asked-for entries are dropped first; a context keeps the entries it holds
// alive). Entries take their memory from the default aligned allocator, not
// from the engine's hooks: a host's memory is only ours for one render, and
// the cache outlives renders.
#ifndef QUILLON_ENGINE_TABLECACHE_H
#define QUILLON_ENGINE_TABLECACHE_H

#include <cstddef>
#include <cstdint>
#include <memory>

namespace quillon {

// The weight layout a kernel family reads: taps per entry and how many times
// each tap is repeated (1, 4 or 8).
enum class WeightLayout : uint8_t {
    None,
    Cubic,
    CubicX4,
    CubicX8,
    Lanczos,
    LanczosX4,
    LanczosX8,
};

// int16 values in one destination sample's entry of a layout.
std::size_t WeightEntryValues(WeightLayout layout);

enum class Axis : uint8_t { Columns, Rows };

// One axis of n source samples spread over m destination samples.
struct AxisTables {
    uint16_t* spanEnd = nullptr;     // n - 1
    uint32_t* interval = nullptr;    // m: the source interval each destination sample is in
    double* fraction = nullptr;      // m
    uint32_t* index = nullptr;       // m
    int16_t* weights = nullptr;      // m entries of the layout (null for None)
    uint32_t* mapLattice = nullptr;  // m: the lattice-map resize taps
    uint16_t* mapWeight = nullptr;   // m
    bool mapUsable = false;
};

// Null when memory ran out.
std::shared_ptr<const AxisTables> AcquireAxisTables(uint32_t n, uint32_t m, WeightLayout layout,
                                                    Axis axis);
std::shared_ptr<const int16_t> AcquireRefineCurve(float shape);
std::shared_ptr<const uint16_t> AcquireSharpenCurve(float gain);

// Drops every entry no context holds (tests use it to measure a first build).
void ClearTableCache();

}  // namespace quillon

#endif  // QUILLON_ENGINE_TABLECACHE_H
