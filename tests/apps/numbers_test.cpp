// What is told of values: statistics as text and JSON, and differences, against plain computations.
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <numeric>

#include "program.h"

namespace {

using nlohmann::json;

constexpr double kPercents[] = {0.35, 1, 5, 25, 50, 75, 95, 99, 99.65};

class NumbersTest : public AppTest {
  protected:
    json Info(std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), {"--info", "--json"});
        const Outcome run = Render(arguments);
        EXPECT_EQ(run.status, 0) << run.err;
        return json::parse(run.out);
    }
    template <class T>
    Pixels<T> Random(int width, int height, int channels, int most) {
        Pixels<T> pixels(width, height, channels);
        std::uniform_int_distribution<int> any(0, most);
        for (T& value : pixels.values) value = static_cast<T>(any(random));
        return pixels;
    }
};

// One channel as the document tells it.
template <class T>
void ExpectSummary(const json& told, const Pixels<T>& pixels, int channel) {
    std::vector<double> finite;
    int others[3] = {0, 0, 0};
    for (std::size_t i = channel; i < pixels.values.size(); i += pixels.channels) {
        const auto v = static_cast<double>(pixels.values[i]);
        if (std::isfinite(v))
            finite.push_back(v);
        else
            ++others[std::isnan(v) ? 0 : v < 0 ? 1 : 2];
    }
    std::sort(finite.begin(), finite.end());
    EXPECT_EQ(told["finite"], finite.size());
    EXPECT_EQ(told["nan"], others[0]);
    EXPECT_EQ(told["negativeInfinite"], others[1]);
    EXPECT_EQ(told["positiveInfinite"], others[2]);
    if (finite.empty()) {
        EXPECT_TRUE(told["minimum"].is_null() && told["mean"].is_null() && told["histogram"].is_null());
        return;
    }
    const auto n = static_cast<double>(finite.size());
    const double mean = std::accumulate(finite.begin(), finite.end(), 0.0) / n;
    double squares = 0;
    for (const double v : finite) squares += (v - mean) * (v - mean);
    EXPECT_EQ(told["minimum"], finite.front());
    EXPECT_EQ(told["maximum"], finite.back());
    EXPECT_NEAR(told["mean"], mean, std::abs(mean) * 1e-12);
    EXPECT_NEAR(told["deviation"], std::sqrt(squares / n), 1e-9 * std::sqrt(squares / n));
    for (std::size_t i = 0; i < std::size(kPercents); ++i) {
        EXPECT_EQ(told["percentiles"][i]["percent"], kPercents[i]);
        EXPECT_EQ(told["percentiles"][i]["value"], finite[static_cast<std::size_t>(n * kPercents[i] / 100)]);
    }
    const json& histogram = told["histogram"];
    const auto counts = histogram["counts"].get<std::vector<std::uint64_t>>();
    EXPECT_EQ(std::accumulate(counts.begin(), counts.end(), 0ULL), finite.size());
    const double low = histogram["low"], high = histogram["high"];
    ASSERT_LE(low, finite.front());
    ASSERT_GE(high, finite.back());
    if (std::is_integral_v<T> && high > low) {
        std::vector<std::uint64_t> wanted(counts.size());
        for (const double v : finite)
            ++wanted[static_cast<std::size_t>((v - low) * static_cast<double>(counts.size()) / (high - low))];
        EXPECT_EQ(counts, wanted);
    }
}

