// A one-line progress bar on standard error: frames done, frames per second
// and time left. Drawn only when standard error is a terminal and the run is
// not quiet.
#ifndef QUILLON_TOOLS_QUILLON_PROGRESS_H
#define QUILLON_TOOLS_QUILLON_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

namespace quillon {

class Progress {
public:
    // total 0 means unknown (a pipe, or a video without a frame count).
    Progress(int64_t total, bool enabled, std::FILE* stream = stderr);
    ~Progress();

    void Update(int64_t done);
    void Finish();

    // The text of one bar, without carriage return; exposed for tests.
    static std::string Render(int64_t done, int64_t total, double seconds, int barWidth = 30);

    static bool StderrIsTerminal();

private:
    int64_t total_;
    bool enabled_;
    std::FILE* stream_;
    bool drawn_ = false;
    std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::time_point lastDraw_;
};

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_PROGRESS_H
