// The effect's entry point, played by the host simulator with the effect
// linked in: a sequence of host commands (setup, parameter changes, frame
// setup, render, setdown, commands with missing records) interleaved with
// hostile changes — sequence data replaced by garbage or truncated copies of
// a real record (540- and 552-byte forms with corrupted fields), parameter
// values out of range, odd world sizes, row strides and downsampling
// factors, handle allocation failing after a fuzzed number of calls.
//
// Checked by the sanitizers: every call returns (no exception crosses the
// boundary), nothing reads or writes outside its buffers, nothing leaks.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "engine/Engine.h"
#include "fuzz/ByteReader.h"
#include "host/EntryPoint.h"
#include "tools/hostsim/HostSimulator.h"

namespace {

using quillon::fuzz::ByteReader;
using quillon::hostsim::Callback;
using quillon::hostsim::HostIdentity;
using quillon::hostsim::HostSimulator;

PF_Err Entry(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** params,
             PF_LayerDef* output, void* extra) {
    return quillon::host::RunEntryPoint(cmd, in_data, out_data, params, output, extra);
}

// Sequence data of a fuzzed size: a copy of the current record (when there
// is one) cut or padded to that size, with fuzzed bytes written over it.
void ReplaceSequenceData(HostSimulator& host, ByteReader& in) {
    static constexpr uint64_t kSizes[] = {0, 4, 24, 28, 539, 540, 541, 548, 551, 552, 553, 1024};
    const uint64_t size = kSizes[in.Range(0, std::size(kSizes) - 1)];
    PF_Handle fresh = host.NewHandle(size);
    if (fresh == nullptr) {
        return;
    }
    auto* bytes = static_cast<uint8_t*>(host.HandleData(fresh));
    PF_Handle old = host.inData().sequence_data;
    if (old != nullptr && host.IsLiveHandle(old)) {
        const uint64_t have = std::min(size, host.HandleSize(old));
        if (have > 0) {
            std::memcpy(bytes, host.HandleData(old), have);
        }
    }
    const uint32_t corruptions = in.Range(0, 6);
    for (uint32_t i = 0; i < corruptions && size > 0; ++i) {
        const uint64_t at = in.Range(0, static_cast<uint32_t>(size - 1));
        const uint32_t value = in.U32();
        const uint64_t n = std::min<uint64_t>(4, size - at);
        std::memcpy(bytes + at, &value, n);
    }
    host.inData().sequence_data = fresh;  // the old one stays the host's, as a host would keep it
}

void SetParameter(HostSimulator& host, ByteReader& in) {
    if (host.paramCount() < 2) {
        return;
    }
    const int32_t index = static_cast<int32_t>(in.Range(1, host.paramCount() - 1));
    static constexpr int32_t kValues[] = {
        -2147483647 - 1, -1, 0, 1, 2, 3, 4, 5, 10, 25, 26, 99, 100, 8192, 8193, 65536, 2147483647};
    host.param(index).u.sd.value =
        in.Bool() ? kValues[in.Range(0, std::size(kValues) - 1)] : static_cast<int32_t>(in.U32());
}

void SetWorlds(HostSimulator& host, ByteReader& in) {
    const bool deep = in.Bool();
    host.SetInputLayer(static_cast<int32_t>(in.Range(1, 40)), static_cast<int32_t>(in.Range(1, 40)),
                       deep, static_cast<int32_t>(in.Range(0, 24)));
    host.SetOutputWorld(static_cast<int32_t>(in.Range(1, 96)),
                        static_cast<int32_t>(in.Range(1, 96)), in.Bool() ? deep : !deep,
                        static_cast<int32_t>(in.Range(0, 24)));
    auto& input = host.inputWorld();
    for (std::size_t i = 0; i < input.buffer.size(); ++i) {
        input.buffer[i] = static_cast<uint8_t>(in.Byte() ^ (i * 29));
    }
}

// World records that lie within their buffers: shorter rows or sizes than
// the buffer holds, row strides below a row's bytes, zero sizes.
void BendWorld(quillon::hostsim::World& world, ByteReader& in) {
    PF_LayerDef& def = world.def;
    switch (in.Range(0, 3)) {
        case 0:
            def.rowbytes =
                static_cast<int32_t>(in.Range(0, static_cast<uint32_t>(std::max(def.rowbytes, 0))));
            break;
        case 1:
            def.width = static_cast<int32_t>(in.Range(0, static_cast<uint32_t>(def.width)));
            break;
        case 2:
            def.height = static_cast<int32_t>(in.Range(0, static_cast<uint32_t>(def.height)));
            break;
        default:
            def.data = in.Bool() ? nullptr : def.data;
            break;
    }
}

void SetInData(HostSimulator& host, ByteReader& in) {
    PF_InData& d = host.inData();
    switch (in.Range(0, 3)) {
        case 0:
            d.downsample_x = {static_cast<int32_t>(in.Range(0, 8)), in.Range(0, 8)};
            d.downsample_y = {static_cast<int32_t>(in.Range(0, 8)), in.Range(0, 8)};
            break;
        case 1:
            d.extent_hint = {static_cast<int32_t>(in.U32()), static_cast<int32_t>(in.U32()),
                             static_cast<int32_t>(in.U32()), static_cast<int32_t>(in.U32())};
            break;
        case 2:
            d.pixel_aspect_ratio = {static_cast<int32_t>(in.Range(0, 40)), in.Range(0, 40)};
            break;
        default:
            d.output_origin_x = static_cast<int32_t>(in.Range(0, 400)) - 200;
            d.output_origin_y = static_cast<int32_t>(in.Range(0, 400)) - 200;
            break;
    }
}

// A raw command with some of its records missing.
void SendWithMissingRecords(HostSimulator& host, ByteReader& in) {
    const PF_Cmd cmd = static_cast<PF_Cmd>(in.Range(0, 25));
    const uint32_t missing = in.Byte();
    PF_OutData out = host.outData();
    PF_UserChangedParamExtra extra{static_cast<int32_t>(in.Range(0, 20))};
    host.SendRaw(cmd, (missing & 1) ? nullptr : &host.inData(), (missing & 2) ? nullptr : &out,
                 (missing & 4) ? nullptr : host.paramArray(),
                 (missing & 8) ? nullptr : &host.outputWorld().def,
                 (missing & 16) ? nullptr : &extra);
}

void Step(HostSimulator& host, ByteReader& in) {
    switch (in.Range(0, 17)) {
        case 0:
            host.GlobalSetup();
            break;
        case 1:
            host.ParamsSetup();
            break;
        case 2:
            host.SequenceSetup();
            break;
        case 3:
            host.SequenceResetup();
            break;
        case 4:
            host.SequenceSetdown();
            break;
        case 5:
            host.Send(PF_Cmd_SEQUENCE_FLATTEN);
            host.inData().sequence_data = host.outData().sequence_data;
            break;
        case 6: {
            // The output world follows the answer when it is a small frame;
            // any other answer (out-of-range parameters can ask for sizes no
            // host would give) gets a small world of the fuzzer's choice.
            const PF_Err err = host.Send(PF_Cmd_FRAME_SETUP);
            const int32_t w = host.outData().width;
            const int32_t h = host.outData().height;
            const bool deep = (host.inputWorld().def.world_flags & PF_WorldFlag_DEEP) != 0;
            if (err == PF_Err_NONE && w >= 1 && h >= 1 && int64_t{w} * h <= 96 * 96) {
                host.SetOutputWorld(w, h, deep, 0);
            } else {
                host.SetOutputWorld(static_cast<int32_t>(in.Range(1, 96)),
                                    static_cast<int32_t>(in.Range(1, 96)), deep, 0);
            }
            host.inData().output_origin_x = host.outData().origin.h;
            host.inData().output_origin_y = host.outData().origin.v;
            break;
        }
        case 7:
        case 8:
            host.Send(PF_Cmd_RENDER);
            break;
        case 9:
            SetParameter(host, in);
            break;
        case 10:
            host.UserChangedParam(static_cast<int32_t>(in.Range(0, 16)));
            break;
        case 11:
            host.UpdateParamsUi();
            break;
        case 12:
            SetWorlds(host, in);
            break;
        case 13:
            BendWorld(in.Bool() ? host.inputWorld() : host.outputWorld(), in);
            break;
        case 14:
            SetInData(host, in);
            break;
        case 15:
            ReplaceSequenceData(host, in);
            break;
        case 16:
            SendWithMissingRecords(host, in);
            break;
        default:
            if (in.Bool()) {
                host.ClearFaults();
            } else {
                static constexpr Callback kFailing[] = {
                    Callback::NewHandle,    Callback::LockHandle,   Callback::GetHandleSize,
                    Callback::ResizeHandle, Callback::AcquireSuite, Callback::Copy};
                host.FailCallback(kFailing[in.Range(0, std::size(kFailing) - 1)],
                                  static_cast<int>(in.Range(0, 6)));
            }
            break;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader in(data, size);
    static constexpr HostIdentity kHosts[] = {
        HostIdentity::AfterEffects, HostIdentity::PremierePro12, HostIdentity::PremierePro13};
    {
        HostSimulator host(kHosts[in.Range(0, 2)]);
        host.UseEntryPoint(Entry);
        host.SetInputLayer(static_cast<int32_t>(in.Range(1, 48)),
                           static_cast<int32_t>(in.Range(1, 48)), in.Bool(), 4);
        host.SetOutputWorld(64, 48, false, 0);
        if (in.Bool()) {
            host.SetUpInstance();
        }
        for (int steps = 0; steps < 40 && in.remaining() > 0; ++steps) {
            Step(host, in);
        }
        host.ClearFaults();
        host.SequenceSetdown();
        host.GlobalSetdown();
    }
    SetEngineAllocator(nullptr, nullptr);
    SetMaxValue8(255);
    SetMaxValue16(65535);
    return 0;
}
