// The parameter definitions under each host.
#include <string>
#include <vector>

#include "PluginTestSupport.h"

namespace quillon::test {
namespace {

class HostParameters : public PluginTest {
protected:
    const hostsim::RecordedParam& Added(std::size_t i) { return host().addedParams().at(i); }
};

TEST_F(HostParameters, AfterEffectsDefinitions) {
    StartInstance(HostIdentity::AfterEffects);
    ASSERT_EQ(host().ParamsSetup(), PF_Err_NONE);
    ASSERT_EQ(host().addedParams().size(), 12u);
    EXPECT_EQ(host().outData().num_params, 13);

    const int32_t ids[] = {13, 1, 12, 2, 3, 4, 6, 7, 8, 9, 10, 11};
    const PF_ParamType kinds[] = {PF_Param_NO_DATA,     PF_Param_POPUP,     PF_Param_POPUP,
                                  PF_Param_GROUP_START, PF_Param_SLIDER,    PF_Param_SLIDER,
                                  PF_Param_CHECKBOX,    PF_Param_GROUP_END, PF_Param_POPUP,
                                  PF_Param_SLIDER,      PF_Param_SLIDER,    PF_Param_SLIDER};
    const char* names[] = {"",
                           "Output Size",
                           "4K Output Size",
                           "Custom Size",
                           "Custom Width",
                           "Custom Height",
                           "Constrain Proportions",
                           "Constrain Proportions",
                           "Filter Type",
                           "Sharpness",
                           "Quality",
                           "Anti-aliasing"};
    const PF_ParamFlags flags[] = {512, 64, 64, 0, 64, 64, 64, 64, 0, 0, 0, 0};
    const PF_ParamUIFlags uiFlags[] = {1, 0x28, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    for (std::size_t i = 0; i < 12; ++i) {
        SCOPED_TRACE(i);
        const PF_ParamDef& def = Added(i).def;
        EXPECT_EQ(Added(i).index, -1);
        EXPECT_EQ(def.uu.id, ids[i]);
        EXPECT_EQ(def.param_type, kinds[i]);
        EXPECT_STREQ(def.name, names[i]);
        EXPECT_EQ(def.flags, flags[i]);
        EXPECT_EQ(def.ui_flags, uiFlags[i]);
    }
    // Header without branding: a bare topic with no size.
    EXPECT_EQ(Added(0).def.ui_width, 0);
    EXPECT_EQ(Added(0).def.ui_height, 0);

    const PF_ParamDef& output = Added(1).def;
    EXPECT_EQ(output.u.pd.num_choices, 51);
    EXPECT_EQ(output.u.pd.dephault, 51);
    EXPECT_EQ(output.u.pd.value, 51);
    EXPECT_EQ(Added(1).popupItems.substr(Added(1).popupItems.size() - 5), "|none");

    const PF_ParamDef& fourK = Added(2).def;
    EXPECT_EQ(fourK.u.pd.num_choices, 28);
    EXPECT_EQ(fourK.u.pd.dephault, 2);
    EXPECT_EQ(fourK.u.pd.value, 2);
    EXPECT_EQ(Added(2).popupItems.rfind("Fit To Comp Height|Fit To Comp Width|(-|", 0), 0u);

    for (std::size_t i : {4u, 5u}) {
        const PF_SliderDef& sd = Added(i).def.u.sd;
        EXPECT_EQ(sd.valid_min, 100);
        EXPECT_EQ(sd.valid_max, 8192);
        EXPECT_EQ(sd.slider_min, 100);
        EXPECT_EQ(sd.slider_max, 8192);
        EXPECT_EQ(sd.dephault, 0);  // the "none" row has no size
        EXPECT_EQ(sd.value, 0);
    }
    EXPECT_EQ(Added(6).def.u.bd.value, 1);
    EXPECT_EQ(Added(6).def.u.bd.dephault, 1);
    EXPECT_EQ(Added(6).checkboxLabel, "");

    const PF_ParamDef& filter = Added(8).def;
    EXPECT_EQ(Added(8).popupItems, "Draft|Quick|Better|Best");
    EXPECT_EQ(filter.u.pd.num_choices, 4);
    EXPECT_EQ(filter.u.pd.dephault, 2);
    EXPECT_EQ(filter.u.pd.value, 2);

    const int32_t sliderMax[] = {25, 25, 10};
    const int32_t sliderDefault[] = {2, 8, 6};
    for (std::size_t k = 0; k < 3; ++k) {
        const PF_SliderDef& sd = Added(9 + k).def.u.sd;
        EXPECT_EQ(sd.valid_min, 0);
        EXPECT_EQ(sd.slider_min, 0);
        EXPECT_EQ(sd.valid_max, sliderMax[k]);
        EXPECT_EQ(sd.slider_max, sliderMax[k]);
        EXPECT_EQ(sd.dephault, sliderDefault[k]);
        EXPECT_EQ(sd.value, sliderDefault[k]);
    }

    ASSERT_EQ(host().registeredUi().size(), 1u);
    const PF_CustomUIInfo& ui = host().registeredUi()[0];
    EXPECT_EQ(ui.events, PF_CustomEFlag_EFFECT);
    EXPECT_EQ(ui.reserved, 0);
    EXPECT_EQ(ui.comp_ui_width, 0);
    EXPECT_EQ(ui.layer_ui_width, 0);
    EXPECT_EQ(ui.preview_ui_alignment, 0);
}

TEST_F(HostParameters, PremiereDefaultsFromItsTables) {
    for (HostIdentity identity : {HostIdentity::PremierePro12, HostIdentity::PremierePro13}) {
        StartInstance(identity);
        ASSERT_EQ(host().addedParams().size(), 12u);
        const PF_ParamDef& output = Added(1).def;
        EXPECT_EQ(output.u.pd.num_choices, 59);
        EXPECT_EQ(output.u.pd.dephault, 10);
        EXPECT_NE(Added(1).popupItems.find("|1280 x 720 (972 x 720) NTSC DV|"), std::string::npos);
        const PF_ParamDef& fourK = Added(2).def;
        EXPECT_EQ(fourK.u.pd.num_choices, 25);
        EXPECT_EQ(fourK.u.pd.dephault, 0);
        EXPECT_EQ(fourK.u.pd.value, 0);
        EXPECT_EQ(Added(2).popupItems.rfind("1280 x 720 Fit To Height|", 0), 0u);
        EXPECT_EQ(Added(4).def.u.sd.dephault, 972);
        EXPECT_EQ(Added(4).def.u.sd.value, 972);
        EXPECT_EQ(Added(5).def.u.sd.dephault, 720);
        EXPECT_EQ(Added(5).def.u.sd.value, 720);
    }
}

TEST_F(HostParameters, AddParamErrorIsReturnedUnchanged) {
    Start();
    ASSERT_EQ(host().GlobalSetup(), PF_Err_NONE);
    host().FailCallback(Callback::AddParam, 3, PF_Err_INVALID_INDEX);
    EXPECT_EQ(host().ParamsSetup(), PF_Err_INVALID_INDEX);
    EXPECT_EQ(host().addedParams().size(), 3u);
    EXPECT_TRUE(host().registeredUi().empty());
    EXPECT_EQ(host().CallCount(Callback::AddParam), 4);

    host().FailCallback(Callback::AddParam, 0, PF_Err_OUT_OF_MEMORY);
    EXPECT_EQ(host().ParamsSetup(), PF_Err_OUT_OF_MEMORY);
    EXPECT_TRUE(host().addedParams().empty());
}

TEST_F(HostParameters, RegisterUiErrorIsReturnedUnchanged) {
    Start();
    ASSERT_EQ(host().GlobalSetup(), PF_Err_NONE);
    host().FailCallback(Callback::RegisterUi, 0, PF_Err_INVALID_CALLBACK);
    EXPECT_EQ(host().ParamsSetup(), PF_Err_INVALID_CALLBACK);
    EXPECT_EQ(host().addedParams().size(), 12u);
}

TEST_F(HostParameters, SetupWithoutGlobalDataStillDefinesAPlainHeader) {
    Start();
    ASSERT_EQ(host().ParamsSetup(), PF_Err_NONE);
    ASSERT_EQ(host().addedParams().size(), 12u);
    EXPECT_EQ(Added(0).def.ui_flags, PF_PUI_TOPIC);
    EXPECT_EQ(host().unknownHandleCalls(), 0);
}

}  // namespace
}  // namespace quillon::test
