#include "FrameScaler.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Errors.h"
#include "SafeOutput.h"
#include "engine/Engine.h"

namespace quillon {

ScaleSettings PlanScale(const SizeRequest& size, uint32_t srcWidth, uint32_t srcHeight, int bits,
                        EightBitKernel kernel, const EffectControls& controls,
                        ResolvedSize& target) {
    target = ResolveTargetSize(size, srcWidth, srcHeight);
    CheckScaleSizes(srcWidth, srcHeight, target.width, target.height, bits);
    ScaleSettings s;
    s.srcWidth = srcWidth;
    s.srcHeight = srcHeight;
    s.dstWidth = target.width;
    s.dstHeight = target.height;
    s.bits = bits;
    s.kernel = kernel;
    s.controls = controls;
    return s;
}

void InitialiseEngine() {
    static bool done = false;
    if (done) {
        return;
    }
    // The engine's own aligned allocator serves the tool: the engine checks
    // every allocation and reports a failure as a refused request or frame.
    if (SetMaxValue16(static_cast<int32_t>(kWhite16)) != 0 ||
        SetMaxValue8(static_cast<int32_t>(kWhite8)) != 0) {
        throw QuillonError(ExitCode::EngineFailed, "the engine refused its process settings");
    }
    done = true;
}

FrameScaler::FrameScaler(const ScaleSettings& settings) : settings_(settings) {
    InitialiseEngine();
    options_ = EngineOptionsFor(settings.controls);
    ScaleRequest request;
    request.srcWidth = settings.srcWidth;
    request.srcHeight = settings.srcHeight;
    request.dstWidth = settings.dstWidth;
    request.dstHeight = settings.dstHeight;
    request.options = options_;
    request.depthMode = settings.bits == 16 ? DEPTH_16 : DEPTH_8;
    request.kernelVariant =
        KernelVariantFor(settings.bits == 16, static_cast<uint32_t>(settings.kernel));
    request.sharpness = static_cast<uint32_t>(settings.controls.sharpness);
    request.refineStrength = static_cast<uint32_t>(settings.controls.quality);
    request.antiAliasAmount = static_cast<uint32_t>(settings.controls.antiAliasing);
    engine_ = ScaleEngine::Create(request);
    if (!engine_) {
        throw QuillonError(ExitCode::EngineFailed, "the engine refused to scale " +
                                                       std::to_string(settings.srcWidth) + "x" +
                                                       std::to_string(settings.srcHeight) + " to " +
                                                       std::to_string(settings.dstWidth) + "x" +
                                                       std::to_string(settings.dstHeight));
    }
}

void FrameScaler::Process(const WorkingFrame& source, WorkingFrame& output) {
    if (source.width != settings_.srcWidth || source.height != settings_.srcHeight ||
        source.bits != settings_.bits) {
        throw QuillonError(ExitCode::CorruptInput,
                           "frame size changed in the middle of the input (" +
                               std::to_string(source.width) + "x" + std::to_string(source.height) +
                               ", expected " + std::to_string(settings_.srcWidth) + "x" +
                               std::to_string(settings_.srcHeight) + ")");
    }
    output.Allocate(settings_.dstWidth, settings_.dstHeight, settings_.bits);
    Process(source.data(), output.data());
}

void FrameScaler::Process(const void* source, void* output) {
    if (settings_.kernel == EightBitKernel::None && settings_.bits == 8) {
        // This variant leaves the output as it was; start every frame from
        // black so the result does not depend on the previous frame.
        std::memset(output, 0, size_t{settings_.dstWidth} * settings_.dstHeight * 4);
    }
    if (!engine_->Process(source, output)) {
        throw QuillonError(ExitCode::EngineFailed,
                           "the engine failed to process a frame (out of memory)");
    }
}

ScalerPool::ScalerPool(const ScaleSettings& settings, int size) {
    // Each context enlarges its frame on the calling thread alone: frames
    // side by side keep the threads busier than bands of one frame, whose
    // threads wait for each other at every pass.
    const uint32_t threads = GetEngineThreads();
    SetEngineThreads(1);
    try {
        for (int i = 0; i < std::max(size, 1); ++i) {
            all_.push_back(std::make_unique<FrameScaler>(settings));
            free_.push_back(all_.back().get());
        }
    } catch (...) {
        SetEngineThreads(threads);
        throw;
    }
    SetEngineThreads(threads);
}

void ScalerPool::Process(const WorkingFrame& source, WorkingFrame& output) {
    FrameScaler* scaler = nullptr;
    {
        std::unique_lock lock(mutex_);
        released_.wait(lock, [&] { return !free_.empty(); });
        scaler = free_.back();
        free_.pop_back();
    }
    struct Release {
        ScalerPool& pool;
        FrameScaler* scaler;
        ~Release() {
            {
                const std::lock_guard lock(pool.mutex_);
                pool.free_.push_back(scaler);
            }
            pool.released_.notify_one();
        }
    } release{*this, scaler};
    scaler->Process(source, output);
}

}  // namespace quillon
