#include <cstring>

#include "engine/Engine.h"
#include "host/Branding.h"
#include "host/Commands.h"
#include "host/HostApp.h"
#include "host/PluginInfo.h"

namespace quillon::host {

PF_Err HandleGlobalSetup(const CommandArgs& args) {
    if (args.in_data == nullptr || args.out_data == nullptr) {
        return kMissingRecordError;
    }
    PF_UtilCallbacks* utils = args.in_data->utils;
    if (utils == nullptr || utils->host_new_handle == nullptr ||
        utils->host_lock_handle == nullptr || utils->host_unlock_handle == nullptr) {
        return kMissingCallbackError;
    }
    args.out_data->out_flags |= plugin::kGlobalOutFlags;
    args.out_data->my_version = plugin::kMyVersion;
    PF_Handle global = utils->host_new_handle(sizeof(BrandingGlobals));
    args.out_data->global_data = global;
    args.out_data->out_flags2 |= plugin::kGlobalOutFlags2;
    StoreApplicationId(args.in_data->appl_id);
    if (global == nullptr) {
        return PF_Err_OUT_OF_MEMORY;
    }

    auto* globals = static_cast<BrandingGlobals*>(utils->host_lock_handle(global));
    if (globals == nullptr) {
        // The record was never filled in: hand nothing back that a later
        // global setdown could take for it.
        if (utils->host_dispose_handle != nullptr) {
            utils->host_dispose_handle(global);
        }
        args.out_data->global_data = nullptr;
        return PF_Err_OUT_OF_MEMORY;
    }
    std::memset(globals, 0, sizeof(*globals));
    if (LoadBrandingLibrary(&globals->module, &globals->functions)) {
        BrandingProductInfo product = EffectProductInfo();
        product.hostKind = kBrandingHostKindAE;
        if (globals->functions.createAEBrandingRef != nullptr) {
            globals->reference = globals->functions.createAEBrandingRef(&product);
        }
    }
    utils->host_unlock_handle(global);
    return PF_Err_NONE;
}

PF_Err HandleGlobalSetdown(const CommandArgs& args) {
    // The engine's worker threads end here, on the host's thread, not at
    // library unload: a Windows library's unload runs under the loader lock,
    // where waiting for a thread to end would never return.
    StopEngineThreads();
    if (args.in_data == nullptr) {
        return kMissingRecordError;
    }
    HandleLock lock(args.in_data, args.in_data->global_data);
    auto* globals = static_cast<BrandingGlobals*>(lock.data());
    if (globals != nullptr && globals->module != nullptr) {
        if (globals->functions.destroyAEBrandingRef != nullptr) {
            globals->functions.destroyAEBrandingRef(globals->reference);
        }
        UnloadBrandingLibrary(globals->module);
        globals->module = nullptr;
    }
    return PF_Err_NONE;
}

}  // namespace quillon::host
