// Sizes and offsets of what hosts and plug-ins see, on x86-64 with libstdc++: a program that was compiled
// against earlier headers reads and writes fields where it found them then. Whoever moves one raises
// SOVERSION and changes the number here. Compiling this file is the test.
#include <cstddef>

#include "pzel/pzel.h"

#if defined(__x86_64__) && defined(__linux__)

// Components have virtual functions; the platform's rules fix where their fields lie all the same.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

// The records that hosts fill and read.
static_assert(sizeof(Image) == 48 && offsetof(Image, width) == 0 && offsetof(Image, height) == 2 &&
              offsetof(Image, rowBytes) == 4 && offsetof(Image, dataType) == 6 &&
              offsetof(Image, data) == 8 && offsetof(Image, imageType) == 16 &&
              offsetof(Image, channels) == 18 && offsetof(Image, state) == 19 &&
              offsetof(Image, bound) == 24 && offsetof(Image, attachment) == 32 &&
              offsetof(Image, frameOffset) == 40 && offsetof(Image, frameOffset2) == 44);
static_assert(sizeof(Attachment) == 16 && offsetof(Attachment, size) == 0 &&
              offsetof(Attachment, kind) == 4 && offsetof(Attachment, buffer) == 8);
static_assert(sizeof(SRect) == 8 && offsetof(SRect, left) == 0 && offsetof(SRect, right) == 2 &&
              offsetof(SRect, top) == 4 && offsetof(SRect, bottom) == 6);
static_assert(sizeof(ImagePart) == 20 && offsetof(ImagePart, channel) == 0 && offsetof(ImagePart, x) == 4 &&
              offsetof(ImagePart, y) == 8 && offsetof(ImagePart, width) == 12 &&
              offsetof(ImagePart, height) == 16);
static_assert(sizeof(ValueStatistics) == 72 && offsetof(ValueStatistics, notNumbers) == 0 &&
              offsetof(ValueStatistics, negativeInfinite) == 8 &&
              offsetof(ValueStatistics, positiveInfinite) == 16 && offsetof(ValueStatistics, count) == 24 &&
              offsetof(ValueStatistics, minimum) == 32 && offsetof(ValueStatistics, maximum) == 40 &&
              offsetof(ValueStatistics, sum) == 48 && offsetof(ValueStatistics, mean) == 56 &&
              offsetof(ValueStatistics, deviation) == 64);
static_assert(sizeof(CompInfo) == 24 && offsetof(CompInfo, currentFrame) == 0 &&
              offsetof(CompInfo, word2) == 4 && offsetof(CompInfo, word3) == 8 &&
              offsetof(CompInfo, word4) == 12 && offsetof(CompInfo, byte1) == 16 &&
              offsetof(CompInfo, byte2) == 17 && offsetof(CompInfo, vectorStepX) == 18 &&
              offsetof(CompInfo, vectorStepY) == 19 && offsetof(CompInfo, word6) == 20);
static_assert(sizeof(MovieScene) == 32 && offsetof(MovieScene, name) == 0 &&
              offsetof(MovieScene, description) == 8 && offsetof(MovieScene, numbRanges) == 16 &&
              offsetof(MovieScene, ranges) == 24);
static_assert(sizeof(RGBtoHSI) == 48 && offsetof(RGBtoHSI, minR) == 0 && offsetof(RGBtoHSI, maxR) == 4 &&
              offsetof(RGBtoHSI, minG) == 8 && offsetof(RGBtoHSI, maxG) == 12 &&
              offsetof(RGBtoHSI, minB) == 16 && offsetof(RGBtoHSI, maxB) == 20 &&
              offsetof(RGBtoHSI, invRangeR) == 24 && offsetof(RGBtoHSI, invRangeG) == 28 &&
              offsetof(RGBtoHSI, invRangeB) == 32 && offsetof(RGBtoHSI, scaleH) == 36 &&
              offsetof(RGBtoHSI, scaleS) == 40 && offsetof(RGBtoHSI, scaleI) == 44);

// What display takes and gives.
static_assert(sizeof(ShownBitmap) == 32 && offsetof(ShownBitmap, pixels) == 0 &&
              offsetof(ShownBitmap, width) == 8 && offsetof(ShownBitmap, height) == 12 &&
              offsetof(ShownBitmap, rowBytes) == 16 && offsetof(ShownBitmap, bits) == 20 &&
              offsetof(ShownBitmap, bitRows) == 24);
static_assert(sizeof(BgrColour) == 3 && offsetof(BgrColour, blue) == 0 && offsetof(BgrColour, green) == 1 &&
              offsetof(BgrColour, red) == 2);
