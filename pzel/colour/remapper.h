// The hook through which an application bends the display of a component: a tone curve of its own.
#pragma once

#include "pzel/export.h"

namespace Zel {

/// Supplies the lookup table that data go through on their way to the bitmap, and maps single values. The
/// application implements it; the component that holds it owns it and deletes it through this interface.
class PZEL_API Remapper {
  public:
    Remapper() = default;
    Remapper(const Remapper&) = default;
    Remapper& operator=(const Remapper&) = default;
    virtual ~Remapper();

    /// True when both map alike.
    virtual bool IsEqual(const Remapper& other) const = 0;
    /// A new remapper that maps alike; the caller owns it. Called by the deep copy of a component.
    virtual Remapper* Clone() const = 0;
    /// Told (1, 1) when the component goes to joint HSI mapping, (0, 1) when it goes back to its channels.
    virtual void SetMode(int hsi, int flag) = 0;
    virtual int GetMode() const = 0;
    /// Back to mapping everything to itself.
    virtual void Reset() = 0;
    virtual int GetNumbChannels() const = 0;
    /// True when a channel (0-2: the image's; 3-5: intensity, saturation, hue) is left as it is.
    virtual bool IsIdentity(int channel) const = 0;
    /// Maps a value of 0 … 1 to a new one of 0 … 1.
    virtual float Remap(float value, int channel) const = 0;
    /// The display lookup table: 512 bytes for each channel, three tables back to back for three channels; or
    /// null for none. It stays the remapper's.
    virtual const unsigned char* GetLookupTable() const = 0;

    bool operator==(const Remapper& other) const { return IsEqual(other); }
    bool operator!=(const Remapper& other) const { return !IsEqual(other); }
};

}  // namespace Zel
