// Curves: gamma, tables of 512 bytes, and any function of Python.
#include "remapper.h"

#include <pybind11/numpy.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "bindings.h"
#include "keeper.h"
#include "level_choice.h"
#include "pzel/colour/convert_image.h"

namespace pzel_python {

namespace {

constexpr double kTopLevel = 255;
constexpr int kIntensity = 3;  // the first of the three channels behind the image's own

unsigned char ByteOf(double level) {
    return static_cast<unsigned char>(std::lround(kTopLevel * std::clamp(level, 0.0, 1.0)));
}

using SharedCurve = std::shared_ptr<const Curve>;

SharedCurve MakeCurve(const py::object& curve, const py::object& gamma, bool inverted) {
    if (!curve.is_none() && (!gamma.is_none() || inverted)) {
        throw py::value_error("a remapper is made of a curve, or of gamma and invert");
    }
    if (curve.is_none()) return Curve::OfGamma(gamma.is_none() ? 1.0 : gamma.cast<double>(), inverted);
    if (PyCallable_Check(curve.ptr())) return Curve::OfFunction(curve.cast<py::function>());
    return Curve::OfTable(curve);
}

CurveRemapper::Model ModelOf(Comp& comp) {
    return CurveRemapper::ModelOf(comp.GetNumbChannels(), comp.GetCompSType());
}

py::object GetRemapper(IComponent& component) {
    const auto* const held = dynamic_cast<const CurveRemapper*>(Single(component).GetRemapper());
    return held && held->TheCurve() ? py::cast(std::const_pointer_cast<Curve>(held->TheCurve())) : py::none();
}

void SetRemapper(IComponent& component, const std::shared_ptr<Curve>& curve) {
    Feed(Single(component));
    auto* const made = curve ? new CurveRemapper(curve, ModelOf(*component.GetInternalComp())) : nullptr;
    const py::gil_scoped_release released;
    component.SetRemapper(made);
}

// Baking: the door that a curve's own exceptions come out of.
void Bake(Picture& picture, const std::shared_ptr<Curve>& curve, bool hsi) {
    Image& image = picture.Writable();
    CurveRemapper remapper(curve, CurveRemapper::ModelOf(image.channels, GetSubType(&image)));
    const ImageDataType type = GetDataType(static_cast<const Image*>(&image));
    if (type == DataBit || type == DataUInt32 || type == DataInt32) {
        throw py::value_error("bits and 32-bit integers are not converted");
    }
    if (hsi && image.channels < 3)
        throw py::value_error("intensity, saturation and hue are those of 3 channels");
    NeedLevels(image, false);
    if (hsi) remapper.SetMode(1, 1);
    {
        const py::gil_scoped_release released;
        hsi ? ConvertAllDataToRGB(&image, &remapper) : ConvertImage(&image, &remapper);
    }
    curve->RaiseFailure();
}

}  // namespace

SharedCurve Curve::OfGamma(double gamma, bool inverted) {
    if (!(gamma > 0) || !std::isfinite(gamma)) throw py::value_error("gamma must be above 0");
    std::shared_ptr<Curve> made(new Curve(py::make_tuple("gamma", gamma, inverted)));
    made->plain = [=](double v) {
        const double bent = std::pow(v, 1 / gamma);
        return inverted ? 1 - bent : bent;
    };
    made->FillTable();
    return made;
}

SharedCurve Curve::OfTable(const py::object& given) {
    const py::array array = py::module_::import("numpy").attr("asarray")(given);
    if (array.ndim() != 1 || array.shape(0) != kTableEntries || array.dtype().kind() != 'u' ||
        array.itemsize() != 1) {
        throw py::value_error("a table is 512 entries of uint8, from black to white");
    }
    const auto bytes = py::array_t<std::uint8_t, py::array::c_style>(array);
    std::shared_ptr<Curve> made(new Curve(
        py::make_tuple("table", py::bytes(reinterpret_cast<const char*>(bytes.data()), kTableEntries))));
    std::copy_n(bytes.data(), kTableEntries, made->table.begin());
    made->plain = [table = made->table](double v) {
        const double place = std::clamp(v, 0.0, 1.0) * (kTableEntries - 1);
        const auto below = static_cast<std::size_t>(place);
        const std::size_t above = std::min<std::size_t>(below + 1, kTableEntries - 1);
        const double part = place - static_cast<double>(below);
        return (table[below] * (1 - part) + table[above] * part) / kTopLevel;
    };
    return made;
}

SharedCurve Curve::OfFunction(const py::function& function) {
    std::shared_ptr<Curve> made(new Curve(py::make_tuple("function", function)));
    made->function = function;
    made->FillTable();
    made->RaiseFailure();
    return made;
}

Curve::~Curve() {
    if (!Py_IsInitialized()) {
        state.release();
        function.release();
        return;
    }
    const py::gil_scoped_acquire gil;
    const py::object lastState = std::move(state), lastFunction = std::move(function);
    failure = nullptr;
}

float Curve::At(float value) const {
    if (!function) return static_cast<float>(plain(static_cast<double>(value)));
    const py::gil_scoped_acquire gil;
    if (failure) return value;
    try {
        return std::clamp(function(value).cast<float>(), 0.0f, 1.0f);
    } catch (...) {
        failure = std::current_exception();
        return value;
    }
}

void Curve::RaiseFailure() const {
    if (failure) std::rethrow_exception(std::exchange(failure, nullptr));
}

void Curve::FillTable() {
    for (int i = 0; i < kTableEntries; ++i) {
        table[static_cast<std::size_t>(i)] =
            ByteOf(static_cast<double>(At(static_cast<float>(i) / (kTableEntries - 1))));
    }
}

CurveRemapper::Model CurveRemapper::ModelOf(int channels, int subType) {
    if (channels < 3) return Model::Grey;
    return subType == SubYuv ? Model::Yuv : Model::Colour;
}

bool CurveRemapper::IsEqual(const Zel::Remapper& other) const {
    const auto* const same = dynamic_cast<const CurveRemapper*>(&other);
    return same && same->curve == curve && same->model == model;
}

void CurveRemapper::SetMode(int hsi, int) {
    mode = hsi;
    BuildTable();
}

void CurveRemapper::Reset() {
    curve.reset();
    BuildTable();
}

bool CurveRemapper::IsIdentity(int channel) const {
    if (!curve) return true;
    if (channel == kIntensity) return model != Model::Colour;
    return model == Model::Yuv ? channel != 0 : channel < 0 || channel >= GetNumbChannels();
}

float CurveRemapper::Remap(float value, int channel) const {
    return IsIdentity(channel) ? value : curve->At(value);
}

void CurveRemapper::BuildTable() {
    table.clear();
    const int first = mode == 1 ? kIntensity : 0;
    for (int channel = first; channel < first + GetNumbChannels(); ++channel) {
        for (int i = 0; i < kTableEntries; ++i) {
            const double level = static_cast<double>(i) / (kTableEntries - 1);
            table.push_back(IsIdentity(channel) ? ByteOf(level)
                                                : curve->Table()[static_cast<std::size_t>(i)]);
        }
    }
}

void BindRemapper(py::module_& module, PictureClass& image, ComponentClass& component) {
    py::class_<Curve, std::shared_ptr<Curve>>(
        module, "Remapper",
        "A tone curve over levels of 0 … 1, before they become bytes (C++: Zel::Remapper).\n\n"
        "Made of gamma (v ** (1 / gamma)) and invert, of 512 uint8 entries, or of any function of 0 … 1 to "
        "0 … 1. A function is asked for 512 levels at once for the display, and again for every value that "
        "Image.convert meets; what it raises, the call raises.")
        .def(py::init([](const py::object& curve, const py::object& gamma, bool invert) {
                 return std::const_pointer_cast<Curve>(MakeCurve(curve, gamma, invert));
             }),
             py::arg("curve") = py::none(), py::kw_only(), py::arg("gamma") = py::none(),
             py::arg("invert") = false)
        .def(
            "__call__",
            [](const Curve& self, float value) {
                const float result = self.At(value);
                self.RaiseFailure();
                return result;
            },
            py::arg("value"), "The curve at a level of 0 … 1 (C++: Remap).")
        .def_property_readonly(
            "table",
            [](const Curve& self) { return py::array_t<std::uint8_t>(kTableEntries, self.Table().data()); },
            "The 512 entries of the display as uint8: a copy (C++: GetLookupTable).")
        .def("__eq__",
             [](const Curve& self, const py::object& other) {
                 return py::isinstance<Curve>(other) &&
                        self.State().equal(other.cast<const Curve&>().State());
             })
        .def_property_readonly("_state", &Curve::State);
    module.def("_restore_remapper", [](const py::tuple& state) {
        const auto kind = state[0].cast<std::string>();
        SharedCurve made;
        if (kind == "gamma") {
            made = Curve::OfGamma(state[1].cast<double>(), state[2].cast<bool>());
        } else if (kind == "table") {
            made = Curve::OfTable(py::module_::import("numpy").attr("frombuffer")(state[1], "uint8"));
        } else {
            made = Curve::OfFunction(state[1].cast<py::function>());
        }
        return std::const_pointer_cast<Curve>(made);
    });
    component.def_property(
        "remapper", &GetRemapper, &SetRemapper,
        "The tone curve that the display goes through, a Remapper or None (C++: GetRemapper, "
        "SetRemapper). Redraws; sends REMAPPER.");
    image.def(
        "convert", &Bake, py::arg("remapper"), py::kw_only(), py::arg("hsi") = false,
        "Bakes a Remapper into the values, in place (C++: ConvertImage; hsi=True: ConvertAllDataToRGB).\n\n"
        "Every value goes from the levels of its channel through the curve into the full range (the spatial "
        "bound). For 8 bits, 16 bits and float32.\n"
        "Raises ValueError for read-only pixels and other types, and what the curve raises; values that it "
        "raised for stay as they are.");
}

}  // namespace pzel_python
