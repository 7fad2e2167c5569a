// Global, sequence and about-box commands of the loaded plug-in.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "PluginTestSupport.h"

namespace quillon::test {
namespace {

class HostLifecycle : public PluginTest {};

TEST_F(HostLifecycle, GlobalSetupReportsFlagsVersionAndZeroedGlobals) {
    Start();
    ASSERT_EQ(host().GlobalSetup(), PF_Err_NONE);
    const PF_OutData& out = host().outData();
    EXPECT_EQ(out.out_flags, 0x06008640);
    EXPECT_EQ(out.out_flags2, 0x00008000);
    EXPECT_EQ(out.my_version, 0x000ABE00u);
    ASSERT_NE(out.global_data, nullptr);
    EXPECT_EQ(host().HandleSize(out.global_data), 80u);
    EXPECT_EQ(host().HandleLockCount(out.global_data), 0);
    const auto* bytes = static_cast<const uint8_t*>(host().HandleData(out.global_data));
    for (int i = 0; i < 80; ++i) {
        EXPECT_EQ(bytes[i], 0) << i;  // no branding library: nothing but zeros
    }
    EXPECT_EQ(host().Send(PF_Cmd_EVENT), PF_Err_NONE);
    EXPECT_EQ(host().GlobalSetdown(), PF_Err_NONE);
    EXPECT_EQ(host().LiveHandleCount(), 0u);
    host().FailCallback(Callback::NewHandle);
    EXPECT_EQ(host().GlobalSetup(), PF_Err_OUT_OF_MEMORY);
    EXPECT_EQ(host().LiveHandleCount(), 0u);
}

TEST_F(HostLifecycle, UnusedSelectorsAnswerNoneAndTouchNothing) {
    StartInstance();
    const std::size_t handles = host().LiveHandleCount();
    for (PF_Cmd cmd : {2, 7, 9, 12, 16, 17, 18, 19, 20, 24, 25, 1000, -1, -2147483647 - 1}) {
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
    const std::string notice = message.substr(head.size());
    EXPECT_EQ(std::count(notice.begin(), notice.end(), '\r'), 1);  // two lines
    EXPECT_NE(notice.find("Halvern"), std::string::npos);
    EXPECT_EQ(host().CallCount(Callback::GetPlatformData), 1);
    EXPECT_EQ(host().CallCount(Callback::Sprintf), 1);
    host().FailCallback(Callback::GetPlatformData);  // failing services still give the text
    host().FailCallback(Callback::LockHandle);
    EXPECT_EQ(host().Send(PF_Cmd_ABOUT), PF_Err_NONE);
    EXPECT_EQ(std::string(host().outData().return_msg).rfind(head, 0), 0u);
}

TEST_F(HostLifecycle, SequenceSetupCreatesTheCurrentLayout) {
    Start();
    ASSERT_EQ(host().GlobalSetup(), PF_Err_NONE);
    ASSERT_EQ(host().SequenceSetup(), PF_Err_NONE);
    PF_Handle seq = host().inData().sequence_data;
    ASSERT_NE(seq, nullptr);
    EXPECT_EQ(host().HandleSize(seq), 552u);
    EXPECT_EQ(host().HandleLockCount(seq), 0);
    EXPECT_EQ(ReadAt<uint32_t>(seq, kSeqReserved), 2u);
    for (std::size_t offset :
         {kSeqTargetWidth, kSeqTargetHeight, kSeqOutputWidth, kSeqOutputHeight, kSeqReserved24}) {
        EXPECT_EQ(ReadAt<uint32_t>(seq, offset), 0u) << offset;
    }
    EXPECT_EQ(ReadAt<uint32_t>(seq, kSeqKernel), 2u);
    EXPECT_EQ(ReadAt<uint32_t>(seq, kSeqFlags), 0x00000100u);  // bytes 0, 1, 0, 0
    for (std::size_t offset = 32; offset < 544; ++offset) {
        ASSERT_EQ(ReadAt<uint8_t>(seq, offset), 0) << offset;
    }
    EXPECT_DOUBLE_EQ(ReadAt<double>(seq, kSeqRatio), 1.35);
}

TEST_F(HostLifecycle, SequenceSetupReplacesAHandleAlreadyInOutData) {
    Start();
    PF_Handle stale = host().NewHandle(16);
    host().outData() = PF_OutData{};
    host().outData().sequence_data = stale;
    ASSERT_EQ(host().SendKeepingOutData(PF_Cmd_SEQUENCE_SETUP), PF_Err_NONE);
    EXPECT_EQ(host().CallCount(Callback::DisposeHandle), 1);
    EXPECT_EQ(host().HandleSize(host().outData().sequence_data), 552u);
    EXPECT_EQ(host().LiveHandleCount(), 1u);
}

TEST_F(HostLifecycle, SequenceSetupAllocationFailuresInstallNothing) {
    Start();
    host().FailCallback(Callback::NewHandle);
    EXPECT_EQ(host().SequenceSetup(), PF_Err_OUT_OF_MEMORY);
    EXPECT_EQ(host().inData().sequence_data, nullptr);
    host().ClearFaults();
    host().FailCallback(Callback::LockHandle);
    EXPECT_EQ(host().SequenceSetup(), PF_Err_OUT_OF_MEMORY);
    EXPECT_EQ(host().inData().sequence_data, nullptr);
    EXPECT_EQ(host().LiveHandleCount(), 0u);
}

TEST_F(HostLifecycle, ResetupKeepsTheCurrentLayoutUntouched) {
    StartInstance();
    PF_Handle seq = host().inData().sequence_data;
    WriteAt<uint32_t>(seq, kSeqTargetWidth, 3840);
    WriteAt<double>(seq, kSeqRatio, 2.5);
    std::vector<uint8_t> before(552);
    std::memcpy(before.data(), host().HandleData(seq), 552);
    ASSERT_EQ(host().SequenceResetup(), PF_Err_NONE);
    EXPECT_EQ(host().inData().sequence_data, seq);
    EXPECT_EQ(std::memcmp(before.data(), host().HandleData(seq), 552), 0);
}

TEST_F(HostLifecycle, ResetupMigratesThe540ByteLayout) {
    Start();
    ASSERT_EQ(host().GlobalSetup(), PF_Err_NONE);
    PF_Handle legacy = host().NewHandle(540);
    const uint32_t words[6] = {3840, 2160, 1920, 1080, 0, 7};
    std::memcpy(host().HandleData(legacy), words, sizeof(words));
    const uint8_t flags[4] = {1, 0, 1, 1};
    std::memcpy(static_cast<uint8_t*>(host().HandleData(legacy)) + 24, flags, 4);
    host().inData().sequence_data = legacy;
    const std::size_t handles = host().LiveHandleCount();

    ASSERT_EQ(host().SequenceResetup(), PF_Err_NONE);
    PF_Handle seq = host().inData().sequence_data;
    ASSERT_NE(seq, legacy);
    EXPECT_FALSE(host().IsLiveHandle(legacy));
    EXPECT_EQ(host().LiveHandleCount(), handles);
    EXPECT_EQ(host().HandleSize(seq), 552u);
    EXPECT_EQ(host().HandleLockCount(seq), 0);
    EXPECT_EQ(ReadAt<uint32_t>(seq, kSeqReserved), 1u);
    EXPECT_EQ(ReadAt<uint32_t>(seq, kSeqTargetWidth), 3840u);
    EXPECT_EQ(ReadAt<uint32_t>(seq, kSeqTargetHeight), 2160u);
    EXPECT_EQ(ReadAt<uint32_t>(seq, kSeqOutputWidth), 1920u);
    EXPECT_EQ(ReadAt<int32_t>(seq, kSeqOutputHeight), 1080);
    EXPECT_EQ(ReadAt<uint32_t>(seq, kSeqKernel), 0u);
    EXPECT_EQ(ReadAt<uint32_t>(seq, kSeqReserved24), 7u);
    EXPECT_EQ(ReadAt<uint32_t>(seq, kSeqFlags), 0x01010001u);
    for (std::size_t offset = 32; offset < 544; ++offset) {
        ASSERT_EQ(ReadAt<uint8_t>(seq, offset), 0) << offset;
    }
    EXPECT_DOUBLE_EQ(ReadAt<double>(seq, kSeqRatio), 1.35);
}

TEST_F(HostLifecycle, FailedMigrationKeepsTheOldRecord) {
    Start();
    PF_Handle legacy = host().NewHandle(540);
    host().inData().sequence_data = legacy;
    host().FailCallback(Callback::NewHandle);
    EXPECT_EQ(host().Send(PF_Cmd_SEQUENCE_RESETUP), PF_Err_OUT_OF_MEMORY);
    EXPECT_TRUE(host().IsLiveHandle(legacy));
    EXPECT_EQ(host().HandleLockCount(legacy), 0);
    EXPECT_EQ(host().LiveHandleCount(), 1u);
}

TEST_F(HostLifecycle, ResetupKeepsHandlesOfOtherSizes) {
    Start();
    for (uint64_t size : {0u, 100u, 539u, 541u, 600u}) {
        PF_Handle odd = host().NewHandle(size);
        host().inData().sequence_data = odd;
        EXPECT_EQ(host().SequenceResetup(), PF_Err_NONE) << size;
        EXPECT_EQ(host().inData().sequence_data, odd) << size;
        EXPECT_TRUE(host().IsLiveHandle(odd));
        EXPECT_EQ(host().HandleLockCount(odd), 0);
    }
    EXPECT_EQ(host().LiveHandleCount(), 5u);
    host().inData().sequence_data = nullptr;  // no data: acts as setup
    ASSERT_EQ(host().SequenceResetup(), PF_Err_NONE);
    ASSERT_NE(host().inData().sequence_data, nullptr);
    EXPECT_EQ(ReadAt<uint32_t>(host().inData().sequence_data, kSeqReserved), 2u);
}

TEST_F(HostLifecycle, SetdownDisposesTheSequenceData) {
    StartInstance();
    const std::size_t handles = host().LiveHandleCount();
    PF_Handle seq = host().inData().sequence_data;
    ASSERT_EQ(host().SequenceSetdown(), PF_Err_NONE);
    EXPECT_EQ(host().outData().sequence_data, nullptr);
    EXPECT_FALSE(host().IsLiveHandle(seq));
    EXPECT_EQ(host().LiveHandleCount(), handles - 1);
    EXPECT_EQ(host().SequenceSetdown(), PF_Err_NONE);  // nothing left to dispose
    EXPECT_EQ(host().unknownHandleCalls(), 1);         // the header's data-address unlock only
}

}  // namespace
}  // namespace quillon::test
