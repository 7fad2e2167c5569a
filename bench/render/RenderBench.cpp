// One render call through the plug-in's entry point (host simulator, HD
// photo to 3840 x 2160), the pixel conversions of such a render alone, and
// OpenCV's bicubic resize of the same frame on one thread. "frame_time" is
// seconds per frame.
#include <benchmark/benchmark.h>

#include <png.h>
#include "bench/support/BenchMain.h"

#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "host/PixelConversion.h"
#include "tools/hostsim/HostSimulator.h"

#ifdef QUILLON_BENCH_WITH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

using quillon::hostsim::HostIdentity;
using quillon::hostsim::HostSimulator;

constexpr int32_t kSrcWidth = 1920;
constexpr int32_t kSrcHeight = 1080;
constexpr int32_t kDstWidth = 3840;
constexpr int32_t kDstHeight = 2160;

// The HD photo as 8-bit RGB, or empty.
std::vector<uint8_t> LoadPhotoRgb() {
    std::vector<uint8_t> rgb;
    const std::string path = std::string(QUILLON_TEST_ASSETS) + "/photos/cups_1920x1080.png";
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        return rgb;
    }
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    std::vector<png_bytep> rows;
    if (png == nullptr || info == nullptr || setjmp(png_jmpbuf(png)) != 0) {
        png_destroy_read_struct(&png, &info, nullptr);
        std::fclose(file);
        return {};
    }
    png_init_io(png, file);
    png_read_info(png, info);
    png_set_expand(png);
    png_set_strip_16(png);
    png_set_strip_alpha(png);
    png_set_gray_to_rgb(png);
    png_read_update_info(png, info);
    if (png_get_image_width(png, info) != kSrcWidth ||
        png_get_image_height(png, info) != kSrcHeight) {
        png_destroy_read_struct(&png, &info, nullptr);
        std::fclose(file);
        return {};
    }
    rgb.resize(std::size_t{kSrcWidth} * kSrcHeight * 3);
    rows.resize(kSrcHeight);
    for (int32_t y = 0; y < kSrcHeight; ++y) {
        rows[static_cast<std::size_t>(y)] = rgb.data() + std::size_t{kSrcWidth} * 3 * y;
    }
    png_read_image(png, rows.data());
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
    return rgb;
}

const std::vector<uint8_t>& PhotoRgb() {
    static const std::vector<uint8_t> rgb = LoadPhotoRgb();
    return rgb;
}

// Host pixels (alpha, red, green, blue) of the photo, opaque.
template <typename Sample>
void FillFromPhoto(uint8_t* data, int32_t rowBytes) {
    const std::vector<uint8_t>& rgb = PhotoRgb();
    const uint32_t white = sizeof(Sample) == 1 ? 255 : 32768;
    for (int32_t y = 0; y < kSrcHeight; ++y) {
        auto* row = reinterpret_cast<Sample*>(data + static_cast<std::ptrdiff_t>(y) * rowBytes);
        for (int32_t x = 0; x < kSrcWidth; ++x) {
            const uint8_t* p = rgb.data() + (std::size_t{kSrcWidth} * y + x) * 3;
            row[4 * x + 0] = static_cast<Sample>(white);
            for (int c = 0; c < 3; ++c) {
                row[4 * x + 1 + c] = static_cast<Sample>(p[c] * white / 255);
            }
        }
    }
}

