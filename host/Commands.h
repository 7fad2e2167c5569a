// The command handlers behind the entry point, one per host command, and the
// checks they share on what the host handed over.
#ifndef QUILLON_HOST_COMMANDS_H
#define QUILLON_HOST_COMMANDS_H

#include "host/ae/PluginTypes.h"

namespace quillon::host {

// The six arguments of one entry-point call.
struct CommandArgs {
    PF_Cmd cmd;
    PF_InData* in_data;
    PF_OutData* out_data;
    PF_ParamDef** params;
    PF_LayerDef* output;
    void* extra;
};

// Answer when a record a command needs is missing, or a callback it needs is
// not offered.
inline constexpr PF_Err kMissingRecordError = PF_Err_BAD_CALLBACK_PARAM;
inline constexpr PF_Err kMissingCallbackError = PF_Err_INVALID_CALLBACK;

// Parameter indices in the host's parameter array.
enum ParamIndex : int32_t {
    PARAM_INPUT = 0,
    PARAM_HEADER = 1,
    PARAM_OUTPUT_SIZE = 2,
    PARAM_4K_OUTPUT_SIZE = 3,
    PARAM_CUSTOM_GROUP = 4,
    PARAM_CUSTOM_WIDTH = 5,
    PARAM_CUSTOM_HEIGHT = 6,
    PARAM_CONSTRAIN = 7,
    PARAM_CUSTOM_GROUP_END = 8,
    PARAM_FILTER_TYPE = 9,
    PARAM_SHARPNESS = 10,
    PARAM_QUALITY = 11,
    PARAM_ANTIALIAS = 12,
    PARAM_COUNT = 13,
};

// Stable parameter ids saved in projects.
enum ParamId : int32_t {
    PARAM_ID_OUTPUT_SIZE = 1,
    PARAM_ID_CUSTOM_GROUP = 2,
    PARAM_ID_CUSTOM_WIDTH = 3,
    PARAM_ID_CUSTOM_HEIGHT = 4,
    PARAM_ID_CONSTRAIN = 6,
    PARAM_ID_CUSTOM_GROUP_END = 7,
    PARAM_ID_FILTER_TYPE = 8,
    PARAM_ID_SHARPNESS = 9,
    PARAM_ID_QUALITY = 10,
    PARAM_ID_ANTIALIAS = 11,
    PARAM_ID_4K_OUTPUT_SIZE = 12,
    PARAM_ID_HEADER = 13,
};

// True when in_data carries utility callbacks with the five handle calls.
bool HasHandleCallbacks(const PF_InData* in_data);

// The parameter at an index when the array holds it, else null.
PF_ParamDef* ParamAt(const CommandArgs& args, int32_t index);

// True when params holds every index up to and including lastIndex.
bool HasParamsThrough(const CommandArgs& args, int32_t lastIndex);

// Locks a host handle for the life of the object.
class HandleLock {
public:
    HandleLock(const PF_InData* in_data, PF_Handle handle);
    ~HandleLock();
    HandleLock(const HandleLock&) = delete;
    HandleLock& operator=(const HandleLock&) = delete;

    void* data() const { return data_; }

private:
    PF_UtilCallbacks* utils_ = nullptr;
    PF_Handle handle_ = nullptr;
    void* data_ = nullptr;
};

PF_Err HandleAbout(const CommandArgs& args);
PF_Err HandleGlobalSetup(const CommandArgs& args);
PF_Err HandleGlobalSetdown(const CommandArgs& args);
PF_Err HandleParamsSetup(const CommandArgs& args);
PF_Err HandleSequenceSetup(const CommandArgs& args);
PF_Err HandleSequenceResetup(const CommandArgs& args);
PF_Err HandleSequenceSetdown(const CommandArgs& args);
PF_Err HandleFrameSetup(const CommandArgs& args);
PF_Err HandleUserChangedParam(const CommandArgs& args);
PF_Err HandleUpdateParamsUI(const CommandArgs& args);
PF_Err HandleEvent(const CommandArgs& args);

}  // namespace quillon::host

#endif  // QUILLON_HOST_COMMANDS_H
