// The doors of the extension module, one for each subject.
#pragma once

#include <pybind11/pybind11.h>

#include "pixels.h"
#include "reference.h"

namespace pzel_python {

constexpr int kNoOverlay = 255;  // the overlay colour of what is a picture

using PictureClass = py::class_<Picture>;
using ComponentClass = py::class_<IComponent, Ref<IComponent>>;
using CompClass = py::class_<Comp, IComponent, Ref<Comp>>;
using MovieClass = py::class_<Movie, IComponent, Ref<Movie>>;

void BindImage(py::module_& module, PictureClass& image);  // image.cpp: arrays and views
void BindImageValues(PictureClass& image);                 // image_values.cpp: levels, statistics, arithmetic
void BindImageCopies(py::module_& module,
                     PictureClass& image);  // image_copies.cpp: conversions, masks, outlines
void BindHistogram(py::module_& module);    // histogram.cpp
void BindRemapper(py::module_& module, PictureClass& image, ComponentClass& component);
void BindComponent(ComponentClass& component);
void BindComp(CompClass& comp);
void BindMovie(py::module_& module, MovieClass& movie);
void BindObservers(py::module_& module, ComponentClass& component);
void BindDrawing(PictureClass& image, CompClass& comp, MovieClass& movie);
void BindFiles(py::module_& module);

/// A component, or a movie that answers for its only one. A movie of several answers with fixed values and
/// ignores what concerns one of them, and an empty one must not be asked: both are errors here.
/// @throws py::value_error
IComponent& Single(IComponent& component);

/// Gives wrappers a part in the collection of cycles: what a keeper holds may hold the wrapper.
py::custom_type_setup CollectedType();

}  // namespace pzel_python
