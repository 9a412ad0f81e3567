// Components and movies for the rows.
#pragma once

#include <memory>
#include <opencv2/core.hpp>

#include "bench/pictures.h"
#include "pzel/pzel.h"

namespace bench {

using MoviePtr = std::shared_ptr<Movie>;
using CompPtr = std::shared_ptr<Comp>;

inline MoviePtr makeMovie() {
    return MoviePtr(new Movie, [](Movie* movie) { movie->Release(); });
}

/// A component with one image record without data.
inline CompPtr makeComp() {
    return CompPtr(AllocComp(1), [](Comp* comp) { comp->Release(); });
}

/// A component that shows a copy of a picture.
inline CompPtr makeComp(const Picture& picture) {
    CompPtr comp = makeComp();
    Image* const image = comp->images;
    CopyImageCharacteristics(image, picture.get());
    CopyImageData(picture.get(), image);
    SetCompMSType(comp.get(), GetImageType(picture.get()));
    return comp;
}

/// Adds a picture at (x, y); the component is the movie's.
inline Comp* addPicture(const MoviePtr& movie, const Picture& picture, int x, int y) {
    const CompPtr comp = makeComp(picture);
    comp->SetLocation(x, y);
    movie->AddChild(comp.get());
    return comp.get();
}

/// Adds a picture of bits at (x, y), set where `shown` is not 0; the component is the movie's.
inline Comp* addMask(const MoviePtr& movie, const cv::Mat& shown, int x, int y) {
    const Picture bits(NewImage(static_cast<unsigned short>(shown.cols),
                                static_cast<unsigned short>(shown.rows), kGrey, DataBit, true),
                       [](Image* image) { DeleteImage(image); });
    SetImageType(bits.get(), SubGrey);
    ClearImage(bits.get());
    for (int row = 0; row < shown.rows; ++row)
        for (int column = 0; column < shown.cols; ++column)
            if (shown.at<unsigned char>(row, column))
                bits->data[row * bits->rowBytes + column / 8] |=
                    static_cast<unsigned char>(0x80 >> column % 8);
    return addPicture(movie, bits, x, y);
}

}  // namespace bench
