// Opening what a layer names: a file, two files of fields, a field of either, the difference of two.
#include "opened_layer.h"

#include <algorithm>
#include <new>
#include <utility>

namespace {

using pzel_io::FileError;

pzel_io::OpenOptions HowToOpen(const Layer& layer, const std::atomic<bool>* stop) {
    pzel_io::OpenOptions how;
    how.stop = stop;
    if (layer.role == Role::Vectors) how.purpose = pzel_io::Purpose::Vectors;
    const bool byColour = layer.maskValue && layer.maskValue->rgb;
    if ((layer.role == Role::Mask || layer.role == Role::Boundary) && !byColour)
        how.purpose = pzel_io::Purpose::Mask;
    how.page = layer.page;
    how.asStored = layer.asStored;
    how.partial = layer.partial;
    return how;
}

std::unique_ptr<pzel_io::PictureSource> OpenFiles(const Layer& layer, const pzel_io::OpenOptions& how) {
    if (!layer.stack.empty()) {
        std::vector<std::filesystem::path> files;
        for (const std::string& argument : layer.stack) {
            const auto more = pzel_io::FilesOf(argument);
            files.insert(files.end(), more.begin(), more.end());
        }
        return pzel_io::StackPictures(layer.file, files, layer.order, pzel_io::Strangers::Refused, how);
    }
    if (!pzel_io::IsManyFiles(layer.file)) return pzel_io::OpenPicture(layer.file, how);
    return pzel_io::StackPictures(layer.file, pzel_io::FilesOf(layer.file), layer.order,
                                  pzel_io::Strangers::LeftOut, how);
}

std::unique_ptr<pzel_io::PictureSource> Open(const Layer& layer, const std::atomic<bool>* stop) {
    const pzel_io::OpenOptions how = HowToOpen(layer, stop);
    auto source = OpenFiles(layer, how);
    if (!layer.oddField.empty())
        source = pzel_io::WeaveFields(std::move(source), pzel_io::OpenPicture(layer.oddField, how));
    if (layer.field) source = pzel_io::TakeField(std::move(source), *layer.field);
    if (layer.frame) source = pzel_io::TakeFrame(std::move(source), *layer.frame);
    return source;
}

}  // namespace

OpenedLayer::OpenedLayer(const Layer& wishes, const std::atomic<bool>* stop)
    : layer(wishes), source(Open(layer, stop)) {
    if (layer.subtracted.empty()) return;
    auto subtraction =
        std::make_unique<pzel_io::DifferenceSource>(std::move(source), Open(layer.subtracted.front(), stop));
    difference = subtraction.get();
    source = std::move(subtraction);
}

void OpenedLayer::Prepare() {
    maker = std::make_unique<FrameMaker>(layer, *source);
}

pzel_io::OwnedImage OpenedLayer::Make(std::uint32_t frame) {
    try {
        return maker->Make(frame);
    } catch (const FileError&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw FileError(Info().file, "does not fit into memory");
    } catch (const std::exception& error) {
        throw FileError(Info().file, error.what());
    }
}

// Rows outside are read all the same where levels or the range of colours may follow from them.
void OpenedLayer::ShowPart(const Area& part) {
    layer.area = part;
    const Look& look = layer.look;
    const bool isFull = Info().type == DataUInt8 && Info().model != SubYuv;  // what 8-bit data always have
    const bool byData = std::any_of(look.levels.begin(), look.levels.end(), [&](const LevelSpec& spec) {
        return spec.kind == LevelSpec::Kind::Percent || (spec.kind == LevelSpec::Kind::Data && !isFull);
    });
    const bool byColour = look.toYuv || look.channel >= Channel::Intensity;
    if (byData || byColour || look.bake || (look.levels.empty() && !isFull)) return;
    source->WantRows({part.top, part.bottom});
}

std::string OpenedLayer::NameOf(std::uint32_t frame) const {
    std::string name = Info().file.string();
    if (Info().frames == 1) return name;
    const std::filesystem::path file = source->FileOf(frame);
    if (file != Info().file) name += " (" + file.filename().string() + ")";
    return name + " frame " + std::to_string(frame) + " of " + std::to_string(Info().frames);
}
