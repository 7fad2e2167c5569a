// Bad input from the host: missing records, failing and throwing callbacks.
#include "PluginTestSupport.h"

namespace quillon::test {
namespace {

class HostRobustness : public PluginTest {};

TEST_F(HostRobustness, MissingRecordsAnswerAnErrorCode) {
    StartInstance();
    for (PF_Cmd cmd = 0; cmd <= 19; ++cmd) {
        if (cmd == PF_Cmd_RENDER) {
            continue;
        }
        const PF_Err withNothing = host().SendRaw(cmd, nullptr, nullptr, nullptr, nullptr, nullptr);
        EXPECT_TRUE(withNothing == PF_Err_NONE || withNothing == PF_Err_BAD_CALLBACK_PARAM) << cmd;
    }
    PF_InData* in = &host().inData();
    PF_OutData* out = &host().outData();
    EXPECT_EQ(host().SendRaw(PF_Cmd_GLOBAL_SETUP, in, nullptr, nullptr, nullptr, nullptr),
              PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(host().SendRaw(PF_Cmd_PARAMS_SETUP, nullptr, out, nullptr, nullptr, nullptr),
              PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(host().SendRaw(PF_Cmd_FRAME_SETUP, in, out, nullptr, nullptr, nullptr),
              PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(
        host().SendRaw(PF_Cmd_USER_CHANGED_PARAM, in, out, host().paramArray(), nullptr, nullptr),
        PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(host().SendRaw(PF_Cmd_UPDATE_PARAMS_UI, in, out, nullptr, nullptr, nullptr),
              PF_Err_BAD_CALLBACK_PARAM);
    in->num_params = 4;  // a parameter array shorter than the effect's list
    EXPECT_EQ(host().Send(PF_Cmd_FRAME_SETUP), PF_Err_BAD_CALLBACK_PARAM);
    in->num_params = 13;
    in->downsample_y = PF_RationalScale{1, 0};
    EXPECT_EQ(host().Send(PF_Cmd_FRAME_SETUP), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(host().HandleLockCount(in->sequence_data), 0);
    host().paramArray()[6] = nullptr;
    EXPECT_EQ(host().Send(PF_Cmd_UPDATE_PARAMS_UI), PF_Err_BAD_CALLBACK_PARAM);
    in->utils = nullptr;
    EXPECT_EQ(host().Send(PF_Cmd_SEQUENCE_SETUP), PF_Err_INVALID_CALLBACK);
}

TEST_F(HostRobustness, ThrowingCallbacksAreAnsweredWith516) {
    StartInstance();
    host().param(3).u.pd.value = 1;
    host().ThrowFrom(Callback::GetItemDimensions);
    EXPECT_EQ(host().Send(PF_Cmd_FRAME_SETUP), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(host().HandleLockCount(host().inData().sequence_data), 0);
    PF_UserChangedParamExtra extra{3};
    EXPECT_EQ(host().Send(PF_Cmd_USER_CHANGED_PARAM, &extra), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(host().outstandingSuites(), 0);
    host().ThrowFrom(Callback::NewHandle);
    EXPECT_EQ(host().Send(PF_Cmd_SEQUENCE_SETUP), PF_Err_BAD_CALLBACK_PARAM);
    host().ThrowFrom(Callback::AddParam);
    EXPECT_EQ(host().Send(PF_Cmd_PARAMS_SETUP), PF_Err_BAD_CALLBACK_PARAM);
    host().ThrowFrom(Callback::Sprintf);
    EXPECT_EQ(host().Send(PF_Cmd_ABOUT), PF_Err_BAD_CALLBACK_PARAM);
}

}  // namespace
}  // namespace quillon::test
