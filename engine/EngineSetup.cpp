// The C boundary's process-wide settings: hooks, channel ceilings, level cap,
// threads.
#include <optional>

#include "core/CpuFeatures.h"
#include "core/EngineMemory.h"
#include "core/EngineSettings.h"
#include "engine/Engine.h"
#include "engine/ExecutionSettings.h"
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
