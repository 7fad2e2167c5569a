// The raw pipe: a stream of tightly packed frames of a fuzzed small size and
// depth, whole, truncated inside a frame or running on past the last whole
// frame, read through the same reader the pipe command uses. The first bytes
// choose the source size, depth, kernel and controls (as the pipe command's
// options would); the rest is the stream.
//
// Checked beside the sanitizers: a stream of k whole frames gives k frames
// of the enlarged size; one that ends inside a frame throws TruncatedPipe
// after the whole frames; nothing else is thrown.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "Errors.h"
#include "FrameScaler.h"
#include "RawPipe.h"
#include "fuzz/ByteReader.h"

namespace {

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    quillon::fuzz::ByteReader in(data, size);
    quillon::SizeRequest request;
    quillon::SizeSpec asked;
    const uint32_t srcWidth = in.Range(1, 12);
    const uint32_t srcHeight = in.Range(1, 12);
    asked.width = srcWidth + in.Range(0, 20);
    asked.height = in.Bool() ? std::optional<uint32_t>(srcHeight + in.Range(0, 20)) : std::nullopt;
    request.size = asked;
    request.keepAspect = !asked.height.has_value();
    const int bits = in.Bool() ? 16 : 8;
    const auto kernel = static_cast<quillon::EightBitKernel>(in.Range(0, 2));
    quillon::EffectControls controls;
    controls.filter = static_cast<quillon::FilterType>(in.Range(1, 4));
    controls.sharpness = static_cast<int>(in.Range(0, 25));
    controls.quality = static_cast<int>(in.Range(0, 25));
    controls.antiAliasing = static_cast<int>(in.Range(0, 10));

    quillon::ScaleSettings settings;
    try {
        quillon::ResolvedSize target;
        settings = quillon::PlanScale(request, srcWidth, srcHeight, bits, kernel, controls, target);
    } catch (const quillon::QuillonError&) {
        return 0;  // sizes the engine does not take: refused before any frame
    }
    const uint64_t frameBytes = quillon::RawFrameBytes(srcWidth, srcHeight, bits);
    const std::size_t streamBytes = in.remaining();
    std::FILE* stream = streamBytes == 0
                            ? std::fopen("/dev/null", "rb")
                            : fmemopen(const_cast<uint8_t*>(in.rest()), streamBytes, "rb");
    std::FILE* sink = std::fopen("/dev/null", "wb");
    Require(stream != nullptr && sink != nullptr);
    int64_t frames = -1;
    bool truncated = false;
    try {
        quillon::FrameScaler scaler(settings);
        quillon::StageTimes timings;
        frames = quillon::RunRawPipe(stream, sink, scaler, nullptr, timings);
    } catch (const quillon::QuillonError& e) {
        Require(e.code() == quillon::ExitCode::TruncatedPipe);
        truncated = true;
    }
    std::fclose(stream);
    std::fclose(sink);
    Require(truncated == (streamBytes % frameBytes != 0));
    Require(truncated || frames == static_cast<int64_t>(streamBytes / frameBytes));
    return 0;
}
