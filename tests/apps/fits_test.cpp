// FITS values as they are stored, the right way up.
#include <zlib.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include "program.h"
#include "reading.h"

namespace {

using namespace std::string_literals;

// Values as the file stores them, in blocks of 2880 bytes behind a header of 80-column cards.
template <class T>
std::string Unit(const std::string& first, const std::vector<T>& values, std::vector<int> sides,
                 const std::string& more = "") {
    const auto card = [](const std::string& key, const std::string& value) {
        std::string text = key + std::string(8 - key.size(), ' ') + "= " + value;
        return text + std::string(80 - text.size(), ' ');
    };
    std::string unit = card(first, first == "SIMPLE" ? "T" : "'IMAGE   '");
    unit +=
        card("BITPIX", std::to_string((std::is_floating_point_v<T> ? -8 : 8) * static_cast<int>(sizeof(T))));
    unit += card("NAXIS", std::to_string(sides.size()));
    for (std::size_t i = 0; i < sides.size(); ++i)
        unit += card("NAXIS" + std::to_string(i + 1), std::to_string(sides[i]));
    if (first != "SIMPLE") unit += card("PCOUNT", "0") + card("GCOUNT", "1");
    if (!more.empty()) unit += card(more.substr(0, more.find('=')), more.substr(more.find('=') + 1));
    unit += "END";
    unit.append((2880 - unit.size() % 2880) % 2880, ' ');
    for (const T& value : values) {
        std::string bytes(sizeof value, '\0');
        std::memcpy(bytes.data(), &value, sizeof value);
        unit.append(bytes.rbegin(), bytes.rend());
    }
    unit.append((2880 - unit.size() % 2880) % 2880, '\0');
    return unit;
}

class FitsTest : public AppTest {
  protected:
    static constexpr int kWidth = 5, kHeight = 3, kPlanes = 2, kCount = kWidth * kHeight * kPlanes;

