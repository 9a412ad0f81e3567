// The sheet is black; a picture is copied by the library's own ways from depth to depth.
#include "montage.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "pzel/display/overlay.h"
#include "titles.h"

namespace {

constexpr int kGap = 4;         // pixels between cells and around them
constexpr int kTitleRows = 18;  // of a title
constexpr int kMostSide = 65535;
constexpr unsigned char kWhite = 255;

}  // namespace

Montage::Montage(const MontageOptions& wishes) : options(wishes) {}

bool Montage::IsFull() const {
    return cells.size() >= static_cast<std::size_t>(options.columns) * static_cast<std::size_t>(options.rows);
}

void Montage::Add(const ShownBitmap& picture, const std::string& title) {
    Cell cell{{}, picture, title};
    cell.bitmap.rowBytes = (picture.width * picture.bits + 7) / 8;
    const auto rowBytes = static_cast<std::size_t>(cell.bitmap.rowBytes);
    cell.pixels.resize(rowBytes * static_cast<std::size_t>(picture.height));
    for (int y = 0; y < picture.height; ++y)
        std::memcpy(cell.pixels.data() + rowBytes * static_cast<std::size_t>(y),
                    picture.pixels + static_cast<std::ptrdiff_t>(y) * picture.rowBytes, rowBytes);
    cells.push_back(std::move(cell));
}

const ShownBitmap& Montage::Sheet() {
    int width = 1, height = 1, bits = 8;
    for (const Cell& cell : cells) {
        width = std::max(width, cell.bitmap.width);
        height = std::max(height, cell.bitmap.height);
        bits = std::max(bits, cell.bitmap.bits);
    }
    const int titleRows = options.titles ? kTitleRows : 0;
    const auto count = static_cast<int>(cells.size());
    const int columns = std::min(options.columns, count);
    const int rows = (count + columns - 1) / columns;
    const auto side = [](int cell, int number) {
        return static_cast<std::int64_t>(cell + kGap) * number + kGap;
    };
    const std::int64_t sheetWidth = side(width, columns), sheetHeight = side(height + titleRows, rows);
    if (std::max(sheetWidth, sheetHeight) > kMostSide) {
        throw std::runtime_error("a sheet of " + std::to_string(sheetWidth) + " x " +
                                 std::to_string(sheetHeight) +
                                 " pixels is too large; --fit makes its pictures smaller");
    }
    sheet = {};
    sheet.width = static_cast<int>(sheetWidth);
    sheet.height = static_cast<int>(sheetHeight);
    sheet.bits = bits;
    sheet.rowBytes = sheet.width * bits / 8;
    pixels.assign(static_cast<std::size_t>(sheet.rowBytes) * static_cast<std::size_t>(sheet.height), 0);
    sheet.pixels = pixels.data();
    for (int i = 0; i < count; ++i) {
        const Cell& cell = cells[static_cast<std::size_t>(i)];
        const int left = kGap + i % columns * (width + kGap);
        const int top = kGap + i / columns * (height + titleRows + kGap);
        Place(cell, left + (width - cell.bitmap.width) / 2, top + (height - cell.bitmap.height) / 2);
        if (options.titles) Write(cell.title, left, top + height, width);
    }
    cells.clear();
    return sheet;
}

void Montage::Place(const Cell& cell, int left, int top) {
    BitmapSource source;
    source.pixels = cell.pixels.data();
    source.rowBytes = cell.bitmap.rowBytes;
    source.width = cell.bitmap.width;
    source.height = cell.bitmap.height;
    source.x = left;
    source.y = top;
    const BitmapDestination to{pixels.data(), sheet.rowBytes, sheet.width, sheet.height};
    const bool bits = cell.bitmap.bits == 1;
    if (cell.bitmap.bits == sheet.bits) {
        CopyBitmap(to, source, 1, 1, sheet.bits);
    } else if (bits && sheet.bits == 8) {
        CopyBitTo8(to, source, 1, 1, 0, kWhite);
    } else if (bits) {
        CopyBitTo24(to, source, 1, 1, {0, 0, 0}, {kWhite, kWhite, kWhite});
    } else {
        CopyBitmap8To24(to, source, 1, 1, nullptr);
    }
}

void Montage::Write(const std::string& title, int left, int top, int width) {
    std::vector<unsigned char> line(static_cast<std::size_t>(width) * kTitleRows);
    DrawTitle(title, line.data(), width, kTitleRows);
    BitmapSource source;
    source.pixels = line.data();
    source.rowBytes = width;
    source.width = width;
    source.height = kTitleRows;
    source.x = left;
    source.y = top;
    const BitmapDestination to{pixels.data(), sheet.rowBytes, sheet.width, sheet.height};
    sheet.bits == 8 ? CopyBitmap(to, source, 1, 1, 8) : CopyBitmap8To24(to, source, 1, 1, nullptr);
}
