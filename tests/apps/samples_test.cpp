// Real files: every coding of one picture must show the same picture.
#include <cstdlib>

#include "program.h"

namespace {

using SamplesTest = AppTest;

TEST_F(SamplesTest, ShowsEveryCodingOfAScanAlike) {
    const Shown scan = Picture(DicomSample("MR_small.dcm"));
    ASSERT_EQ(scan.values.size(), 64u * 64u);
    for (const char* name : {"MR_small_RLE", "MR_small_bigendian", "MR_small_expb", "MR_small_implicit",
                             "MR_small_jp2klossless", "MR_small_jpeg_ls_lossless", "MR_small_padded"}) {
        EXPECT_EQ(Picture(DicomSample(std::string(name) + ".dcm")), scan) << name;
    }
    const Shown dose = Picture(DicomSample("rtdose.dcm"), {"--frame", "7"});
    EXPECT_EQ(Picture(DicomSample("rtdose_expb.dcm"), {"--frame", "7"}), dose);
    EXPECT_EQ(Picture(DicomSample("rtdose_rle.dcm"), {"--frame", "7"}), dose);
    EXPECT_EQ(Picture(DicomSample("rtdose_1frame.dcm")), Picture(DicomSample("rtdose.dcm")));
}

TEST_F(SamplesTest, ShowsTheColourBarsOfEveryCoding) {
    constexpr int kBars[10][3] = {{255, 0, 0},     {255, 128, 128}, {0, 255, 0}, {128, 255, 128},
                                  {0, 0, 255},     {128, 128, 255}, {0, 0, 0},   {64, 64, 64},
                                  {192, 192, 192}, {255, 255, 255}};
    for (const char* name :
         {"SC_rgb_rle", "SC_rgb_rle_2frame", "SC_rgb_rle_16bit", "SC_rgb_rle_32bit", "SC_rgb_gdcm_KY",
          "SC_rgb_jpeg_gdcm", "SC_rgb_jpeg_lossy_gdcm", "SC_rgb_jpeg_dcmtk", "SC_rgb_dcmtk_+eb+cr",
          "SC_rgb_dcmtk_+eb+cy+n1", "SC_rgb_dcmtk_+eb+cy+np", "SC_ybr_full_422_uncompressed"}) {
        const Shown bars = Picture(DicomSample(std::string(name) + ".dcm"));
        ASSERT_EQ(bars.values.size(), 100u * 100u * 3u) << name;
        for (int bar = 0; bar < 10; ++bar) {
            for (int c = 0; c < 3; ++c)
                EXPECT_NEAR(bars.At(50, 10 * bar + 5, c), kBars[bar][c], 5) << name << bar << c;
        }
    }
    // The red difference is greatest in red, and none in grey.
    const Shown v = Picture(DicomSample("SC_ybr_full_422_uncompressed.dcm"), {"--channel", "v"});
    EXPECT_GE(v.At(50, 5), 254);
    EXPECT_NEAR(v.At(50, 75), 128, 1);
    EXPECT_LT(v.At(50, 25), 40);
}

TEST_F(SamplesTest, OffersTheWindowOfTheFile) {
    const Outcome run = Render({DicomSample("CT_small.dcm"), "--info"});
    EXPECT_NE(run.out.find("conversion:   int16 times 1 plus -1024, as float\n"), std::string::npos)
        << run.out;
    EXPECT_NE(Render({DicomSample("MR_small.dcm"), "--info"}).out.find("window:       -200:1399\n"),
              std::string::npos);
}

TEST_F(SamplesTest, ShowsMasksWhiteOnBlack) {
    const Shown mask = Picture(DicomSample("liver_1frame.dcm"));
    EXPECT_EQ(mask.At(0, 0), 0);
    EXPECT_EQ(mask.At(130, 290), 255);  // inside the liver, which lies on the left
    EXPECT_EQ(mask.At(400, 290), 0);
    EXPECT_EQ(Picture(DicomSample("liver_expb_1frame.dcm")), mask);
}

}  // namespace
