// Hue, saturation and intensity: baked into the data, and on the way to the screen. The peer goes through
// HSV.
//
// Both models agree on the changes made here: scaling intensity scales all channels, turning hue by a third
// exchanges them, and saturation is only scaled a little.
#include <cstring>
#include <opencv2/imgproc.hpp>

#include "bench/pictures.h"

namespace bench {

namespace {

constexpr float kIntensity = 0.75f, kSaturation = 0.98f, kThird = 1.0f / 3;
constexpr double kTolerance = 12;  // 8-bit HSV has 256 steps of hue, 43 for each rise from 0 to 255

enum class Hue { Kept, Turned };

class Tones final : public Zel::Remapper {
  public:
    explicit Tones(Hue wanted) : hue(wanted) {}
    bool IsEqual(const Remapper& other) const override { return this == &other; }
    Remapper* Clone() const override { return new Tones(*this); }
    void SetMode(int, int) override {}
    int GetMode() const override { return 1; }
    void Reset() override {}
    int GetNumbChannels() const override { return 3; }
    bool IsIdentity(int channel) const override { return channel < 3 || (channel == 5 && hue == Hue::Kept); }
    float Remap(float value, int channel) const override {
        if (channel == 3) return value * kIntensity;
        if (channel == 4) return value * kSaturation;
        const float turned = value + kThird;
        return turned < 1 ? turned : turned - 1;
    }
    const unsigned char* GetLookupTable() const override { return nullptr; }

  private:
    Hue hue;
};

/// What the remapper does to HSV bytes, hue first.
cv::Mat hsvTable(Hue hue) {
    return tableOf(3, [&](int c, int v) {
        if (c == 0) return hue == Hue::Turned ? (v + 85) % 256 : v;
        return int(byteOf(v * double(c == 1 ? kSaturation : kIntensity)));
    });
}

/// There and back again; the tables in between run over all three channels in one call.
std::function<void()> roundTrip(cv::Mat from, cv::Mat to, Hue hue, int there, int back) {
    return [=, hsv = cv::Mat(from.size(), from.type()), table = hsvTable(hue)] {
        cv::cvtColor(from, hsv, there);
        cv::LUT(hsv, table, hsv);
        cv::cvtColor(hsv, to, back);
    };
}

/// In place; the picture is made new before every run, or its colours would drift to one end. Channel 0 is
/// red here.
Row baked(int size, Hue hue, double goal) {
    const Picture picture = makePicture(size, size, kColour, DataUInt8);
    const std::size_t bytes = GetImageTotalBytes(picture.get());
    const Picture original = makePicture(size, size, kColour, DataUInt8);
    Row row;
    row.ours = [picture, remapper = std::make_shared<Tones>(hue)] {
        ConvertAllDataToRGB(picture.get(), remapper.get());
    };
    row.peers = {
        {"OpenCV to HSV, LUT, back", goal,
         roundTrip(matOf(picture), matOf(picture), hue, cv::COLOR_RGB2HSV_FULL, cv::COLOR_HSV2RGB_FULL),
         kTolerance}};
    row.result = resultOf(picture->data, bytes);
    row.copyBytes = bytes;
    row.restore = [=] { std::memcpy(picture->data, original->data, bytes); };
    row.when = Restore::EveryRun;
    return row;
}

Row joint(int size) {
    const Picture in = makePicture(size, size, kColour, DataUInt8);
    const Bitmap out(size, size, 24);
    const auto tables = std::make_shared<std::vector<unsigned char>>();
    for (const double factor : {double(kIntensity), double(kSaturation), 1.0})
        for (int i = 0; i < 512; ++i) tables->push_back(byteOf(i * 255 * factor / 511));
    Row row;
    row.ours = [=] {
        MapDataHSI(out.pixels(), out.rowBytes, in->width, in->height, in.get(), 0, 0, tables->data());
    };
    row.peers = {{"OpenCV to HSV, LUT, back", 0.4,
                  [in, run = roundTrip(matOf(in), out.mat(), Hue::Kept, cv::COLOR_BGR2HSV_FULL,
                                       cv::COLOR_HSV2BGR_FULL)] { run(); },
                  kTolerance}};
    row.result = out.result();
    row.copyBytes = out.bytes();
    return row;
}

}  // namespace

void addColourRows(Catalogue& rows) {
    rows.push_back({"HSI remapping, colour 8, hue kept", [](int s) { return baked(s, Hue::Kept, 0.3); }});
    rows.push_back({"HSI remapping, colour 8, hue turned", [](int s) { return baked(s, Hue::Turned, 0.6); }});
    rows.push_back({"joint HSI display, colour 8 → BGR24", joint});
}

}  // namespace bench
