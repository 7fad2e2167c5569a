#include "host/SequenceData.h"

#include <cstring>

#include "host/Commands.h"

namespace quillon::host {

void InitSequenceData(SequenceData& data, uint32_t reservedWord) {
    std::memset(&data, 0, sizeof(data));
    data.reserved = reservedWord;
    data.kernelSelector = kDefaultKernelSelector;
    data.reserved24 = 0;
    data.flags[0] = 0;
    data.flags[1] = 1;
    data.flags[2] = 0;
    data.flags[3] = 0;
    data.proportionRatio = kDefaultProportionRatio;
}

void MigrateLegacySequenceData(const uint8_t* legacy, SequenceData& data) {
    uint32_t words[6];
    std::memcpy(words, legacy, sizeof(words));
    InitSequenceData(data, kSequenceMigrated);
    data.targetWidth = words[0];
    data.targetHeight = words[1];
    data.outputWidth = words[2];
    data.outputHeight = static_cast<int32_t>(words[3]);
    data.kernelSelector = words[4];
    data.reserved24 = words[5];
    std::memcpy(data.flags, legacy + 24, sizeof(data.flags));
    data.proportionRatio = kDefaultProportionRatio;
}

SequenceDataAccess::SequenceDataAccess(const PF_InData* in_data) {
    if (in_data == nullptr || in_data->sequence_data == nullptr || !HasHandleCallbacks(in_data)) {
        return;
    }
    PF_UtilCallbacks* utils = in_data->utils;
    if (utils->host_get_handle_size(in_data->sequence_data) < sizeof(SequenceData)) {
        return;  // an older or foreign record: never read past its end
    }
    void* locked = utils->host_lock_handle(in_data->sequence_data);
    if (locked == nullptr) {
        return;
    }
    utils_ = utils;
    handle_ = in_data->sequence_data;
    data_ = static_cast<SequenceData*>(locked);
}

SequenceDataAccess::~SequenceDataAccess() {
    if (data_ != nullptr) {
        utils_->host_unlock_handle(handle_);
    }
}

namespace {

// A new 552-byte handle filled with the creation values, unlocked; null when
// it cannot be allocated or locked.
PF_Handle CreateSequenceHandle(PF_UtilCallbacks* utils, uint32_t reservedWord,
                               const uint8_t* legacy) {
    PF_Handle handle = utils->host_new_handle(sizeof(SequenceData));
    if (handle == nullptr) {
        return nullptr;
    }
    void* locked = utils->host_lock_handle(handle);
    if (locked == nullptr) {
        utils->host_dispose_handle(handle);
        return nullptr;
    }
    SequenceData data;
    if (legacy != nullptr) {
        MigrateLegacySequenceData(legacy, data);
    } else {
        InitSequenceData(data, reservedWord);
    }
    std::memcpy(locked, &data, sizeof(data));
    utils->host_unlock_handle(handle);
    return handle;
}

}  // namespace

PF_Err HandleSequenceSetup(const CommandArgs& args) {
    if (args.in_data == nullptr || args.out_data == nullptr) {
        return kMissingRecordError;
    }
    if (!HasHandleCallbacks(args.in_data)) {
        return kMissingCallbackError;
    }
    PF_UtilCallbacks* utils = args.in_data->utils;
    if (args.out_data->sequence_data != nullptr) {
        utils->host_dispose_handle(args.out_data->sequence_data);
        args.out_data->sequence_data = nullptr;
    }
    PF_Handle handle = CreateSequenceHandle(utils, kSequenceCreated, nullptr);
    if (handle == nullptr) {
        return PF_Err_OUT_OF_MEMORY;
    }
    args.out_data->sequence_data = handle;
    return PF_Err_NONE;
}

PF_Err HandleSequenceResetup(const CommandArgs& args) {
    if (args.in_data == nullptr || args.out_data == nullptr) {
        return kMissingRecordError;
    }
    if (args.in_data->sequence_data == nullptr) {
        return HandleSequenceSetup(args);
    }
    if (!HasHandleCallbacks(args.in_data)) {
        return kMissingCallbackError;
    }
    PF_UtilCallbacks* utils = args.in_data->utils;
    PF_Handle old = args.in_data->sequence_data;
    if (utils->host_get_handle_size(old) != kLegacySequenceDataSize) {
        return PF_Err_NONE;  // current layout, or one this effect does not know: kept
    }
    void* legacy = utils->host_lock_handle(old);
    if (legacy == nullptr) {
        return PF_Err_OUT_OF_MEMORY;
    }
    if (args.out_data->sequence_data != nullptr && args.out_data->sequence_data != old) {
        utils->host_dispose_handle(args.out_data->sequence_data);
        args.out_data->sequence_data = nullptr;
    }
    PF_Handle fresh =
        CreateSequenceHandle(utils, kSequenceMigrated, static_cast<const uint8_t*>(legacy));
    utils->host_unlock_handle(old);
    if (fresh == nullptr) {
        return PF_Err_OUT_OF_MEMORY;
    }
    utils->host_dispose_handle(old);
    args.out_data->sequence_data = fresh;
    return PF_Err_NONE;
}

PF_Err HandleSequenceSetdown(const CommandArgs& args) {
    if (args.in_data == nullptr) {
        return kMissingRecordError;
    }
    if (args.in_data->sequence_data == nullptr) {
        return PF_Err_NONE;
    }
    if (args.in_data->utils == nullptr || args.in_data->utils->host_dispose_handle == nullptr) {
        return kMissingCallbackError;
    }
    args.in_data->utils->host_dispose_handle(args.in_data->sequence_data);
    if (args.out_data != nullptr) {
        args.out_data->sequence_data = nullptr;
    }
    return PF_Err_NONE;
}

}  // namespace quillon::host
