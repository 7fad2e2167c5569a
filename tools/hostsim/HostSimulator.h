// A host for effect plug-ins, for tests and tools: it loads a plug-in library
// the way a host does, hands it PF_InData / PF_OutData with working utility
// and interaction callbacks, serves the suites the effect asks for, keeps
// real handles with lock counts and sizes, and lets a test make any callback
// or suite fail, or throw, on demand.
//
// The callbacks are plain function pointers without a context argument, so
// one simulator is active at a time (the most recently constructed one).
#ifndef QUILLON_TOOLS_HOSTSIM_HOSTSIMULATOR_H
#define QUILLON_TOOLS_HOSTSIM_HOSTSIMULATOR_H

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/ae/PluginTypes.h"
#include "host/ae/Suites.h"
#include "tools/hostsim/SharedLibrary.h"

namespace quillon::hostsim {

enum class HostIdentity {
    AfterEffects,   // 'FXTC'
    PremierePro12,  // 'PrMr', interface version 12
    PremierePro13,  // 'PrMr', interface version 13.4
};

// Every host service that a test can make fail or throw.
enum class Callback : int {
    NewHandle,
    LockHandle,
    UnlockHandle,
    DisposeHandle,
    GetHandleSize,
    ResizeHandle,
    AddParam,
    RegisterUi,
    GetPlatformData,
    Sprintf,
    Copy,
    AcquireSuite,
    UpdateParamUi,
    GetEffectLayer,
    GetLayerParentComp,
    GetItemFromComp,
    GetItemDimensions,
    GetItemPixelAspectRatio,
    Count,
};

// One add_param call, with the strings the definition pointed to copied.
struct RecordedParam {
    int32_t index = 0;  // the index argument (-1 = append)
    PF_ParamDef def{};
    std::string popupItems;     // popups
    std::string checkboxLabel;  // checkboxes
};

struct UpdateParamUiCall {
    int32_t index = 0;
    PF_ParamDef def{};
};

// A pixel buffer with its PF_LayerDef. Rows may be padded.
struct World {
    std::vector<uint8_t> buffer;
    PF_LayerDef def{};

    void Allocate(int32_t width, int32_t height, bool deep, int32_t rowPadding);
    int32_t PixelSize() const { return (def.world_flags & PF_WorldFlag_DEEP) != 0 ? 8 : 4; }
    uint8_t* Row(int32_t y) { return static_cast<uint8_t*>(def.data) + y * def.rowbytes; }
};

class HostSimulator {
public:
    explicit HostSimulator(HostIdentity identity = HostIdentity::AfterEffects);
    ~HostSimulator();
    HostSimulator(const HostSimulator&) = delete;
    HostSimulator& operator=(const HostSimulator&) = delete;

    // Loads the library and looks up "EntryPointFunc".
    bool LoadPlugin(const std::string& path, std::string* error = nullptr);
    // Uses an entry point linked into this program instead (the fuzzers).
    void UseEntryPoint(PF_EntryPointProc entry) { entry_ = entry; }
    PF_EntryPointProc entryPoint() const { return entry_; }
    HostIdentity identity() const { return identity_; }

    // One call with the simulator's records. Send starts from a fresh
    // PF_OutData that carries the current global and sequence handles;
    // SendKeepingOutData uses PF_OutData as the test left it.
    PF_Err Send(PF_Cmd cmd, void* extra = nullptr);
    PF_Err SendKeepingOutData(PF_Cmd cmd, void* extra = nullptr);
    // One call with pointers of the caller's choice.
    PF_Err SendRaw(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** params,
                   PF_LayerDef* output, void* extra);

    // Host steps; each takes back the handles the plug-in returned.
    PF_Err GlobalSetup();
    PF_Err ParamsSetup();
    PF_Err SequenceSetup();
    PF_Err SequenceResetup();
    PF_Err SequenceSetdown();
    PF_Err GlobalSetdown();
    PF_Err FrameSetup();  // also sizes the output world as the plug-in asked
    PF_Err UserChangedParam(int32_t index);
    PF_Err UpdateParamsUi();
    // Global setup, parameters setup and sequence setup in a row.
    PF_Err SetUpInstance();

    PF_InData& inData() { return inData_; }
    PF_OutData& outData() { return outData_; }

    // Parameters.
    const std::vector<RecordedParam>& addedParams() const { return addedParams_; }
    const std::vector<PF_CustomUIInfo>& registeredUi() const { return registeredUi_; }
    const std::vector<UpdateParamUiCall>& updateParamUiCalls() const { return updateCalls_; }
    void ClearUpdateParamUiCalls() { updateCalls_.clear(); }
    // The host's parameter array (index 0 is the input layer), built from the
    // definitions of the last parameters setup.
    PF_ParamDef& param(int32_t index) { return paramDefs_.at(static_cast<std::size_t>(index)); }
    PF_ParamDef** paramArray() { return paramPtrs_.data(); }
    int32_t paramCount() const { return static_cast<int32_t>(paramDefs_.size()); }

    // Composition and layers.
    void SetComposition(int32_t width, int32_t height, A_Ratio pixelAspect);
    void SetBasicSuiteAvailable(bool available);
    // The input layer; in_data->width and height follow it.
    void SetInputLayer(int32_t width, int32_t height, bool deep, int32_t rowPadding = 0);
    void SetOutputWorld(int32_t width, int32_t height, bool deep, int32_t rowPadding = 0);
    World& inputWorld() { return input_; }
    World& outputWorld() { return output_; }

