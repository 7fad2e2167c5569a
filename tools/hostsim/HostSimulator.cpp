#include "tools/hostsim/HostSimulator.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace quillon::hostsim {
namespace {

HostSimulator* g_active = nullptr;

HostSimulator& Active() {
    if (g_active == nullptr) {
        throw std::logic_error("no active host simulator");
    }
    return *g_active;
}

constexpr std::size_t Slot(Callback callback) {
    return static_cast<std::size_t>(callback);
}

// Fresh host memory is not zero-filled, so code that relies on zeros shows up.
constexpr int kFreshMemoryFill = 0xA5;

}  // namespace

void World::Allocate(int32_t width, int32_t height, bool deep, int32_t rowPadding) {
    const int32_t pixelSize = deep ? 8 : 4;
    const int32_t rowBytes = width * pixelSize + rowPadding;
    buffer.assign(static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(height), 0);
    def = PF_LayerDef{};
    def.world_flags = (deep ? PF_WorldFlag_DEEP : 0) | PF_WorldFlag_WRITEABLE;
    def.data = buffer.empty() ? nullptr : buffer.data();
    def.rowbytes = rowBytes;
    def.width = width;
    def.height = height;
    def.extent_hint = PF_LRect{0, 0, width, height};
    def.pix_aspect_ratio = PF_RationalScale{1, 1};
}

HostSimulator::HostSimulator(HostIdentity identity) : identity_(identity) {
    g_active = this;

    utils_.host_new_handle = CbNewHandle;
    utils_.host_lock_handle = CbLockHandle;
    utils_.host_unlock_handle = CbUnlockHandle;
    utils_.host_dispose_handle = CbDisposeHandle;
    utils_.host_get_handle_size = CbGetHandleSize;
    utils_.host_resize_handle = CbResizeHandle;
    utils_.get_platform_data = CbGetPlatformData;
    utils_.copy = CbCopy;
    utils_.ansi.sprintf = CbSprintf;
    utils_.ansi.strcpy = CbStrcpy;

    basic_.AcquireSuite = CbAcquireSuite;
    basic_.ReleaseSuite = CbReleaseSuite;
    basic_.IsEqual = CbIsEqual;
    paramUtils_.PF_UpdateParamUI = CbUpdateParamUI;
    pfInterface_.AEGP_GetEffectLayer = CbGetEffectLayer;
    layerSuite_.AEGP_GetLayerParentComp = CbGetLayerParentComp;
    itemSuite_.AEGP_GetItemDimensions = CbGetItemDimensions;
    itemSuite_.AEGP_GetItemPixelAspectRatio = CbGetItemPixelAspectRatio;
    compSuite_.AEGP_GetItemFromComp = CbGetItemFromComp;

    inData_.inter.add_param = CbAddParam;
    inData_.inter.register_ui = CbRegisterUi;
    inData_.utils = &utils_;
    inData_.effect_ref = reinterpret_cast<PF_ProgPtr>(this);
    inData_.quality = PF_Quality_HI;
    switch (identity) {
        case HostIdentity::AfterEffects:
            inData_.appl_id = PF_APPL_ID_AFTER_EFFECTS;
            inData_.version = PF_SpecVersion{13, 28};
            break;
        case HostIdentity::PremierePro12:
            inData_.appl_id = PF_APPL_ID_PREMIERE;
            inData_.version = PF_SpecVersion{12, 0};
            break;
        case HostIdentity::PremierePro13:
            inData_.appl_id = PF_APPL_ID_PREMIERE;
            inData_.version = PF_SpecVersion{13, 4};
            break;
    }
    inData_.time_scale = 30;
    inData_.time_step = 1;
    inData_.local_time_step = 1;
    inData_.downsample_x = PF_RationalScale{1, 1};
    inData_.downsample_y = PF_RationalScale{1, 1};
    inData_.pixel_aspect_ratio = PF_RationalScale{1, 1};
    inData_.field = PF_Field_FRAME;
    inData_.pica_basicP = &basic_;

    SetInputLayer(1920, 1080, false, 0);
    SetOutputWorld(1920, 1080, false, 0);
    RebuildParamArray();
}

