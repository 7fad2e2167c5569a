// The host's effect plug-in interface: basic types, records, callback tables
// and constants, declared for this project from the host's published layouts.
// Every record has natural alignment; the layouts below are checked against
// the published x86-64 sizes and offsets at the end of this header.
#ifndef QUILLON_HOST_AE_PLUGINTYPES_H
#define QUILLON_HOST_AE_PLUGINTYPES_H

#include <cstddef>
#include <cstdint>

// ---------------------------------------------------------------- basic types

typedef int32_t A_long;
typedef uint32_t A_u_long;
typedef int16_t A_short;
typedef uint16_t A_u_short;
typedef char A_char;
typedef unsigned char A_u_char;
typedef unsigned char A_Boolean;
typedef double A_FpLong;
typedef float A_FpShort;
typedef int32_t A_Err;
typedef void* A_Handle;
typedef uint64_t A_u_longlong;
typedef uint64_t A_HandleSize;
typedef intptr_t A_intptr_t;
typedef int32_t A_Fixed;

typedef int32_t PF_Fixed;
typedef uint32_t PF_UFixed;
typedef char PF_Boolean;
typedef void** PF_Handle;
typedef struct PF_ProgressInfo* PF_ProgPtr;
typedef double PF_FpLong;
typedef float PF_FpShort;

typedef int32_t PF_Err;
typedef int32_t PF_Cmd;
typedef int32_t PF_ParamValue;
typedef int32_t PF_ParamIndex;
typedef int32_t PF_ParamType;
typedef int32_t PF_ParamFlags;
typedef int32_t PF_ParamUIFlags;
typedef int32_t PF_ChangeFlags;
typedef int32_t PF_OutFlags;
typedef int32_t PF_OutFlags2;
typedef int32_t PF_InFlags;
typedef int32_t PF_Quality;
typedef int32_t PF_Field;
typedef int32_t PF_WorldFlags;
typedef int32_t PF_Stage;
typedef int32_t PF_PlatDataID;
typedef int32_t PF_CustomEventFlags;
typedef int32_t PF_UIAlignment;
typedef void* PF_PixelPtr;

typedef int SPErr;
typedef int SPBoolean;

typedef struct AEGP_LayerOpaque* AEGP_LayerH;
typedef struct AEGP_CompOpaque* AEGP_CompH;
typedef struct AEGP_ItemOpaque* AEGP_ItemH;
typedef int32_t AEGP_PluginID;

// ------------------------------------------------------------- small records

struct PF_Point {
    int32_t h;
    int32_t v;
};

struct PF_LRect {
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
};
typedef PF_LRect PF_Rect;

struct PF_RationalScale {
    int32_t num;
    uint32_t den;
};

struct A_Ratio {
    int32_t num;
    uint32_t den;
};

struct A_Time {
    int32_t value;
    uint32_t scale;
};

struct PF_SpecVersion {
    int16_t major;
    int16_t minor;
};

struct PF_Pixel {
    uint8_t alpha;
    uint8_t red;
    uint8_t green;
    uint8_t blue;
};

struct PF_Pixel16 {
    uint16_t alpha;
    uint16_t red;
    uint16_t green;
    uint16_t blue;
};

struct PF_SoundFormatInfo {
    double rateF;
    int16_t num_channels;
    int16_t format;
    int16_t sample_size;
};

struct PF_SoundWorld {
    PF_SoundFormatInfo fi;
    int32_t num_samples;
    void* dataP;
};

struct PF_UserChangedParamExtra {
    PF_ParamIndex param_index;
};

// ------------------------------------------------------------------- worlds

struct PF_LayerDef {
    void* reserved0;
    void* reserved1;
    PF_WorldFlags world_flags;
    PF_PixelPtr data;
    int32_t rowbytes;
    int32_t width;
    int32_t height;
    PF_LRect extent_hint;
    void* platform_ref;
    int32_t reserved_long1;
    void* reserved_long4;
    PF_RationalScale pix_aspect_ratio;
    void* reserved_long2;
    int32_t origin_x;
    int32_t origin_y;
    int32_t reserved_long3;
    int32_t dephault;
};
typedef PF_LayerDef PF_EffectWorld;

// --------------------------------------------------------- parameter records

struct PF_SliderDef {
    PF_ParamValue value;
    char value_str[32];
    char value_desc[32];
    PF_ParamValue valid_min;
    PF_ParamValue valid_max;
    PF_ParamValue slider_min;
    PF_ParamValue slider_max;
    PF_ParamValue dephault;
};

