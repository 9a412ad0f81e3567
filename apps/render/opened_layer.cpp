// Opening what a layer names: a file, two files of fields, a field of either.
#include "opened_layer.h"

#include <new>
#include <utility>

namespace {

using pzel_io::FileError;

std::unique_ptr<pzel_io::PictureSource> Open(const Layer& layer) {
    pzel_io::OpenOptions how;
    if (layer.role == Role::Vectors) how.purpose = pzel_io::Purpose::Vectors;
    auto source = pzel_io::OpenPicture(layer.file, how);
    if (!layer.oddField.empty())
        source = pzel_io::WeaveFields(std::move(source), pzel_io::OpenPicture(layer.oddField, how));
    if (layer.field) source = pzel_io::TakeField(std::move(source), *layer.field);
    return source;
}

}  // namespace

OpenedLayer::OpenedLayer(const Layer& wishes) : layer(wishes), source(Open(layer)) {}

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