    // Handles.
    PF_Handle NewHandle(uint64_t size);
    void DisposeHandle(PF_Handle handle);
    bool IsLiveHandle(PF_Handle handle) const;
    void* HandleData(PF_Handle handle) const;
    uint64_t HandleSize(PF_Handle handle) const;
    int HandleLockCount(PF_Handle handle) const;
    std::size_t LiveHandleCount() const { return handles_.size(); }
    // Lock, unlock, size or dispose calls that named no live handle.
    int unknownHandleCalls() const { return unknownHandleCalls_; }

    // Faults. A failing callback succeeds its first `succeedFirst` calls and
    // then fails with `error` (handle calls return null or 0 instead).
    void FailCallback(Callback callback, int succeedFirst = 0, PF_Err error = PF_Err_OUT_OF_MEMORY);
    void ThrowFrom(Callback callback);
    void FailSuite(const std::string& name);
    void ClearFaults();
    int CallCount(Callback callback) const;

    // Suites.
    const std::vector<std::string>& suiteAcquisitions() const { return acquisitions_; }
    const std::vector<std::string>& suiteReleases() const { return releases_; }
    int outstandingSuites() const;

private:
    struct SimHandle {
        void* data;  // first, so the handle points at its block's pointer
        uint64_t size;
        int lockCount;
    };
    struct Fault {
        bool fail = false;
        bool throwIt = false;
        int succeedFirst = 0;
        PF_Err error = PF_Err_OUT_OF_MEMORY;
    };

    // Counts the call and reports whether it should fail; throws when asked.
    bool Trip(Callback callback);
    PF_Err FaultError(Callback callback) const;
    SimHandle* Find(PF_Handle handle) const;
    void PrepareOutData();
    void RefreshInputParam();
    void RebuildParamArray();
    bool SuiteOffered(const char* name, int32_t version, const void** table) const;
    // The checks of each composition-walk callback: the fault plan, then the
    // token handed in and the output pointers.
    A_Err CheckWalkStep(Callback callback, const void* given, const void* expected, bool outputs);

    // Callbacks handed to the plug-in.
    static PF_Err CbAddParam(PF_ProgPtr, PF_ParamIndex, PF_ParamDef*);
    static PF_Err CbRegisterUi(PF_ProgPtr, PF_CustomUIInfo*);
    static PF_Handle CbNewHandle(uint64_t);
    static void* CbLockHandle(PF_Handle);
    static void CbUnlockHandle(PF_Handle);
    static void CbDisposeHandle(PF_Handle);
    static uint64_t CbGetHandleSize(PF_Handle);
    static PF_Err CbResizeHandle(uint64_t, PF_Handle*);
    static PF_Err CbGetPlatformData(PF_ProgPtr, PF_PlatDataID, void*);
    static int CbSprintf(char*, const char*, ...);
    static char* CbStrcpy(char*, const char*);
    static PF_Err CbCopy(PF_ProgPtr, PF_LayerDef*, PF_LayerDef*, PF_Rect*, PF_Rect*);
    static SPErr CbAcquireSuite(const char*, int32_t, const void**);
    static SPErr CbReleaseSuite(const char*, int32_t);
    static SPBoolean CbIsEqual(const char*, const char*);
    static PF_Err CbUpdateParamUI(PF_ProgPtr, PF_ParamIndex, const PF_ParamDef*);
    static A_Err CbGetEffectLayer(PF_ProgPtr, AEGP_LayerH*);
    static A_Err CbGetLayerParentComp(AEGP_LayerH, AEGP_CompH*);
    static A_Err CbGetItemFromComp(AEGP_CompH, AEGP_ItemH*);
    static A_Err CbGetItemDimensions(AEGP_ItemH, int32_t*, int32_t*);
    static A_Err CbGetItemPixelAspectRatio(AEGP_ItemH, A_Ratio*);

    HostIdentity identity_;
    SharedLibrary library_;
    PF_EntryPointProc entry_ = nullptr;

    PF_InData inData_{};
    PF_OutData outData_{};
    PF_UtilCallbacks utils_{};
    SPBasicSuite basic_{};
    PF_ParamUtilsSuiteV2 paramUtils_{};
    AEGP_PFInterfaceSuiteV1 pfInterface_{};
    AEGP_LayerSuiteV5 layerSuite_{};
    AEGP_ItemSuiteV3 itemSuite_{};
    AEGP_CompSuiteV4 compSuite_{};

    std::map<SimHandle*, std::unique_ptr<SimHandle>> handles_;
    int unknownHandleCalls_ = 0;

    std::vector<RecordedParam> addedParams_;
    std::vector<PF_CustomUIInfo> registeredUi_;
    std::vector<UpdateParamUiCall> updateCalls_;
    std::vector<PF_ParamDef> paramDefs_;
    std::vector<PF_ParamDef*> paramPtrs_;

    int32_t compWidth_ = 1920;
    int32_t compHeight_ = 1080;
    A_Ratio compAspect_{1, 1};
    World input_;
    World output_;

    std::array<Fault, static_cast<std::size_t>(Callback::Count)> faults_{};
    std::array<int, static_cast<std::size_t>(Callback::Count)> calls_{};
    std::vector<std::string> failingSuites_;
    std::vector<std::string> acquisitions_;
    std::vector<std::string> releases_;
    std::map<std::string, int> heldSuites_;

    // Opaque tokens handed out as layer, composition and item.
    int layerToken_ = 0;
    int compToken_ = 0;
    int itemToken_ = 0;
    int windowToken_ = 0;
};

}  // namespace quillon::hostsim

#endif  // QUILLON_TOOLS_HOSTSIM_HOSTSIMULATOR_H