struct PF_PopupDef {
    PF_ParamValue value;
    int16_t num_choices;
    int16_t dephault;
    union {
        const char* namesptr;
    } u;
};

struct PF_CheckBoxDef {
    PF_ParamValue value;
    PF_Boolean dephault;
    char reserved;
    int16_t reserved1;
    union {
        const char* nameptr;
    } u;
};

// The union of the parameter kinds this effect uses; the layer member is the
// largest of all the host's kinds and so fixes the union's size.
union PF_ParamDefUnion {
    PF_LayerDef ld;
    PF_SliderDef sd;
    PF_PopupDef pd;
    PF_CheckBoxDef bd;
};

struct PF_ParamDef {
    union {
        int32_t id;
        PF_ChangeFlags change_flags;
    } uu;
    PF_ParamUIFlags ui_flags;
    int16_t ui_width;
    int16_t ui_height;
    PF_ParamType param_type;
    char name[32];
    PF_ParamFlags flags;
    int32_t unused;
    PF_ParamDefUnion u;
};

struct PF_CustomUIInfo {
    int32_t reserved;
    PF_CustomEventFlags events;
    int32_t comp_ui_width;
    int32_t comp_ui_height;
    PF_UIAlignment comp_ui_alignment;
    int32_t layer_ui_width;
    int32_t layer_ui_height;
    PF_UIAlignment layer_ui_alignment;
    int32_t preview_ui_width;
    int32_t preview_ui_height;
    PF_UIAlignment preview_ui_alignment;
};

// ------------------------------------------------------------ callback tables

// Slots that this effect never calls are declared with this placeholder type.
typedef void (*PF_UnusedProc)(void);

struct PF_InteractCallbacks {
    PF_Err (*checkout_param)(PF_ProgPtr effect_ref, PF_ParamIndex index, int32_t what_time,
                             int32_t time_step, uint32_t time_scale, PF_ParamDef* param);
    PF_Err (*checkin_param)(PF_ProgPtr effect_ref, PF_ParamDef* param);
    PF_Err (*add_param)(PF_ProgPtr effect_ref, PF_ParamIndex index, PF_ParamDef* def);
    PF_Err (*abort)(PF_ProgPtr effect_ref);
    PF_Err (*progress)(PF_ProgPtr effect_ref, int32_t current, int32_t total);
    PF_Err (*register_ui)(PF_ProgPtr effect_ref, PF_CustomUIInfo* info);
    PF_UnusedProc checkout_layer_audio;
    PF_UnusedProc checkin_layer_audio;
    PF_UnusedProc get_audio_data;
    void* reserved_str[3];
    void* reserved[10];
};

struct PF_ANSICallbacks {
    double (*atan)(double);
    double (*atan2)(double y, double x);
    double (*ceil)(double);
    double (*cos)(double);
    double (*exp)(double);
    double (*fabs)(double);
    double (*floor)(double);
    double (*fmod)(double, double);
    double (*hypot)(double, double);
    double (*log)(double);
    double (*log10)(double);
    double (*pow)(double, double);
    double (*sin)(double);
    double (*sqrt)(double);
    double (*tan)(double);
    int (*sprintf)(char* dst, const char* format, ...);
    char* (*strcpy)(char* dst, const char* src);
    double (*asin)(double);
    double (*acos)(double);
    int32_t ansi_procs[1];
};

struct PF_ColorCallbacks {
    PF_UnusedProc procs[8];
};