static_assert(sizeof(BitmapDestination) == 24 && offsetof(BitmapDestination, pixels) == 0 &&
              offsetof(BitmapDestination, rowBytes) == 8 && offsetof(BitmapDestination, width) == 12 &&
              offsetof(BitmapDestination, height) == 16);
static_assert(sizeof(BitmapSource) == 40 && offsetof(BitmapSource, pixels) == 0 &&
              offsetof(BitmapSource, rowBytes) == 8 && offsetof(BitmapSource, width) == 12 &&
              offsetof(BitmapSource, height) == 16 && offsetof(BitmapSource, x) == 20 &&
              offsetof(BitmapSource, y) == 24 && offsetof(BitmapSource, skipX) == 28 &&
              offsetof(BitmapSource, skipY) == 32);

// What plug-ins are handed.
static_assert(sizeof(YInterval) == 8 && offsetof(YInterval, start) == 0 && offsetof(YInterval, end) == 4);
static_assert(sizeof(ExData) == 16 && offsetof(ExData, tag) == 0 && offsetof(ExData, flags) == 2 &&
              offsetof(ExData, word) == 4 && offsetof(ExData, data) == 8);
static_assert(sizeof(Interface) == 48 && offsetof(Interface, state) == 0 && offsetof(Interface, movie) == 8 &&
              offsetof(Interface, word3) == 16 && offsetof(Interface, word4) == 20 &&
              offsetof(Interface, numbExData) == 24 && offsetof(Interface, exData) == 32 &&
              offsetof(Interface, word7) == 40);

// Fields behind a table of virtual functions or beside containers.
static_assert(sizeof(CompBlackWhite) == 24 && offsetof(CompBlackWhite, black) == 8 &&
              offsetof(CompBlackWhite, white) == 16);
static_assert(sizeof(Observer) == 16 && offsetof(Observer, observed) == 8);
static_assert(sizeof(FrameInfo) == 104 && offsetof(FrameInfo, keepFrames) == 0 &&
              offsetof(FrameInfo, cutFrames) == 48 && offsetof(FrameInfo, startFrame) == 96);
static_assert(
    sizeof(Comp) == 216 && offsetof(Comp, observers) == 8 && offsetof(Comp, refCount) == 16 &&
    offsetof(Comp, parent) == 24 && offsetof(Comp, scenes) == 32 && offsetof(Comp, info) == 40 &&
    offsetof(Comp, images) == 48 && offsetof(Comp, imageFrames) == 56 && offsetof(Comp, msType) == 58 &&
    offsetof(Comp, x) == 60 && offsetof(Comp, y) == 62 && offsetof(Comp, bmpWidth) == 64 &&
    offsetof(Comp, bmpHeight) == 66 && offsetof(Comp, bmpRowBytes) == 68 && offsetof(Comp, bmpLeft) == 70 &&
    offsetof(Comp, bmpTop) == 72 && offsetof(Comp, bmpSpare) == 74 && offsetof(Comp, bmpBits) == 76 &&
    offsetof(Comp, overlayColour) == 77 && offsetof(Comp, bitmap) == 80 && offsetof(Comp, dataArea) == 88 &&
    offsetof(Comp, remapper) == 96 && offsetof(Comp, flagsA) == 104 && offsetof(Comp, flagsB) == 106 &&
    offsetof(Comp, flatComp) == 112 && offsetof(Comp, flatImage) == 120 &&
    offsetof(Comp, displaySpare) == 128 && offsetof(Comp, transparency) == 129 &&
    offsetof(Comp, levels) == 136 && offsetof(Comp, attachment) == 144 && offsetof(Comp, startFrame) == 152 &&
    offsetof(Comp, frameCount) == 156 && offsetof(Comp, filename) == 160 && offsetof(Comp, nametag) == 168 &&
    offsetof(Comp, nametagSet) == 176 && offsetof(Comp, filenameSet) == 177);

// Values that hosts keep in objects and arrays of their own.
static_assert(sizeof(AnyType) == 4 && alignof(AnyType) == 4);
static_assert(sizeof(Zel::PluginID) == 6);
static_assert(sizeof(Zel::Name) == 104);
static_assert(sizeof(PluginParam) == 24);
static_assert(sizeof(FrameIterator) == 40);
static_assert(sizeof(Histogram) == 152);
static_assert(sizeof(ValueRanks) == 216);
static_assert(sizeof(Movie) == 128);
static_assert(sizeof(IComponent) == sizeof(void*) && sizeof(Zel::Remapper) == sizeof(void*));

#endif
