#include "FarmPlan.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "Errors.h"
#include "FarmVideo.h"
#include "RunSummary.h"
#include "SafeOutput.h"
#include "SequencePattern.h"
#include "StillIO.h"
#include "VideoIO.h"

namespace fs = std::filesystem;

namespace quillon {

namespace {

using Clock = std::chrono::steady_clock;

std::string RangeText(int64_t first, int64_t last) {
    return std::to_string(first) + "-" + std::to_string(last);
}

// The farm folder sits beside the output: "shots/out.%04d.png" gives
// "shots/out.quillon-farm", "film.mkv" gives "film.quillon-farm".
fs::path FarmFolder(const std::string& output, MediaKind kind) {
    const fs::path path(output);
    std::string stem = path.stem().string();
    if (kind == MediaKind::Sequence) {
        stem = path.filename().string();
        stem = stem.substr(0, stem.find('%'));
        while (!stem.empty() && (stem.back() == '.' || stem.back() == '_' || stem.back() == '-')) {
            stem.pop_back();
        }
        if (stem.empty()) {
            stem = "frames";
        }
    }
    return fs::absolute(path).parent_path() / (stem + ".quillon-farm");
}

// The upscale arguments less the input, the output and --frames, which every
// chunk sets for itself.
std::vector<std::string> PassThrough(const std::vector<std::string>& args,
                                     const UpscaleOptions& o) {
    std::vector<std::string> rest;
    bool inputSeen = false;
    bool outputSeen = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--frames") {
            ++i;
            continue;
        }
        if (a.rfind("--frames=", 0) == 0) {
            continue;
        }
        if (!inputSeen && a == o.input) {
            inputSeen = true;
            continue;
        }
        if (inputSeen && !outputSeen && a == o.output) {
            outputSeen = true;
            continue;
        }
        rest.push_back(a);
    }
    return rest;
}

std::vector<int64_t> FramesOf(const UpscaleOptions& o, MediaKind kind) {
    std::optional<FrameRange> range;
    if (o.frames) {
        range = ParseFrameRange(*o.frames);
        if (!range) {
            throw QuillonError(ExitCode::Usage,
                               "--frames expects FIRST-LAST, got '" + *o.frames + "'");
        }
    }
    std::vector<int64_t> frames;
    if (kind == MediaKind::Video) {
        const int64_t count = CountVideoFrames(o.input);
        const int64_t first = range ? range->first : 0;
        const int64_t last = range ? std::min(range->last, count - 1) : count - 1;
        for (int64_t f = first; f <= last; ++f) {
            frames.push_back(f);
        }
        if (frames.empty()) {
            throw QuillonError(ExitCode::InputMissing, "'" + o.input + "' has no frame in range");
        }
        return frames;
    }
    const auto pattern = SequencePattern::Parse(o.input);
    if (!pattern) {
        throw QuillonError(ExitCode::Usage,
                           "'" + o.input + "' is not a sequence pattern (one %d or %0Nd)");
    }
    if (range) {
        for (int64_t f = range->first; f <= range->last; ++f) {
            frames.push_back(f);
        }
        return frames;
    }
    frames = pattern->ExistingFrames();
    if (frames.empty()) {
        throw QuillonError(ExitCode::InputMissing, "no frames match '" + o.input + "'");
    }
    for (size_t i = 1; i < frames.size(); ++i) {
        if (frames[i] != frames[i - 1] + 1) {
            throw QuillonError(ExitCode::Usage, "the sequence has no frame " +
                                                    std::to_string(frames[i - 1] + 1) +
                                                    "; give the range to farm with --frames");
        }
    }
    return frames;
}

// Start and end times (seconds since the epoch) the task scripts record.
struct TaskTimes {
    double earliest = 0;
    double latest = 0;
    double busy = 0;
};

TaskTimes ReadTaskTimes(const FarmPlan& plan) {
    TaskTimes t;
    bool any = false;
    for (const FarmChunk& c : plan.chunks) {
        std::ifstream in(plan.MarkerPath("times", c.index));
        double start = 0;
        double end = 0;
        if (!(in >> start >> end)) {
            continue;
        }
        t.earliest = any ? std::min(t.earliest, start) : start;
        t.latest = any ? std::max(t.latest, end) : end;
        t.busy += end - start;
        any = true;
    }
    return t;
}

}  // namespace