TEST_F(NumbersTest, TellsEachChannelInOneDocument) {
    const auto colour = Random<std::uint8_t>(40, 30, 3, 200);
    WritePicture<std::uint8_t>(Path("colour.png"), {colour});
    auto longs = Random<std::uint32_t>(40, 30, 1, 9);
    longs.values[7] = 4294967295, longs.values[8] = 16777217;
    WritePicture<std::uint32_t>(Path("longs.tif"), {longs});
    Pixels<float> floats(50, 20, 1), none(50, 20, 1);
    std::normal_distribution<float> normal(-5, 3);
    for (float& v : floats.values) v = normal(random);
    floats.values[3] = std::nanf(""), floats.values[4] = HUGE_VALF, floats.values[5] = -HUGE_VALF;
    std::fill(none.values.begin(), none.values.end(), std::nanf(""));
    WritePicture<float>(Path("floats.tif"), {none, floats});
    Shown bits(19, 3, 1);
    for (std::uint8_t& v : bits.values) v = random() % 3 ? 255 : 0;
    WritePicture<std::uint8_t>(Path("bits.tif"), {bits}, 1);
    for (std::uint8_t& v : bits.values) v /= 255;
    const std::string odd = Path("a \"quoted\"\n\\ and \xff.png");
    std::filesystem::copy(Path("colour.png"), odd);

    for (const char* layout : {"planar", "interleaved"}) {
        const json told =
            Info({Path("colour.png"), Path("longs.tif"), Path("bits.tif"), odd, "--layout", layout});
        ASSERT_EQ(told.size(), 4U);
        for (int c = 0; c < 3; ++c) {
            ExpectSummary(told[0]["values"][c], colour, c);
            ExpectSummary(told[3]["values"][c], colour, c);
        }
        EXPECT_EQ(told[0]["values"][2]["channel"], "blue");
        ExpectSummary(told[1]["values"][0], longs, 0);
        ExpectSummary(told[2]["values"][0], bits, 0);
        EXPECT_EQ(told[0]["file"], Path("colour.png"));
        EXPECT_FALSE(told[0].contains("fileBytes"));
        const std::string name = told[3]["file"], bytes = told[3]["fileBytes"];
        EXPECT_NE(name.find("a \"quoted\"\n\\ and "), std::string::npos);
        EXPECT_TRUE(bytes.ends_with("ff2e706e67")) << bytes;
    }
    ExpectSummary(Info({Path("floats.tif"), "--frame", "1"})[0]["values"][0], floats, 0);
    ExpectSummary(Info({Path("floats.tif")})[0]["values"][0], none, 0);
    // What was asked for counts, what the display needs does not.
    const json yuv = Info({Path("colour.png"), "--to-yuv"})[0]["values"];
    EXPECT_EQ(yuv[1]["channel"], "u");
    EXPECT_LT(yuv[1]["minimum"], 0);
    const std::string text = Render({Path("longs.tif"), "--info"}).out;
    EXPECT_NE(text.find("values:       grey: 0 to 4294967295, mean "), std::string::npos) << text;
    EXPECT_EQ(Render({Path("longs.tif"), "--json", "-o", Path("o.png")}).status, 2);
}

TEST_F(NumbersTest, SaysWhereTheOutputCannotBeWritten) {
    WritePicture<std::uint8_t>(Path("grey.png"), {Shown(5, 4, 1)});
    for (const char* options : {"--info", "--info --json", "--pixel 0-4,0-3"}) {
        const std::string command = std::string("cd '") + folder.string() + "' && " + PZEL_RENDER +
                                    " grey.png " + options + " >/dev/full 2>err";
        const int status = std::system(command.c_str());
        EXPECT_EQ(WEXITSTATUS(status), 1) << options;
        const std::string err = ReadBytes(Path("err"));
        EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
    }
}

// Shows the difference of two pictures and compares picture and figures with plain computations.
void ExpectDifference(const json& told, const std::vector<std::uint8_t>& shown, const Shown& a,
                      const Shown& b) {
    double largest = 0, sum = 0, squares = 0;
    std::size_t place = 0, differing = 0;
    for (std::size_t i = 0; i < a.values.size(); ++i) {
        const double d = std::abs(static_cast<double>(a.values[i]) - static_cast<double>(b.values[i]));
        EXPECT_EQ(static_cast<double>(shown[i]), d);
        sum += d;
        squares += d * d;
        if (d > largest) largest = d, place = i;
    }
    for (std::size_t i = 0; i < a.values.size(); i += a.channels)
        differing += !std::equal(&a.values[i], &a.values[i] + a.channels, &b.values[i]);
    const auto n = static_cast<double>(a.values.size());
    const double rms = std::sqrt(squares / n);
    EXPECT_EQ(told["pixels"], a.values.size() / a.channels);
    EXPECT_EQ(told["differing"], differing);
    EXPECT_EQ(told["largest"], largest);
    EXPECT_EQ(told["x"], place / a.channels % a.width);
    EXPECT_EQ(told["y"], place / a.channels / a.width);
    EXPECT_NEAR(told["mean"], sum / n, 1e-12 * sum);
    EXPECT_NEAR(told["rms"], rms, 1e-12 * rms);
    EXPECT_NEAR(told["psnr"], 20 * std::log10(255 / rms), 1e-9);
}

