// Tones as words, and back.
#include <charconv>
#include <sstream>
#include <stdexcept>

#include "apps/io/picture_info.h"
#include "option_values.h"
#include "tone_curve.h"

namespace {

constexpr double kMostGamma = 100;

std::optional<double> Number(const std::string& text) {
    double number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end) return {};
    return number;
}

bool IsLevel(const std::optional<double>& number) {
    return number && *number >= 0 && *number <= 1;
}

void AddPoint(std::vector<TonePoint>& points, const std::string& word) {
    const auto colon = word.find(':');
    const auto in = Number(word.substr(0, colon)), out = Number(word.substr(colon + 1));
    if (!IsLevel(in) || !IsLevel(out))
        throw std::invalid_argument("'" + word + "' is not X:Y with both of 0 to 1");
    if (!points.empty() && *in <= points.back().in)
        throw std::invalid_argument("'" + word + "' is not to the right of the point before");
    points.push_back({*in, *out});
}

}  // namespace

double ParseGamma(const std::string& text) {
    const auto gamma = Number(text);
    if (!gamma || !(*gamma > 0 && *gamma <= kMostGamma))
        throw std::invalid_argument("'" + text + "' is not above 0 and up to 100");
    return *gamma;
}

Tone ParseTone(const std::string& text) {
    Tone tone;
    std::istringstream words(text + "+");
    for (std::string word; std::getline(words, word, '+');) {
        if (word == "invert") {
            tone.inverted = true;
        } else if (word.starts_with("gamma=")) {
            tone.gamma = ParseGamma(word.substr(word.find('=') + 1));
        } else if (word.find(':') != std::string::npos) {
            AddPoint(tone.points, word);
        } else {
            tone.bend = ParseName(kCurveNames, word);
        }
    }
    if (tone.points.size() == 1) throw std::invalid_argument("'" + text + "': a single point is no curve");
    return tone;
}

std::string ToneText(const Tone& tone) {
    std::string text;
    const auto add = [&](const std::string& word) { text += (text.empty() ? "" : "+") + word; };
    if (tone.bend != Bend::None) add(NameOf(kCurveNames, tone.bend));
    for (const TonePoint& point : tone.points)
        add(pzel_io::NumberText(point.in) + ":" + pzel_io::NumberText(point.out));
    if (tone.gamma != 1) add("gamma=" + pzel_io::NumberText(tone.gamma));
    if (tone.inverted) add("invert");
    return text.empty() ? NameOf(kCurveNames, Bend::None) : text;
}

Tones ParseTones(const std::string& text) {
    Tones tones;
    std::istringstream parts(text + ",");
    for (std::string part; std::getline(parts, part, ',');) tones.push_back(ParseTone(part));
    if (tones.size() != 1 && tones.size() != 3)
        throw std::invalid_argument("'" + text + "' is neither one curve nor three");
    return tones;
}

std::string TonesText(const Tones& tones) {
    std::string text;
    for (const Tone& tone : tones) text += (text.empty() ? "" : ",") + ToneText(tone);
    return text;
}
