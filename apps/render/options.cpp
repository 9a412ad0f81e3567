// The list of options, in groups, and which of them go together. Values are parsed elsewhere; whether they
// fit the files is seen later.
#include "options.h"

#include <CLI/CLI.hpp>
#include <cstring>
#include <iostream>
#include <sstream>

#include "apps/scene/scene.h"
#include "first_layer.h"
#include "manual.h"
#include "pixel_text.h"
#include "print_lines.h"

namespace {

constexpr int kWrongOptions = 2;
constexpr int kColumn = 32;  // where the explanations of options start

// What the command line says of the files that are written.
struct Writing {
    std::optional<pzel_io::FileFormat> format;
    std::optional<int> compression;
    std::optional<int> quality;
    std::optional<Size> grid;  // of a montage
    bool noTitles = false;
};

// What is added to the options while this lives stands under one heading, without what excludes it.
class Group {
  public:
    Group(CLI::App& options, std::string heading) : app(options), name(std::move(heading)) {}
    ~Group() {
        const auto options = app.get_options();
        for (std::size_t i = before; i < options.size(); ++i) {
            const std::string form = options[i]->get_type_name();
            options[i]->group(name)->option_text(form.empty() ? " " : form);
        }
    }
    Group(const Group&) = delete;
    Group& operator=(const Group&) = delete;