TEST_F(NumbersTest, ShowsAndTellsDifferences) {
    const auto a = Random<std::uint8_t>(31, 17, 3, 255), b = Random<std::uint8_t>(31, 17, 3, 255);
    WritePicture<std::uint8_t>(Path("a.png"), {a});
    WritePicture<std::uint8_t>(Path("b.png"), {b});
    for (const char* layout : {"planar", "interleaved"}) {
        for (const bool turned : {false, true}) {
            const std::string one = Path(turned ? "b.png" : "a.png"),
                              other = Path(turned ? "a.png" : "b.png");
            const json told = Info({"--difference", one, other, "--layout", layout});
            const Outcome run = Render({"--difference", one, other, "-o", Path("d.png"), "--layout", layout});
            ASSERT_EQ(run.status, 0) << run.err;
            ExpectDifference(told[0]["difference"], ReadShown(Path("d.png")).values, a, b);
            EXPECT_NE(run.out.find(one + " - " + other + ": " + told[0]["difference"]["differing"].dump() +
                                   " of 527"),
                      std::string::npos)
                << run.out;
        }
    }
    const Outcome same = Render({"--difference", Path("a.png"), Path("a.png")});
    EXPECT_EQ(same.out, Path("a.png") + " - " + Path("a.png") + ": 0 of 527 pixels differ\n");

    // Types that hold everything; a single frame goes with all; what is not a number is told apart.
    auto words = Random<std::uint16_t>(6, 5, 1, 65535);
    Pixels<float> floats(6, 5, 1);
    for (std::size_t i = 0; i < floats.values.size(); ++i) floats.values[i] = words.values[i] + 0.5f;
    floats.values[8] = std::nanf("");
    floats.values[9] += 100;
    WritePicture<std::uint16_t>(Path("words.tif"), {words});
    WritePicture<float>(Path("floats.tif"), {floats, floats});
    const json told = Info({"--difference", Path("words.tif"), Path("floats.tif"), "--frame", "1"})[0];
    EXPECT_EQ(told["elementType"], "float");
    EXPECT_EQ(told["frames"], 2);
    EXPECT_EQ(told["difference"]["notNumbers"], 1);
    EXPECT_EQ(told["difference"]["differing"], 30);
    EXPECT_EQ(told["difference"]["largest"], 100.5);
    EXPECT_TRUE(told["difference"]["psnr"].is_null());
    Pixels<std::uint32_t> longs(6, 5, 1);
    longs.values[3] = 4294967295;
    WritePicture<std::uint32_t>(Path("longs.tif"), {longs});
    const Outcome pixel = Render({"--difference", Path("longs.tif"), Path("words.tif"), "--pixel", "3,0"});
    EXPECT_TRUE(pixel.out.ends_with(": pixel 3,0: " + std::to_string(4294967295 - words.values[3]) + "\n"))
        << pixel.out;

    const Outcome refused = Render({"--difference", Path("a.png"), Path("words.tif"), "-o", Path("o.png")});
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find(Path("words.tif") + ": 6 x 5"), std::string::npos) << refused.err;
    for (const std::vector<std::string>& wrong :
         std::vector<std::vector<std::string>>{{Path("a.png")},
                                               {Path("a.png"), Path("b.png"), Path("b.png")},
                                               {Path("a.png"), Path("b.png") + "@0.5"},
                                               {Path("a.png"), Path("b.png") + "@mask"}}) {
        std::vector<std::string> arguments = wrong;
        arguments.insert(arguments.end(), {"--difference", "-o", Path("o.png")});
        EXPECT_EQ(Render(arguments).status, 2) << testing::PrintToString(wrong);
    }
}

}  // namespace
