#include "tools/hostcheck/TableDump.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <vector>

#include "antialias/AntiAliasStages.h"
#include "core/CurveTables.h"
#include "core/WeightTables.h"
#include "engine/Dispatch.h"
#include "engine/Engine.h"
#include "engine/ScaleContext.h"

namespace quillon::hostcheck {
namespace {

// FNV-1a over the bytes of the values: identical bits give identical hashes.
class Fingerprint {
public:
    template <typename T>
    void Add(const T* values, std::size_t count) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(values);
        for (std::size_t i = 0; i < count * sizeof(T); ++i) {
            hash_ = (hash_ ^ bytes[i]) * 0x100000001B3ull;
        }
    }
    template <typename T>
    void Add(const T& value) {
        Add(&value, 1);
    }
    uint64_t value() const { return hash_; }

private:
    uint64_t hash_ = 0xCBF29CE484222325ull;
};

class Writer {
public:
    explicit Writer(std::FILE* file) : file_(file) {}
    void Line(const char* group, const std::string& setting, const Fingerprint& fingerprint) {
        std::fprintf(file_, "%s %s %016" PRIx64 "\n", group, setting.c_str(), fingerprint.value());
    }

private:
    std::FILE* file_;
};

struct ContextDeleter {
    ScaleContext* context = nullptr;
    ~ContextDeleter() { DestroyScaleContext(context); }
};

std::string Setting(const char* format, uint32_t a, uint32_t b = 0, uint32_t c = 0,
                    uint32_t d = 0) {
    char text[96];
    std::snprintf(text, sizeof(text), format, a, b, c, d);
    return text;
}

}  // namespace

