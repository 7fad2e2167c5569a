// One engine context for a fixed source size, target size and set of
// controls, used for every frame of a run. It sets the engine up the way the
// effect does when its library loads (the host's channel whites) and creates
// the context with the same arguments as the effect's render handler.
#ifndef QUILLON_TOOLS_QUILLON_FRAMESCALER_H
#define QUILLON_TOOLS_QUILLON_FRAMESCALER_H

#include <cstdint>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "EffectControls.h"
#include "FrameConversion.h"
#include "TargetSize.h"
#include "engine/Engine.h"
#include "engine/ScaleEngine.hpp"

namespace quillon {

// The engine's 8-bit upscale variants by name (the engine's KERNEL_*
// values). Which one a run uses is the effect's rule (KernelVariantFor).
enum class EightBitKernel : uint32_t {
    Cell = KERNEL_CELL,
    None = KERNEL_NONE,
    TwoPass = KERNEL_TWO_PASS,
};

struct ScaleSettings {
    uint32_t srcWidth = 0;
    uint32_t srcHeight = 0;
    uint32_t dstWidth = 0;
    uint32_t dstHeight = 0;
    int bits = 8;
    EightBitKernel kernel = EightBitKernel::TwoPass;
    EffectControls controls;
};

// Resolves the target size for a source, checks both sizes against the
// engine's limits (throws QuillonError) and gives the settings of the run.
ScaleSettings PlanScale(const SizeRequest& size, uint32_t srcWidth, uint32_t srcHeight, int bits,
                        EightBitKernel kernel, const EffectControls& controls,
                        ResolvedSize& target);

// Sets the process-wide engine state once: allocation hooks that end the
// process cleanly (exit code OutOfMemory, temporaries removed) instead of
// handing the engine a null block, and the effect's channel maxima.
void InitialiseEngine();

class FrameScaler {
public:
    // Throws QuillonError(EngineFailed) when the engine refuses the request.
    explicit FrameScaler(const ScaleSettings& settings);
    FrameScaler(const FrameScaler&) = delete;
    FrameScaler& operator=(const FrameScaler&) = delete;

    // source must be srcWidth x srcHeight at the settings' depth; output is
    // (re)allocated to dstWidth x dstHeight. Throws on engine failure.
    void Process(const WorkingFrame& source, WorkingFrame& output);
    // Raw form for the pipe: buffers of the right sizes.
    void Process(const void* source, void* output);

    const ScaleSettings& settings() const { return settings_; }
    uint32_t engineOptions() const { return options_; }

private:
    ScaleSettings settings_;
    uint32_t options_ = 0;
    std::optional<ScaleEngine> engine_;
};

// Several contexts of the same settings, each running on one thread, so that
// consecutive frames are enlarged side by side (a context serves one frame at
// a time).
class ScalerPool {
public:
    ScalerPool(const ScaleSettings& settings, int size);
    ScalerPool(const ScalerPool&) = delete;
    ScalerPool& operator=(const ScalerPool&) = delete;

    // Enlarges on whichever context is free; waits for one when none is.
    void Process(const WorkingFrame& source, WorkingFrame& output);
    const FrameScaler& first() const { return *all_.front(); }

private:
    std::vector<std::unique_ptr<FrameScaler>> all_;
    std::vector<FrameScaler*> free_;
    std::mutex mutex_;
    std::condition_variable released_;
};

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_FRAMESCALER_H
