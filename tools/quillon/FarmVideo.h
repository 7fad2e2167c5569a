// The FFmpeg side of farming a video: counting its frames without decoding
// them, and joining the chunks' segments into the final file.
#ifndef QUILLON_TOOLS_QUILLON_FARMVIDEO_H
#define QUILLON_TOOLS_QUILLON_FARMVIDEO_H

#include <cstdint>
#include <filesystem>

namespace quillon {

// The number of video frames, from the packets of the best video stream.
// Throws QuillonError InputMissing or CorruptInput.
int64_t CountVideoFrames(const std::filesystem::path& input);

// Concatenates the segments listed in segmentList (a concat-demuxer list)
// without re-encoding, adds the audio streams of source untouched, and writes
// output (a temporary name whose extension selects the container). Returns the
// number of video packets written. Throws QuillonError.
int64_t JoinVideoSegments(const std::filesystem::path& segmentList,
                          const std::filesystem::path& source, const std::filesystem::path& output);

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_FARMVIDEO_H
