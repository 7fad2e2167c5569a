// A small owning C++ wrapper over the engine's C boundary, for the project's
// own tools. The plug-in uses the C functions directly.
#ifndef QUILLON_ENGINE_SCALEENGINE_HPP
#define QUILLON_ENGINE_SCALEENGINE_HPP

#include <cstdint>
#include <memory>
#include <optional>

#include "engine/Engine.h"

namespace quillon {

struct ScaleRequest {
    uint32_t srcWidth = 0;
    uint32_t srcHeight = 0;
    uint32_t dstWidth = 0;
    uint32_t dstHeight = 0;
    uint32_t outWidth = 0;   // 0: the destination size
    uint32_t outHeight = 0;  // 0: the destination size
    uint32_t options = 0;
    uint32_t depthMode = DEPTH_8;
    uint32_t kernelVariant = KERNEL_TWO_PASS;
    uint32_t sharpness = 0;
    uint32_t refineStrength = 0;
    uint32_t antiAliasAmount = 0;
};

class ScaleEngine {
public:
    // Empty when the engine rejects the request.
    static std::optional<ScaleEngine> Create(const ScaleRequest& r) {
        ScaleContext* context = nullptr;
        const uint32_t outW = r.outWidth != 0 ? r.outWidth : r.dstWidth;
        const uint32_t outH = r.outHeight != 0 ? r.outHeight : r.dstHeight;
        if (CreateScaleContext(r.srcWidth, r.srcHeight, r.dstWidth, r.dstHeight, outW, outH,
                               r.options, r.depthMode, r.kernelVariant, r.sharpness,
                               r.refineStrength, r.antiAliasAmount, &context) != 0) {
            return std::nullopt;
        }
        return ScaleEngine(context);
    }

    // source: srcWidth x srcHeight working pixels; output: the canvas.
    bool Process(const void* source, void* output) {
        return ProcessFrame(source, output, context_.get()) == 0;
    }

    ScaleContext* get() const { return context_.get(); }

private:
    struct Destroy {
        void operator()(ScaleContext* c) const { DestroyScaleContext(c); }
    };
    explicit ScaleEngine(ScaleContext* c) : context_(c) {}
    std::unique_ptr<ScaleContext, Destroy> context_;
};

}  // namespace quillon

#endif  // QUILLON_ENGINE_SCALEENGINE_HPP
