// Expected results computed without the tool: images are read with
// OpenImageIO, converted to working frames by the documented rules, enlarged
// by the engine's C functions with the render handler's arguments and
// converted back.
#ifndef QUILLON_TESTS_CLI_REFERENCE_H
#define QUILLON_TESTS_CLI_REFERENCE_H

#include <cstdint>
#include <string>
#include <vector>

namespace quillon::test {

// RGBA image, 8 or 16 bits a channel, straight alpha, full range.
struct Picture {
    int width = 0;
    int height = 0;
    int bits = 8;
    std::vector<uint16_t> rgba;  // 8-bit values are stored unscaled (0..255)
};

Picture ReadPicture(const std::string& path);
// Writes the given channels (3 or 4) at 8 or 16 bits; "type" overrides, e.g. "half".
void WritePicture(const std::string& path, const Picture& picture, int channels,
                  const std::string& type = "");

struct EffectSettings {
    int filter = 2;  // 1 Draft .. 4 Best
    int sharpness = 2;
    int quality = 8;
    int antiAliasing = 6;
};

// The expected enlargement of picture to width x height.
Picture ReferenceUpscale(const Picture& picture, int width, int height,
                         const EffectSettings& settings = {});

// The 16-bit file <-> host mappings, written independently of the tool.
uint16_t ToHostRange(uint16_t fileValue);
uint16_t ToFileRange(uint16_t hostValue);

// Largest (or mean) absolute channel difference; 1e9 when the sizes differ.
double Difference(const Picture& a, const Picture& b, bool mean = false);

}  // namespace quillon::test

#endif  // QUILLON_TESTS_CLI_REFERENCE_H
