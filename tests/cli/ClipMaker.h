// Short test clips made with FFmpeg's libraries from bundled photos, and a
// prober that reads back what a clip holds.
#ifndef QUILLON_TESTS_CLI_CLIPMAKER_H
#define QUILLON_TESTS_CLI_CLIPMAKER_H

#include <cstdint>
#include <string>
#include <vector>

#include "Reference.h"

namespace quillon::test {

struct ClipSpec {
    int frames = 6;
    int rateNum = 24000;  // frame rate
    int rateDen = 1001;
    std::string pixelFormat = "yuv420p";
    std::string codec = "ffv1";
    bool audio = true;  // 48 kHz mono PCM tone
};

// Writes path (container by extension) with the requested number of frames, frame n being
// the photo shifted by 3n pixels.
void MakeClip(const std::string& path, const Picture& photo, const ClipSpec& spec);

struct ClipFacts {
    int width = 0;
    int height = 0;
    int64_t decodedFrames = 0;
    int rateNum = 0;
    int rateDen = 0;
    int timeBaseNum = 0;
    int timeBaseDen = 0;
    std::string videoCodec;
    int bitsPerComponent = 0;
    int audioStreams = 0;
    std::vector<std::vector<uint8_t>> audioPackets;  // payloads of the first audio stream
    std::vector<int64_t> videoPts;                   // in the stream's time base, decode order
};

ClipFacts ProbeClip(const std::string& path);

}  // namespace quillon::test

#endif  // QUILLON_TESTS_CLI_CLIPMAKER_H
