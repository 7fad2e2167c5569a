// Image sequences named by a printf-style frame-number pattern, such as
// "shot.%04d.dpx" or "plate_%d.png", and frame ranges "FIRST-LAST".
#ifndef QUILLON_TOOLS_QUILLON_SEQUENCEPATTERN_H
#define QUILLON_TOOLS_QUILLON_SEQUENCEPATTERN_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

struct FrameRange {
    int64_t first = 0;
    int64_t last = 0;
    int64_t count() const { return last - first + 1; }
};

class SequencePattern {
public:
    // A pattern holds exactly one "%d" or "%0Nd" (N 1..9); "%%" stands for a
    // literal percent sign. Anything else gives nullopt.
    static std::optional<SequencePattern> Parse(std::string_view text);

    // The file name of one frame: the number zero-padded to the pattern's
    // width (negative numbers are not frames and are rejected by callers).
    std::string Format(int64_t frame) const;

    // The frame number of path when it matches the pattern (same folder part,
    // prefix, digits of at least the pattern's width, suffix).
    std::optional<int64_t> Match(std::string_view path) const;

    // Frames of the pattern that exist on disk, in increasing order.
    std::vector<int64_t> ExistingFrames() const;

    const std::string& prefix() const { return prefix_; }
    const std::string& suffix() const { return suffix_; }
    int width() const { return width_; }

private:
    std::string prefix_;
    std::string suffix_;
    int width_ = 0;
};

// True when text contains a '%' conversion that would make it a pattern.
bool LooksLikePattern(std::string_view text);

// "FIRST-LAST" or a single "N", non-negative, FIRST <= LAST.
std::optional<FrameRange> ParseFrameRange(std::string_view text);

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_SEQUENCEPATTERN_H
