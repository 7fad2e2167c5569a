// Frames flowing through a fixed list of stages (read, enlarge, write, ...)
// with several frames in flight. Each frame in flight holds one of a fixed
// number of slots (the caller's buffers), so memory stays bounded; a frame
// enters a stage only after it has left the previous one, and every stage
// takes frames in order. A stage with several workers works on consecutive
// frames side by side; a stage with one worker sees the frames strictly in
// order (an encoder). At most `cpuTokens` stage calls run at once, which caps
// the whole run at that many busy threads.
#ifndef QUILLON_TOOLS_QUILLON_FRAMEPIPELINE_H
#define QUILLON_TOOLS_QUILLON_FRAMEPIPELINE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace quillon {

struct PipelineStage {
    std::string name;
    int workers = 1;
    // Does this stage's work for frame `index`, whose buffers are slot
    // `slot`. The first stage returns false when the input has no frame
    // `index` (the end); later stages' results are ignored. Exceptions stop
    // the run.
    std::function<bool(int64_t index, size_t slot)> run;
};

struct PipelineReport {
    int64_t frames = 0;               // frames that went through every stage
    std::vector<double> busySeconds;  // per stage, summed over its workers
    std::vector<int64_t> completed;   // indices through every stage, ascending
    double wallSeconds = 0;
};

class FramePipeline {
public:
    FramePipeline(std::vector<PipelineStage> stages, size_t slots, int cpuTokens);

    // Runs frames 0, 1, ... until the first stage reports the end or
    // frameLimit frames (when >= 0) have entered. onFrameDone is called, one
    // call at a time, with each frame that leaves the last stage. On a stage
    // failure every worker stops, unfinished frames are abandoned, report is
    // filled and the first failure (in frame order) is rethrown.
    void Run(int64_t frameLimit, const std::function<void(int64_t)>& onFrameDone,
             PipelineReport& report);

private:
    std::vector<PipelineStage> stages_;
    size_t slots_;
    int cpuTokens_;
};

// "1-4, 7, 9-12": ascending indices mapped through frameNumber, as ranges.
std::string DescribeFrames(const std::vector<int64_t>& indices,
                           const std::function<int64_t(int64_t)>& frameNumber);

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_FRAMEPIPELINE_H