    template <class T>
    std::vector<T> Values() {
        std::vector<T> values;
        for (int i = 0; i < kCount; ++i) values.push_back(static_cast<T>(random() - 0x7FFFFFFFu));
        values[3] = std::numeric_limits<T>::lowest();
        values[7] = std::numeric_limits<T>::max();
        return values;
    }
    // The values of one plane, which a reader must give from its last row to its first.
    template <class T>
    static std::vector<T> Plane(const std::string& bytes) {
        std::vector<T> plane(kWidth * kHeight);
        EXPECT_EQ(bytes.size(), plane.size() * sizeof(T));
        for (int y = 0; y < kHeight; ++y)
            std::memcpy(&plane[static_cast<std::size_t>(y * kWidth)],
                        &bytes[static_cast<std::size_t>(kHeight - 1 - y) * kWidth * sizeof(T)],
                        kWidth * sizeof(T));
        return plane;
    }
    // Writes values of one type; they must come back as `expect` makes them of another.
    template <class Stored, class Read, class Expect>
    void ExpectRead(const std::string& more, ImageDataType type, Expect expect) {
        const auto stored = Values<Stored>();
        const std::string file =
            WriteBytes("values.fits", Unit("SIMPLE", stored, {kWidth, kHeight, kPlanes}, more));
        const auto source = pzel_io::OpenPicture(file);
        ASSERT_EQ(source->Info().type, type) << more;
        for (int plane = kPlanes - 1; plane >= 0; --plane) {
            const auto read = Plane<Read>(FrameOf(*source, static_cast<std::uint32_t>(plane)));
            for (std::size_t i = 0; i < read.size(); ++i) {
                const auto from = stored[static_cast<std::size_t>(plane) * read.size() + i];
                ASSERT_EQ(read[i], expect(from)) << more << " of " << +from;
            }
        }
    }
};

TEST_F(FitsTest, KeepsWhatIsStored) {
    const auto same = [](auto value) { return value; };
    ExpectRead<std::uint8_t, std::uint8_t>("", DataUInt8, same);
    ExpectRead<std::int16_t, std::int16_t>("", DataInt16, same);
    ExpectRead<std::int32_t, std::int32_t>("", DataInt32, same);
    ExpectRead<float, float>("", DataFloat, same);
    ExpectRead<std::uint8_t, std::int8_t>("BZERO=-128", DataInt8, [](int v) { return v - 128; });
    ExpectRead<std::int16_t, std::uint16_t>("BZERO=32768", DataUInt16, [](int v) { return v + 32768; });
    ExpectRead<std::int32_t, std::uint32_t>("BZERO=2147483648", DataUInt32,
                                            [](std::int64_t v) { return v + 2147483648; });
    ExpectRead<std::int64_t, float>("", DataFloat, [](std::int64_t v) { return static_cast<float>(v); });
    ExpectRead<std::int16_t, float>("BSCALE=0.25", DataFloat,
                                    [](int v) { return static_cast<float>(v) / 4; });
    ExpectRead<double, float>("", DataFloat, [](double v) {
        return std::abs(v) > 1e300 ? std::copysign(std::numeric_limits<float>::infinity(),
                                                   static_cast<float>(std::copysign(1, v)))
                                   : static_cast<float>(v);
    });
}

TEST_F(FitsTest, TellsBlanksFromInfinities) {
    constexpr float kInfinite = std::numeric_limits<float>::infinity();
    const std::vector<float> floats = {std::nanf(""), kInfinite, -kInfinite, -0.0f, 1e-42f, 6};
    const std::string plane = FramesOf(WriteBytes("f.fits", Unit("SIMPLE", floats, {6, 1})))[0];
    EXPECT_EQ(std::memcmp(plane.data(), floats.data(), plane.size()), 0);
    const std::vector<std::int16_t> words = {1, -9, 3, 4};
    const std::string read = FramesOf(WriteBytes("b.fits", Unit("SIMPLE", words, {4, 1}, "BLANK=-9")))[0];
    float values[4];
    std::memcpy(values, read.data(), sizeof values);
    EXPECT_TRUE(std::isnan(values[1]));
    EXPECT_EQ(values[0] + values[2] + values[3], 8);
    const std::vector<std::int64_t> longs = {-5, 2000000000};
    EXPECT_EQ(pzel_io::OpenPicture(WriteBytes("l.fits", Unit("SIMPLE", longs, {1, 2})))->Info().type,
              DataInt32);
}

TEST_F(FitsTest, ChoosesUnitsAndUnpacksFiles) {
    const auto words = Values<std::int16_t>();
    const auto floats = Values<float>();
    const std::string bytes = Unit("SIMPLE", words, {kWidth, kHeight, kPlanes}) +
                              Unit("XTENSION", floats, {kWidth * kHeight, kPlanes});
    const std::string file = WriteBytes("units.fits", bytes);
    EXPECT_EQ(FramesOf(file).size(), static_cast<std::size_t>(kPlanes));
    pzel_io::OpenOptions options;
    options.page = 1;
    ASSERT_EQ(FramesOf(file, options).size(), 1u);
    EXPECT_EQ(FramesOf(file, options)[0].size(), kCount * sizeof(float));
    options.page = 2;
    EXPECT_NE(ReasonAgainst(file, options).find("0 to 1"), std::string::npos);

    const gzFile packed = gzopen(Path("units.fits.gz").c_str(), "wb");
    gzwrite(packed, bytes.data(), static_cast<unsigned>(bytes.size()));
    gzclose(packed);
    EXPECT_EQ(FramesOf(Path("units.fits.gz")), FramesOf(file));
    WriteBytes("text.gz", ReadBytes(Path("units.fits.gz")).substr(0, 40));
    EXPECT_NE(ReasonAgainst(Path("text.gz")), "");
    ExpectCutsRefused(Path("units.fits.gz"), Path("cut.fits.gz"));
    // A cut between units leaves a whole file, but nothing tells of others.
    ExpectCutsRefused(WriteBytes("one.fits", Unit("SIMPLE", Values<double>(), {kWidth, kHeight, kPlanes})),
                      Path("cut.fits"));
}

}  // namespace