std::string ShellQuote(const std::string& word) {
    if (!word.empty() &&
        word.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                               "0123456789_-.,/:=+@%") == std::string::npos) {
        return word;
    }
    std::string quoted = "'";
    for (const char c : word) {
        if (c == '\'') {
            quoted += "'\\''";
        } else {
            quoted += c;
        }
    }
    return quoted + "'";
}

std::string ShellJoin(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& w : words) {
        line.append(line.empty() ? "" : " ").append(ShellQuote(w));
    }
    return line;
}

std::string FarmPlan::ChunkOutput(const FarmChunk& chunk) const {
    if (kind == MediaKind::Sequence) {
        return upscale.output;
    }
    char name[32];
    std::snprintf(name, sizeof name, "seg-%05d", chunk.index);
    return (folder / "segments" / (name + fs::path(upscale.output).extension().string())).string();
}

std::vector<std::string> FarmPlan::ChunkCommand(const FarmChunk& chunk, bool resume) const {
    std::vector<std::string> cmd = {settings.quillon, "upscale", upscale.input, ChunkOutput(chunk)};
    cmd.insert(cmd.end(), passThrough.begin(), passThrough.end());
    cmd.insert(cmd.end(), {"--frames", RangeText(chunk.first, chunk.last), "--quiet"});
    if (resume || kind == MediaKind::Video) {
        // Segments are the farm's own files; a rerun replaces them.
        cmd.emplace_back("--force");
    }
    return cmd;
}

std::vector<std::string> FarmPlan::JoinCommand() const {
    std::vector<std::string> cmd = {settings.quillon, "farm", "join", "--chunk",
                                    std::to_string(settings.chunk)};
    cmd.insert(cmd.end(), settings.upscaleArgs.begin(), settings.upscaleArgs.end());
    return cmd;
}

bool FarmPlan::ChunkComplete(const FarmChunk& chunk) const {
    std::error_code ec;
    if (kind == MediaKind::Video) {
        // Segments are written under a temporary name and renamed when whole.
        return fs::exists(ChunkOutput(chunk), ec);
    }
    const auto pattern = SequencePattern::Parse(upscale.output);
    for (int64_t f = chunk.first; f <= chunk.last; ++f) {
        if (!fs::exists(pattern->Format(f), ec)) {
            return false;
        }
    }
    return true;
}

fs::path FarmPlan::MarkerPath(const std::string& what, int index) const {
    return folder / what / ("chunk-" + std::to_string(index));
}

FarmPlan PlanFarm(const FarmSettings& settings, const UpscaleOptions& upscale) {
    if (settings.chunk < 1) {
        throw QuillonError(ExitCode::Usage, "--chunk must be at least 1 frame");
    }
    FarmPlan plan;
    plan.settings = settings;
    plan.upscale = upscale;
    plan.kind = ClassifyPath(upscale.input);
    if (plan.kind == MediaKind::Still) {
        throw QuillonError(ExitCode::Usage,
                           "a single picture cannot be split; farm a sequence or a video");
    }
    if (plan.kind == MediaKind::Sequence && !SequencePattern::Parse(upscale.output)) {
        throw QuillonError(ExitCode::Usage,
                           "a sequence needs an output pattern too, such as out.%04d.png");
    }
    if (plan.kind == MediaKind::Video &&
        (ClassifyPath(upscale.output) != MediaKind::Video || !IsVideoContainer(upscale.output))) {
        throw QuillonError(ExitCode::Usage,
                           "a video is farmed into a video file, not '" + upscale.output + "'");
    }
    if (!upscale.compare.empty()) {
        throw QuillonError(ExitCode::Usage, "--compare works on stills only");
    }
    plan.passThrough = PassThrough(settings.upscaleArgs, upscale);
    plan.folder = FarmFolder(upscale.output, plan.kind);
    const std::vector<int64_t> frames = FramesOf(upscale, plan.kind);
    plan.frames = static_cast<int64_t>(frames.size());
    for (size_t i = 0; i < frames.size(); i += static_cast<size_t>(settings.chunk)) {
        const size_t end = std::min(frames.size(), i + static_cast<size_t>(settings.chunk)) - 1;
        plan.chunks.push_back(
            FarmChunk{static_cast<int>(plan.chunks.size()), frames[i], frames[end]});
    }
    return plan;
}

