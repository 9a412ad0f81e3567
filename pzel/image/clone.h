// Deep copies of image records, for the copies of components.
#pragma once

#include "pzel/image/image.h"

namespace pzel {

/// Makes `dst` a copy of `src` that shares nothing: pixels, bound array, attachment and position tags. The
/// copy's pixels come from `operator new`. What `dst` held before is not released.
void CloneImage(Image* dst, const Image* src);

/// A copy of an attachment and its buffer; null for null. The caller owns it.
Attachment* CloneAttachment(const Attachment* src);

}  // namespace pzel
