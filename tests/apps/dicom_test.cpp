// DICOM files that the tests write element by element: their values against plain computations from what was
// written.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <sstream>

#include "program.h"

namespace {

// Elements with their types, low byte first.
class Elements {
  public:
    Elements& Add(std::uint32_t tag, const char* type, std::string value) {
        const std::string_view kLong = "OB OD OF OV OW SQ";
        if (value.size() % 2) value += std::strcmp(type, "UI") == 0 || type[0] == 'O' ? '\0' : ' ';
        Number(tag >> 16, 2);
        Number(tag & 0xFFFF, 2);
        bytes += type;
        if (kLong.find(type) != std::string_view::npos) {
            Number(0, 2);
            Number(undefined ? 0xFFFFFFFF : static_cast<std::uint32_t>(value.size()), 4);
        } else {
            Number(static_cast<std::uint32_t>(value.size()), 2);
        }
        bytes += value;
        return *this;
    }
    Elements& Word(std::uint32_t tag, int value) { return Add(tag, "US", Packed<std::uint16_t>({value})); }
    Elements& Sequence(std::uint32_t tag, const std::vector<Elements>& items) {
        Elements inner;
        for (const Elements& item : items) inner.Item(item.bytes);
        return Add(tag, "SQ", inner.bytes);
    }
    // Compressed pixels, after a table of where frames begin.
    Elements& Fragments(const std::string& table, const std::vector<std::string>& fragments) {
        Elements inner;
        inner.Item(table);
        for (const std::string& fragment : fragments) inner.Item(fragment);
        inner.Mark(0xE0DD, 0);
        undefined = true;
        Add(0x7FE00010, "OB", inner.bytes);
        undefined = false;
        return *this;
    }
    std::string File(const std::string& syntax = "1.2.840.10008.1.2.1") const {
        return std::string(128, '\0') + "DICM" + Elements().Add(0x00020010, "UI", syntax).bytes + bytes;
    }

    template <class T>
    static std::string Packed(const std::vector<int>& values) {
        std::string packed;
        for (const int value : values) {
            const auto exact = static_cast<T>(value);
            packed.append(reinterpret_cast<const char*>(&exact), sizeof exact);
        }
        return packed;
    }

  private:
    void Number(std::uint32_t value, int size) {
        for (int i = 0; i < size; ++i) bytes += static_cast<char>(value >> 8 * i);
    }
    void Mark(std::uint32_t element, std::size_t length) {
        Number(0xFFFE, 2);
        Number(element, 2);
        Number(static_cast<std::uint32_t>(length), 4);
    }
    void Item(const std::string& value) {
        Mark(0xE000, value.size());
        bytes += value;
    }

