#include "TargetSize.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "Errors.h"
#include "effect/EffectSettings.h"
#include "effect/SizePresets.h"

namespace quillon {

namespace {

// The tool behaves as the effect does under After Effects, whose 4K table
// includes the "Fit To Comp" rows.
const SizePreset* Table() {
    return FourKPresetTable(false);
}

std::string Normalise(std::string_view text) {
    size_t begin = 0;
    size_t end = text.size();
    while (begin < end && std::isspace(static_cast<unsigned char>(text[begin]))) {
        ++begin;
    }
    while (end > begin && std::isspace(static_cast<unsigned char>(text[end - 1]))) {
        --end;
    }
    std::string out(text.substr(begin, end - begin));
    std::transform(out.begin(), out.end(), out.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return out;
}

std::optional<uint32_t> ParseUnsigned(std::string_view text) {
    if (text.empty() || text.size() > 9) {
        return std::nullopt;
    }
    uint32_t value = 0;
    const auto r = std::from_chars(text.data(), text.data() + text.size(), value);
    if (r.ec != std::errc() || r.ptr != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

std::string SizeText(uint32_t w, uint32_t h) {
    return std::to_string(w) + "x" + std::to_string(h);
}

// Written with append: GCC 12 misreports chains of operator+ at -O3.
std::string PresetLabel(int position, const char* text) {
    std::string label = "preset ";
    label.append(std::to_string(position)).append(" \"").append(text).append("\"");
    return label;
}

uint32_t ClampCustom(double value) {
    const uint32_t v = TruncateToUnsigned(value);
    return std::clamp(v, static_cast<uint32_t>(kCustomSideRange.minimum),
                      static_cast<uint32_t>(kCustomSideRange.maximum));
}

void CheckCustomSide(uint32_t value, const char* side) {
    if (value < static_cast<uint32_t>(kCustomSideRange.minimum) ||
        value > static_cast<uint32_t>(kCustomSideRange.maximum)) {
        throw QuillonError(ExitCode::SizeOutOfRange,
                           std::string("--size ") + side + " " + std::to_string(value) +
                               " is outside the custom size range 100..8192");
    }
}

TargetSize FitToBox(uint32_t boxWidth, uint32_t boxHeight, FitMode fit, const SizeRequest& r,
                    uint32_t sw, uint32_t sh) {
    const SizePreset box[] = {
        {"", boxWidth, boxHeight,
         fit == FitMode::Width ? PRESET_MODE_FIT_WIDTH : PRESET_MODE_FIT_HEIGHT, 0},
        {nullptr, 0, 0, 0, 0},
    };
    TargetSizeInputs in;
    in.preset = 1;
    in.compWidth = boxWidth;
    in.compHeight = boxHeight;
    in.compAspect = r.compPixelAspect;
    in.layerAspect = r.pixelAspect;
    in.sourceWidth = sw;
    in.sourceHeight = sh;
    return ComputeTargetSize(box, in);
}

}  // namespace

int FindPresetPosition(std::string_view nameOrPosition) {
    const SizePreset* table = Table();
    const int count = PresetCount(table);
    if (const auto position = ParseUnsigned(nameOrPosition)) {
        if (*position >= 1 && static_cast<int>(*position) <= count) {
            return static_cast<int>(*position);
        }
        throw QuillonError(ExitCode::UnknownPreset,
                           "unknown preset " + std::string(nameOrPosition) + " (positions are 1.." +
                               std::to_string(count) + "; see 'quillon presets')");
    }
    const std::string wanted = Normalise(nameOrPosition);
    for (int position = 1; position <= count; ++position) {
        const SizePreset* row = FindPreset(table, position);
        if (std::string_view(row->text) != "(-" && Normalise(row->text) == wanted) {
            return position;
        }
    }
    throw QuillonError(ExitCode::UnknownPreset, "unknown preset '" + std::string(nameOrPosition) +
                                                    "' (see 'quillon presets')");
}

std::string ListPresets() {
    std::string out;
    const SizePreset* table = Table();
    const int count = PresetCount(table);
    for (int position = 1; position <= count; ++position) {
        const SizePreset* row = FindPreset(table, position);
        if (std::string_view(row->text) == "(-") {
            continue;
        }
        char line[160];
        const char* rule = row->mode == PRESET_MODE_FIT_HEIGHT  ? "fit to height"
                           : row->mode == PRESET_MODE_FIT_WIDTH ? "fit to width"
                                                                : "--size decides";
        std::snprintf(line, sizeof line, "%3d  %-56s %s\n", position,
                      ("\"" + std::string(row->text) + "\"").c_str(), rule);
        out += line;
    }
    return out;
}

std::optional<SizeSpec> ParseSizeSpec(std::string_view text) {
    const size_t x = text.find_first_of("xX");
    SizeSpec spec;
    if (x == std::string_view::npos) {
        spec.width = ParseUnsigned(text);
        return spec.width ? std::optional<SizeSpec>(spec) : std::nullopt;
    }
    const std::string_view w = text.substr(0, x);
    const std::string_view h = text.substr(x + 1);
    if (!w.empty()) {
        spec.width = ParseUnsigned(w);
        if (!spec.width) {
            return std::nullopt;
        }
    }
    if (!h.empty()) {
        spec.height = ParseUnsigned(h);
        if (!spec.height) {
            return std::nullopt;
        }
    }
    if (!spec.width && !spec.height) {
        return std::nullopt;
    }
    return spec;
}

uint32_t ConstrainedHeight(uint32_t width, double ratio) {
    const double r = ratio == 0.0 ? 1.0 : ratio;
    return ClampCustom(static_cast<double>(std::max(width, 1u)) / r + 0.5);
}

uint32_t ConstrainedWidth(uint32_t height, double ratio) {
    const double r = ratio == 0.0 ? 1.0 : ratio;
    return ClampCustom(static_cast<double>(std::max(height, 1u)) * r + 0.5);
}

ResolvedSize ResolveTargetSize(const SizeRequest& r, uint32_t sw, uint32_t sh) {
    if (!(r.pixelAspect > 0.0) || !std::isfinite(r.pixelAspect) || !(r.compPixelAspect > 0.0) ||
        !std::isfinite(r.compPixelAspect)) {
        throw QuillonError(ExitCode::Usage, "pixel aspect ratios must be positive numbers");
    }
    // Files have no composition: the "Fit To Comp" presets fit an Ultra HD
    // frame unless --comp names another.
    const uint32_t compW = r.comp && r.comp->width ? *r.comp->width : kDefaultCompWidth;
    const uint32_t compH = r.comp && r.comp->height ? *r.comp->height : kDefaultCompHeight;

    auto customSize = [&]() -> ResolvedSize {
        if (!r.size) {
            throw QuillonError(ExitCode::Usage, "this size needs --size WxH");
        }
        const double ratio = static_cast<double>(sw) / static_cast<double>(sh);
        ResolvedSize out;
        if (r.keepAspect && r.size->width) {
            CheckCustomSide(*r.size->width, "width");
            out.width = *r.size->width;
            out.height = ConstrainedHeight(out.width, ratio);
        } else if (r.keepAspect && r.size->height) {
            CheckCustomSide(*r.size->height, "height");
            out.height = *r.size->height;
            out.width = ConstrainedWidth(out.height, ratio);
        } else if (r.size->width && r.size->height) {
            CheckCustomSide(*r.size->width, "width");
            CheckCustomSide(*r.size->height, "height");
            out.width = *r.size->width;
            out.height = *r.size->height;
        } else {
            throw QuillonError(ExitCode::Usage,
                               "--size needs both sides (WxH) unless --keep-aspect is given");
        }
        out.how = std::string(r.keepAspect ? "custom, proportions kept" : "custom");
        return out;
    };

    if (r.preset) {
        if (r.fit != FitMode::None) {
            throw QuillonError(ExitCode::Usage, "--fit cannot be combined with --preset");
        }
        const int position = FindPresetPosition(*r.preset);
        const SizePreset* row = FindPreset(Table(), position);
        if (row->mode == PRESET_MODE_NONE) {
            ResolvedSize out = customSize();
            std::string how = PresetLabel(position, row->text);
            how.append(", ").append(out.how);
            out.how = how;
            return out;
        }
        if (r.size) {
            throw QuillonError(ExitCode::Usage, "--size only goes with the \"Custom\" preset");
        }
        TargetSizeInputs in;
        in.preset = position;
        in.compWidth = compW;
        in.compHeight = compH;
        in.compAspect = r.compPixelAspect;
        in.layerAspect = r.pixelAspect;
        in.sourceWidth = sw;
        in.sourceHeight = sh;
        const TargetSize t = ComputeTargetSize(Table(), in);
        return {t.width, t.height, PresetLabel(position, row->text)};
    }
    if (r.fit != FitMode::None) {
        uint32_t boxW = compW;
        uint32_t boxH = compH;
        if (r.size) {
            if (!r.size->width || !r.size->height) {
                throw QuillonError(ExitCode::Usage, "--fit needs a full --size WxH box");
            }
            boxW = *r.size->width;
            boxH = *r.size->height;
        }
        const TargetSize t = FitToBox(boxW, boxH, r.fit, r, sw, sh);
        return {
            t.width, t.height,
            SizeText(boxW, boxH) + (r.fit == FitMode::Width ? " fit to width" : " fit to height")};
    }
    if (r.size) {
        return customSize();
    }
    // The effect's default under After Effects: preset 2, "Fit To Comp Width".
    SizeRequest fallback = r;
    fallback.preset = "2";
    return ResolveTargetSize(fallback, sw, sh);
}

void CheckScaleSizes(uint32_t sw, uint32_t sh, uint32_t tw, uint32_t th, int bits) {
    if (sw < kSourceSideMin || sh < kSourceSideMin) {
        throw QuillonError(ExitCode::SizeOutOfRange,
                           "the source is " + SizeText(sw, sh) +
                               "; sources must be at least 4 pixels wide and high");
    }
    if (sw > kEngineSideMax || sh > kEngineSideMax) {
        throw QuillonError(ExitCode::SizeOutOfRange, "the source is " + SizeText(sw, sh) +
                                                         "; the engine takes at most 65535 a side");
    }
    if (tw > kEngineSideMax || th > kEngineSideMax ||
        uint64_t{tw} * th * (bits == 16 ? 8u : 4u) > uint64_t{UINT32_MAX}) {
        throw QuillonError(ExitCode::SizeOutOfRange,
                           "the target " + SizeText(tw, th) + " is beyond the engine's limits");
    }
    if (tw < sw || th < sh) {
        throw QuillonError(ExitCode::TargetTooSmall,
                           "the target " + SizeText(tw, th) + " is smaller than the source " +
                               SizeText(sw, sh) + "; quillon only enlarges");
    }
}

}  // namespace quillon
