// Options and help. Only what the command line itself shows to be wrong is refused here; whether it fits the
// file is seen later.
#include "options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <iostream>
#include <limits>
#include <map>
#include <sstream>

#include "help_text.h"
#include "pixel_text.h"
#include "print_lines.h"

namespace {

constexpr int kWrongOptions = 2;
constexpr double kMostGamma = 100;

// A whole number from the whole of a text.
std::optional<std::uint32_t> WholeNumber(const std::string& text) {
    std::uint32_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end) return {};
    return number;
}

// A-B, or A alone.
std::optional<FrameRange> ParseRange(const std::string& text) {
    const auto dash = text.find('-');
    const auto first = WholeNumber(text.substr(0, dash));
    const auto last = dash == std::string::npos ? first : WholeNumber(text.substr(dash + 1));
    if (!first || !last || *first > *last) return {};
    return FrameRange{*first, *last};
}

FrameSelection ParseFrame(const std::string& text) {
    const auto frame = WholeNumber(text);
    if (!frame) throw CLI::ValidationError("--frame", "'" + text + "' is not a frame number");
    return {{{*frame, *frame}}, false};
}

FrameSelection ParseSpan(const std::string& text) {
    const auto range = ParseRange(text);
    if (!range || text.find('-') == std::string::npos)
        throw CLI::ValidationError("--frames", "'" + text + "' is not A-B with A up to B");
    return {{*range}, true};
}

std::vector<std::string> Parts(const std::string& text) {
    std::vector<std::string> parts;
    std::istringstream stream(text + ",");
    for (std::string part; std::getline(stream, part, ',');) parts.push_back(part);
    return parts;
}

FrameSelection ParseRanges(const std::string& text) {
    FrameSelection selection{{}, true};
    for (const std::string& part : Parts(text)) {
        const auto range = ParseRange(part);
        if (!range) throw CLI::ValidationError("--ranges", "'" + part + "' is not A-B with A up to B");
        selection.ranges.push_back(*range);
    }
    return selection;
}

// `count` columns and rows; empty where it is something else.
std::vector<int> ParsePlaces(const std::string& text, std::size_t count) {
    std::vector<int> places;
    for (const std::string& part : Parts(text)) {
        const auto place = WholeNumber(part);
        if (!place || *place > std::numeric_limits<std::uint16_t>::max()) return {};
        places.push_back(static_cast<int>(*place));
    }
    return places.size() == count ? places : std::vector<int>();
}

Area ParseArea(const std::string& text) {
    const std::vector<int> sides = ParsePlaces(text, 4);
    if (sides.empty() || sides[0] > sides[2] || sides[1] > sides[3] ||
        std::max(sides[2], sides[3]) > std::numeric_limits<std::int16_t>::max()) {
        throw CLI::ValidationError(
            "--area",
            "'" + text +
                "' is not LEFT,TOP,RIGHT,BOTTOM of 0 to 32767 with LEFT up to RIGHT, TOP up to BOTTOM");
    }
    return {sides[0], sides[1], sides[2], sides[3]};
}

// Stores a parsed value; what the parser refuses becomes a message about the option.
template <class Value, class Parse>
CLI::Option* AddParsed(CLI::App& app, const std::string& name, const std::string& form,
                       const std::string& help, Value& value, Parse parse) {
    return app
        .add_option_function<std::string>(
            name,
            [&value, name, parse](const std::string& text) {
                try {
                    value = parse(text);
                } catch (const std::invalid_argument& error) {
                    throw CLI::ValidationError(name, error.what());
                }
            },
            help)
        ->type_name(form);
}

// What the command line says of its first layer.
struct FirstLayer {
    Look look;
    std::vector<std::string> fields;  // the files of the even and the odd rows
    std::optional<pzel_io::Field> field;
    bool difference = false;  // to the second layer
};

// Hues run round a circle: a range of them may go over 0.
void CheckLevels(const Look& look) {
    constexpr std::size_t kHue = 2;
    const bool joint = look.channel == Channel::Hsi;
    const std::size_t count = look.levels.size();
    const auto given = LevelSpec::Kind::Given;
    for (std::size_t i = 0; i < count; ++i) {
        const LevelSpec& level = look.levels[i];
        const bool round = joint && i == kHue && level.low != level.high;
        if (level.kind == given && level.low >= level.high && !round) {
            throw CLI::ValidationError("--levels", "'" + pzel_io::NumberText(level.low) + ":" +
                                                       pzel_io::NumberText(level.high) +
                                                       "': the low level must be below the high one");
        }
        if (joint && ((level.kind != given && level.kind != LevelSpec::Kind::Full) ||
                      (count != 3 && (count != 1 || level.kind == given)))) {
            throw CLI::ValidationError("--levels", "those of hsi are full, or three of full and LOW:HIGH");
        }
    }
}

