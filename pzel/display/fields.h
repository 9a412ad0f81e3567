// Weaving two field pictures into one frame.
#pragma once

#include "pzel/export.h"

class Comp;

/// Writes the rows of the flat image of `even` to rows 0, 2, 4, … of the current image of `frame`, those of
/// `odd` to rows 1, 3, 5, …. Element types must be equal; layouts may differ. Rows, columns and channels that
/// the frame lacks are left out.
PZEL_API void FieldsToFrame(Comp* even, Comp* odd, Comp* frame);
