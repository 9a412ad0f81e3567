// Options that do not go together are refused here, as far as no file has to be opened for it.
#include "first_layer.h"

#include <algorithm>
#include <stdexcept>

namespace {

constexpr std::size_t kMostLayers = 255;

[[noreturn]] void Refuse(const std::string& what, const std::string& reason) {
    throw std::invalid_argument(what + ": " + reason);
}

// Hues run round a circle: a range of them may go over 0.
void CheckLevels(const std::string& option, const Look& look) {
    constexpr std::size_t kHue = 2;
    const bool joint = look.channel == Channel::Hsi;
    const std::size_t count = look.levels.size();
    const auto given = LevelSpec::Kind::Given;
    for (std::size_t i = 0; i < count; ++i) {
        const LevelSpec& level = look.levels[i];
        const bool round = joint && i == kHue && level.low != level.high;
        if (level.kind == given && level.low >= level.high && !round) {
            Refuse(option, "'" + pzel_io::NumberText(level.low) + ":" + pzel_io::NumberText(level.high) +
                               "': the low level must be below the high one");
        }
        if (joint && ((level.kind != given && level.kind != LevelSpec::Kind::Full) ||
                      (count != 3 && (count != 1 || level.kind == given)))) {
            Refuse(option, "those of hsi are full, or three of full and LOW:HIGH");
        }
    }
}

void CheckModel(const Look& look) {
    if (!look.toYuv) return;
    if (look.channel != Channel::All && look.channel != Channel::Y && look.channel != Channel::U &&
        look.channel != Channel::V) {
        Refuse("--to-yuv", "has the channels all, y, u and v alone");
    }
}

// A first layer that is no picture has no use for what the command line says of pictures.
void CheckFirst(const Layer& first, const Look& look) {
    if (!first.look.levels.empty() && !look.levels.empty())
        Refuse("--levels", "'" + first.argument + "' has levels already");
    if (first.look.colourMap && look.colourMap)
        Refuse("--colormap", "'" + first.argument + "' has a colour map already");
    if (first.look.channel != Channel::All && look.channel != Channel::All)
        Refuse("--channel", "'" + first.argument + "' has a channel already");
    if (first.look.IsCurved(false) && look.IsCurved(false))
        Refuse("--curve", "'" + first.argument + "' has a curve already");
    if (!first.IsOverlay()) return;
    const bool given = !look.levels.empty() || look.channel != Channel::All || look.IsCurved(false) ||
                       look.bake || look.toYuv || look.colourMap;
    if (given) {
        Refuse("'" + first.argument + "'",
               std::string("the first layer is shown as '") + RoleName(first.role) +
                   "', without levels, curves, inversion, channels, colours and models");
    }
}

// The first two layers become one, whose values are the difference of theirs.
void Subtract(std::vector<Layer>& layers) {
    const auto pictures = std::count_if(layers.begin(), layers.end(),
                                        [](const Layer& layer) { return layer.role == Role::Picture; });
    if (layers.size() < 2 || layers[0].IsOverlay() || layers[1].IsOverlay() || pictures != 2)
        Refuse("--difference", "takes two pictures, in front of all other layers");
    const Layer& second = layers[1];
    if (second.opacity != 1 || second.x != 0 || second.y != 0 || second.hidden ||
        !second.look.levels.empty() || second.look.colourMap)
        Refuse("--difference",
               "'" + second.argument + "' is subtracted, and takes no options but frame and page");
    layers[0].subtracted.push_back(second);
    layers.erase(layers.begin() + 1);
}

// All files become one layer, with the options of the first.
void Stack(std::vector<Layer>& layers) {
    Layer stack = layers[0];
    for (const Layer& layer : layers) {
        const bool plain = layer.argument == layer.file;
        if (!plain && &layer != &layers[0])
            Refuse("--stack", "'" + layer.argument + "': the first file alone takes options, for all");
        stack.stack.push_back(layer.file);
    }
    layers = {stack};
}

void Share(const FirstLayer& first, Layer& layer) {
    layer.look.perFrame = first.look.perFrame;
    layer.look.layout = first.look.layout;
    layer.asStored = layer.asStored || first.asStored;
    layer.partial = layer.partial || first.partial;
    layer.order = first.order.value_or(layer.order);
    for (Layer& other : layer.subtracted) Share(first, other);
}

// What a layer says of itself, and the command line of it. The two do not speak of the same.
Look Together(const Look& own, const Look& first) {
    Look look = first;
    if (!own.levels.empty()) look.levels = own.levels;
    if (own.colourMap) look.colourMap = own.colourMap;
    if (own.channel != Channel::All) look.channel = own.channel;
    if (own.IsCurved(false)) look.tones = own.tones;
    look.toYuv = look.toYuv || own.toYuv;
    return look;
}

}  // namespace

std::vector<Layer> MakeLayers(const std::vector<std::string>& arguments, const FirstLayer& first) {
    std::vector<Layer> layers;
    if (!first.fields.empty()) {
        Layer woven;
        woven.argument = woven.file = first.fields[0];
        woven.oddField = first.fields[1];
        layers.push_back(woven);
    }
    for (const std::string& argument : arguments) layers.push_back(ParseLayer(argument));
    return MakeLayers(layers, first);
}

std::vector<Layer> MakeLayers(std::vector<Layer> layers, const FirstLayer& first) {
    if (layers.empty()) Refuse("LAYER", "is required: a file to be shown");
    if (first.stack) Stack(layers);
    if (layers.size() > kMostLayers) Refuse("LAYER", std::to_string(layers.size()) + " are more than 255");
    if (first.difference) Subtract(layers);
    CheckFirst(layers[0], first.look);
    layers[0].look = Together(layers[0].look, first.look);
    for (const Layer& layer : layers)
        CheckLevels(&layer == &layers[0] ? "--levels" : layer.argument, layer.look);
    for (const Layer& layer : layers) CheckModel(layer.look);
    layers[0].field = first.field;
    for (Layer& layer : layers[0].subtracted) layer.field = first.field;
    for (Layer& layer : layers) Share(first, layer);
    if (std::all_of(layers.begin(), layers.end(), [](const Layer& layer) { return layer.hidden; }))
        Refuse("LAYER", "nothing is left to see where all are hidden");
    return layers;
}
