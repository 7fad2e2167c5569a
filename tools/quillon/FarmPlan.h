// A farm job: one `quillon upscale` run split into chunks of frames that run
// as independent tasks, and the join step that checks and assembles their
// outputs. Scheduler-neutral: the chunks are plain commands.
//
// Sequences: each chunk upscales its frame range straight into the output
// pattern. Video: each chunk encodes its frame range into a segment of its
// own (starting with a keyframe); the join concatenates the segments without
// re-encoding and adds the source's audio once.
#ifndef QUILLON_TOOLS_QUILLON_FARMPLAN_H
#define QUILLON_TOOLS_QUILLON_FARMPLAN_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "Commands.h"
#include "Options.h"

namespace quillon {

struct FarmChunk {
    int index = 0;
    int64_t first = 0;  // frame numbers (sequences) or frame indices from 0 (video)
    int64_t last = 0;
};

struct FarmSettings {
    int64_t chunk = 100;                   // frames per task
    std::string quillon;                   // the executable the tasks run
    std::vector<std::string> upscaleArgs;  // `quillon upscale` arguments, as given
};

struct FarmPlan {
    FarmSettings settings;
    UpscaleOptions upscale;                // upscaleArgs parsed
    std::vector<std::string> passThrough;  // upscaleArgs less input, output and --frames
    MediaKind kind = MediaKind::Sequence;
    std::filesystem::path folder;  // scripts, segments, logs and markers
    std::vector<FarmChunk> chunks;
    int64_t frames = 0;

    // Where a chunk's output goes: the output pattern, or its video segment.
    std::string ChunkOutput(const FarmChunk& chunk) const;
    // The command that runs one chunk. resume adds --force: a chunk that is
    // run again may find frames its first attempt wrote.
    std::vector<std::string> ChunkCommand(const FarmChunk& chunk, bool resume) const;
    // The command of the join step.
    std::vector<std::string> JoinCommand() const;
    // True when every output of the chunk exists.
    bool ChunkComplete(const FarmChunk& chunk) const;

    std::filesystem::path MarkerPath(const std::string& kind, int index) const;
    std::filesystem::path SegmentListPath() const { return folder / "segments.txt"; }
};

// Finds the frames of the parsed upscale run and splits them. Throws
// QuillonError (Usage for stills, gaps in a sequence or a bad --chunk;
// InputMissing when there are no frames).
FarmPlan PlanFarm(const FarmSettings& settings, const UpscaleOptions& upscale);

// Checks that every chunk's output exists and assembles the result (video:
// concatenation and audio), then prints the JSON summary and writes it to
// summary.json in the farm folder. Throws QuillonError naming what is missing.
void RunFarmJoin(const FarmPlan& plan);

// POSIX shell quoting.
std::string ShellQuote(const std::string& word);
std::string ShellJoin(const std::vector<std::string>& words);

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_FARMPLAN_H
