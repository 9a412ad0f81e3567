// What an image's values are: levels, statistics, arithmetic, the text of a pixel.
#include <array>

#include <pybind11/stl.h>

#include "bindings.h"
#include "level_choice.h"
#include "pzel/bounds/black_white.h"
#include "pzel/bounds/bounds.h"
#include "pzel/bounds/histogram.h"
#include "pzel/pixels/arithmetic.h"

namespace pzel_python {

namespace {

ImagePart PartOf(const Picture& picture, const py::object& channel) {
    ImagePart part;
    if (channel.is_none()) return part;
    part.channel = channel.cast<int>();
    if (part.channel < 0 || part.channel >= picture.Record().channels) {
        throw py::index_error("channel " + std::to_string(part.channel) + " of " +
                              std::to_string(picture.Record().channels));
    }
    return part;
}

py::dict Statistics(const Picture& picture, const py::object& channel) {
    const ImagePart part = PartOf(picture, channel);
    ValueStatistics values;
    {
        const py::gil_scoped_release released;
        values = ComputeStatistics(&picture.Record(), part);
    }
    py::dict told;
    told["count"] = values.count;
    told["minimum"] = values.minimum;
    told["maximum"] = values.maximum;
    told["mean"] = values.mean;
    told["deviation"] = values.deviation;
    told["not_numbers"] = values.notNumbers;
    told["negative_infinite"] = values.negativeInfinite;
    told["positive_infinite"] = values.positiveInfinite;
    return told;
}

double ValueAtRank(const Picture& picture, std::uint64_t rank, const py::object& channel) {
    const ImagePart part = PartOf(picture, channel);
    const py::gil_scoped_release released;
    return ValueRanks(&picture.Record(), part).GetValue(rank);
}

py::tuple BoundOf(Picture& picture, int channel) {
    Image& image = picture.Record();
    if (channel < 0 || channel >= image.channels) throw py::index_error("the image has no such channel");
    float low = 0, high = 0;
    GetBound(&image, &low, &high, channel);
    return py::make_tuple(low, high);
}

std::string PixelText(Picture& picture, int x, int y) {
    const Image& image = picture.Record();
    if (x < 0 || y < 0 || x >= image.width || y >= image.height) throw py::index_error("no such pixel");
    char text[kPixelTextBytes] = "";
    printData(&picture.Record(), x, y, text);
    return text;
}

void Fill(Picture& picture, const py::object& value) {
    Image& image = picture.Writable();
    std::array<AnyType, 255> values{};
    const bool each = py::isinstance<py::sequence>(value);
    if (each && py::len(value) != image.channels)
        throw py::value_error("pass a number, or one for each channel");
    const ImageDataType type = GetDataType(static_cast<const Image*>(&image));
    for (int c = 0; c < image.channels; ++c) {
        const py::object one = each ? value[py::int_(c)] : value;
        AnyType& to = values[static_cast<std::size_t>(c)];
        switch (type) {
            case DataFloat: to.float32 = one.cast<float>(); break;
            case DataInt8: to.int8 = one.cast<std::int8_t>(); break;
            case DataInt16: to.int16 = one.cast<std::int16_t>(); break;
            case DataUInt16: to.uint16 = one.cast<std::uint16_t>(); break;
            case DataInt32: to.int32 = one.cast<std::int32_t>(); break;
            case DataUInt32: to.uint32 = one.cast<std::uint32_t>(); break;
            default: to.uint8 = one.cast<std::uint8_t>(); break;
        }
    }
    // Three values are taken red first; here they stand in the order of the record.
    if (image.channels == 3) std::swap(values[0], values[2]);
    const py::gil_scoped_release released;
    FillData(&image, values.data());
}

void NeedsFloat(const Image& image) {
    if (GetDataType(&image) != DataFloat)
        throw py::value_error("arithmetic is that of float32: use astype(numpy.float32)");
}

void NeedsSameVolume(const Picture& a, const Picture& b) {
    NeedsFloat(a.Record());
    NeedsFloat(b.Record());
    if (GetImageVolume(&a.Record()) != GetImageVolume(&b.Record()) || a.Record().width != b.Record().width) {
        throw py::value_error("the images have different shapes");
    }
}

/// An operation in place between images, or with a number.
template <class WithImage, class WithNumber>
py::object InPlace(const py::object& self, const py::object& other, WithImage withImage,
                   WithNumber withNumber) {
    auto& picture = self.cast<Picture&>();
    Image& image = picture.Writable();
    NeedsFloat(image);
    if (PyNumber_Check(other.ptr()) && !py::isinstance<py::array>(other) && !py::isinstance<Picture>(other)) {
        const auto number = other.cast<float>();
        const py::gil_scoped_release released;
        withNumber(&image, number);
        return self;
    }
    Picture made;
    Picture* const second = AsPicture(other, made);
    NeedsSameVolume(picture, *second);
    const py::gil_scoped_release released;
    withImage(&image, &second->Record());
    return self;
}

using Sum = float (*)(Image*, Image*);
template <Sum sum>
float SumOf(Picture& a, const py::object& other) {
    Picture made;
    Picture* const b = AsPicture(other, made);
    NeedsSameVolume(a, *b);
    const py::gil_scoped_release released;
    return sum(&a.Record(), &b->Record());
}

void BindArithmetic(PictureClass& image) {
    image
        .def(
            "__iadd__",
            [](const py::object& self, const py::object& other) {
                return InPlace(
                    self, other, [](Image* a, Image* b) { AddImage(a, b); },
                    [](Image* a, float k) { PlusConst(a, k); });
            },
            "a += image or number, float32, in place (C++: AddImage, PlusConst).")
        .def(
            "__isub__",
            [](const py::object& self, const py::object& other) {
                return InPlace(
                    self, other, [](Image* a, Image* b) { SubtractImage(a, b); },
                    [](Image* a, float k) { PlusConst(a, -k); });
            },
            "a -= image or number (C++: SubtractImage, PlusConst).")
        .def(
            "__imul__",
            [](const py::object& self, const py::object& other) {
                return InPlace(
                    self, other, [](Image* a, Image* b) { MultiplyImage(a, b); },
                    [](Image* a, float k) { MultiplyConstant(a, k); });
            },
            "a *= image or number (C++: MultiplyImage, MultiplyConstant).")
        .def(
            "add_scaled",
            [](const py::object& self, const py::object& other, float factor) {
                InPlace(
                    self, other, [=](Image* a, Image* b) { AddImage(a, b, factor); },
                    [=](Image* a, float k) { PlusConst(a, factor * k); });
            },
            py::arg("other"), py::arg("factor"), "a += factor * other (C++: AddImage).")
        .def(
            "divide",
            [](const py::object& self, const py::object& other, float away) {
                InPlace(
                    self, other, [=](Image* a, Image* b) { DivideByImage(a, b, away); },
                    [](Image* a, float k) { MultiplyConstant(a, 1 / k); });
            },
            py::arg("other"), py::arg("away") = 0.0f,
            "a /= other, the divisor moved away from zero by `away` (C++: DivideByImage).")
        .def(
            "square_sum",
            [](Picture& self) {
                NeedsFloat(self.Record());
                const py::gil_scoped_release released;
                return SqureSum(&self.Record());
            },
            "The sum of squares, float32 (C++: SqureSum).")
        .def("product_sum", &SumOf<MultipSum>, py::arg("other"), "The sum of products (C++: MultipSum).")
        .def("difference_square_sum", &SumOf<DifferenceSqureSum>, py::arg("other"),
             "The sum of squared differences (C++: DifferenceSqureSum).")
        .def("difference_energy", &SumOf<ImageDiffEnergy>, py::arg("other"),
             "The mean of squared differences (C++: ImageDiffEnergy).");
}

}  // namespace

void BindImageValues(PictureClass& image) {
    BindArithmetic(image);
    image
        .def("statistics", &Statistics, py::arg("channel") = py::none(),
             "Minimum, maximum, mean and deviation of the finite values, and how many there are of which "
             "kind, as a "
             "dict (C++: ComputeStatistics). channel: a number in the order of the record; None: all "
             "together.")
        .def("value_at_rank", &ValueAtRank, py::arg("rank"), py::arg("channel") = py::none(),
             "The value that has `rank` others below or beside it, as sorting gives it (C++: ValueRanks).")
        .def("text", &PixelText, py::arg("x"), py::arg("y"),
             "The values of a pixel as text, colour as red, green, blue (C++: printData).")
        .def("fill", &Fill, py::arg("value"),
             "Sets all elements, in place; one value for each channel in the order of the record (C++: "
             "FillData).")
        .def(
            "invert",
            [](Picture& self) {
                Image& record = self.Writable();
                const py::gil_scoped_release released;
                InvertImage(&record);
            },
            "Inverts in place: unsigned ones from the top of their range, signed ones by their sign (C++: "
            "InvertImage).")
        .def("bound", &BoundOf, py::arg("channel") = 0,
             "The levels of a channel as the record holds them, blue first (C++: GetBound).")
        .def(
            "set_bound",
            [](Picture& self, int channel, double low, double high) {
                SetPair(self.Record(), channel, {low, high});
            },
            py::arg("channel"), py::arg("low"), py::arg("high"),
            "Sets the levels of a channel, in the order of the record; truncated to the element type (C++: "
            "SetBound).")
        .def_property(
            "spatial_bound",
            [](Picture& self) {
                py::list pairs;
                for (int c = 0; c < self.Record().channels; ++c) {
                    const CompBlackWhite pair =
                        GetSpatialBounds(&self.Record(), GetSubType(&self.Record()),
                                         GetDataType(static_cast<const Image*>(&self.Record())), c);
                    pairs.append(py::make_tuple(pair.black, pair.white));
                }
                return pairs;
            },
            [](Picture& self, const std::pair<double, double>& range) {
                for (int c = 0; c < self.Record().channels; ++c) {
                    SetSpatialBounds(&self.Record(), {range.first, range.second}, c);
                }
            },
            "The full scale that convert() fills: (low, high) of each channel; set one pair for all (C++: "
            "GetSpatialBounds, SetSpatialBounds).")
        .def_property(
            "levels", [](Picture& self) { return LevelsOf(self); },
            [](Picture& self, const py::object& levels) { ChooseLevels(self, levels); },
            "What is shown from black to white: a list of (low, high), colour red first.\n\n"
            "Set to 'data' (the range of the values; of 8 bits all), 'full' (of the type), '0.35%' (so much "
            "clipped "
            "at each end), a pair for all channels, or a list of pairs.");
}

}  // namespace pzel_python
