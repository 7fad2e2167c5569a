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

// One property as read back from a list: vendor and key as 32-bit codes,
// the length field as stored, and the data with its padding.
struct DecodedPiplProperty {
    uint32_t vendor = 0;
    uint32_t key = 0;
    uint32_t id = 0;
    uint32_t length = 0;
    std::vector<uint8_t> data;
};

// Reads a little-endian property list the way a host does, without assuming
// any alignment. Returns false (and leaves properties empty) when the header
// is not the Windows form or a property runs past the end or bytes follow
// the last property.
bool DecodePipl(const uint8_t* bytes, std::size_t size,
                std::vector<DecodedPiplProperty>& properties);

// Value readers for decoded properties; each returns false when the data does
// not have the expected form.
bool ReadPiplWord(const DecodedPiplProperty& property, uint32_t& value);
bool ReadPiplVersionPair(const DecodedPiplProperty& property, uint32_t& major, uint32_t& minor);
bool ReadPiplPascalString(const DecodedPiplProperty& property, std::string& text);
bool ReadPiplCString(const DecodedPiplProperty& property, std::string& text);

}  // namespace quillon::plugin

#endif  // QUILLON_HOST_PIPLENCODER_H
