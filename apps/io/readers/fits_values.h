// Values as FITS files store them, with the most significant byte first, as values of this machine.
#pragma once

#include "apps/io/readers/fits_units.h"

namespace pzel_io {

/// Converts `count` stored values of a unit into values of its type.
void ConvertFitsValues(const FitsUnit& unit, const unsigned char* stored, unsigned char* values,
                       std::size_t count);

}  // namespace pzel_io
