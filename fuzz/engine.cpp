// The engine through its C boundary: CreateScaleContext and ProcessFrame with
// sizes (kept small so one input stays fast), options, kernel variants,
// sliders, channel maxima, canvas and pixels chosen by the input, and with
// the n-th engine allocation refused when the input asks for it.
//
// Checked on every input, beside the sanitizers: creation either succeeds or
// returns -1 having kept nothing; a frame either succeeds or, only when an
// allocation was refused, returns -1; every block goes back by the end. The
// differential check binds the fast kernels to their plain twins byte for
// byte on the same context.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "engine/Engine.h"
#include "fuzz/ByteReader.h"
#include "kernels/Upscale8.h"

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

// The fast kernels against their plain twins on the same context: today the
// 8-bit two-pass kernels (vector lanes) against their scalar twins. When the
// engine offers levels, this compares the top level with the scalar one.
void Differential(const ScaleContext* context, const std::vector<uint8_t>& source,
                  uint32_t dstWidth, uint32_t dstHeight, uint32_t options) {
    const std::size_t samples = std::size_t{dstWidth} * dstHeight * 4;
    std::vector<uint8_t> fast(samples, 0x11);
    std::vector<uint8_t> plain(samples, 0x11);
    const bool lanczos = (options & OPT_LANCZOS) != 0;
    const bool fastOk = lanczos
                            ? quillon::upscale8LanczosTwoPass(source.data(), fast.data(), context)
                            : quillon::upscale8CubicTwoPass(source.data(), fast.data(), context);
    const bool plainOk =
        lanczos ? quillon::upscale8LanczosTwoPassScalar(source.data(), plain.data(), context)
                : quillon::upscale8CubicTwoPassScalar(source.data(), plain.data(), context);
    if (fastOk && plainOk) {
        Require(fast == plain);
    }
}

template <typename Sample>
void RunFrame(quillon::fuzz::ByteReader& in, ScaleContext* context, uint32_t srcWidth,
              uint32_t srcHeight, uint32_t outWidth, uint32_t outHeight, bool differential,
              uint32_t dstWidth, uint32_t dstHeight, uint32_t options) {
    std::vector<Sample> source(std::size_t{srcWidth} * srcHeight * 4);
    const std::size_t bytes = in.remaining();
    const uint8_t* rest = in.rest();
    for (std::size_t i = 0; i < source.size(); ++i) {
        const uint32_t b = bytes == 0 ? static_cast<uint32_t>(i * 37) : rest[i % bytes];
        source[i] = static_cast<Sample>(sizeof(Sample) == 1 ? b : b * 257u + (i & 0xFF));
    }
    std::vector<Sample> output(std::size_t{outWidth} * outHeight * 4, static_cast<Sample>(0x5A));
    const int32_t rc = ProcessFrame(source.data(), output.data(), context);
    Require(rc == 0 || (rc == -1 && gHooks.refused));
    if constexpr (sizeof(Sample) == 1) {
        if (differential && !gHooks.refused) {
            Differential(context, source, dstWidth, dstHeight, options);
        }
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

    const int32_t set8 = SetMaxValue8(max8);
    const int32_t set16 = SetMaxValue16(max16);
    Require((set8 == 0) == (max8 >= 2 && max8 <= 255));
    Require((set16 == 0) == (max16 >= 2 && max16 <= 65535));

    gHooks = Hooks{};
    gHooks.failAt = failAt;
    Require(SetEngineAllocator(Allocate, Release) == 0);

    ScaleContext* context = reinterpret_cast<ScaleContext*>(uintptr_t{0x1});
    const int32_t created =
        CreateScaleContext(srcWidth, srcHeight, dstWidth, dstHeight, outWidth, outHeight, options,
                           depth, variant, sharpness, refine, antiAlias, &context);
    if (created != 0) {
        Require(created == -1);
        Require(context == reinterpret_cast<ScaleContext*>(uintptr_t{0x1}));  // not written
        Require(gHooks.live == 0);
    } else {
        const bool twoPass8 = depth == DEPTH_8 && variant == KERNEL_TWO_PASS;
        if (depth == DEPTH_16) {
            RunFrame<uint16_t>(in, context, srcWidth, srcHeight, outWidth, outHeight, false,
                               dstWidth, dstHeight, options);
        } else {
            RunFrame<uint8_t>(in, context, srcWidth, srcHeight, outWidth, outHeight,
                              differential && twoPass8, dstWidth, dstHeight, options);
        }
        DestroyScaleContext(context);
        Require(gHooks.live == 0);
    }
    SetEngineAllocator(nullptr, nullptr);
    SetMaxValue8(255);
    SetMaxValue16(65535);
    return 0;
}
