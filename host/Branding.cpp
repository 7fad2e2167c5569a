#include "host/Branding.h"

#include <cstring>

#include "host/PluginInfo.h"

#ifdef _WIN32
#include <shlobj.h>
#include <windows.h>
#include <cstdio>
#endif

namespace quillon::host {

BrandingProductInfo EffectProductInfo() {
    BrandingProductInfo product{};
    product.productName = plugin::kEffectName;
    product.suiteName = plugin::kSuiteName;
    product.subTitle = "";
    product.versionMajor = plugin::kVersionMajor;
    product.versionMinor = plugin::kVersionMinor;
    product.versionBugFix = plugin::kVersionBugFix;
    return product;
}

#ifdef _WIN32

namespace {

template <typename Proc>
Proc Resolve(HMODULE module, const char* name) {
    return reinterpret_cast<Proc>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

}  // namespace

bool LoadBrandingLibrary(void** module, BrandingFunctions* functions) {
    *module = nullptr;
    char folder[MAX_PATH] = {};
    if (FAILED(SHGetFolderPathA(nullptr, CSIDL_PROGRAM_FILES_COMMON, nullptr, 0, folder))) {
        return false;
    }
    // The relative part starts with its own separator; Windows accepts the
    // doubled separator at the seam.
    char path[260] = {};
    std::snprintf(path, sizeof(path), "%s\\%s", folder,
                  "\\Halvern\\Common\\Libraries\\HVBranding.dll");
    // A damaged file at that path must not make the system show an error box
    // inside the host; loading then simply fails.
    DWORD previousMode = 0;
    const BOOL modeSet =
        SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &previousMode);
    HMODULE library = LoadLibraryA(path);
    if (modeSet) {
        SetThreadErrorMode(previousMode, nullptr);
    }
    if (library == nullptr) {
        return false;
    }
    *module = library;
    std::memset(functions, 0, sizeof(*functions));
    functions->getVersionInfo = Resolve<HB_GetVersionInfoProc>(library, "HB_GetVersionInfo");
    functions->showAboutBox = Resolve<HB_ShowAboutBoxProc>(library, "HB_ShowAboutBox");
    functions->createAEBrandingRef =
        Resolve<HB_CreateAEBrandingRefProc>(library, "HB_CreateAEBrandingRef");
    functions->destroyAEBrandingRef =
        Resolve<HB_DestroyAEBrandingRefProc>(library, "HB_DestroyAEBrandingRef");
    functions->addActionButton = Resolve<HB_AddActionButtonProc>(library, "HB_AddActionButton");
    functions->getIdealDimensions =
        Resolve<HB_GetIdealDimensionsProc>(library, "HB_GetIdealDimensions");
    functions->handleEvent = Resolve<HB_HandleEventProc>(library, "HB_HandleEvent");
    functions->setActionButtonTitle =
        Resolve<HB_SetActionButtonTitleProc>(library, "HB_SetActionButtonTitle");
    return true;
}

void UnloadBrandingLibrary(void* module) {
    if (module != nullptr) {
        FreeLibrary(static_cast<HMODULE>(module));
    }
}

#else

bool LoadBrandingLibrary(void** module, BrandingFunctions* /*functions*/) {
    *module = nullptr;
    return false;
}

void UnloadBrandingLibrary(void* /*module*/) {}

#endif

}  // namespace quillon::host
