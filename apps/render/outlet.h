// Where pictures go: each to a file of its own, or as cells of a sheet; and where their lines are told.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "montage.h"
#include "picture_queue.h"

/// Whether pictures are told of.
enum class Lines { Told, LeftOut };

class Outlet {
  public:
    /// @param output as on the command line; empty: nothing is written
    /// @param expected how many pictures will come, where that is known; 0: some
    Outlet(std::string output, const WriteSettings& settings, const std::optional<MontageOptions>& montage,
           std::uint64_t expected, Lines lines);
    ~Outlet();
    Outlet(const Outlet&) = delete;
    Outlet& operator=(const Outlet&) = delete;

    /// Takes a picture for a file, or, where a sheet is made, none for it.
    void Put(const std::filesystem::path& file, const pzel_io::FilePicture& picture, const std::string& told);
    /// Takes a picture for a sheet.
    void PutCell(const ShownBitmap& picture, const std::string& title, const std::string& told);
    bool MakesSheets() const { return montage.has_value(); }

    /// Shows how far the work has come, on a terminal.
    void Show(std::uint64_t done) const;
    /// Writes the last sheet, and waits for all.
    /// @throws what went wrong first
    void Finish();

  private:
    void Tell(const std::string& told) const;
    void WriteSheet(const std::filesystem::path& file);

    std::string output;
    std::uint64_t total;
    Lines lines;
    bool shows;
    std::optional<Montage> montage;
    std::uint32_t sheets = 0;  // that are written already
    PictureQueue queue;
};

/// OUT_0007.png of OUT.png.
std::filesystem::path NumberedName(const std::filesystem::path& output, std::uint32_t number);
