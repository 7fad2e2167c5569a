// Frame setup: target size, output size after downsampling, origin.
#include "PluginTestSupport.h"

namespace quillon::test {
namespace {

constexpr int32_t k4K = 3;
constexpr int32_t kWidth = 5;
constexpr int32_t kHeight = 6;

class HostFrameSetup : public PluginTest {
protected:
    void Begin(HostIdentity identity, int32_t layerWidth, int32_t layerHeight) {
        StartInstance(identity);
        host().SetInputLayer(layerWidth, layerHeight, false, 12);
    }
    PF_ParamDef& P(int32_t index) { return host().param(index); }
    PF_Handle Seq() { return host().inData().sequence_data; }
};

TEST_F(HostFrameSetup, UltraHdFitToHeightFromHd) {
    Begin(HostIdentity::AfterEffects, 1920, 1080);
    P(k4K).u.pd.value = 25;
    ASSERT_EQ(host().FrameSetup(), PF_Err_NONE);
    EXPECT_EQ(host().outData().width, 3840);
    EXPECT_EQ(host().outData().height, 2160);
    EXPECT_EQ(host().outData().origin.h, 960);
    EXPECT_EQ(host().outData().origin.v, 540);
    EXPECT_EQ(ReadAt<uint32_t>(Seq(), kSeqTargetWidth), 3840u);
    EXPECT_EQ(ReadAt<uint32_t>(Seq(), kSeqTargetHeight), 2160u);
    EXPECT_EQ(ReadAt<uint32_t>(Seq(), kSeqOutputWidth), 3840u);
    EXPECT_EQ(ReadAt<int32_t>(Seq(), kSeqOutputHeight), 2160);
    EXPECT_EQ(host().HandleLockCount(Seq()), 0);
    EXPECT_EQ(host().outstandingSuites(), 0);
    EXPECT_EQ(host().outputWorld().def.width, 3840);
}

TEST_F(HostFrameSetup, UltraHdFitToWidthWithNonSquareLayer) {
    Begin(HostIdentity::AfterEffects, 720, 480);
    host().inData().pixel_aspect_ratio = PF_RationalScale{9, 10};
    P(k4K).u.pd.value = 26;
    ASSERT_EQ(host().FrameSetup(), PF_Err_NONE);
    EXPECT_EQ(host().outData().width, 4266);
    EXPECT_EQ(host().outData().height, 2844);
}

TEST_F(HostFrameSetup, DownsamplingHalvesTheOutputAndCentresTheInput) {
    Begin(HostIdentity::AfterEffects, 960, 540);
    host().inData().width = 1920;
    host().inData().height = 1080;
    host().inData().downsample_x = PF_RationalScale{1, 2};
    host().inData().downsample_y = PF_RationalScale{1, 2};
    P(k4K).u.pd.value = 0;  // custom size
    P(kWidth).u.sd.value = 3840;
    P(kHeight).u.sd.value = 2160;
    ASSERT_EQ(host().FrameSetup(), PF_Err_NONE);
    EXPECT_EQ(host().outData().width, 1920);
    EXPECT_EQ(host().outData().height, 1080);
    EXPECT_EQ(host().outData().origin.h, 480);
    EXPECT_EQ(host().outData().origin.v, 270);
    EXPECT_EQ(ReadAt<uint32_t>(Seq(), kSeqTargetWidth), 3840u);
    EXPECT_EQ(ReadAt<uint32_t>(Seq(), kSeqOutputWidth), 1920u);
    EXPECT_EQ(ReadAt<int32_t>(Seq(), kSeqOutputHeight), 1080);
}

TEST_F(HostFrameSetup, ModernPremiereIgnoresDownsamplingAndUsesInDataSize) {
    Begin(HostIdentity::PremierePro13, 960, 540);
    host().inData().width = 1440;
    host().inData().height = 1080;
    host().inData().downsample_x = PF_RationalScale{1, 2};
    host().inData().downsample_y = PF_RationalScale{1, 2};
    P(k4K).u.pd.value = 22;  // "Ultra HD (3840 x 2160) Fit To Height " in Premiere's table
    ASSERT_EQ(host().FrameSetup(), PF_Err_NONE);
    EXPECT_EQ(host().outData().width, 2880);  // 2160 / 1080 * 1440
    EXPECT_EQ(host().outData().height, 2160);
    EXPECT_EQ(host().outData().origin.h, (2880 - 960) >> 1);
}

TEST_F(HostFrameSetup, OlderPremiereUsesTheLayerAndDownsampling) {
    Begin(HostIdentity::PremierePro12, 960, 540);
    host().inData().width = 1440;
    host().inData().height = 1080;
    host().inData().downsample_x = PF_RationalScale{1, 2};
    host().inData().downsample_y = PF_RationalScale{1, 2};
    P(k4K).u.pd.value = 22;
    ASSERT_EQ(host().FrameSetup(), PF_Err_NONE);
    EXPECT_EQ(ReadAt<uint32_t>(Seq(), kSeqTargetWidth), 3840u);
    EXPECT_EQ(host().outData().width, 1920);
}

TEST_F(HostFrameSetup, FitToCompositionAndFailedQuery) {
    Begin(HostIdentity::AfterEffects, 1920, 1080);
    host().SetComposition(1000, 500, A_Ratio{1, 1});
    P(k4K).u.pd.value = 1;
    ASSERT_EQ(host().FrameSetup(), PF_Err_NONE);
    EXPECT_EQ(host().outData().width, 888);
    EXPECT_EQ(host().outData().height, 500);

    host().SetComposition(1000, 500, A_Ratio{2, 1});
    ASSERT_EQ(host().FrameSetup(), PF_Err_NONE);
    EXPECT_EQ(host().outData().width, 1777);  // trunc(500 / 1080 * 1920 * 2)

    host().FailSuite("AEGP Comp Suite");
    P(k4K).u.pd.value = 2;
    ASSERT_EQ(host().FrameSetup(), PF_Err_NONE);
    EXPECT_EQ(host().outData().width, 0);
    EXPECT_EQ(host().outData().height, 0);
    EXPECT_EQ(host().outstandingSuites(), 0);
}

TEST_F(HostFrameSetup, PremiereHasNoCompositionSoFitRowsNeedPresetSizes) {
    Begin(HostIdentity::PremierePro12, 1920, 1080);
    P(k4K).u.pd.value = 1;  // "1280 x 720 Fit To Height"
    ASSERT_EQ(host().FrameSetup(), PF_Err_NONE);
    EXPECT_EQ(host().outData().width, 1280);
    EXPECT_EQ(host().outData().height, 720);
}

TEST_F(HostFrameSetup, SmallerOutputGivesNegativeOriginRoundedDown) {
    Begin(HostIdentity::AfterEffects, 200, 200);
    P(k4K).u.pd.value = 28;
    P(kWidth).u.sd.value = 101;
    P(kHeight).u.sd.value = 300;
    ASSERT_EQ(host().FrameSetup(), PF_Err_NONE);
    EXPECT_EQ(host().outData().origin.h, -50);  // -99 >> 1
    EXPECT_EQ(host().outData().origin.v, 50);
}

TEST_F(HostFrameSetup, MissingOrShortSequenceDataIsOutOfMemory) {
    Begin(HostIdentity::AfterEffects, 1920, 1080);
    PF_Handle current = Seq();
    host().inData().sequence_data = nullptr;
    EXPECT_EQ(host().Send(PF_Cmd_FRAME_SETUP), PF_Err_OUT_OF_MEMORY);
    EXPECT_EQ(host().outData().width, 1920);  // untouched

    for (uint64_t size : {0u, 16u, 540u, 551u}) {
        PF_Handle shortHandle = host().NewHandle(size);
        host().inData().sequence_data = shortHandle;
        EXPECT_EQ(host().Send(PF_Cmd_FRAME_SETUP), PF_Err_OUT_OF_MEMORY) << size;
        EXPECT_EQ(host().HandleLockCount(shortHandle), 0);
    }

    host().inData().sequence_data = current;
    host().FailCallback(Callback::LockHandle);
    EXPECT_EQ(host().Send(PF_Cmd_FRAME_SETUP), PF_Err_OUT_OF_MEMORY);
}

}  // namespace
}  // namespace quillon::test
