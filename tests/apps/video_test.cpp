// Videos: frames by number, whatever was read before.
#include "program.h"
#include "reading.h"

namespace {

class VideoTest : public AppTest {
  protected:
    static std::string Film(const std::string& ending) {
        return Sample("share/forensics-samples/original-files/movie2/movie-hello." + ending);
    }
};

TEST_F(VideoTest, FindsTheSameFramesInAnyOrder) {
    for (const char* ending : {"ogg", "mp4", "avi", "mpeg"}) {
        ExpectSameInAnyOrder(Film(ending), 40);
        const auto film = pzel_io::OpenPicture(Film(ending));
        EXPECT_GT(film->Info().frames, 200u) << ending;
        EXPECT_GT(film->Info().frameRate, 20) << ending;
        EXPECT_NE(FrameOf(*film, 60), FrameOf(*film, 120)) << ending;
    }
}

TEST_F(VideoTest, RefusesWhatIsCutShort) {
    for (const char* ending : {"ogg", "mp4", "avi"}) {
        const std::string bytes = ReadBytes(Film(ending));
        for (const std::size_t left : {bytes.size() - 3, bytes.size() / 2, std::size_t{900}}) {
            const std::string cut = WriteBytes(std::string("cut.") + ending, bytes.substr(0, left));
            EXPECT_NE(ReasonAgainst(cut), "") << ending << " cut to " << left;
        }
    }
    // What is there of a video is shown on request, and told.
    pzel_io::OpenOptions partial;
    partial.partial = true;
    const std::string bytes = ReadBytes(Film("avi"));
    const auto cut = pzel_io::OpenPicture(WriteBytes("cut.avi", bytes.substr(0, bytes.size() / 2)), partial);
    EXPECT_LT(cut->Info().frames, pzel_io::OpenPicture(Film("avi"))->Info().frames);
    EXPECT_NE(testing::PrintToString(cut->Info().conversions).find("cut short"), std::string::npos);
    const auto whole = pzel_io::OpenPicture(Film("avi"));
    EXPECT_EQ(FrameOf(*cut, 20), FrameOf(*whole, 20));
}

}  // namespace
