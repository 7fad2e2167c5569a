// Reading and writing still images (PNG, TIFF, DPX, OpenEXR, JPEG and the
// other formats OpenImageIO knows) as 8- or 16-bit RGBA.
#ifndef QUILLON_TOOLS_QUILLON_STILLIO_H
#define QUILLON_TOOLS_QUILLON_STILLIO_H

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "FrameConversion.h"

namespace quillon {

// The extension of path with its dot, in lower case ("" when there is none).
std::string LowerExtension(const std::filesystem::path& path);

struct StillImage {
    RgbaImage image;         // 8 bits for 8-bit files, 16 bits for everything deeper
    bool hasAlpha = false;   // the file had an alpha channel
    std::string formatName;  // OpenImageIO's format name ("png", "openexr", ...)
    std::string sourceType;  // channel type in the file ("uint8", "half", ...)
};

// Throws QuillonError: InputMissing (absent or unreadable), Unsupported (no
// reader for the format), CorruptInput (header or pixels unreadable),
// SizeOutOfRange (a side below 4 or above 65535 pixels).
StillImage ReadStill(const std::filesystem::path& path);

// How hard still writers compress. Every setting is lossless.
//   fast     (default) PNG deflate level 1 with the Up filter, TIFF LZW with
//            the horizontal predictor;
//   balanced PNG level 6 with adaptive filters, TIFF deflate level 6 with
//            the predictor;
//   small    PNG level 9 with adaptive filters, TIFF deflate level 9;
//   none     stored without compression.
// OpenEXR is PIZ at every setting but none (smaller and faster than ZIP on
// photographic half floats), compressed on the library's threads. Other
// formats keep their writer's own setting.
enum class Compression { Fast, Balanced, Small, None };

// "fast", "balanced", "small", "none".
std::optional<Compression> ParseCompression(std::string_view text);
const char* CompressionName(Compression compression);

// Writes image to path in the format its extension names. The channel type
// follows the image (8 or 16 bits) except where the format decides: JPEG is
// always 8 bits, OpenEXR is written as half floats. Alpha is written when
// keepAlpha is set and the format can hold it. Throws Unsupported (no writer
// for the extension) or OutputFailed.
void WriteStill(const std::filesystem::path& path, const RgbaImage& image, bool keepAlpha,
                const std::filesystem::path& formatHint = {},
                Compression compression = Compression::Fast);

// True when OpenImageIO has a writer for the extension of path.
bool CanWriteStill(const std::filesystem::path& path);

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_STILLIO_H