struct PF_UtilCallbacks {
    PF_UnusedProc begin_sampling;
    PF_UnusedProc subpixel_sample;
    PF_UnusedProc area_sample;
    void* batch_sampling_reserved;
    PF_UnusedProc end_sampling;
    PF_UnusedProc composite_rect;
    PF_UnusedProc blend;
    PF_UnusedProc convolve;
    PF_Err (*copy)(PF_ProgPtr effect_ref, PF_LayerDef* src, PF_LayerDef* dst, PF_Rect* src_rect,
                   PF_Rect* dst_rect);
    PF_UnusedProc fill;
    PF_UnusedProc gaussian_kernel;
    PF_UnusedProc iterate;
    PF_UnusedProc premultiply;
    PF_UnusedProc premultiply_color;
    PF_UnusedProc new_world;
    PF_UnusedProc dispose_world;
    PF_UnusedProc iterate_origin;
    PF_UnusedProc iterate_lut;
    PF_UnusedProc transfer_rect;
    PF_UnusedProc transform_world;
    PF_Handle (*host_new_handle)(uint64_t size);
    void* (*host_lock_handle)(PF_Handle handle);
    void (*host_unlock_handle)(PF_Handle handle);
    void (*host_dispose_handle)(PF_Handle handle);
    PF_UnusedProc get_callback_addr;
    PF_UnusedProc app;
    PF_ANSICallbacks ansi;
    PF_ColorCallbacks colorCB;
    PF_Err (*get_platform_data)(PF_ProgPtr effect_ref, PF_PlatDataID which, void* data);
    uint64_t (*host_get_handle_size)(PF_Handle handle);
    PF_UnusedProc iterate_origin_non_clip_src;
    PF_UnusedProc iterate_generic;
    PF_Err (*host_resize_handle)(uint64_t new_size, PF_Handle* handle);
    PF_UnusedProc subpixel_sample16;
    PF_UnusedProc area_sample16;
    PF_UnusedProc fill16;
    PF_UnusedProc premultiply_color16;
    PF_UnusedProc iterate16;
    PF_UnusedProc iterate_origin16;
    PF_UnusedProc iterate_origin_non_clip_src16;
    PF_UnusedProc get_pixel_data8;
    PF_UnusedProc get_pixel_data16;
    int32_t reserved[1];
};

struct SPBasicSuite;

// ------------------------------------------------------------ in / out data

struct PF_InData {
    PF_InteractCallbacks inter;
    PF_UtilCallbacks* utils;
    PF_ProgPtr effect_ref;
    PF_Quality quality;
    PF_SpecVersion version;
    int32_t serial_num;
    int32_t appl_id;
    int32_t num_params;
    int32_t reserved;
    int32_t what_cpu;
    int32_t what_fpu;
    int32_t current_time;
    int32_t time_step;
    int32_t total_time;
    int32_t local_time_step;
    uint32_t time_scale;
    PF_Field field;
    PF_Fixed shutter_angle;
    int32_t width;
    int32_t height;
    PF_LRect extent_hint;
    int32_t output_origin_x;
    int32_t output_origin_y;
    PF_RationalScale downsample_x;
    PF_RationalScale downsample_y;
    PF_RationalScale pixel_aspect_ratio;
    PF_InFlags in_flags;
    PF_Handle global_data;
    PF_Handle sequence_data;
    PF_Handle frame_data;
    int32_t start_sampL;
    int32_t dur_sampL;
    int32_t total_sampL;
    PF_SoundWorld src_snd;
    SPBasicSuite* pica_basicP;
    int32_t pre_effect_source_origin_x;
    int32_t pre_effect_source_origin_y;
    PF_Fixed shutter_phase;
};

struct PF_OutData {
    uint32_t my_version;
    char name[32];
    PF_Handle global_data;
    int32_t num_params;
    PF_Handle sequence_data;
    int32_t flat_sdata_size;
    PF_Handle frame_data;
    int32_t width;
    int32_t height;
    PF_Point origin;
    PF_OutFlags out_flags;
    char return_msg[256];
    int32_t start_sampL;
    int32_t dur_sampL;
    PF_SoundWorld dest_snd;
    PF_OutFlags2 out_flags2;
};

// The entry point's signature.
typedef PF_Err (*PF_EntryPointProc)(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data,
                                    PF_ParamDef** params, PF_LayerDef* output, void* extra);

// ------------------------------------------------------------------ constants

// Command selectors.
inline constexpr PF_Cmd PF_Cmd_ABOUT = 0;
inline constexpr PF_Cmd PF_Cmd_GLOBAL_SETUP = 1;
inline constexpr PF_Cmd PF_Cmd_UNUSED_0 = 2;
inline constexpr PF_Cmd PF_Cmd_GLOBAL_SETDOWN = 3;
inline constexpr PF_Cmd PF_Cmd_PARAMS_SETUP = 4;
inline constexpr PF_Cmd PF_Cmd_SEQUENCE_SETUP = 5;
inline constexpr PF_Cmd PF_Cmd_SEQUENCE_RESETUP = 6;
inline constexpr PF_Cmd PF_Cmd_SEQUENCE_FLATTEN = 7;
inline constexpr PF_Cmd PF_Cmd_SEQUENCE_SETDOWN = 8;
inline constexpr PF_Cmd PF_Cmd_DO_DIALOG = 9;
inline constexpr PF_Cmd PF_Cmd_FRAME_SETUP = 10;
inline constexpr PF_Cmd PF_Cmd_RENDER = 11;
inline constexpr PF_Cmd PF_Cmd_FRAME_SETDOWN = 12;
inline constexpr PF_Cmd PF_Cmd_USER_CHANGED_PARAM = 13;
inline constexpr PF_Cmd PF_Cmd_UPDATE_PARAMS_UI = 14;
inline constexpr PF_Cmd PF_Cmd_EVENT = 15;
inline constexpr PF_Cmd PF_Cmd_GET_EXTERNAL_DEPENDENCIES = 16;
inline constexpr PF_Cmd PF_Cmd_COMPLETELY_GENERAL = 17;
inline constexpr PF_Cmd PF_Cmd_QUERY_DYNAMIC_FLAGS = 18;
inline constexpr PF_Cmd PF_Cmd_AUDIO_RENDER = 19;
inline constexpr PF_Cmd PF_Cmd_AUDIO_SETUP = 20;
inline constexpr PF_Cmd PF_Cmd_AUDIO_SETDOWN = 21;
inline constexpr PF_Cmd PF_Cmd_ARBITRARY_CALLBACK = 22;
inline constexpr PF_Cmd PF_Cmd_SMART_PRE_RENDER = 23;
inline constexpr PF_Cmd PF_Cmd_SMART_RENDER = 24;

