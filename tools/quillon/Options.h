// The command line: `quillon upscale`, `quillon pipe` and `quillon presets`,
// parsed with CLI11 into plain option records.
#ifndef QUILLON_TOOLS_QUILLON_OPTIONS_H
#define QUILLON_TOOLS_QUILLON_OPTIONS_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "EffectControls.h"
#include "FrameScaler.h"
#include "StillIO.h"
#include "TargetSize.h"
#include "VideoIO.h"

namespace CLI {
class App;
}

namespace quillon {

// Options both upscale and pipe take.
struct CommonOptions {
    SizeRequest size;
    EffectControls controls;
    bool quiet = false;
    bool json = false;
};

struct UpscaleOptions : CommonOptions {
    std::string input;
    std::string output;
    std::optional<std::string> frames;  // FIRST-LAST for sequences
    bool force = false;
    VideoEncodeOptions video;
    Compression compression = Compression::Fast;  // still writers
    std::string compare;                          // side-by-side crop PNG
    std::optional<SizeSpec> compareCrop;
    std::optional<uint32_t> compareX;
    std::optional<uint32_t> compareY;
};

struct PipeOptions : CommonOptions {
    uint32_t inWidth = 0;
    uint32_t inHeight = 0;
    int depth = 8;
    EightBitKernel kernel = EightBitKernel::TwoPass;
};

enum class Command { None, Upscale, Pipe, Presets, Info };

// How the engine runs (anywhere on the command line, before or after the
// sub-command): instruction-set cap and threads. Empty / 0: the engine's own
// choice (QUILLON_CPU, QUILLON_THREADS, the machine).
struct ExecutionOptions {
    std::string cpu;
    uint32_t threads = 0;
};

struct ParsedCommandLine {
    Command command = Command::None;
    ExecutionOptions execution;
    UpscaleOptions upscale;
    PipeOptions pipe;
};

// Parses argv. Returns the exit code to end with when parsing ends the run
// (help was printed: 0; a usage error was reported on one line: 2), or
// nullopt to go on with parsed filled in.
std::optional<int> ParseCommandLine(int argc, const char* const* argv, ParsedCommandLine& parsed);

// "cell", "two-pass", "none".
std::optional<EightBitKernel> ParseEightBitKernel(const std::string& text);
const char* EightBitKernelName(EightBitKernel kernel);

// "8000000", "8000k", "8M".
std::optional<int64_t> ParseBitrate(const std::string& text);

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_OPTIONS_H
