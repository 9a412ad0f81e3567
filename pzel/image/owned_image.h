// An image record that is released at the end of its scope. Internal.
#pragma once

#include <memory>

#include "pzel/image/lifecycle.h"

namespace pzel {

struct ImageDeleter {
    void operator()(Image* image) const { DeleteImage(image); }
};
using OwnedImage = std::unique_ptr<Image, ImageDeleter>;

}  // namespace pzel
