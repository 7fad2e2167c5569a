// Custom size linkage (user changed parameter) and the enabling of the
// custom-size controls (update parameters UI).
#include <algorithm>
#include <string>
#include <vector>

#include "PluginTestSupport.h"

namespace quillon::test {
namespace {

constexpr int32_t k4K = 3;
constexpr int32_t kWidth = 5;
constexpr int32_t kHeight = 6;
constexpr int32_t kConstrain = 7;

class HostLinkage : public PluginTest {
protected:
    void SetUp() override {
        StartInstance(HostIdentity::AfterEffects);
        host().SetComposition(1920, 1080, A_Ratio{1, 1});
    }

    PF_ParamDef& P(int32_t index) { return host().param(index); }
    PF_Handle Seq() { return host().inData().sequence_data; }
    bool Changed(int32_t index) {
        return (P(index).uu.change_flags & PF_ChangeFlag_CHANGED_VALUE) != 0;
    }

    // The DISABLED bit of the copies handed to the host, by index 4..7.
    void ExpectCustomControlsEnabled(bool enabled) {
        const auto& calls = host().updateParamUiCalls();
        ASSERT_EQ(calls.size(), 5u);
        for (std::size_t i = 0; i < 5; ++i) {
            EXPECT_EQ(calls[i].index, static_cast<int32_t>(3 + i));
            EXPECT_TRUE(i == 0 || ((calls[i].def.ui_flags & PF_PUI_DISABLED) == 0) == enabled) << i;
        }
    }

