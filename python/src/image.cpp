// Image: arrays as image records, and the views of a record. Values are image_values.cpp, copies
// image_copies.cpp.
#include <cstring>

#include "bindings.h"
#include "enums.h"
#include "pzel/bounds/bounds.h"
#include "pzel/image/image.h"
#include "pzel/image/lifecycle.h"

namespace pzel_python {

namespace {

Picture MakeImage(const py::object& array, bool copy, const std::string& order, const py::object& layout,
                  const py::object& kind, const py::object& model) {
    if (py::isinstance<Picture>(array))
        throw py::type_error("this is an image already: use copy() for another one");
    Picture picture =
        FromArray(array, {copy, order, layout.is_none() ? std::string() : layout.cast<std::string>()});
    if (!kind.is_none()) SetMajorType(&picture.Record(), kind.cast<std::uint16_t>());
    if (!model.is_none()) SetSubType(&picture.Record(), model.cast<std::uint16_t>());
    return picture;
}

py::tuple ShapeOf(const Picture& picture) {
    const Image& image = picture.Record();
    if (image.channels == 1) return py::make_tuple(image.height, image.width);
    if (IsInterleaved(&image)) return py::make_tuple(image.height, image.width, image.channels);
    return py::make_tuple(image.channels, image.height, image.width);
}

// Another image shares the memory as an array does: the buffer that is handed out is the array's.
int GetBuffer(PyObject* self, Py_buffer* view, int flags) {
    try {
        const py::array array = ArrayOf(py::cast<const Picture&>(py::handle(self)));
        return PyObject_GetBuffer(array.ptr(), view, flags);
    } catch (py::error_already_set& error) {
        error.restore();
    } catch (const std::exception& error) {
        PyErr_SetString(PyExc_BufferError, error.what());
    }
    view->obj = nullptr;
    return -1;
}

// Channels by name are those of colour, blue first in the record.
int ChannelOf(const Picture& picture, const py::object& channel) {
    if (!py::isinstance<py::str>(channel)) return channel.cast<int>();
    const auto name = channel.cast<std::string>();
    const Image& image = picture.Record();
    const char* const names[] = {"blue", "green", "red"};
    for (int i = 0; i < 3; ++i) {
        if (name == names[i] && image.channels == 3 && GetSubType(&image) == SubColour) return i;
    }
    throw py::value_error("the image has no channel '" + name + "'");
}

py::array Crop(const Picture& picture, int x, int y, int width, int height) {
    const Image& image = picture.Record();
    if (x < 0 || y < 0 || width < 1 || height < 1 || x + width > image.width || y + height > image.height) {
        throw py::value_error("the rectangle leaves the image");
    }
    if (GetDataType(&image) == DataBit)
        throw py::value_error("an image of bits has no elements to view: use unpack()");
    const py::slice rows(y, y + height, 1), columns(x, x + width, 1);
    const bool planes = image.channels > 1 && !IsInterleaved(&image);
    const py::array all = ArrayOf(picture);
    return planes ? all[py::make_tuple(py::ellipsis(), rows, columns)] : all[py::make_tuple(rows, columns)];
}

py::object Unpack(const Picture& picture) {
    const Image& image = picture.Record();
    if (GetDataType(&image) != DataBit)
        throw py::value_error("only an image of bits is unpacked: use array()");
    const py::object numpy = py::module_::import("numpy");
    py::object rows = ArrayOf(picture);
    if (image.channels > 1) {  // a boundary: each row has its upper edges, then its left ones
        rows = rows.attr("reshape")(image.height, image.channels, -1);
        if (!IsInterleaved(&image)) rows = ArrayOf(picture).attr("reshape")(image.channels, image.height, -1);
    }
    const py::object bits =
        numpy.attr("unpackbits")(rows, py::arg("axis") = -1, py::arg("count") = image.width)
            .attr("view")("bool");
    return image.channels > 1 && IsInterleaved(&image) ? bits.attr("transpose")(1, 0, 2) : bits;
}

std::string DescribeImage(const Picture& picture) {
    const Image& image = picture.Record();
    std::string text = "<pzel.Image " + std::to_string(image.width) + " x " + std::to_string(image.height);
    if (image.channels > 1) {
        text += " x " + std::to_string(image.channels) + (IsInterleaved(&image) ? " interleaved" : " planar");
    }
    const bool bits = GetDataType(&image) == DataBit;
    return text + ", " + (bits ? "bits" : py::str(TypeOf(picture)).cast<std::string>()) +
           (picture.Shared().writable ? ">" : ", read-only>");
}

// What a record is beside its pixels.
py::tuple StateOf(const Picture& picture) {
    const Image& image = picture.Record();
    const std::size_t bytes =
        image.bound ? 3u * static_cast<std::size_t>(DataBytes(image.dataType)) * image.channels * 2 : 0;
    return py::make_tuple(image.width, image.height, image.channels, image.dataType, image.imageType,
                          image.state, py::bytes(reinterpret_cast<const char*>(image.bound), bytes),
                          image.frameOffset, image.frameOffset2);
}

Picture Restore(const py::array& array, const py::tuple& state) {
    Image record{};
    record.width = state[0].cast<std::uint16_t>();
    record.height = state[1].cast<std::uint16_t>();
    record.channels = state[2].cast<std::uint8_t>();
    record.dataType = state[3].cast<std::uint16_t>();
    record.imageType = state[4].cast<std::uint16_t>();
    record.frameOffset = state[7].cast<std::int32_t>();
    record.frameOffset2 = state[8].cast<std::int32_t>();
    ComputeRowBytes(&record);
    if (!(array.flags() & py::array::c_style) ||
        GetImageTotalBytes(&record) != static_cast<std::size_t>(array.nbytes())) {
        throw py::value_error("the pixels do not fit the image that was pickled");
    }
    record.data = static_cast<unsigned char*>(const_cast<void*>(array.data()));
    Picture picture(record, {array, array.writeable(), array.dtype().kind() == 'b'});
    const auto bound = state[6].cast<std::string>();
    if (!bound.empty()) {
        CheckBoundArray(&picture.Record());
        const std::size_t room = 3u * static_cast<std::size_t>(GetBoundBytes(&picture.Record()));
        if (bound.size() != room) throw py::value_error("the levels do not fit the image that was pickled");
        std::memcpy(picture.Record().bound, bound.data(), room);
    }
    picture.Record().state = static_cast<std::uint8_t>(state[5].cast<int>() & ~StateFreeData);
    return picture;
}

}  // namespace

void BindImage(py::module_& module, PictureClass& image) {
    image
        .def(py::init(&MakeImage), py::arg("array"), py::kw_only(), py::arg("copy") = false,
             py::arg("order") = "bgr", py::arg("layout") = py::none(), py::arg("kind") = py::none(),
             py::arg("model") = py::none(),
             "Shares the memory of an array (C++: ConstructImage): what either changes, both show.\n\n"
             "array: (h, w), (h, w, c) or (c, h, w) of bool, uint8 to int32 or float32, rows without gaps.\n"
             "copy: a copy of the array instead, of whatever strides and byte order.\n"
             "order: 'bgr', array[..., 0] is blue, as records hold it; 'rgb', it is red: shared where the "
             "memory "
             "is blue first (array is bgr[..., ::-1]), else pass copy=True.\n"
             "layout: 'interleaved' (h, w, c) or 'planar' (c, h, w); by default the axis of up to 4 is that "
             "of "
             "the channels, the last one first.\n"
             "kind, model: a Kind and a Model, PICTURE and COLOUR (one channel: GREY) by default.\n\n"
             "Raises ValueError that names what keeps the array from being shared, and the cure. A bool "
             "array is "
             "shared as bytes of 0 and 1; for packed bits see Image.bits and pack.")
        .def_static("bits", &FromPackedBits, py::arg("packed"), py::arg("width"),
                    "An image of bits over packed rows, as numpy.packbits(mask, axis=1) gives them: uint8, "
                    "(h, (width + 7) // 8), the first pixel in the most significant bit. Shares the memory.")
        .def("array", &ArrayOf,
             "A view of all elements: (h, w), (h, w, c) or (c, h, w), channels in the order of the record: "
             "blue "
             "first. Of bits the packed bytes, (h, bytes of a row). Keeps the memory alive, not the image.")
        .def("rgb", &RedFirst, "A view of colour as (h, w, 3), red first, whatever the layout.")
        .def(
            "plane",
            [](const Picture& self, const py::object& channel) {
                return PlaneOf(self, ChannelOf(self, channel));
            },
            py::arg("channel"),
            "A view of one channel, (h, w). channel: a number in the order of the record (blue is 0), or "
            "'red', "
            "'green', 'blue' (C++: GetImageData).")
        .def("crop", &Crop, py::arg("x"), py::arg("y"), py::arg("width"), py::arg("height"),
             "A view of a rectangle, pixels; axes as array() has them.")
        .def("unpack", &Unpack,
             "The bits as bool, (h, w): a copy. Of a boundary (2, h, w): upper edges, left edges.")
        .def(
            "copy",
            [](const Picture& self) {
                Image* const made = DuplicateImage(const_cast<Image*>(&self.Record()));
                Picture copy = Picture::Adopt(*made);
                DeleteImage(made);
                Picture shared = Picture::Share(self.Record(), copy.Shared());
                shared.Record().data = copy.Record().data;
                return shared;
            },
            "Another image with pixels of its own, levels included (C++: DuplicateImage).")
        .def(
            "__array__",
            [](const Picture& self, const py::object& type) {
                const py::array array = ArrayOf(self);
                return type.is_none() ? py::object(array)
                                      : array.attr("astype")(type, py::arg("copy") = false);
            },
            py::arg("dtype") = py::none(), "array(), for NumPy.")
        .def_property_readonly("__array_interface__",
                               [](const Picture& self) { return ArrayOf(self).attr("__array_interface__"); })
        .def_property_readonly(
            "width", [](const Picture& self) { return self.Record().width; }, "Columns.")
        .def_property_readonly(
            "height", [](const Picture& self) { return self.Record().height; }, "Rows.")
        .def_property_readonly(
            "channels", [](const Picture& self) { return self.Record().channels; }, "The number of channels.")
        .def_property_readonly("shape", &ShapeOf, "(h, w), (h, w, c) or (c, h, w), of bits too.")
        .def_property_readonly("dtype", &TypeOf, "The NumPy type of the elements; bool for bits.")
        .def_property_readonly(
            "type", [](const Picture& self) { return EnumMember("DataType", GetDataType(&self.Record())); },
            "The element type, a DataType (C++: GetDataType).")
        .def_property_readonly(
            "interleaved", [](const Picture& self) { return IsInterleaved(&self.Record()); },
            "Whether channels stand pixel by pixel; always so for one (C++: IsInterleaved).")
        .def_property_readonly(
            "readonly", [](const Picture& self) { return !self.Shared().writable; },
            "Whether the shared array is read-only.")
        .def_property_readonly(
            "nbytes", [](const Picture& self) { return GetImageTotalBytes(&self.Record()); },
            "Bytes of all pixels (C++: GetImageTotalBytes).")
        .def_property_readonly(
            "address",
            [](const Picture& self) { return reinterpret_cast<std::uintptr_t>(self.Record().data); },
            "Where the pixels are in memory.")
        .def_property(
            "kind", [](const Picture& self) { return EnumMember("Kind", GetMajorType(&self.Record())); },
            [](Picture& self, std::uint16_t kind) { SetMajorType(&self.Record(), kind); },
            "What the image is, a Kind (C++: GetMajorType, SetMajorType).")
        .def_property(
            "model", [](const Picture& self) { return EnumMember("Model", GetSubType(&self.Record())); },
            [](Picture& self, std::uint16_t model) { SetSubType(&self.Record(), model); },
            "The colour model, a Model (C++: GetSubType, SetSubType).")
        .def("__repr__", &DescribeImage)
        .def_property_readonly("_state", &StateOf);
    module.def("_restore_image", &Restore);
    auto* const type = reinterpret_cast<PyHeapTypeObject*>(image.ptr());
    type->as_buffer.bf_getbuffer = GetBuffer;
    type->ht_type.tp_as_buffer = &type->as_buffer;
}

}  // namespace pzel_python