// Error codes.
inline constexpr PF_Err PF_Err_NONE = 0;
inline constexpr PF_Err PF_Err_OUT_OF_MEMORY = 4;
inline constexpr PF_Err PF_Err_INTERNAL_STRUCT_DAMAGED = 512;
inline constexpr PF_Err PF_Err_INVALID_INDEX = 513;
inline constexpr PF_Err PF_Err_UNRECOGNIZED_PARAM_TYPE = 514;
inline constexpr PF_Err PF_Err_INVALID_CALLBACK = 515;
inline constexpr PF_Err PF_Err_BAD_CALLBACK_PARAM = 516;
inline constexpr PF_Err PF_Interrupt_CANCEL = 517;
inline constexpr PF_Err PF_Err_CANNOT_PARSE_KEYFRAME_TEXT = 518;

// AEGP suite results.
inline constexpr A_Err A_Err_NONE = 0;
inline constexpr A_Err A_Err_GENERIC = 1;
inline constexpr A_Err A_Err_STRUCT = 2;
inline constexpr A_Err A_Err_PARAMETER = 3;
inline constexpr A_Err A_Err_ALLOC = 4;
inline constexpr A_Err A_Err_MISSING_SUITE = 13;

// Output flags (the audio flags of bits 27 to 31 are not used by this effect).
inline constexpr PF_OutFlags PF_OutFlag_NONE = 0;
inline constexpr PF_OutFlags PF_OutFlag_KEEP_RESOURCE_OPEN = 0x00000001;
inline constexpr PF_OutFlags PF_OutFlag_WIDE_TIME_INPUT = 0x00000002;
inline constexpr PF_OutFlags PF_OutFlag_NON_PARAM_VARY = 0x00000004;
inline constexpr PF_OutFlags PF_OutFlag_SEQUENCE_DATA_NEEDS_FLATTENING = 0x00000010;
inline constexpr PF_OutFlags PF_OutFlag_I_DO_DIALOG = 0x00000020;
inline constexpr PF_OutFlags PF_OutFlag_USE_OUTPUT_EXTENT = 0x00000040;
inline constexpr PF_OutFlags PF_OutFlag_SEND_DO_DIALOG = 0x00000080;
inline constexpr PF_OutFlags PF_OutFlag_DISPLAY_ERROR_MESSAGE = 0x00000100;
inline constexpr PF_OutFlags PF_OutFlag_I_EXPAND_BUFFER = 0x00000200;
inline constexpr PF_OutFlags PF_OutFlag_PIX_INDEPENDENT = 0x00000400;
inline constexpr PF_OutFlags PF_OutFlag_I_WRITE_INPUT_BUFFER = 0x00000800;
inline constexpr PF_OutFlags PF_OutFlag_I_SHRINK_BUFFER = 0x00001000;
inline constexpr PF_OutFlags PF_OutFlag_WORKS_IN_PLACE = 0x00002000;
inline constexpr PF_OutFlags PF_OutFlag_CUSTOM_UI = 0x00008000;
inline constexpr PF_OutFlags PF_OutFlag_REFRESH_UI = 0x00020000;
inline constexpr PF_OutFlags PF_OutFlag_NOP_RENDER = 0x00040000;
inline constexpr PF_OutFlags PF_OutFlag_I_USE_SHUTTER_ANGLE = 0x00080000;
inline constexpr PF_OutFlags PF_OutFlag_I_USE_AUDIO = 0x00100000;
inline constexpr PF_OutFlags PF_OutFlag_I_AM_OBSOLETE = 0x00200000;
inline constexpr PF_OutFlags PF_OutFlag_FORCE_RERENDER = 0x00400000;
inline constexpr PF_OutFlags PF_OutFlag_PiPL_OVERRIDES_OUTDATA_OUTFLAGS = 0x00800000;
inline constexpr PF_OutFlags PF_OutFlag_I_HAVE_EXTERNAL_DEPENDENCIES = 0x01000000;
inline constexpr PF_OutFlags PF_OutFlag_DEEP_COLOR_AWARE = 0x02000000;
inline constexpr PF_OutFlags PF_OutFlag_SEND_UPDATE_PARAMS_UI = 0x04000000;

