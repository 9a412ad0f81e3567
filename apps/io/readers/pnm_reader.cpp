// The portable maps: bits, greys and colours as text or as bytes (P1 to P6), floats (PF, Pf) and any number
// of channels (P7). Values stay as they are stored, whatever the largest of them may be.
#include <algorithm>
#include <bit>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fstream>

#include "apps/io/readers/reader.h"

namespace pzel_io {

namespace {

constexpr unsigned kByteMost = 255, kWordMost = 65535;
constexpr int kColours = 3;
constexpr unsigned kLongestSide = 1u << 20;  // sizes of pictures can be multiplied without care

// Characters of a file, in which comments count as the end of their line.
class Text {
  public:
    explicit Text(std::istream& from) : stream(from) {}

    int Next() {
        int character = stream.get();
        if (character != '#') return character;
        do {
            character = stream.get();
        } while (character != '\n' && character != EOF);
        return character;
    }
    // A word, and the one character behind it, if there is one. Empty at the end of the file.
    std::string Word() {
        constexpr std::size_t kLongest = 64;
        int character = Next();
        while (character != EOF && std::isspace(character)) character = Next();
        std::string word;
        for (; character != EOF && !std::isspace(character) && word.size() < kLongest; character = Next())
            word += static_cast<char>(character);
        return word;
    }
    // A single digit of 0 or 1, which others may follow at once; otherwise -1.
    int Bit() {
        int character = Next();
        while (character != EOF && std::isspace(character)) character = Next();
        return character == '0' || character == '1' ? character - '0' : -1;
    }
    std::optional<unsigned> Number() {
        const std::string word = Word();
        unsigned number = 0;
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
        if (word.empty() || error != std::errc() || end != word.data() + word.size()) return {};
        return number;
    }

  private:
    std::istream& stream;
};

// What stands in front of the values of a picture.
struct Header {
    char kind = 0;  // the character behind the P
    int width = 0;
    int height = 0;
    int samples = 1;  // of a pixel
    bool hasAlpha = false;
    unsigned most = 1;  // the largest value
    double scale = 1;   // of floats: negative for the low byte first
    std::streamoff start = 0;

    bool IsText() const { return kind >= '1' && kind <= '3'; }
    bool IsBits() const { return kind == '1' || kind == '4'; }
    bool IsFloat() const { return kind == 'F' || kind == 'f'; }
    std::size_t SampleBytes() const { return IsFloat() ? 4 : most > kByteMost ? 2 : 1; }
    std::size_t RowBytes() const {
        const auto columns = static_cast<std::size_t>(width);
        return kind == '4' ? (columns + 7) / 8 : columns * static_cast<std::size_t>(samples) * SampleBytes();
    }
    std::size_t Bytes() const { return RowBytes() * static_cast<std::size_t>(height); }
    bool Agrees(const Header& other) const {
        return kind == other.kind && width == other.width && height == other.height &&
               samples == other.samples && hasAlpha == other.hasAlpha && most == other.most &&
               scale == other.scale;
    }
};

class PnmReader final : public Reader {
  public:
    explicit PnmReader(const OpenRequest& request) : Reader(request), stream(info.file, std::ios::binary) {
        std::error_code unknown;
        const std::uintmax_t size = std::filesystem::file_size(info.file, unknown);
        fileBytes = unknown ? 0 : static_cast<std::streamoff>(size);
        ReadHeader(first);
        Describe();
        CheckSize();
        ListPictures();
    }

    FrameNotes ReadPixels(const FrameRequest& wanted, std::span<unsigned char> pixels) override {
        FrameNotes notes;
        stream.clear();
        if (options.partial) std::fill(pixels.begin(), pixels.end(), static_cast<unsigned char>(0));
        const std::streamoff start = starts[wanted.frame];
        const int whole = first.IsText() ? ReadText(start, pixels) : ReadRows(start, wanted.rows, pixels);
        if (whole <= wanted.rows.last) {
            const std::string reason = "is cut short: " + std::to_string(whole) + " of " +
                                       std::to_string(info.height) + " stored rows";
            if (!options.partial) Fail(reason);
            notes.notes.push_back(reason);
        } else if (first.IsText() && stream.eof()) {
            notes.notes.push_back("ends with a digit: its last value may be cut");
        }
        return notes;
    }

