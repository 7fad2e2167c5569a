#include <cstdio>

#include "host/Branding.h"
#include "host/Commands.h"
#include "host/PluginInfo.h"

namespace quillon::host {
namespace {

constexpr char kAboutFormat[] = "%s\rVersion %d.%d.%d \r\r%s";
constexpr char kLegalNotice[] =
    "Copyright (c) 2019 Halvern Visual Systems. All rights reserved.\r"
    "Quillon and Palomar Suite are trademarks of Halvern Visual Systems.";

}  // namespace

PF_Err HandleAbout(const CommandArgs& args) {
    if (args.in_data == nullptr || args.out_data == nullptr) {
        return kMissingRecordError;
    }
    PF_UtilCallbacks* utils = args.in_data->utils;
    void* mainWindow = nullptr;
    if (utils != nullptr && utils->get_platform_data != nullptr) {
        if (utils->get_platform_data(args.in_data->effect_ref, PF_PlatData_MAIN_WND, &mainWindow) !=
            PF_Err_NONE) {
            mainWindow = nullptr;
        }
    }

    // The global handle is left locked here; the host's lock counting
    // absorbs it.
    BrandingGlobals* globals = nullptr;
    if (args.in_data->global_data != nullptr && utils != nullptr &&
        utils->host_lock_handle != nullptr) {
        globals = static_cast<BrandingGlobals*>(utils->host_lock_handle(args.in_data->global_data));
    }
    if (globals != nullptr && globals->module != nullptr &&
        globals->functions.showAboutBox != nullptr) {
        BrandingProductInfo product = EffectProductInfo();
        product.description = plugin::kDescription;
        product.productWebPage = kProductWebPage;
        const BrandingBuildStrings strings{
            {"", kBrandingBuildDate, kBrandingBuildTime, kBrandingBuildNumber, nullptr}};
        const BrandingBuildInfo build{0, &strings};
        globals->functions.showAboutBox(mainWindow, &product, &build);
        return PF_Err_NONE;
    }

    const int major = static_cast<int>(plugin::kVersionMajor);
    const int minor = static_cast<int>(plugin::kVersionMinor);
    const int bugFix = static_cast<int>(plugin::kVersionBugFix);
    if (utils != nullptr && utils->ansi.sprintf != nullptr) {
        utils->ansi.sprintf(args.out_data->return_msg, kAboutFormat, plugin::kEffectName, major,
                            minor, bugFix, kLegalNotice);
    } else {
        std::snprintf(args.out_data->return_msg, sizeof(args.out_data->return_msg), kAboutFormat,
                      plugin::kEffectName, major, minor, bugFix, kLegalNotice);
    }
    return PF_Err_NONE;
}

}  // namespace quillon::host
