// The effect's entry: the application-id capture, the command table and the
// exception guard. The exported EntryPointFunc forwards here.
#ifndef QUILLON_HOST_ENTRYPOINT_H
#define QUILLON_HOST_ENTRYPOINT_H

#include "host/ae/PluginTypes.h"

namespace quillon::host {

// Routes one host call to its handler. Any exception that escapes a handler
// is caught here and answered with PF_Err_BAD_CALLBACK_PARAM; commands
// without a handler answer PF_Err_NONE.
PF_Err RunEntryPoint(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** params,
                     PF_LayerDef* output, void* extra) noexcept;

}  // namespace quillon::host

#endif  // QUILLON_HOST_ENTRYPOINT_H
