// quillon_hostcheck: drives a built plug-in through a whole host session with
// the host simulator and checks what a host would see. The same program is
// built for Linux and for Windows, so both builds of the plug-in meet the
// same host.
//
//   quillon_hostcheck session --plugin <file> [--branding <case>] [--install <file>]
//                             [--log <file>] [--input <frame.pam>]... [--frames <dir>]
//   quillon_hostcheck tables <fingerprints.txt>
//   quillon_hostcheck convert <photo.png> <frame.pam>      (builds with PNG support)
//
// Branding cases (Windows): none (nothing installed), complete, partial (no
// about box or event entry points), noexports, notadll. --install names the
// file to place at the branding library's path; the case says what the
// plug-in must make of it. Exit status: 0 all checks passed, 1 otherwise.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "host/PiplEncoder.h"
#include "host/PluginInfo.h"
#include "host/ae/PluginTypes.h"
#include "tools/hostcheck/PamFile.h"
#include "tools/hostcheck/Platform.h"
#include "tools/hostcheck/Report.h"
#include "tools/hostcheck/TableDump.h"
#include "tools/hostsim/HostSimulator.h"
#ifdef QUILLON_HOSTCHECK_PNG
#include "tools/hostcheck/PngConvert.h"
#endif

namespace quillon::hostcheck {
namespace {

using hostsim::HostIdentity;
using hostsim::HostSimulator;
using plugin::FourCC;

// Parameter indices in the host's array.
constexpr int32_t kHeader = 1;
constexpr int32_t kFourKSize = 3;
constexpr int32_t kCustomWidth = 5;
constexpr int32_t kCustomHeight = 6;
constexpr int32_t kFilterType = 9;
constexpr int32_t kSharpness = 10;
constexpr int32_t kQuality = 11;
constexpr int32_t kAntiAliasing = 12;

constexpr PF_Err kEventResult = PF_Err_OUT_OF_MEMORY;  // what the library answers

enum class Branding { None, Complete, Partial, NoExports, NotADll };

struct Options {
    std::string plugin;
    Branding branding = Branding::None;
    std::string install;
    std::string log;
    std::vector<std::string> inputs;
    std::string frames;
};

// One render setting: popup and slider values as a user sets them.
struct RenderSetting {
    const char* name;
    int32_t filterType;  // 1 Draft .. 4 Best
    int32_t sharpness;
    int32_t quality;
    int32_t antiAliasing;
};

// Lanczos with refinement, sharpening and anti-aliasing; the cubic filter
// with refinement and sharpening; Lanczos with the strongest anti-aliasing.
constexpr RenderSetting kRenderSettings[] = {
    {"best", 4, 6, 12, 6},
    {"better", 3, 3, 20, 0},
    {"quick", 2, 0, 8, 10},
};
constexpr int32_t kRenderWidth = 800;
constexpr int32_t kRenderHeight = 450;

// ------------------------------------------------------------- branding log

struct LogLine {
    std::string call;
    std::map<std::string, std::string> fields;
    std::string Get(const std::string& name) const {
        auto it = fields.find(name);
        return it != fields.end() ? it->second : std::string("<missing>");
    }
};

std::vector<LogLine> ReadLog(const std::string& path) {
    std::vector<LogLine> lines;
    std::ifstream file(path, std::ios::binary);
    std::string text;
    while (std::getline(file, text)) {
        LogLine line;
        std::size_t start = 0;
        bool first = true;
        while (start <= text.size()) {
            const std::size_t tab = text.find('\t', start);
            const std::string part =
                text.substr(start, tab == std::string::npos ? std::string::npos : tab - start);
            if (first) {
                line.call = part;
                first = false;
            } else {
                const std::size_t equals = part.find('=');
                line.fields[part.substr(0, equals)] =
                    equals == std::string::npos ? std::string() : part.substr(equals + 1);
            }
            if (tab == std::string::npos) {
                break;
            }
            start = tab + 1;
        }
        lines.push_back(line);
    }
    return lines;
}

std::string Hex(const void* pointer) {
    char text[32];
    std::snprintf(text, sizeof(text), "%llx",
                  static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(pointer)));
    return text;
}

const LogLine* FindCall(const std::vector<LogLine>& log, const std::string& call) {
    for (const LogLine& line : log) {
        if (line.call == call) {
            return &line;
        }
    }
    return nullptr;
}

// ------------------------------------------------------------ property list

void CheckPropertyList(Report& report, const std::string& pluginPath, const PF_OutData& setupOut) {
    std::vector<uint8_t> bytes;
    std::string error;
    if (!report.Check(ReadPiplResource(pluginPath, bytes, &error), "PiPL resource", error)) {
        return;
    }
    std::vector<uint8_t> generated;
    plugin::EncodePipl(plugin::kPiplProperties, std::size(plugin::kPiplProperties), generated);
    report.Check(bytes == generated, "PiPL resource carries the generated list unchanged");

    std::vector<plugin::DecodedPiplProperty> properties;
    if (!report.Check(plugin::DecodePipl(bytes.data(), bytes.size(), properties),
                      "PiPL resource decodes")) {
        return;
    }
    report.Equal(properties.size(), std::size_t{13}, "PiPL property count");
    std::map<uint32_t, const plugin::DecodedPiplProperty*> byKey;
    for (const auto& property : properties) {
        report.Equal(property.vendor, FourCC("8BIM"), "PiPL vendor code");
        report.Equal(property.id, 0u, "PiPL property id");
        byKey[property.key] = &property;
    }
    auto word = [&](const char(&key)[5]) -> int64_t {
        uint32_t value = 0;
        auto it = byKey.find(FourCC(key));
        if (it == byKey.end() || !plugin::ReadPiplWord(*it->second, value)) {
            return -1;
        }
        return value;
    };
    auto pascal = [&](const char(&key)[5]) {
        std::string text = "<missing>";
        auto it = byKey.find(FourCC(key));
        if (it != byKey.end() && !plugin::ReadPiplPascalString(*it->second, text)) {
            text = "<malformed>";
        }
        return text;
    };
    auto pair = [&](const char(&key)[5]) {
        uint32_t major = 0;
        uint32_t minor = 0;
        auto it = byKey.find(FourCC(key));
        if (it == byKey.end() || !plugin::ReadPiplVersionPair(*it->second, major, minor)) {
            return std::string("<missing>");
        }
        return std::to_string(major) + "." + std::to_string(minor);
    };
    report.Equal(word("kind"), int64_t{FourCC("eFKT")}, "PiPL kind is an effect");
    report.Equal(pascal("name"), "Quillon 4K", "PiPL name");
    report.Equal(pascal("catg"), "HV Palomar Suite", "PiPL category");
    report.Equal(pascal("eMNA"), "KMX Quillon 4K", "PiPL match name");
    report.Equal(pair("ePVR"), "2.0", "PiPL AE_PiPL_Version");
    report.Equal(pair("eSVR"), "13.0", "PiPL AE_Effect_Spec_Version");
    report.Equal(word("eVER"), int64_t{setupOut.my_version}, "PiPL eVER equals my_version");
    report.Equal(word("eVER"), int64_t{0x000ABE00}, "PiPL eVER is 1.5.7 release build 0");
    report.Equal(word("eGLO"), int64_t{static_cast<uint32_t>(setupOut.out_flags)},
                 "PiPL eGLO equals the global setup flags");
    report.Equal(word("eGL2"), int64_t{static_cast<uint32_t>(setupOut.out_flags2)},
                 "PiPL eGL2 equals the global setup flags 2");
    report.Equal(word("aeRD"), int64_t{0}, "PiPL aeRD");
    report.Equal(word("aeFL"), int64_t{8}, "PiPL aeFL");
    auto info = byKey.find(FourCC("eINF"));
    report.Check(info != byKey.end() && info->second->length == 2 &&
                     info->second->data == std::vector<uint8_t>{0, 0, 0, 0},
                 "PiPL eINF is a 16-bit zero with length 2");
    std::string entry = "<missing>";
    auto code = byKey.find(FourCC("8664"));
    if (code != byKey.end() && !plugin::ReadPiplCString(*code->second, entry)) {
        entry = "<malformed>";
    }
    report.Equal(entry, "EntryPointFunc", "PiPL x86-64 entry point name");
    report.Check(LibraryExports(pluginPath, entry), "the PiPL's entry point is exported", entry);
}

// ------------------------------------------------------------------ frames

void LoadInput(HostSimulator& host, const RgbaFrame& frame) {
    // Padded rows, as hosts hand them out.
    host.SetInputLayer(frame.width, frame.height, frame.deep(), 24);
    hostsim::World& world = host.inputWorld();
    for (int32_t y = 0; y < frame.height; ++y) {
        uint8_t* row = world.Row(y);
        for (int32_t x = 0; x < frame.width; ++x) {
            const uint16_t* rgba =
                &frame.samples[(static_cast<std::size_t>(y) * frame.width + x) * 4];
            const uint16_t argb[4] = {rgba[3], rgba[0], rgba[1], rgba[2]};
            for (int c = 0; c < 4; ++c) {
                if (frame.deep()) {
                    std::memcpy(row + (x * 4 + c) * 2, &argb[c], 2);
                } else {
                    row[x * 4 + c] = static_cast<uint8_t>(argb[c]);
                }
            }
        }
    }
}

RgbaFrame TakeOutput(HostSimulator& host, uint32_t maxValue) {
    hostsim::World& world = host.outputWorld();
    RgbaFrame frame;
    frame.width = world.def.width;
    frame.height = world.def.height;
    frame.maxValue = maxValue;
    frame.samples.resize(static_cast<std::size_t>(frame.width) * frame.height * 4);
    const bool deep = world.PixelSize() == 8;
    for (int32_t y = 0; y < frame.height; ++y) {
        const uint8_t* row = world.Row(y);
        for (int32_t x = 0; x < frame.width; ++x) {
            uint16_t argb[4];
            for (int c = 0; c < 4; ++c) {
                if (deep) {
                    std::memcpy(&argb[c], row + (x * 4 + c) * 2, 2);
                } else {
                    argb[c] = row[x * 4 + c];
                }
            }
            uint16_t* rgba = &frame.samples[(static_cast<std::size_t>(y) * frame.width + x) * 4];
            rgba[0] = argb[1];
            rgba[1] = argb[2];
            rgba[2] = argb[3];
            rgba[3] = argb[0];
        }
    }
    return frame;
}

bool AllZero(const std::vector<uint8_t>& bytes) {
    for (uint8_t b : bytes) {
        if (b != 0) {
            return false;
        }
    }
    return true;
}

// Renders every input with every setting; writes the frames when the render
// handler produced them. Returns false when the handler left the output
// untouched (not wired into the command table).
bool RenderFrames(Report& report, HostSimulator& host, const Options& options) {
    bool wired = true;
    for (const std::string& input : options.inputs) {
        RgbaFrame source;
        std::string error;
        if (!report.Check(ReadPam(input, source, &error), "input frame", error)) {
            continue;
        }
        const std::string stem = std::filesystem::path(input).stem().string();
        for (const RenderSetting& setting : kRenderSettings) {
            const std::string what = "render " + stem + " " + setting.name;
            LoadInput(host, source);
            host.param(kFourKSize).u.pd.value = 0;  // custom size
            host.param(kCustomWidth).u.sd.value = kRenderWidth;
            host.param(kCustomHeight).u.sd.value = kRenderHeight;
            host.param(kFilterType).u.pd.value = setting.filterType;
            host.param(kSharpness).u.sd.value = setting.sharpness;
            host.param(kQuality).u.sd.value = setting.quality;
            host.param(kAntiAliasing).u.sd.value = setting.antiAliasing;
            if (!report.Equal(host.FrameSetup(), PF_Err_NONE, what + ": frame setup")) {
                continue;
            }
            report.Equal(host.outputWorld().def.width, kRenderWidth, what + ": output width");
            report.Equal(host.outputWorld().def.height, kRenderHeight, what + ": output height");
            report.Equal(host.Send(PF_Cmd_RENDER), PF_Err_NONE, what + ": result");
            if (AllZero(host.outputWorld().buffer)) {
                wired = false;
                continue;
            }
            if (!options.frames.empty()) {
                const std::string path = options.frames + "/" + stem + "_" + setting.name + ".pam";
                report.Check(WritePam(path, TakeOutput(host, source.maxValue)), what + ": written",
                             path);
            }
        }
    }
    return wired;
}

// ----------------------------------------------------------------- session

bool Loaded(Branding branding) {
    return branding == Branding::Complete || branding == Branding::Partial ||
           branding == Branding::NoExports;
}

void CheckFallbackAbout(Report& report, const PF_OutData& out, const std::string& when) {
    const std::string message = out.return_msg;
    report.Check(message.rfind("Quillon 4K\rVersion 1.5.7 \r\r", 0) == 0, "about box text " + when,
                 message);
    report.Check(
        message.size() > std::strlen("Quillon 4K\rVersion 1.5.7 \r\r") &&
            message.find('\r', std::strlen("Quillon 4K\rVersion 1.5.7 \r\r")) != std::string::npos,
        "about box text ends with a two-line notice " + when, message);
}

void CheckProductFields(Report& report, const LogLine& line, bool aboutBox) {
    const std::string what = line.call + " record: ";
    report.Equal(line.Get("product"), "Quillon 4K", what + "product");
    report.Equal(line.Get("suite"), "Palomar Suite", what + "suite");
    report.Equal(line.Get("subtitle"), "", what + "sub-title");
    report.Equal(line.Get("reserved24"), "0", what + "reserved pointer at 24");
    report.Equal(line.Get("version"), "1.5.7", what + "version");
    report.Equal(line.Get("reserved44"), "0", what + "reserved word at 44");
    report.Equal(line.Get("host"), aboutBox ? "0" : "41454658", what + "host kind");
    report.Equal(line.Get("reserved52"), "0", what + "reserved bytes at 52");
    report.Equal(line.Get("description"), aboutBox ? "Upconvert video to 4K resolution" : "(null)",
                 what + "description");
    report.Equal(line.Get("reserved72"), "0", what + "reserved pointer at 72");
    if (aboutBox) {
        report.Check(line.Get("page").rfind("https://", 0) == 0, what + "product page",
                     line.Get("page"));
    } else {
        report.Equal(line.Get("page"), "(null)", what + "product page");
    }
}

int RunSession(const Options& options) {
    Report report;
    if (!options.log.empty()) {
        std::ofstream(options.log, std::ios::trunc);
    }
    SetEnvironment("QUILLON_BRANDING_LOG", options.log);
    SetEnvironment("QUILLON_BRANDING_EVENT_RESULT", std::to_string(kEventResult));

    if (IsWindowsBuild()) {
        std::string error;
        if (options.install.empty()) {
            report.Check(RemoveBranding(), "no branding library installed");
        } else {
            report.Check(InstallBranding(options.install, &error), "branding library installed",
                         error);
        }
    }

    HostSimulator host(HostIdentity::AfterEffects);
    std::string error;
    if (!report.Check(host.LoadPlugin(options.plugin, &error), "plug-in loads", error)) {
        std::printf("%d passed, %d failed\n", report.passed(), report.failed());
        return 1;
    }

    // Global setup.
    report.Equal(host.GlobalSetup(), PF_Err_NONE, "global setup");
    const PF_OutData setupOut = host.outData();
    report.Check(host.inData().global_data != nullptr, "global setup returns a global handle");
    report.Equal(host.HandleSize(host.inData().global_data), uint64_t{80}, "global handle size");
    const bool loaded = Loaded(options.branding);
    report.Equal(IsModuleLoaded("HVBranding.dll"), loaded, "branding library loaded after setup");
    if (IsWindowsBuild()) {
        CheckPropertyList(report, options.plugin, setupOut);
    }

    // Parameters setup: the header's kind depends on the library.
    report.Equal(host.ParamsSetup(), PF_Err_NONE, "parameters setup");
    report.Equal(host.paramCount(), 13, "parameter count");
    const PF_ParamDef& header = host.param(kHeader);
    report.Equal(header.param_type, PF_Param_NO_DATA, "header kind");
    if (!loaded) {
        report.Equal(header.ui_flags, PF_PUI_TOPIC, "header is a plain topic");
        report.Equal(header.ui_width, int16_t{0}, "plain header width");
        report.Equal(header.ui_height, int16_t{0}, "plain header height");
    } else {
        report.Equal(header.ui_flags, PF_PUI_CONTROL | PF_PUI_DONT_ERASE_CONTROL,
                     "header is a custom control");
    }
    report.Equal(host.SequenceSetup(), PF_Err_NONE, "sequence setup");

    // About box, then an event as the host forwards it for the header.
    void* mainWindow = nullptr;
    host.inData().utils->get_platform_data(host.inData().effect_ref, PF_PlatData_MAIN_WND,
                                           &mainWindow);
    report.Equal(host.Send(PF_Cmd_ABOUT), PF_Err_NONE, "about box");
    const PF_OutData aboutOut = host.outData();
    unsigned char eventRecord[64] = {};
    const PF_Err eventResult = host.Send(PF_Cmd_EVENT, eventRecord);
    const PF_OutData* eventOut = &host.outData();

    if (!options.inputs.empty()) {
        const bool wired = RenderFrames(report, host, options);
        if (!wired) {
            report.Note(
                "render handler not wired: the output world came back untouched; no frames "
                "written");
            if (!options.frames.empty()) {
                std::ofstream(options.frames + "/RENDER_NOT_WIRED") << "output untouched\n";
            }
        }
    }

    report.Equal(host.SequenceSetdown(), PF_Err_NONE, "sequence setdown");
    report.Equal(host.GlobalSetdown(), PF_Err_NONE, "global setdown");
    report.Check(!IsModuleLoaded("HVBranding.dll"), "branding library unloaded after setdown");

    // What the branding library saw.
    const std::vector<LogLine> log = ReadLog(options.log);
    std::string calls;
    for (const LogLine& line : log) {
        calls += (calls.empty() ? "" : " ") + line.call;
    }
    switch (options.branding) {
        case Branding::None:
        case Branding::NotADll:
            report.Equal(calls, "", "branding calls");
            CheckFallbackAbout(report, aboutOut, "without the library");
            report.Equal(eventResult, PF_Err_NONE, "event without the library");
            break;
        case Branding::NoExports:
            report.Equal(calls, "attach detach", "branding calls");
            report.Equal(header.ui_width, int16_t{0}, "header width without a size");
            report.Equal(header.ui_height, int16_t{0}, "header height without a size");
            CheckFallbackAbout(report, aboutOut, "with a library without entry points");
            report.Equal(eventResult, PF_Err_NONE, "event with a library without entry points");
            break;
        case Branding::Partial:
        case Branding::Complete: {
            const bool complete = options.branding == Branding::Complete;
            report.Equal(calls,
                         complete ? "attach create ideal about event destroy detach"
                                  : "attach create ideal destroy detach",
                         "branding calls");
            const LogLine* create = FindCall(log, "create");
            const LogLine* ideal = FindCall(log, "ideal");
            const LogLine* destroy = FindCall(log, "destroy");
            if (create == nullptr || ideal == nullptr || destroy == nullptr) {
                break;
            }
            const std::string reference = create->Get("ref");
            CheckProductFields(report, *create, false);
            report.Equal(ideal->Get("ref"), reference, "ideal size asked with the reference");
            const double width = std::stod(ideal->Get("width"));
            const double height = std::stod(ideal->Get("height"));
            report.Equal(int32_t{header.ui_width}, static_cast<int32_t>(width),
                         "header width is the ideal width");
            report.Equal(int32_t{header.ui_height}, static_cast<int32_t>(height - 40.0),
                         "header height is the ideal height less 40");
            report.Equal(destroy->Get("ref"), reference, "setdown destroys the reference");
            if (!complete) {
                CheckFallbackAbout(report, aboutOut, "without HB_ShowAboutBox");
                report.Equal(eventResult, PF_Err_NONE, "event without HB_HandleEvent");
                break;
            }
            const LogLine* about = FindCall(log, "about");
            const LogLine* event = FindCall(log, "event");
            if (about == nullptr || event == nullptr) {
                break;
            }
            CheckProductFields(report, *about, true);
            report.Equal(about->Get("window"), Hex(mainWindow), "about box parent window");
            report.Equal(about->Get("build_reserved"), "0", "build record first word");
            report.Equal(about->Get("build0"), "", "build record first string");
            report.Equal(about->Get("date"), "Nov 19 2019", "build date");
            report.Equal(about->Get("time"), "19:11:04", "build time");
            report.Equal(about->Get("number"), "0", "build number");
            report.Equal(about->Get("build4"), "(null)", "build record last string");
            report.Equal(std::string(aboutOut.return_msg), "", "no about text with the library");
            report.Equal(event->Get("ref"), reference, "event: reference");
            report.Equal(event->Get("cmd"), std::to_string(PF_Cmd_EVENT), "event: command");
            report.Equal(event->Get("in_data"), Hex(&host.inData()), "event: in_data");
            report.Equal(event->Get("out_data"), Hex(eventOut), "event: out_data");
            report.Equal(event->Get("params"), Hex(host.paramArray()), "event: params");
            report.Equal(event->Get("output"), Hex(&host.outputWorld().def), "event: output");
            report.Equal(event->Get("extra"), Hex(eventRecord), "event: extra");
            report.Equal(eventResult, kEventResult, "event result comes from the library");
            break;
        }
    }

    if (IsWindowsBuild()) {
        RemoveBranding();
    }
    std::printf("%d passed, %d failed\n", report.passed(), report.failed());
    return report.failed() == 0 ? 0 : 1;
}

bool ParseBranding(const std::string& text, Branding& branding) {
    const std::map<std::string, Branding> names = {{"none", Branding::None},
                                                   {"complete", Branding::Complete},
                                                   {"partial", Branding::Partial},
                                                   {"noexports", Branding::NoExports},
                                                   {"notadll", Branding::NotADll}};
    auto it = names.find(text);
    if (it == names.end()) {
        return false;
    }
    branding = it->second;
    return true;
}

int Usage() {
    std::fprintf(stderr,
                 "usage: quillon_hostcheck session --plugin <file> [--branding <case>] "
                 "[--install <file>] [--log <file>] [--input <frame.pam>]... [--frames <dir>]\n"
                 "       quillon_hostcheck tables <fingerprints.txt>\n"
                 "       quillon_hostcheck convert <photo.png> <frame.pam>\n");
    return 2;
}

}  // namespace
}  // namespace quillon::hostcheck

