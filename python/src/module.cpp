// The extension module: classes first, so that signatures tell their names, then what they do.
#ifdef PZEL_PYTHON_FILES
#include "apps/io/all_processors.h"
#endif
#include "bindings.h"
#include "enums.h"
#include "pzel/display/vector.h"

PYBIND11_MODULE(_pzel, module) {
    namespace py = pybind11;
    using namespace pzel_python;
    module.doc() = "The library's classes; use them through the package pzel.";
    const py::object name = module.attr("__name__");
    module.attr("__name__") = "pzel";  // where users meet the classes, and what signatures say
    BindEnums(module);
    PictureClass image(
        module, "Image", py::buffer_protocol(),
        "Pixels shared with an array, and the levels that they are shown with (C++: Image).\n\n"
        "The array lives as long as the image, and arrays that the image gives out keep the memory. "
        "An image is one thread's at a time; distinct images may be used in distinct threads.");
    ComponentClass component(module, "Component", CollectedType(),
                             "What a component and a movie have in common (C++: IComponent).");
    CompClass comp(
        module, "Comp", CollectedType(),
        "One layer: an image, or frames, with place, opacity, levels and a tone curve (C++: Comp).\n\n"
        "Reference counted: a movie and Python may hold it at once, and either may let go first. A "
        "component is one thread's at a time, with all others of its movie.");
    MovieClass movie(
        module, "Movie", CollectedType(),
        "Up to 255 components shown together, with a current frame and a selection of frames (C++: "
        "Movie).\n\n"
        "movie[0] is the lowest component, len(movie) their number, movie.length the number of frames. "
        "A movie and its components are one thread's at a time; distinct movies may be used in "
        "distinct threads.");
    BindRemapper(module, image, component);
    BindHistogram(module);
    BindImage(module, image);
    BindImageValues(image);
    BindImageCopies(module, image);
    BindComponent(component);
    BindComp(comp);
    BindMovie(module, movie);
    BindObservers(module, component);
    BindDrawing(image, comp, movie);
#ifdef PZEL_PYTHON_FILES
    BindFiles(module);
    pzel_io::UseAllProcessors();
#endif
    module.attr("__name__") = name;
}
