// What --info tells of a layer, as text and as JSON.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <vector>

#include "apps/io/difference.h"
#include "apps/io/picture.h"
#include "levels.h"
#include "opened_layer.h"
#include "value_summary.h"

/// What a file holds, and how a frame of it would be shown.
struct LayerReport {
    pzel_io::PictureInfo info;
    std::uint32_t frame;  ///< that the rest speaks of
    bool interleaved;     ///< in memory
    int rowBytes;         ///< in memory
    Levels bound;         ///< of the library, by stored channels; empty for bits
    Levels levels;        ///< by channels as a user names them; empty: none
    std::vector<std::string> conversions;
    std::vector<ValueSummary> values;  ///< as the file stores them, unless they are converted on request
    std::optional<pzel_io::DifferenceFigures> difference;
};

/// Reads a frame of a layer for the report.
LayerReport MakeReport(OpenedLayer& opened, std::uint32_t frame);

void PrintText(std::ostream& out, const LayerReport& report);
/// One array with an object for each layer. Numbers that are not finite are null. Bytes of a name that are
/// not UTF-8 are replaced; "fileBytes" has all of them then, as hexadecimal digits.
void PrintJson(std::ostream& out, const std::vector<LayerReport>& reports);

/// The figures on one line: how many pixels differ, and how far.
std::string DifferenceText(const pzel_io::DifferenceFigures& figures, const pzel_io::PictureInfo& info);
