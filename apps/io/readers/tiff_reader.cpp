// TIFF files: stored values of every kind of sample. Frames are the pages that agree with the first one.
#include <charconv>

#include "apps/io/readers/orientation.h"
#include "apps/io/readers/reader.h"
#include "apps/io/readers/tiff_pixels.h"

namespace pzel_io {

namespace {

// Where a frame is: its page, and how far its samples lie behind those of the page.
struct FramePlace {
    toff_t page;
    std::uint64_t shift;
};

class TiffReader final : public Reader {
  public:
    explicit TiffReader(const OpenRequest& request)
        : Reader(request),
          damage(options.partial ? TiffDamage::LeaveBlack : TiffDamage::Throw),
          file(Opened(request.file)) {
        if (!file.IsOpen())
            Fail("cannot be opened as tiff: cut short or damaged" + Bracketed(TiffReports::Damage()));
        ListPages();
        if (options.page && frames.empty())
            Fail("has no page " + std::to_string(*options.page) + "; its pages are 0 to " +
                 std::to_string(pages - 1));
        AddSlices();
        info.frames = static_cast<std::uint32_t>(frames.size());
        CheckSize();
        CheckHeld(MostFromTiffByte(page));
        orientation.Follow(page.orientation, options, info);
    }

    FrameNotes ReadPixels(const FrameRequest& wanted, std::span<unsigned char> pixels) override {
        const FramePlace& place = frames[wanted.frame];
        if (!TIFFSetSubDirectory(file.tiff, place.page)) Fail("its page cannot be read again");
        page = Described();
        FrameNotes notes;
        orientation.Read(info, wanted.rows, pixels, [&](const Rows& rows, std::span<unsigned char> frame) {
            TiffPixels source(file, page, place.shift, damage);
            try {
                source.Read(rows, frame);
            } catch (const std::runtime_error& error) {
                Fail((frames.size() > 1 ? "frame " + std::to_string(wanted.frame) + " " : "") + error.what());
            }
            if (!source.Missing().empty()) notes.notes.push_back(source.Missing());
        });
        return notes;
    }

  private:
    static const std::filesystem::path& Opened(const std::filesystem::path& path) {
        TiffReports::Listen();
        return path;
    }

    TiffPage Described() const {
        try {
            return DescribeTiffPage(file.tiff, options);
        } catch (const std::runtime_error& error) {
            Fail(error.what());
        }
    }

    // Goes through all pages; `page` becomes the first that is a picture of its own, or the wanted one.
    void ListPages() {
        int others = 0, sides = 0;
        toff_t spare = 0;  // the first page that is only at the side of another one
        for (bool more = true; more; ++pages) {
            TiffReports::Clear();
            if (!options.page || *options.page == pages) {
                ListPage(others, sides, spare);
                if (options.page) return;
            }
            if (TIFFLastDirectory(file.tiff)) {
                more = false;
            } else if (TiffReports::Clear(); !TIFFReadDirectory(file.tiff)) {
                const std::string reason = "is cut short or damaged: its pages break off behind page " +
                                           std::to_string(pages) + Bracketed(TiffReports::Damage());
                if (!options.partial) Fail(reason);
                broken = reason;
                more = false;
            }
        }
        if (frames.empty() && !options.page) TakeSpare(spare, sides);
        if (others > 0) Note(Pages(others) + " of other size or type left out");
        if (sides > 0) Note(Pages(sides) + " with smaller copies or masks left out");
        if (!broken.empty()) Note(broken);
    }

    void ListPage(int& others, int& sides, toff_t& spare) {
        const toff_t place = TIFFCurrentDirOffset(file.tiff);
        if (frames.empty()) {
            TiffPage first = Described();
            if (first.isSide && !options.page) {
                if (sides++ == 0) spare = place;
                return;
            }
            Take(std::move(first), place);
            return;
        }
        try {
            const TiffPage next = DescribeTiffPage(file.tiff, options);
            if (next.isSide) {
                ++sides;
            } else if (Agree(next, page)) {
                CheckEnd(next);
                frames.push_back({place, 0});
            } else {
                ++others;
            }
        } catch (const FileError&) {
            throw;
        } catch (const std::runtime_error&) {
            ++others;
        }
    }

