// Files are opened twice: once for what they hold, when the stack is put in order, and once for their frames.
#include "apps/io/stack.h"

#include <glob.h>

#include <algorithm>
#include <cctype>
#include <string_view>
#include <utility>

#include "apps/io/display_copy.h"
#include "apps/io/file_kind.h"
#include "apps/io/reader_process.h"

namespace pzel_io {

namespace {

// Digits compare as numbers, everything else byte by byte.
bool ComesBefore(std::string_view a, std::string_view b) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto number = [&](std::string_view text) {
        const auto end = std::find_if_not(text.begin(), text.end(), isDigit);
        text = text.substr(0, static_cast<std::size_t>(end - text.begin()));
        while (text.size() > 1 && text[0] == '0') text.remove_prefix(1);
        return text;
    };
    while (!a.empty() && !b.empty()) {
        if (isDigit(a[0]) && isDigit(b[0])) {
            const std::string_view one = number(a), other = number(b);
            if (one.size() != other.size()) return one.size() < other.size();
            if (one != other) return one < other;
            while (!a.empty() && isDigit(a[0])) a.remove_prefix(1);
            while (!b.empty() && isDigit(b[0])) b.remove_prefix(1);
        } else {
            if (a[0] != b[0]) return static_cast<unsigned char>(a[0]) < static_cast<unsigned char>(b[0]);
            a.remove_prefix(1);
            b.remove_prefix(1);
        }
    }
    return a.size() < b.size();
}

void SortByName(std::vector<std::filesystem::path>& files) {
    std::stable_sort(files.begin(), files.end(),
                     [](const auto& a, const auto& b) { return ComesBefore(a.native(), b.native()); });
}

std::vector<std::filesystem::path> FilesOfFolder(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const bool hidden = entry->path().filename().native().starts_with('.');
        std::error_code ignored;
        if (!hidden && entry->is_regular_file(ignored)) files.push_back(entry->path());
    }
    if (error) throw FileError(folder, "cannot be listed: " + error.message());
    return files;
}

std::vector<std::filesystem::path> FilesOfPattern(const std::string& pattern) {
    glob_t found{};
    std::vector<std::filesystem::path> files;
    if (glob(pattern.c_str(), GLOB_NOSORT, nullptr, &found) == 0)
        files.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
    globfree(&found);
    return files;
}

struct Slice {
    PictureInfo info;
    std::uint32_t first = 0;  // frame of the stack
};

class Stack final : public PictureSource {
  public:
    Stack(const std::string& name, const std::vector<std::filesystem::path>& files, StackOrder order,
          Strangers strangers, const OpenOptions& how)
        : options(how) {
        int leftOut = 0;
        for (const std::filesystem::path& file : files) {
            if (strangers == Strangers::LeftOut && IsStranger(file)) {
                ++leftOut;
                continue;
            }
            slices.push_back({OpenPicture(file, options, &pool)->Info(), 0});
        }
        if (slices.empty()) throw FileError(name, "holds no pictures");
        const std::string sortedBy = Sort(order);
        info = slices[0].info;
        info.file = name;
        info.frames = 0;
        for (Slice& slice : slices) Add(slice);
        info.conversions.insert(info.conversions.begin(),
                                std::to_string(slices.size()) + " files as one stack" + sortedBy);
        if (leftOut > 0) Note(std::to_string(leftOut) + " files that are no pictures left out");
        if (mixed) {
            Note("files of different types, all as float");
            info.type = DataFloat;
        }
    }

    Frame Read(std::uint32_t number, Layout layout) override {
        if (number >= info.frames) Fail("has no frame " + std::to_string(number));
        const std::size_t slice = SliceOf(number);
        Open(slice);
        Frame frame = source->Read(number - slices[slice].first, layout);
        if (mixed && GetDataType(frame.image.get()) != DataFloat) frame.image = ToFloat(*frame.image);
        return frame;
    }

    void Expect(std::uint32_t number) override {
        if (number >= info.frames) return;
        const std::size_t slice = SliceOf(number);
        Open(slice);
        source->Expect(number - slices[slice].first);
    }

    std::filesystem::path FileOf(std::uint32_t number) const override {
        return slices[SliceOf(number)].info.file;
    }

  private:
    // A file of a folder that does not look like a picture. One that does, and is damaged, is not left out.
    static bool IsStranger(const std::filesystem::path& file) {
        try {
            SniffFile(file);
            return false;
        } catch (const FileError&) {
            return true;
        }
    }

