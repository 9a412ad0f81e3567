// Pictures: an image, a component or a whole movie as rows of bytes. Colour comes out red first, as a view of
// rows that are blue first in memory; nothing is turned by a copy.
#include <algorithm>
#include <array>
#include <optional>

#include <pybind11/stl.h>

#include "bindings.h"
#include "enums.h"
#include "keeper.h"
#include "level_choice.h"
#include "pzel/display/compose.h"
#include "pzel/display/map_data.h"
#include "pzel/display/vector.h"
#include "remapper.h"

namespace pzel_python {

namespace {

/// Rows that a picture is drawn into: new ones, or those of an earlier picture.
struct Canvas {
    py::array picture;  // as Python sees it
    unsigned char* pixels = nullptr;
    int rowBytes = 0;
};

py::array_t<std::uint8_t> NewRows(std::vector<py::ssize_t> shape) {
    return py::array_t<std::uint8_t>(std::move(shape));
}

Canvas NewCanvas(int width, int height, bool colour) {
    Canvas canvas;
    canvas.rowBytes = colour ? 3 * width : width;
    if (!colour) {
        py::array_t<std::uint8_t> rows = NewRows({height, width});
        canvas.pixels = rows.mutable_data();
        canvas.picture = std::move(rows);
        return canvas;
    }
    py::array_t<std::uint8_t> rows = NewRows({height, width, 3});
    canvas.pixels = rows.mutable_data();
    canvas.picture = py::array(rows.dtype(), {height, width, 3}, {3 * width, 3, -1}, canvas.pixels + 2, rows);
    return canvas;
}

// An earlier picture of the same shape is drawn over.
Canvas MakeCanvas(int width, int height, bool colour, const py::object& out) {
    if (out.is_none()) return NewCanvas(width, height, colour);
    if (!py::isinstance<py::array_t<std::uint8_t>>(out)) throw py::type_error("out is an array of uint8");
    auto given = py::reinterpret_borrow<py::array>(out);
    const bool shaped = given.ndim() == (colour ? 3 : 2) && given.shape(0) == height &&
                        given.shape(1) == width && (!colour || given.shape(2) == 3);
    const bool stepped =
        colour ? shaped && given.strides(1) == 3 && given.strides(2) == -1 : shaped && given.strides(1) == 1;
    if (!stepped || !given.writeable() || given.strides(0) < (colour ? 3 : 1) * width ||
        given.strides(0) > kLargestRow) {
        throw py::value_error("out is a writable picture of " + std::to_string(width) + " x " +
                              std::to_string(height) +
                              (colour ? " x 3, red first over memory that is blue first, as render() gives it"
                                      : ", row by row"));
    }
    Canvas canvas;
    canvas.pixels = static_cast<unsigned char*>(given.mutable_data()) - (colour ? 2 : 0);
    canvas.rowBytes = static_cast<int>(given.strides(0));
    canvas.picture = std::move(given);
    return canvas;
}

/// A rectangle of an image.
struct Part {
    unsigned short x = 0, y = 0, width = 0, height = 0;
};

void CheckShowable(const Image& image) {
    const ImageDataType type = GetDataType(&image);
    if (type == DataUInt32 || type == DataInt32) {
        throw py::value_error("32-bit integers are not shown: show array.astype(numpy.float32)");
    }
    if (image.channels != 1 && image.channels != 3) {
        throw py::value_error("a picture has 1 or 3 channels, not " + std::to_string(image.channels));
    }
}

py::array MapImage(Image& image, const Part& part, const unsigned char* table, unsigned char channelMode,
                   const py::object& out) {
    CheckShowable(image);
    const bool colour = image.channels == 3 && channelMode == 0;
    const int row = part.width * (colour ? 3 : 1);
    if (row > kLargestRow)
        throw py::value_error("a row of the picture has more than 65,535 bytes: show a part of it");
    Canvas canvas = MakeCanvas(part.width, part.height, colour, out);
    const py::gil_scoped_release released;
    MapData(canvas.pixels, static_cast<unsigned short>(canvas.rowBytes), part.width, part.height, &image,
            static_cast<short>(part.x), static_cast<short>(part.y), table, channelMode);
    return std::move(canvas.picture);
}

// Bits, outlines and vectors have bitmaps of bits: white on black.
py::array DrawBits(Comp& comp, const py::object& out) {
    comp.DeleteBitmap();
    comp.ComputeBitmap(-1);
    const ShownBitmap shown = comp.GetShownBitmap();
    if (!shown.pixels || shown.bits != 1) throw py::value_error("the component has nothing to show");
    Canvas canvas = MakeCanvas(shown.width, shown.height, false, out);
    const BitmapDestination to{canvas.pixels, canvas.rowBytes, shown.width, shown.height};
    const BitmapSource from{shown.pixels, shown.rowBytes, shown.width, shown.height};
    for (int y = 0; y < shown.height; ++y) std::fill_n(canvas.pixels + y * canvas.rowBytes, shown.width, 0);
    if (shown.bitRows == 2) {
        AddBoundaryTo8(to, from, 1, 1, 255);
    } else {
        CopyBitTo8(to, from, 1, 1, 0, 255);
    }
    return std::move(canvas.picture);
}

py::array RenderComp(Comp& comp, const py::object& out) {
    Feed(comp);
    Part part;
    Image* const image = comp.GetFlatImage(part.x, part.y, part.width, part.height);
    if (!image || !image->data) throw py::value_error("the component has no image");
    if (part.x + part.width > image->width || part.y + part.height > image->height) {
        throw py::value_error("the data area leaves the image");
    }
    if (comp.GetCompMType() != MajorPicture || GetDataType(static_cast<const Image*>(image)) == DataBit) {
        return DrawBits(comp, out);
    }
    const unsigned char* const table = comp.remapper ? comp.remapper->GetLookupTable() : nullptr;
    return MapImage(*image, part, table, static_cast<unsigned char>(comp.flagsA & CompChannelMask), out);
}

py::array RenderImage(Picture& picture, const std::shared_ptr<Curve>& curve, const py::object& out) {
    Image& image = picture.Record();
    if (GetDataType(static_cast<const Image*>(&image)) == DataBit ||
        GetMajorType(&std::as_const(image)) != MajorPicture) {
        const auto comp = Ref<Comp>::Take(AllocComp(1));
        Keeper::Of(*comp.get()).Place(picture, Keeper::Levels::OfPicture);
        return DrawBits(*comp.get(), out);
    }
    CheckShowable(image);
    NeedLevels(image, picture.Shared().truth);
    const Part part{0, 0, image.width, image.height};
    if (!curve) return MapImage(image, part, nullptr, 0, out);
    CurveRemapper remapper(curve, CurveRemapper::ModelOf(image.channels, GetSubType(&std::as_const(image))));
    return MapImage(image, part, remapper.GetLookupTable(), 0, out);
}

int Zoomed(int size, int zoom) {
    const int step = std::max(-zoom, 1);
    return (size + step - 1) / step * std::max(zoom, 1);
}

// The least depth that shows every layer.
bool NeedsColour(Movie& movie) {
    for (int i = 0; i < movie.GetNumbChildren(); ++i) {
        Comp& comp = *movie.GetChildAt(i)->GetInternalComp();
        const int kind = comp.GetCompMType();
        const bool bits = comp.images && GetDataType(static_cast<const Image*>(comp.images)) == DataBit;
        if (kind == MajorBoundary || kind == MajorVector || (bits && comp.overlayColour != kNoOverlay))
            return true;
        if (kind == MajorPicture && comp.ComputeBmpBits() == 24) return true;
    }
    return false;
}

void CheckLayers(Movie& movie) {
    for (int i = 0; i < movie.GetNumbChildren(); ++i) {
        Comp& comp = *movie.GetChildAt(i)->GetInternalComp();
        const Image* const image = comp.GetFlatImage();
        if (!image || !image->data || comp.GetCompMType() != MajorPicture) continue;
        CheckShowable(*image);
        // The pixels are shared: nobody tells when they change.
        comp.flagsA |= CompBitmapOutOfDate;
    }
}

std::optional<std::array<BgrColour, 256>> ColoursOf(const py::object& given) {
    if (given.is_none()) return std::nullopt;
    const auto table = py::array_t<std::uint8_t, py::array::c_style | py::array::forcecast>::ensure(given);
    if (!table || table.ndim() != 2 || table.shape(0) != 256 || table.shape(1) != 3) {
        throw py::value_error("colours are 256 x (red, green, blue)");
    }
    std::array<BgrColour, 256> colours;
    for (py::ssize_t i = 0; i < 256; ++i) {
        colours[static_cast<std::size_t>(i)] = {table.at(i, 2), table.at(i, 1), table.at(i, 0)};
    }
    return colours;
}

bool IsPlainPicture(Movie& movie) {
    if (movie.GetNumbChildren() != 1) return false;
    Comp& comp = *movie.GetChildAt(0)->GetInternalComp();
    return comp.x == 0 && comp.y == 0 && comp.transparency == 0 && comp.IsVisible() &&
           comp.GetCompMType() == MajorPicture && comp.overlayColour == kNoOverlay &&
           (comp.flagsA & CompExtentMask) != CompExtentDataArea && comp.flatComp == nullptr;
}

using Area = std::tuple<int, int, int, int>;

py::array Compose(const py::object& self, int zoom, const std::optional<Area>& area, const py::object& depth,
                  const py::object& colours, const py::object& out) {
    Movie& movie = self.cast<Movie&>();
    if (movie.GetNumbChildren() == 0) throw py::value_error("the movie is empty");
    if (zoom < -128 || zoom > 127) throw py::value_error("zoom is -128 … 127");
    Feed(movie);
    CheckLayers(movie);
    int x = 0, y = 0, width = 0, height = 0;
    if (area) {
        std::tie(x, y, width, height) = *area;
    } else {
        std::tie(width, height) = self.attr("size").cast<std::pair<int, int>>();
    }
    if (width < 1 || height < 1) throw py::value_error("there is nothing to show: the movie covers no area");
    if (std::min(x, y) < -32768 || std::max(x + width, y + height) > 32768) {
        throw py::value_error("an area lies within -32,768 … 32,767 pixels");
    }
    const bool colour = depth.is_none() ? NeedsColour(movie) : depth.cast<int>() == 24;
    if (!depth.is_none() && !colour && depth.cast<int>() != 8) throw py::value_error("depth is 8 or 24");
    const auto palette = ColoursOf(colours);
    Canvas canvas = MakeCanvas(Zoomed(width, zoom), Zoomed(height, zoom), colour, out);
    const SRect shown{static_cast<std::int16_t>(x), static_cast<std::int16_t>(x + width - 1),
                      static_cast<std::int16_t>(y), static_cast<std::int16_t>(y + height - 1)};
    const int columns = Zoomed(width, zoom), rows = Zoomed(height, zoom);
    const py::gil_scoped_release released;
    for (int row = 0; row < rows; ++row)
        std::fill_n(canvas.pixels + row * canvas.rowBytes, columns * (colour ? 3 : 1), 0);
    ComposeMovie(&movie, {canvas.pixels, canvas.rowBytes, columns, rows}, shown,
                 static_cast<signed char>(zoom), palette ? palette->data() : nullptr, colour ? 24 : 8);
    return std::move(canvas.picture);
}

py::array Render(const py::object& self, const py::object& frame, int zoom, const std::optional<Area>& area,
                 const py::object& depth, const py::object& colours, const py::object& out) {
    if (!frame.is_none()) self.attr("current_frame") = frame;
    Movie& movie = self.cast<Movie&>();
    Feed(movie);
    int width = 0, height = 0;
    movie.GetSize(width, height);
    const bool whole = zoom == 1 && !area && depth.is_none() && width == 0;
    if (whole && IsPlainPicture(movie)) return RenderComp(*movie.GetChildAt(0)->GetInternalComp(), out);
    return Compose(self, zoom, area, depth, colours, out);
}

}  // namespace

void BindDrawing(PictureClass& image, CompClass& comp, MovieClass& movie) {
    VectorInit();
    image.def(
        "render", &RenderImage, py::arg("remapper") = py::none(), py::kw_only(), py::arg("out") = py::none(),
        "The picture between its levels: uint8, (h, w), of colour (h, w, 3), red first over memory that is "
        "blue first (C++: MapData).\n\n"
        "remapper: a Remapper, or None. out: an earlier picture to draw over. Bits are 0 and 255. 8-bit "
        "values "
        "count as unsigned, signed ones too. Raises ValueError for 32-bit integers and other numbers of "
        "channels than 1 and 3.");
    comp.def("render", &RenderComp, py::kw_only(), py::arg("out") = py::none(),
             "The component alone, as it is shown: uint8, (h, w), of colour (h, w, 3), red first over memory "
             "that is "
             "blue first (C++: ComputeBitmap, MapData). out: an earlier picture to draw over.");
    movie
        .def("compose", &Compose, py::kw_only(), py::arg("zoom") = 1, py::arg("area") = py::none(),
             py::arg("depth") = py::none(), py::arg("colours") = py::none(), py::arg("out") = py::none(),
             "All visible components in one picture: uint8, (h, w), or (h, w, 3), red first over memory that "
             "is blue "
             "first (C++: ComposeMovie).\n\n"
             "zoom: n >= 2 enlarges n times, n <= -2 takes every -n-th pixel. area: (x, y, width, height) of "
             "the "
             "movie, by default all. depth: 8 or 24 bits, by default as many as the components need. "
             "colours: 256 "
             "x (red, green, blue) for overlay_colour. What no component covers is black. Raises ValueError.")
        .def("render", &Render, py::arg("frame") = py::none(), py::kw_only(), py::arg("zoom") = 1,
             py::arg("area") = py::none(), py::arg("depth") = py::none(), py::arg("colours") = py::none(),
             py::arg("out") = py::none(),
             "Goes to a frame, where one is given, and shows it as compose() does; of a movie of one opaque "
             "picture "
             "straight from its pixels.");
}

}  // namespace pzel_python
