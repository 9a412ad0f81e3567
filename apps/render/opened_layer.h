// A layer with its file open, and what makes pictures of its frames.
#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include "apps/io/difference.h"
#include "apps/io/kept_frame.h"
#include "frame_maker.h"
#include "layer.h"

/// Stays where it is once Prepare was called: its maker refers to it.
class OpenedLayer {
  public:
    /// @throws pzel_io::FileError for files that cannot be read, or fields that do not fit together
    /// @param stop may be null; set, it gives up what is being read
    explicit OpenedLayer(const Layer& layer, const std::atomic<bool>* stop = nullptr);

    /// Checks the layer against its file, which frames come from then on. The part that is shown may be set
    /// before.
    /// @throws pzel_io::FileError where the layer asks for what the picture has not
    void Prepare();

    /// Reads a frame and prepares it for display. Whatever fails is an error of the file.
    pzel_io::OwnedImage Make(std::uint32_t frame);

    /// Keeps the last frame as it was read, for who makes it again by other wishes. Before Prepare.
    void KeepLastFrame() { source = pzel_io::KeepLastFrame(std::move(source)); }

    /// Says which frame is made next, and which part of frames is all that is shown.
    void Expect(std::uint32_t frame) { source->Expect(frame); }
    void ShowPart(const Area& part);
    /// "FILE", or "FILE frame N of M", with the file of a stack that the frame comes from.
    std::string NameOf(std::uint32_t frame) const;

    const pzel_io::PictureInfo& Info() const { return source->Info(); }
    const FrameMaker& Maker() const { return *maker; }
    FrameMaker& Maker() { return *maker; }
    /// Where the frames are the difference of two files; else null.
    const pzel_io::DifferenceSource* Difference() const { return difference; }

    Layer layer;

  private:
    std::unique_ptr<pzel_io::PictureSource> source;
    const pzel_io::DifferenceSource* difference = nullptr;  // the source, where it is one
    std::unique_ptr<FrameMaker> maker;
};
