#include <chrono>
#include <cstdio>

#include "Commands.h"
#include "Progress.h"
#include "RawPipe.h"
#include "RunSummary.h"

namespace quillon {

void RunPipe(const PipeOptions& o) {
    const auto start = std::chrono::steady_clock::now();
    const ResolvedSize target = ResolveTargetSize(o.size, o.inWidth, o.inHeight);
    CheckScaleSizes(o.inWidth, o.inHeight, target.width, target.height, o.depth);
    ScaleSettings settings;
    settings.srcWidth = o.inWidth;
    settings.srcHeight = o.inHeight;
    settings.dstWidth = target.width;
    settings.dstHeight = target.height;
    settings.bits = o.depth;
    settings.kernel = o.kernel;
    settings.controls = o.controls;
    FrameScaler scaler(settings);

    // Large buffers: frames are megabytes.
    std::setvbuf(stdin, nullptr, _IOFBF, 1 << 20);
    std::setvbuf(stdout, nullptr, _IOFBF, 1 << 20);
    if (!o.quiet) {
        std::fprintf(stderr, "quillon: pipe %ux%u -> %ux%u (%s, %d bits)\n", o.inWidth, o.inHeight,
                     target.width, target.height, o.depth == 16 ? "rgba64le" : "bgra", o.depth);
    }
    Progress progress(0, !o.quiet && Progress::StderrIsTerminal());
    PipeTimings timings;
    const int64_t frames = RunRawPipe(
        stdin, stdout, scaler, [&](int64_t done) { progress.Update(done); }, timings);
    progress.Finish();

    if (o.json) {
        // Standard output carries the frames; the summary goes to standard error.
        RunSummary summary;
        summary.command = "pipe";
        summary.kind = "raw";
        summary.input = "-";
        summary.output = "-";
        summary.frames = frames;
        summary.sourceWidth = o.inWidth;
        summary.sourceHeight = o.inHeight;
        summary.targetWidth = target.width;
        summary.targetHeight = target.height;
        summary.bits = o.depth;
        summary.sizeRule = target.how;
        summary.filter = FilterTypeName(o.controls.filter);
        summary.sharpness = o.controls.sharpness;
        summary.quality = o.controls.quality;
        summary.antiAliasing = o.controls.antiAliasing;
        summary.engineOptions = scaler.engineOptions();
        summary.kernel = o.depth == 16 ? "cell" : KernelChoiceName(o.kernel);
        summary.totalSeconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        summary.stageSeconds = {{"read", timings.read},
                                {"convert_in", timings.convertIn},
                                {"engine", timings.engine},
                                {"convert_out", timings.convertOut},
                                {"write", timings.write}};
        std::fprintf(stderr, "%s\n", ToJson(summary).c_str());
    }
}

}  // namespace quillon
