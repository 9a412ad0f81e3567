// What hosts and readers both know: what a file tells of itself, how it is asked for, and the texts for it.
// Nothing here needs the library itself, so that readers start without it.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "pzel/image/image.h"

namespace pzel_io {

/// What went wrong with a file, as one line: "FILE: reason".
class FileError : public std::runtime_error {
  public:
    FileError(const std::filesystem::path& file, const std::string& reason);
    /// The reason alone.
    const std::string& Reason() const { return why; }

  private:
    std::string why;
};

/// How the channels of a picture are ordered, in a file or in a record.
enum class Layout { Planar, Interleaved };

/// A range of values to be shown from black to white.
struct Window {
    double low;
    double high;
};

/// Rows of a picture, both included.
struct Rows {
    int first;
    int last;
};

/// What a file is read for. Of a file with two channels a picture takes what is not alpha, a vector field
/// both. Of a palette a picture takes the colours, a mask the entries' numbers, which annotators use as
/// labels.
enum class Purpose { Picture, Vectors, Mask };

/// How a file is to be read.
struct OpenOptions {
    Purpose purpose = Purpose::Picture;
    std::optional<int>
        page;               ///< the page, image or header unit whose frames are wanted, as the format counts
    bool asStored = false;  ///< orientation marks are not followed
    bool partial = false;   ///< what is left of a damaged file is shown, with a note, instead of refused
    const std::atomic<bool>* stop = nullptr;  ///< the host's: true gives up what is being read; may be null
};

/// What a file holds. Every frame has this size and type; frames that differ are left out, with a note.
struct PictureInfo {
    std::filesystem::path file;
    std::string format;                    ///< the file format's short name
    std::uint32_t frames = 1;              ///< 1 or more; of a video: as far as the file tells
    int width = 0;                         ///< pixels
    int height = 0;                        ///< rows
    int channels = 1;                      ///< of the record: alpha and the like are left out
    ImageDataType type = DataNone;         ///< of the record
    ImageSubType model = SubGrey;          ///< SubGrey, SubColour or SubYuv
    Layout layout = Layout::Interleaved;   ///< of the file
    std::optional<Window> window;          ///< the range that the file itself asks to be shown
    bool lowIsWhite = false;               ///< the file's lowest values stand for white
    double pixelAspect = 1;                ///< width of a pixel / its height
    double frameRate = 0;                  ///< frames a second; 0: the file tells none
    std::optional<double> position;        ///< of a slice along its stack, in millimetres
    std::optional<double> instance;        ///< its number in a series
    std::vector<std::string> conversions;  ///< what reading changes or leaves out, one line each
};

/// Bytes of one element of a type as files store it; 0 for bits.
std::size_t ElementBytes(ImageDataType type);
/// Bytes of a row of one channel: bits are packed, most significant bit first.
std::size_t PlaneRowBytes(const PictureInfo& info);
/// Bytes of a frame as readers deliver it: rows from the top, without padding, pixel by pixel, the channels
/// as a user names them (red, green, blue; y, u, v).
std::size_t FrameBytes(const PictureInfo& info);
/// Refuses sizes that no record can hold, in any layout.
/// @throws FileError
void CheckSize(const PictureInfo& info);

/// A short name: "bit", "uint8", ..., "float".
const char* TypeName(ImageDataType type);
/// A short name: "grey", "colour", "yuv".
const char* ModelName(ImageSubType model);
/// A number in as few digits as tell it from its neighbours.
std::string NumberText(double number);

}  // namespace pzel_io
