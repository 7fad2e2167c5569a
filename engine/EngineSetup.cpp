// The C boundary's process-wide settings: hooks, channel ceilings, level cap,
// threads.
#include <algorithm>
#include <optional>

#include "core/CpuFeatures.h"
#include "core/EngineMemory.h"
#include "core/EngineSettings.h"
#include "engine/Engine.h"
#include "engine/ExecutionSettings.h"
#include "engine/ScaleContext.h"
#include "engine/ThreadPool.h"

extern "C" int32_t SetEngineAllocator(EngineAllocFn alloc, EngineFreeFn release) {
    return quillon::InstallEngineHooks(alloc, release) ? 0 : -1;
}

extern "C" int32_t SetMaxValue8(int32_t value) {
    return quillon::SetMaxValue8Checked(value) ? 0 : -1;
}

extern "C" int32_t SetMaxValue16(int32_t value) {
    return quillon::SetMaxValue16Checked(value) ? 0 : -1;
}

extern "C" int32_t SetEngineCpuCap(int32_t level) {
    using quillon::CpuLevel;
    if (level == -1) {
        quillon::SetCpuCap(std::nullopt);
        return 0;
    }
    if (level < 0 || level >= quillon::kCpuLevelCount) {
        return -1;
    }
    quillon::SetCpuCap(static_cast<CpuLevel>(level));
    return 0;
}

extern "C" int32_t GetEngineCpuLevel(void) {
    return static_cast<int32_t>(quillon::ActiveCpuLevel());
}

extern "C" int32_t GetMachineCpuLevel(void) {
    return static_cast<int32_t>(quillon::MachineCpuLevel());
}

extern "C" int32_t SetEngineThreads(uint32_t count) {
    if (count > quillon::kMaxThreads) {
        return -1;
    }
    quillon::SetThreadCount(count);
    return 0;
}

extern "C" uint32_t GetEngineThreads(void) {
    return quillon::ActiveThreadCount();
}

extern "C" void StopEngineThreads(void) {
    quillon::StopWorkers();
}

extern "C" void RunEngineRowBands(uint32_t rowCount, EngineRowBandFn band, void* state) {
    if (band == nullptr || rowCount == 0) {
        return;
    }
    struct Bands {
        EngineRowBandFn band;
        void* state;
        uint32_t rows;
        uint32_t count;
    };
    const uint32_t threads = quillon::ActiveThreadCount();
    Bands bands{band, state, rowCount, std::min(threads, rowCount)};
    quillon::RunTasks(
        bands.count, threads,
        [](void* p, uint32_t i) {
            const auto& b = *static_cast<const Bands*>(p);
            b.band(b.state, quillon::BandStart(b.rows, b.count, i),
                   quillon::BandStart(b.rows, b.count, i + 1));
        },
        &bands);
}
