// Which arrays are image records, and the views back. Nothing here copies but what asked for a copy.
#include "pixels.h"

#include <cstdlib>
#include <new>
#include <utility>

#include "pzel/bounds/bounds.h"
#include "pzel/image/lifecycle.h"

namespace pzel_python {

namespace {

constexpr py::ssize_t kLargestSide = 65535;
constexpr py::ssize_t kLargestTotal = 4294967295u;  // bytes
constexpr py::ssize_t kMostChannels = 255;
constexpr py::ssize_t kFewChannels = 4;  // an axis of so many is that of the channels, where nobody says

[[noreturn]] void Refuse(const std::string& reason) {
    throw py::value_error(reason);
}

std::string Text(const py::handle& object) {
    return py::str(object).cast<std::string>();
}

ImageDataType ElementOf(const py::dtype& type) {
    const char kind = type.kind();
    const auto bytes = type.itemsize();
    if (kind == 'b') return DataUInt8;
    if (kind == 'u' && bytes <= 4) return bytes == 1 ? DataUInt8 : bytes == 2 ? DataUInt16 : DataUInt32;
    if (kind == 'i' && bytes <= 4) return bytes == 1 ? DataInt8 : bytes == 2 ? DataInt16 : DataInt32;
    if (kind == 'f' && bytes == 4) return DataFloat;
    if (kind == 'f') {
        Refuse(Text(type) + " cannot be shared: an image holds float32; pass array.astype(numpy.float32)");
    }
    Refuse(Text(type) +
           " cannot be shared: an image holds bool, uint8 to int32 and float32; pass array.astype(…)");
}

bool IsNative(const py::dtype& type) {
    return type.attr("isnative").cast<bool>();
}

struct Shape {
    py::ssize_t width, height, channels;
    bool interleaved;
};

Shape ShapeOf(const py::array& array, const std::string& layout) {
    if (array.ndim() == 2) return {array.shape(1), array.shape(0), 1, true};
    if (array.ndim() != 3) {
        Refuse("an array of " + std::to_string(array.ndim()) +
               " dimensions is no image: (h, w), (h, w, c) and (c, h, w) are");
    }
    bool interleaved = layout == "interleaved";
    if (layout.empty()) {
        interleaved = array.shape(2) <= kFewChannels;
        if (!interleaved && array.shape(0) > kFewChannels) {
            Refuse(
                "no axis of " + Text(array.attr("shape")) +
                " is short enough to be that of the channels: say layout='interleaved' or layout='planar'");
        }
    } else if (!interleaved && layout != "planar") {
        Refuse("layout is 'interleaved' or 'planar', not '" + layout + "'");
    }
    return interleaved ? Shape{array.shape(1), array.shape(0), array.shape(2), true}
                       : Shape{array.shape(2), array.shape(1), array.shape(0), array.shape(0) == 1};
}

void CheckSize(const Shape& shape, py::ssize_t itemBytes) {
    if (shape.width == 0 || shape.height == 0 || shape.channels == 0) Refuse("the array has no pixels");
    if (shape.width > kLargestSide || shape.height > kLargestSide) {
        Refuse("an image has no more than 65,535 columns and rows: pass a part of the array");
    }
    if (shape.channels > kMostChannels) Refuse("an image has no more than 255 channels");
    const py::ssize_t row = shape.width * itemBytes * (shape.interleaved ? shape.channels : 1);
    if (row > kLargestRow) {
        Refuse("a row has " + std::to_string(row) + " bytes, more than 65,535: pass a narrower part" +
               (shape.channels > 1 && shape.interleaved ? ", or its channels as planes (c, h, w)" : ""));
    }
    if (row * shape.height * (shape.interleaved ? 1 : shape.channels) > kLargestTotal) {
        Refuse("the array has more than 4 GiB: pass a part of it");
    }
}

py::module_ Numpy() {
    return py::module_::import("numpy");
}

// What has memory to share is an array; a list has none.
py::array AsArray(const py::object& object) {
    if (py::isinstance<py::array>(object)) return py::reinterpret_borrow<py::array>(object);
    if (PyObject_CheckBuffer(object.ptr()) || py::hasattr(object, "__array_interface__") ||
        py::hasattr(object, "__array__")) {
        return py::array(Numpy().attr("asarray")(object));
    }
    throw py::type_error("an image is made of an array, not of " +
                         Text(py::type::of(object).attr("__name__")) + ": pass numpy.asarray(…)");
}

void CheckShared(const py::array& array, const char* what) {
    if (!IsNative(array.dtype())) {
        Refuse(Text(array.dtype()) + " has the other order of bytes: pass copy=True");
    }
    if (!(array.flags() & py::array::c_style)) {
        Refuse(std::string(what) + " (strides " + Text(array.attr("strides")) + "): pass copy=True");
    }
    if (!array.attr("flags").attr("aligned").cast<bool>()) {
        Refuse("its elements are not aligned: pass copy=True");
    }
}

// A buffer of the library with its owner, which releases it as the record would have.
py::object OwnerOf(const Image& record) {
    if (record.state & StateFreeData) return py::capsule(record.data, [](void* data) { std::free(data); });
    return py::capsule(record.data, [](void* data) { ::operator delete(data); });
}

py::ssize_t ChannelStep(const Image& image) {
    return IsInterleaved(&image) ? DataBytes(image.dataType)
                                 : static_cast<py::ssize_t>(GetImageBytes(&image));
}

py::ssize_t PixelStep(const Image& image) {
    return DataBytes(image.dataType) * (IsInterleaved(&image) ? image.channels : 1);
}

void NeedsElements(const Image& image) {
    if (!image.data) Refuse("the image has no pixels");
    if (GetDataType(&image) == DataBit) Refuse("an image of bits has no elements to view: use unpack()");
}

py::array View(const Picture& picture, const py::dtype& type, std::vector<py::ssize_t> shape,
               std::vector<py::ssize_t> strides, py::ssize_t offset = 0) {
    py::array view(type, std::move(shape), std::move(strides), picture.Record().data + offset,
                   picture.Shared().owner);
    if (!picture.Shared().writable) view.attr("flags").attr("writeable") = false;
    return view;
}

}  // namespace

Picture::Picture(const Image& shape, Pixels shared) : record(shape), pixels(std::move(shared)) {
    record.state &= static_cast<std::uint8_t>(~StateFreeData);
}

Picture Picture::Adopt(Image& from) {
    Pixels pixels;
    if (from.data) pixels.owner = OwnerOf(from);
    Picture picture(from, std::move(pixels));
    from.data = from.bound = nullptr;
    from.attachment = nullptr;
    return picture;
}

Picture Picture::Share(const Image& from, const Pixels& pixels) {
    Image shape = from;
    shape.bound = nullptr;
    shape.attachment = nullptr;
    Picture picture(shape, pixels);
    if (from.bound) {
        CopyBound(&picture.record, const_cast<Image*>(&from));
        picture.record.state = static_cast<std::uint8_t>(from.state & ~StateFreeData);
    }
    return picture;
}

Picture::Picture(Picture&& other) noexcept : record(other.Release()), pixels(std::move(other.pixels)) {}

Picture& Picture::operator=(Picture&& other) noexcept {
    std::swap(record, other.record);
    std::swap(pixels, other.pixels);
    return *this;
}

Picture::~Picture() {
    record.data = nullptr;
    CleanupImage(&record);
}

Image Picture::Release() {
    const Image released = record;
    record.data = record.bound = nullptr;
    record.attachment = nullptr;
    return released;
}

Image& Picture::Writable() {
    if (!pixels.writable) Refuse("the image is read-only, as the array is that it shares: use image.copy()");
    if (pixels.truth) {
        Refuse(
            "the image shares a bool array, which holds nothing but 0 and 1: change the array, or pass "
            "array.view(numpy.uint8)");
    }
    return record;
}

Picture FromArray(const py::object& object, const ArrayOptions& options) {
    py::array array = AsArray(object);
    const ImageDataType type = ElementOf(array.dtype());
    const bool truth = array.dtype().kind() == 'b';
    const Shape shape = ShapeOf(array, options.layout);
    CheckSize(shape, array.itemsize());
    const bool redFirst = options.order == "rgb";
    if (!redFirst && options.order != "bgr") Refuse("order is 'bgr' or 'rgb', not '" + options.order + "'");
    const char* what = "its memory does not go row by row without gaps";
    if (redFirst && shape.channels == 3) {
        // Turned by a view: where the memory is blue first the view is what a record holds.
        const py::slice back(py::none(), py::none(), py::int_(-1));
        const bool last = array.shape(2) == 3 && shape.interleaved;
        array = last ? py::array(array[py::make_tuple(py::ellipsis(), back)]) : py::array(array[back]);
        what = "red comes first in its memory, and blue in a record's";
    }
    if (options.copy) {
        const py::object native = array.dtype().attr("newbyteorder")("=");
        array = Numpy().attr("array")(array, py::arg("dtype") = native, py::arg("order") = "C",
                                      py::arg("copy") = true);
    }
    CheckShared(array, what);
    Image record;
    const auto data = static_cast<unsigned char*>(const_cast<void*>(array.data()));
    ConstructImage(record, static_cast<unsigned short>(shape.width),
                   static_cast<unsigned short>(shape.height), static_cast<unsigned short>(shape.channels),
                   data, type, shape.interleaved, true);
    const bool writable = array.writeable();
    return Picture(record, {std::move(array), writable, truth});
}

Picture FromPackedBits(const py::array& packed, int width) {
    if (packed.ndim() != 2 || packed.dtype().kind() != 'u' || packed.itemsize() != 1) {
        Refuse("packed bits are uint8, (height, (width + 7) // 8)");
    }
    if (width < 1 || width > kLargestSide || packed.shape(1) != (width + 7) / 8) {
        Refuse("a row of " + std::to_string(width) + " bits has " + std::to_string((width + 7) / 8) +
               " bytes, not " + std::to_string(packed.shape(1)));
    }
    CheckSize({packed.shape(1), packed.shape(0), 1, true}, 1);
    CheckShared(packed, "its memory does not go row by row without gaps");
    Image record;
    const auto data = static_cast<unsigned char*>(const_cast<void*>(packed.data()));
    ConstructImage(record, static_cast<unsigned short>(width), static_cast<unsigned short>(packed.shape(0)),
                   1, data, DataBit, true, true);
    return Picture(record, {packed, packed.writeable(), false});
}

Picture* AsPicture(const py::object& object, Picture& made) {
    if (py::isinstance<Picture>(object)) return object.cast<Picture*>();
    made = FromArray(object);
    return &made;
}

py::dtype TypeOf(const Picture& picture) {
    if (picture.Shared().truth) return py::dtype::of<bool>();
    switch (GetDataType(&picture.Record())) {
        case DataBit: return py::dtype::of<bool>();
        case DataInt8: return py::dtype::of<std::int8_t>();
        case DataUInt16: return py::dtype::of<std::uint16_t>();
        case DataInt16: return py::dtype::of<std::int16_t>();
        case DataUInt32: return py::dtype::of<std::uint32_t>();
        case DataInt32: return py::dtype::of<std::int32_t>();
        case DataFloat: return py::dtype::of<float>();
        default: return py::dtype::of<std::uint8_t>();
    }
}

py::array ArrayOf(const Picture& picture) {
    const Image& image = picture.Record();
    if (!image.data) Refuse("the image has no pixels");
    const py::ssize_t height = image.height, width = image.width, channels = image.channels,
                      row = image.rowBytes;
    if (GetDataType(&image) == DataBit) {
        const py::ssize_t planes = IsInterleaved(&image) ? 1 : channels;
        return View(picture, py::dtype::of<std::uint8_t>(), {planes * height, row}, {row, 1});
    }
    const py::dtype type = TypeOf(picture);
    const py::ssize_t element = type.itemsize();
    if (channels == 1) return View(picture, type, {height, width}, {row, element});
    if (IsInterleaved(&image)) {
        return View(picture, type, {height, width, channels}, {row, element * channels, element});
    }
    return View(picture, type, {channels, height, width}, {row * height, row, element});
}

py::array RedFirst(const Picture& picture) {
    const Image& image = picture.Record();
    NeedsElements(image);
    if (image.channels != 3 || GetSubType(&image) != SubColour) {
        Refuse("only an image of 3 channels of colour has red, green and blue");
    }
    const py::ssize_t step = ChannelStep(image);
    return View(picture, TypeOf(picture), {image.height, image.width, 3},
                {image.rowBytes, PixelStep(image), -step}, 2 * step);
}

py::array PlaneOf(const Picture& picture, int channel) {
    const Image& image = picture.Record();
    NeedsElements(image);
    if (channel < 0 || channel >= image.channels) {
        throw py::index_error("channel " + std::to_string(channel) + " of " + std::to_string(image.channels));
    }
    return View(picture, TypeOf(picture), {image.height, image.width}, {image.rowBytes, PixelStep(image)},
                channel * ChannelStep(image));
}

}  // namespace pzel_python
