// What a host and its readers agree on: how readers are started, and what they may use up.
#pragma once

#include <cstddef>
#include <cstdint>

namespace pzel_io {

#ifdef __SANITIZE_ADDRESS__
inline constexpr bool kIsSanitized = true;
#else
inline constexpr bool kIsSanitized = false;
#endif

/// The files that a reader is born with.
inline constexpr int kReaderSocket = 3;
inline constexpr int kReaderMemory = 4;
inline constexpr int kReaderReports = 5;  ///< of sanitizers; a reader's own error output goes nowhere

/// Seconds of the processor that one request may take: more than honest files need by far.
constexpr double ReaderSeconds(std::uintmax_t fileBytes, std::size_t frameBytes) {
    constexpr double kLeast = 1.2, kFileRate = 1e6, kFrameRate = 2e7, kSanitized = 20;
    const double seconds =
        kLeast + static_cast<double>(fileBytes) / kFileRate + static_cast<double>(frameBytes) / kFrameRate;
    return kIsSanitized ? kSanitized * seconds : seconds;
}

/// Bytes of address space that a reader may fill.
constexpr std::size_t ReaderBytes(std::uintmax_t fileBytes, std::size_t frameBytes) {
    constexpr std::size_t kLeast = std::size_t{900} << 20;
    return kLeast + 4 * static_cast<std::size_t>(fileBytes) + 5 * frameBytes;
}

}  // namespace pzel_io
