// What components and movies have in common.
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <pybind11/stl.h>

#include "bindings.h"
#include "enums.h"
#include "keeper.h"
#include "pzel/component/movie_scene.h"

namespace pzel_python {

// A movie of several components answers with fixed values and ignores what concerns one of them: an error
// here.
IComponent& Single(IComponent& component) {
    if (!component.IsMovieObj() || component.GetNumbChildren() == 1) return component;
    throw py::value_error(component.GetNumbChildren() == 0
                              ? "the movie is empty"
                              : "the movie has several components: ask one of them");
}

namespace {

// A component without a movie must not get what it passes on.
IComponent& InMovie(IComponent& component) {
    if (component.IsMovieObj() || component.GetParent()) return component;
    throw py::value_error("the component is in no movie");
}

CompBlackWhite LevelsOf(IComponent& component, int channel) {
    Feed(Single(component));
    return component.GetBlackWhite(channel);
}

}  // namespace

void BindComponent(ComponentClass& component) {
    component
        .def_property_readonly("name", &IComponent::GetName,
                               "The name tag, else the file name, else a default name (C++: GetName).")
        .def_property(
            "opacity",
            [](IComponent& self) {
                return self.IsMovieObj() && !self.GetNumbChildren() ? 1.0f : self.GetOpacity();
            },
            [](IComponent& self, float opacity) {
                if (!(opacity >= 0 && opacity <= 1)) throw py::value_error("opacity is 0 … 1");
                Single(self).SetOpacity(opacity);
            },
            "0 (fully transparent) … 1 (opaque) (C++: GetOpacity, SetOpacity). Sends OPACITY.")
        .def_property(
            "visible",
            [](IComponent& self) {
                return self.IsMovieObj() && !self.GetNumbChildren() ? true : self.IsVisible();
            },
            [](IComponent& self, bool visible) { Single(self).SetVisible(visible); },
            "Whether it is shown (C++: IsVisible, SetVisible). Sends VISIBLE.")
        .def_property(
            "location",
            [](IComponent& self) {
                int x = 0, y = 0;
                self.GetLocation(x, y);
                return py::make_tuple(x, y);
            },
            [](IComponent& self, const std::pair<int, int>& place) {
                if (std::max(std::abs(place.first), std::abs(place.second)) > 32767) {
                    throw py::value_error("a place is -32767 … 32767 pixels");
                }
                Single(self).SetLocation(place.first, place.second);
            },
            "(x, y) in the movie, pixels (C++: GetLocation, SetLocation). Sends LOCATION.")
        .def_property_readonly(
            "kind", [](IComponent& self) { return EnumMember("Kind", Single(self).GetCompMType()); },
            "What it is, a Kind (C++: GetCompMType).")
        .def_property_readonly(
            "model", [](IComponent& self) { return EnumMember("Model", Single(self).GetCompSType()); },
            "The colour model, a Model (C++: GetCompSType).")
        .def_property_readonly(
            "frame_count", [](IComponent& self) { return static_cast<std::uint32_t>(self.GetFrameCount()); },
            "The number of frames (C++: GetFrameCount).")
        .def_property(
            "start_frame",
            [](IComponent& self) {
                return self.IsMovieObj() && !self.GetNumbChildren()
                           ? 0u
                           : static_cast<std::uint32_t>(self.GetStartFrame());
            },
            [](IComponent& self, std::uint32_t frame) { InMovie(Single(self)).SetStartFrame(frame); },
            "The movie's frame at which the component's first one stands (C++: GetStartFrame, "
            "SetStartFrame). "
            "Sends START_FRAME.")
        .def(
            "black_white",
            [](IComponent& self, int channel) {
                const CompBlackWhite levels = LevelsOf(self, channel);
                return py::make_tuple(levels.black, levels.white);
            },
            py::arg("channel") = 0,
            "(black, white) of a channel in the order of the record, blue first; of n channels of colour n, "
            "n + 1 "
            "and n + 2 are intensity, saturation and hue (C++: GetBlackWhite).")
        .def(
            "set_black_white",
            [](IComponent& self, int channel, double black, double white) {
                Feed(Single(self));
                const py::gil_scoped_release released;
                self.SetBlackWhite(channel, {black, white});
            },
            py::arg("channel"), py::arg("black"), py::arg("white"),
            "Sets the levels of a channel, truncated to the element type, and redraws (C++: SetBlackWhite). "
            "Sends "
            "BLACK_WHITE.")
        .def(
            "add_scene",
            [](IComponent& self, const std::string& name, const std::string& description,
               const std::vector<std::pair<unsigned long, unsigned long>>& ranges) {
                std::vector<unsigned long> flat;
                for (const auto& [first, last] : ranges) flat.insert(flat.end(), {first, last});
                Single(self).AddScene(name.c_str(), description.c_str(), static_cast<long>(ranges.size()),
                                      flat.data());
            },
            py::arg("name"), py::arg("description") = "",
            py::arg("ranges") = std::vector<std::pair<unsigned long, unsigned long>>(),
            "Adds a scene: ranges of frames (first, last), both included (C++: AddScene). Sends SCENE_ADDED.")
        .def(
            "remove_scene",
            [](IComponent& self, long index) {
                IComponent& comp = *Single(self).GetInternalComp();
                if (!comp.GetSceneList() || !comp.RemoveScene(index))
                    throw py::index_error("there is no such scene");
            },
            py::arg("index"), "Removes a scene (C++: RemoveScene). Sends SCENE_REMOVED.")
        .def_property_readonly(
            "scenes",
            [](IComponent& self) {
                py::list scenes;
                const std::vector<MovieScene>* const list = Single(self).GetInternalComp()->GetSceneList();
                if (!list) return scenes;
                for (const MovieScene& scene : *list) {
                    py::list ranges;
                    for (std::uint32_t i = 0; i < scene.numbRanges; ++i) {
                        ranges.append(py::make_tuple(scene.ranges[i].first, scene.ranges[i].second));
                    }
                    scenes.append(py::make_tuple(scene.name ? scene.name : "",
                                                 scene.description ? scene.description : "", ranges));
                }
                return scenes;
            },
            "The scenes: (name, description, [(first, last), …]) (C++: GetSceneList).")
        .def_property_readonly(
            "active", [](IComponent& self) { return InMovie(self).IsActive(); },
            "Whether it is active (C++: IsActive).")
        .def(
            "make_active", [](IComponent& self) { InMovie(self).MakeActive(); },
            "Makes it the active one of its movie (C++: MakeActive). Sends ACTIVATED.");
}

}  // namespace pzel_python
