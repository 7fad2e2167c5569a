// The render command: one input frame enlarged into the output world.
#ifndef QUILLON_HOST_RENDER_H
#define QUILLON_HOST_RENDER_H

#include <cstdint>

#include "host/Commands.h"

namespace quillon::host {

// Filter Type popup values.
enum FilterType : int32_t {
    FILTER_DRAFT = 1,
    FILTER_QUICK = 2,
    FILTER_BETTER = 3,
    FILTER_BEST = 4,
};

// EngineOptions for a Filter Type value and the Sharpness and Anti-aliasing
// sliders: Draft 0, Quick OPT_LANCZOS, Better OPT_REFINE, Best (and any
// value out of range) OPT_REFINE | OPT_LANCZOS; plus OPT_SHARPEN when
// Sharpness > 0 and OPT_ANTIALIAS when Anti-aliasing > 0.
uint32_t ComputeEngineOptions(int32_t filterType, int32_t sharpness, int32_t antiAliasing);

// PF_Cmd_RENDER. Results: PF_Err_NONE (also when the engine refuses the sizes
// and the host copies the input instead), PF_Err_OUT_OF_MEMORY without
// sequence data or working memory, PF_Err_INTERNAL_STRUCT_DAMAGED when the
// pipeline fails or anything throws, PF_Err_BAD_CALLBACK_PARAM when the host
// hands over no parameters or unusable worlds.
PF_Err HandleRender(const CommandArgs& args);

}  // namespace quillon::host

#endif  // QUILLON_HOST_RENDER_H
