// Movie: components shown together, a current frame, and which frames are selected.
#include <algorithm>
#include <memory>

#include <pybind11/stl.h>

#include "bindings.h"
#include "enums.h"
#include "keeper.h"
#include "pzel/component/frame_iterator.h"
#include "pzel/component/group.h"

namespace pzel_python {

namespace {

/// The selected frames, over a list of its own.
class FrameNumbers {
  public:
    explicit FrameNumbers(Movie& movie) : ranges(movie.GetFrameRanges()) {
        if (ranges.empty() && movie.GetMovieLength() > 0) {
            ranges.emplace_back(0, static_cast<long>(movie.GetMovieLength()) - 1);
        }
        iterator = std::make_unique<FrameIterator>(&ranges);
    }
    FrameNumbers(const FrameNumbers&) = delete;

    long Next() {
        if (iterator->Done()) throw py::stop_iteration();
        const long frame = **iterator;
        ++*iterator;
        return frame;
    }

  private:
    FrameIterator::Ranges ranges;
    std::unique_ptr<FrameIterator> iterator;
};

/// What may stand for a component: one, or what one is made of.
Ref<Comp> AsComp(const py::object& object) {
    if (py::isinstance<Comp>(object)) return object.cast<Ref<Comp>>();
    return py::type::of<Comp>()(object).cast<Ref<Comp>>();
}

int Extend(Movie& movie, const py::iterable& components) {
    std::vector<Ref<Comp>> held;
    for (const py::handle& one : components) held.push_back(AsComp(py::reinterpret_borrow<py::object>(one)));
    std::vector<Comp*> comps;
    for (const Ref<Comp>& one : held) {
        if (one->GetParent())
            throw py::value_error("a component has one movie: remove it there first, or copy it");
        if (std::find(comps.begin(), comps.end(), one.get()) != comps.end()) {
            throw py::value_error("a component stands in a movie once: copy it");
        }
        comps.push_back(one.get());
    }
    if (comps.empty()) return movie.GetNumbChildren();
    const int first = AddComponentGroup(&movie, comps.data(), static_cast<int>(comps.size()));
    if (first < 0) throw py::value_error("a movie has 255 components at most");
    return first;
}

Ref<Movie> MakeMovie(const py::args& components, const py::object& name) {
    auto movie = Ref<Movie>::Take(new Movie);
    Extend(*movie.get(), components);
    if (!name.is_none()) movie->SetNametag(name.cast<std::string>());
    return movie;
}

Comp* ChildAt(Movie& movie, int index) {
    const int count = movie.GetNumbChildren();
    if (index < 0) index += count;
    if (index < 0 || index >= count) throw py::index_error("the movie has no such component");
    return movie.GetChildAt(index)->GetInternalComp();
}

void Remove(Movie& movie, Comp& comp) {
    if (movie.FindComponentIndex(&comp) < 0) throw py::value_error("the component is not in this movie");
    movie.RemoveChild(&comp);
}

void Replace(Movie& movie, int index, const py::object& object) {
    ChildAt(movie, index);
    const Ref<Comp> comp = AsComp(object);
    if (comp->GetParent())
        throw py::value_error("a component has one movie: remove it there first, or copy it");
    SetComponent(&movie, index < 0 ? index + movie.GetNumbChildren() : index, comp.get());
}

void GoTo(Movie& movie, std::uint32_t frame) {
    if (frame >= movie.GetMovieLength())
        throw py::index_error("the movie has no frame " + std::to_string(frame));
    const py::gil_scoped_release released;
    movie.SetCurrentFrame(frame);
}

std::pair<int, int> SizeOf(Movie& movie) {
    int width = 0, height = 0;
    movie.GetSize(width, height);
    if (width > 0 && height > 0) return {width, height};
    Feed(movie);
    for (int i = 0; i < movie.GetNumbChildren(); ++i) {
        const SRect extent = movie.GetChildAt(i)->GetInternalComp()->GetCompExtent();
        width = std::max(width, extent.right + 1);
        height = std::max(height, extent.bottom + 1);
    }
    return {width, height};
}

void SetRanges(Movie& movie, const std::vector<std::pair<long, long>>& ranges) {
    for (const auto& [first, last] : ranges) {
        if (first < 0 || last < first) throw py::value_error("a range is (first, last), both included");
    }
    movie.ClearFrameRanges();
    for (const auto& range : ranges) movie.AddFrameRange(range);
}

py::list Conversions(Movie& movie) {
    py::list all;
    for (int i = 0; i < movie.GetNumbChildren(); ++i) {
        const Keeper* const keeper = Keeper::Find(*movie.GetChildAt(i));
        if (!keeper || !keeper->Frames() || !py::hasattr(keeper->Frames(), "conversions")) continue;
        for (const py::handle& line : keeper->Frames().attr("conversions")) all.append(line);
    }
    return all;
}

}  // namespace

void BindMovie(py::module_& module, MovieClass& movie) {
    py::class_<FrameNumbers>(module, "_FrameNumbers")
        .def("__iter__", [](const py::object& self) { return self; })
        .def("__next__", &FrameNumbers::Next);
    movie
        .def(py::init(&MakeMovie), py::kw_only(), py::arg("name") = py::none(),
             "Movie(*components, name=None): components shown together, the first one lowest (C++: Movie). A "
             "component, an image or an array each.")
        .def("__len__", &Movie::GetNumbChildren)
        .def(
            "__getitem__", [](Movie& self, int index) { return Wrapped(ChildAt(self, index)); },
            py::arg("index"))
        .def("__iter__",
             [](Movie& self) {
                 py::list children;
                 for (int i = 0; i < self.GetNumbChildren(); ++i)
                     children.append(Wrapped(self.GetChildAt(i)));
                 return py::iter(children);
             })
        .def("__contains__",
             [](Movie& self, const py::object& comp) {
                 return py::isinstance<Comp>(comp) && self.FindComponentIndex(comp.cast<Comp*>()) >= 0;
             })
        .def(
            "append", [](Movie& self, const py::object& comp) { return Extend(self, py::make_tuple(comp)); },
            py::arg("component"),
            "Adds a component, an image or an array at the end; returns its index (C++: AppendComponent). "
            "Sends "
            "CHILD_ADDED, and MOVIE_LENGTH where that changes.")
        .def("extend", &Extend, py::arg("components"),
             "Adds several, all or none; returns the index of the first (C++: AddComponentGroup).")
        .def("remove", &Remove, py::arg("component"),
             "Removes a component (C++: RemoveChild). Sends CHILD_REMOVING, CHILD_REMOVED.")
        .def("replace", &Replace, py::arg("index"), py::arg("component"),
             "Puts a component into the place of another one (C++: SetComponent).")
        .def_property(
            "name", [](Movie& self) { return self.GetName(); },
            [](Movie& self, const std::string& name) { self.SetNametag(name); },
            "The name tag, else the file name, else a default name (C++: GetName, SetNametag).")
        .def_property(
            "size", &SizeOf,
            [](Movie& self, const std::pair<int, int>& size) {
                if (std::min(size.first, size.second) < 0 || std::max(size.first, size.second) > 32767) {
                    throw py::value_error("a size is 0 … 32,767 pixels");
                }
                self.SetSize(size.first, size.second);
            },
            "(width, height) in pixels; (0, 0), as it starts, stands for what the components cover (C++: "
            "GetSize, "
            "SetSize).")
        .def_property_readonly("_own_size",
                               [](Movie& self) {
                                   int width = 0, height = 0;
                                   self.GetSize(width, height);
                                   return py::make_tuple(width, height);
                               })
        .def_property(
            "length", [](Movie& self) { return static_cast<std::uint32_t>(self.GetMovieLength()); },
            [](Movie& self, std::uint32_t length) { self.SetMovieLength(length); },
            "Frames (C++: GetMovieLength, SetMovieLength). Sends MOVIE_LENGTH.")
        .def_property(
            "current_frame", [](Movie& self) { return static_cast<std::uint32_t>(self.GetCurrentFrame()); },
            &GoTo,
            "The frame that is shown, from 0 on (C++: GetCurrentFrame, SetCurrentFrame). Sends "
            "CURRENT_FRAME.")
        .def_property(
            "ranges", [](Movie& self) { return self.GetFrameRanges(); }, &SetRanges,
            "The selected frames: a list of (first, last), both included; none: all (C++: GetFrameRanges, "
            "AddFrameRange).")
        .def(
            "frames", [](Movie& self) { return std::make_unique<FrameNumbers>(self); },
            "Iterates over the numbers of the selected frames (C++: GetFrameIterator).")
        .def_property(
            "play", [](Movie& self) { return EnumMember("Play", self.GetStatus() & MoviePlayMask); },
            [](Movie& self, int play) {
                if (play & ~MoviePlayMask) throw py::value_error("play is a Play");
                self.SetStatus(static_cast<unsigned short>((self.GetStatus() & ~MoviePlayMask) | play));
            },
            "How move_to_next_frame steps, a Play (C++: GetStatus, SetStatus).")
        .def(
            "move_to_next_frame",
            [](Movie& self) {
                const py::gil_scoped_release released;
                self.MoveToNextFrame();
            },
            "One step of playback within the selected frames (C++: MoveToNextFrame). Sends CURRENT_FRAME.")
        .def_property_readonly(
            "next_frame", [](Movie& self) { return static_cast<std::uint32_t>(self.GetNextFrame()); },
            "The selected frame after the current one (C++: GetNextFrame).")
        .def_property_readonly(
            "previous_frame", [](Movie& self) { return static_cast<std::uint32_t>(self.GetPreviousFrame()); },
            "The selected frame before the current one (C++: GetPreviousFrame).")
        .def_property_readonly(
            "active_component", [](Movie& self) { return Wrapped(self.GetActiveComp()); },
            "The active component, or None (C++: GetActiveComp).")
        .def_property_readonly(
            "conversions", &Conversions,
            "What reading changed or left out, one line each; of frames that were read, too.")
        .def(
            "copy",
            [](Movie& self) {
                auto copy = Ref<Movie>::Take(new Movie(self));
                for (int i = 0; i < self.GetNumbChildren(); ++i) {
                    const Keeper* const keeper = Keeper::Find(*self.GetChildAt(i));
                    if (keeper) Keeper::Of(*copy->GetChildAt(i)).ShareFrames(*keeper);
                }
                return copy;
            },
            "Another movie with components and pixels of its own (C++: CopyFrom). Frames come from the same "
            "sequences.")
        .def("__repr__", [](Movie& self) {
            return std::string("<pzel.Movie '") + self.GetName() + "', " +
                   std::to_string(self.GetNumbChildren()) +
                   (self.GetNumbChildren() == 1 ? " component, " : " components, ") +
                   std::to_string(self.GetMovieLength()) +
                   (self.GetMovieLength() == 1 ? " frame>" : " frames>");
        });
}

}  // namespace pzel_python
