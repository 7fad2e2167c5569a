#include "host/Commands.h"

namespace quillon::host {

bool HasHandleCallbacks(const PF_InData* in_data) {
    if (in_data == nullptr || in_data->utils == nullptr) {
        return false;
    }
    const PF_UtilCallbacks* utils = in_data->utils;
    return utils->host_new_handle != nullptr && utils->host_lock_handle != nullptr &&
           utils->host_unlock_handle != nullptr && utils->host_dispose_handle != nullptr &&
           utils->host_get_handle_size != nullptr;
}

PF_ParamDef* ParamAt(const CommandArgs& args, int32_t index) {
    if (args.params == nullptr || args.in_data == nullptr || index < 0 ||
        index >= args.in_data->num_params) {
        return nullptr;
    }
    return args.params[index];
}

bool HasParamsThrough(const CommandArgs& args, int32_t lastIndex) {
    for (int32_t index = 0; index <= lastIndex; ++index) {
        if (ParamAt(args, index) == nullptr) {
            return false;
        }
    }
    return true;
}

HandleLock::HandleLock(const PF_InData* in_data, PF_Handle handle) {
    if (handle == nullptr || in_data == nullptr || in_data->utils == nullptr ||
        in_data->utils->host_lock_handle == nullptr ||
        in_data->utils->host_unlock_handle == nullptr) {
        return;
    }
    utils_ = in_data->utils;
    handle_ = handle;
    data_ = utils_->host_lock_handle(handle);
}

HandleLock::~HandleLock() {
    if (data_ != nullptr) {
        utils_->host_unlock_handle(handle_);
    }
}

}  // namespace quillon::host
