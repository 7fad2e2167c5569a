// quillon info: the version and how the engine will run here.
#include <cstdio>
#include <string>

#include "Commands.h"
#include "core/CpuLevel.h"
#include "engine/Engine.h"

namespace quillon {
namespace {

// -1 for a name that is no level (the command line has checked it already).
int32_t LevelNamed(const std::string& name) {
    for (int32_t level = 0; level < kCpuLevelCount; ++level) {
        if (name == CpuLevelName(static_cast<CpuLevel>(level))) {
            return level;
        }
    }
    return -1;
}

}  // namespace

void ApplyExecution(const ExecutionOptions& options) {
    if (const int32_t level = LevelNamed(options.cpu); level >= 0) {
        SetEngineCpuCap(level);
    }
    if (options.threads != 0) {
        SetEngineThreads(options.threads);
    }
}

void RunInfo() {
    const auto name = [](int32_t level) {
        return std::string(CpuLevelName(static_cast<CpuLevel>(level)));
    };
    std::printf("quillon %s\n", QUILLON_VERSION);
    std::printf("cpu level: %s (machine: %s)\n", name(GetEngineCpuLevel()).c_str(),
                name(GetMachineCpuLevel()).c_str());
    std::printf("threads: %u\n", GetEngineThreads());
}

}  // namespace quillon
