// The engine through its C boundary: CreateScaleContext and ProcessFrame with
// sizes (kept small so one input stays fast), options, kernel variants,
// sliders, channel maxima, canvas and pixels chosen by the input, and with
// the n-th engine allocation refused when the input asks for it.
//
// Checked on every input, beside the sanitizers: creation either succeeds or
// returns -1 having kept nothing; a frame either succeeds or, only when an
// allocation was refused, returns -1; every block goes back by the end. The
// differential check renders the same request at the scalar level on one
// thread and requires the same bytes as at the level in force (the
// machine's, or QUILLON_CPU's cap) on the fuzzed thread count, so a wrong
// vector result or a band seam shows, not only a crash.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "engine/Engine.h"
#include "fuzz/ByteReader.h"

namespace {

struct Hooks {
    long live = 0;
    long calls = 0;
    long failAt = 0;  // refuse this call (1-based); 0 never
    bool refused = false;
};
Hooks gHooks;

void* Allocate(uint32_t bytes) {
    ++gHooks.calls;
    if (gHooks.calls == gHooks.failAt) {
        gHooks.refused = true;
        return nullptr;
    }
    void* block = ::operator new (bytes == 0 ? 1 : bytes, std::align_val_t{16}, std::nothrow);
    if (block != nullptr) {
        ++gHooks.live;
    }
    return block;
}

void Release(void* block) {
    if (block != nullptr) {
        --gHooks.live;
        ::operator delete (block, std::align_val_t{16});
    }
}

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// The same request again at the scalar level, on one thread: the output at
// the level and thread count in force must be the same bytes.
template <typename Sample>
void Differential(const std::vector<Sample>& source, const std::vector<Sample>& output,
                  const uint32_t args[12]) {
    SetEngineCpuCap(0);
    SetEngineThreads(1);
    ScaleContext* scalar = nullptr;
    if (CreateScaleContext(args[0], args[1], args[2], args[3], args[4], args[5], args[6], args[7],
                           args[8], args[9], args[10], args[11], &scalar) == 0) {
        std::vector<Sample> plain(output.size(), static_cast<Sample>(0x5A));
        Require(ProcessFrame(source.data(), plain.data(), scalar) == 0);
        Require(plain == output);
        DestroyScaleContext(scalar);
    }
    SetEngineCpuCap(-1);
    SetEngineThreads(0);
}

template <typename Sample>
void RunFrame(quillon::fuzz::ByteReader& in, ScaleContext* context, const uint32_t args[12],
              bool differential) {
    std::vector<Sample> source(std::size_t{args[0]} * args[1] * 4);
    const std::size_t bytes = in.remaining();
    const uint8_t* rest = in.rest();
    for (std::size_t i = 0; i < source.size(); ++i) {
        const uint32_t b = bytes == 0 ? static_cast<uint32_t>(i * 37) : rest[i % bytes];
        source[i] = static_cast<Sample>(sizeof(Sample) == 1 ? b : b * 257u + (i & 0xFF));
    }
    std::vector<Sample> output(std::size_t{args[4]} * args[5] * 4, static_cast<Sample>(0x5A));
    const int32_t rc = ProcessFrame(source.data(), output.data(), context);
    Require(rc == 0 || (rc == -1 && gHooks.refused));
    if (differential && rc == 0) {
        gHooks.failAt = 0;
        Differential(source, output, args);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    quillon::fuzz::ByteReader in(data, size);
    const uint32_t srcWidth = in.Range(1, 40);
    const uint32_t srcHeight = in.Range(1, 40);
    // Mostly enlargements; now and then a smaller target, which is refused.
    const uint32_t dstWidth = in.Bool() ? srcWidth + in.Range(0, 56) : in.Range(1, 96);
    const uint32_t dstHeight = in.Bool() ? srcHeight + in.Range(0, 56) : in.Range(1, 96);
    const uint32_t outWidth = dstWidth + (in.Bool() ? in.Range(0, 9) : 0);
    const uint32_t outHeight = dstHeight + (in.Bool() ? in.Range(0, 9) : 0);
    const uint32_t options = in.Range(0, 31);  // bit 4 is no option
    const uint32_t depth = in.Range(0, 2);
    const uint32_t variant = in.Range(0, 3);
    const uint32_t sharpness = in.Range(0, 30);
    const uint32_t refine = in.Range(0, 30);
    const uint32_t antiAlias = in.Range(0, 30);
    const int32_t max8 = static_cast<int32_t>(in.Range(0, 260));
    const int32_t max16 = static_cast<int32_t>(in.Range(0, 65540));
    const uint32_t failAt = in.Bool() ? in.Range(1, 40) : 0;
    const bool differential = in.Bool();
    const uint32_t threads = in.Range(1, 3);

    const int32_t set8 = SetMaxValue8(max8);
    const int32_t set16 = SetMaxValue16(max16);
    Require((set8 == 0) == (max8 >= 2 && max8 <= 255));
    Require((set16 == 0) == (max16 >= 2 && max16 <= 65535));
    SetEngineThreads(threads);

    gHooks = Hooks{};
    gHooks.failAt = failAt;
    Require(SetEngineAllocator(Allocate, Release) == 0);

    const uint32_t args[12] = {srcWidth, srcHeight, dstWidth, dstHeight, outWidth, outHeight,
                               options,  depth,     variant,  sharpness, refine,   antiAlias};
    ScaleContext* context = reinterpret_cast<ScaleContext*>(uintptr_t{0x1});
    const int32_t created =
        CreateScaleContext(srcWidth, srcHeight, dstWidth, dstHeight, outWidth, outHeight, options,
                           depth, variant, sharpness, refine, antiAlias, &context);
    if (created != 0) {
        Require(created == -1);
        Require(context == reinterpret_cast<ScaleContext*>(uintptr_t{0x1}));  // not written
        Require(gHooks.live == 0);
    } else {
        if (depth == DEPTH_16) {
            RunFrame<uint16_t>(in, context, args, differential);
        } else {
            RunFrame<uint8_t>(in, context, args, differential);
        }
        DestroyScaleContext(context);
        Require(gHooks.live == 0);
    }
    SetEngineThreads(0);
    SetEngineAllocator(nullptr, nullptr);
    SetMaxValue8(255);
    SetMaxValue16(65535);
    return 0;
}
