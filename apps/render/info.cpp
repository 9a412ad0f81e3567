// The report on a file: what it holds, what its record holds, what was converted, and its values.
#include "info.h"

#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "apps/io/pixel_values.h"
#include "pzel/bounds/bounds.h"
#include "pzel/image/lifecycle.h"

namespace {

using nlohmann::ordered_json;
using pzel_io::NumberText;
using pzel_io::Window;

const char* LayoutName(bool interleaved) {
    return interleaved ? "interleaved" : "planar";
}

bool IsFileInterleaved(const pzel_io::PictureInfo& info) {
    return info.channels == 1 || info.layout == pzel_io::Layout::Interleaved;
}

Levels BoundOf(Image& image) {
    if (GetDataType(&image) == DataBit) return {};
    // On a copy: the bound that the library computes, without touching the levels of the picture.
    const pzel_io::OwnedImage copy(DuplicateImage(&image));
    ComputeBound(copy.get());
    Levels bound;
    for (int channel = 0; channel < copy->channels; ++channel) {
        float low = 0;
        float high = 0;
        GetBound(copy.get(), &low, &high, channel);
        bound.push_back({static_cast<double>(low), static_cast<double>(high)});
    }
    return bound;
}

std::string BoundText(const Levels& bound) {
    std::string text;
    for (const Window& pair : bound)
        text += (text.empty() ? "" : ", ") + NumberText(pair.low) + ":" + NumberText(pair.high);
    return text.empty() ? "none" : text;
}

// A computed number, where all its digits would say more than it means.
std::string Rounded(double number) {
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%.6g", number);
    return text.data();
}

void PrintValues(std::ostream& out, const ValueSummary& values) {
    const ValueStatistics& told = values.statistics;
    const auto text = [&](double value) { return pzel_io::ValueText(value, values.type); };
    out << "values:       " << values.channel << ": ";
    if (told.count > 0)
        out << text(told.minimum) << " to " << text(told.maximum) << ", mean " << Rounded(told.mean)
            << ", deviation " << Rounded(told.deviation) << ", ";
    out << told.count << " finite, " << told.notNumbers << " nan, " << told.negativeInfinite << " -inf, "
        << told.positiveInfinite << " inf\n";
    if (told.count == 0) return;
    out << "percentiles:  " << values.channel << ":";
    for (std::size_t i = 0; i < kPercentiles.size(); ++i)
        out << (i ? ", " : " ") << NumberText(kPercentiles[i]) << "% " << text(values.percentiles[i]);
    out << "\nhistogram:    " << values.channel << ": " << values.counts.size() << " bins from "
        << Rounded(values.low) << " to " << Rounded(values.high) << ":";
    for (const std::uint64_t count : values.counts) out << " " << count;
    out << "\n";
}

ordered_json JsonOf(const Window& pair) {
    return {{"low", pair.low}, {"high", pair.high}};
}

ordered_json JsonOf(const Levels& pairs) {
    ordered_json list = ordered_json::array();
    for (const Window& pair : pairs) list.push_back(JsonOf(pair));
    return list;
}

ordered_json JsonOf(const ValueSummary& values) {
    const ValueStatistics& told = values.statistics;
    ordered_json percentiles = ordered_json::array();
    for (std::size_t i = 0; i < values.percentiles.size(); ++i)
        percentiles.push_back({{"percent", kPercentiles[i]}, {"value", values.percentiles[i]}});
    ordered_json histogram;
    if (!values.counts.empty())
        histogram = {{"low", values.low}, {"high", values.high}, {"counts", values.counts}};
    return {{"channel", values.channel},
            {"finite", told.count},
            {"nan", told.notNumbers},
            {"negativeInfinite", told.negativeInfinite},
            {"positiveInfinite", told.positiveInfinite},
            {"minimum", told.minimum},
            {"maximum", told.maximum},
            {"mean", told.mean},
            {"deviation", told.deviation},
            {"percentiles", percentiles},
            {"histogram", histogram}};
}

ordered_json JsonOf(const pzel_io::DifferenceFigures& figures, const pzel_io::PictureInfo& info) {
    return {{"pixels", figures.pixels},
            {"differing", figures.differing},
            {"notNumbers", figures.notNumbers},
            {"largest", figures.largest},
            {"x", figures.x},
            {"y", figures.y},
            {"channel", ChannelName(info.channels, info.model, figures.channel)},
            {"mean", figures.mean},
            {"rms", figures.rms},
            {"psnr", figures.Psnr()}};
}

// Whether the writer takes a text as it is.
bool IsUtf8(const std::string& text) {
    try {
        return !ordered_json(text).dump().empty();
    } catch (const ordered_json::type_error&) {
        return false;
    }
}

std::string HexOf(const std::string& bytes) {
    static constexpr const char* kDigits = "0123456789abcdef";
    std::string hex;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        hex += kDigits[byte / 16];
        hex += kDigits[byte % 16];
    }
    return hex;
}