inline constexpr PF_OutFlags2 PF_OutFlag2_NONE = 0;
inline constexpr PF_OutFlags2 PF_OutFlag2_SUPPORTS_QUERY_DYNAMIC_FLAGS = 0x00000001;
inline constexpr PF_OutFlags2 PF_OutFlag2_SUPPORTS_SMART_RENDER = 0x00000400;
inline constexpr PF_OutFlags2 PF_OutFlag2_FLOAT_COLOR_AWARE = 0x00001000;
inline constexpr PF_OutFlags2 PF_OutFlag2_PPRO_DO_NOT_CLONE_SEQUENCE_DATA_FOR_RENDER = 0x00008000;

// Parameter kinds.
inline constexpr PF_ParamType PF_Param_RESERVED = -1;
inline constexpr PF_ParamType PF_Param_LAYER = 0;
inline constexpr PF_ParamType PF_Param_SLIDER = 1;
inline constexpr PF_ParamType PF_Param_FIX_SLIDER = 2;
inline constexpr PF_ParamType PF_Param_ANGLE = 3;
inline constexpr PF_ParamType PF_Param_CHECKBOX = 4;
inline constexpr PF_ParamType PF_Param_COLOR = 5;
inline constexpr PF_ParamType PF_Param_POINT = 6;
inline constexpr PF_ParamType PF_Param_POPUP = 7;
inline constexpr PF_ParamType PF_Param_CUSTOM = 8;
inline constexpr PF_ParamType PF_Param_NO_DATA = 9;
inline constexpr PF_ParamType PF_Param_FLOAT_SLIDER = 10;
inline constexpr PF_ParamType PF_Param_ARBITRARY_DATA = 11;
inline constexpr PF_ParamType PF_Param_PATH = 12;
inline constexpr PF_ParamType PF_Param_GROUP_START = 13;
inline constexpr PF_ParamType PF_Param_GROUP_END = 14;
inline constexpr PF_ParamType PF_Param_BUTTON = 15;
inline constexpr PF_ParamType PF_Param_POINT_3D = 18;

// Parameter flags.
inline constexpr PF_ParamFlags PF_ParamFlag_CANNOT_TIME_VARY = 0x2;
inline constexpr PF_ParamFlags PF_ParamFlag_CANNOT_INTERP = 0x4;
inline constexpr PF_ParamFlags PF_ParamFlag_COLLAPSE_TWIRLY = 0x20;
inline constexpr PF_ParamFlags PF_ParamFlag_START_COLLAPSED = 0x20;
inline constexpr PF_ParamFlags PF_ParamFlag_SUPERVISE = 0x40;
inline constexpr PF_ParamFlags PF_ParamFlag_USE_VALUE_FOR_OLD_PROJECTS = 0x80;
inline constexpr PF_ParamFlags PF_ParamFlag_EXCLUDE_FROM_HAVE_INPUTS_CHANGED = 0x100;
inline constexpr PF_ParamFlags PF_ParamFlag_SKIP_REVEAL_WHEN_UNHIDDEN = 0x200;

// Parameter UI flags.
inline constexpr PF_ParamUIFlags PF_PUI_NONE = 0;
inline constexpr PF_ParamUIFlags PF_PUI_TOPIC = 0x1;
inline constexpr PF_ParamUIFlags PF_PUI_CONTROL = 0x2;
inline constexpr PF_ParamUIFlags PF_PUI_STD_CONTROL_ONLY = 0x4;
inline constexpr PF_ParamUIFlags PF_PUI_NO_ECW_UI = 0x8;
inline constexpr PF_ParamUIFlags PF_PUI_ECW_SEPARATOR = 0x10;
inline constexpr PF_ParamUIFlags PF_PUI_DISABLED = 0x20;
inline constexpr PF_ParamUIFlags PF_PUI_DONT_ERASE_TOPIC = 0x40;
inline constexpr PF_ParamUIFlags PF_PUI_DONT_ERASE_CONTROL = 0x80;
inline constexpr PF_ParamUIFlags PF_PUI_RADIO_BUTTON = 0x100;
inline constexpr PF_ParamUIFlags PF_PUI_INVISIBLE = 0x200;

