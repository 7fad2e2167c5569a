// The plug-in library: its load-time settings and the exported entry point.
#include "effect/EffectSettings.h"
#include "engine/Engine.h"
#include "host/EntryPoint.h"
#include "host/HostMemory.h"
#include "host/ae/PluginTypes.h"
#include "host/plugin/PluginExport.h"

namespace {

// Runs when the library is loaded, before any host call: the engine takes
// its memory from host handles and clamps to the host's channel maxima.
struct LibraryLoadSettings {
    LibraryLoadSettings() {
        SetEngineAllocator(quillon::host::AllocateHostBlock, quillon::host::FreeHostBlock);
        SetMaxValue16(static_cast<int32_t>(quillon::kWhite16));
        SetMaxValue8(static_cast<int32_t>(quillon::kWhite8));
    }
};

const LibraryLoadSettings g_libraryLoadSettings;

}  // namespace

extern "C" QUILLON_PLUGIN_EXPORT PF_Err EntryPointFunc(PF_Cmd cmd, PF_InData* in_data,
                                                       PF_OutData* out_data, PF_ParamDef** params,
                                                       PF_LayerDef* output, void* extra) {
    return quillon::host::RunEntryPoint(cmd, in_data, out_data, params, output, extra);
}