HostSimulator::~HostSimulator() {
    for (auto& entry : handles_) {
        std::free(entry.second->data);
    }
    handles_.clear();
    library_.Close();
    if (g_active == this) {
        g_active = nullptr;
    }
}

bool HostSimulator::LoadPlugin(const std::string& path, std::string* error) {
    entry_ = nullptr;
    if (!library_.Open(path, error)) {
        return false;
    }
    entry_ = reinterpret_cast<PF_EntryPointProc>(library_.Symbol("EntryPointFunc"));
    if (entry_ == nullptr && error != nullptr) {
        *error = "EntryPointFunc is not exported";
    }
    return entry_ != nullptr;
}

// ------------------------------------------------------------------ calling

void HostSimulator::PrepareOutData() {
    std::memset(&outData_, 0, sizeof(outData_));
    outData_.global_data = inData_.global_data;
    outData_.sequence_data = inData_.sequence_data;
    outData_.width = input_.def.width;
    outData_.height = input_.def.height;
}

void HostSimulator::RefreshInputParam() {
    if (!paramDefs_.empty()) {
        paramDefs_[0].u.ld = input_.def;
    }
}

void HostSimulator::RebuildParamArray() {
    paramDefs_.clear();
    PF_ParamDef layer{};
    layer.param_type = PF_Param_LAYER;
    paramDefs_.push_back(layer);
    for (const RecordedParam& added : addedParams_) {
        paramDefs_.push_back(added.def);
    }
    paramPtrs_.clear();
    for (PF_ParamDef& def : paramDefs_) {
        paramPtrs_.push_back(&def);
    }
    paramPtrs_.push_back(nullptr);
    inData_.num_params = static_cast<int32_t>(paramDefs_.size());
    RefreshInputParam();
}

PF_Err HostSimulator::SendRaw(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data,
                              PF_ParamDef** params, PF_LayerDef* output, void* extra) {
    if (entry_ == nullptr) {
        throw std::logic_error("no plug-in loaded");
    }
    g_active = this;
    return entry_(cmd, in_data, out_data, params, output, extra);
}

PF_Err HostSimulator::Send(PF_Cmd cmd, void* extra) {
    PrepareOutData();
    return SendKeepingOutData(cmd, extra);
}

PF_Err HostSimulator::SendKeepingOutData(PF_Cmd cmd, void* extra) {
    RefreshInputParam();
    return SendRaw(cmd, &inData_, &outData_, paramPtrs_.data(), &output_.def, extra);
}

PF_Err HostSimulator::GlobalSetup() {
    const PF_Err err = Send(PF_Cmd_GLOBAL_SETUP);
    inData_.global_data = outData_.global_data;
    return err;
}

PF_Err HostSimulator::ParamsSetup() {
    addedParams_.clear();
    registeredUi_.clear();
    RebuildParamArray();
    const PF_Err err = Send(PF_Cmd_PARAMS_SETUP);
    RebuildParamArray();
    return err;
}

PF_Err HostSimulator::SequenceSetup() {
    const PF_Err err = Send(PF_Cmd_SEQUENCE_SETUP);
    inData_.sequence_data = outData_.sequence_data;
    return err;
}

PF_Err HostSimulator::SequenceResetup() {
    const PF_Err err = Send(PF_Cmd_SEQUENCE_RESETUP);
    inData_.sequence_data = outData_.sequence_data;
    return err;
}

PF_Err HostSimulator::SequenceSetdown() {
    const PF_Err err = Send(PF_Cmd_SEQUENCE_SETDOWN);
    inData_.sequence_data = outData_.sequence_data;
    return err;
}

PF_Err HostSimulator::GlobalSetdown() {
    const PF_Err err = Send(PF_Cmd_GLOBAL_SETDOWN);
    if (err == PF_Err_NONE && inData_.global_data != nullptr) {
        DisposeHandle(inData_.global_data);
        inData_.global_data = nullptr;
    }
    return err;
}

PF_Err HostSimulator::FrameSetup() {
    const PF_Err err = Send(PF_Cmd_FRAME_SETUP);
    if (err == PF_Err_NONE) {
        const bool deep = (input_.def.world_flags & PF_WorldFlag_DEEP) != 0;
        SetOutputWorld(outData_.width, outData_.height, deep, 0);
        inData_.output_origin_x = outData_.origin.h;
        inData_.output_origin_y = outData_.origin.v;
    }
    return err;
}

