// Two sets of frames, to keep and to cut, with a start frame. What they mean is the application's.
#pragma once

#include <cstdint>
#include <set>

#include "pzel/export.h"

/// Frame numbers are 32-bit values, whatever their signatures say.
class PZEL_API FrameInfo {
  public:
    using Frames = std::set<std::int32_t>;

    FrameInfo();
    ~FrameInfo();

    void SetStartframe(long frame);
    bool FindKeepFrame(long frame) const;
    bool FindCutFrame(long frame) const;
    void EraseKeepFrame(long frame);
    void EraseCutFrame(long frame);
    void InsertKeepFrame(long frame);
    void InsertCutFrame(long frame);
    /// Copies of the sets.
    Frames ReturnKeepFrames() const;
    Frames ReturnCutFrames() const;
    long GetKeepSize() const;
    long GetCutSize() const;
    /// The frame itself where it is in the set, else -1.
    long GetKeepFrame(long frame) const;
    long GetCutFrame(long frame) const;
    /// The index-th smallest frame of the set, from 0 on; -1 past the end.
    long GetKeepFrameByOrder(long index) const;
    long GetCutFrameByOrder(long index) const;
    /// A new object with copies of all three; the caller owns it.
    FrameInfo* Clone() const;

    Frames keepFrames;            ///< frames to keep
    Frames cutFrames;             ///< frames to cut
    std::int32_t startFrame = 0;  ///< the application's
};

/// A new, empty object; the caller owns it.
PZEL_API FrameInfo* AllocFrameInfo();