// Change flags.
inline constexpr PF_ChangeFlags PF_ChangeFlag_NONE = 0;
inline constexpr PF_ChangeFlags PF_ChangeFlag_CHANGED_VALUE = 1;
inline constexpr PF_ChangeFlags PF_ChangeFlag_SET_TO_VARY = 4;
inline constexpr PF_ChangeFlags PF_ChangeFlag_SET_TO_CONSTANT = 8;

// World flags, fields, quality.
inline constexpr PF_WorldFlags PF_WorldFlag_DEEP = 1;
inline constexpr PF_WorldFlags PF_WorldFlag_WRITEABLE = 2;
inline constexpr PF_Field PF_Field_FRAME = 0;
inline constexpr PF_Field PF_Field_UPPER = 1;
inline constexpr PF_Field PF_Field_LOWER = 2;
inline constexpr PF_Quality PF_Quality_LO = 0;
inline constexpr PF_Quality PF_Quality_HI = 1;

// Platform data and custom-UI events.
inline constexpr PF_PlatDataID PF_PlatData_MAIN_WND = 0;
inline constexpr PF_CustomEventFlags PF_CustomEFlag_NONE = 0;
inline constexpr PF_CustomEventFlags PF_CustomEFlag_COMP = 1;
inline constexpr PF_CustomEventFlags PF_CustomEFlag_LAYER = 2;
inline constexpr PF_CustomEventFlags PF_CustomEFlag_EFFECT = 4;
inline constexpr PF_CustomEventFlags PF_CustomEFlag_PREVIEW = 8;

// Development stages of the packed version word.
inline constexpr PF_Stage PF_Stage_DEVELOP = 0;
inline constexpr PF_Stage PF_Stage_ALPHA = 1;
inline constexpr PF_Stage PF_Stage_BETA = 2;
inline constexpr PF_Stage PF_Stage_RELEASE = 3;

// Channel maxima.
inline constexpr int32_t PF_MAX_CHAN8 = 255;
inline constexpr int32_t PF_MAX_CHAN16 = 32768;

// Host application ids (big-endian readings of four characters).
inline constexpr int32_t PF_APPL_ID_AFTER_EFFECTS = 0x46585443;  // 'FXTC'
inline constexpr int32_t PF_APPL_ID_PREMIERE = 0x50724D72;       // 'PrMr'

// ------------------------------------------------------------- layout checks

static_assert(sizeof(PF_Point) == 8);
static_assert(sizeof(PF_LRect) == 16);
static_assert(sizeof(PF_RationalScale) == 8);
static_assert(sizeof(A_Ratio) == 8);
static_assert(sizeof(A_Time) == 8);
static_assert(sizeof(PF_SpecVersion) == 4);
static_assert(sizeof(PF_Pixel) == 4);
static_assert(sizeof(PF_Pixel16) == 8 && offsetof(PF_Pixel16, blue) == 6);
static_assert(sizeof(PF_SoundFormatInfo) == 16);
static_assert(sizeof(PF_SoundWorld) == 32 && offsetof(PF_SoundWorld, num_samples) == 16 &&
              offsetof(PF_SoundWorld, dataP) == 24);
static_assert(sizeof(PF_UserChangedParamExtra) == 4);
static_assert(sizeof(PF_Boolean) == 1 && sizeof(SPBoolean) == 4 && sizeof(PF_Handle) == 8);

static_assert(sizeof(PF_LayerDef) == 120);
static_assert(offsetof(PF_LayerDef, world_flags) == 16);
static_assert(offsetof(PF_LayerDef, data) == 24);
static_assert(offsetof(PF_LayerDef, rowbytes) == 32);
static_assert(offsetof(PF_LayerDef, width) == 36);
static_assert(offsetof(PF_LayerDef, height) == 40);
static_assert(offsetof(PF_LayerDef, extent_hint) == 44);
static_assert(offsetof(PF_LayerDef, platform_ref) == 64);
static_assert(offsetof(PF_LayerDef, reserved_long1) == 72);
static_assert(offsetof(PF_LayerDef, reserved_long4) == 80);
static_assert(offsetof(PF_LayerDef, pix_aspect_ratio) == 88);
static_assert(offsetof(PF_LayerDef, reserved_long2) == 96);
static_assert(offsetof(PF_LayerDef, origin_x) == 104);
static_assert(offsetof(PF_LayerDef, origin_y) == 108);
static_assert(offsetof(PF_LayerDef, reserved_long3) == 112);
static_assert(offsetof(PF_LayerDef, dephault) == 116);

