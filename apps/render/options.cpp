// Options and help. Only what the command line itself shows to be wrong is refused here; whether it fits the
// file is seen later.
#include "options.h"

#include <CLI/CLI.hpp>
#include <array>
#include <charconv>
#include <iostream>
#include <limits>
#include <map>
#include <sstream>

namespace {

constexpr int kWrongOptions = 2;
constexpr double kMostGamma = 100;

constexpr const char* kFooter = R"(
Colours, levels and channels are named red,green,blue or y,u,v, in this order. Rows and columns, like frames,
count from 0, from the top left.

Levels are the values shown as black and as white:
  data      the range of the data; 8-bit data always have their full range
  full      everything that the file's element type can hold
  file      the window that the file itself asks for
  LOW:HIGH  these values
  PERCENT%  so that this percentage of the pixels is clipped at each end
One setting serves all channels together (of a y,u,v picture its luminance; u and v keep the computed bound). Three,
separated by commas, serve one each; of u and v the upper value counts, both ways from 0. Integers take the nearest
integer levels; levels that the type cannot hold make the picture a float picture, for display. Without --levels
the file's window is taken where there is one, else data. The levels of a stack or a video are those of the first
rendered frame, so that it does not flicker, unless --per-frame is given.

Values are those that the file stores. What reading changes (rescaled values, expanded palettes, alpha left out,
floats for what cannot be shown as it is) is told on the line of the first frame, and by --info. Pictures whose low
values stand for white (MONOCHROME1) keep their values and are shown inverted; --invert then shows them as stored.

Outputs: one picture goes to OUT.png itself. With --frames or --all each frame goes to a file of its own, with
its number before the ending: OUT_0007.png. Bit pictures are written as grey of 0 and 255.

On standard output there is one line for each frame: the input, frame, element type, channels, size, levels, depth
of the bitmap, milliseconds spent on mapping pixels, and the output.

Exit status: 0, 1 for a file that cannot be read, shown or written (with one line that says why), 2 for wrong
options.

Examples:
  pzel-render CT.dcm -o ct.png                               the file's own window
  pzel-render CT.dcm -o bone.png --levels 300:1500 --gamma 1.4
  pzel-render galaxy.fits -o galaxy.png --levels 0.5%
  pzel-render photo.jpg -o red.png --channel red --area 100,50,299,249
  pzel-render photo.png -o warm.png --levels 0:220,0:255,20:255
  pzel-render stack.tif -o frame.png --frames 10-19 --per-frame
  pzel-render film.mp4 -o film.png --all
  pzel-render scan.dcm --info
)";

// A whole number from the whole of a text.
std::optional<std::uint32_t> WholeNumber(const std::string& text) {
    std::uint32_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end) return {};
    return number;
}

FrameSpan ParseSpan(const std::string& text) {
    const auto dash = text.find('-');
    const auto first = WholeNumber(text.substr(0, dash));
    const auto last = dash == std::string::npos ? std::nullopt : WholeNumber(text.substr(dash + 1));
    if (!first || !last || *first > *last) {
        throw CLI::ValidationError("--frames", "'" + text + "' is not A-B with A up to B");
    }
    return {*first, *last, true};
}

Area ParseArea(const std::string& text) {
    std::array<int, 4> sides{};
    std::istringstream parts(text + ",");
    std::size_t count = 0;
    bool good = true;
    for (std::string part; std::getline(parts, part, ','); ++count) {
        const auto side = WholeNumber(part);
        good = good && side && *side <= std::numeric_limits<std::int16_t>::max() && count < sides.size();
        if (good) sides[count] = static_cast<int>(*side);
    }
    if (!good || count != sides.size() || sides[0] > sides[2] || sides[1] > sides[3]) {
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

void CheckTogether(const Options& options) {
    if (options.info) return;
    if (options.output.empty()) throw CLI::RequiredError("-o OUT.png");
    if (!options.output.ends_with(".png")) {
        throw CLI::ValidationError("-o",
                                   "'" + options.output + "': only PNG files are written, ending in .png");
    }
}

}  // namespace

std::optional<Options> ParseOptions(int argc, char** argv, int& exitStatus) {
    Options options;
    CLI::App app("Renders a picture, or frames of a stack or a video, to PNG files.", "pzel-render");
    app.footer(kFooter);
    app.get_formatter()->column_width(34);
    app.add_option("IN", options.input, "A picture, a stack or a video")->required()->type_name("");
    app.add_option("-o,--output", options.output, "The PNG file to write")->type_name("OUT.png");
    const auto single = [](const std::string& text) {
        const auto frame = WholeNumber(text);
        if (!frame) throw CLI::ValidationError("--frame", "'" + text + "' is not a frame number");
        return FrameSpan{*frame, *frame, false};
    };
    auto* frame = AddParsed(app, "--frame", "N", "Render frame N (default 0)", options.frames, single);
    auto* frames = AddParsed(app, "--frames", "A-B", "Render frames A to B", options.frames, ParseSpan);
    auto* all = app.add_flag_callback(
        "--all",
        [&] {
            options.frames = {0, std::nullopt, true};
        },
        "Render all frames");
    frame->excludes(frames)->excludes(all);
    frames->excludes(all);
    AddParsed(app, "--levels", "LEVELS", "data, full, file, LOW:HIGH or PERCENT%, see below", options.levels,
              ParseLevels);
    app.add_flag("--per-frame", options.perFrame, "Choose levels for each frame on its own");
    const std::map<std::string, Channel> channels = {
        {"all", Channel::All}, {"red", Channel::Red}, {"green", Channel::Green}, {"blue", Channel::Blue},
        {"y", Channel::Y},     {"u", Channel::U},     {"v", Channel::V}};
    app.add_option("--channel", options.channel, "all, or one of red, green, blue, y, u, v as grey")
        ->transform(CLI::CheckedTransformer(channels).description(""))
        ->type_name("CHANNEL");
    app.add_option("--gamma", options.gamma, "Brighten (above 1) or darken (below 1) the middle")
        ->check(CLI::Validator(
            [](const std::string& text) {
                const double gamma = std::atof(text.c_str());
                return gamma > 0 && gamma <= kMostGamma ? "" : "'" + text + "' is not above 0 and up to 100";
            },
            ""))
        ->type_name("G");
    app.add_flag("--invert", options.invert, "Show low values white (of y,u,v pictures: the luminance)");
    AddParsed(app, "--area", "L,T,R,B", "Show only columns L to R of rows T to B", options.area, ParseArea);
    const std::map<std::string, pzel_io::Layout> layouts = {{"planar", pzel_io::Layout::Planar},
                                                            {"interleaved", pzel_io::Layout::Interleaved}};
    app.add_option("--layout", options.layout,
                   "How pixels are kept: planar or interleaved (default); shows alike")
        ->transform(CLI::CheckedTransformer(layouts).description(""))
        ->type_name("LAYOUT");
    app.add_flag("--info", options.info, "Tell what the file holds instead of rendering");
    app.add_flag("-q,--quiet", options.quiet, "No lines on standard output");
    try {
        app.parse(argc, argv);
        CheckTogether(options);
    } catch (const CLI::Success& success) {
        exitStatus = app.exit(success);
        return {};
    } catch (const CLI::ParseError& error) {
        std::cerr << "pzel-render: " << error.what() << "\nUsage: pzel-render IN -o OUT.png [OPTIONS]\n"
                  << "       pzel-render --help tells more\n";
        exitStatus = kWrongOptions;
        return {};
    }
    return options;
}
