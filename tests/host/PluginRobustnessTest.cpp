// Bad input from the host: missing records, failing and throwing callbacks.
#include "PluginTestSupport.h"

namespace quillon::test {
namespace {

class HostRobustness : public PluginTest {};

TEST_F(HostRobustness, NullRecordsOnEverySelectorNeverCrash) {
    StartInstance();
    for (PF_Cmd cmd = 0; cmd <= 19; ++cmd) {
        if (cmd == PF_Cmd_RENDER) {
            continue;
        }
        const PF_Err withNothing = host().SendRaw(cmd, nullptr, nullptr, nullptr, nullptr, nullptr);
        EXPECT_TRUE(withNothing == PF_Err_NONE || withNothing == PF_Err_BAD_CALLBACK_PARAM) << cmd;
        PF_OutData out{};
        const PF_Err noParams =
            host().SendRaw(cmd, &host().inData(), &out, nullptr, nullptr, nullptr);
        EXPECT_TRUE(noParams == PF_Err_NONE || noParams == PF_Err_BAD_CALLBACK_PARAM ||
                    noParams == PF_Err_OUT_OF_MEMORY)
            << cmd;
    }
}

TEST_F(HostRobustness, SelectorsNeedingRecordsReportThem) {
    StartInstance();
    EXPECT_EQ(
        host().SendRaw(PF_Cmd_GLOBAL_SETUP, &host().inData(), nullptr, nullptr, nullptr, nullptr),
        PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(
        host().SendRaw(PF_Cmd_PARAMS_SETUP, nullptr, &host().outData(), nullptr, nullptr, nullptr),
        PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(host().SendRaw(PF_Cmd_FRAME_SETUP, &host().inData(), &host().outData(), nullptr,
                             nullptr, nullptr),
              PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(host().SendRaw(PF_Cmd_USER_CHANGED_PARAM, &host().inData(), &host().outData(),
                             host().paramArray(), nullptr, nullptr),
              PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(host().SendRaw(PF_Cmd_UPDATE_PARAMS_UI, &host().inData(), &host().outData(), nullptr,
                             nullptr, nullptr),
              PF_Err_BAD_CALLBACK_PARAM);
    // A parameter array shorter than the effect's list.
    host().inData().num_params = 4;
    EXPECT_EQ(host().Send(PF_Cmd_FRAME_SETUP), PF_Err_BAD_CALLBACK_PARAM);
    host().inData().num_params = 13;
    host().paramArray()[6] = nullptr;
    EXPECT_EQ(host().Send(PF_Cmd_UPDATE_PARAMS_UI), PF_Err_BAD_CALLBACK_PARAM);
}

TEST_F(HostRobustness, MissingUtilityCallbacksAreReported) {
    Start();
    PF_UtilCallbacks* utils = host().inData().utils;
    host().inData().utils = nullptr;
    EXPECT_EQ(host().Send(PF_Cmd_GLOBAL_SETUP), PF_Err_INVALID_CALLBACK);
    EXPECT_EQ(host().Send(PF_Cmd_SEQUENCE_SETUP), PF_Err_INVALID_CALLBACK);
    EXPECT_EQ(host().Send(PF_Cmd_ABOUT), PF_Err_NONE);  // text fallback without callbacks
    host().inData().utils = utils;
    utils->host_get_handle_size = nullptr;
    EXPECT_EQ(host().Send(PF_Cmd_SEQUENCE_SETUP), PF_Err_INVALID_CALLBACK);
    EXPECT_EQ(host().LiveHandleCount(), 0u);
}

TEST_F(HostRobustness, ZeroDownsampleDenominatorIsRejected) {
    StartInstance();
    host().inData().downsample_y = PF_RationalScale{1, 0};
    EXPECT_EQ(host().Send(PF_Cmd_FRAME_SETUP), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(host().HandleLockCount(host().inData().sequence_data), 0);
}

TEST_F(HostRobustness, ThrowingCallbacksAreAnsweredWith516) {
    Start();
    host().ThrowFrom(Callback::NewHandle);
    EXPECT_EQ(host().Send(PF_Cmd_GLOBAL_SETUP), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(host().Send(PF_Cmd_SEQUENCE_SETUP), PF_Err_BAD_CALLBACK_PARAM);
    host().ClearFaults();

    ASSERT_EQ(host().GlobalSetup(), PF_Err_NONE);
    host().ThrowFrom(Callback::AddParam);
    EXPECT_EQ(host().Send(PF_Cmd_PARAMS_SETUP), PF_Err_BAD_CALLBACK_PARAM);
    host().ClearFaults();
    host().ThrowFrom(Callback::Sprintf);
    EXPECT_EQ(host().Send(PF_Cmd_ABOUT), PF_Err_BAD_CALLBACK_PARAM);
}

TEST_F(HostRobustness, ThrowDuringCompositionQueryReleasesEverySuite) {
    StartInstance();
    host().param(3).u.pd.value = 1;
    host().ThrowFrom(Callback::GetItemDimensions);
    EXPECT_EQ(host().Send(PF_Cmd_FRAME_SETUP), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(host().outstandingSuites(), 0);
    EXPECT_EQ(host().HandleLockCount(host().inData().sequence_data), 0);
    PF_UserChangedParamExtra extra{3};
    EXPECT_EQ(host().Send(PF_Cmd_USER_CHANGED_PARAM, &extra), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(host().outstandingSuites(), 0);
}

TEST_F(HostRobustness, OutOfRangeParameterValuesFallBackToCustomSize) {
    StartInstance();
    host().param(5).u.sd.value = 640;
    host().param(6).u.sd.value = 480;
    for (int32_t value : {-7, 0, 29, 1 << 30}) {
        host().param(3).u.pd.value = value;
        ASSERT_EQ(host().FrameSetup(), PF_Err_NONE) << value;
        EXPECT_EQ(host().outData().width, 640);
        EXPECT_EQ(host().outData().height, 480);
        PF_UserChangedParamExtra extra{value};
        EXPECT_EQ(host().Send(PF_Cmd_USER_CHANGED_PARAM, &extra), PF_Err_NONE);
    }
}

TEST_F(HostRobustness, AFullSessionLeavesNoLocksAndNoHandles) {
    StartInstance();
    host().param(3).u.pd.value = 25;
    ASSERT_EQ(host().FrameSetup(), PF_Err_NONE);
    ASSERT_EQ(host().UserChangedParam(3), PF_Err_NONE);
    ASSERT_EQ(host().UpdateParamsUi(), PF_Err_NONE);
    ASSERT_EQ(host().Send(PF_Cmd_EVENT), PF_Err_NONE);
    EXPECT_EQ(host().HandleLockCount(host().inData().sequence_data), 0);
    ASSERT_EQ(host().SequenceSetdown(), PF_Err_NONE);
    ASSERT_EQ(host().GlobalSetdown(), PF_Err_NONE);
    EXPECT_EQ(host().LiveHandleCount(), 0u);
    EXPECT_EQ(host().outstandingSuites(), 0);
}

}  // namespace
}  // namespace quillon::test