static_assert(sizeof(PF_SliderDef) == 88);
static_assert(offsetof(PF_SliderDef, value_str) == 4);
static_assert(offsetof(PF_SliderDef, value_desc) == 36);
static_assert(offsetof(PF_SliderDef, valid_min) == 68);
static_assert(offsetof(PF_SliderDef, valid_max) == 72);
static_assert(offsetof(PF_SliderDef, slider_min) == 76);
static_assert(offsetof(PF_SliderDef, slider_max) == 80);
static_assert(offsetof(PF_SliderDef, dephault) == 84);
static_assert(sizeof(PF_PopupDef) == 16);
static_assert(offsetof(PF_PopupDef, num_choices) == 4);
static_assert(offsetof(PF_PopupDef, dephault) == 6);
static_assert(offsetof(PF_PopupDef, u) == 8);
static_assert(sizeof(PF_CheckBoxDef) == 16);
static_assert(offsetof(PF_CheckBoxDef, dephault) == 4);
static_assert(offsetof(PF_CheckBoxDef, reserved1) == 6);
static_assert(offsetof(PF_CheckBoxDef, u) == 8);

static_assert(sizeof(PF_ParamDef) == 176);
static_assert(offsetof(PF_ParamDef, ui_flags) == 4);
static_assert(offsetof(PF_ParamDef, ui_width) == 8);
static_assert(offsetof(PF_ParamDef, ui_height) == 10);
static_assert(offsetof(PF_ParamDef, param_type) == 12);
static_assert(offsetof(PF_ParamDef, name) == 16);
static_assert(offsetof(PF_ParamDef, flags) == 48);
static_assert(offsetof(PF_ParamDef, unused) == 52);
static_assert(offsetof(PF_ParamDef, u) == 56);
static_assert(offsetof(PF_ParamDef, u.sd.valid_min) == 124);
static_assert(offsetof(PF_ParamDef, u.sd.dephault) == 140);
static_assert(offsetof(PF_ParamDef, u.pd.u.namesptr) == 64);
static_assert(offsetof(PF_ParamDef, u.ld.world_flags) == 72);
static_assert(offsetof(PF_ParamDef, u.ld.data) == 80);
static_assert(offsetof(PF_ParamDef, u.ld.rowbytes) == 88);
static_assert(offsetof(PF_ParamDef, u.ld.width) == 92);
static_assert(offsetof(PF_ParamDef, u.ld.height) == 96);
static_assert(offsetof(PF_ParamDef, u.ld.pix_aspect_ratio) == 144);

static_assert(sizeof(PF_CustomUIInfo) == 44 && alignof(PF_CustomUIInfo) == 4);
static_assert(offsetof(PF_CustomUIInfo, events) == 4);
static_assert(offsetof(PF_CustomUIInfo, preview_ui_alignment) == 40);

static_assert(sizeof(PF_InteractCallbacks) == 176);
static_assert(offsetof(PF_InteractCallbacks, add_param) == 16);
static_assert(offsetof(PF_InteractCallbacks, register_ui) == 40);
static_assert(offsetof(PF_InteractCallbacks, reserved_str) == 72);
static_assert(offsetof(PF_InteractCallbacks, reserved) == 96);

static_assert(sizeof(PF_ANSICallbacks) == 160);
static_assert(offsetof(PF_ANSICallbacks, sprintf) == 120);
static_assert(offsetof(PF_ANSICallbacks, strcpy) == 128);
static_assert(offsetof(PF_ANSICallbacks, ansi_procs) == 152);
static_assert(sizeof(PF_ColorCallbacks) == 64);

