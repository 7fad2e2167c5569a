// Frame setup: target size, output size after downsampling, origin.
#include "PluginTestSupport.h"

namespace quillon::test {
namespace {

constexpr int32_t k4K = 3;

class HostFrameSetup : public PluginTest {
protected:
    void Begin(HostIdentity identity, int32_t layerWidth, int32_t layerHeight) {
        StartInstance(identity);
        host().SetInputLayer(layerWidth, layerHeight, false, 12);
    }
    PF_Handle Seq() { return host().inData().sequence_data; }
};

TEST_F(HostFrameSetup, SizesAndOrigins) {
    const struct {
        HostIdentity identity;
        int32_t layerW, layerH, inW, inH;  // in_data size; 0: the layer's
        int32_t downsample, aspectNum, preset, customW, customH;
        int32_t width, height, originH, originV, targetW;
    } cases[] = {
        // Ultra HD fit to height from HD.
        {HostIdentity::AfterEffects, 1920, 1080, 0, 0, 1, 1, 25, 0, 0, 3840, 2160, 960, 540, 3840},
        // Ultra HD fit to width, layer aspect 0.9: trunc(3840 / 0.9), trunc(3840 / 648 * 480).
        {HostIdentity::AfterEffects, 720, 480, 0, 0, 1, 9, 26, 0, 0, 4266, 2844, 1773, 1182, 4266},
        // Custom 3840 x 2160 at half resolution.
        {HostIdentity::AfterEffects, 960, 540, 1920, 1080, 2, 1, 0, 3840, 2160, 1920, 1080, 480,
         270, 3840},
        // Modern Premiere ignores downsampling and sizes from in_data: 2160 / 1080 * 1440.
        {HostIdentity::PremierePro13, 960, 540, 1440, 1080, 2, 1, 22, 0, 0, 2880, 2160, 960, 810,
         2880},
        // Older Premiere uses the layer and the downsampling.
        {HostIdentity::PremierePro12, 960, 540, 1440, 1080, 2, 1, 22, 0, 0, 1920, 1080, 480, 270,
         3840},
        // Premiere has no composition rows: row 1 is "1280 x 720 Fit To Height".
        {HostIdentity::PremierePro12, 1920, 1080, 0, 0, 1, 1, 1, 0, 0, 1280, 720, -320, -180, 1280},
        // A smaller output gives a negative origin, rounded down: -99 >> 1.
        {HostIdentity::AfterEffects, 200, 200, 0, 0, 1, 1, 28, 101, 300, 101, 300, -50, 50, 101},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(&k - cases);
        Begin(k.identity, k.layerW, k.layerH);
        if (k.inW != 0) {
            host().inData().width = k.inW;
            host().inData().height = k.inH;
        }
        host().inData().downsample_x = host().inData().downsample_y =
            PF_RationalScale{1, static_cast<uint32_t>(k.downsample)};
        host().inData().pixel_aspect_ratio =
            PF_RationalScale{k.aspectNum, k.aspectNum == 1 ? 1u : 10u};
        host().param(k4K).u.pd.value = k.preset;
        host().param(5).u.sd.value = k.customW;
        host().param(6).u.sd.value = k.customH;
        ASSERT_EQ(host().FrameSetup(), PF_Err_NONE);
        EXPECT_EQ(host().outData().width, k.width);
        EXPECT_EQ(host().outData().height, k.height);
        EXPECT_EQ(host().outData().origin.h, k.originH);
        EXPECT_EQ(host().outData().origin.v, k.originV);
        EXPECT_EQ(ReadAt<uint32_t>(Seq(), kSeqTargetWidth), static_cast<uint32_t>(k.targetW));
        EXPECT_EQ(ReadAt<int32_t>(Seq(), kSeqOutputWidth), k.width);
        EXPECT_EQ(ReadAt<int32_t>(Seq(), kSeqOutputHeight), k.height);
        EXPECT_EQ(host().HandleLockCount(Seq()), 0);
        EXPECT_EQ(host().outstandingSuites(), 0);
    }
}

TEST_F(HostFrameSetup, FailedCompositionQueryGivesZeros) {
    Begin(HostIdentity::AfterEffects, 1920, 1080);
    host().FailSuite("AEGP Comp Suite");
    for (int32_t row : {1, 2}) {
        host().param(k4K).u.pd.value = row;
        ASSERT_EQ(host().FrameSetup(), PF_Err_NONE);
        EXPECT_EQ(host().outData().width, 0);
        EXPECT_EQ(host().outData().height, 0);
    }
    EXPECT_EQ(host().outstandingSuites(), 0);
}

TEST_F(HostFrameSetup, MissingOrShortSequenceDataIsOutOfMemory) {
    Begin(HostIdentity::AfterEffects, 1920, 1080);
    PF_Handle current = Seq();
    host().inData().sequence_data = nullptr;
    EXPECT_EQ(host().Send(PF_Cmd_FRAME_SETUP), PF_Err_OUT_OF_MEMORY);
    EXPECT_EQ(host().outData().width, 1920);  // untouched
    for (uint64_t size : {0u, 16u, 540u, 551u}) {
        host().inData().sequence_data = host().NewHandle(size);
        EXPECT_EQ(host().Send(PF_Cmd_FRAME_SETUP), PF_Err_OUT_OF_MEMORY) << size;
        EXPECT_EQ(host().HandleLockCount(Seq()), 0);
    }
    host().inData().sequence_data = current;
    host().FailCallback(Callback::LockHandle);
    EXPECT_EQ(host().Send(PF_Cmd_FRAME_SETUP), PF_Err_OUT_OF_MEMORY);
}

}  // namespace
}  // namespace quillon::test
