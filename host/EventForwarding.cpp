#include "host/Branding.h"
#include "host/Commands.h"

namespace quillon::host {

PF_Err HandleEvent(const CommandArgs& args) {
    if (args.in_data == nullptr) {
        return kMissingRecordError;
    }
    PF_Err result = PF_Err_NONE;
    HandleLock lock(args.in_data, args.in_data->global_data);
    auto* globals = static_cast<BrandingGlobals*>(lock.data());
    if (globals != nullptr && globals->module != nullptr &&
        globals->functions.handleEvent != nullptr) {
        result =
            globals->functions.handleEvent(globals->reference, args.cmd, args.in_data,
                                           args.out_data, args.params, args.output, args.extra);
    }
    return result;
}

}  // namespace quillon::host
