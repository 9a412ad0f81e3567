// What goes wrong: one clear line, the right status, nothing left behind.
#include <algorithm>

#include "program.h"

namespace {

class ErrorsTest : public AppTest {
  protected:
    // The run must fail over `input` with one line that names `named` and holds `reason`, and write nothing.
    void ExpectRefused(std::vector<std::string> arguments, const std::string& named,
                       const std::string& reason) {
        const std::vector<std::string> before = Files();
        const Outcome run = Render(arguments);
        EXPECT_EQ(run.status, 1) << named;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_NE(run.err.find(named + ": "), std::string::npos) << run.err;
        EXPECT_NE(run.err.find(reason), std::string::npos) << run.err;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(Files(), before);
    }
    void ExpectUnreadable(const std::string& input, const std::string& reason) {
        ExpectRefused({input, "-o", Path("out.png")}, input, reason);
    }
};

TEST_F(ErrorsTest, NamesFilesThatAreNoPictures) {
    ExpectUnreadable(Path("missing.png"), "No such file");
    ExpectUnreadable(folder, "holds no files");
    ExpectUnreadable(WriteBytes("empty.tif", ""), "is empty");
    ExpectUnreadable(WriteBytes("text.png", "Not a picture at all.\n"), "no known picture");
    ExpectUnreadable(DicomSample("rtplan.dcm"), "holds no picture");
    ExpectUnreadable(DicomSample("MR_truncated.dcm"), "cut short");
}

TEST_F(ErrorsTest, RefusesWhatNoRecordHolds) {
    WritePicture<std::uint16_t>(Path("wide.tif"), {Pixels<std::uint16_t>(40000, 2, 1)});
    ExpectUnreadable(Path("wide.tif"), "longer than a record can hold");
    WritePicture<std::uint8_t>(Path("tall.tif"), {Pixels<std::uint8_t>(1, 70000, 1)});
    ExpectUnreadable(Path("tall.tif"), "at most 65535");
    // A colour row may fit plane by plane, but then not into a bitmap; a part of it does.
    WritePicture<std::uint8_t>(Path("broad.tif"), {Pixels<std::uint8_t>(30000, 2, 3)});
    ExpectUnreadable(Path("broad.tif"), "--area");
    Picture(Path("broad.tif"), {"--area", "10000,0,25000,1"});
    WritePicture<float>(Path("pair.tif"), {Pixels<float>(4, 4, 2)});
    ExpectUnreadable(Path("pair.tif"), "cannot be shown");
}

TEST_F(ErrorsTest, RefusesOptionsThatDoNotFitTheFile) {
    const std::string colour = PictureSample("color.png");
    const std::string grey = PictureSample("moon.png");
    const std::string out = Path("out.png");
    ExpectRefused({grey, "-o", out, "--channel", "red"}, grey, "no red");
    ExpectRefused({colour, "-o", out, "--channel", "y"}, colour, "no y");
    ExpectRefused({grey, "-o", out, "--area", "0,0,512,10"}, grey, "beyond");
    ExpectRefused({grey, "-o", out, "--frame", "1"}, grey, "no frame 1");
    ExpectRefused({grey, "-o", out, "--levels", "file"}, grey, "no window");
    ExpectRefused({grey, "-o", out, "--levels", "1:2,3:4"}, grey, "2 levels");
    ExpectRefused({grey, "-o", out, "--ranges", "0,1-2"}, grey, "no frame 2");
    ExpectRefused({grey, "--pixel", "512,0"}, grey, "beyond");
    ExpectRefused({grey, "--pixel", "0-3,511-512"}, grey, "beyond");
    ExpectRefused({grey, "-o", out, "--channel", "hue"}, grey, "no intensity");
    ExpectRefused({grey, "-o", out, "--to-yuv"}, grey, "no colour");
    ExpectRefused({colour, "-o", out, "--channel", "hsi", "--levels", "0:256,full,full"}, colour, "0 to 255");
    ExpectRefused({colour, "-o", out, "--channel", "hsi", "--levels", "full,0:0.4,full"}, colour, "the same");
    WritePicture<std::uint32_t>(Path("longs.tif"), {Pixels<std::uint32_t>(4, 4, 3)});
    ExpectRefused({Path("longs.tif"), "-o", out, "--channel", "hsi"}, Path("longs.tif"), "not of uint32");
    WritePicture<std::uint8_t>(Path("long.tif"), {Pixels<std::uint8_t>(6000, 2, 3)});
    EXPECT_NE(Render({Path("long.tif"), "-o", out, "--to-yuv"}).out.find("kept planar"), std::string::npos);
    std::filesystem::remove(out);
    WritePicture<std::uint8_t>(Path("bits.tif"), {Shown(9, 2, 1)}, 1);
    ExpectRefused({Path("bits.tif"), "-o", out, "--bake"}, Path("bits.tif"), "nothing to bake");
    const std::string yuv = DicomSample("SC_ybr_full_422_uncompressed.dcm");
    ExpectRefused({yuv, "-o", out, "--bake", "--gamma", "2"}, yuv, "cannot be baked");
    ExpectRefused({grey, "-o", Path("no/out.png")}, Path("no/out.png"), "cannot be written");

    ExpectRefused({colour + "@mask=3", "-o", out}, colour, "of a colour, #RRGGBB");
    ExpectRefused({grey + "@mask=#ff0000", "-o", out}, grey, "no label of a colour");
    ExpectRefused({grey + "@frame=1", "-o", out}, grey, "no frame 1");
    ExpectRefused({grey, Path("longs.tif") + "@vectors", "-o", out}, Path("longs.tif"), "this has 3");
    ExpectRefused({Path("bits.tif") + "@threshold=0:1", "-o", out}, Path("bits.tif"), "no threshold");
    const std::string dose = DicomSample("rtdose.dcm");
    ExpectRefused({dose + "@boundary", "-o", out}, dose, "threshold=LOW:HIGH");
    ExpectRefused({grey, dose, "-o", out, "--frame", "15"}, dose, "no frame 15");
    ExpectRefused({grey, colour + "@+32700+0", "-o", out}, colour, "beyond column or row 32767");
    ExpectRefused({grey, "-o", out, "--zoom", "127"}, grey, "65024 x 65024");
    ExpectRefused({grey, grey + "@+3+0", "-o", out, "--area", "0,0,515,5"}, out, "515 x 512");
    ExpectRefused({"--fields", grey, colour, "-o", out}, colour, "does not fit the even field");
    WritePicture<std::uint8_t>(Path("row.png"), {Shown(5, 1, 1)});
    ExpectRefused({Path("row.png"), "-o", out, "--field", "odd"}, Path("row.png"), "no odd field");
    ExpectRefused({grey, "-o", out, "--depth", "16", "--zoom", "2"}, grey, "single picture");
    ExpectRefused({grey, grey, "-o", out, "--depth", "16"}, out, "single picture");
    ExpectRefused({Path("bits.tif"), "-o", out, "--depth", "16"}, Path("bits.tif"), "of bits");
    ExpectRefused({yuv, "-o", out, "--depth", "16"}, yuv, "y,u,v");
    std::filesystem::copy(grey, Path("own.png"));
    ExpectRefused({colour, Path("own.png") + "@0.5", "-o", Path("own.png")}, Path("own.png"), "an input");
    ExpectRefused({"--fields", grey, Path("own.png"), "-o", Path("own.png")}, Path("own.png"),
                  "input itself");
    ExpectRefused({Path("own.png"), "-o", Path("own.png")}, Path("own.png"), "input itself");
}

TEST_F(ErrorsTest, AnswersWrongOptionsWithUsage) {
    const std::string grey = PictureSample("moon.png");
    const std::string out = Path("out.png");
    std::vector<std::vector<std::string>> wrong = {{},
                                                   {grey},
                                                   {"-o", out},
                                                   {grey, "-o", Path("out.gif")},
                                                   {grey, "-o", "-", "--all"},
                                                   {grey, "-o", out, "--quality", "90"},
                                                   {grey, "-o", out, "--compression", "10"},
                                                   {grey, "-o", out, "--depth", "12"},
                                                   {grey, "-o", out, "--depth", "16", "--turn", "90"},
                                                   {grey, "-o", Path("out.jpg"), "--depth", "16"},
                                                   {grey, "-o", out, "--colour"},
                                                   {grey, "-o", out, "--levels", "9:1"},
                                                   {grey, "-o", out, "--levels", "most"},
                                                   {grey, "-o", out, "--levels", "50%"},
                                                   {grey, "-o", out, "--gamma", "0"},
                                                   {grey, "-o", out, "--area", "3,2,1,9"},
                                                   {grey, "-o", out, "--area", "1,2,3"},
                                                   {grey, "-o", out, "--frames", "5-2"},
                                                   {grey, "-o", out, "--frame", "1", "--all"},
                                                   {grey, "-o", out, "--channel", "x"},
                                                   {grey, "-o", out, "--ranges", "3-2"},
                                                   {grey, "-o", out, "--ranges", "1-2,,3"},
                                                   {grey, "-o", out, "--ranges", "0", "--all"},
                                                   {grey, "--pixel", "1"},
                                                   {grey, "--pixel", "3-2,1"},
                                                   {grey, "--pixel", "1,2-"},
                                                   {grey, "-o", out, "--to-yuv", "--bake"},
                                                   {grey, "-o", out, "--to-yuv", "--channel", "red"},
                                                   {grey, "-o", out, "--channel", "hsi", "--levels", "1%"},
                                                   {grey, "-o", out, "--channel", "hsi", "--levels", "0:9"},
                                                   {grey, "-o", out, "--zoom", "128"},
                                                   {grey, "-o", out, "--field", "third"},
                                                   {grey, "-o", out, "--fields", grey},
                                                   {grey + "@mask", "-o", out, "--invert"},
                                                   {grey + "@levels=1:2", "-o", out, "--levels", "1:2"},
                                                   {grey + "@hidden", "-o", out}};
    for (const char* options :
         {"1.5", "-0.1", "nan", "red,blue", "mask,boundary", "0.1,0.2", "+1", "+1+2,+1+2", "+1+", "+40000+0",
          "threshold=9:1", "threshold=5", "threshold=1:2,vectors", "levels=9:1", "levels=", "levels=1%,mask",
          "colour", "mask,"})
        wrong.push_back({grey + "@" + options, "-o", out});
    for (const auto& arguments : wrong) {
        const Outcome run = Render(arguments);
        EXPECT_EQ(run.status, 2) << testing::PrintToString(arguments) << run.err;
        EXPECT_NE(run.err.find("Usage:"), std::string::npos) << run.err;
    }
    EXPECT_EQ(Files(), std::vector<std::string>{});
    const Outcome help = Render({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("--manual"), std::string::npos);
    EXPECT_NE(Render({"--manual"}).out.find("EXAMPLES"), std::string::npos);
    EXPECT_NE(Render({grey, "-o", out, "--channel", "0"}).err.find("none of all, red"), std::string::npos);
}

}  // namespace
