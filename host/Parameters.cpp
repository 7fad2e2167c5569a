#include "host/Parameters.h"

#include <cstring>

#include "effect/EffectSettings.h"
#include "host/Branding.h"
#include "host/Commands.h"
#include "host/HostApp.h"

namespace quillon::host {

void BuildPopupItems(const SizePreset* table, PopupItems& items) {
    std::memset(items.text, 0, sizeof(items.text));
    items.count = 0;
    items.defaultPosition = 0;
    items.defaultWidth = kFallbackCustomWidth;
    items.defaultHeight = kFallbackCustomHeight;
    std::size_t used = 0;
    auto append = [&](const char* piece) {
        const std::size_t length = std::strlen(piece);
        const std::size_t room = sizeof(items.text) - 1 - used;
        const std::size_t copied = length < room ? length : room;
        std::memcpy(items.text + used, piece, copied);
        used += copied;
    };
    if (table == nullptr) {
        return;
    }
    for (const SizePreset* row = table; row->text != nullptr; ++row) {
        ++items.count;
        if (used != 0) {
            append("|");
        }
        if (row->text[0] == '!') {
            append(row->text + 1);
            items.defaultPosition = items.count;
            items.defaultWidth = row->width;
            items.defaultHeight = row->height;
        } else {
            append(row->text);
        }
    }
}

namespace {

void SetName(PF_ParamDef& def, const char* name) {
    std::strncpy(def.name, name, sizeof(def.name) - 1);
    def.name[sizeof(def.name) - 1] = '\0';
}

void DefinePopup(PF_ParamDef& def, int32_t id, const char* name, const PopupItems& items,
                 int32_t value, PF_ParamFlags flags, PF_ParamUIFlags uiFlags) {
    std::memset(&def, 0, sizeof(def));
    def.param_type = PF_Param_POPUP;
    def.uu.id = id;
    SetName(def, name);
    def.flags = flags;
    def.ui_flags = uiFlags;
    def.u.pd.num_choices = static_cast<int16_t>(items.count);
    def.u.pd.dephault = static_cast<int16_t>(value);
    def.u.pd.value = value;
    def.u.pd.u.namesptr = items.text;
}

void DefineSlider(PF_ParamDef& def, int32_t id, const char* name, int32_t minimum, int32_t maximum,
                  int32_t value, PF_ParamFlags flags) {
    std::memset(&def, 0, sizeof(def));
    def.param_type = PF_Param_SLIDER;
    def.uu.id = id;
    SetName(def, name);
    def.flags = flags;
    def.u.sd.valid_min = minimum;
    def.u.sd.valid_max = maximum;
    def.u.sd.slider_min = minimum;
    def.u.sd.slider_max = maximum;
    def.u.sd.value = value;
    def.u.sd.dephault = value;
}

// Adds the header from the global record (unlocked afterwards through the
// data address, as the effect has always done).
PF_Err AddHeader(const CommandArgs& args, PF_ParamDef& def) {
    PF_InData* in_data = args.in_data;
    PF_UtilCallbacks* utils = in_data->utils;
    BrandingGlobals* globals = nullptr;
    if (in_data->global_data != nullptr && utils != nullptr && utils->host_lock_handle != nullptr) {
        globals = static_cast<BrandingGlobals*>(utils->host_lock_handle(in_data->global_data));
    }
    auto unlock = [&]() {
        if (globals != nullptr && utils->host_unlock_handle != nullptr) {
            utils->host_unlock_handle(reinterpret_cast<PF_Handle>(globals));
        }
    };

    std::memset(&def, 0, sizeof(def));
    def.param_type = PF_Param_NO_DATA;
    def.uu.id = PARAM_ID_HEADER;
    def.flags = PF_ParamFlag_SKIP_REVEAL_WHEN_UNHIDDEN;
    if (globals != nullptr && globals->module != nullptr) {
        def.ui_flags = PF_PUI_CONTROL | PF_PUI_DONT_ERASE_CONTROL;
        float width = 0.0f;
        float height = 40.0f;
        if (globals->functions.getIdealDimensions != nullptr) {
            globals->functions.getIdealDimensions(globals->reference, &width, &height);
        }
        def.ui_width = static_cast<int16_t>(static_cast<int32_t>(width));
        def.ui_height = static_cast<int16_t>(static_cast<int32_t>(height - 40.0f));
    } else {
        def.ui_flags = PF_PUI_TOPIC;
    }
    const PF_Err err = in_data->inter.add_param(in_data->effect_ref, -1, &def);
    unlock();
    return err;
}

}  // namespace

PF_Err HandleParamsSetup(const CommandArgs& args) {
    if (args.in_data == nullptr || args.out_data == nullptr) {
        return kMissingRecordError;
    }
    PF_InData* in_data = args.in_data;
    if (in_data->inter.add_param == nullptr || in_data->inter.register_ui == nullptr) {
        return kMissingCallbackError;
    }
    const bool premiere = IsPremiereHost();
    PopupItems outputItems;
    PopupItems fourKItems;
    BuildPopupItems(OutputSizePresetTable(premiere), outputItems);
    BuildPopupItems(FourKPresetTable(premiere), fourKItems);

    PF_ParamDef def;
    PF_Err err = AddHeader(args, def);
    if (err != PF_Err_NONE) {
        return err;
    }
    auto add = [&]() { return in_data->inter.add_param(in_data->effect_ref, -1, &def); };

    DefinePopup(def, PARAM_ID_OUTPUT_SIZE, "Output Size", outputItems, outputItems.defaultPosition,
                PF_ParamFlag_SUPERVISE, PF_PUI_NO_ECW_UI | PF_PUI_DISABLED);
    if ((err = add()) != PF_Err_NONE) {
        return err;
    }
    const int32_t fourKDefault = IsAfterEffectsHost() ? 2 : fourKItems.defaultPosition;
    DefinePopup(def, PARAM_ID_4K_OUTPUT_SIZE, "4K Output Size", fourKItems, fourKDefault,
                PF_ParamFlag_SUPERVISE, PF_PUI_NONE);
    if ((err = add()) != PF_Err_NONE) {
        return err;
    }

    std::memset(&def, 0, sizeof(def));
    def.param_type = PF_Param_GROUP_START;
    def.uu.id = PARAM_ID_CUSTOM_GROUP;
    SetName(def, "Custom Size");
    if ((err = add()) != PF_Err_NONE) {
        return err;
    }
    DefineSlider(def, PARAM_ID_CUSTOM_WIDTH, "Custom Width", kCustomSideRange.minimum,
                 kCustomSideRange.maximum, static_cast<int32_t>(outputItems.defaultWidth),
                 PF_ParamFlag_SUPERVISE);
    if ((err = add()) != PF_Err_NONE) {
        return err;
    }
    DefineSlider(def, PARAM_ID_CUSTOM_HEIGHT, "Custom Height", kCustomSideRange.minimum,
                 kCustomSideRange.maximum, static_cast<int32_t>(outputItems.defaultHeight),
                 PF_ParamFlag_SUPERVISE);
    if ((err = add()) != PF_Err_NONE) {
        return err;
    }

    std::memset(&def, 0, sizeof(def));
    def.param_type = PF_Param_CHECKBOX;
    def.uu.id = PARAM_ID_CONSTRAIN;
    SetName(def, "Constrain Proportions");
    def.flags = PF_ParamFlag_SUPERVISE;
    def.u.bd.value = 1;
    def.u.bd.dephault = 1;
    def.u.bd.u.nameptr = "";
    if ((err = add()) != PF_Err_NONE) {
        return err;
    }
    // The group end reuses the checkbox's definition with only kind and id
    // changed.
    def.param_type = PF_Param_GROUP_END;
    def.uu.id = PARAM_ID_CUSTOM_GROUP_END;
    if ((err = add()) != PF_Err_NONE) {
        return err;
    }

    std::memset(&def, 0, sizeof(def));
    def.param_type = PF_Param_POPUP;
    def.uu.id = PARAM_ID_FILTER_TYPE;
    SetName(def, "Filter Type");
    def.u.pd.num_choices = kFilterTypeCount;
    def.u.pd.dephault = static_cast<int16_t>(kDefaultFilterType);
    def.u.pd.value = static_cast<int32_t>(kDefaultFilterType);
    def.u.pd.u.namesptr = kFilterTypeItems;
    if ((err = add()) != PF_Err_NONE) {
        return err;
    }
    DefineSlider(def, PARAM_ID_SHARPNESS, "Sharpness", kSharpnessRange.minimum,
                 kSharpnessRange.maximum, kSharpnessRange.standard, 0);
    if ((err = add()) != PF_Err_NONE) {
        return err;
    }
    DefineSlider(def, PARAM_ID_QUALITY, "Quality", kQualityRange.minimum, kQualityRange.maximum,
                 kQualityRange.standard, 0);
    if ((err = add()) != PF_Err_NONE) {
        return err;
    }
    DefineSlider(def, PARAM_ID_ANTIALIAS, "Anti-aliasing", kAntiAliasingRange.minimum,
                 kAntiAliasingRange.maximum, kAntiAliasingRange.standard, 0);
    if ((err = add()) != PF_Err_NONE) {
        return err;
    }

    args.out_data->num_params = PARAM_COUNT;
    PF_CustomUIInfo ui;
    std::memset(&ui, 0, sizeof(ui));
    ui.events = PF_CustomEFlag_EFFECT;
    return in_data->inter.register_ui(in_data->effect_ref, &ui);
}

}  // namespace quillon::host
