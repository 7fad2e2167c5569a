// The render command: one input frame enlarged into the output world.
#ifndef QUILLON_HOST_RENDER_H
#define QUILLON_HOST_RENDER_H

#include <cstdint>

#include "host/Commands.h"

namespace quillon::host {

// PF_Cmd_RENDER. Results: PF_Err_NONE (also when the engine refuses the sizes
// and the host copies the input instead), PF_Err_OUT_OF_MEMORY without
// sequence data or working memory, PF_Err_INTERNAL_STRUCT_DAMAGED when the
// pipeline fails or anything throws, PF_Err_BAD_CALLBACK_PARAM when the host
// hands over no parameters or unusable worlds.
PF_Err HandleRender(const CommandArgs& args);

}  // namespace quillon::host

#endif  // QUILLON_HOST_RENDER_H