    PF_Err Change(int32_t index) {
        host().ClearUpdateParamUiCalls();
        return host().UserChangedParam(index);
    }
};

TEST_F(HostLinkage, FourKRowsSetTheSizeAndEnableTheControls) {
    const struct {
        int32_t row, width, height;
        bool enabled;
        double ratio;
    } cases[] = {
        {1, 1920, 1080, false, 1920.0 / 1080.0},  // "Fit To Comp ...": the composition's size
        {2, 1920, 1080, false, 1920.0 / 1080.0},
        {25, 3840, 2160, false, 3840.0 / 2160.0},  // a preset row
        {28, 1234, 567, true, 3840.0 / 2160.0},    // "Custom", separators and unknown rows
        {3, 1234, 567, true, 3840.0 / 2160.0},     // keep the values and the ratio
        {40, 1234, 567, true, 3840.0 / 2160.0},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.row);
        P(k4K).u.pd.value = k.row;
        P(kWidth).u.sd.value = 1234;
        P(kHeight).u.sd.value = 567;
        ASSERT_EQ(Change(k4K), PF_Err_NONE);
        EXPECT_EQ(P(kWidth).u.sd.value, k.width);
        EXPECT_EQ(P(kHeight).u.sd.value, k.height);
        EXPECT_EQ(Changed(kWidth) && Changed(kHeight), !k.enabled);
        ExpectCustomControlsEnabled(k.enabled);
        EXPECT_DOUBLE_EQ(ReadAt<double>(Seq(), kSeqRatio), k.ratio);
    }
    EXPECT_EQ(host().outstandingSuites(), 0);
    // The ratio now links the sliders: 1000 wide gives trunc(562.5 + 0.5).
    P(kWidth).u.sd.value = 1000;
    ASSERT_EQ(Change(kWidth), PF_Err_NONE);
    EXPECT_EQ(P(kHeight).u.sd.value, 563);
}

TEST_F(HostLinkage, ConstrainedEditsFollowTheStoredRatio) {
    P(kWidth).u.sd.value = 1000;
    ASSERT_EQ(Change(kWidth), PF_Err_NONE);
    EXPECT_EQ(P(kHeight).u.sd.value, 741);
    EXPECT_TRUE(Changed(kHeight) && !Changed(kWidth));

    P(kHeight).u.sd.value = 8192;
    ASSERT_EQ(Change(kHeight), PF_Err_NONE);
    EXPECT_EQ(P(kWidth).u.sd.value, 8192);  // 11059 clamped to the valid maximum
    EXPECT_TRUE(Changed(kWidth) && !Changed(kHeight));
    EXPECT_NE(host().outData().out_flags & PF_OutFlag_REFRESH_UI, 0);
    P(kWidth).u.sd.value = 100;
    ASSERT_EQ(Change(kWidth), PF_Err_NONE);
    EXPECT_EQ(P(kHeight).u.sd.value, 100);  // 74 raised to the valid minimum

    WriteAt<double>(Seq(), kSeqRatio, 0.0);  // counts as 1
    P(kWidth).u.sd.value = 500;
    ASSERT_EQ(Change(kWidth), PF_Err_NONE);
    EXPECT_EQ(P(kHeight).u.sd.value, 500);
}

TEST_F(HostLinkage, UnconstrainedEditsRecordTheRatio) {
    P(kConstrain).u.bd.value = 0;
    P(kWidth).u.sd.value = 2000;
    P(kHeight).u.sd.value = 1000;
    ASSERT_EQ(Change(kWidth), PF_Err_NONE);
    EXPECT_FALSE(Changed(kHeight));
    EXPECT_DOUBLE_EQ(ReadAt<double>(Seq(), kSeqRatio), 2.0);
    P(kWidth).u.sd.value = 0;
    P(kHeight).u.sd.value = 0;
    ASSERT_EQ(Change(kHeight), PF_Err_NONE);
    EXPECT_DOUBLE_EQ(ReadAt<double>(Seq(), kSeqRatio), 1.0);  // zeros count as 1
}

TEST_F(HostLinkage, CompositionQueryReleasesInOrderAndFailsToZeros) {
    P(k4K).u.pd.value = 1;
    ASSERT_EQ(Change(k4K), PF_Err_NONE);
    std::vector<std::string> order = {"AEGP PF Interface Suite", "AEGP Layer Suite",
                                      "AEGP Item Suite", "AEGP Comp Suite", "PF Param Utils Suite"};
    EXPECT_EQ(host().suiteReleases(), order);

    host().FailSuite("AEGP Item Suite");
    P(kWidth).u.sd.value = 777;
    ASSERT_EQ(Change(k4K), PF_Err_NONE);
    EXPECT_EQ(P(kWidth).u.sd.value + P(kHeight).u.sd.value, 0);
    order.erase(order.begin() + 2);
    EXPECT_TRUE(std::equal(order.begin(), order.end(), host().suiteReleases().begin() + 5));
    EXPECT_EQ(host().outstandingSuites(), 0);
    // The undefined 0 / 0 ratio must not upset the next constrained edit.
    P(kWidth).u.sd.value = 1000;
    ASSERT_EQ(Change(kWidth), PF_Err_NONE);
    EXPECT_TRUE(P(kHeight).u.sd.value >= 100 && P(kHeight).u.sd.value <= 8192);
}

TEST_F(HostLinkage, MissingSequenceDataIsOutOfMemory) {
    host().inData().sequence_data = nullptr;
    P(kWidth).u.sd.value = 1000;
    EXPECT_EQ(Change(kWidth), PF_Err_OUT_OF_MEMORY);
    EXPECT_FALSE(Changed(kHeight));
}

TEST_F(HostLinkage, UpdateParamsUiChangesOnlyCopies) {
    P(k4K).u.pd.value = 28;
    P(kWidth).ui_flags = PF_PUI_DISABLED;
    host().ClearUpdateParamUiCalls();
    ASSERT_EQ(host().UpdateParamsUi(), PF_Err_NONE);
    ExpectCustomControlsEnabled(true);
    EXPECT_EQ(P(kWidth).ui_flags, PF_PUI_DISABLED);
    EXPECT_EQ(host().outstandingSuites(), 0);
    // A failed acquisition is silent; without the basic suite it asks for a refresh.
    host().FailSuite("PF Param Utils Suite");
    host().ClearUpdateParamUiCalls();
    ASSERT_EQ(host().UpdateParamsUi(), PF_Err_NONE);
    EXPECT_EQ(host().outData().out_flags & PF_OutFlag_REFRESH_UI, 0);
    host().SetBasicSuiteAvailable(false);
    ASSERT_EQ(host().UpdateParamsUi(), PF_Err_NONE);
    EXPECT_NE(host().outData().out_flags & PF_OutFlag_REFRESH_UI, 0);
    EXPECT_TRUE(host().updateParamUiCalls().empty());
}

}  // namespace
}  // namespace quillon::test
