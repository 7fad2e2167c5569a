// The parameter definitions under each host.
#include <string>

#include "PluginTestSupport.h"

namespace quillon::test {
namespace {

class HostParameters : public PluginTest {
protected:
    const hostsim::RecordedParam& Added(std::size_t i) { return host().addedParams().at(i); }
};

// Per host column: [0] After Effects, [1] Premiere Pro. A null name or a
// flags value of -1 is left unchecked (the group end defines neither).
struct Expected {
    int32_t id;
    PF_ParamType kind;
    const char* name;
    PF_ParamFlags flags;
    PF_ParamUIFlags ui;
    int32_t lo, hi[2], dflt[2];
};
const Expected kParams[] = {
    {13, PF_Param_NO_DATA, "", 512, PF_PUI_TOPIC, 0, {0, 0}, {0, 0}},
    {1, PF_Param_POPUP, "Output Size", 64, 0x28, 0, {51, 59}, {51, 10}},
    {12, PF_Param_POPUP, "4K Output Size", 64, 0, 0, {28, 25}, {2, 0}},
    {2, PF_Param_GROUP_START, "Custom Size", 0, 0, 0, {0, 0}, {0, 0}},
    {3, PF_Param_SLIDER, "Custom Width", 64, 0, 100, {8192, 8192}, {0, 972}},
    {4, PF_Param_SLIDER, "Custom Height", 64, 0, 100, {8192, 8192}, {0, 720}},
    {6, PF_Param_CHECKBOX, "Constrain Proportions", 64, 0, 0, {0, 0}, {1, 1}},
    {7, PF_Param_GROUP_END, nullptr, -1, 0, 0, {0, 0}, {0, 0}},
    {8, PF_Param_POPUP, "Filter Type", 0, 0, 0, {4, 4}, {2, 2}},
    {9, PF_Param_SLIDER, "Sharpness", 0, 0, 0, {25, 25}, {2, 2}},
    {10, PF_Param_SLIDER, "Quality", 0, 0, 0, {25, 25}, {8, 8}},
    {11, PF_Param_SLIDER, "Anti-aliasing", 0, 0, 0, {10, 10}, {6, 6}},
};

TEST_F(HostParameters, DefinitionsUnderEachHost) {
    for (HostIdentity identity :
         {HostIdentity::AfterEffects, HostIdentity::PremierePro12, HostIdentity::PremierePro13}) {
        const int h = identity == HostIdentity::AfterEffects ? 0 : 1;
        StartInstance(identity);
        ASSERT_EQ(host().addedParams().size(), 12u);
        for (std::size_t i = 0; i < 12; ++i) {
            SCOPED_TRACE(testing::Message() << "host " << h << " param " << i);
            const Expected& e = kParams[i];
            const PF_ParamDef& def = Added(i).def;
            EXPECT_EQ(Added(i).index, -1);
            EXPECT_EQ(def.uu.id, e.id);
            EXPECT_EQ(def.param_type, e.kind);
            if (e.name != nullptr) {
                EXPECT_STREQ(def.name, e.name);
            }
            if (e.flags != -1) {
                EXPECT_EQ(def.flags, e.flags);
            }
            EXPECT_EQ(def.ui_flags, e.ui);
            if (e.kind == PF_Param_POPUP) {
                EXPECT_EQ(def.u.pd.num_choices, e.hi[h]);
                EXPECT_EQ(def.u.pd.dephault, e.dflt[h]);
                EXPECT_EQ(def.u.pd.value, e.dflt[h]);
            } else if (e.kind == PF_Param_SLIDER) {
                const PF_SliderDef& sd = def.u.sd;
                EXPECT_EQ(sd.valid_min, e.lo);
                EXPECT_EQ(sd.slider_min, e.lo);
                EXPECT_EQ(sd.valid_max, e.hi[h]);
                EXPECT_EQ(sd.slider_max, e.hi[h]);
                EXPECT_EQ(sd.dephault, e.dflt[h]);
                EXPECT_EQ(sd.value, e.dflt[h]);
            } else if (e.kind == PF_Param_CHECKBOX) {
                EXPECT_EQ(def.u.bd.value, e.dflt[h]);
                EXPECT_EQ(def.u.bd.dephault, e.dflt[h]);
                EXPECT_EQ(Added(i).checkboxLabel, "");
            }
        }
        const char* output = h ? "|(-|1280 x 720 (972 x 720) NTSC DV|" : "|Custom|none";
        EXPECT_NE(Added(1).popupItems.find(output), std::string::npos);
        const char* fourK =
            h ? "1280 x 720 Fit To Height|" : "Fit To Comp Height|Fit To Comp Width|(-|";
        EXPECT_EQ(Added(2).popupItems.rfind(fourK, 0), 0u);
        EXPECT_EQ(Added(8).popupItems, "Draft|Quick|Better|Best");
        EXPECT_EQ(Added(0).def.ui_width, 0);  // a bare topic has no size
        EXPECT_EQ(Added(0).def.ui_height, 0);
        ASSERT_EQ(host().registeredUi().size(), 1u);
        const PF_CustomUIInfo& ui = host().registeredUi()[0];
        EXPECT_EQ(ui.events, PF_CustomEFlag_EFFECT);
        EXPECT_EQ(ui.reserved + ui.comp_ui_width + ui.layer_ui_width + ui.preview_ui_alignment, 0);
    }
}

void IdealDimensions(void*, float* width, float* height) {
    *width = 300.9f;
    *height = 85.5f;
}

TEST_F(HostParameters, HeaderWithAndWithoutBranding) {
    Start();
    ASSERT_EQ(host().ParamsSetup(), PF_Err_NONE);  // no global data at all
    EXPECT_EQ(host().outData().num_params, 13);
    EXPECT_EQ(Added(0).def.ui_flags, PF_PUI_TOPIC);

    ASSERT_EQ(host().GlobalSetup(), PF_Err_NONE);
    PF_Handle globals = host().outData().global_data;
    WriteAt(globals, 48, &IdealDimensions);  // the sixth entry point
    WriteAt(globals, 72, static_cast<void*>(&globals));
    ASSERT_EQ(host().ParamsSetup(), PF_Err_NONE);
    WriteAt(globals, 72, static_cast<void*>(nullptr));  // nothing to unload
    EXPECT_EQ(Added(0).def.ui_flags, PF_PUI_CONTROL | PF_PUI_DONT_ERASE_CONTROL);
    EXPECT_EQ(Added(0).def.ui_width, 300);
    EXPECT_EQ(Added(0).def.ui_height, 45);
}

TEST_F(HostParameters, CallbackErrorsAreReturnedUnchanged) {
    Start();
    ASSERT_EQ(host().GlobalSetup(), PF_Err_NONE);
    host().FailCallback(Callback::AddParam, 3, PF_Err_INVALID_INDEX);
    EXPECT_EQ(host().ParamsSetup(), PF_Err_INVALID_INDEX);
    EXPECT_EQ(host().addedParams().size(), 3u);
    EXPECT_TRUE(host().registeredUi().empty());
    EXPECT_EQ(host().CallCount(Callback::AddParam), 4);
    host().ClearFaults();
    host().FailCallback(Callback::RegisterUi, 0, PF_Err_INVALID_CALLBACK);
    EXPECT_EQ(host().ParamsSetup(), PF_Err_INVALID_CALLBACK);
}

}  // namespace
}  // namespace quillon::test