PF_Err HostSimulator::UserChangedParam(int32_t index) {
    for (PF_ParamDef& def : paramDefs_) {
        def.uu.change_flags = PF_ChangeFlag_NONE;
    }
    PF_UserChangedParamExtra extra{index};
    const PF_Err err = Send(PF_Cmd_USER_CHANGED_PARAM, &extra);
    return err;
}

PF_Err HostSimulator::UpdateParamsUi() {
    return Send(PF_Cmd_UPDATE_PARAMS_UI);
}

PF_Err HostSimulator::SetUpInstance() {
    PF_Err err = GlobalSetup();
    if (err == PF_Err_NONE) {
        err = ParamsSetup();
    }
    if (err == PF_Err_NONE) {
        err = SequenceSetup();
    }
    return err;
}

// ----------------------------------------------------------- configuration

void HostSimulator::SetComposition(int32_t width, int32_t height, A_Ratio pixelAspect) {
    compWidth_ = width;
    compHeight_ = height;
    compAspect_ = pixelAspect;
}

void HostSimulator::SetBasicSuiteAvailable(bool available) {
    inData_.pica_basicP = available ? &basic_ : nullptr;
}

void HostSimulator::SetInputLayer(int32_t width, int32_t height, bool deep, int32_t rowPadding) {
    input_.Allocate(width, height, deep, rowPadding);
    inData_.width = width;
    inData_.height = height;
    inData_.extent_hint = PF_LRect{0, 0, width, height};
    RefreshInputParam();
}

void HostSimulator::SetOutputWorld(int32_t width, int32_t height, bool deep, int32_t rowPadding) {
    output_.Allocate(width, height, deep, rowPadding);
}

// ----------------------------------------------------------------- handles

HostSimulator::SimHandle* HostSimulator::Find(PF_Handle handle) const {
    auto it = handles_.find(reinterpret_cast<SimHandle*>(handle));
    return it == handles_.end() ? nullptr : it->second.get();
}

PF_Handle HostSimulator::NewHandle(uint64_t size) {
    void* data = std::malloc(size == 0 ? 1 : static_cast<std::size_t>(size));
    if (data == nullptr) {
        return nullptr;
    }
    std::memset(data, kFreshMemoryFill, size == 0 ? 1 : static_cast<std::size_t>(size));
    auto record = std::make_unique<SimHandle>(SimHandle{data, size, 0});
    SimHandle* key = record.get();
    handles_.emplace(key, std::move(record));
    return reinterpret_cast<PF_Handle>(key);
}

void HostSimulator::DisposeHandle(PF_Handle handle) {
    SimHandle* record = Find(handle);
    if (record == nullptr) {
        ++unknownHandleCalls_;
        return;
    }
    std::free(record->data);
    handles_.erase(record);
}

bool HostSimulator::IsLiveHandle(PF_Handle handle) const {
    return Find(handle) != nullptr;
}

void* HostSimulator::HandleData(PF_Handle handle) const {
    SimHandle* record = Find(handle);
    return record != nullptr ? record->data : nullptr;
}

uint64_t HostSimulator::HandleSize(PF_Handle handle) const {
    SimHandle* record = Find(handle);
    return record != nullptr ? record->size : 0;
}

int HostSimulator::HandleLockCount(PF_Handle handle) const {
    SimHandle* record = Find(handle);
    return record != nullptr ? record->lockCount : -1;
}

// ------------------------------------------------------------------ faults

void HostSimulator::FailCallback(Callback callback, int succeedFirst, PF_Err error) {
    Fault& fault = faults_[Slot(callback)];
    fault.fail = true;
    fault.succeedFirst = succeedFirst;
    fault.error = error;
    calls_[Slot(callback)] = 0;
}

void HostSimulator::ThrowFrom(Callback callback) {
    faults_[Slot(callback)].throwIt = true;
}

void HostSimulator::FailSuite(const std::string& name) {
    failingSuites_.push_back(name);
}

