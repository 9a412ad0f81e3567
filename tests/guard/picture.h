// Images whose pixels and bounds stand in the memory of an operation, and tables of shapes to go through.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>

#include "pzel/bounds/bounds.h"
#include "pzel/image/lifecycle.h"
#include "tests/guard/memory.h"
#include "tests/support/images.h"

namespace guard {

constexpr int kRows = 2;  // the first row starts behind a page, the last one ends at one

/// What an image is but for its width.
struct Kind {
    int type, channels;
    bool interleaved;
    int sub;

    std::string text() const {
        return " type " + std::to_string(type) + " channels " + std::to_string(channels) +
               (interleaved ? " interleaved" : " planar") + " sub " + std::to_string(sub);
    }
    int elementBits() const { return type == DataBit ? 1 : 8 * DataBytes(std::uint16_t(type)); }
};

enum class Levels { Default, Narrow };

struct Picture : Image {
    Picture(Memory& memory, const Kind& kind, int columns, Levels levels = Levels::Default) {
        ConstructImage(*this, std::uint16_t(columns), kRows, std::uint16_t(kind.channels), nullptr,
                       std::uint16_t(kind.type), kind.interleaved, true);
        imageType = std::uint16_t(kind.sub);
        data = memory.take(GetImageTotalBytes(this), kind.type);
        const int section = GetBoundBytes(this);
        if (section == 0) return;
        bound = memory.take(3 * std::size_t(section));
        std::memset(bound, 0, 3 * std::size_t(section));
        SetDefaultBound(this);
        if (kind.type == DataFloat || levels == Levels::Narrow) narrow(kind.type);
    }
    ~Picture() { data = bound = nullptr; }
    Picture(const Picture&) = delete;

  private:
    void narrow(int type) {
        const double black[] = {0, 0, 20, 20, 5000, -5000, 1000, -1000, -100};
        const double white[] = {0, 0, 100, 100, 50000, 20000, 3e9, 2e9, 200};
        for (int c = 0; c < channels; ++c) {
            const int as = GetTrueDataType(imageType & SubSignedBit, channels, c, std::uint8_t(type));
            const bool difference = (imageType & SubSignedBit) && c > 0;
            test::writePair(bound, c, as, {difference ? -white[as] : black[as], white[as]});
        }
    }
};

/// Calls `action` with every kind of one or three channels of the given types.
template <class Action>
void forKinds(std::initializer_list<int> types, Action action) {
    for (const int type : types) {
        action(Kind{type, 1, true, SubGrey});
        for (const bool interleaved : {false, true}) {
            for (const int sub : {SubColour, SubYuv}) action(Kind{type, 3, interleaved, sub});
        }
    }
}

}  // namespace guard
