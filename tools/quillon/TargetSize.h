// The target size of a run, by the effect's rules: a row of the effect's 4K
// preset table (by position or text), a custom size (optionally kept in the
// source's proportions), or a width/height fit to a given box. The
// composition of the effect's "Fit To Comp" rows is an Ultra HD frame
// (3840x2160) unless --comp names one; pixels are square unless --pixel-aspect says otherwise.
#ifndef QUILLON_TOOLS_QUILLON_TARGETSIZE_H
#define QUILLON_TOOLS_QUILLON_TARGETSIZE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillon {

struct SizeSpec {
    std::optional<uint32_t> width;  // from --size; either may be missing with --keep-aspect
    std::optional<uint32_t> height;
};

enum class FitMode { None, Width, Height };

struct SizeRequest {
    std::optional<std::string>
        preset;                    // position ("25") or item text, any case, outer blanks ignored
    std::optional<SizeSpec> size;  // --size
    FitMode fit = FitMode::None;   // --fit
    bool keepAspect = false;       // --keep-aspect ("Constrain Proportions")
    double pixelAspect = 1.0;      // --pixel-aspect: the source's (layer's) pixel aspect
    std::optional<SizeSpec> comp;  // --comp: composition size; default Ultra HD
    double compPixelAspect = 1.0;  // --comp-pixel-aspect
};

// The composition that "Fit To Comp" fits when --comp is not given.
inline constexpr uint32_t kDefaultCompWidth = 3840;
inline constexpr uint32_t kDefaultCompHeight = 2160;
// Largest side the engine's tables hold.
inline constexpr uint32_t kEngineSideMax = 65535;
inline constexpr uint32_t kSourceSideMin = 4;

struct ResolvedSize {
    uint32_t width = 0;
    uint32_t height = 0;
    std::string how;  // a short description for messages and the summary
};

// The position (1-based) of a preset in the effect's 4K table. Throws
// QuillonError(UnknownPreset).
int FindPresetPosition(std::string_view nameOrPosition);

// Lines of `quillon presets`: "position  text  [size]  rule".
std::string ListPresets();

// "WxH", "W" / "Wx" (width only) or "xH" (height only). nullopt when malformed.
std::optional<SizeSpec> ParseSizeSpec(std::string_view text);

// The effect's constrained-proportions rule: the other side is
// trunc(max(side, 1) / ratio + 0.5) (or * ratio for a width), clamped to the
// custom range. A ratio of exactly 0 counts as 1.
uint32_t ConstrainedHeight(uint32_t width, double ratio);
uint32_t ConstrainedWidth(uint32_t height, double ratio);

// Computes the target size for a source. Throws QuillonError with Usage
// (contradictory or missing options), UnknownPreset or SizeOutOfRange (a
// custom side outside 100..8192).
ResolvedSize ResolveTargetSize(const SizeRequest& request, uint32_t sourceWidth,
                               uint32_t sourceHeight);

// Checks a source and target against the engine: sources at least 4 pixels a
// side, targets no smaller than the source (TargetTooSmall), no side above
// 65535 and a frame that the engine's 32-bit allocation sizes can hold
// (SizeOutOfRange).
void CheckScaleSizes(uint32_t sourceWidth, uint32_t sourceHeight, uint32_t targetWidth,
                     uint32_t targetHeight, int bits);

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_TARGETSIZE_H
