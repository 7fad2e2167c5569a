// The effect's own controls as the tool exposes them: Filter Type, Sharpness,
// Quality and Anti-aliasing, with the effect's defaults and ranges, and the
// mapping from them to the engine's option bits.
#ifndef QUILLON_TOOLS_QUILLON_EFFECTCONTROLS_H
#define QUILLON_TOOLS_QUILLON_EFFECTCONTROLS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillon {

// Popup values of "Filter Type" (1-based, as the host stores them).
enum class FilterType : int { Draft = 1, Quick = 2, Better = 3, Best = 4 };

struct EffectControls {
    FilterType filter = FilterType::Quick;
    int sharpness = 2;     // 0..25
    int quality = 8;       // 0..25
    int antiAliasing = 6;  // 0..10
};

inline constexpr int kSharpnessMax = 25;
inline constexpr int kQualityMax = 25;
inline constexpr int kAntiAliasingMax = 10;

// "draft", "quick", "better", "best" in any letter case, or the popup
// position 1..4.
std::optional<FilterType> ParseFilterType(std::string_view text);

// The item text shown by the effect: "Draft", "Quick", "Better", "Best".
const char* FilterTypeName(FilterType filter);

// EngineOptions exactly as the effect's render handler builds them: the
// filter's base value, plus OPT_SHARPEN when Sharpness > 0 and OPT_ANTIALIAS
// when Anti-aliasing > 0.
uint32_t EngineOptionsFor(const EffectControls& controls);

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_EFFECTCONTROLS_H
