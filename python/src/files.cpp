// Files: frames through the hosts' readers, pictures through their encoders. Reading runs in a program of its
// own, so that no file ends the interpreter.
#include <pybind11/stl.h>

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "apps/io/display_copy.h"
#include "apps/io/picture.h"
#include "apps/io/picture_writer.h"
#include "apps/io/png_encoder.h"
#include "apps/io/stack.h"
#include "bindings.h"
#include "level_choice.h"
#include "pzel/image/lifecycle.h"

namespace pzel_python {

namespace {

using pzel_io::FilePicture;
using pzel_io::Frame;
using pzel_io::Layout;
using pzel_io::OwnedImage;
using pzel_io::PictureInfo;
using pzel_io::PictureSource;
using pzel_io::PixelKind;

pzel_io::OpenOptions OptionsOf(const std::optional<int>& page, const std::string& purpose) {
    pzel_io::OpenOptions options;
    options.page = page;
    if (purpose == "vectors") {
        options.purpose = pzel_io::Purpose::Vectors;
    } else if (purpose == "mask") {
        options.purpose = pzel_io::Purpose::Mask;
    } else if (purpose != "picture") {
        throw py::value_error("purpose is 'picture', 'vectors' or 'mask', not '" + purpose + "'");
    }
    return options;
}

pzel_io::StackOrder OrderOf(const std::string& name) {
    using pzel_io::StackOrder;
    const std::pair<const char*, StackOrder> orders[] = {{"auto", StackOrder::Auto},
                                                         {"position", StackOrder::Position},
                                                         {"instance", StackOrder::Instance},
                                                         {"name", StackOrder::Name},
                                                         {"given", StackOrder::Given}};
    for (const auto& [known, order] : orders) {
        if (name == known) return order;
    }
    throw py::value_error("order is 'auto', 'position', 'instance', 'name' or 'given', not '" + name + "'");
}

std::unique_ptr<PictureSource> Open(const std::variant<std::string, std::vector<std::string>>& path,
                                    const pzel_io::OpenOptions& options, pzel_io::StackOrder order) {
    using pzel_io::Strangers;
    if (const auto* const list = std::get_if<std::vector<std::string>>(&path)) {
        if (list->empty()) throw py::value_error("there are no files");
        const std::vector<std::filesystem::path> files(list->begin(), list->end());
        return pzel_io::StackPictures(files.front().string(), files, order, Strangers::Refused, options);
    }
    const auto& name = std::get<std::string>(path);
    if (!pzel_io::IsManyFiles(name)) return pzel_io::OpenPicture(name, options);
    return pzel_io::StackPictures(name, pzel_io::FilesOf(name), order, Strangers::LeftOut, options);
}

/// Frames of a file as pictures for Python. Several components may read from it, in several threads: one at a
/// time.
class Reader {
  public:
    Reader(const std::variant<std::string, std::vector<std::string>>& path, const std::optional<int>& page,
           const std::string& order, const std::string& purpose, bool planar)
        : layout(planar ? Layout::Planar : Layout::Interleaved), isField(purpose == "vectors") {
        const pzel_io::OpenOptions options = OptionsOf(page, purpose);
        const pzel_io::StackOrder sorted = OrderOf(order);
        const py::gil_scoped_release released;
        source = Open(path, options, sorted);
    }

    std::uint32_t Frames() const { return source->Info().frames; }
    const PictureInfo& Info() const { return source->Info(); }

    Picture Read(std::uint32_t number) {
        OwnedImage image;
        {
            const py::gil_scoped_release released;
            const std::lock_guard lock(reading);
            Frame frame = source->Read(number, layout);
            for (const std::string& line : frame.notes) Note(line);
            image = ForDisplay(std::move(frame.image));
            if (isField) SetMajorType(image.get(), MajorVector);
            if (frame.window) SetWindow(*image, *frame.window);
        }
        return Picture::Adopt(*image);
    }

    std::vector<std::string> Conversions() {
        const std::lock_guard lock(reading);
        std::vector<std::string> all = source->Info().conversions;
        all.insert(all.end(), notes.begin(), notes.end());
        return all;
    }

  private:
    void Note(const std::string& line) {
        if (std::find(notes.begin(), notes.end(), line) == notes.end()) notes.push_back(line);
    }

