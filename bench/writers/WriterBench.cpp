// Writing one Ultra HD picture (the bundled 1920x1080 photo enlarged with
// "Best") as quillon writes stills, beside OpenCV's writers on the same
// pixels: PNG at zlib level 1 and TIFF with LZW. Wall time per file (the
// OpenEXR writer compresses on its own threads);
// "file_MB" is the size of the file written, "size_vs_opencv" the ratio to
// OpenCV's file of the same format (PNG and TIFF only).
#include <benchmark/benchmark.h>

#include <unistd.h>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "FrameScaler.h"
#include "StillIO.h"

#ifdef QUILLON_BENCH_WITH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

namespace fs = std::filesystem;
using namespace quillon;

fs::path Folder() {
    static const fs::path folder = [] {
        fs::path p =
            fs::temp_directory_path() / ("quillon-writer-bench-" + std::to_string(::getpid()));
        fs::create_directories(p);
        return p;
    }();
    return folder;
}

// The photo enlarged once, at 8 bits and as a 16-bit copy.
const RgbaImage& Picture(int bits) {
    static const std::map<int, RgbaImage> pictures = [] {
        const StillImage photo = ReadStill(QUILLON_TEST_ASSETS "/photos/cups_1920x1080.png");
        ScaleSettings s;
        s.srcWidth = photo.image.width;
        s.srcHeight = photo.image.height;
        s.dstWidth = 3840;
        s.dstHeight = 2160;
        s.controls.filter = FilterType::Best;
        FrameScaler scaler(s);
        WorkingFrame in;
        WorkingFrame out;
        RgbaImage big8;
        ToWorkingFrame(photo.image, in);
        scaler.Process(in, out);
        FromWorkingFrame(out, big8);
        RgbaImage big16;
        big16.Allocate(big8.width, big8.height, 16);
        for (size_t i = 0; i < big8.pixels8.size(); ++i) {
            big16.pixels16[i] = static_cast<uint16_t>(big8.pixels8[i] * 257);
        }
        return std::map<int, RgbaImage>{{8, big8}, {16, big16}};
    }();
    return pictures.at(bits);
}

std::map<std::string, double>& OpenCvSizes() {
    static std::map<std::string, double> sizes;
    return sizes;
}

void Report(benchmark::State& state, const fs::path& file, const std::string& format) {
    const auto bytes = static_cast<double>(fs::file_size(file));
    state.counters["file_MB"] = bytes / 1e6;
    const auto peer = OpenCvSizes().find(format);
    if (peer != OpenCvSizes().end()) {
        state.counters["size_vs_opencv"] = bytes / peer->second;
    }
}

void BM_Quillon(benchmark::State& state, const std::string& ext, int bits,
                Compression compression) {
    const RgbaImage& picture = Picture(bits);
    const fs::path file = Folder() / ("quillon_" + std::string(CompressionName(compression)) +
                                      std::to_string(bits) + ext);
    for (auto _ : state) {
        WriteStill(file, picture, false, {}, compression);
    }
    Report(state, file, ext.substr(1));
}

#ifdef QUILLON_BENCH_WITH_OPENCV
void BM_OpenCv(benchmark::State& state, const std::string& ext) {
    const RgbaImage& picture = Picture(8);
    cv::Mat rgba(static_cast<int>(picture.height), static_cast<int>(picture.width), CV_8UC4,
                 const_cast<uint8_t*>(picture.pixels8.data()));
    cv::Mat bgr;
    cv::cvtColor(rgba, bgr, cv::COLOR_RGBA2BGR);
    const std::vector<int> params =
        ext == ".png" ? std::vector<int>{cv::IMWRITE_PNG_COMPRESSION, 1}
                      : std::vector<int>{cv::IMWRITE_TIFF_COMPRESSION, 5 /* LZW */};
    const fs::path file = Folder() / ("opencv" + ext);
    for (auto _ : state) {
        cv::imwrite(file.string(), bgr, params);
    }
    state.counters["file_MB"] = static_cast<double>(fs::file_size(file)) / 1e6;
    OpenCvSizes()[ext.substr(1)] = static_cast<double>(fs::file_size(file));
}
BENCHMARK_CAPTURE(BM_OpenCv, png_level1, std::string(".png"))
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_OpenCv, tiff_lzw, std::string(".tif"))
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
#endif

BENCHMARK_CAPTURE(BM_Quillon, png_fast, std::string(".png"), 8, Compression::Fast)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_Quillon, png_balanced, std::string(".png"), 8, Compression::Balanced)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_Quillon, png16_fast, std::string(".png"), 16, Compression::Fast)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_Quillon, tiff_fast, std::string(".tif"), 8, Compression::Fast)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_Quillon, tiff_balanced, std::string(".tif"), 8, Compression::Balanced)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_Quillon, exr_fast, std::string(".exr"), 16, Compression::Fast)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    std::error_code ec;
    fs::remove_all(Folder(), ec);
    return 0;
}
