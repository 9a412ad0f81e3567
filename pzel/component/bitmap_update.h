// One change of a component's display bitmap: the memory first, what is drawn next, and the component's
// fields last, so that a change that is refused memory, or thrown out of, leaves the component as it was.
// Internal.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "pzel/component/comp.h"

class Comp::BitmapUpdate {
  public:
    /// Starts from the bitmap as it is.
    explicit BitmapUpdate(Comp& changed)
        : width(changed.bmpWidth),
          height(changed.bmpHeight),
          rowBytes(changed.bmpRowBytes),
          left(changed.bmpLeft),
          top(changed.bmpTop),
          bits(changed.bmpBits),
          comp(changed),
          held(changed.BitmapBytes()),
          isOwn(changed.OwnsBitmap()) {}

    /// Rows of bytes that will be written over whatever they hold.
    struct Overwritten {
        std::size_t start = 0, length = 0, step = 0, rows = 0;
    };

    /// Memory for so many bytes: the bitmap itself where it holds them, else a new block that begins with the
    /// bitmap's bytes and goes on with zeros, but where it will be overwritten.
    unsigned char* Prepare(std::size_t bytes) { return Prepare(bytes, Overwritten()); }
    unsigned char* Prepare(std::size_t bytes, const Overwritten& later) {
        if (comp.bitmap != nullptr && bytes <= held) return comp.bitmap;
        fresh.reset(static_cast<unsigned char*>(::operator new(bytes)));
        if (held > 0) std::memcpy(fresh.get(), comp.bitmap, held);
        std::size_t clear = held;  // from here on
        for (std::size_t row = 0; row < later.rows; ++row) {
            const std::size_t begin = later.start + row * later.step;
            if (begin > clear) std::memset(fresh.get() + clear, 0, begin - clear);
            clear = std::max(clear, begin + later.length);
        }
        if (bytes > clear) std::memset(fresh.get() + clear, 0, bytes - clear);
        held = bytes;
        return fresh.get();
    }

    /// The memory and the fields become the component's.
    void Commit() {
        if (fresh != nullptr) {
            ::operator delete(std::exchange(comp.bitmap, fresh.release()));
            isOwn = true;
        }
        comp.bmpWidth = width;
        comp.bmpHeight = height;
        comp.bmpRowBytes = rowBytes;
        comp.bmpLeft = left;
        comp.bmpTop = top;
        comp.bmpBits = bits;
        comp.ownBitmap =
            isOwn ? OwnBitmap{comp.bitmap, held, width, height, rowBytes, left, top} : OwnBitmap{};
    }

    std::uint16_t width, height, rowBytes, left, top;
    std::uint8_t bits;

  private:
    struct Release {
        void operator()(unsigned char* block) const { ::operator delete(block); }
    };

    Comp& comp;
    std::size_t held;
    bool isOwn;
    std::unique_ptr<unsigned char, Release> fresh;
};
