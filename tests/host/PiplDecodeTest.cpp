// Reading a property list back: what a host accepts and what it rejects.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "host/PiplEncoder.h"
#include "host/PluginInfo.h"

namespace {

using quillon::plugin::DecodedPiplProperty;
using quillon::plugin::DecodePipl;
using quillon::plugin::FourCC;

std::vector<uint8_t> Encoded() {
    std::vector<uint8_t> bytes;
    EXPECT_TRUE(quillon::plugin::EncodePipl(quillon::plugin::kPiplProperties,
                                            std::size(quillon::plugin::kPiplProperties), bytes));
    return bytes;
}

TEST(PiplDecode, ReadsBackTheNameAndEntryPointOfTheWorkedExample) {
    const std::vector<uint8_t> bytes = Encoded();
    std::vector<DecodedPiplProperty> properties;
    ASSERT_TRUE(DecodePipl(bytes.data(), bytes.size(), properties));
    ASSERT_EQ(properties.size(), 13u);
    const DecodedPiplProperty& name = properties[1];
    EXPECT_EQ(name.vendor, FourCC("8BIM"));
    EXPECT_EQ(name.key, FourCC("name"));
    EXPECT_EQ(name.length, 12u);
    std::string text;
    ASSERT_TRUE(quillon::plugin::ReadPiplPascalString(name, text));
    EXPECT_EQ(text, "Quillon 4K");
    ASSERT_TRUE(quillon::plugin::ReadPiplCString(properties[3], text));
    EXPECT_EQ(text, "EntryPointFunc");
    uint32_t major = 0;
    uint32_t minor = 0;
    ASSERT_TRUE(quillon::plugin::ReadPiplVersionPair(properties[5], major, minor));
    EXPECT_EQ(major, 13u);
    EXPECT_EQ(minor, 0u);
    // eINF: a length of 2 is not a 32-bit word.
    uint32_t word = 0;
    EXPECT_FALSE(quillon::plugin::ReadPiplWord(properties[7], word));
    ASSERT_TRUE(quillon::plugin::ReadPiplWord(properties[8], word));
    EXPECT_EQ(word, 0x06008640u);
}

TEST(PiplDecode, RejectsDamagedLists) {
    const std::vector<uint8_t> good = Encoded();
    std::vector<DecodedPiplProperty> properties;

    std::vector<uint8_t> truncated(good.begin(), good.end() - 1);
    EXPECT_FALSE(DecodePipl(truncated.data(), truncated.size(), properties));
    EXPECT_TRUE(properties.empty());

    std::vector<uint8_t> trailing = good;
    trailing.push_back(0);
    EXPECT_FALSE(DecodePipl(trailing.data(), trailing.size(), properties));

    std::vector<uint8_t> wrongMarker = good;
    wrongMarker[0] = 2;
    EXPECT_FALSE(DecodePipl(wrongMarker.data(), wrongMarker.size(), properties));

    std::vector<uint8_t> tooMany = good;
    tooMany[6] = 14;  // one property more than there is
    EXPECT_FALSE(DecodePipl(tooMany.data(), tooMany.size(), properties));

    std::vector<uint8_t> hugeLength = good;
    hugeLength[10 + 12 + 3] = 0x7F;  // first property's length far past the end
    EXPECT_FALSE(DecodePipl(hugeLength.data(), hugeLength.size(), properties));

    EXPECT_FALSE(DecodePipl(good.data(), 9, properties));
}

TEST(PiplDecode, PascalStringsMustBePaddedWithZeros) {
    std::vector<uint8_t> bytes = Encoded();
    std::vector<DecodedPiplProperty> properties;
    ASSERT_TRUE(DecodePipl(bytes.data(), bytes.size(), properties));
    DecodedPiplProperty name = properties[1];
    name.data.back() = 'x';
    std::string text;
    EXPECT_FALSE(quillon::plugin::ReadPiplPascalString(name, text));
    name = properties[1];
    name.data[0] = 40;  // longer than the data
    EXPECT_FALSE(quillon::plugin::ReadPiplPascalString(name, text));
}

}  // namespace