void CheckModel(const Look& look) {
    if (!look.toYuv) return;
    if (look.channel != Channel::All && look.channel != Channel::Y && look.channel != Channel::U &&
        look.channel != Channel::V) {
        throw CLI::ValidationError("--to-yuv", "has the channels all, y, u and v alone");
    }
}

// A first layer that is no picture has no use for what the command line says of pictures.
void CheckFirst(const Layer& first, const Look& look) {
    if (!first.look.levels.empty() && !look.levels.empty())
        throw CLI::ValidationError("--levels", "'" + first.argument + "' has levels already");
    if (!first.IsOverlay()) return;
    const bool given = !look.levels.empty() || look.channel != Channel::All || look.gamma != 1 ||
                       look.invert || look.bake || look.toYuv;
    if (given) {
        throw CLI::ValidationError("'" + first.argument + "'",
                                   std::string("the first layer is shown as '") + RoleName(first.role) +
                                       "', without levels, gamma, inversion, channels and models");
    }
}

// The first two layers become one, whose values are the difference of theirs.
void Subtract(std::vector<Layer>& layers) {
    const auto pictures = std::count_if(layers.begin(), layers.end(),
                                        [](const Layer& layer) { return layer.role == Role::Picture; });
    if (layers.size() < 2 || layers[0].IsOverlay() || layers[1].IsOverlay() || pictures != 2)
        throw CLI::ValidationError("--difference", "takes two pictures, in front of all other layers");
    const Layer& second = layers[1];
    if (second.opacity != 1 || second.x != 0 || second.y != 0 || second.hidden || !second.look.levels.empty())
        throw CLI::ValidationError("--difference",
                                   "'" + second.argument + "' is subtracted, and takes no options");
    layers[0].subtracted.push_back(second);
    layers.erase(layers.begin() + 1);
}

// The layers of the command line, the first with the options that are its.
void SetLayers(Options& options, const std::vector<std::string>& arguments, const FirstLayer& first) {
    constexpr std::size_t kMostLayers = 255;
    if (!first.fields.empty()) {
        Layer woven;
        woven.argument = woven.file = first.fields[0];
        woven.oddField = first.fields[1];
        options.layers.push_back(woven);
    }
    try {
        for (const std::string& argument : arguments) options.layers.push_back(ParseLayer(argument));
    } catch (const std::invalid_argument& error) {
        throw CLI::ValidationError("LAYER", error.what());
    }
    if (options.layers.empty()) throw CLI::RequiredError("LAYER");
    if (options.layers.size() > kMostLayers)
        throw CLI::ValidationError("LAYER", std::to_string(options.layers.size()) + " are more than 255");
    if (first.difference) Subtract(options.layers);
    CheckLevels(first.look);
    CheckModel(first.look);
    CheckFirst(options.layers[0], first.look);
    std::vector<LevelSpec> own = options.layers[0].look.levels;
    options.layers[0].look = first.look;
    if (!own.empty()) options.layers[0].look.levels = std::move(own);
    options.layers[0].field = first.field;
    for (Layer& layer : options.layers[0].subtracted) layer.field = first.field;
    for (Layer& layer : options.layers) {
        layer.look.perFrame = first.look.perFrame;
        layer.look.layout = first.look.layout;
    }
    if (std::all_of(options.layers.begin(), options.layers.end(),
                    [](const Layer& layer) { return layer.hidden; }))
        throw CLI::ValidationError("LAYER", "nothing is left to see where all are hidden");
}

// What the command line says of the files that are written.
struct Writing {
    std::optional<pzel_io::FileFormat> format;
    std::optional<int> compression;
    std::optional<int> quality;
};