void HostSimulator::ClearFaults() {
    faults_ = {};
    failingSuites_.clear();
}

int HostSimulator::CallCount(Callback callback) const {
    return calls_[Slot(callback)];
}

bool HostSimulator::Trip(Callback callback) {
    const std::size_t slot = Slot(callback);
    ++calls_[slot];
    const Fault& fault = faults_[slot];
    if (fault.throwIt) {
        throw std::runtime_error("host callback failure requested by the test");
    }
    return fault.fail && calls_[slot] > fault.succeedFirst;
}

PF_Err HostSimulator::FaultError(Callback callback) const {
    return faults_[Slot(callback)].error;
}

int HostSimulator::outstandingSuites() const {
    int held = 0;
    for (const auto& entry : heldSuites_) {
        held += entry.second;
    }
    return held;
}

bool HostSimulator::SuiteOffered(const char* name, int32_t version, const void** table) const {
    const std::string suite(name);
    if (suite == kPFParamUtilsSuite && version == kPFParamUtilsSuiteVersion2) {
        *table = &paramUtils_;
        return true;
    }
    if (identity_ != HostIdentity::AfterEffects) {
        return false;  // Premiere Pro offers no AEGP suites
    }
    if (suite == kAEGPPFInterfaceSuite && version == kAEGPPFInterfaceSuiteVersion1) {
        *table = &pfInterface_;
    } else if (suite == kAEGPLayerSuite && version == kAEGPLayerSuiteVersion5) {
        *table = &layerSuite_;
    } else if (suite == kAEGPItemSuite && version == kAEGPItemSuiteVersion3) {
        *table = &itemSuite_;
    } else if (suite == kAEGPCompSuite && version == kAEGPCompSuiteVersion4) {
        *table = &compSuite_;
    } else {
        return false;
    }
    return true;
}

// --------------------------------------------------------------- callbacks

