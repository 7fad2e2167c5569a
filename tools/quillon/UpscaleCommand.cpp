#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <set>
#include <utility>
#include <vector>

#include "Commands.h"
#include "Compare.h"
#include "Errors.h"
#include "FramePipeline.h"
#include "Interrupt.h"
#include "Progress.h"
#include "RunSummary.h"
#include "SafeOutput.h"
#include "SequencePattern.h"
#include "StillIO.h"
#include "VideoIO.h"
#include "engine/Engine.h"

namespace fs = std::filesystem;

namespace quillon {

namespace {

using Clock = std::chrono::steady_clock;

// Extensions read and written as stills through OpenImageIO. Everything else
// is a video container for FFmpeg.
bool IsStillExtension(const fs::path& path) {
    static const std::set<std::string> kStill = {
        ".png", ".tif", ".tiff", ".dpx", ".exr", ".jpg", ".jpeg", ".jpe",  ".bmp", ".tga",
        ".ppm", ".pgm", ".pnm",  ".sgi", ".rgb", ".cin", ".hdr",  ".webp", ".jp2", ".j2k"};
    return kStill.count(LowerExtension(path)) != 0;
}

// Converts, enlarges and converts back one RGBA image.
void EnlargeImage(FrameScaler& scaler, const RgbaImage& source, RgbaImage& result, WorkingFrame& in,
                  WorkingFrame& out, StageTimes& times) {
    ThrowIfInterrupted();
    auto t0 = Clock::now();
    ToWorkingFrame(source, in);
    times.convertIn += SecondsSince(t0);
    t0 = Clock::now();
    scaler.Process(in, out);
    times.engine += SecondsSince(t0);
    t0 = Clock::now();
    FromWorkingFrame(out, result);
    times.convertOut += SecondsSince(t0);
}

// Buffers of one sequence frame in flight.
struct SequenceSlot {
    StillImage source;
    WorkingFrame workSource;
    WorkingFrame workResult;
    RgbaImage result;
};

// A signal also cuts short the reads and writes under way (they fail with
// EINTR): once one has arrived, a failure is reported as the interruption.
QuillonError AsInterruption(const QuillonError& e) {
    return InterruptRequested() ? QuillonError(ExitCode::Interrupted, "interrupted") : e;
}

// Threads the run may keep busy at once: the engine's (--threads,
// QUILLON_THREADS or the machine's hardware threads).
int RunThreads() {
    return std::max(1, static_cast<int>(GetEngineThreads()));
}

ScaleSettings SettingsFor(const UpscaleOptions& o, uint32_t sw, uint32_t sh, int bits,
                          ResolvedSize& target) {
    return PlanScale(o.size, sw, sh, bits, EightBitKernel::TwoPass, o.controls, target);
}

void FillSummary(RunSummary& summary, const UpscaleOptions& o, const FrameScaler& scaler,
                 const ResolvedSize& target) {
    summary.command = "upscale";
    summary.input = o.input;
    summary.output = o.output;
    DescribeScale(summary, scaler, target.how);
}

void Report(const UpscaleOptions& o, const RunSummary& summary) {
    if (o.json) {
        std::printf("%s\n", ToJson(summary).c_str());
        std::fflush(stdout);
    }
    if (!o.quiet) {
        std::fprintf(stderr, "quillon: %s %ux%u -> %s %ux%u, %s, %lld frame%s in %.2f s\n",
                     summary.input.c_str(), summary.sourceWidth, summary.sourceHeight,
                     summary.output.c_str(), summary.targetWidth, summary.targetHeight,
                     summary.filter.c_str(), static_cast<long long>(summary.frames),
                     summary.frames == 1 ? "" : "s", summary.totalSeconds);
    }
}

void WriteComparison(const UpscaleOptions& o, const RgbaImage& source, const RgbaImage& result) {
    const SizeSpec crop = o.compareCrop.value_or(SizeSpec{960u, 540u});
    // Without a corner the crop goes where the picture has most detail.
    const CropRect rect = o.compareX ? ChooseCrop(result.width, result.height, *crop.width,
                                                  *crop.height, o.compareX, o.compareY)
                                     : ChooseDetailedCrop(source, result.width, result.height,
                                                          *crop.width, *crop.height);
    const RgbaImage comparison = BuildComparison(source, result, rect);
    CheckDestination(o.input, o.compare, o.force);
    SafeOutput out(o.compare);
    WriteStill(out.temporary(), comparison, false, o.compare, o.compression);
    out.Commit();
}

void RunStill(const UpscaleOptions& o) {
    const auto start = Clock::now();
    StageTimes times;
    if (!IsStillExtension(o.output) || !CanWriteStill(o.output)) {
        throw QuillonError(ExitCode::Unsupported,
                           "'" + o.output + "' is not an image format quillon can write");
    }
    if (!o.compare.empty() && !CanWriteStill(o.compare)) {
        throw QuillonError(ExitCode::Unsupported,
                           "'" + o.compare + "' is not an image format quillon can write");
    }
    auto t0 = Clock::now();
    const StillImage still = ReadStill(o.input);
    times.read += SecondsSince(t0);
    CheckDestination(o.input, o.output, o.force);
    ResolvedSize target;
    FrameScaler scaler(
        SettingsFor(o, still.image.width, still.image.height, still.image.bits, target));

    Progress progress(1, !o.quiet && Progress::StderrIsTerminal());
    RgbaImage result;
    WorkingFrame in;
    WorkingFrame out;
    EnlargeImage(scaler, still.image, result, in, out, times);

    t0 = Clock::now();
    SafeOutput output(o.output);
    WriteStill(output.temporary(), result, still.hasAlpha, o.output, o.compression);
    output.Commit();
    times.write += SecondsSince(t0);
    progress.Update(1);
    progress.Finish();
    if (!o.compare.empty()) {
        WriteComparison(o, still.image, result);
    }

    RunSummary summary;
    FillSummary(summary, o, scaler, target);
    summary.kind = "still";
    summary.frames = 1;
    summary.totalSeconds = SecondsSince(start);
    summary.stageSeconds = NamedStages(times);
    Report(o, summary);
}

void RunSequence(const UpscaleOptions& o) {
    const auto start = Clock::now();
    const auto inPattern = SequencePattern::Parse(o.input);
    if (!inPattern) {
        throw QuillonError(ExitCode::Usage,
                           "'" + o.input + "' is not a sequence pattern (one %d or %0Nd)");
    }
    const auto outPattern = SequencePattern::Parse(o.output);
    if (!outPattern) {
        throw QuillonError(ExitCode::Usage,
                           "a sequence needs an output pattern too, such as out.%04d.png");
    }
    if (!IsStillExtension(outPattern->Format(0)) || !CanWriteStill(outPattern->Format(0))) {
        throw QuillonError(ExitCode::Unsupported,
                           "'" + o.output + "' is not an image format quillon can write");
    }
    std::vector<int64_t> frames;
    if (o.frames) {
        const auto range = ParseFrameRange(*o.frames);
        if (!range) {
            throw QuillonError(ExitCode::Usage,
                               "--frames expects FIRST-LAST, got '" + *o.frames + "'");
        }
        for (int64_t f = range->first; f <= range->last; ++f) {
            frames.push_back(f);
        }
    } else {
        frames = inPattern->ExistingFrames();
        if (frames.empty()) {
            throw QuillonError(ExitCode::InputMissing, "no frames match '" + o.input + "'");
        }
    }
    // Check every destination before the first frame is written.
    for (const int64_t f : frames) {
        CheckDestination(inPattern->Format(f), outPattern->Format(f), o.force);
    }

    // The first frame decides the size and depth of the run.
    const int threads = RunThreads();
    const int readers = std::max(1, threads / 2);
    const int writers = threads;
    const int engines = threads;
    std::vector<SequenceSlot> slots(static_cast<size_t>(readers + engines + writers + 2));
    auto t0 = Clock::now();
    try {
        slots[0].source = ReadStill(inPattern->Format(frames[0]));
    } catch (const QuillonError& e) {
        const QuillonError cause = AsInterruption(e);
        throw QuillonError(cause.code(), std::string(cause.what()) + "; frames complete: none");
    }
    const double firstRead = SecondsSince(t0);
    ResolvedSize target;
    ScalerPool scalers(SettingsFor(o, slots[0].source.image.width, slots[0].source.image.height,
                                   slots[0].source.image.bits, target),
                       engines);
    const FrameScaler& scaler = scalers.first();

    Progress progress(static_cast<int64_t>(frames.size()),
                      !o.quiet && Progress::StderrIsTerminal());
    int64_t done = 0;
    const auto frameName = [&](int64_t index) { return inPattern->Format(frames[index]); };
    std::vector<PipelineStage> stages;
    stages.push_back({"read", readers, [&](int64_t index, size_t slot) {
                          if (index == 0) {
                              return true;  // read above
                          }
                          ThrowIfInterrupted();
                          const std::string name = frameName(index);
                          StillImage& still = slots[slot].source;
                          still = ReadStill(name);
                          if (still.image.width != scaler.settings().srcWidth ||
                              still.image.height != scaler.settings().srcHeight ||
                              still.image.bits != scaler.settings().bits) {
                              throw QuillonError(
                                  ExitCode::CorruptInput,
                                  "frame '" + name +
                                      "' differs in size or depth from the first frame");
                          }
                          return true;
                      }});
    stages.push_back({"convert_in", 1, [&](int64_t, size_t slot) {
                          ToWorkingFrame(slots[slot].source.image, slots[slot].workSource);
                          return true;
                      }});
    stages.push_back({"engine", engines, [&](int64_t index, size_t slot) {
                          ThrowIfInterrupted();
                          try {
                              scalers.Process(slots[slot].workSource, slots[slot].workResult);
                          } catch (const QuillonError& e) {
                              throw QuillonError(e.code(),
                                                 "frame '" + frameName(index) + "': " + e.what());
                          }
                          return true;
                      }});
    stages.push_back({"convert_out", 1, [&](int64_t, size_t slot) {
                          FromWorkingFrame(slots[slot].workResult, slots[slot].result);
                          return true;
                      }});
    stages.push_back(
        {"write", writers, [&](int64_t index, size_t slot) {
             const std::string name = outPattern->Format(frames[index]);
             try {
                 SafeOutput output(name);
                 WriteStill(output.temporary(), slots[slot].result, slots[slot].source.hasAlpha,
                            output.destination(), o.compression);
                 output.Commit();
             } catch (const QuillonError& e) {
                 throw QuillonError(e.code(), "frame '" + name + "' was not written: " + e.what());
             }
             return true;
         }});
    FramePipeline pipeline(std::move(stages), slots.size(), threads);
    PipelineReport report;
    try {
        pipeline.Run(
            static_cast<int64_t>(frames.size()), [&](int64_t) { progress.Update(++done); }, report);
    } catch (const QuillonError& e) {
        progress.Finish();
        const QuillonError cause = AsInterruption(e);
        throw QuillonError(cause.code(), std::string(cause.what()) + "; frames complete: " +
                                             DescribeFrames(report.completed, [&](int64_t index) {
                                                 return frames[index];
                                             }));
    }
    progress.Finish();

    RunSummary summary;
    FillSummary(summary, o, scaler, target);
    summary.kind = "sequence";
    summary.frames = report.frames;
    summary.totalSeconds = SecondsSince(start);
    StageTimes times;
    times.read = report.busySeconds[0] + firstRead;
    times.convertIn = report.busySeconds[1];
    times.engine = report.busySeconds[2];
    times.convertOut = report.busySeconds[3];
    times.write = report.busySeconds[4];
    summary.stageSeconds = NamedStages(times);
    Report(o, summary);
}

void RunVideo(const UpscaleOptions& o) {
    const auto start = Clock::now();
    if (IsStillExtension(o.output) || !IsVideoContainer(o.output)) {
        throw QuillonError(ExitCode::Unsupported,
                           "'" + o.output + "' is not a video container quillon can write");
    }
    if (!o.compare.empty()) {
        throw QuillonError(ExitCode::Usage, "--compare works on stills only");
    }
    const VideoInfo info = ProbeVideo(o.input);
    CheckDestination(o.input, o.output, o.force);
    ResolvedSize target;
    VideoEncodeOptions video = o.video;
    if (o.frames) {
        const auto range = ParseFrameRange(*o.frames);
        if (!range) {
            throw QuillonError(ExitCode::Usage,
                               "--frames expects FIRST-LAST, got '" + *o.frames + "'");
        }
        video.frames = std::make_pair(range->first, range->last);
    }
    video.threads = RunThreads();
    video.engineWorkers = video.threads;
    ScalerPool scalers(SettingsFor(o, info.width, info.height, info.bits, target),
                       video.engineWorkers);
    const FrameScaler& scaler = scalers.first();

    VideoTimings videoTimes;
    Progress progress(info.frameCount, !o.quiet && Progress::StderrIsTerminal());
    SafeOutput output(o.output);
    int64_t frames = 0;
    try {
        frames = TranscodeVideo(
            o.input, output.temporary(), target.width, target.height, video,
            [&](const WorkingFrame& source, WorkingFrame& result) {
                ThrowIfInterrupted();
                scalers.Process(source, result);
            },
            [&](int64_t done) { progress.Update(done); }, videoTimes);
        output.Commit();
    } catch (const QuillonError& e) {
        progress.Finish();
        // The temporary file is removed as the output unwinds: nothing
        // appears under the final name.
        const QuillonError cause = AsInterruption(e);
        throw QuillonError(cause.code(), std::string(cause.what()) + "; " +
                                             std::to_string(videoTimes.framesEncoded) +
                                             " frames were encoded, '" + o.output +
                                             "' was not written");
    }
    progress.Finish();

    RunSummary summary;
    FillSummary(summary, o, scaler, target);
    summary.kind = "video";
    summary.frames = frames;
    summary.codec = video.codec.empty() ? DefaultVideoCodec(o.output, info.bits) : video.codec;
    summary.sourceColour = DescribeColour(videoTimes.sourceColour);
    summary.outputColour = DescribeColour(videoTimes.outputColour);
    summary.totalSeconds = SecondsSince(start);
    StageTimes times;
    times.read = videoTimes.decode;
    times.convertIn = videoTimes.convertIn;
    times.engine = videoTimes.engine;
    times.convertOut = videoTimes.convertOut;
    times.write = videoTimes.encode;
    summary.stageSeconds = NamedStages(times, "decode", "encode");
    Report(o, summary);
}

}  // namespace

MediaKind ClassifyPath(const std::string& path) {
    if (LooksLikePattern(fs::path(path).filename().string())) {
        return MediaKind::Sequence;
    }
    return IsStillExtension(path) ? MediaKind::Still : MediaKind::Video;
}

void RunUpscale(const UpscaleOptions& o) {
    const MediaKind kind = ClassifyPath(o.input);
    if (kind != MediaKind::Sequence) {
        std::error_code ec;
        if (!fs::exists(o.input, ec)) {
            throw QuillonError(ExitCode::InputMissing, "input '" + o.input + "' does not exist");
        }
        if (fs::is_directory(o.input, ec)) {
            throw QuillonError(ExitCode::InputMissing, "input '" + o.input + "' is a directory");
        }
    }
    switch (kind) {
        case MediaKind::Sequence:
            RunSequence(o);
            return;
        case MediaKind::Still:
            if (ClassifyPath(o.output) == MediaKind::Sequence) {
                throw QuillonError(ExitCode::Usage,
                                   "a single picture cannot go to a sequence pattern");
            }
            RunStill(o);
            return;
        case MediaKind::Video:
            RunVideo(o);
            return;
    }
}

void RunPresets() {
    std::fputs(ListPresets().c_str(), stdout);
}

}  // namespace quillon
