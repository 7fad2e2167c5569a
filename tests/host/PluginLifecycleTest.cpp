// Global, sequence and about-box commands of the loaded plug-in.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "PluginTestSupport.h"

namespace quillon::test {
namespace {

class HostLifecycle : public PluginTest {
protected:
    // The six leading words, the flag word, zeros up to the ratio, the ratio.
    void ExpectRecord(PF_Handle seq, const std::vector<uint32_t>& words, uint32_t flags) {
        EXPECT_EQ(host().HandleSize(seq), 552u);
        EXPECT_EQ(host().HandleLockCount(seq), 0);
        for (std::size_t i = 0; i < 6; ++i) {
            EXPECT_EQ(ReadAt<uint32_t>(seq, 4 * i), words[i]) << i;
        }
        EXPECT_EQ(ReadAt<uint32_t>(seq, 28), flags);
        for (std::size_t offset = 32; offset < 544; ++offset) {
            ASSERT_EQ(ReadAt<uint8_t>(seq, offset), 0) << offset;
        }
        EXPECT_DOUBLE_EQ(ReadAt<double>(seq, kSeqRatio), 1.35);
    }
};

TEST_F(HostLifecycle, SetupReportsFlagsVersionAndZeroedGlobalsAndSetdownFreesAll) {
    Start();
    ASSERT_EQ(host().GlobalSetup(), PF_Err_NONE);
    const PF_OutData& out = host().outData();
    EXPECT_EQ(out.out_flags, 0x06008640);
    EXPECT_EQ(out.out_flags2, 0x00008000);
    EXPECT_EQ(out.my_version, 0x000ABE00u);
    PF_Handle globals = host().inData().global_data;
    ASSERT_EQ(host().HandleSize(globals), 80u);
    EXPECT_EQ(host().HandleLockCount(globals), 0);
    const auto* bytes = static_cast<const uint8_t*>(host().HandleData(globals));
    EXPECT_TRUE(std::all_of(bytes, bytes + 80, [](uint8_t b) { return b == 0; }));
    ASSERT_EQ(host().ParamsSetup(), PF_Err_NONE);
    ASSERT_EQ(host().SequenceSetup(), PF_Err_NONE);
    ASSERT_EQ(host().SequenceSetdown(), PF_Err_NONE);
    EXPECT_EQ(host().LiveHandleCount(), 1u);
    EXPECT_EQ(host().SequenceSetdown(), PF_Err_NONE);  // nothing left to dispose
    EXPECT_EQ(host().unknownHandleCalls(), 1);         // the header's data-address unlock only
    EXPECT_EQ(host().GlobalSetdown(), PF_Err_NONE);
    EXPECT_EQ(host().LiveHandleCount(), 0u);
    host().FailCallback(Callback::NewHandle);
    EXPECT_EQ(host().GlobalSetup(), PF_Err_OUT_OF_MEMORY);
    EXPECT_EQ(host().LiveHandleCount(), 0u);
}

TEST_F(HostLifecycle, UnknownAndUnusedSelectorsAnswerNoneAndTouchNothing) {
    StartInstance();
    const std::size_t handles = host().LiveHandleCount();
    for (PF_Cmd cmd : {2, 7, 9, 12, 15, 16, 17, 18, 19, 20, 24, 25, 1000, -1, -2147483647 - 1}) {
        PF_OutData before;
        std::memset(&before, 0x5C, sizeof(before));
        host().outData() = before;
        EXPECT_EQ(host().SendKeepingOutData(cmd), PF_Err_NONE) << cmd;
        EXPECT_EQ(std::memcmp(&before, &host().outData(), sizeof(before)), 0) << cmd;
    }
    EXPECT_EQ(host().LiveHandleCount(), handles);
    EXPECT_EQ(host().CallCount(Callback::AddParam), 12);  // only from parameters setup
}

TEST_F(HostLifecycle, AboutBoxFallsBackToText) {
    Start();
    ASSERT_EQ(host().GlobalSetup(), PF_Err_NONE);
    ASSERT_EQ(host().Send(PF_Cmd_ABOUT), PF_Err_NONE);
    const std::string message = host().outData().return_msg;
    const std::string head = "Quillon 4K\rVersion 1.5.7 \r\r";
    ASSERT_EQ(message.rfind(head, 0), 0u) << message;
    EXPECT_EQ(std::count(message.begin() + head.size(), message.end(), '\r'), 1);
    host().FailCallback(Callback::GetPlatformData);  // failing services still give the text
    host().FailCallback(Callback::LockHandle);
    EXPECT_EQ(host().Send(PF_Cmd_ABOUT), PF_Err_NONE);
    EXPECT_EQ(std::string(host().outData().return_msg).rfind(head, 0), 0u);
}

TEST_F(HostLifecycle, SequenceSetupCreatesTheCurrentLayout) {
    Start();
    PF_Handle stale = host().NewHandle(16);  // a handle already in out_data is replaced
    host().outData() = PF_OutData{};
    host().outData().sequence_data = stale;
    ASSERT_EQ(host().SendKeepingOutData(PF_Cmd_SEQUENCE_SETUP), PF_Err_NONE);
    EXPECT_EQ(host().CallCount(Callback::DisposeHandle), 1);
    EXPECT_EQ(host().LiveHandleCount(), 1u);
    ExpectRecord(host().outData().sequence_data, {2, 0, 0, 0, 0, 2}, 0x00000100u);

    host().FailCallback(Callback::LockHandle);
    host().inData().sequence_data = nullptr;
    EXPECT_EQ(host().SequenceSetup(), PF_Err_OUT_OF_MEMORY);
    EXPECT_EQ(host().inData().sequence_data, nullptr);
    EXPECT_EQ(host().LiveHandleCount(), 1u);
}

TEST_F(HostLifecycle, ResetupByHandleSize) {
    StartInstance();
    PF_Handle seq = host().inData().sequence_data;
    WriteAt<double>(seq, kSeqRatio, 2.5);
    std::vector<uint8_t> before(552);
    std::memcpy(before.data(), host().HandleData(seq), 552);
    ASSERT_EQ(host().SequenceResetup(), PF_Err_NONE);  // 552: kept as it is
    EXPECT_EQ(host().inData().sequence_data, seq);
    EXPECT_EQ(std::memcmp(before.data(), host().HandleData(seq), 552), 0);

    PF_Handle legacy = host().NewHandle(540);
    const uint32_t words[6] = {3840, 2160, 1920, 1080, 0, 7};
    std::memcpy(host().HandleData(legacy), words, sizeof(words));
    const uint8_t flags[4] = {1, 0, 1, 1};
    std::memcpy(static_cast<uint8_t*>(host().HandleData(legacy)) + 24, flags, 4);
    host().inData().sequence_data = legacy;
    const std::size_t handles = host().LiveHandleCount();
    host().FailCallback(Callback::NewHandle);  // a failed migration keeps the old record
    EXPECT_EQ(host().SequenceResetup(), PF_Err_OUT_OF_MEMORY);
    EXPECT_TRUE(host().IsLiveHandle(legacy));
    EXPECT_EQ(host().HandleLockCount(legacy), 0);
    host().ClearFaults();
    ASSERT_EQ(host().SequenceResetup(), PF_Err_NONE);
    EXPECT_FALSE(host().IsLiveHandle(legacy));
    EXPECT_EQ(host().LiveHandleCount(), handles);
    ExpectRecord(host().inData().sequence_data, {1, 3840, 2160, 1920, 1080, 0}, 0x01010001u);
    EXPECT_EQ(ReadAt<uint32_t>(host().inData().sequence_data, 24), 7u);

    for (uint64_t size : {0u, 100u, 539u, 541u, 600u}) {
        PF_Handle odd = host().NewHandle(size);
        host().inData().sequence_data = odd;
        EXPECT_EQ(host().SequenceResetup(), PF_Err_NONE) << size;
        EXPECT_EQ(host().inData().sequence_data, odd) << size;
        EXPECT_EQ(host().HandleLockCount(odd), 0);
    }
    host().inData().sequence_data = nullptr;  // no data: acts as setup
    ASSERT_EQ(host().SequenceResetup(), PF_Err_NONE);
    EXPECT_EQ(ReadAt<uint32_t>(host().inData().sequence_data, kSeqReserved), 2u);
}

}  // namespace
}  // namespace quillon::test
