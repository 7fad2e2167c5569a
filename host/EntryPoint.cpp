#include "host/EntryPoint.h"

#include "host/Commands.h"
#include "host/HostApp.h"
#include "host/Render.h"

namespace quillon::host {
namespace {

using CommandHandler = PF_Err (*)(const CommandArgs&);

// Indexed by selector; null entries (unused commands) answer PF_Err_NONE.
constexpr CommandHandler kCommandTable[] = {
    HandleAbout,             // 0  PF_Cmd_ABOUT
    HandleGlobalSetup,       // 1  PF_Cmd_GLOBAL_SETUP
    nullptr,                 // 2  PF_Cmd_UNUSED_0
    HandleGlobalSetdown,     // 3  PF_Cmd_GLOBAL_SETDOWN
    HandleParamsSetup,       // 4  PF_Cmd_PARAMS_SETUP
    HandleSequenceSetup,     // 5  PF_Cmd_SEQUENCE_SETUP
    HandleSequenceResetup,   // 6  PF_Cmd_SEQUENCE_RESETUP
    nullptr,                 // 7  PF_Cmd_SEQUENCE_FLATTEN
    HandleSequenceSetdown,   // 8  PF_Cmd_SEQUENCE_SETDOWN
    nullptr,                 // 9  PF_Cmd_DO_DIALOG
    HandleFrameSetup,        // 10 PF_Cmd_FRAME_SETUP
    HandleRender,            // 11 PF_Cmd_RENDER
    nullptr,                 // 12 PF_Cmd_FRAME_SETDOWN
    HandleUserChangedParam,  // 13 PF_Cmd_USER_CHANGED_PARAM
    HandleUpdateParamsUI,    // 14 PF_Cmd_UPDATE_PARAMS_UI
    HandleEvent,             // 15 PF_Cmd_EVENT
    nullptr,                 // 16 PF_Cmd_GET_EXTERNAL_DEPENDENCIES
    nullptr,                 // 17 PF_Cmd_COMPLETELY_GENERAL
    nullptr,                 // 18 PF_Cmd_QUERY_DYNAMIC_FLAGS
};

constexpr PF_Cmd kCommandCount =
    static_cast<PF_Cmd>(sizeof(kCommandTable) / sizeof(kCommandTable[0]));

}  // namespace

PF_Err RunEntryPoint(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** params,
                     PF_LayerDef* output, void* extra) noexcept {
    try {
        CaptureApplicationId(in_data);
        if (cmd < 0 || cmd >= kCommandCount || kCommandTable[cmd] == nullptr) {
            return PF_Err_NONE;
        }
        const CommandArgs args{cmd, in_data, out_data, params, output, extra};
        return kCommandTable[cmd](args);
    } catch (...) {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
}

}  // namespace quillon::host