bool WriteTableFingerprints(const std::string& path, std::string* error) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        if (error != nullptr) {
            *error = path + ": cannot write";
        }
        return false;
    }
    Writer out(file);
    bool ok = true;

    // Filter taps over a fine grid of fractions, as both weight builders use them.
    {
        Fingerprint lanczos;
        Fingerprint cubic;
        for (uint32_t i = 0; i <= 65536; ++i) {
            const double t = i / 65536.0;
            int16_t taps8[8];
            int16_t taps4[4];
            lanczosTaps(t, taps8);
            cubicTaps(t, -0.75f, taps4);
            lanczos.Add(taps8, 8);
            cubic.Add(taps4, 4);
        }
        out.Line("taps", "lanczos-grid", lanczos);
        out.Line("taps", "cubic-grid", cubic);
    }

    // Whole contexts: positions, weights in each kernel layout, and the curves.
    struct Size {
        uint32_t srcW, srcH, dstW, dstH;
    };
    const Size sizes[] = {{320, 180, 800, 450},    {320, 180, 3840, 2160}, {720, 480, 1920, 1080},
                          {1280, 720, 3840, 2160}, {101, 77, 1013, 999},   {64, 64, 65, 64}};
    const uint32_t optionSets[] = {OPT_LANCZOS | OPT_REFINE | OPT_SHARPEN,
                                   OPT_REFINE | OPT_SHARPEN};
    for (const Size& size : sizes) {
        for (uint32_t options : optionSets) {
            for (uint32_t depth : {uint32_t{DEPTH_8}, uint32_t{DEPTH_16}}) {
                for (uint32_t variant : {uint32_t{KERNEL_CELL}, uint32_t{KERNEL_TWO_PASS}}) {
                    if (depth == DEPTH_16 && variant != KERNEL_CELL) {
                        continue;
                    }
                    ContextDeleter holder;
                    if (CreateScaleContext(size.srcW, size.srcH, size.dstW, size.dstH, size.dstW,
                                           size.dstH, options, depth, variant, 2, 8, 6,
                                           &holder.context) != 0) {
                        ok = false;
                        continue;
                    }
                    const ScaleContext& c = *holder.context;
                    Fingerprint positions;
                    positions.Add(c.columnFrac, c.dstWidth);
                    positions.Add(c.rowFrac, c.dstHeight);
                    positions.Add(c.columnIndex, c.dstWidth);
                    positions.Add(c.rowIndex, c.dstHeight);
                    positions.Add(c.columnSpanEnd, c.srcWidth - 1);
                    positions.Add(c.rowSpanEnd, c.srcHeight - 1);
                    // The weights as the taps of each position, in both filters.
                    Fingerprint weights;
                    for (uint32_t x = 0; x < c.dstWidth; ++x) {
                        int16_t taps8[8];
                        int16_t taps4[4];
                        lanczosTaps(c.columnFrac[x], taps8);
                        cubicTaps(c.columnFrac[x], -0.75f, taps4);
                        weights.Add(taps8, 8);
                        weights.Add(taps4, 4);
                    }
                    const std::string setting =
                        Setting("%ux%u->%ux%u", size.srcW, size.srcH, size.dstW, size.dstH) +
                        Setting("/options%u/depth%u/variant%u", options, depth, variant);
                    out.Line("positions", setting, positions);
                    out.Line("weights", setting, weights);
                    // The weight tables in the kernel's own layout.
                    const KernelTable choice = ChooseKernels(
                        depth, variant, (options & OPT_LANCZOS) != 0, CpuLevel::Scalar);
                    Fingerprint layout;
                    layout.Add(c.columnWeights,
                               std::size_t{c.dstWidth} * WeightEntryValues(choice.columnLayout));
                    layout.Add(c.rowWeights,
                               std::size_t{c.dstHeight} * WeightEntryValues(choice.rowLayout));
                    out.Line("layout", setting, layout);
                }
            }
        }
    }

    // Every slider value: the derived controls and the curves built from them.
    for (uint32_t value = 0; value <= 25; ++value) {
        ContextDeleter holder;
        if (CreateScaleContext(16, 16, 40, 40, 40, 40, OPT_REFINE | OPT_SHARPEN | OPT_ANTIALIAS,
                               DEPTH_8, KERNEL_CELL, value, value, value <= 10 ? value : 10,
                               &holder.context) != 0) {
            ok = false;
            continue;
        }
        const ScaleContext& c = *holder.context;
        Fingerprint controls;
        controls.Add(c.refineShape);
        controls.Add(c.sharpenGain);
        controls.Add(c.aaFollow);
        controls.Add(c.aaMix);
        controls.Add(c.aaSpread);
        Fingerprint refine;
        // Row 0 (an empty range) is never built nor read.
        refine.Add(c.refineCurve + kRefineCurveColumns,
                   std::size_t{kRefineCurveRows - 1} * kRefineCurveColumns);
        Fingerprint sharpen;
        sharpen.Add(c.sharpenCurve, std::size_t{kSharpenCurveSize});
        const std::string setting = Setting("slider%u", value);
        out.Line("controls", setting, controls);
        out.Line("refine-curve", setting, refine);
        out.Line("sharpen-curve", setting, sharpen);
    }

    // The anti-aliasing window for every enlargement the spread allows.
    for (uint32_t ratio = 1; ratio <= 12; ++ratio) {
        for (uint32_t spread = 1; spread <= 2; ++spread) {
            const aa::SpotGeometry geometry =
                aa::spotGeometry(100, 100 * ratio, static_cast<float>(spread));
            Fingerprint window;
            if (geometry.valid) {
                std::vector<double> weights(geometry.doubles);
                aa::buildSpotWeights(weights.data(), weights.size());
                window.Add(weights.data(), weights.size());
            }
            out.Line("spot-window", Setting("ratio%u/spread%u", ratio, spread), window);
        }
    }

    const bool written = std::fclose(file) == 0;
    if (!ok && error != nullptr) {
        *error = "an engine context could not be created";
    } else if (!written && error != nullptr) {
        *error = path + ": cannot write";
    }
    return ok && written;
}

}  // namespace quillon::hostcheck
