// Videos as hosts open them: frames by number, whatever was read before; what is left of a file.
#include <functional>

#include "apps/io/picture.h"
#include "program.h"

namespace {

using pzel_io::OpenOptions;
using pzel_io::OpenPicture;

class VideoTest : public AppTest {
  protected:
    static std::string Film(const std::string& ending) {
        return Sample("share/forensics-samples/original-files/movie2/movie-hello." + ending);
    }
    static std::size_t SumOf(pzel_io::PictureSource& source, std::uint32_t frame) {
        const pzel_io::Frame read = source.Read(frame, pzel_io::Layout::Interleaved);
        const auto* const bytes = reinterpret_cast<const char*>(read.image->data);
        return std::hash<std::string_view>()({bytes, pzel_io::FrameBytes(source.Info())});
    }
};

TEST_F(VideoTest, FindsTheSameFramesInAnyOrder) {
    constexpr std::uint32_t kFrames = 40;
    for (const char* ending : {"ogg", "mp4", "avi", "mpeg"}) {
        const auto film = OpenPicture(Film(ending)), again = OpenPicture(Film(ending));
        EXPECT_GT(film->Info().frames, 200u) << ending;
        EXPECT_GT(film->Info().frameRate, 20) << ending;
        std::vector<std::size_t> sums;
        for (std::uint32_t n = 0; n < kFrames; ++n) sums.push_back(SumOf(*film, n));
        // The last one first: nothing has been decoded before it.
        for (std::uint32_t n = kFrames - 1, i = 0; i < 12; n = std::uint32_t(random() % kFrames), ++i)
            EXPECT_EQ(SumOf(*again, n), sums[n]) << ending << " frame " << n;
        EXPECT_NE(SumOf(*film, 60), SumOf(*film, 120)) << ending;
    }
}

TEST_F(VideoTest, RefusesWhatIsCutShort) {
    for (const char* ending : {"ogg", "mp4", "avi"}) {
        const std::string bytes = ReadBytes(Film(ending));
        for (const std::size_t left : {bytes.size() - 3, bytes.size() / 2, std::size_t{900}}) {
            const std::string cut = WriteBytes(std::string("cut.") + ending, bytes.substr(0, left));
            EXPECT_THROW(OpenPicture(cut), pzel_io::FileError) << ending << " cut to " << left;
        }
    }
    // What is there of a video is shown on request, and told.
    OpenOptions partial;
    partial.partial = true;
    const std::string bytes = ReadBytes(Film("avi"));
    const auto cut = OpenPicture(WriteBytes("cut.avi", bytes.substr(0, bytes.size() / 2)), partial);
    const auto whole = OpenPicture(Film("avi"));
    EXPECT_LT(cut->Info().frames, whole->Info().frames);
    EXPECT_NE(testing::PrintToString(cut->Info().conversions).find("cut short"), std::string::npos);
    EXPECT_EQ(SumOf(*cut, 20), SumOf(*whole, 20));
}

}  // namespace
