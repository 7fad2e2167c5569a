// The first-call application-id record and the host tests.
#include <gtest/gtest.h>

#include <string>

#include "host/EntryPoint.h"
#include "host/HostApp.h"

namespace quillon::host {
namespace {

std::string Record(int32_t applId) {
    unsigned char record[kApplicationIdRecordSize] = {};
    FillApplicationIdRecord(record, applId);
    return std::string(reinterpret_cast<const char*>(record), kApplicationIdRecordSize);
}

TEST(ApplicationIdRecord, NonAlphanumericBytesGiveICHD) {
    EXPECT_EQ(Record(0x46585443), "!FXTC");
    EXPECT_EQ(Record(0x50724D72), "!PrMr");
    EXPECT_EQ(Record(0x20202020), "ICHD ");
    EXPECT_EQ(Record(0), std::string("ICHD\0", 5));
    // Each test replaces the byte before the one tested: 'A' '-' 'B' '#'
    // fails at bytes 2 and 4; '-' 'A' 'B' 'C' only at byte 1.
    EXPECT_EQ(Record(0x412D4223), "!C-D#");
    EXPECT_EQ(Record(0x2D414243), "I-ABC");
}

TEST(ApplicationIdRecord, FilledOnceByTheFirstCallWithInData) {
    ClearApplicationIdRecord();
    EXPECT_EQ(RunEntryPoint(PF_Cmd_UNUSED_0, nullptr, nullptr, nullptr, nullptr, nullptr),
              PF_Err_NONE);
    EXPECT_EQ(ApplicationIdRecord()[0], 0);

    PF_InData in{};
    in.appl_id = PF_APPL_ID_AFTER_EFFECTS;
    EXPECT_EQ(RunEntryPoint(PF_Cmd_UNUSED_0, &in, nullptr, nullptr, nullptr, nullptr), PF_Err_NONE);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(ApplicationIdRecord()), 5), "!FXTC");

    in.appl_id = PF_APPL_ID_PREMIERE;
    RunEntryPoint(PF_Cmd_UNUSED_0, &in, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(ApplicationIdRecord()), 5), "!FXTC");
}

TEST(HostTests, StoredIdAndModernPremiere) {
    StoreApplicationId(PF_APPL_ID_AFTER_EFFECTS);
    EXPECT_TRUE(IsAfterEffectsHost() && !IsPremiereHost());
    StoreApplicationId(PF_APPL_ID_PREMIERE);
    EXPECT_TRUE(IsPremiereHost() && !IsAfterEffectsHost());
    PF_InData in{};
    in.appl_id = PF_APPL_ID_PREMIERE;
    in.version = PF_SpecVersion{13, 0};
    EXPECT_TRUE(IsModernPremiere(&in));
    in.version = PF_SpecVersion{12, 9};
    EXPECT_FALSE(IsModernPremiere(&in));
    in.version = PF_SpecVersion{14, 2};
    in.appl_id = PF_APPL_ID_AFTER_EFFECTS;
    EXPECT_FALSE(IsModernPremiere(&in));
    EXPECT_FALSE(IsModernPremiere(nullptr));
}

}  // namespace
}  // namespace quillon::host
