// Video files through FFmpeg's libraries: decode every frame of the best
// video stream to RGBA (8 bits, or 16 bits for sources deeper than 8 bits),
// hand it to a frame function, encode the result at the target size, and
// copy the audio streams packet for packet. Frame rate, time base and frame
// count are kept.
#ifndef QUILLON_TOOLS_QUILLON_VIDEOIO_H
#define QUILLON_TOOLS_QUILLON_VIDEOIO_H

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "FrameConversion.h"

namespace quillon {

struct VideoInfo {
    uint32_t width = 0;
    uint32_t height = 0;
    int bits = 8;  // 16 when the source has more than 8 bits a channel
    std::string codecName;
    std::string pixelFormat;
    int frameRateNum = 0;  // average frame rate of the video stream
    int frameRateDen = 1;
    int timeBaseNum = 0;  // time base of the video stream
    int timeBaseDen = 1;
    int64_t frameCount = 0;  // from the container or the duration; 0 when unknown
    int audioStreams = 0;
};

struct VideoEncodeOptions {
    std::string codec;                      // encoder name; empty: per-container default
    std::optional<int> crf;                 // constant-quality value for encoders that have it
    std::optional<int64_t> bitrate;         // bits per second
    std::string pixelFormat;                // empty: closest to the source the encoder takes
    std::string preset;                     // encoder speed preset (libx264, libx265, ...)
    std::vector<std::string> codecOptions;  // KEY=VALUE private encoder options
    bool verbose = false;                   // let FFmpeg log to standard error
};

struct VideoTimings {
    double decode = 0;  // demux, decode and conversion to RGBA
    double encode = 0;  // conversion from RGBA, encode and mux (audio copy included)
};

// The encoder quillon picks for a file name when --codec is not given.
std::string DefaultVideoCodec(const std::filesystem::path& output, int bits);

// True when the extension names a container FFmpeg can write.
bool IsVideoContainer(const std::filesystem::path& path);

// Throws QuillonError InputMissing, Unsupported or CorruptInput.
VideoInfo ProbeVideo(const std::filesystem::path& input);

// Called once per decoded frame with the RGBA source; fills the RGBA result
// (dstWidth x dstHeight, same depth).
using FrameFunction = std::function<void(const RgbaImage& source, RgbaImage& result)>;

// Transcodes input into output (a temporary name whose extension selects the
// container). Returns the number of frames written. progress gets the count
// after every frame.
int64_t TranscodeVideo(const std::filesystem::path& input, const std::filesystem::path& output,
                       uint32_t dstWidth, uint32_t dstHeight, const VideoEncodeOptions& options,
                       const FrameFunction& process, const std::function<void(int64_t)>& progress,
                       VideoTimings& timings);

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_VIDEOIO_H
