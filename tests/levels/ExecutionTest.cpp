// The execution settings (level cap, threads), the worker pool's life, and
// one context serving frames from several threads at once.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

#include "engine/Engine.h"
#include "engine/ExecutionSettings.h"
#include "engine/ScaleEngine.hpp"
#include "engine/ThreadPool.h"
#include "tests/support/TestSupport.h"

namespace {

using quillon::support::RandomFrame;

TEST(Execution, LevelCapIsCheckedAndNeverRaisesTheMachineLevel) {
    const int32_t machine = GetMachineCpuLevel();
    ASSERT_GE(machine, ENGINE_CPU_SCALAR);
    ASSERT_LE(machine, ENGINE_CPU_AVX512);
    EXPECT_EQ(SetEngineCpuCap(4), -1);
    EXPECT_EQ(SetEngineCpuCap(-2), -1);
    for (int32_t cap = ENGINE_CPU_SCALAR; cap <= ENGINE_CPU_AVX512; ++cap) {
        ASSERT_EQ(SetEngineCpuCap(cap), 0);
        EXPECT_EQ(GetEngineCpuLevel(), std::min(cap, machine));
    }
    ASSERT_EQ(SetEngineCpuCap(-1), 0);
    EXPECT_LE(GetEngineCpuLevel(), machine);
}

TEST(Execution, LevelNamesAndThreadCounts) {
    EXPECT_EQ(quillon::ParseCpuLevel("avx2"), quillon::CpuLevel::Avx2);
    EXPECT_EQ(quillon::ParseCpuLevel("scalar"), quillon::CpuLevel::Scalar);
    EXPECT_FALSE(quillon::ParseCpuLevel("AVX2").has_value());
    EXPECT_FALSE(quillon::ParseCpuLevel("").has_value());
    EXPECT_FALSE(quillon::ParseCpuLevel("avx512f").has_value());
    EXPECT_EQ(SetEngineThreads(257), -1);
    ASSERT_EQ(SetEngineThreads(5), 0);
    EXPECT_EQ(GetEngineThreads(), 5u);
    ASSERT_EQ(SetEngineThreads(0), 0);
    EXPECT_GE(GetEngineThreads(), 1u);
}

// Tasks all run exactly once whatever the split, workers start when first
// needed and stop on request, and the pool starts again afterwards.
TEST(Execution, PoolRunsEveryTaskOnceAndStopsOnRequest) {
    StopEngineThreads();
    EXPECT_EQ(quillon::WorkerCount(), 0u);
    for (const uint32_t threads : {1u, 2u, 3u, 7u}) {
        for (const uint32_t tasks : {1u, 2u, 5u, 64u}) {
            std::vector<std::atomic<int>> runs(tasks);
            quillon::RunTasks(
                tasks, threads,
                [](void* state, uint32_t i) {
                    (*static_cast<std::vector<std::atomic<int>>*>(state))[i].fetch_add(1);
                },
                &runs);
            for (const auto& r : runs) {
                EXPECT_EQ(r.load(), 1) << threads << " threads, " << tasks << " tasks";
            }
        }
    }
    EXPECT_EQ(quillon::WorkerCount(), 6u);
    StopEngineThreads();
    EXPECT_EQ(quillon::WorkerCount(), 0u);
    std::atomic<int> ran{0};
    quillon::RunTasks(
        4, 3, [](void* state, uint32_t) { static_cast<std::atomic<int>*>(state)->fetch_add(1); },
        &ran);
    EXPECT_EQ(ran.load(), 4);
    EXPECT_EQ(quillon::WorkerCount(), 2u);
}

// One thread means no worker threads at all; more start them on first use.
TEST(Execution, OneThreadStartsNoWorker) {
    StopEngineThreads();
    const auto src = RandomFrame<uint8_t>(40, 30, 255, 3);
    std::vector<uint8_t> out(97u * 71u * 4u);
    for (const uint32_t threads : {1u, 2u}) {
        ASSERT_EQ(SetEngineThreads(threads), 0);
        auto engine = quillon::ScaleEngine::Create({.srcWidth = 40,
                                                    .srcHeight = 30,
                                                    .dstWidth = 97,
                                                    .dstHeight = 71,
                                                    .options = OPT_REFINE | OPT_SHARPEN});
        ASSERT_TRUE(engine.has_value());
        ASSERT_TRUE(engine->Process(src.data(), out.data()));
        EXPECT_EQ(quillon::WorkerCount(), threads - 1);
    }
    SetEngineThreads(0);
}

// Four threads each process their own frames on one context (three bands a
// pass on the pool as well): every output equals the same frame processed
// alone.
TEST(Execution, OneContextServesConcurrentFrames) {
    ASSERT_EQ(SetEngineThreads(3), 0);
    const uint32_t w = 57, h = 41, dw = 150, dh = 101;
    for (const uint32_t depth : {uint32_t{DEPTH_8}, uint32_t{DEPTH_16}}) {
        auto engine = quillon::ScaleEngine::Create(
            {.srcWidth = w,
             .srcHeight = h,
             .dstWidth = dw,
             .dstHeight = dh,
             .outWidth = dw + 4,
             .outHeight = dh + 2,
             .options = OPT_LANCZOS | OPT_REFINE | OPT_SHARPEN | OPT_ANTIALIAS,
             .depthMode = depth,
             .kernelVariant = depth == DEPTH_8 ? uint32_t{KERNEL_TWO_PASS} : uint32_t{KERNEL_CELL},
             .sharpness = 7,
             .refineStrength = 15,
             .antiAliasAmount = 9});
        ASSERT_TRUE(engine.has_value());
        const std::size_t sampleBytes = depth == DEPTH_16 ? 2 : 1;
        constexpr int kFrames = 4;
        std::vector<std::vector<uint8_t>> sources, alone;
        for (int f = 0; f < kFrames; ++f) {
            sources.push_back(RandomFrame<uint8_t>(w * static_cast<uint32_t>(sampleBytes), h,
                                                   depth == DEPTH_16 ? 127 : 255,
                                                   static_cast<uint32_t>(f + 1)));
            alone.emplace_back(std::size_t{dw + 4} * (dh + 2) * 4 * sampleBytes);
            ASSERT_TRUE(engine->Process(sources[f].data(), alone[f].data()));
        }
        std::vector<std::vector<uint8_t>> together(kFrames, std::vector<uint8_t>(alone[0].size()));
        std::atomic<int> failures{0};
        std::vector<std::thread> callers;
        for (int f = 0; f < kFrames; ++f) {
            callers.emplace_back([&, f] {
                for (int repeat = 0; repeat < 3; ++repeat) {
                    if (!engine->Process(sources[f].data(), together[f].data())) {
                        ++failures;
                    }
                }
            });
        }
        for (std::thread& t : callers) {
            t.join();
        }
        EXPECT_EQ(failures.load(), 0);
        for (int f = 0; f < kFrames; ++f) {
            EXPECT_TRUE(together[f] == alone[f]) << "frame " << f << ", depth " << depth;
        }
    }
    SetEngineThreads(0);
}

}  // namespace
