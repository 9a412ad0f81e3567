// The door to the part that draws.
#include "titles.h"

#include <dlfcn.h>

#include <stdexcept>

#include "apps/io/program_parts.h"

namespace {

DrawTitleFunction Load() {
    const std::string part = pzel_io::FindPart("pzel-titles.so").string();
    void* const module = dlopen(part.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const found = module ? dlsym(module, kDrawTitleName) : nullptr;
    if (!found) throw std::runtime_error(std::string("titles cannot be drawn: ") + dlerror());
    return reinterpret_cast<DrawTitleFunction>(found);
}

}  // namespace

void DrawTitle(const std::string& text, unsigned char* pixels, int width, int height) {
    static const DrawTitleFunction draw = Load();
    if (const char* reason = draw(text.c_str(), pixels, width, height)) throw std::runtime_error(reason);
}
