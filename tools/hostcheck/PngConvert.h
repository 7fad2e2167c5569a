// Turns a photo into the host check's input frame. Only the build machine's
// native build can read PNG files; the Windows build reads the PAM frames it
// writes.
#ifndef QUILLON_TOOLS_HOSTCHECK_PNGCONVERT_H
#define QUILLON_TOOLS_HOSTCHECK_PNGCONVERT_H

#include <string>

#include "tools/hostcheck/PamFile.h"

namespace quillon::hostcheck {

// 8-bit photos keep their values; 16-bit photos are mapped into the host's
// 0..32768 range with rounding. A photo without transparency becomes opaque.
bool ReadPng(const std::string& path, RgbaFrame& frame, std::string* error);

}  // namespace quillon::hostcheck

#endif  // QUILLON_TOOLS_HOSTCHECK_PNGCONVERT_H
