// The process-wide table cache: a short list per kind, most recent first.
#include "engine/TableCache.h"

#include <bit>
#include <cstring>
#include <list>
#include <mutex>
#include <new>
#include <utility>

#include "core/CurveTables.h"
#include "core/EngineMemory.h"
#include "core/MapTables.h"
#include "core/PositionTables.h"
#include "core/UpscalePlan.h"
#include "core/WeightTables.h"

namespace quillon {
namespace {

// Enough for a handful of sizes and filters in use at once (a host rendering
// several layers, the CLI's preview and final sizes).
constexpr std::size_t kMaxAxisEntries = 24;
constexpr std::size_t kMaxCurveEntries = 6;

struct AlignedDeleter {
    void operator()(const void* p) const { AlignedRelease(const_cast<void*>(p)); }
};

template <typename Key, typename Value>
class Lru {
public:
    explicit Lru(std::size_t capacity) : capacity_(capacity) {}

    std::shared_ptr<const Value> Find(const Key& key) {
        std::lock_guard lock(mutex_);
        for (auto it = entries_.begin(); it != entries_.end(); ++it) {
            if (it->first == key) {
                entries_.splice(entries_.begin(), entries_, it);
                return entries_.front().second;
            }
        }
        return nullptr;
    }

    // Keeps the first entry made for a key when two threads built it at once.
    std::shared_ptr<const Value> Insert(const Key& key, std::shared_ptr<const Value> value) {
        std::lock_guard lock(mutex_);
        for (auto& entry : entries_) {
            if (entry.first == key) {
                return entry.second;
            }
        }
        entries_.emplace_front(key, value);
        if (entries_.size() > capacity_) {
            entries_.pop_back();
        }
        return value;
    }