void SetFrameCounters(benchmark::State& state) {
    state.counters["frame_time"] = benchmark::Counter(
        1.0, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// filterType: the popup value; the sliders are off so that the figures are
// the resampling alone, unless `withDefaults` keeps the effect's defaults.
void PluginRender(benchmark::State& state, bool deep, int32_t filterType, bool withDefaults) {
    if (PhotoRgb().empty()) {
        state.SkipWithError("photo not found");
        return;
    }
    HostSimulator host(HostIdentity::AfterEffects);
    std::string error;
    if (!host.LoadPlugin(QUILLON_PLUGIN_PATH, &error) || host.SetUpInstance() != PF_Err_NONE) {
        state.SkipWithError(("plug-in not usable: " + error).c_str());
        return;
    }
    host.SetInputLayer(kSrcWidth, kSrcHeight, deep, 0);
    host.SetOutputWorld(kDstWidth, kDstHeight, deep, 0);
    if (deep) {
        FillFromPhoto<uint16_t>(host.inputWorld().Row(0), host.inputWorld().def.rowbytes);
    } else {
        FillFromPhoto<uint8_t>(host.inputWorld().Row(0), host.inputWorld().def.rowbytes);
    }
    host.param(9).u.pd.value = filterType;
    if (!withDefaults) {
        host.param(10).u.sd.value = 0;  // Sharpness
        host.param(12).u.sd.value = 0;  // Anti-aliasing
    }
    for (auto _ : state) {
        if (host.Send(PF_Cmd_RENDER) != PF_Err_NONE) {
            state.SkipWithError("render failed");
            break;
        }
        benchmark::DoNotOptimize(host.outputWorld().buffer.data());
    }
    SetFrameCounters(state);
}

BENCHMARK_CAPTURE(PluginRender, Draft8, false, 1, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(PluginRender, Quick8, false, 2, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(PluginRender, Quick8Defaults, false, 2, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(PluginRender, Draft16, true, 1, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(PluginRender, Quick16, true, 2, false)->Unit(benchmark::kMillisecond);

// The two conversions of one render: the HD input into its working frame
// and the 4K working frame into the output world.
template <typename Sample>
void Conversions(benchmark::State& state) {
    const bool deep = sizeof(Sample) == 2;
    const uint32_t white = deep ? 32768 : 255;
    quillon::hostsim::World input;
    quillon::hostsim::World output;
    input.Allocate(kSrcWidth, kSrcHeight, deep, 0);
    output.Allocate(kDstWidth, kDstHeight, deep, 0);
    FillFromPhoto<Sample>(input.Row(0), input.def.rowbytes);
    std::vector<Sample> source(std::size_t{kSrcWidth} * kSrcHeight * 4);
    std::vector<Sample> destination(std::size_t{kDstWidth} * kDstHeight * 4, Sample{7});
    for (auto _ : state) {
        quillon::host::ReadCropCentre(input.def, source.data(), kSrcWidth, kSrcHeight, white);
        quillon::host::WriteCentre(destination.data(), output.def, kDstWidth, kDstHeight, white);
        benchmark::DoNotOptimize(source.data());
        benchmark::DoNotOptimize(output.buffer.data());
        benchmark::ClobberMemory();
    }
    SetFrameCounters(state);
}

BENCHMARK_TEMPLATE(Conversions, uint8_t)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(Conversions, uint16_t)->Unit(benchmark::kMillisecond);

#ifdef QUILLON_BENCH_WITH_OPENCV
template <typename Sample>
void OpenCvCubic(benchmark::State& state) {
    if (PhotoRgb().empty()) {
        state.SkipWithError("photo not found");
        return;
    }
    cv::setNumThreads(1);
    const int type = sizeof(Sample) == 1 ? CV_8UC4 : CV_16UC4;
    cv::Mat source(kSrcHeight, kSrcWidth, type);
    FillFromPhoto<Sample>(source.data, static_cast<int32_t>(source.step[0]));
    cv::Mat destination(kDstHeight, kDstWidth, type);
    for (auto _ : state) {
        cv::resize(source, destination, destination.size(), 0, 0, cv::INTER_CUBIC);
        benchmark::DoNotOptimize(destination.data);
    }
    SetFrameCounters(state);
}

BENCHMARK_TEMPLATE(OpenCvCubic, uint8_t)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(OpenCvCubic, uint16_t)->Unit(benchmark::kMillisecond);
#endif

}  // namespace

QUILLON_BENCHMARK_MAIN()
