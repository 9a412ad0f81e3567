// Pixels that Python and the library share: NumPy arrays as image records, and records as NumPy arrays.
//
// Every buffer that a record of this package points to belongs to a Python object, its owner: the array that
// was given, or a capsule around a buffer that the library made. Records borrow; they never release pixels.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <string>

#include "pzel/image/image.h"

namespace pzel_python {

namespace py = pybind11;

constexpr py::ssize_t kLargestRow = 65535;  // bytes

inline ImageDataType ElementOf(const Image& image) {
    return GetDataType(&image);
}

/// Who keeps a buffer, and what may be done with it.
struct Pixels {
    py::object owner;  ///< keeps the buffer alive; null: there is no buffer
    bool writable = true;
    bool truth = false;  ///< bytes of a bool array: 0 and 1 alone
};

/// A record of its own over shared pixels: what Python knows as Image. Bounds belong to the record.
class Picture {
  public:
    Picture() = default;
    /// Over a buffer that `pixels` keeps; `shape.data` points into it. Takes over the record's bounds.
    Picture(const Image& shape, Pixels pixels);
    /// Takes over all that the library's record owns; the record stays the caller's, empty.
    static Picture Adopt(Image& record);
    /// A record like another one, with bounds of its own, over the same pixels.
    static Picture Share(const Image& record, const Pixels& pixels);
    Picture(Picture&& other) noexcept;
    Picture& operator=(Picture&& other) noexcept;
    ~Picture();

    Image& Record() { return record; }
    const Image& Record() const { return record; }
    /// The record, to be written to.
    /// @throws py::value_error where the pixels are read-only, or those of a bool array
    Image& Writable();
    const Pixels& Shared() const { return pixels; }
    /// The record and all that it owns; its pixels go on being borrowed.
    Image Release();

  private:
    Image record{};
    Pixels pixels;
};

/// How an array is to be read.
struct ArrayOptions {
    bool copy = false;
    std::string order = "bgr";  ///< of the channels of colour: "bgr" or "rgb"
    std::string layout;         ///< "interleaved", "planar", or empty: by the shape
};

/// A record over the memory of an array.
/// @throws py::value_error that names what keeps it from being shared, and the cure
Picture FromArray(const py::object& object, const ArrayOptions& options = {});
/// A record of bits over an array of packed bytes, (height, (width + 7) // 8).
Picture FromPackedBits(const py::array& packed, int width);
/// The picture that an argument is, or is made of.
Picture* AsPicture(const py::object& object, Picture& made);

/// All elements in the order of the record: (h, w), (h, w, c) or (c, h, w); bits are packed bytes.
py::array ArrayOf(const Picture& picture);
/// (h, w, 3), red first, whatever the layout.
py::array RedFirst(const Picture& picture);
/// One channel, (h, w).
py::array PlaneOf(const Picture& picture, int channel);
/// The NumPy type of a record's elements; that of bits is bool.
py::dtype TypeOf(const Picture& picture);

}  // namespace pzel_python