// A name's ending tells the format where --format does not; what is no regular file gets PNG.
void SetOutput(Options& options, const Writing& writing) {
    using pzel_io::FileFormat;
    const bool told = options.pixels || !options.layers[0].subtracted.empty();
    if (options.info || (told && options.output.empty())) return;
    if (options.output.empty()) throw CLI::RequiredError("-o OUT.png");
    const bool streamed = pzel_io::IsStandardOutput(options.output) || pzel_io::IsDevice(options.output);
    auto format = writing.format ? writing.format : pzel_io::FormatOfName(options.output);
    if (!format && streamed) format = FileFormat::Png;
    if (!format)
        throw CLI::ValidationError(
            "-o", "'" + options.output + "' ends in none of .png, .jpg and .tif, and there is no --format");
    if (streamed && options.frames.numbered)
        throw CLI::ValidationError("-o", "'" + options.output + "' takes a single picture");
    if (options.depth == 16 && *format == FileFormat::Jpeg)
        throw CLI::ValidationError("--depth", "JPEG files have 8 bits");
    if (writing.quality && *format != FileFormat::Jpeg)
        throw CLI::ValidationError("--quality", "is that of JPEG files alone");
    if (writing.compression && *format == FileFormat::Jpeg)
        throw CLI::ValidationError("--compression",
                                   "is that of PNG and TIFF files; of JPEG files: --quality");
    options.writing.format = *format;
    if (writing.compression) options.writing.encode.compression = *writing.compression;
    if (writing.quality) options.writing.encode.quality = *writing.quality;
}

void AddWritingOptions(CLI::App& app, Options& options, Writing& writing) {
    using pzel_io::FileFormat;
    app.add_option("-o,--output", options.output,
                   "The file to write: .png, .jpg or .tif; - is standard output")
        ->type_name("OUT.png");
    const std::map<std::string, FileFormat> formats = {
        {"png", FileFormat::Png}, {"jpeg", FileFormat::Jpeg}, {"tiff", FileFormat::Tiff}};
    app.add_option("--format", writing.format, "png, jpeg or tiff, whatever the name says")
        ->transform(CLI::CheckedTransformer(formats).description(""))
        ->type_name("FORMAT");
    app.add_option("--compression", writing.compression,
                   "Of PNG and TIFF: 0 (none), 1 (default) to 9 (smallest)")
        ->check(CLI::Range(0, 9).description(""))
        ->type_name("N");
    app.add_option("--quality", writing.quality, "Of JPEG: 1 to 100 (default 90)")
        ->check(CLI::Range(1, 100).description(""))
        ->type_name("N");
    app.add_option("--depth", options.depth,
                   "16: PNG and TIFF get the values between the levels as 0 to 65535")
        ->check(CLI::IsMember({8, 16}).description(""))
        ->type_name("BITS");
}

// The four ways to choose frames, of which one serves.
void AddFrameOptions(CLI::App& app, FrameSelection& frames) {
    auto* one = AddParsed(app, "--frame", "N", "Render frame N (default 0)", frames, ParseFrame);
    auto* span = AddParsed(app, "--frames", "A-B", "Render frames A to B", frames, ParseSpan);
    auto* ranges =
        AddParsed(app, "--ranges", "A-B,C-D,...", "Render these ranges in this order", frames, ParseRanges);
    auto* all = app.add_flag_callback(
        "--all",
        [&frames] {
            frames = {{}, true};
        },
        "Render all frames");
    one->excludes(span)->excludes(ranges)->excludes(all);
    span->excludes(ranges)->excludes(all);
    ranges->excludes(all);
}

// Enlarging from 2 on, shrinking from -2 down.
int ParseZoom(const std::string& text) {
    int zoom = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, zoom);
    if (error != std::errc() || stop != end || zoom < -127 || zoom > 127)
        throw CLI::ValidationError("--zoom", "'" + text + "' is not a whole number of -127 to 127");
    return zoom;
}

void AddFieldOptions(CLI::App& app, FirstLayer& first) {
    auto* fields = app.add_option("--fields", first.fields, "Weave two field pictures to the first layer")
                       ->expected(2)
                       ->allow_extra_args(false)
                       ->option_text("EVEN ODD Excludes: --field");
    const std::map<std::string, pzel_io::Field> names = {{"even", pzel_io::Field::Even},
                                                         {"odd", pzel_io::Field::Odd}};
    app.add_option("--field", first.field, "Show the even or the odd rows alone, each of them twice")
        ->transform(CLI::CheckedTransformer(names).description(""))
        ->type_name("FIELD")
        ->excludes(fields);
}