ordered_json JsonOf(const LayerReport& report) {
    const pzel_io::PictureInfo& info = report.info;
    ordered_json layer = {{"file", info.file.string()}};
    if (!IsUtf8(info.file.string())) layer["fileBytes"] = HexOf(info.file.string());
    layer["format"] = info.format;
    layer["frames"] = info.frames;
    layer["frame"] = report.frame;
    layer["width"] = info.width;
    layer["height"] = info.height;
    layer["elementType"] = pzel_io::TypeName(info.type);
    layer["channels"] = info.channels;
    layer["model"] = pzel_io::ModelName(info.model);
    layer["layout"] = LayoutName(report.interleaved);
    layer["fileLayout"] = LayoutName(IsFileInterleaved(info));
    layer["rowBytes"] = report.rowBytes;
    layer["window"] = info.window ? JsonOf(*info.window) : ordered_json();
    layer["bound"] = JsonOf(report.bound);
    layer["levels"] = JsonOf(report.levels);
    layer["conversions"] = report.conversions;
    layer["values"] = ordered_json::array();
    for (const ValueSummary& values : report.values) layer["values"].push_back(JsonOf(values));
    if (report.difference) layer["difference"] = JsonOf(*report.difference, info);
    return layer;
}

}  // namespace

LayerReport MakeReport(OpenedLayer& opened, std::uint32_t frame) {
    const pzel_io::OwnedImage image = opened.Make(frame);
    const FrameMaker& maker = opened.Maker();
    LayerReport report{opened.Info(),
                       frame,
                       IsInterleaved(image.get()),
                       image->rowBytes,
                       BoundOf(*image),
                       maker.WantedLevels(),
                       maker.Conversions(),
                       SummariseValues(maker.Values(*image)),
                       {}};
    for (Window& level : report.levels) level = {level.low - maker.Offset(), level.high - maker.Offset()};
    if (opened.Difference()) report.difference = opened.Difference()->Figures();
    return report;
}

void PrintText(std::ostream& out, const LayerReport& report) {
    const pzel_io::PictureInfo& info = report.info;
    out << "file:         " << info.file.string() << "\n"
        << "format:       " << info.format << "\n"
        << "frames:       " << info.frames << "\n"
        << "size:         " << info.width << " x " << info.height << "\n"
        << "element type: " << pzel_io::TypeName(info.type) << "\n"
        << "channels:     " << info.channels << " (" << pzel_io::ModelName(info.model) << ")\n"
        << "layout:       " << LayoutName(report.interleaved)
        << " (file: " << LayoutName(IsFileInterleaved(info)) << ")\n"
        << "row:          " << report.rowBytes << " bytes\n"
        << "window:       "
        << (info.window ? NumberText(info.window->low) + ":" + NumberText(info.window->high) : "none") << "\n"
        << "bound:        " << BoundText(report.bound) << "\n"
        << "levels:       " << LevelsText(report.levels, 0) << "\n";
    for (const std::string& line : report.conversions) out << "conversion:   " << line << "\n";
    for (const ValueSummary& values : report.values) PrintValues(out, values);
    if (report.difference) out << "difference:   " << DifferenceText(*report.difference, info) << "\n";
}

void PrintJson(std::ostream& out, const std::vector<LayerReport>& reports) {
    constexpr int kIndent = 2;
    ordered_json layers = ordered_json::array();
    for (const LayerReport& report : reports) layers.push_back(JsonOf(report));
    out << layers.dump(kIndent, ' ', false, ordered_json::error_handler_t::replace) << "\n";
}

std::string DifferenceText(const pzel_io::DifferenceFigures& figures, const pzel_io::PictureInfo& info) {
    std::string text =
        std::to_string(figures.differing) + " of " + std::to_string(figures.pixels) + " pixels differ";
    if (figures.differing == 0) return text;
    if (figures.notNumbers > 0)
        text += ", " + std::to_string(figures.notNumbers) + " values are a number in one alone";
    text += ", largest difference " + NumberText(figures.largest) + " at " + std::to_string(figures.x) + "," +
            std::to_string(figures.y);
    if (info.channels > 1) text += " (" + ChannelName(info.channels, info.model, figures.channel) + ")";
    text += ", mean " + Rounded(figures.mean) + ", rms " + Rounded(figures.rms);
    if (figures.peak > 0) text += ", psnr " + Rounded(figures.Psnr()) + " dB";
    return text;
}