PF_Err HostSimulator::CbAddParam(PF_ProgPtr, PF_ParamIndex index, PF_ParamDef* def) {
    HostSimulator& host = Active();
    if (host.Trip(Callback::AddParam)) {
        return host.FaultError(Callback::AddParam);
    }
    if (def == nullptr) {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    RecordedParam recorded;
    recorded.index = index;
    recorded.def = *def;
    if (def->param_type == PF_Param_POPUP && def->u.pd.u.namesptr != nullptr) {
        recorded.popupItems = def->u.pd.u.namesptr;
    }
    if (def->param_type == PF_Param_CHECKBOX && def->u.bd.u.nameptr != nullptr) {
        recorded.checkboxLabel = def->u.bd.u.nameptr;
    }
    host.addedParams_.push_back(std::move(recorded));
    // The host owns its copy of the strings from here on.
    RecordedParam& stored = host.addedParams_.back();
    if (stored.def.param_type == PF_Param_POPUP) {
        stored.def.u.pd.u.namesptr = nullptr;
    }
    if (stored.def.param_type == PF_Param_CHECKBOX) {
        stored.def.u.bd.u.nameptr = nullptr;
    }
    return PF_Err_NONE;
}

PF_Err HostSimulator::CbRegisterUi(PF_ProgPtr, PF_CustomUIInfo* info) {
    HostSimulator& host = Active();
    if (host.Trip(Callback::RegisterUi)) {
        return host.FaultError(Callback::RegisterUi);
    }
    if (info == nullptr) {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    host.registeredUi_.push_back(*info);
    return PF_Err_NONE;
}

PF_Handle HostSimulator::CbNewHandle(uint64_t size) {
    HostSimulator& host = Active();
    if (host.Trip(Callback::NewHandle)) {
        return nullptr;
    }
    return host.NewHandle(size);
}

void* HostSimulator::CbLockHandle(PF_Handle handle) {
    HostSimulator& host = Active();
    if (host.Trip(Callback::LockHandle)) {
        return nullptr;
    }
    SimHandle* record = host.Find(handle);
    if (record == nullptr) {
        ++host.unknownHandleCalls_;
        return nullptr;
    }
    ++record->lockCount;
    return record->data;
}

void HostSimulator::CbUnlockHandle(PF_Handle handle) {
    HostSimulator& host = Active();
    if (host.Trip(Callback::UnlockHandle)) {
        return;
    }
    SimHandle* record = host.Find(handle);
    if (record == nullptr) {
        ++host.unknownHandleCalls_;
        return;
    }
    if (record->lockCount > 0) {
        --record->lockCount;
    }
}

void HostSimulator::CbDisposeHandle(PF_Handle handle) {
    HostSimulator& host = Active();
    if (host.Trip(Callback::DisposeHandle)) {
        return;
    }
    host.DisposeHandle(handle);
}

uint64_t HostSimulator::CbGetHandleSize(PF_Handle handle) {
    HostSimulator& host = Active();
    if (host.Trip(Callback::GetHandleSize)) {
        return 0;
    }
    SimHandle* record = host.Find(handle);
    if (record == nullptr) {
        ++host.unknownHandleCalls_;
        return 0;
    }
    return record->size;
}

PF_Err HostSimulator::CbResizeHandle(uint64_t size, PF_Handle* handle) {
    HostSimulator& host = Active();
    if (host.Trip(Callback::ResizeHandle)) {
        return host.FaultError(Callback::ResizeHandle);
    }
    SimHandle* record = handle != nullptr ? host.Find(*handle) : nullptr;
    if (record == nullptr) {
        ++host.unknownHandleCalls_;
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    void* grown = std::realloc(record->data, size == 0 ? 1 : static_cast<std::size_t>(size));
    if (grown == nullptr) {
        return PF_Err_OUT_OF_MEMORY;
    }
    if (size > record->size) {
        std::memset(static_cast<uint8_t*>(grown) + record->size, kFreshMemoryFill,
                    static_cast<std::size_t>(size - record->size));
    }
    record->data = grown;
    record->size = size;
    return PF_Err_NONE;
}

PF_Err HostSimulator::CbGetPlatformData(PF_ProgPtr, PF_PlatDataID which, void* data) {
    HostSimulator& host = Active();
    if (host.Trip(Callback::GetPlatformData)) {
        return host.FaultError(Callback::GetPlatformData);
    }
    if (which != PF_PlatData_MAIN_WND || data == nullptr) {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    void* window = &host.windowToken_;
    std::memcpy(data, &window, sizeof(window));
    return PF_Err_NONE;
}

int HostSimulator::CbSprintf(char* dst, const char* format, ...) {
    HostSimulator& host = Active();
    if (host.Trip(Callback::Sprintf)) {
        return -1;
    }
    if (dst == nullptr || format == nullptr) {
        return -1;
    }
    // The only text the host takes this way is return_msg.
    va_list args;
    va_start(args, format);
    const int written = std::vsnprintf(dst, sizeof(PF_OutData::return_msg), format, args);
    va_end(args);
    return written;
}

char* HostSimulator::CbStrcpy(char* dst, const char* src) {
    return std::strcpy(dst, src);
}

PF_Err HostSimulator::CbCopy(PF_ProgPtr, PF_LayerDef* src, PF_LayerDef* dst, PF_Rect* src_rect,
                             PF_Rect* dst_rect) {
    HostSimulator& host = Active();
    if (host.Trip(Callback::Copy)) {
        return host.FaultError(Callback::Copy);
    }
    if (src == nullptr || dst == nullptr || src_rect != nullptr || dst_rect != nullptr ||
        (src->world_flags & PF_WorldFlag_DEEP) != (dst->world_flags & PF_WorldFlag_DEEP)) {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    const int32_t pixelSize = (src->world_flags & PF_WorldFlag_DEEP) != 0 ? 8 : 4;
    const int32_t width = std::min(src->width, dst->width);
    const int32_t height = std::min(src->height, dst->height);
    for (int32_t y = 0; y < height; ++y) {
        std::memcpy(
            static_cast<uint8_t*>(dst->data) + static_cast<std::ptrdiff_t>(y) * dst->rowbytes,
            static_cast<const uint8_t*>(src->data) + static_cast<std::ptrdiff_t>(y) * src->rowbytes,
            static_cast<std::size_t>(width) * static_cast<std::size_t>(pixelSize));
    }
    return PF_Err_NONE;
}

SPErr HostSimulator::CbAcquireSuite(const char* name, int32_t version, const void** suite) {
    HostSimulator& host = Active();
    if (host.Trip(Callback::AcquireSuite) || name == nullptr || suite == nullptr) {
        return 1;
    }
    if (std::find(host.failingSuites_.begin(), host.failingSuites_.end(), name) !=
        host.failingSuites_.end()) {
        return 1;
    }
    const void* table = nullptr;
    if (!host.SuiteOffered(name, version, &table)) {
        return 1;
    }
    *suite = table;
    host.acquisitions_.push_back(name);
    ++host.heldSuites_[name];
    return 0;
}

SPErr HostSimulator::CbReleaseSuite(const char* name, int32_t) {
    HostSimulator& host = Active();
    if (name == nullptr) {
        return 1;
    }
    host.releases_.push_back(name);
    auto held = host.heldSuites_.find(name);
    if (held == host.heldSuites_.end() || held->second == 0) {
        return 1;
    }
    --held->second;
    return 0;
}

SPBoolean HostSimulator::CbIsEqual(const char* a, const char* b) {
    return a != nullptr && b != nullptr && std::strcmp(a, b) == 0;
}

PF_Err HostSimulator::CbUpdateParamUI(PF_ProgPtr, PF_ParamIndex index, const PF_ParamDef* def) {
    HostSimulator& host = Active();
    if (host.Trip(Callback::UpdateParamUi)) {
        return host.FaultError(Callback::UpdateParamUi);
    }
    if (def == nullptr) {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    host.updateCalls_.push_back(UpdateParamUiCall{index, *def});
    return PF_Err_NONE;
}

A_Err HostSimulator::CheckWalkStep(Callback callback, const void* given, const void* expected,
                                   bool outputs) {
    if (Trip(callback)) {
        return A_Err_GENERIC;
    }
    return given == expected && outputs ? A_Err_NONE : A_Err_PARAMETER;
}

A_Err HostSimulator::CbGetEffectLayer(PF_ProgPtr effect_ref, AEGP_LayerH* layer) {
    HostSimulator& host = Active();
    const A_Err err =
        host.CheckWalkStep(Callback::GetEffectLayer, effect_ref, &host, layer != nullptr);
    if (err == A_Err_NONE) {
        *layer = reinterpret_cast<AEGP_LayerH>(&host.layerToken_);
    }
    return err;
}

A_Err HostSimulator::CbGetLayerParentComp(AEGP_LayerH layer, AEGP_CompH* comp) {
    HostSimulator& host = Active();
    const A_Err err =
        host.CheckWalkStep(Callback::GetLayerParentComp, layer, &host.layerToken_, comp != nullptr);
    if (err == A_Err_NONE) {
        *comp = reinterpret_cast<AEGP_CompH>(&host.compToken_);
    }
    return err;
}

A_Err HostSimulator::CbGetItemFromComp(AEGP_CompH comp, AEGP_ItemH* item) {
    HostSimulator& host = Active();
    const A_Err err =
        host.CheckWalkStep(Callback::GetItemFromComp, comp, &host.compToken_, item != nullptr);
    if (err == A_Err_NONE) {
        *item = reinterpret_cast<AEGP_ItemH>(&host.itemToken_);
    }
    return err;
}

A_Err HostSimulator::CbGetItemDimensions(AEGP_ItemH item, int32_t* width, int32_t* height) {
    HostSimulator& host = Active();
    const A_Err err = host.CheckWalkStep(Callback::GetItemDimensions, item, &host.itemToken_,
                                         width != nullptr && height != nullptr);
    if (err == A_Err_NONE) {
        *width = host.compWidth_;
        *height = host.compHeight_;
    }
    return err;
}

A_Err HostSimulator::CbGetItemPixelAspectRatio(AEGP_ItemH item, A_Ratio* par) {
    HostSimulator& host = Active();
    const A_Err err = host.CheckWalkStep(Callback::GetItemPixelAspectRatio, item, &host.itemToken_,
                                         par != nullptr);
    if (err == A_Err_NONE) {
        *par = host.compAspect_;
    }
    return err;
}

}  // namespace quillon::hostsim