void AddChannelOption(CLI::App& app, Channel& channel) {
    const std::map<std::string, Channel> channels = {{"all", Channel::All},
                                                     {"red", Channel::Red},
                                                     {"green", Channel::Green},
                                                     {"blue", Channel::Blue},
                                                     {"y", Channel::Y},
                                                     {"u", Channel::U},
                                                     {"v", Channel::V},
                                                     {"intensity", Channel::Intensity},
                                                     {"saturation", Channel::Saturation},
                                                     {"hue", Channel::Hue},
                                                     {"hsi", Channel::Hsi}};
    app.add_option("--channel", channel,
                   "all, hsi, or one as grey: red, green, blue; y, u, v; intensity, saturation, hue")
        ->transform(CLI::CheckedTransformer(channels).description(""))
        ->type_name("CHANNEL");
}

}  // namespace

std::optional<Options> ParseOptions(int argc, char** argv, int& exitStatus) {
    Options options;
    FirstLayer first;
    Writing writing;
    Look& look = first.look;
    std::vector<std::string> arguments;
    CLI::App app("Renders a picture, or frames of a stack or a video, or several as layers, to files.",
                 "pzel-render");
    app.footer(kFooter);
    app.get_formatter()->column_width(34);
    app.add_option("LAYER", arguments, "A picture, a stack or a video, with @OPTIONS, see below")
        ->type_name("");
    AddWritingOptions(app, options, writing);
    AddFrameOptions(app, options.frames);
    AddParsed(app, "--levels", "LEVELS", "data, full, file, LOW:HIGH or PERCENT%, see below", look.levels,
              ParseLevels);
    app.add_flag("--per-frame", look.perFrame, "Choose levels for each frame on its own");
    AddChannelOption(app, look.channel);
    app.add_option("--gamma", look.gamma, "Brighten (above 1) or darken (below 1) the middle")
        ->check(CLI::Validator(
            [](const std::string& text) {
                const double gamma = std::atof(text.c_str());
                return gamma > 0 && gamma <= kMostGamma ? "" : "'" + text + "' is not above 0 and up to 100";
            },
            ""))
        ->type_name("G");
    app.add_flag("--invert", look.invert,
                 "Show low values white (of y,u,v: the luminance; of hsi: the intensity)");
    auto* bake = app.add_flag("--bake", look.bake, "Put levels and curve into the data, and show these");
    app.add_flag("--to-yuv", look.toYuv, "Show a colour picture as y, u, v")->excludes(bake);
    AddParsed(app, "--pixel", "X,Y", "Tell the values of a pixel, or of A-B,C-D; -o may be left out",
              options.pixels, ParsePixels);
    AddParsed(app, "--zoom", "N", "Enlarge N times (2 to 127), or shrink (-2 to -127)", options.zoom,
              ParseZoom);
    AddFieldOptions(app, first);
    app.add_flag("--difference", first.difference,
                 "Show how far two pictures lie apart, and tell it; -o may be left out");
    AddParsed(app, "--area", "L,T,R,B", "Show only columns L to R of rows T to B", options.area, ParseArea);
    const std::map<std::string, pzel_io::Layout> layouts = {{"planar", pzel_io::Layout::Planar},
                                                            {"interleaved", pzel_io::Layout::Interleaved}};
    app.add_option("--layout", look.layout,
                   "How pixels are kept: planar or interleaved (default); shows alike")
        ->transform(CLI::CheckedTransformer(layouts).description(""))
        ->type_name("LAYOUT");
    auto* info = app.add_flag("--info", options.info, "Tell what the file holds instead of rendering");
    app.add_flag("--json", options.json, "Tell it as JSON")->needs(info);
    app.add_flag("-q,--quiet", options.quiet, "No lines about the pictures that are written");
    try {
        app.parse(argc, argv);
        SetLayers(options, arguments, first);
        SetOutput(options, writing);
    } catch (const CLI::Success& success) {
        std::ostringstream help;
        exitStatus = app.exit(success, help, help);
        PrintLines(stdout, help.str());
        return {};
    } catch (const CLI::ParseError& error) {
        std::cerr << "pzel-render: " << error.what() << "\nUsage: pzel-render LAYER... -o OUT.png [OPTIONS]\n"
                  << "       pzel-render --help tells more\n";
        exitStatus = kWrongOptions;
        return {};
    }
    return options;
}
