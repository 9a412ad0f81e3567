// The report on a file: what it holds, what its record holds, what was converted.
#include "info.h"

#include "pzel/bounds/bounds.h"
#include "pzel/image/lifecycle.h"

namespace {

using pzel_io::NumberText;

const char* LayoutName(bool interleaved) {
    return interleaved ? "interleaved" : "planar";
}

std::string BoundText(Image& image) {
    // On a copy: the bound that the library computes, without touching the levels of the picture.
    const pzel_io::OwnedImage copy(DuplicateImage(&image));
    ComputeBound(copy.get());
    std::string text;
    for (int channel = 0; channel < copy->channels; ++channel) {
        float low = 0;
        float high = 0;
        GetBound(copy.get(), &low, &high, channel);
        text += (channel ? ", " : "") + NumberText(static_cast<double>(low)) + ":" +
                NumberText(static_cast<double>(high));
    }
    return text;
}

}  // namespace

void PrintInfo(std::ostream& out, const pzel_io::PictureInfo& info, const FrameMaker& maker, Image& image) {
    const bool bits = GetDataType(&image) == DataBit;
    out << "file:         " << info.file.string() << "\n"
        << "format:       " << info.format << "\n"
        << "frames:       " << info.frames << "\n"
        << "size:         " << info.width << " x " << info.height << "\n"
        << "element type: " << pzel_io::TypeName(info.type) << "\n"
        << "channels:     " << info.channels << " (" << pzel_io::ModelName(info.model) << ")\n"
        << "layout:       " << LayoutName(IsInterleaved(&image))
        << " (file: " << LayoutName(info.channels == 1 || info.layout == pzel_io::Layout::Interleaved)
        << ")\n"
        << "row:          " << image.rowBytes << " bytes\n"
        << "window:       "
        << (info.window ? NumberText(info.window->low) + ":" + NumberText(info.window->high) : "none") << "\n"
        << "bound:        " << (bits ? "none" : BoundText(image)) << "\n"
        << "levels:       " << LevelsText(maker.WantedLevels(), maker.Offset()) << "\n";
    for (const std::string& line : maker.Conversions()) out << "conversion:   " << line << "\n";
}