    void Take(TiffPage taken, toff_t place) {
        page = std::move(taken);
        const PictureInfo known = info;
        info = page.shown;
        info.file = known.file;
        info.format = known.format;
        CheckEnd(page);
        frames.push_back({place, 0});
    }

    // A file with nothing but smaller copies shows the first.
    void TakeSpare(toff_t spare, int& sides) {
        if (!TIFFSetSubDirectory(file.tiff, spare)) Fail("holds no picture");
        Take(Described(), spare);
        --sides;
    }

    void CheckEnd(const TiffPage& described) const {
        if (options.partial) return;
        const std::uint64_t end = TiffPixels(file, described, 0, damage).End();
        if (end == 0) Fail("is cut short or damaged: page " + std::to_string(pages) + " lacks data");
        if (end > file.bytes)
            Fail("is cut short: page " + std::to_string(pages) + " needs " + std::to_string(end) +
                 " bytes, the file has " + std::to_string(file.bytes));
    }

    // Large stacks may have one page that tells how many pictures follow one another behind its own.
    void AddSlices() {
        if (frames.size() != 1 || options.page || pages != 1) return;
        const std::uint64_t count = SlicesTold();
        if (count < 2) return;
        const TiffPixels first(file, page, 0, damage);
        if (!first.IsOneBlock()) return;
        const std::uint64_t start = TIFFGetStrileOffset(file.tiff, 0), step = first.RawBytes();
        std::uint64_t there = (file.bytes - start) / step;
        if (there < count && !options.partial)
            Fail("is cut short: it tells of " + std::to_string(count) + " pictures and holds " +
                 std::to_string(there));
        if (there < count)
            Note("is cut short: " + std::to_string(there) + " of " + std::to_string(count) + " pictures");
        for (std::uint64_t i = 1; i < std::min(there, count); ++i)
            frames.push_back({frames[0].page, i * step});
    }

    std::uint64_t SlicesTold() const {
        char* text = nullptr;
        if (TIFFGetField(file.tiff, TIFFTAG_IMAGEDESCRIPTION, &text) != 1 || !text) return 0;
        const std::string_view description = text;
        constexpr std::string_view kProgram = "ImageJ=", kCount = "\nimages=", kShape = "\"shape\": [";
        if (const std::size_t shape = description.find(kShape);
            description.starts_with('{') && shape != std::string_view::npos) {
            std::uint64_t values = 1;
            for (std::string_view rest = description.substr(shape + kShape.size() - 1);
                 !rest.empty() && rest[0] != ']';
                 rest.remove_prefix(std::min(rest.find_first_of(",]", 1), rest.size()))) {
                const std::size_t digits = rest.find_first_not_of("[, ");
                if (digits != std::string_view::npos) values *= NumberAt(rest.substr(digits));
            }
            return values * ElementBytes(page.shown.type) /
                   std::max<std::uint64_t>(FrameBytes(page.shown), 1);
        }
        const std::size_t at = description.find(kCount);
        if (!description.starts_with(kProgram) || at == std::string_view::npos) return 0;
        return NumberAt(description.substr(at + kCount.size()));
    }

    static std::uint64_t NumberAt(std::string_view text) {
        std::uint64_t number = 0;
        std::from_chars(text.data(), text.data() + text.size(), number);
        return number;
    }

    static std::string Pages(int count) { return std::to_string(count) + (count == 1 ? " page" : " pages"); }
    static std::string Bracketed(const std::string& text) { return text.empty() ? "" : " (" + text + ")"; }

    TiffDamage damage;
    TiffFile file;
    TiffPage page;  // the one that the frames agree with, or that was read last
    std::vector<FramePlace> frames;
    int pages = 0;       // that were seen
    std::string broken;  // why there are no more
    Orientation orientation;
};

}  // namespace

std::unique_ptr<Reader> OpenReader(const OpenRequest& request) {
    return std::make_unique<TiffReader>(request);
}

}  // namespace pzel_io
