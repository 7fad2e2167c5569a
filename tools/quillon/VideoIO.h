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
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/pixfmt.h>
}

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

// A video's colour: YUV matrix, primaries, transfer and range.
struct ColourDescription {
    AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED;
    AVColorPrimaries primaries = AVCOL_PRI_UNSPECIFIED;
    AVColorTransferCharacteristic transfer = AVCOL_TRC_UNSPECIFIED;
    AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
};

// --colorspace: keep the source's colour, or move SD colour to BT.709 when
// the target is 720 rows or more (as broadcast up-conversion does).
enum class ColourConversion { Keep, Bt709 };

struct VideoEncodeOptions {
    std::string codec;                      // encoder name; empty: per-container default
    std::optional<int> crf;                 // constant-quality value for encoders that have it
    std::optional<int64_t> bitrate;         // bits per second
    std::string pixelFormat;                // empty: closest to the source the encoder takes
    std::string preset;                     // encoder speed preset (libx264, libx265, ...)
    std::vector<std::string> codecOptions;  // KEY=VALUE private encoder options
    bool verbose = false;                   // let FFmpeg log to standard error
    ColourConversion colour = ColourConversion::Bt709;
    int threads = 1;        // busy threads of the run; the codecs and converters use as many
    int engineWorkers = 1;  // frames enlarged side by side (the frame function must allow it)
    // Only frames first..last (indices from 0, presentation order, last -1:
    // to the end): decoding starts at the keyframe before first, the output
    // starts with a keyframe and keeps the source's timestamps, audio is left out.
    std::optional<std::pair<int64_t, int64_t>> frames;
};

// Busy seconds of the video stages (the engine stage is timed by the caller).
struct VideoTimings {
    double decode = 0;      // demux and decode
    double convertIn = 0;   // decoded frame to RGBA
    double engine = 0;      // the frame function
    double convertOut = 0;  // RGBA to the encoder's format
    double encode = 0;      // encode and mux (audio copy included)
    int64_t framesEncoded = 0;
    ColourDescription sourceColour;  // as read, with players' defaults for what is untagged
    ColourDescription outputColour;  // as tagged in the output
};

// The colour a player assumes for a source: tags as read; what is untagged
// from the frame height (below 720 rows: BT.601 / SMPTE 170M, or BT.470 BG
// primaries at 576 rows; otherwise BT.709) and limited range for YUV.
// yuv is false for RGB sources (matrix RGB, full range).
ColourDescription SourceColour(AVColorSpace matrix, AVColorPrimaries primaries,
                               AVColorTransferCharacteristic transfer, AVColorRange range,
                               int height, bool yuv);

// The output's colour: the source's, moved to BT.709 (matrix, primaries,
// transfer) when conversion is Bt709, the target has 720 rows or more and
// the source is SD colour. RGB outputs get matrix RGB and full range; a YUV
// output of an RGB source gets BT.709 (720 rows and up) or SMPTE 170M.
ColourDescription OutputColour(const ColourDescription& source, int targetHeight,
                               ColourConversion conversion, bool yuvOutput);

// True for pixel formats with a YUV matrix.
bool IsYuvFormat(AVPixelFormat format);

// The encoder quillon picks for a file name when --codec is not given.
std::string DefaultVideoCodec(const std::filesystem::path& output, int bits);

// True when the extension names a container FFmpeg can write.
bool IsVideoContainer(const std::filesystem::path& path);

// Throws QuillonError InputMissing, Unsupported or CorruptInput.
VideoInfo ProbeVideo(const std::filesystem::path& input);

// The engine step, called once per frame in order: enlarges the source
// working frame into the result (dstWidth x dstHeight, same depth).
using FrameFunction = std::function<void(const WorkingFrame& source, WorkingFrame& result)>;

// Transcodes input into output (a temporary name whose extension selects the
// container). Returns the number of frames written. progress gets the count
// after every frame.
int64_t TranscodeVideo(const std::filesystem::path& input, const std::filesystem::path& output,
                       uint32_t dstWidth, uint32_t dstHeight, const VideoEncodeOptions& options,
                       const FrameFunction& process, const std::function<void(int64_t)>& progress,
                       VideoTimings& timings);

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_VIDEOIO_H
