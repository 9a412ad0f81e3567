// Many pictures on one sheet, in columns and rows, each with a title below.
#pragma once

#include <string>
#include <vector>

#include "pzel/component/shown_bitmap.h"

struct MontageOptions {
    int columns = 1;
    int rows = 1;
    bool titles = true;
};

class Montage {
  public:
    explicit Montage(const MontageOptions& options);

    /// Copies a picture into the next cell.
    void Add(const ShownBitmap& picture, const std::string& title);
    bool IsEmpty() const { return cells.empty(); }
    bool IsFull() const;
    /// Lays out what was added since the last sheet: cells as large as the largest picture, which stand in
    /// their middle, in as many rows as are needed. The bitmap is this object's, until the next sheet.
    /// @throws std::runtime_error for a sheet that is too large, or titles that cannot be written
    const ShownBitmap& Sheet();

  private:
    struct Cell {
        std::vector<unsigned char> pixels;
        ShownBitmap bitmap;
        std::string title;
    };

    void Place(const Cell& cell, int left, int top);
    void Write(const std::string& title, int left, int top, int width);

    MontageOptions options;
    std::vector<Cell> cells;
    std::vector<unsigned char> pixels;
    ShownBitmap sheet{};
};
