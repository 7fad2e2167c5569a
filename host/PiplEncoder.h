// Turns the property table into the binary property list of the Windows
// resource and into a resource script that carries the same bytes.
#ifndef QUILLON_HOST_PIPLENCODER_H
#define QUILLON_HOST_PIPLENCODER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/PluginInfo.h"

namespace quillon::plugin {

// The little-endian property list: marker word 1, list version 0, the count,
// then each property with its data padded to four bytes. Returns false (and
// leaves bytes empty) when a text is missing or longer than 255 characters.
bool EncodePipl(const PiplProperty* properties, std::size_t count, std::vector<uint8_t>& bytes);

// A resource script holding the bytes as raw 16-bit words under the resource
// type "PiPL" and the given id (an odd byte count gets a zero pad byte).
std::string MakePiplResourceScript(const std::vector<uint8_t>& bytes, int32_t resourceId);

}  // namespace quillon::plugin

#endif  // QUILLON_HOST_PIPLENCODER_H