    void Clear() {
        std::lock_guard lock(mutex_);
        entries_.clear();
    }

private:
    std::mutex mutex_;
    std::list<std::pair<Key, std::shared_ptr<const Value>>> entries_;
    std::size_t capacity_;
};

struct AxisKey {
    uint32_t n, m;
    WeightLayout layout;
    Axis axis;
    bool operator==(const AxisKey&) const = default;
};

// Taps per entry and copies of each tap.
std::pair<std::size_t, std::size_t> LayoutShape(WeightLayout layout) {
    switch (layout) {
        case WeightLayout::None:
            return {0, 0};
        case WeightLayout::Cubic:
            return {4, 1};
        case WeightLayout::CubicX4:
            return {4, 4};
        case WeightLayout::CubicX8:
            return {4, 8};
        case WeightLayout::Lanczos:
            return {8, 1};
        case WeightLayout::LanczosX4:
            return {8, 4};
        case WeightLayout::LanczosX8:
            return {8, 8};
    }
    return {0, 0};
}

}  // namespace

std::size_t WeightEntryValues(WeightLayout layout) {
    const auto [taps, copies] = LayoutShape(layout);
    return taps * copies;
}

namespace {

using Builder = void (*)(uint32_t, const double*, int16_t*, float);

Builder LayoutBuilder(WeightLayout layout) {
    switch (layout) {
        case WeightLayout::Cubic:
            return &buildCubicWeights;
        case WeightLayout::CubicX4:
            return &buildCubicWeightsX4;
        case WeightLayout::CubicX8:
            return &buildCubicWeightsX8;
        case WeightLayout::Lanczos:
            return &buildLanczosWeights;
        case WeightLayout::LanczosX4:
            return &buildLanczosWeightsX4;
        case WeightLayout::LanczosX8:
            return &buildLanczosWeightsX8;
        case WeightLayout::None:
            break;
    }
    return nullptr;
}

std::size_t Rounded(std::size_t bytes) {
    return (bytes + 15) & ~std::size_t{15};
}

// One block: the record, then its arrays.
std::shared_ptr<const AxisTables> BuildAxis(const AxisKey& key) {
    const std::size_t n = key.n;
    const std::size_t m = key.m;
    const auto [taps, copies] = LayoutShape(key.layout);
    const std::size_t sizes[] = {Rounded(sizeof(AxisTables)),
                                 Rounded((n - 1) * sizeof(uint16_t)),
                                 Rounded(m * sizeof(double)),
                                 Rounded(m * sizeof(uint32_t)),
                                 Rounded(m * taps * copies * sizeof(int16_t)),
                                 Rounded(m * sizeof(uint32_t)),
                                 Rounded(m * sizeof(uint16_t)),
                                 Rounded(n * sizeof(double)),
                                 Rounded(m * sizeof(uint32_t))};
    std::size_t total = 0;
    for (std::size_t s : sizes) {
        total += s;
    }
    auto* bytes = static_cast<unsigned char*>(AlignedAllocate(total));
    if (bytes == nullptr) {
        return nullptr;
    }
    auto* t = new (bytes) AxisTables{};
    unsigned char* next = bytes + sizes[0];
    auto take = [&next](std::size_t size) {
        unsigned char* p = next;
        next += size;
        return p;
    };
    t->spanEnd = reinterpret_cast<uint16_t*>(take(sizes[1]));
    t->fraction = reinterpret_cast<double*>(take(sizes[2]));
    t->index = reinterpret_cast<uint32_t*>(take(sizes[3]));
    unsigned char* weights = take(sizes[4]);
    t->weights = taps != 0 ? reinterpret_cast<int16_t*>(weights) : nullptr;
    t->mapLattice = reinterpret_cast<uint32_t*>(take(sizes[5]));
    t->mapWeight = reinterpret_cast<uint16_t*>(take(sizes[6]));
    auto* positions = reinterpret_cast<double*>(take(sizes[7]));
    t->interval = reinterpret_cast<uint32_t*>(take(sizes[8]));

    buildAxisSpans(key.n, key.m, positions, t->spanEnd);
    buildAxisIndex(key.n, positions, t->fraction, t->index);
    BuildUpscaleIntervals(t->spanEnd, key.n, key.m, t->interval);
    if (Builder build = LayoutBuilder(key.layout)) {
        // The cubic parameter; the Lanczos builders ignore it.
        build(key.m, t->fraction, t->weights, -0.75f);
    }
    if (key.axis == Axis::Columns) {
        t->mapUsable = mapresize::SetupColumns(t->index, t->fraction, key.n, key.m, t->mapLattice,
                                               t->mapWeight);
    } else {
        t->mapUsable =
            mapresize::SetupRows(t->index, t->fraction, key.n, key.m, t->mapLattice, t->mapWeight);
    }
    return std::shared_ptr<const AxisTables>(t, AlignedDeleter{});
}

template <typename T>
std::shared_ptr<const T> BuildArray(std::size_t count, void (*fill)(double, T*), float value) {
    auto* table = static_cast<T*>(AlignedAllocate(count * sizeof(T)));
    if (table == nullptr) {
        return nullptr;
    }
    // Row 0 of the refinement curve (a range of 0) is never read; zeroed so
    // that a table's bytes do not depend on what the allocator handed out.
    std::memset(table, 0, count * sizeof(T));
    fill(value, table);
    return std::shared_ptr<const T>(table, AlignedDeleter{});
}

Lru<AxisKey, AxisTables>& AxisCache() {
    static Lru<AxisKey, AxisTables> cache(kMaxAxisEntries);
    return cache;
}

Lru<uint32_t, int16_t>& RefineCache() {
    static Lru<uint32_t, int16_t> cache(kMaxCurveEntries);
    return cache;
}

Lru<uint32_t, uint16_t>& SharpenCache() {
    static Lru<uint32_t, uint16_t> cache(kMaxCurveEntries);
    return cache;
}

}  // namespace

std::shared_ptr<const AxisTables> AcquireAxisTables(uint32_t n, uint32_t m, WeightLayout layout,
                                                    Axis axis) {
    const AxisKey key{n, m, layout, axis};
    if (auto found = AxisCache().Find(key)) {
        return found;
    }
    auto built = BuildAxis(key);
    return built ? AxisCache().Insert(key, std::move(built)) : nullptr;
}

std::shared_ptr<const int16_t> AcquireRefineCurve(float shape) {
    const auto key = std::bit_cast<uint32_t>(shape);
    if (auto found = RefineCache().Find(key)) {
        return found;
    }
    auto built = BuildArray<int16_t>(std::size_t{kRefineCurveRows} * kRefineCurveColumns,
                                     &buildRefineCurve, shape);
    return built ? RefineCache().Insert(key, std::move(built)) : nullptr;
}

std::shared_ptr<const uint16_t> AcquireSharpenCurve(float gain) {
    const auto key = std::bit_cast<uint32_t>(gain);
    if (auto found = SharpenCache().Find(key)) {
        return found;
    }
    auto built = BuildArray<uint16_t>(kSharpenCurveSize, &buildSharpenCurve, gain);
    return built ? SharpenCache().Insert(key, std::move(built)) : nullptr;
}

void ClearTableCache() {
    AxisCache().Clear();
    RefineCache().Clear();
    SharpenCache().Clear();
}

}  // namespace quillon
