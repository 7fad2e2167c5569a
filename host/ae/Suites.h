// The host's suite mechanism and the suite tables this effect acquires. Each
// table is the slot order that the host serves for the given name and the
// number passed to AcquireSuite; the number is part of the type's name.
#ifndef QUILLON_HOST_AE_SUITES_H
#define QUILLON_HOST_AE_SUITES_H

#include <cstddef>

#include "host/ae/PluginTypes.h"

struct SPBasicSuite {
    SPErr (*AcquireSuite)(const char* name, int32_t version, const void** suite);
    SPErr (*ReleaseSuite)(const char* name, int32_t version);
    SPBoolean (*IsEqual)(const char* token1, const char* token2);
    SPErr (*AllocateBlock)(size_t size, void** block);
    SPErr (*FreeBlock)(void* block);
    SPErr (*ReallocateBlock)(void* block, size_t newSize, void** newBlock);
    SPErr (*Undefined)(void);
};

inline constexpr const char kPFParamUtilsSuite[] = "PF Param Utils Suite";
inline constexpr int32_t kPFParamUtilsSuiteVersion2 = 2;
inline constexpr const char kAEGPPFInterfaceSuite[] = "AEGP PF Interface Suite";
inline constexpr int32_t kAEGPPFInterfaceSuiteVersion1 = 1;
inline constexpr const char kAEGPLayerSuite[] = "AEGP Layer Suite";
inline constexpr int32_t kAEGPLayerSuiteVersion5 = 5;
inline constexpr const char kAEGPItemSuite[] = "AEGP Item Suite";
inline constexpr int32_t kAEGPItemSuiteVersion3 = 3;
inline constexpr const char kAEGPCompSuite[] = "AEGP Comp Suite";
inline constexpr int32_t kAEGPCompSuiteVersion4 = 4;

typedef void (*SuiteUnusedProc)(void);

// "PF Param Utils Suite", number 2 (10 slots).
struct PF_ParamUtilsSuiteV2 {
    PF_Err (*PF_UpdateParamUI)(PF_ProgPtr effect_ref, PF_ParamIndex param_index,
                               const PF_ParamDef* def);
    SuiteUnusedProc PF_GetCurrentState;
    SuiteUnusedProc PF_HasParamChanged;
    SuiteUnusedProc PF_HaveInputsChangedOverTimeSpan;
    SuiteUnusedProc PF_IsIdenticalCheckout;
    SuiteUnusedProc PF_FindKeyframeTime;
    SuiteUnusedProc PF_GetKeyframeCount;
    SuiteUnusedProc PF_CheckoutKeyframe;
    SuiteUnusedProc PF_CheckinKeyframe;
    SuiteUnusedProc PF_KeyIndexToTime;
};

// "AEGP PF Interface Suite", number 1 (5 slots).
struct AEGP_PFInterfaceSuiteV1 {
    A_Err (*AEGP_GetEffectLayer)(PF_ProgPtr effect_ref, AEGP_LayerH* layer);
    SuiteUnusedProc AEGP_GetNewEffectForEffect;
    SuiteUnusedProc AEGP_ConvertEffectToCompTime;
    SuiteUnusedProc AEGP_GetEffectCamera;
    SuiteUnusedProc AEGP_GetEffectCameraMatrix;
};

// "AEGP Layer Suite", number 5 (39 slots; the parent composition is slot 5).
struct AEGP_LayerSuiteV5 {
    SuiteUnusedProc AEGP_GetCompNumLayers;
    SuiteUnusedProc AEGP_GetCompLayerByIndex;
    SuiteUnusedProc AEGP_GetActiveLayer;
    SuiteUnusedProc AEGP_GetLayerIndex;
    SuiteUnusedProc AEGP_GetLayerSourceItem;
    A_Err (*AEGP_GetLayerParentComp)(AEGP_LayerH layer, AEGP_CompH* comp);
    SuiteUnusedProc laterSlots[33];
};

// "AEGP Item Suite", number 3 (20 slots).
struct AEGP_ItemSuiteV3 {
    SuiteUnusedProc earlierSlots[13];
    A_Err (*AEGP_GetItemDimensions)(AEGP_ItemH item, int32_t* width, int32_t* height);
    A_Err (*AEGP_GetItemPixelAspectRatio)(AEGP_ItemH item, A_Ratio* par);
    SuiteUnusedProc laterSlots[5];
};

// "AEGP Comp Suite", number 4 (17 slots).
struct AEGP_CompSuiteV4 {
    SuiteUnusedProc AEGP_GetCompFromItem;
    A_Err (*AEGP_GetItemFromComp)(AEGP_CompH comp, AEGP_ItemH* item);
    SuiteUnusedProc laterSlots[15];
};

static_assert(sizeof(SPBasicSuite) == 56);
static_assert(offsetof(SPBasicSuite, ReleaseSuite) == 8);
static_assert(offsetof(SPBasicSuite, Undefined) == 48);
static_assert(sizeof(PF_ParamUtilsSuiteV2) == 80);
static_assert(sizeof(AEGP_PFInterfaceSuiteV1) == 40);
static_assert(sizeof(AEGP_LayerSuiteV5) == 312);
static_assert(offsetof(AEGP_LayerSuiteV5, AEGP_GetLayerParentComp) == 5 * 8);
static_assert(sizeof(AEGP_ItemSuiteV3) == 160);
static_assert(offsetof(AEGP_ItemSuiteV3, AEGP_GetItemDimensions) == 13 * 8);
static_assert(offsetof(AEGP_ItemSuiteV3, AEGP_GetItemPixelAspectRatio) == 14 * 8);
static_assert(sizeof(AEGP_CompSuiteV4) == 136);
static_assert(offsetof(AEGP_CompSuiteV4, AEGP_GetItemFromComp) == 8);

#endif  // QUILLON_HOST_AE_SUITES_H
