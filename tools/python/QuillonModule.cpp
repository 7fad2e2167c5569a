// The `quillon` Python module: enlarges NumPy pictures with the engine, through
// the same size rules, control mapping and pixel conversions as the quillon
// command-line tool, so a picture gives the same bytes either way.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <cstring>
#include <mutex>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <utility>

#include "Errors.h"
#include "FrameConversion.h"
#include "FrameScaler.h"
#include "TargetSize.h"
#include "core/CpuLevel.h"
#include "engine/Engine.h"

namespace py = pybind11;

namespace quillon {

namespace {

// A picture as the module takes it: rows of W pixels with 3 (RGB) or 4 (RGBA)
// channels, 8 or 16 bits, straight alpha.
// The engine's largest thread count.
constexpr int64_t kMaxThreads = 256;

struct PictureLayout {
    uint32_t width = 0;
    uint32_t height = 0;
    int channels = 0;
    int bits = 8;
};

[[noreturn]] void RaiseFor(const QuillonError& e) {
    switch (e.code()) {
        case ExitCode::OutOfMemory:
            throw std::bad_alloc();
        case ExitCode::EngineFailed:
        case ExitCode::Internal:
            throw std::runtime_error(e.what());
        default:
            throw py::value_error(std::string("quillon: ") + e.what());
    }
}

PictureLayout CheckArray(const py::array& array) {
    PictureLayout layout;
    if (py::isinstance<py::array_t<uint8_t>>(array)) {
        layout.bits = 8;
    } else if (py::isinstance<py::array_t<uint16_t>>(array)) {
        layout.bits = 16;
    } else {
        throw py::type_error(
            "quillon.upscale: the array must be uint8 or uint16 (native byte order), not " +
            std::string(py::str(array.dtype())));
    }
    if (array.ndim() != 3 || (array.shape(2) != 3 && array.shape(2) != 4)) {
        std::string message =
            "quillon.upscale: the array must have shape (height, width, 3) or (height, width, 4), "
            "not (";
        for (py::ssize_t i = 0; i < array.ndim(); ++i) {
            message.append(i ? ", " : "").append(std::to_string(array.shape(i)));
        }
        message.append(array.ndim() == 1 ? ",)" : ")");
        throw py::value_error(message);
    }
    if (array.shape(0) < kSourceSideMin || array.shape(1) < kSourceSideMin ||
        array.shape(0) > kEngineSideMax || array.shape(1) > kEngineSideMax) {
        throw py::value_error("quillon.upscale: a picture must be 4 to 65535 pixels a side, not " +
                              std::to_string(array.shape(1)) + "x" +
                              std::to_string(array.shape(0)));
    }
    layout.height = static_cast<uint32_t>(array.shape(0));
    layout.width = static_cast<uint32_t>(array.shape(1));
    layout.channels = static_cast<int>(array.shape(2));
    return layout;
}

// Packed rows (C order) <-> the tool's RGBA image. Three-channel pictures are
// opaque, as a file without alpha is when the tool reads it.
template <typename T>
void PackedToRgba(const T* packed, const PictureLayout& layout, std::vector<T>& rgba) {
    const size_t pixels = size_t{layout.width} * layout.height;
    if (layout.channels == 4) {
        std::memcpy(rgba.data(), packed, pixels * 4 * sizeof(T));
        return;
    }
    const T opaque = layout.bits == 8 ? T(255) : T(65535);
    for (size_t i = 0; i < pixels; ++i) {
        rgba[i * 4 + 0] = packed[i * 3 + 0];
        rgba[i * 4 + 1] = packed[i * 3 + 1];
        rgba[i * 4 + 2] = packed[i * 3 + 2];
        rgba[i * 4 + 3] = opaque;
    }
}

template <typename T>
void RgbaToPacked(const std::vector<T>& rgba, size_t pixels, int channels, T* packed) {
    if (channels == 4) {
        std::memcpy(packed, rgba.data(), pixels * 4 * sizeof(T));
        return;
    }
    for (size_t i = 0; i < pixels; ++i) {
        packed[i * 3 + 0] = rgba[i * 4 + 0];
        packed[i * 3 + 1] = rgba[i * 4 + 1];
        packed[i * 3 + 2] = rgba[i * 4 + 2];
    }
}

std::pair<uint32_t, uint32_t> SizePair(const py::handle& size, const char* what) {
    try {
        const auto pair = size.cast<std::pair<int64_t, int64_t>>();
        if (pair.first <= 0 || pair.second <= 0 || pair.first > kEngineSideMax ||
            pair.second > kEngineSideMax) {
            throw py::value_error(
                std::string("quillon: ") + what + " must be two positive sides up to 65535, not (" +
                std::to_string(pair.first) + ", " + std::to_string(pair.second) + ")");
        }
        return {static_cast<uint32_t>(pair.first), static_cast<uint32_t>(pair.second)};
    } catch (const py::cast_error&) {
        throw py::type_error(std::string("quillon: ") + what +
                             " must be a (width, height) pair of integers");
    }
}

// A slider value in the effect's range.
int Control(int value, const SliderRange& range, const char* name) {
    if (value < range.minimum || value > range.maximum) {
        throw py::value_error(std::string("quillon.upscale: ") + name + " must be " +
                              std::to_string(range.minimum) + ".." + std::to_string(range.maximum) +
                              ", not " + std::to_string(value));
    }
    return value;
}

EffectControls ControlsFrom(const std::string& filter, int sharpness, int quality,
                            int antiAliasing) {
    EffectControls controls;
    const auto type = ParseFilterType(filter);
    if (!type) {
        throw py::value_error(
            "quillon.upscale: filter must be 'draft', 'quick', 'better' or 'best', not '" + filter +
            "'");
    }
    controls.filter = *type;
    controls.sharpness = Control(sharpness, kSharpnessRange, "sharpness");
    controls.quality = Control(quality, kQualityRange, "quality");
    controls.antiAliasing = Control(antiAliasing, kAntiAliasingRange, "anti_aliasing");
    return controls;
}

// The engine's thread count is a process setting that contexts take when
// they are created: a call that asks for its own count sets it, creates its
// context and removes the setting again, one such call at a time.
std::mutex gThreadSetting;

template <typename T>
py::array Enlarge(const py::array& input, const PictureLayout& layout, const SizeRequest& size,
                  const EffectControls& controls, uint32_t threads) {
    // A C-ordered view of the caller's array (a copy only when it is not one).
    const auto packed = py::array_t<T, py::array::c_style>::ensure(input);
    if (!packed) {
        throw py::error_already_set();
    }
    ResolvedSize target;
    std::optional<FrameScaler> scaler;
    try {
        const ScaleSettings settings = PlanScale(size, layout.width, layout.height, layout.bits,
                                                 EightBitKernel::TwoPass, controls, target);
        py::gil_scoped_release release;
        std::lock_guard<std::mutex> lock(gThreadSetting);
        if (threads != 0) {
            SetEngineThreads(threads);
        }
        try {
            scaler.emplace(settings);
        } catch (...) {
            if (threads != 0) {
                SetEngineThreads(0);
            }
            throw;
        }
        if (threads != 0) {
            SetEngineThreads(0);
        }
    } catch (const QuillonError& e) {
        RaiseFor(e);
    }
    py::array_t<T> result(
        {py::ssize_t{target.height}, py::ssize_t{target.width}, py::ssize_t{layout.channels}});
    T* out = result.mutable_data();
    const T* in = packed.data();
    {
        // The engine, the conversions and the copies touch no Python object:
        // other Python threads run meanwhile.
        py::gil_scoped_release release;
        try {
            RgbaImage source;
            source.Allocate(layout.width, layout.height, layout.bits);
            if constexpr (sizeof(T) == 1) {
                PackedToRgba(in, layout, source.pixels8);
            } else {
                PackedToRgba(in, layout, source.pixels16);
            }
            WorkingFrame working;
            WorkingFrame enlarged;
            ToWorkingFrame(source, working);
            source = RgbaImage();
            scaler->Process(working, enlarged);
            working = WorkingFrame();
            RgbaImage image;
            FromWorkingFrame(enlarged, image);
            const size_t pixels = image.PixelCount();
            if constexpr (sizeof(T) == 1) {
                RgbaToPacked(image.pixels8, pixels, layout.channels, out);
            } else {
                RgbaToPacked(image.pixels16, pixels, layout.channels, out);
            }
        } catch (const QuillonError& e) {
            py::gil_scoped_acquire acquire;
            RaiseFor(e);
        }
    }
    return result;
}

py::array Upscale(const py::object& object, const py::object& size, const std::string& filter,
                  int sharpness, int quality, int antiAliasing, const py::object& threads) {
    if (!py::isinstance<py::array>(object)) {
        throw py::type_error("quillon.upscale: expected a NumPy array, not " +
                             std::string(py::str(py::type::of(object).attr("__name__"))));
    }
    const auto array = py::reinterpret_borrow<py::array>(object);
    const PictureLayout layout = CheckArray(array);
    uint32_t threadCount = 0;  // the engine's own choice
    if (!threads.is_none()) {
        if (!py::isinstance<py::int_>(threads)) {
            throw py::type_error("quillon.upscale: threads must be None or an integer 1..256");
        }
        const int64_t n = threads.cast<int64_t>();
        if (n < 1 || n > kMaxThreads) {
            throw py::value_error(
                "quillon.upscale: threads must be None or an integer 1..256, not " +
                std::to_string(n));
        }
        threadCount = static_cast<uint32_t>(n);
    }
    const EffectControls controls = ControlsFrom(filter, sharpness, quality, antiAliasing);
    const auto [width, height] = SizePair(size, "size");
    SizeRequest request;
    request.size = SizeSpec{width, height};
    return layout.bits == 8 ? Enlarge<uint8_t>(array, layout, request, controls, threadCount)
                            : Enlarge<uint16_t>(array, layout, request, controls, threadCount);
}

// Optional side of a (width, height) pair given to target_size: None or an int.
std::optional<uint32_t> Side(const py::handle& value) {
    if (value.is_none()) {
        return std::nullopt;
    }
    if (!py::isinstance<py::int_>(value)) {
        throw py::type_error("quillon.target_size: a side must be an integer or None");
    }
    const int64_t v = value.cast<int64_t>();
    if (v <= 0 || v > kEngineSideMax) {
        throw py::value_error("quillon.target_size: a side must be 1..65535, not " +
                              std::to_string(v));
    }
    return static_cast<uint32_t>(v);
}

std::tuple<uint32_t, uint32_t> TargetSizeFor(const py::object& source, const py::object& preset,
                                             const py::object& size, const py::object& fit,
                                             bool keepAspect, double pixelAspect,
                                             const py::object& comp, double compPixelAspect) {
    const auto [sw, sh] = SizePair(source, "source");
    SizeRequest request;
    if (!preset.is_none()) {
        request.preset = py::str(preset).cast<std::string>();
    }
    if (!size.is_none()) {
        if (!py::isinstance<py::sequence>(size) || py::len(size) != 2) {
            throw py::type_error(
                "quillon.target_size: size must be a (width, height) pair; either side may be "
                "None with keep_aspect");
        }
        const auto pair = py::reinterpret_borrow<py::sequence>(size);
        request.size = SizeSpec{Side(pair[0]), Side(pair[1])};
    }
    if (!fit.is_none()) {
        const std::string mode = py::str(fit);
        if (mode != "width" && mode != "height") {
            throw py::value_error("quillon.target_size: fit must be 'width' or 'height', not '" +
                                  mode + "'");
        }
        request.fit = mode == "width" ? FitMode::Width : FitMode::Height;
    }
    request.keepAspect = keepAspect;
    request.pixelAspect = pixelAspect;
    if (!comp.is_none()) {
        const auto [cw, ch] = SizePair(comp, "comp");
        request.comp = SizeSpec{cw, ch};
    }
    request.compPixelAspect = compPixelAspect;
    try {
        const ResolvedSize target = ResolveTargetSize(request, sw, sh);
        return {target.width, target.height};
    } catch (const QuillonError& e) {
        RaiseFor(e);
    }
}

py::dict Info() {
    py::dict info;
    info["version"] = QUILLON_VERSION_TEXT;
    const auto level = [](int32_t l) {
        return std::string(CpuLevelName(static_cast<CpuLevel>(l)));
    };
    info["cpu_level"] = level(GetEngineCpuLevel());
    info["machine_cpu_level"] = level(GetMachineCpuLevel());
    info["threads"] = GetEngineThreads();
    info["hardware_threads"] = std::thread::hardware_concurrency();
    return info;
}

}  // namespace

}  // namespace quillon

