// The overlapped frame pipeline: order, bounded slots, the thread cap, the
// end of input and failures reported with their frame.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <vector>

#include "FramePipeline.h"

namespace quillon {
namespace {

// A few microseconds of work that differs per frame, so workers finish out
// of order.
void Work(int64_t index) {
    std::this_thread::sleep_for(std::chrono::microseconds(50 + (index * 7919) % 400));
}

struct Probe {
    std::mutex mutex;
    std::vector<int64_t> encoderOrder;  // frames as the one-worker stage saw them
    std::vector<int64_t> slotFrame;     // frame currently owning each slot
    std::atomic<int> busy{0};
    std::atomic<int> maxBusy{0};
    bool slotClash = false;

    explicit Probe(size_t slots) : slotFrame(slots, -1) {}

    void Enter() {
        const int now = ++busy;
        int seen = maxBusy.load();
        while (now > seen && !maxBusy.compare_exchange_weak(seen, now)) {
        }
    }
};

class Pipeline : public ::testing::TestWithParam<std::tuple<int, int, size_t>> {};

TEST_P(Pipeline, KeepsOrderSlotsAndTheThreadCap) {
    const auto [workers, tokens, slots] = GetParam();
    Probe probe(slots);
    std::vector<PipelineStage> stages;
    stages.push_back({"read", workers, [&](int64_t i, size_t slot) {
                          probe.Enter();
                          {
                              const std::lock_guard lock(probe.mutex);
                              // The slot's previous frame must have left the pipeline.
                              probe.slotClash |= probe.slotFrame[slot] != -1;
                              probe.slotFrame[slot] = i;
                          }
                          Work(i);
                          --probe.busy;
                          return true;
                      }});
    stages.push_back({"engine", 1, [&](int64_t i, size_t slot) {
                          probe.Enter();
                          {
                              const std::lock_guard lock(probe.mutex);
                              probe.slotClash |= probe.slotFrame[slot] != i;
                          }
                          Work(i + 1);
                          --probe.busy;
                          return true;
                      }});
    stages.push_back({"write", workers, [&](int64_t i, size_t) {
                          probe.Enter();
                          Work(i + 2);
                          --probe.busy;
                          return true;
                      }});
    stages.push_back({"encode", 1, [&](int64_t i, size_t slot) {
                          const std::lock_guard lock(probe.mutex);
                          probe.encoderOrder.push_back(i);
                          probe.slotClash |= probe.slotFrame[slot] != i;
                          probe.slotFrame[slot] = -1;
                          return true;
                      }});
    FramePipeline pipeline(std::move(stages), slots, tokens);
    PipelineReport report;
    int64_t doneCalls = 0;
    pipeline.Run(
        37, [&](int64_t) { ++doneCalls; }, report);
    ASSERT_EQ(report.frames, 37);
    EXPECT_EQ(doneCalls, 37);
    EXPECT_FALSE(probe.slotClash);
    ASSERT_EQ(probe.encoderOrder.size(), 37u);
    for (size_t i = 0; i < probe.encoderOrder.size(); ++i) {
        EXPECT_EQ(probe.encoderOrder[i], static_cast<int64_t>(i));
    }
    EXPECT_LE(probe.maxBusy.load(), tokens);
    EXPECT_EQ(report.busySeconds.size(), 4u);
    EXPECT_GT(report.busySeconds[0], 0.0);
}

// {workers of the parallel stages, busy-thread cap, slots}
INSTANTIATE_TEST_SUITE_P(Shapes, Pipeline,
                         ::testing::Values(std::tuple{1, 1, size_t{1}}, std::tuple{3, 2, size_t{2}},
                                           std::tuple{4, 4, size_t{7}},
                                           std::tuple{2, 8, size_t{3}}));

TEST(PipelineEnd, FirstStageEndsTheInputAndNothingPastItRuns) {
    std::atomic<int64_t> lastWritten{-1};
    std::vector<PipelineStage> stages;
    stages.push_back({"decode", 1, [](int64_t i, size_t) { return i < 5; }});
    stages.push_back({"encode", 1, [&](int64_t i, size_t) {
                          lastWritten = i;
                          return true;
                      }});
    FramePipeline pipeline(std::move(stages), 3, 2);
    PipelineReport report;
    pipeline.Run(-1, nullptr, report);
    EXPECT_EQ(report.frames, 5);
    EXPECT_EQ(lastWritten.load(), 4);
}

// A failure stops the run; the earliest failing frame's error comes out, and
// the frames that made it through every stage are listed.
TEST(PipelineFailure, EarliestFailingFrameIsReportedWithTheCompleteOnes) {
    std::vector<PipelineStage> stages;
    stages.push_back({"read", 2, [](int64_t i, size_t) {
                          if (i == 9) {
                              throw std::runtime_error("frame 9 is corrupt");
                          }
                          return true;
                      }});
    stages.push_back({"write", 2, [](int64_t i, size_t) {
                          Work(i);
                          return true;
                      }});
    FramePipeline pipeline(std::move(stages), 4, 2);
    PipelineReport report;
    try {
        pipeline.Run(20, nullptr, report);
        FAIL() << "the failure must come out";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "frame 9 is corrupt");
    }
    EXPECT_LE(report.frames, 9);
    for (const int64_t f : report.completed) {
        EXPECT_LT(f, 9);
    }
    EXPECT_EQ(DescribeFrames({0, 1, 2, 4, 6, 7}, [](int64_t i) { return i + 101; }),
              "101-103, 105, 107-108");
    EXPECT_EQ(DescribeFrames({}, [](int64_t i) { return i; }), "none");
}

}  // namespace
}  // namespace quillon
