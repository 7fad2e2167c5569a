#include "EffectControls.h"

#include <algorithm>
#include <cctype>

#include "engine/Engine.h"

namespace quillon {

std::optional<FilterType> ParseFilterType(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (lower == "draft" || lower == "1") {
        return FilterType::Draft;
    }
    if (lower == "quick" || lower == "2") {
        return FilterType::Quick;
    }
    if (lower == "better" || lower == "3") {
        return FilterType::Better;
    }
    if (lower == "best" || lower == "4") {
        return FilterType::Best;
    }
    return std::nullopt;
}

const char* FilterTypeName(FilterType filter) {
    switch (filter) {
        case FilterType::Draft:
            return "Draft";
        case FilterType::Quick:
            return "Quick";
        case FilterType::Better:
            return "Better";
        case FilterType::Best:
            return "Best";
    }
    return "Best";
}

uint32_t EngineOptionsFor(const EffectControls& controls) {
    uint32_t options = 0;
    switch (controls.filter) {
        case FilterType::Draft:
            options = 0;
            break;
        case FilterType::Quick:
            options = OPT_LANCZOS;
            break;
        case FilterType::Better:
            options = OPT_REFINE;
            break;
        case FilterType::Best:
        default:
            options = OPT_REFINE | OPT_LANCZOS;
            break;
    }
    if (controls.sharpness > 0) {
        options |= OPT_SHARPEN;
    }
    if (controls.antiAliasing > 0) {
        options |= OPT_ANTIALIAS;
    }
    return options;
}

}  // namespace quillon