PYBIND11_MODULE(quillon, m) {
    using namespace pybind11::literals;
    m.doc() = "Enlarges NumPy pictures (uint8 or uint16, RGB or RGBA) with the Quillon 4K engine.";
    quillon::InitialiseEngine();
    m.def("upscale", &quillon::Upscale, "array"_a, "size"_a = std::make_pair(3840, 2160),
          "filter"_a = "best", "sharpness"_a = 2, "quality"_a = 8, "anti_aliasing"_a = 6,
          "threads"_a = py::none(),
          "Enlarge an (H, W, 3) or (H, W, 4) uint8/uint16 array to size=(width, height) and "
          "return a new array. The GIL is released while the engine runs.");
    m.def("target_size", &quillon::TargetSizeFor, "source"_a, "preset"_a = py::none(),
          "size"_a = py::none(), "fit"_a = py::none(), "keep_aspect"_a = false,
          "pixel_aspect"_a = 1.0, "comp"_a = py::none(), "comp_pixel_aspect"_a = 1.0,
          "The (width, height) the effect's rules give a source of size source=(width, height): "
          "a preset (position or text), a custom size, or a fit of size (or the composition) by "
          "width or height.");
    m.def("info", &quillon::Info, "Version, instruction-set level and threads of the engine.");
}
