// Images made of images: other colour models, masks, outlines, rectangles of other types; and the hue,
// saturation and intensity of arrays.
#include <algorithm>
#include <cstring>

#include "bindings.h"
#include "level_choice.h"
#include "pzel/bounds/black_white.h"
#include "pzel/bounds/bounds.h"
#include "pzel/bounds/histogram.h"
#include "pzel/colour/rgb_to_hsi.h"
#include "pzel/display/boundary.h"
#include "pzel/image/lifecycle.h"
#include "pzel/pixels/typed_copy.h"
#include "pzel/pixels/yuv.h"

namespace pzel_python {

namespace {

py::module_ Numpy() {
    return py::module_::import("numpy");
}

// What counts as no and as full red, green and blue: of floats 0 to the largest value, or from a negative
// one.
LevelPair ColourRange(const Image& image) {
    if (ElementOf(image) != DataFloat) {
        const CompBlackWhite full = FullBlackWhite(SubGrey, ElementOf(image), 0);
        return {full.black, full.white};
    }
    const ValueStatistics values = ComputeStatistics(&image);
    if (values.count == 0) return {0, 1};
    const double low = std::min(values.minimum, 0.0);
    return {low, values.maximum > low ? values.maximum : low + 1};
}

Picture ToYuv(const Picture& colour) {
    const py::object planes = Numpy().attr("ascontiguousarray")(RedFirst(colour).attr("transpose")(2, 0, 1),
                                                                py::arg("dtype") = py::dtype::of<float>());
    // 8-bit and 16-bit values that are floats already would be the caller's own memory.
    Picture yuv = FromArray(planes, {true, "bgr", "planar"});
    const LevelPair range = ColourRange(colour.Record());
    Image& image = yuv.Record();
    SetSubType(&image, SubYuv);
    {
        const py::gil_scoped_release released;
        Conversion(&image, ConversionToYuv);
    }
    const double half = (range.second - range.first) / 2;
    const LevelPair difference{-half, half};
    for (int c = 0; c < 3; ++c) {
        const LevelPair& pair = c == 0 ? range : difference;
        SetSpatialBounds(&image, {pair.first, pair.second}, c);
        AnyType low{}, high{};
        low.float32 = static_cast<float>(pair.first);
        high.float32 = static_cast<float>(pair.second);
        SetBound(&image, low, high, c);
    }
    return yuv;
}

Picture ToColour(const Picture& yuv) {
    const Image& image = yuv.Record();
    if (GetSubType(&image) != SubYuv || image.channels != 3 || ElementOf(image) != DataFloat) {
        throw py::value_error("only y, u, v of float32 is made colour");
    }
    py::object planes = ArrayOf(yuv);
    if (IsInterleaved(&image)) planes = planes.attr("transpose")(2, 0, 1);
    Picture colour = FromArray(planes, {true, "bgr", "planar"});
    {
        const py::gil_scoped_release released;
        Conversion(&colour.Record(), ConversionToRgb);
    }
    // Converted red first; a record is blue first.
    const py::slice back(py::none(), py::none(), py::int_(-1));
    return FromArray(ArrayOf(colour)[back], {true, "bgr", "planar"});
}

Picture Bits(const py::object& mask) {
    const py::object packed = Numpy().attr("packbits")(mask, py::arg("axis") = 1);
    return FromPackedBits(packed, mask.attr("shape")[py::int_(1)].cast<int>());
}

Picture Pack(const Picture& picture) {
    const Image& image = picture.Record();
    if (ElementOf(image) == DataBit) throw py::value_error("the image is one of bits already");
    py::object set = ArrayOf(picture).attr("__ne__")(0);
    if (image.channels > 1) set = set.attr("any")(py::arg("axis") = IsInterleaved(&image) ? 2 : 0);
    return Bits(set);
}

Picture Mask(const Picture& picture, double low, double high) {
    const Image& image = picture.Record();
    if (image.channels != 1 || ElementOf(image) == DataBit) {
        throw py::value_error("a mask is made of an image of one channel and more than bits");
    }
    const py::array values = ArrayOf(picture);
    return Bits(values.attr("__ge__")(low).attr("__and__")(values.attr("__le__")(high)));
}

Picture Outline(Picture& picture) {
    Image* made = nullptr;
    {
        const py::gil_scoped_release released;
        made = MaskToBoundary(&picture.Record());
    }
    if (!made) throw py::value_error("an outline is that of bits or of 8-bit values: use pack() or mask()");
    Picture outline = Picture::Adopt(*made);
    DeleteImage(made);
    return outline;
}

void CopyFrom(Picture& self, Picture& source, int x, int y, int sourceX, int sourceY, const py::object& width,
              const py::object& height, int border) {
    Image& to = self.Writable();
    Image& from = source.Record();
    if (to.data == from.data) throw py::value_error("the images share their pixels: copy one of them first");
    const int w = width.is_none() ? from.width - sourceX : width.cast<int>();
    const int h = height.is_none() ? from.height - sourceY : height.cast<int>();
    const py::gil_scoped_release released;
    CopyImage(&from, &to, sourceX, sourceY, x, y, w, h, static_cast<unsigned short>(border));
}

using Floats = py::array_t<float, py::array::c_style | py::array::forcecast>;

py::array RgbToHsi(const Floats& rgb, float low, float high) {
    if (rgb.ndim() < 1 || rgb.shape(rgb.ndim() - 1) != 3)
        throw py::value_error("the last axis is red, green, blue");
    if (!(high > low)) throw py::value_error("high must be above low");
    Floats hsi(std::vector<py::ssize_t>(rgb.shape(), rgb.shape() + rgb.ndim()));
    const RGBtoHSI model(low, low, low, high, high, high);
    const float* from = rgb.data();
    float* to = hsi.mutable_data();
    const py::ssize_t count = rgb.size() / 3;
    {
        const py::gil_scoped_release released;
        for (py::ssize_t i = 0; i < count; ++i, from += 3, to += 3) {
            model.ComputeHSI_RD(from[0], from[1], from[2], to[0], to[1], to[2]);
        }
    }
    return hsi;
}

}  // namespace

void BindImageCopies(py::module_& module, PictureClass& image) {
    image
        .def("to_yuv", &ToYuv,
             "Luminance and two colour differences, a new planar float32 image (C++: Conversion). Levels: "
             "the full "
             "range of the type, of float32 0 to the largest value.")
        .def("to_colour", &ToColour, "Colour of y, u, v of float32: a new planar image (C++: Conversion).")
        .def("pack", &Pack, "A new image of bits: set where any channel is not zero.")
        .def("mask", &Mask, py::arg("low"), py::arg("high"),
             "A new image of bits: set where low <= value <= high, and nowhere for NaN.")
        .def("outline", &Outline,
             "Where the outline of a mask of bits or 8-bit values runs: a new image of kind BOUNDARY (C++: "
             "MaskToBoundary).")
        .def("copy_from", &CopyFrom, py::arg("source"), py::arg("x") = 0, py::arg("y") = 0, py::kw_only(),
             py::arg("source_x") = 0, py::arg("source_y") = 0, py::arg("width") = py::none(),
             py::arg("height") = py::none(), py::arg("border") = 0,
             "Copies a rectangle of another image to (x, y), in place; element types, layouts and colour "
             "models are "
             "converted, levels onto levels (C++: CopyImage). border: a CopyMode number.");
    module.def(
        "rgb_to_hsi", &RgbToHsi, py::arg("rgb"), py::arg("low") = 0.0f, py::arg("high") = 1.0f,
        "Hue (0 … 2 pi), saturation (0 … 1) and intensity (0 … high - low) of colours between low and high: "
        "(…, 3), red first, to float32 (…, 3) (C++: RGBtoHSI). Values outside are moved to the near end.");
}

}  // namespace pzel_python
