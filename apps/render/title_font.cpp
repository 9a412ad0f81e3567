// A part of the program: letters by FreeType, from the font that Debian's desktops have, or another one.
#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

#include "titles.h"

namespace {

constexpr const char* kFont = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
constexpr const char* kFontVariable = "PZEL_FONT";
constexpr char32_t kEllipsis = 0x2026;
constexpr int kPixelParts = 64;  // the unit of the font library

struct LibraryCloser {
    void operator()(FT_Library library) const { FT_Done_FreeType(library); }
};
struct FaceCloser {
    void operator()(FT_Face face) const { FT_Done_Face(face); }
};

// Bytes that are no UTF-8 become question marks.
std::vector<char32_t> CodePoints(std::string_view text) {
    std::vector<char32_t> points;
    for (std::size_t i = 0; i < text.size();) {
        const auto head = static_cast<unsigned char>(text[i++]);
        const int more = head < 0x80         ? 0
                         : head >> 5 == 0x6  ? 1
                         : head >> 4 == 0xE  ? 2
                         : head >> 3 == 0x1E ? 3
                                             : -1;
        char32_t point = more == 0 ? head : more > 0 ? head & (0x3F >> more) : U'?';
        for (int k = 0; k < more; ++k) {
            if (i >= text.size() || (text[i] & 0xC0) != 0x80) {
                point = U'?';
                break;
            }
            point = point << 6 | static_cast<char32_t>(text[i++] & 0x3F);
        }
        points.push_back(point);
    }
    return points;
}

class Font {
  public:
    explicit Font(int pixelHeight) {
        FT_Library opened = nullptr;
        if (FT_Init_FreeType(&opened) != 0) return;
        library.reset(opened);
        const char* named = std::getenv(kFontVariable);
        FT_Face loaded = nullptr;
        if (FT_New_Face(opened, named ? named : kFont, 0, &loaded) != 0) return;
        face.reset(loaded);
        FT_Set_Pixel_Sizes(loaded, 0, static_cast<FT_UInt>(pixelHeight));
    }
    bool IsOpen() const { return face != nullptr; }

    int WidthOf(char32_t point) const {
        if (FT_Load_Char(face.get(), point, FT_LOAD_DEFAULT) != 0) return 0;
        return static_cast<int>(face->glyph->advance.x / kPixelParts);
    }
    // Draws a letter whose line starts at a column; the width of it.
    int Draw(char32_t point, int column, int base, unsigned char* pixels, int width, int height) const {
        if (FT_Load_Char(face.get(), point, FT_LOAD_RENDER) != 0) return 0;
        const FT_GlyphSlot glyph = face->glyph;
        const FT_Bitmap& letter = glyph->bitmap;
        for (int y = 0; y < static_cast<int>(letter.rows); ++y) {
            for (int x = 0; x < static_cast<int>(letter.width); ++x) {
                const int toX = column + glyph->bitmap_left + x, toY = base - glyph->bitmap_top + y;
                if (toX < 0 || toX >= width || toY < 0 || toY >= height) continue;
                unsigned char& pixel = pixels[static_cast<std::ptrdiff_t>(toY) * width + toX];
                pixel = std::max(pixel, letter.buffer[y * letter.pitch + x]);
            }
        }
        return static_cast<int>(glyph->advance.x / kPixelParts);
    }

  private:
    std::unique_ptr<FT_LibraryRec_, LibraryCloser> library;
    std::unique_ptr<FT_FaceRec_, FaceCloser> face;
};

}  // namespace

extern "C" [[gnu::visibility("default")]] const char* pzelDrawTitle(const char* text, unsigned char* pixels,
                                                                    int width, int height) {
    static const Font font(height * 2 / 3);
    if (!font.IsOpen())
        return "no font for titles: install fonts-dejavu-core, name one in PZEL_FONT, or leave titles out";
    std::vector<char32_t> line = CodePoints(text);
    const auto widthOf = [&] {
        int sum = 0;
        for (const char32_t point : line) sum += font.WidthOf(point);
        return sum;
    };
    int wide = widthOf();
    while (wide > width && line.size() > 1) {
        line.erase(line.begin(),
                   line.begin() + std::min<std::ptrdiff_t>(line[0] == kEllipsis ? 2 : 1, std::ssize(line)));
        line.insert(line.begin(), kEllipsis);
        if (line.size() == 1) break;
        wide = widthOf();
    }
    int column = std::max(0, (width - wide) / 2);
    for (const char32_t point : line)
        column += font.Draw(point, column, height * 3 / 4, pixels, width, height);
    return nullptr;
}
