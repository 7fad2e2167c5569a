// What a run did, for --json: frames, sizes, depth, controls and where the
// time went. Engine time is one figure because the engine runs all its passes
// (upscale, anti-aliasing, refinement, sharpening) in one call.
#ifndef QUILLON_TOOLS_QUILLON_RUNSUMMARY_H
#define QUILLON_TOOLS_QUILLON_RUNSUMMARY_H

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "FrameScaler.h"
#include "VideoIO.h"

namespace quillon {

// Seconds since start on the steady clock.
double SecondsSince(std::chrono::steady_clock::time_point start);

// Per-stage times of the frame path.
struct StageTimes {
    double read = 0;
    double convertIn = 0;
    double engine = 0;
    double convertOut = 0;
    double write = 0;
};

struct RunSummary {
    std::string command;  // "upscale" or "pipe"
    std::string kind;     // "still", "sequence", "video", "raw"
    std::string input;
    std::string output;
    int64_t frames = 0;
    uint32_t sourceWidth = 0;
    uint32_t sourceHeight = 0;
    uint32_t targetWidth = 0;
    uint32_t targetHeight = 0;
    int bits = 8;
    std::string sizeRule;
    std::string filter;
    int sharpness = 0;
    int quality = 0;
    int antiAliasing = 0;
    uint32_t engineOptions = 0;
    std::string kernel;
    std::string codec;         // video only
    std::string sourceColour;  // video only: "matrix/primaries/transfer/range"
    std::string outputColour;
    double totalSeconds = 0;
    // Named stages in the order they run: read/decode, convert_in, engine,
    // convert_out, write/encode. Busy seconds, summed over the threads of a
    // stage; stages overlap, so they may add up to more than the total.
    std::vector<std::pair<std::string, double>> stageSeconds;
};

// The stages in the order they run, the first and last under the names
// given (read/write for files and pipes, decode/encode for video).
std::vector<std::pair<std::string, double>> NamedStages(const StageTimes& times,
                                                        const char* readName = "read",
                                                        const char* writeName = "write");

// Fills the sizes, depth, controls, engine options and kernel of a run.
void DescribeScale(RunSummary& summary, const FrameScaler& scaler, const std::string& sizeRule);

// "bt709/bt709/bt709/tv": FFmpeg's names of matrix, primaries, transfer, range.
std::string DescribeColour(const ColourDescription& colour);

// One JSON object on one line.
std::string ToJson(const RunSummary& summary);

// A JSON string literal with the escapes JSON requires.
std::string JsonString(const std::string& text);

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_RUNSUMMARY_H
