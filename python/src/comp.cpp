// Comp: one layer, made of an image, or of a sequence that has one for each frame.
#include <algorithm>

#include <pybind11/stl.h>

#include "bindings.h"
#include "enums.h"
#include "keeper.h"
#include "level_choice.h"
#include "pzel/bounds/bounds.h"
#include "pzel/component/comp_info.h"

namespace pzel_python {

namespace {

constexpr int kChannelShift = 6;  // of CompChannelMask

void SetImage(Comp& comp, const py::object& object) {
    Picture made;
    Keeper& keeper = Keeper::Of(comp);
    const Picture* const picture = AsPicture(object, made);
    if (keeper.Frames()) keeper.SetFrames(py::none());
    keeper.Place(*picture, Keeper::Levels::OfPicture);
}

Ref<Comp> MakeComp(const py::object& image, const py::object& frames, const py::object& name) {
    auto comp = Ref<Comp>::Take(AllocComp(1));
    if (!image.is_none() && !frames.is_none()) throw py::value_error("a component has an image, or frames");
    if (!image.is_none()) SetImage(*comp.get(), image);
    if (!frames.is_none()) Keeper::Of(*comp.get()).SetFrames(frames);
    if (!name.is_none()) comp->SetNametag(name.cast<std::string>());
    return comp;
}

py::object ImageOf(Comp& comp) {
    Feed(comp);
    std::optional<Picture> picture = Keeper::Of(comp).Current();
    return picture ? py::cast(std::move(*picture)) : py::none();
}

Picture NeedPicture(Comp& comp) {
    Feed(comp);
    std::optional<Picture> picture = Keeper::Of(comp).Current();
    if (!picture) throw py::value_error("the component has no image");
    return std::move(*picture);
}

py::object FramesOf(Comp& comp) {
    Keeper* const keeper = Keeper::Find(comp);
    return keeper && keeper->Frames() ? keeper->Frames() : py::none();
}

py::object Levels(Comp& comp) {
    Picture picture = NeedPicture(comp);
    return LevelsOf(picture);
}

// Chosen on a picture beside the component's, then set as a host would, with the events of it.
void SetLevels(Comp& comp, const py::object& levels) {
    Keeper& keeper = Keeper::Of(comp);
    if (keeper.Frames() && !comp.images->data) {
        keeper.firstLevels = levels;
        return;
    }
    Picture picture = NeedPicture(comp);
    ChooseLevels(picture, levels);
    const py::list pairs = LevelsOf(picture);
    for (int c = 0; c < picture.Record().channels; ++c) {
        const auto pair = py::object(pairs[static_cast<std::size_t>(c)]).cast<LevelPair>();
        const py::gil_scoped_release released;
        comp.SetBlackWhite(StoredChannel(picture.Record(), c), {pair.first, pair.second});
    }
}

std::uint32_t CurrentFrame(Comp& comp) {
    return Keeper::Of(comp).WantedFrame();
}

void SetCurrentFrame(Comp& comp, std::uint32_t frame) {
    if (frame >= comp.frameCount) throw py::index_error("the component has no such frame");
    if (comp.parent) {
        const py::gil_scoped_release released;
        comp.SetCurrentFrame(frame);
    } else {
        Keeper::Of(comp).frameAlone = frame;
    }
}

void SetChannel(Comp& comp, int channel) {
    if (channel < 0 || channel > 3) throw py::value_error("a channel to show is a Channel, 0 … 3");
    const auto flags =
        static_cast<std::uint16_t>((comp.flagsA & ~CompChannelMask) | (channel << kChannelShift));
    if (flags == comp.flagsA) return;
    comp.flagsA = flags | CompBitmapOutOfDate;
    comp.DeleteBitmap();
}

void SetJoint(Comp& comp, bool joint) {
    const Picture picture = NeedPicture(comp);
    if (picture.Record().channels < 3)
        throw py::value_error("intensity, saturation and hue are those of 3 channels");
    comp.SwitchMapingMode(joint ? picture.Record().channels : 0);
    comp.flagsA |= CompBitmapOutOfDate;
}

bool IsJoint(Comp& comp) {
    Image* const image = comp.GetCurrentImage();
    return image && GetBoundType(image) == BoundHsi;
}

py::object DataArea(Comp& comp) {
    if (!comp.dataArea || (comp.flagsA & CompExtentMask) != CompExtentDataArea) return py::none();
    const SRect& area = *comp.dataArea;
    return py::make_tuple(area.left, area.top, area.right - area.left + 1, area.bottom - area.top + 1);
}

void SetDataArea(Comp& comp, const py::object& area) {
    comp.flagsA &= static_cast<std::uint16_t>(~CompExtentMask);
    comp.flagsA |= CompBitmapOutOfDate;
    comp.DeleteBitmap();
    if (area.is_none()) return;
    const auto [x, y, width, height] = area.cast<std::tuple<int, int, int, int>>();
    if (width < 1 || height < 1 || std::min(x, y) < 0 || std::max(x + width, y + height) > 32768) {
        throw py::value_error("an area is (x, y, width, height), 1 … 32,768 pixels");
    }
    if (!comp.dataArea) comp.dataArea = new SRect;
    *comp.dataArea = {static_cast<std::int16_t>(x), static_cast<std::int16_t>(x + width - 1),
                      static_cast<std::int16_t>(y), static_cast<std::int16_t>(y + height - 1)};
    comp.flagsA |= CompExtentDataArea;
}

void SetVectorStep(Comp& comp, std::uint8_t step) {
    if (!comp.info) comp.info = AllocCompInfo();
    comp.info->vectorStepX = comp.info->vectorStepY = step;
    comp.flagsA |= CompBitmapOutOfDate;
}

std::string DescribeComp(Comp& comp) {
    std::string text = std::string("<pzel.Comp '") + comp.GetName() + "'";
    const Image* const image = comp.GetCurrentImage();
    if (image && image->data)
        text += ", " + std::to_string(image->width) + " x " + std::to_string(image->height);
    if (comp.frameCount > 1) text += ", " + std::to_string(comp.frameCount) + " frames";
    return text + ">";
}

}  // namespace

void BindComp(CompClass& comp) {
    comp.def(py::init(&MakeComp), py::arg("image") = py::none(), py::kw_only(),
             py::arg("frames") = py::none(), py::arg("name") = py::none(),
             "A layer that shows an image or an array, whose pixels it shares (C++: AllocComp), or `frames`: "
             "any "
             "sequence of them, one for each frame, read when a frame is wanted. Levels stay while frames "
             "change.")
        .def_property(
            "image", &ImageOf, &SetImage,
            "The current image, or None: another Image that shares the pixels, with the levels of the "
            "component as they are now. Setting shares an image's or array's pixels and takes its levels.")
        .def_property(
            "frames", &FramesOf,
            [](Comp& self, const py::object& frames) { Keeper::Of(self).SetFrames(frames); },
            "The sequence that frames are read from, or None.")
        .def_property(
            "current_frame", &CurrentFrame, &SetCurrentFrame,
            "The component's own frame. In a movie it follows the movie's; setting moves the movie (C++: "
            "SetCurrentFrame).")
        .def_property(
            "name", [](Comp& self) { return self.GetName(); },
            [](Comp& self, const std::string& name) { self.SetNametag(name); },
            "The name tag, else the file name, else a default name (C++: GetName, SetNametag).")
        .def_property(
            "levels", &Levels, &SetLevels,
            "What is shown from black to white: a list of (low, high), colour red first.\n\n"
            "Set to 'data', 'full', '0.35%', a pair, or a list of pairs; see Image.levels. Redraws; sends "
            "BLACK_WHITE for each channel that changes. Before the first of its frames was read it is "
            "kept for that.")
        .def_property(
            "channel",
            [](Comp& self) {
                return EnumMember("Channel", (self.flagsA & CompChannelMask) >> kChannelShift);
            },
            &SetChannel, "Which channels of three are shown, a Channel (C++: flagsA, CompChannelMask).")
        .def_property("joint_hsi", &IsJoint, &SetJoint,
                      "Whether colour is shown through levels of intensity, saturation and hue (C++: "
                      "SwitchMapingMode).")
        .def_property(
            "data_area", &DataArea, &SetDataArea,
            "The part that is shown, (x, y, width, height) in pixels of the image, or None: all of it.")
        .def_property(
            "overlay_colour",
            [](Comp& self) {
                return self.overlayColour == kNoOverlay ? py::object(py::none())
                                                        : py::int_(self.overlayColour);
            },
            [](Comp& self, const py::object& colour) {
                self.overlayColour = colour.is_none() ? kNoOverlay : colour.cast<std::uint8_t>();
            },
            "The colour that bits, outlines and vectors are composed in: 1 red, 2 green, 3 blue, 4 yellow, 5 "
            "cyan, "
            "6 magenta, others white, or an entry of the colours that compose() gets; None: none of its own.")
        .def_property(
            "vector_step", [](Comp& self) { return self.info ? self.info->vectorStepX : 0; }, &SetVectorStep,
            "Every which column and row of a vector field counts, pixels; 0: not chosen (C++: CompInfo).")
        .def_property_readonly(
            "extent",
            [](Comp& self) {
                Feed(self);
                const SRect extent = self.GetCompExtent();
                return py::make_tuple(extent.left, extent.top, extent.right - extent.left + 1,
                                      extent.bottom - extent.top + 1);
            },
            "(x, y, width, height) in the movie, pixels (C++: GetCompExtent).")
        .def_property_readonly(
            "parent", [](Comp& self) { return Wrapped(self.GetParent()); },
            "The movie, or None (C++: GetParent).")
        .def_property_readonly(
            "index",
            [](Comp& self) { return self.GetParent() ? py::object(py::int_(self.GetIndex())) : py::none(); },
            "The place in the movie, or None (C++: GetIndex).")
        .def(
            "copy",
            [](Comp& self) {
                auto copy = Ref<Comp>::Take(AllocComp(0));
                CopyComp(copy.get(), &self, false);
                if (const Keeper* const keeper = Keeper::Find(self))
                    Keeper::Of(*copy.get()).ShareFrames(*keeper);
                return copy;
            },
            "Another component with pixels of its own (C++: CopyComp). Frames come from the same sequence.")
        .def("__repr__", &DescribeComp);
}

}  // namespace pzel_python