void RunFarmJoin(const FarmPlan& plan) {
    const auto start = Clock::now();
    std::vector<std::string> missing;
    for (const FarmChunk& c : plan.chunks) {
        if (!plan.ChunkComplete(c)) {
            missing.push_back(std::to_string(c.index) + " (frames " + RangeText(c.first, c.last) +
                              ")");
        }
    }
    if (!missing.empty()) {
        std::string list;
        for (const std::string& m : missing) {
            list.append(list.empty() ? "" : ", ").append(m);
        }
        throw QuillonError(
            ExitCode::InputMissing,
            "chunk" + std::string(missing.size() > 1 ? "s " : " ") + list + " did not finish");
    }

    // The summary describes the whole run as one upscale would.
    uint32_t sw = 0;
    uint32_t sh = 0;
    int bits = 8;
    VideoInfo info;
    if (plan.kind == MediaKind::Video) {
        info = ProbeVideo(plan.upscale.input);
        sw = info.width;
        sh = info.height;
        bits = info.bits;
    } else {
        const auto pattern = SequencePattern::Parse(plan.upscale.input);
        const StillImage first = ReadStill(pattern->Format(plan.chunks.front().first));
        sw = first.image.width;
        sh = first.image.height;
        bits = first.image.bits;
    }
    ResolvedSize target;
    const FrameScaler scaler(PlanScale(plan.upscale.size, sw, sh, bits, EightBitKernel::TwoPass,
                                       plan.upscale.controls, target));

    int64_t frames = plan.frames;
    if (plan.kind == MediaKind::Video) {
        {
            std::ofstream list(plan.SegmentListPath());
            list << "ffconcat version 1.0\n";
            for (const FarmChunk& c : plan.chunks) {
                std::string name = fs::absolute(plan.ChunkOutput(c)).string();
                std::string escaped;
                for (const char ch : name) {
                    escaped += ch == '\'' ? std::string("'\\''") : std::string(1, ch);
                }
                list << "file '" << escaped << "'\n";
                // The chunk's exact length: the container's own duration of a
                // segment may count from the source's start, not the segment's.
                if (info.frameRateNum > 0) {
                    const double seconds = static_cast<double>(c.last - c.first + 1) *
                                           info.frameRateDen / info.frameRateNum;
                    list << "duration " << std::llround(seconds * 1e6) << "us\n";
                }
            }
            if (!list) {
                throw QuillonError(ExitCode::OutputFailed,
                                   "cannot write '" + plan.SegmentListPath().string() + "'");
            }
        }
        CheckDestination(plan.upscale.input, plan.upscale.output, plan.upscale.force);
        SafeOutput output(plan.upscale.output);
        frames = JoinVideoSegments(plan.SegmentListPath(), plan.upscale.input, output.temporary());
        output.Commit();
        if (frames != plan.frames) {
            throw QuillonError(ExitCode::CorruptInput,
                               "the segments hold " + std::to_string(frames) + " frames, not " +
                                   std::to_string(plan.frames));
        }
    }

    const TaskTimes times = ReadTaskTimes(plan);
    RunSummary summary;
    summary.command = "farm";
    summary.kind = plan.kind == MediaKind::Video ? "video" : "sequence";
    summary.input = plan.upscale.input;
    summary.output = plan.upscale.output;
    DescribeScale(summary, scaler, target.how);
    summary.frames = frames;
    const double join = SecondsSince(start);
    // Wall time from the first task's start to the end of the join.
    summary.totalSeconds =
        times.latest > times.earliest ? times.latest - times.earliest + join : join;
    summary.stageSeconds = {{"tasks", times.busy}, {"join", join}};
    const std::string json = ToJson(summary);
    std::ofstream(plan.folder / "summary.json") << json << "\n";
    std::printf("%s\n", json.c_str());
    std::fflush(stdout);
}

}  // namespace quillon
