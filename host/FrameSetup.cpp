#include "host/FrameSetup.h"

#include "host/CompositionQuery.h"
#include "host/HostApp.h"
#include "host/SequenceData.h"

namespace quillon::host {

TargetSize ComputeTargetSize(const CommandArgs& args) {
    const PF_InData* in_data = args.in_data;
    CompositionInfo composition;
    QueryCompositionSize(in_data, composition);

    const PF_LayerDef& layer = args.params[PARAM_INPUT]->u.ld;
    TargetSizeInputs inputs;
    inputs.preset = args.params[PARAM_4K_OUTPUT_SIZE]->u.pd.value;
    inputs.customWidth = static_cast<uint32_t>(args.params[PARAM_CUSTOM_WIDTH]->u.sd.value);
    inputs.customHeight = static_cast<uint32_t>(args.params[PARAM_CUSTOM_HEIGHT]->u.sd.value);
    inputs.compWidth = static_cast<uint32_t>(composition.width);
    inputs.compHeight = static_cast<uint32_t>(composition.height);
    inputs.compAspect = RatioValue(composition.pixelAspect.num, composition.pixelAspect.den);
    inputs.layerAspect =
        RatioValue(in_data->pixel_aspect_ratio.num, in_data->pixel_aspect_ratio.den);
    if (IsModernPremiere(in_data)) {
        inputs.sourceWidth = in_data->width;
        inputs.sourceHeight = in_data->height;
    } else {
        inputs.sourceWidth = layer.width;
        inputs.sourceHeight = layer.height;
    }
    return quillon::ComputeTargetSize(FourKPresetTable(IsPremiereHost()), inputs);
}

PF_Err HandleFrameSetup(const CommandArgs& args) {
    if (args.in_data == nullptr || args.out_data == nullptr) {
        return kMissingRecordError;
    }
    SequenceDataAccess sequence(args.in_data);
    SequenceData* data = sequence.get();
    if (data == nullptr) {
        return PF_Err_OUT_OF_MEMORY;
    }
    if (!HasParamsThrough(args, PARAM_CUSTOM_HEIGHT)) {
        return kMissingRecordError;
    }
    PF_RationalScale downX{1, 1};
    PF_RationalScale downY{1, 1};
    if (!IsModernPremiere(args.in_data)) {
        downX = args.in_data->downsample_x;
        downY = args.in_data->downsample_y;
    }
    if (downX.den == 0 || downY.den == 0) {
        return kMissingRecordError;  // a zero scale would divide by zero
    }

    const TargetSize target = ComputeTargetSize(args);
    data->targetWidth = target.width;
    data->targetHeight = target.height;

    const uint32_t outputWidth = target.width * static_cast<uint32_t>(downX.num) / downX.den;
    const uint32_t outputHeight = target.height * static_cast<uint32_t>(downY.num) / downY.den;
    data->outputWidth = outputWidth;
    data->outputHeight = static_cast<int32_t>(outputHeight);

    const PF_LayerDef& layer = args.params[PARAM_INPUT]->u.ld;
    args.out_data->width = static_cast<int32_t>(outputWidth);
    args.out_data->height = static_cast<int32_t>(outputHeight);
    // Centres the input in the larger buffer; an odd negative difference
    // rounds toward negative infinity.
    args.out_data->origin.h =
        static_cast<int32_t>(outputWidth - static_cast<uint32_t>(layer.width)) >> 1;
    args.out_data->origin.v =
        static_cast<int32_t>(outputHeight - static_cast<uint32_t>(layer.height)) >> 1;
    return PF_Err_NONE;
}

}  // namespace quillon::host
