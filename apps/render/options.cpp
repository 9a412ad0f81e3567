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

namespace {

constexpr int kWrongOptions = 2;
constexpr double kMostGamma = 100;

constexpr const char* kFooter = R"(
Colours, levels and channels are named red,green,blue or y,u,v or intensity,saturation,hue, in this order. Rows and
columns, like frames, count from 0, from the top left.

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

Of colour pictures of 8 bits, 16 bits or floats, --channel intensity, saturation or hue shows one of these as grey,
over the whole range of the element type (of floats: intensity in data values, saturation 0 to 1, hue 0 to 2 pi).
--channel hsi shows colour with levels of intensity, saturation and hue instead of red, green and blue: full, or
three of full and LOW:HIGH. They count 0 to 255 of 8 bits, 0 to 65535 of 16 bits (intensity from the lowest value
on, also of signed types), of floats 0 to 1 for saturation, 0 to 6.2831 for hue and data values for intensity (where
some are negative: from the lowest on). The intensity between its levels is spread from black to white, saturation
alike, hues around the circle; hues may run over 0 (200:30). Without --levels the intensity has the data's range.

--bake puts what levels, --gamma and --invert do into the data and shows these with their full range: the picture
stays, the levels told are then those of the new data. --to-yuv turns a colour picture into luminance and colour
differences of floats; the luminance has the full range of the file's element type (of floats that of the data),
the differences half of it both ways, unless --levels says otherwise. The channels are then y, u and v.

--pixel tells what the image that is shown holds at a pixel, before levels: red green blue, y u v or grey, on one
line for each frame. What was converted for display, baked or shifted is told as such.

Values are those that the file stores. What reading changes (rescaled values, expanded palettes, alpha left out,
floats for what cannot be shown as it is) is told on the line of the first frame, and by --info. Pictures whose low
values stand for white (MONOCHROME1) keep their values and are shown inverted; --invert then shows them as stored.

Outputs: one picture goes to OUT.png itself. With --frames, --ranges or --all each frame goes to a file of its own,
with its number before the ending: OUT_0007.png. Bit pictures are written as grey of 0 and 255.

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
  pzel-render film.mp4 -o part.png --ranges 20-24,3,7-8
  pzel-render photo.jpg -o hue.png --channel hue
  pzel-render photo.jpg -o vivid.png --channel hsi --levels full,0:128,full
  pzel-render photo.jpg -o baked.png --levels 10:220 --gamma 1.3 --bake
  pzel-render photo.jpg -o v.png --to-yuv --channel v
  pzel-render CT.dcm --pixel 64,30
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

Pixel ParsePixel(const std::string& text) {
    const std::vector<int> places = ParsePlaces(text, 2);
    if (places.empty()) throw CLI::ValidationError("--pixel", "'" + text + "' is not X,Y");
    return {places[0], places[1]};
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

// Hues run round a circle: a range of them may go over 0.
void CheckLevels(const Options& options) {
    constexpr std::size_t kHue = 2;
    const bool joint = options.channel == Channel::Hsi;
    const std::size_t count = options.levels.size();
    const auto given = LevelSpec::Kind::Given;
    for (std::size_t i = 0; i < count; ++i) {
        const LevelSpec& level = options.levels[i];
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

void CheckModel(const Options& options) {
    if (!options.toYuv) return;
    if (options.channel != Channel::All && options.channel != Channel::Y && options.channel != Channel::U &&
        options.channel != Channel::V) {
        throw CLI::ValidationError("--to-yuv", "has the channels all, y, u and v alone");
    }
}

void CheckTogether(const Options& options) {
    CheckLevels(options);
    CheckModel(options);
    if (options.info || (options.pixel && options.output.empty())) return;
    if (options.output.empty()) throw CLI::RequiredError("-o OUT.png");
    if (!options.output.ends_with(".png")) {
        throw CLI::ValidationError("-o",
                                   "'" + options.output + "': only PNG files are written, ending in .png");
    }
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
    CLI::App app("Renders a picture, or frames of a stack or a video, to PNG files.", "pzel-render");
    app.footer(kFooter);
    app.get_formatter()->column_width(34);
    app.add_option("IN", options.input, "A picture, a stack or a video")->required()->type_name("");
    app.add_option("-o,--output", options.output, "The PNG file to write")->type_name("OUT.png");
    AddFrameOptions(app, options.frames);
    AddParsed(app, "--levels", "LEVELS", "data, full, file, LOW:HIGH or PERCENT%, see below", options.levels,
              ParseLevels);
    app.add_flag("--per-frame", options.perFrame, "Choose levels for each frame on its own");
    AddChannelOption(app, options.channel);
    app.add_option("--gamma", options.gamma, "Brighten (above 1) or darken (below 1) the middle")
        ->check(CLI::Validator(
            [](const std::string& text) {
                const double gamma = std::atof(text.c_str());
                return gamma > 0 && gamma <= kMostGamma ? "" : "'" + text + "' is not above 0 and up to 100";
            },
            ""))
        ->type_name("G");
    app.add_flag("--invert", options.invert,
                 "Show low values white (of y,u,v: the luminance; of hsi: the intensity)");
    auto* bake = app.add_flag("--bake", options.bake, "Put levels and curve into the data, and show these");
    app.add_flag("--to-yuv", options.toYuv, "Show a colour picture as y, u, v")->excludes(bake);
    AddParsed(app, "--pixel", "X,Y", "Tell the values of a pixel; -o may be left out", options.pixel,
              ParsePixel);
    AddParsed(app, "--area", "L,T,R,B", "Show only columns L to R of rows T to B", options.area, ParseArea);
    const std::map<std::string, pzel_io::Layout> layouts = {{"planar", pzel_io::Layout::Planar},
                                                            {"interleaved", pzel_io::Layout::Interleaved}};
    app.add_option("--layout", options.layout,
                   "How pixels are kept: planar or interleaved (default); shows alike")
        ->transform(CLI::CheckedTransformer(layouts).description(""))
        ->type_name("LAYOUT");
    app.add_flag("--info", options.info, "Tell what the file holds instead of rendering");
    app.add_flag("-q,--quiet", options.quiet, "No lines about the pictures that are written");
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
