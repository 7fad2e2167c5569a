// The sub-commands. Each returns normally on success and throws QuillonError
// on failure.
#ifndef QUILLON_TOOLS_QUILLON_COMMANDS_H
#define QUILLON_TOOLS_QUILLON_COMMANDS_H

#include "Options.h"

namespace quillon {

void RunUpscale(const UpscaleOptions& options);
void RunPipe(const PipeOptions& options);
void RunPresets();
void RunInfo();

// Applies --cpu and --threads to the engine for the rest of the run.
void ApplyExecution(const ExecutionOptions& options);
// `quillon farm ...`: parses its own command line; returns the exit code.
int RunFarm(int argc, char** argv);

// What an upscale input is.
enum class MediaKind { Still, Sequence, Video };
MediaKind ClassifyPath(const std::string& path);

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_COMMANDS_H