    std::string bytes;
    bool undefined = false;
};

constexpr int kWidth = 5;
constexpr int kHeight = 4;

struct Stored {
    int allocated = 16;
    int bits = 16;
    int high = 15;
    bool isSigned = false;
    std::string colour = "MONOCHROME2";
    int frames = 1;
};

Elements Head(const Stored& stored) {
    return Elements()
        .Word(0x00280002, 1)
        .Add(0x00280004, "CS", stored.colour)
        .Add(0x00280008, "IS", std::to_string(stored.frames))
        .Word(0x00280010, kHeight)
        .Word(0x00280011, kWidth)
        .Word(0x00280100, stored.allocated)
        .Word(0x00280101, stored.bits)
        .Word(0x00280102, stored.high)
        .Word(0x00280103, stored.isSigned);
}

class DicomTest : public AppTest {
  protected:
    std::vector<int> Any(int count, int low, int high) {
        std::uniform_int_distribution<int> any(low, high);
        std::vector<int> values(count);
        for (int& value : values) value = any(random);
        return values;
    }
    std::vector<double> Values(const std::string& bytes, int frame = 0) {
        const std::string file = WriteBytes("values.dcm", bytes);
        const Outcome run = Render({file, "--pixel", "0-4,0-3", "--frame", std::to_string(frame)});
        EXPECT_EQ(run.status, 0) << run.err;
        std::string text = run.out.substr(std::min(run.out.size(), run.out.find('\n')));
        std::replace(text.begin(), text.end(), ',', ' ');
        std::istringstream words(text);
        std::vector<double> values;
        for (double value; words >> value;) values.push_back(value);
        return values;
    }
    std::string Info(const std::string& bytes) {
        const Outcome run = Render({WriteBytes("info.dcm", bytes), "--info"});
        return run.out + run.err;
    }
};

TEST_F(DicomTest, LooksPalettesUp) {
    struct Case {
        int stored, first, count, bits;
        bool inBytes;
    };
    const Case cases[] = {{16, 0, 256, 16, false}, {16, -40, 100, 16, false}, {4, 3, 11, 16, false},
                          {8, 20, 77, 8, true},    {12, 0, 256, 8, false},    {16, 0, 65536, 16, false}};
    for (const Case& c : cases) {
        const bool isSigned = c.first < 0;
        const std::vector<int> indices = Any(kWidth * kHeight, isSigned ? -100 : 0, isSigned ? 100 : 65535);
        const int most = c.bits == 8 ? 255 : 65535;
        Elements file = Head({16, c.stored, c.stored - 1, isSigned, "PALETTE COLOR"});
        std::vector<std::vector<int>> tables;
        for (std::uint32_t channel = 0; channel < 3; ++channel) {
            file.Add(0x00281101 + channel, isSigned ? "SS" : "US",
                     Elements::Packed<std::uint16_t>({c.count, c.first, c.bits}));
            tables.push_back(Any(c.count, 0, most));
        }
        for (std::uint32_t channel = 0; channel < 3; ++channel) {
            file.Add(0x00281201 + channel, "OW",
                     c.inBytes ? Elements::Packed<std::uint8_t>(tables[channel])
                               : Elements::Packed<std::uint16_t>(tables[channel]));
        }
        file.Add(0x7FE00010, "OW", Elements::Packed<std::uint16_t>(indices));
        std::vector<double> expected;
        for (const int index : indices) {
            const int kept = isSigned ? index : index & ((1 << c.stored) - 1);
            for (const auto& table : tables)
                expected.push_back(table[std::clamp(kept - c.first, 0, c.count - 1)]);
        }
        EXPECT_EQ(Values(file.File()), expected) << c.stored << " " << c.first;
    }
}

TEST_F(DicomTest, ExpandsPalettesInSegments) {
    // Three entries, a line to 63, and both once more, with the line starting at the last entry of the three.
    const std::vector<int> segments = {0, 3, 10, 20, 30, 1, 3, 63, 2, 2, 0, 0};
    const std::vector<int> table = {10, 20, 30, 41, 52, 63, 10, 20, 30, 41, 52, 63};
    std::vector<int> indices = Any(kWidth * kHeight, 0, 15);
    Elements file = Head({8, 8, 7, false, "PALETTE COLOR"});
    for (std::uint32_t tag = 0x00281101; tag < 0x00281104; ++tag)
        file.Add(tag, "US", Elements::Packed<std::uint16_t>({12, 0, 16}));
    for (std::uint32_t tag = 0x00281221; tag < 0x00281224; ++tag)
        file.Add(tag, "OW", Elements::Packed<std::uint16_t>(segments));
    const auto pixels = Elements(file).Add(0x7FE00010, "OB", Elements::Packed<std::uint8_t>(indices));
    std::vector<double> expected;
    for (const int index : indices) expected.insert(expected.end(), 3, table[std::min(index, 11)]);
    EXPECT_EQ(Values(pixels.File()), expected);
}

TEST_F(DicomTest, KeepsStoredBitsAlone) {
    for (const bool isSigned : {false, true}) {
        for (const auto& [bits, high] : {std::pair(12, 15), {8, 11}, {10, 9}, {1, 0}, {16, 15}}) {
            const std::vector<int> cells = Any(kWidth * kHeight, 0, 65535);
            Elements file = Head({16, bits, high, isSigned});
            file.Add(0x7FE00010, "OW", Elements::Packed<std::uint16_t>(cells));
            std::vector<double> expected;
            for (const int cell : cells) {
                const int value = cell >> (high + 1 - bits) & ((1 << bits) - 1);
                expected.push_back(isSigned && value >> (bits - 1) ? value - (1 << bits) : value);
            }
            EXPECT_EQ(Values(file.File()), expected) << bits << " " << high << " " << isSigned;
        }
    }
}

TEST_F(DicomTest, ScalesAndWindowsEachFrame) {
    const std::vector<int> cells = Any(3 * kWidth * kHeight, 0, 65535);
    std::vector<Elements> frames;
    for (int k = 0; k < 3; ++k) {
        const Elements place = Elements().Add(0x00200032, "DS", "1\\2\\" + std::to_string(7 + k));
        const Elements window =
            Elements().Add(0x00281050, "DS", std::to_string(100 + k)).Add(0x00281051, "DS", "50");
        const Elements scale =
            Elements().Add(0x00281052, "DS", std::to_string(-k)).Add(0x00281053, "DS", std::to_string(k + 1));
        frames.push_back(Elements()
                             .Sequence(0x00209113, {place})
                             .Sequence(0x00289132, {window})
                             .Sequence(0x00289145, {scale}));
    }
    const Elements shape = Elements().Add(0x00280030, "DS", "2\\1");
    const Elements ways = Elements().Add(0x00200037, "DS", "1\\0\\0\\0\\1\\0");
    const std::string file =
        Head({16, 16, 15, false, "MONOCHROME2", 3})
            .Sequence(0x52009229, {Elements().Sequence(0x00209116, {ways}).Sequence(0x00289110, {shape})})
            .Sequence(0x52009230, frames)
            .Add(0x7FE00010, "OW", Elements::Packed<std::uint16_t>(cells))
            .File();
    for (int k = 0; k < 3; ++k) {
        std::vector<double> expected;
        for (int i = 0; i < kWidth * kHeight; ++i)
            expected.push_back(cells[k * kWidth * kHeight + i] * (k + 1) - k);
        EXPECT_EQ(Values(file, k), expected) << k;
        const std::string shown = "levels " + std::to_string(75 + k) + ":" + std::to_string(124 + k);
        const Outcome run = Render({Path("values.dcm"), "-o", Path("o.png"), "--frame", std::to_string(k)});
        EXPECT_NE(run.out.find(shown + ","), std::string::npos) << run.out;
    }
    EXPECT_NE(Info(file).find("pixels are 0.5 times as wide as high"), std::string::npos);
}

TEST_F(DicomTest, TakesWindowsAsTheirFunctionMeansThem) {
    const auto with = [](const Elements& more) {
        Elements file = more;
        return file.Add(0x7FE00010, "OW", std::string(kWidth * kHeight * 2, '\1')).File();
    };
    const auto window = [&](const char* function, const char* centre, const char* width) {
        Elements head = Head({});
        head.Add(0x00281050, "DS", centre).Add(0x00281051, "DS", width).Add(0x00281056, "CS", function);
        const std::string told = Info(with(head));
        const std::size_t at = told.find("window:") + 14;
        return told.substr(at, told.find('\n', at) - at);
    };
    EXPECT_EQ(window("LINEAR", "100", "50"), "75:124");
    EXPECT_EQ(window("LINEAR", "100\\7", "1\\50"), "99.5:100.5");
    EXPECT_EQ(window("LINEAR_EXACT", "100", "50"), "75:125");
    EXPECT_EQ(window("SIGMOID", "100", "50"), "75:125");
    EXPECT_EQ(window("LINEAR", "100", "0"), "none");
    const Elements table = Elements()
                               .Add(0x00283002, "US", Elements::Packed<std::uint16_t>({300, 200, 16}))
                               .Add(0x00283006, "OW", std::string(600, '\0'));
    EXPECT_NE(Info(with(Head({}).Sequence(0x00283010, {table}))).find("window:       200:499\n"),
              std::string::npos);
}

TEST_F(DicomTest, ReplacesValuesByTheFilesTable) {
    const std::vector<int> cells = Any(kWidth * kHeight, -200, 200);
    const std::vector<int> table = Any(150, 0, 65535);
    const Elements item = Elements()
                              .Add(0x00283002, "SS", Elements::Packed<std::uint16_t>({150, -70, 16}))
                              .Add(0x00283006, "OW", Elements::Packed<std::uint16_t>(table));
    Elements file = Head({16, 16, 15, true});
    file.Sequence(0x00283000, {item}).Add(0x7FE00010, "OW", Elements::Packed<std::uint16_t>(cells));
    std::vector<double> expected;
    for (const int cell : cells) expected.push_back(table[std::clamp(cell + 70, 0, 149)]);
    EXPECT_EQ(Values(file.File()), expected);
}

TEST_F(DicomTest, ReadsFloatingPointPixels) {
    const std::vector<int> numbers = Any(kWidth * kHeight, -1000000, 1000000);
    const std::vector<double> expected(numbers.begin(), numbers.end());
    EXPECT_EQ(Values(Head({32}).Add(0x7FE00008, "OF", Elements::Packed<float>(numbers)).File()), expected);
    EXPECT_EQ(Values(Head({64}).Add(0x7FE00009, "OD", Elements::Packed<double>(numbers)).File()), expected);
}

TEST_F(DicomTest, FindsTheFragmentsOfEachFrame) {
    const std::string kRuns = "1.2.840.10008.1.2.5";
    std::vector<std::string> fragments;
    std::vector<std::vector<double>> frames;
    std::vector<int> starts = {0};
    for (int k = 0; k < 3; ++k) {
        const std::vector<int> cells = Any(kWidth * kHeight, 0, 255);
        frames.emplace_back(cells.begin(), cells.end());
        std::vector<int> header(16);
        header[0] = 1, header[1] = 64;
        fragments.push_back(Elements::Packed<std::uint32_t>(header) +
                            static_cast<char>(kWidth * kHeight - 1) + Elements::Packed<std::uint8_t>(cells) +
                            '\0');
        starts.push_back(starts.back() + static_cast<int>(fragments.back().size()) + 8);
    }
    starts.pop_back();
    const Stored stored{8, 8, 7, false, "MONOCHROME2", 3};
    const std::string table = Elements::Packed<std::uint32_t>(starts);
    for (const std::string& basic : {std::string(), table}) {
        const std::string file = Head(stored).Fragments(basic, fragments).File(kRuns);
        for (const int k : {2, 0, 1}) EXPECT_EQ(Values(file, k), frames[k]) << k;
    }
    fragments.pop_back();
    EXPECT_NE(Info(Head(stored).Fragments("", fragments).File(kRuns)).find("holds 2 of 3 frames"),
              std::string::npos);
}

TEST_F(DicomTest, RefusesWithAReason) {
    const auto bytes = std::string(kWidth * kHeight * 2, '\0');
    const auto refused = [&](const Stored& stored, const std::string& syntax) {
        return Info(Head(stored).Add(0x7FE00010, "OW", bytes).File(syntax));
    };
    const std::string kPlain = "1.2.840.10008.1.2.1";
    const std::pair<std::string, const char*> cases[] = {
        {refused({}, "1.2.840.10008.1.2.4.201"), "High-Throughput JPEG 2000"},
        {refused({}, "1.2.840.10008.1.2.4.100"), "MPEG2"},
        {refused({}, "1.2.840.10008.1.2.4.90"), "no fragments"},
        {refused({12}, kPlain), "12 bits are not supported"},
        {refused({16, 16, 15, false, "HSV"}, kPlain), "HSV"},
        {refused({16, 16, 15, false, "MONOCHROME2", 2}, kPlain), "holds 1 of 2 frames"},
        {refused({32}, kPlain), "is cut short"},
        {refused({8, 8, 7, false, "PALETTE COLOR"}, kPlain), "table is not described"},
        {Info(Head({}).File()), "holds no picture"},
    };
    for (const auto& [told, reason] : cases) {
        EXPECT_NE(told.find(reason), std::string::npos) << reason << ": " << told;
        EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
    }
}

}  // namespace
