#include "host/ParamLinkage.h"

#include <algorithm>
#include <cmath>

#include "host/Commands.h"
#include "host/CompositionQuery.h"
#include "host/HostApp.h"
#include "host/SequenceData.h"
#include "host/ae/Suites.h"

namespace quillon::host {
namespace {

int32_t ClampRounded(double value, int32_t minimum, int32_t maximum) {
    if (std::isnan(value)) {
        return minimum;
    }
    const double truncated = std::trunc(value);
    const double limited =
        std::max(static_cast<double>(minimum), std::min(truncated, static_cast<double>(maximum)));
    return static_cast<int32_t>(limited);
}

}  // namespace

double EffectiveRatio(double ratio) {
    return ratio == 0.0 ? 1.0 : ratio;
}

int32_t LinkedHeight(int32_t width, double ratio, int32_t minimum, int32_t maximum) {
    const double side = std::max(width, 1);
    return ClampRounded(side / EffectiveRatio(ratio) + 0.5, minimum, maximum);
}

int32_t LinkedWidth(int32_t height, double ratio, int32_t minimum, int32_t maximum) {
    const double side = std::max(height, 1);
    return ClampRounded(side * EffectiveRatio(ratio) + 0.5, minimum, maximum);
}

bool CustomSizeControlsEnabled(const SizePreset* table, int32_t value) {
    if (value < 3) {
        return false;
    }
    const SizePreset* row = FindPreset(table, value);
    return row == nullptr || row->width == 0 || row->height == 0;
}

PF_Err HandleUpdateParamsUI(const CommandArgs& args) {
    if (args.in_data == nullptr || args.out_data == nullptr) {
        return kMissingRecordError;
    }
    if (!HasParamsThrough(args, PARAM_CONSTRAIN)) {
        return kMissingRecordError;
    }
    const bool enabled = CustomSizeControlsEnabled(FourKPresetTable(IsPremiereHost()),
                                                   args.params[PARAM_4K_OUTPUT_SIZE]->u.pd.value);
    PF_ParamDef copies[PARAM_CONSTRAIN + 1];
    for (int32_t index = PARAM_4K_OUTPUT_SIZE; index <= PARAM_CONSTRAIN; ++index) {
        copies[index] = *args.params[index];
    }
    for (int32_t index = PARAM_CUSTOM_GROUP; index <= PARAM_CONSTRAIN; ++index) {
        if (enabled) {
            copies[index].ui_flags &= ~PF_PUI_DISABLED;
        } else {
            copies[index].ui_flags |= PF_PUI_DISABLED;
        }
    }

    SPBasicSuite* basic = args.in_data->pica_basicP;
    if (basic == nullptr) {
        args.out_data->out_flags |= PF_OutFlag_REFRESH_UI;
        return PF_Err_NONE;
    }
    if (basic->AcquireSuite == nullptr) {
        return PF_Err_NONE;
    }
    const void* table = nullptr;
    if (basic->AcquireSuite(kPFParamUtilsSuite, kPFParamUtilsSuiteVersion2, &table) != 0) {
        return PF_Err_NONE;
    }
    const auto* paramUtils = static_cast<const PF_ParamUtilsSuiteV2*>(table);
    if (paramUtils != nullptr && paramUtils->PF_UpdateParamUI != nullptr) {
        for (int32_t index = PARAM_4K_OUTPUT_SIZE; index <= PARAM_CONSTRAIN; ++index) {
            paramUtils->PF_UpdateParamUI(args.in_data->effect_ref, index, &copies[index]);
        }
    }
    if (basic->ReleaseSuite != nullptr) {
        basic->ReleaseSuite(kPFParamUtilsSuite, kPFParamUtilsSuiteVersion2);
    }
    return PF_Err_NONE;
}

PF_Err HandleUserChangedParam(const CommandArgs& args) {
    if (args.in_data == nullptr || args.out_data == nullptr) {
        return kMissingRecordError;
    }
    SequenceDataAccess sequence(args.in_data);
    SequenceData* data = sequence.get();
    if (data == nullptr) {
        return PF_Err_OUT_OF_MEMORY;
    }
    if (args.extra == nullptr || !HasParamsThrough(args, PARAM_CONSTRAIN)) {
        return kMissingRecordError;
    }
    const int32_t changed = static_cast<PF_UserChangedParamExtra*>(args.extra)->param_index;
    PF_ParamDef& width = *args.params[PARAM_CUSTOM_WIDTH];
    PF_ParamDef& height = *args.params[PARAM_CUSTOM_HEIGHT];
    const bool constrain = args.params[PARAM_CONSTRAIN]->u.bd.value != 0;

    if (changed == PARAM_4K_OUTPUT_SIZE) {
        const int32_t value = args.params[PARAM_4K_OUTPUT_SIZE]->u.pd.value;
        bool sizeSet = false;
        int32_t newWidth = 0;
        int32_t newHeight = 0;
        if (value < 3) {
            CompositionInfo composition;
            QueryCompositionSize(args.in_data, composition);
            newWidth = composition.width;
            newHeight = composition.height;
            sizeSet = true;
        } else {
            const SizePreset* row = FindPreset(FourKPresetTable(IsPremiereHost()), value);
            if (row != nullptr && row->width != 0 && row->height != 0) {
                newWidth = static_cast<int32_t>(row->width);
                newHeight = static_cast<int32_t>(row->height);
                sizeSet = true;
            }
        }
        if (sizeSet) {
            width.u.sd.value = newWidth;
            height.u.sd.value = newHeight;
            data->proportionRatio = static_cast<double>(newWidth) / static_cast<double>(newHeight);
            width.uu.change_flags |= PF_ChangeFlag_CHANGED_VALUE;
            height.uu.change_flags |= PF_ChangeFlag_CHANGED_VALUE;
        }
    } else if (changed == PARAM_CUSTOM_WIDTH || changed == PARAM_CUSTOM_HEIGHT) {
        if (!constrain) {
            data->proportionRatio = static_cast<double>(std::max(width.u.sd.value, 1)) /
                                    static_cast<double>(std::max(height.u.sd.value, 1));
        } else if (changed == PARAM_CUSTOM_WIDTH) {
            height.u.sd.value = LinkedHeight(width.u.sd.value, data->proportionRatio,
                                             height.u.sd.valid_min, height.u.sd.valid_max);
            height.uu.change_flags |= PF_ChangeFlag_CHANGED_VALUE;
        } else {
            width.u.sd.value = LinkedWidth(height.u.sd.value, data->proportionRatio,
                                           width.u.sd.valid_min, width.u.sd.valid_max);
            width.uu.change_flags |= PF_ChangeFlag_CHANGED_VALUE;
        }
    }

    HandleUpdateParamsUI(args);
    args.out_data->out_flags |= PF_OutFlag_REFRESH_UI;
    return PF_Err_NONE;
}

}  // namespace quillon::host