int main(int argc, char** argv) {
    using namespace quillon::hostcheck;
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty()) {
        return Usage();
    }
    if (args[0] == "tables" && args.size() == 2) {
        std::string error;
        if (!WriteTableFingerprints(args[1], &error)) {
            std::fprintf(stderr, "%s\n", error.c_str());
            return 1;
        }
        return 0;
    }
    if (args[0] == "convert" && args.size() == 3) {
#ifdef QUILLON_HOSTCHECK_PNG
        RgbaFrame frame;
        std::string error;
        if (!ReadPng(args[1], frame, &error) || !WritePam(args[2], frame)) {
            std::fprintf(stderr, "%s\n", error.empty() ? "cannot write the frame" : error.c_str());
            return 1;
        }
        return 0;
#else
        std::fprintf(stderr, "this build cannot read PNG files\n");
        return 1;
#endif
    }
    if (args[0] != "session") {
        return Usage();
    }
    Options options;
    for (std::size_t i = 1; i < args.size(); ++i) {
        const std::string& name = args[i];
        if (i + 1 >= args.size()) {
            return Usage();
        }
        const std::string& value = args[++i];
        if (name == "--plugin") {
            options.plugin = value;
        } else if (name == "--branding") {
            if (!ParseBranding(value, options.branding)) {
                return Usage();
            }
        } else if (name == "--install") {
            options.install = value;
        } else if (name == "--log") {
            options.log = value;
        } else if (name == "--input") {
            options.inputs.push_back(value);
        } else if (name == "--frames") {
            options.frames = value;
        } else {
            return Usage();
        }
    }
    if (options.plugin.empty()) {
        return Usage();
    }
    return RunSession(options);
}
