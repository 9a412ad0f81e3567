// What a component carries beside its images: its current frame and the sampling steps of a vector field.
#pragma once

#include <cstdint>

#include "pzel/export.h"

/// All zero after construction. The reserved fields are the application's.
struct PZEL_API CompInfo {
    std::uint32_t currentFrame = 0;  ///< the component's own frame number
    std::uint32_t word2 = 0;
    std::uint32_t word3 = 0;
    std::uint32_t word4 = 0;
    std::uint8_t byte1 = 0;
    std::uint8_t byte2 = 0;
    std::uint8_t vectorStepX = 0;  ///< sampling step of a vector field, pixels; 0: not chosen yet
    std::uint8_t vectorStepY = 0;
    std::uint32_t word6 = 0;
};

/// A new record; released with DeleteCompInfo.
PZEL_API CompInfo* AllocCompInfo();
/// Copies all fields. `flag` changes nothing.
PZEL_API void CopyCompInfo(CompInfo* dst, const CompInfo* src, bool flag);
/// Sets all fields to zero.
PZEL_API void CleanupCompInfo(CompInfo* info);
/// Releases a record. Null is ignored.
PZEL_API void DeleteCompInfo(CompInfo* info);