static_assert(sizeof(PF_UtilCallbacks) == 552);
static_assert(offsetof(PF_UtilCallbacks, copy) == 64);
static_assert(offsetof(PF_UtilCallbacks, host_new_handle) == 160);
static_assert(offsetof(PF_UtilCallbacks, host_lock_handle) == 168);
static_assert(offsetof(PF_UtilCallbacks, host_unlock_handle) == 176);
static_assert(offsetof(PF_UtilCallbacks, host_dispose_handle) == 184);
static_assert(offsetof(PF_UtilCallbacks, app) == 200);
static_assert(offsetof(PF_UtilCallbacks, ansi) == 208);
static_assert(offsetof(PF_UtilCallbacks, ansi.sprintf) == 328);
static_assert(offsetof(PF_UtilCallbacks, colorCB) == 368);
static_assert(offsetof(PF_UtilCallbacks, get_platform_data) == 432);
static_assert(offsetof(PF_UtilCallbacks, host_get_handle_size) == 440);
static_assert(offsetof(PF_UtilCallbacks, host_resize_handle) == 464);
static_assert(offsetof(PF_UtilCallbacks, get_pixel_data16) == 536);
static_assert(offsetof(PF_UtilCallbacks, reserved) == 544);

static_assert(sizeof(PF_InData) == 408);
static_assert(offsetof(PF_InData, inter.add_param) == 16);
static_assert(offsetof(PF_InData, inter.register_ui) == 40);
static_assert(offsetof(PF_InData, utils) == 176);
static_assert(offsetof(PF_InData, effect_ref) == 184);
static_assert(offsetof(PF_InData, quality) == 192);
static_assert(offsetof(PF_InData, version) == 196);
static_assert(offsetof(PF_InData, version.minor) == 198);
static_assert(offsetof(PF_InData, serial_num) == 200);
static_assert(offsetof(PF_InData, appl_id) == 204);
static_assert(offsetof(PF_InData, num_params) == 208);
static_assert(offsetof(PF_InData, what_cpu) == 216);
static_assert(offsetof(PF_InData, current_time) == 224);
static_assert(offsetof(PF_InData, time_scale) == 240);
static_assert(offsetof(PF_InData, field) == 244);
static_assert(offsetof(PF_InData, shutter_angle) == 248);
static_assert(offsetof(PF_InData, width) == 252);
static_assert(offsetof(PF_InData, height) == 256);
static_assert(offsetof(PF_InData, extent_hint) == 260);
static_assert(offsetof(PF_InData, output_origin_x) == 276);
static_assert(offsetof(PF_InData, output_origin_y) == 280);
static_assert(offsetof(PF_InData, downsample_x) == 284);
static_assert(offsetof(PF_InData, downsample_x.den) == 288);
static_assert(offsetof(PF_InData, downsample_y) == 292);
static_assert(offsetof(PF_InData, pixel_aspect_ratio) == 300);
static_assert(offsetof(PF_InData, pixel_aspect_ratio.den) == 304);
static_assert(offsetof(PF_InData, in_flags) == 308);
static_assert(offsetof(PF_InData, global_data) == 312);
static_assert(offsetof(PF_InData, sequence_data) == 320);
static_assert(offsetof(PF_InData, frame_data) == 328);
static_assert(offsetof(PF_InData, start_sampL) == 336);
static_assert(offsetof(PF_InData, total_sampL) == 344);
static_assert(offsetof(PF_InData, src_snd) == 352);
static_assert(offsetof(PF_InData, pica_basicP) == 384);
static_assert(offsetof(PF_InData, pre_effect_source_origin_x) == 392);
static_assert(offsetof(PF_InData, pre_effect_source_origin_y) == 396);
static_assert(offsetof(PF_InData, shutter_phase) == 400);

static_assert(sizeof(PF_OutData) == 408);
static_assert(offsetof(PF_OutData, name) == 4);
static_assert(offsetof(PF_OutData, global_data) == 40);
static_assert(offsetof(PF_OutData, num_params) == 48);
static_assert(offsetof(PF_OutData, sequence_data) == 56);
static_assert(offsetof(PF_OutData, flat_sdata_size) == 64);
static_assert(offsetof(PF_OutData, frame_data) == 72);
static_assert(offsetof(PF_OutData, width) == 80);
static_assert(offsetof(PF_OutData, height) == 84);
static_assert(offsetof(PF_OutData, origin) == 88);
static_assert(offsetof(PF_OutData, origin.v) == 92);
static_assert(offsetof(PF_OutData, out_flags) == 96);
static_assert(offsetof(PF_OutData, return_msg) == 100);
static_assert(offsetof(PF_OutData, start_sampL) == 356);
static_assert(offsetof(PF_OutData, dur_sampL) == 360);
static_assert(offsetof(PF_OutData, dest_snd) == 368);
static_assert(offsetof(PF_OutData, out_flags2) == 400);

#endif  // QUILLON_HOST_AE_PLUGINTYPES_H
