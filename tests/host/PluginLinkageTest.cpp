// Custom size linkage (user changed parameter) and the enabling of the
// custom-size controls (update parameters UI).
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
        }
        for (std::size_t i = 1; i < 5; ++i) {
            EXPECT_EQ((calls[i].def.ui_flags & PF_PUI_DISABLED) == 0, enabled) << i;
        }
    }

    PF_Err Change(int32_t index) {
        host().ClearUpdateParamUiCalls();
        return host().UserChangedParam(index);
    }
};

TEST_F(HostLinkage, FitToCompCopiesTheCompositionSizeAndDisablesTheControls) {
    for (int32_t value : {1, 2}) {
        P(k4K).u.pd.value = value;
        P(kWidth).u.sd.value = 555;
        P(kHeight).u.sd.value = 444;
        ASSERT_EQ(Change(k4K), PF_Err_NONE);
        EXPECT_EQ(P(kWidth).u.sd.value, 1920);
        EXPECT_EQ(P(kHeight).u.sd.value, 1080);
        EXPECT_TRUE(Changed(kWidth));
        EXPECT_TRUE(Changed(kHeight));
        EXPECT_NE(host().outData().out_flags & PF_OutFlag_REFRESH_UI, 0);
        ExpectCustomControlsEnabled(false);
        EXPECT_DOUBLE_EQ(ReadAt<double>(Seq(), kSeqRatio), 1920.0 / 1080.0);
    }
    EXPECT_EQ(host().outstandingSuites(), 0);
}

TEST_F(HostLinkage, PresetRowsSetTheirSizeAndRatio) {
    P(k4K).u.pd.value = 25;
    ASSERT_EQ(Change(k4K), PF_Err_NONE);
    EXPECT_EQ(P(kWidth).u.sd.value, 3840);
    EXPECT_EQ(P(kHeight).u.sd.value, 2160);
    ExpectCustomControlsEnabled(false);
    // The ratio now links the sliders: 1000 wide gives trunc(562.5 + 0.5).
    P(kWidth).u.sd.value = 1000;
    ASSERT_EQ(Change(kWidth), PF_Err_NONE);
    EXPECT_EQ(P(kHeight).u.sd.value, 563);
}

TEST_F(HostLinkage, CustomAndSeparatorsEnableTheControlsAndKeepValues) {
    for (int32_t value : {28, 3, 27, 40}) {
        P(k4K).u.pd.value = value;
        P(kWidth).u.sd.value = 1234;
        P(kHeight).u.sd.value = 567;
        ASSERT_EQ(Change(k4K), PF_Err_NONE);
        EXPECT_EQ(P(kWidth).u.sd.value, 1234);
        EXPECT_EQ(P(kHeight).u.sd.value, 567);
        EXPECT_FALSE(Changed(kWidth));
        EXPECT_FALSE(Changed(kHeight));
        ExpectCustomControlsEnabled(true);
    }
    EXPECT_DOUBLE_EQ(ReadAt<double>(Seq(), kSeqRatio), 1.35);
}

TEST_F(HostLinkage, ConstrainedEditsFollowTheStoredRatio) {
    P(kWidth).u.sd.value = 1000;
    ASSERT_EQ(Change(kWidth), PF_Err_NONE);
    EXPECT_EQ(P(kHeight).u.sd.value, 741);
    EXPECT_TRUE(Changed(kHeight));
    EXPECT_FALSE(Changed(kWidth));

    P(kHeight).u.sd.value = 8192;
    ASSERT_EQ(Change(kHeight), PF_Err_NONE);
    EXPECT_EQ(P(kWidth).u.sd.value, 8192);  // 11059 clamped to the valid maximum
    EXPECT_TRUE(Changed(kWidth));
    EXPECT_FALSE(Changed(kHeight));
    EXPECT_NE(host().outData().out_flags & PF_OutFlag_REFRESH_UI, 0);
}

TEST_F(HostLinkage, ZeroRatioCountsAsOne) {
    WriteAt<double>(Seq(), kSeqRatio, 0.0);
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
    EXPECT_EQ(P(kHeight).u.sd.value, 1000);
    EXPECT_DOUBLE_EQ(ReadAt<double>(Seq(), kSeqRatio), 2.0);

    // Toggling the checkbox leaves the ratio as it was.
    P(kConstrain).u.bd.value = 1;
    ASSERT_EQ(Change(kConstrain), PF_Err_NONE);
    EXPECT_DOUBLE_EQ(ReadAt<double>(Seq(), kSeqRatio), 2.0);
    P(kWidth).u.sd.value = 1000;
    ASSERT_EQ(Change(kWidth), PF_Err_NONE);
    EXPECT_EQ(P(kHeight).u.sd.value, 500);

    P(kConstrain).u.bd.value = 0;
    P(kWidth).u.sd.value = 0;
    P(kHeight).u.sd.value = 0;
    ASSERT_EQ(Change(kHeight), PF_Err_NONE);
    EXPECT_DOUBLE_EQ(ReadAt<double>(Seq(), kSeqRatio), 1.0);  // zeros count as 1
}

