#include "host/Render.h"

#include <cstddef>
#include <cstdlib>
#include <limits>

#include "effect/EffectSettings.h"
#include "engine/Engine.h"
#include "host/HostApp.h"
#include "host/HostMemory.h"
#include "host/PixelConversion.h"
#include "host/SequenceData.h"

namespace quillon::host {
namespace {

static_assert(kWhite8 == static_cast<uint32_t>(PF_MAX_CHAN8) &&
              kWhite16 == static_cast<uint32_t>(PF_MAX_CHAN16));

// A world the conversions can walk: pixels, and rows at least a pixel row
// apart (in either direction), with room to double the stride for a field.
bool IsUsableWorld(const PF_LayerDef& world, int64_t pixelSize) {
    if (world.data == nullptr || world.width <= 0 || world.height <= 0) {
        return false;
    }
    const int64_t stride = std::llabs(static_cast<int64_t>(world.rowbytes));
    return stride >= world.width * pixelSize && stride <= std::numeric_limits<int32_t>::max() / 2;
}

// The halving of field rendering, undone on every way out of the render.
class FieldAdjustment {
public:
    FieldAdjustment(PF_InData* in_data, PF_LayerDef& input, PF_LayerDef& output,
                    SequenceData& sequence, bool modernPremiere)
        : inData_(in_data),
          input_(input),
          output_(output),
          sequence_(sequence),
          modern_(modernPremiere),
          inputData_(input.data),
          inputHeight_(input.height),
          inputRowBytes_(input.rowbytes),
          outputData_(output.data),
          outputHeight_(output.height),
          outputRowBytes_(output.rowbytes) {
        active_ = in_data->field != PF_Field_FRAME;
        if (!active_) {
            return;
        }
        if (in_data->field == PF_Field_LOWER) {
            input.data = static_cast<uint8_t*>(input.data) + input.rowbytes;
            output.data = static_cast<uint8_t*>(output.data) + output.rowbytes;
        }
        input.height /= 2;
        input.rowbytes *= 2;
        if (modern_) {
            in_data->height /= 2;
        }
        output.height /= 2;
        output.rowbytes *= 2;
        sequence.outputHeight /= 2;
    }

    ~FieldAdjustment() {
        if (!active_) {
            return;
        }
        input_.data = inputData_;
        input_.height = inputHeight_;
        input_.rowbytes = inputRowBytes_;
        output_.data = outputData_;
        output_.height = outputHeight_;
        output_.rowbytes = outputRowBytes_;
        if (modern_) {
            inData_->height *= 2;
        }
        sequence_.outputHeight *= 2;
    }

    FieldAdjustment(const FieldAdjustment&) = delete;
    FieldAdjustment& operator=(const FieldAdjustment&) = delete;

private:
    PF_InData* inData_;
    PF_LayerDef& input_;
    PF_LayerDef& output_;
    SequenceData& sequence_;
    bool modern_;
    bool active_ = false;
    PF_PixelPtr inputData_;
    int32_t inputHeight_;
    int32_t inputRowBytes_;
    PF_PixelPtr outputData_;
    int32_t outputHeight_;
    int32_t outputRowBytes_;
};

// The engine context of one render.
class ContextHolder {
public:
    ContextHolder() = default;
    ~ContextHolder() { DestroyScaleContext(context_); }
    ContextHolder(const ContextHolder&) = delete;
    ContextHolder& operator=(const ContextHolder&) = delete;

    ScaleContext** out() { return &context_; }
    ScaleContext* get() const { return context_; }

private:
    ScaleContext* context_ = nullptr;
};

// A packed working frame in a host block, returned when the render ends.
class WorkingFrame {
public:
    WorkingFrame(uint32_t width, uint32_t height, uint32_t pixelSize) {
        const uint64_t bytes = uint64_t{width} * height * pixelSize;
        if (bytes > 0 && bytes <= std::numeric_limits<uint32_t>::max() - kHostBlockSlack) {
            pixels_ = AllocateHostBlock(static_cast<uint32_t>(bytes));
        }
    }
    ~WorkingFrame() { FreeHostBlock(pixels_); }
    WorkingFrame(const WorkingFrame&) = delete;
    WorkingFrame& operator=(const WorkingFrame&) = delete;

