#include "host/CompositionQuery.h"

#include "host/ae/Suites.h"

namespace quillon::host {
namespace {

// One suite acquired for the life of the object.
template <typename Suite>
class AcquiredSuite {
public:
    AcquiredSuite(SPBasicSuite* basic, const char* name, int32_t version)
        : basic_(basic), name_(name), version_(version) {
        if (basic_ != nullptr && basic_->AcquireSuite != nullptr) {
            const void* table = nullptr;
            if (basic_->AcquireSuite(name_, version_, &table) == 0) {
                acquired_ = true;
                suite_ = static_cast<const Suite*>(table);
            }
        }
    }
    ~AcquiredSuite() { Release(); }
    AcquiredSuite(const AcquiredSuite&) = delete;
    AcquiredSuite& operator=(const AcquiredSuite&) = delete;

    const Suite* get() const { return suite_; }

    void Release() {
        if (acquired_ && basic_->ReleaseSuite != nullptr) {
            basic_->ReleaseSuite(name_, version_);
        }
        acquired_ = false;
        suite_ = nullptr;
    }

private:
    SPBasicSuite* basic_;
    const char* name_;
    int32_t version_;
    bool acquired_ = false;
    const Suite* suite_ = nullptr;
};

bool ReadComposition(const PF_InData* in_data, const AEGP_PFInterfaceSuiteV1* pfInterface,
                     const AEGP_LayerSuiteV5* layers, const AEGP_ItemSuiteV3* items,
                     const AEGP_CompSuiteV4* comps, CompositionInfo& info) {
    if (pfInterface->AEGP_GetEffectLayer == nullptr || layers->AEGP_GetLayerParentComp == nullptr ||
        comps->AEGP_GetItemFromComp == nullptr || items->AEGP_GetItemDimensions == nullptr ||
        items->AEGP_GetItemPixelAspectRatio == nullptr) {
        return false;
    }
    AEGP_LayerH layer = nullptr;
    if (pfInterface->AEGP_GetEffectLayer(in_data->effect_ref, &layer) != A_Err_NONE) {
        return false;
    }
    AEGP_CompH comp = nullptr;
    if (layers->AEGP_GetLayerParentComp(layer, &comp) != A_Err_NONE) {
        return false;
    }
    AEGP_ItemH item = nullptr;
    if (comps->AEGP_GetItemFromComp(comp, &item) != A_Err_NONE) {
        return false;
    }
    int32_t width = 0;
    int32_t height = 0;
    const A_Err sizeErr = items->AEGP_GetItemDimensions(item, &width, &height);
    if (sizeErr == A_Err_NONE) {
        info.width = width;
        info.height = height;
    }
    A_Ratio aspect{1, 1};
    const A_Err aspectErr = items->AEGP_GetItemPixelAspectRatio(item, &aspect);
    if (aspectErr == A_Err_NONE) {
        info.pixelAspect = aspect;
    }
    return sizeErr == A_Err_NONE && aspectErr == A_Err_NONE;
}

}  // namespace

double RatioValue(int32_t num, uint32_t den) {
    return den == 0 ? 1.0 : static_cast<double>(num) / static_cast<double>(den);
}

bool QueryCompositionSize(const PF_InData* in_data, CompositionInfo& info) {
    if (in_data == nullptr || in_data->pica_basicP == nullptr) {
        return false;
    }
    SPBasicSuite* basic = in_data->pica_basicP;
    AcquiredSuite<AEGP_PFInterfaceSuiteV1> pfInterface(basic, kAEGPPFInterfaceSuite,
                                                       kAEGPPFInterfaceSuiteVersion1);
    AcquiredSuite<AEGP_LayerSuiteV5> layers(basic, kAEGPLayerSuite, kAEGPLayerSuiteVersion5);
    AcquiredSuite<AEGP_ItemSuiteV3> items(basic, kAEGPItemSuite, kAEGPItemSuiteVersion3);
    AcquiredSuite<AEGP_CompSuiteV4> comps(basic, kAEGPCompSuite, kAEGPCompSuiteVersion4);

    bool succeeded = false;
    if (pfInterface.get() != nullptr && layers.get() != nullptr && items.get() != nullptr &&
        comps.get() != nullptr) {
        succeeded = ReadComposition(in_data, pfInterface.get(), layers.get(), items.get(),
                                    comps.get(), info);
    }
    // Released explicitly so the order does not depend on destruction order.
    pfInterface.Release();
    layers.Release();
    items.Release();
    comps.Release();
    return succeeded;
}

}  // namespace quillon::host
