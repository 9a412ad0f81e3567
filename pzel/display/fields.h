// Weaving two field pictures into one frame, and taking a frame apart again.
#pragma once

#include "pzel/export.h"

class Comp;
struct Image;
struct SRect;

/// Writes the rows of the flat image of `even` to rows 0, 2, 4, … of the current image of `frame`, those of
/// `odd` to rows 1, 3, 5, …. Element types must be equal; layouts may differ. Rows, columns and channels that
/// the frame lacks are left out. Where memory is refused it throws, and the rows that were written stay.
PZEL_API void FieldsToFrame(Comp* even, Comp* odd, Comp* frame);

/// Heights of the fields that SplitImage makes.
enum SplitMode : char {
    SplitHalfHeight = 0,  ///< each field has its own rows
    SplitFullHeight = 1,  ///< each row comes twice; the last one as often as the height asks for
};

/// Takes the component's flat image apart: rows 0, 2, 4, … become `even`, rows 1, 3, 5, … become `odd`. Where
/// `area` is not null only its part inside the image is taken, and rows count from its top. At half height
/// `even` has one row more than `odd` where the number of rows is odd; of a single row `odd` has none in
/// either mode.
///
/// Each field becomes an image with pixels of its own and with the element type, layout, image type, bounds
/// and status of the flat image; what it held before is released, its position tags stay. It may be the flat
/// image itself. A null field is left out. Without a flat image, an empty area or with another `mode` nothing
/// happens. Sends no event.
PZEL_API void SplitImage(Comp* comp, Image* even, Image* odd, char mode, SRect* area);