  private:
    CLI::App& app;
    std::string name;
    std::size_t before = app.get_options().size();
};

// An option whose value is parsed; what the parser refuses becomes a message about the option.
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

// One of a few names.
template <class Value, class Stored, std::size_t Count>
CLI::Option* AddNamed(CLI::App& app, const std::string& name, const std::string& form,
                      const std::string& help, Stored& stored, const Names<Value, Count>& names) {
    return AddParsed(app, name, form, help, stored,
                     [&names](const std::string& text) { return ParseName(names, text); });
}

void AddInputs(CLI::App& app, Options& options, FirstLayer& first, std::vector<std::string>& arguments,
               std::string& scene) {
    app.add_option("LAYER", arguments, "A picture, a stack (a folder or 'pattern*'), a video, with @OPTIONS")
        ->type_name("");
    const Group group(app, "Inputs");
    auto* kept = app.add_option("--scene", scene, "Layers and how they are shown as FILE.pzel.json has them")
                     ->type_name("NAME");
    auto* stack = app.add_flag("--stack", first.stack, "All files are one stack, not layers");
    AddNamed(app, "--order", "ORDER", "Of stacks: auto, position, instance, name, given", first.order,
             kOrderNames);
    auto* each =
        app.add_flag("--each", options.each, "Render each input by itself; -o is a folder or a montage");
    auto* fields = app.add_option("--fields", first.fields, "Weave two field pictures to the first layer")
                       ->expected(2)
                       ->allow_extra_args(false)
                       ->type_name("EVEN ODD");
    AddNamed(app, "--field", "FIELD", "Show the even or the odd rows alone, each of them twice", first.field,
             kFieldNames)
        ->excludes(fields);
    auto* difference = app.add_flag("--difference", first.difference,
                                    "Show how far the first two pictures lie apart, and tell it");
    app.add_flag("--partial", first.partial, "Show what is left of damaged files, with a note");
    app.add_flag("--as-stored", first.asStored, "Do not turn pictures upright");
    each->excludes(stack)->excludes(fields)->excludes(difference);
    stack->excludes(fields)->excludes(difference);
    kept->excludes(stack)->excludes(fields)->excludes(difference)->excludes(each);
}

// The four ways to choose frames, of which one serves.
void AddFrames(CLI::App& app, FrameSelection& frames) {
    const Group group(app, "Frames");
    auto* one = AddParsed(app, "--frame", "N", "Render frame N (default 0)", frames, ParseFrame);
    auto* span = AddParsed(app, "--frames", "A-B[:STEP]", "Render frames A to B; A- goes to the end", frames,
                           ParseSpan);
    auto* ranges =
        AddParsed(app, "--ranges", "A-B,C,...", "Render these ranges in this order", frames, ParseRanges);
    auto* all = app.add_flag_callback(
        "--all",
        [&frames] {
            frames = {{{0, std::nullopt, 1}}, true};
        },
        "Render all frames");
    one->excludes(span)->excludes(ranges)->excludes(all);
    span->excludes(ranges)->excludes(all);
    ranges->excludes(all);
}

void AddLook(CLI::App& app, Look& look) {
    const Group group(app, "Values");
    AddParsed(app, "--levels", "LEVELS", "data, full, file, LOW:HIGH or PERCENT%", look.levels, ParseLevels);
    app.add_flag("--per-frame", look.perFrame, "Choose levels for each frame on its own");
    AddNamed(app, "--channel", "CHANNEL", "all, hsi, or one as grey: red, y, hue, ...", look.channel,
             kChannelNames);
    AddParsed(app, "--curve", "CURVE", "linear, log, asinh or sqrt between the levels, or points", look.tones,
              ParseTones);
    AddParsed(app, "--gamma", "G", "Brighten (above 1) or darken (below 1) the middle", look.gamma,
              ParseGamma);
    app.add_flag("--invert", look.invert, "Show low values white");
    AddNamed(app, "--colormap", "MAP", "Greys as hot, cubehelix, viridis, inferno or hue", look.colourMap,
             kColourMapNames);
    auto* bake = app.add_flag("--bake", look.bake, "Put levels and curve into the data, and show these");
    app.add_flag("--to-yuv", look.toYuv, "Show a colour picture as y, u, v")->excludes(bake);
}

void AddPicture(CLI::App& app, Options& options, Look& look, Writing& writing) {
    const Group group(app, "Picture");
    AddParsed(app, "--area", "L,T,R,B", "Show only columns L to R of rows T to B", options.area, ParseArea);
    AddParsed(app, "--zoom", "N", "Enlarge N times (2 to 127), or shrink (-2 to -127)", options.zoom,
              ParseZoom);
    AddParsed(app, "--fit", "WxH", "Shrink into this size, by means of pixels", options.finish.fit, ParseFit);
    AddNamed(app, "--flip", "WAY", "horizontal or vertical", options.finish.flip, kFlipNames);
    AddNamed(app, "--turn", "DEGREES", "90, 180 or 270, clockwise", options.finish.turn, kTurnNames);
    AddParsed(app, "--montage", "COLSxROWS", "Pictures on sheets, with titles", writing.grid, ParseMontage);
    app.add_flag("--no-titles", writing.noTitles, "None on sheets");
    AddNamed(app, "--layout", "LAYOUT", "planar or interleaved: how pixels are kept; shows alike",
             look.layout, kLayoutNames);
}

void AddOutput(CLI::App& app, Options& options, Writing& writing) {
    using pzel_io::FileFormat;
    static constexpr Names<FileFormat, 3> kFormatNames = {
        {{"png", FileFormat::Png}, {"jpeg", FileFormat::Jpeg}, {"tiff", FileFormat::Tiff}}};
    const Group group(app, "Output");
    app.add_option("-o,--output", options.output,
                   "The file to write: .png, .jpg or .tif; - is standard output")
        ->type_name("OUT.png");
    AddNamed(app, "--format", "FORMAT", "png, jpeg or tiff, whatever the name says", writing.format,
             kFormatNames);
    app.add_option("--compression", writing.compression,
                   "Of PNG and TIFF: 0 (none), 1 (default) to 9 (smallest)")
        ->check(CLI::Range(0, 9).description(""))
        ->type_name("N");
    app.add_option("--quality", writing.quality, "Of JPEG: 1 to 100 (default 90)")
        ->check(CLI::Range(1, 100).description(""))
        ->type_name("N");
    app.add_option("--depth", options.depth, "16: values between the levels as 0 to 65535")
        ->check(CLI::IsMember({8, 16}).description(""))
        ->type_name("BITS");
    app.add_flag("-q,--quiet", options.quiet, "No lines about the pictures that are written");
}

void AddTelling(CLI::App& app, Options& options) {
    const Group group(app, "Telling, instead of or beside a picture");
    auto* info = app.add_flag("--info", options.info, "What files hold: kind, statistics, histogram");
    app.add_flag("--json", options.json, "As JSON")->needs(info);
    AddParsed(app, "--pixel", "X,Y", "The values of a pixel, or of A-B,C-D", options.pixels, ParsePixels);
}

[[noreturn]] void Refuse(const std::string& option, const std::string& reason) {
    throw CLI::ValidationError(option, reason);
}

void CheckDepth(const Options& options) {
    if (options.depth != 16) return;
    if (options.writing.format == pzel_io::FileFormat::Jpeg) Refuse("--depth", "JPEG files have 8 bits");
    if (!options.finish.IsNone() || options.montage || options.layers[0].look.colourMap)
        Refuse("--depth", "pictures of 16 bits are not shrunk, turned, coloured or put on sheets");
}

// A name's ending tells the format where --format does not; what is no regular file gets PNG, and a folder
// too.
void SetOutput(Options& options, const Writing& writing) {
    using pzel_io::FileFormat;
    if (writing.grid)
        options.montage = MontageOptions{writing.grid->width, writing.grid->height, !writing.noTitles};
    const bool told = options.pixels || !options.layers[0].subtracted.empty();
    if (options.info || (told && options.output.empty())) return;
    if (options.output.empty()) throw CLI::RequiredError("-o OUT.png");
    const bool folder = options.each && !options.montage;
    const bool streamed = pzel_io::IsStandardOutput(options.output) || pzel_io::IsDevice(options.output);
    if (folder && streamed) Refuse("--each", "'" + options.output + "' is no folder");
    auto format = writing.format ? writing.format : pzel_io::FormatOfName(options.output);
    if (!format && (streamed || folder)) format = FileFormat::Png;
    if (!format)
        Refuse("-o",
               "'" + options.output + "' ends in none of .png, .jpg and .tif, and there is no --format");
    if (streamed && options.frames.numbered && !options.montage)
        Refuse("-o", "'" + options.output + "' takes a single picture");
    options.writing.format = *format;
    CheckDepth(options);
    if (writing.quality && *format != FileFormat::Jpeg) Refuse("--quality", "is that of JPEG files alone");
    if (writing.compression && *format == FileFormat::Jpeg)
        Refuse("--compression", "is that of PNG and TIFF files; of JPEG files: --quality");
    if (writing.compression) options.writing.encode.compression = *writing.compression;
    if (writing.quality) options.writing.encode.quality = *writing.quality;
}

// Layers as a scene has them, and what else it says unless the command line says it.
std::vector<Layer> TakeScene(const std::string& name, const std::vector<std::string>& arguments,
                             const CLI::App& app, Options& options) {
    if (arguments.size() != 1)
        Refuse("--scene", "takes one LAYER, the picture beside which FILE.pzel.json stands");
    const Scene scene = SceneFile(arguments[0]).Find(name);
    const auto isSaid = [&](const char* option) { return app.count(option) > 0; };
    if (!isSaid("--frame") && !isSaid("--frames") && !isSaid("--ranges") && !isSaid("--all")) {
        options.frames = {{{scene.frame, scene.frame, 1}}, false};
        if (!scene.ranges.empty()) options.frames = {{}, true};
        for (const auto& [first, last] : scene.ranges) options.frames.ranges.push_back({first, last, 1});
    }
    if (!isSaid("--zoom")) options.zoom = scene.zoom;
    if (!isSaid("--area")) options.area = scene.area;
    return scene.layers;
}

std::string ManualText() {
    std::istringstream lines(kManual);
    std::string text;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("# ")) line = line.substr(std::strlen("# "));
        text += line + "\n";
    }
    return text;
}

}  // namespace

