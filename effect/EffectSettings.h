// The effect's own settings, shared by the plug-in and the command-line
// tools: the Filter Type popup and the sliders with their ranges and
// defaults, the rule that turns them into the engine's options, the 8-bit
// kernel a render uses at each depth, and the host's channel whites.
#ifndef QUILLON_EFFECT_EFFECTSETTINGS_H
#define QUILLON_EFFECT_EFFECTSETTINGS_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace quillon {

// Popup values of "Filter Type" (1-based, as the host stores them).
enum class FilterType : int32_t { Draft = 1, Quick = 2, Better = 3, Best = 4 };

// The popup's item text, in popup order.
inline constexpr const char* kFilterTypeItems = "Draft|Quick|Better|Best";
inline constexpr int32_t kFilterTypeCount = 4;
inline constexpr FilterType kDefaultFilterType = FilterType::Quick;

struct SliderRange {
    int32_t minimum;
    int32_t maximum;
    int32_t standard;  // the default value
};

inline constexpr SliderRange kSharpnessRange{0, 25, 2};
inline constexpr SliderRange kQualityRange{0, 25, 8};
inline constexpr SliderRange kAntiAliasingRange{0, 10, 6};
// "Custom Width" and "Custom Height".
inline constexpr SliderRange kCustomSideRange{100, 8192, 0};

// The host's white: 8-bit channels run 0..255, 16-bit channels 0..32768.
inline constexpr uint32_t kWhite8 = 255;
inline constexpr uint32_t kWhite16 = 32768;

// EngineOptions for a Filter Type value and the Sharpness and Anti-aliasing
// sliders: Draft 0, Quick OPT_LANCZOS, Better OPT_REFINE, Best (and any
// value out of range) OPT_REFINE | OPT_LANCZOS; plus OPT_SHARPEN when
// Sharpness > 0 and OPT_ANTIALIAS when Anti-aliasing > 0.
uint32_t EngineOptionsFor(int32_t filterType, int32_t sharpness, int32_t antiAliasing);

// The engine's kernel variant for a render: 16-bit frames always take the
// cell kernel; 8-bit frames take the instance's choice (two-pass unless an
// instance says otherwise).
inline constexpr uint32_t kDefaultKernelVariant8 = 2;  // KERNEL_TWO_PASS
uint32_t KernelVariantFor(bool sixteenBit, uint32_t variant8);

// "draft", "quick", "better", "best" in any letter case, or the popup
// position 1..4.
std::optional<FilterType> ParseFilterType(std::string_view text);

// The item text shown by the effect: "Draft", "Quick", "Better", "Best".
const char* FilterTypeName(FilterType filter);

}  // namespace quillon

#endif  // QUILLON_EFFECT_EFFECTSETTINGS_H
