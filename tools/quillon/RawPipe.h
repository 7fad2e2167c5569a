// Raw frames in, raw frames out: tightly packed bgra (8 bits) or rgba64le
// (16 bits) frames of a fixed size on one stream, the enlarged frames in the
// same layout on the other, so quillon fits between two ffmpeg rawvideo
// processes.
#ifndef QUILLON_TOOLS_QUILLON_RAWPIPE_H
#define QUILLON_TOOLS_QUILLON_RAWPIPE_H

#include <cstdint>
#include <cstdio>
#include <functional>

#include "FrameScaler.h"
#include "RunSummary.h"

namespace quillon {

// Bytes of one frame: 4 a pixel at 8 bits, 8 at 16 bits.
uint64_t RawFrameBytes(uint32_t width, uint32_t height, int bits);

// Reads frames of scaler's source size and depth from in until the stream
// ends, writes each enlarged frame to out. Returns the number of frames.
// Throws QuillonError TruncatedPipe when the stream ends inside a frame (the
// complete frames before it are written), InputMissing when in cannot be
// read, OutputFailed when out cannot be written.
int64_t RunRawPipe(std::FILE* in, std::FILE* out, FrameScaler& scaler,
                   const std::function<void(int64_t)>& progress, StageTimes& timings);

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_RAWPIPE_H