  private:
    // From where the stream is. The pictures behind the first may turn out to be none.
    void ReadHeader(Header& header) {
        Text text(stream);
        const bool isMap = stream.get() == 'P';
        header.kind = static_cast<char>(stream.get());
        if (!isMap || !stream) Fail("is cut short");
        header.kind == '7' ? ReadNamed(text, header) : ReadPlain(text, header);
        if (!stream || header.width < 1 || header.height < 1 || header.samples < 1 || header.most < 1 ||
            header.most > kWordMost || header.scale == 0)
            Fail("is cut short or damaged: its head makes no sense");
        header.start = stream.tellg();
    }

    void ReadPlain(Text& text, Header& header) {
        header.width = Side(text.Number());
        header.height = Side(text.Number());
        if (header.IsFloat()) {
            header.scale = std::strtod(text.Word().c_str(), nullptr);
        } else if (!header.IsBits()) {
            header.most = text.Number().value_or(0);
        }
        if (header.kind == '3' || header.kind == '6' || header.kind == 'F') header.samples = kColours;
    }

    void ReadNamed(Text& text, Header& header) {
        for (std::string name = text.Word(); name != "ENDHDR"; name = text.Word()) {
            if (name == "WIDTH") {
                header.width = Side(text.Number());
            } else if (name == "HEIGHT") {
                header.height = Side(text.Number());
            } else if (name == "DEPTH") {
                header.samples = Side(text.Number());
            } else if (name == "MAXVAL") {
                header.most = text.Number().value_or(0);
            } else if (name == "TUPLTYPE") {
                header.hasAlpha = text.Word().ends_with("_ALPHA");
            } else {
                Fail("is cut short or damaged: its head makes no sense");
            }
        }
    }

    static int Side(std::optional<unsigned> number) {
        return static_cast<int>(std::min(number.value_or(0), kLongestSide));
    }

    void Describe() {
        info.width = first.width;
        info.height = first.height;
        const bool isPair = options.purpose == Purpose::Vectors && first.samples == 2;
        const bool leavesAlpha = first.hasAlpha && first.samples > 1 && !isPair;
        const int rest = first.samples - (leavesAlpha ? 1 : 0);
        info.channels = std::min(rest, kColours);
        info.model = info.channels == kColours ? SubColour : SubGrey;
        if (leavesAlpha) Note("alpha left out");
        if (rest > kColours) Note("the first 3 of " + std::to_string(rest) + " channels");
        if (first.IsBits()) {
            info.type = DataBit;
            info.lowIsWhite = true;
            Note("stored values kept, low values are white");
        } else if (first.IsFloat()) {
            info.type = DataFloat;
            if (std::abs(first.scale) != 1)
                Note("its scale of " + NumberText(std::abs(first.scale)) + " is not applied");
        } else {
            info.type = first.most > kByteMost ? DataUInt16 : DataUInt8;
            if (first.most != kByteMost && first.most != kWordMost)
                info.window = Window{0, static_cast<double>(first.most)};
        }
    }

    // Pictures of bytes may follow one another. `page` counts all of them.
    void ListPictures() {
        int pages = 0, others = 0;
        const auto take = [&](const Header& header) {
            const bool isWanted = !options.page || *options.page == pages;
            if (isWanted && header.Agrees(first)) {
                starts.push_back(header.start);
            } else if (isWanted) {
                ++others;
            }
            ++pages;
        };
        Header header = first;
        take(header);
        while (!first.IsText()) {
            const std::streamoff end = header.start + static_cast<std::streamoff>(header.Bytes());
            if (end > fileBytes && !options.partial) Fail("is cut short");
            if (end >= fileBytes) break;
            stream.clear();
            stream.seekg(end);
            if ((stream >> std::ws).eof()) break;
            if (stream.peek() != 'P') {
                Note(std::to_string(fileBytes - end) + " bytes behind the last picture left out");
                break;
            }
            header = Header();
            ReadHeader(header);
            // The page that is wanted is what the file holds.
            if (options.page && *options.page == pages) {
                info.conversions.clear();
                info.window.reset();
                info.lowIsWhite = false;
                first = header;
                Describe();
                CheckSize();
            }
            take(header);
        }
        if (options.page && starts.empty())
            Fail("has no page " + std::to_string(*options.page) + "; its pages are 0 to " +
                 std::to_string(pages - 1));
        if (first.IsText()) CheckHeld(1);
        if (others > 0) Note(std::to_string(others) + " pictures of other size or type left out");
        info.frames = static_cast<std::uint32_t>(starts.size());
    }

