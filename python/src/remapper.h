// Tone curves from Python as remappers: the display goes through 512 entries, baking through exact values.
#pragma once

#include <pybind11/pybind11.h>

#include <array>
#include <exception>
#include <functional>
#include <memory>
#include <vector>

#include "pzel/colour/remapper.h"
#include "pzel/component/comp.h"

namespace pzel_python {

namespace py = pybind11;

constexpr int kTableEntries = 512;

/// What a curve does to a level of 0 … 1. Never changes after it was made, so that copies share it, in any
/// thread.
class Curve {
  public:
    static std::shared_ptr<const Curve> OfGamma(double gamma, bool inverted);
    /// 512 bytes; values between entries are taken straight.
    static std::shared_ptr<const Curve> OfTable(const py::object& table);
    static std::shared_ptr<const Curve> OfFunction(const py::function& function);
    ~Curve();

    /// Needs the interpreter's lock, and takes it, for functions alone. What a function raises is kept until
    /// RaiseFailure; the value stays as it is then.
    float At(float value) const;
    void RaiseFailure() const;
    const std::array<unsigned char, kTableEntries>& Table() const { return table; }
    /// What Python makes the same curve of: ("gamma", gamma, inverted), ("table", bytes), ("function", f).
    py::tuple State() const { return state; }

  private:
    explicit Curve(py::tuple from) : state(std::move(from)) {}
    void FillTable();

    py::tuple state;
    py::object function;  // null: `plain` serves
    std::function<double(double)> plain;
    std::array<unsigned char, kTableEntries> table{};
    mutable std::exception_ptr failure;  // under the interpreter's lock
};

/// A curve at a component. Of a luminance picture only the luminance goes through it, where colour is shown
/// by intensity, saturation and hue only the intensity.
class CurveRemapper final : public Zel::Remapper {
  public:
    enum class Model { Grey, Colour, Yuv };
    CurveRemapper(std::shared_ptr<const Curve> bend, Model of) : curve(std::move(bend)), model(of) {
        BuildTable();
    }
    static Model ModelOf(int channels, int subType);

    bool IsEqual(const Zel::Remapper& other) const override;
    Zel::Remapper* Clone() const override { return new CurveRemapper(*this); }
    void SetMode(int hsi, int flag) override;
    int GetMode() const override { return mode; }
    void Reset() override;
    int GetNumbChannels() const override { return model == Model::Grey ? 1 : 3; }
    bool IsIdentity(int channel) const override;
    float Remap(float value, int channel) const override;
    const unsigned char* GetLookupTable() const override { return table.data(); }

    const std::shared_ptr<const Curve>& TheCurve() const { return curve; }

  private:
    void BuildTable();

    std::shared_ptr<const Curve> curve;  // null: maps to itself
    Model model;
    int mode = 0;
    std::vector<unsigned char> table;
};

}  // namespace pzel_python