std::optional<Options> ParseOptions(int argc, char** argv, int& exitStatus) {
    Options options;
    FirstLayer first;
    Writing writing;
    std::vector<std::string> arguments;
    std::string scene;
    bool manual = false;
    CLI::App app("Renders a picture, or frames of a stack or a video, or several as layers, to files.",
                 "pzel-render");
    app.footer(
        "--manual, or man pzel-render, tells of layers, stacks, levels and everything else, with examples.");
    app.get_formatter()->column_width(kColumn);
    app.set_version_flag("--version", "pzel-render " PZEL_VERSION, "Tell the version");
    app.add_flag("--manual", manual, "Tell everything");
    AddInputs(app, options, first, arguments, scene);
    AddFrames(app, options.frames);
    AddLook(app, first.look);
    AddPicture(app, options, first.look, writing);
    AddOutput(app, options, writing);
    AddTelling(app, options);
    try {
        app.parse(argc, argv);
        if (manual) {
            PrintLines(stdout, ManualText());
            return {};
        }
        options.layers = scene.empty() ? MakeLayers(arguments, first)
                                       : MakeLayers(TakeScene(scene, arguments, app, options), first);
        SetOutput(options, writing);
    } catch (const CLI::Success& success) {
        std::ostringstream help;
        exitStatus = app.exit(success, help, help);
        PrintLines(stdout, help.str());
        return {};
    } catch (const std::invalid_argument& error) {  // of layers
        exitStatus = kWrongOptions;
        std::cerr << "pzel-render: " << error.what();
    } catch (const CLI::ParseError& error) {
        exitStatus = kWrongOptions;
        std::cerr << "pzel-render: " << error.what();
    }
    if (exitStatus == 0) return options;
    std::cerr << "\nUsage: pzel-render LAYER... -o OUT.png [OPTIONS]\n       pzel-render --help tells more\n";
    return {};
}
