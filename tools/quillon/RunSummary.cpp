#include "RunSummary.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <cmath>
#include <cstdio>

#include "Options.h"
#include "core/CpuLevel.h"
#include "engine/Engine.h"

namespace quillon {

double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::vector<std::pair<std::string, double>> NamedStages(const StageTimes& times,
                                                        const char* readName,
                                                        const char* writeName) {
    return {{readName, times.read},
            {"convert_in", times.convertIn},
            {"engine", times.engine},
            {"convert_out", times.convertOut},
            {writeName, times.write}};
}

void DescribeScale(RunSummary& summary, const FrameScaler& scaler, const std::string& sizeRule) {
    const ScaleSettings& s = scaler.settings();
    summary.sourceWidth = s.srcWidth;
    summary.sourceHeight = s.srcHeight;
    summary.targetWidth = s.dstWidth;
    summary.targetHeight = s.dstHeight;
    summary.bits = s.bits;
    summary.sizeRule = sizeRule;
    summary.filter = FilterTypeName(s.controls.filter);
    summary.sharpness = s.controls.sharpness;
    summary.quality = s.controls.quality;
    summary.antiAliasing = s.controls.antiAliasing;
    summary.engineOptions = scaler.engineOptions();
    summary.kernel = EightBitKernelName(static_cast<EightBitKernel>(
        KernelVariantFor(s.bits == 16, static_cast<uint32_t>(s.kernel))));
}

namespace {

std::string Number(double value) {
    if (!std::isfinite(value)) {
        return "null";
    }
    char text[64];
    std::snprintf(text, sizeof text, "%.6f", value);
    return text;
}

}  // namespace

std::string DescribeColour(const ColourDescription& c) {
    auto name = [](const char* text) { return std::string(text != nullptr ? text : "?"); };
    return name(av_color_space_name(c.matrix)) + "/" + name(av_color_primaries_name(c.primaries)) +
           "/" + name(av_color_transfer_name(c.transfer)) + "/" +
           name(av_color_range_name(c.range));
}

std::string JsonString(const std::string& text) {
    std::string out = "\"";
    for (const char ch : text) {
        const auto c = static_cast<unsigned char>(ch);
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if (c < 0x20) {
                    char esc[8];
                    std::snprintf(esc, sizeof esc, "\\u%04x", c);
                    out += esc;
                } else {
                    out += ch;
                }
        }
    }
    out += "\"";
    return out;
}

std::string ToJson(const RunSummary& s) {
    std::string j = "{";
    j += "\"command\":" + JsonString(s.command);
    j += ",\"kind\":" + JsonString(s.kind);
    j += ",\"input\":" + JsonString(s.input);
    j += ",\"output\":" + JsonString(s.output);
    j += ",\"frames\":" + std::to_string(s.frames);
    j += ",\"source\":{\"width\":" + std::to_string(s.sourceWidth) +
         ",\"height\":" + std::to_string(s.sourceHeight) + "}";
    j += ",\"target\":{\"width\":" + std::to_string(s.targetWidth) +
         ",\"height\":" + std::to_string(s.targetHeight) + "}";
    j += ",\"bits\":" + std::to_string(s.bits);
    j += ",\"size_rule\":" + JsonString(s.sizeRule);
    j += ",\"filter\":" + JsonString(s.filter);
    j += ",\"sharpness\":" + std::to_string(s.sharpness);
    j += ",\"quality\":" + std::to_string(s.quality);
    j += ",\"anti_aliasing\":" + std::to_string(s.antiAliasing);
    j += ",\"engine_options\":" + std::to_string(s.engineOptions);
    j += ",\"kernel\":" + JsonString(s.kernel);
    j += ",\"cpu_level\":" +
         JsonString(std::string(CpuLevelName(static_cast<CpuLevel>(GetEngineCpuLevel()))));
    j += ",\"threads\":" + std::to_string(GetEngineThreads());
    if (!s.codec.empty()) {
        j += ",\"codec\":" + JsonString(s.codec);
    }
    if (!s.sourceColour.empty()) {
        j += ",\"source_colour\":" + JsonString(s.sourceColour);
        j += ",\"output_colour\":" + JsonString(s.outputColour);
    }
    double busy = 0;
    j += ",\"seconds\":{\"total\":" + Number(s.totalSeconds);
    for (const auto& [name, seconds] : s.stageSeconds) {
        j += "," + JsonString(name) + ":" + Number(seconds);
        busy += seconds;
    }
    j += "}";
    // Stage seconds over wall seconds: above 1 when stages overlap.
    j += ",\"overlap\":" + Number(s.totalSeconds > 0 ? busy / s.totalSeconds : 0.0);
    const double fps = s.totalSeconds > 0 ? static_cast<double>(s.frames) / s.totalSeconds : 0.0;
    j += ",\"frames_per_second\":" + Number(fps);
    j += "}";
    return j;
}

}  // namespace quillon
