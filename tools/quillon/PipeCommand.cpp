#include <chrono>
#include <cstdio>

#include "Commands.h"
#include "Progress.h"
#include "RawPipe.h"
#include "RunSummary.h"

namespace quillon {

void RunPipe(const PipeOptions& o) {
    const auto start = std::chrono::steady_clock::now();
    ResolvedSize target;
    FrameScaler scaler(
        PlanScale(o.size, o.inWidth, o.inHeight, o.depth, o.kernel, o.controls, target));

    // Large buffers: frames are megabytes.
    std::setvbuf(stdin, nullptr, _IOFBF, 1 << 20);
    std::setvbuf(stdout, nullptr, _IOFBF, 1 << 20);
    if (!o.quiet) {
        std::fprintf(stderr, "quillon: pipe %ux%u -> %ux%u (%s, %d bits)\n", o.inWidth, o.inHeight,
                     target.width, target.height, o.depth == 16 ? "rgba64le" : "bgra", o.depth);
    }
    Progress progress(0, !o.quiet && Progress::StderrIsTerminal());
    StageTimes timings;
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
        DescribeScale(summary, scaler, target.how);
        summary.totalSeconds = SecondsSince(start);
        summary.stageSeconds = NamedStages(timings);
        std::fprintf(stderr, "%s\n", ToJson(summary).c_str());
    }
}

}  // namespace quillon
