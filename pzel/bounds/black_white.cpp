// Anchors the class in the library.
#include "pzel/bounds/black_white.h"

CompBlackWhite::~CompBlackWhite() = default;