    // Rows of bytes; floats start with the lowest row. The row up to which they are there, as stored.
    int ReadRows(std::streamoff start, const Rows& wanted, std::span<unsigned char> pixels) {
        const std::size_t rowBytes = first.RowBytes();
        const std::size_t shownBytes = FrameBytes(info) / static_cast<std::size_t>(info.height);
        std::vector<unsigned char> row(rowBytes);
        for (int i = wanted.first; i <= wanted.last; ++i) {
            const int y = first.IsFloat() ? wanted.last - (i - wanted.first) : i;
            const int stored = first.IsFloat() ? info.height - 1 - y : y;
            unsigned char* const to = pixels.data() + static_cast<std::size_t>(y) * shownBytes;
            if (i == wanted.first) stream.seekg(start + static_cast<std::streamoff>(rowBytes) * stored);
            stream.read(reinterpret_cast<char*>(row.data()), static_cast<std::streamsize>(rowBytes));
            if (!stream) return stored;
            Arrange(row, to);
        }
        return info.height;
    }

    // A stored row of bytes to one of elements.
    void Arrange(std::vector<unsigned char>& row, unsigned char* to) const {
        const std::size_t bytes = first.SampleBytes();
        const bool isLowFirst = first.IsFloat() && first.scale < 0;
        static_assert(std::endian::native == std::endian::little);
        if (!isLowFirst && bytes > 1)
            for (auto value = row.begin(); value != row.end(); value += static_cast<std::ptrdiff_t>(bytes))
                std::reverse(value, value + static_cast<std::ptrdiff_t>(bytes));
        const std::size_t kept = static_cast<std::size_t>(info.channels) * bytes;
        const std::size_t pixel = static_cast<std::size_t>(first.samples) * bytes;
        if (kept == pixel || info.type == DataBit) {
            std::memcpy(to, row.data(), row.size());
            return;
        }
        for (std::size_t from = 0; from < row.size(); from += pixel, to += kept)
            std::memcpy(to, row.data() + from, kept);
    }

    // Values as text, all rows. The row up to which they are there.
    int ReadText(std::streamoff start, std::span<unsigned char> pixels) {
        stream.seekg(start);
        Text text(stream);
        std::fill(pixels.begin(), pixels.end(), static_cast<unsigned char>(0));
        const std::size_t rowBytes = FrameBytes(info) / static_cast<std::size_t>(info.height);
        const int count = info.width * info.channels;
        for (int y = 0; y < info.height; ++y) {
            unsigned char* const row = pixels.data() + static_cast<std::size_t>(y) * rowBytes;
            for (int i = 0; i < count; ++i) {
                if (info.type == DataBit) {
                    const int bit = text.Bit();
                    if (bit < 0) return y;
                    row[i / 8] = static_cast<unsigned char>(row[i / 8] | bit << (7 - i % 8));
                    continue;
                }
                const std::optional<unsigned> value = text.Number();
                if (!value || *value > first.most) return y;
                if (info.type == DataUInt8) {
                    row[i] = static_cast<unsigned char>(*value);
                } else {
                    const auto word = static_cast<std::uint16_t>(*value);
                    std::memcpy(row + 2 * static_cast<std::size_t>(i), &word, sizeof word);
                }
            }
        }
        return info.height;
    }

    std::ifstream stream;
    std::streamoff fileBytes = 0;
    Header first;                        // the one that the frames agree with
    std::vector<std::streamoff> starts;  // of the frames' values
};

}  // namespace

std::unique_ptr<Reader> OpenReader(const OpenRequest& request) {
    return std::make_unique<PnmReader>(request);
}

}  // namespace pzel_io