TEST_F(HostLinkage, FailedCompositionQueryCopiesZeros) {
    host().FailCallback(Callback::GetItemDimensions);
    P(k4K).u.pd.value = 1;
    ASSERT_EQ(Change(k4K), PF_Err_NONE);
    EXPECT_EQ(P(kWidth).u.sd.value, 0);
    EXPECT_EQ(P(kHeight).u.sd.value, 0);
    // The undefined 0 / 0 ratio must not upset the next constrained edit.
    P(kWidth).u.sd.value = 1000;
    ASSERT_EQ(Change(kWidth), PF_Err_NONE);
    EXPECT_GE(P(kHeight).u.sd.value, 100);
    EXPECT_LE(P(kHeight).u.sd.value, 8192);
}

TEST_F(HostLinkage, CompositionQueryReleasesSuitesInOrder) {
    P(k4K).u.pd.value = 1;
    ASSERT_EQ(Change(k4K), PF_Err_NONE);
    const std::vector<std::string> order = {"AEGP PF Interface Suite", "AEGP Layer Suite",
                                            "AEGP Item Suite", "AEGP Comp Suite",
                                            "PF Param Utils Suite"};
    EXPECT_EQ(host().suiteReleases(), order);
    EXPECT_EQ(host().outstandingSuites(), 0);
}

TEST_F(HostLinkage, CompositionQueryReleasesOnlyWhatItAcquired) {
    host().FailSuite("AEGP Item Suite");
    P(k4K).u.pd.value = 2;
    P(kWidth).u.sd.value = 777;
    ASSERT_EQ(Change(k4K), PF_Err_NONE);
    EXPECT_EQ(P(kWidth).u.sd.value, 0);
    const std::vector<std::string> order = {"AEGP PF Interface Suite", "AEGP Layer Suite",
                                            "AEGP Comp Suite", "PF Param Utils Suite"};
    EXPECT_EQ(host().suiteReleases(), order);
    EXPECT_EQ(host().outstandingSuites(), 0);
}

TEST_F(HostLinkage, MissingSequenceDataIsOutOfMemory) {
    host().inData().sequence_data = nullptr;
    P(kWidth).u.sd.value = 1000;
    EXPECT_EQ(Change(kWidth), PF_Err_OUT_OF_MEMORY);
    EXPECT_FALSE(Changed(kHeight));
}

TEST_F(HostLinkage, UpdateParamsUiWithoutBasicSuiteAsksForRefresh) {
    host().SetBasicSuiteAvailable(false);
    host().ClearUpdateParamUiCalls();
    ASSERT_EQ(host().UpdateParamsUi(), PF_Err_NONE);
    EXPECT_NE(host().outData().out_flags & PF_OutFlag_REFRESH_UI, 0);
    EXPECT_TRUE(host().updateParamUiCalls().empty());
}

TEST_F(HostLinkage, UpdateParamsUiFailedAcquisitionIsSilent) {
    host().FailSuite("PF Param Utils Suite");
    host().ClearUpdateParamUiCalls();
    ASSERT_EQ(host().UpdateParamsUi(), PF_Err_NONE);
    EXPECT_EQ(host().outData().out_flags & PF_OutFlag_REFRESH_UI, 0);
    EXPECT_TRUE(host().updateParamUiCalls().empty());
}

TEST_F(HostLinkage, UpdateParamsUiChangesOnlyCopies) {
    P(k4K).u.pd.value = 28;
    P(kWidth).ui_flags = PF_PUI_DISABLED;
    host().ClearUpdateParamUiCalls();
    ASSERT_EQ(host().UpdateParamsUi(), PF_Err_NONE);
    ExpectCustomControlsEnabled(true);
    EXPECT_EQ(P(kWidth).ui_flags, PF_PUI_DISABLED);
    EXPECT_EQ(host().outstandingSuites(), 0);
}

}  // namespace
}  // namespace quillon::test
