// Run-time binding to the maker's optional branding library, which draws the
// effect's header strip and its about box. Without the library the effect
// falls back to a plain header and a text about box.
#ifndef QUILLON_HOST_BRANDING_H
#define QUILLON_HOST_BRANDING_H

#include <cstddef>
#include <cstdint>

#include "host/ae/PluginTypes.h"

namespace quillon::host {

// Interface record passed to the library for registration and for the about
// box (88 bytes, zero where unused).
struct BrandingProductInfo {
    const char* productName;
    const char* suiteName;
    const char* subTitle;
    const void* reserved24;
    uint32_t versionMajor;
    uint32_t versionMinor;
    uint32_t versionBugFix;
    uint32_t reserved44;
    uint32_t hostKind;
    uint8_t reserved52[12];
    const char* description;
    const void* reserved72;
    const char* productWebPage;
};

// Build strings of the about box: empty, date, time, build number, null.
struct BrandingBuildStrings {
    const char* fields[5];
};

struct BrandingBuildInfo {
    uint64_t reserved;
    const BrandingBuildStrings* strings;
};

typedef void (*HB_GetVersionInfoProc)(void);
typedef void (*HB_ShowAboutBoxProc)(void* mainWindow, const BrandingProductInfo* product,
                                    const BrandingBuildInfo* build);
typedef void* (*HB_CreateAEBrandingRefProc)(const BrandingProductInfo* product);
typedef void (*HB_DestroyAEBrandingRefProc)(void* reference);
typedef void (*HB_AddActionButtonProc)(void);
typedef void (*HB_GetIdealDimensionsProc)(void* reference, float* width, float* height);
typedef PF_Err (*HB_HandleEventProc)(void* reference, PF_Cmd cmd, PF_InData* in_data,
                                     PF_OutData* out_data, PF_ParamDef** params,
                                     PF_LayerDef* output, void* extra);
typedef void (*HB_SetActionButtonTitleProc)(void);

// The library's entry points, in export order; a missing export stays null.
// Every call is null-checked, so a broken installation never takes the host
// down: without HB_ShowAboutBox or HB_HandleEvent the about box and events
// fall back as if the library were absent; without HB_CreateAEBrandingRef
// the reference stays null; without HB_GetIdealDimensions the custom header
// gets no size (0 x 0); without HB_DestroyAEBrandingRef setdown only unloads.
struct BrandingFunctions {
    HB_GetVersionInfoProc getVersionInfo;
    HB_ShowAboutBoxProc showAboutBox;
    HB_CreateAEBrandingRefProc createAEBrandingRef;
    HB_DestroyAEBrandingRefProc destroyAEBrandingRef;
    HB_AddActionButtonProc addActionButton;
    HB_GetIdealDimensionsProc getIdealDimensions;
    HB_HandleEventProc handleEvent;
    HB_SetActionButtonTitleProc setActionButtonTitle;
};

// The global-data record kept in the host's global handle (80 bytes). A null
// module is the one test for the absence of the library.
struct BrandingGlobals {
    void* reference;
    BrandingFunctions functions;
    void* module;
};

inline constexpr uint32_t kBrandingHostKindAE = 0x41454658;  // 'AEFX'
inline constexpr char kBrandingBuildDate[] = "Nov 19 2019";
inline constexpr char kBrandingBuildTime[] = "19:11:04";
inline constexpr char kBrandingBuildNumber[] = "0";
inline constexpr char kProductWebPage[] = "https://www.halvernvisual.com/palomar/quillon-4k";

static_assert(sizeof(BrandingProductInfo) == 88);
static_assert(offsetof(BrandingProductInfo, versionMajor) == 32);
static_assert(offsetof(BrandingProductInfo, hostKind) == 48);
static_assert(offsetof(BrandingProductInfo, description) == 64);
static_assert(offsetof(BrandingProductInfo, productWebPage) == 80);
static_assert(offsetof(BrandingProductInfo, subTitle) == 16);
static_assert(offsetof(BrandingProductInfo, reserved52) == 52);
static_assert(sizeof(BrandingBuildStrings) == 40);
static_assert(sizeof(BrandingBuildInfo) == 16);
static_assert(offsetof(BrandingBuildInfo, strings) == 8);
static_assert(sizeof(BrandingFunctions) == 64);
static_assert(sizeof(BrandingGlobals) == 80);
static_assert(offsetof(BrandingGlobals, module) == 72);

// Loads the library from the common program files folder. On success the
// table is zeroed and each export resolved by name; on failure module is
// null, the result false and the table untouched. Outside Windows the
// library never exists.
bool LoadBrandingLibrary(void** module, BrandingFunctions* functions);
void UnloadBrandingLibrary(void* module);

// The effect's name, suite and version; every other field zero.
BrandingProductInfo EffectProductInfo();

}  // namespace quillon::host

#endif  // QUILLON_HOST_BRANDING_H
