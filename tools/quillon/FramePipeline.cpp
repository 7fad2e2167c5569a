#include "FramePipeline.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <limits>
#include <mutex>
#include <thread>

namespace quillon {

namespace {

using Clock = std::chrono::steady_clock;
constexpr int64_t kNoEnd = std::numeric_limits<int64_t>::max();

// A counting gate on the number of stage calls running at once.
class Tokens {
public:
    explicit Tokens(int count) : free_(std::max(count, 1)) {}
    void Acquire() {
        std::unique_lock lock(mutex_);
        ready_.wait(lock, [&] { return free_ > 0; });
        --free_;
    }
    void Release() {
        {
            const std::lock_guard lock(mutex_);
            ++free_;
        }
        ready_.notify_one();
    }

private:
    std::mutex mutex_;
    std::condition_variable ready_;
    int free_;
};

}  // namespace

FramePipeline::FramePipeline(std::vector<PipelineStage> stages, size_t slots, int cpuTokens)
    : stages_(std::move(stages)), slots_(std::max<size_t>(slots, 1)), cpuTokens_(cpuTokens) {}

void FramePipeline::Run(int64_t frameLimit, const std::function<void(int64_t)>& onFrameDone,
                        PipelineReport& report) {
    const auto start = Clock::now();
    const size_t stageCount = stages_.size();
    std::mutex mutex;
    std::condition_variable changed;
    // Per slot: the frame it holds and how many stages that frame has left.
    std::vector<int64_t> slotFrame(slots_);
    std::vector<size_t> slotStagesDone(slots_, stageCount);
    for (size_t s = 0; s < slots_; ++s) {
        slotFrame[s] = static_cast<int64_t>(s) - static_cast<int64_t>(slots_);
    }
    std::vector<int64_t> next(stageCount, 0);  // next frame each stage claims
    std::vector<double> busy(stageCount, 0.0);
    int64_t end = frameLimit >= 0 ? frameLimit : kNoEnd;
    bool stop = false;
    std::exception_ptr failure;
    int64_t failedFrame = kNoEnd;
    std::vector<int64_t> completed;
    Tokens tokens(cpuTokens_);

    auto worker = [&](size_t stage) {
        std::unique_lock lock(mutex);
        for (;;) {
            int64_t frame = 0;
            size_t slot = 0;
            changed.wait(lock, [&] {
                if (stop || next[stage] >= end) {
                    return true;
                }
                frame = next[stage];
                slot = static_cast<size_t>(frame % static_cast<int64_t>(slots_));
                if (stage == 0) {
                    // The slot is free once its previous frame left the last stage.
                    return slotFrame[slot] == frame - static_cast<int64_t>(slots_) &&
                           slotStagesDone[slot] == stageCount;
                }
                return slotFrame[slot] == frame && slotStagesDone[slot] == stage;
            });
            if (stop || next[stage] >= end) {
                return;
            }
            ++next[stage];
            if (stage == 0) {
                slotFrame[slot] = frame;
                slotStagesDone[slot] = 0;
            }
            lock.unlock();
            bool more = true;
            std::exception_ptr error;
            tokens.Acquire();
            const auto t0 = Clock::now();
            try {
                more = stages_[stage].run(frame, slot);
            } catch (...) {
                error = std::current_exception();
            }
            const double seconds = std::chrono::duration<double>(Clock::now() - t0).count();
            tokens.Release();
            lock.lock();
            busy[stage] += seconds;
            if (error) {
                if (frame < failedFrame) {
                    failedFrame = frame;
                    failure = error;
                }
                stop = true;
            } else if (stage == 0 && !more) {
                end = std::min(end, frame);
            } else if (frame < end) {
                slotStagesDone[slot] = stage + 1;
                if (stage + 1 == stageCount) {
                    completed.push_back(frame);
                    if (onFrameDone) {
                        onFrameDone(frame);
                    }
                }
            }
            changed.notify_all();
        }
    };

    std::vector<std::thread> threads;
    try {
        for (size_t s = 0; s < stageCount; ++s) {
            for (int w = 0; w < std::max(stages_[s].workers, 1); ++w) {
                threads.emplace_back(worker, s);
            }
        }
    } catch (...) {
        {
            const std::lock_guard lock(mutex);
            stop = true;
        }
        changed.notify_all();
        for (std::thread& t : threads) {
            t.join();
        }
        throw;
    }
    for (std::thread& t : threads) {
        t.join();
    }
    std::sort(completed.begin(), completed.end());
    report.frames = static_cast<int64_t>(completed.size());
    report.busySeconds = busy;
    report.completed = completed;
    report.wallSeconds = std::chrono::duration<double>(Clock::now() - start).count();
    if (failure) {
        std::rethrow_exception(failure);
    }
}

std::string DescribeFrames(const std::vector<int64_t>& indices,
                           const std::function<int64_t(int64_t)>& frameNumber) {
    std::string text;
    size_t i = 0;
    while (i < indices.size()) {
        size_t j = i;
        while (j + 1 < indices.size() && indices[j + 1] == indices[j] + 1) {
            ++j;
        }
        if (!text.empty()) {
            text += ", ";
        }
        text += std::to_string(frameNumber(indices[i]));
        if (j > i) {
            text += "-" + std::to_string(frameNumber(indices[j]));
        }
        i = j + 1;
    }
    return text.empty() ? "none" : text;
}

}  // namespace quillon