    void* get() const { return pixels_; }

private:
    void* pixels_ = nullptr;
};

struct RenderSizes {
    uint32_t srcWidth;
    uint32_t srcHeight;
    uint32_t dstWidth;
    uint32_t dstHeight;
};

template <typename T>
void ReadInputAs(const PF_LayerDef& input, void* frame, int32_t w, int32_t h, uint32_t white,
                 bool modern) {
    (modern ? ReadOverlap<T> : ReadCropCentre<T>)(input, static_cast<T*>(frame), w, h, white);
}

template <typename T>
void WriteOutputAs(const void* frame, const PF_LayerDef& output, int32_t w, int32_t h,
                   uint32_t white, bool modern) {
    (modern ? WriteOverlap<T> : WriteCentre<T>)(static_cast<const T*>(frame), output, w, h, white);
}

void ReadInput(const PF_LayerDef& input, void* frame, const RenderSizes& sizes, bool deep,
               bool modern) {
    const auto w = static_cast<int32_t>(sizes.srcWidth);
    const auto h = static_cast<int32_t>(sizes.srcHeight);
    deep ? ReadInputAs<uint16_t>(input, frame, w, h, kWhite16, modern)
         : ReadInputAs<uint8_t>(input, frame, w, h, kWhite8, modern);
}

void WriteOutput(const void* frame, const PF_LayerDef& output, const RenderSizes& sizes, bool deep,
                 bool modern) {
    const auto w = static_cast<int32_t>(sizes.dstWidth);
    const auto h = static_cast<int32_t>(sizes.dstHeight);
    deep ? WriteOutputAs<uint16_t>(frame, output, w, h, kWhite16, modern)
         : WriteOutputAs<uint8_t>(frame, output, w, h, kWhite8, modern);
}

}  // namespace

PF_Err HandleRender(const CommandArgs& args) {
    PF_InData* in_data = args.in_data;
    if (in_data == nullptr) {
        return kMissingRecordError;
    }
    SequenceDataAccess sequence(in_data);
    SequenceData* seq = sequence.get();
    if (seq == nullptr) {
        return PF_Err_OUT_OF_MEMORY;
    }
    if (args.output == nullptr || !HasParamsThrough(args, PARAM_ANTIALIAS)) {
        return kMissingRecordError;
    }
    PF_LayerDef& input = args.params[PARAM_INPUT]->u.ld;
    PF_LayerDef& output = *args.output;
    const bool deep = (input.world_flags & PF_WorldFlag_DEEP) != 0;
    const uint32_t pixelSize = deep ? 8 : 4;
    if (!IsUsableWorld(input, pixelSize) || !IsUsableWorld(output, pixelSize)) {
        return kMissingRecordError;
    }

    const bool modern = IsModernPremiere(in_data);
    PF_Err result = PF_Err_NONE;
    {
        const FieldAdjustment field(in_data, input, output, *seq, modern);

        RenderSizes sizes{};
        if (modern) {
            sizes = RenderSizes{static_cast<uint32_t>(in_data->width),
                                static_cast<uint32_t>(in_data->height), seq->outputWidth,
                                static_cast<uint32_t>(seq->outputHeight)};
        } else {
            sizes = RenderSizes{
                static_cast<uint32_t>(input.width), static_cast<uint32_t>(input.height),
                static_cast<uint32_t>(output.width), static_cast<uint32_t>(output.height)};
        }
        const int32_t sharpness = args.params[PARAM_SHARPNESS]->u.sd.value;
        const int32_t quality = args.params[PARAM_QUALITY]->u.sd.value;
        const int32_t antiAliasing = args.params[PARAM_ANTIALIAS]->u.sd.value;
        const uint32_t options =
            EngineOptionsFor(args.params[PARAM_FILTER_TYPE]->u.pd.value, sharpness, antiAliasing);
        const uint32_t kernel = KernelVariantFor(deep, seq->kernelSelector);

        const HostMemoryScope scope(in_data);
        try {
            ContextHolder context;
            if (CreateScaleContext(sizes.srcWidth, sizes.srcHeight, sizes.dstWidth, sizes.dstHeight,
                                   sizes.dstWidth, sizes.dstHeight, options,
                                   deep ? uint32_t{DEPTH_16} : uint32_t{DEPTH_8}, kernel,
                                   static_cast<uint32_t>(sharpness), static_cast<uint32_t>(quality),
                                   static_cast<uint32_t>(antiAliasing), context.out()) != 0) {
                // Sizes the engine cannot take: the layer goes through as it is.
                if (in_data->utils->copy != nullptr) {
                    in_data->utils->copy(in_data->effect_ref, &input, &output, nullptr, nullptr);
                }
            } else {
                const WorkingFrame source(sizes.srcWidth, sizes.srcHeight, pixelSize);
                const WorkingFrame destination(sizes.dstWidth, sizes.dstHeight, pixelSize);
                if (source.get() == nullptr || destination.get() == nullptr) {
                    result = PF_Err_OUT_OF_MEMORY;
                } else {
                    ReadInput(input, source.get(), sizes, deep, modern);
                    if (ProcessFrame(source.get(), destination.get(), context.get()) != 0) {
                        result = PF_Err_INTERNAL_STRUCT_DAMAGED;
                    } else {
                        WriteOutput(destination.get(), output, sizes, deep, modern);
                    }
                }
            }
        } catch (...) {
            result = PF_Err_INTERNAL_STRUCT_DAMAGED;
        }
    }
    return result;
}

}  // namespace quillon::host
