// Frames on disk as PAM files (four channels, red, green, blue, alpha; 8-bit
// frames with maximum 255, 16-bit frames in the host's range with maximum
// 32768, samples big-endian as the format requires).
#ifndef QUILLON_TOOLS_HOSTCHECK_PAMFILE_H
#define QUILLON_TOOLS_HOSTCHECK_PAMFILE_H

#include <cstdint>
#include <string>
#include <vector>

namespace quillon::hostcheck {

struct RgbaFrame {
    int32_t width = 0;
    int32_t height = 0;
    uint32_t maxValue = 255;        // 255: 8 bits a channel; more: 16 bits
    std::vector<uint16_t> samples;  // width * height * 4, R G B A
    bool deep() const { return maxValue > 255; }
};

bool ReadPam(const std::string& path, RgbaFrame& frame, std::string* error);
bool WritePam(const std::string& path, const RgbaFrame& frame);

}  // namespace quillon::hostcheck

#endif  // QUILLON_TOOLS_HOSTCHECK_PAMFILE_H
