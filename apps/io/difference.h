// How far two pictures lie apart, as a picture and in figures.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "apps/io/picture.h"

namespace pzel_io {

/// What the values of two frames differ by. Two that are not numbers are equal; where one of two is not, they
/// differ, and count in no other figure.
struct DifferenceFigures {
    std::uint64_t pixels = 0;
    std::uint64_t differing = 0;   ///< pixels with a value that differs
    std::uint64_t notNumbers = 0;  ///< values that are a number in one frame alone
    double largest = 0;
    int x = 0;  ///< where that is found first, from the top
    int y = 0;
    int channel = 0;      ///< as a user counts
    double mean = 0;      ///< of the differences, without their signs
    double rms = 0;       ///< the root of the mean of their squares
    double peak = 0;      ///< the largest difference possible, of 8 and 16 bits; else 0
    double Psnr() const;  ///< of the peak, in dB; infinite where nothing differs, NaN without a peak
};

/// Frames whose values are those of one picture minus those of another, without the sign: of the smallest
/// unsigned integers that hold them all, of floats where there are floats, and for y, u and v. A picture of
/// one frame goes with every frame of the other.
class DifferenceSource final : public PictureSource {
  public:
    /// @throws FileError naming the second where it does not fit the first: in size, channels or frames
    DifferenceSource(std::unique_ptr<PictureSource> first, std::unique_ptr<PictureSource> second);

    Frame Read(std::uint32_t number, Layout layout) override;
    void Expect(std::uint32_t number) override;

    /// Of the frame that was read last.
    const DifferenceFigures& Figures() const { return figures; }
    /// The picture that is subtracted.
    const std::filesystem::path& Subtracted() const { return second->Info().file; }

  private:
    std::unique_ptr<PictureSource> first;
    std::unique_ptr<PictureSource> second;
    double peak = 0;
    DifferenceFigures figures;
};

}  // namespace pzel_io
