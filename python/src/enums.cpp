// One list of (name, value) for each enumeration.
#include "enums.h"

#include <string>
#include <utility>
#include <vector>

#include "pzel/bounds/bounds.h"
#include "pzel/component/icomponent.h"
#include "pzel/component/movie.h"
#include "pzel/image/image.h"

namespace pzel_python {

namespace {

using Members = std::vector<std::pair<const char*, int>>;

void Bind(py::module_& module, const char* name, const char* text, const Members& members) {
    py::list list;
    for (const auto& [member, value] : members) list.append(py::make_tuple(member, value));
    const py::object made =
        py::module_::import("enum").attr("IntEnum")(name, list, py::arg("module") = "pzel");
    made.attr("__doc__") = text;
    module.attr(name) = made;
}

}  // namespace

void BindEnums(py::module_& module) {
    Bind(module, "DataType", "Element types (C++: ImageDataType).",
         {{"NONE", DataNone},
          {"BIT", DataBit},
          {"UINT8", DataUInt8},
          {"INT8", DataInt8},
          {"UINT16", DataUInt16},
          {"INT16", DataInt16},
          {"UINT32", DataUInt32},
          {"INT32", DataInt32},
          {"FLOAT", DataFloat}});
    Bind(module, "Kind", "What an image is (C++: ImageMajorType).",
         {{"PICTURE", MajorPicture},
          {"BOUNDARY", MajorBoundary},
          {"NO_BITMAP", MajorNoBitmap},
          {"VECTOR", MajorVector},
          {"COMPOSITE", MajorComposite},
          {"NONE", MajorNone}});
    Bind(module, "Model", "Colour models (C++: ImageSubType). COLOUR of 3 channels is blue, green, red.",
         {{"COLOUR", SubColour},
          {"YUV", SubYuv},
          {"GREY", SubGrey},
          {"NONE", SubNone},
          {"NOT_SET", SubNotSet}});
    Bind(module, "Channel",
         "Which channels a component shows (C++: CompFlagsA, CompChannelMask); of y, u, v "
         "RED, GREEN and BLUE stand for Y, U and V.",
         {{"ALL", 0}, {"RED", 1}, {"GREEN", 2}, {"BLUE", 3}});
    Bind(module, "Event", "What observers are told (C++: ComponentEvent).",
         {{"DESTROYED", EventDestroyed},
          {"CHILD_ADDED", EventChildAdded},
          {"CHILD_REMOVING", EventChildRemoving},
          {"CHILD_REMOVED", EventChildRemoved},
          {"LOCATION", EventLocation},
          {"ACTIVATED", EventActivated},
          {"BLACK_WHITE", EventBlackWhite},
          {"OPACITY", EventOpacity},
          {"VISIBLE", EventVisible},
          {"REMAPPER", EventRemapper},
          {"CURRENT_FRAME", EventCurrentFrame},
          {"MOVIE_LENGTH", EventMovieLength},
          {"START_FRAME", EventStartFrame},
          {"SCENE_ADDED", EventSceneAdded},
          {"SCENE_REMOVED", EventSceneRemoved}});
    Bind(module, "Play", "How Movie.move_to_next_frame steps (C++: MovieStatus).",
         {{"FORWARD", MoviePlayForward},
          {"BACKWARD", MoviePlayBackward},
          {"FORTH_AND_BACK", MoviePlayForthAndBack},
          {"TO_END", MoviePlayToEnd}});
}

py::object EnumMember(const char* name, int value) {
    const py::object all = py::module_::import("pzel._pzel").attr(name);
    const py::dict members = all.attr("_value2member_map_");
    const py::int_ key(value);
    return members.contains(key) ? py::object(members[key]) : py::object(key);
}

}  // namespace pzel_python
