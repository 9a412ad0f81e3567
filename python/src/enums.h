// The library's enumerations as enum.IntEnum, made from the library's own values.
#pragma once

#include <pybind11/pybind11.h>

namespace pzel_python {

namespace py = pybind11;

void BindEnums(py::module_& module);

/// A member of one of the module's enumerations; the number itself where it has no such member.
py::object EnumMember(const char* name, int value);

/// Values of Comp::flagsA under CompChannelMask, as Python counts them.
enum class ShownChannel : int { All = 0, Red = 1, Green = 2, Blue = 3 };

}  // namespace pzel_python
