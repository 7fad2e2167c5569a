// The level cap and thread count in force, from settings, environment or
// machine.
//
// QUILLON_CPU=scalar|sse2|avx2|avx512 caps the level; any other value
// (misspelt, empty) is ignored, as if unset: the engine never refuses to run
// over an environment variable. QUILLON_THREADS=N (1..256) sets the thread
// count; a value that is not a number in that range is ignored likewise.
#include "engine/ExecutionSettings.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdlib>
#include <thread>

#include "core/CpuFeatures.h"

namespace quillon {
namespace {

constexpr int kNoCap = -1;

std::atomic<int> gCapSetting{kNoCap};
std::atomic<uint32_t> gThreadSetting{0};

std::string_view Environment(const char* name) {
    const char* value = std::getenv(name);  // read once, at first use
    return value != nullptr ? std::string_view(value) : std::string_view();
}

int EnvironmentCap() {
    static const int cap = [] {
        const auto level = ParseCpuLevel(Environment("QUILLON_CPU"));
        return level ? static_cast<int>(*level) : kNoCap;
    }();
    return cap;
}

uint32_t EnvironmentThreads() {
    static const uint32_t threads = [] {
        const std::string_view text = Environment("QUILLON_THREADS");
        uint32_t n = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), n);
        if (text.empty() || error != std::errc{} || end != text.data() + text.size() || n == 0 ||
            n > kMaxThreads) {
            return 0u;
        }
        return n;
    }();
    return threads;
}

uint32_t HardwareThreads() {
    static const uint32_t threads =
        std::clamp(std::thread::hardware_concurrency(), 1u, kMaxThreads);
    return threads;
}

}  // namespace

std::optional<CpuLevel> ParseCpuLevel(std::string_view name) {
    for (int i = 0; i < kCpuLevelCount; ++i) {
        const auto level = static_cast<CpuLevel>(i);
        if (name == CpuLevelName(level)) {
            return level;
        }
    }
    return std::nullopt;
}

CpuLevel ActiveCpuLevel() {
    const int machine = static_cast<int>(MachineCpuLevel());
    int cap = gCapSetting.load(std::memory_order_relaxed);
    if (cap == kNoCap) {
        cap = EnvironmentCap();
    }
    return static_cast<CpuLevel>(cap == kNoCap ? machine : std::min(cap, machine));
}

uint32_t ActiveThreadCount() {
    uint32_t n = gThreadSetting.load(std::memory_order_relaxed);
    if (n == 0) {
        n = EnvironmentThreads();
    }
    return n != 0 ? n : HardwareThreads();
}

void SetCpuCap(std::optional<CpuLevel> cap) {
    gCapSetting.store(cap ? static_cast<int>(*cap) : kNoCap, std::memory_order_relaxed);
}

void SetThreadCount(uint32_t count) {
    gThreadSetting.store(std::min(count, kMaxThreads), std::memory_order_relaxed);
}

}  // namespace quillon