    // The display shows no 32-bit integers, and takes 8-bit values as unsigned.
    OwnedImage ForDisplay(OwnedImage image) {
        const ImageDataType type = GetDataType(static_cast<const Image*>(image.get()));
        if (type == DataUInt32 || type == DataInt32) {
            Note(std::string(pzel_io::TypeName(type)) + " to float, for display");
            return pzel_io::ToFloat(*image);
        }
        if (type == DataInt8 && GetSubType(static_cast<const Image*>(image.get())) != SubYuv) {
            Note("int8 to int16, for display");
            return pzel_io::ToInt16(*image);
        }
        return image;
    }

    static void SetWindow(Image& image, const pzel_io::Window& window) {
        if (GetDataType(static_cast<const Image*>(&image)) == DataBit) return;
        const bool yuv = GetSubType(static_cast<const Image*>(&image)) == SubYuv;
        for (int c = 0; c < (yuv ? 1 : image.channels); ++c) SetPair(image, c, {window.low, window.high});
    }

    std::unique_ptr<PictureSource> source;
    Layout layout;
    bool isField;
    std::mutex reading;
    std::vector<std::string> notes;
};

py::dict InfoOf(const Reader& reader) {
    const PictureInfo& info = reader.Info();
    py::dict told;
    told["file"] = info.file.string();
    told["format"] = info.format;
    told["frames"] = info.frames;
    told["width"] = info.width;
    told["height"] = info.height;
    told["channels"] = info.channels;
    told["type"] = pzel_io::TypeName(info.type);
    told["model"] = pzel_io::ModelName(info.model);
    told["window"] =
        info.window ? py::object(py::make_tuple(info.window->low, info.window->high)) : py::none();
    told["low_is_white"] = info.lowIsWhite;
    told["pixel_aspect"] = info.pixelAspect;
    told["frame_rate"] = info.frameRate;
    return told;
}

FilePicture PictureOf(const py::array& rows, int width, const std::string& kind) {
    const PixelKind kinds[] = {PixelKind::Bits, PixelKind::Grey8, PixelKind::Bgr24, PixelKind::Grey16,
                               PixelKind::Rgb48};
    const char* const names[] = {"bits", "grey8", "bgr24", "grey16", "rgb48"};
    FilePicture picture;
    picture.pixels = static_cast<const unsigned char*>(rows.data());
    picture.width = width;
    picture.height = static_cast<int>(rows.shape(0));
    picture.rowBytes = rows.strides(0);
    for (int i = 0; i < 5; ++i) {
        if (kind == names[i]) picture.kind = kinds[i];
    }
    if (picture.width < 1 || picture.height < 1) throw py::value_error("the picture has no pixels");
    return picture;
}

void Save(const std::string& path, const py::array& rows, int width, const std::string& kind, int quality,
          int compression) {
    const FilePicture picture = PictureOf(rows, width, kind);
    const auto format = pzel_io::FormatOfName(path);
    if (!format) throw py::value_error(path + ": the name must end in .png, .jpg, .jpeg, .tif or .tiff");
    if (quality < 1 || quality > 100) throw py::value_error("quality is 1 … 100");
    if (compression < 0 || compression > 9) throw py::value_error("compression is 0 … 9");
    const py::gil_scoped_release released;
    pzel_io::WrittenPicture(path, picture, *format, {compression, quality, 1}).Commit();
}

py::bytes Png(const py::array& rows, int width, const std::string& kind) {
    const FilePicture picture = PictureOf(rows, width, kind);
    std::string file;
    {
        const py::gil_scoped_release released;
        for (const auto& piece : pzel_io::EncodePng(picture, {})) file.append(piece.begin(), piece.end());
    }
    return file;
}

}  // namespace

void BindFiles(py::module_& module) {
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            if (thrown) std::rethrow_exception(thrown);
        } catch (const pzel_io::FileError& error) {
            PyErr_SetString(PyExc_ValueError, error.what());
        }
    });
    py::class_<Reader>(module, "_Reader")
        .def(py::init<const std::variant<std::string, std::vector<std::string>>&, const std::optional<int>&,
                      const std::string&, const std::string&, bool>())
        .def("__len__", &Reader::Frames)
        .def("read", &Reader::Read)
        .def_property_readonly("conversions", &Reader::Conversions)
        .def_property_readonly("info", &InfoOf);
    module.def("_save", &Save);
    module.def("_png", &Png);
}

}  // namespace pzel_python