    // What is to be added to the note about the files.
    std::string Sort(StackOrder order) {
        const auto all = [&](auto told) { return std::all_of(slices.begin(), slices.end(), told); };
        const auto tell = [&](std::optional<double> PictureInfo::*what, const char* name) {
            for (const Slice& slice : slices)
                if (!(slice.info.*what))
                    throw FileError(slice.info.file, std::string("tells no ") + name + " to be sorted by");
            std::stable_sort(slices.begin(), slices.end(), [&](const Slice& a, const Slice& b) {
                return *(a.info.*what) < *(b.info.*what);
            });
            return std::string(", by ") + name;
        };
        if (order == StackOrder::Auto && slices.size() > 1) {
            if (all([](const Slice& slice) { return slice.info.position.has_value(); }))
                order = StackOrder::Position;
            else if (all([](const Slice& slice) { return slice.info.instance.has_value(); }))
                order = StackOrder::Instance;
        }
        switch (order) {
            case StackOrder::Position: return tell(&PictureInfo::position, "position");
            case StackOrder::Instance: return tell(&PictureInfo::instance, "instance");
            case StackOrder::Given: return ", as listed";
            default: break;
        }
        std::stable_sort(slices.begin(), slices.end(), [](const Slice& a, const Slice& b) {
            return ComesBefore(a.info.file.native(), b.info.file.native());
        });
        return ", by name";
    }

    void Add(Slice& slice) {
        const PictureInfo& first = slices[0].info;
        const PictureInfo& added = slice.info;
        if (added.width != first.width || added.height != first.height || added.channels != first.channels ||
            added.model != first.model || added.lowIsWhite != first.lowIsWhite ||
            (added.type == DataBit) != (first.type == DataBit)) {
            throw FileError(added.file, "does not fit into a stack with " + first.file.string() + ": " +
                                            ShapeText(added) + " instead of " + ShapeText(first));
        }
        if (added.type != first.type) mixed = true;
        slice.first = info.frames;
        info.frames += added.frames;
        if (added.window && !info.window) info.window = added.window;
        for (const std::string& line : added.conversions) Note(line);
    }

    static std::string ShapeText(const PictureInfo& info) {
        return std::to_string(info.width) + " x " + std::to_string(info.height) + " " + TypeName(info.type) +
               " x " + std::to_string(info.channels) + " " + ModelName(info.model) +
               (info.lowIsWhite ? ", low values white" : "");
    }

    void Note(const std::string& line) {
        auto& notes = info.conversions;
        if (std::find(notes.begin(), notes.end(), line) == notes.end()) notes.push_back(line);
    }

    std::size_t SliceOf(std::uint32_t number) const {
        const auto behind =
            std::upper_bound(slices.begin(), slices.end(), number,
                             [](std::uint32_t n, const Slice& slice) { return n < slice.first; });
        return static_cast<std::size_t>(behind - slices.begin()) - 1;
    }

    void Open(std::size_t slice) {
        if (source && opened == slice) return;
        source.reset();  // gives its program back
        source = OpenPicture(slices[slice].info.file, options, &pool);
        opened = slice;
        const PictureInfo& now = source->Info();
        const PictureInfo& then = slices[slice].info;
        if (now.width != then.width || now.height != then.height || now.channels != then.channels ||
            now.type != then.type)
            throw FileError(now.file, "has changed since the stack was put in order");
    }

    OpenOptions options;
    ReaderPool pool;
    std::vector<Slice> slices;
    bool mixed = false;
    std::unique_ptr<PictureSource> source;  // of the slice that was read last
    std::size_t opened = 0;
};

class FrameAlone final : public PictureSource {
  public:
    FrameAlone(std::unique_ptr<PictureSource> all, std::uint32_t wanted)
        : frames(std::move(all)), number(wanted) {
        info = frames->Info();
        if (number >= info.frames) {
            Fail("has no frame " + std::to_string(number) + "; its frames are 0 to " +
                 std::to_string(info.frames - 1));
        }
        info.conversions.push_back("frame " + std::to_string(number) + " of " + std::to_string(info.frames));
        info.frames = 1;
    }

    Frame Read(std::uint32_t, Layout layout) override { return frames->Read(number, layout); }
    void WantRows(const Rows& rows) override { frames->WantRows(rows); }
    std::filesystem::path FileOf(std::uint32_t) const override { return frames->FileOf(number); }

  private:
    std::unique_ptr<PictureSource> frames;
    std::uint32_t number;
};

bool IsPattern(const std::string& argument) {
    return argument.find_first_of("*?[") != std::string::npos;
}

}  // namespace

bool IsManyFiles(const std::string& argument) {
    std::error_code error;
    if (std::filesystem::is_directory(argument, error)) return true;
    return !std::filesystem::exists(argument, error) && IsPattern(argument);
}

std::vector<std::filesystem::path> FilesOf(const std::string& argument) {
    std::error_code error;
    const bool folder = std::filesystem::is_directory(argument, error);
    if (!folder && !IsManyFiles(argument)) return {argument};
    auto files = folder ? FilesOfFolder(argument) : FilesOfPattern(argument);
    if (files.empty()) throw FileError(argument, folder ? "holds no files" : "fits no file");
    SortByName(files);
    return files;
}

std::unique_ptr<PictureSource> StackPictures(const std::string& name,
                                             const std::vector<std::filesystem::path>& files,
                                             StackOrder order, Strangers strangers,
                                             const OpenOptions& options) {
    return std::make_unique<Stack>(name, files, order, strangers, options);
}

std::unique_ptr<PictureSource> TakeFrame(std::unique_ptr<PictureSource> frames, std::uint32_t number) {
    return std::make_unique<FrameAlone>(std::move(frames), number);
}

}  // namespace pzel_io
