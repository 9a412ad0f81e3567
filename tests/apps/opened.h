// Files as a host opens them, without a program around it: for wishes that no option of a program speaks of.
#pragma once

#include <fstream>

#include "apps/io/picture.h"
#include "program.h"

/// What a file holds, and the values of a frame as a user names them.
template <class T>
struct Opened {
    pzel_io::PictureInfo info;
    Pixels<T> pixels;
    std::vector<std::string> notes;  ///< of the frame
};

template <class T>
Opened<T> OpenFrame(const std::string& file, const pzel_io::OpenOptions& options = {},
                    std::uint32_t frame = 0, const pzel_io::Rows* rows = nullptr) {
    const auto source = pzel_io::OpenPicture(file, options);
    if (rows) source->WantRows(*rows);
    const pzel_io::Frame read = source->Read(frame, pzel_io::Layout::Interleaved);
    Opened<T> opened{source->Info(), {}, read.notes};
    const pzel_io::PictureInfo& info = opened.info;
    opened.pixels = Pixels<T>(info.width, info.height, info.channels);
    EXPECT_EQ(opened.pixels.values.size() * sizeof(T), FrameBytes(info)) << file;
    if (testing::Test::HasFailure()) return opened;
    const T* from = reinterpret_cast<const T*>(read.image->data);
    const bool turned = info.model == SubColour;  // blue first
    for (int y = 0; y < info.height; ++y)
        for (int x = 0; x < info.width; ++x)
            for (int c = 0; c < info.channels; ++c)
                opened.pixels.At(x, y, turned ? info.channels - 1 - c : c) = *from++;
    return opened;
}

/// Cuts a file at `cuts` places: each is refused, or opens as the whole one does; nothing else opens.
template <class T>
void ExpectCutsRefused(const std::string& file, const std::string& cut, int cuts) {
    const std::string bytes = ReadBytes(file);
    const Pixels<T> whole = OpenFrame<T>(file).pixels;
    int refused = 0;
    for (int i = 1; i <= cuts; ++i) {
        const std::size_t left =
            bytes.size() * static_cast<std::size_t>(i) / static_cast<std::size_t>(cuts + 1);
        std::ofstream(cut, std::ios::binary) << bytes.substr(0, left);
        try {
            EXPECT_EQ(OpenFrame<T>(cut).pixels, whole) << file << " up to " << left;
        } catch (const pzel_io::FileError&) {
            ++refused;
        }
    }
    EXPECT_GT(refused, cuts / 2) << file;
}
