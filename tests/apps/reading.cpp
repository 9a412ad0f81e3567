// Any order, any cut.
#include "reading.h"

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <utility>

#include "program.h"

using pzel_io::OpenOptions;
using pzel_io::OpenPicture;

std::string FrameOf(pzel_io::PictureSource& source, std::uint32_t frame) {
    const pzel_io::Frame read = source.Read(frame, pzel_io::Layout::Interleaved);
    const Image& image = *read.image;
    std::string bytes(reinterpret_cast<const char*>(image.data), pzel_io::FrameBytes(source.Info()));
    if (source.Info().model != SubColour || source.Info().channels != 3) return bytes;
    // Records are blue first.
    const std::size_t sample = pzel_io::ElementBytes(source.Info().type);
    for (std::size_t at = 0; at < bytes.size(); at += 3 * sample)
        std::swap_ranges(&bytes[at], &bytes[at + sample], &bytes[at + 2 * sample]);
    return bytes;
}

std::vector<std::string> FramesOf(const std::string& file, const OpenOptions& options) {
    const auto source = OpenPicture(file, options);
    std::vector<std::string> frames;
    for (std::uint32_t n = 0; n < source->Info().frames; ++n) frames.push_back(FrameOf(*source, n));
    return frames;
}

void ExpectSameInAnyOrder(const std::string& file, std::uint32_t mostFrames) {
    const auto played = OpenPicture(file);
    const std::uint32_t count = std::min(played->Info().frames, mostFrames);
    std::vector<std::size_t> sums;
    for (std::uint32_t n = 0; n < count; ++n) sums.push_back(std::hash<std::string>()(FrameOf(*played, n)));
    std::mt19937 random(7);
    // The last one first: nothing has been decoded before it.
    const auto source = OpenPicture(file);
    for (std::uint32_t n = count - 1, i = 0; i < 12; n = static_cast<std::uint32_t>(random() % count), ++i)
        EXPECT_EQ(std::hash<std::string>()(FrameOf(*source, n)), sums[n]) << file << " frame " << n;
}

void ExpectCutsRefused(const std::string& file, const std::string& cut, int cuts) {
    const std::string bytes = ReadBytes(file);
    const auto frames = OpenPicture(file)->Info().frames;
    std::mt19937 random(11);
    OpenOptions partial;
    partial.partial = true;
    for (int i = 0; i < cuts; ++i) {
        const std::size_t left = 1 + random() % (bytes.size() - 1);
        std::ofstream(cut, std::ios::binary) << bytes.substr(0, left);
        try {
            EXPECT_EQ(FramesOf(cut).size(), frames) << file << " cut to " << left;
        } catch (const pzel_io::FileError&) {
            try {
                const auto source = OpenPicture(cut, partial);
                EXPECT_NE(testing::PrintToString(source->Info().conversions).find("cut short"),
                          std::string::npos)
                    << file << " cut to " << left;
                for (std::uint32_t n = 0; n < source->Info().frames; ++n) FrameOf(*source, n);
            } catch (const pzel_io::FileError& error) {
                EXPECT_EQ(error.Reason().find("ended its reader"), std::string::npos) << error.what();
            }
        }
    }
}

std::string ReasonAgainst(const std::string& file, const OpenOptions& options) {
    try {
        FramesOf(file, options);
    } catch (const pzel_io::FileError& error) {
        return error.Reason();
    }
    return "";
}
