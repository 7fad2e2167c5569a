// Takes values off the front of a fuzz input: each call consumes what it
// needs and gives 0 (or the low end of its range) once the input runs out.
#ifndef QUILLON_FUZZ_BYTEREADER_H
#define QUILLON_FUZZ_BYTEREADER_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace quillon::fuzz {

class ByteReader {
public:
    ByteReader(const uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    uint8_t Byte() { return at_ < size_ ? data_[at_++] : 0; }

    uint32_t U32() {
        uint32_t v = 0;
        for (int i = 0; i < 4; ++i) {
            v |= uint32_t{Byte()} << (8 * i);
        }
        return v;
    }

    // A value in [lo, hi], from as few bytes as the range needs.
    uint32_t Range(uint32_t lo, uint32_t hi) {
        const uint64_t span = uint64_t{hi} - lo + 1;
        uint32_t raw = Byte();
        if (span > 256) {
            raw |= uint32_t{Byte()} << 8;
        }
        if (span > 65536) {
            raw |= uint32_t{Byte()} << 16;
            raw |= uint32_t{Byte()} << 24;
        }
        return lo + static_cast<uint32_t>(raw % span);
    }

    bool Bool() { return (Byte() & 1) != 0; }

    // A string of up to maxLength bytes: a length byte, then the bytes.
    std::string String(std::size_t maxLength) {
        const std::size_t length = Range(0, static_cast<uint32_t>(maxLength));
        std::string s;
        for (std::size_t i = 0; i < length && at_ < size_; ++i) {
            s.push_back(static_cast<char>(Byte()));
        }
        return s;
    }

    std::size_t remaining() const { return size_ - at_; }
    const uint8_t* rest() const { return data_ + at_; }

private:
    const uint8_t* data_;
    std::size_t size_;
    std::size_t at_ = 0;
};

}  // namespace quillon::fuzz

#endif  // QUILLON_FUZZ_BYTEREADER_H
