#include "effect/EffectSettings.h"

#include <algorithm>
#include <cctype>
#include <string>

#include "engine/Engine.h"

namespace quillon {

static_assert(kDefaultKernelVariant8 == KERNEL_TWO_PASS);

uint32_t EngineOptionsFor(int32_t filterType, int32_t sharpness, int32_t antiAliasing) {
    uint32_t options = 0;
    switch (filterType) {
        case static_cast<int32_t>(FilterType::Draft):
            options = 0;
            break;
        case static_cast<int32_t>(FilterType::Quick):
            options = OPT_LANCZOS;
            break;
        case static_cast<int32_t>(FilterType::Better):
            options = OPT_REFINE;
            break;
        default:
            options = OPT_REFINE | OPT_LANCZOS;
            break;
    }
    if (sharpness > 0) {
        options |= OPT_SHARPEN;
    }
    if (antiAliasing > 0) {
        options |= OPT_ANTIALIAS;
    }
    return options;
}

uint32_t KernelVariantFor(bool sixteenBit, uint32_t variant8) {
    return sixteenBit ? uint32_t{KERNEL_CELL} : variant8;
}

std::optional<FilterType> ParseFilterType(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (int32_t v = 1; v <= kFilterTypeCount; ++v) {
        const auto filter = static_cast<FilterType>(v);
        std::string name = FilterTypeName(filter);
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        if (lower == name || lower == std::to_string(v)) {
            return filter;
        }
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

}  // namespace quillon
