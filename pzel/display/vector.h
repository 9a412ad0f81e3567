// Vector fields as arrows: a two-channel image, one arrow for each cell of the bitmap.
//
// An arrow starts in the middle of its cell and takes 31 steps from one pixel to the next at most; one of two
// steps or more has a head of two points. It is drawn from a table of the arrows of one quadrant, which
// VectorInit makes; the other three are its mirror images.
#pragma once

#include "pzel/export.h"

class Comp;
struct Image;

/// The measures of the grid of vectors.
enum VectorGrid : int {
    VectorCell = 16,     ///< width and height of a cell, bitmap pixels
    VectorLongest = 31,  ///< the largest component of a vector, steps
    VectorNone = -128,   ///< as the first component: the cell has no vector and stays empty
};

/// Makes the tables that arrows are drawn from; without them nothing is drawn. A second call does nothing.
PZEL_API void VectorInit();
/// Frees the tables; only while no thread draws arrows. A second call does nothing.
PZEL_API void VectorTermination();

/// Draws the rectangle of `w` x `h` pixels from (x, y) of a vector field into the component's bitmap, one
/// arrow for each cell; (+, 0) points right, (0, +) down.
///
/// `image` has the vectors' x in its first channel and their y in its second, of any element type and layout;
/// one of fewer channels, without data, or null draws nothing. A cell shows the mean of the vectors at every
/// stepX-th column and every stepY-th row of the part of the image that it covers (pixels; the steps are read
/// as unsigned, 0 stands for 1); elements that are not finite do not count, and a cell without any stays
/// empty. A mean of zero is a dot.
///
/// The largest magnitude of the image's data bound becomes 31 steps, longer vectors are shortened to it; an
/// unset bound is computed first (ComputeVctBound). Where the bound has no finite magnitude above zero, the
/// longest of the means stands for it. `lut`, 512 bytes or null, bends the magnitude as it bends the values
/// of a picture: the entry at 511 times the part of the largest magnitude, from 0 (no length) to 255 (31
/// steps). The direction stays; so does a dot.
///
/// Without a bitmap one of `w` x `h` pixels of 1 bit is made. One that is there keeps its size and depth (1,
/// 8, 16 or 24 bits per pixel; others draw nothing); arrows are clipped to it. What was drawn before is
/// cleared to zeros, arrows have all bits set. Sends no event. Without VectorInit, or with an empty
/// rectangle, the component is left as it is.
PZEL_API void ComputeVector(Comp* comp, char stepX, char stepY, unsigned short w, unsigned short h,
                            Image* image, short x, short y, const unsigned char* lut);

/// Draws a grid of vectors over a bitmap of `width` x `height` pixels, clipped to it; what is between the
/// arrows stays. Row y of the bitmap is at `row0` - y * `rowBytes`: rows go upwards in memory, as in a
/// bottom-up bitmap whose last row in memory is `row0`. A negative `rowBytes` draws into a bitmap whose first
/// row is `row0`.
///
/// `vectors` holds a pair (dx, dy) of signed steps for each cell, row by row: (width + 15) / 16 cells in each
/// of (height + 15) / 16 rows; (+, 0) goes along a row, (0, +) to rows of higher number. Vectors of more than
/// 31 steps are shortened to 31, VectorNone draws nothing, (0, 0) draws a dot. Cells at the right and lower
/// border start their vector in the middle of what the bitmap has of them.
///
/// `colour` is written at 8 bits per pixel as its low byte, at 16 as its low 16 bits, at 24 as its low three
/// bytes (blue, green, red), all lowest byte first. At 1 bit the pixel's bit is set, whatever the colour.
/// Other depths draw nothing; so does a call without VectorInit.
PZEL_API void MapVectorToBmp(unsigned char* row0, int rowBytes, unsigned short width, unsigned short height,
                             int bitsPerPixel, const signed char* vectors, unsigned long colour);
