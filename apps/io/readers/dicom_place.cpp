#include "apps/io/readers/dicom_place.h"

#include <dcmtk/dcmdata/dcdeftag.h>

#include <cmath>
#include <numeric>

namespace pzel_io {

namespace {

// The place along the normal of its rows and columns, so that a stack's slices can be sorted.
std::optional<double> SlicePosition(const DicomFile& file) {
    const std::vector<double> corner =
        file.Group(0, DCM_PlanePositionSequence).Numbers(DCM_ImagePositionPatient);
    const std::vector<double> ways =
        file.Group(0, DCM_PlaneOrientationSequence).Numbers(DCM_ImageOrientationPatient);
    if (corner.size() < 3 || ways.size() < 6) return file.Top().Number(DCM_SliceLocation);
    const double normal[] = {ways[1] * ways[5] - ways[2] * ways[4], ways[2] * ways[3] - ways[0] * ways[5],
                             ways[0] * ways[4] - ways[1] * ways[3]};
    return std::inner_product(std::begin(normal), std::end(normal), corner.begin(), 0.0);
}

double FrameRate(const DicomItem& top) {
    for (const DcmTagKey& tag : {DCM_RecommendedDisplayFrameRate, DCM_CineRate}) {
        const double rate = top.Number(tag).value_or(0);
        if (rate > 0) return rate;
    }
    constexpr double kMilliseconds = 1000;
    if (const double time = top.Number(DCM_FrameTime).value_or(0); time > 0) return kMilliseconds / time;
    // The first of these times is that of nothing before the first frame.
    const std::vector<double> times = top.Numbers(DCM_FrameTimeVector);
    const double sum = std::accumulate(times.begin(), times.end(), 0.0);
    return times.size() > 1 && sum > 0 ? kMilliseconds * static_cast<double>(times.size() - 1) / sum : 0;
}

// Width / height.
double PixelAspect(const DicomFile& file) {
    const DicomItem top = file.Top();
    const std::vector<double> found[] = {
        top.Numbers(DCM_PixelAspectRatio),
        file.Group(0, DCM_PixelMeasuresSequence).Numbers(DCM_PixelSpacing),
        top.Numbers(DCM_ImagerPixelSpacing),
        top.Numbers(DCM_NominalScannedPixelSpacing),
    };
    for (const std::vector<double>& heightAndWidth : found) {
        if (heightAndWidth.size() < 2 || heightAndWidth[0] <= 0 || heightAndWidth[1] <= 0) continue;
        return heightAndWidth[1] / heightAndWidth[0];
    }
    return 1;
}

void NoteOverlays(const DicomItem& top, int bitsStored, std::vector<std::string>& notes) {
    constexpr Uint16 kFirst = 0x6000, kLast = 0x601E, kPosition = 0x0102, kData = 0x3000;
    int planes = 0;
    int inPixels = 0;
    for (Uint16 group = kFirst; group <= kLast; group = static_cast<Uint16>(group + 2)) {
        if (top.Has({group, kData})) {
            ++planes;
        } else if (const auto position = top.Words({group, kPosition});
                   !position.empty() && position[0] >= bitsStored) {
            ++inPixels;
        }
    }
    const auto note = [&](int count, const char* where) {
        if (count == 0) return;
        notes.push_back(std::to_string(count) + (count == 1 ? " overlay" : " overlays") + where +
                        " not shown");
    };
    note(planes, "");
    note(inPixels, " in the spare bits of its pixels");
}

}  // namespace

void PlaceDicomPicture(const DicomFile& file, const DicomFacts& facts, PictureInfo& info) {
    constexpr double kAlike = 1e-4;
    const DicomItem top = file.Top();
    info.position = SlicePosition(file);
    info.instance = top.Number(DCM_InstanceNumber);
    info.frameRate = FrameRate(top);
    info.pixelAspect = PixelAspect(file);
    if (std::abs(info.pixelAspect - 1) < kAlike) info.pixelAspect = 1;
    if (info.pixelAspect != 1) {
        info.conversions.push_back("pixels are " + NumberText(info.pixelAspect) +
                                   " times as wide as high: shown square");
    }
    NoteOverlays(top, facts.bitsStored, info.conversions);
}

}  // namespace pzel_io
