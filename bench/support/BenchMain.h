// main() of every benchmark program: Google Benchmark's flags plus --cpu
// (scalar, sse2, avx2, avx512: the engine's level cap) and --threads N, each
// as --flag=value or --flag value. The level and thread count in force are
// printed first and recorded in the report's context.
#ifndef QUILLON_BENCH_SUPPORT_BENCHMAIN_H
#define QUILLON_BENCH_SUPPORT_BENCHMAIN_H

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "core/CpuLevel.h"
#include "engine/Engine.h"

namespace quillon::bench {

inline std::string LevelName(int32_t level) {
    return std::string(CpuLevelName(static_cast<CpuLevel>(level)));
}

// Takes --cpu and --threads out of argv and applies them. False (after a
// message) for a bad value.
inline bool ApplyExecutionFlags(int& argc, char** argv) {
    std::vector<char*> kept;
    for (int i = 0; i < argc; ++i) {
        const std::string_view arg = argv[i];
        std::string_view value;
        std::string_view flag;
        for (const std::string_view name :
             {std::string_view("--cpu"), std::string_view("--threads")}) {
            if (arg == name && i + 1 < argc) {
                flag = name;
                value = argv[++i];
            } else if (arg.size() > name.size() && arg.substr(0, name.size()) == name &&
                       arg[name.size()] == '=') {
                flag = name;
                value = arg.substr(name.size() + 1);
            }
        }
        if (flag.empty()) {
            kept.push_back(argv[i]);
            continue;
        }
        const std::string text(value);
        bool ok = false;
        if (flag == "--cpu") {
            for (int32_t level = 0; level < kCpuLevelCount; ++level) {
                if (text == LevelName(level)) {
                    ok = SetEngineCpuCap(level) == 0;
                }
            }
        } else {
            char* end = nullptr;
            const unsigned long n = std::strtoul(text.c_str(), &end, 10);
            ok = !text.empty() && *end == '\0' && n >= 1 &&
                 SetEngineThreads(static_cast<uint32_t>(n)) == 0;
        }
        // Also for a plug-in the program loads: its engine is its own copy
        // and reads only the environment.
        if (ok) {
            setenv(flag == "--cpu" ? "QUILLON_CPU" : "QUILLON_THREADS", text.c_str(), 1);
        }
        if (!ok) {
            std::fprintf(stderr, "bad value for %s: '%s'\n", std::string(flag).c_str(),
                         text.c_str());
            return false;
        }
    }
    for (std::size_t i = 0; i < kept.size(); ++i) {
        argv[i] = kept[i];
    }
    argc = static_cast<int>(kept.size());
    return true;
}

inline int Main(int argc, char** argv) {
    if (!ApplyExecutionFlags(argc, argv)) {
        return 2;
    }
    const std::string level = LevelName(GetEngineCpuLevel());
    const std::string machine = LevelName(GetMachineCpuLevel());
    const std::string threads = std::to_string(GetEngineThreads());
    std::printf("quillon engine: cpu level %s (machine %s), %s thread(s)\n", level.c_str(),
                machine.c_str(), threads.c_str());
    benchmark::AddCustomContext("quillon_cpu_level", level);
    benchmark::AddCustomContext("quillon_machine_level", machine);
    benchmark::AddCustomContext("quillon_threads", threads);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

}  // namespace quillon::bench

#define QUILLON_BENCHMARK_MAIN()                 \
    int main(int argc, char** argv) {            \
        return quillon::bench::Main(argc, argv); \
    }

#endif  // QUILLON_BENCH_SUPPORT_BENCHMAIN_H
