// Conversion of three-channel images between red, green, blue and YUV, into floats. Here channels 0, 1 and 2
// are red, green and blue.
//
// Failures are shown in the host's message box (pzel/platform/message_box.h).
#pragma once

#include "pzel/image/image.h"

/// What Conversion does; other values convert nothing.
enum ConversionDirection : int {
    ConversionToYuv = 0,
    ConversionToRgb = 1,
};

/// Converts `src` into `dst`, a float image of the same size and layout. Float elements are read as they are,
/// codes 4 to 7 as unsigned 16-bit ones (deliberate), signed 8-bit ones as -128 … 127, bits as 0 or 1. With
/// `dst` null everything is checked and nothing is converted.
/// @return 0; or 1 after a message, for other than 3 channels, for unsigned 8-bit elements and unknown types
PZEL_API int Conversion(Image* dst, Image* src, int direction);
/// Converts a float image in place. The elements are walked plane by plane whatever the layout (deliberate).
/// Elements of other sizes than a float's stay as they are.
/// @return 0; or 1 after a message, for other than 3 channels
PZEL_API int Conversion(Image* image, int direction);
